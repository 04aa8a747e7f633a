#pragma once
// Lines of the project file that are read otherwise than they look: told as warnings, for the reader itself takes them
// as they are.

#include <cstdint>

#include "text/tokens.h"

struct Model;

/// Looks at a line as it stands in the file, `bytes` long there. `isContinued` tells from line to line whether the one
/// before was too long for its buffer.
void oddlines_reviewLine(const Model& model, int32_t section, const char* line, int64_t bytes, bool& isContinued);

/// A header that is no section.
void oddlines_reviewHeader(const Model& model, const char* header);

/// The first pass is through: looks at what stands behind the end of the file.
void oddlines_reviewEnd(Model& model);

/// Looks at the words of a line that was read without an error.
void oddlines_reviewWords(const Model& model, int32_t section, const Tokens& tokens);

/// Looks at one word that was taken as a number or a time. `object` is what the warning names.
void oddlines_reviewNumber(const Model& model, const Tokens& tokens, int32_t place, const char* object);
