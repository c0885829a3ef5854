#!/usr/bin/env python3
"""Playing on a real sound server without hardware: what the sink's monitor captured is the file, sample for sample."""
import os
import re
import shutil
import struct
import subprocess
import sys
import time
import unittest
from pathlib import Path

import support
from support import NATIVE, ROOT, Case, SoundServer, run, wave_frames

FORMS = [dict(rate=rate, channels=channels, bits=bits)
         for rate in (8000, 11025, 22050, 44100, 48000) for channels in (1, 2) for bits in (8, 16)]
# Rate, channels, options of lame, and the rate that the first bytes which look like a header tell: some are in a tag.
MP3_KINDS = [(44100, 2, "-m j -b 128", 44100), (44100, 1, "-m m -b 64", 44100), (48000, 2, "-V 3 -p", 48000),
             (22050, 2, "-b 64", 22050), (8000, 1, "-b 16", 8000), (32000, 2, "-V 2 --tt Title --id3v1-only", 32000),
             (44100, 2, "-b 320 --tt Title --add-id3v2", 48000)]


@unittest.skipUnless(NATIVE, "the sinks' names and formats are reached through Wine there")
class Monitor(Case):
    @classmethod
    def setUpClass(cls):
        cls.server = SoundServer()
        cls.addClassCleanup(cls.server.stop)

    def capture(self, name, form, *arguments):
        """Everything the sink played while the program ran."""
        self.server.add_sink(name, form)
        self.server.make_default(name)
        target = self.folder / f"{name}.raw"
        recorder = self.server.record(name, form, target)
        try:
            time.sleep(0.3)
            told = run("play", *arguments, env=self.server.env)
            time.sleep(0.5)
        finally:
            recorder.terminate()
            recorder.wait()
        self.assert_result(told, 0, out=["Played to the end."])
        return target.read_bytes()

    def assert_heard(self, captured, form, *sounds):
        """These, one after the other, and nothing but silence around them. Tells where the first one is."""
        silence, frame = b"\x80" if form["bits"] == 8 else b"\0", form["channels"] * form["bits"] // 8
        places, end = [], 0
        for frames in sounds:
            places.append(captured.find(frames, end))
            self.assertGreaterEqual(places[-1], 0, f"{len(frames)} bytes are not in the {len(captured)} captured")
            self.assertEqual(places[-1] % frame, 0)
            self.assertEqual(captured[end:places[-1]].strip(silence), b"")
            end = places[-1] + len(frames)
        self.assertEqual(captured[end:].strip(silence), b"")

    def test_every_format_sample_for_sample(self):
        for number, form in enumerate(FORMS):
            name = f"sink{number}"
            with self.subTest(**form):
                path = self.make_wave(f"{name}.wav", seed=number, **form)
                self.assert_heard(self.capture(name, form, path, "--device", name), form, wave_frames(path))

    def test_a_set_sample_for_sample(self):
        for number, form in enumerate(FORMS[::7]):
            with self.subTest(**form):
                files = [self.make_wave(f"{n}.wav", seconds=0.2 + n / 5, seed=n, **form) for n in range(3)]
                captured = self.capture(f"set{number}", form, *files, "--device", f"set{number}")
                self.assert_heard(captured, form, *map(wave_frames, files))

    def test_a_mix_with_volume_sample_for_sample(self):
        form = dict(rate=44100, channels=2, bits=16)
        one, other = self.make_wave("one.wav"), self.make_wave("other.wav", seconds=0.7, seed=2)
        captured = self.capture("mixed", form, one, "--device", "mixed", "--mix", other, "--volume", "70,40", "--mix-volume", "60")
        pairs = zip(*(struct.unpack(f"<{22050 * 2}h", wave_frames(path)[:22050 * 4]) for path in (one, other)))
        gains = [struct.unpack("f", struct.pack("f", gain))[0] for gain in (0.7, 0.4, 0.6)]
        mixed = (int(a * gains[n % 2]) + int(b * gains[2]) for n, (a, b) in enumerate(pairs))
        self.assert_heard(captured, form, struct.pack(f"<{22050 * 2}h", *mixed))

    @unittest.skipUnless(shutil.which("lame"), "lame is not here")
    def test_mp3_files_as_they_are_decoded(self):
        """To the byte what the virtual card gets, and what another decoder makes of the file but for its rounding."""
        song, heard = self.folder / "song.mp3", self.folder / "heard.wav"
        for number, (rate, channels, options, taken_for) in enumerate(MP3_KINDS):
            with self.subTest(options, rate=rate):
                source, form = self.make_wave(rate=rate, channels=channels), dict(rate=taken_for, channels=channels, bits=16)
                subprocess.run(["lame", "--quiet", *options.split(), source, song], check=True)
                captured = self.capture(f"song{number}", form, song)
                self.assert_result(run("play", song, "--into", heard, "--quiet"), 0)
                decoded = wave_frames(heard)
                silence = len(decoded) - len(decoded.lstrip(b"\0"))
                self.assert_heard(captured, form, decoded[silence // 4 * 4:].rstrip(b"\0"))
                if taken_for == rate:
                    self.assert_decoded(song, decoded, 2 * channels)

    def assert_decoded(self, song, frames, block):
        """The last frame may be missing: bytes that fill no block are not played."""
        theirs = subprocess.run(["ffmpeg", "-v", "error", "-i", song, "-f", "s16le", "-"], capture_output=True,
                                check=True).stdout
        self.assertIn(len(theirs) - len(frames), range(1152 * block))
        pairs = zip(*(struct.unpack(f"<{len(frames) // 2}h", sound) for sound in (frames, theirs[:len(frames)])))
        self.assertLessEqual(max(abs(a - b) for a, b in pairs), 1)

    def test_a_spoken_sentence_and_music(self):
        speech, music = self.folder / "speech.wav", self.folder / "music.wav"
        subprocess.run(["espeak-ng", "-w", speech, "Every word of this sentence arrives."], check=True)
        subprocess.run(["sox", "-n", "-r", "44100", "-b", "16", music, "synth", "1.5", "pluck", "C3",
                        "pluck", "E4", "delay", "0", "0.4", "norm", "-2"], check=True)
        for path, rate, channels in ((speech, 22050, 1), (music, 44100, 2)):
            form = dict(rate=rate, channels=channels, bits=16)
            data = path.read_bytes()
            frames = data[data.index(b"data") + 8:].strip(b"\0")
            self.assertIn(frames, self.capture(path.stem, form, path, "--device", path.stem))


class Example(Case):
    """A small host ends with the sound it plays, and tells when it cannot play."""

    def check(self, *host, more=()):
        path, missing = self.make_wave(), self.folder / "missing.wav"
        start = time.monotonic()
        subprocess.run([*host, path, *more], check=True, timeout=20)
        self.assertTrue(0.45 < time.monotonic() - start < 3)
        failed = subprocess.run([*host, missing, *more], capture_output=True, timeout=20)
        self.assertNotEqual(failed.returncode, 0)
        self.assertIn(b"missing.wav: result code 102", failed.stderr)


@unittest.skipUnless(os.environ.get("PULSE_SERVER"), "no sound server is named in PULSE_SERVER")
class ExampleInC(Example):
    def test_it_plays_to_the_end(self):
        program = Path(support.PROGRAM)
        self.check(*support.RUNNER, program.with_name(program.name.replace("tolvane", "play-example")))


@unittest.skipUnless(os.environ.get("PULSE_SERVER"), "no sound server is named in PULSE_SERVER")
class ExampleInPython(Example):
    def test_it_plays_to_the_end(self):
        self.check(sys.executable, ROOT / "examples/play.py", more=[Path(support.PROGRAM).parent.parent / "lib"])


@unittest.skipUnless(NATIVE, "a server's end is told by the layer that stands in for the system's services")
class Loss(Case):
    def test_the_end_of_the_server_is_a_failure(self):
        server = SoundServer()
        self.addCleanup(server.stop)
        path = self.make_wave(seconds=20, rate=8000)
        playing = subprocess.Popen(support.command("play", path), env=server.env, stderr=subprocess.PIPE,
                                   stdout=subprocess.DEVNULL)
        time.sleep(1)
        server.stop()
        start = time.monotonic()
        told = playing.communicate(timeout=10)[1].decode()
        self.assertLess(time.monotonic() - start, 2.5)
        self.assertEqual(playing.returncode, 2)
        self.assertIn(f"stopped playing {path}: The output device went away.", told)


@unittest.skipUnless(NATIVE, "there is no mixer under Wine")
class Mixer(Case):
    """Volume and sources of a server, as its own tool shows them."""

    def setUp(self):
        super().setUp()
        server = SoundServer()
        self.addCleanup(server.stop)
        self.env = {**server.env, "XDG_STATE_HOME": str(self.folder / "state"), "LC_ALL": "C"}

    def pactl(self, *words):
        return subprocess.run(["pactl", *words], env=self.env, check=True, capture_output=True, text=True).stdout

    def tolvane(self, *arguments, out, code=0, err=()):
        self.assert_result(run(*arguments, env=self.env), code, out=out, err=err)

    def test_volume(self):
        self.tolvane("volume", out=["Playback   ==============================  100 %\n", "Recording", "100 %  Microphone\n"])
        self.tolvane("volume", "--unmute", out=["100 %"])
        self.tolvane("volume", "40", out=["Playback   ============------------------   40 %\n"])
        self.assertIn("/  40% /", self.pactl("get-sink-volume", "speakers"))
        self.tolvane("volume", "--mute", out=["goes back to 40 %", "   0 %"])
        self.tolvane("volume", "--mute", out=["Muted.", "   0 %"])
        self.tolvane("volume", "0", out=["   0 %"])
        self.assertIn("/   0% /", self.pactl("get-sink-volume", "speakers"))
        self.tolvane("volume", "--unmute", out=["  40 %"])
        self.assertIn("/  40% /", self.pactl("get-sink-volume", "speakers"))
        self.tolvane("volume", "30", "--source", "LINE", out=["Record source: 1  Line In", "  30 %  Line In"])
        self.assertIn("/  30% /", self.pactl("get-source-volume", "linein"))
        self.tolvane("volume", "70", "--record", out=["  70 %  Microphone"])
        self.assertIn("/  70% /", self.pactl("get-source-volume", "mic"))

    def test_muted_by_another_program(self):
        self.pactl("set-sink-volume", "speakers", "0")
        self.tolvane("volume", "--unmute", out=[], code=2, err=["cannot unmute", "tolvane volume 40"])

    def test_sources(self):
        self.tolvane("sources", out=[" 0  Microphone  (microphone)\n 1  Line In  (line input)\n"])
        for wanted, name in (("1", "linein"), ("0", "mic"), ("line in", "linein"), ("MICRO", "mic")):
            self.tolvane("sources", wanted, out=["Record source: "])
            self.assertEqual(self.pactl("get-default-source").strip(), name)
        for wanted in ("2", "i", "tape"):
            self.tolvane("sources", wanted, out=[], code=2, err=["cannot use the source", "`tolvane sources` lists"])
        self.assertEqual(self.pactl("get-default-source").strip(), "mic")


@unittest.skipUnless(os.environ.get("PULSE_SERVER"), "no sound server is named in PULSE_SERVER")
class AnyServer(Case):
    """What holds on every target, on the sound server that the environment names."""

    def test_play_to_the_end(self):
        path = self.make_wave(seconds=1)
        start = time.monotonic()
        self.assert_result(run("play", path), 0, out=["44100 Hz, stereo, 16 bit", "Played to the end."])
        self.assertGreater(time.monotonic() - start, 0.9)
        self.assert_result(run("play", path, "--quiet", "--from", "0.5", "--device", "0"), 0)
        self.assert_result(run("play", path, "--device", "no such"), 2, err=["tolvane devices"])

    def test_sets_mixes_and_mp3_files_play_to_the_end(self):
        files = [self.make_wave(f"{n}.wav", seconds=0.5, rate=rate) for n, rate in enumerate((44100, 44100, 22050))]
        cases = [(files, 1.4, ["1/3", "3/3", "22050 Hz"]), ([files[0], "--mix", files[2], "--volume", "50"], 0.4, [])]
        if shutil.which("lame"):
            songs = [path.with_suffix(".mp3") for path in files]
            for path, song in zip(files, songs):
                subprocess.run(["lame", "--quiet", "-b", "128", path, song], check=True)
            cases += [(songs[:1], 0.4, ["MP3, 44100 Hz"]), (songs, 1.4, ["2/3", "3/3", "MP3, 22050 Hz"])]
        for arguments, seconds, texts in cases:
            with self.subTest(arguments):
                start = time.monotonic()
                self.assert_result(run("play", *arguments), 0, out=[*texts, "Played to the end."])
                self.assertGreater(time.monotonic() - start, seconds)

    def test_a_preferred_device_is_marked(self):
        outputs, inputs = run("devices").stdout.split("Inputs")
        for listed in (outputs, inputs):
            self.assertEqual(len(re.findall(r"^\* +\d+  \S", listed, re.M)), 1, listed)


if __name__ == "__main__":
    support.main()
