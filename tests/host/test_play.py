#!/usr/bin/env python3
"""`tolvane play` on the virtual card, in real time: what is heard, what is shown, keys and Ctrl-C."""
import os
import re
import shutil
import signal
import struct
import subprocess
import time
import unittest
import wave

import support
from support import NATIVE, Case, Terminal, command, noise, run, wave_frames, write_wave

POSITION = re.compile(r"(>|\|\|) +(\d+):(\d\d)\.(\d) / ")
ESCAPES = re.compile(r"\x1b\[[0-9;]*[A-Za-z]")


def wave_seconds(path):
    with wave.open(str(path), "rb") as file:
        return file.getnframes() / file.getframerate()


class VirtualCard(Case):
    def setUp(self):
        if not NATIVE:
            self.skipTest("the virtual card takes the place of the system's services, which are Windows' own there")
        super().setUp()
        self.heard = self.folder / "heard.wav"

    def play(self, path, *arguments, **more):
        return run("play", path, "--card", "virtual", "--into", self.heard, *arguments, **more)

    def terminal(self, path, *arguments, begins="> ", **more):
        terminal = Terminal("play", path, "--into", self.heard, *arguments, **more)
        self.addCleanup(terminal.close)
        terminal.read_until(begins)
        return terminal


class Heard(VirtualCard):
    def test_whole_files(self):
        for form in (dict(rate=44100, channels=2, bits=16), dict(rate=22050, channels=1, bits=16),
                     dict(rate=8000, channels=1, bits=8), dict(rate=11025, channels=2, bits=8),
                     dict(rate=48000, channels=2, bits=16)):
            with self.subTest(**form):
                path = self.make_wave(seconds=0.3, **form)
                self.assert_result(self.play(path, "--quiet"), 0)
                self.assertEqual(wave_frames(self.heard), wave_frames(path))

    def test_parts(self):
        path = self.make_wave(seconds=1)
        frames = wave_frames(path)
        for arguments, start, end in ((["--from", "0.75"], 33075, 44100), (["--to", "250ms"], 0, 11025),
                                      (["--from", "11025s", "--to", "13000s"], 11025, 13000),
                                      (["--from", "40002b", "--to", "44000b"], 10000, 11000),
                                      (["--from", "0:00.5", "--to", "24050s"], 22050, 24050),
                                      (["--from", "0.9", "--to", "5"], 39690, 44100)):
            with self.subTest(arguments):
                self.assert_result(self.play(path, "--quiet", *arguments), 0)
                self.assertEqual(wave_frames(self.heard), frames[start * 4:end * 4])

    def test_compressed_sound_has_positions_and_leaves_no_copy(self):
        law, scratch = self.folder / "law.wav", self.folder / "scratch"
        scratch.mkdir()
        subprocess.run(["sox", self.make_wave(seconds=1, rate=22050), "-e", "u-law", law], check=True)
        frames = subprocess.run(["sox", law, "-t", "raw", "-e", "signed", "-b", "16", "-"], capture_output=True,
                                check=True).stdout
        for arguments, start, end in (([], 0, 22050), (["--from", "0.5", "--to", "17640s"], 11025, 17640)):
            told = self.play(law, *arguments, env={**os.environ, "TMPDIR": str(scratch)})
            self.assert_result(told, 0, out=["law.wav: CCITT u-Law, 22050 Hz, stereo", "0:01.0", "Played to the end."])
            self.assertEqual(wave_frames(self.heard), frames[start * 4:end * 4])
            self.assertEqual([name for name in os.listdir(scratch) if not name.startswith("wine-")], [])

    def test_a_file_that_was_cut_off_is_played_as_far_as_it_goes(self):
        path = self.make_wave(seconds=3)
        path.write_bytes(path.read_bytes()[:44 + 22050 * 4])
        self.assert_result(self.play(path), 0, out=["Played to the end."])
        self.assertEqual(wave_frames(self.heard), wave_frames(path)[:22050 * 4])

    def test_another_rate_changes_the_pace_not_the_samples(self):
        path = self.make_wave(seconds=0.5)
        start = time.monotonic()
        self.assert_result(self.play(path, "--quiet", "--rate", "22050"), 0)
        self.assertGreater(time.monotonic() - start, 0.95)
        self.assertEqual(wave_frames(self.heard), wave_frames(path))

    def test_without_a_name_the_heard_file_is_named_and_never_overwritten(self):
        path = self.make_wave(seconds=0.1)
        names = []
        for _ in range(2):
            told = run("play", path, "--card", "virtual", env={**os.environ, "TMPDIR": str(self.folder)})
            self.assert_result(told, 0)
            names.append(re.search(r"lies in (.+)\n", told.stdout).group(1))
        self.assertNotEqual(*names)
        for name in names:
            self.assertEqual(wave_frames(name), wave_frames(path))

    def test_a_file_that_cannot_be_written_is_told(self):
        self.heard = self.folder / "no" / "such" / "folder.wav"
        path = self.make_wave(seconds=0.1)
        self.assert_result(self.play(path), 2, err=[str(self.heard), "--into"])
        self.assert_result(run("play", path, "--into", path), 2, err=["It is the file to play", "--into"])


