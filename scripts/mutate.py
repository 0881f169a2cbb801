#!/usr/bin/env python3
"""Puts one mistake after the other into a copy of the tree and tells which ones the tests miss.

  scripts/mutate.py [--check] [--only WORD] [--sound] [-j N]

The mistakes are kept in tests/mutants/mutants.txt. The copy is build/mutants/tree; ccache and the kept build
there make a mistake cost one file, one link and the suites that it names.

  --check      only whether every mistake can be put in
  --only WORD  only the mistakes whose file or number is WORD
  --sound      the suites are known to pass without a mistake: they are not run first
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
RECORDS = ROOT / "tests/mutants/mutants.txt"
COPY = ROOT / "build/mutants/tree"
LOGS = ROOT / "build/mutants/logs"
MAX_SURVIVORS = 2
SUITE_SECONDS = 1200


class Mutant:
    """One mistake: a text that stands once in a file, and what it becomes."""

    def __init__(self, number, file, suites):
        self.number = number
        self.file = file
        self.suites = suites
        self.old = []
        self.new = []

    def __str__(self):
        return f"{self.number:3} {self.file}: {self.old[0].strip()}"

    def mutated(self, text):
        """The text with the mistake in it; None when the place is not there exactly once."""
        old = "\n".join(self.old)
        return text.replace(old, "\n".join(self.new)) if text.count(old) == 1 else None


def read_records(text):
    mutants = []
    for number, line in enumerate(text.splitlines(), 1):
        if not line or line.startswith("#"):
            continue
        header = re.fullmatch(r"([\w./]+): ([\w:.*-]+(?: [\w:.*-]+)*)", line)
        if header:
            mutants.append(Mutant(len(mutants) + 1, header.group(1), header.group(2).split()))
        elif line[:2] in ("- ", "+ ") and mutants:
            (mutants[-1].old if line[0] == "-" else mutants[-1].new).append(line[2:])
        else:
            raise SystemExit(f"mutate: line {number} of {RECORDS.name} is not understood")
    return mutants


def misfits(mutants, root):
    for mutant in mutants:
        path = root / mutant.file
        if not path.exists() or not mutant.old or mutant.mutated(path.read_text()) in (None, path.read_text()):
            yield mutant


def run(command, log, seconds=None):
    """Whether the command succeeded; its output goes to the log. None when it ran too long."""
    with log.open("w") as output:
        try:
            done = subprocess.run(command, cwd=COPY, stdout=output, stderr=output, timeout=seconds, check=False)
        except subprocess.TimeoutExpired:
            return None
    return done.returncode == 0


def build(suites, jobs, log):
    """Builds the executables of the suites; what goes through the loaded library needs that too."""
    targets = sorted({suite.partition(":")[0] for suite in suites})
    return run(["cmake", "--build", "--preset", "release", f"-j{jobs}", "--target", *targets], log)


def copy_tree():
    """The files that git knows or would take, so that nothing of a build comes along."""
    listed = subprocess.run(
        ["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, capture_output=True, check=True
    ).stdout.decode()
    names = {name for name in listed.split("\0") if name and (ROOT / name).is_file()}
    for name in names:
        target = COPY / name
        if not target.exists() or target.read_bytes() != (ROOT / name).read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, target)
    for path in COPY.rglob("*"):
        if path.is_file() and "build" not in path.relative_to(COPY).parts[:1]:
            if path.relative_to(COPY).as_posix() not in names:
                path.unlink()
    (COPY / "build").mkdir(exist_ok=True)
    if not (COPY / "build/deps").exists():
        (COPY / "build/deps").symlink_to(ROOT / "build/deps")


def missed(mutant, jobs):
    """The suite that noticed the mistake, or empty. A suite that runs too long has noticed nothing."""
    path = COPY / mutant.file
    text = path.read_text()
    path.write_text(mutant.mutated(text))
    log = LOGS / f"{mutant.number}.log"
    try:
        for suite in mutant.suites:
            if not build([suite], jobs, log):
                raise SystemExit(f"mutate: {mutant}\ncannot be compiled: see {log}")
            name, _, part = suite.partition(":")
            command = [f"build/release/tests/{name}", "--gtest_fail_fast", "--gtest_brief=1"]
            if run(command + ([f"--gtest_filter={part}"] if part else []), log, SUITE_SECONDS) is False:
                return suite
        return ""
    finally:
        path.write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--only")
    parser.add_argument("--sound", action="store_true")
    parser.add_argument("-j", type=int, default=os.cpu_count(), dest="jobs")
    options = parser.parse_args()
    mutants = read_records(RECORDS.read_text())
    wrong = list(misfits(mutants, ROOT))
    for mutant in wrong:
        print(f"mutate: does not stand exactly once in its file: {mutant}")
    if wrong or options.check:
        print(f"mutate: {len(mutants)} mistakes, {len(wrong)} cannot be put in")
        return 1 if wrong or not mutants else 0

    COPY.mkdir(parents=True, exist_ok=True)
    LOGS.mkdir(parents=True, exist_ok=True)
    copy_tree()
    chosen = [m for m in mutants if options.only in (None, m.file, str(m.number))]
    suites = sorted({suite.partition(":")[0] for mutant in chosen for suite in mutant.suites})
    log = LOGS / "sound.log"
    if not run(["cmake", "--preset", "release"], log) or not build(suites, options.jobs, log):
        raise SystemExit(f"mutate: the tree without mistakes does not build: see {log}")
    for suite in suites if not options.sound else ():
        if not run([f"build/release/tests/{suite}", "--gtest_brief=1"], log, SUITE_SECONDS):
            raise SystemExit(f"mutate: {suite} fails without a mistake: see {log}")
    survivors = 0
    for mutant in chosen:
        suite = missed(mutant, options.jobs)
        survivors += not suite
        print(f"{'noticed by ' + suite.partition(':')[0] if suite else 'MISSED':30} {mutant}", flush=True)
    print(f"mutate: {len(chosen) - survivors} of {len(chosen)} mistakes noticed; {MAX_SURVIVORS} may be missed")
    return 1 if survivors > MAX_SURVIVORS or not chosen else 0


if __name__ == "__main__":
    sys.exit(main())
