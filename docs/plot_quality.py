#!/usr/bin/python3
"""Measures zt-audio-convert and makes the pictures and tables of quality.md.

Usage: plot_quality.py PATH_OF_zt-audio-convert

Needs the Debian packages python3-numpy and python3-matplotlib (which brings python3-pil).
"""

import pathlib
import sys

sys.dont_write_bytecode = True

import matplotlib  # noqa: E402

matplotlib.use("Agg")

import numpy  # noqa: E402
from matplotlib import pyplot  # noqa: E402
from PIL import Image  # noqa: E402

from measure_quality import Conversion  # noqa: E402
from page_region import replace_region, table  # noqa: E402

PICTURES = pathlib.Path(__file__).resolve().parent / "pictures"
DRAWN_PAIRS = [(44100, 48000), (48000, 44100), (96000, 48000)]
TABLE_PAIRS = [*DRAWN_PAIRS, (48000, 96000), (96000, 44100), (192000, 48000), (192000, 44100),
               (48000, 8000)]
GAIN_POINTS = [0.5, 0.8, 0.9, 0.95, 1.0, 1.05, 1.1, 1.2, 1.5]
TONE_POINTS = [0.02, 0.3, 0.5, 0.7, 0.8, 0.9, 0.95]
STOP_BAND_DB = -90
SWEEP_SECONDS = 4
SWEEP_FLOOR_DB = -130


def save(figure, name):
    figure.tight_layout()
    figure.savefig(PICTURES / name, dpi=90)
    pyplot.close(figure)
    # A palette makes the file a third as large.
    with Image.open(PICTURES / name) as picture:
        small = picture.convert("RGB").quantize(96)
    small.save(PICTURES / name, optimize=True)


def draw_response(conversions, responses):
    figure, (whole, edge, ripple) = pyplot.subplots(3, 1, figsize=(8, 10))
    for conversion, response in zip(conversions, responses, strict=True):
        for axes, first, last in ((whole, 0, 2.5), (edge, 0.7, 1.05), (ripple, 0, 0.75)):
            points = numpy.linspace(first, last, 900)
            # At and above half the grid's rate the spectrum repeats.
            grid_end = conversion.input_rate * conversion.up / 2 / conversion.lower_nyquist
            points = points[points <= grid_end]
            gains = conversion.gain_db(points * conversion.lower_nyquist, response)
            scale = 1000 if axes is ripple else 1
            axes.plot(100 * points, scale * gains, label=conversion.name(), linewidth=1.2)
    for axes, title, unit, limits in (
            (whole, "Gain over the whole range", "dB", (-140, 5)),
            (edge, "The edge of the pass band", "dB", (-8, 0.5)),
            (ripple, "Ripple in the pass band (thousandths of a dB)", "0.001 dB", (-1, 1))):
        axes.set(title=title, ylabel=f"gain, {unit}", ylim=limits,
                 xlabel="frequency, per cent of the lower Nyquist frequency")
        axes.margins(x=0)
        axes.grid(alpha=0.4)
        axes.legend(loc="lower left")
    for axes in (whole, edge):
        axes.axvline(100, color="black", linewidth=0.8, linestyle=":")
    save(figure, "response.png")


def draw_impulses(conversions, responses):
    figure, axes = pyplot.subplots(figsize=(8, 4))
    for conversion, response in zip(conversions, responses, strict=True):
        half = len(response) // 2
        grid = 1000 * (numpy.arange(len(response)) - half)
        axes.plot(grid / (conversion.input_rate * conversion.up), response,
                  label=conversion.name(), linewidth=1.2,
                  marker="." if conversion.up == 1 else None)
    axes.set(title="Impulse response: what one input sample adds to the output, and when",
             xlabel="time from the input sample, ms", ylabel="output per input (linear)",
             xlim=(-0.46, 0.46))
    axes.grid(alpha=0.4)
    axes.legend()
    save(figure, "impulse.png")


def spectrogram_db(signal, size=1024, step=400):
    window = numpy.kaiser(size, 16)
    starts = range(0, len(signal) - size, step)
    frames = numpy.stack([signal[start:start + size] * window for start in starts], axis=1)
    magnitudes = numpy.abs(numpy.fft.rfft(frames, axis=0)) * 2 / window.sum()
    return 20 * numpy.log10(numpy.maximum(magnitudes, 1e-9))


