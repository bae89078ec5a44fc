#!/usr/bin/env python3
"""Measures how often a script can look at its events: whole runs without a screen, in seconds of
processor time, which other work on the machine disturbs least. A short run is taken off, so that
the start does not count.

    run.py --player FILE --qmc FILE [--rounds N]
"""
import argparse
import os
import pathlib
import subprocess
import tempfile

TURNS = 2_000_000
LOOPS = {
    "CheckEvent": ("", "CheckEvent()", 1_000_000),
    "CheckEvent, handlers and 50 timers":
        ("InstallEventHandler({OnKeyDown = Function() EndFunction})\n"
         "For i = 1 To 50 : SetInterval(i, Function() EndFunction, 1000000) : Next\n",
         "CheckEvent()", None),
    "IsKeyDown": ("", 'IsKeyDown("SPACE")', None),
    "MouseX": ("", "MouseX()", None),
}


def seconds(player, applet):
    """Seconds of the processor that one run takes."""
    environment = dict(os.environ, QUILLMERE_PLATFORM="headless", QUILLMERE_CLOCK="real")
    process = subprocess.Popen([player, applet, "-QUIET"], env=environment)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    assert process.returncode == 0, f"the run ended with {process.returncode}"
    return usage.ru_utime + usage.ru_stime


def compiled(qmc, folder, begin, body, turns):
    script = pathlib.Path(folder, f"loop{turns}.qms")
    script.write_text(f"{begin}For turn = 1 To {turns}\n  {body}\nNext\n")
    applet = script.with_suffix(".qma")
    subprocess.run([qmc, script, "-o", applet], check=True)
    return applet


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--player", required=True)
    parser.add_argument("--qmc", required=True)
    parser.add_argument("--rounds", type=int, default=3)
    options = parser.parse_args()
    for name, (begin, body, goal) in LOOPS.items():
        with tempfile.TemporaryDirectory() as folder:
            runs = [compiled(options.qmc, folder, begin, body, turns) for turns in (TURNS, 1)]
            times = [min(seconds(options.player, applet) for _ in range(options.rounds))
                     for applet in runs]
        rate = TURNS / max(times[0] - times[1], 1e-6)
        verdict = "" if goal is None else f"goal {goal:,}{'' if rate >= goal else ' MISSED'}"
        print(f"{name:36} {rate:12,.0f} turns a second   {verdict}", flush=True)


main()
