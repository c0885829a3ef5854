#!/usr/bin/env python3
"""`tolvane record`: what lands in the file, keys and Ctrl-C, and what is said when nothing can be recorded."""
import os
import re
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

import support
from support import NATIVE, PROGRAM, Case, SoundServer, Terminal, command, noise, run, wave_frames, write_wave

FORM = dict(rate=8000, channels=1, bits=16)
SHAPE = ["--rate", "8000", "--channels", "1"]
EFFECTS = Path(PROGRAM).parent.parent / "lib"


@unittest.skipUnless(NATIVE, "what the input hears cannot be chosen there")
class Recorded(Case):
    """From the virtual card, which hears a wave file in real time."""

    def setUp(self):
        super().setUp()
        self.heard = noise(3, **FORM)
        self.source = write_wave(self.folder / "heard.wav", self.heard, **FORM)
        self.file = self.folder / "take.wav"

    def record(self, *more, code=0, **what):
        result = run("record", self.file, "--hear", self.source, *SHAPE, *more)
        self.assert_result(result, code, **what)
        return wave_frames(self.file) if self.file.exists() else b""

    def test_the_file_holds_what_was_heard(self):
        frames = self.record("--stop-at", "0.5", out=["8000 Hz, mono, 16 bit; Ctrl-C ends it.", "0:00.500"])
        self.assertEqual(frames, self.heard[:8000])
        self.record(code=2, err=["take.wav", "exists", "-y"])
        for name in (f"{self.file} ", f" \t{self.file}"):  # the same file, for the library
            self.assert_result(run("record", name, "--hear", self.source, *SHAPE, "--stop-at", "0.5"), 2, err=["exists already"])
        self.assertEqual(wave_frames(self.file), frames)
        self.assert_result(run("record", "  ", "--hear", self.source), 2, err=["cannot record into '  '", "No file to record into"])
        self.assert_result(run("record", f"{self.file} ", "--hear", self.source, *SHAPE, "--stop-at", "0.25", "-y"), 0, out=["0:00.250"])

    def test_silence_before_between_and_behind(self):
        frames = self.record("--lead-in", "0.1", "--punch-in", "0.25", "--stop-at", "0.5", "--min-length", "0.8", "--quiet")
        self.assertEqual(frames, bytes(4000) + self.heard[2400:6400] + bytes(4800))
        frames = self.record("--lead-in", "801b", "--stop-at", "4001b", "--min-length", "4803b", "--quiet", "-y")
        self.assertEqual(frames, bytes(800) + self.heard[:3200] + bytes(802))
        frames = self.record("--punch-in", "0.25", "--stop-at", "0.3", "--quiet", "-y")  # within one piece
        self.assertEqual(frames, bytes(4000) + self.heard[4000:6000])

    def test_effects_and_an_inserted_wave(self):
        inserted = noise(0.2, seed=5, **FORM)
        path = write_wave(self.folder / "inserted.wav", inserted, **FORM)
        gain = next(EFFECTS.parent.rglob("*gain*.so"))
        frames = self.record("--stop-at", "0.5", "--effect", f"{gain}=50,0", "--insert", path, "--quiet")
        at, place = frames.find(halved(inserted)), self.heard
        self.assertGreaterEqual(at, 0)
        self.assertEqual(frames, halved(place[:at] + inserted + place[at + len(inserted):])[:8000])

    def test_what_cannot_be(self):
        self.record("--effect", "./none.so=1", code=2, err=["cannot load the effect ./none.so"])
        self.record("--effect", "gain.so=loud", code=1, err=["'gain.so=loud' is no effect"])
        other = run("record", self.file, "--hear", self.source, "--rate", "44100")
        self.assert_result(other, 2, err=["cannot record", "--rate"])
        self.assert_result(run("record", self.folder / "none" / "x.wav", "--card", "virtual"), 2, err=["cannot write", "x.wav"])
        self.assert_result(run("record", self.file, "--card", "none"), 2, err=["no sound input"])
        stereo, empty = (self.folder / name for name in ("stereo.wav", "empty.wav"))
        write_wave(stereo, noise(0.1, rate=8000), rate=8000)
        write_wave(empty, b"", **FORM)
        for wave, why in ((stereo, "It is PCM, 8000 Hz, stereo, 16 bit, and the recording 8000 Hz, mono, 16 bit."),
                          (self.folder / "none.wav", "No such file"), (empty, "holds no sound")):
            self.record("--insert", wave, "--stop-at", "0.1", code=2, err=[f"cannot insert {wave}", why])
        self.assertFalse(self.file.exists())
        before = self.source.read_bytes()
        for read in (["--hear", self.source], ["--card", "virtual", "--insert", self.source]):
            told = run("record", self.source, *read, *SHAPE, "--stop-at", "0.1", "-y")
            self.assert_result(told, 2, err=["cannot write", "is what is to be recorded"])
        self.assertEqual(self.source.read_bytes(), before)