def draw_sweeps(conversions):
    figure, all_axes = pyplot.subplots(3, 1, figsize=(8, 10))
    for axes, conversion in zip(all_axes, conversions, strict=True):
        seconds = numpy.arange(SWEEP_SECONDS * conversion.input_rate) / conversion.input_rate
        slope = conversion.input_rate / 2 / SWEEP_SECONDS
        output = conversion.convert(0.9 * numpy.sin(numpy.pi * slope * seconds ** 2))
        top = conversion.output_rate / 2000
        image = axes.imshow(spectrogram_db(output), origin="lower", aspect="auto", cmap="magma",
                            extent=(0, conversion.input_rate / 2000, 0, top),
                            vmin=SWEEP_FLOOR_DB, vmax=0, interpolation="nearest")
        axes.set(title=f"Sweep from 0 to {conversion.input_rate / 2000:g} kHz, "
                       f"{conversion.name()}",
                 xlabel="frequency of the input at that moment, kHz",
                 ylabel="output spectrum, kHz")
        figure.colorbar(image, ax=axes, label="level, dBFS")
    save(figure, "sweep.png")


def draw_tones(conversions):
    figure, axes = pyplot.subplots(figsize=(8, 4.5))
    points = numpy.linspace(0.013, 0.993, 50)
    for conversion in conversions:
        ratios = [conversion.tone_snr_db(point * conversion.lower_nyquist) for point in points]
        axes.plot(100 * points, ratios, label=conversion.name(), marker=".", linewidth=1.2)
    axes.set(title="One tone: its power over that of all that is not the tone",
             xlabel="frequency of the tone, per cent of the lower Nyquist frequency",
             ylabel="signal to noise and images, dB", ylim=(0, 220))
    axes.grid(alpha=0.4)
    axes.legend(loc="center", bbox_to_anchor=(0.5, 0.68), ncol=3)
    save(figure, "tones.png")


def show(value, digits):
    text = f"{value:.{digits}f}".replace("-", "−")
    return text.lstrip("−") if round(value, digits) == 0 else text


def stop_band_start(conversion, response):
    """Where the gain has gone below STOP_BAND_DB for good, in per cent; up to three times the
    lower Nyquist frequency."""
    end = min(3, conversion.input_rate * conversion.up / 2 / conversion.lower_nyquist)
    points = numpy.arange(1, end, 0.001)
    gains = conversion.gain_db(points * conversion.lower_nyquist, response)
    return 100 * points[numpy.nonzero(gains > STOP_BAND_DB)[0][-1] + 1]


def write_tables(tool):
    gains, tones = [], []
    for pair in TABLE_PAIRS:
        conversion = Conversion(tool, *pair)
        response = conversion.impulse_response()
        points = numpy.array(GAIN_POINTS) * conversion.lower_nyquist
        row = [show(gain, 2 if gain > -9.995 else 1)
               for gain in conversion.gain_db(points, response)]
        gains.append([conversion.name(), *row,
                      f"{stop_band_start(conversion, response):.0f} %"])
        tones.append([conversion.name(), *(show(conversion.tone_snr_db(
            point * conversion.lower_nyquist), 0) for point in TONE_POINTS)])
    replace_region("quality.md", "gains",
                   table(["kHz", *(f"{100 * point:.0f} %" for point in GAIN_POINTS),
                          f"below {STOP_BAND_DB} dB from".replace("-", "−")], gains))
    replace_region("quality.md", "tones",
                   table(["kHz", *(f"{100 * point:.0f} %" for point in TONE_POINTS)], tones))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    conversions = [Conversion(sys.argv[1], *pair) for pair in DRAWN_PAIRS]
    responses = [conversion.impulse_response() for conversion in conversions]
    PICTURES.mkdir(exist_ok=True)
    draw_response(conversions, responses)
    draw_impulses(conversions, responses)
    draw_sweeps(conversions)
    draw_tones(conversions)
    write_tables(sys.argv[1])


if __name__ == "__main__":
    main()
