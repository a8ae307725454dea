"""The card commands of `quorrin` as a user calls them, against the simulated reader.

card_commands_test.py QUORRIN SCHEMAS PROFILES
"""
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import tomllib
import unittest

import jsonschema

QUORRIN, SCHEMAS, PROFILES = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
SCHEMA = jsonschema.Draft202012Validator(json.loads((SCHEMAS / "command.schema.json").read_text()))
ENVIRONMENT = {**os.environ, "QT_LOGGING_RULES": "*.debug=false"}
ENVIRONMENT.pop("QUORRIN_SIMULATOR", None)


def quorrin(*arguments, text=None, environment=None):
    return subprocess.run([QUORRIN, *map(str, arguments)], capture_output=True, text=True, timeout=60, input=text,
                          env={**ENVIRONMENT, **(environment or {})})


def simulated(*arguments, reader="simulator", **others):
    return quorrin(*arguments, "--reader", reader, **others)


def secrets(profile):
    """Card numbers, tracks and names that a profile holds, as a text that leaks them would show them."""
    found = set()
    for value in re.findall(r'"((?:5A|57|5F20|9F0B|9F61|9F1F)\s[^"]*)"', profile.read_text()):
        tag, _, rest = value.partition(" ")
        digits = re.sub(r"\s", "", rest).rstrip("F")
        if tag in ("5A", "57") and re.fullmatch(r"[0-9D]+", digits):
            found.add(re.split("D", digits)[0])
        elif "'" in rest or not re.fullmatch(r"[0-9A-F\s]+", rest):
            found.add(rest.strip().strip("'\""))
    return {secret for secret in found if len(secret) >= 8}


def slots_file(folder, text):
    file = pathlib.Path(folder, "reader.toml")
    file.write_text(text)
    return file


