# The two commands: `make test` and `make demo`. Everything else is for us.
SHELL := /bin/bash
.DEFAULT_GOAL := test
JOBS ?= 2

.PHONY: deps test test-native test-windows build-native build-windows demo fuzz bench stats reliability clean

deps:
	@scripts/install-deps.sh

build-native: deps
	@cmake --preset native >/dev/null
	@cmake --build --preset native -j $(JOBS)

build-windows: deps
	@cmake --preset windows >/dev/null
	@cmake --build --preset windows -j $(JOBS)

test-native: build-native
	@cd build/native && ctest --output-on-failure -j $(JOBS)

# The wine server and Xvfb are started and stopped by ctest fixtures; the trap
# is the safety net for an interrupted run, so that nothing keeps CI's pipe open.
test-windows: build-windows
	@trap '$(CURDIR)/scripts/wine-session stop $(CURDIR)/build/windows' EXIT; \
	 cd build/windows && ctest --output-on-failure

test: test-native test-windows

demo: deps
	@scripts/demo.sh

fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz -j $(JOBS)
	@scripts/run-fuzz.sh build/fuzz $${FUZZ_SECONDS:-60}

# Every cancel point, the empty-folder guards and the fuzz targets, bounded;
# each campaign prints "N passed, M failed".
reliability: deps
	@scripts/reliability.sh

# Native benchmarks from a release build, then the Windows ones under wine.
bench: build-windows
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench -j $(JOBS)
	@KV_BENCH_WINDOWS_BUILD=build/windows scripts/run-bench.sh
	@bench/onefile_bench.sh build/windows

# Test lines against code lines; fails when the tests outgrow their share.
stats:
	@scripts/stats.sh

clean:
	rm -rf build
