#!/usr/bin/python3
"""Measures the built program from outside, beside its peers: see docs/performance.md."""

import argparse
import sys
import time

import gi

gi.require_version("Atspi", "2.0")

import programs
from harness.processes import adopt_orphans, end_orphans, hand_down_default_signals
from rows import failures, save, table
from scene import Scene

import idle
import ingestion
import memory
import relay
import startup
import status_blocks

SUBJECTS = {module.__name__: module.measure for module in (startup, memory, idle, status_blocks, ingestion, relay)}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quick", action="store_true", help="one short round of everything; fails when something is grossly slow")
    parser.add_argument("subjects", nargs="*", metavar="SUBJECT", help=f"only these: {' '.join(SUBJECTS)}")
    options = parser.parse_args()
    adopt_orphans()
    hand_down_default_signals()
    scene = Scene(options.quick)
    rows = []
    try:
        for subject in options.subjects or SUBJECTS:
            begin = time.monotonic()
            rows += SUBJECTS[subject](scene)
            print(f"{subject}: {time.monotonic() - begin:.0f} s", file=sys.stderr)
    finally:
        scene.close()
        end_orphans()
    save(programs.BUILD / "bench.json", rows, quick=options.quick)
    print(table(rows))
    failed = failures(rows)
    for failure in failed:
        print(f"error: {failure}", file=sys.stderr)
    sys.exit(1 if failed else 0)


main()
