// Fuzzer of the program's readers of results: whatever a file holds, of all three kinds, it is read or refused
// by a message, without a crash, a hang or a leak. Each change goes into a whole file, and what is read of it is walked
// through as `tarnvelde results` does.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "byobject.h"
#include "resultfile.h"
#include "support/generate.h"
#include "support/tempfolder.h"
#include "tarnvelde_model.h"

namespace {

constexpr size_t LARGEST_INPUT = 1000;
constexpr uint64_t MOST_ROWS = 2000;

struct Origin {
    TempFolder folder;
    std::string binary, database, byObject;

    Origin() {
        const std::string text =
            "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 0:30:00\nROUTING_STEP 0:01:00\n"
            "REPORT_STEP 0:05:00\n" +
            generateNetwork(5, 3, 1);
        tv_model* model = nullptr;
        const std::string results = folder.file("a.bin"), rows = folder.file("a.db");
        if (tv_create(&model) != TV_OK || tv_openText(model, text.data(), text.size(), nullptr, nullptr) != TV_OK ||
            tv_start(model, results.c_str(), rows.c_str()) != TV_OK || tv_runUntil(model, TV_END) != TV_OK ||
            tv_end(model) != TV_OK) {
            std::abort();
        }
        tv_free(model);
        binary = readFile(results);
        database = readFile(rows);
        ResultFile file;
        result_open(file, results);
        byobject_write(file, folder.file("a.tvo"));
        byObject = readFile(folder.file("a.tvo"));
    }
};

/// Puts the checksum of a file by object right, without which nothing of a changed head is believed.
void repairChecksum(std::string& bytes) {
    constexpr size_t SERIES_PLACE = 56;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    uint64_t series = 0;
    for (size_t k = 8; k-- > 0 && bytes.size() > 80;) {
        series = series << 8 | data[SERIES_PLACE + k];
    }
    if (series > 0 && series <= bytes.size() - RESULT_OBJECTS_CLOSING) {
        const uint32_t sum = result_addChecksum(0, data, static_cast<size_t>(series));
        for (size_t k = 0; k < 4; ++k) {
            bytes[bytes.size() - RESULT_OBJECTS_CLOSING + k] = static_cast<char>(sum >> (8 * k));
        }
    }
}

/// Each four bytes of the input: a place, and what becomes of the byte there. The first one of all tells which kind of
/// file is meant, and whether its end is cut off.
std::string makeFile(const Origin& origin, const uint8_t* data, size_t size) {
    std::string bytes = size == 0      ? origin.binary
                        : data[0] & 16 ? origin.byObject
                        : data[0] & 1  ? origin.database
                                       : origin.binary;
    for (size_t k = 1; k + 4 <= size; k += 4) {
        const size_t place = (size_t{data[k]} << 16 | size_t{data[k + 1]} << 8 | data[k + 2]);
        // Counts and places of a binary file stand at its ends, those of a database at the front of its pages.
        const size_t from = data[0] & 2 ? place % 200 : place;
        bytes[(data[0] & 4 ? bytes.size() - 1 - from % bytes.size() : from) % bytes.size()] =
            static_cast<char>(data[k + 3]);
    }
    if (size > 2 && data[0] & 8) {
        bytes.resize(bytes.size() * data[1] / 255);
    }
    if (size > 0 && data[0] & 32) {
        repairChecksum(bytes);
    }
    return bytes;
}

/// Some rows of each table, and summaries of the small ones.
void lookThrough(const ResultFile& file) {
    for (size_t t = 0; t < file.tables.size(); ++t) {
        const ResultTable& table = file.tables[t];
        if (table.objects.empty() || table.columns.empty()) {
            continue;
        }
        ResultPart part{t, {0}, {}};
        for (size_t k = 0; k < table.columns.size() && k < 20; ++k) {
            part.columns.push_back(k);
        }
        ResultRows rows(file, part, {});
        for (uint64_t k = 0; k < MOST_ROWS && result_nextRow(rows); ++k) {
            if (result_formatDate(rows.date).empty()) {
                std::abort();
            }
        }
        if (result_countRows(table, file, 0) < MOST_ROWS &&
            result_summarize(file, part, {}).size() != part.columns.size()) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Origin origin;
    if (size > LARGEST_INPUT) {
        return -1;
    }
    const std::string name = origin.folder.write("changed", makeFile(origin, data, size));
    try {
        ResultFile file;
        result_open(file, name);
        lookThrough(file);
    } catch (const ResultError& error) {
        if (std::string(error.what()).empty()) {
            std::abort();
        }
    }
    return 0;
}
