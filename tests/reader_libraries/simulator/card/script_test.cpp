// Issuer scripts, sealed by the bank: what they change, and what keeps forged ones out.
#include "bank/issuer_scripts.hpp"
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

using bank::ScriptCommand;

class CardScript : public CardTest {
  protected:
    void SetUp() override { terminal.purchase(first_aid); }

    // The status words of a script of these commands.
    std::vector<unsigned> run(std::initializer_list<ScriptCommand> commands) {
        std::vector<unsigned> statuses;
        for (const CardReply& reply : terminal.run_scripts(answer_with(commands))) {
            EXPECT_EQ(reply.data, ByteString{});
            statuses.push_back(reply.status);
        }
        return statuses;
    }

    unsigned verify(const char* block) {
        return terminal.send(std::string("0020008008") + block).status;
    }
};

using Statuses = std::vector<unsigned>;

TEST_F(CardScript, BlocksTheApplicationAndUnblocksItInTheSameTransaction) {
    EXPECT_EQ(
        run({bank::application_block(), bank::application_unblock(), bank::application_block()}),
        (Statuses{0x9000, 0x9000, 0x9000}));
    const ByteString fci = terminal.select(first_aid).data;
    EXPECT_EQ(terminal.select(first_aid).status, 0x6283U);
    EXPECT_EQ(expect_element(fci, "84"), first_aid);
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    EXPECT_EQ(terminal.data_value("9F36"), hex("0012"));
    // The other application is not concerned.
    EXPECT_EQ(terminal.select(second_aid).status, 0x9000U);
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
}

// EMV book 3 section 6.5.2 and 6.5.5: a blocked application gives AACs, and takes its unblocking alone.
TEST_F(CardScript, UnblocksABlockedApplicationLaterUnderAnAac) {
    const auto under_the_arqc = answer_with({bank::application_unblock()});
    run({bank::application_block()});
    terminal.card().power_off();
    terminal.card().power_on();
    EXPECT_EQ(terminal.select(first_aid).status, 0x6283U);
    EXPECT_EQ(terminal.run_scripts(under_the_arqc).at(0).status, 0x6985U);
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    terminal.read_records();
    EXPECT_EQ(terminal.run_scripts(under_the_arqc).at(0).status, 0x6985U);
    EXPECT_EQ(terminal.generate_ac(0x80).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("00"));
    EXPECT_EQ(terminal.run_scripts(under_the_arqc).at(0).status, 0x6988U);
    // Sealed rightly, but not what a blocked application takes; it does not move the chain.
    EXPECT_EQ(run({bank::put_data(0x9F79, hex("000000020000"))}), Statuses{0x6985});
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000010000"));
    EXPECT_EQ(
        run({bank::application_unblock(), bank::application_block(), bank::application_unblock()}),
        (Statuses{0x9000, 0x9000, 0x6985}))
        << "once under a cryptogram";
    terminal.select(first_aid);
    terminal.get_options();
    terminal.generate_ac(0x40);
    EXPECT_EQ(run({bank::application_unblock()}), Statuses{0x9000});
    EXPECT_EQ(terminal.select(first_aid).status, 0x9000U);
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
}

TEST_F(CardScript, GivesOnlyAnAacOnceItIsBlocked) {
    run({bank::application_block()});
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("00"));
}

TEST_F(CardScript, EndsTheTransactionWithAnAacOnceTheCardIsBlocked) {
    EXPECT_EQ(run({bank::card_block()}), Statuses{0x9000});
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("00"));
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x6A81U);
    EXPECT_EQ(terminal.select(first_aid).status, 0x6A81U);
}

