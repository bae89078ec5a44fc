#!/usr/bin/env python3
"""What the windows of the platform do on a desktop: one program, told what to open."""

import os
import subprocess
import sys

from desktop import Desktop, Program, run_tests, wait_for

PROBE, DROP_SOURCE = sys.argv[1:3]


def with_probe(test):
    """A test that gets a desktop and the probe running on it."""
    def run():
        with Desktop() as desktop:
            probe = Program(desktop, [PROBE])
            probe.expect("ready")
            test(desktop, probe)
            probe.tell("quit")
            assert probe.end() == 0, "the probe has not ended well"
    run.__name__ = test.__name__
    return run


def numbers(line):
    return [int(word) for word in line.split() if word.lstrip("-").isdigit()]


@with_probe
def a_window_stands_where_it_was_put_with_its_frame(desktop, probe):
    probe.tell("open 1 100 120 200 150", "opened")
    window = desktop.window("Probe 1")
    probe.tell("fill 1 0 0 200 150 ff8000", "done")
    # The window manager frames and places the window in its own time.
    def settled():
        place, frame = probe.tell("geometry 1", "geometry").split("frame")
        left, top = numbers(frame)[:2]
        return numbers(place)[:4] == [100, 120, 200, 150] and top > 5 and (left, top)
    left, top = wait_for(settled, "the window at its place with a title bar")
    desktop.expect_pixel(100 + left, 120 + top, "ff8000")
    desktop.expect_pixel(100 + left + 199, 120 + top + 149, "ff8000")
    wait_for(lambda: desktop.pixels(100 + left - 1, 120 + top, 1, 1) != [["ff8000"]], "the frame")
    wait_for(lambda: "width: 200" in desktop.read(["xwininfo", "-id", window]).lower(),
             "the window's size")


@with_probe
def small_changes_arrive_pixel_by_pixel(desktop, probe):
    probe.tell("open 1 50 50 60 40 borderless", "opened")
    probe.tell("fill 1 0 0 60 40 00ff00", "done")
    probe.tell("dots 1", "done")
    desktop.expect_pixel(50 + 38, 50 + 18, "0000ff")
    rows = desktop.pixels(50, 50, 40, 20)
    for y, row in enumerate(rows):
        for x, color in enumerate(row):
            wanted = "0000ff" if x % 2 == 0 and y % 2 == 0 else "00ff00"
            assert color == wanted, (x, y, color)


@with_probe
def keys_arrive_as_the_layout_prints_them(desktop, probe):
    probe.tell("open 1 100 100 100 100", "opened")
    probe.expect("1 active")
    for key, code in [("a", ord("a")), ("shift+a", ord("A")), ("exclam", ord("!")),
                      ("Return", 0x112), ("space", 0x114), ("Escape", 0x113), ("F12", 0x117),
                      ("Left", 0x103), ("ctrl+c", 3), ("Prior", 0x11B), ("adiaeresis", 0xE4),
                      ("alt+x", ord("x"))]:
        desktop.xdotool("key", key)
        probe.expect(f"1 key .*pressed=1 .*key={code} ")
        probe.expect(f"1 key .*pressed=0 .*key={code} ")
    desktop.xdotool("key", "ctrl+a")
    assert not [line for line in probe.drain() if " key " in line]
    desktop.xdotool("keydown", "shift")
    desktop.xdotool("keydown", "b")
    assert "qualifiers=80010000" in probe.expect("1 key .*pressed=1 .*key=66 ")
    desktop.xdotool("keyup", "shift")
    desktop.xdotool("keyup", "b")
    probe.expect("1 key .*pressed=0 .*key=66 ")


@with_probe
def the_mouse_is_told_in_inner_pixels(desktop, probe):
    probe.tell("open 1 200 100 100 80", "opened")
    left, top = numbers(probe.tell("geometry 1", "geometry").split("frame")[1])[:2]
    desktop.xdotool("mousemove", 200 + left + 30, 100 + top + 40)
    probe.expect("1 mouse x=30 y=40")
    for number, button in [(1, 0), (3, 1), (2, 2)]:
        desktop.xdotool("click", number)
        probe.expect(f"1 button x=30 y=40 pressed=1 .*button={button}")
        probe.expect(f"1 button x=30 y=40 pressed=0 .*button={button}")
    desktop.xdotool("click", 4)
    probe.expect("1 wheel x=30 y=40 pressed=1")
    desktop.xdotool("click", 5)
    probe.expect("1 wheel x=30 y=40 pressed=0")
    probe.tell("warp 1 5 6", "done")
    wait_for(lambda: f"x:{200 + left + 5} y:{100 + top + 6}" in desktop.xdotool(
        "getmouselocation"), "the pointer to move")


