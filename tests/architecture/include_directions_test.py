#!/usr/bin/env python3
"""Gives the include check small trees of its own: what it must report, and what it must let pass."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK = sys.argv.pop()

HEADERS = ["src/foundation/utf8.h", "src/wire/records.h", "src/settings/directories.h",
           "src/platform/clock.h", "src/user/checks.h", "src/prompting/broker.h",
           "src/agent/link.h", "src/ui/prompt/window.h", "hosts/linux/processes.h",
           "hosts/terminal/lines.h", "hosts/terminal/record_json.h", "driver/watch.h"]

# file, its include, a part of the complaint; empty for none.
ROWS = [
    ("src/foundation/files.cpp", "<unistd.h>", ""),
    ("src/foundation/files.cpp", "<plist/plist.h>", ""),
    ("src/foundation/list.h", "<plist/plist.h>", "a library"),
    ("src/foundation/files.cpp", "<sys/fanotify.h>", "Linux"),
    ("src/foundation/files.cpp", '"wire/records.h"', "src/foundation may not see src/wire"),
    ("src/settings/values.cpp", "<fcntl.h>", "POSIX"),
    ("src/settings/values.cpp", '"wire/records.h"', "may not see"),
    ("src/user/checks.cpp", '"user/checks.h"', ""),
    ("src/user/checks.cpp", '"hosts/linux/processes.h"', "may not see hosts/linux"),
    ("src/agent/link.cpp", '"prompting/broker.h"', ""),
    ("src/agent/link.cpp", '"ui/prompt/window.h"', "may not see src/ui/prompt"),
    ("src/agent/link.cpp", "<vector>", ""),
    ("src/agent/link.cpp", "<QTimer>", "Qt"),
    ("src/agent/link.cpp", "<nlohmann/json.hpp>", "JSON"),
    ("src/prompting/broker.cpp", '"agent/link.h"', "may not see src/agent"),
    ("src/prompting/broker.cpp", '"missing.h"', "no such file"),
    ("hosts/linux/processes.cpp", '"wire/records.h"', ""),
    ("hosts/linux/processes.cpp", '"prompting/broker.h"', "may not see src/prompting"),
    ("hosts/linux/processes.cpp", "<QObject>", "Qt"),
    ("hosts/terminal/lines.cpp", '"agent/link.h"', ""),
    ("hosts/terminal/lines.cpp", '"driver/watch.h"', "may not see driver"),
    ("driver/watch.cpp", '"hosts/terminal/record_json.h"', ""),
    ("driver/watch.cpp", '"hosts/terminal/lines.h"', "may not see hosts/terminal"),
    ("driver/watch.cpp", "<linux/fanotify.h>", ""),
    ("driver/watch.cpp", "<gtest/gtest.h>", "tests"),
    ("src/attic/old.cpp", "<vector>", "belongs to no room"),
]


class IncludeDirections(unittest.TestCase):
    def test_each_row(self):
        for file, include, complaint in ROWS:
            with self.subTest(file=file, include=include), tempfile.TemporaryDirectory() as root:
                for path in [*HEADERS, file]:
                    (Path(root) / path).parent.mkdir(parents=True, exist_ok=True)
                    (Path(root) / path).touch()
                (Path(root) / file).write_text(f"#include {include}\n// #include \"not/this.h\"\n")
                run = subprocess.run([sys.executable, CHECK, root], capture_output=True, text=True)
                self.assertEqual(run.returncode, 1 if complaint else 0, run.stdout)
                self.assertIn(complaint, run.stdout)
                if complaint:
                    self.assertTrue(run.stdout.startswith(file), run.stdout)


unittest.main()
