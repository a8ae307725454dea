"""quorrin decode, driven as a person and a script drive it.

    decode_command_test.py PROGRAM SCHEMA GOLDEN_FOLDER [--write]

--write makes the golden texts anew, to be looked at before they are kept.
"""

import json
import os
import pty
import subprocess
import sys
import tempfile
import unittest

import jsonschema

PROGRAM, SCHEMA, GOLDEN = sys.argv[1:4]
WRITE = "--write" in sys.argv

FCI = (
    "6F40 8408A000000333010101 A534 500A50424F43204445424954 870101"
    " 9F380C9F7A019F02065F2A029F6604 5F2D027A68 9F110101 BF0C0A 9F4D020B0A DF4D020C0A"
)
RECORD = (
    "70819F 57139999010000000011D30122010000012300000F 5F2010544553542F4341524420484F4C444552"
    " 9F6112544553543030303030303030303030303031 9F620100 5A089999010000000011 5F340101 5F2403301231"
    " 5F2503200101 5F28020156 9F42020156 9F0702FF00 9F08020030 8E0E000000000000000042035E031F00"
    " 9F0D05D8689CF800 9F0E050010000000 9F7906000000010000 9F6804D4800000"
)
APPLICATION_DATA = "9F1013 07010103A0A00001 0A010000010000A1B2C3D4"

# Name of the golden text, exit status, arguments.
CASES = [
    ("fci", 0, [FCI]),
    ("record", 0, [RECORD]),
    ("issuer-application-data", 0, [APPLICATION_DATA]),
    ("tvr", 0, ["--as", "tvr", "8000048000"]),
    ("element", 0, ["--as", "9F34", "420300"]),
    ("atr", 0, ["--as", "atr", "3B6D00000031C071D66438D00300849000"]),
    ("contactless-atr", 0, ["--as", "atr", "3B888001000000003381810 03A"]),
    ("command", 0, ["--as", "command", "80A8000002830000"]),
    ("select", 0, ["--as", "command", "00A404000E315041592E5359532E444446303100"]),
    ("answer", 0, ["--as", "answer", "--answer-to", "80A8000002830000",
                   "800A7C00080101001001030090 00"]),
    ("refused", 0, ["--as", "answer", "6A82"]),
    ("status-word", 0, ["--as", "sw", "63C2"]),
    ("result-code", 0, ["--as", "code", "--", "-27266"]),
    ("script", 0, ["7218 9F180400000001 860F 04DA9F780A00000008000001020304"]),
    ("script-results", 0, ["--as", "script-results", "2000000001 1300000002"]),
    ("log-record", 0, ["--as", "log-record", "--list", "9A039F21039F02065F2A029F4E149C019F3602",
                       "250110 193207 000000003980 0156 5445535420535550455 24D41524B455420202020 00 000A"]),
    ("load-log-record", 0, ["--as", "load-log-record", "--list", "9A039F2103", "--currency", "156",
                            "9F79 000000000000 000000010000 250102 120000"]),
    ("dol-data", 0, ["--as", "dol-data", "--list", "9F02069F03069F1A0295055F2A029A039C019F3704",
                     "000000012850 000000000000 0156 0000000000 0156 250110 00 A1B2C3D4"]),
    ("dol", 0, ["--as", "dol", "9F66049F02069F37045F2A02"]),
    ("keyed-text", 0, ["--as", "keyed-text", "A0169999010000000011B009TEST/CARDH0040156E012000000010000"]),
    ("track2", 0, ["--as", "track2", "9999010000000011D30122010000012300000F"]),
    ("track2-in-clear", 0, ["--show-sensitive", "--as", "track2",
                            "9999010000000011D30122010000012300000F"]),
    ("padding", 0, ["0000 9F36020001 FFFF"]),
    ("truncated", 1, ["70139F360200019F1007010103A0A0000157139999010000"]),
    ("unknown", 1, ["DF7E0401020304 9F36020001"]),
    ("trailing-status-word", 0, ["9F36020001 9000"]),
    ("not-tlv", 1, ["--as", "tlv", "1F"]),
    ("certificate", 0, ["9F468180" + "7C" * 128]),
    ("key-of-terminal", 0, ["9F0605A000000333 9F22010B DF050420301231 DF060101 DF070101 DF028180"
                            + "A5" * 128 + "DF040103 DF0314" + "11" * 20]),
    ("kernel-c2", 0, ["--kernel", "c2", "9F6C020001 9F6B139999010000000011D30122010000012300000F"
                      " 9F6E0701560000303000 DF8129083000F0F0B8F0FF00"]),
]


def run(arguments, data=b"", **environment):
    changed = {k: v for k, v in os.environ.items() if k not in ("NO_COLOR", "TERM")}
    changed.update(environment)
    done = subprocess.run([PROGRAM, *arguments], input=data, capture_output=True, env=changed,
                          timeout=60)
    return done.returncode, done.stdout, done.stderr.decode()


