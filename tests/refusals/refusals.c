// Requests of a program for memory, counted and refused. REFUSE_AT is the number of the one that is refused, from 1 on;
// with REFUSE_REST all behind it are, too. Without REFUSE_AT the number of requests goes to the file REFUSE_COUNT.

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>

extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* memory, size_t size);
extern void* __libc_memalign(size_t alignment, size_t size);

static long requests = 0, refusedAt = 0;
static int isCounting = 0, isRestRefused = 0;

/// 1 if this request is refused.
static int refuse(void) {
    if (!isCounting) {
        return 0;
    }
    const long number = __atomic_add_fetch(&requests, 1, __ATOMIC_RELAXED);
    const int isRefused = refusedAt > 0 && (isRestRefused ? number >= refusedAt : number == refusedAt);
    errno = isRefused ? ENOMEM : errno;
    return isRefused;
}

void* malloc(size_t size) {
    return refuse() ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return refuse() ? NULL : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
    return refuse() ? NULL : __libc_realloc(memory, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    return refuse() ? NULL : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
    *memory = refuse() ? NULL : __libc_memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}

/// Programs that this one starts are left alone.
__attribute__((constructor)) static void begin(void) {
    const char* at = getenv("REFUSE_AT");
    refusedAt = at ? atol(at) : 0;
    isRestRefused = getenv("REFUSE_REST") != NULL;
    unsetenv("LD_PRELOAD");
    isCounting = 1;
}

__attribute__((destructor)) static void end(void) {
    isCounting = 0;
    const char* name = getenv("REFUSE_COUNT");
    FILE* file = name && refusedAt == 0 ? fopen(name, "w") : NULL;
    if (file) {
        fprintf(file, "%ld\n", requests);
        fclose(file);
    }
}
