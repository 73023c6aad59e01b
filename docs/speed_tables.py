#!/usr/bin/env python3
"""Writes the tables of speed.md from the JSON of a benchmark run.

Usage: speed_tables.py build-bench/bench.json build-bench/whole_files.json
"""

import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "bench"))
sys.dont_write_bytecode = True

import report  # noqa: E402
from page_region import replace_region, table  # noqa: E402

SHOWN = [r"resample/.*/[28]ch", r"mix/", r"(de|en)code/(pcm16|pcm24|be24|paired20|aes24|float)/2ch",
         r"same/pcm32/2ch", r"pipeline/"]


def time_cells(blocks):
    return [report.showNumber(blocks.get(block, {}).get(report.OURS)) for block in report.BLOCKS]


def peer_cell(contest):
    """The fastest peer, and how many times our time it takes."""
    peer = report.fastestPeer(contest)
    if peer is None or report.OURS not in contest:
        return ""
    return f"{peer} {contest[peer] / contest[report.OURS]:.2g} ×"


def alike_cell(contest):
    """How many times our time the same filter in double precision takes elsewhere."""
    ratio = report.ratio(contest, report.ALIKE)
    return "" if ratio is None else f"{1 / ratio:.2g} ×"


def show_row(name, blocks):
    race = report.raceOf(blocks)
    return [name, *time_cells(blocks), alike_cell(race), peer_cell(race)]


def write_whole_files(path):
    replace_region("speed.md", "whole files", table(
        ["ten minutes", "ours", "to a pipe", *report.WHOLE_FILE_TOOLS[2:], "ours / fastest other"],
        [cells[:-1] for cells in report.wholeFileRows(path)]))


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    times, failed, context = report.loadTimes(sys.argv[1])
    if failed:
        sys.exit("failed: " + "; ".join(failed))
    rows = report.groupRows(times)
    shown = [show_row(row, blocks) for row, blocks in rows.items()
             if any(re.match(pattern, row) for pattern in SHOWN)]
    creations = [[row.split("/")[1], f"{contests[''][report.OURS] / 1000:.1f}",
                  peer_cell(contests[""])]
                 for row, contests in rows.items() if row.startswith("create/")]
    if not shown or not creations:
        sys.exit("the run holds no figures to show; was it filtered?")
    replace_region("speed.md", "machine", report.machine(context) + ".")
    replace_region("speed.md", "blocks", table(
        ["conversion", *report.BLOCKS, "like for like", "fastest other"], shown))
    write_whole_files(sys.argv[2])
    replace_region("speed.md", "creation", table(
        ["Hz", "creation, µs", "fastest other"], creations))


if __name__ == "__main__":
    main()
