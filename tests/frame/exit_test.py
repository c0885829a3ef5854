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


def main(use, card, *command):
    with tempfile.TemporaryDirectory() as temp, tempfile.TemporaryDirectory() as sounds:
        start = time.monotonic()
        try:
            code = subprocess.run([*command, use, card, temp, sounds], timeout=30).returncode
        except subprocess.TimeoutExpired:
            return "it never ended"
        seconds = time.monotonic() - start
        left = [file.name for file in Path(temp).iterdir()]
    if code != 0:
        return f"it ended with {code}"
    if left:
        return f"left behind: {left}"
    return f"it took {seconds:.1f} s" if seconds > SECONDS else None


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
