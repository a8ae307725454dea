"""Every signature, variable, constant and structure that the Python package knows, held against the C
headers by the compiler."""

import ctypes
import pathlib
import re
import subprocess

import pytest

from quorrin import _library, _tables

ROOT = pathlib.Path(__file__).resolve().parents[3]
HEADERS = sorted((ROOT / "include" / "quorrin").glob("*.h"))

VALUES = {
    None: "void",
    ctypes.c_char: "char",
    ctypes.c_int8: "int8_t",
    ctypes.c_uint8: "uint8_t",
    ctypes.c_uint16: "uint16_t",
    ctypes.c_uint32: "uint32_t",
    ctypes.c_int32: "int32_t",
    ctypes.c_int64: "int64_t",
    ctypes.c_size_t: "size_t",
    ctypes.c_char_p: "char*",
    ctypes.c_void_p: "QuorrinBank*",
    **{structure: name for name, structure in _library.STRUCTURES.items()},
}

PRELUDE = """
#include <cstddef>
#include <type_traits>
template <typename T> struct plain { using type = std::remove_const_t<T>; };
template <typename T> struct plain<T*> { using type = typename plain<std::remove_const_t<T>>::type*; };
template <typename T> struct signature;
template <typename R, typename... A> struct signature<R(A...)> {
    using type = typename plain<R>::type(typename plain<A>::type...);
};
template <typename F, typename T>
inline constexpr bool is = std::is_same_v<typename signature<F>::type, T>;
"""


def c_type(kind):
    """The C type of a ctypes type."""
    if kind in VALUES:
        return VALUES[kind]
    return c_type(kind._type_) + "*"  # a pointer


def compile_checks(checks):
    includes = "".join(f"#include <quorrin/{header.name}>\n" for header in HEADERS)
    compiled = subprocess.run(
        ["c++", "-std=c++17", "-fsyntax-only", f"-I{ROOT / 'include'}", "-x", "c++", "-"],
        input=includes + PRELUDE + "\n".join(checks), capture_output=True, text=True,
    )
    assert compiled.returncode == 0, compiled.stderr[:4000]


def test_functions_have_the_arguments_and_results_of_the_headers():
    checks = []
    for name, (_, result, arguments) in _tables.FUNCTIONS.items():
        # A result that is a pointer to const text stays one for C; the stripped types are compared.
        types = ", ".join(c_type(_library.ctype(argument)) for argument in arguments)
        wanted = f"{c_type(_library.ctype(result))}({types})"
        checks.append(f'static_assert(is<decltype(::{name}), {wanted}>, "{name}");')
    assert len(checks) > 290
    compile_checks(checks)


def test_a_wrong_signature_is_found():
    with pytest.raises(AssertionError, match="PowerUp"):
        compile_checks(['static_assert(is<decltype(::PowerUp), int64_t(int64_t)>, "PowerUp");'])


def test_variables_have_the_types_and_sizes_of_the_headers():
    checks = []
    for name, (kind, count) in _tables.VARIABLES.items():
        extent = "" if count is None else f"[{count}]"
        element = c_type(_library.ctype(kind))
        checks.append(
            f"static_assert(std::is_same_v<std::remove_cv_t<std::remove_reference_t<decltype(::{name})>>"
            f", {element}{extent}> || std::is_same_v<std::remove_reference_t<decltype(::{name})>, "
            f'const {element}{extent}>, "{name}");'
        )
    assert len(checks) == 197
    compile_checks(checks)


def test_constants_have_the_values_of_the_headers():
    text = "".join(header.read_text() for header in HEADERS)
    enumerators = {
        name
        for body in re.findall(r"\benum \w+ \{(.*?)\};", text, re.S)
        for name in re.findall(r"^\s*(QUORRIN_\w+) =", body, re.M)
    }
    assert set(_tables.CONSTANTS) == enumerators
    compile_checks(
        f'static_assert({name} == {value}, "{name}");' for name, value in _tables.CONSTANTS.items()
    )


def test_results_have_their_meaning():
    text = "".join(
        (ROOT / "include" / "quorrin" / name).read_text() for name in ("device_codes.h", "results.h")
    )
    comments = " ".join(re.sub(r"\s*\*?\s*\n\s*\*?\s*", " ", text).split())
    named = re.findall(r"(QUORRIN_\w+) = (-?\d+)", text)
    assert {int(code): name for name, code in named} == {
        code: row[0] for code, row in _tables.CODES.items()
    }
    for code, (name, meaning, step) in _tables.CODES.items():
        assert f"{meaning} {step}" in comments, name


@pytest.mark.parametrize("name", _library.STRUCTURES)
def test_structures_have_the_layout_of_the_headers(name):
    structure = _library.STRUCTURES[name]
    checks = [f'static_assert(sizeof({name}) == {ctypes.sizeof(structure)}, "size");']
    for member, kind in structure._fields_:
        offset = getattr(structure, member).offset
        checks.append(f'static_assert(offsetof({name}, {member}) == {offset}, "{member}");')
        checks.append(
            f'static_assert(sizeof({name}::{member}) == {ctypes.sizeof(kind)}, "{member}");'
        )
    compile_checks(checks)


def test_everything_that_the_library_exports_is_there():
    path = _library.find_library("libQuorrin.so.1")
    listed = subprocess.run(
        ["nm", "-D", "--defined-only", path], capture_output=True, text=True, check=True
    ).stdout
    exported = {line.split()[2].split("@")[0] for line in listed.splitlines()}
    known = {symbol for symbol, _, _ in _tables.FUNCTIONS.values()} | set(_tables.VARIABLES)
    assert exported <= known
    library = _library.library()
    for name, (symbol, _, _) in _tables.FUNCTIONS.items():
        if symbol in exported:
            assert getattr(library, name) is not None
    for name in _tables.VARIABLES:
        assert getattr(library, name) is not None
    with pytest.raises(AttributeError):
        library.emvNonsense


def test_everything_that_the_test_bank_exports_is_there():
    path = _library.find_library("libquorrin-testbank.so.1")
    listed = subprocess.run(
        ["nm", "-D", "--defined-only", path], capture_output=True, text=True, check=True
    ).stdout
    exported = {line.split()[2] for line in listed.splitlines()}
    assert exported == {name for name in _tables.FUNCTIONS if name.startswith("quorrin_bank_")}