class CardCommands(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def result(self, *arguments, code=0, **others):
        run = simulated(*arguments, "--json", **others)
        self.assertEqual(run.returncode, code, run.stderr)
        value = json.loads(run.stdout)
        SCHEMA.validate(value)
        return value

    def with_profile(self, name):
        return "simulator:" + str(slots_file(self.folder, f'[contact]\nprofile = "{PROFILES / name}.toml"\n'))

    # What each command gives

    def test_readers_names_slots_and_cards(self):
        value = self.result("readers")
        self.assertEqual([slot["slot"] for slot in value["slots"]],
                         ["contact", "contactless", "further", "sam1", "sam2", "sam3", "sam4"])
        self.assertEqual([slot["has_card"] for slot in value["slots"]], [True, True] + 5 * [False])

    def test_info_gives_all_keys_or_those_chosen(self):
        self.assertEqual("".join(element["key"] for element in self.result("info")["elements"]), "ABCDEFGHIJKL")
        value = self.result("info", "EI")
        self.assertEqual([(element["key"], element["text"]) for element in value["elements"]],
                         [("E", "CNY 100.00"), ("I", "2030-12-31")])

    def test_aids_names_the_applications(self):
        self.assertEqual(self.result("aids")["applications"][0]["aid"], "A000000333010101")

    def test_pan_is_masked_unless_it_is_asked_for(self):
        self.assertEqual(simulated("pan").stdout, "999901******0011\n")
        self.assertEqual(simulated("pan", "--show-sensitive").stdout, "9999010000000011\n")
        self.assertTrue(self.result("pan")["masked"])

    def test_log_tells_dates_amounts_and_merchants(self):
        run = simulated("log")
        self.assertEqual(run.returncode, 0)
        self.assertIn("2025-01-10  19:32:07", run.stdout)
        self.assertIn("CNY 39.80", run.stdout)
        self.assertEqual(len(self.result("log")["records"]), 10)

    def test_log_reads_load_logs_that_the_library_refuses(self):
        self.assertEqual(self.result("log", "--loads")["kind"], "loads")

    def test_dump_shows_directory_records_and_data(self):
        titles = [section["title"] for section in self.result("dump")["sections"]]
        for wanted in ("Directory 1PAY.SYS.DDF01", "Application A000000333010101", "Record 1 of file 1"):
            self.assertIn(wanted, titles)
        self.assertTrue(any(title.startswith("GET DATA 9F36") for title in titles))

    def test_dump_leaves_the_card_as_it_was(self):
        state = self.folder / "state.toml"
        text = (PROFILES / "debit.toml").read_text()
        profile = self.folder / "card.toml"
        profile.write_text(text)
        reader = "simulator:" + str(slots_file(self.folder, f'[contact]\nprofile = "{profile}"\n'))
        self.assertEqual(simulated("dump", reader=reader).stdout, simulated("dump", reader=reader).stdout)
        self.assertFalse(state.exists())

    def test_apdu_takes_arguments_and_lines(self):
        select = "00A4040008A00000033301010100"
        value = self.result("apdu", select, "80CA9F3600")
        self.assertEqual([exchange["status"] for exchange in value["exchanges"]], ["9000", "9000"])
        run = simulated("apdu", "-", "--raw", "--show-sensitive", text=f"# select\n{select}\n\n80CA9F3600\n")
        self.assertEqual(run.stdout.splitlines()[1], "9F3602000A9000")

    def test_purchase_goes_to_its_end(self):
        value = self.result("purchase", "--wish", "put 9F79 000000030000")
        self.assertEqual((value["decision"], value["ended"]), ("ARQC", "approved"))
        self.assertTrue(value["bank"]["cryptogram_right"])
        self.assertEqual(value["outcome"]["scripts"][0]["result"], "successful")

    def test_purchase_says_why_it_was_not_approved(self):
        value = self.result("purchase", "--arpc", "wrong", code=1)
        self.assertEqual(value["outcome"]["authentication_status"], "6300")
        self.assertEqual(self.result("purchase", "--response-code", "05", code=1)["ended"], "declined by the bank")

    def test_purchase_stops_and_goes_on_with_another_banks_answer(self):
        number = "A1B2C3D4"
        request = simulated("purchase", "--cryptogram-only", "--json", "--show-sensitive",
                            "--unpredictable-number", number).stdout
        answer = quorrin("bank", "--request", "-", text=request)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        value = self.result("purchase", "--unpredictable-number", number, "--answer", answer.stdout.strip())
        self.assertEqual(value["ended"], "approved")

    def test_unpredictable_numbers_are_random(self):
        fields = {self.result("purchase", "--cryptogram-only")["field_55"] for _ in range(2)}
        self.assertEqual(len(fields), 2)

    def test_bank_judges_and_answers(self):
        request = simulated("purchase", "--cryptogram-only", "--json", "--show-sensitive").stdout
        run = quorrin("bank", "--request", "-", "--json", text=request)
        SCHEMA.validate(json.loads(run.stdout))
        spoilt = json.loads(request)
        spoilt["field_55"] = spoilt["field_55"].replace("9F02060000000128", "9F02060000000129")
        run = quorrin("bank", "--request", "-", "--json", text=json.dumps(spoilt))
        self.assertEqual((run.returncode, json.loads(run.stdout)["cryptogram_right"]), (1, False))

    def test_profile_is_begun_and_checked(self):
        file = self.folder / "new.toml"
        self.assertEqual(quorrin("profile", "new", file).returncode, 0)
        tomllib.loads(file.read_text())
        run = quorrin("profile", "check", file, "--json")
        SCHEMA.validate(json.loads(run.stdout))
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(quorrin("profile", "new", file).returncode, 1, "it must not be overwritten")
        file.write_text("atr = 1\n")
        self.assertEqual(quorrin("profile", "check", file).returncode, 1)

    def test_trace_is_written_explained_and_replayed(self):
        trace = self.folder / "trace.jsonl"
        first = simulated("info", "--trace", trace)
        self.assertEqual(first.returncode, 0, first.stderr)
        self.assertIn("Card data reading", quorrin("explain", trace).stdout)
        again = quorrin("replay", trace, "--", QUORRIN, "info", "BE", "--reader", "simulator")
        self.assertEqual(again.returncode, 0, again.stderr)
        self.assertIn("CNY 100.00", again.stdout)

    def test_doctor_names_a_cure_for_what_is_missing(self):
        run = quorrin("doctor", "--reader", "simulator", "--json")
        value = json.loads(run.stdout)
        SCHEMA.validate(value)
        self.assertTrue(all(check["cure"] for check in value["checks"] if check["health"] != "good"))

    # For every shipped card

    def test_nothing_of_a_card_holder_shows_without_the_flag(self):
        for profile in sorted(PROFILES.glob("*.toml")):
            hidden = secrets(profile)
            reader = self.with_profile(profile.stem)
            for command in (["info"], ["pan"], ["aids"], ["log"], ["dump"], ["purchase"], ["purchase", "--cryptogram-only"],
                            ["apdu", "00B2010C00", "00B2011400"]):
                for output in ([], ["--json"]):
                    run = simulated(*command, *output, reader=reader)
                    for secret in hidden:
                        self.assertNotIn(secret, run.stdout + run.stderr, f"{profile.stem}: {command}")

    # What goes wrong

    def test_failures_are_told_with_their_meaning_and_exit_status(self):
        empty = "simulator:" + str(slots_file(self.folder, ""))
        rows = [
            (["info", "--reader", empty], 1, "-2"),
            (["info", "--reader", "simulator", "--aid", "A0000000039999"], 1, "6A82"),
            (["info", "--reader", "/nowhere/reader.so"], 1, "cannot be loaded"),
            (["info", "--reader", "simulator:/nowhere.toml"], 1, "-11"),
            (["info", "--reader", "simulator", "--slot", "sam1"], 1, "-2"),
            (["apdu", "--reader", "simulator", "00A"], 1, "no command"),
            (["apdu", "--reader", "simulator", "00A4040007A000"], 1, "length"),
            (["purchase", "--reader", "simulator", "--amount", "much"], 1, "wrong terms"),
            (["bank", "--field55", "9F"], 1, ""),
            (["explain", "/nowhere"], 1, "/nowhere"),
            (["info", "--slot", "drawer"], 2, ""),
            (["info", "Z"], 2, ""),
            (["info", "--aid", "A0"], 2, ""),
            (["frobnicate"], 2, ""),
            ([], 2, ""),
        ]
        for arguments, code, words in rows:
            run = quorrin(*arguments)
            self.assertEqual(run.returncode, code, arguments)
            self.assertEqual(run.stdout, "", arguments)
            self.assertIn(words, run.stderr, arguments)
            self.assertNotEqual(run.stderr, "", arguments)

    def test_a_pulled_card_is_told(self):
        text = f'[contact]\nprofile = "{PROFILES}/debit.toml"\n[[fault]]\nslot = "contact"\nremoved_after = 4\n'
        run = simulated("info", reader="simulator:" + str(slots_file(self.folder, text)))
        self.assertEqual(run.returncode, 1)

    def test_an_unwritable_trace_stops_nothing(self):
        run = simulated("pan", "--trace", "/nowhere/trace.jsonl")
        self.assertEqual((run.returncode, run.stdout), (0, "999901******0011\n"))
        self.assertIn("/nowhere/trace.jsonl", run.stderr)

    def test_a_closed_pipe_ends_quietly(self):
        run = subprocess.run(f'"{QUORRIN}" dump --reader simulator | head -n 1', shell=True, capture_output=True,
                             text=True, timeout=60, env=ENVIRONMENT)
        self.assertEqual(run.stderr, "")
        self.assertEqual(run.stdout, "Answer to reset\n")

    def test_help_of_every_command_has_an_example(self):
        listed = re.findall(r"^  (\w+) {2,}\S", quorrin("--help").stdout.split("Subcommands:")[1], re.MULTILINE)
        self.assertGreaterEqual(len(listed), 14)
        for command in listed:
            run = quorrin(command, "--help")
            self.assertEqual(run.returncode, 0)
            if command != "profile":
                self.assertIn("quorrin " + command, run.stdout.split("Examples:")[1], command)

    def test_interrupted_it_powers_the_card_down_and_closes_the_reader(self):
        trace = self.folder / "trace.jsonl"
        run = subprocess.Popen([QUORRIN, "apdu", "-", "--reader", "simulator", "--trace", str(trace)],
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                               env=ENVIRONMENT)
        # Enough commands to be in the midst of them.
        run.stdin.write("80CA9F3600\n" * 200_000)
        run.stdin.close()
        while not trace.exists() or "exchange" not in trace.read_text()[:20_000]:
            self.assertIsNone(run.poll())
        run.send_signal(signal.SIGINT)
        run.stdout.read()
        self.assertEqual(run.wait(60), 1)
        actions = [json.loads(line)["event.action"] for line in trace.read_text().splitlines()]
        self.assertEqual(actions[-2:], ["power_off", "close"])
        self.assertIn("interrupted", run.stderr.read())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
