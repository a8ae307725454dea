"""A purchase in steps: start, what goes online, finish with the bank's answer, outcome."""

import ctypes
import datetime
import decimal
import enum
import os
from dataclasses import dataclass, field
from typing import Callable, Dict, List, Mapping, Optional, Set, Union

from . import _library
from .failures import Misuse, StatusWord
from .session import Session, check_card, last_status_word, store, stored
from .values import Pan, Track2, Tsi, Tvr, bcd, minor_units, tag_of


@dataclass
class PurchaseTerms:
    """What is bought, and where. All but the amount has a default that does for a test.

    amount, other         9F02 and 9F03 (the part paid out in cash), as decimals: Decimal("128.50")
    exponent              decimals of the currency
    currency, country     5F2A and 9F1A, numeric: 156 is the yuan, and China
    date, time            9A and 9F21; here and now
    type                  9C, BCD: 0x00 goods and services, 0x01 cash, 0x20 refund
    merchant              9F4E, at most 20 characters; the card's log shows it
    unpredictable_number  9F37, four bytes; random when left out, and it should be
    elements              further terminal elements by tag, or others in place of the above
    assess                the terminal's own checks: called when the records are read, before the
                          cryptogram; adds bits to the TVR and TSI
    """

    amount: decimal.Decimal = decimal.Decimal(0)
    other: decimal.Decimal = decimal.Decimal(0)
    exponent: int = 2
    currency: int = 156
    country: int = 156
    date: Optional[datetime.date] = None
    time: Optional[datetime.time] = None
    type: int = 0x00
    merchant: str = ""
    unpredictable_number: Optional[bytes] = None
    terminal_type: int = 0x22
    capabilities: bytes = bytes.fromhex("E0E1C8")
    more_capabilities: bytes = bytes.fromhex("6000F0A001")
    elements: Mapping[int, bytes] = field(default_factory=dict)
    assess: Optional[Callable[[Tvr, Tsi], None]] = None


class CardDecision(enum.Enum):
    """What the card decided at the first GENERATE AC (9F27, EMV book 3, 6.5.5.4)."""

    DECLINED = 0  # AAC
    APPROVED = 1  # TC: paid offline
    ASKS_ONLINE = 2  # ARQC
    RESERVED = 3


@dataclass(frozen=True)
class Cryptogram:
    """The application cryptogram (9F26) and what goes with it: 9F36, 9F27, 9F10."""

    decision: CardDecision
    value: bytes
    atc: int
    information: int
    issuer_application_data: bytes


@dataclass(frozen=True)
class OnlineRequest:
    """What goes online. field_55 is that of ISO 8583; card number and track 2 print masked."""

    pan: Pan
    pan_sequence_number: Optional[int]
    track2: Track2
    cryptogram: Cryptogram
    field_55: bytes
    cdol2: str


class IssuerAuthentication(enum.Enum):
    """What the card said to the bank's authentication."""

    NOT_SENT = "not sent"  # the answer has no 91
    ACCEPTED = "accepted"  # 9000
    REFUSED = "refused"  # another status word
    NO_ANSWER = "no answer"  # the exchange failed


class ScriptOutcome(enum.Enum):
    """What became of a script: EMV book 4, annex A5."""

    NOT_PERFORMED = "not performed"
    FAILED = "failed"  # malformed, sent in part
    SUCCESSFUL = "successful"  # all commands sent; what the card answered is not looked at


@dataclass(frozen=True)
class ScriptResult:
    """One issuer script. failed_command is 1 for the first, 0 when not given, 15 for all later."""

    result: ScriptOutcome
    failed_command: int
    identifier: bytes

    @property
    def name(self) -> str:
        """ "not performed", "failed", "successful"."""
        return self.result.value


@dataclass(frozen=True)
class Outcome:
    """How the purchase ended.

    response_code, authorisation_code  8A and 89, empty when the answer has none
    authentication                     what the card said to 91
    authentication_code, _status       result and status word of EXTERNAL AUTHENTICATE; 6300: the
                                       ARPC is wrong
    scripts                            in the order in which they ran, 71 before 72
    last_status                        of the last exchange: the last script command's
    not_taken                          tags in the answer that the library passed over or refused
    """

    response_code: str
    authorisation_code: str
    authentication: IssuerAuthentication
    authentication_code: int
    authentication_status: StatusWord
    tvr: Tvr
    tsi: Tsi
    scripts: List[ScriptResult]
    last_status: StatusWord
    not_taken: List[int]

    @property
    def approved(self) -> bool:
        """Response code 00, 10 or 11, and the card has not refused the bank's authentication."""
        return self.response_code in ("00", "10", "11") and self.authentication not in (
            IssuerAuthentication.REFUSED,
            IssuerAuthentication.NO_ANSWER,
        )


