"""Measured dose distributions: the figures an independent program gave for them."""

import unittest

from support import DATA, ProgramTest

# Files, arguments, tested voxels, pass rate, mean and maximum gamma (None: not known).
ROWS = (
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%/3mm"],
     88129, 90.318741, 0.437427, 1.560771),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "2%/2mm"],
     88129, 73.209724, 0.651471, 2.337395),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%L/3mm"],
     88129, 81.407936, 0.622812, 1.803545),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%/3mm", "--nearest"],
     88129, 96.885246, 0.430893, 2.784487),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%/2mm", "--pass-rate-only"],
     88129, 77.773491, None, None),
    ("proton_ramp_beam1.dcm", "proton_ramp_beam2.dcm", ["-c", "3%/3mm", "--pass-rate-only"],
     273690, 9.872849, None, None),
    ("proton_ramp_plan.dcm", "proton_ramp_plan.dcm", ["-c", "2%/2mm"],
     381619, 100, 0, 0),
)


@unittest.skipUnless(DATA.is_dir(), f"no measured dose distributions in {DATA}")
class RealData(ProgramTest):
    def test_figures(self):
        for reference, evaluation, arguments, tested, rate, mean, maximum in ROWS:
            with self.subTest(reference=reference, arguments=arguments):
                document = self.results(DATA / reference, DATA / evaluation, *arguments)
                (criterion,) = document["criteria"]
                self.assertEqual(criterion["tested"], tested)
                self.assertEqual(f"{criterion['passRate']:.6f}", f"{rate:.6f}")
                if mean is not None:
                    self.assertEqual(f"{criterion['mean']:.6f}", f"{mean:.6f}")
                    self.assertEqual(f"{criterion['max']:.6f}", f"{maximum:.6f}")

    def test_dicom_scaling(self):
        for name, maximum in (("beam1", 1.952423), ("beam2", 1.965906), ("plan", 2.210228)):
            path = DATA / f"proton_ramp_{name}.dcm"
            document = self.results(path, path, "--pass-rate-only")
            found = document["grids"]["reference"]["maximum"]["dose"]
            rounding = 0.5e-6 + 2.0**-23  # of the printed figure and of a float above 2
            self.assertAlmostEqual(found, maximum, delta=rounding)


if __name__ == "__main__":
    unittest.main()
