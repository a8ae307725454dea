"""The Python host on the simulated reader."""

import ctypes
import datetime
import threading
from decimal import Decimal

import pytest

import quorrin
from quorrin import CardDecision, IssuerAuthentication, PurchaseTerms, Search, TsiBit, TvrBit

DEBIT_AID = "A000000333010101"


def terms(amount, **more):
    return PurchaseTerms(
        amount=Decimal(amount),
        merchant="TEST TEA HOUSE",
        date=datetime.date(2026, 2, 28),
        time=datetime.time(13, 14, 15),
        **more,
    )


def test_opens_and_closes_the_reader_with_its_block(simulated_reader):
    with simulated_reader() as reader:
        assert reader.serial == "SIM00000001"
        assert quorrin.library().ReaderHandle.value > 0
    assert quorrin.library().ReaderHandle.value == 0
    with pytest.raises(quorrin.Misuse, match="closed"):
        reader.serial


def test_powers_the_card_down_with_its_block(simulated_reader):
    with simulated_reader() as reader:
        with reader.find_card() as card:
            assert card.atr.hex().upper() == "3B6D000053494D20544553542043415244"
        with pytest.raises(quorrin.Failure) as refused:
            card.transmit("00A4040000")
        assert refused.value.name == "QUORRIN_NOT_POWERED"


@pytest.mark.parametrize(
    "search, occupied, kind",
    [
        (Search.CONTACT, "contact", 11),
        (Search.CONTACT, "contactless", None),
        (Search.CONTACTLESS, "contactless", 12),
        (Search.CONTACTLESS, "contact", None),
        (Search.CONTACT_FIRST, "contactless", 12),
        (Search.CONTACTLESS_FIRST, "contact", 11),
        (Search.CONTACTLESS_FIRST, "further", None),
    ],
)
def test_finds_the_card_by_order_of_preference(simulated_reader, search, occupied, kind):
    with simulated_reader(**{occupied: "debit"}) as reader:
        if kind is None:
            with pytest.raises(quorrin.Failure) as failure:
                reader.find_card(search)
            assert failure.value.name == "QUORRIN_NO_CARD"
        else:
            assert reader.find_card(search).kind == kind


def test_looks_in_the_contact_slot_for_a_mute_contactless_card(simulated_reader):
    mute = {"slot": "contactless", "mute": True}
    reader = simulated_reader(contact="debit", contactless="debit", faults=[mute])
    assert reader.find_card(Search.CONTACTLESS_FIRST).kind == 11


def test_reads_the_holder_with_the_card_number_masked(simulated_card):
    holder = simulated_card().holder()
    assert holder.name == "TEST/CARD HOLDER"
    assert str(holder.pan) == "999901******0011"
    assert holder.pan.reveal() == "9999010000000011"
    assert holder.track2.pan == holder.pan
    assert "9999010000000011" not in repr(holder)
    assert holder.expires == datetime.date(2030, 12, 31)
    assert holder.balance == Decimal("100.00")


def test_lists_the_applications_of_either_directory(simulated_reader):
    reader = simulated_reader(contact="two_applications", contactless="quick")
    assert reader.find_card(Search.CONTACT).applications() == [
        "A000000333010102",
        "A000000333010101",
    ]
    assert reader.find_card(Search.CONTACTLESS).applications() == [DEBIT_AID]


def test_tells_what_the_c_interface_tells_of_a_failure(simulated_card):
    card = simulated_card()
    with pytest.raises(quorrin.Failure) as refused:
        card.holder("A0000099990101")
    failure = refused.value
    assert (failure.step, failure.code, failure.name) == (
        "getIccInfo",
        -27266,
        "QUORRIN_FILE_NOT_FOUND",
    )
    assert str(failure.status_word) == "6A82"
    assert failure.next.startswith("Go on with another")
    text = ctypes.create_string_buffer(128)
    quorrin.library().TransRetCode(-27266, text)
    assert failure.message == text.value.decode() != ""


@pytest.mark.parametrize(
    "profile, aid",
    [
        ("debit", ""),
        ("credit", "A000000333010102"),
        ("gm", ""),
        ("two_applications", DEBIT_AID),
    ],
)
def test_sells_online_with_every_kind_of_card(simulated_card, test_bank, profile, aid):
    card = simulated_card(contact=profile)
    purchase = card.start_purchase(terms("128.50"), aid)
    assert purchase.decision is CardDecision.ASKS_ONLINE
    answer = test_bank.answer(purchase.online)
    assert answer.cryptogram_right, answer.reason
    outcome = purchase.finish(answer.issuer_text)
    assert outcome.approved
    assert outcome.response_code == "00"
    assert outcome.authorisation_code == "Q00001"
    assert outcome.authentication is IssuerAuthentication.ACCEPTED
    assert str(outcome.authentication_status) == "9000"
    assert not outcome.tvr
    assert outcome.scripts == outcome.not_taken == []
    assert card.get_data(0x9F13) == purchase.online.cryptogram.atc.to_bytes(2, "big")


