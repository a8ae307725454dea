#!/usr/bin/python3
"""A card, its holder, a purchase, its log, in Python."""

import sys
from decimal import Decimal

import quorrin


def main() -> int:
    with quorrin.Reader(simulator=True) as reader, reader.find_card() as card:
        print("card     ", card.atr.hex().upper())

        holder = card.holder()
        print(f"holder    {holder.name}, {holder.pan}")

        terms = quorrin.PurchaseTerms(amount=Decimal("128.50"), merchant="TEST TEA HOUSE")
        purchase = card.start_purchase(terms)

        answer = quorrin.TestBank().answer(purchase.online)  # your network in its place
        print("bank     ", answer.reason)

        outcome = purchase.finish(answer.issuer_text)
        print("card     ", outcome.authentication_status)
        print("purchase ", "approved" if outcome.approved else "declined")

        newest = card.log()[0]
        print(f"log       {newest.date}, {newest.amount}, {newest.merchant}")
        return 0 if outcome.approved else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except quorrin.Failure as failure:
        sys.exit(str(failure))
