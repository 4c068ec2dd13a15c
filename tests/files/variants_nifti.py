"""The variants of NIfTI."""

import dataclasses
import gzip
import struct

import nibabel
import numpy as np

from variants import (
    BYTES, DAMAGED, FOREIGN, NOT_FINITE, ORIENTATIONS, ORIGIN, ROTATED, SIZE, SPACING, STRAIGHT,
    VALUES, WHOLE, cut_short, flipped, gzip_member, gzip_rows, patched, read, refused, scaled,
    sized, too_long, turned, unpacks_too_long, unpacks_too_short,
)

NO_UNIT = "tells no unit of length; its lengths are taken for mm"
TWO_PLACES = "its header tells two different positions (qform and sform)"
NO_BEGINNING = "its compressed data is damaged or cut short, or no dose file"
MILLIMETRES = 2
#: Of a NIfTI-1 and a NIfTI-2 file: where the values begin at the soonest.
BEGINNINGS = {1: 352, 2: 544}


def affine_of(orientation=STRAIGHT, spacing=SPACING, origin=ORIGIN, values=VALUES):
    """Of a file whose axes run like that; NIfTI's x and y point to the right and to the front."""
    _, spacing, origin, axes = turned(orientation, values, spacing, origin)
    affine = np.eye(4)
    affine[:3, :3] = np.multiply(axes, np.reshape(spacing, (3, 1))).T
    affine[:3, 3] = origin
    return np.diag([-1, -1, 1, 1]) @ affine


def header(version=1, order="<", values=VALUES, affine=None, forms="qs", pair=False, **fields):
    """A header as nibabel writes it, with some fields set to anything."""
    kinds = {1: nibabel.Nifti1Header, 2: nibabel.Nifti2Header}
    affine = affine_of() if affine is None else affine
    made = kinds[version](endianness=order)
    made.set_data_dtype(values.dtype.newbyteorder(order))
    made.set_data_shape(values.shape[::-1])
    made.set_qform(affine, code="scanner")
    made.set_sform(affine, code="scanner")
    made["qform_code"], made["sform_code"] = ("q" in forms), ("s" in forms)
    made["xyzt_units"] = MILLIMETRES
    made["magic"] = made.pair_magic if pair else made.single_magic
    made["vox_offset"] = 0 if pair else BEGINNINGS[version]
    made["scl_slope"], made["scl_inter"] = 1, 0
    for name, value in fields.items():
        made[name] = value
    return made.structarr.tobytes()


def nifti(data=None, *, values=VALUES, order="<", extension=bytes(4), **changes):
    """A file of header and data."""
    if data is None:
        data = values.astype(values.dtype.newbyteorder(order)).tobytes()
    return header(values=values, order=order, **changes) + extension + data


def pair(**changes):
    return header(pair=True, **changes)


TYPES = ("i1", "u1", "i2", "u2", "i4", "u4", "i8", "u8", "f4", "f8")


def type_rows():
    for version in (1, 2):
        for order, name in (("<", "little"), (">", "big")):
            for code in TYPES:
                values = VALUES if code[0] == "f" else WHOLE
                stored = nifti(values=values.astype(code), version=version, order=order)
                yield read(f"NIfTI-{version}, {name} endian, {code}", stored, values)
                yield read(f"NIfTI-{version}, {name} endian, {code}, packed",
                           gzip.compress(stored), values)
    for number in (0, 1, 32, 128, 1536, 1792, 2048, 2304, 9999, -1):
        yield refused(f"type {number}", nifti(datatype=number),
                      f"its values are of the NIfTI type {number}, which is no dose")
    for bits in (0, 16, 64, -32):
        yield refused(f"{bits} bits", nifti(bitpix=bits),
                      f"its header gives values of {bits} bits, its NIfTI type has 32")
    large = (WHOLE.astype("i8") << 50) + 1
    yield read("whole numbers beyond 2^53", nifti(values=large), large.astype(np.float32))


