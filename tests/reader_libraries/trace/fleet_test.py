"""The traces of a fleet: searched with jq, loaded into SQLite and PostgreSQL, asked.

fleet_test.py PROJECT GENERATOR EXCHANGES          checks what docs/fleet.md shows and docs/fleet/ holds
fleet_test.py PROJECT GENERATOR EXCHANGES --time   prints how long it takes, as the page's table

What the queries answer is worked out again here, from the lines themselves. PostgreSQL runs as a server
of its own, in a folder of its own, without a network port. Exits with 77 when a program is missing.
"""

import collections
import contextlib
import glob
import json
import os
import pathlib
import pwd
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

project, generator, exchanges = (
    pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve(), sys.argv[3])
timing = "--time" in sys.argv[4:]
queries = sorted((project / "docs/fleet/queries").glob("*.sql"))
failures = []
times = []


def check(name, found, expected):
    if found != expected:
        failures.append(f"{name}:\n  found    {str(found)[:3000]}\n  expected {str(expected)[:3000]}")


@contextlib.contextmanager
def timed(what):
    start = time.monotonic()
    yield
    times.append((what, time.monotonic() - start))


def run(command, **more):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **more).stdout


# ---- what the traces say ----

def read_lines():
    lines = []
    for name in sorted(glob.glob("traces/*.jsonl*")):
        with open(name, encoding="utf-8") as file:
            for text in file:
                try:
                    lines.append(json.loads(text))
                except ValueError:
                    pass
    return lines


def day(line):
    return line["@timestamp"][:10]


def is_exchange(line):
    return line["event.action"] == "exchange"


def ending(line):
    return line.get("apdu.status", line["reader.result_name"])


def is_refusal(line):
    if not is_exchange(line) or line["event.outcome"] != "failure":
        return False
    if line["apdu.instruction"] == "READ RECORD" and ending(line) == "6A83":
        return False
    directory = re.match("00A404000E3.5041592E5359532E4444463031", line["apdu.command"])
    return not (ending(line) == "6A82" and directory)


def refusals(lines):
    groups = collections.defaultdict(list)
    for line in filter(is_refusal, lines):
        groups[line["device.id"], line["card.application"], line["apdu.instruction"],
               ending(line)].append(line["session.id"])
    rows = [key + (len(found), len(set(found))) for key, found in groups.items()]
    return sorted(rows, key=lambda row: (-row[4], row[:4]))[:50]


def slowest(lines):
    order = sorted(filter(is_exchange, lines),
                   key=lambda line: (-line["event.duration"], line["device.id"], line["session.id"],
                                     line["event.sequence"]))
    return [(line["event.duration"] // 1_000_000, line["device.id"], line["session.id"],
             line["event.sequence"], line["card.application"], line["apdu.instruction"], ending(line))
            for line in order[:20]]


