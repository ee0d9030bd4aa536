"""What is seen on a screen: pictures, what has changed in them, the words in that, and colours."""

import io
import os
import re
import subprocess
from dataclasses import dataclass

import numpy
from PIL import Image, ImageFilter

GREEN = (0x34, 0xC7, 0x59)
LARGER = 3  # Words are read at this many times their size on the screen.


def differences(before, after):
    return (numpy.abs(before.astype(int) - after.astype(int)) > 24).any(axis=2)


def changed_pixels(before, after):
    return int(differences(before, after).sum())


def changed_area(before, after):
    """(left, top, right, bottom) of what differs between two pictures; None when nothing does."""
    differs = differences(before, after)
    lines = numpy.flatnonzero(differs.any(axis=1))
    columns = numpy.flatnonzero(differs.any(axis=0))
    if not len(lines):
        return None
    return int(columns[0]), int(lines[0]), int(columns[-1]) + 1, int(lines[-1]) + 1


def green_icon(picture):
    """(left, top, right, bottom) of what is as green as the icon; None while there is none."""
    apart = numpy.abs(picture.astype(int) - GREEN)
    lines, columns = numpy.nonzero((apart < 28).all(axis=2))
    if len(lines) < 12:
        return None
    return int(columns.min()), int(lines.min()), int(columns.max()), int(lines.max())


def contrast(picture, box):
    """The best contrast of any pixel inside the box with the colour that surrounds it."""
    left, top, right, bottom = box
    ground = luminance(picture[(top + bottom) // 2, left - 3])
    shape = luminance(picture[top:bottom + 1, left:right + 1])
    return float(((numpy.maximum(ground, shape) + 0.05) / (numpy.minimum(ground, shape) + 0.05)).max())


def shape_around(picture, box):
    """(left, top, right, bottom) of what stands out from its ground in the box and a little around it."""
    left, top, right, bottom = box
    near = picture[max(top - 2, 0):bottom + 3, left - 2:right + 3].astype(int)
    lines, columns = numpy.nonzero((numpy.abs(near - picture[(top + bottom) // 2, left - 4]) > 60).any(axis=2))
    return int(columns.min()), int(lines.min()), int(columns.max()), int(lines.max())


def luminance(colours):
    parts = numpy.asarray(colours) / 255
    linear = numpy.where(parts <= 0.03928, parts / 12.92, ((parts + 0.055) / 1.055) ** 2.4)
    return linear @ numpy.array([0.2126, 0.7152, 0.0722])


@dataclass
class Word:
    text: str
    left: int
    top: int
    right: int
    bottom: int


class Line(list):
    """The words of a line, from the left."""

    @property
    def text(self):
        return " ".join(word.text for word in self)

    @property
    def box(self):
        return (min(word.left for word in self), min(word.top for word in self),
                max(word.right for word in self), max(word.bottom for word in self))

    @property
    def middle(self):
        left, top, right, bottom = self.box
        return (left + right) // 2, (top + bottom) // 2


def letters(text):
    """What is certain to be read alike: letters and digits."""
    return re.sub(r"[^0-9a-z]", "", text.lower()).replace("l", "i").replace("1", "i").replace("0", "o")


def dark_on_light(picture):
    """Text of every colour on every ground, as black on white: what differs from most of its surroundings, which edges do not."""
    grey = Image.fromarray(picture).convert("L")
    ground = numpy.asarray(grey.filter(ImageFilter.MedianFilter(15))).astype(float)
    apart = numpy.abs(numpy.asarray(grey).astype(float) - ground)
    return Image.fromarray((255 - numpy.clip((apart - 12) * 4, 0, 255)).astype(numpy.uint8))


def read_lines(picture, area):
    """The lines of text inside the area, from the top."""
    left, top, right, bottom = area
    text = dark_on_light(picture[top:bottom, left:right])
    text = text.resize((text.width * LARGER, text.height * LARGER), Image.LANCZOS)
    data = io.BytesIO()
    text.save(data, "PNG")
    said = subprocess.run(["tesseract", "-", "-", "--psm", "11", "--dpi", "240", "tsv"], input=data.getvalue(), check=True,
                          capture_output=True, timeout=60, env={**os.environ, "OMP_THREAD_LIMIT": "1"}).stdout.decode()
    lines = {}
    for entry in said.splitlines()[1:]:
        fields = entry.split("\t")
        if fields[0] != "5" or not fields[11].strip():
            continue
        x, y, width, height = (int(field) // LARGER for field in fields[6:10])
        lines.setdefault(tuple(fields[2:5]), Line()).append(Word(fields[11], left + x, top + y, left + x + width, top + y + height))
    return sorted(lines.values(), key=lambda line: line.box[1])


def underscores(picture, box):
    """The underscores of a line that has a letter with a foot below its baseline, from the left: how many stand together each time."""
    left, top, right, bottom = box
    ink = numpy.asarray(dark_on_light(picture[top - 12:bottom + 12, left:right + 12])) < 120
    runs = max((runs_of(line) for line in ink[bottom - top + 10:bottom - top + 15]), key=sum)
    return [round(run / min(runs)) for run in runs]


def runs_of(line):
    """Lengths of the unbroken runs that are too long for a letter's foot and too short for a frame; gaps of two pixels break none."""
    runs = []
    start = end = None
    for at in [*numpy.flatnonzero(line), len(line) + 9]:
        if end is None or at - end > 3:
            if end is not None:
                runs.append(int(end - start + 1))
            start = at
        end = at
    return [run for run in runs if 4 < run < 60]
