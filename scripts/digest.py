#!/usr/bin/env python3
"""Prints a digest of what a build of the library makes of fixed noise: every pair of formats, with
mixes and rate changes. All builds on one machine print the same.

Usage: digest.py LIBRARY
"""

import ctypes
import hashlib
import itertools
import random
import struct
import sys

FORMATS = [(1, 8), (1, 16), (1, 24), (1, 32), (2, 16), (2, 20), (2, 24), (3, 16), (3, 20), (3, 24),
           (4, 16), (4, 20), (4, 24), (5, 32)]
LAYOUTS = {1: 0x04, 2: 0x03, 4: 0x33, 6: 0x3f, 8: 0xff}
RATES = [44100, 48000, 8000, 96000, 192000, 44101]
AREA_BYTES = 1 << 20

POINTER, UINT = ctypes.c_void_p, ctypes.c_uint32
FREE_BYTES = ctypes.CFUNCTYPE(UINT, POINTER)
RESERVE = ctypes.CFUNCTYPE(POINTER, POINTER, UINT)
COMMIT = ctypes.CFUNCTYPE(None, POINTER, UINT)
AUX_INFO = ctypes.CFUNCTYPE(None, POINTER, UINT, UINT, POINTER, ctypes.c_int32)


class Stream(ctypes.Structure):
    _fields_ = [("free_bytes", FREE_BYTES), ("reserve", RESERVE), ("commit", COMMIT),
                ("unused", POINTER * 2), ("aux_info", AUX_INFO)]


def settings(source, target, channels, out_channels, rate, out_rate):
    record = bytearray(4096)
    struct.pack_into("<BBBIIBBBIII", record, 0, channels, source[1], source[0], LAYOUTS[channels],
                     rate, out_channels, target[1], target[0], LAYOUTS[out_channels], out_rate,
                     60000)
    return bytes(record)


def noise(source, channels, maker):
    """Blocks of frames; AES3 noise has its headers."""
    if source[0] != 4:
        return maker.randbytes(12000)
    payload = channels // 2 * (source[1] + 4) // 4 * 100
    header = payload << 16 | (channels // 2 - 1) << 14 | (source[1] - 16) // 4 << 4
    return b"".join(struct.pack(">I", header) + maker.randbytes(payload) for _ in range(9))


def digest(path):
    library = ctypes.CDLL(path)
    library.audioConverterNew.restype = POINTER
    area = ctypes.create_string_buffer(AREA_BYTES)
    sums = hashlib.sha256()
    stream = Stream(FREE_BYTES(lambda _: AREA_BYTES), RESERVE(lambda *_: ctypes.addressof(area)),
                    COMMIT(lambda _, count: sums.update(area[:count])),
                    aux_info=AUX_INFO(lambda *_: None))
    maker = random.Random(7)
    for source, target in itertools.product(FORMATS, FORMATS):
        layouts = [n for n in LAYOUTS if n % 2 == 0 or 4 not in (source[0], target[0])]
        channels, out_channels = maker.choice(layouts), maker.choice(layouts)
        record = settings(source, target, channels, out_channels, maker.choice(RATES),
                          maker.choice(RATES))
        converter = POINTER(library.audioConverterNew(None, record))
        assert converter.value, (source, target, channels, out_channels)
        assert library.audioConverterInit(converter, ctypes.byref(stream)) == 0
        data = noise(source, channels, maker)
        assert library.audioConverterPutBytes(converter, data, len(data)) == 0
        assert library.audioConverterDone(converter, 0) == 0
        library.audioConverterFree(converter)
    return sums.hexdigest()


print(digest(sys.argv[1]))