class Sets(VirtualCard):
    def setUp(self):
        super().setUp()
        self.waves = [self.make_wave(f"{n}.wav", seconds=0.3 + n / 10, seed=n) for n in range(3)]

    def heard_files(self):
        return [wave_frames(self.heard.with_stem(f"heard-{n}" if n > 1 else "heard")) for n in (1, 2, 3)]

    def test_files_play_one_after_the_other(self):
        self.waves[1] = self.make_wave("other.wav", seconds=0.4, rate=22050, channels=1)
        law = self.folder / "law.wav"
        subprocess.run(["sox", self.waves[2], "-e", "u-law", law], check=True)
        told = run("play", *self.waves[:2], law, "--into", self.heard)
        self.assert_result(told, 0, out=["1/3", "2/3", "other.wav: PCM, 22050 Hz, mono", "3/3", "u-Law", "heard-3.wav",
                                         "Played to the end."])
        heard = self.heard_files()
        self.assertEqual(heard[:2], [wave_frames(path) for path in self.waves[:2]])
        self.assertEqual(len(heard[2]), len(wave_frames(self.waves[2])))

    def test_a_start_within_the_whole(self):
        self.assert_result(run("play", *self.waves, "--into", self.heard, "--from", "0.5", "--quiet"), 0)
        self.assertEqual(wave_frames(self.heard), wave_frames(self.waves[1])[8820 * 4:])
        self.assert_result(run("play", *self.waves, "--from", "1.2", "--card", "virtual"), 1, err=["1.200", "earlier"])

    def test_a_file_that_is_missing_or_empty_is_told_before_anything_plays(self):
        empty = write_wave(self.folder / "empty.wav", b"")
        for bad, why in ((self.folder / "none.wav", "No such file"), (empty, "holds no sound")):
            told = run("play", self.waves[0], bad, "--into", self.heard)
            self.assert_result(told, 2, err=[f"cannot play {bad}", why])
            self.assertFalse(self.heard.exists())

    def test_keys_go_from_file_to_file(self):
        waves = [self.make_wave(f"long{n}.wav", seconds=10, rate=8000, channels=1, seed=n) for n in range(3)]
        terminal = Terminal("play", *waves, "--into", self.heard, columns=120)
        self.addCleanup(terminal.close)
        terminal.read_until("1/3")
        for key, place, low in (("n", "2/3", 10), ("\x1b[C", "2/3", 15), ("\x1b[C", "3/3", 20), ("p", "2/3", 10),
                                ("p", "1/3", 0), ("\x1b[C", "1/3", 5), ("p", "1/3", 0), ("n", "2/3", 10), ("n", "3/3", 20)):
            terminal.press(key)
            terminal.read_for(0.3)
            line = ESCAPES.sub("", terminal.read_for(0.3)).split("\r")[-1]
            self.assertRegex(line, rf"^>  0:({low:02d}|{low + 1:02d})\.\d / 0:30\.0  {place}", key)
        terminal.press("q")
        self.assertEqual(terminal.wait(1), 0)
        self.assertIn("Stopped at 0:2", terminal.output.decode())

    @unittest.skipUnless(shutil.which("lame"), "lame is not here")
    def test_mp3_files(self):
        songs = [path.with_suffix(".mp3") for path in self.waves]
        for wave_file, song in zip(self.waves, songs):
            subprocess.run(["lame", "--quiet", "-b", "320", "--tt", "T", wave_file, song], check=True)
        told = run("play", *songs, "--into", self.heard)
        self.assert_result(told, 0, out=["3/3", "2.mp3: MP3, 44100 Hz, stereo, 320 kbit/s", "Played to the end."])
        for name, seconds in (("heard.wav", 0.3), ("heard-2.wav", 0.4), ("heard-3.wav", 0.5)):
            self.assertAlmostEqual(wave_seconds(self.folder / name), seconds, delta=0.03)
        self.assert_result(run("play", songs[2], "--into", self.heard, "--from", "0.25", "--quiet"), 0)
        self.assertAlmostEqual(wave_seconds(self.heard), 0.25, delta=0.06)
        for arguments in ([songs[0], self.waves[0]], [songs[0], "--rate", "8000"], [songs[0], "--to", "0.1"],
                          [songs[0], "--mix", self.waves[0]], [songs[0], "--device", "0"]):
            self.assert_result(self.play(*arguments), 1, err=["tolvane: cannot play", "--help"])


