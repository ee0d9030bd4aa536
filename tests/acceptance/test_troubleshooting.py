"""docs/troubleshooting.md has an entry for every text of the program that tells of a problem, and for none that is gone."""

import re

from harness.installation import REPOSITORY

PAGE = (REPOSITORY / "docs/troubleshooting.md").read_text()
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
# Words by which a text is known as one that tells of a problem. What --check prints explains itself; the terminal's answers to what is typed do.
PROBLEM = re.compile(r"⚠|Failed|could not be opened|could not be saved|not found$|not installed|no phone connected|allow USB|already running|does not answer|"
                     r"nobody would see|orvaned exited|virtual audio device$|Qt has no|cannot be written|--autostart takes|goes with|"
                     r"unknown option|unexpected argument|not read in time|bad frame|unexpected data|not accepting|is offering Orvane|"
                     r"its interpreter|the loader that")
# What is said by these tells of a problem, or of what a problem is found by.
SAYING = re.compile(r"\b(?:complain|tell|log|failed|fprintf|fputs)\(")
EXPLAIN_THEMSELVES = ("src/check", "src/terminal/MenuText", "src/terminal/TerminalStatusItem")


def problem_texts():
    for file in sorted((REPOSITORY / "src").rglob("*")):
        name = str(file.relative_to(REPOSITORY))
        if file.suffix not in (".cpp", ".mm") or name.startswith(EXPLAIN_THEMSELVES):
            continue
        code = re.sub(r"//[^\n]*", "", file.read_text())
        code = re.sub(r'"\s*\n\s*"', "", code)  # Texts that go on in the next line.
        code = code.replace("\\n", " ")
        for text in LITERAL.findall(code):
            if PROBLEM.search(text) and len(words(text)) >= 2:
                yield name, text
        for call in SAYING.finditer(code):
            for text in LITERAL.findall(arguments(code, call.end())):
                if len(words(text)) >= 2:
                    yield name, text


def arguments(code, begin):
    """What stands between the bracket that ends before `begin` and the one that closes it."""
    depth = 1
    for end in range(begin, len(code)):
        depth += {"(": 1, ")": -1}.get(code[end], 0)
        if depth == 0:
            return code[begin:end]
    return ""


def words(text):
    """The words of the longest piece between what is put in at run time and what stands in brackets or quotes."""
    pieces = re.split(r"%[-0-9.]*[a-z]|[()“”…○]|^orvane: ", text)
    return max(pieces, key=len).strip(" :;.,—\\").split()


def known(text):
    page = " ".join(PAGE.replace("*", "").split())
    return " ".join(words(text)) in page


def test_every_text_that_tells_of_a_problem_has_its_entry():
    texts = list(problem_texts())
    assert len(texts) > 15
    missing = [f"{name}: {text}" for name, text in texts if not known(text)]
    assert not missing, "not in docs/troubleshooting.md:\n" + "\n".join(missing)


def test_no_entry_is_about_a_text_that_is_gone():
    code = "\n".join(file.read_text() for file in (REPOSITORY / "src").rglob("*") if file.suffix in (".cpp", ".h", ".mm"))
    code = re.sub(r'"\s*\n\s*"', "", code)
    for heading in re.findall(r"^### (.*)$", PAGE, re.MULTILINE):
        fixed = max(re.split(r"\*[A-Z]+\*", heading), key=len).strip(" “”")
        assert fixed in code, f"no such text: {heading}"


def test_the_page_is_found_where_people_look():
    for path in ("README.md", "CONTRIBUTING.md", "packaging/linux/orvane.1", "src/linux/CommandLine.cpp"):
        assert "troubleshooting" in (REPOSITORY / path).read_text(), path
