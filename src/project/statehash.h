#pragma once
// Sums of bytes for states and for the text of projects: four lanes of 64 bits, each turned and multiplied at every
// word, so that a change of any one byte shows in any case. They keep off errors, not people.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

struct StateHash {
    static constexpr size_t BLOCK = 32;

    uint64_t lanes[4] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u, 0x27D4EB2F165667C5u};
    uint64_t length = 0;
};

/// One step of a lane, which no two words or two lanes bring to the same end.
inline uint64_t statehash_mix(uint64_t lane, uint64_t word) {
    static constexpr uint64_t FACTOR = 0xD6E8FEB86659FD93u;  // odd
    return std::rotl((lane ^ word) * FACTOR, 29);
}

/// Adds whole blocks.
inline void statehash_addBlocks(StateHash& hash, const char* bytes, size_t blocks) {
    uint64_t lane0 = hash.lanes[0], lane1 = hash.lanes[1], lane2 = hash.lanes[2], lane3 = hash.lanes[3];
    for (size_t k = 0; k < blocks; ++k) {
        uint64_t words[4];
        std::memcpy(words, bytes + k * StateHash::BLOCK, sizeof words);
        lane0 = statehash_mix(lane0, words[0]);
        lane1 = statehash_mix(lane1, words[1]);
        lane2 = statehash_mix(lane2, words[2]);
        lane3 = statehash_mix(lane3, words[3]);
    }
    hash.lanes[0] = lane0;
    hash.lanes[1] = lane1;
    hash.lanes[2] = lane2;
    hash.lanes[3] = lane3;
    hash.length += blocks * StateHash::BLOCK;
}

/// Adds bytes of any number, filled up with zeros to a block.
inline void statehash_add(StateHash& hash, const void* bytes, size_t size) {
    const char* from = static_cast<const char*>(bytes);
    const size_t blocks = size / StateHash::BLOCK;
    statehash_addBlocks(hash, from, blocks);
    const size_t rest = size % StateHash::BLOCK;
    if (rest > 0) {
        char block[StateHash::BLOCK] = {};
        std::memcpy(block, from + blocks * StateHash::BLOCK, rest);
        statehash_addBlocks(hash, block, 1);
        hash.length += rest - StateHash::BLOCK;
    }
}

[[nodiscard]] inline uint64_t statehash_get(const StateHash& hash) {
    uint64_t sum = hash.length;
    for (const uint64_t lane : hash.lanes) {
        sum = statehash_mix(sum, lane ^ (lane >> 31));
    }
    return sum ^ (sum >> 32);
}

/// The sum of a piece of memory.
[[nodiscard]] inline uint64_t statehash_getSum(const void* bytes, size_t size) {
    StateHash hash;
    statehash_add(hash, bytes, size);
    return statehash_get(hash);
}