def decode(*arguments, data=b"", **environment):
    return run(["decode", *arguments], data, **environment)


def on_terminal(arguments, **environment):
    """What the program writes to a terminal, and its exit status."""
    changed = {k: v for k, v in os.environ.items() if k != "NO_COLOR"}
    changed.update({"TERM": "xterm"}, **environment)
    leader, follower = pty.openpty()
    process = subprocess.Popen([PROGRAM, *arguments], stdin=subprocess.DEVNULL, stdout=follower,
                               stderr=subprocess.DEVNULL, env=changed)
    os.close(follower)
    written = b""
    while True:
        try:
            part = os.read(leader, 4096)
        except OSError:
            break
        if not part:
            break
        written += part
    os.close(leader)
    return written.decode(), process.wait(timeout=60)


class Golden(unittest.TestCase):
    maxDiff = None

    def test_each_case_prints_what_it_printed(self):
        for name, status, arguments in CASES:
            with self.subTest(name):
                code, out, err = decode(*arguments)
                text = out.decode()
                path = os.path.join(GOLDEN, name + ".txt")
                if WRITE:
                    with open(path, "w", encoding="utf-8") as file:
                        file.write(text)
                with open(path, encoding="utf-8") as file:
                    self.assertEqual(text, file.read())
                self.assertEqual(code, status)
                self.assertEqual(err == "", status == 0, err)

    def test_no_golden_text_is_left_over(self):
        self.assertEqual(sorted(os.listdir(GOLDEN)), sorted(name + ".txt" for name, _, _ in CASES))

    def test_nothing_secret_is_printed(self):
        for name, _, arguments in CASES:
            if "--show-sensitive" in arguments:
                continue
            for extra in ([], ["--json"]):
                _, out, err = decode(*extra, *arguments)
                shown = out.decode() + err
                for secret in ("99990100", "TEST/", "544553542F", "TEST0000",
                               "D3012"):
                    self.assertNotIn(secret, shown, name)


