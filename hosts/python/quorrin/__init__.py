"""Quorrin for hosts in Python: a reader, a card, a purchase as values.

    import quorrin

    with quorrin.Reader(simulator=True) as reader, reader.find_card() as card:
        print(card.holder().name)
        purchase = card.start_purchase("128.50")
        answer = your_bank(purchase.online)        # hex text
        outcome = purchase.finish(answer)

What fails at the reader or the card raises Failure, a host's own mistake Misuse. The library serves one
reader, one transaction and one thread at a time: a host with several readers runs one process for each.
"""

from . import bank
from ._library import library
from ._tables import CONSTANTS, VERSION, TsiBit, TvrBit
from .bank import BankAnswer, BankDecision, BankFailure, TestBank
from .failures import Failure, Misuse, StatusWord
from .purchase import (
    CardDecision,
    Cryptogram,
    IssuerAuthentication,
    OnlineRequest,
    Outcome,
    Purchase,
    PurchaseTerms,
    ScriptOutcome,
    ScriptResult,
)
from .reader import Card, Command, HolderInformation, LogRecord, Reader, Response, Search
from .values import Pan, Track2, Tsi, Tvr, name_of, tag_of

__version__ = VERSION

__all__ = [
    "BankAnswer",
    "BankDecision",
    "BankFailure",
    "CONSTANTS",
    "Card",
    "CardDecision",
    "Command",
    "Cryptogram",
    "Failure",
    "HolderInformation",
    "IssuerAuthentication",
    "LogRecord",
    "Misuse",
    "OnlineRequest",
    "Outcome",
    "Pan",
    "Purchase",
    "PurchaseTerms",
    "Reader",
    "Response",
    "ScriptOutcome",
    "ScriptResult",
    "Search",
    "StatusWord",
    "TestBank",
    "Track2",
    "Tsi",
    "TsiBit",
    "Tvr",
    "TvrBit",
    "bank",
    "library",
    "name_of",
    "tag_of",
]
