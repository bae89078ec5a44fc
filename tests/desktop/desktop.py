"""A desktop for tests: an X server in memory with a window manager, and programs driven on it."""

import contextlib
import ctypes
import os
import queue
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

PATIENCE = 20.0


def wait_for(condition, what):
    """Waits until `condition()` gives something true, and gives it back."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"waited in vain for {what}")


class _Cursor(ctypes.Structure):
    _fields_ = [("x", ctypes.c_short), ("y", ctypes.c_short), ("width", ctypes.c_ushort),
                ("height", ctypes.c_ushort), ("hot_x", ctypes.c_ushort), ("hot_y", ctypes.c_ushort),
                ("serial", ctypes.c_ulong), ("pixels", ctypes.POINTER(ctypes.c_ulong))]


def read_pointer(display_name):
    xlib, xfixes = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXfixes.so.3")
    xlib.XOpenDisplay.restype = ctypes.c_void_p
    xfixes.XFixesGetCursorImage.restype = ctypes.POINTER(_Cursor)
    display = ctypes.c_void_p(xlib.XOpenDisplay(display_name.encode()))
    first, error = ctypes.c_int(), ctypes.c_int()
    xfixes.XFixesQueryExtension(display, ctypes.byref(first), ctypes.byref(error))
    cursor = xfixes.XFixesGetCursorImage(display).contents
    picture = (cursor.width, cursor.height, cursor.hot_x, cursor.hot_y,
               cursor.pixels[0] & 0xFFFFFFFF)
    xlib.XCloseDisplay(display)
    return picture


class Desktop:
    """An X server with a window manager, as a context."""

    def __init__(self, width=800, height=600):
        self.size = f"{width}x{height}x24"
        self.programs = []
        self.home = tempfile.mkdtemp(prefix="quillmere-desktop-")

    def __enter__(self):
        reading, writing = os.pipe()
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", self.size, "-nolisten", "tcp"],
            pass_fds=[writing], stderr=subprocess.DEVNULL)
        self.programs.append(server)
        os.close(writing)
        with os.fdopen(reading) as pipe:
            number = pipe.readline().strip()
        assert number, "Xvfb has not started"
        self.environment = {**os.environ, "DISPLAY": f":{number}", "HOME": self.home,
                            "XDG_CONFIG_HOME": self.home, "XDG_RUNTIME_DIR": self.home,
                            "QUILLMERE_PLATFORM": "sdl", "SDL_VIDEODRIVER": "x11",
                            "GTK_A11Y": "none", "NO_AT_BRIDGE": "1"}
        self.start(["openbox"])
        wait_for(lambda: "_NET_SUPPORTING_WM_CHECK(WINDOW)" in self.read(
            ["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"]), "the window manager")
        self.xdotool("mousemove", 790, 590)
        return self

    def __exit__(self, *_):
        for program in reversed(self.programs):
            program.terminate()
            try:
                program.wait(5)
            except subprocess.TimeoutExpired:
                program.kill()
                program.wait()
        shutil.rmtree(self.home, ignore_errors=True)

    def start(self, command, **options):
        options = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **options}
        program = subprocess.Popen(command, env=self.environment, **options)
        self.programs.append(program)
        return program

    def read(self, command):
        return subprocess.run(command, env=self.environment, capture_output=True, text=True,
                              timeout=PATIENCE).stdout

    def xdotool(self, *words):
        return self.read(["xdotool", *map(str, words)])

    def window(self, title):
        """The number of the visible window with exactly that title."""
        def find():
            return self.xdotool("search", "--onlyvisible", "--name", f"^{re.escape(title)}$").split()
        return wait_for(find, f"a window called {title}")[-1]

    def has_window(self, title):
        return bool(self.xdotool("search", "--onlyvisible", "--name",
                                 f"^{re.escape(title)}$").split())

    def pixels(self, x, y, width, height):
        """A part of the screen, row by row, as texts such as "ff0000"."""
        raw = subprocess.run(
            ["import", "-silent", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}",
             "-depth", "8", "rgb:-"], env=self.environment, capture_output=True,
            timeout=PATIENCE).stdout
        colors = [raw[i:i + 3].hex() for i in range(0, len(raw), 3)]
        return [colors[row * width:(row + 1) * width] for row in range(height)]

    def pointer(self):
        """The picture of the pointer as it is shown now: its size, its hot spot and its first pixel
        as 0xAARRGGBB."""
        return read_pointer(self.environment["DISPLAY"])

    def install(self, name, script):
        """Puts a program for the shell in front of all others of that name."""
        path = os.path.join(self.home, "bin")
        os.makedirs(path, exist_ok=True)
        program = os.path.join(path, name)
        with open(program, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\n" + script)
        os.chmod(program, 0o755)
        self.environment["PATH"] = path + ":" + os.environ["PATH"]

    def expect_pixel(self, x, y, color):
        """Waits until a place of the screen has that colour."""
        last = []

        def matches():
            last[:] = self.pixels(x, y, 1, 1)[0]
            return last == [color]
        try:
            wait_for(matches, "")
        except AssertionError:
            raise AssertionError(f"{last} instead of {color} at {x}, {y}") from None


class Program:
    """A program that takes commands and prints lines."""

    def __init__(self, desktop, command):
        self.process = desktop.start(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     text=True)
        self.lines = queue.Queue()
        self.seen = []
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.put(line.rstrip("\n"))
        self.lines.put(None)

    def tell(self, command, answer=None):
        """Sends a command and waits for a line that begins with `answer`."""
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self.expect(answer) if answer else None

    def expect(self, pattern):
        """Waits for a line that matches from its beginning; gives that line. Others are passed."""
        end = time.monotonic() + PATIENCE
        while True:
            try:
                line = self.lines.get(timeout=max(0.01, end - time.monotonic()))
            except queue.Empty:
                line = None
            if line is None:
                raise AssertionError(f"no line {pattern!r}; the last were {self.seen[-12:]}")
            self.seen.append(line)
            if re.match(pattern, line):
                return line

    def drain(self):
        """The lines that are there by now."""
        time.sleep(0.3)
        lines = []
        with contextlib.suppress(queue.Empty):
            while True:
                lines.append(self.lines.get_nowait())
        self.seen += lines
        return lines

    def end(self):
        return self.process.wait(PATIENCE)


def run_tests(tests):
    """Runs functions in turn and ends the process with what came of them."""
    failed = 0
    for test in tests:
        name = test.__name__.replace("_", " ")
        try:
            test()
            print(f"passed: {name}", flush=True)
        except (AssertionError, subprocess.SubprocessError, OSError) as fault:
            failed += 1
            print(f"FAILED: {name}: {fault}", flush=True)
    sys.exit(1 if failed else 0)
