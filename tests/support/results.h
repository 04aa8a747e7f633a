#pragma once
// A small project with results that can be worked out by hand, and a look into binary results files.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/project.h"

/// Four steps of one minute. J1 takes in 0.5 m3/s and 0.002 kg/s, that is 4 mg/L, of a pollutant (names hold no blank);
/// C1 delays it by two minutes, so O1 gets nothing in steps 1 and 2, and 0.5 m3/s with 4 mg/L in steps 3 and 4.
inline std::string getDelayedProject(const std::string& options = "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n",
                                     const std::string& pollutant = "A-B", const std::string& junction = "J1") {
    return getGeneral(4) + options + "[JUNCTIONS]\n" + junction + "\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 " + junction +
           " O1 NO 120\n[POLLUTANTS]\n" + pollutant + " 0\n[INFLOWS]\n" + junction + " FLOW FLOW 0.5 \"\" 1\n" +
           junction + " MASS " + pollutant + " 0.002 \"\" 1\n";
}

/// The same without a pollutant.
inline std::string getPlainProject(const std::string& options = "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n") {
    return getGeneral(4) + options +
           "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 120\n[INFLOWS]\nJ1 FLOW FLOW 0.5 \"\" 1\n";
}

/// The bytes of a file, put together value by value, the lowest byte first.
struct FileImage {
    std::string bytes;

    void addInteger(int64_t value, int size = 4) {
        for (int k = 0; k < size; ++k) {
            bytes += static_cast<char>((static_cast<uint64_t>(value) >> (8 * k)) & 0xFF);
        }
    }
    void addIntegers(std::initializer_list<int64_t> values) {
        for (const int64_t value : values) {
            addInteger(value);
        }
    }
    void addDouble(double value) {
        int64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        addInteger(bits, 8);
    }
    void addFloats(std::initializer_list<float> values) {
        for (const float value : values) {
            int32_t bits;
            std::memcpy(&bits, &value, sizeof bits);
            addInteger(bits);
        }
    }
    void addName(const std::string& name) {
        addInteger(static_cast<int64_t>(name.size()) + 1);
        bytes += name + '\0';
    }
    /// A block of codes 0, 1, ... n - 1.
    void addCodes(int64_t count) {
        addInteger(count);
        for (int64_t k = 0; k < count; ++k) {
            addInteger(k);
        }
    }
};

inline int32_t getInteger(const std::string& bytes, size_t place) {
    int32_t value = 0;
    for (size_t k = 0; k < 4 && place + k < bytes.size(); ++k) {
        value |= static_cast<int32_t>(static_cast<uint32_t>(static_cast<unsigned char>(bytes[place + k])) << (8 * k));
    }
    return value;
}

/// Value `k` of the closing block: names, codes, dates, results, reports, code, magic number.
inline int32_t getClosing(const std::string& bytes, size_t k) {
    return getInteger(bytes, bytes.size() - 28 + 4 * k);
}

inline float getFloat(const std::string& bytes, size_t place) {
    const int32_t bits = getInteger(bytes, place);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
