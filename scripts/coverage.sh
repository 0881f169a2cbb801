#!/usr/bin/env bash
# Lines and branches of our two libraries that the suites of build/coverage reach. Writes
# build/coverage/report/index.html and prints the table. Fails below LUMORA_MIN_LINES and
# LUMORA_MIN_BRANCHES (per cent). docs/coverage.md tells what is left.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$root/build/coverage"
mkdir -p "$build/report"
# Branches that the compiler makes for exceptions are no decisions of the source.
exec gcovr -r "$root" --object-directory "$build" --gcov-executable gcov-12 -j "$(nproc)" \
    --filter "$root/src/" --filter "$root/host/" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --fail-under-line "${LUMORA_MIN_LINES:-95}" --fail-under-branch "${LUMORA_MIN_BRANCHES:-85}" \
    --html-details "$build/report/index.html" --print-summary --txt
