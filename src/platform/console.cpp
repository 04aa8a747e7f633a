// The standard output of the process, on which a model shows its progress and tells the failures that no report can
// hold.

#include "platform/console.h"

#include <cstdio>

void console_write(const char* text) {
    std::fputs(text, stdout);
    std::fflush(stdout);
}
