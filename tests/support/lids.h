#pragma once
// A small project with LID controls: one subcatchment of 10000 m2 that drains to an outfall under steady rain.

#include <string>

#include "support/lineerrors.h"

struct LidProject {
    std::string general = getGeneral(60);
    std::string options;  ///< further lines of [GENERAL]
    std::string evaporation;
    std::string pollutants = "P 10\nQ 0\n";
    std::string patterns = "FLAT HOURLY 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2\n";
    std::string gages = "G INTENSITY 1:00 RAIN\n";
    std::string outfalls = "OUT\nDRAIN\n";
    std::string nodes;  ///< further sections of nodes and links
    std::string lids;
    std::string groups;
    std::string decay;
    std::string rain = "RAIN 2021/03/01 0:00 36 1:00 0 2:00 0\n";  ///< mm/h

    std::string text() const {
        return general + options + "[EVAPORATION]\n" + evaporation + "[POLLUTANTS]\n" + pollutants + "[RAINGAGES]\n" +
               gages + "[OUTFALLS]\n" + outfalls + nodes +
               "[SUBCATCHS]\nS G OUT 1 100 50 1 0.01 0.1 1 2 30 3 4 7 0\n[PATTERNS]\n" + patterns + "[LIDS]\n" + lids +
               "[LID_GROUPS]\n" + groups + "[DECAY_COEFFICIENT]\n" + decay + "[TIMESERIES]\n" + rain;
    }
};

/// Opens a project with the lines; the project stays open while the object lives.
struct OpenLids {
    Project file;
    int32_t code;

    explicit OpenLids(const LidProject& project) : file(project.text()), code(file.open()) {}
};

inline LidProject withLids(const std::string& lids) {
    LidProject project;
    project.lids = lids;
    return project;
}

/// A line that is refused, and the message.
struct BadLidLine {
    const char* line;
    const char* message;
};

inline const char* const TOO_FEW_ITEMS = "ERROR 203: too few items";

/// A definition of each type that is right.
inline const char* const GOOD_LIDS[] = {
    "A BC\nA SOIL 300 0.5 0.2 0.1 36 10\nA SURFACE 100 0 0.1 1 0\n",
    "A RG\nA SOIL 300 0.5 0.2 0.1 36 10\n",
    "A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 0.5 0.1\n",
    "A IT\nA STORAGE 400 1 7.2\n",
    "A PP\nA PAVEMENT 100 0.25 360\n",
    "A RB\n",
    "A VS\nA SURFACE 100 0 0.1 1 2\n",
};

/// What the report shows of a definition or a unit that is wrong.
inline std::string getLidError(const std::string& message) {
    return "\n  \n  " + message;
}
