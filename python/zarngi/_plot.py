"""Drawing of a result."""

from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._grid import DoseGrid
from ._optional import need
from ._structures import Structure
from .io._comparison import UNREACHED

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

    from ._result import GammaResult

_AXIS_NAMES = ("z", "y", "x")  # by dimension of a three-dimensional dose array
_DOSE_COLOURS = "viridis"
#: Blues below 1, oranges and reds above: a break that the colour-blind see too.
_PASSED_COLOUR = "#4393c3"
_FAILED_COLOUR = "#d6604d"
#: What is shown around the tested voxels.
_MARGIN = 25.0  # mm


@dataclass(frozen=True)
class _Cut:
    """Which slice is shown, and what its sides are called."""

    dimension: int | None  # None: the dose array is the slice
    index: int
    position: float | None  # mm
    across: str  # axis drawn to the right
    along: str  # axis drawn upwards or, for y, downwards

    @property
    def title(self) -> str:
        if self.dimension is None:
            return ""
        return f"{_AXIS_NAMES[self.dimension]} = {self.position:g} mm"


def plot_result(
    result: GammaResult,
    axis: str | int | None,
    index: int | None,
    figure: Figure | None,
    structures: Mapping[str, Structure] | None,
) -> Figure:
    """Draw a result; see `GammaResult.plot`."""
    cut = _cut(result, axis, index)
    if figure is None:
        pyplot = need("matplotlib.pyplot", "matplotlib", "plotting")
        figure = pyplot.figure(figsize=(11, 8.5), layout="constrained")
    panels = figure.subplots(2, 2)
    _draw_doses(figure, panels[0], result, cut)
    _draw_gamma(figure, panels[1, 0], result, cut)
    _draw_histogram(panels[1, 1], result)
    if structures is not None:
        _draw_outlines([*panels[0], panels[1, 0]], result, cut, structures)
    figure.suptitle(_title(result))
    return figure


def _title(result: GammaResult) -> str:
    rate = "nothing tested" if result.empty else f"{result.pass_rate:.2f} % passed"
    return f"Gamma index {result.criteria}, cut-off {result.criteria.dose_cutoff:g} %: {rate}"


def _cut(result: GammaResult, axis: str | int | None, index: int | None) -> _Cut:
    ndim = result.gamma.ndim
    if axis is None:
        normal = result.reference.plane_normal if isinstance(result.reference, DoseGrid) else None
        axis = normal or "z"
    if ndim == 1:
        raise ValueError("a result on a line has no slices to plot; accepted: two or three axes")
    if ndim == 2:
        if index not in (None, 0) or axis not in ("z", 0):
            raise ValueError(
                f"axis={axis!r}, index={index!r} name no slice of a 2D result; accepted: the "
                "defaults"
            )
        return _Cut(None, 0, None, "x", "y")
    dimension = _dimension(axis)
    count = result.gamma.shape[dimension]
    if index is None:
        index = _telling_index(result, dimension)
    index = _checks.integer("index", index, -count, count - 1) % count
    across, along = {"z": ("x", "y"), "y": ("x", "z"), "x": ("y", "z")}[_AXIS_NAMES[dimension]]
    position = float(result.reference.axes[dimension][index])
    return _Cut(dimension, index, position, across, along)


def _dimension(axis: str | int) -> int:
    if isinstance(axis, str):
        return _AXIS_NAMES.index(_checks.choice("axis", axis, _AXIS_NAMES))
    return _checks.integer("axis", axis, 0, 2)


def _telling_index(result: GammaResult, dimension: int) -> int:
    others = tuple(d for d in range(3) if d != dimension)
    failing = np.count_nonzero(_failed(result), axis=others)
    if failing.any():
        return int(np.argmax(failing))
    return int(np.argmax(np.count_nonzero(result.gamma >= 0, axis=others)))


def _failed(result: GammaResult) -> npt.NDArray[np.bool_]:
    failed: npt.NDArray[np.bool_] = (
        result.gamma > 1 if result.criteria.mode == "map" else result.gamma == 0
    )
    return failed


