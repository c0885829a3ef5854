#!/usr/bin/env python3
"""The commands that edit: what they write beside a few lines of Python that do the same, what they refuse, and that
Ctrl-C leaves the file as it was."""
import os
import random
import signal
import struct
import subprocess
import time
import unittest

import support
from support import NATIVE, Case, command, noise, run, wave_frames, write_wave

FRAME = 4


class Editing(Case):
    def setUp(self):
        super().setUp()
        self.scratch = self.folder / "scratch"
        self.scratch.mkdir()
        self.env = {**os.environ, "TMPDIR": str(self.scratch)}
        self.out = self.folder / "out.wav"

    def tolvane(self, *arguments, **more):
        return run(*arguments, env=self.env, **more)

    def edited(self, *arguments, **more):
        """What the command makes of a file, written to another; the file stays."""
        before = self.sound.read_bytes()
        self.assert_result(self.tolvane(arguments[0], self.sound, *arguments[1:], "-o", self.out, "-y"), 0,
                           out=[f"{self.out}: PCM"])
        self.assertEqual(self.sound.read_bytes(), before)
        return wave_frames(self.out)

    def assert_nothing_else(self, *files):
        self.assertEqual(sorted(os.listdir(self.folder)), sorted(["scratch", *(file.name for file in files)]))
        self.assertEqual(os.listdir(self.scratch), [])


def muted(frames, first, last, channels, bits=16, of=2):
    """Frames first to last with these channels (from 0) silent."""
    width, silence = bits // 8, b"\x80" if bits == 8 else b"\0\0"
    parts = [frames[at:at + width] for at in range(0, len(frames), width)]
    for frame in range(first, last):
        for channel in channels:
            parts[frame * of + channel] = silence
    return b"".join(parts)


class EditCommands(Editing):
    def setUp(self):
        super().setUp()
        self.sound = self.make_wave(seconds=2)
        self.frames = wave_frames(self.sound)

    def part(self, first, last=None):
        return self.frames[first * FRAME:None if last is None else last * FRAME]

    def test_times_in_every_notation(self):
        for start, end, first, last in (("0:00.5", "0:01.25", 22050, 55125), ("500ms", "55125s", 22050, 55125),
                                        ("88200b", "1.25", 22050, 55125), ("0.5", "end", 22050, 88200),
                                        ("1.25", "0.5", 22050, 55125), ("88203b", "220501b", 22050, 55125),
                                        ("0:0:1", "44101s", 44100, 44101), ("0", "end", 0, 88200)):
            with self.subTest(start=start, end=end):
                self.assertEqual(self.edited("crop", start, end), self.part(first, last))
                self.assertEqual(self.edited("clear", start, end), self.part(0, first) + self.part(last))
        self.assertEqual(self.edited("crop", "88000s"), self.part(88000))

    def test_cut_and_copy_and_paste(self):
        piece, frames = self.folder / "piece.wav", self.frames
        self.assert_result(self.tolvane("copy", self.sound, "0.5", "1", "--to", piece), 0, out=[f"{piece}: PCM", "0:00.500"])
        self.assertEqual((wave_frames(piece), wave_frames(self.sound)), (self.part(22050, 44100), frames))
        for at, first in (("0", 0), ("end", 88200), ("30000s", 30000)):
            self.assertEqual(self.edited("paste", "--from", piece, "--at", at),
                             self.part(0, first) + self.part(22050, 44100) + self.part(first))
        self.assertEqual(self.edited("cut", "0.5", "1", "--to", piece), self.part(0, 22050) + self.part(44100))
        self.assert_result(self.tolvane("cut", self.sound, "1.5", "--to", piece, "-y"), 0,
                           out=[f"{self.sound}: PCM", f"{piece}: PCM", "0:01.500 (66150 "])
        self.assertEqual((wave_frames(self.sound), wave_frames(piece)), (self.part(0, 66150), self.part(66150)))
        self.assert_result(self.tolvane("paste", self.sound, "--from", piece, "--at", "end", "--quiet"), 0)
        self.assertEqual(wave_frames(self.sound), frames)
        self.assert_nothing_else(self.sound, piece, self.out)

    def test_mute_trim_and_silence(self):
        everything = len(self.frames) // FRAME
        for arguments, first, last, channels in (([], 0, everything, (0, 1)), (["0.5", "1"], 22050, 44100, (0, 1)),
                                                 (["1", "--channels", "left"], 44100, everything, (0,)),
                                                 (["0", "9s", "--channels", "right"], 0, 9, (1,)),
                                                 (["0", "9s", "--channels", "2,1"], 0, 9, (0, 1)),
                                                 (["0", "9s", "--channels", "3"], 0, 9, ())):
            with self.subTest(arguments):
                self.assertEqual(self.edited("mute", *arguments), muted(self.frames, first, last, channels))
        quiet = struct.pack("<h", 300) * 2 * 5000  # 0.92 % of full scale
        self.sound = write_wave(self.folder / "quiet.wav", quiet + self.part(0, 1000) + quiet)
        for arguments, left in (([], 0), (["--level", "0.91"], 5000), (["--level", "0.92"], 0),
                                (["4000s", "end"], 4000), (["--level", "100", "6s"], None)):
            with self.subTest(arguments):
                ends = quiet[:left * FRAME] if left is not None else b""
                expected = {None: quiet[:7 * FRAME], 4000: ends + self.part(0, 1000)}.get(left, ends + self.part(0, 1000) + ends)
                self.assertEqual(self.edited("trim", *arguments), expected)
        self.sound = self.make_wave("byte.wav", seconds=0.5, rate=8000, channels=1, bits=8)
        frames = wave_frames(self.sound)
        for at, first in (("0.25", 2000), ("0", 0), ("end", 4000)):
            for length, inserted in (("0.1", 800), ("800s", 800), ("800b", 800), ("0:01.001", 8008), ("0", 0), ("4s", 8)):
                self.assertEqual(self.edited("silence", "--at", at, "--length", length),
                                 frames[:first] + b"\x80" * inserted + frames[first:])

    def test_extra_chunks_stay_and_rights_too(self):
        tagged = self.folder / "tagged.wav"
        subprocess.run(["ffmpeg", "-v", "error", "-i", self.sound, "-c", "copy", "-metadata", "title=Waves", "-write_bext", "1",
                        "-metadata", "originator=Someone", tagged], check=True)
        if NATIVE:
            tagged.chmod(0o604)
        self.assert_result(self.tolvane("clear", tagged, "0.5", "1.5"), 0, out=["0:01.000 (44100 "])
        told = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration:format_tags", tagged],
                              capture_output=True, text=True, check=True).stdout
        self.assertIn("duration=1.000000", told)
        self.assertIn("Someone", told)
        if NATIVE:
            self.assertEqual(tagged.stat().st_mode & 0o777, 0o604)


