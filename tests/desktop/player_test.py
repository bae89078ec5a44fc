#!/usr/bin/env python3
"""The player in a real window: somebody plays the demo of the kites."""

import os
import pty
import re
import subprocess
import sys
import time

from desktop import Desktop, Program, run_tests, wait_for

PLAYER, QMC, DEMOS = sys.argv[1:4]


def with_demo(test):
    """A test that gets a desktop with the demo running on it, and its window."""
    def run():
        with Desktop(1280, 800) as desktop:
            applet = os.path.join(desktop.home, "hello.qma")
            subprocess.run([QMC, os.path.join(DEMOS, "hello.qms"), "-o", applet], check=True)
            player = Program(desktop, [PLAYER, applet, "-DEBUGDEVICE", "@stdout"])
            window = desktop.window("Kites over the dunes")
            desktop.xdotool("windowactivate", "--sync", window)
            wait_until_it_moves(desktop, window)
            test(desktop, player, window)
            assert player.end() == 0, "the player has not ended well"
    run.__name__ = test.__name__
    return run


def corner(desktop, window):
    place = re.search(r"Position: (\d+),(\d+)", desktop.xdotool("getwindowgeometry", window))
    return int(place[1]), int(place[2])


def wait_until_it_moves(desktop, window):
    """Then the show has its handlers."""
    x, y = corner(desktop, window)
    first = desktop.pixels(x + 100, y + 60, 200, 200)
    wait_for(lambda: desktop.pixels(x + 100, y + 60, 200, 200) != first, "the show to move")


def landing(player):
    line = player.expect("The red kite landed at")
    return [int(number) for number in re.findall(r"\d+", line)]


@with_demo
def keys_and_mouse_steer_and_escape_ends(desktop, player, window):
    for key in ("Right", "Down", "Left"):
        desktop.xdotool("key", "--window", window, key)
    desktop.xdotool("mousemove", "--window", window, 600, 300, "click", 1)
    x, y = corner(desktop, window)

    def kite_has_come():
        red, _, blue = bytes.fromhex(desktop.pixels(x + 590, y + 280, 1, 1)[0][0])
        return red > blue + 60
    wait_for(kite_has_come, "the red kite under the pointer")
    picture = desktop.pixels(x, y, 960, 600)
    assert len({color for row in picture for color in row}) > 5000, "there is no photograph"
    desktop.xdotool("key", "--window", window, "Escape")
    kite_x, kite_y, keys, clicks = landing(player)
    assert (keys, clicks) == (4, 1)
    assert 500 <= kite_x <= 530 and 170 <= kite_y <= 200, (kite_x, kite_y)


@with_demo
def the_close_gadget_ends_the_show(desktop, player, window):
    # The window manager may miss the keys while it is still giving the window its focus.
    def gone():
        desktop.xdotool("key", "alt+F4")
        time.sleep(0.3)
        return not desktop.has_window("Kites over the dunes")
    wait_for(gone, "the window to close")
    assert landing(player) == [180, 140, 0, 0]


def a_terminal_asks_where_there_is_no_zenity():
    with Desktop() as desktop:
        source = os.path.join(desktop.home, "ask.qms")
        with open(source, "w", encoding="utf-8") as file:
            file.write('text, ok = StringRequest("Name", "Who is it?", "nobody")\n'
                       'DebugPrint("text", text)\n'
                       'DebugPrint("file", FileRequest("Open", "png"))\n')
        applet = source.replace(".qms", ".qma")
        subprocess.run([QMC, source, "-o", applet], check=True)
        desktop.environment["PATH"] = desktop.home
        master, terminal = pty.openpty()
        player = desktop.start([PLAYER, applet, "-QUIET", "-DEBUGDEVICE", "@stdout"],
                               stdin=terminal, stdout=subprocess.PIPE, stderr=terminal)
        prompt = b""
        while not prompt.endswith(b"Who is it? [nobody]: "):
            prompt += os.read(master, 1024)
        os.write(master, b"Ada\n")
        assert player.stdout.readline().split() == [b"text", b"Ada"]
        os.write(master, b"/tmp/x.png\n")
        assert player.stdout.readline().split() == [b"file", b"/tmp/x.png"]
        assert player.wait(20) == 0
        os.close(master)
        os.close(terminal)


run_tests([a_terminal_asks_where_there_is_no_zenity, keys_and_mouse_steer_and_escape_ends, the_close_gadget_ends_the_show])
