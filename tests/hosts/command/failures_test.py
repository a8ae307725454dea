"""What goes wrong: the card, the reader, the arguments, the files, the terminal. Each is told in a sentence, ends
with the right status, shows nothing of a card holder and leaves nothing behind.

failures_test.py QUORRIN SCHEMAS PROFILES
"""
import json
import os
import pty
import re
import signal
import subprocess
import unittest

from command_line import (CARDS, ENVIRONMENT, FIXED, PROFILES, QUORRIN, CommandTest, all_shown, check_json, main,
                          quorrin, secrets, simulated)

SELECT = "00A4040008A00000033301010100"

# Every command that uses a card, with what makes it do so.
CARD_COMMANDS = [["readers"], ["aids"], ["info"], ["pan"], ["log"], ["log", "--loads"], ["dump"], ["apdu", SELECT],
                 ["purchase", *FIXED], ["doctor"]]
# Of these a card that is missing is no failure: they say so.
TELL_WITHOUT_CARD = {"readers", "doctor"}


class Failures(CommandTest):
    def check(self, run, status, *words):
        self.assertEqual(run.returncode, status, run.args)
        for word in words:
            self.assertIn(word, run.stderr, run.args)
        if status == 2 or (status == 1 and not run.stdout):
            self.assertNotEqual(run.stderr, "", run.args)
        self.assertNotIn("terminate called", run.stderr)

    # The card

    def test_without_a_card(self):
        reader = self.reader_file("")
        for command in CARD_COMMANDS:
            run = simulated(*command, reader=reader)
            if command[0] in TELL_WITHOUT_CARD:
                self.check(run, 0)
                self.assertRegex(run.stdout, "no card")
            else:
                self.check(run, 1, "there is no card in the slot", "-2", "what to do: put a card in")

    def test_a_mute_card(self):
        reader = self.with_card("debit", '[[fault]]\nslot = "contact"\nmute = true\n')
        self.check(simulated("info", reader=reader), 1, "the card does not answer", "-4")

    def test_a_card_that_is_pulled_at_any_moment(self):
        for command in CARD_COMMANDS:
            ended_well = False
            for exchanges in (1, 2, 3, 5, 8, 13, 21, 400):
                reader = self.with_card("debit", f'[[fault]]\nslot = "contact"\nremoved_after = {exchanges}\n')
                run = simulated(*command, reader=reader)
                ended_well = run.returncode == 0
                if not ended_well:
                    self.check(run, 1, "there is no card in the slot, or it was taken out", "-2")
                for secret in secrets(PROFILES / "debit.toml"):
                    self.assertNotIn(secret, run.stdout + run.stderr)
            self.assertTrue(ended_well, f"{command}: 400 exchanges are enough")

    def test_an_unknown_application(self):
        for command in (["info"], ["pan"], ["log"], ["dump"], ["purchase"]):
            run = simulated(*command, "--aid", "A0000000039999")
            self.check(run, 1)
            self.assertRegex(run.stderr + run.stdout, "6A82|has no application")

    def test_an_empty_slot(self):
        self.check(simulated("info", "--slot", "sam1"), 1, "no card in the slot")

    def test_a_card_without_a_directory_is_asked_for_known_names(self):
        run = simulated("aids", reader=self.with_card("credit"))
        self.check(run, 0, "the card has no directory")
        self.assertIn("UnionPay credit", run.stdout)

    def test_a_blocked_application_is_named_so(self):
        for command in (["info"], ["purchase"]):
            self.check(simulated(*command, reader=self.with_card("blocked")), 1, "blocked: its bank has locked it", "6283")

    # The reader

    def test_readers_that_are_none(self):
        no_library = self.folder / "no-library.so"
        no_library.write_text("text")
        for reader, word in (("/nowhere/reader.so", "/nowhere/reader.so"), (no_library, "no-library.so"),
                             ("simulator:/nowhere.toml", "/nowhere.toml"), ("/lib/x86_64-linux-gnu/libc.so.6", "ICC_Reader_Open")):
            for command in CARD_COMMANDS:
                run = quorrin(*command, "--reader", reader)
                self.check(run, 1)
                self.assertIn(word, run.stderr + run.stdout, run.args)

    def test_a_reader_that_is_none(self):
        self.check(simulated("info", reader="foo"), 1, "cannot be loaded", "--reader takes simulator, simulator:FILE")
        self.check(simulated("info", reader="simulator:foo"), 1, "foo is no file, and no card that is shipped (blocked, ")
        self.check(simulated("info", reader="simulator:./foo.toml"), 1, "./foo.toml is no file")

    def test_no_reader_at_pcsc(self):
        # No service can be reached: its socket is elsewhere.
        run = quorrin("info", "--reader", "pcsc", environment={"PCSCLITE_CSOCK_NAME": str(self.folder / "none")})
        self.check(run, 1, "-11", "quorrin doctor")
        run = quorrin("pan", environment={"PCSCLITE_CSOCK_NAME": str(self.folder / "none")})
        self.check(run, 0, "using the simulated reader")

    def test_a_broken_reader_file_or_profile(self):
        for text in ("[contact]\nprofile = 1\n", "[contact]\nprofile = \"none.toml\"\n", "[contact", "[nowhere]\n"):
            for command in CARD_COMMANDS:
                run = simulated(*command, reader=self.reader_file(text))
                self.check(run, 1, "libquorrin-simulator: ", "reader.toml" if "none" not in text else "none.toml")

    def test_a_broken_profile_is_refused_by_the_check(self):
        profile = self.folder / "card.toml"
        for text in ("", "atr = 1\n", "name = \"x\"\natr = \"3B\"\n", "[[", "\0\1\2"):
            profile.write_text(text)
            run = quorrin("profile", "check", profile)
            self.check(run, 1, "libquorrin-simulator: ")
            self.assertIn("refused", run.stdout)

    # The arguments

    def test_bad_hex_and_bad_arguments(self):
        rows = [
            (["apdu", "--reader", "simulator", "00A"], 2), (["apdu", "--reader", "simulator", "00A4040007A000"], 2),
            (["apdu", "--reader", "simulator", "zz"], 2), (["apdu", "--raw", "--reader", "simulator", SELECT], 2),
            (["decode", "--input", "hex", "9F3"], 2), (["decode", "--as", "tvr", "--input", "hex", "00GG"], 2),
            (["decode", "9F36020"], 2), (["decode", "zz"], 2), (["decode", "--file", "/nowhere"], 1),
            (["decode", "--as", "answer", "--answer-to", "80A", "9000"], 2), (["decode", "--currency", "1560", "00"], 2),
            (["decode", "--currency", "x", "00"], 2),
            (["decode", "--list", "9", "00"], 2), (["decode", "--as", "nothing", "00"], 2),
            (["bank", "--field55", "9F"], 1), (["bank", "--field55", "XY"], 1), (["bank"], 2),
            (["bank", "--request", "/nowhere.json"], 1), (["bank", "--arpc", "odd"], 2),
            (["purchase", "--reader", "simulator", "--amount", "much"], 2),
            (["purchase", "--reader", "simulator", "--currency", "XYZ"], 2),
            (["purchase", "--reader", "simulator", "--date", "261399"], 2),
            (["purchase", "--reader", "simulator", "--time", "12"], 2),
            (["purchase", "--reader", "simulator", "--unpredictable-number", "12"], 2),
            (["purchase", "--reader", "simulator", "--qualifiers", "D4"], 2),
            (["purchase", "--reader", "simulator", "--merchant", "M" * 21], 2),
            (["purchase", "--reader", "simulator", "--answer", "8A023"], 2),
            (["purchase", "--reader", "simulator", "--wish", "a pony"], 2),
            (["purchase", "--reader", "simulator", "--response-code", "051"], 2),
            (["purchase", "--reader", "simulator", "--country", "XX"], 2),
            (["purchase", "--reader", "simulator", "--amount", "12,50"], 2),
            (["purchase", "--reader", "simulator", "--amount", "10000000000"], 2),
            (["bank", "--field55", "9F", "--wish", "a pony"], 2),
            (["info", "--reader", "simulator", "--date", "today"], 2),
            (["explain", "/nowhere"], 1), (["replay", "/nowhere"], 1),
            (["info", "--slot", "drawer"], 2), (["info", "Z"], 2), (["info", "--aid", "A0"], 2), (["info", "--aid", "A0GG"], 2),
            (["profile"], 2), (["profile", "check"], 2), (["profile", "check", "/nowhere"], 2), (["frobnicate"], 2), ([], 2),
        ]
        for arguments, status in rows:
            run = quorrin(*arguments)
            self.check(run, status)
            self.assertNotEqual(run.stderr, "", arguments)
            if status == 2:
                self.assertEqual(run.stdout, "", arguments)

    def test_data_from_elsewhere_are_no_wrong_usage(self):
        self.check(quorrin("decode", text="9F36020\n"), 1, "an odd number of hex digits")
        self.check(quorrin("apdu", "--reader", "simulator", text="00A\n"), 1, "no command")

    def test_what_was_probably_meant_is_named(self):
        rows = [(["infos"], "no command infos: did you mean info?"), (["--jsn", "info"], "no option --jsn: did you mean --json?"),
                (["purchase", "--amont", "3"], "did you mean --amount?"), (["profile", "chek", "x"], "did you mean check?"),
                (["raeders"], "did you mean readers?"), (["info", "--rader=pcsc"], "no option --rader: did you mean --reader?"),
                (["info", "A", "B"], "one argument too many: B"), ([], "there are readers, info, aids"),
                (["profile"], "there are check, new"), (["frobnicate"], "no command frobnicate\n"), (["--frob"], "no option --frob\n")]
        for arguments, words in rows:
            run = quorrin(*arguments)
            self.check(run, 2, words, "--help tells more")
            self.assertEqual("did you mean" in run.stderr, "did you mean" in words, arguments)

    # Failures for programs

    def test_a_failure_has_its_object_in_the_results_place(self):
        blocked = self.with_card("blocked")
        rows = [
            (["info", "--reader", blocked], 1, {
                "text": "the application is blocked: its bank has locked it", "step": "getIccInfo", "code": -26881,
                "message": "命令不接受（无效状态）", "meaning": "the card's state does not admit the command",
                "status_word": "6283", "advice": "only the bank can unlock it"}),
            (["log", "--reader", blocked], 1, {
                "text": "the application A000000333010101 (UnionPay debit) is refused with 6283: Selected file or application "
                        "is blocked (invalidated)",
                "meaning": "Selected file or application is blocked (invalidated)", "status_word": "6283",
                "advice": "only the bank can unlock it"}),
            (["info", "--reader", self.reader_file("")], 1, {
                "text": "there is no card in the slot, or it was taken out", "step": "PowerUp", "code": -2, "message": "无卡",
                "meaning": "No card in the slot; the library looks in the next slot",
                "advice": "put a card in and try again; quorrin readers shows the slots"}),
            (["explain", "/nowhere"], 1, None),
            (["decode", "9F3"], 2, {
                "text": "the input is not hex: an odd number of hex digits",
                "advice": "--file reads files, --as names texts, quorrin decode --help has examples"}),
            (["profile", "chek"], 2, {
                "text": "there is no command profile chek: did you mean check?", "advice": "quorrin profile --help tells more"}),
            (["infos"], 2, {
                "text": "there is no command infos: did you mean info?", "advice": "quorrin --help tells more"}),
        ]
        for arguments, status, error in rows:
            run = quorrin(*arguments, "--json")
            self.check(run, status)
            self.assertEqual(run.stderr, quorrin(*arguments).stderr, "what is said to people stays")
            value = check_json(run.stdout)
            self.assertEqual(value["command"], arguments[0] if arguments[0] != "infos" else "")
            if error is not None:
                self.assertEqual(value["error"], error)

    def test_every_card_command_gives_one_object_however_it_ends(self):
        readers = ["/nowhere/reader.so", "simulator:/nowhere.toml", "simulator:none", self.reader_file(""), self.with_card("blocked"),
                   self.with_card("debit", '[[fault]]\nslot = "contact"\nremoved_after = 2\n')]
        for reader in readers:
            for command in CARD_COMMANDS:
                run = simulated(*command, "--json", reader=reader)
                self.assertIn(run.returncode, (0, 1))
                value = check_json(run.stdout)
                self.assertEqual(value["command"], command[0])

    def test_a_blocked_card_comes_with_what_to_do(self):
        profile = self.folder / "card.toml"
        profile.write_text('state = "state.toml"\n' + (PROFILES / "debit.toml").read_text())
        simulated("purchase", "--wish", "block card", reader=f"simulator:{profile}")
        self.check(simulated("info", reader=f"simulator:{profile}"), 1, "6A81", "what to do: try another card")

    # Files and pipes

    def test_a_trace_that_cannot_be_written_is_told_before_the_card_is_touched(self):
        for command in CARD_COMMANDS:
            if command[0] == "doctor":
                continue
            state = self.folder / "state.toml"
            reader = self.reader_file('state = "state.toml"\n' + (PROFILES / "debit.toml").read_text(), "card.toml")
            run = simulated(*command, "--trace", "/nowhere/trace.jsonl", reader=reader)
            self.check(run, 1, "the trace /nowhere/trace.jsonl cannot be written: No such file")
            self.assertEqual(run.stdout, "")
            self.assertFalse(state.exists(), command)

    def test_a_trace_goes_on_after_what_its_file_holds(self):
        trace = self.folder / "trace.jsonl"
        for number in (1, 2):
            simulated("pan", "--trace", trace)
            self.assertEqual(len(json.loads(quorrin("explain", "--json", trace).stdout)["transactions"]), number)

    def test_files_that_cannot_be_written(self):
        trace = self.folder / "trace.jsonl"
        simulated("pan", "--trace", trace)
        for command in (["explain", trace, "--html", "/nowhere/page.html"], ["replay", trace, "--write", "/nowhere/r.toml"],
                        ["profile", "new", "/nowhere/card.toml"]):
            self.check(quorrin(*command), 1, "/nowhere")

    def test_a_full_disk_is_told(self):
        with open("/dev/full", "w") as full:
            run = subprocess.run([QUORRIN, "pan", "--reader", "simulator"], stdout=full, stderr=subprocess.PIPE, text=True,
                                 env=ENVIRONMENT, timeout=60)
        self.assertEqual(run.returncode, 1)
        self.assertIn("cannot be written", run.stderr)

    def test_a_closed_pipe_ends_every_command_quietly(self):
        trace = self.folder / "trace.jsonl"
        simulated("purchase", "--trace", trace)
        for command in [*CARD_COMMANDS, ["explain", trace], ["replay", trace], ["decode", "--kinds"], ["profile", "new"],
                        ["decode", "9F3602004B"], ["--help"]]:
            reading, writing = os.pipe()
            os.close(reading)
            reader = ["--reader", "simulator"] if command in CARD_COMMANDS else []
            with os.fdopen(writing, "w") as nobody:
                run = subprocess.run([QUORRIN, *map(str, command), *reader], stdout=nobody, stderr=subprocess.PIPE, text=True,
                                     env=ENVIRONMENT, timeout=60)
            self.assertEqual((run.returncode, run.stderr), (0, ""), command)

    # A recorded card in the card's place

    def test_a_replayed_card_answers_as_the_card_did(self):
        for command in CARD_COMMANDS:
            if command[0] == "doctor":
                continue
            trace = self.folder / f"{command[0]}{len(command)}.jsonl"
            card = simulated(*command, "--show-sensitive", "--trace", trace)
            reader = self.reader_file(f'[contact]\ntrace = "{trace}"\n')
            again = simulated(*command, "--show-sensitive", reader=reader)
            if command[0] == "readers":  # whose other slots are empty now
                card.stdout, again.stdout = (re.search("^contact .*", run.stdout, re.M).group() for run in (card, again))
            self.assertEqual((again.returncode, again.stdout), (card.returncode, card.stdout), command)

    def test_a_replayed_card_is_found_by_the_doctor(self):
        trace = self.folder / "trace.jsonl"
        simulated("pan", "--trace", trace)
        run = simulated("doctor", reader=self.reader_file(f'[contact]\ntrace = "{trace}"\n'))
        self.assertRegex(run.stdout, "good +card +contact slot")

    def test_a_replayed_card_that_was_pulled_is_pulled_again(self):
        trace = self.folder / "trace.jsonl"
        pulled = simulated("info", "--trace", trace,
                           reader=self.with_card("debit", '[[fault]]\nslot = "contact"\nremoved_after = 4\n'))
        again = quorrin("replay", trace, "--", QUORRIN, "info", "--reader", "simulator")
        self.assertEqual((again.returncode, again.stderr), (pulled.returncode, pulled.stderr))

    def test_replay_leaves_no_file_behind(self):
        trace = self.folder / "trace.jsonl"
        simulated("pan", "--trace", trace)
        place = self.folder / "tmp"
        place.mkdir()
        run = quorrin("replay", trace, "--", QUORRIN, "pan", "--reader", "simulator", environment={"TMPDIR": str(place)})
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(list(place.iterdir()), [])

    # What is kept from view

    def test_the_librarys_log_shows_nothing_without_the_flag(self):
        for rules in ("", "*.debug=true", "default.debug=true"):
            run = simulated("info", environment={"QT_LOGGING_RULES": rules})
            self.assertEqual(run.stderr, "", rules)
        run = simulated("info", "--show-sensitive", environment={"QT_LOGGING_RULES": "default.debug=true"})
        self.assertIn("PowerUp", run.stderr)

    def test_a_host_that_is_replayed_to_has_its_log_as_it_was(self):
        trace = self.folder / "trace.jsonl"
        simulated("pan", "--trace", trace)
        run = quorrin("replay", trace, "--", "sh", "-c", "echo $QT_LOGGING_RULES", environment={"QT_LOGGING_RULES": "a.debug=true"})
        self.assertEqual(run.stdout, "a.debug=true\n")

    def test_nothing_of_a_card_holder_shows_where_a_card_fails(self):
        for card in CARDS:
            hidden = secrets(PROFILES / f"{card}.toml")
            reader = self.with_card(card, '[[fault]]\nslot = "contact"\nremoved_after = 7\n')
            for command in (["info"], ["dump"], ["purchase"]):
                run = simulated(*command, "--trace", self.folder / "trace.jsonl", reader=reader)
                for secret in hidden:
                    self.assertNotIn(secret, run.stdout + run.stderr, (card, command))
            recorded = (self.folder / "trace.jsonl").read_text()
            told = quorrin("explain", "--details", self.folder / "trace.jsonl").stdout
            for secret in hidden:
                self.assertNotIn(secret, recorded + told, card)

    # On a terminal

    def on_a_terminal(self, *arguments, text=None):
        """What the terminal shows on standard error, and the results, which go to a pipe."""
        own, terminal = pty.openpty()
        run = subprocess.Popen([QUORRIN, *map(str, arguments)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=terminal,
                               text=True, env={**ENVIRONMENT, "TERM": "xterm"})
        os.close(terminal)
        results, _ = run.communicate(text, timeout=60)
        return run.returncode, results, all_shown(own).decode()

    def test_a_slow_card_shows_progress_on_a_terminal_and_takes_it_away(self):
        slow = os.environ["QUORRIN_SLOW_READER"]
        status, results, shown = self.on_a_terminal("aids", "--reader", slow)
        self.assertEqual(status, 0, shown)
        self.assertIn("A000000333010101", results)
        self.assertRegex(shown, r"\rwith the card, \d+ s, \d+ exchanges")
        self.assertTrue(shown.endswith("\r\x1b[K"), repr(shown))
        run = quorrin("aids", "--reader", slow)
        self.assertEqual((run.returncode, run.stderr), (0, ""), "nothing where there is no terminal")

    def test_a_fast_card_shows_none(self):
        status, _, shown = self.on_a_terminal("aids", "--reader", "simulator")
        self.assertEqual((status, shown), (0, ""))

    def test_interrupted_every_command_powers_the_card_down_and_closes_the_reader(self):
        slow = os.environ["QUORRIN_SLOW_READER"]
        for command in CARD_COMMANDS:
            if command[0] == "doctor":  # records nothing
                continue
            trace = self.folder / f"{command[0]}{len(command)}.jsonl"
            with subprocess.Popen([QUORRIN, *command, "--reader", slow, "--trace", trace], stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True, env=ENVIRONMENT) as run:
                while not trace.exists() or "power_on" not in trace.read_text():
                    self.assertIsNone(run.poll(), command)
                run.send_signal(signal.SIGINT)
                _, messages = run.communicate(timeout=60)
            actions = [json.loads(line)["event.action"] for line in trace.read_text().splitlines()]
            self.assertEqual(actions[-1], "close", command)
            self.assertGreaterEqual(actions.count("power_off"), 1, command)
            self.assertIn("power_off", actions[actions.index("power_on"):], command)
            self.assertEqual(run.returncode, 1, command)
            self.assertIn("interrupted", messages, command)


if __name__ == "__main__":
    main()
