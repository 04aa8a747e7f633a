// Words and numbers of texts.

#include "words.h"

#include <array>
#include <charconv>
#include <cmath>

static char lower(char sign) {
    return sign >= 'A' && sign <= 'Z' ? static_cast<char>(sign - 'A' + 'a') : sign;
}

bool words_areEqual(std::string_view left, std::string_view right) {
    bool equal = left.size() == right.size();
    for (size_t k = 0; k < left.size() && equal; ++k) {
        equal = lower(left[k]) == lower(right[k]);
    }
    return equal;
}

std::vector<std::string_view> words_split(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> words;
    for (size_t begin = text.find_first_not_of(separators); begin != std::string_view::npos;) {
        const size_t end = text.find_first_of(separators, begin);
        words.push_back(text.substr(begin, end == std::string_view::npos ? end : end - begin));
        begin = end == std::string_view::npos ? end : text.find_first_not_of(separators, end);
    }
    return words;
}

bool words_readNumber(std::string_view word, double& number) {
    if (!word.empty() && word.front() == '+') {
        word.remove_prefix(1);
    }
    double read = 0.0;
    const auto [end, status] = std::from_chars(word.data(), word.data() + word.size(), read);
    if (word.empty() || status != std::errc() || end != word.data() + word.size() || !std::isfinite(read)) {
        return false;
    }
    number = read;
    return true;
}

std::string words_showNumber(double number) {
    std::array<char, 40> text{};
    const auto [end, status] = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), status == std::errc() ? end : text.data()};
}

std::string words_showShort(double number) {
    std::array<char, 40> text{};
    const auto [end, status] =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::general, 4);
    return {text.data(), status == std::errc() ? end : text.data()};
}
