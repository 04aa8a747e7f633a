/* What the C++ runtime inside a standalone build asks of the newest glibc, made of what older ones have. Without it the
 * program would need glibc 2.36; with it glibc 2.34 suffices. Nobody outside of program and library sees these. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <link.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/random.h>
#include <time.h>
#include <unistd.h>

uint32_t arc4random(void);

/* Of glibc 2.36; for the random numbers of the runtime, which Tarnvelde doesn't use. Where a sandbox refuses both ways,
 * the time must do. */
uint32_t arc4random(void) {
    uint32_t value = 0;
    ssize_t length = 0;
    do {
        length = getrandom(&value, sizeof value, 0);
    } while (length < 0 && errno == EINTR);
    if (length != (ssize_t)sizeof value) {
        const int file = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
        length = file < 0 ? -1 : read(file, &value, sizeof value);
        if (file >= 0) {
            close(file);
        }
    }
    if (length != (ssize_t)sizeof value) {
        struct timespec now = {0, 0};
        clock_gettime(CLOCK_MONOTONIC, &now);
        value = (uint32_t)now.tv_nsec * 2654435761U + (uint32_t)getpid();
    }
    return value;
}

struct search {
    uintptr_t place;
    struct dl_find_object* found;
};

/* Whether a loaded object has the place; what exceptions are unwound with, if it has. */
static int find_place(struct dl_phdr_info* object, size_t size, void* data) {
    struct search* search = data;
    const ElfW(Phdr)* frames = NULL;
    uintptr_t start = 0, end = 0;
    (void)size;
    for (int k = 0; k < object->dlpi_phnum; ++k) {
        const ElfW(Phdr)* part = &object->dlpi_phdr[k];
        const uintptr_t begin = object->dlpi_addr + part->p_vaddr;
        if (part->p_type == PT_LOAD && search->place - begin < part->p_memsz) {
            start = begin;
            end = begin + part->p_memsz;
        } else if (part->p_type == PT_GNU_EH_FRAME) {
            frames = part;
        }
    }
    if (end == 0 || frames == NULL) {
        return 0;
    }
    search->found->dlfo_flags = 0;
    search->found->dlfo_map_start = (void*)start;
    search->found->dlfo_map_end = (void*)end;
    search->found->dlfo_link_map = NULL;
    search->found->dlfo_eh_frame = (void*)(object->dlpi_addr + frames->p_vaddr);
    return 1;
}

/* Of glibc 2.35; for exceptions. */
int _dl_find_object(void* place, struct dl_find_object* found) {
    struct search search = {(uintptr_t)place, found};
    return dl_iterate_phdr(find_place, &search) == 1 ? 0 : -1;
}
