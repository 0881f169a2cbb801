#!/usr/bin/env bash
# What `make run` shows: the five procedures on a real data set.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
lumora="$root/build/release/bin/lumora"
if [ ! -x "$lumora" ]; then
    echo "run: $lumora has not been built; there is nothing to show yet" >&2
    exit 1
fi
exec "$lumora" --version