def _nearest_slice(grid: DoseGrid, cut: _Cut) -> npt.NDArray[Any] | None:
    """The slice of the grid whose voxels contain the cut, or None outside the grid."""
    if cut.dimension is None or cut.position is None:
        return grid.dose
    axis = 2 - cut.dimension
    index = round((cut.position - grid.origin[axis]) / grid.spacing[axis])
    if not 0 <= index < grid.shape[cut.dimension]:
        return None
    values: npt.NDArray[Any] = np.take(grid.dose, index, axis=cut.dimension)
    return values


def _extent(grid: DoseGrid, cut: _Cut) -> tuple[float, float, float, float]:
    """Outer faces of the slice in mm: left, right, bottom, top."""

    def faces(name: str) -> tuple[float, float]:
        dimension = grid.dose.ndim - 1 - "xyz".index(name)
        axis = "xyz".index(name)
        low = grid.origin[axis] - grid.spacing[axis] / 2
        return low, low + grid.spacing[axis] * grid.shape[dimension]

    return faces(cut.across) + faces(cut.along)


def _draw_slice(panel: Axes, values: Any, grid: DoseGrid, cut: _Cut, **options: Any) -> Any:
    return panel.imshow(
        values, origin="lower", extent=_extent(grid, cut), interpolation="nearest", **options
    )


def _window(result: GammaResult, cut: _Cut) -> tuple[float, float, float, float]:
    """What is shown of the slice: the box of all tested voxels and a margin, inside the grid."""
    extent = _extent(result.reference, cut)
    if result.empty:
        return extent
    tested = result.gamma >= 0
    window: list[float] = []
    for name, low, high in zip((cut.across, cut.along), extent[::2], extent[1::2]):
        dimension = tested.ndim - 1 - "xyz".index(name)
        others = tuple(d for d in range(tested.ndim) if d != dimension)
        positions = result.reference.axes[dimension][tested.any(axis=others)]
        window += [max(low, positions[0] - _MARGIN), min(high, positions[-1] + _MARGIN)]
    left, right, bottom, top = window
    return left, right, bottom, top


def _frame(panel: Axes, result: GammaResult, cut: _Cut, title: str) -> None:
    """The same window on the patient in every panel, with the back of the patient below."""
    left, right, bottom, top = _window(result, cut)
    panel.set(xlim=(left, right), aspect="equal")
    panel.set_ylim((top, bottom) if cut.along == "y" else (bottom, top))
    panel.set(xlabel=f"{cut.across} (mm)", ylabel=f"{cut.along} (mm)")
    panel.set_title(f"{title}, {cut.title}" if cut.title else title)


def _draw_doses(figure: Figure, panels: Any, result: GammaResult, cut: _Cut) -> None:
    grids = {"Reference": result.reference, "Evaluation": result.evaluation}
    slices = {name: _nearest_slice(grid, cut) for name, grid in grids.items()}
    largest = max(float(values.max()) for values in slices.values() if values is not None)
    image = None
    for panel, (name, values) in zip(panels, slices.items()):
        if values is None:
            panel.text(0.5, 0.5, "outside the grid", transform=panel.transAxes, ha="center")
        else:
            image = _draw_slice(
                panel, values, grids[name], cut, cmap=_DOSE_COLOURS, vmin=0, vmax=largest or 1
            )
        _frame(panel, result, cut, name)
    figure.colorbar(image, ax=list(panels), label="Dose (Gy)")


def _gamma_colours() -> Any:
    """Colours of gamma, with the break in the middle of the scale."""
    colours = need("matplotlib", "matplotlib", "plotting").colormaps
    passed = colours["Blues"](np.linspace(0.15, 0.85, 128))
    failed = colours["YlOrRd"](np.linspace(0.3, 1, 128))
    listed = need("matplotlib.colors", "matplotlib", "plotting").ListedColormap
    return listed(np.vstack([passed, failed]), name="gamma")


