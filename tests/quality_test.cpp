// How clean a conversion is, in decibels: floors a little below what the arithmetic gives.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using signal = std::vector<double>;

constexpr double AMPLITUDE = 0.9 * 2147483648.0;
constexpr size_t FRAMES = 8192;
constexpr int TONES_PER_BAND = 31;

double decibels(double power_ratio) {
    return 10 * std::log10(power_ratio);
}

double power(const signal &wave) {
    double sum = 0;
    for (const double value : wave) {
        sum += value * value;
    }
    return sum / static_cast<double>(wave.size());
}

// A sine of so many cycles per frame.
std::vector<int32_t> tone(double cycles) {
    std::vector<int32_t> wave(FRAMES);
    for (size_t k = 0; k < FRAMES; ++k) {
        const double angle = 2 * M_PI * cycles * static_cast<double>(k) + 0.5;
        wave[k] = static_cast<int32_t>(std::lrint(AMPLITUDE * std::sin(angle)));
    }
    return wave;
}

// Takes the sine and cosine of a frequency that fit best, by least squares, out of a wave, and
// returns their power.
double takeOut(signal &wave, double cycles) {
    signal cosine(wave.size()), sine(wave.size());
    double cc = 0, cs = 0, ss = 0, cw = 0, sw = 0;
    for (size_t k = 0; k < wave.size(); ++k) {
        const double angle = 2 * M_PI * cycles * static_cast<double>(k);
        const double c = cosine[k] = std::cos(angle);
        const double s = sine[k] = std::sin(angle);
        cc += c * c, cs += c * s, ss += s * s, cw += c * wave[k], sw += s * wave[k];
    }
    const double determinant = cc * ss - cs * cs;
    const double a = (cw * ss - sw * cs) / determinant;
    const double b = (sw * cc - cw * cs) / determinant;
    for (size_t k = 0; k < wave.size(); ++k) {
        wave[k] -= a * cosine[k] + b * sine[k];
    }
    return (a * a + b * b) / 2;
}

// One channel of 32-bit samples at two rates.
class rate_change {
public:
    rate_change(uint32_t from, uint32_t to)
        : input_rate(from), output_rate(to), nyquist(std::min(from, to) / 2.0) {
    }

    // What a tone becomes, less the ends of the stream, where neighbours are missing.
    signal play(double hertz) const {
        const auto settings = makeSettings({{1, 32}, 1, input_rate}, {{}, 0, output_rate});
        const auto out = toSamples(convert(settings, toBytes(tone(hertz / input_rate)), {16384}));
        const size_t expected = FRAMES * uint64_t{output_rate} / input_rate;
        const size_t edge = 2 + size_t{40} * output_rate / input_rate;
        EXPECT_EQ(out.size(), expected);
        return out.size() == expected ? signal(out.begin() + edge, out.end() - edge) : signal(9);
    }

    double gain(double hertz) const {
        signal wave = play(hertz);
        return decibels(takeOut(wave, hertz / output_rate) / TONE_POWER);
    }

    double toneToRest(double hertz) const {
        signal wave = play(hertz);
        const double tone_power = takeOut(wave, hertz / output_rate);
        return decibels(tone_power / power(wave));
    }

    // The gain above the lower Nyquist frequency: of a tone that folds back, or, where the input
    // cannot carry it, of the image that a tone has there.
    double stopBandGain(double hertz) const {
        const bool played = hertz < input_rate / 2.0;
        const double source = played ? hertz : input_rate - hertz;
        signal wave = play(source);
        if (!played) {
            takeOut(wave, source / output_rate);
        }
        return decibels(takeOut(wave, hertz / output_rate) / TONE_POWER);
    }

    static constexpr double TONE_POWER = AMPLITUDE * AMPLITUDE / 2;
    uint32_t input_rate, output_rate;
    double nyquist; // the lower one, Hz
};

// The largest value of a measure over a band, in fractions of the lower Nyquist frequency; not a
// number where one of them is not.
template <typename Measure>
double findWorst(const rate_change &change, double from, double to, Measure measure) {
    double worst = -INFINITY;
    for (int k = 0; k < TONES_PER_BAND; ++k) {
        const double value =
            measure((from + (to - from) * (k + 0.37) / TONES_PER_BAND) * change.nyquist);
        worst = value > worst || std::isnan(value) ? value : worst;
        if (std::isnan(worst)) {
            break;
        }
    }
    return worst;
}

// Fractions of the lower Nyquist frequency, and limits in dB.
struct rate_row {
    uint32_t input_rate, output_rate;
    double flat_to, ripple;  // up to here the gain is within ripple of 0
    double at_95;            // the gain at 0.95: that of the ideal Kaiser window, beta 9
    double clean_to, purity; // up to here a tone is this far above all else
    double stop_from, leak;  // from here on the gain is below leak
};

const rate_row RATE_ROWS[] = {
    {44100, 48000, 0.80, 0.0002, -1.3838, 0.84, 91, 1.15, -94},
    {48000, 44100, 0.80, 0.0002, -1.6016, 0.95, 95.5, 1.17, -95},
    {48000, 96000, 0.80, 0.0002, -1.3838, 0.84, 91, 1.15, -94},
    {8000, 48000, 0.80, 0.0002, -1.3838, 0.84, 91, 1.15, -94},
    {96000, 48000, 0.70, 0.0003, -3.1262, 0.95, 188, 1.3, -90},
    {96000, 44100, 0.70, 0.0003, -3.3143, 0.95, 102, 1.32, -91},
    {192000, 44100, 0.30, 0.0002, -4.5280, 0.95, 99.5, 1.7, -92.5},
};

TEST(Quality, RateChanges) {
    for (const rate_row &row : RATE_ROWS) {
        const rate_change change(row.input_rate, row.output_rate);
        SCOPED_TRACE(std::to_string(row.input_rate) + " -> " + std::to_string(row.output_rate));

        const double ripple = findWorst(
            change, 0, row.flat_to, [&](double hertz) { return std::fabs(change.gain(hertz)); });
        EXPECT_LT(ripple, row.ripple);

        EXPECT_NEAR(change.gain(0.95 * change.nyquist), row.at_95, 0.005);

        const double rest = findWorst(change, 0, row.clean_to,
                                      [&](double hertz) { return -change.toneToRest(hertz); });
        EXPECT_LT(rest, -row.purity);

        const double end = std::min(row.stop_from + 1, row.input_rate / change.nyquist);
        const double leak = findWorst(change, row.stop_from, end,
                                      [&](double hertz) { return change.stopBandGain(hertz); });
        EXPECT_LT(leak, row.leak);
    }
}

} // namespace
