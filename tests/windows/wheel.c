/* What the Python package does with the library of its wheel, without Python: loads it by its full path as ctypes does,
 * looks up each function, and runs a project.
 *
 *     windows_wheel LIBRARY NAMES ENGINES PROJECT REPORT RESULTS
 *
 * NAMES is a file with a name in each line. The exit status is 0, or that of the place where it failed. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "tarnvelde_model.h"

enum { LONGEST = 1000, FAILED_TO_LOAD = 2, FAILED_TO_FIND, FAILED_TO_RUN };

static HMODULE library;

static FARPROC find(const char* name) {
    const FARPROC found = GetProcAddress(library, name);
    if (!found) {
        fprintf(stderr, "there is no %s\n", name);
        exit(FAILED_TO_FIND);
    }
    return found;
}

/* As Python gives them: os.fsencode makes UTF-8. */
static char* encode(const wchar_t* word) {
    char* text = calloc(LONGEST, 4);
    WideCharToMultiByte(CP_UTF8, 0, word, -1, text, LONGEST * 4, NULL, NULL);
    return text;
}

static void check(int32_t code, const char* call) {
    if (code != TV_OK) {
        fprintf(stderr, "%s: %d\n", call, (int)code);
        exit(FAILED_TO_RUN);
    }
}

#define CALL(name, ...) check(((__typeof__(&name))(void (*)(void))find(#name))(__VA_ARGS__), #name)

int wmain(int count, wchar_t** words) {
    if (count != 7) {
        return 1;
    }
    library = LoadLibraryExW(words[1], NULL, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS | LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR);
    if (!library) {
        fprintf(stderr, "LoadLibraryEx: %lu\n", GetLastError());
        return FAILED_TO_LOAD;
    }
    FILE* names = _wfopen(words[2], L"r");
    char name[LONGEST];
    int functions = 0;
    while (names && fgets(name, LONGEST, names)) {
        name[strcspn(name, "\r\n")] = '\0';
        find(name);
        ++functions;
    }
    tv_model* model = NULL;
    const char* engines = encode(words[3]);
    CALL(tv_create, &model);
    CALL(tv_setEngines, model, engines, NULL, engines, NULL);
    CALL(tv_open, model, encode(words[4]), encode(words[5]));
    CALL(tv_start, model, encode(words[6]), NULL);
    CALL(tv_runUntil, model, TV_END);
    CALL(tv_report, model);
    CALL(tv_end, model);
    CALL(tv_close, model);
    CALL(tv_free, model);
    printf("%d functions\n", functions);
    return FreeLibrary(library) ? 0 : FAILED_TO_LOAD;
}
