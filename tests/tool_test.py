#!/usr/bin/env python3
"""Runs zt-audio-convert as a person would. Usage: tool_test.py TOOL [unittest options]"""

import fcntl
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
import termios
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


def wav(data, channels=2, rate=48000, bits=16, mask=None, data_bytes=None):
    """A WAV file by hand; `data_bytes` is what its header claims."""
    frame = channels * bits // 8
    body = struct.pack("<HHIIHH", 1 if mask is None else 0xFFFE, channels, rate, rate * frame,
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
        for row in table:
            with self.subTest(row[0]), tempfile.TemporaryDirectory() as folder:
                self.folder = Path(folder)
                yield row

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
            ("output order", stereo, pcm16(1, 2), "--out-order 2,1,0,0,0,0,0,0", pcm16(2, 1)),
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
        for cut in ("--block 1", "--block random:1", "--frame-size 6",
                    "--block 300000 --frame-size 1000000"):
            self.run_tool(f"{options} {cut} cut.wav")
            self.assertEqual(self.get("cut.wav"), self.get("whole.wav"), cut)

    # ---- Files ------------------------------------------------------------------------------

    def test_wav_headers(self):
        """What the output header says; rows: input channels and mask, options, expectation."""
        table = [
            ("plain stereo", 2, None, "", (1, 2, 48000, 16, None)),
            ("rate and depth", 2, None, "-r 96000 -b 32", (1, 2, 96000, 32, 3)),
            ("float", 2, None, "-f float", (3, 2, 48000, 32, None)),
            ("lone left", 1, 0x1, "", (1, 1, 48000, 16, 0x1)),
            ("sides mixed as backs", 6, 0x60F, "-l quad", (1, 4, 48000, 16, 0x33)),
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
            self.assertIn("RF64, 2500000000 frames", text)
            self.assertIn("10000000000 bytes", text)
            self.run_tool(f"{source} out.aiff", status=1)
        self.assertEqual(self.names(), ["long.raw", "long.wav"])

    # ---- One file per channel ---------------------------------------------------------------

    def test_split_files(self):
        left, right = tone(2000, 1), tone(1500, 1, 30000)
        self.put("l.wav", wav(left, 1))
        self.put("r.wav", wav(right, 1))
        padded = right + bytes(1000)
        both = b"".join(left[k:k + 2] + padded[k:k + 2] for k in range(0, 4000, 2))
        for options in ("", "--block 7", "--block random:5"):
            self.run_tool(f"{options} --split-input FL=l.wav --split-input FR=r.wav both.wav")
            self.assertEqual(parse_wav(self.get("both.wav"))[2:], (2, 48000, 16, None, both))
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
        self.assertEqual(self.get("out.wav"), wav(tone(999, 2)))
        piped = self.run_tool("--raw pcm,8,1,48000 -t wav - -", stdin=b"abc").stdout
        self.assertEqual(piped[-8:], b"\xff\xff\xff\xffabc\0")
        self.put("in.raw", b"abc")
        piped = self.run_tool("--raw pcm,8,1,48000 in.raw -").stdout
        self.assertEqual(struct.unpack_from("<I", piped, 4)[0], len(piped) - 8)

    # ---- Faults -----------------------------------------------------------------------------

    def test_wrong_options(self):
        """Status 2, a line with the fault, the usage, and nothing written."""
        table = [
            "", "in.wav", "in.wav out.wav more.wav", "--bits 12 in.wav out.wav",
            "--rate 0 in.wav out.wav", "--rate fast in.wav out.wav",
            "--rate 4294967296 in.wav out.wav", "--nonsense in.wav out.wav",
            "--layout 9.1 in.wav out.wav", "--layout FL,FL in.wav out.wav",
            "--in-order FL,XX in.wav out.wav",
            "--out-order 1,2 in.wav out.wav", "--type mp3 in.wav out.wav", "in.wav out.mp3",
            "--format aes3 in.wav out.wav", "--format u8 in.wav out.raw",
            "--raw pcm,16,two,48000 in.wav out.wav",
            "--raw pcm,300,2,48000 in.wav out.wav", "--block 0 in.wav out.wav",
            "--frame-size 0 in.wav out.wav",
            "--frame-size 3 in.wav out.wav", "--split-output in.wav -",
            "--split-output -f aes3 in.wav out.raw", "--split-input FL in.wav",
            "--split-input FL=in.wav --split-input FL=in.wav out.wav",
            "--split-input FL=in.wav in.wav out.wav", "in.wav out.wav --matrix bad",
            "in.wav out.wav --matrix /dev/zero", "in.wav out.wav --matrix small", "--show-matrix",
            "--show-filter",
            "--bits 16.5 in.wav out.wav", "--bits= 16 in.wav out.wav", "--bits 0x10 in.wav out.wav",
            "--bits 20 in.wav out.wav", "--bits 8 -f aes3 in.wav out.raw",
            "--rate= 44100 in.wav out.wav", "--rate 48k in.wav out.wav",
            "--stats=3 in.wav out.wav", "--quiet=maybe in.wav out.wav",
            "--raw pcm,16,9,44100 in.wav out.wav", "--raw pcm,16,2,0 in.wav out.wav",
            "--raw aes3,16,1,48000 in.wav out.wav", "--in-layout 5.1 --raw pcm,16,2,1 in.wav o.wav",
            "--format aes3 -l mono in.wav out.raw", "--in-order FL,FC --in-layout 2.0 in.wav o.wav",
            "--out-order 1,1,0,0,0,0,0,0 in.wav out.wav", "--split-input FL= --raw pcm,8,2,1 o.wav",
        ]
        for (arguments,) in self.each([(row,) for row in table]):
            self.put("in.wav", wav(tone(10, 2)))
            self.put("bad", b"1 0\n0 loud\n")
            self.put("small", b"1 0\n")
            done = self.run_tool(arguments, status=2)
            text = done.stderr.decode()
            self.assertRegex(text, r"^zt-audio-convert: [^\n]+\nUsage: zt-audio-convert ")
            option = re.match("--[a-z-]+", arguments)
            self.assertIn(option[0] if option else "", text.splitlines()[0])
            self.assertNotRegex(text, "what\\(\\)|terminate|std::")
            self.assertEqual((done.stdout, self.names()), (b"", ["bad", "in.wav", "small"]))

    def test_failures(self):
        """Status 1, one line that names the trouble, and nothing left behind."""
        files = {
            "in.wav": wav(tone(1000, 2)), "odd.raw": bytes(1001), "text": b"no sound\n",
            "mono.wav": wav(tone(10, 1), 1), "slow.wav": wav(tone(10, 1), 1, 8000),
            "cut.wav": wav(tone(1000, 2))[:3000], "cut64.wav": rf64(4000)[:-500],
            "torn.aes3": bytes.fromhex("00050000 800080"),
        }
        table = [
            ("--in-layout 5.1 in.wav out.wav", "V15:Invalid channel mask (63) for (2) input"),
            ("--in-order FL,FR mono.wav out.wav", "order does not fit"),
            ("-r 4294967291 in.wav out.raw", "limit of 1 GiB"),
            ("-r 3000000000 --in-rate 1000000000 in.wav out.wav", "no sound file holds a rate"),
            ("missing.wav out.wav", "missing.wav: cannot open: No such file"),
            ("text out.wav", "text: "),
            (". out.wav", "is a directory"),
            ("in.wav missing/out.wav", "cannot write in the folder 'missing': No such"),
            ("in.wav .", ".: is a directory"),
            ("-t raw in.wav /dev/full", "/dev/full: cannot write: No space left"),
            ("in.wav -t aiff -", "AIFF cannot be written to a stream"),
            ("--split-output in.wav /dev/full", "/dev/full: is no regular file"),
            ("--matrix missing in.wav out.wav", "missing: cannot read the matrix"),
            ("cut.wav out.wav", "ends before its header says"),
            ("cut64.wav out.wav", "ends before its header says"),
            ("--raw pcm,16,2,48000 odd.raw out.wav", "in the middle of a frame (1 of 4 bytes)"),
            ("--raw aes3,16,2,48000 torn.aes3 out.wav", "in the middle of a frame"),
            ("--raw aes3,24,2,48000 torn.aes3 out.wav", "no AES3 block of the given depth"),
            ("--split-input FL=in.wav out.wav", "has 2 channels"),
            ("--split-input FL=mono.wav --split-input FR=slow.wav out.wav", "8000 Hz, but"),
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
        text = self.run_tool("- out.wav", status=1, stdin=content[:-2]).stderr.decode()
        self.assertIn("in the middle of a frame", text)
        text = self.run_tool("- out.wav", status=1, stdin=content[:-4]).stderr.decode()
        self.assertIn("4 bytes before its header says", text)
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
        for number in (signal.SIGINT, signal.SIGTERM):
            with subprocess.Popen([TOOL, "--raw", "pcm,16,2,48000", "-", "out.wav"],
                                  cwd=self.folder, stdin=subprocess.PIPE) as process:
                process.stdin.write(bytes(1_000_000))
                process.stdin.flush()
                deadline = time.monotonic() + 20
                while not self.names() and time.monotonic() < deadline:
                    time.sleep(0.01)
                self.assertEqual(len(self.names()), 1, "no temporary file appeared")
                process.send_signal(number)
            self.assertEqual((process.returncode, self.names()), (-number, []))

    # ---- Reports ----------------------------------------------------------------------------

    def test_matrix_and_info(self):
        self.put("in.wav", wav(tone(480, 6), 6, mask=0x60F))
        text = self.run_tool("--info in.wav -l stereo").stdout.decode()
        for line in ("480 frames, 0:00.010", "48000 Hz, 6 channels: 5.1 (FL FR FC LFE BL BR)",
                     "2 channels: stereo (FL FR)", "side speakers are taken as BL and BR",
                     "    FL    0.261204    0.000000", "   LFE    0.184699    0.184699",
                     "    BR   -0.184699    0.184699"):
            self.assertIn(line, text)
        self.put("gains", b"-6.0205999dB -100dB\n# comment\n\n0.25,1 # right\n")
        text = self.run_tool("--show-matrix --in-layout stereo --matrix gains").stdout.decode()
        for line in ("0.500000    0.000010", "0.250000    1.000000", "-6.02     -100.00"):
            self.assertIn(line, text)
        self.assertEqual(self.names(), ["gains", "in.wav"])

    def test_filter_response(self):
        for rates, per_sample in (((44100, 48000), 160), ((48000, 44100), 147), ((8000, 8000), 1)):
            text = self.run_tool(f"--show-filter --in-rate {rates[0]} -r {rates[1]}").stdout
            rows = [line.split(",") for line in text.decode().splitlines()[1:]]
            gains = [float(row[3]) for row in rows]
            self.assertEqual(len(gains), 40 * per_sample + 1)
            self.assertEqual((float(rows[0][1]), float(rows[20 * per_sample][2])), (-20.0, 0.0))
            self.assertAlmostEqual(sum(gains) / per_sample, 1.0, delta=0.01)
            self.assertAlmostEqual(max(gains), min(1.0, rates[1] / rates[0]), delta=1e-3)

    def test_levels_and_stats(self):
        frames = 48000
        self.put("in.wav", wav(pcm16(*(value for n in range(frames) for value in (
            round(16384 * math.sin(2 * math.pi * n / 48)), 0)))))
        text = self.run_tool("--levels --stats -r 24000 in.wav a.wav").stdout.decode()
        for pattern in (r"input  FL   peak   -6\.02 dBFS  RMS   -9\.03 dBFS",
                        r"output FL   peak   -6\.0\d dBFS  RMS   -9\.0\d dBFS",
                        r"output FR   peak    -inf", r"frames in: +48000\n",
                        r"frames out: +24000 \(predicted: 24000\)", r"full-scale: +FL 0 FR 0",
                        r"allocations: +[1-9]\d*, 0 not released", r"peak memory: +[1-9]\d+ bytes",
                        r"times real time"):
            self.assertRegex(text, pattern)
        self.assertNotIn("warning", text)
        self.put("loud", b"2 0\n0 1\n")
        text = self.run_tool("--stats --matrix loud in.wav a.wav").stdout.decode()
        self.assertIn("full-scale:       FL 2000 FR 0", text)  # both peaks of 1000 periods
        self.assertIn("warning: 2000 output samples", text)
        extremes = pcm16(32767, -32768, 32766, -32767)
        text = self.run_tool("--stats --raw pcm,16,2,48000 - a.wav", stdin=extremes).stdout.decode()
        self.assertIn("full-scale:       FL 1 FR 1", text)
        for form in ("pcm -b 8", "float", "lpcm-be -b 20", "lpcm-paired -b 20", "aes3 -b 20"):
            text = self.run_tool(f"--levels -f {form} -t raw in.wav a.raw").stdout.decode()
            self.assertRegex(text, r"output FL   peak   -6\.0\d dBFS  RMS   -9\.0\d", form)
        piped = self.run_tool("--levels in.wav -")
        self.assertEqual(piped.stdout, self.get("in.wav"))
        self.assertIn(b"peak", piped.stderr)

    def test_dry_run(self):
        self.put("in.wav", wav(tone(4411, 2, 44100), rate=44100))
        text = self.run_tool("-n -r 48000 -b 24 in.wav out.wav").stdout.decode()
        self.assertEqual(text, "would write out.wav: WAV, 4801 frames, 0:00.100, "
                               "28806 bytes of samples\n")
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

    # ---- Progress ---------------------------------------------------------------------------

    def terminal_output(self, columns, arguments):
        """What a terminal of so many columns shows on standard error."""
        master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        with subprocess.Popen([TOOL, *arguments.split()], cwd=self.folder, stderr=slave,
                              stdin=subprocess.PIPE) as process:
            os.close(slave)
            process.stdin.write(bytes(400_000) if " - " in arguments else b"")
            process.stdin.close()
            shown = b""
            while True:
                try:
                    block = os.read(master, 4096)
                except OSError:  # the other side has closed
                    break
                if not block:
                    break
                shown += block
        os.close(master)
        self.assertEqual(process.returncode, 0, shown)
        return shown.decode()

    def test_progress(self):
        self.put("in.raw", b"")
        os.truncate(self.folder / "in.raw", 60_000_000)
        raw = "--raw pcm,16,2,48000 -r 44100 -t raw"
        known = r" *\d+%( \[[#.]+\])?  [\d.]+x(  \d+:\d\d left)?"
        unknown = r"\d+:\d\d converted  [\d.]+x"
        table = [(80, "in.raw", known), (40, "in.raw", known), (20, "in.raw", known),
                 (80, "-", unknown), (40, "-", unknown)]
        for columns, source, pattern in table:
            shown = self.terminal_output(columns, f"{raw} {source} /dev/null")
            *lines, last = shown.split("\r")[1:]
            self.assertEqual(last, "\x1b[K", "the line is not taken away")
            self.assertGreater(len(lines), 0)
            for line in lines:
                self.assertRegex(line, rf"\A{pattern}\x1b\[K\Z")
                self.assertLess(len(line) - len("\x1b[K"), columns)
        self.assertIn("#", self.terminal_output(40, f"{raw} --block 64 in.raw /dev/null"))
        self.assertEqual(self.terminal_output(80, f"-q {raw} in.raw /dev/null"), "")
        self.assertEqual(self.run_tool(f"{raw} in.raw /dev/null").stderr, b"")


if __name__ == "__main__":
    TOOL = str(Path(sys.argv.pop(1)).resolve(strict=True))
    unittest.main()
