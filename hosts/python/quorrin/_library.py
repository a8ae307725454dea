"""The C interface of libQuorrin.so.1 through ctypes: found, loaded when first needed, typed.

`library()` has every function and variable of the C headers as an attribute:

    library().emvInitTVR()
    library().CARD_SW1.value
"""

import ctypes
import os
import pathlib
import sys
from typing import Any, Dict, Iterator, List, Optional, Type

from . import _tables
from .failures import Misuse


class DataElement(ctypes.Structure):
    """A row of TermDt or IccDt."""

    _fields_ = [
        ("value", ctypes.POINTER(ctypes.c_uint8)),
        ("curLen", ctypes.c_uint16),
        ("minLen", ctypes.c_uint16),
        ("maxLen", ctypes.c_uint16),
        ("tag", ctypes.c_uint8 * 3),
        ("tagLen", ctypes.c_uint8),
        ("templates", ctypes.c_uint8 * 4),
        ("templateCode", ctypes.c_uint8),
        ("format", ctypes.c_uint8),
        ("state", ctypes.c_uint8),
    ]


class KeyRow(ctypes.Structure):
    """A row of a key table."""

    _fields_ = [
        ("key", ctypes.c_char),
        ("tag", ctypes.c_uint8 * 3),
        ("tagLen", ctypes.c_uint8),
        ("hexFlag", ctypes.c_uint8),
        ("getDataFlag", ctypes.c_uint8),
    ]


class BankRequest(ctypes.Structure):
    """QuorrinBankRequest."""

    _fields_ = [
        ("pan", ctypes.c_char * 20),
        ("pan_sequence_number", ctypes.c_uint8),
        ("amount_authorised", ctypes.c_uint8 * 6),
        ("amount_other", ctypes.c_uint8 * 6),
        ("terminal_country", ctypes.c_uint8 * 2),
        ("terminal_verification", ctypes.c_uint8 * 5),
        ("currency", ctypes.c_uint8 * 2),
        ("date", ctypes.c_uint8 * 3),
        ("type", ctypes.c_uint8),
        ("unpredictable_number", ctypes.c_uint8 * 4),
        ("interchange_profile", ctypes.c_uint8 * 2),
        ("atc", ctypes.c_uint8 * 2),
        ("cryptogram", ctypes.c_uint8 * 8),
        ("issuer_application_data", ctypes.c_uint8 * 32),
        ("issuer_application_data_size", ctypes.c_uint8),
    ]


class BankDecision(ctypes.Structure):
    """QuorrinBankDecision."""

    _fields_ = [
        ("response_code", ctypes.c_char * 3),
        ("authorisation_code", ctypes.c_char * 7),
        ("arpc", ctypes.c_uint8),
        ("arpc_method", ctypes.c_uint8),
        ("status_update", ctypes.c_uint8 * 4),
        ("proprietary", ctypes.c_uint8 * 8),
        ("proprietary_size", ctypes.c_uint8),
    ]


class BankWish(ctypes.Structure):
    """QuorrinBankWish."""

    _fields_ = [
        ("kind", ctypes.c_uint8),
        ("phase", ctypes.c_uint8),
        ("has_identifier", ctypes.c_uint8),
        ("identifier", ctypes.c_uint8 * 4),
        ("new_pin", ctypes.c_char * 13),
        ("current_pin", ctypes.c_char * 13),
        ("tag", ctypes.c_uint16),
        ("file", ctypes.c_uint8),
        ("record", ctypes.c_uint8),
        ("value", ctypes.c_uint8 * 124),
        ("value_size", ctypes.c_uint8),
    ]


class BankAnswer(ctypes.Structure):
    """QuorrinBankAnswer."""

    _fields_ = [
        ("cryptogram_right", ctypes.c_uint8),
        ("approved", ctypes.c_uint8),
        ("arpc_method", ctypes.c_uint8),
        ("authentication_size", ctypes.c_uint8),
        ("authentication", ctypes.c_uint8 * 16),
        ("response_code", ctypes.c_char * 3),
        ("authorisation_code", ctypes.c_char * 7),
        ("product", ctypes.c_char * 32),
        ("rule", ctypes.c_char * 32),
        ("reason", ctypes.c_char * 128),
        ("issuer_text", ctypes.c_char * 513),
    ]


STRUCTURES: Dict[str, Type[ctypes.Structure]] = {
    "QuorrinDataElement": DataElement,
    "QuorrinKeyRow": KeyRow,
    "QuorrinBankRequest": BankRequest,
    "QuorrinBankDecision": BankDecision,
    "QuorrinBankWish": BankWish,
    "QuorrinBankAnswer": BankAnswer,
}

