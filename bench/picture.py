"""Growth as a picture: costs against numbers of things, both logarithmic, with the fitted line and one of slope 1."""

import math
from html import escape

WIDTH, HEIGHT, COLUMNS = 300, 230, 3  # Of one plot; how many stand side by side.
LEFT, RIGHT, TOP, BOTTOM = 52, 14, 34, 38  # The margins around its field.
INK, FAINT, OURS, STRAIGHT = "#333", "#ddd", "#1668b8", "#c0702a"


class Axis:
    """Logarithms onto pixels, over whole decades."""

    def __init__(self, values, begin, end):
        self.low = math.floor(math.log10(min(values)))
        self.high = max(math.ceil(math.log10(max(values))), self.low + 1)
        self._begin = begin
        self._end = end

    def place(self, logarithm):
        part = (logarithm - self.low) / (self.high - self.low)
        return self._begin + part * (self._end - self._begin)

    def decades(self):
        return range(self.low, self.high + 1)


def label(decade):
    if decade < -2 or decade > 3:
        superscripts = str.maketrans("-0123456789", "⁻⁰¹²³⁴⁵⁶⁷⁸⁹")
        return "10" + str(decade).translate(superscripts)
    return f"{10 ** decade:g}"


def line(x1, y1, x2, y2, colour, more=""):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" {more}/>'


def text(x, y, words, anchor="middle", more=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" {more}>{escape(words)}</text>'


def across(x, y, slope, through):
    """The two ends, within the field, of a line with that slope through a point; all in logarithms."""
    ends = []
    for at in (x.low, x.high):
        height = through[1] + slope * (at - through[0])
        bounded = min(max(height, y.low), y.high)
        if slope and bounded != height:
            at = through[0] + (bounded - through[1]) / slope
        ends += [x.place(at), y.place(bounded)]
    return ends


def plot(curve):
    points = [(math.log10(count), math.log10(cost)) for count, cost in curve["points"]]
    x = Axis([count for count, _ in curve["points"]], LEFT, WIDTH - RIGHT)
    y = Axis([cost for _, cost in curve["points"]], HEIGHT - BOTTOM, TOP)
    parts = [text(WIDTH / 2, 14, curve["cost"], more='font-weight="bold"'), text(WIDTH / 2, HEIGHT - 6, curve["things"])]
    for decade in x.decades():
        parts += [line(x.place(decade), TOP, x.place(decade), HEIGHT - BOTTOM, FAINT),
                  text(x.place(decade), HEIGHT - BOTTOM + 14, label(decade))]
    for decade in y.decades():
        parts += [line(LEFT, y.place(decade), WIDTH - RIGHT, y.place(decade), FAINT),
                  text(LEFT - 5, y.place(decade) + 4, label(decade), "end")]
    parts.append(line(*across(x, y, 1, points[-1]), STRAIGHT, 'stroke-dasharray="4 4"'))
    parts.append(line(*across(x, y, curve["slope"], (0, curve["intercept"] / math.log(10))), OURS))
    parts += [f'<circle cx="{x.place(a):.1f}" cy="{y.place(b):.1f}" r="3" fill="{OURS}"/>' for a, b in points]
    parts.append(text(LEFT + 6, TOP + 12, f"slope {curve['slope']:.2f}", "start", f'fill="{OURS}"'))
    return "\n".join(parts)


def picture(curves):
    rows = math.ceil(len(curves) / COLUMNS)
    plots = [f'<g transform="translate({at % COLUMNS * WIDTH},{at // COLUMNS * HEIGHT})">\n{plot(curve)}\n</g>' for at, curve in enumerate(curves)]
    width, height = COLUMNS * WIDTH, rows * HEIGHT
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}" '
                      f'font-family="sans-serif" font-size="11" fill="{INK}">',
                      f'<rect width="{width}" height="{height}" fill="white"/>', *plots, "</svg>"]) + "\n"
