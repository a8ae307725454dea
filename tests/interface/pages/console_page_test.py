"""Runs the commands of a page's console blocks in one shell and compares what they print.

Usage: console_page_test.py PAGE
"""

import pathlib
import re
import shutil
import subprocess
import sys

MARK = "--- next command ---"


def console_steps(page):
    """(command, expected output) of every `$ ` line in the page's ```console blocks."""
    steps = []
    for block in re.findall(r"^```console\n(.*?)^```", page, re.M | re.S):
        for line in block.splitlines():
            if line.startswith("$ "):
                steps.append([line[2:], ""])
            else:
                steps[-1][1] += line + "\n"
    return steps


def main():
    page = pathlib.Path(sys.argv[1])
    for tool in ("bash", "openssl"):
        if shutil.which(tool) is None:
            print(f"skipped: no {tool}")
            return 77
    steps = console_steps(page.read_text())
    script = "".join(f"{command}\necho '{MARK}'\n" for command, _ in steps)
    run = subprocess.run(["bash", "-eu"], input=script, capture_output=True, text=True)
    outputs = run.stdout.split(MARK + "\n")
    wrong = 0
    for (command, expected), printed in zip(steps, outputs):
        if printed != expected:
            print(f"$ {command}\n{printed}page: {expected}")
            wrong += 1
    print(f"{page.name}: {len(steps)} commands, {wrong} print something else")
    print(run.stderr, end="")
    whole = run.returncode == 0 and run.stderr == "" and len(outputs) == len(steps) + 1
    return 0 if steps and whole and wrong == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
