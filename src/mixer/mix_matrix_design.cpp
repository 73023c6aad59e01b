#include "mixer/mix_matrix_design.h"

#include "core/settings.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace {

// Speaker bits: the rows and columns of the matrix.
enum speaker { FL, FR, FC, LFE, BL, BR, FLC, FRC };

constexpr double H = 0.7071067811865476;      // the double nearest to the square root of 1/2
constexpr double ROOT_2 = 1.4142135623730951; // the double nearest to the square root of 2

constexpr uint32_t LEFT_RIGHT = AUDIO_SPEAKER_FL | AUDIO_SPEAKER_FR;
constexpr uint32_t FRONT = LEFT_RIGHT | AUDIO_SPEAKER_FC;
constexpr uint32_t BACK = AUDIO_SPEAKER_BL | AUDIO_SPEAKER_BR;
constexpr uint32_t CENTRE_PAIR = AUDIO_SPEAKER_FLC | AUDIO_SPEAKER_FRC;

int countIn(uint32_t mask, uint32_t group) {
    return std::popcount(mask & group);
}

// Two layouts, and the gains between them that the rules fill in. Rules assign: a later one
// replaces what an earlier one wrote. They name fixed speakers, whichever of a group is present:
// a single back speaker is treated as BL, a single one of the centre pair as FLC.
struct design {
    gain_matrix &gain;
    uint32_t input;
    uint32_t output;
};

void keepSharedSpeakers(const design &d) {
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        if ((d.input & d.output) >> speaker & 1) {
            d.gain[speaker][speaker] = 1.0;
        }
    }
}

// Spreads one or both speakers of a pair over left (negative) and right (positive).
void spreadPair(const design &d, int count, speaker first, speaker second) {
    if (count >= 1) {
        d.gain[first][FL] = -H;
        d.gain[first][FR] = H;
    }
    if (count == 2) {
        d.gain[second][FL] = -H;
        d.gain[second][FR] = H;
    }
}

void mixToStereo(const design &d) {
    if (countIn(d.input, FRONT) != 2) {
        d.gain[FC][FL] = H;
        d.gain[FC][FR] = H;
    }
    spreadPair(d, countIn(d.input, BACK), BL, BR);
    spreadPair(d, countIn(d.input, CENTRE_PAIR), FLC, FRC);
}

void foldPair(const design &d, int count, speaker first, speaker second) {
    if (count >= 1) {
        d.gain[first][FC] = H;
    }
    if (count == 2) {
        d.gain[second][FC] = H;
    }
}

void mixToCentre(const design &d) {
    const int front_in = countIn(d.input, FRONT);
    if (front_in != 1) {
        d.gain[FL][FC] = H;
        d.gain[FR][FC] = H;
    }
    if (front_in == 3) {
        d.gain[FC][FC] = ROOT_2;
    }
    foldPair(d, countIn(d.input, BACK), BL, BR);
    foldPair(d, countIn(d.input, CENTRE_PAIR), FLC, FRC);
}

void mixFront(const design &d) {
    if (countIn(d.output, FRONT) != 2) {
        return;
    }
    const int front_in = countIn(d.input, FRONT);
    if (front_in == 1) {
        d.gain[FC][FL] = H;
        d.gain[FC][FR] = H;
    } else if (front_in == 3) {
        d.gain[FC][FL] = 1.0;
        d.gain[FC][FR] = 1.0;
    }
}

// A pair of speakers whose number changes: a lone input speaker is shared by two outputs, two
// inputs are added into a lone output, and without an output the pair joins left and right.
void mixPair(const design &d, uint32_t group, speaker first, speaker second) {
    const int in = countIn(d.input, group);
    const int out = countIn(d.output, group);
    if (in == 1 && out == 0) {
        d.gain[first][FL] = H;
        d.gain[first][FR] = H;
    } else if (in == 1 && out == 2) {
        d.gain[first][first] = H;
        d.gain[first][second] = H;
    } else if (in == 2 && out == 0) {
        d.gain[first][FL] = 1.0;
        d.gain[second][FR] = 1.0;
    } else if (in == 2 && out == 1) {
        d.gain[first][first] = H;
        d.gain[second][first] = H;
    }
}

void applyLayoutRules(const design &d) {
    const uint32_t output_class = d.output & ~uint32_t{AUDIO_SPEAKER_LFE};
    if (output_class == LEFT_RIGHT) {
        mixToStereo(d);
    } else if (output_class == AUDIO_SPEAKER_FC) {
        mixToCentre(d);
    } else {
        mixFront(d);
        mixPair(d, BACK, BL, BR);
        mixPair(d, CENTRE_PAIR, FLC, FRC);
    }
}

// A low-frequency channel that the output lacks is shared, at constant power, by the paired
// output speakers, and joins a lone front output when the input has a centre.
void routeLowFrequencies(const design &d) {
    if ((d.input & AUDIO_SPEAKER_LFE) == 0) {
        return;
    }
    if ((d.output & AUDIO_SPEAKER_LFE) != 0) {
        d.gain[LFE][LFE] = 1.0;
        return;
    }
    const uint32_t receivers = d.output & (LEFT_RIGHT | BACK | CENTRE_PAIR);
    const double receiver_count = std::popcount(receivers);
    if (receiver_count > 0.0) {
        const double shared_gain = 1.0 / std::sqrt(receiver_count);
        for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
            if (receivers >> speaker & 1) {
                d.gain[LFE][speaker] = shared_gain;
            }
        }
    }
    if (countIn(d.output, FRONT) == 1 && (d.input & AUDIO_SPEAKER_FC) != 0) {
        d.gain[LFE][FC] = 1.0;
    }
}

double largestColumnSum(const gain_matrix &gain) {
    double largest = 0.0;
    for (unsigned column = 0; column < AUDIO_MAX_CHANNELS; ++column) {
        double sum = 0.0;
        for (unsigned row = 0; row < AUDIO_MAX_CHANNELS; ++row) {
            sum += std::fabs(gain[row][column]);
        }
        if (sum > largest) {
            largest = sum;
        }
    }
    return largest;
}

void scaleAll(gain_matrix &gain, double factor) {
    for (double(&row)[AUDIO_MAX_CHANNELS] : gain) {
        for (double &cell : row) {
            cell *= factor;
        }
    }
}

// Layouts that share nothing and fall under no rule: every input goes equally to every output.
void shareEqually(const design &d, uint8_t input_channels) {
    for (unsigned row = 0; row < AUDIO_MAX_CHANNELS; ++row) {
        for (unsigned column = 0; column < AUDIO_MAX_CHANNELS; ++column) {
            if ((d.input >> row & 1) && (d.output >> column & 1)) {
                d.gain[row][column] = 1.0 / input_channels;
            }
        }
    }
}

} // namespace

void designMixMatrix(gain_matrix &matrix, uint32_t input_mask, uint32_t output_mask,
                     uint8_t input_channels) {
    const design d = {matrix, input_mask & KNOWN_SPEAKERS, output_mask & KNOWN_SPEAKERS};
    memset(matrix, 0, sizeof matrix);
    keepSharedSpeakers(d);
    applyLayoutRules(d);
    routeLowFrequencies(d);
    const double normaliser = largestColumnSum(matrix);
    if (normaliser > 0.0) {
        scaleAll(matrix, 1.0 / normaliser);
    } else {
        shareEqually(d, input_channels);
    }
}
