"""Figures, members, files, presets and links that the documentation names are the real ones."""

import csv
import json
import re
import runpy
import subprocess

import pytest
from pages import PAGES, PROJECT, anchor, read_page
from workshop import DATA, Workshop

# Columns of figures, and where the record of a comparison has them.
FIGURES = {
    "tested voxels": "tested",
    "passed": "passed",
    "unreached": "unreached",
    "pass rate": "passRate",
    "mean gamma": "mean",
    "maximum gamma": "max",
}
#: Folders whose files the architecture page tells; of the first three, all sources.
ROOMS = ("lib", "files", "host", "cli", "comparison", "platform")
HEAD_NECK = "../shared/data/head_neck_day1.nrrd ../shared/data/head_neck_day2.nrrd"


@pytest.fixture
def workshop(tmp_path):
    return Workshop(tmp_path)


def needs_data():
    if not DATA.is_dir():
        pytest.skip(f"{DATA} is absent")


def compare(workshop, arguments):
    """The record of a comparison."""
    workshop.run_shell(f"zarngi compare {arguments} --json record.json")
    return json.loads((workshop.folder / "record.json").read_text())


def assert_figures(columns, cells, criterion):
    """Every figure of a row is the computed one, in the digits that are shown."""
    shown = {FIGURES[name]: cell for name, cell in zip(columns, cells) if name in FIGURES}
    assert shown
    for member, cell in shown.items():
        figure = re.sub(r"[ %]", "", cell)
        decimals = len(figure.partition(".")[2])
        assert f"{criterion[member]:.{decimals}f}" == figure, f"{cells}: {member}"


@pytest.mark.parametrize("pair", ["demo", "head and neck"])
def test_figures_of_the_readme(pair, workshop):
    if pair == "demo":
        workshop.run_shell("zarngi demo")
        record = json.loads((workshop.folder / "zarngi-demo/result.json").read_text())
    else:
        needs_data()
        record = compare(workshop, f"{HEAD_NECK} -c 3%/3mm -c 2%/2mm")
    (table,) = [table for table in read_page("README.md").tables if table[0][0] == "pair"]
    columns, *rows = table
    rows = [row for row in rows if row[0].startswith(pair)]
    assert len(rows) == 2
    for row in rows:
        label = re.fullmatch(r"(\d) % global, (\d) mm", row[1]).expand(r"\1%/\2mm")
        (criterion,) = [c for c in record["criteria"] if c["label"] == label]
        assert_figures(columns, row, criterion)


def test_figures_of_the_accuracy_page(workshop):
    """Rows that start with arguments of `zarngi compare`."""
    needs_data()
    tables = [t for t in read_page("docs/accuracy.md").tables if t[0][0] == "arguments"]
    computed = {}
    for columns, *rows in tables:
        for row in rows:
            arguments = row[0] if ".nrrd" in row[0] else f"day1.nrrd day2.nrrd {row[0]}"
            arguments = re.sub(r"\bday([12])", r"../shared/data/head_neck_day\1", arguments)
            if arguments not in computed:
                computed[arguments] = compare(workshop, arguments)["criteria"][0]
            assert_figures(columns, row, computed[arguments])
    assert len(computed) > 20


#: Columns of doses in structures, and where the record has them.
DOSES = {
    "volume cc": lambda entry: entry["volume"],
    "mean Gy": lambda entry: entry["dvh"]["reference"]["mean"],
    "D95 Gy": lambda entry: entry["dvh"]["reference"]["metrics"]["D95"],
    "D2 Gy": lambda entry: entry["dvh"]["reference"]["metrics"]["D2"],
}


def histograms_of(system):
    """Volume and mean dose of each structure in the histograms of another system."""
    with (DATA / f"head_neck_dvh_{system}.csv").open() as file:
        head, *rows = csv.reader(file)
    figures = {}
    for i in range(0, len(head) - 1, 2):
        name = re.sub(r"\W", "", head[i].partition("_Dvh")[0]).lower()
        pairs = [(float(row[i]), float(row[i + 1]) / 100) for row in rows if row[i] and row[i + 1]]
        mean = sum((b[0] - a[0]) * (a[1] + b[1]) / 2 for a, b in zip(pairs, pairs[1:]))
        figures[name] = (float(re.search(r"of ([\d.]+) cc", head[i + 1])[1]), mean)
    return figures


def test_figures_of_structures(workshop):
    """The tables of the accuracy page: what structures pass, and their doses beside others'."""
    needs_data()
    structures = "--structures ../shared/data/head_neck_structures.dcm"
    record = compare(workshop, f"{HEAD_NECK} -c 3%/3mm {structures}")
    (criterion,) = record["criteria"]
    listed = {entry["name"]: entry for entry in record["structures"]["list"]}
    found = {row["name"]: row for row in criterion["structures"]}
    found["outside all"] = criterion["outsideStructures"]
    planning, research = histograms_of("eclipse"), histograms_of("cerr")
    tables = {t[0][0]: t for t in read_page("docs/accuracy.md").tables}
    columns, *rows = tables["structure, 3%/3mm"]
    rates = [found[name]["passRate"] for name, *_ in rows]
    assert rates == sorted(rates)
    for name, *cells in rows:
        assert_figures(columns[1:], cells, found[name])
    columns, *rows = tables["structure, doses"]
    for name, *cells in rows:
        plain = re.sub(r"\W", "", name).lower()
        volume, planned, researched, mean, other, *rest = cells
        ours = [DOSES[column](listed[name]) for column in columns[1:] if column in DOSES]
        assert [volume, mean, *rest] == [f"{figure:.2f}" for figure in ours], name
        others = [planning[plain][0], *research[plain]]
        assert [planned, researched, other] == [f"{figure:.2f}" for figure in others], name