# In the order in which networks list them.
_FIELD_55 = (
    0x9F26, 0x9F27, 0x9F10, 0x9F37, 0x9F36, 0x95, 0x9A, 0x9C, 0x9F02, 0x5F2A, 0x82, 0x9F1A, 0x9F03,
    0x9F33, 0x9F34, 0x9F35, 0x9F1E, 0x84, 0x9F09, 0x9F41, 0x9F74, 0x9F63,
)  # fmt: skip


def _field_55() -> bytes:
    data = b""
    for tag in _FIELD_55:
        value = stored(tag)
        if value and len(value) <= 127:
            data += tag.to_bytes(2 if tag > 0xFF else 1, "big") + bytes([len(value)]) + value
    return data


def _store_terms(terms: PurchaseTerms) -> None:
    merchant = terms.merchant.encode("gbk", "replace")
    if len(merchant) > 20:
        raise Misuse("a merchant's name has at most 20 characters")
    if not (0 <= terms.currency <= 999 and 0 <= terms.country <= 999):
        raise Misuse("currency and country have three digits")
    now = datetime.datetime.now()
    date = now.date() if terms.date is None else terms.date
    time = now.time() if terms.time is None else terms.time
    number = os.urandom(4) if terms.unpredictable_number is None else terms.unpredictable_number
    elements: Dict[int, bytes] = {
        0x9F02: bcd(minor_units(terms.amount, terms.exponent), 6),
        0x9F03: bcd(minor_units(terms.other, terms.exponent), 6),
        0x5F2A: bcd(terms.currency, 2),
        0x9F1A: bcd(terms.country, 2),
        0x9A: bytes.fromhex(date.strftime("%y%m%d")),
        0x9F21: bytes.fromhex(time.strftime("%H%M%S")),
        0x9C: bytes([terms.type]),
        0x9F4E: merchant.ljust(20),
        0x9F37: number,
        0x9F35: bytes([terms.terminal_type]),
        0x9F33: terms.capabilities,
        0x9F40: terms.more_capabilities,
        **terms.elements,
    }
    for tag, value in elements.items():
        store(tag, value)


def _cryptogram() -> Cryptogram:
    lib = _library.library()
    information = lib.emvGetCID()
    return Cryptogram(
        decision=CardDecision(information >> 6),
        value=bytes(lib.emvGetAC()[:8]),
        atc=int.from_bytes(bytes(lib.emvGetATC()[:2]), "big"),
        information=information,
        issuer_application_data=stored(0x9F10) or b"",
    )


def _script_results() -> List[ScriptResult]:
    lib = _library.library()
    size = min(lib.emvGetIssScrptRsltNumber(), 60)
    entries = bytes(lib.emvGetIssScrptRslt()[:size])
    outcomes = list(ScriptOutcome)
    return [
        ScriptResult(
            outcomes[min(entries[at] >> 4, 2)], entries[at] & 0x0F, entries[at + 1 : at + 5]
        )
        for at in range(0, size, 5)
    ]


def _not_taken(answer: bytes) -> List[int]:
    """The objects of the bank's answer that have not arrived in the store."""
    lib = _library.library()
    passed_over: List[int] = []
    met: Set[int] = set()
    at = 0
    while at < len(answer):
        tag_size, length_size = ctypes.c_uint8(), ctypes.c_uint8()
        value_size = ctypes.c_uint16()
        rest = _library.pointer_to(answer[at:])
        sizes = ctypes.byref(tag_size), ctypes.byref(length_size), ctypes.byref(value_size)
        if lib.tlvGetTLV(rest, len(answer) - at, *sizes) < 0:
            passed_over.append(answer[at])
            break
        tag = int.from_bytes(answer[at : at + min(tag_size.value, 2)], "big")
        start = at + tag_size.value + length_size.value
        value = answer[start : start + value_size.value]
        if tag in (0x71, 0x72):
            taken = lib.emvGetIssuerScriptLength() != 0
        else:
            taken = tag in (0x8A, 0x89, 0x91) and tag not in met and stored(tag) == value
        met.add(tag)
        if not taken:
            passed_over.append(tag)
        at = start + value_size.value
    return passed_over


