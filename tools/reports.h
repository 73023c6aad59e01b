// What the tool tells about a run, as text.
#pragma once

#include "conversion.h"

#include <cstdio>

// What was understood: inputs, outputs, lengths, notes.
void printInfo(std::FILE *out, const conversion_plan &plan,
               const std::vector<source_description> &sources);

// The gains from input to output speakers; then in dB.
void printMatrix(std::FILE *out, const conversion_plan &plan);

// Levels of every channel, counts and speed of a run, with a warning for full-scale samples.
void printStats(std::FILE *out, const conversion_plan &plan, const conversion_outcome &outcome);
