#!/usr/bin/env python3
"""The commands that do not play: info, devices, codecs; arguments, help, exit codes. On every target."""
import math
import os
import re
import shutil
import struct
import subprocess
import unittest

import support
from support import NATIVE, ROOT, Case, run

NO_SOUND = ("--card", "none") if NATIVE else ()


def chunk(name, body, claimed=None):
    return name + struct.pack("<I", len(body) if claimed is None else claimed) + body + b"\0" * (len(body) % 2)


def riff(*chunks):
    body = b"WAVE" + b"".join(chunks)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def format_record(tag=1, channels=2, rate=44100, average=176400, block=4, bits=16):
    return chunk(b"fmt ", struct.pack("<HHIIHH", tag, channels, rate, average, block, bits))


class Info(Case):
    def info(self, *files):
        return run("info", *files)

    def test_pcm_files(self):
        cases = [(dict(rate=44100, channels=2, bits=16), "PCM, 44100 Hz, stereo, 16 bit", 22050 * 4),
                 (dict(rate=8000, channels=1, bits=8), "PCM, 8000 Hz, mono, 8 bit", 4000),
                 (dict(rate=48000, channels=1, bits=16), "PCM, 48000 Hz, mono, 16 bit", 24000 * 2)]
        for form, words, size in cases:
            with self.subTest(**form):
                path = self.make_wave(**form)
                frames = size // (form["channels"] * form["bits"] // 8)
                self.assert_result(self.info(path), 0, out=[
                    f"{path}\n", words, f"0:00.500 ({frames} samples a channel)",
                    f"{size} bytes of {path.stat().st_size} in the file"])

    def test_compressed_files_name_their_codec(self):
        source = self.make_wave(rate=8000, channels=1)
        for encoding, tag, name in (("ima-adpcm", "0x0011", "IMA ADPCM"), ("ms-adpcm", "0x0002", "ADPCM"),
                                    ("u-law", "0x0007", "u-Law"), ("gsm-full-rate", "0x0031", "GSM")):
            with self.subTest(encoding):
                path = self.folder / f"{encoding}.wav"
                subprocess.run(["sox", source, "-e", encoding, path], check=True)
                told = self.info(path)
                self.assert_result(told, 0, out=[f"compressed {tag}", "8000 Hz, mono", "Codec"])
                self.assertRegex(told.stdout, r"about 0:00\.[45]\d\d")
                self.assertIn(name.lower(), told.stdout.lower())

    @unittest.skipUnless(shutil.which("lame"), "lame is not here")
    def test_mp3_files(self):
        source, tagged = self.make_wave(seconds=1), self.folder / "tagged.bin"
        for options, words, length in ((["-b", "160"], "44100 Hz, stereo, 160 kbit/s", r"Length +0:01\.0"),
                                       (["-b", "64", "-t", "-m", "m"], "44100 Hz, mono, 64 kbit/s", "about 0:01"),
                                       (["--resample", "22.05", "-b", "64", "--tt", "Title", "--add-id3v2"],
                                        "22050 Hz, stereo, 64 kbit/s", "Length +0:01")):
            with self.subTest(options):
                subprocess.run(["lame", "--quiet", *options, source, tagged], check=True)
                told = self.info(tagged)
                self.assert_result(told, 0, out=["MP3, " + words, f"{tagged.stat().st_size} bytes in the file"])
                self.assertRegex(told.stdout, length)

    def test_levels(self):
        def sine(top):
            return [round(top * math.sin(n / 7)) for n in range(3000)] + [top]
        pairs = zip(sine(-16384), sine(32767))
        path = support.write_wave(self.folder / "x.wav", b"".join(struct.pack("<hh", *pair) for pair in pairs))
        told = run("level", path, path)
        self.assert_result(told, 0, out=[f"{path}\n"])
        self.assertRegex(told.stdout, r"left  .* 50\.0 % +-6\.0 dB\n +right .*100\.0 % +0\.0 dB  clipped\n")
        eight = support.write_wave(self.folder / "8.wav", bytes([128, 160, 100, 128]), channels=1, bits=8)
        self.assertRegex(run("level", eight).stdout, r"mono .* 25\.\d % +-1[12]\.\d dB\n")
        told = run("level", eight, "--from", "3s")
        self.assertRegex(told.stdout, r"mono .* 0\.\d % ")
        self.assert_result(run("level", self.folder / "none.wav"), 2, err=["cannot measure"])

    def test_broken_files_are_refused_with_their_reason(self):
        sound = chunk(b"data", b"\1\2\3\4" * 20)
        cases = {"empty": (b"", "no wave file"), "text": (b"no sound at all, just words\n" * 9, "no wave file"),
                 "avi": (b"RIFF" + struct.pack("<I", 4) + b"AVI ", "no wave file"),
                 "no-format": (riff(sound), "no usable format record"),
                 "short-format": (riff(chunk(b"fmt ", b"\1\0\2\0"), sound), "no usable format record"),
                 "no-data": (riff(format_record()), "no data chunk"), "cut": (riff(format_record())[:30], None)}
        for name, (content, reason) in cases.items():
            with self.subTest(name):
                path = self.folder / f"{name}.wav"
                path.write_bytes(content)
                self.assert_result(self.info(path), 2, err=[f"cannot read {path}", *([reason] if reason else [])])

    def test_hostile_numbers_are_shown_not_believed(self):
        sound = chunk(b"data", b"\1\2\3\4" * 20)
        zero = self.folder / "zero.wav"
        zero.write_bytes(riff(format_record(channels=0, rate=0, average=0, block=0, bits=0), sound))
        self.assert_result(self.info(zero), 0, out=["0 Hz", "unknown"])
        huge = self.folder / "huge.wav"
        huge.write_bytes(riff(format_record(), chunk(b"data", b"\0" * 80, claimed=0xFFFFFFF0)))
        self.assert_result(self.info(huge), 0, out=["4294967280 bytes", "shorter than it says"])

    def test_missing_files_and_folders_do_not_stop_the_others(self):
        good, missing = self.make_wave(), self.folder / "missing.wav"
        self.assert_result(self.info(missing, self.folder, good, self.folder / ("x" * 300)), 2, out=[str(good)],
                           err=[f"{missing}: No such file or directory", "It is a folder", "more than 259"])


