#!/usr/bin/env python3
"""A host in Python by ctypes alone: resamples a tone and measures what came out.

Usage: python_host.py [PATH OF libzt_trans_audio_converter.so]
"""

import ctypes
import math
import struct
import sys
from ctypes import POINTER, c_double, c_int32, c_uint8, c_uint32, c_void_p

FORMAT_PCM, FORMAT_FLOAT = 1, 5
INPUT_RATE, OUTPUT_RATE, TONE_HZ = 44100, 96000, 1000


class Settings(ctypes.Structure):
    """audio_converter_settings: 4096 packed bytes, zero at first."""

    _pack_ = 1
    _fields_ = [
        ("input_channels", c_uint8),
        ("input_bits_per_sample", c_uint8),
        ("input_format", c_uint8),
        ("input_channel_mask", c_uint32),
        ("input_sample_rate", c_uint32),
        ("output_channels", c_uint8),
        ("output_bits_per_sample", c_uint8),
        ("output_format", c_uint8),
        ("output_channel_mask", c_uint32),
        ("output_sample_rate", c_uint32),
        ("out_frame_size", c_uint32),
        ("user_matrix_enabled", c_uint8),
        ("user_matrix", c_double * 8 * 8),
        ("input_order_map_enabled", c_uint8),
        ("input_order_map", c_uint8 * 8),
        ("output_order_map_enabled", c_uint8),
        ("output_order_map", c_uint8 * 8),
        ("input_separate_channels", c_uint8),
        ("output_separate_channels", c_uint8),
        ("reserved", c_uint8 * 3537),
    ]


class Stream(ctypes.Structure):
    """bufstream: one fixed area whose bytes are appended to `received` at every commit."""

    FreeBytes = ctypes.CFUNCTYPE(c_uint32, c_void_p)
    Reserve = ctypes.CFUNCTYPE(c_void_p, c_void_p, c_uint32)
    Commit = ctypes.CFUNCTYPE(None, c_void_p, c_uint32)
    AuxInfo = ctypes.CFUNCTYPE(None, c_void_p, c_uint32, c_uint32, c_void_p, c_int32)
    _fields_ = [
        ("free_bytes", FreeBytes),
        ("reserve", Reserve),
        ("commit", Commit),
        ("unused", c_void_p * 2),
        ("aux_info", AuxInfo),
    ]

    def __init__(self, size):
        super().__init__()
        self.received = bytearray()
        area = ctypes.create_string_buffer(size)
        self.free_bytes = self.FreeBytes(lambda stream: size)
        self.reserve = self.Reserve(lambda stream, count: ctypes.addressof(area))
        self.commit = self.Commit(lambda stream, count: self.received.extend(area.raw[:count]))
        self.aux_info = self.AuxInfo(lambda stream, count, code, pointer, value: None)


def load(path):
    library = ctypes.CDLL(path)
    library.audioConverterNew.argtypes = [c_void_p, POINTER(Settings)]
    library.audioConverterNew.restype = c_void_p
    library.audioConverterInit.argtypes = [c_void_p, POINTER(Stream)]
    library.audioConverterPutBytes.argtypes = [c_void_p, ctypes.c_char_p, c_uint32]
    library.audioConverterDone.argtypes = [c_void_p, c_uint32]
    library.audioConverterFree.argtypes = [c_void_p]
    return library


def convert(library, settings, data):
    stream = Stream(settings.out_frame_size)
    converter = library.audioConverterNew(None, ctypes.byref(settings))
    if not converter:
        sys.exit("the settings were refused")
    failed = library.audioConverterInit(converter, ctypes.byref(stream))
    failed |= library.audioConverterPutBytes(converter, data, len(data))
    failed |= library.audioConverterDone(converter, 0)
    library.audioConverterFree(converter)
    if failed:
        sys.exit("the conversion failed")
    return bytes(stream.received)


def main():
    library = load(sys.argv[1] if len(sys.argv) > 1 else "libzt_trans_audio_converter.so")
    settings = Settings(input_channels=1, input_bits_per_sample=16, input_format=FORMAT_PCM,
                        input_sample_rate=INPUT_RATE, output_sample_rate=OUTPUT_RATE,
                        output_format=FORMAT_FLOAT, output_bits_per_sample=32,
                        out_frame_size=65536)
    tone = [round(16000 * math.sin(2 * math.pi * TONE_HZ * n / INPUT_RATE)) for n in range(4410)]
    output = convert(library, settings, struct.pack(f"<{len(tone)}h", *tone))
    samples = struct.unpack(f"<{len(output) // 4}f", output)

    # Away from both ends, where the tone begins and stops, each sample is the tone itself.
    error = max(abs(samples[n] - 16000 / 32768 * math.sin(2 * math.pi * TONE_HZ * n / OUTPUT_RATE))
                for n in range(200, len(samples) - 200))
    print(f"{len(tone)} frames at {INPUT_RATE} Hz became {len(samples)} at {OUTPUT_RATE} Hz")
    print(f"the tone came through within one 16-bit step: {'yes' if error < 1 / 32768 else 'no'}")


if __name__ == "__main__":
    main()
