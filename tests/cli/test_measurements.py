"""Planes, points and sums of doses, compared."""

import dataclasses
import json
import math
import unittest
import zlib

import doses
import numpy
from support import DATA, ProgramTest, run

NAMES = {"axial": (0, 1), "coronal": (0, 2), "sagittal": (1, 2)}


def write_matrix(path, x, y, values, unit="Gy"):
    """values[y, x]; the upper row first, as devices write them. Not a number: no detector."""
    lines = ["dose in %s, mm" % unit, "\t".join(["", *map(repr, map(float, x))])]
    for at, row in reversed(list(zip(y, values))):
        cells = ["" if math.isnan(dose) else repr(float(dose)) for dose in row]
        lines.append("\t".join([repr(float(at)), *cells]))
    path.write_text("\n".join(lines) + "\n")
    return path


def write_points(path, places, values):
    names = "x (mm),y,z,dose (Gy)" if len(places[0]) == 3 else "x (mm),y,dose (Gy)"
    rows = [",".join(repr(float(n)) for n in (*place, dose)) for place, dose in zip(places, values)]
    path.write_text("\n".join([names, *rows]) + "\n")
    return path


def axes_of(dose):
    return [o + s * numpy.arange(n) for o, s, n in zip(dose.origin, dose.spacing, dose.size)]


def cut(dose, name, index):
    """x, y and doses of a plane, and where it lies."""
    axes = axes_of(dose)
    right, up = NAMES[name]
    normal = 3 - right - up
    values = numpy.moveaxis(dose.values, 2 - normal, 0)[index]
    at = [0.0, 0.0, 0.0]
    at[normal] = float(axes[normal][index])
    return axes[right], axes[up], values, at


def gamma_of(path, dose):
    """The map of a comparison in a dose."""
    packed = path.read_bytes().partition(b"LOCAL\n")[2]
    return numpy.frombuffer(zlib.decompress(packed), "<f4").reshape(dose.values.shape)


def sample(dose, places):
    """Trilinear, in double precision, for places among the voxel centres."""
    index = [(places[..., i] - dose.origin[i]) / dose.spacing[i] for i in range(3)]
    lower = [numpy.clip(numpy.floor(i).astype(int), 0, n - 2) for i, n in zip(index, dose.size)]
    result = 0
    for corner in range(8):
        weight = 1
        at = []
        for axis in range(3):
            step = corner >> axis & 1
            share = index[axis] - lower[axis]
            weight = weight * (share if step else 1 - share)
            at.append(lower[axis] + step)
        result = result + weight * dose.values[at[2], at[1], at[0]]
    return result


