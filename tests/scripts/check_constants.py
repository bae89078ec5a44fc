#!/usr/bin/env python3
"""Fails when a constant of the player is unknown to the compiler, or has another value there.

    check_constants.py PLAYER QMC

The player tells the names of its constants; a script made of them compares what the compiler put in
for each with what the player finds at run time.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

CHECK = """
differences = 0
Function Check(name, value)
  If GetConstant(name) = value Then Return
  differences = differences + 1
  DebugPrint(name, "is", GetConstant(name), "and not", value)
EndFunction
"""


def main():
    player, qmc = (pathlib.Path(name).resolve() for name in sys.argv[1:])
    environment = dict(os.environ, QUILLMERE_PLATFORM="headless")
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)

        def build(text):
            (directory / "check.qms").write_text(text)
            command = [qmc, "check.qms", "-o", "check.qma"]
            return subprocess.run(command, cwd=directory, timeout=60).returncode == 0

        def play(*arguments):
            command = [player, "check.qma", "-QUIET", "-DEBUGDEVICE", "@stdout", *arguments]
            return subprocess.run(command, cwd=directory, env=environment, timeout=60,
                                  stdout=subprocess.PIPE, text=True).stdout.splitlines()

        if not build("End\n"):
            return 1
        play("-PRIVATE2", "names")
        names = (directory / "names").read_text("latin-1").split()
        calls = "".join(f'Check("#{name}", #{name})\n' for name in names)
        if not names or not build(f'{CHECK}{calls}DebugPrint("done", differences)\n'):
            return 1
        printed = play()
    print("\n".join(printed))
    print(f"{len(names)} constants checked")
    return 0 if printed == ["done 0"] else 1


if __name__ == "__main__":
    sys.exit(main())
