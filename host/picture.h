#pragma once
// The file of a picture.

#include <string>

enum class PictureForm { NONE, SVG, PNG, PDF };

/// The form that the extension of a name asks for, in any case; NONE for any other extension, and without one.
[[nodiscard]] PictureForm picture_getForm(const std::string& name);

/// Whether these bytes are a picture from its beginning to its end.
[[nodiscard]] bool picture_isWhole(PictureForm form, const std::string& bytes);

/// Writes the bytes aside and puts them in place when they are whole: until then, what stood there stays. An empty
/// text, or why it can't be done.
[[nodiscard]] std::string picture_write(const std::string& name, const std::string& bytes);