@with_probe
def the_user_moves_resizes_and_closes(desktop, probe):
    probe.tell("open 1 100 100 100 100 sizeable", "opened")
    window = desktop.window("Probe 1")
    probe.drain()
    desktop.xdotool("windowsize", window, 150, 130)
    assert "user=1" in probe.expect("1 resized x=150 y=130")
    desktop.xdotool("windowmove", window, 300, 200)
    assert "user=1" in probe.expect("1 moved")
    probe.tell("movesize 1 20 30 90 80", "done")
    changes = [line for line in probe.drain() if "moved" in line or "resized" in line]
    assert changes and not [line for line in changes if "user=1" in line], changes
    assert numbers(probe.tell("geometry 1", "geometry"))[:4] == [20, 30, 90, 80]
    probe.tell("open 2 50 50 80 80", "opened")
    second = desktop.window("Probe 2")
    desktop.xdotool("windowactivate", "--sync", second)
    desktop.xdotool("key", "alt+F4")
    probe.expect("2 close")
    wait_for(lambda: not desktop.has_window("Probe 2"), "the window to go")


@with_probe
def one_window_is_active(desktop, probe):
    probe.tell("open 1 50 50 80 80", "opened")
    probe.expect("1 active")
    probe.tell("open 2 250 50 80 80", "opened")
    probe.expect("2 active")
    assert [line for line in probe.seen if line.startswith("1 inactive")], probe.seen
    desktop.xdotool("mousemove", 90, 110, "click", 1)
    probe.expect("1 active")
    probe.tell("open 3 450 50 80 80 inactive", "opened")
    activations = [line for line in probe.drain() if line.startswith("3 active")]
    assert not activations, activations


@with_probe
def hiding_by_the_program_is_no_message_and_by_the_user_one(desktop, probe):
    probe.tell("open 1 50 50 80 80", "opened")
    window = desktop.window("Probe 1")
    probe.drain()
    probe.tell("hide 1", "done")
    wait_for(lambda: not desktop.has_window("Probe 1"), "the window to hide")
    probe.tell("show 1", "done")
    desktop.window("Probe 1")
    assert not [line for line in probe.drain() if "iconify" in line or "restore" in line]
    desktop.xdotool("windowminimize", window)
    probe.expect("1 iconify")
    desktop.xdotool("windowmap", window)
    probe.expect("1 restore")


@with_probe
def a_covered_window_shows_its_picture_again(desktop, probe):
    probe.tell("open 1 50 50 100 100 borderless", "opened")
    probe.tell("fill 1 0 0 100 100 112233", "done")
    probe.tell("open 2 50 50 100 100 borderless", "opened")
    probe.tell("fill 2 0 0 100 100 445566", "done")
    desktop.expect_pixel(80, 80, "445566")
    probe.tell("close 2", "done")
    desktop.expect_pixel(80, 80, "112233")
    probe.tell("open 2 100 50 100 100 borderless", "opened")
    probe.tell("fill 2 0 0 100 100 445566", "done")
    desktop.expect_pixel(120, 80, "445566")
    probe.tell("back 2", "done")
    desktop.expect_pixel(120, 80, "112233")
    assert "445566 445566" in probe.tell("grab 160 60 2 1", "grabbed 2x1")


@with_probe
def a_shaped_window_lets_the_desktop_through(desktop, probe):
    probe.tell("open 1 100 100 100 100 borderless", "opened")
    probe.tell("fill 1 0 0 100 100 00aa00", "done")
    probe.tell("open 2 100 100 100 100 round", "opened")
    probe.tell("fill 2 0 0 100 100 aa0000", "done")
    desktop.expect_pixel(150, 150, "aa0000")
    desktop.expect_pixel(102, 102, "00aa00")


@with_probe
def a_borderless_window_is_dragged_by_its_region(desktop, probe):
    probe.tell("open 1 100 100 100 100 borderless", "opened")
    probe.tell("regions 1", "done")
    desktop.xdotool("mousemove", 130, 105)
    desktop.xdotool("mousedown", 1)
    for step in range(1, 11):
        desktop.xdotool("mousemove", 130 + step * 5, 105 + step * 4)
    desktop.xdotool("mouseup", 1)
    probe.expect("1 moved x=150 y=140 .*user=1")


