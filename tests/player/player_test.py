#!/usr/bin/env python3
"""Starts the finished player as users do: player_test.py PLAYER QMC BUILD [TEST ...]"""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

PLAYER, QMC, BUILD = (pathlib.Path(p).resolve() for p in sys.argv[1:4])
PICTURE = (pathlib.Path(__file__).parents[2] / "demos/media/kite_red.png").read_bytes()
MARKER = bytes.fromhex("C0DECAFEC0CAC01A")


class PlayerTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="player-")
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)
        self.temp = self.directory / "temp"
        self.temp.mkdir()

    def run_program(self, *command, **variables):
        environment = {k: v for k, v in os.environ.items() if not k.startswith("QUILLMERE_")}
        environment |= {"QUILLMERE_PLATFORM": "headless", "TMPDIR": str(self.temp)} | variables
        return subprocess.run(
            [str(part) for part in command],
            cwd=self.directory,
            env=environment,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            text=True,
            timeout=120,
        )

    def play(self, *arguments, **variables):
        """Plays and gives both outputs; the exit status is always 0."""
        result = self.run_program(PLAYER, *arguments, **variables)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(list(self.temp.iterdir()), [], "temporary files stay behind")
        return result.stdout, result.stderr

    def compile(self, script, *options, name="a"):
        source = self.directory / f"{name}.qms"
        source.write_text(script)
        output = self.directory / f"{name}.out"
        result = self.run_program(QMC, source, "-o", output, *options)
        self.assertEqual(result.returncode, 0, result.stderr)
        return output

    def test_without_a_file_nothing_happens(self):
        self.assertEqual(self.play(), ("", ""))

    def test_a_text_is_no_applet(self):
        (self.directory / "notes.txt").write_text("Just some notes.\n")
        out, err = self.play("notes.txt")
        self.assertEqual(out, "Opening script notes.txt... failed\n")
        self.assertIn("notes.txt is no Quillmere applet!", err)

    def test_a_failing_display_leaves_the_line_above_it_alone(self):
        applet = self.compile('DebugPrint("ran")')
        out, err = self.play(applet, "-SCRWIDTH", "99999", "-FULLSCREEN")
        self.assertEqual(out.splitlines()[2:], ["Loading applet a.out done", "Preparing display"])
        self.assertIn("Screen size 99999x1080x32 not supported", err)

    def test_a_wrong_environment_ends_with_2_and_one_line(self):
        (self.directory / "in.txt").write_text("# a user\n5 close\n6 dance\n")
        for variables, line in (
            ({"QUILLMERE_PLATFORM": "paper"}, "QUILLMERE_PLATFORM: "),
            ({"QUILLMERE_SCREEN": "0x7"}, "QUILLMERE_SCREEN: "),
            ({"QUILLMERE_CLOCK": "wall"}, "QUILLMERE_CLOCK: "),
            ({"QUILLMERE_SHOT": "a.bmp"}, "QUILLMERE_SHOT: "),
            ({"QUILLMERE_INPUT": "none.txt"}, "none.txt: "),
            ({"QUILLMERE_INPUT": "in.txt"}, "in.txt:3: "),
        ):
            result = self.run_program(PLAYER, **variables)
            self.assertEqual((result.returncode, result.stdout), (2, ""), variables)
            self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
            self.assertTrue(result.stderr.startswith(line), result.stderr)

    def test_output_that_nobody_reads_ends_the_run(self):
        applet = self.compile('Repeat\nDebugPrint("again")\nForever', "--compress")
        environment = os.environ | {"QUILLMERE_PLATFORM": "headless", "TMPDIR": str(self.temp)}
        with subprocess.Popen([PLAYER, "-QUIET", applet, "-DEBUGDEVICE", "@stdout"],
                              env=environment, stdout=subprocess.PIPE) as process:
            self.assertEqual(process.stdout.readline(), b"again\n")
            process.stdout.close()
            self.assertEqual(process.wait(60), 0)
        self.assertEqual(list(self.temp.iterdir()), [])

    def test_signals_end_the_run_and_leave_nothing(self):
        applet = self.compile('DebugPrint("ready")\nWaitEvent', "--compress")
        environment = os.environ | {"QUILLMERE_PLATFORM": "headless", "TMPDIR": str(self.temp),
                                    "QUILLMERE_CLOCK": "real"}
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with subprocess.Popen([PLAYER, "-QUIET", applet, "-DEBUGDEVICE", "@stdout"],
                                  env=environment, stdout=subprocess.PIPE) as process:
                self.assertEqual(process.stdout.readline(), b"ready\n")
                process.send_signal(number)
                self.assertEqual(process.wait(60), 0, number)
            self.assertEqual(list(self.temp.iterdir()), [])

    def test_hostile_arguments(self):
        applet = self.compile('DebugPrint("ran")')
        wrong = "Wrong arguments specified!"
        for arguments in (['"'], ['a"b'], ["x" * 5000], ["a", "b"], ["-DEPTH"], ["-" + "y" * 4096]):
            self.assertIn(wrong, self.play(applet, *arguments)[1], arguments)
        for arguments in (["-" + "y" * 3000], ["-a", ""], ["--"], ["-"], ["-\xff"]):
            self.assertEqual(self.play(applet, "-QUIET", *arguments)[1], "ran\n", arguments)

    def test_an_appended_applet_is_what_is_played(self):
        program = self.compile('DebugPrint("appended")', "--exe", PLAYER)
        other = self.compile('DebugPrint("other")', name="b")
        for arguments in ([], [other], ["no such file"], ["-mine", "x"]):
            result = self.run_program(program, *arguments)
            self.assertEqual((result.returncode, result.stdout), (0, ""))
            self.assertEqual(result.stderr, "appended\n")

    def test_the_marker_stands_once_in_the_player(self):
        bytes_ = PLAYER.read_bytes()
        self.assertEqual(bytes_.count(MARKER), 1)
        at = bytes_.index(MARKER)
        self.assertEqual(bytes_[at - 4 : at], bytes.fromhex("DEADC0DE"))

    def test_a_marker_of_zero_appends_nothing(self):
        bytes_ = bytearray(PLAYER.read_bytes())
        at = bytes_.index(MARKER) - 4
        bytes_[at : at + 4] = bytes(4)
        program = self.directory / "patched"
        program.write_bytes(bytes_)
        program.chmod(0o755)
        applet = self.compile('DebugPrint("ran")')
        self.assertEqual(self.run_program(program, "-QUIET", applet).stderr, "ran\n")

    def test_the_icon_holds_the_options_of_a_start_from_the_desktop(self):
        program = self.compile(
            'list, count, shell = GetCommandLine()\nDebugPrint(count, shell)\n'
            'If count > 0 Then DebugPrint(list[0].arg, list[0].param)', "--exe", PLAYER)
        settings = [b"MINE=two words", b"(OTHER=1)"]
        record = bytearray(78)
        record[0:4] = bytes.fromhex("E3100001")
        record[54] = 1
        icon = bytes(record) + (4 * (len(settings) + 1)).to_bytes(4, "big")
        for text in settings:
            icon += (len(text) + 1).to_bytes(4, "big") + text + b"\0"
        pathlib.Path(f"{program}.info").write_bytes(icon)
        self.assertEqual(self.run_program(program).stderr, "0 1\n")
        launched = {"DESKTOP_STARTUP_ID": "launcher-1"}
        self.assertEqual(self.run_program(program, **launched).stderr, "1 0\nMINE two words\n")
        self.assertEqual(self.run_program(program, "-x", **launched).stderr, "1 1\nx \n")

    def test_a_compressed_applet_plays_and_leaves_nothing(self):
        (self.directory / "picture.png").write_bytes(PICTURE)
        applet = self.compile('@BRUSH 1, "picture.png"\nDebugPrint("made")', "--compress")
        (self.directory / "picture.png").unlink()
        self.assertEqual(self.play("-QUIET", applet), ("", "made\n"))

    def without_library(self, name):
        """The variable that makes the loader find a file that is no library under that name."""
        libraries = self.directory / "libraries"
        libraries.mkdir(exist_ok=True)
        (libraries / name).write_text("no library")
        return {"LD_LIBRARY_PATH": str(libraries)}

    def test_without_sdl_only_windows_are_missing(self):
        applet = self.compile('DebugPrint("ran")')
        variables = self.without_library("libSDL2-2.0.so.0")
        self.assertEqual(self.play("-QUIET", applet, **variables), ("", "ran\n"))
        out, err = self.play("-QUIET", applet, QUILLMERE_PLATFORM="sdl", **variables)
        self.assertEqual((out, err), ("", "SDL2 is not installed\nError: Cannot open intuition.library !\n"))

    def test_a_missing_picture_library_fails_only_its_pictures(self):
        (self.directory / "picture.png").write_bytes(PICTURE)
        header = bytes([0, 0, 2] + [0] * 9 + [1, 0, 1, 0, 24, 0])
        (self.directory / "picture.tga").write_bytes(header + b"\x10\x20\x30")
        variables = self.without_library("libSDL2_image-2.0.so.0")
        script = 'LoadBrush(1, "picture.{}")\nDebugPrint("read")'
        read_png, read_tga = (self.compile(script.format(kind), name=kind) for kind in ("png", "tga"))
        self.assertEqual(self.play("-QUIET", read_png, **variables)[1], "read\n")
        self.assertEqual(self.play("-QUIET", read_tga)[1], "read\n")
        self.assertIn('"picture.tga" is in an unknown', self.play("-QUIET", read_tga, **variables)[1])

    def test_an_installed_player_plays(self):
        applet = self.compile('DebugPrint("ran")')
        target = self.directory / "installed"
        self.run_program("cmake", "--install", BUILD, "--prefix", target)
        result = self.run_program(target / "bin/quillmere", "-QUIET", applet)
        self.assertEqual((result.returncode, result.stderr), (0, "ran\n"))

    @unittest.skipIf(b"__asan_init" in PLAYER.read_bytes(), "sanitizers take more")
    def test_a_small_applet_takes_little_memory(self):
        applet = self.compile('DebugPrint("x")')
        process = subprocess.Popen(
            [PLAYER, "-QUIET", applet],
            env=os.environ | {"QUILLMERE_PLATFORM": "headless"},
            stderr=subprocess.DEVNULL,
        )
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = status
        self.assertEqual(status, 0)
        self.assertLess(usage.ru_maxrss, 40 * 1024)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
