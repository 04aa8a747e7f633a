// Reads a table of inflow.

#include "series.h"

#include "words.h"

namespace {

constexpr size_t DAY_COLUMN = 1000, FLOW_COLUMN = 1001;  // beyond constituents and components

struct Columns {
    std::vector<size_t> meanings;  // a constituent, or behind these a component
    bool hasConstituents = false;
};

std::string findColumns(std::string_view line, const PlantModel& model, Columns& columns) {
    bool hasDay = false;
    for (std::string_view word : words_split(line, ",\r")) {
        word = words_split(word, " \t").empty() ? std::string_view() : words_split(word, " \t")[0];
        size_t meaning = CONSTITUENT_COUNT + matrix_findComponent(model.matrix, word);
        for (size_t c = 0; c < CONSTITUENT_COUNT; ++c) {
            meaning = words_areEqual(word, ConstituentNames[c]) ? c : meaning;
        }
        columns.hasConstituents = columns.hasConstituents || meaning < CONSTITUENT_COUNT;
        hasDay = hasDay || words_areEqual(word, "day");
        meaning = words_areEqual(word, "day") ? DAY_COLUMN : (words_areEqual(word, "flow") ? FLOW_COLUMN : meaning);
        if (meaning == CONSTITUENT_COUNT + model.matrix.names.size()) {
            return "no column of an inflow: \"" + std::string(word.substr(0, 80)) + "\"";
        }
        columns.meanings.push_back(meaning);
    }
    return hasDay ? "" : "no column \"day\"";
}

std::string readRow(std::string_view line, const PlantModel& model, const Columns& columns, InflowRow& row) {
    const std::vector<std::string_view> words = words_split(line, ", \t\r");
    std::array<double, CONSTITUENT_COUNT> constituents{};
    std::vector<double> numbers(words.size());
    if (words.size() != columns.meanings.size()) {
        return "not as many numbers as columns";
    }
    for (size_t k = 0; k < words.size(); ++k) {
        if (!words_readNumber(words[k], numbers[k]) || numbers[k] < 0.0 || numbers[k] > 1e9) {
            return "no number between 0 and 1e9: \"" + std::string(words[k].substr(0, 80)) + "\"";
        }
        if (columns.meanings[k] < CONSTITUENT_COUNT) {
            constituents[columns.meanings[k]] = numbers[k];
        }
    }
    row.flow = model.designFlow;
    row.components = model.designInflow;
    if (columns.hasConstituents) {
        plantmodel_splitInflow(model, constituents, row.components.data());
    }
    for (size_t k = 0; k < words.size(); ++k) {
        if (columns.meanings[k] == DAY_COLUMN) {
            row.day = numbers[k];
        } else if (columns.meanings[k] == FLOW_COLUMN) {
            row.flow = numbers[k];
        } else if (columns.meanings[k] >= CONSTITUENT_COUNT) {
            row.components[columns.meanings[k] - CONSTITUENT_COUNT] = numbers[k];
        }
    }
    return {};
}

}  // namespace

std::vector<FileMessage> series_read(std::string_view text, const PlantModel& model, std::vector<InflowRow>& rows) {
    Columns columns;
    std::vector<FileMessage> messages;
    size_t number = 0;
    rows.clear();
    for (size_t begin = 0; begin < text.size() && messages.size() < 20;) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = text.substr(begin, end - begin);
        begin = end + 1;
        ++number;
        std::string error;
        InflowRow row;
        if (words_split(line, ", \t\r").empty()) {
            continue;
        }
        if (columns.meanings.empty()) {
            error = findColumns(line, model, columns);
            if (!error.empty()) {
                messages.push_back({number, error});
                return messages;
            }
            continue;
        }
        error = readRow(line, model, columns, row);
        if (error.empty() && !rows.empty() && row.day <= rows.back().day) {
            error = "the days don't rise";
        }
        if (!error.empty()) {
            messages.push_back({number, error});
        } else {
            rows.push_back(std::move(row));
        }
    }
    if (rows.empty() && messages.empty()) {
        messages.push_back({0, "no rows"});
    }
    return messages;
}