def place_rows():
    for orientation in ORIENTATIONS:
        values = turned(orientation)[0]
        for forms in ("s", "q", "qs"):
            yield read(f"axes {orientation} by {forms}",
                       nifti(values=values, affine=affine_of(orientation), forms=forms))
    yield read("NIfTI-2 by qform", nifti(version=2, forms="q"))
    yield read("NIfTI-2 by sform", nifti(version=2, forms="s"))
    nowhere = "its header tells no position (neither qform nor sform)"
    yield refused("no position", nifti(forms=""), nowhere)
    yield refused("no position, negative codes", nifti(qform_code=-1, sform_code=-2), nowhere)
    for code in (1, 2, 3, 4, 5, 200):
        yield read(f"sform code {code}", nifti(sform_code=code))
        yield read(f"qform code {code}", nifti(forms="q", qform_code=code))
    for name, changes in {
        "offset": {"qoffset_x": ORIGIN[0] + 0.5},
        "steps": {"pixdim": [1, 2.1, 2.5, 3, 1, 1, 1, 1]},
        "a turn": {"quatern_b": 1, "quatern_c": 0, "quatern_d": 0},
        "a mirrored axis": {"pixdim": [-1, 2, 2.5, 3, 1, 1, 1, 1]},
        "z of the sform": {"srow_z": [0, 0, 3, ORIGIN[2] + 0.02]},
    }.items():
        yield refused(f"qform and sform differ by {name}", nifti(**changes), TWO_PLACES)
    close = np.float32(-ORIGIN[0] + 0.005)
    yield read("qform and sform differ by less than 0.01 mm", nifti(qoffset_x=close))
    yield read("a qform of code 0 may differ", nifti(forms="s", qoffset_x=99))
    yield read("an sform of code 0 may differ", nifti(forms="q", srow_x=[9, 9, 9, 9]))
    for size in (2.1, 1.0):
        told = np.float32(size)
        yield refused(f"pixdim of {size} and sform differ",
                      nifti(forms="s", pixdim=[1, told, 2.5, 3, 1, 1, 1, 1]),
                      f"its header tells two different voxel sizes: {told:.6g} mm (pixdim) and "
                      "2 mm (sform)")
    quarter = np.sqrt(0.5)
    turn = np.diag([1.0, 1, 1, 1])
    turn[:2, :2] = [[0.8, -0.6], [0.6, 0.8]]
    for forms in ("s", "q", "qs"):
        yield refused(f"rotated by {forms}", nifti(affine=turn @ affine_of(), forms=forms), ROTATED)
    yield refused("rotated by an eighth", nifti(forms="q", quatern_b=0, quatern_c=0,
                                                quatern_d=np.sin(np.pi / 8)), ROTATED)
    # A quarter of a turn about z: x of the file runs to NIfTI's y, which is the patient's front.
    values, _, origin, _ = turned(((1, -1), (0, 1), (2, 1)), spacing=SPACING)
    yield read("a quarter of a turn by quaternion",
               nifti(values=values, forms="q", quatern_b=0, quatern_c=0, quatern_d=quarter,
                     qoffset_x=-origin[0], qoffset_y=-origin[1],
                     pixdim=[1, 2.5, 2, 3, 1, 1, 1, 1]))
    yield refused("a quaternion longer than 1",
                  nifti(forms="q", quatern_b=1, quatern_c=1, quatern_d=0),
                  "its header gives a quaternion of 1, 1, 0, which is longer than 1")
    nan = float("nan")
    shown = "its header gives an orientation or origin of {}"
    yield refused("qoffset nan", nifti(forms="q", qoffset_y=nan), shown.format("nan"))
    yield refused("quaternion nan", nifti(forms="q", quatern_c=nan), shown.format("nan"))
    yield refused("sform nan", nifti(srow_x=[nan, 0, 0, 0]), shown.format("nan"))
    yield refused("sform of 1e30", nifti(srow_y=[0, 2.5, 0, 1e30]), shown.format("1e+30"))
    yield refused("sform of -1.7e38", nifti(srow_x=[0, -1.7e38, 0, 0]), shown.format("-1.7e+38"))
    yield refused("one axis twice", nifti(forms="s", srow_y=[-2, 0, 0, 0], srow_x=[0, 0, 0, 0]),
                  "its header tells two different voxel sizes: 2.5 mm (pixdim) and 0 mm (sform)")
    for size, axis in ((0.0, 1), (-2.5, 2), (nan, 3), (1e30, 1)):
        sizes = [1, *SPACING, 1, 1, 1, 1]
        sizes[axis] = size
        for forms in ("q", "s"):
            yield refused(f"pixdim {size} by {forms}", nifti(forms=forms, pixdim=sizes),
                          f"its header gives a voxel size of {size:.6g}")
    yield refused("far away", nifti(affine=affine_of(origin=(0, 2e5, 0))),
                  "the origin of 200000 mm along axis y is no sensible position")
    tiny = (0.0005, 2.5, 3)
    yield refused("a voxel size of 0.0005 mm", nifti(affine=affine_of(spacing=tiny)),
                  sized("0.0005", "x"))


