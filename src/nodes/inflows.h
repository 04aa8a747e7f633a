#pragma once
// Direct inflows of a node: external ones, dry-weather flow, and what the host pushes in for one step.

#include <cstdint>

#include "text/datetime.h"
#include "text/tokens.h"

struct Model;
struct Node;

enum InflowKind : int32_t { INFLOW_FLOW, INFLOW_CONCEN, INFLOW_MASS };

/// A constant plus a scaled time series.
struct ExtInflow {
    int32_t kind;       ///< InflowKind
    int32_t pollutant;  ///< -1 for a flow
    double baseline;    ///< m3/s, mg/L or kg/s, by kind
    int32_t series;     ///< time series, or -1
    double scale;       ///< factor on the series
    ExtInflow* next;
};

/// A mean value with an hourly pattern.
struct DwfInflow {
    int32_t pollutant;  ///< -1 for the flow
    int32_t pattern;    ///< or -1
    double average;     ///< m3/s, or mg/L for a pollutant
    DwfInflow* next;
};

/// A node with dry-weather inflows, and its record of the flow, which mostly is the last of its list.
struct DryWeatherNode {
    int32_t node;
    bool isRolledHere;      ///< nothing else comes to the node ahead of its visit, so it rolls when this flow comes
    const DwfInflow* flow;  ///< or null
};

/// A line of [INFLOWS] or [DWFS]. An error index, or 0.
[[nodiscard]] int32_t inflows_readExternal(Model& model, const Tokens& tokens);
[[nodiscard]] int32_t inflows_readDryWeather(Model& model, const Tokens& tokens);

/// Tests the patterns of a node's dry-weather inflows; writes what is wrong to the report.
void inflows_validateDryWeather(Model& model, int32_t node);

/// Puts the external inflows of a node to time zero.
void inflows_rewind(Model& model, const Node& node);

/// Lists the nodes with inflows for a run.
void inflows_openRun(Model& model);

/// Adds the external inflows at a date, and the host's, to flow and load of their nodes; the host's are used up.
void inflows_applyExternal(Model& model, DateTime date);

/// Adds the dry-weather inflows at a date to flow and load of their nodes, and rolls those of which that is known.
void inflows_applyDryWeather(Model& model, DateTime date);

/// Value of a dry-weather record in an hour of the day: m3/s or mg/L.
[[nodiscard]] double inflows_dryWeatherValue(const Model& model, const DwfInflow& record, int32_t hour);

/// The first record of a list with this pollutant (-1: the flow), or null.
[[nodiscard]] const DwfInflow* inflows_findDryWeather(const DwfInflow* list, int32_t pollutant);
