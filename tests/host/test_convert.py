#!/usr/bin/env python3
"""`tolvane convert` and `tolvane reformat`: what they write, judged by sox and ffmpeg, what they refuse, what they show,
and that Ctrl-C leaves nothing behind."""
import os
import random
import re
import signal
import struct
import subprocess
import time
import unittest

import support
from support import NATIVE, ScratchCase, Terminal, command, noise, run, wave_frames, write_wave

ESCAPES = re.compile(r"\x1b\[[0-9;]*[A-Za-z]")
CODECS = {"ima": "adpcm_ima_wav", "MS-ADPCM": "adpcm_ms", "alaw": "pcm_alaw", "Mu-Law": "pcm_mulaw", "gsm": "gsm_ms",
          "mp3": "mp3"}
ONLY_HERE = unittest.skipUnless(NATIVE, "the codecs, terminals and signals of Windows are not to be had under Wine")


def probe(path):
    """Codec, rate and channels, as ffprobe sees them."""
    told = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "stream=codec_name,sample_rate,channels", "-of",
                           "csv=p=0", path], capture_output=True, text=True, check=True).stdout.strip().split(",")
    return told[0], int(told[1]), int(told[2])


def decoded_frames(path, codec, channels):
    """The length of the sound as sox decodes it; sox reads no MPEG in wave files."""
    tool = (["ffmpeg", "-v", "error", "-i", path, "-f", "s16le", "-"] if codec == "mp3" else
            ["sox", "-V1", path, "-t", "raw", "-e", "signed", "-b", "16", "-"])
    return len(subprocess.run(tool, capture_output=True, check=True).stdout) // (2 * channels)


class Converting(ScratchCase):
    def setUp(self):
        super().setUp()
        self.target = self.folder / "target.wav"

    def long_wave(self, seconds, name="long.wav"):
        return write_wave(self.folder / name, noise(1) * seconds)


