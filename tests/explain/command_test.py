"""`quorrin explain` as a user calls it.  command_test.py QUORRIN SCHEMA RECORDINGS"""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

import jsonschema

QUORRIN, SCHEMA, RECORDINGS = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
TRACE = RECORDINGS / "demonstration.jsonl"


def quorrin(*arguments):
    return subprocess.run([QUORRIN, *map(str, arguments)], capture_output=True, text=True, timeout=60)


class Explain(unittest.TestCase):
    def test_tells_what_went_on(self):
        run = quorrin("explain", TRACE)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        for words in ("demonstration.jsonl: 44 lines, 4 transactions", "2  Purchase", "CNY 128.50",
                      "approved by the bank: 00; the card took the answer for right; 2 of 2 issuer script commands taken",
                      "4  Log reading"):
            self.assertIn(words, run.stdout)
        self.assertNotIn("\033", run.stdout)
        self.assertTrue(all(len(line) <= 100 for line in run.stdout.splitlines()))

    def test_shows_every_exchange_when_asked(self):
        run = quorrin("explain", "--details", TRACE)
        self.assertEqual(run.returncode, 0)
        for words in ("GET PROCESSING OPTIONS", "Unpredictable number", "Application cryptogram"):
            self.assertIn(words, run.stdout)

    def test_gives_json_that_keeps_to_its_schema(self):
        run = quorrin("explain", "--json", TRACE)
        self.assertEqual(run.returncode, 0)
        story = json.loads(run.stdout)
        jsonschema.Draft202012Validator(json.loads(SCHEMA.read_text())).validate(story)
        self.assertEqual([told["title"] for told in story["transactions"]],
                         ["Card data reading", "Purchase", "Card data reading", "Log reading"])

    def test_writes_a_page(self):
        with tempfile.TemporaryDirectory() as folder:
            page = pathlib.Path(folder, "trace.html")
            run = quorrin("explain", "--html", page, TRACE)
            self.assertEqual((run.returncode, run.stdout), (0, ""))
            self.assertIn("approved by the bank: 00", page.read_text())
            run = quorrin("explain", "--html", folder, TRACE)
            self.assertEqual(run.returncode, 1)
            self.assertIn("cannot be written", run.stderr)

    def test_tells_what_it_could_read_of_a_broken_file(self):
        with tempfile.TemporaryDirectory() as folder:
            broken = pathlib.Path(folder, "broken.jsonl")
            lines = TRACE.read_text().splitlines(keepends=True)
            broken.write_text("".join(lines[:20]) + "no line\n" + "".join(lines[20:])[:-30])
            run = quorrin("explain", broken)
            self.assertEqual(run.returncode, 1)
            self.assertIn("2  Purchase", run.stdout)
            self.assertIn("line 21: ", run.stderr)
            self.assertIn("line 45: ", run.stderr)

    def test_says_what_is_no_trace(self):
        for file in ("/nowhere/trace.jsonl", "/dev/null", __file__):
            run = quorrin("explain", file)
            self.assertEqual((run.returncode, run.stdout), (1, ""), file)
            self.assertIn(file, run.stderr)
        self.assertEqual(quorrin("explain").returncode, 2)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
