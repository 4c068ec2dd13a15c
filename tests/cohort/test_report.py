"""The page of a cohort as the package writes it; tests/web drives it in a browser."""

from importlib import resources

import pytest
from conftest import page_record, small_pair, write_grid, write_rows, zarngi_cohort


@pytest.fixture
def results(tmp_path):
    for role, grid in zip("re", small_pair(0.5)):
        write_grid(tmp_path / f"{role}.nrrd", grid)
    pair = {"reference": "r.nrrd", "evaluation": "e.nrrd"}
    rows = [pair | {"id": f"</script>{i}", "site": "lung" if i else "brain"} for i in range(3)]
    rows.append({"id": "gone", "reference": "r.nrrd", "evaluation": "none.nrrd", "site": "lung"})
    path = tmp_path / "results.sqlite"
    done = zarngi_cohort("run", write_rows(tmp_path / "m.csv", rows), "-o", path, "--keep", "site")
    assert done.returncode == 4
    return path


def needs_page():
    if not resources.files("zarngi.cohort").joinpath("page.html").is_file():
        pytest.skip("the page of cohorts is not built")


def test_report_holds_the_table(results, tmp_path):
    needs_page()
    page = tmp_path / "sub" / "cohort.html"
    page.parent.mkdir()
    done = zarngi_cohort("report", results, "-o", page, "--by", "site", "--pages", tmp_path / "own")
    assert (done.returncode, done.stderr, done.stdout) == (0, "", "")
    record = page_record(page)
    assert record["pairs"]["id"] == ["</script>0", "</script>1", "</script>2", "gone"]
    assert record["pairs"]["group"] == ["brain", "lung", "lung", "lung"]
    assert record["pairs"]["error"][3] == "gone: evaluation: No such file or directory"
    (series,) = record["series"]
    assert series["pair"] == [0, 1, 2] and len(series["pass_rate"]) == 3
    assert [found["group"] for found in record["limits"]] == ["lung"]
    assert record["pagesFolder"] == "../own"
    assert str(tmp_path) not in page.read_text()


def test_report_of_what_is_none(results, tmp_path):
    needs_page()
    page = tmp_path / "cohort.html"
    refused = zarngi_cohort("report", results, "-o", page, "--by", "machine")
    assert refused.returncode == 1 and 'there is no column "machine"' in refused.stderr
    assert not page.exists()
    there = tmp_path / "none" / "cohort.html"
    refused = zarngi_cohort("report", results, "-o", there)
    assert refused.returncode == 1 and "No such file or directory" in refused.stderr
