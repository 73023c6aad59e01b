#!/usr/bin/env python3
"""Asks zt-audio-convert for the designed gains and writes the tables of channels.md.

Usage: gain_tables.py PATH_OF_zt-audio-convert
"""

import subprocess
import sys

sys.dont_write_bytecode = True

from page_region import replace_region, table  # noqa: E402

SPEAKERS = ["FL", "FR", "FC", "LFE", "BL", "BR", "FLC", "FRC"]
TO_STEREO = ["FL", "FC", "3.0", "quad", "5.0", "5.1", "7.0", "7.1"]
TO_CENTRE = ["stereo", "3.0", "quad", "5.0", "5.1", "7.1"]
OTHER_PAIRS = [("stereo", "FL"), ("stereo", "5.1"), ("5.1", "quad"), ("5.1", "5.0"), ("5.1", "3.0"),
               ("7.1", "quad"), ("7.1", "5.1")]
CHANNELS = {"FL": 1, "FC": 1, "stereo": 2, "3.0": 3, "quad": 4, "5.0": 5, "5.1": 6, "7.0": 7,
            "7.1": 8}


def designed_gains(tool, source, target):
    """{(input speaker, output speaker): dB text} of the gains that are not 0."""
    text = subprocess.run(
        [tool, "--show-matrix", "--raw", f"pcm,16,{CHANNELS[source]},48000", "--in-layout", source,
         "--layout", target], check=True, capture_output=True, text=True).stdout
    lines = iter(text[text.index("In dB"):].replace(" inv", "*").splitlines()[1:])
    outputs = next(lines).split()
    gains = {}
    for line in lines:
        row, *cells = line.split()
        gains.update({(row, column): cell.replace("-", "−")
                      for column, cell in zip(outputs, cells, strict=True) if cell != "-inf"})
    if not gains:
        sys.exit(f"{source} to {target}: no gains understood")
    return gains


def gains_by_row(tool, sources, target, outputs):
    """One column per source layout, one row per input speaker; silence is a dot."""
    designs = [designed_gains(tool, source, target) for source in sources]
    rows = []
    for speaker in SPEAKERS:
        cells = []
        for design in designs:
            present = any(row == speaker for row, _ in design)
            cells.append(" / ".join(design.get((speaker, output), "·") for output in outputs)
                         if present else "")
        if any(cells):
            rows.append([speaker, *cells])
    return table(["from", *sources], rows)


def gain_list(tool, source, target):
    """The gains of a pair as text, equal ones together."""
    groups = {}
    for (row, column), gain in designed_gains(tool, source, target).items():
        groups.setdefault(gain, []).append(row if row == column else f"{row}→{column}")
    return "; ".join(f"{' '.join(names)} {gain}" for gain, names in groups.items())


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    tool = sys.argv[1]
    replace_region("channels.md", "to stereo",
                   gains_by_row(tool, TO_STEREO, "stereo", ["FL", "FR"]))
    replace_region("channels.md", "to centre", gains_by_row(tool, TO_CENTRE, "mono", ["FC"]))
    rows = [f"| {source} → {target} | {gain_list(tool, source, target)} |"
            for source, target in OTHER_PAIRS]
    replace_region("channels.md", "others",
                   "\n".join(["| layouts | gains in dB |", "|---|---|", *rows]))


if __name__ == "__main__":
    main()