def test_members_of_what_a_file_holds(workshop):
    """The last table of docs/json.md; test_members.py holds the others to the schema."""
    info = json.loads(workshop.run_shell("zarngi info --json --patient planned.dcm"))
    *_, table = read_page("docs/json.md").tables
    told = {name: row[2] for row in table[1:] for name in row[0].split(", ")}
    assert set(info) | {"uncertainty"} == set(told)
    for name, value in info.items():
        nested = value if isinstance(value, dict) and not told[name].startswith("see ") else {}
        assert all(member in told[name] for member in nested), name


def test_files_named_by_the_architecture_exist():
    page = read_page("docs/architecture.md")
    diagram = "".join(block.text for block in page.blocks if block.kind == "text")
    named = set(re.findall(r"[\w*]+\.(?:cpp|h)\b", diagram + " ".join(page.inline_code)))
    assert len(named) > 10
    for name in named:
        assert [p for room in (*ROOMS, "web") for p in PROJECT.glob(f"{room}/**/{name}")], name
    folders = {code for code in page.inline_code if code.endswith("/")}
    assert {f"{p.name}/" for p in PROJECT.iterdir() if (p / "CMakeLists.txt").exists()} <= folders
    sources = {path.name for room in ROOMS[:3] for path in PROJECT.glob(f"{room}/**/*.cpp")}
    patterns = [re.compile(re.escape(name).replace(r"\*", r"\w*")) for name in named]
    assert [s for s in sources if not any(p.fullmatch(s) for p in patterns)] == []


def tracked_files():
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=PROJECT, capture_output=True, text=True)
    if listed.returncode != 0:
        pytest.skip("the sources are no checkout")
    return [path for line in listed.stdout.splitlines() if (path := PROJECT / line).is_file()]


def test_names_of_the_pages_stand_in_the_sources():
    """Files and, written in camel case or with their class, functions, types and members."""
    files = tracked_files()
    names = {path.name for path in files}
    sources = [p for p in files if p.suffix in {".h", ".cpp", ".py", ".ts", ".mjs", ".c", ".in"}]
    text = "\n".join(path.read_text(encoding="utf-8") for path in sources)
    words = set(re.findall(r"\w+", text))
    looked_at = 0
    missing = []
    for page in PAGES:
        for code in read_page(page).inline_code:
            file = re.fullmatch(r"(?:[\w.-]+/)*([\w-]+\.(?:cpp|h|hpp|py|ts|mjs|sh))", code)
            name = re.fullmatch(r"(?:\w+(?:::|\.))*([a-z]+[A-Z]\w*|\w+(?=\())(?:\(\))?", code)
            if not file and (not name or "." in code):
                continue
            looked_at += 1
            if (file[1] not in names) if file else (name[1] not in words):
                missing.append(f"{page}: {code}")
    assert missing == []
    assert looked_at > 100


def test_every_installed_header_is_in_the_reference(workshop):
    workshop.run_shell("cmake --install build/release --component development")
    installed = (workshop.folder.parent / "root").rglob("include/zarngi/**/*.h")
    inputs = re.findall(r"(?:lib|host)/\S+\.h", (PROJECT / "docs/Doxyfile").read_text(encoding="utf-8"))
    assert {path.name for path in installed} == {path.rpartition("/")[2] for path in inputs}


def test_presets_are_told():
    presets = json.loads((PROJECT / "CMakePresets.json").read_text())["configurePresets"]
    (table,) = read_page("CONTRIBUTING.md").tables
    assert {name for row in table[1:] for name in row[0].split(", ")} == {
        preset["name"] for preset in presets
    }


def test_picture_of_the_search_is_as_drawn():
    drawn = runpy.run_path(str(PROJECT / "docs/images/search.py"))["drawing"]()
    assert (PROJECT / "docs/images/search.svg").read_text(encoding="utf-8") == drawn


@pytest.mark.parametrize("name", [*PAGES, "python/README.md", "web/README.md"])
def test_links_lead_somewhere(name):
    page = read_page(name)
    for link in page.links:
        if link.startswith("http"):
            continue
        target, _, place = link.partition("#")
        path = (PROJECT / name).parent / target if target else PROJECT / name
        assert path.exists(), link
        if place:
            linked = read_page(str(path.resolve().relative_to(PROJECT)))
            assert place in map(anchor, linked.headings), link


def test_every_page_is_linked_from_the_readme():
    links = read_page("README.md").links
    assert [page for page in PAGES if page not in links and page != "README.md"] == []
