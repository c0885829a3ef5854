#!/usr/bin/env python3
"""What playing costs beside other players, and how soon it starts, on a private sound server without hardware.

    bench/play_cost.py [SECONDS [ROUNDS]]      (10 seconds a measurement, 5 rounds; players take turns)

cpu     processor milliseconds a second of sound, of all the player's threads, from second 2 on
start   milliseconds from before exec to the first sample in the sink's monitor, median (smallest to largest)
On 44.1 kHz 16-bit stereo: a wave file, an MP3 file of 128 kbit/s, and two wave files mixed with both at 80 percent.
The monitor is read every few milliseconds, the same for every player."""
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TOLVANE = os.environ.get("TOLVANE_PROGRAM", str(ROOT / "build/native/bin/tolvane"))
SERVER = str(ROOT / "tools/sound-server")
RAW = ["--raw", "--format=s16le", "--rate=44100", "--channels=2"]


def players(folder):
    """Rows by what is played; players that are not there have none."""
    wave, other, song = (f"{folder}/{name}" for name in ("sound.wav", "other.wav", "song.mp3"))
    play, server = [TOLVANE, "play"], ["-t", "pulseaudio", "speakers"]
    rows = {"wave  tolvane": [*play, wave], "wave  tolvane --quiet": [*play, "--quiet", wave],
            "wave  sox": ["sox", "-q", wave, *server], "wave  paplay": ["paplay", wave],
            "MP3   tolvane --quiet": [*play, "--quiet", song], "MP3   mpg123": ["mpg123", "-q", "-o", "pulse", song],
            "MP3   sox": ["sox", "-q", song, *server], "MP3   paplay": ["paplay", song],
            "mixed tolvane --quiet": [*play, "--quiet", wave, "--mix", other, "--volume", "80", "--mix-volume", "80"],
            "mixed sox": ["sox", "-q", "-m", "-v", "0.8", wave, "-v", "0.8", other, *server]}
    return {name: command for name, command in rows.items() if shutil.which(command[0])}


def make_sounds(folder):
    sox = ["sox", "-R"]
    subprocess.run([*sox, "-n", "-r", "44100", "-c", "2", "-b", "16", f"{folder}/sound.wav", "synth", "60", "pinknoise",
                    "gain", "-6"], check=True)
    subprocess.run([*sox, f"{folder}/sound.wav", f"{folder}/other.wav", "reverse"], check=True)
    subprocess.run(["lame", "--quiet", "-b", "128", f"{folder}/sound.wav", f"{folder}/song.mp3"], check=True)


def processor_ms(pid):
    threads = Path(f"/proc/{pid}/task").iterdir()
    return sum(int((thread / "schedstat").read_text().split()[0]) for thread in threads) / 1e6


def launch(command, env, source=subprocess.DEVNULL):
    return subprocess.Popen(command, env=env, stdin=source, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def end(process):
    process.terminate()
    process.wait()


def cost(command, env, seconds):
    process = launch(command, env)
    try:
        time.sleep(2)
        before, start = processor_ms(process.pid), time.monotonic()
        time.sleep(seconds)
        return (processor_ms(process.pid) - before) / (time.monotonic() - start)
    finally:
        end(process)


def first_sample(command, env):
    """Milliseconds to the first sample that is not silence."""
    recorder = subprocess.Popen(["parec", "-d", "speakers.monitor", *RAW, "--latency-msec=1"], env=env,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    heard = []

    def listen():
        while data := os.read(recorder.stdout.fileno(), 65536):
            if any(data):
                return heard.append(time.monotonic())

    listener = threading.Thread(target=listen, daemon=True)
    listener.start()
    time.sleep(0.4)
    start = time.monotonic()
    process = launch(command, env)
    listener.join(5)
    end(process)
    end(recorder)
    time.sleep(0.2)
    if not heard:
        raise SystemExit(f"{command[0]} was not heard")
    return (heard[0] - start) * 1000


def in_turns(measure, folder, rounds):
    rows = {name: [] for name in players(folder)}
    for _ in range(rounds):
        for name, command in players(folder).items():
            rows[name].append(measure(command))
    return rows


def starts(folder, env, rounds):
    """A silent stream with a small latency keeps the sink's blocks short, so that they do not hide the start."""
    with open("/dev/zero", "rb") as zeros:
        silence = launch(["pacat", "--playback", *RAW, "--latency-msec=10"], env, zeros)
    try:
        time.sleep(0.5)
        return in_turns(lambda command: first_sample(command, env), folder, rounds)
    finally:
        end(silence)


def main(seconds=10, rounds=5):
    with tempfile.TemporaryDirectory() as folder:
        server = f"{folder}/server"
        make_sounds(folder)
        subprocess.run([SERVER, "start", server], check=True)
        env = {**os.environ, "PULSE_SERVER": f"unix:{server}/native"}
        try:
            costs = in_turns(lambda command: cost(command, env, seconds / rounds), folder, rounds)
            soon = starts(folder, env, rounds)
        finally:
            subprocess.run([SERVER, "stop", server], check=True)
    print(f"{'sound and player':<23}{'cpu ms/s':>9}{'start ms':>10}")
    for name in costs:
        print(f"{name:<23}{statistics.median(costs[name]):9.2f}{statistics.median(soon[name]):10.1f}"
              f"  ({min(soon[name]):.1f} to {max(soon[name]):.1f})")


if __name__ == "__main__":
    main(*(int(argument) for argument in sys.argv[1:3]))
