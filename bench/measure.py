#!/usr/bin/python3
"""Measures the built program from outside, beside its peers: see docs/performance.md."""

import argparse
import json
import subprocess
import sys
import time

from surroundings import REPOSITORY  # First: it says where the harness is.

from harness.processes import end_orphans, prepare_run

import growth
import idle
import ingestion
import memory
import relay
import startup
import status_blocks
from programs import BUILD
from rows import Row, table
from scene import Scene

SUBJECTS = {module.__name__: module for module in (startup, memory, idle, status_blocks, ingestion, relay, growth)}
RESULTS = BUILD / "bench.json"


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quick", action="store_true", help="one short round of everything but growth")
    parser.add_argument("subjects", nargs="*", metavar="SUBJECT", choices=[[], *SUBJECTS], help=f"only these: {' '.join(SUBJECTS)}")
    options = parser.parse_args()
    options.subjects = options.subjects or [name for name in SUBJECTS if not (options.quick and name == "growth")]
    return options


def measure(subjects, quick):
    """Rows and curves."""
    prepare_run()
    scene = Scene(quick)
    measured = []
    try:
        for subject in subjects:
            begin = time.monotonic()
            things = SUBJECTS[subject].measure(scene)
            save(subject, things, quick)
            measured += things
            print(f"{subject}: {time.monotonic() - begin:.0f} s", file=sys.stderr)
    finally:
        scene.close()
        end_orphans()
    return measured


def circumstances(quick):
    commit = subprocess.run(["git", "describe", "--always", "--dirty"], cwd=REPOSITORY, capture_output=True, text=True).stdout.strip()
    with open("/proc/cpuinfo") as stream:
        processor = next((line.split(":")[1].strip() for line in stream if line.startswith("model name")), "unknown")
    return {"commit": commit, "quick": quick, "when": time.strftime("%Y-%m-%d %H:%M %Z"), "processor": processor}


def save(subject, things, quick):
    """What was measured of other subjects before is kept."""
    results = json.loads(RESULTS.read_text()) if RESULTS.exists() else {}
    results[subject] = {**circumstances(quick), "facts": [thing.facts() for thing in things]}
    RESULTS.write_text(json.dumps({name: results[name] for name in SUBJECTS if name in results}, indent=1) + "\n")


def main():
    options = arguments()
    measured = measure(options.subjects, options.quick)
    for thing in measured:
        if not isinstance(thing, Row):
            print(thing.describe())
    rows = [thing.facts() for thing in measured if isinstance(thing, Row)]
    if rows:
        print(table(rows))
    failures = [failure for thing in measured if (failure := thing.failure())]
    for failure in failures:
        print(f"error: {failure}", file=sys.stderr)
    sys.exit(1 if failures else 0)


main()
