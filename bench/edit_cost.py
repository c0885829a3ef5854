#!/usr/bin/env python3
"""What an edit costs a host beside `cp` of the same file: 16-bit stereo in the page cache, edited in place with undo on and
off, all edits in turn, in another order each round.

    bench/edit_cost.py [MEGABYTES [ROUNDS]]      (100 megabytes, 10 rounds)

x cp is the median over the rounds of an edit's time, from the call to its return, by that of `cp` in the same round."""
import mmap
import os
import random
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from reformat_cost import make

ROOT = Path(__file__).resolve().parent.parent
JOB = str(ROOT / "build/native/bin/edit_job")


def edits(frames, file, piece, taken):
    first, second, middle = frames // 3, frames // 3 * 2, frames // 2
    return {"clear a third": ["clear", file, first, second], "cut a third": ["cut", file, first, second, taken],
            "paste 10 %": ["paste", file, middle, piece], "insert 10 s": ["silence", file, middle, 10],
            "mute a third": ["mute", file, first, second], "trim": ["trim", file, frames],
            "copy a third": ["copy", file, first, second, taken]}


def touch_free_memory(size):
    """A virtual machine's host may have taken free pages away; who touches such a page first waits for it."""
    with mmap.mmap(-1, size) as memory:
        for offset in range(0, size, mmap.PAGESIZE):
            memory[offset] = 1


def fresh(source, file):
    """A file that lies on the disk and in the page cache, as one that was not just written."""
    touch_free_memory(2 * os.path.getsize(source))
    subprocess.run(["cp", source, file], check=True)
    os.sync()
    for path in (source, file):
        subprocess.run(["cat", path], stdout=subprocess.DEVNULL, check=True)


def time_cp(source, file):
    Path(file).unlink()
    start = time.perf_counter()
    subprocess.run(["cp", source, file], check=True)
    return (time.perf_counter() - start) * 1000


def main(megabytes=100, rounds=10):
    with tempfile.TemporaryDirectory() as folder:
        source, file, piece, taken = (f"{folder}/{name}.wav" for name in ("in", "edited", "piece", "taken"))
        make(source, megabytes)
        make(piece, max(megabytes // 10, 1))
        rows = {(name, undo): [JOB, undo, *map(str, arguments)] for undo in ("off", "on")
                for name, arguments in edits(megabytes * 250_000, file, piece, taken).items()}
        environment = {**os.environ, "TMPDIR": folder}
        turns = []
        for _ in range(rounds):
            turn = {}
            for row in random.sample([*rows, "cp"], len(rows) + 1):
                Path(taken).unlink(missing_ok=True)
                fresh(source, file)
                turn[row] = time_cp(source, file) if row == "cp" else float(
                    subprocess.run(rows[row], env=environment, check=True, capture_output=True).stdout)
            turns.append(turn)
    for name, undo in rows:
        row = (name, undo)
        print(f"{name:14} undo {undo:3} {statistics.median(turn[row] for turn in turns):8.1f} ms "
              f"{statistics.median(turn[row] / turn['cp'] for turn in turns):6.2f} x cp "
              f"(least by least {min(turn[row] for turn in turns) / min(turn['cp'] for turn in turns):.2f})")
    print(f"cp                      {statistics.median(turn['cp'] for turn in turns):8.1f} ms")


if __name__ == "__main__":
    main(*map(int, sys.argv[1:]))