@with_probe
def a_full_screen_holds_all_windows(desktop, probe):
    assert "1349" in probe.tell("screen 123 45", "failed")
    probe.tell("screen 800 600", "screen open")
    probe.tell("open 1 100 100 200 100 borderless", "opened")
    probe.tell("fill 1 0 0 200 100 ff00ff", "done")
    desktop.expect_pixel(100, 100, "ff00ff")
    desktop.expect_pixel(99, 99, "000000")
    desktop.expect_pixel(799, 599, "000000")
    desktop.xdotool("mousemove", 150, 130, "click", 1)
    probe.expect("1 button x=50 y=30 pressed=1")
    desktop.xdotool("key", "q")
    probe.expect(f"1 key .*key={ord('q')} ")
    probe.tell("close 1", "done")
    probe.tell("desktop", "desktop")
    probe.tell("open 1 100 100 50 50", "opened")
    desktop.window("Probe 1")


@with_probe
def pulses_titles_pointers_and_the_clipboard(desktop, probe):
    probe.tell("open 1 100 100 100 100", "opened")
    probe.tell("pulse 20")
    probe.expect("pulse")
    probe.tell("title 1 Another", "done")
    desktop.window("Another")
    probe.tell("pointer 1", "pointer set")
    probe.tell("copy hello", "copied")
    probe.tell("paste", "clipboard hello")
    assert probe.tell("joysticks", "0") == "0"


@with_probe
def an_interrupt_is_the_break(desktop, probe):
    probe.process.send_signal(2)
    probe.expect("break")


@with_probe
def a_requester_runs_while_the_windows_live(desktop, probe):
    probe.tell("open 1 400 300 100 100", "opened")
    probe.tell("ask Yes Maybe No")
    desktop.window("Question")
    probe.tell("fill 1 0 0 100 100 0000ff", "done")
    desktop.xdotool("windowactivate", "--sync", desktop.window("Question"))
    desktop.xdotool("key", "Return")
    probe.expect("answer given 1")
    probe.tell("ask Yes No")
    desktop.xdotool("windowactivate", "--sync", desktop.window("Question"))
    desktop.xdotool("key", "Escape")
    probe.expect("answer cancelled 0")
    probe.tell("ask Yes No")
    desktop.window("Question")


@with_probe
def pointers_have_their_picture_and_hot_spot(desktop, probe):
    probe.tell("open 1 100 100 100 100", "opened")
    desktop.xdotool("mousemove", 150, 160)
    probe.expect("1 mouse")
    usual = desktop.pointer()
    probe.tell("pointer 1", "pointer set")
    wait_for(lambda: desktop.pointer() == (16, 16, 3, 5, 0xFF00FF00), "the pointer's picture")
    probe.tell("showpointer 1 0", "done")
    wait_for(lambda: desktop.pointer()[4] == 0, "the pointer to hide")
    hidden = desktop.pointer()
    desktop.xdotool("mousemove", 500, 500)
    wait_for(lambda: desktop.pointer() != hidden, "the pointer outside of the window")
    desktop.xdotool("mousemove", 150, 160)
    wait_for(lambda: desktop.pointer() == hidden, "the pointer to hide again")
    probe.tell("showpointer 1 1", "done")
    wait_for(lambda: desktop.pointer() == (16, 16, 3, 5, 0xFF00FF00), "the pointer to come back")
    assert usual != desktop.pointer() != hidden != usual


@with_probe
def files_are_dropped_only_where_they_may(desktop, probe):
    probe.tell("open 1 100 100 100 100", "opened")
    window = desktop.window("Probe 1")
    left, top = numbers(probe.tell("geometry 1", "geometry").split("frame")[1])[:2]

    def drop(*files):
        place = (100 + left + 20, 100 + top + 30)
        desktop.xdotool("mousemove", *place)
        return subprocess.run([DROP_SOURCE, window, *map(str, place), *files],
                              env=desktop.environment, timeout=20).returncode

    drop("/tmp/one")
    assert not [line for line in probe.drain() if " drop " in line], "there is no drop zone"
    probe.tell("dropzone 1 1", "done")
    assert drop("/tmp/one", "/tmp/two%20words") == 0
    assert probe.expect("1 drop x=20 y=30 ").endswith(" /tmp/one /tmp/two words")


@with_probe
def programs_share_the_clipboard(desktop, probe):
    probe.tell("open 1 100 100 100 100", "opened")
    probe.tell("watch", "watching")
    other = Program(desktop, [PROBE])
    other.tell("open 2 300 100 100 100", "opened")
    other.tell("copy gr\u00fc\u00dfe", "copied")
    probe.expect("clipboard changed")
    assert probe.tell("paste", "clipboard").encode("utf-8", "surrogateescape").endswith(
        b"gr\xc3\xbc\xc3\x9fe")
    other.tell("quit")
    assert other.end() == 0


