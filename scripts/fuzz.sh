#!/usr/bin/env bash
# Runs every fuzzer of build/fuzz for the given number of seconds, two at a time, on the kept corpus.
# Before that it shows that planted mistakes are found.
# What it finds new stays in build/fuzz/corpus/<name>; an input that breaks something is left in
# build/fuzz/findings/ and named at the end.
#
#   scripts/fuzz.sh SECONDS [NAME]...     NAME: only these (script_splitter, not fuzz_script_splitter)
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
seconds="${1:?usage: scripts/fuzz.sh SECONDS [NAME]...}"
shift
build="$root/build/fuzz"
mkdir -p "$build/findings" "$build/log"

names=("$@")
if [ ${#names[@]} = 0 ]; then
    for source in "$root"/fuzz/*.cpp; do
        [ -e "$source" ] && names+=("$(basename "$source" .cpp)")
    done
fi
[ ${#names[@]} -gt 0 ] || { echo "fuzz: there is no fuzzer" >&2; exit 1; }

run_one() {
    local name="$1" dictionary=() own=()
    local corpus="$build/corpus/$name" kept="$root/fuzz/corpus/$name"
    mkdir -p "$corpus"
    [ -d "$kept" ] || kept="$corpus"
    [ ! -f "$root/fuzz/$name.dict" ] || dictionary=("-dict=$root/fuzz/$name.dict")
    # The fuzzer's own options: a line each.
    [ ! -f "$root/fuzz/$name.options" ] || mapfile -t own < <(grep -v '^#' "$root/fuzz/$name.options")
    if "$build/fuzz/fuzz_$name" "-max_total_time=$seconds" -timeout=60 -rss_limit_mb=8192 \
        -print_final_stats=1 "-artifact_prefix=$build/findings/$name-" "${dictionary[@]}" "${own[@]}" \
        "$corpus" "$kept" >"$build/log/$name.log" 2>&1; then
        echo "fuzz: $name: nothing found, $(sed -n 's/stat::number_of_executed_units: *//p' "$build/log/$name.log") inputs"
    else
        echo "fuzz: $name: FAILED, see build/fuzz/log/$name.log; inputs: build/fuzz/findings/$name-*"
        tail -n 30 "$build/log/$name.log"
        return 1
    fi
}
export -f run_one
export root build seconds
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:detect_stack_use_after_return=1}"
export ASAN_SYMBOLIZER_PATH="${ASAN_SYMBOLIZER_PATH:-$(command -v llvm-symbolizer-14 || true)}"

# A mistake that only four certain bytes make must be found from nothing and reported.
must_find() {
    local mistake="$1" report="$2" log="$build/log/planted-$1.log"
    if LUMORA_PLANTED="$mistake" "$build/tests/fuzz_planted" -max_total_time=300 \
        "-artifact_prefix=$build/log/planted-" >"$log" 2>&1 || ! grep -q "$report" "$log"; then
        echo "fuzz: the planted $mistake was not reported, see build/fuzz/log/planted-$mistake.log" >&2
        exit 1
    fi
}
must_find heap-overflow "AddressSanitizer: heap-buffer-overflow"
must_find signed-overflow "runtime error: signed integer overflow"
must_find leak "LeakSanitizer: detected memory leaks"
must_find property "does not hold: the planted property"
echo "fuzz: the planted mistakes are found"

printf '%s\n' "${names[@]}" | xargs -P 2 -I {} bash -c 'set -euo pipefail; run_one {}'
