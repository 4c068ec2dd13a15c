"""The commands of the pages that the tests do not run, each with its reason."""

BUILDS = "builds the project, of whose tests this is one"
MEASURES = "measures for minutes"

NOT_RUN = {
    "zarngi compare": "a name in a sentence, without the files",
    "make demo": "installs packages and builds; the demo itself is run for the table of the README",
    "make page": BUILDS,
    "make test": BUILDS,
    "make quick-test": BUILDS,
    "make sanitize": BUILDS,
    "make coverage": BUILDS,
    "make fuzz": BUILDS,
    "make docs": "installs packages; the test docs.reference does the rest",
    "make package": BUILDS,
    "make check-package": BUILDS,
    "make windows": BUILDS,
    "make check-windows": "builds for another system, and runs that under Wine for minutes",
    "make check-windows-quick": BUILDS,
    "make wheels": BUILDS,
    "make check-wheels": BUILDS,
    "pip install --no-index --find-links FOLDER zarngi": "installs; tests/python/test_wheel.py does",
    "make check-arm64": "builds the library for another processor, and tests it for minutes",
    "apt-get install ./dist/*.deb": "changes the machine; tests/packages/check_clean_root.sh",
    "make format": "changes the sources",
    "make lint": "takes minutes",
    "scripts/install-deps.sh test": "installs packages",
    "cmake --preset release && cmake --build --preset release && ctest --preset release": BUILDS,
    "cmake --preset release && cmake --build --preset release": BUILDS,
    "cmake --build build/release": BUILDS,
    "ctest -L bench": "tests run by a test",
    "build/release/bench/zarngi_bench --scale --growth | tee bench.txt": MEASURES,
    "build/release/bench/zarngi_bench_paths | tee paths.txt": MEASURES,
    "node bench/page/comparePage.mjs build/release/web/front-end /usr/bin/chromium "
    "build/release/web/front-end/dist/compare/zarngi.html build/release/bench/zarngi_bench_paths "
    "../shared/data": MEASURES,
    "scripts/bench-table.sh --update bench.txt paths.txt": "changes the page",
    "PYTHONPATH=build/release/python /usr/bin/python3 bench/python_overhead.py":
        "measures times, which mean little beside other tests",
    "ldconfig": "changes the machine; the tests name the library's folder instead",
    "pip install --no-build-isolation --no-deps ./python":
        "compiles everything, as tests/python/test_install.py does",
}
