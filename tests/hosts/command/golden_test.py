"""The output of each command for each shipped card, held against the texts in golden/.

golden_test.py QUORRIN SCHEMAS PROFILES; QUORRIN_RENEW_GOLDENS=1 writes the texts anew.
"""
import os
import pathlib
import re
import shlex
import unittest

from command_line import CARDS, FIXED, PROFILES, QUORRIN, CommandTest, check_json, main, quorrin, secrets

GOLDEN = pathlib.Path(__file__).parent / "golden"
RENEW = os.environ.get("QUORRIN_RENEW_GOLDENS") == "1"
HOW = "QUORRIN_RENEW_GOLDENS=1 ctest --preset release -R command_tests.Golden writes it; then look at what changed"

READER = ["--reader", "simulator:reader.toml"]
DAY = ["--date", "261121"]

# In the order in which a person would ask. The trace is that of the purchase.
COMMANDS = [
    ["readers", *READER],
    ["aids", *READER],
    ["info", *DAY, *READER],
    ["pan", *READER],
    ["log", *READER],
    ["log", "--loads", *READER],
    ["dump", *READER],
    ["apdu", "00A40400 0E 315041592E5359532E4444463031 00", "80CA9F3600", *READER],
    ["purchase", *FIXED, "--trace", "purchase.jsonl", *READER],
    ["explain", "purchase.jsonl"],
    ["replay", "purchase.jsonl"],
    ["purchase", "--response-code", "05", *FIXED, *READER],
    ["purchase", "--arpc", "wrong", *FIXED, *READER],
    ["purchase", "--cryptogram-only", *FIXED, *READER],
    ["bank", "--request", "request.json"],
    ["decode", "--file", "field-55.txt"],
    ["profile", "check", "card.toml"],
    ["doctor", *READER],
]

# What differs from run to run and from machine to machine.
MASKS = [
    (re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d UTC"), "DATE TIME UTC"),
    (re.compile(r", terminal \S+?,"), ", terminal NAME,"),
    (re.compile(r"\b\d+\.\d [mµn]?s\b"), "TIME"),
    (re.compile(r"^( [x!])? +\d+\.\d +\d+\.\d\d\d  ", re.MULTILINE), r"\1  AT  TOOK  "),
    (re.compile(r"Slowest +TIME, line.*"), "Slowest TIME"),
]
# The doctor looks at the machine; of a card it says one line.
DOCTOR_LINES = re.compile(r"^(?!good +card).*\n", re.MULTILINE)


class Golden(CommandTest):
    """One test a card."""

    def run_card(self, card):
        folder = self.folder
        (folder / "card.toml").write_text((PROFILES / f"{card}.toml").read_text())
        (folder / "reader.toml").write_text('[contact]\nprofile = "card.toml"\n')
        # The bank's request and field 55 of this card, where it makes one.
        request = quorrin("purchase", "--cryptogram-only", "--json", "--show-sensitive", *FIXED, *READER, cwd=folder)
        value = check_json(request.stdout) if request.stdout else {"field_55": ""}
        (folder / "request.json").write_text(request.stdout)
        (folder / "field-55.txt").write_text(value.get("field_55", ""))
        hidden = secrets(PROFILES / f"{card}.toml")
        text = ""
        for command in COMMANDS:
            run = quorrin(*command, cwd=folder)
            results, messages = (out.replace(str(folder), "FOLDER") for out in (run.stdout, run.stderr))
            if command[0] == "doctor":
                results = DOCTOR_LINES.sub("", results)
            for mask, word in MASKS:
                results = mask.sub(word, results)
            text += f"$ quorrin {shlex.join(command)}\n{results}"
            text += "".join(f"! {line}\n" for line in messages.splitlines())
            tells_status = run.returncode != 0 and command[0] != "doctor"
            text += f"= {run.returncode}\n\n" if tells_status else "\n"
            # Into another file, where it is recorded.
            again = ["json.jsonl" if before == "--trace" else word for before, word in zip([""] + command, command)]
            as_json = quorrin(*again, "--json", cwd=folder)
            check_json(as_json.stdout)
            if command[0] != "doctor":  # which depends on the machine
                self.assertEqual(as_json.returncode, run.returncode, command)
            for secret in hidden:
                self.assertNotIn(secret, run.stdout + run.stderr + as_json.stdout + as_json.stderr, command)
        return text

    def compare(self, card):
        golden = GOLDEN / f"{card}.txt"
        text = self.run_card(card)
        if RENEW:
            golden.write_text(text)
        self.assertTrue(golden.exists(), f"no golden text for the card {card}: {HOW}")
        self.maxDiff = None
        self.assertEqual(golden.read_text(), text, f"{golden.name} is not what the commands say: {HOW}")

    def test_every_text_is_of_a_shipped_card(self):
        self.assertEqual(sorted({file.stem for file in GOLDEN.glob("*.txt")} - set(CARDS)), [])


for name in CARDS:
    setattr(Golden, f"test_{name}", lambda self, card=name: self.compare(card))

if __name__ == "__main__":
    main()
