"""A run: every pair of a manifest that is not done yet."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from contextlib import ExitStack
from dataclasses import dataclass, replace
from typing import Any

import zarngi

from .. import _checks
from .._criteria import Criterion
from .._cpus import MAX_THREADS, available_cpus
from . import stopping
from .cluster import DaskCluster
from .engine import Engine, ThisProcess
from .errors import WITHOUT_PAGES, CohortError
from .files import are_same
from .lock import only_writer
from .manifest import Manifest, Pair, as_pairs
from .pages import template
from .progress import Counts
from .record import READ_TIMEOUT, Outcome, Pages, Task
from .results import Known, Results
from .settings import Settings, asked_of, parse_criteria
from .table import load_open


@dataclass(frozen=True)
class Summary:
    """How a run ended.

    Attributes
    ----------
    total, kept, computed, failed : int
        Pairs in all, done before, computed now, and failed of both.
    seconds : float
        The run took.
    busy : float
        Share of the workers' time in which they read files or compared doses; NaN when nothing was
        computed.
    workers : int
        Pairs computed at a time.
    """

    total: int
    kept: int
    computed: int
    failed: int
    seconds: float
    busy: float
    workers: int


@dataclass(frozen=True)
class Shard:
    """Part `number` (from 1) of `of`: every `of`-th pair."""

    number: int
    of: int

    def __post_init__(self) -> None:
        if not 1 <= self.number <= self.of:
            raise ValueError(f"the shard {self.number}/{self.of} is not one of 1/N to N/N")

    def holds(self, place: int) -> bool:
        """Whether the pair at a place (from 0) belongs to it."""
        return place % self.of == self.number - 1

    def size(self, count: int) -> int:
        """How many of `count` pairs belong to it."""
        return len(range(self.number - 1, count, self.of))


_WHOLE = Shard(1, 1)


@dataclass
class Plan:
    """Which pairs of a run are to be computed."""

    pairs: Manifest | Sequence[Pair]
    settings: Settings
    shard: Shard = _WHOLE
    pages: Pages | None = None
    verify: bool = False
    read_timeout: float = READ_TIMEOUT

    @property
    def count(self) -> int:
        """Pairs of the run."""
        return self.shard.size(len(self.pairs))

    def tasks(self, results: Results, counts: Counts) -> Iterator[Task]:
        """What is to be computed; the others are counted as kept."""
        for place, pair in enumerate(self.pairs):
            if not self.shard.holds(place):
                continue
            task = Task(place + 1, pair, pair.settings(self.settings), self.pages,
                        read_timeout=self.read_timeout)  # fmt: skip
            known = results.known(pair.id)
            if known is None or not self._is_done(task, known):
                yield task
            elif self.verify and not known.is_failure:
                yield replace(task, known=known.files)
            else:
                results.describe(task.number, pair)
                counts.kept += 1
                counts.failed += known.is_failure

    @staticmethod
    def _is_done(task: Task, known: Known) -> bool:
        if known.is_failure and not known.is_final:
            return False
        if known.settings != task.settings.text() or known.version != zarngi.__version__:
            return False
        return _has_its_page(task, known) and are_same(
            task.pair,
            known.files,
            has_structures=_show_structures(task, known),
            is_failure=known.is_failure,
        )


def _show_structures(task: Task, known: Known) -> bool:
    """Whether the pair's structures have something to do with its results or its page."""
    has_page = task.pages is not None and known.page is not None
    return has_page or task.settings.has_structures


def _has_its_page(task: Task, known: Known) -> bool:
    if task.pages is None or known.is_failure or known.lowest_rate is None:
        return True
    if known.lowest_rate >= task.pages.below:
        return True
    return known.page is not None and os.path.exists(os.path.join(task.pages.folder, known.page))


def execute(
    plan: Plan,
    results: Results,
    engine: Engine,
    progress: Callable[[Counts], None] | None = None,
) -> Summary:
    """Compute what a plan holds and store it, each pair when it is finished."""
    counts = Counts(plan.count)
    busy = 0.0
    for outcomes in engine.outcomes(plan.tasks(results, counts), plan.count):
        stopping.go_on()
        busy += sum(outcome.reading + outcome.searching for outcome in outcomes)
        _settle(results, outcomes, counts)
        if progress is not None:
            progress(counts)
    seconds = counts.seconds
    share = busy / (seconds * engine.workers) if counts.computed else float("nan")
    return Summary(
        counts.total, counts.kept, counts.computed, counts.failed, seconds, share, engine.workers
    )


def _settle(results: Results, outcomes: Sequence[Outcome], counts: Counts) -> None:
    changed = [outcome for outcome in outcomes if not outcome.is_unchanged]
    if changed:
        results.store(changed)
    for outcome in outcomes:
        if outcome.is_unchanged:
            results.describe(outcome.task.number, outcome.task.pair)
            counts.kept += 1
        else:
            counts.computed += 1
            counts.failed += outcome.failure is not None


