#!/usr/bin/env python3
"""Holds the documents to what they name: tests, fuzz targets, scripts and pages exist, and lines can be read.

The argument is the project. The names of tests are read from their sources, so that nothing must be built.
"""

import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(sys.argv.pop())
MAX_COLUMNS = 120
PAGES = sorted([*PROJECT.glob("*.md"), *PROJECT.glob("docs/*.md")])
FAILURES = (PROJECT / "docs/failure-modes.md").read_text()


def known_tests():
    """What may be said after "Shown by": ROOM.SUITE.NAME and ROOM.SUITE of each test, fuzz targets, scripts."""
    names = {f"scripts/{script.name}" for script in (PROJECT / "scripts").iterdir()}
    for cmake in (PROJECT / "tests").rglob("CMakeLists.txt"):
        text = cmake.read_text()
        names.update(re.findall(r"^vossel_fuzz\((\w+)", text, re.MULTILINE))
        for room in re.findall(r"^vossel_test\((\w+)", text, re.MULTILINE):
            for source in cmake.parent.glob("*.cpp"):
                for suite, name in re.findall(r"^TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\s*\)", source.read_text(),
                                              re.MULTILINE):
                    names.update({f"{room}.{suite}", f"{room}.{suite}.{name}"})
    return names


def entries(text):
    """The list entries of the page, each as one line."""
    return [" ".join(entry.split()) for entry in re.split(r"^(?:- |#)", text, flags=re.MULTILINE)
            if entry.startswith("**")]


def unknown_tests(text, known):
    for entry in entries(text):
        failure, _, shown = entry.partition("Shown by ")
        if not shown:
            yield f"{failure}: is shown by nothing"
        yield from (f"{failure}: {name}" for name in re.findall(r"`([^`]+)`", shown) if name not in known)


class Documents(unittest.TestCase):
    def test_failures_name_tests_that_exist(self):
        known = known_tests()
        self.assertGreater(len(entries(FAILURES)), 50)
        self.assertEqual(list(unknown_tests(FAILURES, known)), [])
        planted = "- **One**: it ends.\n  Shown by\n  `driver.Desk.NoSuchTest`.\n- **Two**: it goes on.\n"
        self.assertEqual(len(list(unknown_tests(planted, known))), 2)

    def test_lines_can_be_read(self):
        long = [f"{page.name}:{number}" for page in PAGES
                for number, line in enumerate(page.read_text().splitlines(), 1) if len(line) > MAX_COLUMNS]
        self.assertEqual(long, [])

    def test_links_lead_somewhere(self):
        broken = [f"{page.name}: {link}" for page in PAGES
                  for link in re.findall(r"\]\(([^)#:]+)\)", page.read_text())
                  if not (page.parent / link).exists()]
        self.assertEqual(broken, [])


unittest.main()
