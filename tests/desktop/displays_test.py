#!/usr/bin/env python3
"""Displays of applets in real windows, as their users handle them."""

import os
import re
import subprocess
import sys

from desktop import Desktop, Program, run_tests, wait_for

PLAYER, QMC = sys.argv[1:3]

RED, GREEN, BLUE, BLACK = "ff0000", "008000", "0000ff", "000000"

# Prints what reaches each handler that the script has installed.
REPORT = """
Function p_Report(msg)
  Local text = msg.action
  Switch msg.action
  Case "OnKeyDown", "OnKeyUp"
    text = text .. " " .. msg.key
  Case "OnMouseDown", "OnMouseUp"
    text = text .. " " .. MouseX() .. "," .. MouseY()
  Case "MoveWindow"
    text = text .. " " .. msg.x .. "," .. msg.y
  Case "SizeWindow"
    text = text .. " " .. msg.width .. "x" .. msg.height
  Case "ModeSwitch"
    text = text .. " " .. msg.mode
  EndSwitch
  DebugPrint(text)
  If msg.action = "CloseWindow" Then End()
EndFunction
Function p_Listen()
  InstallEventHandler({OnKeyDown = p_Report, OnKeyUp = p_Report, OnMouseDown = p_Report,
    OnMouseUp = p_Report, OnWheelUp = p_Report, OnWheelDown = p_Report, MoveWindow = p_Report,
    SizeWindow = p_Report, HideWindow = p_Report, ShowWindow = p_Report, ModeSwitch = p_Report,
    ActiveWindow = p_Report, InactiveWindow = p_Report, CloseWindow = p_Report})
EndFunction
"""
LISTEN = """
p_Listen()
DebugPrint("ready")
Repeat
  WaitEvent()
Forever
"""


def with_applet(script, *switches):
    """A test that gets a desktop with that script running on it; in the script HOME stands for a
    directory of its own."""
    def decorate(test):
        def run():
            with Desktop() as desktop:
                source = os.path.join(desktop.home, "applet.qms")
                with open(source, "w", encoding="latin-1") as file:
                    file.write(script.replace("HOME", desktop.home))
                applet = os.path.join(desktop.home, "applet.qma")
                subprocess.run([QMC, source, "-o", applet], check=True)
                player = Program(desktop,
                                 [PLAYER, applet, "-DEBUGDEVICE", "@stdout", "-QUIET", *switches])
                player.expect("ready")
                test(desktop, player)
        run.__name__ = test.__name__
        return run
    return decorate


def inner_corner(desktop, window):
    """Where the inner area of a window begins on the screen."""
    place = desktop.read(["xwininfo", "-id", window])
    return [int(number) for number in re.findall(r"Absolute upper-left [XY]: +(-?\d+)", place)]


