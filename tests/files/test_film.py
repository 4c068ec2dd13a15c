"""
Films: TIFFs as libtiff, tifffile and Pillow write them, damaged ones, and what a comparison of a plane of
pixels tells.
"""

import itertools
import json
import subprocess
import warnings
import zlib

import numpy as np
import pytest
import tifffile
import zarngi
from PIL import Image

import variants_film
from answers import PROGRAM

RANDOM = np.random.default_rng(7)
#: Wider and higher than a tile, with a rest; runs and noise.
SIZE = (37, 53)
NOISE = RANDOM.integers(0, 1 << 16, SIZE)
SMOOTH = np.add.outer(np.arange(SIZE[0]) // 5 * 300, np.arange(SIZE[1]) // 4 * 800)
VALUES = {
    "u2": np.where(np.arange(SIZE[1]) < 20, NOISE, SMOOTH).astype(np.uint16),
    "f4": np.where(np.arange(SIZE[1]) < 20, NOISE / 7, SMOOTH / 1024).astype(np.float32),
}
PACKINGS = ("none", "packbits", "lzw", "lzw:2", "zip", "zip:2", "lzw:3", "zip:3")
LAYOUTS = {"strips": ("-s", "-r", "5"), "one strip": ("-s", "-r", "100"), "tiles": ("-t", "-w", "32", "-l", "16")}


def read(path, unit="Gy", pixel_size=0.5):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", zarngi.FormatWarning)
        return zarngi.read(path, dose_unit=unit, pixel_size=pixel_size)


def check(path, values):
    """The doses to the bit, with the first row of the file at the upper edge."""
    film = read(path)
    np.testing.assert_array_equal(film.dose, values[::-1].astype(np.float32))
    assert film.spacing == (0.5, 0.5)
    assert film.origin == (-(values.shape[1] - 1) / 4, -(values.shape[0] - 1) / 4)


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("packing", PACKINGS)
@pytest.mark.parametrize("kind", VALUES)
def test_as_libtiff_packs_them(tmp_path, kind, packing, layout):
    if packing.endswith(":3") and kind == "u2":
        pytest.skip("this predictor is for floats")
    tifffile.imwrite(tmp_path / "plain.tif", VALUES[kind], photometric="minisblack")
    # Of floats in big endian, libtiff writes differences that it does not read back itself.
    for order in ("-L",) if packing.endswith(":3") else ("-B", "-L"):
        path = tmp_path / f"packed{order}.tif"
        command = ["tiffcp", order, "-c", packing, *LAYOUTS[layout], tmp_path / "plain.tif", path]
        subprocess.run(command, check=True, capture_output=True)
        check(path, VALUES[kind])


@pytest.mark.parametrize("kind", VALUES)
def test_as_other_programs_write_them(tmp_path, kind):
    values = VALUES[kind]
    ways = itertools.product("<>", (None, (16, 32)), (None, "zlib"), (False, True))
    for i, (order, tile, compression, imagej) in enumerate(ways):
        if imagej and (tile or compression):
            continue
        path = tmp_path / f"{i}.tif"
        photometric = {} if imagej else {"photometric": "minisblack"}
        tifffile.imwrite(path, values, byteorder=order, tile=tile, compression=compression, imagej=imagej, **photometric)
        check(path, values)
    for compression in (None, "tiff_lzw", "tiff_adobe_deflate", "packbits"):
        path = tmp_path / f"{compression}.tif"
        Image.fromarray(values).save(path, compression=compression)
        check(path, values)


def test_what_is_no_plane_of_doses(tmp_path):
    colour = RANDOM.integers(0, 1 << 16, (*SIZE, 3)).astype(np.uint16)
    several = np.stack([VALUES["f4"]] * 2)
    for name, values, told in (("colour", colour, "in colour"), ("bytes", colour[..., 0].astype(np.uint8), "8-bit"),
                               ("pages", several, "more than one image")):
        path = tmp_path / f"{name}.tif"
        tifffile.imwrite(path, values, photometric="rgb" if name == "colour" else "minisblack")
        with pytest.raises(zarngi.FormatError, match=told):
            read(path)
    tifffile.imwrite(tmp_path / "stack.tif", several, imagej=True)
    with pytest.raises(zarngi.FormatError, match="more than one image|a stack of images"):
        read(tmp_path / "stack.tif")


def test_damage_ends_in_a_sentence(tmp_path):
    """What is packed has a checksum; in the head, damage of a byte is refused or gives a plane that holds together."""
    values = VALUES["f4"]
    changes = {variants_film.COMPRESSION: (variants_film.SHORT, [8])}
    whole = variants_film.tiff(values, strip_rows=10, pack=zlib.compress, changes=changes)
    directory = int.from_bytes(whole[4:8], "little")
    refused = 0
    for place in [*range(12), *range(12, directory, 37), *range(directory, len(whole))]:
        damaged = bytearray(whole)
        damaged[place] ^= 1 << int(RANDOM.integers(8))
        (tmp_path / "damaged.tif").write_bytes(damaged)
        try:
            film = read(tmp_path / "damaged.tif")
        except zarngi.FormatError:
            refused += 1
            continue
        assert place < 8 or place >= directory - 1, f"byte {place} of {directory}"
        assert np.isfinite(film.dose).all()
    assert refused > 200
    for end in range(0, len(whole), 7):
        (tmp_path / "cut.tif").write_bytes(whole[:end])
        with pytest.raises(zarngi.FormatError):
            read(tmp_path / "cut.tif")


def test_damaged_codes_are_refused_or_fill_the_image(tmp_path):
    """LZW and run lengths have no checksum."""
    tifffile.imwrite(tmp_path / "plain.tif", VALUES["u2"], photometric="minisblack")
    for packing in ("lzw", "packbits"):
        command = ["tiffcp", "-c", packing, "-r", "40", tmp_path / "plain.tif", tmp_path / "packed.tif"]
        subprocess.run(command, check=True, capture_output=True)
        whole = (tmp_path / "packed.tif").read_bytes()
        refused = 0
        for _ in range(400):
            damaged = bytearray(whole)
            for place in RANDOM.integers(8, len(whole), 2):
                damaged[place] = RANDOM.integers(256)
            try:
                zarngi.read_bytes(bytes(damaged), dose_unit="Gy", pixel_size=1)
            except zarngi.FormatError:
                refused += 1
        assert refused > 10


def compared(*arguments):
    run = subprocess.run([PROGRAM, "compare", *map(str, arguments)], capture_output=True, text=True, check=False)
    assert run.returncode == 0, run.stderr
    return run


def test_a_comparison_tells_what_was_given_and_assumed(tmp_path):
    reference, plan = zarngi.demo_pair()
    zarngi.write(tmp_path / "plan.mha", plan.dose, plan)
    # An axial cut of the reference: a film whose upper edge is the patient's back.
    layer = reference.shape[0] // 2
    cut = reference.dose[layer]
    tifffile.imwrite(tmp_path / "film.tif", cut[::-1] * np.float32(100), photometric="minisblack")
    (tmp_path / "film.txt").write_text("\n".join(" ".join(f"{d:.9g}" for d in line) for line in cut[::-1]) + "\n")
    place = [origin + spacing * (count - 1) / 2
             for origin, spacing, count in zip(reference.origin, reference.spacing, reference.shape[::-1])]
    place[2] = reference.origin[2] + layer * reference.spacing[2]
    size = reference.spacing[0]
    assert size == reference.spacing[1]
    at = ["--plane", "axial", "--at", ",".join(map(repr, place)), "--pixel-size", size]
    rates = set()
    for name, unit in (("film.tif", "cGy"), ("film.txt", "Gy")):
        out = tmp_path / "record.json"
        run = compared(tmp_path / name, tmp_path / "plan.mha", *at, "--dose-unit", unit, "--json", out)
        record = json.loads(out.read_text())
        told = {one["name"]: one["text"] for one in record["conditions"]}
        assert told["given-pixel-size"] == f"pixels of {size:g} mm where no coordinates are told"
        assert told["given-dose-unit"] == f"doses without a unit in {unit}"
        assert "reference" in told["assumed-position"] and "reference" in told["assumed-orientation"]
        assert record["request"]["units"]["pixelSize"] == size
        assert "its first row is taken for the upper edge" in run.stderr
        rates.add((record["criteria"][0]["passRate"], record["criteria"][0]["tested"]))
        again = tmp_path / "again.json"
        compared("--request", out, "--json", again)
        assert json.loads(again.read_text())["criteria"][0]["mean"] == record["criteria"][0]["mean"]
    assert len(rates) == 1 and rates.pop()[1] > 100
