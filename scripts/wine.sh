#!/usr/bin/env bash
# Runs a program of build/windows under Wine: PROGRAM.exe [ARGUMENT]...
# Wine keeps its settings in build/windows; the libraries lie in build/windows/bin.
set -euo pipefail
build="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build/windows"
export WINEPREFIX="$build/wine" WINEDEBUG=-all WINEPATH="Z:${build//\//\\}\\bin"
# Wine reads arguments and file names in the encoding of the locale.
export LC_ALL=C.UTF-8
export WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=
# DuckDB 1.5.5 may take memory that it has not written for a length, and once asked for all that there was.
ulimit -Sd 6000000 || true
wine="$(command -v wine64 || echo /usr/lib/wine/wine64)"
exec "$wine" "$@"