class ConvertCodecs(Converting):
    @ONLY_HERE
    def test_every_codec_takes_every_source(self):
        sources = [(self.make_wave("cd.wav", seconds=1.5), 44100, 2), (self.make_wave("dat.wav", 1.5, rate=48000), 44100, 2),
                   (self.make_wave("old.wav", 1.5, rate=16000, channels=1, bits=8), 22050, 1)]
        for name, codec in CODECS.items():
            for source, rate, channels in sources:
                with self.subTest(codec=name, source=source.name):
                    if codec == "gsm_ms":
                        channels = 1
                    told = self.tolvane("convert", source, self.target, "--codec", name)
                    self.assert_result(told, 0, out=[f"{self.target}: ", f"{rate} Hz"])
                    self.assertEqual(probe(self.target), (codec, rate, channels))
                    frames = decoded_frames(self.target, codec, channels)
                    block = 2304 if codec == "mp3" else 2100
                    self.assertTrue(-1 <= frames - 1.5 * rate <= block, frames)
                    self.target.unlink()
        self.assert_nothing_else(*(source for source, _, _ in sources))

    def test_compressed_and_back(self):
        source = self.make_wave(rate=22050, channels=1, seconds=1)
        law, wave, old = (self.folder / name for name in ("law.wav", "wave.wav", "old.wav"))
        subprocess.run(["sox", source, "-e", "a-law", law], check=True)
        self.assert_result(self.tolvane("convert", law, wave, "--codec", "PCM"), 0, out=["PCM, 22050 Hz, mono, 16 bit"])
        expected = subprocess.run(["sox", law, "-t", "raw", "-e", "signed", "-b", "16", "-"], capture_output=True,
                                  check=True).stdout
        self.assertEqual(wave_frames(wave), expected)
        self.assert_result(self.tolvane("convert", law, old, "--pcm", "11025/8/stereo"), 0,
                           out=["11025 Hz, stereo, 8 bit, 0:01.0"])
        self.assertEqual(probe(old), ("pcm_u8", 11025, 2))
        self.assertLess(abs(len(wave_frames(old)) // 2 - 11025), 3)
        self.assert_nothing_else(source, law, wave, old)

    def test_pcm_to_the_same_pcm_is_a_copy(self):
        source = self.make_wave()
        self.assert_result(self.tolvane("convert", source, self.target, "--pcm", "44100/16/2"), 0)
        self.assertEqual(wave_frames(self.target), wave_frames(source))

    @ONLY_HERE
    def test_formats_by_number_and_by_text(self):
        source = self.make_wave(seconds=1)
        for codec, wanted, rate, channels, average in (
                ("mp3", "44100 hz, stereo, 192 kbit/s", 44100, 2, 24000), ("mp3", "1", 8000, 1, 2000),
                ("0x55", "22050hz,mono,16", None, None, None), ("gsm", "11025", 11025, 1, 2239), ("mp3", "", 44100, 2, 16000),
                ("ima", "8000 Hz, Stereo", 8000, 2, None), ("mp3", "Mono", None, None, None)):
            with self.subTest(codec=codec, format=wanted):
                told = self.tolvane("convert", source, self.target, "--codec", codec, "--format", wanted, "-y")
                if rate is None:
                    self.assert_result(told, 1, err=["does not offer it", "\n   50  44100 Hz, Stereo, 320 kbit/s"])
                    continue
                self.assert_result(told, 0)
                self.assertEqual(probe(self.target)[1:], (rate, channels))
                if average:
                    self.assertIn(f"{average} bytes a second", told.stdout)
        self.assert_nothing_else(source, self.target)

    @unittest.skipIf(NATIVE, "the codecs here have no dialog")
    def test_the_systems_codecs_suggest_a_format(self):
        source = self.make_wave(rate=22050, channels=1, seconds=1)
        for options in (["-y"], ["--quiet"], []):  # nobody sees the dialog
            self.assert_result(self.tolvane("convert", source, self.target, "--codec", "ima", *options), 0)
            self.assertEqual(probe(self.target), ("adpcm_ima_wav", 22050, 1))
            self.target.unlink()
        self.assert_result(self.tolvane("convert", source, self.target, "--codec", "ima", "-y", "--format", "1"), 2,
                           err=["dialog", "Leave --format out"])


class ConvertRefusals(Converting):
    def test_arguments(self):
        good, to = self.make_wave(), ["--codec", "ima"]
        cases = [[good, self.target], [good, self.target, *to, "--pcm", "8000/16/1"], [good, *to], [self.target],
                 [good, self.target, "--pcm", "8000/16/1", "--format", "1"], [good, self.target, "--codec", "ima", "more"]]
        cases += [[good, self.target, "--pcm", shape] for shape in
                  ("", "8000", "8000/16", "8000/16/1/", "0/16/1", "8000/24/1", "8000/16/3", "-1/8/1", "8000/16/quad", "1000001/8/1")]
        for arguments in cases:
            with self.subTest(arguments):
                self.assert_result(self.tolvane("convert", *arguments), 1, err=["tolvane: ", "convert --help"])
        for arguments in (["--rate", "0"], ["--bits", "12"], ["--channels", "3"], ["--rate", "x"]):
            with self.subTest(arguments):
                self.assert_result(self.tolvane("reformat", good, self.target, *arguments), 1, err=["reformat --help"])
        for name in ("foo", "", "0x9999", "0x"):
            self.assert_result(self.tolvane("convert", good, self.target, "--codec", name), 1,
                               err=["ima (", "alaw (", "pcm (PCM)"] if name else ["--codec"])
        for name, several in (("law", ["alaw (", "ulaw ("]), ("c", ["ima (", "pcm (PCM)"])):
            told = self.tolvane("convert", good, self.target, "--codec", name)
            self.assert_result(told, 1, err=["Several codecs have this in their names.", *several])
            self.assertNotIn("gsm", told.stderr)
        self.assert_nothing_else(good)

    def test_sources_and_targets(self):
        good = self.make_wave()
        text, mpeg, empty, short = (self.folder / name for name in ("text.wav", "song.mp3", "empty.wav", "short.wav"))
        text.write_text("words, nothing but words")
        mpeg.write_bytes(b"\xff\xfb\x90\x64" + bytes(413))
        write_wave(empty, b"")
        short.write_bytes(good.read_bytes()[:44 + 20000])
        cases = [(text, self.target, "no wave file"), (mpeg, self.target, "MPEG stream without a wave file"),
                 (empty, self.target, "holds no sound"), (self.folder / "none.wav", self.target, "No such file"),
                 (self.folder, self.target, "It is a folder"), (good, good, "It is the file to convert"),
                 (good, self.folder, "It is a folder"), (good, self.folder / "no" / "x.wav", "folder does not exist"),
                 (good, self.folder / ("x" * 300), "more than 259"), (good, text, "exists already"),
                 (short, self.target, "ends before its sound does")]
        if NATIVE:
            (self.folder / "link.wav").symlink_to(good)
            cases.append((good, self.folder / "link.wav", "It is the file to convert"))
        before = {path: path.read_bytes() for path in self.folder.iterdir() if path.is_file()}
        for source, target, reason in cases:
            with self.subTest(source=source.name, target=target.name):
                yes = ["-y"] if target in (good, self.folder / "link.wav") else []
                for name, options in (("convert", ["--pcm", "22050/8/1"]), ("reformat", ["--bits", "8"])):
                    if name == "reformat" and source == short:
                        continue
                    blamed = f"cannot {name} {source}: " if target == self.target else f"cannot write {target}: "
                    self.assert_result(self.tolvane(name, source, target, *options, *yes), 2, err=[blamed, reason])
        self.assertEqual({path: path.read_bytes() for path in self.folder.iterdir() if path.is_file()}, before)
        self.assert_nothing_else(*before)

    @ONLY_HERE
    def test_a_full_disk_leaves_nothing(self):
        source, old = self.make_wave(seconds=3), write_wave(self.target, noise(0.1, seed=7)).read_bytes()
        limited = ["bash", "-c", 'trap "" XFSZ; ulimit -f 64; exec "$@"', "-"]  # 64 KiB a file
        for arguments in (["convert", source, self.target, "--pcm", "44100/8/2"], ["convert", source, self.target, "--codec", "gsm"],
                          ["convert", source, self.target, "--codec", "ulaw"], ["reformat", source, self.target, "--bits", "8"]):
            for name in (self.target, self.folder / "new.wav"):
                with self.subTest(arguments=arguments[3:], target=name.name):
                    arguments[2] = name
                    told = subprocess.run([*limited, *command(*arguments, "-y")], env=self.env, capture_output=True, text=True)
                    self.assert_result(told, 2, err=[f"cannot write {name}", "disk full"])
        self.assertEqual(self.target.read_bytes(), old)
        self.assert_nothing_else(source, self.target)

    def test_only_yes_replaces_and_a_failure_does_not(self):
        source, other = self.make_wave(), write_wave(self.target, noise(0.1, seed=7))
        short = self.folder / "short.wav"
        short.write_bytes(source.read_bytes()[:44 + 20000])
        old = other.read_bytes()
        for arguments in (["convert", source, other, "--pcm", "22050/16/2"], ["reformat", source, other, "--bits", "8"],
                          ["convert", short, other, "--pcm", "22050/16/2", "-y"], ["reformat", short, other, "--bits", "8", "-y"]):
            self.assertEqual(self.tolvane(*arguments).returncode, 2)
            self.assertEqual(other.read_bytes(), old)
        if NATIVE:
            other.chmod(0o604)
        self.assert_result(self.tolvane("reformat", source, other, "--bits", "8", "--yes"), 0)
        self.assertEqual(len(wave_frames(other)), len(wave_frames(source)) // 2)
        self.assert_result(self.tolvane("convert", source, other, "--pcm", "44100/16/2", "-y"), 0)
        self.assertEqual(wave_frames(other), wave_frames(source))
        if NATIVE:
            self.assertEqual(other.stat().st_mode & 0o777, 0o604)
        self.assert_nothing_else(source, short, other)


class Reformatted(Converting):
    def test_samples(self):
        source = self.make_wave(seconds=0.5)
        frames = [frame for frame in struct.iter_unpack("<hh", wave_frames(source))]

        def halved(value, by):
            return int(value / by)  # toward zero
        kept = frames[::2]
        cases = {("--rate", "22050"): struct.pack(f"<{2 * len(kept)}h", *(s for frame in kept for s in frame)),
                 ("--rate", "88200"): b"".join(struct.pack("<4h", *frame, *frame) for frame in frames),
                 ("--channels", "1"): b"".join(struct.pack("<h", halved(sum(frame), 2)) for frame in frames),
                 ("--bits", "8"): bytes(halved(s, 256) + 128 for frame in frames for s in frame),
                 ("--rate", "22050", "--bits", "8", "--channels", "1"):
                     bytes(halved(halved(sum(frame), 2), 256) + 128 for frame in kept)}
        for options, expected in cases.items():
            with self.subTest(options):
                self.assert_result(self.tolvane("reformat", source, self.target, *options, "-y"), 0, out=[str(self.target)])
                self.assertEqual(wave_frames(self.target), expected)
        self.assert_nothing_else(source, self.target)

    def test_what_cannot_be_is_told_with_what_can(self):
        source, law, deep = self.make_wave(), self.folder / "law.wav", self.folder / "deep.wav"
        subprocess.run(["sox", source, "-e", "u-law", law], check=True)
        subprocess.run(["sox", source, "-b", "24", "-t", "wavpcm", deep], check=True)
        for path, options, texts in ((source, ["--rate", "48000"], ["48000 Hz", "11025, 22050, 88200", "convert --pcm"]),
                                     (source, ["--rate", "44100"], ["already", "44100 Hz, stereo, 16 bit", "--rate"]),
                                     (source, [], ["already"]), (law, ["--bits", "8"], ["compressed", "convert --pcm"]),
                                     (deep, ["--bits", "16"], ["deep.wav"])):
            with self.subTest(path=path.name, options=options):
                self.assert_result(self.tolvane("reformat", path, self.target, *options), 2, err=texts)
        self.assert_nothing_else(source, law, deep)


@ONLY_HERE
class ConvertStopped(Converting):
    """Ctrl-C at any moment: no new file, no scratch file, the old one as it was; or it came too late, and all is there."""

    def stop_at_random(self, arguments, times):
        codes = set()
        start = time.monotonic()
        self.assertEqual(self.tolvane(*arguments).returncode, 0)
        lasted, whole = time.monotonic() - start, self.target.read_bytes()
        generator = random.Random(len(whole))
        for _ in range(times):
            self.target.write_bytes(b"old")
            process = subprocess.Popen(command(*arguments), env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            time.sleep(generator.uniform(0, lasted))
            process.send_signal(signal.SIGINT)
            out, err = process.communicate(timeout=20)
            self.assertIn(process.returncode, (130, 0, -signal.SIGINT), (out, err))
            self.assertEqual(err, b"")
            written = self.target.read_bytes()
            self.assertEqual(written, whole if process.returncode == 0 else b"old")
            if process.returncode < 0:  # ended by the system before it had begun, the library just loaded
                subprocess.run(["rm", "-f", *self.scratch.iterdir()], check=True)
            self.assert_nothing_else(self.target, *self.sources)
            codes.add(process.returncode)
        self.assertIn(130, codes)

    def stop_at_work(self, process, folder):
        """Ctrl-C once a file of the work lies in the folder."""
        deadline = time.monotonic() + 30
        while not any(name.startswith(("tv", "VMN")) for name in os.listdir(folder)):
            self.assertLess(time.monotonic(), deadline)
        process.send_signal(signal.SIGINT)

    def test_at_any_moment(self):
        source = self.long_wave(60)
        law = self.folder / "law.wav"
        subprocess.run(["sox", source, "-e", "u-law", law], check=True)
        self.sources = [source, law]
        self.stop_at_random(["convert", source, self.target, "--codec", "mp3", "-y"], 12)
        self.stop_at_random(["convert", law, self.target, "--codec", "gsm", "--format", "1", "-y"], 12)
        self.stop_at_random(["reformat", source, self.target, "--rate", "11025", "--channels", "1", "--bits", "8", "-y"], 12)

    def test_without_an_old_file_there_is_none(self):
        source = self.long_wave(60)
        process = subprocess.Popen(command("convert", source, self.target, "--codec", "mp3"), env=self.env,
                                   stdout=subprocess.PIPE)
        self.stop_at_work(process, self.folder)
        self.assertEqual((process.communicate(timeout=5)[0], process.returncode),
                         (b"Stopped; nothing was written.\n", 130))
        self.assert_nothing_else(source)

    def test_stopped_before_a_playback(self):
        source, song = self.long_wave(150), self.folder / "song.wav"
        self.assert_result(self.tolvane("convert", source, song, "--codec", "mp3"), 0)
        process = subprocess.Popen(command("play", song, "--card", "virtual", "--quiet"), env=self.env)
        self.stop_at_work(process, self.scratch)
        self.assertEqual(process.wait(5), 130)
        self.assert_nothing_else(source, song)


@ONLY_HERE
class ConvertScreen(Converting):
    def terminal(self, *arguments, **more):
        terminal = Terminal(*arguments, env={"TMPDIR": str(self.scratch), "LC_ALL": "C.UTF-8", **more.pop("env", {})}, **more)
        self.addCleanup(terminal.close)
        return terminal

    def ask(self, *keys, columns=80):
        terminal = self.terminal("convert", self.source, self.target, "--codec", "mp3", columns=columns)
        terminal.read_until("Which one? [46] ")
        for key in keys:
            terminal.press(key)
            terminal.read_for(0.15)
        return terminal

    def test_the_terminal_asks(self):
        self.source = self.make_wave(seconds=0.5)
        for keys, average in ((["\r"], 16000), (["4", "8", "\n"], 24000), (["49", "\x7f", "4\r"], 8000),
                              (["99\r", "x\r", "44\r"], 8000), (["a\r", "1\r"], 2000)):
            with self.subTest(keys):
                terminal = self.ask(*keys)
                self.assertEqual(terminal.wait(), 0)
                self.assertIn(f"{average} bytes a second", terminal.output.decode())
                self.assertEqual("  1  8000 Hz" in terminal.output.decode(), keys[0] == "a\r")
                self.assertIn("*  46  44100 Hz, Stereo, 128 kbit/s", terminal.output.decode())
                self.assertTrue(terminal.modes_restored())
                self.target.unlink()
        for key in ("q", "\x1b", "\x03"):
            terminal = self.ask("4", key)
            self.assertEqual(terminal.wait(2), 130)
            self.assertTrue(terminal.modes_restored())
            self.assert_nothing_else(self.source)

    def test_nothing_is_asked_where_the_answer_is_given(self):
        self.source = self.make_wave(seconds=0.2)
        for arguments in (["-y"], ["--quiet", "-y"], ["--format", "1", "-y"]):
            terminal = self.terminal("convert", self.source, self.target, "--codec", "mp3", *arguments)
            self.assertEqual(terminal.wait(5), 0)
            self.assertNotIn("Which", terminal.output.decode())
            self.assertEqual(terminal.output == b"", "--quiet" in arguments)

    def test_progress(self):
        for columns, seconds in ((80, 240), (40, 100), (12, 100)):
            source = self.long_wave(seconds)
            terminal = self.terminal("convert", source, self.target, "--codec", "mp3", "-y", columns=columns)
            self.assertEqual(terminal.wait(150), 0)
            lines = [line for line in re.split("[\r\n]", ESCAPES.sub("", terminal.output.decode()))
                     if line.startswith("Conv") and "%" in line or columns == 12 and line.startswith("Conv")]
            self.assertGreater(len(lines), 5)
            self.assertLess(max(map(len, lines)), columns)
            if columns == 12:
                continue
            shares = [int(re.match(r"Converting +(\d+)%", line)[1]) for line in lines]
            self.assertEqual(shares, sorted(shares))
            self.assertTrue(0 < shares[len(shares) // 2] < 100, shares)
            if columns == 80:
                self.assertRegex(lines[-1], r"%  ━+─*  0:0\d left")
                self.assertLessEqual(len(lines), 25 * 60)

    def test_without_a_terminal_there_is_one_line_and_quiet_has_none(self):
        source = self.make_wave(seconds=1)
        told = self.tolvane("convert", source, self.target, "--codec", "gsm")
        self.assertRegex(told.stdout, r"^\S+target.wav: GSM 6.10, 44100 Hz, mono, 8957 bytes a second, 0:01\.0, \d+ bytes\n$")
        for arguments in (["convert", source, self.target, "--codec", "ima"], ["reformat", source, self.target, "--bits", "8"]):
            self.assertEqual(self.tolvane(*arguments, "--quiet", "-y").stdout, "")


if __name__ == "__main__":
    support.main()