def _draw_gamma(figure: Figure, panel: Axes, result: GammaResult, cut: _Cut) -> None:
    colors = need("matplotlib.colors", "matplotlib", "plotting")
    gamma = result.gamma
    if cut.dimension is not None:
        gamma = np.take(gamma, cut.index, axis=cut.dimension)
    panel.set_facecolor("0.85")
    if result.criteria.mode == "map":
        reached = gamma[gamma < UNREACHED]
        top = max(2.0, float(reached.max(initial=0)))
        norm = colors.TwoSlopeNorm(1, 0, top)
        image = _draw_slice(panel, gamma, result.reference, cut, cmap=_gamma_colours(), norm=norm)
        figure.colorbar(image, ax=panel, label="Gamma (grey: not tested)")
    else:
        two = colors.ListedColormap([_FAILED_COLOUR, _PASSED_COLOUR])
        image = _draw_slice(panel, gamma, result.reference, cut, cmap=two, vmin=0, vmax=1)
        bar = figure.colorbar(image, ax=panel, ticks=[0.25, 0.75])
        bar.ax.set_yticklabels(["failed", "passed"])
    _frame(panel, result, cut, "Gamma")


def _draw_outlines(
    panels: list[Axes], result: GammaResult, cut: _Cut, structures: Mapping[str, Structure]
) -> None:
    """The edges of the structures' voxels in the slice, which the last panel names."""
    if cut.dimension is None:
        raise ValueError("structures need a result of three dimensions")
    left, right, bottom, top = _extent(result.reference, cut)
    named: dict[str, str] = {}
    for number, (name, structure) in enumerate(structures.items()):
        inside = np.take(structure.mask(result.reference), cut.index, axis=cut.dimension)
        if not inside.any():
            continue
        colour = named[name] = structure.colour or f"C{number % 10}"
        segments = _edges(inside, (left, bottom), _steps(inside, left, right, bottom, top))
        for panel in panels:
            lines = need("matplotlib.collections", "matplotlib", "plotting").LineCollection
            panel.add_collection(lines(segments, colors=colour, linewidths=1.2))
    if named:
        lines = need("matplotlib.lines", "matplotlib", "plotting").Line2D
        handles = [lines([], [], color=colour, label=name) for name, colour in named.items()]
        panels[-1].legend(handles=handles, fontsize="x-small", loc="upper right")


def _steps(
    inside: npt.NDArray[np.bool_], left: float, right: float, bottom: float, top: float
) -> tuple[float, float]:
    return (right - left) / inside.shape[1], (top - bottom) / inside.shape[0]


def _edges(
    inside: npt.NDArray[np.bool_], corner: tuple[float, float], steps: tuple[float, float]
) -> npt.NDArray[np.float64]:
    """Lines between pixels inside and outside, shape (n, 2, 2): from and to, across and along."""
    padded = np.pad(inside, 1)
    rows, columns = np.nonzero(padded[1:, 1:-1] != padded[:-1, 1:-1])
    across = np.stack([np.stack([columns, rows], 1), np.stack([columns + 1, rows], 1)], 1)
    rows, columns = np.nonzero(padded[1:-1, 1:] != padded[1:-1, :-1])
    along = np.stack([np.stack([columns, rows], 1), np.stack([columns, rows + 1], 1)], 1)
    return np.concatenate([across, along]) * np.array(steps) + np.array(corner)


def _draw_histogram(panel: Axes, result: GammaResult) -> None:
    panel.set_title("Tested voxels")
    panel.set_ylabel("Voxels")
    if result.criteria.mode != "map" or result.empty:
        panel.bar(
            ["passed", "failed"],
            [result.passed, result.failed],
            color=[_PASSED_COLOUR, _FAILED_COLOUR],
        )
        return
    top = max(1.0, result.maximum if np.isfinite(result.maximum) else 1.0)
    # Twenty bins to a gamma of 1, so that no bin holds passed and failed voxels.
    bins = np.arange(int(np.ceil(top * 20)) + 1) / 20
    counts, edges = result.histogram(bins)
    colours = np.where(edges[:-1] < 1, _PASSED_COLOUR, _FAILED_COLOUR)
    panel.bar(edges[:-1], counts, width=1 / 20, align="edge", color=colours)
    panel.axvline(1, color="0.3", linewidth=1)
    panel.set(xlabel="Gamma", xlim=(0, float(edges[-1])))
    facts = f"mean {result.mean:.3f}\nmaximum {result.maximum:.3f}"
    if result.unreached:
        facts += f"\n{result.unreached} unreached"
    panel.text(0.97, 0.95, facts, transform=panel.transAxes, ha="right", va="top")
