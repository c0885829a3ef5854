"""The packages, made from what was built, unpacked into a folder and used as their users do: the examples are built
against them with CMake, pkg-config and a compiler alone, and work on real files; so does the program."""
import gzip
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

TESTS = Path(__file__).resolve().parent.parent
sys.path += [str(TESTS / "host"), str(TESTS / "exports")]
import exports_test
import support
from support import ROOT, RUNNER, Case, noise, wave_frames, write_wave

BUILD = Path.cwd()
VERSION, COMPILER, OBJDUMP = (os.environ[f"TOLVANE_{name}"] for name in ("VERSION", "CC", "OBJDUMP"))
EXPORTED = exports_test.listed(ROOT / "src/exports/tolvane.def")
FORM = {"rate": 22050, "channels": 2, "bits": 16}


def output(*command, **more):
    done = subprocess.run(command, capture_output=True, text=True, timeout=120, **more)
    if done.returncode:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout


class Packages(Case):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="tolvane-packages-")
        cls.addClassCleanup(folder.cleanup)
        cls.packed, cls.root = Path(folder.name, "packed"), Path(folder.name, "root")
        output(os.environ["TOLVANE_CPACK"], "-B", cls.packed, cwd=BUILD)
        cls.unpack()

    def assert_no_built_paths(self):
        """Nothing in the packages knows where they were built."""
        files = [path for path in self.root.rglob("*") if path.is_file()]
        self.assertGreater(len(files), 20)
        self.assertEqual([path for path in files if str(ROOT).encode() in path.read_bytes()], [])

    def make_silent_ends(self):
        """A file with silence at both ends, and the sound between."""
        sound, silence = noise(0.4, **FORM), bytes(22048)
        return write_wave(self.folder / "sound.wav", silence + sound + silence, **FORM), sound

    def assert_trims(self, program, **more):
        path, sound = self.make_silent_ends()
        told = output(*RUNNER, program, path, self.folder / "trimmed.wav", **more)
        self.assertEqual(told.strip(), f"{len(sound) // 4} of {len(sound) // 4 + 11024} samples kept")
        self.assertEqual(wave_frames(self.folder / "trimmed.wav"), sound)

    def build_examples(self, examples, *options):
        build = self.folder / "build"
        output("cmake", "-G", "Ninja", "-S", examples, "-B", build, *options)
        output("cmake", "--build", build)
        return build


class Debian(Packages):
    @classmethod
    def unpack(cls):
        cls.files = {path.name.split("_")[0]: path for path in cls.packed.glob("*.deb")}
        for path in cls.files.values():
            output("dpkg-deb", "-x", path, cls.root)
        cls.libraries = next(cls.root.rglob("libtolvane.so")).parent
        cls.examples = cls.root / "usr/share/doc/libtolvane-dev/examples"
        cls.env = {**os.environ, "LD_LIBRARY_PATH": str(cls.libraries)}

    def needs(self, package):
        return output("dpkg-deb", "-f", self.files[package], "Depends").strip()

    def test_the_packages_and_what_they_need(self):
        library = f"libtolvane{VERSION.split('.')[0]}"
        self.assertEqual(sorted(self.files), sorted([library, "libtolvane-dev", "tolvane"]))
        self.assertEqual(self.needs("libtolvane-dev"), f"{library} (= {VERSION})")
        self.assertTrue(self.needs("tolvane").startswith(f"{library} (= {VERSION}), "))
        for name in ("libpulse0", "libmpg123-0", "libmp3lame0", "libgsm1", "libsoxr0"):
            self.assertIn(name, self.needs(library))
            self.assertNotIn(name, self.needs("tolvane"))

    def test_libraries(self):
        self.assertEqual(exports_test.exported_by_object("nm", self.libraries / "libtolvane.so"), EXPORTED)
        linked, modules = [*self.libraries.glob("*.so")], [*self.libraries.glob("tolvane-*/*.so")]
        for path in linked:
            self.assertEqual(os.readlink(path), re.search(r"soname: \[(.+)\]", output("readelf", "-d", path))[1])
        self.assertEqual(len(modules), 5)
        for path in [*linked, *modules, self.root / "usr/bin/tolvane"]:
            self.assertNotRegex(output("readelf", "-d", path), "RPATH|RUNPATH")
        self.assert_no_built_paths()

    def test_without_modules(self):
        """Where they do not load there are no devices and no streams of theirs; everything else works."""
        bare = self.folder / "bare"
        bare.mkdir()
        for path in self.libraries.glob("libtolvane*.so.?"):
            shutil.copy(path, bare)
        program, sound = self.root / "usr/bin/tolvane", self.make_wave()
        env = {**self.env, "LD_LIBRARY_PATH": str(bare)}
        self.assertEqual(output(program, "codecs", env=env), output(program, "codecs", env=self.env))
        output(program, "convert", sound, self.folder / "small.wav", "--codec", "ima", env=env)
        self.assertIn("no sound output", output(program, "devices", env=env))
        for arguments, told in ((["play", sound], "no sound device"),
                                (["convert", sound, self.folder / "gsm.wav", "--codec", "gsm"], "cannot convert")):
            failed = subprocess.run([program, *arguments], env=env, capture_output=True, text=True, timeout=20)
            self.assertEqual(failed.returncode, 2, arguments)
            self.assertIn(told, failed.stderr)
        self.assertFalse((self.folder / "gsm.wav").exists())

    def test_a_project_with_cmake(self):
        build = self.build_examples(self.examples, f"-DCMAKE_PREFIX_PATH={self.root}/usr")
        self.assert_trims(build / "trim-example", env=self.env)
        output(build / "play-example", self.make_wave(), env=self.env)
        self.assert_effect_halves(build / "gain-effect.so")

    def assert_effect_halves(self, effect):
        """The plug-in that was built, in the packaged program."""
        source = write_wave(self.folder / "heard.wav", noise(0.6, **FORM), **FORM)
        output(self.root / "usr/bin/tolvane", "record", self.folder / "take.wav", "--hear", source, "--rate", "22050",
               "--stop-at", "0.5", "--effect", f"{effect}=50,0", "--quiet", env=self.env)
        took, heard = (memoryview(wave_frames(path)).cast("h") for path in (self.folder / "take.wav", source))
        self.assertGreater(len(took), 20000)
        self.assertEqual(list(took), [int(sample * 50 / 100) for sample in heard[:len(took)]])

    def test_a_program_with_pkg_config(self):
        flags = output("pkg-config", "--cflags", "--libs", "tolvane",
                       env={**os.environ, "PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")}).split()
        output(COMPILER, "-Wall", "-Werror", self.examples / "trim.c", *flags, "-o", self.folder / "trim")
        self.assert_trims(self.folder / "trim", env=self.env)

    def test_python(self):
        play = [sys.executable, self.examples / "play.py"]
        output(*play, self.make_wave(), env=self.env)
        failed = subprocess.run([*play, "missing.wav"], env=self.env, capture_output=True, timeout=20)
        self.assertIn(b"missing.wav: result code 102", failed.stderr)

    def test_the_program_and_its_manual(self):
        self.assertEqual(output(self.root / "usr/bin/tolvane", "--version", env=self.env), f"tolvane {VERSION}\n")
        manual = gzip.decompress((self.root / "usr/share/man/man1/tolvane.1.gz").read_bytes()).decode()
        table = re.findall(r"(?m)^\| (`tolvane .*?) \|", (ROOT / "docs/program.md").read_text())
        commands = [word for row in table for word in re.findall(r"`(?:tolvane )?([a-z]+)", row)]
        self.assertGreater(len(commands), 18)
        self.assertEqual(set(re.findall(r"(?m)^\.SS ([a-z]+) \[OPTIONS", manual)), set(commands))