_VALUES: Dict[str, Any] = {
    "char": ctypes.c_char,
    "int": ctypes.c_int,
    "int8_t": ctypes.c_int8,
    "int32_t": ctypes.c_int32,
    "int64_t": ctypes.c_int64,
    "size_t": ctypes.c_size_t,
    "uint8_t": ctypes.c_uint8,
    "uint16_t": ctypes.c_uint16,
    "uint32_t": ctypes.c_uint32,
    "void": None,
    # Texts and byte buffers are given as bytes or ctypes buffers.
    "char*": ctypes.c_char_p,
    "QuorrinBank*": ctypes.c_void_p,
    "QuorrinBank**": ctypes.POINTER(ctypes.c_void_p),
    **STRUCTURES,
}


def ctype(name: str) -> Any:
    """The ctypes type of a C type: "uint8_t", "int64_t*"."""
    if name in _VALUES:
        return _VALUES[name]
    if not name.endswith("*"):
        raise KeyError(name)
    return ctypes.POINTER(ctype(name[:-1]))


class Library:
    """A loaded shared library with the functions and variables of its C header."""

    def __init__(self, path: str) -> None:
        # The reader functions are bound at their first call; other libraries see what is loaded.
        self._dll = ctypes.CDLL(path, mode=os.RTLD_LAZY | os.RTLD_GLOBAL)
        self.path = path

    def __getattr__(self, name: str) -> Any:
        if name in _tables.FUNCTIONS:
            symbol, result, arguments = _tables.FUNCTIONS[name]
            item = getattr(self._dll, symbol)
            item.restype = ctype(result)
            item.argtypes = [ctype(argument) for argument in arguments]
        elif name in _tables.VARIABLES:
            kind, count = _tables.VARIABLES[name]
            item = (ctype(kind) if count is None else ctype(kind) * count).in_dll(self._dll, name)
        else:
            raise AttributeError(f"the C headers declare no {name}")
        setattr(self, name, item)
        return item


def _directories() -> Iterator[pathlib.Path]:
    """Where the shared libraries may be, besides the system's own places."""
    for directory in os.environ.get("QUORRIN_LIBRARY_PATH", "").split(":"):
        if directory:
            yield pathlib.Path(directory)
    here = pathlib.Path(__file__).resolve()
    checkouts: List[pathlib.Path] = list(here.parents[3:4])  # hosts/python/quorrin/_library.py
    note = here.with_name("checkout.txt")  # left by `pip install` from a checkout
    if note.exists():
        checkouts.append(pathlib.Path(note.read_text().strip()))
    for checkout in checkouts:
        if (checkout / "include" / "quorrin" / "quorrin.h").exists():
            yield checkout / "build"
            yield checkout / "build" / "release"
    # An installed tree: PREFIX/lib/python3/dist-packages/quorrin/_library.py
    for parent in here.parents[1:5]:
        yield parent
        yield parent / f"{os.uname().machine}-linux-gnu"


def find_library(name: str) -> str:
    """The path of one of Quorrin's shared libraries, or its bare name for the system's loader."""
    for directory in _directories():
        if (directory / name).exists():
            return str(directory / name)
    return name


def load(name: str) -> Library:
    """Loads one of Quorrin's shared libraries."""
    path = find_library(name)
    try:
        return Library(path)
    except OSError as error:
        raise Misuse(
            f"{path} cannot be loaded: {error}. Install Quorrin, or name the directory of its "
            "libraries in QUORRIN_LIBRARY_PATH"
        ) from error


_library: Optional[Library] = None
_bank: Optional[Library] = None
_reader_library: Optional[str] = None


def library() -> Library:
    """The library itself, loaded at the first call."""
    global _library
    if _library is None:
        # The library's log is on by default and carries card data. Here it is off until asked for.
        os.environ.setdefault("QT_LOGGING_RULES", "default.debug=false")
        _library = load("libQuorrin.so.1")
    return _library


def bank_library() -> Library:
    """The test bank's library, loaded at the first call."""
    global _bank
    if _bank is None:
        _bank = load("libquorrin-testbank.so.1")
    return _bank


def use_reader_library(path: str) -> None:
    """Loads what provides the six reader functions. A process keeps the first one: the library binds
    to it for good."""
    global _reader_library
    if _reader_library is not None and _reader_library != path:
        raise Misuse(
            f"this process uses {_reader_library} already: another reader library needs another "
            "process"
        )
    if _reader_library is None:
        load(path)
        _reader_library = path


def has_reader_functions() -> bool:
    """Whether this process has the reader functions, by whatever way they came."""
    return _reader_library is not None or hasattr(ctypes.CDLL(None), "ICC_Reader_Open")


def pointer_to(data: bytes) -> Any:
    """Bytes as an argument that the library reads."""
    return ctypes.cast(ctypes.create_string_buffer(data, max(len(data), 1)), _BYTES)


_BYTES = ctypes.POINTER(ctypes.c_uint8)


def buffer(size: int) -> Any:
    """Zeroed room for what the library writes."""
    return (ctypes.c_uint8 * size)()


if sys.platform != "linux":
    raise ImportError("Quorrin is for Linux")
