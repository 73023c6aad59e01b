#!/usr/bin/env python3
"""Times the tools on whole files: ten minutes of audio from one WAV file to another.

Usage: whole_files.py TOOL RESULT.json [--quick]

Writes {row: {contender: user + system seconds}}, the least of three runs; with --quick a minute
of audio, once. ffmpeg, sox and sndfile-convert take part when they are installed. "pipe" is our
output to a pipe that is read and thrown away.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import wave
from pathlib import Path

# Input by name: channels, bytes of a sample, Hz.
INPUTS = {"stereo.wav": (2, 2, 44100), "surround.wav": (6, 3, 48000)}

# Row: input and the options of each contender; None where it has no such conversion. Mixing: sox
# takes the channels that each output hears, at gains of its own.
ROWS = {
    "stereo 16 bits, 44.1 to 48 kHz": ("stereo.wav", {
        "ours": ["-r", "48k"], "ffmpeg": ["-ar", "48000"], "sox": ([], ["rate", "48000"])}),
    "5.1, 24 to 16 bits": ("surround.wav", {
        "ours": ["-b", "16"], "ffmpeg": ["-c:a", "pcm_s16le"], "sox": (["-b", "16"], []),
        "sndfile-convert": ["-pcm16"]}),
    "stereo, 16 to 8 bits": ("stereo.wav", {
        "ours": ["-b", "8"], "ffmpeg": ["-c:a", "pcm_u8"], "sox": (["-b", "8"], []),
        "sndfile-convert": ["-pcmu8"]}),
    "5.1 24 bits 48 kHz to stereo 16 bits 44.1 kHz": ("surround.wav", {
        "ours": ["-b", "16", "-r", "44.1k", "-l", "stereo"],
        "ffmpeg": ["-ar", "44100", "-ac", "2", "-c:a", "pcm_s16le"],
        "sox": (["-b", "16"], ["remix", "1,3,4,5", "2,3,4,6", "rate", "44100"])}),
}


def command(contender, tool, source, options, target):
    if contender == "ffmpeg":
        return ["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", source, *options, target]
    if contender == "sox":
        return ["sox", "-D", "-V1", source, *options[0], target, *options[1]]
    if contender == "sndfile-convert":
        return ["sndfile-convert", *options, source, target]
    return [tool, "-q", *options, source, target]


def seconds(words, output=subprocess.DEVNULL):
    with subprocess.Popen(words, stdout=output, stderr=subprocess.PIPE) as process:
        fault = process.stderr.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(words)}: {fault.decode()}")
    return usage.ru_utime + usage.ru_stime


def pipe_seconds(words):
    with subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL) as reader:
        return seconds(words, reader.stdin)


def measure_row(source, contenders, tool, folder, runs):
    times = {}
    for contender, options in contenders.items():
        if contender != "ours" and shutil.which(contender) is None:
            continue
        target = str(folder / f"{contender}.wav")
        words = command(contender, tool, str(folder / source), options, target)
        times[contender] = min(seconds(words) for _ in range(runs))
        if contender == "ours":
            words[-1] = "-"
            times["pipe"] = min(pipe_seconds(words) for _ in range(runs))
    return times


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    minutes, runs = (1, 1) if "--quick" in sys.argv else (10, 3)
    with tempfile.TemporaryDirectory(dir=Path(sys.argv[2]).parent) as name:
        folder = Path(name)
        for source, (channels, width, rate) in INPUTS.items():
            with wave.open(str(folder / source), "wb") as file:
                file.setparams((channels, width, rate, 0, "NONE", ""))
                for _ in range(60 * minutes):
                    file.writeframes(os.urandom(channels * width * rate))
        results = {row: measure_row(source, contenders, sys.argv[1], folder, runs)
                   for row, (source, contenders) in ROWS.items()}
    Path(sys.argv[2]).write_text(json.dumps(results, indent=1), encoding="utf-8")


if __name__ == "__main__":
    main()
