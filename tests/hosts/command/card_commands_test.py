"""The card commands of `quorrin` as a user calls them, against the simulated reader.

card_commands_test.py QUORRIN SCHEMAS PROFILES
"""
import json
import re
import tomllib

from command_line import COMMAND, FIXED, PROFILES, QUORRIN, CommandTest, check_json, main, on_a_terminal, quorrin, simulated


class CardCommands(CommandTest):
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

    def test_info_says_what_kind_of_card_it_is(self):
        for card, words in (("gm", "the national algorithms (SM)"), ("expired", "EXPIRED, it was good to 2020-12-31"),
                            ("two_applications", "besides  UnionPay debit (--aid A000000333010101)"),
                            ("full", "combined data authentication (CDA)"), ("quick", "contactless payment at a touch"),
                            ("international", "has    contactless directory (PPSE)\n\n"),
                            ("debit", "electronic cash, CNY 100.00"), ("credit", "UnionPay credit")):
            self.assertIn(words, simulated("info", reader=self.with_card(card)).stdout)
        self.assertFalse(self.result("info", "--date", "201231", reader=self.with_card("expired"))["expired"])
        self.assertTrue(self.result("info", "--date", "210101", reader=self.with_card("expired"))["expired"])

    def test_log_tells_dates_amounts_and_merchants(self):
        run = simulated("log")
        self.assertEqual(run.returncode, 0)
        self.assertIn("2025-01-10  19:32:07", run.stdout)
        self.assertIn("CNY 39.80", run.stdout)
        self.assertEqual(len(self.result("log")["records"]), 10)

    def test_log_reads_load_logs_that_the_library_refuses(self):
        self.assertEqual(self.result("log", "--loads")["kind"], "loads")
        self.assertRegex(simulated("log", "--loads").stdout, r"CNY \d+\.\d\d +CNY \d+\.\d\d")

    def test_dump_shows_directory_records_and_data(self):
        titles = [section["title"] for section in self.result("dump")["sections"]]
        for wanted in ("Directory 1PAY.SYS.DDF01", "Application A000000333010101, UnionPay debit", "Record 1 of file 1"):
            self.assertIn(wanted, titles)
        self.assertTrue(any(title.startswith("GET DATA 9F36") for title in titles))

    def test_dump_leaves_the_card_as_it_was(self):
        state = self.folder / "state.toml"
        profile = self.folder / "card.toml"
        profile.write_text('state = "state.toml"\n' + (PROFILES / "debit.toml").read_text())
        reader = self.reader_file(f'[contact]\nprofile = "{profile}"\n')
        self.assertEqual(simulated("dump", reader=reader).stdout, simulated("dump", reader=reader).stdout)
        self.assertFalse(state.exists(), "the card keeps what changes it")
        self.assertEqual(simulated("purchase", reader=reader).returncode, 0)
        self.assertTrue(state.exists(), "and a purchase does")

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

    def test_purchase_says_what_the_card_refused_of_the_banks_commands(self):
        value = self.result("purchase", "--wish", "put 9F79 0000", "--wish", "put 9F79 000000030000")
        self.assertEqual([(sent["command"], sent["status"], sent["taken"]) for sent in value["script_commands"]],
                         [("04DA9F79", "6700", False), ("04DA9F79", "9000", True)])
        self.assertEqual(value["ended"], "approved")
        self.assertIn("took 1 of 2 of the bank's commands", value["notes"][0])

    def test_purchase_says_what_makes_an_approval_doubtful(self):
        self.assertIn("no ARPC", self.result("purchase", "--arpc", "none")["notes"][0])
        self.assertIn("out of date", self.result("purchase", reader=self.with_card("expired"))["notes"][0])
        self.assertEqual(self.result("purchase")["notes"], [])

    def test_purchase_that_breaks_off_says_whether_the_bank_was_asked(self):
        for exchanges, asked in ((4, "the bank was not asked"), (9, "has to be told (a reversal)")):
            reader = self.with_card("debit", f'[[fault]]\nslot = "contact"\nremoved_after = {exchanges}\n')
            value = self.result("purchase", "--wish", "put 9F79 000000030000", reader=reader, code=1)
            self.assertTrue(value["ended"].startswith("not completed"), value["ended"])
            self.assertIn(asked, value["why"])

        reader = self.with_card("debit", '[[fault]]\nslot = "contact"\nremoved_after = 10\n')
        value = self.result("purchase", "--wish", "put 9F79 000000030000", reader=reader)
        self.assertEqual([sent["meaning"] for sent in value["script_commands"]], ["no answer"])
        self.assertIn("took 0 of 1 of the bank's commands", value["notes"][0])

    def test_purchase_tells_the_bank_of_a_card_that_has_expired(self):
        value = self.result("purchase", "--response-code", "54", reader=self.with_card("expired"), code=1)
        self.assertIn("Expired application", value["why"])
        self.assertIn("95050040000000", value["field_55"])

    def test_purchase_shows_what_it_leaves_on_the_card(self):
        run = simulated("purchase", "--date", "261121", "--time", "120000", "--wish", "put 9F79 000000030000")
        self.assertRegex(run.stdout, r"electronic cash +CNY 300\.00")
        self.assertRegex(run.stdout, r"newest log record +2026-11-21, 12:00:00, CNY 128\.50, TEST TEA HOUSE, transaction 11")

    def test_purchase_goes_the_quick_way_only_where_it_is_asked_to(self):
        reader = self.with_card("quick")
        self.assertEqual(self.result("purchase", reader=reader)["ended"], "approved")
        for amount, qualifiers, status, ended, balance in (
                ("12.00", "26000000", 0, "approved offline by the card, the quick way", "CNY 18.00"),
                ("60.00", "26000000", 1, "not completed: the card asks its bank, the quick way", None),
                ("60.00", "F4000000", 1, "not completed: the card asks its bank, the quick way", None)):
            quick = ["purchase", "--qualifiers", qualifiers, "--amount", amount]
            self.assertEqual(self.result(*quick, reader=reader, code=status)["ended"], ended)
            shown = simulated(*quick, reader=reader).stdout
            self.assertIn(f"electronic cash        {balance}" if balance else "bank was not asked", shown)

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
        COMMAND.validate(json.loads(run.stdout))
        spoilt = json.loads(request)
        spoilt["field_55"] = spoilt["field_55"].replace("9F02060000000128", "9F02060000000129")
        run = quorrin("bank", "--request", "-", "--json", text=json.dumps(spoilt))
        self.assertEqual((run.returncode, json.loads(run.stdout)["cryptogram_right"]), (1, False))

    def test_profile_is_begun_and_checked(self):
        file = self.folder / "new.toml"
        self.assertEqual(quorrin("profile", "new", file).returncode, 0)
        tomllib.loads(file.read_text())
        run = quorrin("profile", "check", file, "--json")
        COMMAND.validate(json.loads(run.stdout))
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

    def test_a_simulated_card_is_named_in_place_of_a_reader_file(self):
        trace = self.folder / "trace.jsonl"
        in_its_slot = simulated("aids", "--trace", trace, reader=self.with_card("two_applications"))
        profile = self.folder / 'a "quoted" näme.toml'
        profile.write_text((PROFILES / "two_applications.toml").read_text())
        for named in ("two_applications", profile, trace):
            run = simulated("aids", reader=f"simulator:{named}")
            self.assertEqual((run.returncode, run.stdout), (0, in_its_slot.stdout), run.stderr)
        self.assertIn("contactless slot", simulated("purchase", *FIXED, "--slot", "contactless",
                                                    reader="simulator:quick").stdout)
        self.assertEqual(simulated("apdu", "00A4040000", "--slot", "sam1", reader="simulator:credit").returncode, 0)
        elsewhere = {"QUORRIN_PROFILES": str(self.folder)}
        (self.folder / "mine.toml").write_text(profile.read_text())
        self.assertEqual(simulated("aids", reader="simulator:mine", environment=elsewhere).stdout, in_its_slot.stdout)

    def test_doctor_names_a_cure_for_what_is_missing(self):
        run = quorrin("doctor", "--reader", "simulator", "--json")
        value = json.loads(run.stdout)
        COMMAND.validate(value)
        self.assertTrue(all(check["cure"] for check in value["checks"] if check["health"] != "good"))

    # How it is told

    def test_loads_have_no_empty_columns_and_an_amount(self):
        by_balance = simulated("log", "--loads").stdout.splitlines()
        self.assertEqual(by_balance[0].split(), ["date", "time", "before", "after", "amount", "country", "merchant", "ATC"])
        self.assertRegex(by_balance[1], r"CNY 0\.00 +CNY 100\.00 +CNY 100\.00 +China")
        by_amount = simulated("log", "--loads", reader=self.with_card("load_log")).stdout.splitlines()
        self.assertEqual(by_amount[0].split(), ["date", "time", "type", "amount", "country", "merchant", "ATC"])

    def test_masked_values_are_short(self):
        for card in ("debit", "quick", "international"):
            lines = simulated("info", reader=self.with_card(card)).stdout.splitlines()
            self.assertLess(max(map(len, lines)), 80)
        self.assertIn("D\u2026 masked", simulated("info").stdout)
        self.assertIn("*" * 18, {element["key"]: element["text"] for element in self.result("info")["elements"]}["K"])

    def test_a_narrow_terminal_gets_narrow_lines(self):
        for command in (["info"], ["log"], ["log", "--loads"], ["aids"], ["dump"], ["readers"], ["apdu", "80CA9F3600"]):
            for columns in (72, 80):
                lines = on_a_terminal(*command, "--reader", "simulator", columns=columns)
                self.assertGreater(len(lines), 1, command)
                self.assertEqual([line for line in lines if len(line) > columns], [], command)
        wide = on_a_terminal("log", "--reader", "simulator", columns=200)
        self.assertEqual(wide, simulated("log").stdout.splitlines(), "a wide one gets what a file gets")
        narrow = "\n".join(on_a_terminal("log", "--reader", "simulator", columns=80))
        self.assertIn("2025-01-10  19:32:07  Purchase  CNY 39.80   China    TEST SUPERMARKET   10", narrow)

    def test_words_that_warn_are_red_on_a_terminal(self):
        rows = [(["info"], "expired", "\033[31mEXPIRED, it was good to 2020-12-31\033[0m"), (["aids"], "blocked", "\033[31mblocked, 6283"),
                (["aids"], "debit", "\033[32mready\033[0m")]
        for command, card, words in rows:
            reader = self.with_card(card)
            self.assertIn(words, "\n".join(on_a_terminal(*command, "--reader", reader, columns=120, colours=True)))
            self.assertNotIn("\033", simulated(*command, reader=reader).stdout)

    def test_replay_names_its_reader_file_for_programs(self):
        trace, file = self.folder / "trace.jsonl", self.folder / "reader.toml"
        simulated("pan", "--trace", trace)
        for arguments, written in (([], ""), (["--write", file], str(file))):
            value = check_json(quorrin("replay", trace, *arguments, "--json").stdout)
            self.assertEqual(value, {"command": "replay", "version": 1, "trace": str(trace), "slot": "contact",
                                     "reader_file": written, "text": f'[contact]\ntrace = "{trace}"\n'})
        self.assertEqual(file.read_text(), value["text"])

    def test_a_host_that_departs_from_the_recording_is_told_once(self):
        trace = self.folder / "trace.jsonl"
        simulated("purchase", "--trace", trace)
        run = quorrin("replay", trace, "--", QUORRIN, "info", "--reader", "simulator")
        self.assertEqual(run.returncode, 1)
        self.assertIn("departs from", run.stderr)
        self.assertEqual(run.stderr.count("An answer of the card"), 1)

    def test_kinds_of_data_stand_in_columns(self):
        lines = quorrin("decode", "--kinds").stdout.splitlines()
        self.assertEqual(len({re.match(r"  \S+ +", line).end() for line in lines}), 1)
        self.assertGreater(len(lines), 40)

    def test_help_of_every_command_has_an_example(self):
        listed = re.findall(r"^  (\w+) {2,}\S", quorrin("--help").stdout.split("Subcommands:")[1], re.MULTILINE)
        self.assertGreaterEqual(len(listed), 14)
        for command in listed:
            run = quorrin(command, "--help")
            self.assertEqual(run.returncode, 0)
            self.assertIn("quorrin " + command, run.stdout.split("Examples:")[1], command)
            self.assertLessEqual(max(map(len, run.stdout.splitlines())), 80, command)


if __name__ == "__main__":
    main()
