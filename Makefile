# The commands of this project. Each installs what it lacks, says what it does on standard error
# and builds with the presets of CMakePresets.json.

SHELL := /bin/bash
.DEFAULT_GOAL := help

# make run ARGS="-c sys_info": options for the console, handed on as they were typed.
ARGS ?=
# make check SWEEP=full: every compiler and sanitizer.
SWEEP ?= short
# make fuzz FUZZ_SECONDS=600 TARGETS="deframer": how long, and which targets (all when empty).
FUZZ_SECONDS ?= 60
TARGETS ?=
# make install PREFIX=/usr DESTDIR=/tmp/stage
PREFIX ?= /usr/local
DESTDIR ?=

.PHONY: help build run check torture bench fuzz lint format install package clean

help:
	@sed -n 's/^## //p' Makefile

## make run [ARGS="..."]     console against an agent on this machine
run:
	@scripts/build.sh run kiv kivagent kivcat kiv_share
	@scripts/offer_cts.sh
	@build/gcc/bin/kiv $(value ARGS)

## make build                everything that is installed, and the tests
build:
	@scripts/build.sh check all

## make check [SWEEP=full]   build and run the tests; full: every compiler and sanitizer
check:
	@scripts/check.sh $(SWEEP)

## make torture              all tests with ten times the repetitions of the full sweep
torture:
	@scripts/check.sh torture

## make bench                the benches, optimised, on one processor
bench:
	@scripts/bench.sh

## make fuzz [FUZZ_SECONDS=n] [TARGETS="..."]   libFuzzer over the kept corpus
fuzz:
	@scripts/install-deps.sh run full
	@scripts/fuzz.sh $(FUZZ_SECONDS) $(TARGETS)

## make lint                 formatting and clang-tidy, nothing changed
lint:
	@scripts/lint.sh

## make format               reformat all sources
format:
	@scripts/lint.sh --format

## make install [PREFIX=p] [DESTDIR=d]     programs, libraries, headers and catalogue
install:
	@scripts/build.sh run kiv kivagent kivcat svckiv kivplatform kiv_share
	@echo "make: installing under $(DESTDIR)$(PREFIX)" >&2
	@DESTDIR="$(DESTDIR)" cmake --install build/gcc --prefix "$(PREFIX)" >&2

## make package              a Debian package in build/gcc
package:
	@scripts/install-deps.sh run package
	@scripts/build.sh run kiv kivagent kivcat svckiv kivplatform kiv_share
	@cd build/gcc && cpack -G DEB >&2 && ls -1 $$PWD/*.deb

## make clean                remove build/
clean:
	rm -rf build
