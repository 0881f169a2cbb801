#!/usr/bin/env bash
# Brings a fresh Debian 12 machine to the point where this tree builds: Debian's packages and the pinned
# files out of npm packages. It may be run any number of times and is quick when nothing is missing.
#
#   scripts/setup.sh [--data] [--windows] [--group NAME]...
#
#   --windows     also what a cross build for Windows needs, DuckDB's library for Windows included
#   --data        also the flights data set that `make run` and `make bench` read
#   --group NAME  also the packages of that group of scripts/packages.txt
#
# LUMORA_DUCKDB_ROOT: a prefix with include/duckdb.h and lib/libduckdb.so; no DuckDB is downloaded then.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
deps="$root/build/deps"
groups=" "
want_data=no
want_windows=no

fail() {
    printf 'setup: %s\n' "$@" >&2
    exit 1
}

while [ $# -gt 0 ]; do
    case "$1" in
        --data) want_data=yes ;;
        --windows)
            want_windows=yes
            groups="${groups}windows "
            ;;
        --group)
            [ $# -ge 2 ] || fail "--group needs a name"
            groups="$groups$2 "
            shift
            ;;
        *) fail "unknown option $1" "usage: scripts/setup.sh [--data] [--windows] [--group NAME]..." ;;
    esac
    shift
done

# --- Debian packages ----------------------------------------------------------------------------------

# Prints the pins that this machine does not satisfy, one a line.
missing_packages() {
    local installed pin word name pattern wanted
    # shellcheck disable=SC2016
    installed="$(dpkg-query -W -f '${binary:Package} ${db:Status-Status} ${Version}\n' 2>/dev/null |
        sed 's/^\([^ :]*\):[^ ]*/\1/')"
    while read -r pin rest; do
        case "$pin" in '' | '#'*) continue ;; esac
        wanted=yes
        for word in $rest; do
            case "$word" in
                unless:*) ! command -v "${word#unless:}" >/dev/null || wanted=no ;;
                group:*) case "$groups" in *" ${word#group:} "*) ;; *) wanted=no ;; esac ;;
                *) fail "scripts/packages.txt: '$word' is not understood" ;;
            esac
        done
        [ "$wanted" = yes ] || continue
        name="${pin%%=*}"
        pattern="${pin#*=}"
        if ! installed_as "$name" "$pattern" <<<"$installed"; then echo "$pin"; fi
    done <"$root/scripts/packages.txt"
}

# installed_as NAME PATTERN: is NAME in the list on standard input, in a version that the pattern takes?
installed_as() {
    local name status version
    while read -r name status version; do
        # shellcheck disable=SC2053
        if [ "$name" = "$1" ] && [ "$status" = installed ] && [[ $version == $2 ]]; then return 0; fi
    done
    return 1
}

