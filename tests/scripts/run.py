#!/usr/bin/env python3
"""Runs test scripts: compiles each, plays it without a screen, and compares what it did with what
its own comments say.

    run.py [--player FILE] [--qmc FILE] [-j N] [--work DIR] [folder, script or document ...]

A script says what it expects in comments. Printed lines are expected in the order in which they
stand in the file:

    ; expect: TEXT             a line that is printed, as it stands
    ; expect match: REGEX      a line that matches as a whole
    ; expect error: TEXT       the script ends here, on this line, with this message
    ; expect compile error: N  the compiler finds fault N on this line; nothing is run
    ; expect request: TEXT     a requester, as the platform without a screen tells it
    ; expect file: NAME = TEXT a file that the script has written; \\n and \\\\ stand for themselves

and how it wants to be run:

    ; input: LINE              a line for the input script (or a file of the same name with .input)
    ; args: ARGUMENTS          further arguments of the player
    ; qmc: OPTIONS             further options of the compiler
    ; env: NAME=VALUE          a variable of the environment
    ; needs: FILE ...          files from beside the script, or from media/, for its directory
    ; picture: MADE = GOLDEN [within N]
                               a picture that the run makes equals one beside the script, each
                               channel of each pixel within N
    ; only: compile            the script is not run
    ; timeout: SECONDS         instead of 60
    ; known failure: REASON    the test has to fail, until somebody mends it

Of a document (.md) each block of code marked `qms` is such a script; one marked `qms compile` is
compiled without its files and not run.

Each test runs in an empty directory of its own. A failure prints the difference and the command
that runs the test alone; pictures that differ stay in the work directory.
"""
import argparse
import concurrent.futures
import dataclasses
import difflib
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

import pictures

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
DIRECTIVE = re.compile(
    r";\s*(expect(?: match| error| compile error| request| file)?|input|args|qmc|env|needs|picture|"
    r"only|timeout|known failure):[ ]?(.*)$"
)
PICTURE = re.compile(r"(\S+)\s*=\s*(\S+)(?:\s+within\s+(\d+))?$")


class Failure(Exception):
    """A test did not do what it says; the text tells what it did."""


@dataclasses.dataclass
class Line:
    """An expected line: a text, or a pattern that the whole line matches."""

    text: str
    is_pattern: bool = False

    def fits(self, actual):
        if self.is_pattern:
            return re.fullmatch(self.text, actual) is not None
        return self.text == actual


class Plan:
    """What a script's comments say."""

    def __init__(self, path):
        self.path = path
        self.printed = []
        self.faults = []
        self.requests = []
        self.files = []
        self.input = []
        self.args = []
        self.qmc = []
        self.env = {}
        self.needs = []
        self.pictures = []
        self.compile_only = False
        self.timeout = 60.0
        self.known_failure = None
        for number, line in enumerate(path.read_text("latin-1").splitlines(), 1):
            match = DIRECTIVE.search(line)
            if match:
                self.take(number, match.group(1), match.group(2).rstrip())
        side_input = path.with_suffix(".input")
        if side_input.exists():
            self.input += side_input.read_text("latin-1").splitlines()

    def take(self, number, kind, text):
        if kind == "expect":
            self.printed.append(Line(text))
        elif kind == "expect match":
            self.printed.append(Line(text, is_pattern=True))
        elif kind == "expect error":
            self.printed.append(Line(f"{self.path.name}:{number}: {text}"))
        elif kind == "expect compile error":
            self.faults.append((number, int(text)))
        elif kind == "expect request":
            self.requests.append(f"request: {text}")
        elif kind == "expect file":
            name, _, content = text.partition(" = ")
            self.files.append((name.strip(), content))
        elif kind == "input":
            self.input.append(text)
        elif kind == "args":
            self.args += shlex.split(text)
        elif kind == "qmc":
            self.qmc += shlex.split(text)
        elif kind == "env":
            name, _, value = text.partition("=")
            self.env[name] = value
        elif kind == "needs":
            self.needs += text.split()
        elif kind == "picture":
            match = PICTURE.match(text)
            if not match:
                raise Failure(f"{self.path}:{number}: a picture is written MADE = GOLDEN")
            self.pictures.append((match.group(1), match.group(2), int(match.group(3) or 0)))
        elif kind == "only":
            self.compile_only = text == "compile"
        elif kind == "timeout":
            self.timeout = float(text)
        elif kind == "known failure":
            self.known_failure = text


