"""What the documents show of the command is what it says: each console block is run, in order.

documents_test.py QUORRIN SCHEMAS PROFILES DOCUMENT...
"""
import pathlib
import re
import shlex
import sys
import unittest

from command_line import CommandTest, main, quorrin

# What is new with every purchase. "..." stands for lines that are left out.
CHANGING = [(r"\b[0-9A-F]{20}\b|\b[0-9A-F]{16}\b(?=, by)", "CRYPTOGRAM"), (r"(random number +)[0-9A-F]{8}", r"\1RANDOM"),
            (r"\d{4}-\d\d-\d\d, \d\d:\d\d:\d\d", "DATE, TIME"), (r"\b\d+\.\d [mµn]?s\b", "TIME"),
            (r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d UTC", "DATE TIME"), (r", terminal \S+?,", ", terminal NAME,"),
            (r"line \d+, .*", "LINE"), (r"^( x)? +\d+\.\d +\d+\.\d{3}  ", "AT  TOOK  "), (r" +", " ")]


def lines_of(text):
    for pattern, word in CHANGING:
        text = re.sub(pattern, word, text, flags=re.MULTILINE)
    return [line.rstrip() for line in text.rstrip("\n").split("\n")]


def blocks_of(document):
    """Command line and what is shown of its output, for each command of the program."""
    for block in re.findall(r"^```console\n(.*?)^```", document, re.MULTILINE | re.DOTALL):
        for part in re.split(r"^\$ ", block, flags=re.MULTILINE)[1:]:
            command, _, output = part.partition("\n")
            words = shlex.split(command)
            if words[0] in ("quorrin", "build/quorrin") and "|" not in words:
                yield words[1:], output


class Documents(CommandTest):
    def check(self, document):
        checked = 0
        for words, shown in blocks_of(pathlib.Path(document).read_text()):
            run = quorrin(*words, cwd=self.folder)
            checked += 1
            said = lines_of(run.stdout + run.stderr) if "--html" not in words else []
            place = 0
            may_skip = False
            for line in lines_of(shown) if shown else []:
                if line == "...":
                    may_skip = True
                    continue
                found = said.index(line, place) if line in said[place:] else -1
                self.assertTrue(found == place or (may_skip and found > place),
                                f"{document}: quorrin {shlex.join(words)}: {line!r}, but it says\n" + "\n".join(said[place:]))
                place, may_skip = found + 1, False
            self.assertTrue(not shown or may_skip or place == len(said), f"{document}: {words}: more is said: {said[place:]}")
        self.assertGreater(checked, 0, document)


for name in sys.argv[4:]:
    setattr(Documents, f"test_{pathlib.Path(name).stem}", lambda self, document=name: self.check(document))

if __name__ == "__main__":
    main()
