"""Writes a folder of pairs of dose files, as a department might have it.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/cohort_pairs.py FOLDER [options]

FOLDER/planned/ID.nrrd holds the planned demonstration dose, FOLDER/measured/MACHINE/ID_DATE.nrrd the
same with a shift, a scale and noise of its own, for every tenth pair the delivered dose instead of the
planned one. With `--small` these are a few thousand voxels, with `--doses` another pair of doses. Some
of the measured files are broken on purpose where `--broken` says so. The numbers come from a fixed
seed: two runs write the same doses.
"""

from __future__ import annotations

import argparse
from datetime import date, timedelta
from pathlib import Path

import numpy as np
import zarngi

MACHINES = ("Linac 1", "Linac 2", "Linac 3")


def small_pair() -> list[zarngi.DoseGrid]:
    """A part of the demonstration pair."""
    grids = []
    for grid in zarngi.demo_pair():
        dose = np.ascontiguousarray(grid.dose[8:20, 8:24, 8:28])
        corner = [o + 8 * h for o, h in zip(grid.origin, grid.spacing)]
        grids.append(zarngi.DoseGrid(dose, grid.spacing, corner))
    return grids


def chosen_pair(options: argparse.Namespace) -> list[zarngi.DoseGrid]:
    """Planned and delivered dose."""
    if options.doses:
        return [zarngi.read(path) for path in options.doses]
    return small_pair() if options.small else list(zarngi.demo_pair())


def measured(planned: zarngi.DoseGrid, rng: np.random.Generator) -> zarngi.DoseGrid:
    """The planned dose, shifted, scaled and with noise."""
    shift = rng.normal(0, 0.8, 3)
    dose = planned.dose * np.float32(rng.normal(1, 0.008))
    dose = dose + rng.normal(0, 0.006 * float(planned.dose.max()), dose.shape).astype(np.float32)
    origin = [float(o + s) for o, s in zip(planned.origin, shift)]
    return zarngi.DoseGrid(np.maximum(dose, 0).astype(np.float32), planned.spacing, origin)


def break_file(path: Path, how: int) -> None:
    """One of the ways in which files are broken."""
    contents = path.read_bytes()
    if how == 0:
        path.write_bytes(contents[: len(contents) // 2])
    elif how == 1:
        path.write_bytes(b"not a dose at all\n")
    else:
        path.unlink()


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=Path)
    parser.add_argument("--pairs", type=int, default=60)
    parser.add_argument("--broken", type=int, default=0, help="evaluations that are broken")
    doses = parser.add_mutually_exclusive_group()
    doses.add_argument("--small", action="store_true", help="a few thousand voxels each")
    doses.add_argument("--doses", nargs=2, type=Path, metavar=("PLANNED", "DELIVERED"))
    parser.add_argument("--format", choices=("nrrd", "mha", "nii.gz"), default="nrrd")
    parser.add_argument("--manifest", action="store_true", help="write FOLDER/manifest.csv, too")
    options = parser.parse_args()
    planned, delivered = chosen_pair(options)
    rng = np.random.default_rng(22)
    rows = ["id,reference,evaluation,group,date"]
    for i in range(options.pairs):
        identity = f"{i + 1:05d}"
        machine = MACHINES[i % len(MACHINES)]
        day = date(2026, 1, 5) + timedelta(days=int(1.4 * i) % 3000)
        names = (
            f"planned/{identity}.{options.format}",
            f"measured/{machine}/{identity}_{day}.{options.format}",
        )
        for name in names:
            (options.folder / name).parent.mkdir(parents=True, exist_ok=True)
        zarngi.write(options.folder / names[0], planned.dose, like=planned)
        dose = measured(delivered if i % 10 == 9 and not options.small else planned, rng)
        zarngi.write(options.folder / names[1], dose.dose, like=dose)
        rows.append(f"{identity},{names[0]},{names[1]},{machine},{day}")
        place, how = divmod(i * (options.broken + 1), options.pairs)
        if 0 < place and how < options.broken + 1:
            break_file(options.folder / names[1], place % 3)
    if options.manifest:
        (options.folder / "manifest.csv").write_text("\n".join(rows) + "\n")
    print(f"{options.pairs} pairs in {options.folder}, {options.broken} of them broken")


if __name__ == "__main__":
    main()
