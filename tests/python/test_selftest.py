"""The acceptance test, as Python makes it."""

import pytest
import zarngi


def test_it_passes_and_is_told(tmp_path):
    shares = []
    test = zarngi.selftest(progress=shares.append)
    assert test.passed and test.record["passed"] is True
    assert shares == sorted(shares) and shares[-1] == 1
    assert [file["name"] for file in test.record["installation"]["files"]] == [
        "libZarnGIHost.so.1", "libZarnGI.so.4"]
    count = len(test.record["cases"])
    assert repr(test) == f"SelfTest({count} of {count} cases passed)"
    test.page(tmp_path / "record.html")
    page = (tmp_path / "record.html").read_text(encoding="utf-8")
    assert page.count("<td>passed</td>") == count
    for file in test.record["installation"]["files"]:
        assert file["sha256"] in page


def test_what_its_listener_raises_ends_it(pair):
    class Enough(Exception):
        pass

    def listen(done):
        raise Enough

    with pytest.raises(Enough):
        zarngi.selftest(progress=listen)
    assert zarngi.gamma_index(*pair).tested > 0
