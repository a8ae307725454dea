"""The examples, built and run against an installed tree."""

import json
import os
import pathlib
import re
import subprocess
import sys

import pytest

EXAMPLES = pathlib.Path(__file__).resolve().parents[3] / "hosts" / "examples"
TREE = pathlib.Path(os.environ["QUORRIN_TREE"])
PROFILES = TREE / "share" / "quorrin" / "profiles"
FLAGS = os.environ.get("QUORRIN_TEST_FLAGS", "").split()
COMPILERS = {".c": [os.environ["CC"], "-std=c11"], ".cpp": [os.environ["CXX"], "-std=c++17"]}

needs_plain_libraries = pytest.mark.skipif(
    bool(FLAGS), reason="the runtime of the sanitizers would have to be Python's"
)


def pkg_config(*arguments):
    finished = subprocess.run(
        ["pkg-config", *arguments], capture_output=True, text=True, check=True
    )
    return finished.stdout.split()


@pytest.fixture(scope="module")
def built(tmp_path_factory):
    """The programs of the examples by name, built as their first lines say."""
    directory = tmp_path_factory.mktemp("examples")
    libraries = pkg_config("--cflags", "--libs", "quorrin-simulator", "quorrin-testbank")
    programs = {}
    for source in EXAMPLES.glob("*.c*"):
        program = directory / source.name.replace(".", "-")
        compiler = COMPILERS[source.suffix]
        warnings = ["-Wall", "-Wextra", "-Werror"]
        command = [*compiler, *FLAGS, *warnings, str(source), *libraries, "-o", str(program)]
        finished = subprocess.run(command, capture_output=True, text=True)
        assert finished.returncode == 0, finished.stderr
        programs[source.name] = [str(program)]
    return programs


def run(command, reader_file=None, text=None):
    environment = dict(os.environ)
    environment.pop("QUORRIN_SIMULATOR", None)
    if reader_file is not None:
        environment["QUORRIN_SIMULATOR"] = str(reader_file)
    return subprocess.run(command, capture_output=True, text=True, env=environment, input=text)


def script(name):
    return [sys.executable, str(EXAMPLES / name)]


@pytest.mark.parametrize("name", ["purchase.c", "purchase.cpp", "purchase.py"])
def test_small_examples_are_small(name):
    assert len((EXAMPLES / name).read_text().splitlines()) < 60


def test_sells_in_c(built):
    finished = run(built["purchase.c"])
    assert (finished.returncode, finished.stderr) == (0, "")
    lines = finished.stdout.splitlines()
    assert lines[:3] == [
        "holder    B016TEST/CARD HOLDERE012000000010000",
        "bank      the cryptogram is right, approved",
        "card      9000",
    ]
    assert lines[3].startswith("log       P012000000012850Q012000000000000R0040156S00620260228")


SOLD = """card      3B6D000053494D20544553542043415244
holder    TEST/CARD HOLDER, 999901******0011
bank      the cryptogram is right, approved
card      9000
purchase  approved
log       DATE, 128.50, TEST TEA HOUSE
"""


def without_date(text):
    return re.sub(r"\d{4}-\d\d-\d\d", "DATE", text)


def test_sells_in_cpp(built):
    finished = run(built["purchase.cpp"])
    assert (finished.returncode, finished.stderr) == (0, "")
    assert without_date(finished.stdout) == SOLD


@needs_plain_libraries
def test_sells_in_python():
    finished = run(script("purchase.py"))
    assert (finished.returncode, finished.stderr) == (0, "")
    assert without_date(finished.stdout) == SOLD


def reader_file(tmp_path, *faults, profile="debit", slot="contact"):
    file = tmp_path / "reader.toml"
    rows = "".join(f'[[fault]]\nslot = "{slot}"\n{fault}\n' for fault in faults)
    file.write_text(f'[{slot}]\nprofile = "{PROFILES / profile}.toml"\n{rows}')
    return file


@pytest.mark.parametrize(
    "faults, code, expected",
    [
        ([], 0, "customer: Thank you"),
        (["power_on = 1\nresult = -4"], 0, "journal:  once more: PowerUp: QUORRIN_CARD_MUTE"),
        (["mute = true"], 1, "QUORRIN_CARD_MUTE"),
        (["absent = true"], 1, "QUORRIN_NO_CARD"),
        (["power_on = 1\nalways = true\nresult = -11"], 2, "QUORRIN_CONNECTION_ERROR"),
        (['command = "80 A8 xx xx"\nresult = -4'], 0, "journal:  once more: emvGPO: QUORRIN_CARD_MUTE"),
        (["removed_after = 6"], 1, "QUORRIN_NO_CARD"),
        (['command = "80 AE xx xx"\nstatus = "69 85"'], 1, "QUORRIN_CONDITIONS_NOT_SATISFIED"),
        (['command = "00 82 xx xx"\nresult = -4'], 1, "reverse the booking"),
        (['command = "00 82 xx xx"\nstatus = "63 00"'], 1, "refused the bank's answer: 6300"),
    ],
    ids=[
        "nothing", "mute once", "mute", "absent", "reader gone", "mute on the way", "taken out",
        "no cryptogram", "gone at the end", "wrong ARPC",
    ],
)  # fmt: skip
def test_unattended_terminal_handles_every_failure(built, tmp_path, faults, code, expected):
    finished = run(built["unattended.cpp"], reader_file(tmp_path, *faults))
    assert finished.returncode == code, finished.stdout
    assert expected in finished.stdout
    assert "customer: " in finished.stdout
    assert "9999010000000011" not in finished.stdout + finished.stderr


