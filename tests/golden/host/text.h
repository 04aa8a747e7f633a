#pragma once
// Texts of generated projects. The same bits on every machine: a random generator of our own, and numbers printed in
// one form.

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

/// SplitMix64.
struct Random {
    uint64_t state;

    explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}

    uint64_t next() {
        state += 0x9E3779B97F4A7C15u;
        uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    /// 0 to count - 1.
    int pick(int count) { return static_cast<int>(next() % static_cast<uint64_t>(count)); }
    bool isOneOf(int count) { return pick(count) == 0; }
    /// low to high.
    double real(double low, double high) {
        return low + (high - low) * (static_cast<double>(next() >> 40) / static_cast<double>(1 << 24));
    }
};

inline std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

inline std::string real(Random& random, double low, double high) {
    return number(random.real(low, high));
}

/// Seconds as h:mm:ss.
inline std::string clockTime(int seconds) {
    char text[40];
    std::snprintf(text, sizeof text, "%d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}

inline std::string name(const char* kind, int index) {
    return kind + std::to_string(index);
}

/// A text that grows from left to right. What is drawn by chance in between is drawn in this order, which no compiler
/// promises for a sum or for arguments.
struct Text {
    std::string text;

    Text& operator<<(const std::string& piece) {
        text += piece;
        return *this;
    }
};

/// Sections of a project file in the order in which they were asked for first.
struct Sections {
    std::vector<std::pair<std::string, Text>> list;

    Text& operator[](const std::string& section) {
        for (auto& [title, content] : list) {
            if (title == section) {
                return content;
            }
        }
        return list.emplace_back(section, Text()).second;
    }
    std::string text() const {
        std::string whole;
        for (const auto& [title, content] : list) {
            whole += "[" + title + "]\n" + content.text;
        }
        return whole;
    }
};

/// Times of a run from 6 May 2024 on.
struct Times {
    int steps = 240;
    int routing = 60, runoff = 60, report = 60;  ///< s
    bool isAverage = false;
    int start = 0;  ///< s, time of day
};

inline std::string general(const Times& times) {
    const int end = times.start + times.steps * times.routing;
    return "START_DATE 2024/05/06\nSTART_TIME " + clockTime(times.start) + "\nEND_DATE 2024/05/0" +
           std::to_string(6 + end / 86400) + "\nEND_TIME " + clockTime(end % 86400) + "\nROUTING_STEP " +
           clockTime(times.routing) + "\nRUNOFF_STEP " + clockTime(times.runoff) + "\nREPORT_STEP " +
           clockTime(times.report) + "\nREPORT_AVERAGE " + (times.isAverage ? "YES" : "NO") + "\n";
}