def unescape(text):
    return re.sub(r"\\(n|\\)", lambda m: "\n" if m.group(1) == "n" else "\\", text)


def difference(what, expected, actual):
    """The difference of two lists of lines, for people."""
    lines = difflib.unified_diff(expected, actual, "expected", "actual", lineterm="", n=2)
    return f"{what}:\n" + "\n".join("    " + line for line in lines)


def compare_lines(what, expected, actual):
    if len(expected) == len(actual) and all(e.fits(a) for e, a in zip(expected, actual)):
        return
    # A pattern that fits is shown as the line that it fits.
    shown = [
        actual[i] if i < len(actual) and line.fits(actual[i]) else line.text
        for i, line in enumerate(expected)
    ]
    raise Failure(difference(what, shown, actual))


def start(command, directory, environment, timeout):
    try:
        return subprocess.run(
            command,
            cwd=directory,
            env=environment,
            timeout=timeout,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            encoding="latin-1",
        )
    except subprocess.TimeoutExpired as late:
        tail = (late.stdout or b"")[-400:]
        raise Failure(f"no end after {timeout:g} seconds; printed last: {tail!r}") from late


def compile_script(plan, options, directory):
    """Compiles the script, and says whether there is something to run."""
    applet = directory / (plan.path.stem + ".qma")
    command = [str(options.qmc), plan.path.name, "-o", str(applet), *plan.qmc]
    result = start(command, plan.path.parent, os.environ, plan.timeout)
    faults = [
        (int(line), int(code))
        for line, code in re.findall(r"^[^\n:]+:(\d+):\d+: .* \((\d+)\)$", result.stderr, re.M)
    ]
    if plan.faults or result.returncode != 0:
        if faults != plan.faults or result.returncode != 1:
            say = [f"line {line}: {code}" for line, code in plan.faults]
            have = [f"line {line}: {code}" for line, code in faults]
            raise Failure(difference("faults", say, have) + "\n" + result.stderr)
        if applet.exists():
            raise Failure("a faulty script left an applet behind")
        return None
    return applet


def play(plan, options, directory, applet):
    environment = dict(os.environ)
    environment.update(QUILLMERE_PLATFORM="headless", QUILLMERE_CLOCK="virtual")
    environment.update(plan.env)
    if plan.input:
        (directory / "input.txt").write_text("\n".join(plan.input) + "\n", "latin-1")
        environment["QUILLMERE_INPUT"] = str(directory / "input.txt")
    for name in plan.needs:
        beside = plan.path.parent / name
        source = beside if beside.exists() else HERE / "media" / name
        shutil.copy(source, directory / pathlib.Path(name).name)
    command = [str(options.player), applet.name, "-QUIET", "-DEBUGDEVICE", "@stdout", *plan.args]
    result = start(command, directory, environment, plan.timeout)
    requests = [line for line in result.stderr.splitlines() if line.startswith("request: ")]
    other = [line for line in result.stderr.splitlines() if not line.startswith("request: ")]
    if result.returncode != 0 or other:
        raise Failure(f"the player ended with {result.returncode}\n" + "\n".join(other[-30:]))
    compare_lines("printed", plan.printed, [l.rstrip() for l in result.stdout.splitlines()])
    if requests != plan.requests:
        raise Failure(difference("requests", plan.requests, requests))


