#!/usr/bin/env python3
"""Plants an include of every room that stands above it into each room: none may compile.

Arguments: the room check, the project, the build. A source of each room is taken from the build's
compile commands, and a file with nothing but the planted include is preprocessed in its place.
"""

import json
import shlex
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BUILD, PROJECT, CHECK = (Path(sys.argv.pop()) for _ in range(3))

ROOMS = [line.split()[0] for line in subprocess.run(
    [sys.executable, CHECK, "--list", PROJECT], capture_output=True, text=True, check=True
).stdout.splitlines()]


def header_of(room):
    """One header of a room as others include it."""
    headers = sorted((PROJECT / room).glob("*.h"))
    return headers[0].relative_to(PROJECT).as_posix().removeprefix("src/") if headers else None


def folder_of(file):
    """The folder that a compiled file is of, also where the sources of a room are compiled together."""
    if "Unity" in file.parts:
        return file.relative_to(BUILD).as_posix().partition("/CMakeFiles/")[0]
    return file.relative_to(PROJECT).parent.as_posix()


def commands():
    """For each room of this build with sources: the folder and words of one compile command."""
    found = {}
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        file = Path(entry["file"])
        if file.is_relative_to(PROJECT):
            words = shlex.split(entry["command"])
            found.setdefault(folder_of(file), (entry["directory"], words[:words.index("-o")]))
    return found


class PlantedIncludes(unittest.TestCase):
    def preprocess(self, command, header):
        directory, words = command
        words = words[1:] if Path(words[0]).name == "ccache" else words
        with tempfile.NamedTemporaryFile("w", suffix=".cpp") as planted:
            planted.write(f'#include "{header}"\n')
            planted.flush()
            return subprocess.run([*words, "-E", "-o", "/dev/null", planted.name], cwd=directory,
                                  capture_output=True, text=True)

    def test_no_room_sees_what_stands_above_it(self):
        known = commands()
        rooms = [room for room in ROOMS if room in known]
        self.assertGreater(len(rooms), 15)
        for number, room in enumerate(ROOMS):
            if room not in known:
                continue  # headers only: nothing of it is compiled
            with self.subTest(room=room):
                own = self.preprocess(known[room], header_of(room))
                self.assertEqual(own.returncode, 0, own.stderr)
            for upper in ROOMS[number + 1:]:
                with self.subTest(room=room, planted=header_of(upper)):
                    run = self.preprocess(known[room], header_of(upper))
                    self.assertNotEqual(run.returncode, 0)
                    self.assertRegex(run.stderr, "No such file|file not found")


unittest.main()