class Windows(Packages):
    @classmethod
    def unpack(cls):
        archive, = cls.packed.glob("*.zip")
        with zipfile.ZipFile(archive) as packed:
            packed.extractall(cls.root)
        cls.root, = cls.root.iterdir()
        cls.env = {**os.environ, "WINEPATH": str(cls.root / "bin")}

    def test_binaries(self):
        """They need nothing but the system, and export what they should, under plain names."""
        plugin = {"SetEffectParams", "ApplyEffect", "FreeEffectBuffers"}
        for name, exported in {"bin/Tolvane.dll": EXPORTED, "bin/tolvane.exe": set(),
                               "effects/gain-effect.dll": plugin, "effects/gate-effect.dll": plugin}.items():
            dump = output(OBJDUMP, "-p", self.root / name)
            self.assertEqual(exports_test.exported_by_dll(dump), exported, name)
            self.assertEqual(exports_test.imported_by_dll(dump) - exports_test.SYSTEM_LIBRARIES - {"tolvane.dll"}, set(), name)
        self.assert_no_built_paths()

    def test_the_version_that_windows_shows(self):
        for name in ("Tolvane.dll", "tolvane.exe"):
            told = (self.root / "bin" / name).read_bytes().decode("utf-16-le", "replace")
            self.assertRegex(told, rf"FileVersion\0+{re.escape(VERSION)}\0")
            self.assertRegex(told, rf"OriginalFilename\0+{re.escape(name)}\0")

    def test_texts(self):
        linked = (self.root / "LINKED.txt").read_text()
        for text in ("libstdc++.a", "libpthread.a", "GCC RUNTIME LIBRARY EXCEPTION", "libcli11-dev", "libfmt-dev"):
            self.assertIn(text, linked)
        readme = (self.root / "README.txt").read_bytes()
        self.assertEqual(readme.count(b"\n"), readme.count(b"\r\n"))
        for name in re.findall(r"(?m)^  ((?:\w+\\)*[\w.]+)\\?  ", readme.decode()):
            self.assertTrue((self.root / name.replace("\\", "/")).exists(), name)

    def test_a_project_with_cmake(self):
        build = self.build_examples(self.root / "examples", f"-DCMAKE_TOOLCHAIN_FILE={os.environ['TOLVANE_TOOLCHAIN']}",
                                    f"-DTolvane_DIR={self.root}/lib/cmake/Tolvane")
        self.assert_trims(build / "trim-example.exe")
        output(*RUNNER, build / "play-example.exe", self.make_wave())

    def test_programs_with_a_compiler_alone(self):
        flags = output("pkg-config", "--cflags", "--libs", "tolvane",
                       env={**os.environ, "PKG_CONFIG_LIBDIR": str(self.root / "lib/pkgconfig")}).split()
        for flags in (flags, ["-I", self.root / "include", self.root / "lib/Tolvane.lib"]):
            output(COMPILER, "-Wall", "-Werror", self.root / "examples/trim.c", *flags, "-o", self.folder / "trim.exe")
            self.assert_trims(self.folder / "trim.exe", env=self.env)

    def test_the_program(self):
        program = [*RUNNER, self.root / "bin/tolvane.exe"]
        self.assertEqual(output(*program, "--version").strip(), f"tolvane {VERSION}")
        self.assertIn("22050 Hz", output(*program, "info", self.make_silent_ends()[0]))


if __name__ == "__main__":
    support.main()
