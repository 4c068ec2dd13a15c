"""Independent readers of dose files; what each makes of a file, in the patient's axes."""

import dataclasses
import gzip
import io
import multiprocessing
import os
import subprocess
import warnings
from pathlib import Path

import nibabel
import numpy as np
import pydicom
from pydicom.uid import ExplicitVRBigEndian, ExplicitVRLittleEndian, ImplicitVRLittleEndian
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOImage import vtkMetaImageReader

#: Two readers may compute a place in different ways; NIfTI keeps it in single precision.
PLACE_TOLERANCE = 1e-4  # mm


class NoAnswer(Exception):
    """The judge cannot read the file."""


@dataclasses.dataclass
class Judgement:
    values: np.ndarray  # [z, y, x], float32
    spacing: np.ndarray
    origin: np.ndarray

    def differs_from(self, grid):
        """What a grid of the package has otherwise, or nothing."""
        if grid.dose.shape != self.values.shape:
            return f"shape {grid.dose.shape}, not {self.values.shape}"
        if grid.dose.tobytes() != self.values.tobytes():
            return "doses"
        for name in ("spacing", "origin"):
            told, judged = np.array(getattr(grid, name)), getattr(self, name)
            if not np.allclose(told, judged, rtol=1e-6, atol=PLACE_TOLERANCE):
                return f"{name} {told}, not {judged}"
        return ""


def along_patient(values, steps, origin):
    """Turns values [k, j, i] whose indices run along the steps (mm) into the patient's axes."""
    steps, origin = np.array(steps, float), np.array(origin, float)
    axes = np.abs(steps).argmax(1)
    if sorted(axes) != [0, 1, 2]:
        raise NoAnswer("the axes are not those of the patient")
    spacing = np.linalg.norm(steps, axis=1)
    for i in range(3):
        if steps[i, axes[i]] < 0:
            values = np.flip(values, 2 - i)
            origin = origin + steps[i] * (values.shape[2 - i] - 1)
    order = [int(np.flatnonzero(axes == axis)[0]) for axis in range(3)]
    values = values.transpose([2 - order[axis] for axis in (2, 1, 0)])
    return Judgement(np.ascontiguousarray(values, np.float32), spacing[order], origin)


def unzipped(contents):
    if contents[:2] != b"\x1f\x8b":
        return contents
    try:
        return gzip.decompress(contents)
    except (OSError, EOFError, ValueError) as error:
        raise NoAnswer(error) from error


def by_pydicom(path):
    contents = unzipped(Path(path).read_bytes())
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")  # about values that no dose depends on
        try:
            data = pydicom.dcmread(io.BytesIO(contents), force=True)
            complete(data)
            stored = data.pixel_array.reshape(-1, data.Rows, data.Columns)
            values = (stored.astype(float) * float(data.DoseGridScaling)).astype(np.float32)
            return along_patient(values, *dicom_place(data, len(stored)))
        except Exception as error:  # whatever a damaged file makes it raise
            raise NoAnswer(repr(error)) from error


def complete(data):
    """Adds what pydicom asks for although no dose depends on it, or what it has found out."""
    data.setdefault("PhotometricInterpretation", "MONOCHROME2")
    data.setdefault("BitsStored", data.BitsAllocated)
    if "TransferSyntaxUID" not in data.file_meta:
        plain = ImplicitVRLittleEndian if data.is_implicit_VR else ExplicitVRLittleEndian
        data.file_meta.TransferSyntaxUID = plain if data.is_little_endian else ExplicitVRBigEndian


def dicom_place(data, frames):
    """Steps along columns, rows and frames, and the origin."""
    row, column = np.reshape([float(c) for c in data.ImageOrientationPatient], (2, 3))
    origin = np.array([float(c) for c in data.ImagePositionPatient])
    normal = np.cross(row, column)
    spacing = [float(s) for s in data.PixelSpacing]
    if frames == 1:
        step = normal * float(data.SliceThickness)
    else:
        offsets = [float(o) for o in data.GridFrameOffsetVector]
        step = normal * (offsets[-1] - offsets[0]) / (len(offsets) - 1)
        if offsets[0] != 0:  # positions along the patient's axis
            step = step * np.sign(normal[2])
    return [row * spacing[1], column * spacing[0], step], origin


#: By the bits of xyzt_units that are about space.
NIFTI_UNITS = {0: 1.0, 1: 1000.0, 2: 1.0, 3: 0.001}


def by_nibabel(path):
    path = Path(path)
    contents = unzipped(path.read_bytes())
    kind = nibabel.Nifti2Image if contents[4:7] in (b"n+2", b"ni2") else nibabel.Nifti1Image
    nibabel.imageglobals.logger.disabled = True
    try:
        image = kind.from_bytes(contents)
        values = np.asanyarray(image.dataobj)
        values = values.reshape(values.shape[:3]).T.astype(np.float32)
        # nibabel leaves lengths in the unit of the file.
        unit = NIFTI_UNITS[int(image.header["xyzt_units"]) & 7]
        affine = np.diag([-unit, -unit, unit, 1]) @ image.affine
    except Exception as error:  # whatever a damaged file makes it raise
        raise NoAnswer(repr(error)) from error
    return along_patient(values, affine[:3, :3].T, affine[:3, 3])


def meta_entries(path):
    """The header as lines of keys and values, for what VTK does not apply."""
    header = Path(path).read_bytes().split(b"ElementDataFile", 1)[0].decode("latin-1")
    lines = (line.partition("=") for line in header.splitlines())
    return {key.strip(): value.strip() for key, _, value in lines}


