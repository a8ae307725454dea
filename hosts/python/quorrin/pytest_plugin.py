"""Fixtures for a terminal's tests against simulated cards.

Found by pytest of itself where the package is installed; else `pytest_plugins = ["quorrin.pytest_plugin"]`.

    def test_refuses_a_wrong_arpc(simulated_reader, test_bank):
        with simulated_reader(contact="debit") as reader, reader.find_card() as card:
            ...
"""

import os
import pathlib
from typing import Any, Callable, Dict, Iterator, List, Mapping, Optional, Sequence, Union

import pytest

from . import _library
from .bank import TestBank
from .failures import Misuse
from .reader import Card, Reader

Slot = Union[str, "os.PathLike[str]"]
Fault = Mapping[str, Union[str, int, bool]]

SLOTS = ("contact", "contactless", "further", "sam1", "sam2", "sam3", "sam4")


def profiles_directory() -> pathlib.Path:
    """Where the shipped card profiles are: QUORRIN_PROFILES, else beside the library."""
    named = os.environ.get("QUORRIN_PROFILES")
    if named:
        return pathlib.Path(named)
    library = pathlib.Path(_library.find_library("libquorrin-simulator.so.1")).resolve()
    candidates = [parent / "share" / "quorrin" / "profiles" for parent in library.parents]
    candidates += [
        parent / "reader_libraries" / "simulator" / "profiles" for parent in library.parents
    ]
    candidates += [pathlib.Path("/usr/local/share/quorrin/profiles")]
    candidates += [pathlib.Path("/usr/share/quorrin/profiles")]
    for candidate in candidates:
        if candidate.is_dir():
            return candidate
    raise Misuse("the card profiles are not found: name their directory in QUORRIN_PROFILES")


def _toml(value: Union[str, int, bool]) -> str:
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, int):
        return str(value)
    return '"' + value.replace("\\", "\\\\").replace('"', '\\"') + '"'


def reader_file(
    faults: Sequence[Fault] = (), trace: Optional[Slot] = None, **slots: Slot
) -> str:
    """A reader file (docs/simulator.md) as text.

    Slots name a shipped profile ("debit", "credit", "gm", "quick", ...) or a profile's path; faults
    are rows as in the file: {"slot": "contact", "command": "00 82 xx xx", "status": "6A 82"}, where
    the slot may be left out when there is only one. trace is a recorded trace for the only slot, or
    for the contact slot when none is named."""
    lines: List[str] = []
    for slot, profile in slots.items():
        if slot not in SLOTS:
            raise Misuse(f"no such slot: {slot}; there are {', '.join(SLOTS)}")
        path = pathlib.Path(profile)
        if path.suffix != ".toml":
            path = profiles_directory() / f"{profile}.toml"
        lines += [f"[{slot}]", f"profile = {_toml(str(path.absolute()))}"]
    if trace is not None:
        lines += ["[contact]", f"trace = {_toml(str(pathlib.Path(trace).absolute()))}"]
    for fault in faults:
        only = next(iter(slots), "contact")
        row: Dict[str, Union[str, int, bool]] = {"slot": only, **fault}
        lines += ["[[fault]]"] + [f"{key} = {_toml(value)}" for key, value in row.items()]
    return "\n".join(lines) + "\n"


@pytest.fixture
def simulated_reader(
    tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch
) -> Iterator[Callable[..., Reader]]:
    """Opens the simulated reader with the cards, faults or trace of `reader_file`'s arguments; a
    debit card in the contact slot when nothing is named. Closed when the test ends."""
    monkeypatch.setenv("QUORRIN_SIMULATOR", "")
    opened: List[Reader] = []

    def open_reader(**what: Any) -> Reader:
        if not any(slot in what for slot in SLOTS) and "trace" not in what:
            what["contact"] = "debit"
        file = tmp_path / f"reader-{len(opened)}.toml"
        file.write_text(reader_file(**what))
        opened.append(Reader(simulator=file))
        return opened[-1]

    yield open_reader
    for reader in opened:
        reader.__exit__(None, None, None)


@pytest.fixture
def simulated_card(simulated_reader: Callable[..., Reader]) -> Callable[..., Card]:
    """The same, with its card found and powered: simulated_card(contact="gm")."""

    def power_up(**what: Any) -> Card:
        return simulated_reader(**what).find_card()

    return power_up


@pytest.fixture
def test_bank() -> TestBank:
    """The bank of the simulated cards."""
    return TestBank()