install_packages() {
    command -v dpkg-query >/dev/null ||
        fail "this is no Debian system; install what scripts/packages.txt lists by other means, then set LUMORA_SKIP_PACKAGES=1"
    local pins
    mapfile -t pins < <(missing_packages)
    [ ${#pins[@]} -gt 0 ] || return 0
    echo "setup: installing ${pins[*]}"
    local as_root=()
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || fail "not root and no sudo; as root run: apt-get install ${pins[*]}"
        as_root=(sudo)
    fi
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600)
    "${apt[@]}" update ||
        fail "apt-get update failed: check the machine's package sources and network, then run this again"
    "${apt[@]}" install -y --no-install-recommends --allow-downgrades "${pins[@]}" ||
        fail "apt-get could not install: ${pins[*]}" \
            "Debian 12's package sources must be set up. Where a version is no longer there, change the pin in scripts/packages.txt and build from nothing."
}

# --- files out of npm packages and Debian source packages --------------------------------------------------------------------------

# read_entry LIST KEY: sets header to the words of that entry's first line and files to its indented lines.
read_entry() {
    local entry
    mapfile -t entry < <(awk -v key="$2" '/^[^ #]/ { inside = ($1 == key) } inside && !/^#/' "$root/scripts/$1")
    [ ${#entry[@]} -gt 1 ] || fail "scripts/$1 has no entry $2"
    read -r -a header <<<"${entry[0]}"
    files=("${entry[@]:1}")
}

# is_fetched KEY STAMP: is each of the files there, from the archive that the stamp tells of?
is_fetched() {
    local file target
    for file in "${files[@]}"; do
        read -r _ target <<<"$file"
        [ -f "$deps/$target" ] || return 1
    done
    [ "$(cat "$deps/.$1" 2>/dev/null)" = "$2" ]
}

# Makes a folder for a download, which does not outlive this script.
new_work_folder() {
    mkdir -p "$deps"
    work="$(mktemp -d "$deps/.fetch.XXXXXX")"
    # shellcheck disable=SC2064
    trap "rm -rf '$work'" EXIT
}

# take_files ARCHIVE KEY STAMP: the files out of the archive, and the work folder goes.
take_files() {
    local file member target
    for file in "${files[@]}"; do
        read -r member target <<<"$file"
        tar -xzf "$1" -C "$work" "$member" || fail "$(basename "$1") holds no $member"
        mkdir -p "$(dirname "$deps/$target")"
        # Archives carry a date of long ago, and the build must see that the file is new.
        touch "$work/$member"
        mv -f "$work/$member" "$deps/$target"
    done
    echo "$3" >"$deps/.$2"
    rm -rf "$work"
    trap - EXIT
}

# fetch_package KEY: makes sure that the files of that entry of npm-packages.txt are under build/deps.
fetch_package() {
    local key="$1" header files work
    read_entry npm-packages.txt "$key"
    local name="${header[1]}" version="${header[2]}" integrity="${header[3]}"
    if is_fetched "$key" "$version $integrity"; then return 0; fi

    command -v npm >/dev/null || fail "npm is needed to fetch $name@$version and is not there" "$(advice_without "$key")"
    echo "setup: fetching $name@$version"
    new_work_folder
    (cd "$work" && npm pack --loglevel=error --ignore-scripts "$name@$version" >/dev/null) ||
        fail "npm could not fetch $name@$version" \
            "check the network and the registry that npm is set to; ask it with: npm view $name@$version" \
            "$(advice_without "$key")"
    local archives=("$work"/*.tgz)
    check_integrity "${archives[0]}" "$integrity" ||
        fail "$name@$version is not the archive that scripts/npm-packages.txt pins ($integrity)" \
            "clear npm's cache (npm cache clean --force) and try again; if it stays so, do not use what the registry serves"
    take_files "${archives[0]}" "$key" "$version $integrity"
}

# fetch_source NAME: makes sure that the files of that entry of debian-sources.txt are under build/deps. apt-get
# gets a list of sources and folders of its own, so that the machine's stay as they are and nobody need be root.
fetch_source() {
    local name="$1" header files work
    read_entry debian-sources.txt "$name"
    local version="${header[1]}" archive="${header[2]}" sum="${header[3]}"
    if is_fetched "source-$name" "$version $sum"; then return 0; fi

    echo "setup: fetching the source of $name $version"
    new_work_folder
    mkdir -p "$work/lists/partial" "$work/cache/archives/partial"
    # From where the machine takes its binary packages.
    local mirror
    mirror="$(apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' 'Created-By: Packages' |
        awk '$2 == "bookworm" && $3 == "main" && !found { print $1; found = 1 }')"
    [ -n "$mirror" ] || fail "apt-get knows no place of Debian's packages"
    echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror bookworm main" >"$work/sources.list"
    local apt=(apt-get -q -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=-
        -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" -o APT::Sandbox::User="$(id -un)")
    "${apt[@]}" update >/dev/null || fail "apt-get could not read Debian's list of source packages: check the network"
    (cd "$work" && "${apt[@]}" source --download-only "$name=$version" >/dev/null) ||
        fail "apt-get could not fetch the source of $name $version" \
            "where that version is no longer there, change the pin in scripts/debian-sources.txt"
    [ "$(sha256sum "$work/$archive" | cut -d' ' -f1)" = "$sum" ] ||
        fail "$archive is not the archive that scripts/debian-sources.txt pins ($sum)"
    take_files "$work/$archive" "source-$name" "$version $sum"
}

# check_integrity FILE sha512-BASE64
check_integrity() {
    local expected actual
    expected="$(printf %s "${2#sha512-}" | base64 -d | od -An -v -tx1 | tr -d ' \n')"
    actual="$(sha512sum "$1" | cut -d' ' -f1)"
    [ -n "$expected" ] && [ "$expected" = "$actual" ]
}

advice_without() {
    case "$1" in
        data) echo "without it \`make run\` and \`make bench\` cannot work; everything else can" ;;
        *) echo "or set LUMORA_DUCKDB_ROOT to a prefix with include/duckdb.h and lib/libduckdb.so (1.5 or newer)" ;;
    esac
}

fetch_duckdb() {
    if [ -n "${LUMORA_DUCKDB_ROOT:-}" ]; then
        [ -f "$LUMORA_DUCKDB_ROOT/include/duckdb.h" ] ||
            fail "LUMORA_DUCKDB_ROOT is $LUMORA_DUCKDB_ROOT, which has no include/duckdb.h"
        return 0
    fi
    grep -q "^duckdb-library-$(uname -m) " "$root/scripts/npm-packages.txt" ||
        fail "no DuckDB library is pinned for a $(uname -m) machine in scripts/npm-packages.txt" \
            "$(advice_without duckdb)"
    fetch_package "duckdb-library-$(uname -m)"
    fetch_package duckdb-header
}

# DuckDB's library for Windows comes without an import library, which the linker needs: it is made of the
# C functions among the library's exports.
fetch_duckdb_for_windows() {
    local prefix="$deps/windows/duckdb"
    fetch_package duckdb-library-windows
    fetch_package duckdb-header
    mkdir -p "$prefix/lib" "$prefix/include"
    cp -u "$deps/duckdb/include/duckdb.h" "$prefix/include/"
    [ "$prefix/bin/duckdb.dll" -nt "$prefix/lib/libduckdb.dll.a" ] || return 0
    {
        echo "LIBRARY duckdb.dll"
        echo "EXPORTS"
        x86_64-w64-mingw32-objdump -p "$prefix/bin/duckdb.dll" |
            sed -n 's/^[[:space:]]*\[ *[0-9]*\].* \(duckdb_[a-z0-9_]*\)$/\1/p' | sort -u
    } >"$prefix/lib/duckdb.def"
    grep -q '^duckdb_query$' "$prefix/lib/duckdb.def" || fail "duckdb.dll exports no duckdb_query"
    x86_64-w64-mingw32-dlltool -d "$prefix/lib/duckdb.def" -D duckdb.dll -l "$prefix/lib/libduckdb.dll.a"
}

[ -n "${LUMORA_SKIP_PACKAGES:-}" ] || install_packages
fetch_duckdb
[ "$want_data" = no ] || fetch_package data
if [ "$want_windows" = yes ]; then
    fetch_duckdb_for_windows
    fetch_source utf8proc
fi

# The front door configures anew when another DuckDB is named than before.
mkdir -p "$deps"
if [ "$(cat "$deps/.root" 2>/dev/null)" != "root=${LUMORA_DUCKDB_ROOT:-}" ]; then
    echo "root=${LUMORA_DUCKDB_ROOT:-}" >"$deps/.root"
fi
