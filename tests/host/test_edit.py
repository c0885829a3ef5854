#!/usr/bin/env python3
"""The commands that edit: what they write beside a few lines of Python that do the same, what they refuse, and that
Ctrl-C leaves the file as it was."""
import os
import random
import re
import signal
import struct
import subprocess
import time
import unittest
import zlib

import support
from support import NATIVE, ScratchCase, Terminal, command, noise, run, wave_frames, write_wave

FRAME = 4


class Editing(ScratchCase):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "out.wav"

    def edited(self, *arguments, **more):
        """What the command makes of a file, written to another; the file stays."""
        before = self.sound.read_bytes()
        self.assert_result(self.tolvane(arguments[0], self.sound, *arguments[1:], "-o", self.out, "-y"), 0,
                           out=[f"{self.out}: PCM"])
        self.assertEqual(self.sound.read_bytes(), before)
        return wave_frames(self.out)


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
        text, empty, short, law, mono, shorn = (self.folder / name for name in ("text.wav", "empty.wav", "short.wav", "law.wav", "mono.wav", "shorn.wav"))
        text.write_text("words, nothing but words")
        write_wave(empty, b"")
        short.write_bytes(good.read_bytes()[:44 + 20000])
        shorn.write_bytes(good.read_bytes()[:-20])  # less than its header is missing
        subprocess.run(["sox", good, "-e", "u-law", law], check=True)
        subprocess.run(["sox", good, mono, "remix", "1"], check=True)
        none, to = self.folder / "none.wav", ["--to", self.out]
        cases = [(["clear", text, "0"], "no wave file"), (["clear", none, "0"], "No such file"), (["clear", self.folder, "0"], "folder"),
                 (["clear", law, "0"], "compressed"), (["clear", short, "0"], "ends before its sound does"),
                 (["clear", shorn, "0", "0.1"], "ends before its sound does"),
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
        sound = write_wave(self.folder / "long.wav", noise(1) * 600)
        old, piece = sound.read_bytes(), self.folder / "piece.wav"
        generator = random.Random(4)
        for arguments, files in ((["clear", sound, "1", "2"], [sound]), (["cut", sound, "1", "100", "--to", piece, "-y"], [sound, piece]),
                                 (["mute", sound], [sound])):
            sound.write_bytes(old)
            start, codes = time.monotonic(), set()
            self.assertEqual(self.tolvane(*arguments).returncode, 0)
            lasted, new = time.monotonic() - start, [file.read_bytes() for file in files]
            for attempt in range(60):
                if attempt >= 8 and 130 in codes:
                    break
                sound.write_bytes(old)
                piece.write_bytes(b"old")
                process = subprocess.Popen(command(*arguments), env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                time.sleep(generator.uniform(0, lasted))
                process.send_signal(signal.SIGINT)
                out, err = process.communicate(timeout=20)
                self.assertIn(process.returncode, (130, 0, -signal.SIGINT), (out, err))
                self.assertEqual(err, b"")
                expected = new if process.returncode == 0 else [old, b"old"]
                self.assertEqual([file.read_bytes() == content for file, content in zip(files, expected)], [True] * len(files),
                                 (process.returncode, arguments, out))
                if process.returncode < 0:  # ended by the system before it had begun, the library just loaded
                    subprocess.run(["rm", "-f", *self.scratch.iterdir()], check=True)
                if process.returncode == 130:
                    self.assertIn(f"Stopped; {sound} is as it was.", out.decode())
                self.assert_nothing_else(sound, piece)
                codes.add(process.returncode)
            self.assertIn(130, codes, arguments)


def braille_dots(line):
    """The dots of a line of braille: four rows of two dots a character."""
    places = ((0x01, 0x08), (0x02, 0x10), (0x04, 0x20), (0x40, 0x80))
    cells = [0 if sign == " " else ord(sign) - 0x2800 for sign in line]
    return [[bool(cell & place) for cell in cells for place in row] for row in places]


def ascii_dots(line):
    return [[sign in signs for sign in line] for signs in ("'|", ".|")]


def png_rows(content):
    """The numbers of the dots of a picture with a palette of four bits, every check sum looked at."""
    assert content[:8] == b"\x89PNG\r\n\x1a\n"
    at, data, width, height = 8, b"", 0, 0
    while at < len(content):
        size, name = struct.unpack_from(">I4s", content, at)
        body = content[at + 8:at + 8 + size]
        assert struct.unpack_from(">I", content, at + 8 + size)[0] == zlib.crc32(name + body)
        if name == b"IHDR":
            width, height = struct.unpack_from(">II", body)
        data += body if name == b"IDAT" else b""
        at += 12 + size
    rows, stride = zlib.decompress(data), 1 + (width + 1) // 2
    assert len(rows) == stride * height
    return [[rows[y * stride + 1 + x // 2] >> (0 if x % 2 else 4) & 15 for x in range(width)] for y in range(height)]


class Drawn(Editing):
    COLUMNS = 60  # of dots

    def make_levels(self, name, channels, bits, per_column=37):
        """A sound whose lowest and highest samples of each column are known, as parts of full scale."""
        generator, frames, levels = random.Random(bits * channels), [], []
        for _ in range(self.COLUMNS):
            column = [(-generator.random(), generator.random()) for _ in range(channels)]
            places = [generator.sample(range(per_column), 2) for _ in range(channels)]
            frames += [[column[c][places[c].index(at)] if at in places[c] else 0 for c in range(channels)] for at in range(per_column)]
            levels.append(column)
        scale, offset, width = (1 << (bits - 1)) - 1, 128 if bits == 8 else 0, bits // 8
        if bits == 8:  # 0 to 255 are the whole of full scale
            levels = [[tuple((round(part * scale) + offset) / 127.5 - 1 for part in level) for level in column] for column in levels]
        body = b"".join((round(value * scale) + offset).to_bytes(width, "little", signed=bits > 8) for frame in frames for value in frame)
        return write_wave(self.folder / name, body, channels=channels, bits=bits, rate=8000), levels

    def assert_levels(self, rows, column, level, what):
        """A column of dots is one line from its highest to its lowest sample, give or take one dot."""
        inked = [at for at, row in enumerate(rows) if row[column]]
        self.assertEqual(inked, list(range(inked[0], inked[-1] + 1)), what)
        for at, part in ((inked[0], level[1]), (inked[-1], level[0])):
            self.assertLessEqual(abs(at + 0.5 - (1 - part) / 2 * len(rows)), 1.01, what)

    def draw(self, *arguments, locale="C.UTF-8"):
        told = subprocess.run(command("draw", *arguments), env={**self.env, "LC_ALL": locale}, capture_output=True)
        self.assertEqual((told.returncode, told.stderr), (0, b""))
        return told.stdout.decode().replace("\r\n", "\n").splitlines()

    def test_peaks_stand_in_their_columns(self):
        for channels, bits, rows in ((1, 16, 10), (2, 16, 6), (2, 8, 6), (1, 24, 10), (3, 16, 4), (1, 8, 10), (2, 32, 6), (5, 8, 4)):
            path, levels = self.make_levels(f"{channels}-{bits}.wav", channels, bits)
            for locale, dots_of, width in (("C.UTF-8", braille_dots, self.COLUMNS // 2), ("C", ascii_dots, self.COLUMNS)):
                lines = self.draw(path, "--width", width, locale=locale)
                self.assertEqual(len(lines), channels * rows + 1)
                for channel in range(channels):
                    dots = [row for line in lines[channel * rows:(channel + 1) * rows] for row in dots_of(line)]
                    for column, level in enumerate(levels):
                        self.assert_levels(dots, column, level[channel], (channels, bits, locale, channel, column))
            picture = self.folder / f"{channels}-{bits}.png"
            self.assertEqual(self.draw(path, "-o", picture, "--width", self.COLUMNS), [f"{picture}: 60 x {168 * channels + 24} dots"])
            ink = [[dot in (1, 2) for dot in row] for row in png_rows(picture.read_bytes())]
            for channel in range(channels):
                for column, level in enumerate(levels):
                    self.assert_levels(ink[channel * 168:channel * 168 + 160], column, level[channel], (channels, bits, channel, column))
            told = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "stream=codec_name,width", "-of", "csv=p=0", picture],
                                  capture_output=True, text=True, check=True)
            self.assertEqual((told.stdout.strip(), told.stderr), ("png,60", ""))

    def test_parts_and_short_sounds_and_the_axis(self):
        path, levels = self.make_levels("long.wav", 1, 16, per_column=4000)  # half a second each
        lines = self.draw(path, "--from", "2.5", "--to", "48000s", "--width", 7, locale="C")
        dots = [row for line in lines[:10] for row in ascii_dots(line)]
        for column in range(7):
            self.assert_levels(dots, column, levels[5 + column][0], column)
        self.assertEqual(self.draw(path, "--from", "2.5", "--to", "48000s", "--width", 60, locale="C")[-1],
                         "        |0:03            |0:04            |0:05")
        lines = self.draw(path, "--width", 60, locale="C")
        self.assertEqual(lines[-1], "|0:00               |0:10               |0:20")
        short = write_wave(self.folder / "short.wav", struct.pack("<3h", 32767, 0, -32768), channels=1)
        lines = self.draw(short, "--width", 6, locale="C")
        self.assertEqual([line.rstrip() for line in lines[:10]], ["''", "", "", "", "  ..", "", "", "", "", "    .."])
        picture = self.folder / "picture.png"
        self.draw(short, "-o", picture, "--width", 3)
        self.assertEqual([{row[x] for row in png_rows(picture.read_bytes())[:160]} - {0, 3} for x in range(3)], [{2}, {1}, {2}])
        self.draw(path, "-o", picture, "-y", "--width", 600)
        rows = png_rows(picture.read_bytes())
        self.assertEqual([set(rows[168]), [x for x, dot in enumerate(rows[171]) if dot]], [{4}, [0, 100, 200, 300, 400, 500]])
        damaged = self.folder / "damaged.wav"
        damaged.write_bytes(path.read_bytes()[:44 + 8000 * 30])  # half of it
        lines = self.draw(damaged, "--width", 30, locale="C")
        self.assertRegex(lines[-1], r"0:1\d *$")
        whole = [row for line in lines[:10] for row in ascii_dots(line)]
        for column in range(30):
            self.assert_levels(whole, column, levels[column][0], column)

    def test_refusals(self):
        good = self.make_wave(seconds=0.5)
        law, empty, there, huge = (self.folder / name for name in ("law.wav", "empty.wav", "there.png", "huge.wav"))
        subprocess.run(["sox", good, "-e", "u-law", law], check=True)
        write_wave(empty, b"")
        there.write_text("old")
        with open(huge, "wb") as file:  # nearly all of it a hole
            file.write(good.read_bytes()[:40] + struct.pack("<I", 3 << 30))
            file.truncate(44 + (3 << 30))
        for arguments, code, reason in (([law], 2, "compressed"), ([empty], 2, "holds no sound"), ([good, "--from", "1"], 2, "is 0:00.500 long"),
                                        ([good, "--from", "0.2", "--to", "0.1"], 2, "no sound between"), ([huge, "--from", "2500000000b"], 2, "sound cannot be read"), ([good, "-o", there], 2, "exists already"),
                                        ([good, "-o", self.folder], 2, "It is a folder"), ([self.folder / "none"], 2, "No such file"),
                                        ([good, "--width", "0"], 1, "--width"), ([good, "--from", "x"], 1, "no time"), ([], 1, "FILE")):
            with self.subTest(arguments):
                self.assert_result(self.tolvane("draw", *arguments), code, err=["tolvane: ", reason])
        self.assertEqual(there.read_text(), "old")
        self.assert_result(self.tolvane("draw", good, "-o", there, "-y"), 0, out=["1200 x 360"])
        self.assertEqual(len(png_rows(there.read_bytes())), 360)
        self.assert_nothing_else(good, law, empty, there, huge)

    @unittest.skipUnless(NATIVE, "the terminals of Windows are not to be had under Wine")
    def test_in_a_terminal(self):
        path, _ = self.make_levels("mono.wav", 1, 16)
        for columns, env, coloured in ((50, {"LC_ALL": "C.UTF-8"}, True), (33, {"LC_ALL": "C"}, True), (50, {"NO_COLOR": "1"}, False)):
            terminal = Terminal("draw", path, columns=columns, env=env)
            self.assertEqual(terminal.wait(), 0)
            lines = terminal.output.decode().splitlines()
            self.assertEqual(any("\x1b[32m" in line for line in lines), coloured)
            self.assertEqual(len(re.sub("\x1b\\[[0-9;]*m", "", lines[5])), columns - 1)
            terminal.close()


class Sessions(Editing):
    def setUp(self):
        super().setUp()
        self.sound = self.make_wave(seconds=1, rate=8000, channels=1)
        self.old = wave_frames(self.sound)

    def script(self, *lines, options=(), file=None):
        result = subprocess.run(command("edit", file or self.sound, *options), input="\n".join(map(str, lines)).encode(),
                                env={**self.env, "LC_ALL": "C"}, capture_output=True, timeout=60)
        result.stdout, result.stderr = (text.decode().replace("\r\n", "\n") for text in (result.stdout, result.stderr))
        return result

    def test_clipboard_undo_and_redo(self):
        a, b, c, d = (self.old[at * 4000:(at + 1) * 4000] for at in range(4))  # a quarter of a second each
        quiet, silence = bytes(4000), bytes(992)
        scripts = [(["cut 0.25 0.5", "paste end"], a + c + d + b), (["select 0.25 0.5", "cut", "undo"], a + b + c + d),
                   (["cut 2000s 4000s", "undo", "redo", "paste"], a + b + c + d), (["copy 0.75", "paste 0", "clear 0.25 0.5"], d + b + c + d),
                   (["select 0.5", "copy", "crop 0.25 500ms", "paste 0"], c + d + b), (["copy 0 0.25", "paste end", "cut", "paste 0"], a + a + b + c + d),
                   (["mute 0.5 0.75", "trim 0.5 1", "undo"], a + b + quiet + d), (["mute 0.5 0.75 all", "select 0.5 1", "trim 0%", "mute"], a + b + quiet),
                   (["select 0.25 0.5", "silence 1000b", "undo", "silence 0.124 2000s", "undo", "redo"], a + 2 * silence + b + c + d),
                   (["silence 496s 0.25", "copy", "undo", "paste 0.25"], a + silence + b + c + d),
                   (["crop 0.25 0.75", "clear 0.25", "undo", "undo", "redo", "redo"], b + c), (["select all", "clear", "undo", "quit", "clear"], a + b + c + d),
                   (["# nothing", "", "  mute   0 '0.25'  # the first", 'clear "0.5" end'], quiet + b), (["mute right"], a + b + c + d)]
        for lines, expected in scripts:
            with self.subTest(lines):
                out = self.folder / "copy.wav"
                self.assert_result(self.script(*lines, options=["-o", out, "-y"]), 0)
                self.assertEqual(wave_frames(out), expected)
        self.assertEqual(wave_frames(self.sound), self.old)
        self.assert_nothing_else(self.sound, out)
        self.assert_result(self.script(f"save-as '{out}' -y", "clear 0.5"), 0)
        self.assertEqual((wave_frames(out), wave_frames(self.sound)), (self.old, a + b))

    def test_what_is_told(self):
        told = self.script("info", "select 0.25 0.5", "cut", "paste 0", "info", "undo", "info", "select none", "help")
        self.assert_result(told, 0)
        for text in ("0:01.000 (8000 samples a channel), at 0:00.000\nclipboard empty, undo impossible, redo impossible",
                     "0:00.750 (6000 samples a channel), at 0:00.250\n0:01.000 (8000 samples a channel), selected 0:00.000 to 0:00.250\n",
                     "clipboard full, undo possible, redo impossible", "clipboard full, undo possible, redo possible", "save-as FILE [-y]"):
            self.assertIn(text, told.stdout)
        self.sound = self.make_wave(seconds=1, rate=8000, channels=1)
        drawn = self.script("select 0.25 0.5", "draw", "draw 0 0.375", "select 0.5", "select 0.5 0.5", "draw").stdout.splitlines()
        width = len(drawn[1])
        self.assertAlmostEqual(drawn[11].find("["), width / 4, delta=1)
        self.assertAlmostEqual(drawn[11].find("]"), width / 2, delta=1)
        self.assertAlmostEqual(drawn[23].find("["), width * 2 / 3, delta=1)
        self.assertEqual(drawn[23].find("]"), width - 1)
        self.assertAlmostEqual(drawn[-2].find("^"), width / 2, delta=1)

    def test_failures_end_a_script(self):
        cases = [(["dance"], 1, "no such command"), (["select"], 1, "Say from when"), (["select 1 2 3"], 1, "no time"), (["clear x"], 1, "no time"),
                 (["mute 0 1 loud"], 1, "no time"), (["silence"], 1, "how long"), (["silence end"], 1, "how long"), (["paste 0 1"], 1, "one time only"),
                 (["paste 2"], 2, "is 0:01.000 long"), (["silence 0.1 8001s"], 2, "is 0:01.000 long"), (["play 1"], 2, "no sound between"), (["save-as"], 1, "name of one file"), (["clear 'x"], 1, "quote"), (["select 0 1.1"], 2, "is 0:01.000 long"), (["clear"], 2, "Nothing is selected"),
                 (["crop 2 3"], 2, "is 0:01.000 long"), (["paste"], 2, "nothing to paste"), (["undo"], 2, "no edit to take back"), (["redo"], 2, "no edit to take back"),
                 (["clear 0 0"], 2, "Nothing is selected"), ([f"save-as {self.sound} -y"], 2, "is the file that is edited"), ([f"save-as {self.folder}"], 2, "folder")]
        for lines, code, reason in cases:
            with self.subTest(lines):
                told = self.script("info", "", *lines, "clear 0 end")
                self.assert_result(told, code, err=["tolvane: cannot ", reason, f"tolvane: the script stopped in line 3: {lines[0]}\n"])
        self.assertEqual(wave_frames(self.sound), self.old)
        law = self.folder / "law.wav"
        subprocess.run(["sox", self.sound, "-e", "u-law", law], check=True)
        for file, options, code, reason in ((law, [], 2, "compressed"), (law, ["-o", self.out], 2, "compressed"), (self.folder / "none", [], 2, "No such file"), (self.sound, ["-o", law], 2, "exists already"),
                                            (self.sound, ["-o", self.sound, "-y"], 2, "is the file that is edited")):
            self.assert_result(self.script("clear 0", file=file, options=options), code, err=["tolvane: cannot ", reason])
        self.assertEqual(wave_frames(self.sound), self.old)
        self.assert_nothing_else(self.sound, law)

    @unittest.skipUnless(NATIVE, "signals are not to be had under Wine")
    def test_ctrl_c_ends_a_script_behind_an_edit_that_was_done(self):
        begun, ended = self.folder / "begun.wav", self.folder / "ended.wav"
        lines = self.folder / "lines"
        lines.write_text("\n".join([f"save-as {begun}", *["mute"] * 3000, f"save-as {ended}"]))
        for delay in (0, 0.0013, 0.0031, 0.0047):
            begun.unlink(missing_ok=True)
            with open(lines) as file:
                process = subprocess.Popen(command("edit", self.sound), stdin=file, env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            while not begun.exists():
                self.assertIsNone(process.poll())
            time.sleep(delay)
            process.send_signal(signal.SIGINT)
            told = process.communicate(timeout=30)
            self.assertEqual((process.returncode, ended.exists()), (130, False), told)

    @unittest.skipUnless(NATIVE, "the virtual card takes the place of the system's services")
    def test_playing(self):
        heard = self.folder / "heard.wav"
        for lines, first, last in ((["play"], 0, 8000), (["select 0.25 0.5", "play"], 2000, 4000), (["play 0.75"], 6000, 8000),
                                   (["clear 0.25", "play", "play 0 0.125"], 0, 1000)):
            self.assert_result(self.script(*lines, options=["--into", heard]), 0, out=["Playing "])
            self.assertEqual(wave_frames(heard), self.old[first * 2:last * 2])
        self.assert_result(self.script("play", options=["--into", self.sound]), 2, err=["is the file that is edited"])


@unittest.skipUnless(NATIVE, "the terminals and signals of Windows are not to be had under Wine")
class SessionScreen(Editing):
    def session(self, seconds=1, **more):
        self.sound = write_wave(self.folder / "sound.wav", noise(1, rate=8000, channels=1) * seconds, rate=8000, channels=1)
        self.old = wave_frames(self.sound)
        terminal = Terminal("edit", self.sound, *more.get("options", ()), env={"TMPDIR": str(self.scratch), "LC_ALL": "C.UTF-8"})
        self.addCleanup(terminal.close)
        terminal.read_until("sound.wav> ")
        return terminal

    def type(self, terminal, text, expected):
        terminal.press(text)
        return terminal.read_until(expected)

    def test_completion_history_and_giving_up(self):
        terminal = self.session()
        self.type(terminal, "sel\t0.25 0.5\r", "selected 0:00.250 to 0:00.500")
        self.type(terminal, "c\t", "clear  copy  crop  cut")
        self.type(terminal, "l\t\r", "0:00.750")
        self.type(terminal, "undo\r", "0:01.000")
        self.type(terminal, "nonsense\x03", "sound.wav> ")
        self.type(terminal, "\x1b[A\x1b[A\r", "0:00.750")  # clear
        self.type(terminal, "undo\r", "0:01.000")
        self.type(terminal, "dance\r", "no such command")
        self.type(terminal, "clear 0.25\r", "0:00.250")
        for mistake, why in (("clear", "Nothing is selected"), ("crop 0 0", "Nothing is selected"), ("mute 0 2", "is 0:00.250 long"),
                             ("paste", "nothing to paste"), ("silence 1 0.3", "is 0:00.250 long")):
            self.type(terminal, mistake + "\r", why)
        self.type(terminal, "undo\r", "0:01.000")
        self.type(terminal, f"save-as {self.folder}/sou\t", "nd.wav ")
        self.type(terminal, "\r", "is the file that is edited")
        terminal.press("\x04")
        self.assertEqual(terminal.wait(), 0)
        self.assertTrue(terminal.modes_restored())
        self.assertEqual(wave_frames(self.sound), self.old)
        self.assert_nothing_else(self.sound)

    def test_ctrl_c_stops_edits_but_not_the_session(self):
        terminal = self.session(seconds=16000)
        for attempt in range(10):  # an edit that was quicker than the key is done
            before = self.sound.read_bytes()
            terminal.press("mute\r")
            terminal.read_until("\n")
            time.sleep(0.001 * attempt)
            terminal.process.send_signal(signal.SIGINT)
            terminal.read_until("sound.wav> ", 20)
            if "Stopped; " in terminal.output.decode():
                break
        self.assertIn(f"Stopped; {self.sound} is as it was.", terminal.output.decode())
        self.assertEqual(self.sound.read_bytes(), before)
        self.type(terminal, "info\r", "undo impossible")
        terminal.press("quit\r")
        self.assertEqual(terminal.wait(), 0)
        self.assert_nothing_else(self.sound)

    def test_playing_goes_on_while_one_types(self):
        heard = self.folder / "heard.wav"
        terminal = self.session(seconds=20, options=["--into", heard])
        self.type(terminal, "play\r", "Playing 0:00.000 to 0:20.000")
        self.type(terminal, "clear 0 1\r", "is being played")
        terminal.read_for(0.7)
        self.type(terminal, "stop\r", "sound.wav> ")
        self.type(terminal, "clear 0 1\r", "0:19.000")
        terminal.press("quit\r")
        self.assertEqual(terminal.wait(), 0)
        frames = wave_frames(heard)
        self.assertTrue(0 < len(frames) < len(self.old) // 2 and self.old.startswith(frames), len(frames))


if __name__ == "__main__":
    support.main()
