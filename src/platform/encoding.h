#pragma once
// Encodings of text.

#include <string>

/// Adds a text of unknown encoding to `target` in UTF-8: what is valid UTF-8 stays as it is, every other byte is taken
/// as a character of Windows-1252.
void encoding_appendUtf8(std::string& target, const char* text);