def prepare_pages(folder: str | os.PathLike[str] | None, below: float) -> Pages | None:
    """The folder for pages, made where it is missing.

    Raises
    ------
    CohortError
        When this installation came without the page that they are made from.
    OSError
        When the folder cannot be made.
    """
    if folder is None:
        return None
    try:
        template()
    except OSError:
        raise CohortError(WITHOUT_PAGES) from None
    os.makedirs(folder, exist_ok=True)
    return Pages(os.path.abspath(folder), below)


def run(
    pairs: str | os.PathLike[str] | Manifest | Iterable[Pair | dict[str, Any]],
    results: str | os.PathLike[str] | None = None,
    *,
    criteria: str | Criterion | Iterable[str | Criterion] | None = None,
    request: str | os.PathLike[str] | Mapping[str, Any] | None = None,
    protocol: str | os.PathLike[str] | Mapping[str, Any] | None = None,
    client: Any = None,
    threads: int | None = None,
    memory: int | None = None,
    shard: tuple[int, int] | None = None,
    verify: bool = False,
    pages: str | os.PathLike[str] | None = None,
    pages_below: float = float("inf"),
    keep: Sequence[str] = (),
    read_timeout: float = READ_TIMEOUT,
    patience: float = 600,
    progress: Callable[[Counts], None] | None = None,
    **options: Any,
) -> Any:
    """Compare all pairs of a cohort, each by every criterion.

    A pair that is done already, with the same files, criteria and version, is not computed again.

    Parameters
    ----------
    pairs : path, or iterable of Pair or of mappings of its members
        The manifest.
    results : path, optional
        The results file, made where there is none; by default nothing is kept.
    criteria : str or Criterion or several, optional
        Such as ``"3%/2mm"`` or ``["3%/2mm", "2%L/2mm"]``; a pair may have its own. By default those
        of the request, else 3%/2mm.
    request : path, or mapping, optional
        A protocol: a document as `zarngi compare --save-request` writes it, or a record, for what
        the other arguments leave open. Names of structures that a pair does not have are left out.
    protocol : str, path or mapping, optional
        Instead of a request: the name of a shipped protocol, or one that `zarngi.protocol` takes.
    client : distributed.Client, optional
        Its workers compute; without it this process does.
    threads : int, optional
        Of each search in this process; by default one for each CPU. A worker of a client uses as
        many as it has. No result depends on them.
    memory : int, optional
        Bytes that this process may fill; a pair that takes more is a failure. By default not
        bounded. A worker of a client keeps to its own limit.
    shard : (int, int), optional
        (I, N): only every N-th pair, from the I-th (1 to N) on.
    verify : bool
        Compare digests of the files of pairs that are done, not only sizes and times.
    pages : path, optional
        A folder into which each pair gets its page.
    pages_below : float
        Only for pairs with a pass rate below this one (%).
    keep : sequence of str
        Further columns of the manifest that go into the results.
    read_timeout : float
        Seconds that reading a file may take; a pair whose file takes longer is a failure, and tried
        again by the next run.
    patience : float
        Seconds to go on when all workers of the client are gone.
    progress : callable, optional
        Called with the `Counts` of the run whenever pairs are finished.
    **options
        `dose_cutoff`, `normalisation`, `max_gamma`, `step`, `interpolate`, `mode` and `slices`, as
        of `gamma_index`, and `structures`: names (none of them: all) of structures that get rows of
        their own.

    Returns
    -------
    pandas.DataFrame or list of dict
        As of `load`.

    Raises
    ------
    CohortError
        When the manifest makes no sense, the results file cannot be used, or a cluster is lost;
        what is finished is kept.
    ValueError, TypeError
        When an argument is out of range.
    """
    settings = Settings(
        criteria=() if criteria is None else parse_criteria(criteria),
        protocol=asked_of(request, protocol),
        **options,
    )
    threads = available_cpus() if threads is None else threads
    threads = _checks.integer("threads", threads, 1, MAX_THREADS)
    plan = Plan(
        as_pairs(pairs, keep),
        settings,
        _WHOLE if shard is None else Shard(*shard),
        prepare_pages(pages, pages_below),
        verify,
        _checks.positive("read_timeout", read_timeout, "s"),
    )
    engine: Engine
    engine = ThisProcess(threads, memory) if client is None else DaskCluster(client, patience)
    with ExitStack() as stack:
        if results is not None:
            stack.enter_context(only_writer(os.fspath(results)))
        opened = Results(":memory:" if results is None else results, create=True)
        stack.enter_context(opened)
        execute(plan, opened, engine, progress)
        return load_open(opened)