def compare_files(plan, directory):
    for name, content in plan.files:
        path = directory / name
        if not path.exists():
            raise Failure(f"{name} was not written")
        actual = path.read_text("latin-1")
        if actual != unescape(content):
            raise Failure(f"{name} holds {actual!r}, not {unescape(content)!r}")


def compare_pictures(plan, options, directory):
    for made, golden, tolerance in plan.pictures:
        target = plan.path.parent / golden
        if not (directory / made).exists():
            raise Failure(f"{made} was not made")
        if options.update_pictures:
            shutil.copy(directory / made, target)
            continue
        worst, count, picture = pictures.compare(directory / made, target)
        if worst <= tolerance:
            continue
        keep = options.work / "differences" / plan.path.parent.name / plan.path.stem
        keep.mkdir(parents=True, exist_ok=True)
        shutil.copy(directory / made, keep / f"actual-{golden}")
        if picture:
            pictures.write(keep / f"difference-{golden}", picture)
        raise Failure(f"{made}: {count} pixels differ from {golden}, by {worst}; see {keep}")


def run_one(path, options):
    """The text of the failure, or None."""
    known = None
    try:
        plan = Plan(path)
        known = plan.known_failure
        with tempfile.TemporaryDirectory(prefix="qms-") as name:
            directory = pathlib.Path(name)
            applet = compile_script(plan, options, directory)
            if applet and not plan.compile_only:
                play(plan, options, directory, applet)
                compare_files(plan, directory)
                compare_pictures(plan, options, directory)
    except Failure as failure:
        return None if known else str(failure)
    return f"passes, but is marked as a known failure: {known}" if known else None


def blocks_of(document, directory):
    """Writes each marked block of a document as a script that keeps the block's line numbers."""
    lines = document.read_text().splitlines()
    opening = None
    for number, line in enumerate(lines):
        if line.startswith("```qms"):
            opening = number
        elif line == "```" and opening is not None:
            # The lines ahead of the block have room for directives.
            ahead = [""] * (opening + 1)
            if lines[opening] == "```qms compile":
                ahead[:2] = ["; qmc: --no-link", "; only: compile"]
            script = ahead + lines[opening + 1 : number]
            path = directory / f"{document.stem}-{opening + 1}.qms"
            path.write_text("\n".join(script) + "\n", "latin-1")
            yield path
            opening = None


def find_scripts(paths, directory):
    for path in paths or [HERE]:
        if path.suffix == ".md":
            yield from blocks_of(path, directory)
        elif path.is_dir():
            yield from sorted(p for p in path.rglob("*.qms") if "include" not in p.parts)
        else:
            yield path


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    build = ROOT / "build" / "release"
    parser.add_argument("--player", type=pathlib.Path, default=build / "quillmere")
    parser.add_argument("--qmc", type=pathlib.Path, default=build / "qmc")
    parser.add_argument("--work", type=pathlib.Path, default=build / "script-tests")
    parser.add_argument("--update-pictures", action="store_true")
    parser.add_argument("-j", type=int, default=os.cpu_count())
    parser.add_argument("paths", type=pathlib.Path, nargs="*")
    options = parser.parse_args()
    for field in ("player", "qmc", "work"):
        setattr(options, field, getattr(options, field).resolve())

    with tempfile.TemporaryDirectory(prefix="qms-blocks-") as blocks:
        scripts = [path.resolve() for path in find_scripts(options.paths, pathlib.Path(blocks))]
        return run_all(scripts, options)


def run_all(scripts, options):
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(options.j) as pool:
        for path, failure in zip(scripts, pool.map(lambda p: run_one(p, options), scripts)):
            if failure is None:
                continue
            failed += 1
            shown = os.path.relpath(path, ROOT)
            own = f"tests/scripts/run.py --player {options.player} --qmc {options.qmc} {shown}"
            print(f"FAILED {shown}\n{failure}\nrun it alone: {own}\n")
    print(f"{len(scripts) - failed} of {len(scripts)} scripts pass")
    return 1 if failed or not scripts else 0


if __name__ == "__main__":
    sys.exit(main())
