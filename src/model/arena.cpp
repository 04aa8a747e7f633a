// Memory of a project. Objects and their per-pollutant arrays live exactly as long as the project, the results or the
// run they belong to, so each of these is one arena: allocation is an addition, release is one walk over a few blocks,
// and nothing can leak. The rooms decide what a refused request means; here it is only refused, and refused early: a
// machine that promises memory which it doesn't have would end the process later, at the first touch.

#include "model/arena.h"

#include <atomic>
#include <cstdlib>

#include "platform/memory.h"

struct ArenaBlock {
    ArenaBlock* older;
    size_t size;  ///< bytes of storage after this head
    size_t used;
};

static constexpr size_t ALIGNMENT = 16;
static constexpr size_t FIRST_BLOCK = size_t{1} << 16;
static constexpr size_t LARGEST_BLOCK = size_t{1} << 25;
static constexpr size_t HEAD = (sizeof(ArenaBlock) + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;

static std::atomic<int64_t> RequestsUntilFailure = 0;  ///< of tests; 0 but there

static bool isMadeToFail() {
    return RequestsUntilFailure.load(std::memory_order_relaxed) > 0 && --RequestsUntilFailure == 0;
}

static ArenaBlock* addBlock(Arena& arena, size_t needed) {
    size_t size = arena.current ? arena.current->size * 2 : FIRST_BLOCK;
    size = size > LARGEST_BLOCK ? LARGEST_BLOCK : size;
    size = size < needed ? needed : size;
    // Small blocks are never worth a look at the machine's memory; a large one is.
    if (size > LARGEST_BLOCK / 8 && !memory_isAvailable(size + HEAD, arena.promised ? *arena.promised : 0)) {
        return nullptr;
    }
    auto* block = static_cast<ArenaBlock*>(std::calloc(1, HEAD + size));
    if (!block) {
        return nullptr;
    }
    memory_useLargePages(block, HEAD + size);
    if (arena.promised) {
        *arena.promised += HEAD + size;
    }
    block->older = arena.current;
    block->size = size;
    arena.current = block;
    return block;
}

void* arena_allocate(Arena& arena, size_t bytes) {
    if (isMadeToFail() || bytes > SIZE_MAX / 2) {
        return nullptr;
    }
    const size_t size = (bytes + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    ArenaBlock* block = arena.current;
    if (!block || size > block->size - block->used) {
        block = addBlock(arena, size);
        if (!block) {
            return nullptr;
        }
    }
    void* memory = reinterpret_cast<char*>(block) + HEAD + block->used;
    block->used += size;
    arena.taken += size;
    return memory;
}

void arena_release(Arena& arena) {
    for (ArenaBlock* block = arena.current; block;) {
        ArenaBlock* older = block->older;
        if (arena.promised) {
            *arena.promised -= HEAD + block->size;
        }
        std::free(block);
        block = older;
    }
    arena = Arena{nullptr, 0, arena.promised};
}

Memory::~Memory() {
    for (Arena* arena : {&run, &results, &project}) {
        arena_release(*arena);
    }
}

void arena_failAfter(int64_t count) {
    RequestsUntilFailure = count;
}