class Json(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(SCHEMA, encoding="utf-8") as file:
            cls.schema = json.load(file)
        jsonschema.Draft202012Validator.check_schema(cls.schema)
        cls.validator = jsonschema.Draft202012Validator(cls.schema)

    def test_every_case_fits_the_schema(self):
        for name, status, arguments in CASES:
            with self.subTest(name):
                code, out, _ = decode("--json", *arguments)
                document = json.loads(out)
                self.validator.validate(document)
                self.assertEqual(code, status)
                self.assertEqual(bool(document["problems"]), status == 1)

    def test_the_schema_refuses_what_is_not_so(self):
        document = json.loads(decode("--json", "9F36020001")[1])
        for change in ({"format": "other"}, {"extra": 1}, {"tree": {"kind": "object"}},
                       {"problems": [{"text": "x"}]}):
            self.assertFalse(self.validator.is_valid({**document, **change}), change)

    def test_places_are_those_of_the_input(self):
        tree = json.loads(decode("--json", "0000 9F36020001 5F24033012 31")[1])["tree"]
        self.assertEqual([(n.get("tag"), n["offset"], n["size"]) for n in tree["children"]],
                         [(None, 0, 2), ("9F36", 2, 5), ("5F24", 7, 6)])

    def test_names_come_in_chinese_too(self):
        tree = json.loads(decode("--json", "9F36020001")[1])["tree"]
        self.assertIn("应用交易计数器", tree["children"][0]["label_zh"])


class InputForms(unittest.TestCase):
    EXPECTED = b"9F36 Application transaction counter (ATC): 1 (0001)\n"

    def test_hex_in_every_form(self):
        for arguments in (["9F36020001"], ["9f 36", "02", "00 01"], ["0x9F 0x36 0x02 0x00 0x01"]):
            self.assertEqual(decode(*arguments), (0, self.EXPECTED, ""))

    def test_standard_input_and_files(self):
        self.assertEqual(decode(data=b"9F36 02\n0001\n"), (0, self.EXPECTED, ""))
        self.assertEqual(decode("-", data=b"9F36020001"), (0, self.EXPECTED, ""))
        with tempfile.NamedTemporaryFile() as file:
            file.write(b"9F36020001\n")
            file.flush()
            self.assertEqual(decode("--file", file.name), (0, self.EXPECTED, ""))

    def test_other_encodings_are_read_and_said(self):
        self.assertEqual(decode("nzYCAAE="),
                         (0, self.EXPECTED, "quorrin: the input is no hex: read as base64\n"))
        self.assertEqual(decode(data=b"\x9f\x36\x02\x00\x01"),
                         (0, self.EXPECTED, "quorrin: the input is no hex: read as binary\n"))

    def test_named_encodings_are_taken_silently(self):
        self.assertEqual(decode("--input", "base64", "nzYCAAE="), (0, self.EXPECTED, ""))
        self.assertEqual(decode("--input", "binary", data=b"\x9f\x36\x02\x00\x01"),
                         (0, self.EXPECTED, ""))
        self.assertEqual(decode("--input", "hex", "nzYCAAE=")[0], 2)

    def test_what_cannot_be_read_is_said_without_being_repeated(self):
        code, out, err = decode("9999010000000011 is no hex")
        self.assertEqual((code, out), (2, b""))
        self.assertIn("no hex digit at character 18", err)
        self.assertNotIn("9999", err)
        self.assertEqual(decode("--file", "/nonexistent/file")[0], 1)
        self.assertEqual(decode("--file", "/")[0], 1)
        self.assertEqual(decode(data=b"")[0], 1)

    def test_hex_that_lacks_a_digit_is_no_base64(self):
        code, out, err = decode("9F36020")
        self.assertEqual((code, out), (2, b""))
        self.assertIn("the input is not hex: an odd number of hex digits", err)

    def test_endless_input_is_refused(self):
        with open("/dev/zero", "rb") as endless:
            done = subprocess.run([PROGRAM, "decode"], stdin=endless, capture_output=True, timeout=60)
        self.assertEqual((done.returncode, done.stdout), (1, b""))
        self.assertIn(b"more than a megabyte", done.stderr)

    def test_what_is_not_tlv_is_said_with_what_it_could_be(self):
        code, _, err = decode("3B6500005445535443")
        self.assertEqual(code, 1)
        self.assertIn("--as atr", err)


class Usage(unittest.TestCase):
    def test_help_is_a_result(self):
        for arguments in (["--help"], ["decode", "--help"]):
            code, out, err = run(arguments)
            self.assertEqual((code, err), (0, ""))
            self.assertIn(b"decode", out)
        self.assertIn(b"Examples:", run(["decode", "--help"])[1])
        self.assertTrue(run(["--version"])[1].startswith(b"quorrin "))

    def test_examples_of_the_help_work(self):
        lines = run(["decode", "--help"])[1].decode().replace("\\\n", "").splitlines()
        examples = [line.split()[1:] for line in lines if line.startswith("  quorrin decode ")]
        self.assertGreater(len(examples), 3)
        for arguments in examples:
            if "--file" not in arguments:
                self.assertEqual(run(arguments)[0], 0, arguments)

    def test_wrong_usage_is_told_on_standard_error(self):
        for arguments in ([], ["no-such"], ["decode", "--no-such"], ["decode", "--as", "no-such", "00"],
                          ["decode", "--input", "x", "00"], ["decode", "--kernel", "c9", "00"]):
            code, out, err = run(arguments)
            self.assertEqual((code, out), (2, b""), arguments)
            self.assertNotEqual(err, "")

    def test_kinds_are_listed_and_all_of_them_work(self):
        names = json.loads(decode("--kinds", "--json")[1])
        text = decode("--kinds")[1].decode()
        self.assertGreater(len(names), 40)
        for name in names:
            self.assertIn("  " + name + " ", text)
            self.assertIn(decode("--as", name, "00")[0], (0, 1))

    def test_options_of_all_subcommands_stand_before_and_after(self):
        self.assertEqual(run(["--json", "decode", "9F36020001"]), run(["decode", "9F36020001", "--json"]))


class Terminal(unittest.TestCase):
    ARGUMENTS = ["decode", "--as", "tvr", "8000048000"]

    def test_colour_on_a_terminal_only(self):
        text, _ = on_terminal(self.ARGUMENTS)
        self.assertIn("\x1b[", text)
        self.assertNotIn(b"\x1b[", run(self.ARGUMENTS, TERM="xterm")[1])

    def test_never_with_no_color(self):
        self.assertNotIn("\x1b[", on_terminal(self.ARGUMENTS, NO_COLOR="1")[0])
        self.assertIn("\x1b[", on_terminal(self.ARGUMENTS, NO_COLOR="")[0])
        self.assertNotIn("\x1b[", on_terminal(self.ARGUMENTS, TERM="dumb")[0])

    def test_json_has_no_colour(self):
        self.assertNotIn("\x1b[", on_terminal([*self.ARGUMENTS, "--json"])[0])

    def test_a_closed_pipe_is_survived(self):
        reading, writing = os.pipe()
        os.close(reading)
        done = subprocess.run([PROGRAM, "decode", "9F36020001"], stdout=writing,
                              stderr=subprocess.PIPE, timeout=60)
        os.close(writing)
        self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_a_full_disk_is_a_failure(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([PROGRAM, "decode", "9F36020001"], stdout=full,
                                  stderr=subprocess.PIPE, timeout=60)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"cannot be written", done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
