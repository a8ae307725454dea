"""The test bank from Python."""

import pathlib
import re

import pytest

import quorrin
from quorrin.bank import Arpc

KEYS = """
[keys]
cryptogram   = "0123456789ABCDEF FEDCBA9876543210"
mac          = "1133557799BBDDFF 0022446688AACCEE"
encipherment = "F1E2D3C4B5A69788 796A5B4C3D2E1F00"
[[product]]
name = "mine"
"""


def test_decides_by_rules(simulated_card):
    rules = KEYS + '[[rule]]\nname = "too much"\namount_over = 100_00\nresponse_code = "51"\n'
    bank = quorrin.TestBank(rules=rules)
    card = simulated_card()
    small = bank.answer(card.start_purchase("100.00").online)
    assert (small.product, small.rule, small.response_code) == ("mine", "", "00")
    purchase = card.start_purchase("100.01")
    answer = bank.answer(purchase.online)
    assert (answer.rule, answer.response_code, answer.approved) == ("too much", "51", False)
    outcome = purchase.finish(answer.issuer_text)
    assert (outcome.response_code, outcome.approved) == ("51", False)
    assert outcome.authentication is quorrin.IssuerAuthentication.ACCEPTED


def test_reads_rules_from_a_file(tmp_path, simulated_card):
    file = tmp_path / "bank.toml"
    file.write_text(KEYS)
    with quorrin.TestBank(file) as bank:
        assert bank.answer(simulated_card().start_purchase("1.00").online).product == "mine"


def test_answers_as_it_is_told(simulated_card, test_bank):
    online = simulated_card().start_purchase("1.00").online
    told = quorrin.BankDecision(response_code="10", authorisation_code="ABCDEF", arpc_method=2)
    answer = test_bank.answer(online, decision=told)
    assert (answer.response_code, answer.authorisation_code) == ("10", "ABCDEF")
    assert (answer.arpc_method, len(answer.authentication)) == (2, 8)
    none = test_bank.answer(online, decision=quorrin.BankDecision(arpc=Arpc.NONE))
    assert (none.authentication, none.arpc_method) == (b"", 0)


def test_says_why_it_refuses(simulated_card, test_bank):
    online = simulated_card().start_purchase("1.00").online
    with pytest.raises(quorrin.BankFailure, match="no such change") as failure:
        test_bank.answer(online, ["jump"])
    assert failure.value.code == quorrin.CONSTANTS["QUORRIN_BANK_BAD_WISH"]
    with pytest.raises(quorrin.BankFailure, match="line 1"):
        quorrin.TestBank(rules="nonsense")
    with pytest.raises(quorrin.BankFailure) as failure:
        quorrin.TestBank("/nowhere/bank.toml")
    assert failure.value.code == quorrin.CONSTANTS["QUORRIN_BANK_NO_FILE"]


def test_takes_the_rules_of_its_page(simulated_card):
    page = pathlib.Path(__file__).resolve().parents[3] / "docs" / "test-bank.md"
    rules = re.search(r"^```toml\n(.*?)^```", page.read_text(), re.M | re.S)[1]
    bank = quorrin.TestBank(rules=rules)
    card = simulated_card()
    sold = {
        amount: bank.answer(card.start_purchase(amount).online).rule
        for amount in ("500.01", "1.23", "1.00")
    }
    # The card is the stolen one of the page: that rule comes before the others but the limit.
    assert sold == {"500.01": "over the limit", "1.23": "stolen", "1.00": "stolen"}
