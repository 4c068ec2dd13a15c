"""The package's way to the library that reads and writes files.

What is read, and what is refused, is the library's and tested in tests/files; here are exceptions,
warnings, memory, threads, and what is written, as independent readers see it.
"""

import ast
import contextlib
import copy
import errno
import gc
import gzip
import io
import itertools
import os
import pickle
import resource
import subprocess
import sys
import warnings
import weakref
import zlib
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import nibabel
import numpy as np
import pydicom
import pytest
import zarngi
from zarngi import _write
from zarngi.io import _host

SPACING, ORIGIN = (2.0, 2.5, 3.0), (-7.5, 12.25, -40.0)
DOSE = np.random.default_rng(1).random((4, 3, 5), dtype=np.float32) * 60
GRID = zarngi.DoseGrid(DOSE, SPACING, ORIGIN)
ENDINGS = [".mha", ".nrrd", ".nii", ".nii.gz"]

NRRD = {
    "type": "float",
    "dimension": "3",
    "space": "left-posterior-superior",
    "sizes": "5 3 4",
    "space directions": "(2,0,0) (0,2.5,0) (0,0,3)",
    "space origin": "(-7.5,12.25,-40)",
    "endian": "little",
    "encoding": "raw",
    "sample units": '"Gy"',
}


def nrrd(data=DOSE.tobytes(), **changes):
    """GRID as a NRRD file; None leaves an entry out."""
    entries = NRRD | {key.replace("_", " "): value for key, value in changes.items()}
    lines = [f"{key}: {value}\n" for key, value in entries.items() if value is not None]
    return ("NRRD0004\n" + "".join(lines) + "\n").encode() + data


def without_orientation(**changes):
    """A file that leaves orientation and position open, for which the library warns."""
    return nrrd(space=None, space_directions=None, space_origin=None, spacings="2 2.5 3", **changes)


WARNED = {"tells no position", "tells no orientation"}


def assert_same(grid, spacing=SPACING, origin=ORIGIN, dose=DOSE):
    np.testing.assert_array_equal(grid.dose, dose)
    assert grid.dose.dtype == np.float32 and type(grid.dose) is np.ndarray
    assert grid.dose.flags.c_contiguous and grid.dose.flags.writeable
    np.testing.assert_allclose(grid.spacing, spacing, rtol=1e-12)
    np.testing.assert_allclose(grid.origin, origin, rtol=1e-12)


@pytest.fixture
def path(tmp_path):
    """GRID in a file."""
    file = tmp_path / "dose.nrrd"
    file.write_bytes(nrrd())
    return file


# Reading


def test_a_grid_comes_in_by_path(path, monkeypatch):
    monkeypatch.chdir(path.parent)
    for name in (path, str(path), path.name, f"./{path.name}"):
        grid = zarngi.read(name)
        assert_same(grid)
        assert grid.frame_of_reference is None


def test_names_of_files_are_any_that_the_system_has(tmp_path):
    for name in ("dôse ☢.nrrd", "raw\udcff.nrrd"):
        (tmp_path / name).write_bytes(nrrd())
        assert_same(zarngi.read(tmp_path / name))


def test_names_stay_where_they_were():
    from zarngi.io import FormatError, read, write

    assert (FormatError, read, write) == (zarngi.FormatError, zarngi.read, zarngi.write)
    assert issubclass(FormatError, ValueError) and issubclass(zarngi.FormatWarning, UserWarning)


@contextlib.contextmanager
def unprivileged():
    """As somebody whom permissions bind, which they do not root."""
    if os.geteuid() != 0:
        yield
        return
    os.seteuid(65534)
    try:
        yield
    finally:
        os.seteuid(0)


def test_what_cannot_be_opened_is_an_os_error(tmp_path):
    (tmp_path / "loop").symlink_to("loop")
    secret = tmp_path / "secret"
    secret.write_bytes(nrrd())
    secret.chmod(0)
    for name, kind, number in [
        (tmp_path / "no.nrrd", FileNotFoundError, errno.ENOENT),
        (tmp_path, IsADirectoryError, errno.EISDIR),
        (secret / "no", NotADirectoryError, errno.ENOTDIR),
        (tmp_path / "loop", OSError, errno.ELOOP),
        (Path("/dev/null"), OSError, errno.EINVAL),
    ]:
        with pytest.raises(kind) as caught:
            zarngi.read(name)
        assert (caught.value.errno, caught.value.filename) == (number, str(name))
    with pytest.raises(PermissionError) as caught, unprivileged():
        zarngi.read(secret)
    assert (caught.value.errno, caught.value.filename) == (errno.EACCES, str(secret))


