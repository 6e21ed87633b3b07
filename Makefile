# The short way to everything: each target installs what it needs (scripts/setup.sh) and calls the CMake presets.

PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
IMAGE ?=
CMAKE_ARGS ?=

export CMAKE_BUILD_PARALLEL_LEVEL = $(JOBS)
export CTEST_PARALLEL_LEVEL = $(JOBS)
export JOBS

setup = @scripts/setup.sh
# Configures the release build without the tests, which need a package more.
untested = cmake --preset release -DTOV_BUILD_TESTS=OFF $(CMAKE_ARGS)
checkedPresets = asan-ubsan clang isa-baseline isa-v3 isa-v4 tsan

.PHONY: help demo test bench check check-format check-lint check-layering docs install format clean
.DEFAULT_GOAL := help

help:
	@echo "make demo [IMAGE=path]   run the operations on a bitmap; see build/demo/index.html"
	@echo "make test                build and run the tests"
	@echo "make bench               measure against memory limits and other libraries, for docs/performance.md"
	@echo "make check               format, lint, layers, and the tests under every other preset"
	@echo "make preset-NAME         build and test one preset of CMakePresets.json, such as preset-debug"
	@echo "make docs                the reference, build/docs/html/index.html (doxygen)"
	@echo "make install [PREFIX=$(PREFIX)] [DESTDIR=]"
	@echo "make format              lay out the sources (clang-format)"
	@echo "make clean               remove build/"

demo:
	$(setup) build
	$(untested)
	cmake --build --preset release --target gallery
	build/release/examples/gallery build/demo $(if $(IMAGE),"$(IMAGE)")

test: preset-release

preset-%:
	$(setup) build test $(if $(filter clang,$*),check)
	cmake --preset $* $(CMAKE_ARGS)
	cmake --build --preset $*
	ctest --preset $*

bench:
	$(setup) build bench
	$(untested)
	cmake --build --preset release --target tov_bench
	build/release/bench/tov_bench --write=docs/performance.md

check: check-format check-layering check-lint $(addprefix preset-,$(checkedPresets))

check-format:
	$(setup) check
	scripts/check-format.sh

check-lint:
	$(setup) build test check
	scripts/check-lint.sh

check-layering:
	$(setup) check
	scripts/check-layering.py --self-test
	scripts/check-layering.py

docs:
	$(setup) docs
	mkdir -p build
	doxygen Doxyfile
	@echo "build/docs/html/index.html"

install:
	$(setup) build
	$(untested)
	cmake --build --preset release --target tov
	cmake --install build/release --prefix "$(PREFIX)"

format:
	$(setup) check
	scripts/check-format.sh --fix

clean:
	rm -rf build
