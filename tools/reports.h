// What the tool tells about a run, as text.
#pragma once

#include "conversion.h"

#include <ostream>

// What was understood: inputs, outputs, lengths, notes.
void printInfo(std::ostream &out, const conversion_plan &plan,
               const std::vector<source_description> &sources);

// The gains from input to output speakers; with `decibels` a second table.
void printMatrix(std::ostream &out, const conversion_plan &plan, bool decibels);

// Peak and RMS of every channel.
void printLevels(std::ostream &out, const conversion_plan &plan, const conversion_outcome &outcome);

// Counts and speed of a run, with a warning for full-scale samples.
void printStats(std::ostream &out, const conversion_plan &plan, const conversion_outcome &outcome);

// The length that comes out of a dry run.
void printPrediction(std::ostream &out, const conversion_plan &plan);
