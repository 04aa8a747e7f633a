#pragma once
// Bytes of a file as values, the lowest byte first on every machine.

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

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

inline float getFloat(const std::string& bytes, size_t place) {
    const int32_t bits = getInteger(bytes, place);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