def halved(frames):
    return b"".join(int(int.from_bytes(frames[i:i + 2], "little", signed=True) * 50 / 100).to_bytes(2, "little", signed=True)
                    for i in range(0, len(frames), 2))


@unittest.skipUnless(NATIVE, "what the input hears cannot be chosen there")
class RecordScreen(Case):
    def setUp(self):
        super().setUp()
        loud = b"\xff\x7f" * 8000 + noise(20, **FORM)
        self.source = write_wave(self.folder / "heard.wav", loud, **FORM)
        self.file = self.folder / "take.wav"
        self.arguments = ["record", self.file, "--hear", self.source, *SHAPE]

    def test_meter_pause_and_end(self):
        terminal = Terminal(*self.arguments, env={"LC_ALL": "C.UTF-8"}, columns=100)
        self.addCleanup(terminal.close)
        terminal.read_until("B free")
        terminal.read_until("CLIP")
        self.assertIn("█", terminal.output.decode())
        terminal.press(" ")
        terminal.read_until("||")
        paused = terminal.read_for(1)
        times = {line.split("B free")[0].split()[-3] for line in paused.split("\r") if "||" in line and "B free" in line}
        self.assertEqual(len(times), 1, times)
        terminal.press(" q")
        self.assertEqual(terminal.wait(), 0)
        self.assertTrue(terminal.modes_restored())
        self.assertIn("mono, 16 bit, 0:0", terminal.output.decode())

    def test_the_fuller_disk_counts(self):
        folders = [self.folder, Path("/dev/shm")]
        free = {folder: os.statvfs(folder).f_bavail * os.statvfs(folder).f_frsize for folder in folders}
        least, most = sorted(folders, key=free.get)
        if free[most] < 2 * free[least]:
            self.skipTest("there are no two disks with so different room")
        with tempfile.TemporaryDirectory(dir=least) as small, tempfile.TemporaryDirectory(dir=most) as large:
            for target, scratch in ((small, large), (large, small)):
                terminal = Terminal("record", f"{target}/take.wav", *self.arguments[2:], env={"TMPDIR": scratch, "LC_ALL": "C"}, columns=100)
                self.addCleanup(terminal.close)
                shown = re.search(r"([\d.]+) ([MG])B free", terminal.read_until("B free"))
                terminal.press("q")
                self.assertEqual(terminal.wait(), 0)
                shown_bytes = float(shown[1]) * {"M": 1e6, "G": 1e9}[shown[2]]
                self.assertTrue(0.5 < shown_bytes / free[least] < 1.5, (shown[0], free))

    def test_ctrl_c_finishes_the_file(self):
        process = subprocess.Popen(command(*self.arguments), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        time.sleep(1.3)
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=20)
        self.assertEqual((process.returncode, err), (0, b""))
        self.assertGreater(len(wave_frames(self.file)), 2 * 8000)
        self.assertIn(b"take.wav: PCM", out)


@unittest.skipUnless(NATIVE, "the sources' names are reached through Wine there")
class RecordServer(Case):
    """From a sound server: what its sink's monitor plays is what the file holds."""

    def test_the_monitor_sample_for_sample(self):
        server = SoundServer()
        self.addCleanup(server.stop)
        form = dict(rate=44100, channels=2, bits=16)
        server.add_sink("heard", form)
        subprocess.run(["pactl", "load-module", "module-remap-source", "master=heard.monitor", "source_name=ear",
                        "source_properties=device.description=ear"], env=server.env, check=True, stdout=subprocess.DEVNULL)
        frames, file = noise(1, **form), self.folder / "take.wav"
        sound = write_wave(self.folder / "sound.wav", frames, **form)
        process = subprocess.Popen(command("record", file, "--device", "ear", "--quiet"), env=server.env)
        time.sleep(0.6)
        self.assert_result(run("play", sound, "--device", "heard", "--quiet", env=server.env), 0)
        time.sleep(0.6)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(20), 0)
        recorded = wave_frames(file)
        place = recorded.find(frames)
        self.assertGreaterEqual(place, 0)
        self.assertEqual((recorded[:place] + recorded[place + len(frames):]).strip(b"\0"), b"")


if __name__ == "__main__":
    support.main()
