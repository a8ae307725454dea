"""The schema of traces against what the recorder writes, and the page of the format against the schema.

schema_test.py SCHEMA PAGE RECORDER READER_LIBRARY
"""

import ctypes
import json
import os
import re
import sys
import tempfile

import jsonschema

schema_file, page_file, recorder_file, reader_file = sys.argv[1:]
failures = []


def check(condition, text):
    if not condition:
        failures.append(text)


with open(schema_file, encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)


def record(trace):
    """Calls every function, with a card, without one and with odd arguments."""
    os.environ.update(QUORRIN_TRACE_FILE=trace, QUORRIN_TRACE_READER=reader_file,
                      QUORRIN_TRACE_TERMINAL="T \u00e4 \"0042\"")
    for variable in ("QUORRIN_TRACE_CLEAR", "QUORRIN_TRACE_ROTATE", "QUORRIN_SIMULATOR"):
        os.environ.pop(variable, None)
    reader = ctypes.CDLL(recorder_file)
    for function in ("Open", "Close", "PowerOn", "PowerOff", "Application", "GetSerial"):
        getattr(reader, "ICC_Reader_" + function).restype = ctypes.c_int64
    handle = ctypes.c_int64(reader.ICC_Reader_Open(ctypes.create_string_buffer(32)))
    reader.ICC_Reader_GetSerial(handle, ctypes.create_string_buffer(100))
    response = ctypes.create_string_buffer(1024)
    for slot, off in ((0x01, 0x01), (0x31, 0x03), (0x11, 0x11), (0x77, 0x77)):
        reader.ICC_Reader_PowerOn(handle, slot, ctypes.create_string_buffer(512))
        for command in ("00A4040008A000000333010101", "00B2010C00", "00B2011400", "80CA9F7900",
                        "80FE000000", "0020008003241234"):
            data = bytes.fromhex(command)
            reader.ICC_Reader_Application(handle, slot, ctypes.c_int64(len(data)), data, response)
        reader.ICC_Reader_Application(handle, slot, ctypes.c_int64(-1), None, None)
        reader.ICC_Reader_PowerOff(handle, off)
    reader.ICC_Reader_Close()
    reader.ICC_Reader_Close()


seen = set()
with tempfile.TemporaryDirectory() as directory:
    trace = os.path.join(directory, "t.jsonl")
    record(trace)
    with open(trace, encoding="utf-8") as file:
        for number, text in enumerate(file, 1):
            line = json.loads(text)
            for error in validator.iter_errors(line):
                check(False, f"line {number}: {error.message}")
            for name in line.keys() - schema["properties"].keys():
                check(False, f"line {number}: {name} is not in the schema")
            order = [name for name in schema["properties"] if name in line]
            check(list(line) == order, f"line {number}: {list(line)} are not in the schema's order")
            seen |= line.keys()
check(len(seen) > 0, "nothing was recorded")
check(seen == schema["properties"].keys(), f"never written: {schema['properties'].keys() - seen}")

# A schema that takes anything would pass all of the above.
good = {
    "@timestamp": "2026-11-21T09:30:00.123456Z", "trace.version": 1, "trace.masked": True,
    "event.action": "exchange", "event.sequence": 1, "event.duration": 0, "event.outcome": "success",
    "device.id": "T", "session.id": "s", "process.pid": 1, "reader.function": "ICC_Reader_Application",
    "reader.handle": 1, "reader.result": 2, "reader.result_name": "ok", "slot.code": 1,
    "apdu.command": "00B2010C00", "apdu.answer": "9000", "apdu.status": "9000",
}
check(validator.is_valid(good), "the good line is refused")
check(validator.is_valid(good | {"agent.name": "shipper"}), "a pipeline's field is refused")
bad_values = {
    "@timestamp": "2026-11-21T09:30:00Z", "trace.version": 2, "trace.masked": 1, "event.action": "select",
    "event.sequence": 0, "event.duration": -1, "event.outcome": "unknown", "device.id": "",
    "session.id": 7, "process.pid": "1", "reader.function": "Open", "reader.handle": "1",
    "reader.result": 1.5, "reader.result_name": "fine", "slot.code": "1", "slot.name": "left",
    "card.atr": "3*", "card.application": "A", "apdu.command": "00b2", "apdu.answer": "9?",
    "apdu.status": "90", "apdu.command_length": None, "reader.name": 7, "reader.serial": 7,
    "apdu.instruction": 7,
}
check(bad_values.keys() == schema["properties"].keys(), "bad_values does not name every field")
for name, value in bad_values.items():
    check(not validator.is_valid(good | {name: value}), f"{name}: {value!r} is accepted")
for name in schema["required"] + ["slot.code", "apdu.command", "apdu.status"]:
    check(not validator.is_valid({k: v for k, v in good.items() if k != name}), f"{name} can be left out")

with open(page_file, encoding="utf-8") as file:
    page = file.read()
table = re.search(r"\| Field \| In lines of \|.*?\n\n", page, re.S).group(0)
named = re.findall(r"^\| `([^`]+)` \|", table, re.M)
check(named == list(schema["properties"]), f"the page's table: {named}")
for name in schema["properties"]["reader.result_name"]["enum"]:
    check(f"`{name}`" in page, f"the page does not name the result {name}")

print("\n".join(failures) or "ok")
sys.exit(bool(failures))
