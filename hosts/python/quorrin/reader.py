"""The reader, and the cards in its slots.

The library serves one reader, one transaction and one thread at a time; what breaks that raises
Misuse.
"""

import ctypes
import datetime
import decimal
import enum
import os
from dataclasses import dataclass, field
from types import TracebackType
from typing import Dict, List, Mapping, Optional, Type, Union

from . import _library
from ._tables import CONSTANTS
from .failures import Failure, Misuse, StatusWord
from .purchase import Purchase, PurchaseTerms
from .session import Session, check, check_card, failure, last_status_word, stored, tag_bytes
from .values import Pan, Track2, amount_of, date_of, tag_of, time_of

PathLike = Union[str, "os.PathLike[str]"]


class Search(enum.Enum):
    """Where to look for the card."""

    CONTACT = (11,)
    CONTACTLESS = (12,)
    CONTACT_FIRST = (11, 12)  # contactless when there is no card in the contact slot
    CONTACTLESS_FIRST = (12, 11)  # contact when there is no contactless card or it is mute


@dataclass(frozen=True)
class Command:
    """A command to a card (ISO 7816-4, short length fields). le 0 asks for all there is."""

    cla: int
    ins: int
    p1: int
    p2: int
    data: bytes = b""
    le: Optional[int] = None

    @classmethod
    def parse(cls, text: str) -> "Command":
        """A command as one piece of hex: "00A40400 07 A0000003330101 00". Raises ValueError."""
        raw = bytes.fromhex(text)
        if len(raw) < 4:
            raise ValueError("a command has at least four bytes")
        if len(raw) <= 5:
            le = raw[4] if len(raw) == 5 else None
            return cls(raw[0], raw[1], raw[2], raw[3], le=le)
        end = 5 + raw[4]
        if raw[4] == 0 or len(raw) not in (end, end + 1):
            raise ValueError("the command's length does not fit its data")
        le = raw[end] if len(raw) > end else None
        return cls(raw[0], raw[1], raw[2], raw[3], raw[5:end], le)


@dataclass(frozen=True)
class Response:
    """A card's answer: data without status word, and the status word."""

    data: bytes
    status_word: StatusWord


@dataclass(frozen=True)
class HolderInformation:
    """Card holder and account, as far as the card has them. Card number and track 2 print masked;
    id_number and track1_discretionary are not for printing."""

    pan: Pan = Pan()
    name: str = ""
    id_type: str = ""
    id_number: str = field(default="", repr=False)
    balance: Optional[decimal.Decimal] = None
    balance_limit: Optional[decimal.Decimal] = None
    single_payment_limit: Optional[decimal.Decimal] = None
    currency: str = ""
    expires: Optional[datetime.date] = None
    sequence: Optional[int] = None
    track2: Track2 = Track2()
    track1_discretionary: str = field(default="", repr=False)


@dataclass(frozen=True)
class LogRecord:
    """One record of the card's log. A field that the log does not have is zeros; a date or time that
    is none is None."""

    amount: decimal.Decimal
    other: decimal.Decimal
    currency: str
    date: Optional[datetime.date]
    type: int
    time: Optional[datetime.time]
    country: str
    merchant: str
    atc: int


def _text(raw: bytes) -> str:
    """What a card holds as text: ASCII, or Chinese in GBK."""
    return raw.decode("gbk", "replace")


def _holder_of(items: Mapping[str, bytes]) -> HolderInformation:
    def digits(key: str) -> str:
        return items.get(key, b"").decode("ascii")

    def amount(key: str) -> Optional[decimal.Decimal]:
        return amount_of(digits(key)) if digits(key).isdecimal() else None

    return HolderInformation(
        pan=Pan(digits("A").split("F")[0]),
        name=_text(items.get("B", b"")),
        id_type=digits("C"),
        id_number=_text(items.get("D", b"")),
        balance=amount("E"),
        balance_limit=amount("F"),
        single_payment_limit=amount("G"),
        currency=digits("H"),
        expires=date_of(digits("I")) if digits("I") else None,
        sequence=int(digits("J"), 16) if digits("J") else None,
        track2=Track2(digits("K")),
        track1_discretionary=_text(items.get("L", b"")),
    )


