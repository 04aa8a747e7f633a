#pragma once
// Text that is put together quickly: into a string, and from there into a file piece by piece if there is one. Numbers
// are whole, in units of their last digit, so that nothing is rounded.

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

struct TownText {
    std::string text;
    std::FILE* file = nullptr;
    bool isFailed = false;
};

void townText_flush(TownText& out);

TownText& operator<<(TownText& out, std::string_view words);
TownText& operator<<(TownText& out, int64_t number);

/// `value` divided by ten to the power of `decimals`.
struct TownDecimal {
    int64_t value;
    int decimals;
};

TownText& operator<<(TownText& out, TownDecimal number);
