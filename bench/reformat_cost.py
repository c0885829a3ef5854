#!/usr/bin/env python3
"""What a change of format costs beside `cp` of the same file: random 16-bit stereo in the page cache, all jobs in turn,
in another order each round.

    bench/reformat_cost.py [MEGABYTES [ROUNDS]]      (100 megabytes, 10 rounds)

x cp is the median over the rounds of a job's time by that of `cp` in the same round. Each job runs in a process of its
own, which is started before the clock, as is `cp`'s shell."""
import os
import random
import statistics
import subprocess
import sys
import tempfile
import time
import wave
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LIBRARY = os.environ.get("TOLVANE_LIBRARY", str(ROOT / "build/native/lib/libtolvane.so"))
SHAPES = {"rate halved": (22050, 16, 2), "to mono": (44100, 16, 1), "to 8 bits": (44100, 8, 2),
          "rate doubled": (88200, 16, 2), "all three": (22050, 8, 1)}
CHANGE = """
import ctypes, sys
source, target = (name.encode() for name in sys.argv[2:4])
rate, bits, channels = map(int, sys.argv[4:])
change = ctypes.CDLL(sys.argv[1]).AudioChangeFormat
input()
sys.exit(change(source, target, rate, bits, channels, None, 1))
"""


def jobs(source, target):
    rows = {"cp": ["sh", "-c", 'read go; exec cp "$0" "$1"', source, target]}
    for name, shape in SHAPES.items():
        rows[name] = [sys.executable, "-c", CHANGE, LIBRARY, source, target, *map(str, shape)]
    return rows


def make(path, megabytes):
    with wave.open(path, "wb") as file:
        file.setnchannels(2), file.setsampwidth(2), file.setframerate(44100)
        for _ in range(megabytes):
            file.writeframes(random.randbytes(1_000_000))


def seconds(command, source, target):
    Path(target).unlink(missing_ok=True)
    subprocess.run(["cat", source], stdout=subprocess.DEVNULL, check=True)  # into the page cache
    process = subprocess.Popen(command, stdin=subprocess.PIPE, text=True)
    time.sleep(0.2)
    start = time.perf_counter()
    process.communicate("\n")
    taken = time.perf_counter() - start
    if process.returncode:
        sys.exit(f"{command[-1]}: ended with {process.returncode}")
    return taken


def main(megabytes=100, rounds=10):
    with tempfile.TemporaryDirectory() as folder:
        source, target = f"{folder}/in.wav", f"{folder}/out.wav"
        make(source, megabytes)
        rows = jobs(source, target)
        taken = [{name: seconds(rows[name], source, target) for name in random.sample(list(rows), len(rows))}
                 for _ in range(rounds)]
    for name in rows:
        median = statistics.median(turn[name] for turn in taken)
        ratio = statistics.median(turn[name] / turn["cp"] for turn in taken)
        print(f"{name:14} {median * 1000:8.1f} ms {ratio:6.2f} x cp")


if __name__ == "__main__":
    main(*map(int, sys.argv[1:]))