TEST_F(CardScript, EndsAfterAsManyWrongMacsAsTheProfileSays) {
    Terminal strict(card_of(
        changed(test_profile(), "pin_tries = 3", "pin_tries = 3\nscript_mac_failures = 2")));
    strict.purchase(first_aid);
    const bank::Decision decision{.authorisation_code = {},
                                  .status_update = {},
                                  .proprietary_data = {},
                                  .scripts = {{.phase = bank::ScriptPhase::AfterFinalCryptogram,
                                               .identifier = {},
                                               .commands = {bank::application_block()}}}};
    const auto answer = bank::answer_online(test_bank(), strict.online_request(), decision);
    ByteString wrong = expect_element(answer.issuer_data, "86");
    wrong.back() ^= 0x01;
    EXPECT_EQ(strict.send(wrong).status, 0x6988U);
    EXPECT_EQ(strict.send(wrong).status, 0x6988U);
    EXPECT_EQ(strict.run_scripts(answer).at(0).status, 0x6985U);
    strict.purchase(first_aid);
    EXPECT_EQ(expect_element(strict.cryptogram_answer, "9F10").at(6) & 0x08, 0x08);
}

TEST_F(CardScript, BlocksTheCardForGood) {
    EXPECT_EQ(run({bank::card_block()}), Statuses{0x9000});
    for (const char* command : {"00A4040008A000000333010101", "00B2010C00", "0084000000",
                                "80CA9F3600", "84180000040000000000"}) {
        EXPECT_EQ(terminal.send(command).status, 0x6A81U) << command;
    }
    terminal.card().power_off();
    EXPECT_EQ(terminal.card().power_on(), hex("3B00"));
    EXPECT_EQ(terminal.select(second_aid).status, 0x6A81U);
}

TEST_F(CardScript, GivesBackThePinTries) {
    verify("241111FFFFFFFFFF");
    verify("241111FFFFFFFFFF");
    verify("241111FFFFFFFFFF");
    EXPECT_EQ(terminal.data_value("9F17"), hex("00"));
    EXPECT_EQ(run({bank::pin_unblock()}), Statuses{0x9000});
    EXPECT_EQ(terminal.data_value("9F17"), hex("03"));
    EXPECT_EQ(verify("241234FFFFFFFFFF"), 0x9000U);
}

TEST_F(CardScript, ChangesThePin) {
    EXPECT_EQ(run({bank::pin_change("987654")}), Statuses{0x9000});
    EXPECT_EQ(verify("241234FFFFFFFFFF"), 0x63C2U);
    EXPECT_EQ(verify("26987654FFFFFFFF"), 0x9000U);
    EXPECT_EQ(terminal.data_value("9F17"), hex("03"));
}

TEST_F(CardScript, ChangesThePinUnderTheCurrentOne) {
    EXPECT_EQ(run({bank::pin_change("5678", "1234"), bank::pin_change("0000", "5678")}),
              (Statuses{0x9000, 0x9000}));
    EXPECT_EQ(verify("245678FFFFFFFFFF"), 0x63C2U);
    EXPECT_EQ(verify("240000FFFFFFFFFF"), 0x9000U);
}

// Issuers keep card keys with odd parity, and the PIN block takes bytes of the key as they are.
TEST_F(CardScript, TakesTheNewPinOfAnIssuerWhoseKeysHaveParity) {
    for (const std::string pin : {"8642", "123456789012"}) {
        terminal.purchase(first_aid);
        const auto request = terminal.online_request();
        auto keys = cryptography::derive_card_keys(cryptography::Algorithm::TripleDes,
                                                   test_bank().master_keys, request.pan,
                                                   request.pan_sequence_number);
        for (auto* key : {&keys.cryptogram, &keys.mac, &keys.encipherment}) {
            *key = cryptography::with_odd_parity(*key);
        }
        bank::Script script;
        script.commands = {bank::pin_change(pin)};
        const cryptography::ScriptContext context{.atc = request.covered.atc, .arqc = request.arqc};
        const ByteString sealed = bank::sealed_scripts({&script, 1}, context, keys);
        EXPECT_EQ(terminal.send(expect_element(sealed, "86")).status, 0x9000U) << pin;
        std::string block = "002000800824" + pin + "FFFFFFFFFF";
        block[11] = "0123456789ABC"[pin.size()];
        block.resize(26);
        EXPECT_EQ(terminal.send(block).status, 0x9000U) << pin;
    }
}

