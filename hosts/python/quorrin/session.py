"""Who uses the library: its state is one set of process-wide variables."""

import ctypes
import threading
from typing import Optional

from . import _library
from .failures import Failure, Misuse, StatusWord


class Session:
    """One opening of the reader."""

    current: Optional["Session"] = None

    def __init__(self) -> None:
        if Session.current is not None or _library.library().ReaderHandle.value != 0:
            raise Misuse("a reader is open already: the library serves one at a time")
        self.thread = threading.get_ident()
        self.transaction = 0  # counts what wipes the store

    def require(self) -> None:
        """That this session is open and used by its own thread."""
        if Session.current is not self:
            raise Misuse("the reader is closed")
        if self.thread != threading.get_ident():
            raise Misuse("the reader is used by another thread")

    def require_transaction(self, transaction: int) -> None:
        """That nothing has begun since this transaction."""
        self.require()
        if self.transaction != transaction:
            raise Misuse("another operation has begun since this purchase")


def last_status_word() -> StatusWord:
    """The status word of the last exchange."""
    lib = _library.library()
    return StatusWord(lib.CARD_SW1.value, lib.CARD_SW2.value)


def failure(step: str, code: int, status_word: Optional[StatusWord] = None) -> Failure:
    """A failure with the library's message."""
    lib = _library.library()
    message = ""
    if code != 0 and lib.TransRetCodeNoMsg(code) == code:
        text = ctypes.create_string_buffer(128)
        lib.TransRetCode(code, text)
        message = text.value.decode("utf-8", "replace")
    return Failure(step, code, last_status_word() if status_word is None else status_word, message)


def check(step: str, result: int) -> None:
    """Turns a result into a failure; positive codes are failures too."""
    if result != 0:
        raise failure(step, result)


def check_card(step: str, result: int) -> None:
    """The same for a step that may pass over an exchange that failed on the way (a record that was
    lost, a directory that ends early): the reader's own result comes first."""
    status = _library.library().CARD_STATUS.value
    if status != 0:
        raise failure(step, status, StatusWord())
    check(step, result)


def tag_bytes(tag: int) -> bytes:
    """A tag of one byte or two."""
    return tag.to_bytes(2 if tag > 0xFF else 1, "big")


def stored(tag: int) -> Optional[bytes]:
    """The value that the store holds, or nothing."""
    lib = _library.library()
    name = _library.pointer_to(tag_bytes(tag))
    size = len(tag_bytes(tag))
    if lib.emvGetDataElementState(name, size) != 1:
        return None
    length = ctypes.c_uint16(lib.emvGetDataElementLength(name, size, 0))
    value = _library.buffer(max(length.value, 1))
    if length.value == 0:
        return b""
    lib.emvGetDataElement(name, size, ctypes.byref(length), value)
    return bytes(value[: length.value])


def store(tag: int, value: bytes) -> None:
    """Stores a value of the host's; the store judges its length."""
    name = tag_bytes(tag)
    result = -22
    if len(value) <= 0xFFFF:
        result = _library.library().emvSetDataElement(
            None, 0, _library.pointer_to(name), len(name), len(value), _library.pointer_to(value)
        )
    if result != 0:
        raise Misuse(f"the store refuses {len(value)} bytes for element {tag:02X} ({result})")
