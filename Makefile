# The front door: each target does all of its set-up on a fresh Debian 12 machine.
JOBS ?= 2

.PHONY: run test build bench asan fuzz lint format deps

deps:
	@tools/install-deps

build: deps
	@cmake --preset release >/dev/null
	@cmake --build --preset release -j$(JOBS)

run: build
	@tools/run-demo $(DEMO)

test: build
	@ctest --test-dir build/release --output-on-failure -j$(JOBS)

bench: deps
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench -j$(JOBS)
	@for program in build/bench/bench_*; do echo "== $${program##*/bench_}"; $$program; done
	@echo "== startup"; bench/startup/run.py --player build/bench/quillmere --qmc build/bench/qmc
	@echo "== input"; bench/input/run.py --player build/bench/quillmere --qmc build/bench/qmc
	@echo "== vm"; bench/vm/run.py --player build/bench/quillmere --qmc build/bench/qmc

asan: deps
	@cmake --preset asan >/dev/null
	@cmake --build --preset asan -j$(JOBS)
	@ctest --test-dir build/asan --output-on-failure -j$(JOBS) -LE desktop

fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz -j$(JOBS)
	@ctest --test-dir build/fuzz --output-on-failure -L fuzz

lint:
	@tools/lint

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i
