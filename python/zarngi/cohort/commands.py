"""What the commands of zarngi-cohort do."""

from __future__ import annotations

import argparse
import logging
import sys
from contextlib import ExitStack
from enum import IntEnum

from .._cpus import available_cpus
from . import memory
from .cluster import GO_ON, DaskCluster, connected
from .engine import Engine, ThisProcess
from .lock import only_writer
from .limits import limits as find_limits
from .limits import report_lines
from .manifest import as_pairs, write_manifest
from .merge import merge as merge_files
from .progress import ProgressLine, duration
from .report import page_of
from .results import Results
from .run import Plan, Summary, execute, prepare_pages
from .scan import Naming
from .scan import scan as find_pairs
from .sentences import counted
from .settings import Settings, asked_of
from .table import csv_lines
from .wholefile import write_whole

_MOST_TOLD = 10


class ExitCode(IntEnum):
    """How the program ends, as its manual page lists it."""

    FINE = 0
    BAD_INPUT = 1
    WRONG_USAGE = 2
    SOME_FAILED = 4
    INTERRUPTED = 130


def scan(options: argparse.Namespace) -> int:
    """Write a manifest, and tell what is not in it."""
    found = find_pairs(
        options.folders,
        reference_from=options.reference_from or (),
        evaluation_from=options.evaluation_from or (),
        pattern=options.pattern,
        naming=Naming(options.group, options.dates, options.patient, options.key),
    )
    for line in found.left_out:
        print(line, file=sys.stderr)
    write_manifest(options.output, found.pairs)
    print(f"{counted(len(found.pairs))}, {len(found.left_out)} left out", file=sys.stderr)
    return ExitCode.FINE


def run(options: argparse.Namespace) -> int:
    """Compare the pairs of a manifest, and tell a summary."""
    plan = Plan(
        as_pairs(options.manifest, options.keep),
        _settings(options),
        options.shard,
        prepare_pages(options.pages, _below(options)),
        options.verify,
        options.read_timeout,
    )
    line = ProgressLine()
    with ExitStack() as stack:
        stack.enter_context(only_writer(options.output))
        results = stack.enter_context(Results(options.output, create=True))
        try:
            engine = _engine(options, stack)
            summary = execute(plan, results, engine, line)
        except KeyboardInterrupt:
            line.end()
            print(f"zarngi-cohort: stopped; {GO_ON}", file=sys.stderr)
            return ExitCode.INTERRUPTED
        finally:
            line.end()
        _tell(summary, results)
    return ExitCode.SOME_FAILED if summary.failed else ExitCode.FINE


def _settings(options: argparse.Namespace) -> Settings:
    given = [criterion for several in options.criteria or () for criterion in several]
    fields = Settings(
        dose_cutoff=options.dco,
        normalisation=options.norm,
        max_gamma=options.max_gamma,
        step=options.step,
        interpolate=not options.nearest,
        mode="pass_rate" if options.pass_rate_only else "map",
        slices=options.slices,
        structures=_structures(options.structures),
        protocol=asked_of(options.request, options.protocol),
    )
    return fields.changed(criteria=tuple(dict.fromkeys(given)))


def _structures(text: str | None) -> tuple[str, ...] | None:
    if text is None:
        return None
    return () if text == "all" else tuple(name.strip() for name in text.split(",") if name.strip())


def _below(options: argparse.Namespace) -> float:
    return float("inf") if options.pages_below is None else float(options.pages_below)


def _engine(options: argparse.Namespace, stack: ExitStack) -> Engine:
    if options.cluster is None and options.scheduler_file is None:
        threads = options.threads or available_cpus()
        limit = int(options.memory * 1e9) if options.memory else memory.available()
        return ThisProcess(threads, limit)
    # What happens is told here, in one line.
    logging.disable(logging.CRITICAL)
    is_here = isinstance(options.cluster, int)
    client = stack.enter_context(
        connected(
            processes=options.cluster if is_here else None,
            address=None if is_here else options.cluster,
            scheduler_file=options.scheduler_file,
            patience=options.patience,
        )
    )
    return DaskCluster(client, options.patience)


def _tell(summary: Summary, results: Results) -> None:
    """The summary, on standard output."""
    kept = f", {summary.kept} done before" if summary.kept else ""
    print(f"{counted(summary.total)}: {summary.computed} computed{kept}, {summary.failed} failed")
    if summary.computed:
        rate = summary.computed / summary.seconds
        workers = "1 worker" if summary.workers == 1 else f"{summary.workers} workers"
        print(
            f"{duration(summary.seconds)}, {rate:.3g} pairs/s; {workers} read and compared "
            f"{100 * summary.busy:.0f} % of the time"
        )
    for criterion, pairs, mean, least in results.select(
        "SELECT criterion, count(*), avg(pass_rate), min(pass_rate) FROM results"
        " WHERE structure = '' GROUP BY criterion ORDER BY min(place), criterion"
    ):
        print(f"{criterion}: {counted(pairs)}, mean pass rate {mean:.2f} %, lowest {least:.2f} %")
    for kind, table in (("failed", "failures"), ("warning", "warnings")):
        _tell_sentences(results, kind, table)


def _tell_sentences(results: Results, kind: str, table: str) -> None:
    """Some of a table, those first that few pairs have; what several say is told once."""
    told = results.select(
        "SELECT count(*), min(t.sentence), substr(t.sentence, length(t.id) + 3) AS rest"
        f" FROM {table} t JOIN pairs p USING (id)"
        # Behind the pair's id, with which each of them begins.
        " GROUP BY rest ORDER BY count(*), min(p.number), rest"
    )
    sentences = [
        sentence if pairs == 1 else f"{pairs} pairs: {rest}" for pairs, sentence, rest in told
    ]
    for sentence in sentences[:_MOST_TOLD]:
        print(f"{kind}: {sentence}")
    if len(sentences) > _MOST_TOLD:
        print(f"{kind}: {len(sentences) - _MOST_TOLD} more")


def merge(options: argparse.Namespace) -> int:
    """Put results files together."""
    count = merge_files(options.sources, options.output)
    print(counted(count), file=sys.stderr)
    return ExitCode.FINE


def export(options: argparse.Namespace) -> int:
    """Write the table."""
    with Results(options.results) as results:
        write_whole(options.output, csv_lines(results))
    return ExitCode.FINE


def limits(options: argparse.Namespace) -> int:
    """Tell the limits of every group."""
    with Results(options.results) as results:
        found = find_limits(results, options.by, options.structures)
    if not found:
        print("zarngi-cohort: limits take two pairs of a group or more", file=sys.stderr)
        return ExitCode.BAD_INPUT
    for entry in found:
        print("\n".join(report_lines(entry)))
    return ExitCode.FINE


def report(options: argparse.Namespace) -> int:
    """Write the page of the cohort."""
    with Results(options.results) as results:
        page = page_of(
            results,
            by=options.by,
            title=options.title,
            pages=options.pages,
            place=options.output,
            thresholds=(options.tolerance, options.action),
        )
    write_whole(options.output, [page])
    return ExitCode.FINE