def test_contents_that_are_refused_are_told_with_the_path(tmp_path):
    for content in (b"", b"dose;1;2;3\n", nrrd()[:-1], nrrd(sizes="5 3")):
        bad = tmp_path / "dose"
        bad.write_bytes(content)
        with pytest.raises(zarngi.FormatError) as caught:
            zarngi.read(bad)
        name, sentence = str(caught.value).split(": ", 1)
        assert name == str(bad) and len(sentence) > 5 and "\n" not in sentence


def test_a_missing_data_file_is_a_fault_of_the_header(tmp_path):
    (tmp_path / "dose.nhdr").write_bytes(nrrd(b"", data_file="dose.raw"))
    with pytest.raises(zarngi.FormatError, match="dose.raw is missing"):
        zarngi.read(tmp_path / "dose.nhdr")
    (tmp_path / "dose.raw").write_bytes(DOSE.tobytes())
    assert_same(zarngi.read(tmp_path / "dose.nhdr"))


@pytest.mark.parametrize("bad", [nrrd(), 3, None])
def test_what_is_no_path_is_a_type_error(bad):
    with pytest.raises(TypeError):
        zarngi.read(bad)


def test_a_null_character_ends_no_path(path):
    for call in (zarngi.read, lambda name: zarngi.write(name, DOSE, like=GRID)):
        with pytest.raises(ValueError, match="null"):
            call(f"{path}\0.nrrd")
    assert list(path.parent.iterdir()) == [path]


@contextlib.contextmanager
def limit(kind, value):
    old = resource.getrlimit(kind)
    resource.setrlimit(kind, (value, old[1]))
    try:
        yield
    finally:
        resource.setrlimit(kind, old)


