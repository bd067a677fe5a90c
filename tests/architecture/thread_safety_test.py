#!/usr/bin/env python3
"""Compiles a class the way this build compiles its own: each function that handles a lock wrongly
must be an error.

Arguments: the build, the maker of its compiler. Only Clang checks locks; for others nothing is tested.
"""

import json
import re
import shlex
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

COMPILER, BUILD = sys.argv.pop(), Path(sys.argv.pop())

CLASS = """#include "foundation/mutex.h"
namespace vossel {
class Planted {
    void needs() VOSSEL_REQUIRES(first_);
    void takes() VOSSEL_EXCLUDES(first_);
%s
    Mutex first_ VOSSEL_ACQUIRED_BEFORE(second_);
    Mutex second_;
    Condition changed_;
    int value_ VOSSEL_GUARDED_BY(first_) = 0;
};
}
"""
NEEDS_FIRST = "requires holding mutex 'first_'"
FUNCTIONS = {  # name: body, a part of the complaint; empty for none
    "underItsLock": ("MutexLock lock(first_); needs(); ++value_;", ""),
    "withoutALock": ("++value_;", NEEDS_FIRST),
    "underAnotherLock": ("MutexLock lock(second_); ++value_;", NEEDS_FIRST),
    "afterUnlocking": ("MutexLock lock(first_); lock.unlock(); ++value_;", NEEDS_FIRST),
    "callsWithoutTheLock": ("needs();", NEEDS_FIRST),
    "callsWithALockThatIsTaken": ("MutexLock lock(first_); takes();", "while mutex 'first_' is held"),
    "locksInOrder": ("MutexLock lock(first_); MutexLock other(second_);", ""),
    "locksOutOfOrder": ("MutexLock lock(second_); MutexLock other(first_);", "must be acquired before"),
    "waitsUnderItsLock": ("MutexLock lock(first_); changed_.wait(lock, "
                          "[this]() VOSSEL_REQUIRES(first_) { return value_ > 0; });", ""),
    "waitsForWhatItDoesNotSay": ("MutexLock lock(first_); changed_.wait(lock, "
                                 "[this] { return value_ > 0; });", NEEDS_FIRST),
}


class ThreadSafety(unittest.TestCase):
    def test_wrong_use_of_a_lock_does_not_compile(self):
        entry = next(entry for entry in json.loads((BUILD / "compile_commands.json").read_text())
                     if entry["file"].endswith(("/src/foundation/log.cpp",
                                                    "/vossel_foundation.dir/Unity/unity_0_cxx.cxx")))
        words = shlex.split(entry["command"])
        words = [word for word in words[:words.index("-o")] if Path(word).name != "ccache"]
        source = CLASS % "\n".join(f"void {name}() {{ {body} }}" for name, (body, _) in FUNCTIONS.items())
        with tempfile.NamedTemporaryFile("w", suffix=".cpp") as planted:
            planted.write(source)
            planted.flush()
            run = subprocess.run([*words, "-fsyntax-only", planted.name], cwd=entry["directory"],
                                 capture_output=True, text=True)
        complaints = {}
        for line, text in re.findall(r":(\d+):\d+: error: (.*)", run.stderr):
            complaints[re.search(r"void (\w+)", source.splitlines()[int(line) - 1])[1]] = text
        self.assertEqual(set(complaints), {name for name, (_, part) in FUNCTIONS.items() if part},
                         run.stderr)
        for name, text in complaints.items():
            self.assertIn(FUNCTIONS[name][1], text, name)


if COMPILER != "Clang":
    print(f"Skipped\nonly Clang checks the locks, and this is a build by {COMPILER}")
    sys.exit(77)
unittest.main()
