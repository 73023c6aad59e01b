#!/usr/bin/env python3
"""Measures first outputs and creation times, and writes the table of latency.md.

Usage: latency_table.py PATH_OF_libzt_trans_audio_converter.so

Every pair of rates is also run one frame a call, and the frames that came out so far compared with
the page's formula after each call, and at the end with N * L / M.
"""

import ctypes
import math
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "examples"))
sys.dont_write_bytecode = True

import python_host as host  # noqa: E402
from page_region import replace_region, table  # noqa: E402

RATE_PAIRS = [(44100, 48000), (48000, 44100), (44100, 88200), (48000, 96000), (96000, 48000),
              (88200, 48000), (96000, 44100), (192000, 48000), (192000, 44100), (48000, 16000),
              (48000, 8000), (8000, 48000), (44101, 48000)]
CREATIONS = 15
SAMPLE_BYTES = 4


def make_settings(input_rate, output_rate):
    return host.Settings(input_channels=1, input_bits_per_sample=32, input_format=host.FORMAT_PCM,
                         input_sample_rate=input_rate, output_sample_rate=output_rate,
                         out_frame_size=65536)


def lowest_terms(input_rate, output_rate):
    divisor = math.gcd(input_rate, output_rate)
    return output_rate // divisor, input_rate // divisor


def creation_seconds(library, settings):
    """The least time of several creations of a converter."""
    best = math.inf
    for _ in range(CREATIONS):
        start = time.perf_counter()
        converter = library.audioConverterNew(None, ctypes.byref(settings))
        best = min(best, time.perf_counter() - start)
        library.audioConverterFree(converter)
    return best


def first_output(library, settings, up, down):
    """Input frames taken when the first output came; every count is compared on the way."""
    stream = host.Stream(settings.out_frame_size)
    converter = library.audioConverterNew(None, ctypes.byref(settings))
    library.audioConverterInit(converter, ctypes.byref(stream))
    first, total = None, 2 * down + 37
    for frames in range(1, total + 1):
        library.audioConverterPutBytes(converter, bytes(SAMPLE_BYTES), SAMPLE_BYTES)
        came = len(stream.received) // SAMPLE_BYTES
        if came != (frames - 21) // down * up * (frames >= 21):
            sys.exit(f"{up}/{down}: {came} frames came out of {frames}")
        if came and first is None:
            first = frames
    library.audioConverterDone(converter, 0)
    library.audioConverterFree(converter)
    if len(stream.received) // SAMPLE_BYTES != total * up // down:
        sys.exit(f"{up}/{down}: the whole length is not N * L / M")
    return first


def make_row(library, input_rate, output_rate):
    up, down = lowest_terms(input_rate, output_rate)
    settings = make_settings(input_rate, output_rate)
    first = first_output(library, settings, up, down)
    seconds = creation_seconds(library, settings)
    return (f"{input_rate} → {output_rate}", up, down, first, f"{1000 * first / input_rate:.2f}",
            f"{8 * (40 * up + 1):,}", f"{1e6 * seconds:,.0f}")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    library = host.load(sys.argv[1])
    head = ("Hz", "L", "M", "first output after, frames", "the same, ms", "table, bytes",
            "creation, µs")
    rows = [make_row(library, *pair) for pair in RATE_PAIRS]
    replace_region("latency.md", "table", table(head, rows))


if __name__ == "__main__":
    main()
