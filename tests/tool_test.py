#!/usr/bin/env python3
"""Runs zt-audio-convert as a person would. Usage: tool_test.py TOOL [unittest options]"""

import cmath
import contextlib
import math
import os
import pty
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

TOOL = ""
COMPLETION = Path(__file__).resolve().parent.parent / "tools" / "zt-audio-convert.bash"


def pcm16(*samples):
    return struct.pack(f"<{len(samples)}h", *samples)


def tone(frame_count, channels, rate=48000):
    """16-bit sines of different pitch, a quarter of full scale."""
    return pcm16(*(round(8192 * math.sin(2 * math.pi * 440 * (c + 1) * n / rate))
                   for n in range(frame_count) for c in range(channels)))


def wav(data, channels=2, rate=48000, bits=16, mask=None, data_bytes=None, code=1):
    """A WAV file by hand; `data_bytes` is what its header claims."""
    frame = channels * bits // 8
    body = struct.pack("<HHIIHH", code if mask is None else 0xFFFE, channels, rate, rate * frame,
                       frame, bits)
    if mask is not None:
        body += struct.pack("<HHIH", 22, bits, mask, 1) + bytes.fromhex(
            "000000001000800000aa00389b71")
    size = len(data) if data_bytes is None else data_bytes
    chunks = b"WAVEfmt " + struct.pack("<I", len(body)) + body + b"data" + struct.pack("<I", size)
    return b"RIFF" + struct.pack("<I", min(len(chunks) + size, 0xFFFFFFFF)) + chunks + data


