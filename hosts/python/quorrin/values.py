"""Values that go in and out: card numbers that print masked, amounts as decimals, named bits."""

import datetime
import decimal
from typing import Generic, Iterator, List, Optional, Type, TypeVar

from . import _tables
from ._tables import RegisterBit, TsiBit, TvrBit


class Pan:
    """A card number. Prints masked: first six and last four digits."""

    def __init__(self, digits: str = "") -> None:
        self._digits = digits

    @property
    def masked(self) -> str:
        """What may be shown and logged."""
        head = 6 if len(self._digits) > 10 else 0
        tail = 4 if len(self._digits) > 4 else 0
        hidden = len(self._digits) - head - tail
        return self._digits[:head] + "*" * hidden + self._digits[len(self._digits) - tail :]

    def reveal(self) -> str:
        """All digits, for the bank alone."""
        return self._digits

    def __bool__(self) -> bool:
        return bool(self._digits)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Pan) and self._digits == other._digits

    def __hash__(self) -> int:
        return hash(self._digits)

    def __str__(self) -> str:
        return self.masked

    def __repr__(self) -> str:
        return f"Pan({self.masked!r})"


class Track2:
    """Track 2 equivalent data (57): digits with D between number and date. Prints masked."""

    def __init__(self, digits: str = "") -> None:
        self._digits = digits.rstrip("F")

    @property
    def pan(self) -> Pan:
        """Its card number."""
        return Pan(self._digits.split("D")[0])

    @property
    def masked(self) -> str:
        """The masked number; what follows it is stars."""
        return self.pan.masked + "*" * (len(self._digits) - len(self.pan.reveal()))

    def reveal(self) -> str:
        """All of it, for the bank alone."""
        return self._digits

    def __bool__(self) -> bool:
        return bool(self._digits)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Track2) and self._digits == other._digits

    def __hash__(self) -> int:
        return hash(self._digits)

    def __str__(self) -> str:
        return self.masked

    def __repr__(self) -> str:
        return f"Track2({self.masked!r})"


def minor_units(amount: decimal.Decimal, exponent: int) -> int:
    """An amount in the currency's smallest unit. Raises ValueError for one that no card can hold."""
    scaled = decimal.Decimal(amount).scaleb(exponent)
    if not scaled.is_finite() or scaled != scaled.to_integral_value():
        raise ValueError(f"{amount} has more than {exponent} decimals")
    if not 0 <= scaled <= 999999999999:
        raise ValueError(f"{amount} does not fit into 12 digits")
    return int(scaled)


def amount_of(digits: str, exponent: int = 2) -> decimal.Decimal:
    """An amount from the digits of the smallest unit."""
    return decimal.Decimal(int(digits)).scaleb(-exponent)


def bcd(number: int, size: int) -> bytes:
    """A number as BCD in a fixed number of bytes."""
    return bytes.fromhex(f"{number:0{2 * size}d}")


def date_of(digits: str) -> Optional[datetime.date]:
    """YYMMDD; nothing for digits that are no date."""
    try:
        return datetime.date(2000 + int(digits[0:2]), int(digits[2:4]), int(digits[4:6]))
    except ValueError:
        return None


def time_of(digits: str) -> Optional[datetime.time]:
    """HHMMSS; nothing for digits that are no time."""
    try:
        return datetime.time(int(digits[0:2]), int(digits[2:4]), int(digits[4:6]))
    except ValueError:
        return None


def tag_of(name: str) -> int:
    """The tag of an element's name, whatever the case of its letters. Raises KeyError."""
    for tag, known in _tables.ELEMENTS:
        if known.lower() == name.lower():
            return tag
    raise KeyError(f"no such element: {name}")


def name_of(tag: int) -> str:
    """The name of a tag's element, empty for a tag that the store does not know."""
    return dict(_tables.ELEMENTS).get(tag, "")


Bit = TypeVar("Bit", bound=RegisterBit)


class VerificationBits(Generic[Bit]):
    """A set of named bits over an element's bytes. Bits without a name are kept too."""

    _bits: Type[Bit]
    _size: int

    def __init__(self, value: Optional[bytes] = None) -> None:
        self._value = bytearray(self._size if value is None else value)
        if len(self._value) != self._size:
            raise ValueError(f"{self._size} bytes")

    def add(self, bit: Bit) -> None:
        """Sets a bit."""
        self._value[bit.byte - 1] |= 1 << (bit.bit - 1)

    def __contains__(self, bit: Bit) -> bool:
        return bool(self._value[bit.byte - 1] & 1 << (bit.bit - 1))

    def __iter__(self) -> Iterator[Bit]:
        return (bit for bit in self._bits if bit in self)

    def __bool__(self) -> bool:
        return any(self._value)

    def __bytes__(self) -> bytes:
        return bytes(self._value)

    def __eq__(self, other: object) -> bool:
        if isinstance(other, VerificationBits):
            return self._value == other._value
        return isinstance(other, (set, frozenset)) and set(self) == other

    __hash__ = None  # type: ignore[assignment]

    def texts(self) -> List[str]:
        """The texts of the bits that are set."""
        return [bit.text for bit in self]

    def __str__(self) -> str:
        return "; ".join(self.texts())

    def __repr__(self) -> str:
        return f"{type(self).__name__}({bytes(self._value).hex().upper()}: {self})"


class Tvr(VerificationBits[TvrBit]):
    """Terminal verification results (95)."""

    _bits = TvrBit
    _size = 5


class Tsi(VerificationBits[TsiBit]):
    """Transaction status information (9B)."""

    _bits = TsiBit
    _size = 2
