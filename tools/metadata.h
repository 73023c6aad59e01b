// Texts of a sound file that go along into another: title, artist and the like, and the
// broadcast chunk of WAV (EBU Tech 3285).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct sf_private_tag; // libsndfile's open file

enum class file_type { WAV, AIFF, CAF, FLAC, RAW };

// Kinds of text, as libsndfile and the INFO list of WAV know them.
inline constexpr size_t TEXT_KINDS = 8;

struct file_metadata {
    std::array<std::string, TEXT_KINDS> texts; // empty: the file has none
    std::vector<uint8_t> broadcast;            // content of the bext chunk, or empty
};

// The most bytes of texts that are carried.
inline constexpr size_t MOST_TEXT_BYTES = 1 << 16;

// Throws conversion_error, naming the file, when there are more bytes than that.
void checkTextBytes(const std::string &name, uint64_t byte_count);

// The content of a LIST chunk that begins with "INFO".
void parseInfoList(std::span<const uint8_t> list, file_metadata &metadata);

// A bext chunk and a LIST chunk, each with its header; empty without texts.
std::vector<uint8_t> buildMetadataChunks(const file_metadata &metadata);

// The start time in the broadcast chunk counts samples: makes it count those of another rate.
void rescaleTimeReference(file_metadata &metadata, uint32_t input_rate, uint32_t output_rate);

// From and to files that libsndfile has open; the name is for faults.
file_metadata readTexts(sf_private_tag *file, const std::string &name);
void writeTexts(sf_private_tag *file, const file_metadata &metadata);

// What a file of this type cannot hold, as a note, or empty.
std::string droppedTexts(const file_metadata &metadata, file_type type);