class Codecs(Case):
    def test_codecs(self):
        told = run("codecs")
        self.assert_result(told, 0, out=["0x0001  PCM"])
        tags = {int(tag, 16) for tag in re.findall(r"^ +\d+  0x([0-9A-F]{4})", told.stdout, re.M)}
        self.assertLessEqual({0x0002, 0x0006, 0x0007, 0x0011, 0x0031, 0x0055}, tags)


class Arguments(Case):
    def test_help_and_version(self):
        self.assertRegex(run("--version").stdout, r"^tolvane \d+\.\d+\.\d+\n$")
        self.assert_result(run("--help"), 0, out=["info", "devices", "codecs", "play", "convert", "reformat", "130 interrupted"])
        for name, options in {"info": [], "devices": ["--card"], "codecs": [], "level": ["--from"], "play": [
                "--from", "--to", "--rate", "--repeat", "--mix", "--volume", "--device", "--card", "--into", "--quiet", "1:02.5"],
                              "convert": ["--codec", "--pcm", "--format", "--yes", "--quiet", "mp3", "44100"],
                              "volume": ["PERCENT", "--record", "--source", "--mute", "--unmute"], "sources": ["SOURCE"],
                              "reformat": ["--rate", "--bits", "--channels", "--yes", "--quiet"]}.items():
            self.assert_result(run(name, "--help"), 0, out=["Example", f"tolvane {name}", *options])

    def test_bad_arguments(self):
        good = self.make_wave()
        cases = [[], ["dance"], ["info"], ["play"], ["play", good, "--rate", "0"], ["play", good, "--rate", "fast"],
                 ["play", good, "--card", "magic"], ["play", good, "--loud"], ["play", good, good, "--to", "1"],
                 ["play", good, "--mix", good, "--repeat"], ["play", good, "--average"], ["play", good, "--volume", "401"],
                 ["play", good, "--volume", "50,"], ["play", good, "--volume", "-1"], ["level"],
                 ["play", good, "--card", "none", "--into", "x.wav"], ["devices", "everywhere"],
                 ["volume", "101"], ["volume", "-1"], ["volume", "loud"], ["volume", "5", "--mute"], ["sources", "a", "b"],
                 ["volume", "--mute", "--unmute"], ["volume", "--mute", "--record"], ["volume", "--unmute", "--source", "0"]]
        cases += [["play", good, "--from", time] for time in
                  ("", "x", "-1", "1:60", "1:2:3:4", "1:", ":5", "1.5s", "4294967296b", "4294968", "1e3", "nan",
                   "1.2.3")]
        for arguments in cases:
            with self.subTest(arguments):
                self.assert_result(run(*arguments), 1, err=["tolvane: ", "--help"])

    def test_contradictions_with_the_file(self):
        good = self.make_wave(seconds=0.5)
        law = self.folder / "law.wav"  # of a codec that nobody has
        subprocess.run(["sox", good, "-e", "u-law", law], check=True)
        law.write_bytes(law.read_bytes().replace(b"fmt \x12\0\0\0\x07\0", b"fmt \x12\0\0\0\x77\x77"))
        cases = [([good, "--from", "0.5"], "--from lies behind its end, 0:00.500"),
                 ([good, "--from", "22050s"], "--from lies behind"),
                 ([good, "--to", "0.1", "--from", "200ms"], "--to does"),
                 ([good, "--to", "0"], "--to does"), ([good, "--from", "4096b", "--to", "1024s"], "--to does"), ([law, "--from", "0.1"], "compressed")]
        for arguments, reason in cases:
            with self.subTest(arguments):
                self.assert_result(run("play", *arguments, *NO_SOUND), 1, err=[str(arguments[0]), reason])

    def test_play_failures_say_why_and_what_to_do(self):
        empty = support.write_wave(self.folder / "empty.wav", b"")
        text = self.folder / "text.wav"
        text.write_text("words")
        for path, reason in ((self.folder / "none.wav", "No such file"), (self.folder, "folder"),
                             (text, "no wave file"), (empty, "holds no sound")):
            with self.subTest(path):
                self.assert_result(run("play", path, *NO_SOUND), 2, err=[f"cannot play {path}: ", reason])
        self.assert_result(run("play", self.make_wave(), "--device", "77", *NO_SOUND), 2, err=["device 77"])


