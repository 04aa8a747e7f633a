#pragma once
// `tarnvelde stats`: how often, how long and how much flows at some objects of a file of results, and with which load.

#include <cstdio>
#include <string>
#include <vector>

#include "results.h"
#include "statssummary.h"

struct StatsRequest {
    std::string file;
    std::vector<std::string> objects;
    std::vector<std::string> tables;  ///< without objects and tables: outfalls, pumps, weirs and orifices
    std::string column;               ///< a flow; empty: that which carries the water of a table
    double gap = 6.0;                 ///< h without flow that end an event
    double threshold = 0.0;           ///< m3/s
    std::string from, to;             ///< dates; empty: from the start on, to the end
    bool hasEvents = false;
    bool hasCurve = false;
    SeriesForm form = SeriesForm::TABLE;
};

/// Gives the exit status.
int stats_execute(const StatsRequest& request);

// --- parts of it ---------------------------------------------------------------------------------------------------

/// Objects of a table. The columns are the flow and, behind it, the concentrations that it carries.
struct StatsPart {
    ResultPart part;
    bool hasOthers = false;            ///< the table has concentrations, but this flow doesn't carry them
    std::vector<size_t> pollutants{};  ///< by those of all parts: its place here, or RESULT_NONE
};

/// What the request asks for, table by table in the order of the file. Throws ResultError.
std::vector<StatsPart> stats_choose(const ResultFile& file, const StatsRequest& request);

/// What was found of an object.
struct StatsFound {
    const ResultTable& table;
    const std::string& object;
    const StatsPart& part;
    const StatsSummary& summary;
    const std::vector<StatsEvent>& events;  ///< none if they weren't asked for
};

/// What is shown, and what has to be told at its end.
struct StatsShow {
    const ResultFile& file;
    const StatsRequest& request;
    std::vector<std::string> pollutants{};  ///< of all parts
    bool isOfSteps = false;                 ///< rows are routing steps; there are no percentiles
    std::FILE* out = stdout;                ///< of CSV and JSON
    size_t count = 0;                       ///< objects so far
    bool isShort = false;                   ///< some record is shorter than a year
    int64_t missing = 0, negative = 0;      ///< rows of flow
    int64_t missingLoads = 0;               ///< concentrations
    bool hasOthers = false;
};

/// Seconds since 30 December 1899 as a date.
std::string stats_formatTime(int64_t time);

double stats_getHours(int64_t seconds);

/// Pollutants of all parts in the order of their first mention. Each part gets to know the places of all in its own.
std::vector<std::string> stats_listPollutants(const ResultFile& file, std::vector<StatsPart>& parts);

void statstable_begin(const StatsShow& show);
void statstable_show(const StatsShow& show, const StatsFound& found);
void statstable_end(const StatsShow& show);

void statscsv_begin(const StatsShow& show);
void statscsv_show(const StatsShow& show, const StatsFound& found);

void statsjson_begin(const StatsShow& show);
void statsjson_show(const StatsShow& show, const StatsFound& found);

/// `error` is empty if all could be read: what a program gets is JSON anyway.
void statsjson_end(const StatsShow& show, const std::string& error);