TEST_F(CardScript, RefusesANewPinThatIsNone) {
    // Sealed rightly, and not enciphered.
    ScriptCommand forged = bank::pin_unblock();
    forged.p2 = 0x02;
    forged.data = filled(16, 0x00);
    EXPECT_EQ(run({forged}), Statuses{0x6A80});
    EXPECT_EQ(verify("241234FFFFFFFFFF"), 0x9000U);
}

TEST_F(CardScript, PutsDataUnderBothClasses) {
    EXPECT_EQ(
        run({bank::put_data(0x9F79, hex("000000020000")),
             bank::put_data(0x9F77, hex("000000200000"), bank::CommandClass::SecureProprietary)}),
        (Statuses{0x9000, 0x9000}));
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000020000"));
    EXPECT_EQ(terminal.data_value("9F77"), hex("000000200000"));
}

TEST_F(CardScript, LogsALoadOfElectronicCash) {
    EXPECT_EQ(terminal.send("00B2016400").status, 0x6A83U);
    run({bank::put_data(0x9F79, hex("000000020000")), bank::put_data(0x9F77, hex("000000200000")),
         bank::put_data(0x9F79, hex("000000030000"))});
    EXPECT_EQ(to_hex(terminal.send("00B2016400").data),
              "9F79000000020000000000030000"
              "2506170011");
    EXPECT_EQ(to_hex(terminal.send("00B2026400").data),
              "9F79000000010000000000020000"
              "2506170011");
    EXPECT_EQ(terminal.send("00B2036400").status, 0x6A83U);
}

TEST_F(CardScript, UpdatesARecordUnderBothClasses) {
    const ByteString record = hex("70 0C 9F61 09 4E4557204F574E4552");
    EXPECT_EQ(run({bank::update_record(3, 1, hex("70 00")),
                   bank::update_record(3, 1, record, bank::CommandClass::SecureProprietary)}),
              (Statuses{0x9000, 0x9000}));
    EXPECT_EQ(terminal.send("00B2011C00").data, record);
    EXPECT_EQ(terminal.send("00B2010C00").data.size(), 28U);
}

TEST_F(CardScript, RefusesWhatItDoesNotHave) {
    EXPECT_EQ(run({bank::put_data(0x9F6D, hex("000000000000")), bank::put_data(0x9F36, hex("0000")),
                   bank::put_data(0x9F79, hex("0000"))}),
              (Statuses{0x6A88, 0x6A88, 0x6700}));
    EXPECT_EQ(run({}), Statuses{});
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000010000"));
}

TEST_F(CardScript, RefusesRecordsThatItDoesNotHave) {
    EXPECT_EQ(run({bank::update_record(3, 2, hex("7000")), bank::update_record(4, 1, hex("7000")),
                   bank::update_record(11, 1, hex("7000"))}),
              (Statuses{0x6A83, 0x6A82, 0x6A82}));
}

TEST_F(CardScript, RefusesParametersThatItDoesNotKnow) {
    ScriptCommand block = bank::application_block();
    block.p2 = 0x01;
    ScriptCommand with_data = bank::application_block();
    with_data.data = hex("00");
    ScriptCommand pin = bank::pin_unblock();
    pin.p2 = 0x03;
    ScriptCommand record = bank::update_record(3, 1, hex("7000"));
    record.p2 = 0x1C | 0x01;
    EXPECT_EQ(run({block, with_data, pin, record}), (Statuses{0x6A86, 0x6700, 0x6A86, 0x6A86}));
    EXPECT_EQ(terminal.select(first_aid).status, 0x9000U);
}

