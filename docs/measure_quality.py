"""Measures rate conversions by what zt-audio-convert makes of impulses, tones and sweeps."""

import math
import subprocess

import numpy

FULL_SCALE = 2.0 ** 31


class Conversion:
    """One channel of 32-bit PCM from one rate to another, through the tool."""

    def __init__(self, tool, input_rate, output_rate):
        self.tool = tool
        self.input_rate, self.output_rate = input_rate, output_rate
        divisor = math.gcd(input_rate, output_rate)
        self.up, self.down = output_rate // divisor, input_rate // divisor
        self.lower_nyquist = min(input_rate, output_rate) / 2

    def name(self):
        return f"{self.input_rate / 1000:g} → {self.output_rate / 1000:g} kHz"

    def convert(self, signal):
        """Samples of -1 to 1 in, samples of -1 to 1 out."""
        samples = numpy.clip(numpy.rint(signal * FULL_SCALE), -FULL_SCALE, FULL_SCALE - 1)
        output = subprocess.run(
            [self.tool, "--quiet", "--raw", f"pcm,32,1,{self.input_rate}", "--rate",
             str(self.output_rate), "--type", "raw", "-", "-"],
            input=samples.astype("<i4").tobytes(), check=True, capture_output=True).stdout
        return numpy.frombuffer(output, "<i4") / FULL_SCALE

    def impulse_response(self):
        """The filter on the grid of input rate times L, from impulses at every phase.

        An impulse at input frame n gives output frame k the coefficient at k * M - n * L from the
        centre. With the distances of the impulses prime to M, all M remainders occur.
        """
        up, down = self.up, self.down
        spacing = 1 + down * (1 + 60 // down)
        places = 60 + spacing * numpy.arange(down)
        signal = numpy.zeros(places[-1] + 100)
        signal[places] = 0.5
        output = self.convert(signal)
        half = 20 * up
        response = numpy.full(2 * half + 1, numpy.nan)
        for place in places:
            first = -((half - place * up) // down)
            frames = numpy.arange(first, (place * up + half) // down + 1)
            response[frames * down - place * up + half] = 2 * output[frames]
        assert not numpy.isnan(response).any()
        return response

    def gain_db(self, frequencies, response=None):
        """Gain at frequencies in Hz, from nothing to the input rate times L / 2."""
        taps = self.impulse_response() if response is None else response
        seconds = (numpy.arange(len(taps)) - len(taps) // 2) / (self.input_rate * self.up)
        # Symmetric about its centre, so that the spectrum is real.
        gains = numpy.array([numpy.dot(taps, numpy.cos(2 * math.pi * frequency * seconds))
                             for frequency in frequencies]) / self.up
        return 20 * numpy.log10(numpy.maximum(numpy.abs(gains), 1e-12))

    def tone_snr_db(self, frequency, level=0.9):
        """A tone's power over that of everything else, away from both ends of the stream."""
        signal = level * numpy.sin(2 * math.pi * frequency / self.input_rate
                                   * numpy.arange(16384) + 0.5)
        output = self.convert(signal)
        edge = 60 + 60 * self.output_rate // self.input_rate
        output = output[edge:-edge]
        angles = 2 * math.pi * frequency / self.output_rate * numpy.arange(len(output))
        basis = numpy.stack([numpy.cos(angles), numpy.sin(angles)], axis=1)
        fit = basis @ numpy.linalg.lstsq(basis, output, rcond=None)[0]
        return 10 * math.log10(numpy.sum(fit ** 2) / numpy.sum((output - fit) ** 2))