LENGTHS = {"um": 0.001, "mm": 1.0, "cm": 10.0}


def read_by_vtk(path):
    reader, errors = vtkMetaImageReader(), []
    reader.AddObserver("ErrorEvent", lambda *_: errors.append("error"))
    reader.SetFileName(str(path))
    reader.Update()
    image = reader.GetOutput()
    scalars = image.GetPointData().GetScalars()
    if errors or reader.GetErrorCode() or scalars is None:
        raise NoAnswer("VTK gives an error")
    if scalars.GetNumberOfComponents() != 1:
        raise NoAnswer("several values per voxel")
    values = vtk_to_numpy(scalars).reshape(image.GetDimensions()[::-1])
    # VTK leaves the directions and the unit of length to its callers.
    entries = meta_entries(path)
    matrix = np.array(entries.get("TransformMatrix", "1 0 0 0 1 0 0 0 1").split(), float)
    unit = LENGTHS.get(entries.get("DistanceUnits", "mm"), 1.0)
    steps = matrix.reshape(3, 3) * np.reshape(image.GetSpacing(), (3, 1)) * unit
    return along_patient(values, steps, np.array(image.GetOrigin()) * unit)


def serve_vtk(connection):
    """Reads the files whose paths come, and sends back what VTK gives, until none comes."""
    os.dup2(os.open(os.devnull, os.O_WRONLY), 2)
    while path := connection.recv():
        try:
            connection.send(read_by_vtk(path))
        except Exception as error:  # whatever a damaged file makes it raise
            connection.send(NoAnswer(repr(error)))


class Vtk:
    """VTK in a process of its own: a damaged file may end it, or keep it busy for ever."""

    PATIENCE = 5  # seconds

    def __init__(self):
        self.process = None

    def start(self):
        context = multiprocessing.get_context("fork")
        self.connection, other = context.Pipe()
        self.process = context.Process(target=serve_vtk, args=(other,), daemon=True)
        self.process.start()
        other.close()

    def read(self, path):
        if self.process is None:
            self.start()
        try:
            self.connection.send(str(path))
            if not self.connection.poll(self.PATIENCE):
                raise EOFError("no answer in time")
            answer = self.connection.recv()
        except (EOFError, OSError) as error:
            self.process.kill()
            self.process.join()
            self.process = None
            raise NoAnswer(repr(error)) from error
        if isinstance(answer, NoAnswer):
            raise answer
        return answer


by_vtk = Vtk().read


TEEM_TYPES = {
    "signed char": "i1", "unsigned char": "u1", "short": "i2", "unsigned short": "u2",
    "int": "i4", "unsigned int": "u4", "long long int": "i8", "unsigned long long int": "u8",
    "float": "f4", "double": "f8",
}
TEEM_SPACES = {
    "left-posterior-superior": (1, 1, 1), "right-anterior-superior": (-1, -1, 1),
    "left-anterior-superior": (1, -1, 1), "3D-right-handed": (1, 1, 1),
    "scanner-xyz": (1, 1, 1), None: (1, 1, 1),
}


def by_teem(path):
    """By the tool of teem, which writes any NRRD anew in its plainest form."""
    path = Path(path)
    run = subprocess.run(
        ["teem-unu", "save", "-f", "nrrd", "-e", "raw", "-i", path.name, "-o", "-"],
        cwd=path.parent, capture_output=True, timeout=60, check=False,
    )
    header, end, data = run.stdout.partition(b"\n\n")
    if run.returncode != 0 or not end:
        raise NoAnswer(run.stderr[:300].decode("latin-1"))
    lines = header.decode("latin-1").splitlines()[1:]
    fields = dict(line.split(": ", 1) for line in lines if ": " in line and line[0] != "#")
    sizes = [int(size) for size in fields["sizes"].split()]
    order = ">" if fields.get("endian") == "big" else "<"
    values = np.frombuffer(data, order + TEEM_TYPES[fields["type"]]).reshape(sizes[::-1])
    steps, origin = teem_place(fields)
    kept = [i for i, step in enumerate(steps) if step is not None]
    if len(kept) != 3:
        raise NoAnswer("no volume")
    values = values.reshape([sizes[i] for i in kept][::-1])
    return along_patient(values, [steps[i] for i in kept], origin)


def teem_vector(text):
    return None if text == "none" else np.array(text.strip("()").split(","), float)


def teem_place(fields):
    """The step of each axis or None, and the origin; teem leaves lengths in the file's unit."""
    if "space directions" not in fields:
        spacings = [float(s) for s in fields["spacings"].split()]
        mins = [float(s) for s in fields.get("axis mins", "0 0 0").split()]
        cells = [c != "node" for c in fields.get("centerings", "cell cell cell").split()]
        half = [h / 2 * (c and "axis mins" in fields) for h, c in zip(spacings, cells)]
        return list(np.diag(spacings)), np.add(mins, half)
    sign = np.array(TEEM_SPACES[fields.get("space")])
    steps = [teem_vector(text) for text in fields["space directions"].split(" ")]
    origin = teem_vector(fields.get("space origin", "(0,0,0)"))
    return [None if step is None else step * sign for step in steps], origin * sign


JUDGES = {"NRRD": by_teem, "MetaImage": by_vtk, "NIfTI": by_nibabel, "DICOM RT Dose": by_pydicom}
