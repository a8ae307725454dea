"""The package as it is installed: types, wheel, loading, pytest plugin."""

import os
import pathlib
import shutil
import subprocess
import sys

import pytest

import quorrin
from quorrin import pytest_plugin

PACKAGE = pathlib.Path(__file__).resolve().parents[3] / "hosts" / "python"


def run(*command, **more):
    finished = subprocess.run(command, capture_output=True, text=True, **more)
    assert finished.returncode == 0, finished.stdout + finished.stderr
    return finished.stdout


@pytest.mark.skipif(shutil.which("mypy") is None, reason="no mypy")
def test_has_types_that_hold(tmp_path):
    use = tmp_path / "use.py"
    use.write_text(
        "import quorrin\n"
        "def sell(card: quorrin.Card) -> bool:\n"
        '    outcome = card.start_purchase("1.00").finish("8A023030")\n'
        "    return outcome.approved and quorrin.TvrBit.NEW_CARD in outcome.tvr\n"
    )
    cache = f"--cache-dir={tmp_path / 'cache'}"
    run("mypy", "--strict", cache, str(PACKAGE / "quorrin"))
    run("mypy", "--strict", cache, str(use), env={**os.environ, "MYPYPATH": str(PACKAGE)})


def installed_wheel(tmp_path):
    """The wheel as a front end makes it, unpacked where a front end would put it."""
    sys.path.insert(0, str(PACKAGE))
    try:
        import build_wheel
    finally:
        sys.path.remove(str(PACKAGE))
    name = build_wheel.build_wheel(str(tmp_path))
    site = tmp_path / "site"
    shutil.unpack_archive(tmp_path / name, site, "zip")
    return site


def test_makes_a_wheel_that_works_without_anything_else(tmp_path):
    site = installed_wheel(tmp_path)
    (info,) = site.glob("quorrin-*.dist-info")
    record = (info / "RECORD").read_text()
    for file in site.rglob("*"):
        if file.is_file():
            assert file.relative_to(site).as_posix() in record
    assert (site / "quorrin" / "py.typed").exists()
    printed = run(
        sys.executable, "-c",
        "import quorrin\n"
        "with quorrin.Reader(simulator=True) as reader, reader.find_card() as card:\n"
        "    print(quorrin.__file__, card.holder().pan)\n",
        env={**os.environ, "PYTHONPATH": str(site)}, cwd=tmp_path,
    )  # fmt: skip
    assert printed == f"{site}/quorrin/__init__.py 999901******0011\n"


def test_brings_its_fixtures_to_pytest(tmp_path):
    site = installed_wheel(tmp_path)
    case = tmp_path / "test_case.py"
    case.write_text(
        "def test_case(simulated_card, test_bank):\n"
        "    purchase = simulated_card(contact='gm').start_purchase('1.00')\n"
        "    assert purchase.finish(test_bank.answer(purchase.online).issuer_text).approved\n"
    )
    environment = {**os.environ, "PYTHONPATH": str(site)}
    environment.pop("PYTEST_DISABLE_PLUGIN_AUTOLOAD", None)
    command = [sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", "test_case.py"]
    assert "1 passed" in run(*command, env=environment, cwd=tmp_path)


def test_loads_nothing_before_it_is_needed():
    printed = run(
        sys.executable, "-c",
        "import quorrin\nprint('libQuorrin' in open('/proc/self/maps').read())\n"
        "quorrin.library()\nprint('libQuorrin' in open('/proc/self/maps').read())\n",
    )  # fmt: skip
    assert printed == "False\nTrue\n"


def test_keeps_the_librarys_log_off_until_asked():
    code = (
        "import quorrin\n"
        "with quorrin.Reader(simulator=True) as reader, reader.find_card() as card:\n"
        "    card.holder()\n"
    )
    environment = {k: v for k, v in os.environ.items() if not k.startswith("QT_LOGGING")}
    for rules, logs in ((None, False), ("default.debug=true", True)):
        if rules:
            environment["QT_LOGGING_RULES"] = rules
        finished = subprocess.run(
            [sys.executable, "-c", code], env=environment, capture_output=True, check=True
        )
        assert bool(finished.stderr) is logs


def test_says_that_no_reader_library_was_named():
    finished = subprocess.run(
        [sys.executable, "-c", "import quorrin; quorrin.Reader()"], capture_output=True, text=True
    )
    assert "no reader library: give simulator=True" in finished.stderr


@pytest.mark.parametrize("named", ["simulator", "path"])
def test_takes_the_reader_library_from_the_environment(named):
    path = quorrin._library.find_library("libquorrin-simulator.so.1")
    environment = {**os.environ, "QUORRIN_READER": path if named == "path" else named}
    run(sys.executable, "-c", "import quorrin; quorrin.Reader().close()", env=environment)


def test_says_where_a_library_that_is_missing_was_looked_for():
    environment = {**os.environ, "QUORRIN_READER": "/nowhere/libreader.so"}
    finished = subprocess.run(
        [sys.executable, "-c", "import quorrin; quorrin.Reader()"],
        env=environment, capture_output=True, text=True,
    )  # fmt: skip
    assert "/nowhere/libreader.so cannot be loaded" in finished.stderr
    assert "QUORRIN_LIBRARY_PATH" in finished.stderr


def test_writes_reader_files():
    text = pytest_plugin.reader_file(
        contact="debit", contactless="/my/card.toml", faults=[{"exchange": 2, "status": "6A 82"}]
    )
    profiles = pytest_plugin.profiles_directory()
    assert text == (
        f'[contact]\nprofile = "{profiles}/debit.toml"\n'
        '[contactless]\nprofile = "/my/card.toml"\n'
        '[[fault]]\nslot = "contact"\nexchange = 2\nstatus = "6A 82"\n'
    )
    assert '[contact]\ntrace = "/my/trace.jsonl"\n' == pytest_plugin.reader_file(
        trace="/my/trace.jsonl"
    )
    with pytest.raises(quorrin.Misuse, match="no such slot"):
        pytest_plugin.reader_file(slot1="debit")


def test_replays_what_was_recorded(tmp_path, simulated_card):
    trace = tmp_path / "holder.jsonl"
    environment = {
        **os.environ,
        "QUORRIN_TRACE_FILE": str(trace),
        "QUORRIN_TRACE_READER": quorrin._library.find_library("libquorrin-simulator.so.1"),
        "QUORRIN_TRACE_CLEAR": "1",  # a test card
        "QUORRIN_SIMULATOR": "",
    }
    code = (
        "import quorrin\n"
        "with quorrin.Reader(reader_library='libquorrin-trace.so.1') as reader:\n"
        "    with reader.find_card() as card:\n"
        "        print(card.holder())\n"
    )
    printed = run(sys.executable, "-c", code, env=environment)
    assert "TEST/CARD HOLDER" in printed
    assert f"{simulated_card(trace=trace).holder()}\n" == printed
