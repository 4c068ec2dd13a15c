"""The program zarngi-cohort: its command line."""

from __future__ import annotations

import argparse
import os
import sys
from collections.abc import Callable, Sequence
from typing import Any, NoReturn

import zarngi

from .._cpus import MAX_THREADS
from . import commands, stopping
from .commands import ExitCode
from .errors import CohortError
from .record import READ_TIMEOUT
from .run import Shard
from .settings import parse_criteria


class _Parser(argparse.ArgumentParser):
    """Tells what is wrong in one line, like all other complaints."""

    def error(self, message: str) -> NoReturn:
        self.exit(ExitCode.WRONG_USAGE, f"{self.prog}: {message}\n")


def _checked(make: Callable[[str], Any]) -> Callable[[str], Any]:
    """A type for argparse, whose complaints are those of `make`."""

    def convert(text: str) -> Any:
        try:
            return make(text)
        except ValueError as error:
            raise argparse.ArgumentTypeError(str(error)) from None

    return convert


def _number(lowest: float, highest: float, what: str) -> Callable[[str], Any]:
    def make(text: str) -> float:
        value = float(text) if _is_number(text) else float("nan")
        if not lowest < value <= highest:
            raise ValueError(f'"{text}" is not {what}')
        return value

    return _checked(make)


def _is_number(text: str) -> bool:
    try:
        float(text)
    except ValueError:
        return False
    return True


def _whole(lowest: int, highest: int) -> Callable[[str], Any]:
    def make(text: str) -> int:
        if not text.isdecimal() or not lowest <= int(text) <= highest:
            raise ValueError(f'"{text}" is not a whole number from {lowest} to {highest}')
        return int(text)

    return _checked(make)


def _shard(text: str) -> Shard:
    number, slash, of = text.partition("/")
    if not (slash and number.isdecimal() and of.isdecimal()):
        raise ValueError(f'"{text}" is not of the form 3/16')
    return Shard(int(number), int(of))


_positive = _number(0, 1e30, "a positive number")
_percentage = _number(-1e-300, 100, "a percentage from 0 to 100")


def _cluster(text: str) -> int | str:
    if "://" in text:
        return text
    if text.isdecimal() and 1 <= int(text) <= 1024:
        return int(text)
    raise ValueError(f'"{text}" is neither a number of workers nor like tcp://host:8786')


def _add_scan(parser: argparse.ArgumentParser) -> None:
    add = parser.add_argument
    add("folders", nargs="*", metavar="FOLDER", help="where to look, with all folders inside")
    add("-o", "--output", default="-", metavar="CSV", help="the manifest (standard output)")
    add("--reference-from", action="append", metavar="FOLDER", help="doses in it are references")
    add("--evaluation-from", action="append", metavar="FOLDER", help="doses in it are evaluations")
    add("--pattern", nargs=2, metavar=("REFERENCE", "EVALUATION"),
        help="pair by file names, like {id}/plan.nrrd {id}/measured*.nrrd")  # fmt: skip
    add("--group", choices=("machine", "folder"), help="fill the column group")
    add("--dates", action="store_true", help="fill the column date from the files")
    add("--patient", action="store_true", help="ids are those of the patients")
    add("--key", metavar="FILE", help="key of the ids, made where it is missing; without it the "
        "ids of the next scan are others")  # fmt: skip


def _add_run(parser: argparse.ArgumentParser) -> None:
    add = parser.add_argument
    add("manifest", metavar="MANIFEST", help="CSV with id, reference, evaluation")
    add("-o", "--output", required=True, metavar="SQLITE", help="the results file")
    group = parser.add_argument_group("comparison")
    comparison = group.add_argument
    asked = group.add_mutually_exclusive_group().add_argument
    asked("--protocol", metavar="NAME|FILE", help="what a shipped protocol asks (zarngi protocols), or "
          "one in a file; options take precedence")  # fmt: skip
    asked("--request", metavar="FILE", help="what a request or a record asks: a JSON document "
          "of zarngi; options take precedence")  # fmt: skip
    comparison("-c", "--criteria", action="append", metavar="DD/DTA", type=_checked(parse_criteria),
               help="like 3%%/2mm or 2%%L/2mm; may be repeated (3%%/2mm)")  # fmt: skip
    comparison("--dco", type=_positive, metavar="%", help="dose cut-off (10)")
    comparison("--norm", type=_positive, metavar="GY", help="normalisation dose (reference maximum)")
    comparison("--max-gamma", type=_positive, metavar="GAMMA", help="search limit (3)")
    comparison("--step", type=_positive, metavar="MM", help="search lattice (a tenth of the DTA)")
    comparison("--pass-rate-only", action="store_true", help="only decide which voxels pass")
    comparison("--nearest", action="store_true", help="doses of voxels, without interpolation")
    comparison("--slices", action="store_true", help="interpolate within planes of constant z")
    comparison("--structures", metavar="NAMES",
               help="rows for these structures, too, like 'PTV*,Rectum', or all")  # fmt: skip
    comparison("--keep", action="append", default=[], metavar="COLUMN",
               help="a further column of the manifest that goes into the results")  # fmt: skip
    comparison("--verify", action="store_true", help="compare digests of the files of done pairs")
    pages = parser.add_argument_group("pages").add_argument
    pages("--pages", metavar="FOLDER", help="write the page of each pair")
    pages("--pages-below", type=_percentage, metavar="%", help="only of pairs below this pass rate")
    _add_computing(parser)


