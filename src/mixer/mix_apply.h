#pragma once

#include "simd/kernels.h"

// applyMixMatrix mixes n frames in place. Each output is the sum over the input slots in ascending
// order of sample * gain, every product rounded to double before it is added, truncated towards
// zero; a sum that leaves the 32-bit range, or is not a number, gives -2147483648. Arrays of slots
// output_channels and above are not written.
//
// reorderChannels moves each speaker's channel from its input slot to its output slot, n frames in
// place. The maps may form any permutation; entries outside 1..8 are skipped.
