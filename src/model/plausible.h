#pragma once
// What numbers of a project file are usual, and what they can hardly be: the ranges of model/plausible.def, each with
// its source. A number outside what is usual is told as a note, one beyond doubt as a warning.

#include <cstdint>

struct Model;

enum PlausibleIndex : int32_t {
#define TARNVELDE_PLAUSIBLE(enumerator, warning, quantity, unit, low, high, doubtLow, doubtHigh, slip, source) \
    enumerator,
#include "model/plausible.def"
    PLAUSIBLE_COUNT
};

struct Plausible {
    int32_t warning;             ///< WarningIndex
    const char* quantity;        ///< in words, without an article
    const char* unit;            ///< of the project file; empty for a plain number
    double low, high;            ///< what is usual, the ends included
    double doubtLow, doubtHigh;  ///< beyond these it can hardly be meant
    const char* slip;            ///< the likely mistake beyond doubt, that of small and of large numbers parted by a
                                 ///< semicolon if they differ; empty if none is known
    const char* source;          ///< in the literature
};

extern const Plausible Plausibles[PLAUSIBLE_COUNT];

/// The number is outside its range: tells so.
void plausible_tell(const Model& model, int32_t plausible, double value, int32_t word, const char* object);

/// Tells of a time (s) given as a plain number, which means hours, if that makes no hours of a clock: seconds or
/// minutes were meant.
void plausible_checkPlain(const Model& model, int32_t seconds, const char* text, int32_t word, const char* object);

/// Tells of a number, word `word` of the line that is being read, if it is outside what is usual.
inline void plausible_check(const Model& model, int32_t plausible, double value, int32_t word, const char* object) {
    const Plausible& range = Plausibles[plausible];
    if (!(value >= range.low && value <= range.high)) {
        plausible_tell(model, plausible, value, word, object);
    }
}

/// The same of a number that means none when it is 0.
inline void plausible_checkSet(const Model& model, int32_t plausible, double value, int32_t word, const char* object) {
    if (value != 0.0) {
        plausible_check(model, plausible, value, word, object);
    }
}