def test_sends_the_terms_to_the_card_and_the_bank(simulated_card, test_bank):
    purchase = simulated_card().start_purchase(
        terms(
            "1.23",
            other=Decimal("0.45"),
            currency=978,
            country=276,
            type=0x20,
            unpredictable_number=bytes.fromhex("DEADBEEF"),
            elements={0x9F1E: b"77777777", 0x9F35: b"\x21"},
        )
    )
    assert purchase.element(0x9F02) == bytes.fromhex("000000000123")
    assert purchase.element("Amount, other (numeric)") == bytes.fromhex("000000000045")
    field_55 = purchase.online.field_55.hex().upper()
    for item in (
        "9F3704DEADBEEF", "9A03260228", "9C0120", "9F0206000000000123", "5F2A020978",
        "9F1A020276", "9F0306000000000045", "95050000000000", "9F350121",
        "9F1E083737373737373737",
    ):  # fmt: skip
        assert item in field_55
    assert test_bank.answer(purchase.online).cryptogram_right


def test_lets_the_terminal_set_its_findings_before_the_cryptogram(simulated_card, test_bank):
    def assess(tvr, tsi):
        tvr.add(TvrBit.FLOOR_LIMIT_EXCEEDED)
        tvr.add(TvrBit.NEW_CARD)
        tsi.add(TsiBit.TERMINAL_RISK_MANAGEMENT_PERFORMED)

    purchase = simulated_card().start_purchase(terms("1.00", assess=assess))
    assert bytes(purchase.tvr) == bytes.fromhex("0008008000")
    answer = test_bank.answer(purchase.online)
    assert answer.cryptogram_right, answer.reason
    outcome = purchase.finish(answer.issuer_text)
    assert outcome.tvr == {TvrBit.FLOOR_LIMIT_EXCEEDED, TvrBit.NEW_CARD}
    assert str(outcome.tvr) == "New card; Transaction exceeds floor limit"
    assert outcome.tsi == {TsiBit.TERMINAL_RISK_MANAGEMENT_PERFORMED}


def test_tells_that_the_card_refused_the_banks_authentication(simulated_card, test_bank):
    card = simulated_card()
    purchase = card.start_purchase("1.00")
    wrong = quorrin.BankDecision(arpc=quorrin.bank.Arpc.WRONG)
    outcome = purchase.finish(test_bank.answer(purchase.online, decision=wrong).issuer_text)
    assert outcome.authentication is IssuerAuthentication.REFUSED
    assert str(outcome.authentication_status) == "6300"
    assert outcome.response_code == "00"
    assert not outcome.approved
    assert card.get_data(0x9F13) != card.get_data(0x9F36)


def test_tells_a_lost_answer_from_a_refusal(simulated_card, test_bank):
    card = simulated_card(faults=[{"command": "00 82 xx xx", "result": -4}])
    purchase = card.start_purchase("1.00")
    outcome = purchase.finish(test_bank.answer(purchase.online).issuer_text)
    assert outcome.authentication is IssuerAuthentication.NO_ANSWER
    assert outcome.authentication_code == quorrin.CONSTANTS["QUORRIN_CARD_MUTE"]


def test_names_what_became_of_each_script(simulated_card, test_bank):
    card = simulated_card()
    purchase = card.start_purchase("1.00")
    wishes = ["71/00000001: put 9F78 000000080000", "72/00000002: put 9F79 000000030000"]
    answer = test_bank.answer(purchase.online, wishes)
    malformed = "720C9F180400000003860304DA9F"
    outcome = purchase.finish(answer.issuer_text + malformed)
    assert [(s.name, s.identifier.hex(), s.failed_command) for s in outcome.scripts] == [
        ("successful", "00000001", 0),
        ("successful", "00000002", 0),
        ("failed", "00000003", 1),
    ]
    assert outcome.tvr == {TvrBit.SCRIPT_FAILED_AFTER_FINAL_AC}
    assert TsiBit.SCRIPT_PROCESSING_PERFORMED in outcome.tsi
    assert card.holder().balance == Decimal("300.00")


def test_names_the_objects_that_the_library_passed_over(simulated_card):
    rows = {
        "8A0230308906303030303030": [],
        "89063030303030308A023030": [0x8A],
        "8A03303030": [0x8A],
        "8A0230309F3602000191080102030405060708": [0x9F36],
        "8A0230308A": [0x8A],
    }
    card = simulated_card()
    for answer, not_taken in rows.items():
        assert card.start_purchase("1.00").finish(answer).not_taken == not_taken


