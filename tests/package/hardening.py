#!/usr/bin/env python3
"""hardening.py PROGRAM: reads with readelf whether a packaged program was built and linked so that mistakes in memory end it."""
import pathlib, re, subprocess, sys

program = sys.argv[1]


def readelf(*options):
    return subprocess.run(["readelf", "--wide", *options, program], check=True, capture_output=True, text=True, env={"LC_ALL": "C"}).stdout


dynamic, segments, symbols = readelf("--dynamic"), readelf("--program-headers"), readelf("--dyn-syms")
imports = set(re.findall(r" UND (\w+)", symbols))
stack = re.search(r"GNU_STACK.*? (\S+) +0x\w+$", segments, re.MULTILINE)
facts = {
    "position independent (PIE)": re.search(r"\(FLAGS_1\).*\bPIE\b", dynamic),
    "relocations read-only": "GNU_RELRO" in segments,
    "everything bound at start": re.search(r"\(FLAGS_1\).*\bNOW\b", dynamic),
    "stack not executable": stack and stack.group(1) == "RW",
    "stack protector": "__stack_chk_fail" in imports,
    "checked libc calls (_FORTIFY_SOURCE)": any(re.fullmatch(r"__\w+_chk", name) for name in imports),
    "checked containers (_GLIBCXX_ASSERTIONS)": any("__glibcxx_assert_fail" in name for name in imports),
    "no search path of its own": not re.search(r"\((RPATH|RUNPATH)\)", dynamic),
    "stripped": ".symtab" not in readelf("--sections"),
}
if "X86-64" in readelf("--file-header"):  # Where the processor's own instructions tell.
    code = pathlib.Path(program).read_bytes()
    facts["indirect jumps marked (-fcf-protection)"] = code.count(b"\xf3\x0f\x1e\xfa") > 100  # endbr64
    facts["large stack frames probed (-fstack-clash-protection)"] = b"\x48\x83\x0c\x24\x00" in code  # orq $0, (%rsp)
for fact, holds in facts.items():
    print(f"{'yes' if holds else 'NO '}  {fact}")
sys.exit(0 if all(facts.values()) else f"{program} lacks hardening")
