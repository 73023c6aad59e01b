#pragma once

#include "cpu_level.h"
#include "mixer/mix_apply.h"

// applyMixMatrix by the form for `level`, with the same results.
void mixChannels(cpu_level level, const gain_matrix &matrix, const channel_pointers &channels,
                 uint32_t n, uint8_t input_channels, uint8_t output_channels);

// reorderChannels, array by array instead of frame by frame, with the same results.
void moveChannels(const channel_pointers &channels, uint32_t n, const uint8_t *input_map,
                  const uint8_t *output_map, uint8_t input_channels);

// The forms; parameters and results as applyMixMatrix.
void applyMixMatrixSse2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels);
void applyMixMatrixAvx2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels);
void applyMixMatrixAvx512(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                          uint8_t input_channels, uint8_t output_channels);
