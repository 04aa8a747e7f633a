#pragma once
// Binary files of results that no run has written.

#include <string>

#include "support/fileimage.h"

/// A binary file of one junction that reports every `step` seconds.
inline std::string makeResults(double start, int64_t step, int64_t reports, const std::string& junction = "J1") {
    FileImage file;
    file.addIntegers({516114522, 21000, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    file.addName(junction);
    const auto codes = static_cast<int64_t>(file.bytes.size());
    for (const int64_t columns : {12, 4, 2, 5, 2, 4, 8, 11, 4, 1, 2, 6, 1, 1}) {
        file.addCodes(columns);
    }
    const auto dates = static_cast<int64_t>(file.bytes.size());
    file.addDouble(start);
    file.addInteger(step);
    const auto records = static_cast<int64_t>(file.bytes.size());
    for (int64_t k = 1; k <= reports; ++k) {
        file.addDouble(start + static_cast<double>(k * step) / 86400.0);
        file.addFloats({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, static_cast<float>(k % 7), 0});
    }
    file.addIntegers({64, codes, dates, records, reports, 0, 516114522});
    return file.bytes;
}
