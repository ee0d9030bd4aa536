#!/usr/bin/python3
"""Puts what scripts/bench has measured last into docs/performance.md, and its growth into a picture there."""

import json
import os
import re
import sys

from surroundings import REPOSITORY  # First: it says where the harness is.

from harness.installation import BUILD

from picture import picture
from rows import table

PAGE = REPOSITORY / "docs/performance.md"
PICTURE = REPOSITORY / "docs/images/growth.svg"


def replaced(page, name, text):
    """The page with that text between the marks of that name."""
    marks = f"<!-- {name} -->", f"<!-- end of {name} -->"
    pattern = re.escape(marks[0]) + ".*?" + re.escape(marks[1])
    assert re.search(pattern, page, re.DOTALL), f"{PAGE} has no place for {name}"
    return re.sub(pattern, lambda _: f"{marks[0]}\n{text}\n{marks[1]}", page, flags=re.DOTALL)


def circumstances(results):
    processors, commits = (dict.fromkeys(result[name] for result in results.values()) for name in ("processor", "commit"))
    when = sorted(result["when"] for result in results.values())
    return f"{', '.join(processors)}, {os.cpu_count()} cores; commit {', '.join(commits)}; {when[0]} to {when[-1]}."


def growth_table(curves):
    lines = ["| cost | against | slope | at the end | measured |", "|---|---|---|---|---|"]
    for curve in curves:
        points = ", ".join(f"{count:,}: {cost:.3g}" for count, cost in curve["points"])
        lines.append(f"| {curve['cost']} | {curve['things']} | {curve['slope']:.2f} | {curve['slope at the end']:.2f} | {points} |")
    return "\n".join(lines)


def main():
    results = json.loads((BUILD / "bench.json").read_text())
    quick = [subject for subject, result in results.items() if result["quick"]]
    if quick:
        sys.exit(f"error: measured only quickly: {' '.join(quick)}; scripts/bench measures everything")
    curves = results["growth"]["facts"]
    page = PAGE.read_text()
    page = replaced(page, "circumstances", circumstances(results))
    page = replaced(page, "table", table([facts for subject, result in results.items() if subject != "growth" for facts in result["facts"]]))
    page = replaced(page, "growth", growth_table(curves))
    PAGE.write_text(page)
    PICTURE.write_text(picture(curves))


main()
