#pragma once
// Lines and words of a project file as the engine has them, for what the program itself looks up in it.

#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

/// What the engine takes as a line: a whole one with its line feed, or a piece of a longer one.
struct ProjectPiece {
    std::string bytes;  ///< up to a zero
    bool isEnded;       ///< by a line feed, or by the end of the file
};

/// Reads the next one. False if nothing is left.
[[nodiscard]] bool projectlines_read(std::streambuf& file, ProjectPiece& piece);

/// The first word as it stands, quotes and all.
[[nodiscard]] std::string_view projectlines_findFirst(std::string_view line);

/// The words between blanks, or between double quotes, up to a comment.
[[nodiscard]] std::vector<std::string> projectlines_split(std::string_view line);

/// Upper and lower case of A to Z are the same, whatever the locale.
[[nodiscard]] std::string projectlines_fold(std::string_view text);