class Purchase:
    """A purchase between the card's cryptogram and the bank's answer."""

    def __init__(self, session: Session, terms: PurchaseTerms, aid: str) -> None:
        lib = _library.library()
        handle = lib.ReaderHandle
        self._session = session
        self._transaction = session.transaction
        self._finished = False
        self._tvr, self._tsi = Tvr(), Tsi()
        check_card("emvSelectAid", lib.emvSelectAid(handle, aid.encode()))
        lib.emvInitTVR()
        lib.emvInitTSI()
        _store_terms(terms)
        check_card("emvGPO", lib.emvGPO(handle, None, None))
        check_card("emvReadICCard", lib.emvReadICCard(handle))
        if terms.assess is not None:
            terms.assess(self._tvr, self._tsi)
            lib.gl_Tm_TVR[:] = list(bytes(self._tvr))
            lib.gl_Tm_TSI[:] = list(bytes(self._tsi))
        check_card("emvGACFrist", lib.emvGACFrist(handle))
        lib.gucGetArqcFlag.value = 1
        pan = (stored(0x5A) or b"").hex().upper().split("F")[0]
        track2 = Track2((stored(0x57) or b"").hex().upper())
        sequence = stored(0x5F34)
        self._online = OnlineRequest(
            pan=Pan(pan) if pan else track2.pan,
            pan_sequence_number=sequence[0] if sequence else None,
            track2=track2,
            cryptogram=_cryptogram(),
            field_55=_field_55(),
            cdol2=(stored(0x8D) or b"").hex().upper(),
        )

    @property
    def decision(self) -> CardDecision:
        """What the card decided. Only ASKS_ONLINE goes to the bank."""
        return self._online.cryptogram.decision

    @property
    def online(self) -> OnlineRequest:
        """What goes online."""
        return self._online

    @property
    def tvr(self) -> Tvr:
        """The TVR that the cryptogram covers."""
        return self._tvr

    def element(self, tag: Union[int, str]) -> Optional[bytes]:
        """An element of this purchase by tag or name, nothing when there is none."""
        self._session.require_transaction(self._transaction)
        return stored(tag_of(tag) if isinstance(tag, str) else tag)

    def finish(self, answer: Union[str, bytes]) -> Outcome:
        """Takes the bank's answer to the card: EXTERNAL AUTHENTICATE, then the scripts. The card's
        refusals are in the outcome, not failures.

        answer is BER-TLV, 8A, 89, 91, 71, 72, as bytes or hex text of at most 1024 characters."""
        self._session.require_transaction(self._transaction)
        data = bytes.fromhex(answer) if isinstance(answer, str) else bytes(answer)
        if self._finished:
            raise Misuse("the purchase is finished")
        if len(data) > 512:
            raise Misuse("a bank's answer has at most 512 bytes")
        self._finished = True
        lib = _library.library()
        lib.emvExtractIssuerData(_library.pointer_to(data), len(data))
        not_taken = _not_taken(data)
        authentication, code, status = IssuerAuthentication.NOT_SENT, 0, StatusWord()
        if stored(0x91) is not None:
            code = lib.emvExternalAuthenticate(lib.ReaderHandle)
            status = last_status_word()
            if code == 0:
                authentication = IssuerAuthentication.ACCEPTED
            elif lib.CARD_STATUS.value == 0:
                authentication = IssuerAuthentication.REFUSED
            else:
                authentication = IssuerAuthentication.NO_ANSWER
        before_final_cryptogram, after_final_cryptogram = 1, 2
        lib.emvScriptProcess(before_final_cryptogram)
        lib.emvScriptProcess(after_final_cryptogram)
        lib.gucGetArqcFlag.value = 0  # this answer is the last
        return Outcome(
            response_code=(stored(0x8A) or b"").decode("latin-1"),
            authorisation_code=(stored(0x89) or b"").decode("latin-1"),
            authentication=authentication,
            authentication_code=code,
            authentication_status=status,
            tvr=Tvr(bytes(lib.gl_Tm_TVR)),
            tsi=Tsi(bytes(lib.gl_Tm_TSI)),
            scripts=_script_results(),
            last_status=last_status_word(),
            not_taken=not_taken,
        )
