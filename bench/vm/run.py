#!/usr/bin/env python3
"""Measures the machine against other interpreters: whole processes, from start to exit, in seconds
of processor time, which other work on the machine disturbs least.

    run.py --player FILE --qmc FILE [--rounds N] [program ...]

Each round runs all programs of a subject in turn; the best time of each counts. A program counts
only when it printed what ours printed. The ratio says how many times as fast as the peer ours is.
Peers that are not installed are left out.
"""
import argparse
import math
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
PROGRAMS = HERE / "programs"
EIGHT = ["fib", "nbody", "spectral", "sieve", "wordcount", "closures", "methods", "trees"]
GUILE = ["fib", "sieve", "loop"]


def measure(command):
    """Seconds of the processor, the largest resident size in kilobytes, and the lines printed."""
    environment = dict(os.environ, QUILLMERE_PLATFORM="headless", GUILE_AUTO_COMPILE="0",
                       GUILE_JIT_THRESHOLD="-1")
    with tempfile.TemporaryFile() as out:
        process = subprocess.Popen(command, stdout=out, stderr=subprocess.DEVNULL, env=environment)
        _, status, usage = os.wait4(process.pid, 0)
        seconds = usage.ru_utime + usage.ru_stime
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"{' '.join(command)} failed with {process.returncode}")
        out.seek(0)
        return seconds, usage.ru_maxrss, out.read().decode().split("\n")


def compile_guile(source, work):
    """Guile's own bytecode, so that its compiler is not part of the time, as qmc is not of ours."""
    target = work / (source.stem + ".go")
    compile_it = f'(compile-file "{source}" #:output-file "{target}" #:optimization-level 2)'
    subprocess.run(["guile", "--no-auto-compile", "-c", f"(use-modules (system base compile)) {compile_it}"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return ["guile", "--no-auto-compile", "-c", f'(load-compiled "{target}")']


def commands(name, arguments, work):
    applet = work / f"{name}.qma"
    subprocess.run([arguments.qmc, "--no-link", "-o", applet, PROGRAMS / f"{name}.qms"], check=True)
    found = {"ours": [arguments.player, str(applet), "-QUIET", "-DEBUGDEVICE", "@stdout"]}
    if name in EIGHT and shutil.which("node"):
        found["node"] = ["node", "--jitless", "--no-expose-wasm", str(PROGRAMS / f"{name}.js")]
    if name in EIGHT and shutil.which("python3"):
        found["python"] = ["python3", str(PROGRAMS / f"{name}.py")]
    if name in GUILE and shutil.which("guile"):
        found["guile"] = compile_guile(PROGRAMS / f"{name}.scm", work)
    return found


def run(name, arguments, work):
    best = {}
    for _ in range(arguments.rounds):
        for peer, command in commands(name, arguments, work).items():
            seconds, kilobytes, lines = measure(command)
            if peer == "ours":
                expected = [line for line in lines if line]
            elif [line for line in lines if line] != expected:
                sys.exit(f"{name}: {peer} printed {lines}, ours {expected}")
            old = best.get(peer, (math.inf, math.inf))
            best[peer] = min(old[0], seconds), min(old[1], kilobytes)
    return best


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--player", required=True)
    parser.add_argument("--qmc", required=True)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("programs", nargs="*", default=EIGHT + ["loop"])
    arguments = parser.parse_args()
    ratios = {"node": [], "python": []}
    print(f"{'program':10} {'ours':>9} {'node':>15} {'python':>15} {'guile':>15}   memory")
    with tempfile.TemporaryDirectory() as directory:
        for name in arguments.programs:
            best = run(name, arguments, pathlib.Path(directory))
            ours, memory = best["ours"]
            line = f"{name:10} {ours * 1000:6.0f} ms"
            sizes = [f"ours {memory // 1024} MB"]
            for peer in ("node", "python", "guile"):
                if peer not in best:
                    line += " " * 16
                    continue
                ratio = best[peer][0] / ours
                line += f" {best[peer][0] * 1000:5.0f} ms {ratio:6.2f}"
                sizes.append(f"{peer} {best[peer][1] // 1024} MB")
                if peer in ratios:
                    ratios[peer].append(ratio)
            print(line + "   " + ", ".join(sizes), flush=True)
    for peer, values in ratios.items():
        if values:
            mean = math.exp(sum(map(math.log, values)) / len(values))
            print(f"{peer}: geometric mean {mean:.2f}, least {min(values):.2f}")


if __name__ == "__main__":
    main()