def _log_record(text: str, name_size: int) -> LogRecord:
    """The fixed layout of a record's text (see PackTrsData), by position: its counts mix units."""
    after_name = 80 + 2 * name_size
    return LogRecord(
        amount=amount_of(text[4:16]) if text[4:16].isdecimal() else decimal.Decimal(0),
        other=amount_of(text[20:32]) if text[20:32].isdecimal() else decimal.Decimal(0),
        currency=text[36:40],
        date=date_of(text[46:52]),
        type=int(text[56:58], 16),
        time=time_of(text[62:68]),
        country=text[72:76],
        merchant=_text(bytes.fromhex(text[80:after_name]).rstrip(b" \0")),
        atc=int(text[after_name + 4 : after_name + 8], 16),
    )


class Card:
    """A powered card, powered down at the end of its `with` block."""

    def __init__(self, session: Session, kind: int, atr: bytes) -> None:
        self._session = session
        self.kind = kind
        self.atr = atr

    def __enter__(self) -> "Card":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        if Session.current is self._session:
            lib = _library.library()
            lib.PowerDown(lib.ReaderHandle, self.kind)

    def __repr__(self) -> str:
        return f"Card(kind={self.kind}, atr={self.atr.hex().upper()})"

    @property
    def contactless(self) -> bool:
        """Whether it is in the contactless slot."""
        return self.kind == CONSTANTS["QUORRIN_CONTACTLESS_CARD"]

    def applications(self) -> List[str]:
        """The applications of its directory, the first one first: AIDs as hex text. A contactless
        card is asked for 2PAY.SYS.DDF01, and for 1PAY.SYS.DDF01 when it has none."""
        self._begin()
        lib = _library.library()
        if self.contactless:
            answer = self.transmit(Command(0x00, 0xA4, 0x04, 0x00, b"2PAY.SYS.DDF01", 0))
            if answer.status_word.success:
                ctypes.memset(lib.gucAidList, 0, len(lib.gucAidList))
                lib.gucAidListLen.value = 0
                lib.gucAidNum.value = 0
                fci = _library.pointer_to(answer.data)
                check("qPBOCProcessDDF", lib.qPBOCProcessDDF(fci, len(answer.data)))
                return self._listed_applications()
        text = ctypes.create_string_buffer(256)
        check_card("selectByPse", lib.selectByPse(lib.ReaderHandle, text))
        return self._listed_applications()

    def holder(self, aid: str = "") -> HolderInformation:
        """Reads the holder's data from an application: hex AID, empty for the directory's first."""
        self._begin()
        lib = _library.library()
        text = ctypes.create_string_buffer(2048 + 4)
        result = lib.getIccInfo(lib.ReaderHandle, aid.encode(), b"ABCDEFGHIJKL", text)
        check_card("getIccInfo", result)
        items: Dict[str, bytes] = {}
        raw, at = text.raw, 0
        while at + 4 <= len(raw) and raw[at] != 0:
            count = int(raw[at + 1 : at + 4])
            items[chr(raw[at])] = raw[at + 4 : at + 4 + count]
            at += 4 + count
        return _holder_of(items)

    def start_purchase(
        self, terms: Union[PurchaseTerms, decimal.Decimal, str], aid: str = ""
    ) -> Purchase:
        """Starts a purchase, up to the card's cryptogram: selects the application (hex AID, empty
        for the directory's first), gets its processing options, reads its records, asks for an
        ARQC. An amount alone stands for terms with that amount."""
        if not isinstance(terms, PurchaseTerms):
            terms = PurchaseTerms(amount=decimal.Decimal(terms))
        self._begin()
        return Purchase(self._session, terms, aid)

    def log(self, aid: str = "") -> List[LogRecord]:
        """Reads the transaction log, newest record first. An application without a log raises
        Failure with QUORRIN_OBJECT_MISSING."""
        return self._read_log(CONSTANTS["QUORRIN_TRANSACTION_LOG"], aid)

    def load_log(self, aid: str = "") -> List[LogRecord]:
        """The same for the log of electronic cash loads."""
        return self._read_log(CONSTANTS["QUORRIN_LOAD_LOG"], aid)

    def get_data(self, tag: int) -> bytes:
        """Fetches an element with GET DATA: 0x9F13, 0x9F36, 0x9F79."""
        self._touch()
        name = tag_bytes(tag)
        result = _library.library().emvGetDataCmd(_library.pointer_to(name), len(name))
        check("emvGetDataCmd", result)
        return stored(tag) or b""

    def element(self, tag: Union[int, str]) -> Optional[bytes]:
        """An element of the last operation on this card, by tag or name; None when the card did not
        bring it."""
        self._touch()
        return stored(tag_of(tag) if isinstance(tag, str) else tag)

    def transmit(self, command: Union[Command, str]) -> Response:
        """Sends one command. Every status word is an answer; Failure means that none came."""
        self._touch()
        if isinstance(command, str):
            command = Command.parse(command)
        if len(command.data) > 0xFF:
            raise Misuse("a command has at most 255 bytes of data")
        lib = _library.library()
        what = (1 if command.le is not None else 0) | (2 if command.data else 0)
        answer = _library.buffer(1024)
        size = ctypes.c_uint32()
        result = lib.IccComm(
            lib.ReaderHandle, self.kind, command.cla, command.ins, command.p1, command.p2,
            len(command.data), _library.pointer_to(command.data), command.le or 0, what,
            answer, ctypes.byref(size),
        )  # fmt: skip
        check("IccComm", result)
        return Response(bytes(answer[: size.value]), last_status_word())

    def _touch(self) -> None:
        """Before everything that reaches the card: the library's commands go to the current kind."""
        self._session.require()
        if self.kind >= CONSTANTS["QUORRIN_CONTACT_CARD"]:
            _library.library().EG_nUserCardType.value = self.kind

    def _begin(self) -> None:
        """Before everything that wipes the store."""
        self._touch()
        self._session.transaction += 1
        # An answer must not continue an older transaction.
        _library.library().gucGetArqcFlag.value = 0

    def _listed_applications(self) -> List[str]:
        lib = _library.library()
        text = bytes(lib.gucAidList)[: lib.gucAidListLen.value].decode("ascii")
        return [aid for aid in text.split("|") if aid]

    def _read_log(self, kind: int, aid: str) -> List[LogRecord]:
        self._begin()
        lib = _library.library()
        prefix, fixed_part, max_records, every_record = 3, 88, 255, 0
        buffer = ctypes.create_string_buffer(prefix + max_records * 255 + 1)
        result = lib.GetIcBankCardTrDetail(
            kind, lib.ReaderHandle, every_record, aid.encode(), buffer
        )
        # A log that is not full ends with 6A83; what was read before is there.
        if result != CONSTANTS["QUORRIN_RECORD_NOT_FOUND"]:
            check_card("GetIcBankCardTrDetail", result)
        text = buffer.value.decode("ascii")
        if len(text) < prefix:
            return []
        # The merchant name has one length in all records: that of the log's format.
        size = int(text[:prefix])
        text = text[prefix:]
        if size < fixed_part or (size - fixed_part) % 2 or len(text) % size:
            raise failure("GetIcBankCardTrDetail", CONSTANTS["QUORRIN_DATA_MALFORMED"])
        return [
            _log_record(text[at : at + size], (size - fixed_part) // 2)
            for at in range(0, len(text), size)
        ]


class Reader:
    """The reader, closed at the end of its `with` block. Only one at a time in a process.

    Which reader library drives it (a process keeps the first one):
        simulator=True       the simulated reader with its built-in cards
        simulator="x.toml"   the simulated reader with the cards, faults or trace of a reader file
        pcsc=True            PC/SC readers; pcsc={"contact": "part of a reader's name"} maps slots
        reader_library="x"   any shared library with the six functions of reader_library.h
    Without any of them the environment variable QUORRIN_READER says it: "simulator", "pcsc" or a
    library's path. Functions that the process has already (LD_PRELOAD) do too.
    """

    def __init__(
        self,
        simulator: Union[bool, PathLike, None] = None,
        pcsc: Union[bool, Mapping[str, str], None] = None,
        reader_library: Optional[PathLike] = None,
    ) -> None:
        _choose_reader_library(simulator, pcsc, reader_library)
        lib = _library.library()
        session = Session()
        lib.emvInitDataPointer()
        handle = lib.ReaderHandle
        result = lib.OpenDevice(lib.EG_szDev_Name, ctypes.byref(handle))
        if result != 0:
            raise failure("OpenDevice", result, StatusWord())
        if handle.value <= 0:  # a reader library that answers 0 has opened nothing
            raise failure("OpenDevice", CONSTANTS["QUORRIN_CONNECTION_ERROR"], StatusWord())
        Session.current = self._session = session

    def __enter__(self) -> "Reader":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        if Session.current is self._session:
            lib = _library.library()
            lib.CloseDevice(ctypes.byref(lib.ReaderHandle))
            Session.current = None

    @property
    def serial(self) -> str:
        """Its serial number, at most 32 characters."""
        self._session.require()
        text = ctypes.create_string_buffer(33)
        lib = _library.library()
        check("GetDevSerial", lib.GetDevSerial(lib.ReaderHandle, text))
        return text.value.decode("utf-8", "replace")

    def find_card(self, search: Search = Search.CONTACT_FIRST) -> Card:
        """Finds and powers the user's card. Raises Failure when there is none."""
        kinds = search.value
        elsewhere = [CONSTANTS["QUORRIN_NO_CARD"]]
        if search is Search.CONTACTLESS_FIRST:
            elsewhere.append(CONSTANTS["QUORRIN_CARD_MUTE"])
        try:
            return self.power_up(kinds[0])
        except Failure as first:
            if len(kinds) == 1 or first.code not in elsewhere:
                raise
        return self.power_up(kinds[-1])

    def power_up(self, kind: int) -> Card:
        """Powers the card in one slot: 11 contact, 12 contactless, 13 further, 1 to 4 the security
        modules, which take raw commands."""
        self._session.require()
        lib = _library.library()
        atr = _library.buffer(512)
        size = ctypes.c_uint32()
        check("PowerUp", lib.PowerUp(lib.ReaderHandle, kind, atr, ctypes.byref(size)))
        return Card(self._session, kind, bytes(atr[: size.value]))

    def close(self) -> None:
        """Closes the reader, to see whether that worked."""
        self._session.require()
        lib = _library.library()
        check("CloseDevice", lib.CloseDevice(ctypes.byref(lib.ReaderHandle)))
        Session.current = None


_PCSC_SLOTS = ("contact", "contactless", "mas", "sam1", "sam2", "sam3", "sam4")


def _choose_reader_library(
    simulator: Union[bool, PathLike, None],
    pcsc: Union[bool, Mapping[str, str], None],
    reader_library: Optional[PathLike],
) -> None:
    chosen = [choice for choice in (simulator, pcsc, reader_library) if choice not in (None, False)]
    if len(chosen) > 1:
        raise Misuse("choose one of simulator, pcsc and reader_library")
    if not chosen:
        named = os.environ.get("QUORRIN_READER", "")
        if named in ("simulator", "pcsc"):
            _library.use_reader_library(f"libquorrin-{named}.so.1")
        elif named:
            _library.use_reader_library(named)
        elif not _library.has_reader_functions():
            raise Misuse(
                "no reader library: give simulator=True, pcsc=True or reader_library=PATH, or set "
                "QUORRIN_READER"
            )
    elif simulator not in (None, False):
        _library.use_reader_library("libquorrin-simulator.so.1")
        file = "" if simulator is True else os.path.abspath(simulator)  # type: ignore[arg-type]
        os.environ["QUORRIN_SIMULATOR"] = file
    elif pcsc not in (None, False):
        for slot, name in (pcsc if isinstance(pcsc, Mapping) else {}).items():
            if slot not in _PCSC_SLOTS:
                raise Misuse(f"no such slot: {slot}; there are {', '.join(_PCSC_SLOTS)}")
            os.environ[f"QUORRIN_PCSC_{slot.upper()}"] = name
        _library.use_reader_library("libquorrin-pcsc.so.1")
    elif reader_library is not None:
        _library.use_reader_library(os.fspath(reader_library))
