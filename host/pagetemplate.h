#pragma once
// The page around the data: a file of HTML with two marks, which the build takes into the program.

#include <string>

/// The page that the program was built with; empty if it was built without.
[[nodiscard]] std::string pagetemplate_getBuiltIn();

/// Puts the title, as text, and the data, as elements, in place of the marks <!--TITLE--> and <!--DATA-->. False if one
/// of them isn't there, or more than once.
[[nodiscard]] bool pagetemplate_fill(std::string& page, const std::string& title, const std::string& data);
