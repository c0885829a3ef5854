#!/usr/bin/env python3
"""Runs a program of the guide in a folder of its own, with the sounds that the guide names and what else it needs beside it.

    run.py [--beside FILE]... COMMAND...
"""
import math
import shutil
import struct
import subprocess
import sys
import tempfile
import wave
from pathlib import Path


def make(path, milliseconds, rate=44100, channels=2):
    """A tenth of a second again and again. No sample is quiet, and the loudest reach half of full scale."""
    sound = [round(math.copysign(12000 + 4384 * math.cos(i / 9), math.sin(i / 7 + 1))) for i in range(rate // 10)]
    with wave.open(str(path), "wb") as file:
        file.setparams((channels, 2, rate, 0, "NONE", ""))
        file.writeframes(b"".join(struct.pack("<h", sample) * channels for sample in sound) * (milliseconds // 100))


def main(arguments):
    with tempfile.TemporaryDirectory(prefix="tolvane-guide-") as name:
        folder = Path(name)
        while arguments[0] == "--beside":
            shutil.copy(arguments[1], folder)
            arguments = arguments[2:]
        make(folder / "song.wav", 10_000)
        make(folder / "voice.wav", 2_000)
        make(folder / "one.wav", 600)
        make(folder / "two.wav", 400, rate=22050, channels=1)
        return subprocess.run(arguments, cwd=folder).returncode


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
