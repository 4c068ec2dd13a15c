# The everyday commands; the work is done by CMake presets and the scripts.
PRESET ?= release
JOBS ?= $(shell nproc)
CTEST_ARGS ?=

.PHONY: help demo page test quick-test docs package check-package windows check-windows check-windows-quick wheels check-wheels check-arm64 fuzz sanitize coverage format lint clean

help:
	@echo "make demo        build zarngi and compare a synthetic pair of dose distributions"
	@echo "make page        the page that compares in a browser: build/page/zarngi.html"
	@echo "make test        build everything and run all tests"
	@echo "make quick-test  the same without the long tests"
	@echo "make docs        the reference of the headers, in build/docs/html"
	@echo "make package     source archive and Debian packages in dist/"
	@echo "make check-package  the same twice, compared byte by byte, unpacked and used"
	@echo "make windows     program and libraries for 64-bit Windows, a zip in dist/"
	@echo "make check-windows  the same, run under Wine: the same results, bit by bit"
	@echo "make check-windows-quick  the same in short: self-test and ten comparisons"
	@echo "make wheels      wheels for Python, with libraries and program inside, in dist/"
	@echo "make check-wheels  the same, compared byte by byte, installed and used"
	@echo "make check-arm64 the library on 64-bit ARM, emulated: the same bits, and its package"
	@echo "make fuzz        a minute of random calls of the library and of random dose files"
	@echo "make sanitize    the tests under the address, undefined and thread sanitizers"
	@echo "make coverage    line and branch coverage of lib/ and files/ by their tests"
	@echo "make format      format all C and C++ sources"
	@echo "make lint        check formatting and run clang-tidy"
	@echo "make clean       remove build/ and dist/"

demo:
	scripts/install-deps.sh demo
	cmake --preset release -DZARNGI_BUILD_TESTS=OFF
	cmake --build --preset release --parallel $(JOBS) --target zarngi
	build/release/cli/zarngi demo

page:
	scripts/install-deps.sh page
	cmake --preset release -DZARNGI_BUILD_TESTS=OFF
	cmake --build --preset release --parallel $(JOBS) --target zarngi_page
	cmake -E make_directory build/page
	cmake -E copy build/release/web/front-end/dist/compare/zarngi.html build/page/zarngi.html
	@echo "built: build/page/zarngi.html"

test:
	scripts/install-deps.sh test
	cmake --preset $(PRESET) -DZARNGI_BUILD_TESTS=ON
	cmake --build --preset $(PRESET) --parallel $(JOBS)
	ctest --preset $(PRESET) --parallel $(JOBS) $(CTEST_ARGS)

quick-test: CTEST_ARGS += --label-exclude long
quick-test: test

docs:
	scripts/install-deps.sh test
	scripts/reference.sh

package:
	scripts/install-deps.sh package
	scripts/package.sh dist $(JOBS)

check-package:
	scripts/install-deps.sh package
	scripts/check-reproducible.sh dist $(JOBS)
	tests/packages/check.sh dist

windows:
	scripts/install-deps.sh windows
	scripts/windows.sh dist $(JOBS)

check-windows:
	scripts/install-deps.sh check-windows
	scripts/windows.sh dist $(JOBS)
	tests/windows/check.sh dist $(JOBS)

check-windows-quick:
	scripts/install-deps.sh check-windows
	scripts/windows.sh dist $(JOBS)
	tests/windows/check.sh dist $(JOBS) quick

wheels:
	scripts/install-deps.sh wheels
	scripts/wheels.sh dist $(JOBS)

check-wheels:
	scripts/install-deps.sh wheels
	scripts/check-wheels.sh dist $(JOBS)

check-arm64:
	scripts/install-deps.sh arm64
	scripts/check-arm64.sh $(JOBS)

fuzz:
	scripts/install-deps.sh test
	scripts/fuzz.sh

sanitize:
	scripts/install-deps.sh test
	scripts/sanitize.sh $(JOBS)

coverage:
	scripts/install-deps.sh test
	scripts/coverage.sh $(JOBS)

format:
	scripts/format.sh

lint:
	scripts/install-deps.sh test
	scripts/format.sh --check
	cmake --preset $(PRESET) -DZARNGI_BUILD_TESTS=ON
	scripts/tidy.sh build/$(PRESET) $(JOBS)

clean:
	rm -rf build dist