class EditRefusals(Editing):
    def test_arguments(self):
        good, to = self.make_wave(), ["--to", self.out]
        cases = [["cut", good, "0", "1"], ["cut", good, *to], ["copy", good, "0"], ["clear", good], ["crop"], ["paste", good, "--at", "0"],
                 ["paste", good, "--from", good], ["silence", good, "--at", "0"], ["silence", good, "--at", "0", "--length", "end"],
                 ["mute", good, "--channels", "up"], ["mute", good, "--channels", "0"], ["mute", good, "--channels", "1,,2"],
                 ["mute", good, "--channels", "33"], ["trim", good, "--level", "101"], ["trim", good, "--level", "-1"],
                 ["copy", good, "0", "1", *to, "-o", "x"], ["clear", good, "0", "1", "2"]]
        cases += [["clear", good, time] for time in ("", "x", "1:60", "ends", "1.5s", "4294967296b")]
        for arguments in cases:
            with self.subTest(arguments):
                self.assert_result(self.tolvane(*arguments), 1, err=["tolvane: ", f"{arguments[0]} --help"])
        self.assert_nothing_else(good)

    def test_files_and_places(self):
        good = self.make_wave(seconds=0.5)
        text, empty, short, law, mono = (self.folder / name for name in ("text.wav", "empty.wav", "short.wav", "law.wav", "mono.wav"))
        text.write_text("words, nothing but words")
        write_wave(empty, b"")
        short.write_bytes(good.read_bytes()[:44 + 20000])
        subprocess.run(["sox", good, "-e", "u-law", law], check=True)
        subprocess.run(["sox", good, mono, "remix", "1"], check=True)
        none, to = self.folder / "none.wav", ["--to", self.out]
        cases = [(["clear", text, "0"], "no wave file"), (["clear", none, "0"], "No such file"), (["clear", self.folder, "0"], "folder"),
                 (["clear", law, "0"], "compressed"), (["clear", short, "0"], "ends before its sound does"),
                 (["clear", good, "0.6", "0.7"], "is 0:00.500 long"), (["clear", good, "0", "22051s"], "behind the end"),
                 (["clear", good, "0.1", "0.1"], "Nothing is selected"), (["crop", good, "1b", "3b"], "Nothing is selected"),
                 (["cut", good, "end", *to], "Nothing is selected"), (["copy", empty, "0", *to], "Nothing is selected"),
                 (["mute", good, "1s", "1s"], "Nothing is selected"), (["trim", empty], "Nothing is selected"),
                 (["silence", good, "--at", "1", "--length", "1"], "is 0:00.500 long"),
                 (["silence", good, "--at", "0", "--length", "3:30:00"], "cannot be written"),
                 (["paste", good, "--at", "22051s", "--from", good], "is 0:00.500 long"),
                 (["paste", good, "--at", "0", "--from", none], f"cannot paste {none}: No such file"),
                 (["paste", good, "--at", "0", "--from", mono], f"{mono}: The file to paste is no PCM"),
                 (["paste", good, "--at", "0", "--from", mono], "It has to be 44100 Hz, stereo, 16 bit"),
                 (["paste", good, "--at", "0", "--from", empty], f"{empty}: The file to paste is no PCM"),
                 (["cut", good, "0", "0.1", "--to", good, "-y"], "It is the file that is edited"),
                 (["cut", good, "0", "0.1", *to, "-o", f"{self.folder}/./out.wav"], "goes to the same file"),
                 (["copy", good, "0", "0.1", "--to", mono], "exists already"), (["clear", good, "0", "-o", mono], "exists already"),
                 (["clear", good, "0", "-o", self.folder], "It is a folder"), (["clear", good, "0", "-o", f"{none}/x"], "folder does not exist"),
                 (["copy", good, "0", "--to", self.folder / ("x" * 300)], "more than 259")]
        if NATIVE:
            (self.folder / "link.wav").symlink_to(good)
            cases.append((["copy", good, "0", "0.1", "--to", self.folder / "link.wav", "-y"], "It is the file that is edited"))
        before = {path: path.read_bytes() for path in self.folder.iterdir() if path.is_file()}
        for arguments, reason in cases:
            with self.subTest(arguments):
                self.assert_result(self.tolvane(*arguments), 2, err=["tolvane: cannot ", reason])
        self.assertEqual({path: path.read_bytes() for path in self.folder.iterdir() if path.is_file()}, before)
        self.assert_nothing_else(*before)

    @unittest.skipUnless(NATIVE, "a full disk is made here with a limit of the system's")
    def test_a_full_temp_folder(self):
        good = write_wave(self.folder / "long.wav", noise(1) * 20)
        before = good.read_bytes()
        limit = ["sh", "-c", 'ulimit -f 2048; trap "" XFSZ; exec "$@"', "sh"]
        told = subprocess.run([*limit, *command("silence", good, "--at", "0", "--length", "1")], env=self.env, capture_output=True, text=True)
        self.assertEqual(told.returncode, 2, told)
        self.assertIn("cannot silence", told.stderr)
        self.assertEqual(good.read_bytes(), before)
        self.assert_nothing_else(good)