def test_reads_the_log_as_records(simulated_card):
    card = simulated_card(contact="gm")
    assert card.log() == []
    first = card.start_purchase(terms("128.50"))
    card.start_purchase(terms("0.07"))
    newest, record = card.log()
    assert newest.amount == Decimal("0.07")
    assert record.amount == Decimal("128.50")
    assert record.date == datetime.date(2026, 2, 28)
    assert record.time == datetime.time(13, 14, 15)
    assert record.merchant == "TEST TEA HOUSE"
    assert (record.currency, record.country, record.type) == ("0156", "0156", 0)
    assert record.atc == first.online.cryptogram.atc


def test_sends_raw_commands(simulated_card):
    card = simulated_card()
    selected = card.transmit("00A4040008 A000000333010101 00")
    assert selected.status_word.success
    assert selected.data[0] == 0x6F
    refused = card.transmit(quorrin.Command(0x00, 0xB2, 0x63, 0x0C, le=0))
    assert (refused.data, str(refused.status_word)) == (b"", "6A83")


@pytest.mark.parametrize("bad", ["", "0082", "0082000002 01", "0082000001 0102 03", "0082000000 01"])
def test_refuses_commands_that_are_none(bad):
    with pytest.raises(ValueError):
        quorrin.Command.parse(bad)


@pytest.mark.parametrize(
    "exchanges, step",
    [(1, "emvSelectAid"), (4, "emvGPO"), (5, "emvReadICCard"), (8, "emvGACFrist")],
)
def test_fails_at_whatever_step_the_card_is_taken_out(simulated_card, exchanges, step):
    card = simulated_card(faults=[{"removed_after": exchanges}])
    with pytest.raises(quorrin.Failure) as removed:
        card.start_purchase("1.00")
    assert (removed.value.step, removed.value.name) == (step, "QUORRIN_NO_CARD")


def test_finds_misuse_out(simulated_reader):
    reader = simulated_reader()
    with pytest.raises(quorrin.Misuse, match="open already"):
        quorrin.Reader()
    card = reader.find_card()
    raised = []

    def use_in_another_thread():
        try:
            card.holder()
        except quorrin.Misuse as misuse:
            raised.append(str(misuse))

    thread = threading.Thread(target=use_in_another_thread)
    thread.start()
    thread.join()
    assert raised == ["the reader is used by another thread"]

    old = card.start_purchase("1.00")
    purchase = card.start_purchase("1.00")
    with pytest.raises(quorrin.Misuse, match="another operation"):
        old.finish("8A023030")
    purchase.finish("8A023030")
    with pytest.raises(quorrin.Misuse, match="finished"):
        purchase.finish("8A023030")
    with pytest.raises(quorrin.Misuse, match="20 characters"):
        card.start_purchase(PurchaseTerms(merchant="A NAME OF MORE THAN TWENTY"))
    with pytest.raises(quorrin.Misuse, match="9F02"):
        card.start_purchase(PurchaseTerms(elements={0x9F02: b"\1"}))
    reader.close()
    with pytest.raises(quorrin.Misuse, match="closed"):
        card.holder()


def test_refuses_two_reader_libraries_in_one_process(simulated_reader):
    simulated_reader().close()
    with pytest.raises(quorrin.Misuse, match="another process"):
        quorrin.Reader(reader_library="libc.so.6")
    with pytest.raises(quorrin.Misuse, match="choose one"):
        quorrin.Reader(simulator=True, pcsc=True)


@pytest.mark.parametrize("bad", ["1.234", "-1", "10000000000.00", "NaN", "Infinity"])
def test_refuses_amounts_that_no_card_can_hold(simulated_card, bad):
    with pytest.raises(ValueError):
        simulated_card().start_purchase(Decimal(bad))


def test_masks_card_numbers_of_every_length():
    assert str(quorrin.Pan("9999050000000000060")) == "999905*********0060"
    assert str(quorrin.Pan("1234567890")) == "******7890"
    assert str(quorrin.Pan("1234")) == "****"
    assert str(quorrin.Pan()) == ""
    assert repr(quorrin.Track2("1234567890D3012F")) == "Track2('******7890*****')"


def test_knows_elements_by_name():
    assert quorrin.tag_of("application LABEL") == 0x50
    assert quorrin.name_of(0x9F36) == "Application transaction counter (ATC)"
    assert quorrin.name_of(0xDFEE) == ""
    with pytest.raises(KeyError):
        quorrin.tag_of("nonsense")