class Mixed(VirtualCard):
    def mixed(self, one, other, volume, other_volume):
        values = zip(*(struct.unpack(f"<{len(frames) // 2}h", frames) for frames in (one, other)))
        return b"".join(struct.pack("<h", int(a * volume) + int(b * other_volume)) for a, b in values)

    def test_volume(self):
        path = self.make_wave()
        self.assert_result(self.play(path, "--volume", "50,0", "--quiet"), 0)
        values = struct.unpack(f"<{22050 * 2}h", wave_frames(path))
        expected = [0 if n % 2 else int(value / 2) for n, value in enumerate(values)]
        self.assertEqual(wave_frames(self.heard), struct.pack(f"<{22050 * 2}h", *expected))

    def test_a_file_is_laid_over_another_wherever_its_sound_begins(self):
        one, other = self.make_wave("one.wav"), self.make_wave("other.wav", seconds=0.7, seed=2)
        content = other.read_bytes()
        with_list = self.folder / "list.wav"
        expected = self.mixed(wave_frames(one), wave_frames(other), 0.5, 0.3)
        for more in (2, 6, 8, 98):
            with_list.write_bytes(content[:16] + struct.pack("<I", 16 + more) + content[20:36] + bytes(more) + content[36:])
            for pair in ((one, other), (one, with_list)):
                self.assert_result(self.play(pair[0], "--mix", pair[1], "--volume", "50", "--mix-volume", "30"), 0)
                self.assertEqual(wave_frames(self.heard), expected)
        with_list.write_bytes(one.read_bytes()[:36] + b"LIST\x0a\0\0\0" + bytes(10) + one.read_bytes()[36:])
        self.assert_result(self.play(with_list, "--mix", other, "--volume", "50", "--mix-volume", "30"), 0)
        self.assertEqual(wave_frames(self.heard), expected)

    def test_a_file_of_another_format_is_converted_first(self):
        one, scratch = self.make_wave("one.wav"), self.folder / "scratch"
        scratch.mkdir()
        law = self.folder / "law.wav"
        subprocess.run(["sox", self.make_wave("small.wav", seconds=0.5, rate=11025, channels=1), "-e", "u-law", law], check=True)
        told = self.play(one, "--mix", law, "--average", "--quiet", env={**os.environ, "TMPDIR": str(scratch)})
        self.assert_result(told, 0)
        values = struct.unpack(f"<{22050 * 2}h", wave_frames(self.heard))
        halves = [int(value / 2) for value in struct.unpack(f"<{22050 * 2}h", wave_frames(one))]
        added = [value - half for value, half in zip(values, halves)]
        self.assertGreater(max(added), 1000)
        self.assertEqual(added[0:44000:2], added[1:44000:2], "mono on both sides")
        self.assertEqual(os.listdir(scratch), [])
        self.assert_result(self.play(one, "--mix", self.folder / "none.wav"), 2, err=["cannot mix in", "No such file"])

    def test_keys_change_the_volume(self):
        terminal = self.terminal(self.make_wave(seconds=2), "--volume", "30", columns=100)
        terminal.press("-" * 7)
        terminal.read_until(" 0%")
        terminal.press("+++")
        terminal.read_until(" 15%")
        self.assertEqual(terminal.wait(), 0)
        peaks = [max(struct.unpack("<4410h", part)) for part in
                 (wave_frames(self.heard)[at:at + 8820] for at in range(0, 352800 - 8820, 8820))]
        self.assertGreater(peaks[0], 2000)
        self.assertLess(peaks[-1], 1400)


