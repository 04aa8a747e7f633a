#pragma once
// Texts of a picture in SVG, and where they stand.

#include <string>
#include <vector>

/// A text of a picture and the room it takes, if its font is as wide as the widest in use.
struct Label {
    std::string text;
    double left, right, top, bottom;
};

inline std::vector<Label> readLabels(const std::string& svg) {
    static const std::string PLACE = "<g transform=\"translate(", TEXT = "<tspan";
    constexpr double SIZE = 12.0, CHARACTER = 0.64 * SIZE;
    std::vector<Label> labels;
    for (size_t at = svg.find(PLACE); at != std::string::npos; at = svg.find(PLACE, at + 1)) {
        const std::string head = svg.substr(at, svg.find('>', at) - at);
        if (svg.find(TEXT, at) > svg.find("</g>", at)) {
            continue;  // an empty text
        }
        const size_t begin = svg.find('>', svg.find(TEXT, at)) + 1;
        std::string text = svg.substr(begin, svg.find('<', begin) - begin);
        text.erase(0, text.find_first_not_of(' '));
        if (text.empty() || head.find("rotate") != std::string::npos) {
            continue;
        }
        const double x = std::stod(head.substr(PLACE.size()));
        const double y = std::stod(head.substr(head.find(',') + 1));
        const double width = static_cast<double>(text.size()) * CHARACTER;
        const double before = head.find("middle") != std::string::npos    ? width / 2.0
                              : head.find("\"end\"") != std::string::npos ? width
                                                                          : 0.0;
        labels.push_back({text, x - before, x - before + width, y - 0.8 * SIZE, y + 0.2 * SIZE});
    }
    return labels;
}
