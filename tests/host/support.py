"""What the tests of the program share: running it, making sound files, a terminal of one's own, a sound server."""
import fcntl
import os
import pty
import random
import select
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest
import wave
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
PROGRAM = os.environ.get("TOLVANE_PROGRAM", str(ROOT / "build/native/bin/tolvane"))
RUNNER = [part for part in os.environ.get("TOLVANE_RUNNER", "").split(",") if part]
NATIVE = not PROGRAM.endswith(".exe")
SKIPPED = 77


def command(*arguments):
    return [*RUNNER, PROGRAM, *map(str, arguments)]


def run(*arguments, timeout=60, **more):
    """The finished program with its output as text."""
    result = subprocess.run(command(*arguments), capture_output=True, timeout=timeout, stdin=subprocess.DEVNULL, **more)
    result.stdout, result.stderr = (text.decode(errors="replace").replace("\r\n", "\n")
                                    for text in (result.stdout, result.stderr))
    return result


def write_wave(path, frames, rate=44100, channels=2, bits=16):
    with wave.open(str(path), "wb") as file:
        file.setparams((channels, bits // 8, rate, 0, "NONE", ""))
        file.writeframes(frames)
    return path


def wave_frames(path):
    with wave.open(str(path), "rb") as file:
        return file.readframes(file.getnframes())


def noise(seconds, rate=44100, channels=2, bits=16, seed=1):
    """Samples that are never silence, so that a lost or a repeated one shows."""
    count = round(seconds * rate) * channels
    generator = random.Random(seed)
    if bits == 8:
        return bytes(128 + generator.choice((1, -1)) * generator.randrange(8, 90) for _ in range(count))
    samples = (generator.choice((1, -1)) * generator.randrange(500, 9000) for _ in range(count))
    return struct.pack(f"<{count}h", *samples)


class Case(unittest.TestCase):
    """A test with a folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="tolvane-test-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def make_wave(self, name="sound.wav", seconds=0.5, seed=1, **form):
        return write_wave(self.folder / name, noise(seconds, seed=seed, **form), **form)

    def assert_result(self, result, code, *, out=(), err=()):
        told = f"\nstdout: {result.stdout}\nstderr: {result.stderr}"
        self.assertEqual(result.returncode, code, told)
        for text in out:
            self.assertIn(text, result.stdout, told)
        for text in err:
            self.assertIn(text, result.stderr, told)
        if not err:
            self.assertEqual(result.stderr, "", told)


class ScratchCase(Case):
    """With a temp folder of the program's own, in which it leaves nothing."""

    def setUp(self):
        super().setUp()
        self.scratch = self.folder / "scratch"
        self.scratch.mkdir()
        self.env = {**os.environ, **({"TMPDIR": str(self.scratch)} if NATIVE else {})}

    def tolvane(self, *arguments, **more):
        return run(*arguments, env=self.env, **more)

    def assert_nothing_else(self, *files):
        """The folder holds these files and no other."""
        self.assertEqual(sorted(os.listdir(self.folder)), sorted(["scratch", *(file.name for file in files)]))
        self.assertEqual([name for name in os.listdir(self.scratch) if not name.startswith("wine-")], [])


class Terminal:
    """The program in a terminal of its own: what it writes, keys for it, and the modes it leaves behind."""

    def __init__(self, *arguments, columns=80, env=None, prefix=()):
        self.master, self.slave = pty.openpty()
        self.resize(columns)
        self.modes = termios.tcgetattr(self.slave)
        self.output = b""
        environment = {**os.environ, "TERM": "xterm", **(env or {})}
        self.process = subprocess.Popen([*prefix, *command(*arguments)], stdin=self.slave, stdout=self.slave,
                                        stderr=self.slave, env=environment, preexec_fn=self._own_terminal)

    def _own_terminal(self):
        os.setsid()
        fcntl.ioctl(0, termios.TIOCSCTTY, 0)

    def resize(self, columns):
        fcntl.ioctl(self.slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))

    def read_for(self, seconds):
        """What arrives within so many seconds."""
        start, deadline = len(self.output), time.monotonic() + seconds
        while (left := deadline - time.monotonic()) > 0:
            if select.select([self.master], [], [], left)[0]:
                self.output += os.read(self.master, 65536)
        return self.output[start:].decode()

    def read_until(self, text, seconds=5):
        """Reads on until the text has arrived; it must not have before."""
        start, deadline = len(self.output), time.monotonic() + seconds
        while text not in self.output[start:].decode(errors="replace"):
            if time.monotonic() > deadline:
                raise AssertionError(f"{text!r} did not come; there is {self.output.decode(errors='replace')!r}")
            self.read_for(0.02)
        return self.output[start:].decode(errors="replace")

    def press(self, keys):
        os.write(self.master, keys.encode())

    def wait(self, seconds=10):
        """The exit code, everything having been read."""
        deadline = time.monotonic() + seconds
        while self.process.poll() is None and time.monotonic() < deadline:
            self.read_for(0.02)
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
            raise AssertionError(f"the program did not end; there is {self.output.decode(errors='replace')!r}")
        self.read_for(0.05)
        return self.process.returncode

    def modes_restored(self):
        return termios.tcgetattr(self.slave) == self.modes

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        os.close(self.master)
        os.close(self.slave)


class SoundServer:
    """A private sound server; sinks are added in the format a test needs."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="tolvane-sound-")
        self.tool = str(ROOT / "tools/sound-server")
        subprocess.run([self.tool, "start", self.folder], check=True)
        self.env = {**os.environ, "PULSE_SERVER": f"unix:{self.folder}/native"}

    def stop(self):
        subprocess.run([self.tool, "stop", self.folder], check=True)

    def add_sink(self, name, form):
        subprocess.run(["pactl", "load-module", "module-null-sink", f"sink_name={name}", "norewinds=1",
                        *sample_spec(form), f"sink_properties=device.description={name}"],
                       env=self.env, check=True, stdout=subprocess.DEVNULL)

    def make_default(self, name):
        subprocess.run(["pactl", "set-default-sink", name], env=self.env, check=True)

    def record(self, name, form, target):
        """Starts to write what the sink plays; the caller ends the process."""
        options = [f"--{option}" for option in sample_spec(form)]
        with open(target, "wb") as out:
            return subprocess.Popen(["parec", "-d", f"{name}.monitor", "--raw", *options, "--latency-msec=20"],
                                    env=self.env, stdout=out)


def sample_spec(form):
    """A format as the sound server's tools want it."""
    return [f"format={'u8' if form['bits'] == 8 else 's16le'}", f"rate={form['rate']}", f"channels={form['channels']}"]


def main():
    """Runs the tests of the module; all skipped is told to ctest as such, with the reason."""
    program = unittest.main(module="__main__", exit=False, verbosity=2)
    result = program.result
    if result.skipped and len(result.skipped) >= result.testsRun:
        print(f"{Path(sys.argv[0]).stem}: Skipped\n{result.skipped[0][1]}")
        sys.exit(SKIPPED)
    sys.exit(0 if result.wasSuccessful() and result.testsRun else 1)