def _add_computing(parser: argparse.ArgumentParser) -> None:
    group = parser.add_argument_group("computing")
    place = group.add_mutually_exclusive_group().add_argument
    place("--cluster", type=_checked(_cluster), metavar="N|ADDRESS",
          help="N workers on this machine, or a Dask scheduler like tcp://host:8786")  # fmt: skip
    place("--scheduler-file", metavar="FILE", help="of a Dask scheduler")
    add = group.add_argument
    add("--shard", type=_checked(_shard), default=Shard(1, 1), metavar="I/N",
        help="only every N-th pair, from the I-th on")  # fmt: skip
    add("--threads", type=_whole(1, MAX_THREADS), metavar="N",
        help="of each search, without a cluster (all cores)")  # fmt: skip
    add("--memory", type=_positive, metavar="GB", help="that may be filled, without a cluster "
        "(what is available)")  # fmt: skip
    add("--read-timeout", type=_positive, default=READ_TIMEOUT, metavar="S",
        help=f"seconds that reading a file may take ({READ_TIMEOUT:g})")  # fmt: skip
    add("--patience", type=_positive, default=600.0, metavar="S",
        help="seconds to go on without any worker (600)")  # fmt: skip


def _add_merge(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("sources", nargs="+", metavar="SQLITE", help="results files")
    parser.add_argument("-o", "--output", required=True, metavar="SQLITE", help="the new one")


def _add_export(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("results", metavar="SQLITE")
    parser.add_argument("-o", "--output", default="-", metavar="CSV", help="(standard output)")


def _add_limits(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("results", metavar="SQLITE")
    parser.add_argument("--by", default="group", metavar="COLUMN", help="what groups pairs (group)")
    parser.add_argument("--structures", action="store_true", help="limits of each structure, too")


def _add_report(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("results", metavar="SQLITE")
    parser.add_argument("-o", "--output", required=True, metavar="HTML", help="the page")
    parser.add_argument("--by", default="group", metavar="COLUMN", help="what groups pairs (group)")
    parser.add_argument("--title", default="", help="heading of the page")
    parser.add_argument("--pages", metavar="FOLDER", help="of the pairs' own pages, for links")
    parser.add_argument("--tolerance", type=_percentage, default=95.0, metavar="%", help="(95)")
    parser.add_argument("--action", type=_percentage, default=90.0, metavar="%", help="(90)")


_COMMANDS: dict[str, tuple[str, Callable[[argparse.ArgumentParser], None], Callable[..., int]]] = {
    "scan": ("find dose files, pair them, write a manifest", _add_scan, commands.scan),
    "run": ("compare all pairs of a manifest", _add_run, commands.run),
    "merge": ("put results files of shards together", _add_merge, commands.merge),
    "export": ("the results as CSV", _add_export, commands.export),
    "limits": ("control charts and action limits (AAPM TG-218)", _add_limits, commands.limits),
    "report": ("the page of the cohort", _add_report, commands.report),
}


def make_parser() -> argparse.ArgumentParser:
    """The parser of the whole command line."""
    parser = _Parser(prog="zarngi-cohort", allow_abbrev=False,
                     description="Gamma comparison of many pairs of dose files.")  # fmt: skip
    parser.add_argument("--version", action="version", version=f"zarngi-cohort {zarngi.__version__}")
    subparsers = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    for name, (text, add_arguments, execute) in _COMMANDS.items():
        command = subparsers.add_parser(name, help=text, description=text, allow_abbrev=False)
        add_arguments(command)
        command.set_defaults(execute=execute)
    return parser


def main(arguments: Sequence[str] | None = None) -> int:
    """Run the program.

    Parameters
    ----------
    arguments : sequence of str, optional
        By default those of the process.

    Returns
    -------
    int
        An `ExitCode`.
    """
    options = make_parser().parse_args(arguments)
    stopping.listen()
    try:
        return int(options.execute(options))
    except BrokenPipeError:
        # Whoever read has read enough; nothing may be written at the interpreter's end either.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return ExitCode.FINE
    except (CohortError, ImportError) as error:
        return _complain(str(error))
    except OSError as error:
        place = f"{error.filename}: " if error.filename else ""
        return _complain(f"{place}{error.strerror or error}")
    except MemoryError:
        return _complain("memory ran out")
    except KeyboardInterrupt:
        return ExitCode.INTERRUPTED


def _complain(text: str) -> int:
    for line in text.splitlines():
        print(f"zarngi-cohort: {line}", file=sys.stderr)
    return ExitCode.BAD_INPUT


if __name__ == "__main__":
    sys.exit(main())
