"""Runs the commands of a page's console blocks in one shell and compares what they print.

Blocks whose first line is a comment with a file's name are that file: `# sell.py`, `// sell.cpp`.

Usage: console_page_test.py PAGE [SECTION]
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

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


def write_files(page, directory):
    for block in re.findall(r"^```\S+\n(.*?)^```", page, re.M | re.S):
        named = re.match(r"(?:#|//) (\w+\.\w+)\n", block)
        if named:
            (directory / named[1]).write_text(block)


def main():
    page = pathlib.Path(sys.argv[1])
    for tool in ("bash", "openssl"):
        if shutil.which(tool) is None:
            print(f"skipped: no {tool}")
            return 77
    text = page.read_text()
    if len(sys.argv) > 2:
        text = re.search(rf"^## {re.escape(sys.argv[2])}$(.*?)(?=^## |\Z)", text, re.M | re.S)[1]
    steps = console_steps(text)
    script = "".join(f"{command}\necho '{MARK}'\n" for command, _ in steps)
    with tempfile.TemporaryDirectory() as directory:
        write_files(text, pathlib.Path(directory))
        # As in a checkout that has been built in `build`.
        checkout = page.resolve().parent
        for name in ("include", "python", "examples"):
            pathlib.Path(directory, name).symlink_to(checkout / name)
        if "QUORRIN_BUILD" in os.environ:
            pathlib.Path(directory, "build").symlink_to(os.environ["QUORRIN_BUILD"])
        environment = {
            **os.environ,
            "QUORRIN_EXAMPLES": str(page.resolve().parent.parent / "hosts" / "examples"),
        }
        run = subprocess.run(
            ["bash", "-eu"], input=script, capture_output=True, text=True,
            cwd=directory, env=environment,
        )  # fmt: skip
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
