#pragma once
// The file of a picture.

#include <string>

enum class PictureForm { NONE, SVG, PNG, PDF };

/// The form that the extension of a name asks for, in any case; NONE for any other extension, and without one.
[[nodiscard]] PictureForm picture_getForm(const std::string& name);

/// Whether these bytes are a picture from its beginning to its end.
[[nodiscard]] bool picture_isWhole(PictureForm form, const std::string& bytes);
