#!/usr/bin/env python3
"""Runs clang-tidy and cppcheck over the sources of the tree, with the commands of build/asan.

  scripts/lint.py [-j N]

A file that passed is not looked at again before it, something that it includes, or .clang-tidy changes.
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/asan"
PASSED = ROOT / "build/lint"
FOLDERS = ("host/src/", "src/", "shell/")


def sources():
    """Each source of ours that build/asan compiles, once."""
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    files = {os.path.relpath(entry["file"], ROOT) for entry in commands}
    return sorted(name for name in files if name.startswith(FOLDERS))


def included_by_name():
    """Header name -> files of the tree with that name; good enough to know what a change may touch."""
    headers = {}
    for folder in ("host", "src", "shell"):
        for path in (ROOT / folder).rglob("*"):
            if path.suffix in (".h", ".hpp", ".inc"):
                headers.setdefault(path.name, []).append(path)
    return headers


def closure(path, headers, seen):
    """The file and all of ours that it includes, directly or not."""
    if path not in seen:
        seen[path] = path.read_bytes()
        for name in re.findall(rb'#[ \t]*include[ \t]*["<]([^">]+)', seen[path]):
            for header in headers.get(os.path.basename(name.decode(errors="replace")), ()):
                closure(header, headers, seen)
    return seen


def fingerprint(name, headers):
    digest = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    for path, text in sorted(closure(ROOT / name, headers, {}).items()):
        digest.update(str(path.relative_to(ROOT)).encode() + b"\0" + text)
    return digest.hexdigest()


def tidy(name, headers):
    """Empty when the file passes, else what clang-tidy said."""
    stamp = PASSED / (name.replace("/", "_") + ".passed")
    key = fingerprint(name, headers)
    if stamp.exists() and stamp.read_text() == key:
        return ""
    run = subprocess.run(
        ["clang-tidy-14", "--quiet", "-p", str(BUILD), str(ROOT / name)],
        capture_output=True,
        text=True,
        check=False,
    )
    if run.returncode == 0:
        stamp.write_text(key)
        return ""
    return f"{name}:\n{run.stdout}\n{run.stderr}"


def cppcheck(jobs):
    cache = PASSED / "cppcheck"
    cache.mkdir(parents=True, exist_ok=True)
    folders = [folder for folder in FOLDERS if (ROOT / folder).is_dir()]
    return subprocess.run(
        ["cppcheck", "--quiet", "--language=c++", "--std=c++20", "--error-exitcode=1", "--inline-suppr"]
        + ["--enable=warning,performance,portability", f"--cppcheck-build-dir={cache}", "-j", str(jobs)]
        + ["-I", "host/include", "-I", "src", "--suppressions-list=scripts/cppcheck-suppressions.txt"]
        + folders,
        cwd=ROOT,
        check=False,
    ).returncode


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("-j", type=int, default=os.cpu_count(), dest="jobs")
    jobs = parser.parse_args().jobs
    PASSED.mkdir(parents=True, exist_ok=True)
    headers, names = included_by_name(), sources()
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for said in pool.map(lambda name: tidy(name, headers), names):
            if said:
                failed += 1
                print(said)
    print(f"lint: clang-tidy found fault with {failed} of {len(names)} files")
    checked = cppcheck(jobs)
    print("lint: cppcheck " + ("found fault" if checked else "found nothing"))
    return 1 if failed or checked else 0


if __name__ == "__main__":
    sys.exit(main())
