#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_converter: one file for each kind of conversion.

Usage: make_corpus.py FOLDER
"""

import random
import sys
from pathlib import Path

# Places in the list of layouts: 8-, 16-, 24-, 32-bit PCM, paired and big-endian at 16, 20, 24,
# AES3 at 16, 20, 24, float.
PCM8, PCM16, PCM24, PCM32, PAIR16, PAIR20, PAIR24, BE16, BE20, BE24, AES16, AES20, AES24, FLOAT = \
    range(14)
R48, R44, R32, R96, R8, R192 = range(6)
SPLIT_IN, SPLIT_OUT, MATRIX, MAP = 1, 2, 4, 8
PUT, END, DONE, ATTACH = 0, 1, 2, 3


def side(layout, channels, rate, first_speaker=0):
    return bytes([layout, channels - 1, first_speaker, rate])


def put(data, channel=0):
    assert len(data) < 256
    return bytes([PUT | channel << 4, len(data)]) + data


def noise(count, seed):
    return random.Random(seed).randbytes(count)


def seed_file(source, target, calls, flags=0, fail_at=0, stream=0, extra=b"", frame_size=(99, 9)):
    return source + target + bytes([*frame_size, flags]) + extra + bytes([fail_at, stream]) + calls


def aes3_block(frames, channels, bits, seed):
    payload = noise(frames * channels * (bits + 4) // 8, seed)
    header = bytes([len(payload) >> 8, len(payload) & 255, (channels // 2 - 1) << 6,
                    (bits - 16) // 4 << 4])
    return header + payload


def seeds():
    blocks = b"".join(put(noise(250, k)) for k in range(4))
    yield "pcm", seed_file(side(PCM16, 2, R48), side(PCM24, 2, R48), blocks)
    yield "rate", seed_file(side(PCM16, 2, R44), side(FLOAT, 2, R48), blocks)
    yield "down", seed_file(side(FLOAT, 1, R96), side(PCM16, 1, R8), blocks)
    yield "mix", seed_file(side(PCM24, 6, R48), side(PCM24, 2, R48), blocks)
    yield "pairs", seed_file(side(PAIR20, 3, R48), side(BE20, 3, R48), blocks)
    yield "odd", seed_file(side(PCM8, 1, R48), side(PAIR24, 1, R48), put(b"\x01") + put(b"\x02\x03"))
    aes3 = b"".join(put(aes3_block(20, 2, 20, k)) for k in range(3))
    yield "aes3", seed_file(side(AES20, 2, R48), side(AES16, 2, R48), aes3)
    broken = put(b"\xff\xff\xff\xff" + noise(40, 1)) + put(noise(9, 2))
    yield "aes3_broken", seed_file(side(AES24, 4, R48), side(PCM32, 4, R48), broken)
    split = b"".join(put(noise(100 + 40 * c, k), c) for k in range(3) for c in (0, 1))
    end = bytes([END | 0x10, 0]) + put(noise(80, 9)) + bytes([DONE, 0])
    yield "split_input", seed_file(side(PCM16, 2, R48), side(PCM16, 2, R48), split + end, SPLIT_IN)
    yield "split_rate", seed_file(side(BE24, 2, R44), side(BE16, 2, R48), split + end,
                                  SPLIT_IN | SPLIT_OUT)
    yield "split_output", seed_file(side(PCM16, 3, R48), side(PCM16, 3, R48), blocks, SPLIT_OUT,
                                    stream=2)
    yield "no_memory", seed_file(side(PCM16, 2, R44), side(BE24, 2, R48), blocks, fail_at=14)
    yield "no_room", seed_file(side(PCM32, 2, R48), side(FLOAT, 2, R32), blocks, stream=193)
    yield "gains", seed_file(side(PCM32, 2, R48), side(PCM32, 3, R48), blocks, MATRIX,
                             extra=noise(512, 3))


def main():
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for name, content in seeds():
        (folder / name).write_bytes(content)


main()
