"""A results file of made-up pairs, its page, and what SQL says of it.

    cohortPage.py FOLDER COUNT

Writes results.sqlite and cohort.html, and prints as JSON what the page has to show.
"""

import json
import random
import sqlite3
import sys
from pathlib import Path

from zarngi.cohort import limits_of
from zarngi.cohort.cli import main
from zarngi.cohort.manifest import Pair
from zarngi.cohort.record import Failure, Outcome, Row, Task
from zarngi.cohort.results import Results
from zarngi.cohort.settings import Settings, parse_criteria

CRITERIA = ("3%/2mm", "2%/2mm", "2%L/3mm")
STRUCTURES = ("", "PTV", "Rectum")
GROUPS = ("Linac 1", "Linac 2", 'Linac "<b>3</b>"')
STRANGE = '<img src=x onerror="document.title=1">'


def outcomes(count):
    source = random.Random(7)
    settings = Settings(criteria=parse_criteria(list(CRITERIA)))
    for i in range(count):
        name = STRANGE if i == 3 else f"pair {i:05d}"
        day = f"20{20 + i % 6}-{i % 12 + 1:02d}-{i % 28 + 1:02d}"
        pair = Pair(name, "r", "e", group=GROUPS[i % len(GROUPS)], date=day)
        task = Task(i, pair, settings)
        if i % 97 == 5:
            yield Outcome(task, "1", failure=Failure(f"{name}: reference: is cut short", True))
            continue
        rows = []
        for place, criterion in enumerate(CRITERIA):
            for structure in STRUCTURES:
                tested = source.randint(1000, 90000)
                estimate = (99.5, 98.5, 99.8) if i == 0 else (None,) * 3
                failed = int(tested * min(1, source.expovariate(1 / (0.02 + 0.02 * place))))
                hot = failed // 3
                figures = (tested, tested - failed, failed, hot, failed - hot, 0,
                           100 * (tested - failed) / tested, 0.3, 0.9, 1.2, source.uniform(1, 3), *estimate)  # fmt: skip
                rows.append(Row(criterion, structure, figures))
        yield Outcome(task, "1", tuple(rows), page=f"{name[:20]}.html" if i % 2 else None)


def expected(path):
    with sqlite3.connect(path) as database:
        def select(statement, *parameters):
            return database.execute(statement, parameters).fetchall()

        rates = "FROM results r JOIN pairs p USING (id) WHERE criterion = ? AND structure = ?"
        found = {
            "count": select("SELECT count(*) FROM pairs")[0][0],
            "failures": select("SELECT count(*) FROM failures")[0][0],
            "means": {c: select(f"SELECT avg(pass_rate), min(pass_rate) {rates}", c, "")[0] for c in CRITERIA},
            "shares": select(
                f"SELECT sum(pass_rate >= 95), sum(pass_rate < 95 AND pass_rate >= 90),"
                f" sum(pass_rate < 90) {rates}", CRITERIA[0], "")[0],
            "groups": select(
                f'SELECT "group", count(*), avg(pass_rate), min(pass_rate), sum(pass_rate < 95),'
                f' sum(pass_rate < 90) {rates} GROUP BY "group" ORDER BY "group"', CRITERIA[0], ""),
            "structures": select(
                "SELECT structure, count(*), avg(pass_rate), min(pass_rate) FROM results"
                " WHERE criterion = ? AND structure != '' GROUP BY structure", CRITERIA[0]),
            "worst": [r for (r,) in select(f"SELECT id {rates} ORDER BY pass_rate, number LIMIT 5", CRITERIA[0], "")],
            "largest": [r for (r,) in select(f"SELECT id {rates} ORDER BY tested DESC, number LIMIT 3", CRITERIA[0], "")],
            "strange": STRANGE,
        }  # fmt: skip
        charts = select(f'SELECT id, date, pass_rate {rates} AND "group" = ? ORDER BY number',
                        CRITERIA[0], "", GROUPS[1])  # fmt: skip
    limits = limits_of(charts)
    beyond = sum(limits.beyond(point) != "" for point in limits.points)
    return found | {"limits": [limits.centre, limits.lower, limits.upper, limits.action], "beyond": beyond,
                    "charted": len(charts)}  # fmt: skip


def write(folder, count):
    path = folder / "results.sqlite"
    with Results(path, create=True) as results:
        results.store(outcomes(count))
    arguments = ["report", str(path), "-o", str(folder / "cohort.html"), "--title", "A <b>trial</b>",
                 "--pages", str(folder / "pages of pairs")]  # fmt: skip
    assert main(arguments) == 0
    print(json.dumps(expected(path)))


if __name__ == "__main__":
    write(Path(sys.argv[1]), int(sys.argv[2]))
