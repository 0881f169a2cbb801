# The front door. Works from any folder (make -C), sets the machine up first, is quick when nothing changed.
root := $(patsubst %/,%,$(dir $(abspath $(lastword $(MAKEFILE_LIST)))))
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
FUZZ_SECONDS ?= 60
SOAK_ROUNDS ?= 2000
SOAK_SECONDS ?= 600
SOAK_OPERATIONS ?= 1000000

SHELL := /bin/bash
.SHELLFLAGS := -euo pipefail -c
.DEFAULT_GOAL := build
MAKEFLAGS += --no-print-directory

# Python leaves no compiled files in the tree.
export PYTHONDONTWRITEBYTECODE := 1

# The sanitizers of clang 14 do not know address spaces that are randomised over more than 28 bits.
fixed_addresses := $(shell [ "$$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 28)" -le 28 ] || \
	! setarch -R true 2>/dev/null || echo setarch -R)

build_with = cd '$(root)' && cmake --build --preset $(1) -j $(JOBS) $(2)
ctest_with = cd '$(root)' && $(fixed_addresses) ctest --preset $(1) -j $(JOBS) -LE kill $(2)

.PHONY: help setup setup-data build run test rules ledger format lint asan tsan fuzz bench soak coverage windows mutants package install clean

help: ## this list
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "  make %-12s %s\n", $$1, $$2 }' '$(root)/Makefile'

setup: ## install and fetch what a build needs
	@'$(root)/scripts/setup.sh'

setup-data:
	@'$(root)/scripts/setup.sh' --data

# One configuration a preset; a changed preset or another DuckDB configures anew, all else ninja sees for itself.
$(root)/build/deps/.root: setup ;
$(root)/build/%/build.ninja: $(root)/CMakePresets.json $(root)/build/deps/.root
	@cd '$(root)' && cmake --preset $* -DLUMORA_DUCKDB_ROOT='$(LUMORA_DUCKDB_ROOT)' && touch '$@'
.PRECIOUS: $(root)/build/%/build.ninja

build: setup $(root)/build/release/build.ninja ## the extension, the host library and lumora, in build/release
	@$(call build_with,release,--target product)

run: setup-data build ## the five procedures on a real data set
	@'$(root)/scripts/run_demo.sh'

test: setup ## everything that must hold: tree rules, release, asan and tsan suites
	@$(MAKE) -f '$(root)/Makefile' rules
	@$(MAKE) -f '$(root)/Makefile' test-release
	@$(MAKE) -f '$(root)/Makefile' asan
	@$(MAKE) -f '$(root)/Makefile' tsan

.PHONY: test-release
test-release: setup $(root)/build/release/build.ninja ## the suites in the release build
	@$(call build_with,release,--target all benchmarks)
	@$(call ctest_with,release)

asan: setup $(root)/build/asan/build.ninja ## the suites under address and undefined-behaviour sanitizers
	@$(call build_with,asan)
	@$(call ctest_with,asan)

tsan: setup $(root)/build/tsan/build.ninja ## the threaded suites under the thread sanitizer
	@$(call build_with,tsan,--target threaded_tests)
	@$(call ctest_with,tsan)

rules: setup ## the rules of the tree, its formatting, and what the documents point at
	@cd '$(root)' && git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs -r clang-format-14 --dry-run -Werror
	@python3 '$(root)/scripts/check_tree_test.py' --quiet
	@python3 '$(root)/scripts/check_tree.py'
	@python3 '$(root)/scripts/check_ledger_test.py' --quiet
	@python3 '$(root)/scripts/check_ledger.py'
	@python3 '$(root)/scripts/check_docs_test.py' --quiet
	@python3 '$(root)/scripts/check_docs.py'
	@python3 '$(root)/scripts/mutate.py' --check

ledger: setup ## write docs/duckdb-ledger.tsv anew, keeping the reasons
	@python3 '$(root)/scripts/check_ledger.py' --update

format: setup ## bring all sources into shape
	@cd '$(root)' && git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs -r clang-format-14 -i

lint: rules $(root)/build/asan/build.ninja ## tree rules and static checks
	@'$(root)/scripts/lint.py' -j $(JOBS)

fuzz: setup $(root)/build/fuzz/build.ninja ## every fuzzer for FUZZ_SECONDS each
	@$(call build_with,fuzz,--target fuzzers)
	@$(fixed_addresses) '$(root)/scripts/fuzz.sh' $(FUZZ_SECONDS)

bench: setup-data $(root)/build/release/build.ninja ## all benchmarks
	@$(call build_with,release,--target product benchmarks)
	@'$(root)/scripts/bench.sh'

# What is too long for `test`, one executable a line: kills go SOAK_ROUNDS rounds, the mixed soak goes on for
# SOAK_SECONDS and SOAK_OPERATIONS; every file call and every allocation fails once and for good.
soak_suites := \
	stress_soak \
	stress_database_crash \
	stress_backup_crash \
	stress_restore_crash \
	contract_file_faults \
	contract_allocation

soak: setup $(root)/build/release/build.ninja ## the long suites: mixed threads, kills at random moments
	@$(call build_with,release,--target $(soak_suites))
	@for suite in $(soak_suites); do \
	    echo "== $$suite"; \
	    LUMORA_TEST_ROUNDS=$(SOAK_ROUNDS) LUMORA_TEST_KILL=anywhere LUMORA_EVERY_FAULT=1 LUMORA_SOAK_SECONDS=$(SOAK_SECONDS) LUMORA_SOAK_OPERATIONS=$(SOAK_OPERATIONS) \
	        '$(root)/build/release/tests/'$$suite; \
	done

coverage: $(root)/build/coverage/build.ninja ## lines and branches that the suites reach
	@'$(root)/scripts/setup.sh' --group coverage
	@find '$(root)/build/coverage' -name '*.gcda' -delete
	@$(call build_with,coverage)
	@$(call ctest_with,coverage)
	@'$(root)/scripts/coverage.sh'

mutants: setup ## mistakes put into a copy of the tree, one at a time: the tests must notice
	@'$(root)/scripts/mutate.py' -j $(JOBS)

windows: ## a cross build for Windows; the tests that can run under Wine
	@'$(root)/scripts/setup.sh' --windows
	@$(MAKE) -f '$(root)/Makefile' '$(root)/build/windows/build.ninja'
	@$(call build_with,windows)
	@$(call ctest_with,windows)

package: setup $(root)/build/package/build.ninja ## a .tar.gz and a .deb in build/package/packages
	@$(call build_with,package,--target product)
	@cd '$(root)/build/package' && cpack

install: build ## into PREFIX
	@DESTDIR='$(DESTDIR)' cmake --install '$(root)/build/release' --prefix '$(PREFIX)'

clean: ## remove what was built, keep what was downloaded
	@find '$(root)/build' -mindepth 1 -maxdepth 1 ! -name deps -exec rm -rf {} + 2>/dev/null || true
