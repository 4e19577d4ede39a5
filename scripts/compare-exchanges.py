#!/usr/bin/env python3
"""Compares two files of exchanges (tests/e2e/Exchanges.cpp) byte for byte, and prints a line for each exchange.

Usage: compare-exchanges.py ONE OTHER LEAST. The status is 0 when both hold the same exchanges, at least LEAST of them.
"""
import hashlib
import sys


def exchanges(path):
    """Title, request and answer of each exchange in a file."""
    with open(path, "rb") as file:
        for text in file.read().split(b"=== ")[1:]:
            title, _, rest = text.partition(b"\n")
            request, _, answer = rest.partition(b"\n---\n")
            yield title.decode(), request, answer


def main():
    one, other = (list(exchanges(path)) for path in sys.argv[1:3])
    least = int(sys.argv[3])
    different = abs(len(one) - len(other))
    for number, (first, second) in enumerate(zip(one, other), 1):
        same = first == second
        different += not same
        digest = hashlib.sha256(first[2]).hexdigest()[:12]
        print(f"{number:4} {'identical' if same else 'DIFFERENT'} {len(first[2]):7} bytes {digest} {first[0]}")
        if not same:
            print(f"  one:   {first[0]} {first[2]!r}\n  other: {second[0]} {second[2]!r}")
    print(f"{len(one)} and {len(other)} exchanges, {different} different")
    return 0 if different == 0 and len(one) >= least else 1


if __name__ == "__main__":
    sys.exit(main())
