#!/usr/bin/env python3
"""Makes a C program of every chapter of the guide, and says which.

    extract.py GUIDE FOLDER

A chapter is what follows a heading of the second level, as far as it has blocks fenced as c. A block that begins with # or
with a function (after comments) goes in front of `main`; every other one is the next piece of `main`. Those of the first
chapter that go in front stand before every chapter's. A comment with claims about files becomes a check that stands behind it:

    /* FILE: 8,000 ms */  /* FILE: 990 to 1,010 ms, peak 25 % */  /* FILE: at least 400 ms */
"""
import re
import sys
from pathlib import Path

FENCED = re.compile(r"^```c\n(.*?)^```$", re.M | re.S)
IN_FRONT = re.compile(r"(?:/\*.*?\*/\s*)*(?:#|\w+[ *]+\w+\([^;{]*\) \{)", re.S)
COMMENT = re.compile(r"/\* *([\w.]+\.wav): (.*?) *\*/")
NUMBER = r"(\d{1,3}(?:,\d{3})*)"
CLAIMS = [(re.compile(f"{NUMBER} ms"), "ClaimLength({0}, {1}, {1});"),
          (re.compile(f"{NUMBER} to {NUMBER} ms"), "ClaimLength({0}, {1}, {2});"),
          (re.compile(f"at least {NUMBER} ms"), "ClaimLength({0}, {1}, 1e9);"),
          (re.compile(f"peak {NUMBER} %"), "ClaimPeak({0}, {1});")]


def check(file, claim):
    for pattern, call in CLAIMS:
        if found := pattern.fullmatch(claim):
            return call.format(f'"{file}"', *(number.replace(",", "") for number in found.groups()))
    sys.exit(f"the guide claims of {file} what nobody checks: {claim}")


def checked(comment):
    return " ".join([comment[0], *(check(comment[1], claim) for claim in comment[2].split(", "))])


def blocks(guide, start, end):
    """The blocks of a chapter, each with the place from which it comes, so that compilers name it."""
    for block in FENCED.finditer(guide, start, end):
        line = guide.count("\n", 0, block.start(1)) + 1
        yield block[1], f'#line {line} "docs/guide.md"\n{COMMENT.sub(checked, block[1])}'


def chapters(guide):
    heads = list(re.finditer(r"^## (.*)$", guide, re.M))
    ends = [head.start() for head in heads[1:]] + [len(guide)]
    for head, end in zip(heads, ends):
        if found := list(blocks(guide, head.end(), end)):
            yield (head[1].title().replace(" ", ""), [text for block, text in found if IN_FRONT.match(block)],
                   [text for block, text in found if not IN_FRONT.match(block)])


def main(guide, folder):
    common = None
    for name, front, body in chapters(Path(guide).read_text(encoding="utf-8")):
        if common is None:
            common, front = front, []
        program = "".join(['#include "claims.h"\n', *common, *front, "int main(void) {\nBegin();\n", *body, "return 0;\n}\n"])
        target = Path(folder) / f"{name}.c"
        if not target.exists() or target.read_text(encoding="utf-8") != program:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_text(program, encoding="utf-8")
        print(name)


if __name__ == "__main__":
    main(*sys.argv[1:])
