"""What fails, and how it is told."""

from dataclasses import dataclass
from typing import Tuple

from . import _tables


@dataclass(frozen=True)
class StatusWord:
    """A status word of a card (ISO 7816-4); 0000 when none was received."""

    sw1: int = 0
    sw2: int = 0

    @property
    def success(self) -> bool:
        """90 00."""
        return (self.sw1, self.sw2) == (0x90, 0x00)

    @property
    def value(self) -> int:
        """Both bytes as a number: 0x6A82."""
        return self.sw1 << 8 | self.sw2

    def __str__(self) -> str:
        return f"{self.value:04X}"


def code_row(code: int) -> Tuple[str, str, str]:
    """Name, meaning and next step of a result."""
    unknown = _tables.CODES[_tables.CONSTANTS["QUORRIN_UNKNOWN"]]
    return _tables.CODES.get(code, unknown)


class Failure(Exception):
    """An operation that failed at the reader or the card: what the C interface tells, in one place.

    step         the C function that failed: "emvSelectAid"
    code         its result, a value of the enums in quorrin/results.h
    name         the result's name: "QUORRIN_FILE_NOT_FOUND"
    meaning      what happened
    next         what to do; begins with "Go on", "Try again", "Mend", "Call", "Close" or "End"
    status_word  the card's status word
    message      the library's message for a card holder, in Chinese; empty for codes without one
    """

    def __init__(
        self, step: str, code: int, status_word: StatusWord = StatusWord(), message: str = ""
    ) -> None:
        self.step = step
        self.code = code
        self.status_word = status_word
        self.message = message
        self.name, self.meaning, self.next = code_row(code)
        super().__init__(
            f"{step}: {self.name} ({code}), status word {status_word}: {self.meaning} {self.next}"
        )


class Misuse(RuntimeError):
    """A host's own mistake: two readers at once, two threads, steps out of order, a card after its
    reader was closed. Found before anything reaches the reader."""
