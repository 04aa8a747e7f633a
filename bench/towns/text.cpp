// See text.h.

#include "text.h"

#include <charconv>

namespace {

constexpr size_t PIECE = 1 << 20;

void putNumber(TownText& out, int64_t number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    out.text.append(digits, end);
}

}  // namespace

void townText_flush(TownText& out) {
    if (out.file) {
        out.isFailed |= std::fwrite(out.text.data(), 1, out.text.size(), out.file) != out.text.size();
        out.text.clear();
    }
}

TownText& operator<<(TownText& out, std::string_view words) {
    if (out.file && out.text.size() > PIECE) {
        townText_flush(out);
    }
    out.text.append(words);
    return out;
}

TownText& operator<<(TownText& out, int64_t number) {
    putNumber(out, number);
    return out;
}

TownText& operator<<(TownText& out, TownDecimal number) {
    int64_t unit = 1;
    for (int k = 0; k < number.decimals; ++k) {
        unit *= 10;
    }
    putNumber(out, number.value / unit);
    if (number.value % unit != 0) {
        out.text += '.';
        int64_t rest = number.value % unit;
        for (; rest != 0; rest %= unit) {
            unit /= 10;
            out.text += static_cast<char>('0' + rest / unit);
        }
    }
    return out;
}
