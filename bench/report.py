#!/usr/bin/env python3
"""Turns the JSON of converter_bench into one Markdown table of ratios.

Usage: report.py RESULT.json > TABLE.md

Every figure is the least of its repetitions; ratios below 1 mean that this library is faster. The
exit status is 1 when a benchmark failed, whatever the ratios are.
"""

import json
import re
import sys

OURS = "ours"
ALIKE = "swresample-alike"
SHORT = "swresample-short"
SWRESAMPLE = "swresample"
GAINS = "swresample-gains"
BLOCKS = ["64", "256", "1024", "4096", "65536"]
RACE_BLOCK = "1024"
GROUPS = ["resample", "phases", "instances", "mix", "encode", "decode", "same", "pipeline",
          "create"]
USUAL_PAIR = "resample/44100-48000/2ch"

# Rows whose name matches the pattern must keep a measure at or below a limit.
GOALS = [
    ("resampling", r"resample/", "like for like", 0.50),
    ("resampling, mono and stereo", r"resample/.*/[12]ch", "like for like 256", 0.60),
    ("44.1 to 48 kHz and back", r"resample/(44100-48000|48000-44100)/", "swresample", 1.0),
    ("48 to 96 kHz", r"resample/48000-96000/", "swresample", 0.88),
    ("192 to 44.1 kHz", r"resample/192000-44100/", "fastest", 0.75),
    ("thousands of phases", r"phases/.*(44056)", "usual pair", 2.0),
    ("coprime rates", r"phases/.*(44101|48001)", "usual pair", 8.0),
    ("64 converters in turn", r"instances/", "swresample", 0.75),
    ("5.1 to stereo", r"mix/5\.1-2/", "fastest", 0.55),
    ("7.1 to stereo", r"mix/7\.1-2/", "fastest", 0.30),
    ("codecs, 24 bits, big-endian and AES3", r"(en|de)code/(pcm24|paired|be|aes)", "fastest", 0.90),
    ("codecs, 16 bits", r"(en|de)code/pcm16/", "swresample", 1.4),
    ("codecs, equal formats", r"same/(pcm|be16|be24|paired16)", "fastest", 1.3),
    ("codecs, float out", r"encode/float/", "swresample", 4.2),
    ("codecs, float in", r"decode/float/", "swresample", 4.8),
    ("codecs, blocks of 64", r"(en|de)code/pcm16/2ch", "swresample 64", 0.6),
    ("codecs, 1024 to 65536 frames", r"((en|de)code|same)/(pcm|be|float)", "spread", 1.2),
    ("end to end, to stereo 44.1 kHz", r"pipeline/5\.1-24-48k", "fastest", 0.45),
    ("end to end, to stereo 48 kHz", r"pipeline/stereo-16-44k1", "fastest", 1.2),
    ("end to end, eight channels", r"pipeline/8ch-float-96k", "fastest", 0.7),
]

WHOLE_FILE_TOOLS = ["ours", "pipe", "ffmpeg", "sox", "sndfile-convert"]

NOTES = """\
Nanoseconds of processor time per output sample of one channel at five block sizes (frames a
call), then ratios of our time to a peer's, at blocks of 1024 unless the head says 256.

- like for like: libswresample in double precision with our window (Kaiser, beta 9), cutoff and exact
  phases and a filter size of 40, or with our mixing gains. When the rate falls its filter grows
  by the rate ratio; "40 taps" is the same kept at our length.
- swresample: libswresample's own defaults, single precision and its own mixing gains; "our
  gains" is the same with ours.
- fastest: the quickest of all peers in that row, named: the above, libsoxr (high quality),
  GStreamer's converter and libavcodec's codecs, with libswresample or libsoxr for the steps that
  no codec does. With equal formats some only copy the bytes.
- 64 is the ratio to swresample at blocks of 64; spread is our slowest over our fastest time from
  1024 to 65536; usual pair is our time over that of stereo from 44.1 to 48 kHz."""


COLUMNS = ["like for like", "like for like 256", "40 taps", "swresample", "swresample 64",
           "our gains", "usual pair"]


def loadTimes(path):
    """Least seconds by benchmark name, the failed names, and the context."""
    with open(path, encoding="utf-8") as file:
        result = json.load(file)
    times = {}
    failed = set()
    for run in result["benchmarks"]:
        name = run["run_name"]
        if run.get("run_type") == "aggregate":
            continue
        if run.get("error_occurred"):
            failed.add(f"{name}: {run['error_message']}")
        else:
            times[name] = min(times.get(name, float("inf")), run["each"])
    return times, sorted(failed), result["context"]


def naturalKey(name):
    """Groups in the order of the goals, numbers by value."""
    group = name.split("/")[0]
    return GROUPS.index(group), [int(part) if part.isdigit() else part
                                 for part in re.split(r"(\d+)", name)]


def groupRows(times):
    """{row: {block: {contender: ns}}} in natural order; creation has the block ''."""
    rows = {}
    for name in sorted(times, key=naturalKey):
        parts = name.split("/")
        timed_creation = parts[0] == "create"
        row = "/".join(parts[:2] if timed_creation else parts[:3])
        block = "" if timed_creation else parts[3]
        rows.setdefault(row, {}).setdefault(block, {})[parts[-1]] = times[name] * 1e9
    return rows


def ratio(contest, peer):
    if OURS not in contest or peer not in contest:
        return None
    return contest[OURS] / contest[peer]


def fastestPeer(contest):
    peers = {who: ns for who, ns in contest.items() if who != OURS}
    return min(peers, key=peers.get) if peers else None


def raceOf(blocks):
    """The contest that the ratios are taken from, by contender."""
    return blocks.get(RACE_BLOCK) or blocks.get("") or blocks.get("480") or {}