def slowest_steps(lines):
    groups = collections.defaultdict(list)
    for line in filter(is_exchange, lines):
        groups[line["card.application"], line["apdu.instruction"]].append(line["event.duration"])
    order = sorted(groups.items(), key=lambda group: (-sum(group[1]), group[0]))
    return [key + (len(found), sum(found) // len(found) // 1000, max(found) // 1000)
            for key, found in order]


def procedure_bytes(lines):
    groups = collections.defaultdict(list)
    for line in filter(is_exchange, lines):
        groups[line["device.id"]].append(line.get("apdu.status", "")[:2])
    rows = [(terminal, len(found), 10000 * found.count("6C") // len(found),
             10000 * found.count("61") // len(found)) for terminal, found in groups.items()]
    return sorted(rows, key=lambda row: (-row[2], -row[3], row[0]))


def changed(lines):
    last, before = sorted({day(line) for line in lines}, reverse=True)[:2]
    terminals = collections.defaultdict(dict)
    for line in lines:
        if day(line) in (last, before):
            facts = terminals[line["device.id"]].setdefault(
                day(line), {"reader": "", "exchanges": 0, "time": 0, "failures": 0})
            facts["reader"] = max(facts["reader"], line.get("reader.name", ""))
            if is_exchange(line):
                facts["exchanges"] += 1
                facts["time"] += line["event.duration"]
                facts["failures"] += line["event.outcome"] == "failure"
    rows = []
    for terminal, days in sorted(terminals.items()):
        now, then = days.get(last), days.get(before)
        if not (now and then):
            rows.append((terminal, "new " if now else "silent "))
            continue
        change = "reader " if now["reader"] != then["reader"] else ""
        if 2 * now["time"] / now["exchanges"] >= 3 * then["time"] / then["exchanges"]:
            change += "slower "
        if now["failures"] / now["exchanges"] - then["failures"] / then["exchanges"] >= 0.02:
            change += "refusals "
        if change:
            rows.append((terminal, change))
    return rows


answers = {"refusals": refusals, "slowest": slowest, "slowest_steps": slowest_steps,
           "procedure_bytes": procedure_bytes, "changed": changed}


def as_text(rows):
    return "".join("|".join(str(value) for value in row) + "\n" for row in rows)


# ---- the engines ----

class Postgres:
    """A server in a folder of its own, that only a socket in that folder leads to."""

    def __init__(self, folder, programs):
        self.programs = programs
        self.folder = folder
        self.as_user = []
        if os.geteuid() == 0:  # it refuses to run as root
            self.as_user = ["runuser", "-u", "postgres", "--"]
            shutil.chown(folder, "postgres")
        os.environ.update(PGHOST=folder, PGUSER="fleet", PGDATABASE="postgres", PGTZ="Asia/Shanghai")
        for variable in ("PGPORT", "PGPASSWORD", "PGSERVICE", "PGOPTIONS", "PGHOSTADDR"):
            os.environ.pop(variable, None)

    def __enter__(self):
        self._call("initdb", "--username=fleet", "--auth=trust", "--no-sync", "--locale=C.UTF-8")
        try:
            self._call("pg_ctl", "--wait", f"--log={self.folder}/log", "-o",
                       f"-c listen_addresses='' -c unix_socket_directories='{self.folder}' -c fsync=off "
                       "-c max_wal_size=4GB -c shared_buffers=256MB -c work_mem=64MB", "start")
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        with contextlib.suppress(subprocess.CalledProcessError):
            self._call("pg_ctl", "--wait", "--mode=immediate", "stop")

    def _call(self, program, *arguments):
        subprocess.run([*self.as_user, self.programs / program, "--pgdata=" + self.folder + "/data",
                        *arguments], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       cwd="/")


def postgres_programs():
    found = sorted(glob.glob("/usr/lib/postgresql/*/bin/initdb"),
                   key=lambda path: int(path.split("/")[4]))
    return pathlib.Path(found[-1]).parent if found else None


# ---- what the page shows ----

def shell_blocks():
    page = (project / "docs/fleet.md").read_text(encoding="utf-8")
    return re.findall(r"^```sh\n(.*?)^```$", page, re.M | re.S)


def shell(command):
    return run(["bash", "-e", "-o", "pipefail", "-c", command])


def jq_answers(lines):
    counts = collections.Counter()
    for line in filter(is_refusal, lines):
        counts[line["device.id"], line["card.application"], line["apdu.instruction"], ending(line)] += 1
    first = sorted(counts.items(), key=lambda group: (-group[1], group[0]))[:5]
    order = sorted((-(line["event.duration"] // 1_000_000), line["device.id"], line["session.id"],
                    line["apdu.instruction"]) for line in lines if is_exchange(line))[:5]
    endings = collections.Counter(
        line["apdu.status"][:2] for line in lines
        if is_exchange(line) and line.get("apdu.status", "")[:2] in ("61", "6C"))
    session = [line for line in lines if line["session.id"] == "T0017-1"]
    return {
        "refused": [f"{count} " + "\t".join(key) for key, count in first],
        "slow": ["\t".join([str(-time), *rest]) for time, *rest in order],
        "procedure": [f"{count} {status}" for status, count in sorted(endings.items())],
        "session": ["\t".join([line["event.action"], line.get("apdu.instruction", ""), ending(line)])
                    for line in session],
    }


def check_jq(blocks, lines):
    expected = jq_answers(lines)
    for name in expected:
        block = next(text for text in blocks if text.startswith(f"# {name}"))
        with timed(f"jq: {name}"):
            found = shell(block)
        if not timing:
            check("jq " + name, [" ".join(text.split(" ")) for text in
                                 (re.sub(r"^ +", "", text) for text in found.splitlines())],
                  expected[name])


def check_engine(name, load, ask, count, blocks, expected, lines):
    for attempt in ("load", "load again"):
        with timed(f"{name}: {attempt}"):
            shell(next(text for text in blocks if text.startswith(f"# {load}")))
        check(f"{name}: rows", int(run([*count, "SELECT count(*) FROM calls"])), lines)
    for query in queries:
        with timed(f"{name}: {query.stem}"):
            found = run([*ask, query], cwd=project)
        if not timing:
            check(f"{name} {query.stem}", found, expected[query.stem])


def planted(lines):
    """What the generator put there is what is found."""
    found = refusals(lines)
    check("planted refusals", {row[:4] for row in found},
          {("T0017", "A000000333010102", "GENERATE AC", "6985"),
           ("T0023", "A000000333010101", "EXTERNAL AUTHENTICATE", "no_card"),
           ("T0023", "A000000333010102", "EXTERNAL AUTHENTICATE", "no_card")} & {row[:4] for row in found})
    check("planted refusals are there", {row[0] for row in found}, {"T0017", "T0023"})
    check("planted slowest", slowest(lines)[0][:2], (9500, "T0077"))
    changes = dict(changed(lines))
    for terminal, change in (("T0031", "reader "), ("T0042", "slower "), ("T0055", "silent "),
                             ("T0066", "new ")):
        check(f"planted {terminal}", changes.get(terminal), change)
    check("planted procedure bytes", all((row[2] > 0) == (int(row[0][1:]) % 3 == 0)
                                         for row in procedure_bytes(lines)), True)


def main():
    programs = postgres_programs()
    missing = [name for name in ("jq", "sqlite3", "psql", "runuser") if not shutil.which(name)]
    if missing or not programs:
        print("SKIPPED: the queries were not tried, there is no", ", ".join(missing or ["PostgreSQL server"]),
              "(scripts/setup installs them)")
        return 77
    if os.geteuid() == 0 and "postgres" not in (user.pw_name for user in pwd.getpwall()):
        print("SKIPPED: the queries were not tried, root cannot run PostgreSQL without its user postgres")
        return 77
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    with tempfile.TemporaryDirectory(prefix="fleet") as folder:
        os.chmod(folder, 0o755)
        os.chdir(folder)
        os.symlink(project / "docs", "docs")
        with timed("generate"):
            run([generator, "traces", exchanges])
        with open("traces/T0001.jsonl", "a", encoding="utf-8") as file:
            file.write('{"@timestamp":"2026-11-21T')  # as a crash leaves it
        shutil.move("traces/T0002.jsonl", "traces/T0002.jsonl.1")  # rotated
        blocks = shell_blocks()
        if timing:
            count = int(shell("grep -h '^{.*}$' traces/*.jsonl* | wc -l"))
            size = sum(os.path.getsize(name) for name in glob.glob("traces/*"))
            exchange_count = int(shell("grep -h '\"event.action\":\"exchange\"' traces/*.jsonl* | wc -l"))
            print(f"{exchange_count} exchanges, {count} lines, {size / 1e6:.0f} MB")
            lines, expected = None, collections.defaultdict(str)
        else:
            lines = read_lines()
            count = len(lines)
            planted(lines)
            expected = {name: as_text(answer(lines)) for name, answer in answers.items()}
            check("queries and answers", [query.stem for query in queries], sorted(answers))
        check_jq(blocks, lines or [])
        check_engine("SQLite", "sqlite", ["bash", "-c", 'sqlite3 ' + folder + '/fleet.db < "$0"'],
                     ["sqlite3", "fleet.db"], blocks, expected, count)
        os.mkdir("server", 0o700)
        with Postgres(folder + "/server", programs):
            check_engine("PostgreSQL", "postgresql", ["psql", "-qAt", "-f"],
                         ["psql", "-qAt", "-c"], blocks, expected, count)
            check("partitions", run(["psql", "-qAt", "-c", "SELECT count(*) FROM pg_inherits WHERE inhparent = 'calls'::regclass"]), "3\n")
    for what, seconds in times if timing else []:
        print(f"| {what} | {seconds:.2f} s |")
    print("\n".join(failures) or "ok")
    return bool(failures)


sys.exit(main())