class Plain(VirtualCard):
    def test_lines_without_a_terminal(self):
        told = self.play(self.make_wave(seconds=6, rate=8000, channels=1))
        self.assert_result(told, 0, out=["sound.wav: PCM, 8000 Hz, mono, 16 bit, 0:06.0\n", "Played to the end.\n"])
        self.assertRegex(told.stdout, r"\n  0:0[45]\.\d / 0:06\.0\n")
        self.assertNotIn("\r", told.stdout)
        self.assertNotIn("\x1b", told.stdout)

    def test_it_ends_with_the_sound(self):
        start = time.monotonic()
        self.assert_result(self.play(self.make_wave(seconds=1)), 0)
        self.assertTrue(0.95 < time.monotonic() - start < 1.5, time.monotonic() - start)

    def test_interrupted(self):
        for arguments in (["--quiet"], [], ["--repeat"]):
            with self.subTest(arguments):
                path = self.make_wave(seconds=20, rate=8000)
                process = subprocess.Popen(command("play", path, "--into", self.heard, *arguments),
                                           stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                time.sleep(0.7)
                start = time.monotonic()
                process.send_signal(signal.SIGINT)
                out, err = process.communicate(timeout=5)
                self.assertLess(time.monotonic() - start, 1)
                self.assertEqual((process.returncode, err), (130, b""))
                frames = wave_frames(self.heard)
                self.assertTrue(0.2 < len(frames) / 32000 < 1.5, len(frames))
                self.assertTrue(wave_frames(path).startswith(frames))

    def test_repeat_begins_again_at_the_start(self):
        path = self.make_wave(seconds=0.5)
        process = subprocess.Popen(command("play", path, "--into", self.heard, "--repeat", "--quiet", "--from", "0.25"))
        time.sleep(1.2)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(5), 130)
        turn, frames = wave_frames(path)[11025 * 4:], wave_frames(self.heard)
        self.assertGreater(len(frames), 2 * len(turn))
        self.assertTrue((turn * 9).startswith(frames))