class Measurements(ProgramTest):
    def setUp(self):
        super().setUp()
        self.dose, self.other = doses.pair()
        self.volume = doses.write_mha(self.folder / "dose.mha", self.dose)

    def plane(self, name, index, **changes):
        x, y, values, at = cut(self.dose, name, index)
        path = write_matrix(self.folder / f"{name}.txt", x, y, values, **changes)
        return path, at

    def placed(self, name, at):
        return ["--plane", name, "--at", ",".join(map(repr, at))]

    def test_planes_cut_from_a_volume(self):
        """They agree with it where they were cut, and differ where they were not."""
        for name, index, along in (("axial", 5, 0), ("coronal", 7, 2), ("sagittal", 8, 1),
                                   ("gantry:0", 7, 2), ("gantry:90", 8, 1)):
            cut_as = {"gantry:0": "coronal", "gantry:90": "sagittal"}.get(name, name)
            path, at = self.plane(cut_as, index)
            with self.subTest(plane=name):
                document = self.results(path, self.volume, "-c", "1%/1mm", *self.placed(name, at))
                (criterion,) = document["criteria"]
                self.assertGreater(criterion["tested"], 30)
                self.assertEqual(criterion["passRate"], 100)
                self.assertLess(criterion["max"], 1e-3)
                self.assertEqual(document["plane"]["at"], at)
                self.assertEqual(document["plane"]["name"], name)
                self.assertEqual(document["searchSpace"], "volume")
                at[along] += 3
                moved = self.results(path, self.volume, "-c", "1%/1mm", *self.placed(name, at))
                self.assertLess(moved["criteria"][0]["passRate"], 60)

    def test_plane_across_the_axes(self):
        """Its places are sampled by another program, and searched as points."""
        for angle in (30, 211.5, -45):
            turn = math.radians(angle)
            x, y = numpy.arange(-12, 13, 3.0), numpy.arange(-9, 10, 3.0)
            across, along = numpy.meshgrid(x, y)
            places = numpy.stack([0.5 + across * math.cos(turn), -1 + across * math.sin(turn),
                                  24 + along], -1)
            path = write_matrix(self.folder / "gantry.txt", x, y, sample(self.dose, places))
            name = f"gantry:{angle}"
            with self.subTest(angle=angle):
                document = self.results(path, self.volume, *self.placed(name, [0.5, -1.0, 24.0]))
                (criterion,) = document["criteria"]
                self.assertEqual((criterion["tested"], criterion["passRate"]), (63, 100))
                self.assertLess(criterion["max"], 1e-3)
                self.assertEqual(document["searchSpace"], "points")
                told = document["measurements"]["reference"]["points"]
                numpy.testing.assert_allclose(told, places.reshape(-1, 3), atol=2e-6)
                moved = self.results(path, self.volume, *self.placed(name, [0.5, -1.0, 30.0]))
                self.assertLess(moved["criteria"][0]["passRate"], 50)

    def test_points_are_the_voxels_of_a_grid(self):
        other = doses.write_mha(self.folder / "other.mha", self.other)
        map_file = self.folder / "gamma.mha"
        whole = self.results(self.volume, other, "-c", "2%/1mm", "--gamma-map", map_file)
        size = self.dose.values.size
        gamma = gamma_of(map_file, self.dose)
        chosen = numpy.random.default_rng(2).permutation(size)[:150]
        index = numpy.array(numpy.unravel_index(chosen, self.dose.values.shape))
        axes = axes_of(self.dose)
        places = [tuple(axes[i][index[2 - i][n]] for i in range(3)) for n in range(len(chosen))]
        path = write_points(self.folder / "points.csv", places, self.dose.values[tuple(index)])
        norm = whole["grids"]["reference"]["maximum"]["dose"]
        document = self.results(path, other, "-c", "2%/1mm", "--norm", repr(norm))
        (criterion,) = document["criteria"]
        numpy.testing.assert_allclose(
            criterion["pointGammas"], gamma[tuple(index)], rtol=1e-4, atol=1e-5)
        self.assertEqual(criterion["tested"], int((gamma[tuple(index)] >= 0).sum()))
        self.assertEqual(criterion["passed"], criterion["pointVerdicts"].count(1))
        self.assertEqual(criterion["failed"], criterion["hot"] + criterion["cold"])

    def test_gaps_are_not_tested(self):
        x, y, values, at = cut(self.dose, "axial", 5)
        chequered = numpy.add.outer(numpy.arange(len(y)), numpy.arange(len(x))) % 2 == 0
        holed = numpy.where(chequered, values, numpy.nan)
        path = write_matrix(self.folder / "array.txt", x, y, holed)
        full, _ = self.plane("axial", 5)
        document = self.results(path, full)
        self.assertEqual(document["measurements"]["reference"]["measured"], chequered.sum())
        limit = values[chequered].max() * 0.1
        self.assertEqual(document["criteria"][0]["tested"], (values[chequered] > limit).sum())
        places = [(a, b) for j, b in enumerate(y) for i, a in enumerate(x) if chequered[j, i]]
        single = write_points(self.folder / "list.csv", places, values[chequered])
        as_list = self.results(single, full)
        for key in ("tested", "passed", "mean", "max"):
            self.assertEqual(as_list["criteria"][0][key], document["criteria"][0][key])

    def planar(self, name, dose, place=((5, 6), None, None), **changes):
        """A planar RT Dose: the part of a dose between two indices along z, y and x."""
        cuts = [slice(*ends) if ends else slice(None) for ends in place]
        corner = (o + s * (cut.start or 0) for o, s, cut in zip(dose.origin, dose.spacing, cuts[::-1]))
        plane = doses.Dose(dose.values[tuple(cuts)], dose.spacing, tuple(corner))
        position = "HFS" if place[0] else "coronal"
        return doses.write_dicom(self.folder / f"{name}.dcm", plane,
                                 doses.DicomStyle(position=position, elements=changes))

    def test_planar_doses_in_their_plane(self):
        """Alike in their plane, wherever it lies and whatever thickness they tell."""
        tables = [write_matrix(self.folder / f"{i}.txt", *axes_of(self.dose)[:2], dose.values[5])
                  for i, dose in enumerate((self.dose, self.other))]
        expected = self.results(*tables)["criteria"][0]
        apart = dataclasses.replace(self.other, origin=(-20.0, -15.0, -3.0))
        told = []
        for thicknesses in ((None, None), (3, 3), (40, None)):
            paths = [self.planar(name, dose, SliceThickness=thickness) for name, dose, thickness
                     in zip(("one", "two"), (self.dose, apart), thicknesses)]
            document = self.results(*paths)
            self.assertEqual(document["searchSpace"], "plane")
            for grid in document["grids"].values():  # no thickness: none counts
                self.assertEqual(grid["spacing"], [*self.dose.spacing[:2], None])
            self.assertTrue(any("11 mm apart along z" in text for text in document["warnings"]))
            (criterion,) = document["criteria"]
            del criterion["seconds"]
            told.append(criterion)
        self.assertEqual(told[1:], told[:1] * 2)
        for key in ("tested", "passed", "hot", "cold"):
            self.assertEqual(told[0][key], expected[key])
        self.assertAlmostEqual(told[0]["mean"], expected["mean"], places=3)

    def test_planar_doses_in_a_volume(self):
        """They are what the volume is where they were cut."""
        dose, other = (doses.write_dicom(self.folder / f"{name}.dcm", dose)
                       for name, dose in (("dose", self.dose), ("other", self.other)))
        options = ("-c", "2%/1mm", "--norm", "2")
        map_file = self.folder / "gamma.mha"
        self.results(dose, other, *options, "--gamma-map", map_file)
        whole = gamma_of(map_file, self.dose)
        for normal, place in (("z", ((5, 6), None, None)), ("y", (None, (7, 8), None))):
            for thickness in (None, 9):
                with self.subTest(normal=normal, thickness=thickness):
                    path = self.planar("planar", self.dose, place, SliceThickness=thickness)
                    document = self.results(path, other, *options)
                    self.assertEqual(document["searchSpace"], "volume")
                    self.assertEqual(document["measurements"]["reference"]["normal"], normal)
                    (criterion,) = document["criteria"]
                    part = whole[5] if normal == "z" else whole[:, 7]
                    self.assertEqual(criterion["tested"], (part >= 0).sum())
                    self.assertEqual(criterion["failed"], (part > 1).sum())
                    self.assertGreater(criterion["failed"], 0)
                    self.assertAlmostEqual(criterion["mean"], part[part >= 0].mean(), places=6)

    def test_volumes_of_one_slice(self):
        """They are no planes, and count as such beside one."""
        slices = [doses.write_mha(self.folder / f"{z}.mha",
                                  doses.Dose(dose.values[5:6], dose.spacing, (-20.0, -15.0, z)))
                  for dose, z in ((self.dose, 23.0), (self.other, 24.0))]
        planar = self.planar("planar", self.dose)
        spaces = [self.results(*pair)["searchSpace"]
                  for pair in (slices, (planar, slices[1]), (slices[1], planar))]
        self.assertEqual(spaces, ["volume", "plane", "plane"])

    def test_what_percentages_refer_to(self):
        path, at = self.plane("axial", 5, unit="Gy")
        place = self.placed("axial", at)
        other = doses.write_mha(self.folder / "other.mha", self.other)
        evaluation = self.results(path, other, *place, "--norm", "evaluation")
        self.assertEqual(evaluation["normalisation"]["kind"], "evaluation maximum")
        self.assertEqual(evaluation["normalisation"]["dose"], float(self.other.values.max()))
        # Halfway between voxel centres along x.
        x = (self.dose.origin[0] + 7.5 * self.dose.spacing[0], self.dose.origin[1] + 12, at[2])
        expected = self.dose.values[5, 6, 7:9].astype(float).mean()
        point = self.results(path, other, *place, "--norm-at", ",".join(map(repr, x)))
        self.assertAlmostEqual(point["normalisation"]["dose"], expected, places=6)
        self.assertEqual(point["normalisation"]["position"], list(x))
        self.assertAlmostEqual(point["criteria"][0]["cutoffDose"], expected / 10, places=7)

    def test_sums_and_factors(self):
        halves = [doses.write_mha(self.folder / f"{i}.mha",
                                  doses.Dose(self.dose.values * numpy.float32(share)))
                  for i, share in enumerate((0.25, 0.75))]
        document = self.results(self.volume, halves[0], "--evaluation-add", halves[1],
                                "-c", "0.01%/0.1mm")
        self.assertEqual(document["criteria"][0]["max"], 0)
        self.assertEqual(document["doses"]["evaluation"]["added"][0]["path"], str(halves[1]))
        scaled = self.results(self.volume, halves[0], "--reference-scale", "1/4", "-c", "1%/1mm")
        self.assertEqual(scaled["criteria"][0]["max"], 0)
        self.assertEqual(scaled["doses"]["reference"]["factorText"], "1/4")
        self.assertEqual(scaled["doses"]["reference"]["factor"], 0.25)
        moved = doses.write_mha(self.folder / "moved.mha", self.dose,
                                Offset=doses._text((-19.0, -15.0, 8.0)))
        self.assert_refused(run("compare", self.volume, self.volume, "--reference-add", moved), 1,
                            "moved.mha: lies on another grid than ")

    def test_refusals(self):
        plane, at = self.plane("axial", 5)
        other, _ = self.plane("coronal", 7)
        points = write_points(self.folder / "points.csv", [(0, 0, 24), (1, 2.5, 23.1)], [1.5, 1.6])
        x, y, values, _ = cut(self.dose, "axial", 5)
        holed = values.astype(float)
        holed[3, 4] = numpy.nan
        gaps = write_matrix(self.folder / "gaps.txt", x, y, holed)
        place = self.placed("axial", at)
        planar = self.planar("planar", self.dose)
        across = self.planar("across", self.dose, (None, (7, 8), None))
        table = (
            (1, [self.volume, planar], "planar.dcm: is a plane, in which a volume"),
            (1, [points, planar], "planar.dcm: is a plane, in which points in space"),
            (1, [across, planar], "the planes do not lie alike in the patient"),
            (2, [planar, planar, "--rotate"], "--rotate is for volumes"),
            (2, [planar, self.volume, "--structures", self.volume], "planar.dcm is a plane"),
            (1, [plane, self.volume], "axial.txt: tells no place in the patient; --plane and --at"),
            (2, [plane, self.volume, "--plane", "axial"], "--plane needs --at"),
            (2, [plane, self.volume, "--at", "0,0,0"], "--at needs --plane"),
            (2, [plane, self.volume, "--plane", "oblique", "--at", "0,0,0"],
             '--plane: "oblique" is none of axial, coronal, sagittal, gantry:ANGLE'),
            (2, [plane, self.volume, "--plane", "axial", "--at", "0,0"], '--at: "0,0"'),
            (2, [plane, other, *place], "--plane is not for two planes"),
            (2, [self.volume, self.volume, *place], "--plane is for a plane"),
            (1, [self.volume, plane, *place], "axial.txt: is a plane, in which a volume"),
            (1, [self.volume, points], "points.csv: holds points, between which there is no dose"),
            (1, [plane, gaps], "gaps.txt: has no dose at 1 of its places"),
            (2, [plane, plane, "--rotate"], "--rotate is for volumes"),
            (2, [points, self.volume, "--rotate"], "--rotate is for volumes"),
            (2, [points, self.volume, "--gamma-map", self.folder / "g.mha"], "--gamma-map needs"),
            (2, [plane, plane, "--norm-at", "1,2,3"], "--norm-at: in a plane, positions are X,Y"),
            (2, [points, self.volume, "--norm-at", "1,2"], "in space, positions are X,Y,Z"),
            (1, [points, self.volume, "--norm-at", "9,9,9"], "has no dose at 9, 9, 9 mm"),
            (2, [plane, plane, "--norm", "maximum"], '--norm: "maximum" is not a positive number'),
            (2, [plane, plane, "--reference-scale", "1/0"], '--reference-scale: "1/0" is not'),
            (2, [plane, plane, "--evaluation-scale", "-1"], '--evaluation-scale: "-1" is not'),
            (2, [plane, plane, "--norm", "1", "--norm-at", "1,2"], "--norm"),
            (2, [plane, plane, "--structures", self.volume], "--structures is for volumes"),
        )
        before = self.files()
        for code, arguments, text in table:
            with self.subTest(text=text):
                result = run("compare", *arguments, "--json", self.folder / "record.json")
                self.assert_refused(result, code, text)
                self.assertEqual(self.files(), before)

    def test_what_is_printed(self):
        plane, at = self.plane("axial", 5)
        result = run("compare", plane, self.volume, *self.placed("axial", at),
                     "--evaluation-scale", "1/1")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("axial.txt (table), 18 x 15 places of 2.5 x 2 mm", result.stdout)
        self.assertIn("compared    plane axial through 0, 0, 23 mm\n", result.stdout)
        self.assertIn("times 1/1", result.stdout)
        self.assertRegex(result.stdout, r"tested      \d+ places\n")


@unittest.skipUnless(DATA.is_dir(), f"no measured dose distributions in {DATA}")
class RealSums(ProgramTest):
    def test_beams_are_their_plan(self):
        document = self.results(DATA / "proton_ramp_plan.dcm", DATA / "proton_ramp_beam1.dcm",
                                "--evaluation-add", DATA / "proton_ramp_beam2.dcm",
                                "-c", "0.01%/0.1mm")
        self.assertEqual(document["criteria"][0]["passRate"], 100)

    def test_order_of_threads(self):
        """Points give the same on any number of threads."""
        places = [(x, y, z) for x, y, z in zip(range(-60, 60, 7), range(-20, 100, 7),
                                               range(0, 120, 7))]
        points = write_points(self.folder / "points.csv", places, numpy.linspace(1, 60, len(places)))
        records = []
        for threads in (1, 3):
            document = self.results(points, DATA / "head_neck_day1.nrrd", "--threads", threads)
            records.append(json.dumps(document["criteria"][0]["pointGammas"]))
        self.assertEqual(*records)


if __name__ == "__main__":
    unittest.main()
