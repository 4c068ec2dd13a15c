"""Volumes and doses of structures are those of the prisms that their contours describe."""

import unittest

from prisms import SLICES, SOLIDS, errors
from support import ProgramTest


class ClosedForms(ProgramTest):
    def test_solids_in_linear_gradients(self):
        seen = 0
        for name, spacing, error, _ in errors(self.folder):
            with self.subTest(name, slices=spacing):
                self.assertTrue(error.volume < 1 or error.volume_cc < 0.03, error)
                self.assertLess(error.mean, 1)
                self.assertLess(error.dose, 1)
                self.assertLess(error.share, 1)
            seen += 1
        self.assertEqual(seen, len(SOLIDS) * len(SLICES))


if __name__ == "__main__":
    unittest.main()
