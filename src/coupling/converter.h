#pragma once
// Converters between the pollutants of the network and the quantities of a treatment-plant model.

#include <cstdint>

#include "model/model.h"
#include "model/table.h"
#include "text/tokens.h"

/// Wastewater constituents that a plant takes in: COD, NH4, NO3, TP, TSS, ALK.
constexpr int32_t CONSTITUENT_COUNT = 6;

enum ConverterType : int32_t { VORN_INFLUENT, VORN_EFFLUENT };
enum ConverterSource : int32_t { SOURCE_POLLUTANT, SOURCE_CONSTANT };
enum ConverterOperation : int32_t { OPERATION_ADD, OPERATION_SUBTRACT };

/// One contribution to a constituent (influent) or to a pollutant (effluent).
struct ConverterPoint {
    int32_t target;       ///< influent: constituent, 0 to 5; effluent: pollutant
    int32_t sourceKind;   ///< ConverterSource
    int32_t sourceIndex;  ///< influent: pollutant; effluent: component of the plant model, 0 to 18; -1 of a constant
    double constant;      ///< mg/L, of a constant
    double factor;        ///< multiplies an influent's contribution; has no effect on an effluent's
    int32_t operation;    ///< ConverterOperation
    ConverterPoint* next;
};

struct Converter {
    const char* name;
    int32_t type;            ///< ConverterType; influent until its line is read
    ConverterPoint* points;  ///< in file order
    ConverterPoint* lastPoint;
};

/// A line of [CONVERTERS]. An error index, or 0.
[[nodiscard]] int32_t converter_readLine(Model& model, const Tokens& tokens);

/// Tests that everything has a contribution; writes what is missing to the report.
void converter_validate(Model& model, int32_t converter);

/// Whether a point can be used on the way into a plant, or out of it. Nothing ties the type of a converter to the line
/// that names it, so its numbers may mean something else there.
[[nodiscard]] bool converter_isInfluentPoint(const Model& model, const ConverterPoint& point);
[[nodiscard]] bool converter_isEffluentPoint(const Model& model, const ConverterPoint& point);

/// Puts an amount to a total: added, or taken off, when nothing below 0 is left.
void converter_addAmount(const ConverterPoint& point, double amount, double& total);

/// Adds what a flow (m3/s) with its loads (kg/s) brings to the constituents (g/s).
void converter_applyInfluent(const Model& model, int32_t converter, double flow, const double* loads,
                             double* constituents);
