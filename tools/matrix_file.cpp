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
constexpr size_t MOST_BYTES = 1 << 16;

double parseGain(const std::string &word, const std::string &place) {
    char *end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    const std::string unit = word.substr(static_cast<size_t>(end - word.c_str()));
    const bool in_decibels = unit == "dB" || unit == "db";
    const double gain = in_decibels ? std::pow(10.0, value / 20.0) : value;
    if (end == word.c_str() || (!unit.empty() && !in_decibels) || !std::isfinite(gain)) {
        throw usage_error(place + "not a row of gains (0.5 or -6dB)");
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

gain_rows readRows(const std::string &path) {
    std::ifstream file(path);
    std::string text(MOST_BYTES, '\0');
    file.read(text.data(), MOST_BYTES);
    text.resize(static_cast<size_t>(file.gcount()));
    if (!file.eof() && text.size() < MOST_BYTES) {
        throw systemError(path, "cannot read the matrix");
    }
    if (text.size() == MOST_BYTES) {
        throw usage_error(path + ": too long for a matrix");
    }
    gain_rows rows;
    std::istringstream lines(text);
    unsigned line_number = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::string place = path + ":" + std::to_string(++line_number) + ": ";
        std::vector<double> row = parseRow(line, place);
        if (!row.empty()) {
            rows.push_back(std::move(row));
        }
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