def test_unattended_terminal_takes_the_next_application(built, tmp_path):
    refusal = 'command = "80 A8 xx xx"\nstatus = "69 85"'
    finished = run(built["unattended.cpp"], reader_file(tmp_path, refusal, profile="two_applications"))
    assert finished.returncode == 0, finished.stdout
    assert "application A000000333010102: emvGPO" in finished.stdout


def test_unattended_terminal_is_out_of_service_without_a_reader(built, tmp_path):
    finished = run(built["unattended.cpp"], tmp_path / "nowhere.toml")
    assert finished.returncode == 2
    assert "OpenDevice" in finished.stdout
    assert run([*built["unattended.cpp"], "much"]).returncode == 2


@needs_plain_libraries
def test_service_drives_several_readers(tmp_path):
    files = []
    for name in ("debit", "gm"):
        directory = tmp_path / name
        directory.mkdir()
        files.append(str(reader_file(directory, profile=name)))
    files.append(str(tmp_path / "nowhere.toml"))
    requests = [(0, "1.00"), (1, "2.00"), (2, "3.00"), (0, "4.00"), (1, "much")]
    text = "".join(json.dumps({"reader": r, "amount": a}) + "\n" for r, a in requests)
    finished = run([*script("several_readers.py"), *files], text=text)
    assert finished.returncode == 0, finished.stderr
    answers = [json.loads(line) for line in finished.stdout.splitlines()]
    assert [a["reader"] for a in answers] == [0, 1, 2, 0, 1]
    assert [a.get("approved") for a in answers] == [True, True, None, True, None]
    assert [a.get("pan") for a in answers[:2]] == ["999901******0011", "999903******0035"]
    assert answers[2]["step"] == "OpenDevice"
    assert answers[4]["error"] == "no amount: much"


def test_is_found_by_cmake(tmp_path):
    """find_package with components, as the examples' own CMakeLists.txt does it."""
    environment = {**os.environ, "CXXFLAGS": " ".join(FLAGS), "CFLAGS": " ".join(FLAGS)}
    for command in (
        ["cmake", "-S", str(EXAMPLES), "-B", str(tmp_path), f"-DCMAKE_PREFIX_PATH={TREE}"],
        ["cmake", "--build", str(tmp_path), "--target", "purchase-c"],
    ):
        finished = subprocess.run(command, capture_output=True, text=True, env=environment)
        assert finished.returncode == 0, finished.stdout + finished.stderr
    assert f"profiles: {PROFILES}" in (tmp_path / "profiles.txt").read_text()
    assert run([str(tmp_path / "purchase-c")]).returncode == 0


def test_refuses_a_component_that_is_none(tmp_path):
    (tmp_path / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.25)\nproject(host NONE)\n"
        "find_package(Quorrin COMPONENTS nonsense)\n"
        'file(WRITE found.txt "${Quorrin_FOUND}")\n'
    )
    build = tmp_path / "build"
    finished = subprocess.run(
        ["cmake", "-S", str(tmp_path), "-B", str(build), f"-DCMAKE_PREFIX_PATH={TREE}"],
        capture_output=True, text=True,
    )  # fmt: skip
    assert finished.returncode == 0, finished.stderr
    assert (tmp_path / "found.txt").read_text() == "0"


def test_tells_pkg_config_where_profiles_and_rules_are():
    assert pkg_config("--variable=profilesdir", "quorrin-simulator") != []
    profiles = pathlib.Path(pkg_config("--variable=profilesdir", "quorrin-simulator")[0])
    assert (profiles / "debit.toml").exists()
    rules = pathlib.Path(pkg_config("--variable=rulesdir", "quorrin-testbank")[0])
    assert (rules / "test-bank.toml").exists()


def test_the_test_banks_page_compiles(tmp_path):
    page = EXAMPLES.parents[1] / "docs" / "test-bank.md"
    code = re.search(r"^```c\n(.*?)^```", page.read_text(), re.M | re.S)[1]
    flags = pkg_config("--cflags", "quorrin-testbank")
    finished = subprocess.run(
        [*COMPILERS[".c"], "-Wall", "-Wextra", "-Werror", *flags, "-xc", "-c", "-", "-o",
         str(tmp_path / "page.o")],
        input=code, capture_output=True, text=True,
    )  # fmt: skip
    assert finished.returncode == 0, finished.stderr
