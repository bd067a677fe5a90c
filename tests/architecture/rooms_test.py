#!/usr/bin/env python3
"""Gives the room check small trees of its own: what it must report, and what it must let pass."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK = sys.argv.pop()

# folder: its CMakeLists, the files in it beside them
TREE = {
    "src/foundation": ("""vossel_room(HEADERS files.h SOURCES files.cpp)
        vossel_room(NAME _libraries HEADERS list.h SOURCES list.cpp LINKS vossel_foundation)""",
                       ["files.h", "files.cpp", "list.h", "list.cpp"]),
    "src/user": ("vossel_room(SOURCES checks.cpp LINKS vossel_foundation PRIVATE_LINKS vossel_foundation_libraries)",
                 ["checks.h", "checks.cpp"]),
    "src/user/late": ("# nobody links vossel_user\nvossel_room(LINKS vossel_foundation)", ["late.h"]),
    "hosts/linux": ("vossel_room(SOURCES processes.cpp LINKS vossel_foundation)",
                    ["processes.h", "processes.cpp"]),
    "programs": ("vossel_program(agent SOURCES agent.cpp LINKS vossel_user)", ["agent.cpp"]),
}
LIST = """- `src/foundation`: files,
  texts.
  Includes nothing.
- `src/user`: checks.
  Includes foundation.
- `src/user/late`: more of it.
  Includes foundation.
- `hosts/linux`: the kernel.
  Includes
  foundation.
"""

INCLUDES = [  # file, its include, a part of the complaint; empty for none
    ("src/foundation/files.cpp", "<unistd.h>", ""),
    ("src/foundation/list.cpp", "<plist/plist.h>", ""),
    ("src/foundation/list.h", "<plist/plist.h>", "a library"),
    ("src/foundation/files.cpp", "<sys/fanotify.h>", "Linux"),
    ("src/foundation/files.cpp", '"foundation/list.h"', "foundation does not link foundation_libraries"),
    ("src/foundation/list.cpp", '"foundation/files.h"', ""),
    ("src/foundation/files.cpp", '"user/checks.h"', "foundation does not link user"),
    ("src/user/checks.cpp", '"user/checks.h"', ""),
    ("src/user/checks.cpp", '"foundation/list.h"', ""),
    ("src/user/checks.h", '"foundation/list.h"', "user does not link foundation_libraries"),
    ("src/user/checks.cpp", '"user/late/late.h"', "user does not link user_late"),
    ("src/user/checks.cpp", '"hosts/linux/processes.h"', "user does not link hosts_linux"),
    ("src/user/checks.cpp", '"user/missing.h"', "no such file"),
    ("src/user/checks.cpp", "<fcntl.h>", "POSIX"),
    ("src/user/checks.cpp", "<vector>", ""),
    ("src/user/checks.cpp", "<QTimer>", "Qt"),
    ("src/user/checks.cpp", "<nlohmann/json.hpp>", "JSON"),
    ("src/user/late/late.h", '"user/checks.h"', "user_late does not link user"),
    ("hosts/linux/processes.cpp", "<sys/epoll.h>", ""),
    ("hosts/linux/processes.cpp", "<gtest/gtest.h>", "tests"),
    ("programs/agent.cpp", '"user/checks.h"', ""),
    ("programs/agent.cpp", '"hosts/linux/processes.h"', "agent does not link hosts_linux"),
    ("programs/agent.cpp", "<CLI/CLI.hpp>\nCLI::App app;", ""),
    ("programs/agent.cpp", "<vector>\nCLI::App app;", "uses CLI without including it"),
    ("src/attic/old.cpp", "<vector>", "belongs to no room"),
]

DOCUMENTS = [  # a part of the list, what stands in its place, a part of the complaint
    ("- `src/user`: checks.\n  Includes foundation.\n", "", "src/user is missing"),
    ("checks.\n  Includes foundation", "checks.\n  Includes nothing", "links foundation in CMake"),
    ("it.\n  Includes foundation", "it.\n  Includes foundation, user", "CMake does not link it"),
    ("- `hosts/linux`", "- `hosts/attic`", "hosts/attic is no room"),
    ("Includes nothing", "Includes user", "includes user, which does not stand above it"),
]


class Rooms(unittest.TestCase):
    def check(self, complaint, rooms=LIST, changed=None):
        with tempfile.TemporaryDirectory() as name:
            root = Path(name)
            for folder, (cmake, files) in TREE.items():
                (root / folder).mkdir(parents=True, exist_ok=True)
                (root / folder / "CMakeLists.txt").write_text(cmake)
                for file in files:
                    (root / folder / file).touch()
            (root / "docs").mkdir()
            (root / "docs/architecture.md").write_text(rooms)
            if changed:
                (root / changed[0]).parent.mkdir(exist_ok=True)
                (root / changed[0]).write_text(f'#include {changed[1]}\n// #include "not/this.h"\n')
            run = subprocess.run([sys.executable, CHECK, name], capture_output=True, text=True)
            self.assertEqual(run.returncode, 1 if complaint else 0, run.stdout)
            self.assertIn(complaint, run.stdout)
            if complaint and changed:
                self.assertTrue(run.stdout.startswith(changed[0]), run.stdout)

    def test_includes(self):
        for file, include, complaint in INCLUDES:
            with self.subTest(file=file, include=include):
                self.check(complaint, changed=(file, include))

    def test_documents(self):
        self.check("")
        for part, other, complaint in DOCUMENTS:
            with self.subTest(other=other):
                self.check(complaint, rooms=LIST.replace(part, other, 1))


unittest.main()
