#pragma once
// Looks into the tables of a text report.

#include <sstream>
#include <string>
#include <vector>

/// The words of a line with one blank between them.
inline std::string joinWords(const std::string& line) {
    std::istringstream stream(line);
    std::string text;
    for (std::string word; stream >> word;) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

/// The rows of the last table with a title, from top to bottom, each with one blank between its words. A table that
/// isn't there has the row "no table".
inline std::vector<std::string> getRows(const std::string& report, const std::string& title) {
    size_t place = report.rfind("\n  " + title);
    if (place == std::string::npos) {
        return {"no table"};
    }
    std::istringstream lines(report.substr(report.find("\n  **", place) + 1));
    std::string line;
    std::getline(lines, line);
    std::vector<std::string> rows;
    while (std::getline(lines, line) && line.rfind("  **", 0) != 0) {
        if (line.rfind("  ----", 0) == 0) {
            rows.clear();  // so far it was the head
        } else if (line.find_first_not_of(' ') != std::string::npos) {
            rows.push_back(joinWords(line));
        }
    }
    return rows;
}

/// The rows of the last tables with some titles, one table behind the other.
inline std::vector<std::string> getAllRows(const std::string& report, const std::vector<std::string>& titles) {
    std::vector<std::string> rows;
    for (const std::string& title : titles) {
        const std::vector<std::string> more = getRows(report, title);
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

/// What stands behind the name of a row, with one blank between its words.
inline std::string getRow(const std::string& report, const std::string& title, const std::string& name) {
    for (const std::string& row : getRows(report, title)) {
        if (row.rfind(name + " ", 0) == 0) {
            return row.substr(name.size() + 1);
        }
    }
    return "no row";
}
