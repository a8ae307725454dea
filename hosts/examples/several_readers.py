#!/usr/bin/python3
"""A service with several readers: one process a reader, since the library holds one transaction.

    several_readers.py [READER_FILE...]        reader files of the simulated reader, one a reader

The service reads requests from standard input, one JSON object a line, and writes one answer a line:

    {"reader": 0, "amount": "128.50"}
    {"reader": 0, "approved": true, "pan": "999901******0011", "response_code": "00"}

A worker that ends, whatever the reason, is replaced before the reader's next request: a driver that
crashes takes its own process with it and nothing else.
"""

import json
import multiprocessing
import sys
from concurrent.futures import Future, ProcessPoolExecutor
from concurrent.futures.process import BrokenProcessPool
from decimal import Decimal, InvalidOperation
from typing import Any, Dict, List, Union

import quorrin

Answer = Dict[str, Any]


def sell(reader_file: Union[str, bool], amount: str) -> Answer:
    """One purchase, in the worker's process."""
    try:
        with quorrin.Reader(simulator=reader_file) as reader, reader.find_card() as card:
            purchase = card.start_purchase(Decimal(amount))
            answer = quorrin.TestBank().answer(purchase.online)
            outcome = purchase.finish(answer.issuer_text)
            return {
                "approved": outcome.approved,
                "pan": str(purchase.online.pan),
                "response_code": outcome.response_code,
            }
    except quorrin.Failure as failure:
        return {"error": failure.name, "step": failure.step, "next": failure.next}
    except (ValueError, InvalidOperation):
        return {"error": f"no amount: {amount}", "next": "Mend the request."}


class ReaderProcess:
    """A reader and the one process that drives it. Its requests wait for each other there."""

    def __init__(self, reader_file: Union[str, bool]) -> None:
        self._reader_file = reader_file
        self._start()

    def _start(self) -> None:
        # A fresh interpreter: nothing of the library is shared with this process or another.
        fresh = multiprocessing.get_context("spawn")
        self._pool = ProcessPoolExecutor(max_workers=1, mp_context=fresh)

    def sell(self, amount: str) -> "Future[Answer]":
        try:
            return self._pool.submit(sell, self._reader_file, amount)
        except BrokenProcessPool:
            self._start()
            return self._pool.submit(sell, self._reader_file, amount)

    def close(self) -> None:
        self._pool.shutdown()


def answer_of(pending: "Future[Answer]") -> Answer:
    try:
        return pending.result()
    except BrokenProcessPool:
        return {"error": "the reader's process ended", "next": "Look for the card; try again."}


def main() -> int:
    files: List[Union[str, bool]] = list(sys.argv[1:]) or [True, True]
    readers = [ReaderProcess(file) for file in files]
    asked = []
    for line in sys.stdin:
        request = json.loads(line)
        number = int(request["reader"])
        asked.append((number, readers[number].sell(str(request["amount"]))))
    for number, pending in asked:
        print(json.dumps({"reader": number, **answer_of(pending)}), flush=True)
    for reader in readers:
        reader.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