def measure(blocks, usual_pair=None):
    """The ratios of one row by measure name; None where something was not measured."""
    own = {block: contest[OURS] for block, contest in blocks.items() if OURS in contest}
    race = raceOf(blocks)
    large = [own[block] for block in BLOCKS[2:] if block in own]
    return {
        "like for like": ratio(race, ALIKE),
        "like for like 256": ratio(blocks.get("256", {}), ALIKE),
        "40 taps": ratio(race, SHORT),
        "swresample": ratio(race, SWRESAMPLE),
        "swresample 64": ratio(blocks.get("64", {}), SWRESAMPLE),
        "our gains": ratio(race, GAINS),
        "fastest": ratio(race, fastestPeer(race)),
        "spread": max(large) / min(large) if len(large) > 1 else None,
        "usual pair": race[OURS] / usual_pair if usual_pair and OURS in race else None,
    }


def judgeRow(row, measures):
    """(measure, limit, value) of every goal that names this row and could be measured."""
    return [(what, limit, measures[what]) for _, pattern, what, limit in GOALS
            if re.match(pattern, row) and measures[what] is not None]


def showNumber(value):
    return "" if value is None else f"{value:.3g}" if value < 1000 else f"{value:.0f}"


def showGoals(judged):
    missed = [f"{what} ≤ {limit}" for what, limit, value in judged if value and value > limit]
    return "**missed**: " + ", ".join(missed) if missed else "met" if judged else ""


def showRow(row, blocks, usual_pair):
    measures = measure(blocks, usual_pair)
    race = raceOf(blocks)
    cells = [row]
    cells += [showNumber(blocks.get(block, {}).get(OURS)) for block in BLOCKS]
    cells += [showNumber(measures[what]) for what in COLUMNS]
    fastest = showNumber(measures["fastest"])
    cells.append(f"{fastest} {fastestPeer(race)}" if fastest else "")
    cells += [showNumber(measures["spread"]), showGoals(judgeRow(row, measures))]
    return "| " + " | ".join(cells) + " |"


def showCreation(row, blocks):
    """Creation has one figure, in microseconds, which stands in the column of the race."""
    micro = {"1024": {who: ns / 1000 for who, ns in blocks[""].items()}}
    return showRow(row + " (µs each)", micro, None)


def showSummary(rows, usual_pair):
    lines = ["| goal | measure | limit | worst | in | met |", "|" + " --- |" * 6]
    for label, pattern, what, limit in GOALS:
        values = {row: measure(blocks, usual_pair)[what] for row, blocks in rows.items()
                  if re.match(pattern, row)}
        values = {row: value for row, value in values.items() if value is not None}
        if not values:
            lines.append(f"| {label} | {what} | {limit} | not measured | | |")
            continue
        worst = max(values, key=values.get)
        met = sum(value <= limit for value in values.values())
        lines.append(f"| {label} | {what} | {limit} | {showNumber(values[worst])} | {worst} "
                     f"| {met} of {len(values)} |")
    return "\n".join(lines)


def wholeFileRows(path):
    """Cells of the whole-file rows, and what they miss: 0.7 of the fastest other tool, and a file
    at most 1.5 times as long as a pipe."""
    with open(path, encoding="utf-8") as file:
        results = json.load(file)
    rows = []
    for row, times in results.items():
        others = {who: value for who, value in times.items() if who not in ("ours", "pipe")}
        fastest = min(others, key=others.get, default=None)
        measured = [("file / pipe", 1.5, times["ours"] / times["pipe"])]
        if fastest:
            measured.append(("fastest", 0.7, times["ours"] / others[fastest]))
        rows.append([row, *(f"{times[who]:.2f}" if who in times else "" for who in WHOLE_FILE_TOOLS),
                     f"{measured[-1][2]:.2f} {fastest}" if fastest else "", showGoals(measured)])
    return rows


def showWholeFiles(path):
    head = ["whole files", "ours", "ours to a pipe", *WHOLE_FILE_TOOLS[2:], "fastest", "goals"]
    print("\nUser and system seconds of the tools from WAV to WAV: ten minutes of audio, with --quick one.\n")
    print("| " + " | ".join(head) + " |\n|" + " --- |" * len(head))
    for cells in wholeFileRows(path):
        print("| " + " | ".join(cells) + " |")


def processorName():
    """Name, vendor, family and model, as the kernel reports them."""
    found = {}
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            key, _, value = line.partition(":")
            found.setdefault(key.strip(), value.strip())
    return (f"{found.get('model name', 'unknown processor')} ({found.get('vendor_id')}, "
            f"family {found.get('cpu family')}, model {found.get('model')})")


def machine(context):
    return (f"{processorName()}, {context['num_cpus']} processors, {context['kernels']} kernels, "
            f"{context['date'][:10]}")


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    times, failed, context = loadTimes(sys.argv[1])
    rows = groupRows(times)
    usual_pair = raceOf(rows.get(USUAL_PAIR, {})).get(OURS)
    head = ["conversion", *BLOCKS, *COLUMNS, "fastest", "spread", "goals"]
    print(f"# Benchmarks\n\n{machine(context)}\n\n{NOTES}\n")
    print(showSummary(rows, usual_pair) + "\n")
    print("| " + " | ".join(head) + " |\n|" + " --- |" * len(head))
    for row, blocks in rows.items():
        print(showCreation(row, blocks) if "" in blocks else showRow(row, blocks, usual_pair))
    if len(sys.argv) == 3:
        showWholeFiles(sys.argv[2])
    for failure in failed:
        print(f"report.py: failed: {failure}", file=sys.stderr)
    return 1 if failed or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
