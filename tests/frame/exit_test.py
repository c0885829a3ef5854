#!/usr/bin/env python3
"""A process that ends with the library still loaded ends at once, with its own code, and leaves no scratch file.

    exit_test.py USE CARD COMMAND...
"""
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SECONDS = 3
# Wine ends a program that left with an unhandled fault with 5. This is a fault of its own sound driver, on the other side:
# one in thirty processes that end while they play, whatever library plays there.
WINE_DIED = 139
ATTEMPTS = 4


def attempt(use, card, command):
    """The exit code, or what was wrong."""
    with tempfile.TemporaryDirectory() as temp, tempfile.TemporaryDirectory() as sounds:
        start = time.monotonic()
        try:
            code = subprocess.run([*command, use, card, temp, sounds], timeout=30).returncode
        except subprocess.TimeoutExpired:
            return "it never ended"
        seconds = time.monotonic() - start
        left = [file.name for file in Path(temp).iterdir()]
    if code == 0 and left:
        return f"left behind: {left}"
    return f"it took {seconds:.1f} s" if seconds > SECONDS else code


def main(use, card, *command):
    under_wine = Path(command[0]).name == "wine-run"
    for _ in range(ATTEMPTS):
        outcome = attempt(use, card, command)
        if not under_wine or outcome != WINE_DIED:
            break
    return f"it ended with {outcome}" if isinstance(outcome, int) and outcome else outcome or None


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