def unit_rows():
    single, double = np.float32, float
    for version, stored in ((1, single), (2, double)):
        for code, length in ((1, 1000), (2, 1), (3, 1e-3)):
            spacing, origin = ([float(stored(n / length)) for n in row]
                               for row in (SPACING, ORIGIN))
            geometry = {"spacing": tuple(h * length for h in spacing),
                        "origin": tuple(o * length for o in origin)}
            for forms in ("s", "q", "qs"):
                contents = nifti(version=version, forms=forms, xyzt_units=code,
                                 affine=affine_of(spacing=spacing, origin=origin))
                yield read(f"NIfTI-{version}, unit {code} by {forms}", contents, **geometry)
        yield read(f"NIfTI-{version}, no unit", nifti(version=version, xyzt_units=0),
                   warnings=(NO_UNIT,))
        yield read(f"NIfTI-{version}, a unit of time", nifti(version=version, xyzt_units=2 | 8))
        yield read(f"NIfTI-{version}, a unit of time only",
                   nifti(version=version, xyzt_units=8), warnings=(NO_UNIT,))
        for code in (4, 5, 6, 7):
            yield refused(f"NIfTI-{version}, unit {code}",
                          nifti(version=version, xyzt_units=code),
                          f"its lengths are not in mm but in the unknown NIfTI unit {code}")


def scaling_rows():
    nan, inf = float("nan"), float("inf")
    short = WHOLE.astype("i2")
    for version, number in ((1, np.float32), (2, float)):
        slope, inter = float(number(0.01)), float(number(0.5))
        name = f"NIfTI-{version}, "
        yield read(name + "slope", nifti(values=short, version=version, scl_slope=0.01),
                   scaled(WHOLE, slope))
        yield read(name + "slope and intercept",
                   nifti(values=short, version=version, scl_slope=0.01, scl_inter=0.5),
                   scaled(WHOLE, slope, inter))
        yield read(name + "slope and intercept, big endian and packed",
                   gzip.compress(nifti(values=short, version=version, order=">", scl_slope=0.01,
                                       scl_inter=0.5)), scaled(WHOLE, slope, inter))
        yield read(name + "slope of floats", nifti(version=version, scl_slope=2.5),
                   scaled(VALUES, 2.5))
        yield read(name + "slope below 0", nifti(version=version, scl_slope=-1), -VALUES)
        for none in (0.0, nan, inf, -inf):
            yield read(name + f"slope {none}",
                       nifti(version=version, scl_slope=none, scl_inter=7))
        yield read(name + "no slope and no intercept",
                   nifti(version=version, scl_slope=nan, scl_inter=nan))
        for none in (nan, inf):
            yield refused(name + f"intercept {none}",
                          nifti(version=version, scl_slope=2, scl_inter=none),
                          f"its header gives an intercept of {none}")


def position_rows():
    """Where the values begin."""
    for version, first in BEGINNINGS.items():
        name = f"NIfTI-{version}, vox_offset "
        yield read(name + "0", nifti(version=version, vox_offset=0))
        yield read(name + "0, packed", gzip.compress(nifti(version=version, vox_offset=0)))
        for more in (1, 16, 37):
            contents = nifti(version=version, vox_offset=first + more,
                             extension=bytes(4 + more))
            yield read(name + f"plus {more}", contents)
            yield read(name + f"plus {more}, packed", gzip.compress(contents))
        extension = bytes([1, 0, 0, 0]) + struct.pack("<ii", 32, 6) + b"a comment".ljust(24, b"\0")
        yield read(f"NIfTI-{version}, an extension",
                   nifti(version=version, vox_offset=first + 32, extension=extension))
        yield refused(f"NIfTI-{version}, an extension not told",
                      nifti(version=version, extension=extension), too_long(240, 272))
        for off in (first - 4, 1, -1, 2**30):
            yield refused(name + f"{off}", nifti(version=version, vox_offset=off),
                          f"its header gives a data position of {off:.6g}")
        yield refused(name + "behind the end", nifti(version=version, vox_offset=9999),
                      cut_short(240, 0))
        yield refused(name + "behind the end, packed",
                      gzip.compress(nifti(version=version, vox_offset=9999)),
                      unpacks_too_short("10 239", first + 240))
    for off in (float("nan"), float("inf"), 352.5, 1e30):
        yield refused(f"vox_offset {off}", nifti(vox_offset=off),
                      f"its header gives a data position of {off:.6g}")


