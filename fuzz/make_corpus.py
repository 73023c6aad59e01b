#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_converter: one file for each kind of conversion.

Usage: make_corpus.py FOLDER
"""

import random
import sys
from pathlib import Path

AES3_BITS = {10: 16, 11: 20, 12: 24}  # by place in the list of layouts
R48, R44, R32 = range(3)              # places in the list of rates
SPLIT_IN, SPLIT_OUT, MATRIX = 1, 2, 4
PUT, END, DONE = 0, 1, 2

# What is done: channels in and out, output rate, flags, the allocation that fails, the stream.
KINDS = {
    "plain": (2, 2, R48, 0, 0, 0), "mix": (6, 2, R48, 0, 0, 0), "rate": (2, 2, R44, 0, 0, 0),
    "gains": (2, 8, R48, MATRIX, 0, 0), "split": (2, 2, R48, SPLIT_IN, 0, 0),
    "split_rate": (2, 2, R32, SPLIT_IN | SPLIT_OUT, 0, 2), "no_memory": (2, 2, R44, 0, 14, 0),
    "no_room": (2, 2, R32, 0, 0, 193),
}


def put(data, channel=0):
    return bytes([PUT | channel << 4, len(data)]) + data


def block(layout, channels, noise):
    """Some frames; those of AES3 behind their header."""
    if layout not in AES3_BITS:
        return noise.randbytes(240)
    bits = AES3_BITS[layout]
    payload = noise.randbytes(8 * channels * (bits + 4) // 8)
    return bytes([0, len(payload), (channels // 2 - 1) << 6, (bits - 16) // 4 << 4]) + payload


def seeds():
    noise = random.Random(1)
    for layout in range(14):
        for name, (inputs, outputs, rate, flags, fail_at, stream) in KINDS.items():
            target = (layout * 5 + 3) % 14
            level = layout % 5
            settings = bytes([level, layout, inputs - 1, 0, R48, target, outputs - 1, 0, rate, 99, 9,
                              flags]) + noise.randbytes(512 if flags & MATRIX else 0)
            calls = [put(block(layout, inputs, noise), k % 2 if flags & SPLIT_IN else 0)
                     for k in range(5)]
            calls += [bytes([END | 0x10, 0]), put(noise.randbytes(9)), bytes([DONE, 0])]
            yield f"{name}-{layout}", settings + bytes([fail_at, stream]) + b"".join(calls)


def main():
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for name, content in seeds():
        (folder / name).write_bytes(content)


main()
