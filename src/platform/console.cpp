// The standard output of the process, on which a model shows its progress and tells the failures that no report can
// hold; and its standard error, for what is found out when the report is closed.

#include "platform/console.h"

#include <cstdio>

void console_write(const char* text) {
    std::fputs(text, stdout);
    std::fflush(stdout);
}

void console_complain(const char* text) {
    std::fputs(text, stderr);
}
