"""What is measured, as rows of a table: the program beside a peer, round by round."""

import json
import statistics


class Row:
    """A value of the program's and a peer's of the same kind for every round, taken one after the other."""

    def __init__(self, name, unit, peer=None, more_is_better=False, goal=None, limit=None, fails_at=None):
        """`goal` is what the ratio of ours to the peer's should be (at most, or at least where more is better); without a peer, the value
        itself. `fails_at` is the same where something is grossly wrong. `limit` names what the machine itself allows."""
        self.name = name
        self.unit = unit
        self.peer = peer
        self.more_is_better = more_is_better
        self.goal = goal
        self.limit = limit
        self.fails_at = fails_at
        self.ours = []
        self.theirs = []
        self.limits = []

    def add(self, ours, theirs=None, limit=None):
        self.ours.append(ours)
        if theirs is not None:
            self.theirs.append(theirs)
        if limit is not None:
            self.limits.append(limit)

    def compared(self):
        """What goal and failure are about, for every round: the ratios, or the values where there is no peer."""
        return [ours / theirs for ours, theirs in zip(self.ours, self.theirs)] if self.peer else self.ours

    def holds(self, bound):
        middle = statistics.median(self.compared())
        return middle >= bound if self.more_is_better else middle <= bound

    def facts(self):
        compared = self.compared()
        return {"name": self.name, "unit": self.unit, "peer": self.peer, "limit": self.limit, "more is better": self.more_is_better,
                "ours": self.ours, "theirs": self.theirs, "limits": self.limits,
                "ratio": [min(compared), statistics.median(compared), max(compared)] if self.peer else None,
                "goal": self.goal, "goal is met": None if self.goal is None else self.holds(self.goal), "fails at": self.fails_at}


def number(value):
    """Three figures of it."""
    if value == 0 or abs(value) >= 100:
        return f"{value:,.0f}"
    return f"{value:.2f}" if abs(value) >= 1 else f"{value:.3g}"


def cells(row):
    compared = row.compared()
    middle = statistics.median(row.ours)
    ratio = spread = limit = goal = ""
    if row.peer:
        ratio = f"{statistics.median(compared):.2f}"
        spread = f"{min(compared):.2f}–{max(compared):.2f}"
    elif len(row.ours) > 1:
        spread = f"{number(min(row.ours))}–{number(max(row.ours))}"
    if row.limits:
        at_best = statistics.median(row.limits)
        limit = f"{row.limit}: {number(at_best)}; {number(middle / at_best)}×"
    if row.goal is not None:
        goal = f"{'≥' if row.more_is_better else '≤'} {row.goal:g} {'yes' if row.holds(row.goal) else 'NO'}"
    peer = f"{row.peer}: {number(statistics.median(row.theirs))}" if row.peer else ""
    return [row.name, f"{number(middle)} {row.unit}", peer, ratio, spread, goal, limit]


HEADINGS = ["what", "Orvane", "peer", "ratio", "of the rounds", "goal", "the machine's limit; Orvane's share"]


def table(rows):
    """As Markdown, its columns aligned."""
    lines = [HEADINGS] + [cells(row) for row in rows]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADINGS))]
    lines.insert(1, ["-" * width for width in widths])
    return "\n".join("| " + " | ".join(text.ljust(width) for text, width in zip(line, widths)) + " |" for line in lines)


def failures(rows):
    return [f"{row.name}: {number(statistics.median(row.compared()))}, which is {'below' if row.more_is_better else 'above'} {row.fails_at:g}"
            for row in rows if row.fails_at is not None and not row.holds(row.fails_at)]


def save(path, rows, **more):
    path.write_text(json.dumps({"rows": [row.facts() for row in rows], **more}, indent=1) + "\n")
