"""What the tests of the `quorrin` command share: running it, its cards, its schemas.

Each test is started as  TEST.py QUORRIN SCHEMAS PROFILES.
"""
import fcntl
import json
import os
import pathlib
import pty
import re
import struct
import subprocess
import sys
import tempfile
import termios
import unittest

import jsonschema

QUORRIN, SCHEMAS, PROFILES = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
CARDS = sorted(profile.stem for profile in PROFILES.glob("*.toml"))


def schema(name):
    return jsonschema.Draft202012Validator(json.loads((SCHEMAS / f"{name}.schema.json").read_text()))


COMMAND, DECODE, EXPLAIN = schema("command"), schema("decode"), schema("explain")

# Nothing of the caller's configuration reaches the command, and the library's log is as it is shipped: on.
ENVIRONMENT = {name: value for name, value in os.environ.items() if not name.startswith(("QUORRIN_", "QT_LOGGING"))}
ENVIRONMENT.update(TZ="UTC", LC_ALL="C.UTF-8", HOME="/nonexistent", XDG_CONFIG_HOME="/nonexistent")

# What makes a purchase the same every time.
FIXED = ["--unpredictable-number", "11223344", "--date", "261121", "--time", "120000"]


def quorrin(*arguments, text=None, environment=None, cwd=None):
    return subprocess.run([QUORRIN, *map(str, arguments)], capture_output=True, text=True, timeout=60, input=text,
                          cwd=cwd, env={**ENVIRONMENT, **(environment or {})})


def simulated(*arguments, reader="simulator", **others):
    return quorrin(*arguments, "--reader", reader, **others)


def all_shown(terminal):
    """What comes through a terminal until its other end is closed; this end is closed, too."""
    shown = b""
    while True:
        try:
            shown += os.read(terminal, 4096)
        except OSError:  # the other end is closed
            break
    os.close(terminal)
    return shown


def on_a_terminal(*arguments, columns, colours=False):
    """What a terminal of so many columns shows of the results, a string a line."""
    own, terminal = pty.openpty()
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    environment = {**ENVIRONMENT, "TERM": "xterm", **({} if colours else {"NO_COLOR": "1"})}
    with subprocess.Popen([QUORRIN, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=terminal,
                          stderr=subprocess.DEVNULL, env=environment) as run:
        os.close(terminal)
        shown = all_shown(own)
        run.wait(60)
    return shown.decode().replace("\r\n", "\n").splitlines()


def check_json(text):
    """The value of a result, held against the schema of its command."""
    value = json.loads(text)
    validator = COMMAND if "command" in value else EXPLAIN if "transactions" in value else DECODE
    validator.validate(value)
    return value


def secrets(profile):
    """Card numbers, names and numbers of papers that a profile holds, as an output that leaks them has them."""
    found = set()
    for value in re.findall(r'"((?:5A|57|5F20|9F0B|9F61|9F1F)\s[^"]*)"', profile.read_text()):
        tag, _, rest = value.partition(" ")
        digits = re.sub(r"\s", "", rest).rstrip("F")
        if tag in ("5A", "57") and re.fullmatch(r"[0-9D]+", digits):
            found.update(digits.split("D"))
        elif "'" in rest:
            text = "".join(re.findall(r"'([^']*)'", rest)).strip()
            found.update({text, text.encode().hex().upper()})
    return {secret for secret in found if len(secret) >= 8}


class CommandTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def reader_file(self, text, name="reader.toml"):
        file = self.folder / name
        file.write_text(text)
        return f"simulator:{file}"

    def with_card(self, card, more=""):
        return self.reader_file(f'[contact]\nprofile = "{PROFILES / card}.toml"\n{more}', f"{card}.toml")

    def result(self, *arguments, code=0, **others):
        run = simulated(*arguments, "--json", **others)
        self.assertEqual(run.returncode, code, run.stderr)
        return check_json(run.stdout)


def main():
    unittest.main(argv=sys.argv[:1], verbosity=2)
