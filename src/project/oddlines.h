#pragma once
// Lines of the project file that are read otherwise than they look: told as warnings, for the reader itself takes them
// as they are.

#include <cstdint>

#include "project/sections.h"
#include "text/tokens.h"

struct Model;

/// A line as it stands in the file.
struct RawLine {
    const char* text;
    size_t length;  ///< up to its end, or to a NUL byte in it
    int64_t bytes;  ///< in the file
};

/// Looks at a line that is the first, goes on one that was too long, or has no end; it begins at an offset of the file.
/// Whether the next one goes on this, as `isContinued` says of the one before.
[[nodiscard]] bool oddlines_reviewOddLine(const Model& model, int32_t section, const RawLine& raw, int64_t offset,
                                          bool isContinued);

/// The same of any line. `isLookedAt` goes from line to line, and is true ahead of the first.
inline void oddlines_reviewLine(const Model& model, int32_t section, const RawLine& raw, int64_t offset,
                                bool& isLookedAt) {
    const bool isWhole = raw.length > 0 && raw.text[raw.length - 1] == '\n';
    if (!isWhole || isLookedAt) {
        isLookedAt = oddlines_reviewOddLine(model, section, raw, offset, offset > 0 && isLookedAt);
    }
}

/// A header that is no section.
void oddlines_reviewHeader(const Model& model, const char* header);

/// The first pass is through: looks at what stands after the end of the file.
void oddlines_reviewEnd(Model& model);

/// How many words each line of a section reads at least, and which oddities of its words may matter.
struct WordLimit {
    int32_t words;
    uint8_t oddities;
};

struct LineLimits {
    WordLimit sections[SECTION_COUNT];
};

extern const LineLimits OddlinesLimits;

/// Looks at the words of a line that has more of them than each of its section, or odd ones.
void oddlines_reviewOddWords(const Model& model, int32_t section, const Tokens& tokens);

/// What a line of a section is measured by; by what no line goes beyond, if nobody wants to hear. So a line costs the
/// same either way.
[[nodiscard]] inline WordLimit oddlines_getLimit(int32_t section, bool isWanted) {
    return isWanted ? OddlinesLimits.sections[section] : WordLimit{MAX_TOKENS, 0};
}

/// The same of any line that was read without an error.
inline void oddlines_reviewWords(const Model& model, int32_t section, const WordLimit& limit, const Tokens& tokens) {
    if (tokens.count > limit.words || (tokens.oddities & limit.oddities)) {
        oddlines_reviewOddWords(model, section, tokens);
    }
}

/// Looks at one word that was taken as a number or a time. `object` is what the warning names.
void oddlines_reviewNumber(const Model& model, const Tokens& tokens, int32_t place, const char* object);