class Screen(VirtualCard):
    def positions(self, text):
        """Seconds shown, with whether it was paused."""
        shown = POSITION.finditer(ESCAPES.sub("", text))
        return [(int(m[2]) * 60 + int(m[3]) + int(m[4]) / 10, m[1] == "||") for m in shown]

    def test_position_bar_and_meter(self):
        terminal = self.terminal(self.make_wave(seconds=1), columns=80)
        self.assertEqual(terminal.wait(), 0)
        text = terminal.output.decode()
        places = [place for place, _ in self.positions(text)]
        self.assertEqual(places, sorted(places))
        self.assertTrue(8 <= len(places) <= 25, places)
        self.assertTrue(0.7 < places[-1] <= 1.0, places)
        self.assertIn("\x1b[32m", text)
        loud = ESCAPES.sub("", text).split("\r")[-8]
        self.assertRegex(loud, r"[=━]+[-─]*  L [#█▏▎▍▌▋▊▉]{3}.* R [#█▏▎▍▌▋▊▉]{3}")
        self.assertTrue(text.rstrip().endswith(f"lies in {self.heard}"), text[-200:])

    def test_the_meter_shows_each_channel(self):
        silent_right = b"".join(noise(0.002, channels=1, seed=n)[:2] + b"\0\0" for n in range(8)) * 5000
        terminal = self.terminal(write_wave(self.folder / "left.wav", silent_right), env={"LC_ALL": "C"})
        self.assertEqual(terminal.wait(), 0)
        lines = ESCAPES.sub("", terminal.output.decode()).split("\r")
        self.assertTrue(any(re.search(r"  L #{4,}", line) for line in lines), lines)
        self.assertFalse(any(re.search(r" R .*#", line) for line in lines), lines)

    def test_the_line_fits_the_terminal(self):
        path = self.make_wave(seconds=0.4)
        for columns in (200, 80, 61, 40, 30, 20, 9):
            for env in ({"LC_ALL": "C.UTF-8"}, {"LC_ALL": "C", "NO_COLOR": "1"}):
                with self.subTest(columns=columns, **env):
                    terminal = self.terminal(path, columns=columns, env=env)
                    self.assertEqual(terminal.wait(), 0)
                    text = terminal.output.decode()
                    lines = [line for line in ESCAPES.sub("", text).split("\r") if line.startswith(">")]
                    self.assertTrue(lines)
                    self.assertLess(max(map(len, lines)), columns)
                    self.assertEqual("L" in lines[-1], columns >= 50, lines[-1])
                    if "NO_COLOR" in env:
                        self.assertNotRegex(text, r"\x1b\[\d*m")
                        self.assertTrue(text.isascii())

    def test_the_line_follows_a_new_width(self):
        terminal = self.terminal(self.make_wave(seconds=3), columns=100)
        terminal.resize(50)
        terminal.read_for(0.3)
        after = ESCAPES.sub("", terminal.read_for(0.5)).split("\r")
        self.assertLess(max(map(len, after)), 50)

    def test_pause_really_pauses(self):
        terminal = self.terminal(self.make_wave(seconds=2))
        terminal.read_for(0.5)
        terminal.press(" ")
        terminal.read_until("|| ")
        terminal.read_for(0.2)
        held = {place for place, paused in self.positions(terminal.read_for(1.5)) if paused}
        self.assertEqual(len(held), 1, held)
        terminal.press(" ")
        start = time.monotonic()
        self.assertEqual(terminal.wait(), 0)
        self.assertTrue(0.8 < time.monotonic() - start < 1.8, time.monotonic() - start)
        self.assertEqual(wave_frames(self.heard), wave_frames(self.folder / "sound.wav"))

    def test_keys_move(self):
        terminal = self.terminal(self.make_wave(seconds=30, rate=8000, channels=1))
        for key, low, high in (("\x1b[C", 5.0, 6.5), ("\x1b[C", 10.0, 12.0), ("\x1b[D", 5.0, 8.0), ("\x1bOC", 10, 13.5),
                               ("\x1b[H", 0.0, 1.0), ("\x1b[D", 0.0, 1.0)):
            terminal.read_for(0.2)
            terminal.press(key)
            terminal.read_for(0.25)
            place = self.positions(terminal.read_for(0.25))[-1][0]
            self.assertTrue(low <= place <= high, (key, place))
        terminal.press("?")
        terminal.read_until("q stop")
        terminal.press("q")
        self.assertEqual(terminal.wait(1), 0)
        self.assertRegex(terminal.output.decode(), r"Stopped at 0:0\d\.\d")
        self.assertTrue(terminal.modes_restored())

    def test_every_end_leaves_the_terminal_as_it_was(self):
        path = self.make_wave(seconds=20, rate=8000)
        for how, code in ((lambda t: t.press("\x1b"), 0), (lambda t: t.press("\x03"), 130),
                          (lambda t: t.process.send_signal(signal.SIGINT), 130)):
            terminal = self.terminal(path)
            terminal.read_for(0.3)
            self.assertFalse(terminal.modes_restored(), "single keys need other modes")
            start = time.monotonic()
            how(terminal)
            self.assertEqual(terminal.wait(2), code)
            self.assertLess(time.monotonic() - start, 1)
            self.assertTrue(terminal.modes_restored())

    def test_in_the_background_it_plays_on_and_leaves_the_screen_alone(self):
        terminal = self.terminal(self.make_wave(seconds=0.5), prefix=["bash", "-c", 'set -m; "$@" & wait $!', "-"],
                                 begins="Playing")
        self.assertEqual(terminal.wait(), 0)
        self.assertIn("Played to the end.", terminal.output.decode())
        self.assertEqual(self.positions(terminal.output.decode()), [])

    def test_keys_of_no_meaning_do_nothing(self):
        terminal = self.terminal(self.make_wave(seconds=1))
        terminal.press("xyz\x1b[A\x1b[3~\x1b[1;5P\t")
        self.assertEqual(terminal.wait(), 0)
        self.assertIn("Played to the end.", terminal.output.decode())


if __name__ == "__main__":
    support.main()
