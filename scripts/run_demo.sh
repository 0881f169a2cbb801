#!/usr/bin/env bash
# What `make run` shows: the five procedures on a real data set, and on a DuckDB file made from it.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
lumora="$root/build/release/bin/lumora"
data="build/deps/data/flights-3m.parquet"
cd "$root"
[ -x "$lumora" ] || { echo "run: $lumora is not there; make build makes it" >&2; exit 1; }
[ -f "$data" ] || { echo "run: $data is not there; scripts/setup.sh --data fetches it" >&2; exit 1; }

folder="$(mktemp -d)"
trap 'rm -rf "$folder"' EXIT
database="$folder/flights.duckdb"

# show TITLE ARGUMENT...: runs lumora, the command line above it. Nothing waits for a key.
show() {
    local title="$1"
    shift
    printf '\n%s\n$ lumora' "$title"
    local word
    for word in "$@"; do
        case "$word" in
            *[!A-Za-z0-9_./:-]*) printf ' "%s"' "${word//"$folder/"/}" ;;
            *) printf ' %s' "${word//"$folder/"/}" ;;
        esac
    done
    printf '\n'
    PAGER=cat "$lumora" --max-rows 10 "$@"
}

show "What is in the file: columns and the types that they are read as" \
    -c "CALL parquet_schema('$data')"
show "How many flights there are, and how many were more than an hour late" \
    -c "CALL parquet_count('$data')" -c "CALL parquet_count('$data', 'delay > 60')"
show "How the file is laid out" \
    --mode line -c "CALL parquet_metadata('$data')" | head -n 28
show "Flights that were late, three columns of them" \
    -c "CALL fetch_parquet('$data', 'origin, destination, delay', 'delay > 60', 100000)"
show "The same for a program" \
    --mode jsonlines -c "CALL fetch_parquet('$data', ['origin', 'delay'], 'delay > 600', 3)"
show "A DuckDB file made from it" \
    --create "$database" \
    -c "CREATE TABLE flights AS SELECT * FROM read_parquet('$data')" \
    -c "SELECT origin, count(*) AS flights, avg(delay) AS mean_delay FROM flights GROUP BY origin ORDER BY flights DESC LIMIT 5"
show "A table of that file, through a procedure" \
    -c "CALL fetch_duckdb('$database', 'main.flights', 1000)"
