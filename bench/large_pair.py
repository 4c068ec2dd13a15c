"""Two doses as large as they come: 400 x 400 x 300 voxels of 1 mm, 192 MB each, NRRD files.

    large_pair.py FOLDER

Writes FOLDER/large_reference.nrrd and FOLDER/large_evaluation.nrrd, 10.8 million voxels of which
are above a tenth of the maximum. The same files each time.
"""

import argparse
from pathlib import Path

import numpy as np

SHAPE = (300, 400, 400)  # z, y, x
NAMES = ("large_reference.nrrd", "large_evaluation.nrrd")
HEADER = """NRRD0004
type: float
dimension: 3
space: left-posterior-superior
sizes: {2} {1} {0}
space directions: (1,0,0) (0,1,0) (0,0,1)
space origin: (0,0,0)
space units: "mm" "mm" "mm"
endian: little
encoding: raw
sample units: "Gy"

"""


def layer(z, shift):
    """Gy: a modulated ball of a dose with a steep rim, in the plane at z."""
    z, y, x = np.meshgrid(
        z - (SHAPE[0] - 1) / 2 - shift,
        np.arange(SHAPE[1]) - (SHAPE[1] - 1) / 2 - shift,
        np.arange(SHAPE[2]) - (SHAPE[2] - 1) / 2 - shift,
        indexing="ij",
    )
    radius = np.sqrt(x * x + y * y + z * z)
    return 2 / (1 + np.exp((radius - 130.85) / 3)) * (1 + 0.1 * np.sin(x / 9) * np.cos((y + z) / 9))


def write(path, shift, output, noise):
    random = np.random.default_rng(1)
    with open(path, "wb") as file:
        file.write(HEADER.format(*SHAPE).encode())
        for z in range(SHAPE[0]):
            doses = output * layer(z, shift)
            doses *= 1 + noise * random.uniform(-1, 1, doses.shape)
            file.write(doses.astype("<f4").tobytes())


def make(folder):
    """The paths of both files, which are made where they are not there yet."""
    paths = [Path(folder) / name for name in NAMES]
    if not all(path.exists() for path in paths):
        Path(folder).mkdir(parents=True, exist_ok=True)
        write(paths[0], 0, 1, 0)
        write(paths[1], 1.0, 1.015, 0.02)
    return paths


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=Path)
    for made in make(parser.parse_args().folder):
        print(made)