def rf64(present, claimed=None):
    """A stereo RF64 file with so many bytes of silence."""
    claimed = present if claimed is None else claimed
    header = wav(b"", data_bytes=0xFFFFFFFF).replace(b"RIFF", b"RF64", 1)
    ds64 = b"ds64" + struct.pack("<IQQQI", 28, claimed + 72, claimed, claimed // 4, 0)
    return header[:12] + ds64 + header[12:] + bytes(present)


def with_chunk(content, name, body):
    """A WAV file with a further chunk at its end."""
    content += name + struct.pack("<I", len(body)) + body + bytes(len(body) % 2)
    return content[:4] + struct.pack("<I", len(content) - 8) + content[8:]


def parse_wav(content):
    """(kind, code, channels, rate, bits, mask, data) of a WAV file."""
    kind, offset, fmt = content[:4].decode(), 12, None
    while offset < len(content):
        name, size = struct.unpack_from("<4sI", content, offset)
        body = content[offset + 8:offset + 8 + size]
        if name == b"fmt ":
            fmt = body
        if name == b"data":
            code, channels, rate, _, _, bits = struct.unpack_from("<HHIIHH", fmt)
            mask = None
            if code == 0xFFFE:
                mask, code = struct.unpack_from("<IH", fmt, 20)
            return kind, code, channels, rate, bits, mask, body
        offset += 8 + size + size % 2
    raise AssertionError("no data chunk")


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def put(self, name, content):
        (self.folder / name).write_bytes(content)

    def get(self, name):
        return (self.folder / name).read_bytes()

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())

    def run_tool(self, arguments, status=0, stdin=b"", **options):
        """Runs the tool in the test's folder; `arguments` is one text or a list."""
        words = arguments.split() if isinstance(arguments, str) else arguments
        done = subprocess.run([TOOL, *words], cwd=self.folder, input=stdin, capture_output=True,
                              timeout=60, check=False, **options)
        self.assertEqual(done.returncode, status, f"{words}: {done.stderr.decode()}")
        return done

    def each(self, table):
        """The rows of a table, each in a subtest and an empty folder of its own."""
        own_folder = self.folder
        for row in table:
            with self.subTest(row[0]), tempfile.TemporaryDirectory() as folder:
                self.folder = Path(folder)
                yield row
        self.folder = own_folder

    # ---- Samples ----------------------------------------------------------------------------

    def test_samples_convert_exactly(self):
        """Bytes worked out by hand. In: two frames of raw input; out: raw output."""
        stereo, mono = "pcm,16,2,48000", "pcm,16,1,48000"
        one = pcm16(0x1234, -1, 0x4000, -0x8000)
        swap = b"# left and right change places\n0, 1\n-1 0\n"
        by_bit = b"".join(b"0 0 0 0 0 0 0 0\n" if row != 2 else b"0.5 -1 0 0 0 0 0 0\n"
                          for row in range(8))
        table = [
            ("nothing changes", stereo, one, "", one),
            ("float", stereo, pcm16(0x4000, 0), "-f float", struct.pack("<2f", 0.5, 0.0)),
            ("odd frame of a pair is completed", stereo, one[:4], "-f lpcm-paired",
             bytes.fromhex("1234 ffff 0000 0000")),
            ("aes3", stereo, pcm16(1, 0), "-f aes3", bytes.fromhex("00050000 8000800008")),
            ("from aes3", "aes3,16,2,48000", bytes.fromhex("00050000 8000800008"), "-f pcm",
             pcm16(1, 0)),
            ("mono reaches both sides", mono, pcm16(5, -7), "-l stereo", pcm16(5, 5, -7, -7)),
            ("input order", stereo, pcm16(1, 2), "--in-order FR,FL", pcm16(2, 1)),
            ("output order", stereo, pcm16(1, 2), "--out-order FR,FL", pcm16(2, 1)),
            ("matrix of the layouts", stereo, pcm16(1, 2), "--matrix swap", pcm16(-2, 1)),
            ("matrix by speaker", mono, pcm16(100), "-l stereo --matrix by_bit", pcm16(50, -100)),
        ]
        for name, raw, content, options, expected in self.each(table):
            self.put("in.raw", content)
            self.put("swap", swap)
            self.put("by_bit", by_bit)
            self.run_tool(f"--raw {raw} {options} in.raw out.raw")
            self.assertEqual(self.get("out.raw").hex(" "), expected.hex(" "), name)

    def test_cuts_do_not_matter(self):
        self.put("in.wav", wav(tone(3001, 6), 6, mask=0x3F))
        options = "-r 44100 -l stereo -b 24 in.wav"
        self.run_tool(f"{options} whole.wav")
        for cut in ("--frame-size 6", "--frame-size 1000000"):
            self.run_tool(f"{options} {cut} cut.wav")
            self.assertEqual(self.get("cut.wav"), self.get("whole.wav"), cut)

    def test_float_files_lose_nothing(self):
        """Integer, float, integer: the extremes and a spread of values of every depth."""
        for bits in (8, 16, 24):
            top = 1 << (bits - 1)
            values = [*range(-top, top, max(1, top // 5000)), top - 1, -1, 1]
            data = b"".join((value + (128 if bits == 8 else 0)).to_bytes(
                bits // 8, "little", signed=bits > 8) for value in values)
            self.put("in.wav", wav(data, 1, bits=bits))
            for name in ("float.wav", "float.aiff"):
                self.run_tool(f"-f float in.wav {name}")
                self.run_tool(f"-b {bits} {name} back.wav")
                self.assertEqual(parse_wav(self.get("back.wav"))[-1], data, (bits, name))
            self.run_tool(f"-b {bits} - back.wav", stdin=self.get("float.wav"))
            self.assertEqual(parse_wav(self.get("back.wav"))[-1], data, bits)
        floats = struct.pack("<6f", 1.0, -1.0, 2.5, -7.0, math.nan, 1.5 / 2**31)
        expected = struct.pack("<6i", 2**31 - 1, -2**31, 2**31 - 1, -2**31, 0, 2)
        self.put("in.wav", wav(floats, 1, bits=32, code=3))
        self.run_tool("-f pcm -b 32 in.wav out.wav")
        self.assertEqual(parse_wav(self.get("out.wav"))[-1], expected)

    def test_dither(self):
        """1 kHz at -90 dBFS in 16 bits: truncation makes harmonics, dither only noise."""
        rate = 48000
        tone24 = (round(2**23 * 10**-4.5 * math.sin(2 * math.pi * n / 48)) for n in range(rate))
        self.put("in.wav", wav(b"".join(sample.to_bytes(3, "little", signed=True)
                                        for sample in tone24), 1, rate, 24))

        def harmonics(options):
            self.run_tool(f"-b 16 {options} in.wav out.wav")
            samples = struct.unpack(f"<{rate}h", parse_wav(self.get("out.wav"))[-1])
            # Bins of a transform of a second; the tone has a period of 48 samples.
            sums = [sum(samples[k::48]) for k in range(48)]
            bins = [sum(total * cmath.exp(2j * math.pi * harmonic * k / 48)
                        for k, total in enumerate(sums)) for harmonic in range(1, 8)]
            levels = [20 * math.log10(2 * abs(value) / rate / 32768 + 1e-12) for value in bins]
            return samples, levels

        plain, levels = harmonics("")
        self.assertGreater(max(levels[1:]), -105)
        dithered, levels = harmonics("--dither")
        self.assertAlmostEqual(levels[0], -90, delta=0.5)
        # Noise of 3 / 12 LSB^2 is at -96 dBFS; 24,000 bins share it, and few exceed it by 12 dB.
        self.assertLess(max(levels[1:]), -96 - 44 + 12)
        self.assertEqual(harmonics("--dither")[0], dithered)
        variance = sum((a - b) ** 2 for a, b in zip(plain, dithered)) / rate
        self.assertTrue(0.3 < variance < 1.0, variance)
        text = self.run_tool("-b 24 --dither in.wav out.wav").stderr.decode()
        self.assertIn("no dither is added", text)
        for options in ("-f aes3 -b 20 -t raw -l stereo", "--split-output -b 8 -r 44100",
                        "-f lpcm-be -b 16 -t raw"):
            self.run_tool(f"--dither {options} in.wav out.wav")

    # ---- Files ------------------------------------------------------------------------------

    def test_files_cut_off(self):
        """Refused with the option's name; with the option all whole frames come, with a warning."""
        content = wav(tone(1000, 2))
        self.put("in.wav", content)
        self.run_tool("in.wav in.aiff")
        self.run_tool("in.wav in.caf")
        self.run_tool("in.wav in.flac")
        never = content[:4] + struct.pack("<I", 36) + content[8:40] + bytes(4) + content[44:]
        table = [
            ("in.wav", content[:3001], 739, "1043 bytes are missing"),
            ("in.wav", rf64(4000)[:-500], 875, "500 bytes are missing"),
            ("in.wav", never, 1000, "says 0 bytes of samples, 4000 follow"),
            ("in.aiff", self.get("in.aiff")[:-402], 899, "402 bytes are missing"),
            ("in.caf", self.get("in.caf")[:-400], 898, "400 bytes are missing"),
            ("in.flac", self.get("in.flac")[:-400], None, "in.flac: "),
        ]
        for name, cut, frames, fault in self.each(table):
            self.put(name, cut)
            text = self.run_tool(f"{name} out.wav", status=1).stderr.decode()
            self.assertRegex(text, r"\Azt-audio-convert: [^\n]+; --ignore-length [^\n]+\n\Z")
            self.assertIn(fault, text)
            self.assertEqual(self.names(), [name])
            text = self.run_tool(f"-q --ignore-length {name} out.wav").stderr.decode()
            self.assertRegex(text, r"\Azt-audio-convert: warning: [^\n]+\n\Z")
            self.assertIn(fault, text)
            if frames:
                data = parse_wav(self.get("out.wav"))[-1]
                self.assertGreaterEqual(len(data), 4 * frames)
                self.assertIn(data, content + bytes(4000))
        for cut, fault in ((content[:-2], "2 bytes are missing"), (content[:-4], "4 bytes are")):
            text = self.run_tool("- out.wav", status=1, stdin=cut).stderr.decode()
            self.assertIn(fault, text)
            text = self.run_tool("--ignore-length - out.wav", stdin=cut).stderr.decode()
            self.assertIn(fault, text)
            self.assertEqual(len(parse_wav(self.get("out.wav"))[-1]), 3996)
        self.put("empty.wav", with_chunk(wav(b""), b"LIST", b"INFOICMT\4\0\0\0none"))
        self.run_tool("empty.wav out.wav")
        self.assertEqual(parse_wav(self.get("out.wav"))[-1], b"")

    def test_speakers_beyond_eight(self):
        """Kept where nothing is mixed; rows: mask, options, mask that comes out."""
        table = [
            ("6.1 with a back centre", 0x70F, "-r 44100 -b 24", 0x70F),
            ("7.1 with sides", 0x63F, "", 0x63F),
            ("7.1 with sides, renamed", 0x63F, "--in-layout 7.1 -l 5.1", 0x3F),
            ("5.1 with sides, kept", 0x60F, "-r 96000", 0x60F),
            ("5.1 with sides, mixed as backs", 0x60F, "-l quad", 0x33),
        ]
        for name, mask, options, expected in self.each(table):
            channels = mask.bit_count()
            self.put("in.wav", wav(tone(480, channels), channels, mask=mask))
            self.run_tool(f"{options} in.wav out.wav")
            self.assertEqual(parse_wav(self.get("out.wav"))[5], expected, name)
        self.put("in.wav", wav(tone(480, 8), 8, mask=0x63F))
        self.run_tool("--split-output in.wav out.wav")
        self.assertIn("out.SL.wav", self.names())
        self.run_tool("in.wav out.flac")
        self.run_tool("out.flac back.wav")
        self.assertEqual(parse_wav(self.get("back.wav")), parse_wav(self.get("in.wav")))

    def test_texts_go_along(self):
        """INFO texts and a broadcast chunk through every container; the time keeps its place."""
        texts = {b"INAM": b"A title\0", b"IART": "Söngvari\0".encode(), b"ICRD": b"1999\0",
                 b"ICMT": b"odd\0"}
        info = b"INFO" + b"".join(tag + struct.pack("<I", len(text)) + text + bytes(len(text) % 2)
                                  for tag, text in texts.items())
        bext = bytearray(b"described".ljust(602, b"\0"))
        struct.pack_into("<Q", bext, 338, 48000 * 3600)
        content = with_chunk(wav(tone(100, 2)), b"LIST", info)
        self.put("in.wav", with_chunk(content, b"bext", bytes(bext)))
        self.run_tool("-q -r 96000 in.wav out.wav")
        found = self.get("out.wav")
        self.assertIn(info, found)
        struct.pack_into("<Q", bext, 338, 96000 * 3600)
        self.assertIn(b"bext" + struct.pack("<I", 602) + bytes(bext), found)
        for name, lost in (("out.flac", "broadcast chunk"), ("out.caf", "broadcast chunk"),
                           ("out.aiff", "date, broadcast chunk"),
                           ("out.raw", "title, artist, date, comment, broadcast chunk")):
            note = self.run_tool(f"in.wav {name}").stderr.decode()
            self.assertRegex(note, rf"\Azt-audio-convert: note: [^\n]+: {lost}\n\Z")
            if name != "out.raw":
                self.run_tool(f"{name} back.wav")
                for tag, text in texts.items():
                    self.assertEqual(tag + struct.pack("<I", len(text)) + text in
                                     self.get("back.wav"), not (tag == b"ICRD" and "date" in lost))
        self.assertEqual(self.run_tool("--no-metadata in.wav out.wav").stderr, b"")
        self.assertEqual(self.get("out.wav"), wav(tone(100, 2)))
        self.put("in.wav", wav(tone(100, 2)) + b"LIST\1\0\0\0INFO")  # too short for its own name
        self.run_tool("in.wav out.wav")
        self.assertEqual(self.get("out.wav"), wav(tone(100, 2)))

    def test_flac(self):
        for bits, channels in ((16, 2), (24, 6)):
            data = tone(3000, channels * bits // 16)[:3000 * channels * bits // 8]
            self.put("in.wav", wav(data, channels, bits=bits))
            self.run_tool("in.wav out.flac")
            self.assertEqual(self.get("out.flac")[:4], b"fLaC")
            self.run_tool("out.flac back.wav")
            self.assertEqual(parse_wav(self.get("back.wav"))[-1], data)
        self.put("in.wav", wav(tone(100, 2, 44100), rate=44100))
        for rate, hertz in (("48k", 48000), ("44.1k", 44100), ("11.025k", 11025)):
            self.run_tool(f"-r {rate} in.wav out.wav")
            self.assertEqual(parse_wav(self.get("out.wav"))[3], hertz)
        self.run_tool("-f float in.wav float.wav")
        self.run_tool("float.wav out.flac")
        self.assertIn(b"Signed 24 bit", self.run_tool("--info out.flac").stdout)

    def test_many_files_in_parallel(self):
        """A hundred files, one of them broken: 99 results, one message, one failure."""
        for number in range(100):
            self.put(f"{number}.wav", wav(tone(500, 2)) if number != 42 else b"broken")
        (self.folder / "out").mkdir()
        done = subprocess.run(
            ["parallel", "-j2", TOOL, "-q", "-r", "44.1k", "{}", "out/{}", ":::",
             *(name for name in self.names() if name != "out")], cwd=self.folder,
            capture_output=True, timeout=120, check=False)
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertRegex(done.stderr.decode(), r"\Azt-audio-convert: 42\.wav: [^\n]+\n\Z")
        results = sorted((self.folder / "out").iterdir())
        self.assertEqual(len(results), 99)
        self.assertEqual({len(path.read_bytes()) for path in results}, {44 + 4 * 459})


    def test_wav_headers(self):
        """What the output header says; rows: input channels and mask, options, expectation."""
        table = [
            ("plain stereo", 2, None, "", (1, 2, 48000, 16, None)),
            ("rate and depth", 2, None, "-r 96000 -b 32", (1, 2, 96000, 32, 3)),
            ("float", 2, None, "-f float", (3, 2, 48000, 32, None)),
            ("lone left", 1, 0x1, "", (1, 1, 48000, 16, 0x1)),
            ("four unnamed channels", 4, None, "", (1, 4, 48000, 16, 0x33)),
            ("layout override", 4, None, "--in-layout FL,FR,FC,LFE", (1, 4, 48000, 16, 0x0F)),
            ("order that a mask cannot tell", 2, None, "--out-order FR,FL",
             (1, 2, 48000, 16, None)),
        ]
        for name, channels, mask, options, expected in self.each(table):
            self.put("in.wav", wav(tone(480, channels), channels, mask=mask))
            self.run_tool(f"{options} in.wav out.wav")
            content = self.get("out.wav")
            kind, *header, data = parse_wav(content)
            self.assertEqual((kind, *header), ("RIFF", *expected), name)
            self.assertNotIn(b"PEAK", content, "the chunk holds the time of writing")
            frames = 480 * expected[2] // 48000
            self.assertEqual(len(data), frames * expected[1] * expected[3] // 8, name)

    def test_other_file_types(self):
        samples = tone(1001, 6)
        self.put("in.wav", wav(samples, 6, mask=0x3F))
        big_endian = b"".join(samples[k + 1:k + 2] + samples[k:k + 1]
                              for k in range(0, len(samples), 2))
        for name in ("a.aiff", "a.caf"):
            self.run_tool(f"in.wav {name}")
            self.run_tool(f"{name} back.wav")
            self.assertEqual(parse_wav(self.get("back.wav"))[5:], (0x3F, samples), name)
        # Both chunk headers are 16 bytes long: name, 4 or 8 of size, 8 or 4 of zeros.
        for name, chunk in (("a.aiff", b"SSND"), ("a.caf", b"data")):
            content = self.get(name)
            self.assertEqual(content[content.index(chunk) + 16:], big_endian, name)
            self.run_tool(f"-b 8 in.wav {name}")
            content = self.get(name)
            self.assertEqual(content[content.index(chunk) + 16:].rstrip(b"\0"),
                             big_endian[::2].rstrip(b"\0"), name)

    def test_files_replace_and_keep(self):
        """A result replaces the file of its name, a failure leaves that file alone."""
        self.put("in.wav", wav(tone(100, 2)))
        self.put("out.wav", b"older")
        os.chmod(self.folder / "out.wav", 0o640)
        os.symlink("out.wav", self.folder / "link.wav")
        self.run_tool("--in-layout 5.1 in.wav link.wav", status=1)
        self.assertEqual(self.get("out.wav"), b"older")
        self.run_tool("in.wav link.wav")
        self.assertEqual(self.get("out.wav"), self.get("in.wav"))
        self.assertEqual((self.folder / "out.wav").stat().st_mode & 0o777, 0o640)
        self.assertTrue((self.folder / "link.wav").is_symlink())
        self.run_tool("-b 8 in.wav in.wav")
        self.assertEqual(len(parse_wav(self.get("in.wav"))[6]), 200)
        self.assertEqual(self.names(), ["in.wav", "link.wav", "out.wav"])

    def test_beyond_4_gib(self):
        """Sparse files, sized but not converted."""
        size = 5_000_000_000
        self.put("long.wav", rf64(0, size))
        self.put("long.raw", b"")
        for name in ("long.wav", "long.raw"):
            os.truncate(self.folder / name, size + (80 if name == "long.wav" else 0))
        for source in ("long.wav", "--raw pcm,16,2,48000 long.raw"):
            text = self.run_tool(f"-n {source} -r 96000 out.wav").stdout.decode()
            self.assertIn("(RF64)", text)
            self.assertIn("2500000000 frames", text)
            self.run_tool(f"{source} out.aiff", status=1)
        self.assertEqual(self.names(), ["long.raw", "long.wav"])

    # ---- One file per channel ---------------------------------------------------------------

    def test_split_files(self):
        left, right = tone(2000, 1), tone(1500, 1, 30000)
        self.put("l.wav", wav(left, 1))
        self.put("r.wav", wav(right, 1))
        padded = right + bytes(1000)
        both = b"".join(left[k:k + 2] + padded[k:k + 2] for k in range(0, 4000, 2))
        self.run_tool("--split-input FL=l.wav --split-input FR=r.wav both.wav")
        self.assertEqual(parse_wav(self.get("both.wav"))[2:], (2, 48000, 16, None, both))
        self.run_tool("-b 24 r.wav r24.wav")
        self.run_tool("-b 16 --split-input FL=l.wav --split-input FR=r24.wav other.wav")
        self.assertEqual(self.get("other.wav"), self.get("both.wav"))
        self.run_tool("--split-output both.wav parts.wav")
        self.assertEqual(parse_wav(self.get("parts.FL.wav"))[6], left)
        self.assertEqual(parse_wav(self.get("parts.FR.wav"))[6], padded)
        options = "-r 44100 -l quad -b 24 --split-output -t raw"
        self.run_tool(f"{options} --split-input FL=l.wav --split-input FR=r.wav a.raw")
        self.run_tool(f"{options} both.wav b.raw")
        for speaker in ("FL", "FR", "BL", "BR"):
            self.assertEqual(self.get(f"a.{speaker}.raw"), self.get(f"b.{speaker}.raw"))
            self.assertEqual(len(self.get(f"a.{speaker}.raw")), 2000 * 441 // 480 * 3)

    # ---- Streams ----------------------------------------------------------------------------

    def test_standard_streams(self):
        samples = tone(20001, 3)
        content = wav(samples, 3, mask=0x7)
        self.put("in.wav", content)
        self.run_tool("in.wav in.caf")
        raw = ["--raw", "pcm,16,3,48000", "--in-layout", "3.0"]
        table = [
            ("wav", [], content),
            ("wav of unknown length", [], wav(samples, 3, mask=0x7, data_bytes=0xFFFFFFFF)),
            ("wav with an odd chunk", [], content[:12] + b"odd \3\0\0\0abc\0" + content[12:]),
            ("caf", [], self.get("in.caf")),
            ("raw", raw, samples),
        ]
        for name, options, stdin in table:
            with self.subTest(name):
                self.run_tool([*options, "-", "out.wav"], stdin=stdin)
                self.assertEqual(parse_wav(self.get("out.wav")),
                                 ("RIFF", 1, 3, 48000, 16, 7, samples))
                piped = self.run_tool([*options, "-", "-"], stdin=stdin).stdout
                self.assertEqual((parse_wav(piped)[5], piped[-len(samples):]), (7, samples))
                piped = self.run_tool([*options, "-t", "raw", "-", "-"], stdin=stdin).stdout
                self.assertEqual(piped, samples)
        self.assertEqual(self.run_tool("in.wav -").stdout, content)

    def test_lengths_in_piped_headers(self):
        """Put in afterwards where the output can go back; an odd chunk is padded."""
        with open(self.folder / "out.wav", "wb") as file:
            subprocess.run([TOOL, "--raw", "pcm,16,2,48000", "-", "-"], input=tone(999, 2),
                           stdout=file, check=True)
        self.assertEqual(parse_wav(self.get("out.wav"))[-1], tone(999, 2))
        self.assertEqual(struct.unpack_from("<I", self.get("out.wav"), 4)[0],
                         len(self.get("out.wav")) - 8)
        piped = self.run_tool("--raw pcm,8,1,48000 -t wav - -", stdin=b"abc").stdout
        self.assertEqual(piped[-8:], b"\xff\xff\xff\xffabc\0")
        self.put("in.raw", b"abc")
        piped = self.run_tool("--raw pcm,8,1,48000 in.raw -").stdout
        self.assertEqual(struct.unpack_from("<I", piped, 4)[0], len(piped) - 8)

    # ---- Faults -----------------------------------------------------------------------------

    def test_wrong_options(self):
        """Status 2, a line with the fault, the usage, and nothing written."""
        table = [
            "", "in.wav", "in.wav out.wav more.wav", "--bits 33 in.wav out.wav",
            "--rate 0 in.wav out.wav", "--rate fast in.wav out.wav",
            "--rate 4294967296 in.wav out.wav", "--nonsense in.wav out.wav",
            "--layout 9.1 in.wav out.wav", "--layout FL,FL in.wav out.wav",
            "--in-order FL,XX in.wav out.wav",
            "--type mp3 in.wav out.wav", "in.wav out.mp3",
            "--format aes3 in.wav out.wav", "--format u8 in.wav out.raw",
            "--raw pcm,16,two,48000 in.wav out.wav",
            "--raw pcm,300,2,48000 in.wav out.wav", "--frame-size 0 in.wav out.wav",
            "--split-output in.wav -",
            "--split-output -f aes3 in.wav out.raw", "--split-input FL in.wav",
            "--split-input FL=in.wav in.wav out.wav", "in.wav out.wav --matrix bad",
            "in.wav out.wav --matrix /dev/zero", "in.wav out.wav --matrix small", "--show-matrix",
            "--bits 16.5 in.wav out.wav", "--bits 0x10 in.wav out.wav",
            "--bits 32 in.wav out.flac", "-f float in.wav out.flac",
            "--rate 48kk in.wav out.wav", "--rate 44.10001k in.wav out.wav",
            "--rate k in.wav out.wav", "--in-rate -1 in.wav out.wav",
            "--rate nan in.wav out.wav", "--bits 17 in.wav out.wav",
            "--split-input FL=a.wav --split-input FL=b.wav out.wav",
            "--dither -f float in.wav out.wav", "--dither --bits 32 in.wav out.wav",
            "--stats=3 in.wav out.wav", "--quiet=maybe in.wav out.wav",
            "--raw pcm,16,9,44100 in.wav out.wav", "--raw pcm,16,2,0 in.wav out.wav",
            "--out-order FL,FL in.wav out.wav", "--split-input FL= --raw pcm,8,2,1 o.wav",
        ]
        for (arguments,) in self.each([(row,) for row in table]):
            self.put("in.wav", wav(tone(10, 2)))
            self.put("bad", b"1 0\n0 loud\n")
            self.put("small", b"1 0\n")
            done = self.run_tool(arguments, status=2)
            text = done.stderr.decode()
            self.assertRegex(text, r"^zt-audio-convert: [^\n]+\nUsage: zt-audio-convert ")
            option = re.match("--[a-z-]+", arguments)
            self.assertIn(option[0].strip("-") if option else "", text.splitlines()[0])
            self.assertNotRegex(text, "what\\(\\)|terminate|std::")
            self.assertEqual((done.stdout, self.names()), (b"", ["bad", "in.wav", "small"]))

    def test_failures(self):
        """Status 1, one line that names the trouble, and nothing left behind."""
        files = {
            "in.wav": wav(tone(1000, 2)), "odd.raw": bytes(1001), "text": b"no sound\n",
            "mono.wav": wav(tone(10, 1), 1), "slow.wav": wav(tone(10, 1), 1, 8000),
            "sides.wav": wav(tone(10, 8), 8, mask=0x63F), "torn.aes3": bytes.fromhex(
                "00050000 800080"),
            "torn.wav": wav(tone(10, 2) + b"abc"), "head.wav": wav(tone(10, 2))[:42],
            "text.wav": with_chunk(wav(tone(10, 2)), b"LIST", b"INFO" + bytes(70_000)),
        }
        table = [
            ("--in-layout 5.1 in.wav out.wav", "V15:Invalid channel mask (63) for (2) input"),
            ("--in-order FL,FR mono.wav out.wav", "order does not fit"),
            ("--bits 8 -f aes3 in.wav out.raw", "bits"),
            ("--bits 20 in.wav out.wav", "bits"),
            ("--frame-size 3 in.wav out.wav", "--frame-size that holds a frame"),
            ("--raw aes3,16,1,48000 in.wav out.wav", "channel"),
            ("-r 4294967291 in.wav out.raw", "too little in common"),
            ("-r 3000000000 --in-rate 1000000000 in.wav out.aiff", "AIFF holds no such rate"),
            ("-r 1000k in.wav out.flac", "FLAC holds no such rate"),
            ("missing.wav out.wav", "missing.wav: cannot open: No such file"),
            ("text out.wav", "text: "),
            (". out.wav", "is a directory"),
            ("in.wav missing/out.wav", "cannot write in the folder 'missing': No such"),
            ("in.wav .", ".: is a directory"),
            ("-t raw in.wav /dev/full", "/dev/full: cannot write: No space left"),
            ("in.wav -t aiff -", "AIFF cannot be written to a stream"),
            ("--split-output in.wav /dev/full", "/dev/full: is no regular file"),
            ("--matrix missing in.wav out.wav", "missing: cannot read the matrix"),
            ("--raw aes3,16,2,48000 in.wav out.wav", "no AES3"),
            ("text.wav out.wav", "its texts have 70004 bytes"),
            ("sides.wav -l stereo out.wav", "(FL FR FC LFE BL BR SL SR)"),
            ("sides.wav --out-order FL,FR,FC,LFE,BL,BR,FLC,FRC out.wav", "--in-layout says"),
            ("--raw pcm,16,2,48000 odd.raw out.wav", "in the middle of a frame (1 of 4 bytes)"),
            ("torn.wav out.wav", "ends in the middle of a frame (3 of 4 bytes)"),
            ("head.wav out.wav", "ends within its header"),
            ("--raw aes3,16,2,48000 torn.aes3 out.wav", "in the middle of a block"),
            ("--raw aes3,24,2,48000 torn.aes3 out.wav", "no AES3 of the given depth"),
            ("--split-input FL=in.wav out.wav", "has 2 channels"),
            ("--split-input FL=mono.wav --split-input FR=slow.wav out.wav", "at 8000 Hz"),
        ]
        for arguments, fault in self.each(table):
            for name, content in files.items():
                self.put(name, content)
            text = self.run_tool(arguments, status=1).stderr.decode()
            self.assertRegex(text, r"\Azt-audio-convert: [^\n]+\n\Z")
            self.assertIn(fault, text)
            self.assertEqual(self.names(), sorted(files))

    def test_torn_pipes(self):
        content = wav(tone(100_000, 2))
        self.put("in.wav", content)
        with subprocess.Popen([TOOL, "in.wav", "-"], cwd=self.folder, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as process:
            process.stdout.read(1)
            process.stdout.close()
            self.assertIn(b"cannot write: Broken pipe", process.stderr.read())
        self.assertEqual((process.returncode, self.names()), (1, ["in.wav"]))

    def test_full_disk(self):
        """A limit on file sizes stands in for a full disk."""
        self.put("in.wav", wav(tone(100_000, 2)))
        for name in ("out.wav", "out.aiff", "out.raw"):
            text = self.run_tool(
                f"in.wav {name}", status=1, preexec_fn=lambda: resource.setrlimit(
                    resource.RLIMIT_FSIZE, (100_000, 100_000))).stderr.decode()
            self.assertIn(f"{name}: cannot write: File too large", text)
        self.assertEqual(self.names(), ["in.wav"])

    def test_signals_leave_nothing(self):
        """With nameless files, and with named ones where a system has no others."""
        for number, nameless in ((signal.SIGKILL, True), (signal.SIGINT, True),
                                 (signal.SIGINT, False), (signal.SIGTERM, False)):
            with subprocess.Popen([TOOL, "--raw", "pcm,16,2,48000", "-", "out.wav"],
                                  cwd=self.folder, stdin=subprocess.PIPE,
                                  env=os.environ | self.without_nameless(not nameless)) as process:
                process.stdin.write(bytes(1_000_000))
                process.stdin.flush()
                deadline = time.monotonic() + 20
                while not nameless and not self.names() and time.monotonic() < deadline:
                    time.sleep(0.01)
                self.assertEqual(len(self.names()), 0 if nameless else 1)
                process.send_signal(number)
            self.assertEqual((process.returncode, self.names()), (-number, []))

    def without_nameless(self, wanted):
        """The environment in which open() refuses nameless files, as some systems do."""
        if not wanted:
            return {}
        library = self.enterContext(tempfile.TemporaryDirectory()) + "/no_tmpfile.so"
        source = ("#define _GNU_SOURCE\n#include <dlfcn.h>\n#include <errno.h>\n"
                  "int open(const char *p, int f, int m) {\n"
                  "if (f & 020000000) { errno = EOPNOTSUPP; return -1; }\n"  # the bit of O_TMPFILE
                  "return ((int (*)(const char *, int, int))dlsym(RTLD_NEXT, \"open\"))"
                  "(p, f, m); }\n")
        subprocess.run(["cc", "-w", "-shared", "-fPIC", "-xc", "-", "-o", library],
                       input=source.encode(), check=True)
        return {"LD_PRELOAD": library, "ASAN_OPTIONS": "verify_asan_link_order=0"}

    # ---- Reports ----------------------------------------------------------------------------

    def test_matrix_and_info(self):
        self.put("in.wav", wav(tone(480, 6), 6, mask=0x60F))
        text = self.run_tool("--info in.wav -l stereo").stdout.decode()
        for line in ("480 frames, 0.010 s", "48000 Hz, 6 channels: 5.1 (FL FR FC LFE BL BR)",
                     "2 channels: stereo (FL FR)", "side speakers are taken as BL and BR",
                     "    FL    0.261204    0.000000", "   LFE    0.184699    0.184699",
                     "    BR   -0.184699    0.184699"):
            self.assertIn(line, text)
        self.put("gains", b"-6.0205999dB -100dB\n# comment\n\n0.25,1 # right\n")
        text = self.run_tool("--show-matrix --in-layout stereo --matrix gains").stdout.decode()
        for line in ("0.500000    0.000010", "0.250000    1.000000", "-6.02     -100.00"):
            self.assertIn(line, text)
        self.assertEqual(self.names(), ["gains", "in.wav"])

    def test_levels_and_stats(self):
        frames = 48000
        self.put("in.wav", wav(pcm16(*(value for n in range(frames) for value in (
            round(16384 * math.sin(2 * math.pi * n / 48)), 0)))))
        text = self.run_tool("--stats -r 24000 in.wav a.wav").stdout.decode()
        for pattern in (r"input  FL   peak   -6\.02 dBFS  RMS   -9\.03 dBFS",
                        r"output FL   peak   -6\.0\d dBFS  RMS   -9\.0\d dBFS  full-scale 0\n",
                        r"output FR   peak    -inf", r"frames +48000 in, 24000 out\n"):
            self.assertRegex(text, pattern)
        self.assertNotIn("warning", text)
        self.put("loud", b"2 0\n0 1\n")
        text = self.run_tool("--stats --matrix loud in.wav a.wav").stdout.decode()
        self.assertRegex(text, "output FL .* full-scale 2000\n")  # both peaks of 1000 periods
        self.assertIn("warning: 2000 output samples", text)
        extremes = pcm16(32767, -32768, 32766, -32767)
        text = self.run_tool("--stats --raw pcm,16,2,48000 - a.wav", stdin=extremes).stdout.decode()
        self.assertRegex(text, "output FL .* full-scale 1\noutput FR .* full-scale 1\n")
        for form in ("pcm -b 8", "float", "lpcm-be -b 20", "lpcm-paired -b 20", "aes3 -b 20"):
            text = self.run_tool(f"--stats -f {form} -t raw in.wav a.raw").stdout.decode()
            self.assertRegex(text, r"output FL   peak   -6\.0\d dBFS  RMS   -9\.0\d", form)
        piped = self.run_tool("--stats in.wav -")
        self.assertEqual(piped.stdout, self.get("in.wav"))
        self.assertIn(b"peak", piped.stderr)

    def test_dry_run(self):
        self.put("in.wav", wav(tone(4411, 2, 44100), rate=44100))
        text = self.run_tool("-n -r 48000 -b 24 in.wav out.wav").stdout.decode()
        self.assertRegex(text, r"Output:   out.wav \(WAV\)\n +24-bit PCM, 4801 frames, 0.100 s\n")
        self.run_tool("-n --in-layout 5.1 in.wav out.wav", status=1)
        self.run_tool("-n in.wav missing/out.wav", status=1)
        self.assertEqual(self.names(), ["in.wav"])

    def test_help_version_and_completion(self):
        text = self.run_tool("--help").stdout.decode()
        self.assertRegex(text, r"\AUsage: ")
        self.assertEqual([line for line in text.splitlines() if len(line) > 80], [])
        self.assertRegex(self.run_tool("--version").stdout.decode(),
                         r"\Azt-audio-convert \d+\.\d+\.\d+\nlibrary \d+\.\d+\.\d+\.\d+, \w+\n\Z")
        script = (f"source {COMPLETION}; COMP_WORDS=({TOOL} --sp); COMP_CWORD=1; "
                  "_zt_audio_convert; echo ${COMPREPLY[*]}")
        done = subprocess.run(["bash", "-c", script], capture_output=True, check=True)
        self.assertEqual(done.stdout, b"--split-input --split-output\n")

    def test_progress_on_a_terminal(self):
        self.put("in.raw", b"")
        os.truncate(self.folder / "in.raw", 60_000_000)
        raw = "--raw pcm,16,2,48000 -r 44100 -t raw in.raw /dev/null"
        for options, pattern in (("", rb"\r[^\n]+converted[^\n]+\r\x1b\[K"), ("-q", b"")):
            master, slave = pty.openpty()
            with subprocess.Popen([TOOL, *options.split(), *raw.split()], cwd=self.folder,
                                  stderr=slave) as process:
                os.close(slave)
                shown = b""
                with contextlib.suppress(OSError):  # the other side closes
                    while block := os.read(master, 4096):
                        shown += block
            os.close(master)
            self.assertEqual(process.returncode, 0, shown)
            self.assertRegex(shown, rb"\A" + pattern + rb"\Z")
        self.assertEqual(self.run_tool(raw).stderr, b"")


if __name__ == "__main__":
    TOOL = str(Path(sys.argv.pop(1)).resolve(strict=True))
    unittest.main()
