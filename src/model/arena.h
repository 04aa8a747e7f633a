#pragma once
// Memory of a project in three arenas, each released as a whole. Everything comes zero-filled.

#include <cstddef>
#include <cstdint>
#include <type_traits>

struct ArenaBlock;

/// A bump allocator: memory is taken from large blocks and given back all at once.
struct Arena {
    ArenaBlock* current;  ///< the block in use, the newest of a chain; null before the first request
    size_t taken;         ///< bytes handed out since the last release
    size_t* promised;     ///< bytes of the blocks of all arenas of the model, touched or not; null for one alone
};

/// What a model holds.
struct Memory {
    size_t promised = 0;
    Arena project{nullptr, 0, &promised};  ///< what a project holds, up to the close
    Arena results{nullptr, 0, &promised};  ///< statistics, balances, row buffers: from one start to the next
    Arena run{nullptr, 0, &promised};      ///< state of a run, up to its end

    Memory() = default;
    ~Memory();
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;
};

/// `bytes` of zeroed memory, aligned for any number, valid until the arena is released. Null for a request that the
/// machine's memory can't hold. A request for no bytes is never null.
void* arena_allocate(Arena& arena, size_t bytes);

/// `count` zeroed records of a plain type; none, but not null, for a count of 0 or below.
template <class T>
T* arena_allocateArray(Arena& arena, int64_t count) {
    static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 16);
    constexpr size_t size = sizeof(T);  // NOLINT(bugprone-sizeof-expression): T may well be a pointer
    if (count > 0 && static_cast<uint64_t>(count) > SIZE_MAX / 2 / size) {
        return nullptr;
    }
    return static_cast<T*>(arena_allocate(arena, count > 0 ? static_cast<size_t>(count) * size : 0));
}

/// Gives all memory of the arena back to the system. Every pointer into it is dead.
void arena_release(Arena& arena);

/// For tests: the request number `count` from now (1 is the next) fails once, in whatever arena; 0 switches this off.
void arena_failAfter(int64_t count);
