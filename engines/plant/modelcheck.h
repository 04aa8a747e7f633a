#pragma once
// What a model file says by names, and whether all of it together is a plant.

#include <string>
#include <vector>

#include "modelfile.h"

/// A line that names something, till all names are known.
struct NamedLine {
    size_t line = 0;
    std::string name;
    double value = 0.0;
};

struct LinkLine {
    size_t line = 0;
    std::string from;
    std::string to;
};

struct StartLine {
    size_t line = 0;
    std::string unit;
    std::string component;
    double value = 0.0;
};

/// What the lines have left for the end of the file.
struct Draft {
    double startDay = -1.0;  ///< below 0: not given
    double endDay = -1.0;
    long startSecond = 0;
    long endSecond = 0;
    size_t fractionLine = 0;
    std::vector<size_t> choiceLines;
    std::vector<LinkLine> recycles;
    LinkLine returned;
    std::vector<NamedLine> feeds;
    std::vector<NamedLine> unitLines;
    std::vector<NamedLine> design;
    std::vector<StartLine> initial;
};

/// Puts names in place and tests the whole.
void modelcheck_finish(const Draft& draft, PlantModel& model, std::vector<FileMessage>& messages);
