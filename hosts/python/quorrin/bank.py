"""The test bank: the issuer behind test cards (docs/test-bank.md). Test keys only."""

import ctypes
import enum
import os
from dataclasses import dataclass
from types import TracebackType
from typing import Any, Iterable, Optional, Type, Union

from . import _library
from .purchase import OnlineRequest


class BankFailure(Exception):
    """The bank refused a call; code is a QuorrinBankResult."""

    def __init__(self, code: int, reason: str) -> None:
        super().__init__(reason)
        self.code = code


class Arpc(enum.Enum):
    """What the bank does about issuer authentication (91)."""

    RIGHT = 0
    WRONG = 1  # on purpose: cards must refuse it
    NONE = 2


@dataclass(frozen=True)
class BankDecision:
    """What the bank is to decide, where its rules do not. Empty and 0 leave it to the rules."""

    response_code: str = ""
    authorisation_code: str = ""
    arpc: Arpc = Arpc.RIGHT
    arpc_method: int = 0
    status_update: bytes = bytes(4)


@dataclass(frozen=True)
class BankAnswer:
    """The bank's verdict and answer. issuer_text is the whole answer, for Purchase.finish."""

    cryptogram_right: bool
    approved: bool
    arpc_method: int
    authentication: bytes
    response_code: str
    authorisation_code: str
    product: str
    rule: str
    reason: str
    issuer_text: str


class TestBank:
    """A bank with test keys: that of the simulator's cards, or one by a rules file or TOML text."""

    __test__ = False  # no test case, whatever the name says to pytest

    def __init__(
        self, rules_file: Union[str, "os.PathLike[str]", None] = None, *, rules: Optional[str] = None
    ) -> None:
        self._lib = _library.bank_library()
        self._bank: Any = ctypes.c_void_p()
        place = ctypes.byref(self._bank)
        if rules is not None:
            self._check(self._lib.quorrin_bank_open_text(rules.encode(), place))
        else:
            file = None if rules_file is None else os.fsencode(rules_file)
            self._check(self._lib.quorrin_bank_open(file, place))

    def __enter__(self) -> "TestBank":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def __del__(self) -> None:
        self.close()

    def close(self) -> None:
        """Ends the bank."""
        if getattr(self, "_bank", None):
            self._lib.quorrin_bank_close(self._bank)
            self._bank = None

    def answer(
        self,
        online: OnlineRequest,
        wishes: Iterable[str] = (),
        decision: BankDecision = BankDecision(),
    ) -> BankAnswer:
        """Answers a purchase that went online. Wishes are changes on the card in words:
        "put 9F79 000000030000", "71: block application"."""
        request = _library.BankRequest()
        request.pan = online.pan.reveal().encode()
        request.pan_sequence_number = online.pan_sequence_number or 0
        field_55 = _library.pointer_to(online.field_55)
        self._check(
            self._lib.quorrin_bank_read_field55(
                field_55, len(online.field_55), ctypes.byref(request)
            )
        )
        decided = _library.BankDecision()
        decided.response_code = decision.response_code.encode()
        decided.authorisation_code = decision.authorisation_code.encode()
        decided.arpc = decision.arpc.value
        decided.arpc_method = decision.arpc_method
        decided.status_update[:] = list(decision.status_update)
        words = list(wishes)
        changes = (_library.BankWish * max(len(words), 1))()
        for index, wish in enumerate(words):
            self._check(
                self._lib.quorrin_bank_read_wish(wish.encode(), ctypes.byref(changes[index]))
            )
        made = _library.BankAnswer()
        self._check(
            self._lib.quorrin_bank_answer(
                self._bank,
                ctypes.byref(request),
                ctypes.byref(decided),
                changes,
                len(words),
                ctypes.byref(made),
            )
        )
        return BankAnswer(
            cryptogram_right=bool(made.cryptogram_right),
            approved=bool(made.approved),
            arpc_method=made.arpc_method,
            authentication=bytes(made.authentication[: made.authentication_size]),
            response_code=made.response_code.decode(),
            authorisation_code=made.authorisation_code.decode(),
            product=made.product.decode(),
            rule=made.rule.decode(),
            reason=made.reason.decode(),
            issuer_text=made.issuer_text.decode(),
        )

    def _check(self, result: int) -> None:
        if result != 0:
            raise BankFailure(result, self._lib.quorrin_bank_error().decode())