@with_probe
def what_a_window_forbids_the_user_cannot_do(desktop, probe):
    probe.tell("open 1 100 100 100 100 noclose nohide", "opened")
    window = desktop.window("Probe 1")
    desktop.xdotool("windowactivate", "--sync", window)
    probe.drain()
    desktop.xdotool("key", "alt+F4")
    assert not [line for line in probe.drain() if "close" in line]
    assert desktop.has_window("Probe 1")


@with_probe
def the_screen_is_grabbed_as_far_as_it_goes(desktop, probe):
    probe.tell("open 1 798 0 2 2 borderless", "opened")
    probe.tell("fill 1 0 0 2 2 abcdef", "done")
    desktop.expect_pixel(799, 0, "abcdef")
    assert probe.tell("grab 799 0 50 1", "grabbed") == "grabbed 1x1 abcdef"
    assert probe.tell("grab -3 -3 4 4", "grabbed").startswith("grabbed 1x1 ")
    probe.tell("grab 800 0 5 5", "no picture")


@with_probe
def pixels_arrive_by_either_way_of_writing(desktop, probe):
    probe.tell("pixels 1", "done")
    probe.tell("open 1 50 50 60 40 borderless", "opened")
    probe.tell("fill 1 0 0 60 40 00ff00", "done")
    probe.tell("fill 1 5 5 1 1 ff0000", "done")
    desktop.expect_pixel(55, 55, "ff0000")
    desktop.expect_pixel(109, 89, "00ff00")
    probe.tell("pixels 0", "done")
    probe.tell("open 2 150 50 60 40 borderless", "opened")
    probe.tell("fill 2 0 0 60 40 0000ff", "done")
    desktop.expect_pixel(209, 89, "0000ff")


def requesters_are_shown_by_zenity():
    with Desktop() as desktop:
        log = os.path.join(desktop.home, "arguments")
        desktop.install("zenity", f"""printf '%s\\n' "$@" > {log}.new
mv {log}.new {log}
case "$*" in
  *--entry*) echo 'some text' ;;
  *--file-selection*) printf '/tmp/a b.png\\n/tmp/c.jpg\\n' ;;
  *) echo Maybe; exit 1 ;;
esac
""")
        probe = Program(desktop, [PROBE])
        probe.tell("ask Yes Maybe No")
        probe.expect("answer given 2")
        probe.tell("asktext before")
        probe.expect("answer given 0 some text")
        probe.tell("askfile /tmp")
        probe.expect("answer given 0  /tmp/a b.png /tmp/c.jpg")
        with open(log, encoding="utf-8") as file:
            words = file.read().splitlines()
        assert {"--multiple", "--title", "Question", "/tmp/"} <= set(words), words
        assert "#?(.png|.jpg) | *.png *.PNG *.jpg *.JPG" in words, words
        probe.tell("quit")
        assert probe.end() == 0


def without_a_screen_the_start_fails_with_its_name():
    with Desktop() as desktop:
        desktop.environment["DISPLAY"] = ":99999"
        probe = Program(desktop, [PROBE])
        probe.expect("failed 1025 intuition.library")
        assert probe.end() == 1


TESTS = [
    a_window_stands_where_it_was_put_with_its_frame,
    small_changes_arrive_pixel_by_pixel,
    keys_arrive_as_the_layout_prints_them,
    the_mouse_is_told_in_inner_pixels,
    the_user_moves_resizes_and_closes,
    one_window_is_active,
    hiding_by_the_program_is_no_message_and_by_the_user_one,
    a_covered_window_shows_its_picture_again,
    a_shaped_window_lets_the_desktop_through,
    a_borderless_window_is_dragged_by_its_region,
    a_full_screen_holds_all_windows,
    pulses_titles_pointers_and_the_clipboard,
    an_interrupt_is_the_break,
    a_requester_runs_while_the_windows_live,
    pointers_have_their_picture_and_hot_spot,
    files_are_dropped_only_where_they_may,
    programs_share_the_clipboard,
    what_a_window_forbids_the_user_cannot_do,
    the_screen_is_grabbed_as_far_as_it_goes,
    pixels_arrive_by_either_way_of_writing,
    requesters_are_shown_by_zenity,
    without_a_screen_the_start_fails_with_its_name,
]
run_tests([test for test in TESTS if not sys.argv[3:] or test.__name__ in sys.argv[3:]])
