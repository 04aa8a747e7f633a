#pragma once
// A sound project that has an object of nearly every kind, and raises no warning. A faulty one is made of it by putting
// other words in the place of some of its words.

#include <string>

[[nodiscard]] std::string aTown();

/// The town with `words` in the place of `old`, which must stand in it just once.
[[nodiscard]] std::string aTownWith(const std::string& old, const std::string& words);
