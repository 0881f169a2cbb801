#!/usr/bin/env bash
# Runs every benchmark of build/release and writes what it says, with machine and versions, to
# build/release/bench/results/<name>.json.
#
#   scripts/bench.sh [NAME]...    NAME: only these (conversion, not bench_conversion)
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bench="$root/build/release/bench"
results="$bench/results"
mkdir -p "$results"

names=("$@")
if [ ${#names[@]} = 0 ]; then
    for source in "$root"/benchmarks/*.cpp; do
        [ -e "$source" ] && names+=("$(basename "$source" .cpp)")
    done
fi
[ ${#names[@]} -gt 0 ] || { echo "bench: there is no benchmark" >&2; exit 1; }

context="--benchmark_context=commit=$(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo unknown)"
context+=",compiler=$(g++-12 -dumpfullversion 2>/dev/null || echo unknown)"
context+=",duckdb=$(cut -d' ' -f1 "$root"/build/deps/.duckdb-library-* 2>/dev/null || echo other)"
context+=",processor=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1 | tr ',=' '  ')"
status=0
for name in "${names[@]}"; do
    echo "== $name"
    "$bench/bench_$name" "$context" "--benchmark_out=$results/$name.json" --benchmark_out_format=json ||
        status=1
done
exit "$status"
