#!/usr/bin/env python3
"""Measures how long the player takes for a small applet, from the start of its process to the exit,
against `python3 -c pass`.

    run.py --player FILE --qmc FILE [--rounds N]

Both run in turn, with next to nothing in their environment, so that no user's own start-up files
count. The ratio says how many times as fast as the peer ours is.
"""
import argparse
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

SCRIPT = 'DebugPrint("ready")\n'
ENVIRONMENT = {"PATH": "/usr/bin:/bin", "QUILLMERE_PLATFORM": "headless"}


def measure(command, expected):
    """Milliseconds of the processor, and milliseconds that went by."""
    with tempfile.TemporaryFile() as out:
        start = time.perf_counter()
        process = subprocess.Popen(command, stdout=out, stderr=subprocess.DEVNULL, env=ENVIRONMENT)
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.perf_counter() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        out.seek(0)
        if process.returncode != 0 or out.read() != expected:
            sys.exit(f"{' '.join(command)} failed with {process.returncode}")
    return (usage.ru_utime + usage.ru_stime) * 1000, wall * 1000


def resident(command):
    """The most megabytes that a process had resident when it has said that it is ready. What the
    system tells of ended processes would count those of this one before the new program began."""
    environment = ENVIRONMENT | {"QUILLMERE_CLOCK": "real"}
    with subprocess.Popen(command, stdout=subprocess.PIPE, stdin=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, env=environment) as process:
        process.stdout.readline()
        status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
        process.kill()
    return int(re.search(r"VmHWM:\s*(\d+) kB", status)[1]) / 1024


def compile_applet(qmc, directory, name, script):
    source = pathlib.Path(directory, name + ".qms")
    source.write_text(script)
    applet = source.with_suffix(".qma")
    subprocess.run([qmc, source, "-o", applet], check=True)
    return str(applet)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--player", required=True, type=pathlib.Path)
    parser.add_argument("--qmc", required=True, type=pathlib.Path)
    parser.add_argument("--rounds", type=int, default=60)
    arguments = parser.parse_args()
    python = shutil.which("python3", path="/usr/bin:/bin") or shutil.which("python3")
    with tempfile.TemporaryDirectory() as directory:
        play = [str(arguments.player), "-QUIET", "-DEBUGDEVICE", "@stdout"]
        ours = play + [compile_applet(arguments.qmc, directory, "small", SCRIPT)]
        peer = [python, "-c", "pass"]
        pairs = [(measure(ours, b"ready\n"), measure(peer, b"")) for _ in range(arguments.rounds)]
        waiting = compile_applet(arguments.qmc, directory, "waiting", SCRIPT + "WaitEvent\n")
        sizes = (resident(play + [waiting]),
                 resident([python, "-uc", "print('ready'); input()"]))
    print(f"{'':24} {'ours':>10} {'python3':>10} {'ratio':>7}")
    for column, name in ((0, "processor"), (1, "wall")):
        for word, pick in (("best", min), ("median", statistics.median)):
            a, b = (pick([pair[who][column] for pair in pairs]) for who in (0, 1))
            print(f"{name + ', ' + word:24} {a:7.2f} ms {b:7.2f} ms {b / a:7.2f}")
    print(f"{'memory':24} {sizes[0]:7.1f} MB {sizes[1]:7.1f} MB {sizes[1] / sizes[0]:7.2f}")


if __name__ == "__main__":
    main()