@unittest.skipUnless(NATIVE, "signals are not to be had under Wine")
class EditStopped(Editing):
    """Ctrl-C at any moment: the old bytes and no scratch file, or it came too late, and the edit is done."""

    def test_at_any_moment(self):
        sound = write_wave(self.folder / "long.wav", noise(1) * 120)
        old, piece = sound.read_bytes(), self.folder / "piece.wav"
        generator = random.Random(4)
        for arguments, files in ((["clear", sound, "1", "2"], [sound]), (["cut", sound, "1", "100", "--to", piece, "-y"], [sound, piece]),
                                 (["mute", sound], [sound])):
            sound.write_bytes(old)
            start, codes = time.monotonic(), set()
            self.assertEqual(self.tolvane(*arguments).returncode, 0)
            lasted, new = time.monotonic() - start, [file.read_bytes() for file in files]
            for _ in range(8):
                sound.write_bytes(old)
                piece.write_bytes(b"old")
                process = subprocess.Popen(command(*arguments), env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                time.sleep(generator.uniform(0, lasted))
                process.send_signal(signal.SIGINT)
                out, err = process.communicate(timeout=20)
                self.assertIn(process.returncode, (130, 0, -signal.SIGINT), (out, err))
                self.assertEqual(err, b"")
                expected = new if process.returncode == 0 else [old, b"old"]
                self.assertEqual([file.read_bytes() == content for file, content in zip(files, expected)], [True] * len(files))
                if process.returncode < 0:  # ended by the system before it had begun, the library just loaded
                    subprocess.run(["rm", "-f", *self.scratch.iterdir()], check=True)
                if process.returncode == 130:
                    self.assertIn(f"Stopped; {sound} is as it was.", out.decode())
                self.assert_nothing_else(sound, piece)
                codes.add(process.returncode)
            self.assertIn(130, codes, arguments)


if __name__ == "__main__":
    support.main()
