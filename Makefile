# The front door. Everything here is one short command over CMake's presets and tools/.

PORT ?= 9999

.PHONY: help run build test bench fuzz pictures format lint windows clean

help:
	@echo 'make run       build mb and run the resident in the foreground (PORT=$(PORT))'
	@echo 'make test      install what the tests need, build both targets, run everything'
	@echo 'make build     build/release/bin/mb and its pages'
	@echo 'make windows   build/windows/bin/mb.exe, cross-built'
	@echo 'make bench     measure, and compare with the figures we aim at'
	@echo 'make fuzz      run every fuzzer for a minute (SECONDS_EACH=60)'
	@echo 'make pictures  take the pictures of the pages in docs/images anew'
	@echo 'make format    format all sources           make lint   clang-tidy and ESLint'

run: build
	@exec build/release/bin/mb --port $(PORT) serve

build:
	@tools/setup build
	@cmake --preset release >/dev/null
	@cmake --build --preset release

windows:
	@tools/setup test
	@cmake --preset windows >/dev/null
	@cmake --build --preset windows --target mb pages

test:
	@tools/setup test
	@/usr/bin/python3 tools/run_tests.py

bench:
	@tools/setup bench
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench
	@/usr/bin/python3 bench/run.py

SECONDS_EACH ?= 60
fuzz:
	@tools/setup test
	@/usr/bin/python3 tools/run_tests.py --only fuzz --fuzz-seconds $(SECONDS_EACH)

pictures: build
	@tools/setup test
	@npm ci --prefix tests/pages --ignore-scripts --no-audit --no-fund --loglevel=error
	@node tests/pages/screenshots.mjs

format:
	@tools/setup lint
	@git ls-files '*.cpp' '*.h' | xargs clang-format-19 -i
	@tools/pages_style/run

lint:
	@tools/setup lint
	@tools/pages_style/run --check
	@/usr/bin/python3 tools/lint.py

clean:
	@rm -rf build