def test_lack_of_memory_is_a_memory_error(tmp_path):
    large = tmp_path / "large.nrrd"
    large.write_bytes(nrrd(b"", sizes="512 512 512"))
    size = large.stat().st_size + 4 * 512**3
    os.truncate(large, size)  # a file of holes
    in_use = int(Path("/proc/self/statm").read_text().split()[0]) * resource.getpagesize()
    with limit(resource.RLIMIT_AS, in_use + size // 2):
        with pytest.raises(MemoryError) as caught:
            zarngi.read(large)
    assert str(caught.value).startswith(f"{large}: ")


def test_nothing_but_the_library_is_needed_for_reading(path, tmp_path, monkeypatch):
    zarngi.write(tmp_path / "dose.dcm", DOSE, like=GRID)
    zarngi.write(tmp_path / "dose.nii.gz", DOSE, like=GRID)
    for module in ("pydicom", "nibabel"):
        monkeypatch.setitem(sys.modules, module, None)
    for file in (path, tmp_path / "dose.dcm", tmp_path / "dose.nii.gz"):
        np.testing.assert_allclose(zarngi.read(file).dose, DOSE, rtol=1e-6, atol=1e-7)
    for call in (
        lambda: zarngi.write(tmp_path / "other.dcm", DOSE, like=GRID),
        lambda: zarngi.DoseGrid.from_dicom(rt_dose()),
    ):
        with pytest.raises(ImportError, match="needs the package pydicom"):
            call()
    assert not (tmp_path / "other.dcm").exists()


# Warnings


def assert_warned(caught, name, line):
    """Every warning is a FormatWarning of this file and line that begins with the name."""
    assert {w.category for w in caught} == {zarngi.FormatWarning}
    assert {(w.filename, w.lineno) for w in caught} == {(__file__, line)}
    told = [str(w.message).removeprefix(f"{name}: ") for w in caught]
    assert {sentence.partition(";")[0] for sentence in told} == WARNED


def line_here():
    return sys._getframe(1).f_lineno


def test_warnings_point_at_the_caller(tmp_path):
    path = tmp_path / "dose"
    path.write_bytes(without_orientation())
    with pytest.warns() as caught:
        zarngi.read(path), (line := line_here())
    assert_warned(caught, path, line)
    with pytest.warns() as caught:
        zarngi.read_bytes(path.read_bytes()), (line := line_here())
    assert_warned(caught, "<bytes>", line)


def test_warnings_of_a_dataset_point_at_the_caller(monkeypatch):
    # A dose in DICOM leaves nothing open, so the library is given something to say.
    sentences = sorted(WARNED)
    monkeypatch.setattr(_host.Dose, "warnings", lambda self: iter(sentences))
    with pytest.warns() as caught:
        zarngi.DoseGrid.from_dicom(rt_dose()), (line := line_here())
    assert_warned(caught, "<dataset>", line)


def test_no_warning_without_a_reason(path):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert_same(zarngi.read(path))


# Memory


@pytest.fixture
def freed(monkeypatch):
    """The handles that are given back to the library."""
    handles = []
    free = _host._host.zarnGIHost_freeDose

    def record(handle):
        handles.append(handle.value)
        free(handle)

    monkeypatch.setattr(_host._host, "zarnGIHost_freeDose", record)
    return handles


def test_views_keep_the_doses_alive(path, freed):
    grid = zarngi.read(path)
    view, row = grid.dose[1:3, :, ::2], grid.dose[0, 0]
    del grid
    # What was freed would be handed out again to these.
    others = [zarngi.read_bytes(nrrd((DOSE * 0).tobytes())) for _ in range(20)]
    np.testing.assert_array_equal(view, DOSE[1:3, :, ::2])
    del view
    np.testing.assert_array_equal(row, DOSE[0, 0])
    assert freed == [] and len(others) == 20


def test_doses_are_freed_once_when_nothing_looks_at_them(path, freed):
    grid = zarngi.read(path)
    view, owner = grid.dose[1:], weakref.ref(grid.dose.base)
    handle = owner()._handle.value
    del grid
    gc.collect()
    assert owner() is not None and freed == []
    del view
    gc.collect()
    assert owner() is None and freed == [handle]


def test_doses_that_are_not_handed_out_are_freed(freed):
    relative = dicom_bytes(rt_dose(DoseUnits="RELATIVE"))
    with pytest.raises(zarngi.FormatError, match="relative"):
        zarngi.read_bytes(relative)
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(zarngi.FormatWarning):
            zarngi.read_bytes(without_orientation())
    gc.collect()
    assert len(freed) == 2


def resident():
    """Bytes of this process in memory."""
    return int(Path("/proc/self/statm").read_text().split()[1]) * resource.getpagesize()


def test_reading_many_times_takes_no_more_memory(tmp_path):
    path = tmp_path / "large.nrrd"
    path.write_bytes(nrrd(np.ones(1 << 22, np.float32).tobytes(), sizes="256 256 64"))
    size = path.stat().st_size
    assert zarngi.read(path).dose.max() == 1
    before = resident()
    for _ in range(15):
        assert zarngi.read(path).dose.min() == 1
    assert resident() - before < 3 * size


def test_doses_are_not_copied(tmp_path):
    path = tmp_path / "large.nrrd"
    path.write_bytes(nrrd(np.ones(1 << 22, np.float32).tobytes(), sizes="256 256 64"))
    dose = zarngi.read(path).dose
    assert dose.ctypes.data == _host._host.zarnGIHost_getDoses(dose.base._handle)


def test_doses_can_be_written_to(path):
    first, second = zarngi.read(path), zarngi.read(path)
    first.dose[:] *= 2
    first.dose[0, 0, 0] = 7
    assert_same(second)
    expected = DOSE * 2
    expected[0, 0, 0] = 7
    assert_same(first, dose=expected)
    assert path.read_bytes() == nrrd()


def test_copies_stand_on_their_own(path):
    grid = zarngi.read(path)
    copies = [pickle.loads(pickle.dumps(grid)), copy.deepcopy(grid)]
    grid.dose[:] = 0
    for other in copies:
        assert_same(other)


def test_doses_outlive_the_interpreters_end(path):
    program = (
        "import atexit, sys, zarngi\n"
        "atexit.register(lambda: print(float(grid.dose.sum())))\n"
        "grid = zarngi.read(sys.argv[1])\n"
    )
    # What is registered first runs last.
    done = subprocess.run(
        [sys.executable, "-c", program, path], capture_output=True, text=True, check=True
    )
    assert float(done.stdout) == float(DOSE.sum()) and done.stderr == ""


# Threads


def test_threads_read_at_once(tmp_path):
    doses = [DOSE * np.float32(factor) for factor in range(1, 9)]
    paths = []
    for (i, dose), ending in zip(enumerate(doses), itertools.cycle([*ENDINGS, ".dcm"])):
        paths.append(tmp_path / f"{i}{ending}")
        zarngi.write(paths[-1], dose, like=GRID)
    expected = [zarngi.read(path).dose for path in paths]
    broken = tmp_path / "broken"
    broken.write_bytes(nrrd()[:-1])

    def read(i):
        with pytest.raises(zarngi.FormatError, match="broken: "):
            zarngi.read(broken)
        return zarngi.read(paths[i % len(paths)]).dose

    with ThreadPoolExecutor(4) as pool:
        for i, dose in enumerate(pool.map(read, range(400))):
            np.testing.assert_array_equal(dose, expected[i % len(paths)])


def test_other_threads_run_while_a_file_is_read(path):
    program = """
import os, sys, threading
import numpy as np, zarngi

file, pipe = sys.argv[1:]
grids = []
reader = threading.Thread(target=lambda: grids.append(zarngi.read(pipe)))
reader.start()
# Opens only when the reader has opened it too, which then waits for what comes.
with open(pipe, "wb") as end:
    other = zarngi.read(file)
    with open(file, "rb") as source:
        end.write(source.read())
reader.join()
np.testing.assert_array_equal(grids[0].dose, other.dose)
print(other.dose.shape)
"""
    pipe = path.with_name("pipe")
    os.mkfifo(pipe)
    done = subprocess.run(
        [sys.executable, "-c", program, path, pipe], capture_output=True, text=True, timeout=30
    )
    assert (done.stdout, done.stderr) == ("(4, 3, 5)\n", "")


# From memory


@pytest.mark.parametrize("kind", [bytes, bytearray, memoryview, lambda b: np.frombuffer(b, "u1")])
def test_bytes_of_any_kind_are_read(kind):
    assert_same(zarngi.read_bytes(kind(nrrd())))
    assert_same(zarngi.read_bytes(kind(gzip.compress(nibabel_bytes()))))


class BytesFile(io.BytesIO):
    """What nibabel writes to and does not close for good."""

    def close(self):
        pass


def nibabel_bytes():
    affine = np.diag([-2, -2.5, 3, 1])
    affine[:3, 3] = np.multiply(ORIGIN, (-1, -1, 1))
    image = nibabel.Nifti1Image(DOSE.T, affine)
    image.header.set_xyzt_units("mm")
    return image.to_bytes()


@pytest.mark.parametrize("name", ["dose.raw", "dôse.raw", "below/dose.raw"])
def test_a_header_names_its_data(name):
    header = nrrd(b"", data_file=name)
    assert_same(zarngi.read_bytes(header, files={"other": b"", name: DOSE.tobytes()}))
    for files in (None, {}, {"other.raw": DOSE.tobytes()}, {name: b""}):
        with pytest.raises(zarngi.FormatError, match="^<bytes>: "):
            zarngi.read_bytes(header, files=files)


def test_the_data_of_a_nifti_pair_have_no_name():
    image = nibabel.Nifti1Pair(DOSE.T, np.diag([-2, -2.5, 3, 1]))
    image.header.set_xyzt_units("mm")
    parts = {name: nibabel.FileHolder(fileobj=BytesFile()) for name in ("header", "image")}
    image.to_file_map(parts)
    header, data = (parts[name].fileobj.getvalue() for name in ("header", "image"))
    assert_same(zarngi.read_bytes(header, files={"": data}), origin=(0, 0, 0))


def test_bad_bytes_are_told_as_bytes():
    for content in (b"", nrrd()[:-1]):
        with pytest.raises(zarngi.FormatError, match="^<bytes>: "):
            zarngi.read_bytes(content)
    with pytest.raises(TypeError):
        zarngi.read_bytes(nrrd().decode("latin-1"))
    with pytest.raises(BufferError, match="contiguous"):
        zarngi.read_bytes(memoryview(nrrd())[::2])


# DICOM


def rt_dose(bits=16, **changes):
    """An RT Dose of GRID, made by hand: no file meta information, no preamble, no encoding."""
    dataset = pydicom.Dataset()
    dataset.SOPClassUID = "1.2.840.10008.5.1.4.1.1.481.2"
    dataset.SOPInstanceUID = "1.2.3.4.5"
    dataset.FrameOfReferenceUID = "1.2.3.4"
    dataset.Modality = "RTDOSE"
    dataset.DoseUnits = "GY"
    dataset.DoseType = "PHYSICAL"
    dataset.DoseSummationType = "PLAN"
    dataset.DoseGridScaling = 0.001
    dataset.NumberOfFrames, dataset.Rows, dataset.Columns = DOSE.shape
    dataset.ImagePositionPatient = list(ORIGIN)
    dataset.ImageOrientationPatient = [1, 0, 0, 0, 1, 0]
    dataset.PixelSpacing = [SPACING[1], SPACING[0]]
    dataset.GridFrameOffsetVector = [float(i * SPACING[2]) for i in range(len(DOSE))]
    dataset.FrameIncrementPointer = 0x3004000C
    dataset.SamplesPerPixel = 1
    dataset.PhotometricInterpretation = "MONOCHROME2"
    dataset.BitsAllocated = dataset.BitsStored = bits
    dataset.HighBit = bits - 1
    dataset.PixelRepresentation = 0
    dataset.PixelData = np.rint(DOSE / 0.001).astype(f"<u{bits // 8}").tobytes()
    for keyword, value in changes.items():
        setattr(dataset, keyword, value)
    return dataset


STORED = (np.rint(DOSE / 0.001).astype(np.float64) * 0.001).astype(np.float32)


def dicom_bytes(dataset, syntax=pydicom.uid.ExplicitVRLittleEndian):
    """The file of a dataset, written by pydicom alone."""
    file = BytesFile()
    dataset = copy.deepcopy(dataset)
    dataset.file_meta = pydicom.dataset.FileMetaDataset()
    dataset.file_meta.TransferSyntaxUID = syntax
    dataset.is_little_endian = syntax.is_little_endian
    dataset.is_implicit_VR = syntax.is_implicit_VR
    if syntax == pydicom.uid.ExplicitVRBigEndian:
        dataset.PixelData = np.frombuffer(dataset.PixelData, "<u2").astype(">u2").tobytes()
    dataset.save_as(file, write_like_original=False)
    return file.getvalue()


def rle_bytes():
    dataset = rt_dose()
    dataset.file_meta = pydicom.dataset.FileMetaDataset()
    dataset.file_meta.TransferSyntaxUID = pydicom.uid.ExplicitVRLittleEndian
    dataset.is_little_endian, dataset.is_implicit_VR = True, False
    dataset.compress(pydicom.uid.RLELossless, dataset.pixel_array, encoding_plugin="pydicom")
    return dicom_bytes(dataset, pydicom.uid.RLELossless)


DICOM = {
    "implicit": dicom_bytes(rt_dose(), pydicom.uid.ImplicitVRLittleEndian),
    "explicit": dicom_bytes(rt_dose()),
    "32 bits": dicom_bytes(rt_dose(32)),
    "big endian": dicom_bytes(rt_dose(), pydicom.uid.ExplicitVRBigEndian),
    "deflated": dicom_bytes(rt_dose(), pydicom.uid.DeflatedExplicitVRLittleEndian),
    "run lengths": rle_bytes(),
}


def state(dataset):
    """What of a dataset a caller can see."""
    names = ("is_little_endian", "is_implicit_VR", "preamble", "file_meta")
    return str(dataset), [copy.deepcopy(getattr(dataset, name, None)) for name in names]


@pytest.mark.parametrize("kind", DICOM)
@pytest.mark.parametrize("defer", [None, 16])
def test_a_dataset_gives_the_doses_of_its_file(tmp_path, kind, defer):
    path = tmp_path / "dose.dcm"
    path.write_bytes(DICOM[kind])
    dataset = pydicom.dcmread(path, defer_size=defer)
    before = state(pydicom.dcmread(path))
    grid = zarngi.DoseGrid.from_dicom(dataset)
    for other in (grid, zarngi.read(path), zarngi.read_bytes(DICOM[kind])):
        assert_same(other, dose=STORED)
        assert other.frame_of_reference == "1.2.3.4"
    assert state(dataset) == before


@pytest.mark.parametrize("kind", ["implicit", "explicit", "big endian"])
def test_a_dataset_need_not_have_file_meta_information(kind):
    dataset = pydicom.dcmread(BytesFile(DICOM[kind]))
    del dataset.file_meta
    assert_same(zarngi.DoseGrid.from_dicom(dataset), dose=STORED)


def test_a_dataset_may_be_made_by_hand():
    for bits in (16, 32):
        dataset = rt_dose(bits)
        before = state(dataset)
        assert_same(zarngi.DoseGrid.from_dicom(dataset), dose=STORED)
        assert state(dataset) == before


def test_a_dataset_may_have_been_worked_on():
    dataset = pydicom.dcmread(BytesFile(DICOM["run lengths"]))
    dataset.decompress()
    dataset.DoseGridScaling = 0.002
    grid = zarngi.DoseGrid.from_dicom(dataset)
    np.testing.assert_allclose(grid.dose, 2 * STORED, rtol=1e-6)


@pytest.mark.parametrize(
    ("elements", "sentence", "option"),
    [
        ({"DoseUnits": "RELATIVE"},
         "its doses are relative; pass allow_relative=True to read them as such", "allow_relative"),
        ({"DoseType": "ERROR"},
         "holds differences between doses, no doses (Dose Type ERROR); pass allow_error_doses=True "
         "to read them as such", "allow_error_doses"),
    ],
)  # fmt: skip
@pytest.mark.filterwarnings("ignore:.*is of the Dose Type ERROR")
def test_what_is_no_dose_in_gray_is_read_only_when_asked_for(tmp_path, elements, sentence, option):
    dataset = rt_dose(**elements)
    content = dicom_bytes(dataset)
    path = tmp_path / "dose.dcm"
    path.write_bytes(content)
    for name, call in [
        (path, lambda **options: zarngi.read(path, **options)),
        ("<bytes>", lambda **options: zarngi.read_bytes(content, **options)),
        ("<dataset>", lambda **options: zarngi.DoseGrid.from_dicom(dataset, **options)),
    ]:
        with pytest.raises(zarngi.FormatError) as caught:
            call()
        assert str(caught.value) == f"{name}: {sentence}"
        assert_same(call(**{option: True}), dose=STORED)


def test_datasets_that_are_no_dose_are_refused():
    for dataset in (rt_dose(Modality="CT", SOPClassUID="1.2"), rt_dose(PixelData=b"\0" * 10)):
        with pytest.raises(zarngi.FormatError, match="^<dataset>: "):
            zarngi.DoseGrid.from_dicom(dataset)
    with pytest.raises(zarngi.FormatError, match="^<dataset>: cannot be written as DICOM"):
        zarngi.DoseGrid.from_dicom(rt_dose(Rows="three"))
    with pytest.raises(TypeError, match="bytes; accepted: a pydicom Dataset"):
        zarngi.DoseGrid.from_dicom(DICOM["explicit"])


# Writing


def written_types():
    codes = ["u1", "i1", "u2", "i2", "u4", "i4", "u8", "i8", "f4", "f8"]
    return {code: code for code in codes} | {
        "bool": "u1",
        "f2": "f4",
        ">f4": "f4",
        ">i2": "i2",
        "longdouble": "f8",
    }


MET = dict(
    u1="UCHAR", i1="CHAR", u2="USHORT", i2="SHORT", u4="UINT", i4="INT", u8="ULONG_LONG",
    i8="LONG_LONG", f4="FLOAT", f8="DOUBLE",
)  # fmt: skip


def header_and_data(content, end):
    header, data = content.split(end, 1)
    pairs = (line.replace(" =", ":", 1).split(": ", 1) for line in header.decode().splitlines())
    return {pair[0]: pair[1] for pair in pairs if len(pair) == 2}, data


def judged(path, code):
    """Values [z, y, x], spacing and origin of a file, by an independent reader; checks the type."""
    content = path.read_bytes()
    if ".nii" in path.name.lower():
        raw = gzip.decompress(content) if path.name.lower().endswith("gz") else content
        image = nibabel.Nifti1Image.from_bytes(raw)
        assert image.get_data_dtype() == np.dtype(code) and image.header.get_xyzt_units()[0] == "mm"
        affine = np.diag([-1, -1, 1, 1]) @ image.affine
        assert np.count_nonzero(affine[:3, :3]) == 3
        return np.asarray(image.dataobj).T, affine.diagonal()[:3], affine[:3, 3]
    if path.name.lower().endswith(".nrrd"):
        header, data = header_and_data(content, b"\n\n")
        names = {"float": "f4", "double": "f8"}
        assert np.dtype(names.get(header["type"], header["type"])) == np.dtype(code)
        assert header["space"] == "left-posterior-superior" and header["endian"] == "little"
        sizes = [int(n) for n in header["sizes"].split()]
        steps = [ast.literal_eval(vector) for vector in header["space directions"].split()]
        assert np.count_nonzero(steps) == 3
        values = np.frombuffer(gzip.decompress(data), f"<{code}").reshape(sizes[::-1])
        return values, np.diagonal(steps), ast.literal_eval(header["space origin"])
    header, data = header_and_data(content, b"LOCAL\n")
    assert header["ElementType"] == f"MET_{MET[code]}" and header["CompressedData"] == "True"
    assert header["TransformMatrix"] == "1 0 0 0 1 0 0 0 1"
    sizes = [int(n) for n in header["DimSize"].split()]
    values = np.frombuffer(zlib.decompress(data), f"<{code}").reshape(sizes[::-1])
    return values, np.fromstring(header["ElementSpacing"], sep=" "), header["Offset"].split()


def assert_written(path, values, code):
    stored, spacing, origin = judged(path, code)
    np.testing.assert_array_equal(stored, values.astype(code))
    np.testing.assert_array_equal(spacing, SPACING)
    np.testing.assert_array_equal(np.asarray(origin, float), ORIGIN)


@pytest.mark.parametrize("ending", ENDINGS)
@pytest.mark.parametrize(("dtype", "code"), written_types().items())
def test_every_type_is_written(tmp_path, ending, dtype, code):
    path = tmp_path / f"dose{ending}"
    values = np.rint(DOSE).astype(dtype)
    if values.dtype.kind in "iu":
        values.flat[:2] = np.iinfo(values.dtype).min, np.iinfo(values.dtype).max
    zarngi.write(path, values, like=GRID)
    assert_written(path, values, code)
    assert_same(zarngi.read(path), dose=values.astype(np.float32))
    assert list(tmp_path.iterdir()) == [path]


@pytest.mark.parametrize("ending", [".MHA", ".Nrrd", ".NII", ".Nii.gz", ".nii.GZ"])
def test_endings_are_taken_in_any_case(tmp_path, ending):
    path = tmp_path / f"a.b{ending}"
    zarngi.write(str(path), DOSE, like=GRID)
    assert_written(path, DOSE, "f4")


def test_arrays_of_any_layout_are_written(tmp_path):
    path = tmp_path / "dose.mha"
    wide = np.zeros((8, 3, 10), np.float32)
    wide[::2, :, ::2] = DOSE
    turned = np.flip(np.flip(DOSE, 1).copy(), 1)
    for values in (np.asfortranarray(DOSE), wide[::2, :, ::2], turned, DOSE.tolist()):
        zarngi.write(path, values, like=GRID)
        assert_written(path, DOSE, np.asarray(values).dtype.str[1:])


def test_gamma_maps_keep_their_gaps(tmp_path):
    gamma = DOSE.copy()
    gamma[0] = np.nan
    for ending in ENDINGS:
        zarngi.write(tmp_path / f"gamma{ending}", gamma, like=GRID)
        assert_written(tmp_path / f"gamma{ending}", gamma, "f4")


def test_slices_are_written_as_volumes(tmp_path):
    plane = zarngi.DoseGrid(DOSE[0], (2, 2.5), (-7.5, 12.25))
    zarngi.write(tmp_path / "plane.nrrd", plane.dose, like=plane)
    assert_same(zarngi.read(tmp_path / "plane.nrrd"), (2, 2.5, 1), (-7.5, 12.25, 0), DOSE[:1])


def test_dicom_is_written_with_32_bits(tmp_path):
    path = tmp_path / "dose.DCM"
    zarngi.write(path, DOSE, like=zarngi.DoseGrid(DOSE, SPACING, ORIGIN, "1.2.3"))
    dataset = pydicom.dcmread(path)
    assert (dataset.BitsAllocated, dataset.FrameOfReferenceUID) == (32, "1.2.3")
    stored = dataset.pixel_array * float(dataset.DoseGridScaling)
    np.testing.assert_allclose(stored, DOSE, rtol=1e-7, atol=DOSE.max() / 2**32)
    grid = zarngi.read(path)
    np.testing.assert_allclose(grid.dose, DOSE, rtol=1e-7, atol=DOSE.max() / 2**32)
    assert (grid.spacing, grid.origin, grid.frame_of_reference) == (SPACING, ORIGIN, "1.2.3")
    for bad in (DOSE - 50, DOSE * np.nan):
        with pytest.raises(ValueError, match="accepted: finite, 0 and up"):
            zarngi.write(path, bad, like=GRID)


LONG = zarngi.DoseGrid(np.zeros((1, 1, 40000), np.float32), SPACING, ORIGIN)


@pytest.mark.parametrize(
    ("name", "array", "like", "error", "message"),
    [
        ("dose.png", DOSE, GRID, ValueError, "accepted: .mha, .nrrd, .nii, .nii.gz, .dcm"),
        ("nrrd", DOSE, GRID, ValueError, "unknown ending"),
        ("dose.mha", DOSE[1:], GRID, ValueError, r"shape \(3, 3, 5\); accepted: \(4, 3, 5\)"),
        ("dose.mha", DOSE + 1j, GRID, TypeError, "data type complex"),
        ("dose.nii", LONG.dose, LONG, ValueError, "dose.nii: .* 40000 voxels"),
        ("no/dose.mha", DOSE, GRID, FileNotFoundError, "no/dose.mha"),
        ("no/dose.dcm", DOSE, GRID, FileNotFoundError, "no"),
    ],
)
def test_bad_writes_leave_nothing(tmp_path, name, array, like, error, message):
    with pytest.raises(error, match=message) as caught:
        zarngi.write(tmp_path / name, array, like=like)
    assert not isinstance(caught.value, zarngi.FormatError)  # which is about files that are read
    assert list(tmp_path.iterdir()) == []


@pytest.mark.parametrize("ending", ENDINGS)
def test_a_failed_write_keeps_the_old_file(tmp_path, ending):
    path = tmp_path / f"dose{ending}"
    zarngi.write(path, DOSE, like=GRID)
    before = path.read_bytes()
    noise = np.random.default_rng(2).random((40, 40, 40))
    # Files stay below the limit, as they do on a full disk.
    with limit(resource.RLIMIT_FSIZE, 20000), pytest.raises(OSError) as caught:
        zarngi.write(path, noise, like=zarngi.DoseGrid(noise, 1, (0, 0, 0)))
    assert (caught.value.errno, caught.value.filename) == (errno.EFBIG, str(path))
    assert path.read_bytes() == before and list(tmp_path.iterdir()) == [path]


def test_a_folder_is_no_file_to_replace(tmp_path):
    path = tmp_path / "dose.nrrd"
    path.mkdir()
    with pytest.raises(IsADirectoryError):
        zarngi.write(path, DOSE, like=GRID)
    assert list(tmp_path.rglob("*")) == [path]


@pytest.mark.parametrize("failing", ["replace", "write"])
def test_a_failed_write_of_dicom_keeps_the_old_file(tmp_path, monkeypatch, failing):
    path = tmp_path / "dose.dcm"
    zarngi.write(path, DOSE, like=GRID)
    before = path.read_bytes()

    def full(*_):
        raise OSError(errno.ENOSPC, "No space left on device")

    if failing == "replace":
        monkeypatch.setattr(os, "replace", full)
    else:
        monkeypatch.setattr(_write, "_write_bytes", lambda file, data: full(file.write(data[:9])))
    with pytest.raises(OSError, match="No space left"):
        zarngi.write(path, DOSE * 2, like=GRID)
    assert path.read_bytes() == before
    assert list(tmp_path.iterdir()) == [path]


#: Prints every mask of new files that a process is seen to have, until standard input ends.
WATCH_MASK = """
import select, sys
seen = set()
while not select.select([sys.stdin], [], [], 0)[0]:
    for _ in range(100):
        with open(f"/proc/{sys.argv[1]}/status", "rb", 0) as status:
            seen.add(status.read(200).partition(b"Umask:")[2].split()[0].decode())
print(*seen)
"""


@pytest.fixture
def mask():
    """An uncommon mask of new files."""
    old = os.umask(0o027)
    yield "0027"
    os.umask(old)


def test_threads_write_at_once(tmp_path, mask):
    paths = [tmp_path / f"{i}.nrrd" for i in range(2000)]
    command = [sys.executable, "-c", WATCH_MASK, str(os.getpid())]
    with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as watcher:
        with ThreadPoolExecutor(4) as pool:
            list(pool.map(lambda path: zarngi.write(path, DOSE, like=GRID), paths))
        # The mask is the whole process's, and other threads make files meanwhile.
        assert watcher.communicate()[0].decode().split() == [mask]
    assert sorted(tmp_path.iterdir()) == sorted(paths)
    for path in paths:
        assert path.stat().st_mode & 0o777 == 0o640
        assert_written(path, DOSE, "f4")
