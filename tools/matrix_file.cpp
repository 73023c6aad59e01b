#include "matrix_file.h"

#include "errors.h"
#include "layouts.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

using gain_rows = std::vector<std::vector<double>>;

// Far more than a matrix with comments needs, and little to read of a file that is none.
constexpr std::streamsize LINE_ROOM = 4096; // with the end of the text
constexpr unsigned MOST_LINES = 1000;

// A word of the file for a message, unless a terminal should not see it.
std::string shown(const std::string &word) {
    const bool printable = std::ranges::all_of(word, [](char c) { return c >= ' ' && c <= '~'; });
    return printable && word.size() <= 40 ? "'" + word + "'" : "this line";
}

double parseGain(const std::string &word, const std::string &place) {
    char *end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    const std::string unit = word.substr(static_cast<size_t>(end - word.c_str()));
    const bool in_decibels = unit == "dB" || unit == "db";
    const double gain = in_decibels ? std::pow(10.0, value / 20.0) : value;
    if (end == word.c_str() || (!unit.empty() && !in_decibels) || !std::isfinite(gain)) {
        throw usage_error(place + shown(word) + " is not a gain (0.5 or -6dB)");
    }
    return gain;
}

std::vector<double> parseRow(std::string line, const std::string &place) {
    line = line.substr(0, line.find('#'));
    std::replace(line.begin(), line.end(), ',', ' ');
    std::vector<double> row;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        row.push_back(parseGain(word, place));
    }
    return row;
}

// What getline() put down, which may have bytes of zero in it.
std::string lastLine(const std::istream &file, const char *text) {
    return {text, static_cast<size_t>(file.gcount() - (file.eof() ? 0 : 1))};
}

gain_rows readRows(const std::string &path) {
    std::ifstream file(path);
    if (!file) {
        throw systemError(path, "cannot read the matrix");
    }
    gain_rows rows;
    unsigned line_number = 0;
    std::array<char, LINE_ROOM> line{};
    while (file.getline(line.data(), LINE_ROOM)) {
        const std::string place = path + ":" + std::to_string(++line_number) + ": ";
        std::vector<double> row = parseRow(lastLine(file, line.data()), place);
        if (line_number > MOST_LINES) {
            throw usage_error(place + "too many lines for a matrix");
        }
        if (!row.empty()) {
            rows.push_back(std::move(row));
        }
    }
    if (file.bad()) {
        throw systemError(path, "cannot read the matrix");
    }
    if (!file.eof()) {
        throw usage_error(path + ":" + std::to_string(line_number + 1) +
                          ": the line is too long for a matrix");
    }
    return rows;
}

bool hasSize(const gain_rows &rows, size_t row_count, size_t column_count) {
    return rows.size() == row_count &&
           std::ranges::all_of(rows, [&](const auto &row) { return row.size() == column_count; });
}

} // namespace

gain_matrix readMatrixFile(const std::string &path, uint32_t input_mask, uint32_t output_mask) {
    const gain_rows rows = readRows(path);
    const unsigned inputs = speakerCount(input_mask);
    const unsigned outputs = speakerCount(output_mask);
    if (hasSize(rows, AUDIO_MAX_CHANNELS, AUDIO_MAX_CHANNELS)) {
        input_mask = output_mask = 0xFF;
    } else if (!hasSize(rows, inputs, outputs)) {
        throw usage_error(path + ": the matrix must have 8 rows of 8 gains, or " +
                          std::to_string(inputs) + " rows (inputs) of " + std::to_string(outputs) +
                          " gains (outputs)");
    }
    gain_matrix matrix{};
    const auto row_speakers = slotSpeakers(input_mask);
    const auto column_speakers = slotSpeakers(output_mask);
    for (size_t row = 0; row < row_speakers.size(); ++row) {
        for (size_t column = 0; column < column_speakers.size(); ++column) {
            matrix[row_speakers[row]][column_speakers[column]] = rows[row][column];
        }
    }
    return matrix;
}