def drag(desktop, start, way):
    """Presses the left button, moves in steps and lets go."""
    desktop.xdotool("mousemove", *start)
    desktop.xdotool("mousedown", 1)
    for step in range(1, 11):
        desktop.xdotool("mousemove", start[0] + way[0] * step // 10, start[1] + way[1] * step // 10)
    desktop.xdotool("mouseup", 1)


@with_applet("""
@DISPLAY {Title = "Plain", Width = 300, Height = 200, X = 100, Y = 80, Color = #RED}
CreateBrush(1, 50, 40, #BLUE)
DisplayBrush(1, 10, 20)
""" + REPORT + LISTEN)
def a_window_shows_types_clicks_and_closes(desktop, player):
    window = desktop.window("Plain")
    desktop.xdotool("windowactivate", "--sync", window)
    x, y = inner_corner(desktop, window)
    desktop.expect_pixel(x, y, RED)
    picture = desktop.pixels(x, y, 300, 200)
    for row, colors in enumerate(picture):
        for column, color in enumerate(colors):
            inside = 10 <= column < 60 and 20 <= row < 60
            assert color == (BLUE if inside else RED), (column, row, color)
    desktop.xdotool("key", "k")
    player.expect("OnKeyDown k")
    player.expect("OnKeyUp k")
    desktop.xdotool("mousemove", x + 120, y + 90, "click", 1)
    player.expect("OnMouseDown 120,90")
    player.expect("OnMouseUp 120,90")
    desktop.xdotool("click", 4, "click", 5)
    player.expect("OnWheelUp")
    player.expect("OnWheelDown")
    desktop.xdotool("windowmove", window, 20, 30)
    player.expect("MoveWindow")
    desktop.xdotool("key", "alt+F4")
    player.expect("CloseWindow")
    assert player.end() == 0


@with_applet("""
@DISPLAY {Title = "Hide", Width = 300, Height = 200, X = 100, Y = 80, Color = #RED}
""" + REPORT + LISTEN)
def a_window_hides_and_comes_back_with_its_picture(desktop, player):
    window = desktop.window("Hide")
    x, y = inner_corner(desktop, window)
    desktop.expect_pixel(x + 150, y + 100, RED)
    desktop.xdotool("windowminimize", window)
    player.expect("HideWindow")
    desktop.expect_pixel(x + 150, y + 100, BLACK)
    desktop.xdotool("windowmap", window)
    player.expect("ShowWindow")
    desktop.expect_pixel(x + 150, y + 100, RED)
    desktop.xdotool("windowactivate", "--sync", window)
    desktop.xdotool("key", "super+h")
    player.expect("HideWindow")
    wait_for(lambda: not desktop.has_window("Hide"), "the window to hide")


@with_applet("""
@DISPLAY {Title = "Icon", Width = 100, Height = 100}
CreateBrush(1, 20, 16, #BLUE)
SaveBrush(1, "HOME/icon.bmp")
SetWBIcon("HOME/icon.bmp")
DebugPrint("ready")
WaitEvent()
""")
def a_window_has_the_icon_of_the_script(desktop, player):
    window = desktop.window("Icon")
    wait_for(lambda: "Icon (20 x 16)" in desktop.read(["xprop", "-id", window, "_NET_WM_ICON"]),
             "the icon")


@with_applet("""
@DISPLAY {Title = "Plain size", Width = 200, Height = 100, X = 100, Y = 80, Color = #RED,
  Sizeable = True}
""" + REPORT + LISTEN)
def a_resized_picture_fills_its_window(desktop, player):
    window = desktop.window("Plain size")
    x, y = inner_corner(desktop, window)
    desktop.xdotool("windowsize", window, 321, 223)
    player.expect("SizeWindow 321x223")
    desktop.expect_pixel(x + 320, y + 222, RED)
    assert desktop.pixels(x + 321, y + 222, 1, 1) != [[RED]]


@with_applet("""
@DISPLAY {Title = "Scaled", Width = 200, Height = 100, X = 100, Y = 80, Color = #RED,
  Sizeable = True, ScaleMode = #SCALEMODE_AUTO, KeepProportions = True}
CreateBrush(1, 100, 50, #BLUE)
DisplayBrush(1, #RIGHT, #BOTTOM)
""" + REPORT + LISTEN)
def a_scaled_picture_keeps_its_proportions(desktop, player):
    window = desktop.window("Scaled")
    desktop.xdotool("windowactivate", "--sync", window)
    desktop.xdotool("windowsize", window, 400, 300)
    x, y = inner_corner(desktop, window)
    desktop.expect_pixel(x + 399, y + 249, BLUE)
    picture = desktop.pixels(x, y, 400, 300)
    for row, colors in enumerate(picture):
        for column, color in enumerate(colors):
            if column == 200 or row == 150:
                continue  # the edges of the brush fall between two pixels
            wanted = BLACK if not 50 <= row < 250 else \
                BLUE if column > 200 and row > 150 else RED
            assert color == wanted, (column, row, color)
    desktop.xdotool("mousemove", x + 300, y + 200, "click", 1)
    player.expect("OnMouseDown 150,75")
    assert not [line for line in player.drain() if line.startswith("SizeWindow")]


@with_applet("""
@DISPLAY {Title = "Bare", Width = 200, Height = 150, X = 100, Y = 100, Color = #RED,
  Borderless = True, Sizeable = True, DragRegion = {{X = 50, Y = 50, Width = 100, Height = 30}}}
""" + REPORT + LISTEN)
def a_borderless_window_is_dragged_and_resized_by_its_regions(desktop, player):
    window = desktop.window("Bare")
    desktop.expect_pixel(100, 100, RED)
    drag(desktop, (160, 160), (80, 40))
    player.expect("MoveWindow 180,140")
    desktop.expect_pixel(180, 140, RED)
    desktop.expect_pixel(170, 135, BLACK)
    drag(desktop, (180 + 20, 140 + 10), (50, 50))
    assert inner_corner(desktop, window) == [180, 140], "it was dragged beside its region"
    drag(desktop, (180 + 195, 140 + 145), (60, 30))
    player.expect("SizeWindow 260x180")
    desktop.expect_pixel(180 + 259, 140 + 179, RED)


@with_applet("""
@DISPLAY {Title = "Mode", Width = 200, Height = 100, X = 100, Y = 80, Color = #RED}
""" + REPORT + LISTEN)
def a_key_switches_to_a_full_screen_and_back(desktop, player):
    window = desktop.window("Mode")
    desktop.xdotool("windowactivate", "--sync", window)
    desktop.xdotool("key", "super+Return")
    player.expect("ModeSwitch 2")
    desktop.expect_pixel(300, 250, RED)
    desktop.expect_pixel(499, 349, RED)
    picture = desktop.pixels(0, 0, 800, 600)
    assert sum(row.count(RED) for row in picture) == 200 * 100
    assert {color for row in picture for color in row} == {RED, BLACK}
    desktop.xdotool("mousemove", 310, 255, "click", 1)
    player.expect("OnMouseDown 10,5")
    desktop.xdotool("key", "super+Return")
    player.expect("ModeSwitch 1")
    x, y = inner_corner(desktop, desktop.window("Mode"))
    desktop.expect_pixel(x, y, RED)
    desktop.xdotool("windowactivate", "--sync", desktop.window("Mode"))
    desktop.xdotool("key", "b")
    player.expect("OnKeyDown b")


@with_applet("""
@DISPLAY {Title = "Full", Width = 200, Height = 100, Color = #RED}
""" + REPORT + LISTEN, "-FULLSCREEN", "-BACKFILL", "COLOR", "-STARTCOLOR", "0x0000ff")
def an_applet_starts_on_a_full_screen(desktop, player):
    desktop.expect_pixel(400, 300, RED)
    picture = desktop.pixels(0, 0, 800, 600)
    assert sum(row.count(RED) for row in picture) == 200 * 100
    assert {color for row in picture for color in row} == {RED, BLUE}
    desktop.xdotool("key", "z")
    player.expect("OnKeyDown z")


@with_applet("""
@DISPLAY {Title = "Fake", Width = 200, Height = 100, Color = #RED}
""" + REPORT + LISTEN, "-FAKEFULLSCREEN", "-BACKFILL", "COLOR", "-STARTCOLOR", "0x0000ff")
def a_backdrop_covers_the_desktop_and_passes_clicks_on(desktop, player):
    desktop.expect_pixel(400, 300, RED)
    desktop.expect_pixel(5, 5, BLUE)
    desktop.xdotool("mousemove", 20, 20, "click", 1)
    desktop.xdotool("key", "z")
    player.expect("OnKeyDown z")
    desktop.expect_pixel(400, 300, RED)


@with_applet("""
@DISPLAY {Title = "First", Width = 150, Height = 100, X = 50, Y = 60, Color = #RED}
CreateDisplay(2, {Title = "Second", Width = 120, Height = 90, X = 400, Y = 300, Color = #GREEN})
""" + REPORT + """
p_Listen()
OpenDisplay(2)
""" + LISTEN)
def two_displays_live_side_by_side(desktop, player):
    first, second = desktop.window("First"), desktop.window("Second")
    x, y = inner_corner(desktop, second)
    desktop.expect_pixel(x + 119, y + 89, GREEN)
    desktop.xdotool("windowactivate", "--sync", first)
    player.expect("InactiveWindow")
    player.expect("ActiveWindow")
    desktop.xdotool("key", "1")
    player.expect("OnKeyDown 1")
    desktop.xdotool("windowactivate", "--sync", second)
    desktop.xdotool("key", "2")
    player.expect("OnKeyDown 2")
    desktop.xdotool("key", "alt+F4")
    player.expect("CloseWindow")
    assert player.end() == 0


@with_applet("""
@DISPLAY {Title = "Ring", Width = 100, Height = 100, X = 100, Y = 100}
CreateBrush(1, 100, 100, #GREEN, {Mask = True})
SelectMask(1)
SetMaskMode(#MASKINVISIBLE)
CreateBrush(2, 40, 40)
DisplayBrush(2, 30, 30)
EndSelect()
BrushToBGPic(1, 1)
SetDisplayAttributes({BGPic = 1, Borderless = True})
""" + REPORT + LISTEN)
def a_shaped_display_has_a_hole(desktop, player):
    del player
    x, y = inner_corner(desktop, desktop.window("Ring"))
    desktop.expect_pixel(x + 5, y + 5, GREEN)
    desktop.expect_pixel(x + 50, y + 50, BLACK)
    desktop.expect_pixel(x + 71, y + 50, GREEN)


@with_applet("""
@DISPLAY {Title = "Busy", Width = 200, Height = 100, X = 100, Y = 80, Color = #RED}
CreateBrush(1, 200, 100, #BLUE)
Local turns = 0
DebugPrint("ready")
Repeat
  turns = turns + 1
  If turns = 100 Then DisplayBrush(1, 0, 0)
  Local sum = 0
  For i = 1 To 1000 : sum = sum + i : Next
Forever
""")
def a_script_that_never_waits_is_seen_and_can_be_closed(desktop, player):
    window = desktop.window("Busy")
    x, y = inner_corner(desktop, window)
    desktop.expect_pixel(x + 100, y + 50, BLUE)
    desktop.xdotool("windowactivate", "--sync", window)
    desktop.xdotool("key", "alt+F4")
    assert player.end() == 0


TESTS = [
    a_window_shows_types_clicks_and_closes,
    a_window_hides_and_comes_back_with_its_picture,
    a_window_has_the_icon_of_the_script,
    a_resized_picture_fills_its_window,
    a_scaled_picture_keeps_its_proportions,
    a_borderless_window_is_dragged_and_resized_by_its_regions,
    a_key_switches_to_a_full_screen_and_back,
    an_applet_starts_on_a_full_screen,
    a_backdrop_covers_the_desktop_and_passes_clicks_on,
    two_displays_live_side_by_side,
    a_shaped_display_has_a_hole,
    a_script_that_never_waits_is_seen_and_can_be_closed,
]
run_tests([test for test in TESTS if not sys.argv[3:] or test.__name__ in sys.argv[3:]])