TEST_F(CardScript, RefusesAnyFlippedBitAndTakesTheRightCommandAfterwards) {
    const auto answered = answer_with({bank::put_data(0x9F79, hex("000000020000"))});
    const ByteString command = expect_element(answered.issuer_data, "86");
    ASSERT_EQ(command.size(), 15U);
    for (std::size_t bit = 0; bit < command.size() * 8; ++bit) {
        if (bit / 8 == 4) {
            continue;  // Lc: another length altogether, below
        }
        ByteString flipped = command;
        flipped[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        const unsigned status = terminal.send(join(flipped, hex("00"))).status;
        // Another class or instruction may be one that the card does not have.
        if (bit / 8 > 1) {
            EXPECT_EQ(status, 0x6988U) << bit;
        } else {
            EXPECT_NE(status, 0x9000U) << bit;
        }
        EXPECT_EQ(terminal.data_value("9F79"), hex("000000010000")) << bit;
    }
    EXPECT_EQ(terminal.send(join(command, hex("00"))).status, 0x9000U);
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000020000"));
}

TEST_F(CardScript, RefusesACommandSentAgainOrOutOfOrder) {
    const auto answered = answer_with(
        {bank::put_data(0x9F79, hex("000000020000")), bank::put_data(0x9F77, hex("000000200000"))});
    std::vector<ByteString> commands;
    for (const FoundObject& object : objects_in(expect_element(answered.issuer_data, "72"))) {
        commands.push_back(object.value);
    }
    ASSERT_EQ(commands.size(), 2U);
    EXPECT_EQ(terminal.send(commands[1]).status, 0x6988U);
    EXPECT_EQ(terminal.send(commands[0]).status, 0x9000U);
    EXPECT_EQ(terminal.send(commands[0]).status, 0x6988U);
    EXPECT_EQ(terminal.send(commands[1]).status, 0x9000U);
}

TEST_F(CardScript, RefusesTheScriptOfAnotherTransaction) {
    const auto earlier = answer_with({bank::application_block()});
    terminal.purchase(first_aid);
    EXPECT_EQ(terminal.run_scripts(earlier).at(0).status, 0x6988U);
    EXPECT_EQ(terminal.select(first_aid).status, 0x9000U);
    EXPECT_EQ(terminal.run_scripts(earlier).at(0).status, 0x6985U);
}

TEST_F(CardScript, RefusesACommandWithoutMac) {
    EXPECT_EQ(terminal.send("841E0000").status, 0x6700U);
    EXPECT_EQ(terminal.send("841E000003 000000").status, 0x6700U);
    EXPECT_EQ(terminal.send("841E000004 00000000 00").status, 0x6988U);
}

TEST_F(CardScript, RunsBothPhasesInOneChain) {
    bank::Decision decision;
    decision.scripts.push_back({bank::ScriptPhase::AfterFinalCryptogram,
                                {},
                                {bank::put_data(0x9F77, hex("000000300000"))}});
    decision.scripts.push_back({bank::ScriptPhase::BeforeFinalCryptogram,
                                {},
                                {bank::put_data(0x9F79, hex("000000030000"))}});
    for (const auto& reply : terminal.run_scripts(answer(decision))) {
        EXPECT_EQ(reply.status, 0x9000U);
    }
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000030000"));
    EXPECT_EQ(terminal.data_value("9F77"), hex("000000300000"));
}

TEST_F(CardScript, IsCountedInTheNextVerificationResults) {
    run({bank::put_data(0x9F79, hex("000000020000")), bank::put_data(0x9F6D, hex("00"))});
    terminal.purchase(first_aid);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(6), 0x28);
    EXPECT_TRUE(answer().cryptogram_right);
    terminal.purchase(first_aid);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(6), 0x28) << "not online since";
    terminal.authenticate(answer());
    terminal.purchase(first_aid);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(6), 0x00);
}

}  // namespace
}  // namespace quorrin::test
