// Converters. A treatment-plant model takes six wastewater constituents and gives the nineteen components of the
// Activated Sludge Model No. 2d (Henze et al. 1999); a converter says, contribution by contribution, how a constituent
// is made from the pollutants of the network, or how a pollutant is made from components.

#include "coupling/converter.h"

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/tokens.h"
#include "text/units.h"

static const char* const TypeWords[] = {"VORN_INFLUENT", "VORN_EFFLUENT", nullptr};
static const char* const ConstituentWords[] = {"COD", "NH4", "NO3", "TP", "TSS", "ALK", nullptr};
static const char* const ComponentWords[] = {"S_O2",  "S_F",   "S_A",   "S_I",    "S_NH4", "S_N2",  "S_NO3",
                                             "S_PO4", "S_ALK", "X_I",   "X_S",    "X_H",   "X_PAO", "X_PP",
                                             "X_PHA", "X_AUT", "X_TSS", "X_MeOH", "X_MeP", nullptr};
static const char* const SourceWords[] = {"POLLUTANT", "CONSTANT", nullptr};
static const char* const OperationWords[] = {"ADD", "SUBTRACT", nullptr};

// --- reading -------------------------------------------------------------------------------------------------------

/// Reads a number that is refused only if text is left behind it and it is negative as well: "-1" is a number here, and
/// so is a word, which counts as 0.
static int32_t readNumber(Model& model, const Tokens& tokens, int32_t place, double& value) {
    const bool isWhole = tokens_getDouble(tokens[place], &value);
    if (!isWhole && value < 0.0) {
        return errors_setName(model, ERR_NUMBER, tokens[place]);
    }
    if (!isWhole) {
        warnings_addAtLine(model, WARN_NUMBER_WORD, place, tokens[0], {tokens[place], warnings_formatNumber(value)});
    }
    return ERR_NONE;
}

/// Index of a keyword, or of a pollutant where the line names one at this place.
static int32_t readIndex(Model& model, const char* token, const char* const* words, int32_t& index) {
    index = words ? tokens_findKeyword(token, words) : names_find(model, POLLUT, token);
    return index < 0 ? errors_setName(model, words ? ERR_KEYWORD : ERR_UNDEFINED_OBJECT, token) : ERR_NONE;
}

/// Tokens 1 to 4.
static int32_t readContribution(Model& model, const Tokens& tokens, int32_t type, ConverterPoint& point) {
    const bool isInfluent = type == VORN_INFLUENT;
    if (const int32_t error = readIndex(model, tokens[1], isInfluent ? ConstituentWords : nullptr, point.target)) {
        return error;
    }
    if (const int32_t error = readIndex(model, tokens[2], SourceWords, point.sourceKind)) {
        return error;
    }
    point.sourceIndex = -1;
    const int32_t error = point.sourceKind == SOURCE_POLLUTANT
                              ? readIndex(model, tokens[3], isInfluent ? nullptr : ComponentWords, point.sourceIndex)
                              : readNumber(model, tokens, 3, point.constant);
    if (error) {
        return error;
    }
    if (const int32_t wrong = readNumber(model, tokens, 4, point.factor)) {
        return wrong;
    }
    if (!isInfluent && point.factor != 1.0) {
        warnings_addAtLine(model, WARN_CONVERTER_FACTOR, 4, tokens[0], {tokens[4]});
    }
    return ERR_NONE;
}

static int32_t readPoint(Model& model, const Tokens& tokens, Converter& converter) {
    ConverterPoint read{};
    if (const int32_t error = readContribution(model, tokens, converter.type, read)) {
        return error;
    }
    ConverterPoint* point = arena_allocateArray<ConverterPoint>(model.memory.project, 1);
    if (!point) {
        return errors_setName(model, ERR_MEMORY, "");
    }
    *point = read;
    if (tokens.count >= 6) {
        if (const int32_t error = readIndex(model, tokens[5], OperationWords, point->operation)) {
            return error;
        }
    }
    (converter.lastPoint ? converter.lastPoint->next : converter.points) = point;
    converter.lastPoint = point;
    return ERR_NONE;
}

int32_t converter_readLine(Model& model, const Tokens& tokens) {
    if (tokens.count < 2) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    // The type words come first, so a pollutant of such a name can't be a target.
    const int32_t type = tokens_findKeyword(tokens[1], TypeWords);
    if (type < 0 && tokens.count < 5) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t index = names_find(model, CONVERTER, tokens[0]);
    if (index < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Converter& converter = model.converters[index];
    if (type >= 0) {
        warnings_noteGiven(model, index, 0, tokens[0], "the type of the converter");
        converter.type = type;
    } else if (const int32_t error = readPoint(model, tokens, converter)) {
        return error;
    }
    converter.name = names_findId(model, CONVERTER, tokens[0]);
    return ERR_NONE;
}

// --- validation ----------------------------------------------------------------------------------------------------

static bool hasTarget(const Converter& converter, int32_t target) {
    const ConverterPoint* point = converter.points;
    while (point && point->target != target) {
        point = point->next;
    }
    return point != nullptr;
}

void converter_validate(Model& model, int32_t index) {
    const Converter& converter = model.converters[index];
    if (converter.type == VORN_INFLUENT) {
        for (int32_t target = 0; target < CONSTITUENT_COUNT; ++target) {
            if (!hasTarget(converter, target)) {
                errors_report(model, ERR_CONVERTER_INFLUENT, converter.name);
            }
        }
        return;
    }
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        if (!hasTarget(converter, p)) {
            errors_report(model, ERR_CONVERTER_EFFLUENT, converter.name);
            return;
        }
    }
}

// --- conversion ----------------------------------------------------------------------------------------------------

bool converter_isInfluentPoint(const Model& model, const ConverterPoint& point) {
    return point.target >= 0 && point.target < CONSTITUENT_COUNT &&
           (point.sourceKind == SOURCE_CONSTANT ||
            (point.sourceIndex >= 0 && point.sourceIndex < model_pollutantCount(model)));
}

bool converter_isEffluentPoint(const Model& model, const ConverterPoint& point) {
    return point.target >= 0 && point.target < model_pollutantCount(model);
}

void converter_addAmount(const ConverterPoint& point, double amount, double& total) {
    if (point.operation == OPERATION_ADD) {
        total += amount;  // a negative amount may leave a negative total
        return;
    }
    total -= amount;
    if (total < 0.0) {
        total = 0.0;
    }
}

void converter_applyInfluent(const Model& model, int32_t index, double flow, const double* loads,
                             double* constituents) {
    for (const ConverterPoint* point = model.converters[index].points; point; point = point->next) {
        if (!converter_isInfluentPoint(model, *point)) {
            continue;
        }
        const double amount = point->sourceKind == SOURCE_POLLUTANT
                                  ? loads[point->sourceIndex] * point->factor * G_PER_KG
                                  : flow * point->constant * point->factor;
        converter_addAmount(*point, amount, constituents[point->target]);
    }
}
