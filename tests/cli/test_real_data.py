"""Measured dose distributions: the figures an independent program gave for them."""

import unittest

from support import DATA, ProgramTest

# Files, arguments, tested voxels, pass rate, mean and maximum gamma (None: not known).
ROWS = (
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%/3mm"],
     88129, 90.318741, "0.437427", "1.560771"),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "2%/2mm"],
     88129, 73.209724, "0.651471", "2.337395"),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%L/3mm"],
     88129, 81.407936, "0.622812", "1.803545"),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%/3mm", "--nearest"],
     88129, 96.885246, "0.430893", "2.784487"),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "3%/2mm", "--pass-rate-only"],
     88129, 77.773491, None, None),
    ("head_neck_day1.nrrd", "head_neck_day2.nrrd", ["-c", "1%/1mm", "--max-gamma", "10"],
     88129, 51.881901, "1.295553", "4.668426"),
    ("proton_ramp_beam1.dcm", "proton_ramp_beam2.dcm", ["-c", "3%/3mm", "--max-gamma", "2"],
     273690, 9.872849, "12.97686", "27.54937"),
    ("proton_ramp_plan.dcm", "proton_ramp_plan.dcm", ["-c", "2%/2mm"],
     381619, 100, "0.000000", "0.000000"),
    ("arccheck_measured.txt", "arccheck_planned.snc", ["-c", "3%/3mm"],
     970, 99.896904, "0.195250", "1.00533"),
    ("arccheck_measured.txt", "arccheck_planned.snc", ["-c", "2%/2mm"],
     970, 98.041237, "0.285301", "1.50726"),
    ("arccheck_measured.txt", "arccheck_planned.snc", ["-c", "3%/2mm"],
     970, 99.381447, "0.227190", "1.23788"),
    ("arccheck_measured.txt", "arccheck_planned.snc", ["-c", "3%L/3mm"],
     970, 97.216492, "0.324394", "2.13829"),
    ("arccheck_measured.txt", "arccheck_planned.snc", ["-c", "1%/1mm"],
     970, 84.123711, "0.560000", "3.01452"),
)


@unittest.skipUnless(DATA.is_dir(), f"no measured dose distributions in {DATA}")
class RealData(ProgramTest):
    def assert_prints(self, value, figure):
        """The value is the printed figure up to its last digit, or one rounding to float off."""
        decimals = len(figure.partition(".")[2])
        rounding = 0.5 * 10.0**-decimals + float(figure) * 2.0**-24
        self.assertAlmostEqual(value, float(figure), delta=rounding)

    def test_figures(self):
        for reference, evaluation, arguments, tested, rate, mean, maximum in ROWS:
            with self.subTest(reference=reference, arguments=arguments):
                document = self.results(DATA / reference, DATA / evaluation, *arguments)
                (criterion,) = document["criteria"]
                self.assertEqual(criterion["tested"], tested)
                self.assertEqual(f"{criterion['passRate']:.6f}", f"{rate:.6f}")
                if mean is not None:
                    self.assert_prints(criterion["mean"], mean)
                    self.assert_prints(criterion["max"], maximum)

    def test_dicom_scaling(self):
        for name, maximum in (("beam1", "1.952423"), ("beam2", "1.965906"), ("plan", "2.210228")):
            path = DATA / f"proton_ramp_{name}.dcm"
            document = self.results(path, path, "--pass-rate-only")
            self.assert_prints(document["grids"]["reference"]["maximum"]["dose"], maximum)


if __name__ == "__main__":
    unittest.main()