def packing_rows():
    whole = nifti()
    # A header that cannot be unpacked tells not even what it is the header of.
    hides_header = ("reserved flags", "another method", "wrong header checksum")
    for row in gzip_rows(bytes, whole, split=BEGINNINGS[1] + 40):
        if any(name in row.name for name in hides_header):
            row = dataclasses.replace(row, expected=NO_BEGINNING)
        yield row
    for split in (200, BEGINNINGS[1]):
        yield read(f"gzip of two members, {split} bytes in the first",
                   gzip_member(whole[:split]) + gzip_member(whole[split:]))
    two = gzip_member(nifti(version=2))
    for number in range(-8, 0):
        yield refused(f"NIfTI-2, gzip, trailer byte {number}", flipped(two, number), DAMAGED)
    yield refused("gzip cut in the header", gzip.compress(whole)[:60], NO_BEGINNING)
    yield refused("gzip cut in its first bytes", gzip.compress(whole)[:12], NO_BEGINNING)
    yield refused("gzip of nothing", gzip.compress(b""), NO_BEGINNING)
    yield refused("gzip of a text", gzip.compress(b"no dose at all " * 100), FOREIGN)
    yield refused("gzip of gzip", gzip.compress(gzip.compress(whole)), NO_BEGINNING)
    yield refused("packed, a byte short", gzip.compress(whole[:-1]),
                  unpacks_too_short(592, 591))
    yield refused("packed, a byte long", gzip.compress(whole + b"\0"), unpacks_too_long(592))
    names = ("dose.nii", "dose.NII", "dose.nii.gz", "dose.NII.GZ", "dose", "dose.img", "dose.dcm")
    for name in names:
        yield read(f"plain, named {name}", whole, file=name)
        yield read(f"packed, named {name}", gzip.compress(whole), file=name)


def pair_rows():
    for version in (1, 2):
        head = pair(version=version)
        both = {"dose.hdr": head, "dose.img": BYTES}
        for name in ("dose.hdr", "dose.img"):
            row = f"NIfTI-{version} pair by {name}"
            yield read(row, both[name], file=name, beside=both)
            big = {"dose.hdr": pair(version=version, order=">"),
                   "dose.img": VALUES.astype(">f4").tobytes()}
            yield read(row + ", big endian", big[name], file=name, beside=big)
            mixed = {"dose.hdr": head, "dose.img.gz": gzip.compress(BYTES)}
            name_of_mixed = {"dose.hdr": "dose.hdr", "dose.img": "dose.img.gz"}[name]
            yield read(row + ", packed data", mixed[name_of_mixed], file=name_of_mixed,
                       beside=mixed)
            packed = {"dose.hdr.gz": gzip.compress(head), "dose.img.gz": gzip.compress(BYTES)}
            yield read(row + ", both packed", packed[name + ".gz"], file=name + ".gz",
                       beside=packed)
            capitals = {"DOSE.HDR": head, "DOSE.IMG": BYTES}
            yield read(row + ", in capitals", capitals[name.upper()], file=name.upper(),
                       beside=capitals)
        yield read(f"NIfTI-{version} pair with an extension", head + bytes([1, 0, 0, 0]),
                   file="dose.hdr", beside={"dose.img": BYTES})
        yield read(f"NIfTI-{version} pair with vox_offset", pair(version=version, vox_offset=16),
                   file="dose.hdr", beside={"dose.img": bytes(16) + BYTES})
        yield read(f"NIfTI-{version} pair with vox_offset, packed",
                   pair(version=version, vox_offset=16), file="dose.hdr",
                   beside={"dose.img": gzip.compress(bytes(16) + BYTES)})
        short = {"values": WHOLE.astype("i2"), "scl_slope": 0.5}
        yield read(f"NIfTI-{version} pair with a slope", pair(version=version, **short),
                   scaled(WHOLE, 0.5), file="dose.hdr",
                   beside={"dose.img": WHOLE.astype("<i2").tobytes()})
    head = pair()
    # Values may happen to begin like a packed file.
    marked = np.frombuffer(patched(BYTES, 0, b"\x1f\x8b"), "<f4").reshape(VALUES.shape)
    yield read("pair of values like gzip", head, marked, file="dose.hdr",
               beside={"dose.img": marked.tobytes()})
    yield refused("pair without data", head, "its data file dose.img is missing", file="dose.hdr")
    yield refused("pair without a header", BYTES, FOREIGN, file="dose.img")
    yield refused("pair of another name", head,
                  "is the header of a NIfTI pair but not named .hdr, which tells where its data "
                  "are", file="dose.nii", beside={"dose.img": BYTES})
    yield refused("pair, a byte short", head, cut_short(240, 239), file="dose.hdr",
                  beside={"dose.img": BYTES[1:]})
    yield refused("pair, a byte long", head, too_long(240, 241), file="dose.hdr",
                  beside={"dose.img": BYTES + b"\0"})
    yield refused("pair, damaged packed data", head, DAMAGED, file="dose.hdr",
                  beside={"dose.img.gz": flipped(gzip.compress(BYTES), -8)})
    yield refused("pair, data as one file has them", pair(vox_offset=352), cut_short(240, 0),
                  file="dose.hdr", beside={"dose.img": BYTES})