class Sentences(unittest.TestCase):
    def test_every_result_code_of_the_header_has_its_sentence_in_the_program(self):
        promised = dict(re.findall(r"^ +(TOLVANE_\w+) = \d+,? +/\* (.+) \*/$",
                                   (ROOT / "include/tolvane.h").read_text().split("typedef enum TolvaneResult")[1]
                                   .split("} TolvaneResult")[0], re.M))
        self.assertGreater(len(promised), 25)
        table = re.sub(r"\s+", " ", (ROOT / "host/result_text.cpp").read_text())
        for name, sentence in promised.items():
            self.assertIn(f'{{{name}, "{sentence}"', table)


@unittest.skipUnless(NATIVE, "cards cannot be chosen on Windows")
class Cards(Case):
    def test_a_machine_without_sound_names_the_virtual_card(self):
        path = self.make_wave()
        nobody = {**os.environ, "PULSE_SERVER": f"unix:{self.folder}/nobody"}
        for arguments, env in ((["--card", "none"], None), (["--card", "server"], nobody), ([], nobody)):
            with self.subTest(arguments):
                told = run("play", path, *arguments, env=env)
                self.assert_result(told, 2, err=[f"cannot play {path}", "no sound device", "--card virtual"])
                told = run("devices", *arguments, env=env)
                self.assert_result(told, 0, out=["Outputs: none", "Inputs: none", "--card virtual"])

    def test_the_virtual_card_has_a_preferred_output_and_input(self):
        told = run("devices", "--card", "virtual")
        self.assert_result(told, 0, out=["*  0  Virtual speakers", "*  0  Virtual microphone", "prefers"])


class NoMixer(Case):
    """A machine without a mixer, which a Windows under Wine is too."""

    def test_the_commands_say_so(self):
        for arguments in (["volume", "40"], ["volume", "0"], ["volume", "--mute"], ["volume", "40", "--record"], ["sources"], ["sources", "mic"]):
            with self.subTest(arguments):
                self.assert_result(run(*arguments, *NO_SOUND), 2, err=["tolvane: cannot ", "ound"])


@unittest.skipIf(NATIVE, "cards can be chosen here")
class NoCards(Case):
    def test_a_card_is_refused(self):
        told = run("play", self.make_wave(), "--card", "virtual")
        self.assert_result(told, 2, err=["Cards cannot be chosen on this system", "Leave --card out"])


if __name__ == "__main__":
    support.main()
