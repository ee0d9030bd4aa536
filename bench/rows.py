"""What is measured, as rows of a table: the program beside a peer, round by round."""

import statistics


class Row:
    """A value of the program's and a peer's of the same kind for every round, taken one after the other."""

    def __init__(self, name, unit, peer=None, more_is_better=False, goal=None, limit=(), fails_at=None):
        """`goal` is what the ratio of ours to the peer's should be (at most, or at least where more is better); without a peer, the value
        itself. `fails_at` is the same where something is grossly wrong. `limit` names what the machine itself allows, one thing or
        several."""
        self.name = name
        self.unit = unit
        self.peer = peer
        self.more_is_better = more_is_better
        self.goal = goal
        self.fails_at = fails_at
        self.ours = []
        self.theirs = []
        self.limits = {name: [] for name in ([limit] if isinstance(limit, str) else limit)}

    def add(self, ours, theirs=None, limit=()):
        """With as many limits as have names."""
        self.ours.append(ours)
        if theirs is not None:
            self.theirs.append(theirs)
        for values, value in zip(self.limits.values(), limit if isinstance(limit, tuple) else (limit,), strict=True):
            values.append(value)

    def compared(self):
        """What goal and failure are about, for every round: the ratios, or the values where there is no peer."""
        return [ours / theirs for ours, theirs in zip(self.ours, self.theirs)] if self.peer else self.ours

    def holds(self, bound):
        middle = statistics.median(self.compared())
        return middle >= bound if self.more_is_better else middle <= bound

    def failure(self):
        """What is grossly wrong, or nothing."""
        if self.fails_at is None or self.holds(self.fails_at):
            return None
        middle = number(statistics.median(self.compared()))
        return f"{self.name}: {middle} is {'below' if self.more_is_better else 'above'} {self.fails_at:g}"

    def facts(self):
        compared = self.compared()
        return {"name": self.name, "unit": self.unit, "peer": self.peer, "more is better": self.more_is_better,
                "ours": self.ours, "theirs": self.theirs, "limits": self.limits,
                "ratio": [min(compared), statistics.median(compared), max(compared)] if self.peer else None,
                "goal": self.goal, "goal is met": None if self.goal is None else self.holds(self.goal), "fails at": self.fails_at}


def number(value):
    """Three figures of it."""
    if value == 0 or abs(value) >= 100:
        return f"{value:,.0f}"
    return f"{value:.2f}" if abs(value) >= 1 else f"{value:.3g}"


def cells(facts):
    """Of a row's facts."""
    middle = statistics.median(facts["ours"])
    ratio = spread = goal = ""
    if facts["peer"]:
        least, median, most = facts["ratio"]
        ratio, spread = f"{median:.2f}", f"{least:.2f}–{most:.2f}"
    elif len(facts["ours"]) > 1:
        spread = f"{number(min(facts['ours']))}–{number(max(facts['ours']))}"
    at_best = {name: statistics.median(values) for name, values in facts["limits"].items()}
    limit = ", ".join(f"{name}: {number(value)}; {number(middle / value)}×" for name, value in at_best.items())
    if facts["goal"] is not None:
        goal = f"{'≥' if facts['more is better'] else '≤'} {facts['goal']:g} {'met' if facts['goal is met'] else '**missed**'}"
    peer = f"`{facts['peer']}` {number(statistics.median(facts['theirs']))}" if facts["peer"] else ""
    return [facts["name"], f"{number(middle)} {facts['unit']}".strip(), peer.replace("|", "\\|"), ratio, spread, goal, limit]


HEADINGS = ["what", "Orvane", "peer", "ratio", "of the rounds", "goal", "the machine's limit; Orvane's share"]


def table(rows):
    """Of the rows' facts: as Markdown, its columns aligned."""
    lines = [HEADINGS] + [cells(facts) for facts in rows]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEADINGS))]
    lines.insert(1, ["-" * width for width in widths])
    return "\n".join("| " + " | ".join(text.ljust(width) for text, width in zip(line, widths)) + " |" for line in lines)