def header_rows():
    damaged = "its NIfTI header is damaged"
    cut = "its NIfTI header is cut short"
    for version, name in ((1, b"n+1"), (2, b"n+2")):
        whole = nifti(version=version)
        length = BEGINNINGS[version] - 4
        magic = whole.index(name)
        row = f"NIfTI-{version}, "
        yield refused(row + "a byte of the header missing", whole[: length - 1], cut)
        yield refused(row + "header only", whole[:length], cut_short(240, 0))
        yield refused(row + "another length of the header", patched(whole, 0, b"\1\1\1\1"),
                      damaged)
        yield refused(row + "a long magic", patched(whole, magic + 3, b"x"), damaged)
        yield refused(row + "a byte short", whole[:-1], cut_short(240, 239))
        yield refused(row + "a byte long", whole + b"\0", too_long(240, 241))
        for number in (-1, 8, 300):
            yield refused(row + f"{number} dimensions",
                          nifti(version=version, dim=[number, *SIZE, 1, 1, 1, 1]),
                          f"is not three-dimensional but {number}-dimensional")
        for dims in ([2, 5, 12, 1, 1, 1, 1, 1], [1, 60, 1, 1, 1, 1, 1, 1],
                     [4, 5, 3, 2, 2, 1, 1, 1], [5, 5, 3, 2, 1, 2, 1, 1]):
            yield refused(row + f"dim {dims}", nifti(version=version, dim=dims),
                          f"is not three-dimensional but {dims[0]}-dimensional")
        for dims in ([4, *SIZE, 1, 1, 1, 1], [7, *SIZE, 1, 1, 1, 1], [3, *SIZE, 9, 9, 9, 9],
                     [3, *SIZE, 0, 0, 0, 0]):
            yield read(row + f"dim {dims}", nifti(version=version, dim=dims))
        for size in (0, -5):
            yield refused(row + f"a size of {size}",
                          nifti(version=version, dim=[3, size, 3, 4, 1, 1, 1, 1]),
                          f"its header gives a grid size of {size}")
        yield refused(row + "a size of 0 behind the third",
                      nifti(version=version, dim=[4, *SIZE, 0, 1, 1, 1]),
                      "its header gives a grid size of 0")
        yield refused(row + "a lying size",
                      nifti(version=version, forms="s", dim=[3, 1000, 1000, 1000, 1, 1, 1, 1]),
                      cut_short("4 000 000 000", 240))
        yield refused(row + "a size too large",
                      nifti(version=version, forms="s", dim=[3, 20000, 20000, 20000, 1, 1, 1, 1]),
                      "the grid of 20000 x 20000 x 20000 voxels is too large "
                      "(2^31 voxels or more)")
        for value in (np.nan, np.inf):
            values = VALUES.copy()
            values[0, 0, 4] = value
            yield refused(row + f"a dose of {value}", nifti(values=values, version=version),
                          NOT_FINITE)
            yield refused(row + f"a dose of {value}, packed",
                          gzip.compress(nifti(values=values, version=version)), NOT_FINITE)
    yield refused("NIfTI-2, line ends converted",
                  nifti(version=2).replace(b"\r\n\x1a\n", b"\n\x1a\n\n", 1), damaged)
    yield refused("no magic (Analyze)", patched(nifti(), 344, bytes(4)), FOREIGN)


FORMAT = "NIfTI"
ROWS = [
    *type_rows(), *place_rows(), *unit_rows(), *scaling_rows(), *position_rows(),
    *packing_rows(), *pair_rows(), *header_rows(),
]
