#pragma once
// `tarnvelde export`: results in the forms of other programs. Series go into tables divided by commas and into netCDF,
// the network with its totals into GeoJSON and GeoPackages.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "aside.h"
#include "handle.h"
#include "resultfile.h"

enum class ExportForm { NONE, CSV, NETCDF, GEOJSON, GEOPACKAGE };

struct ExportRequest {
    std::string file;
    std::string output;  ///< a file, whose form is that of its name, or a folder for tables
    std::string model;   ///< the project of the results; empty for none
    std::vector<std::string> objects, tables, columns;
    std::string from, to;  ///< dates; empty: from the start on, to the end
    bool isLong = false;   ///< one list in place of a table for each class
    EngineFolders engines;
};

/// The form of an output by its name; CSV for a folder.
[[nodiscard]] ExportForm export_getForm(const std::string& name);

/// Gives the exit status.
int export_execute(const ExportRequest& request);

// --- parts of it ---------------------------------------------------------------------------------------------------

/// What is exported.
struct ExportWork {
    const ResultFile& file;
    const ExportRequest& request;
    std::vector<ResultPart> parts;
    ResultWindow window;
};

/// A text that is written aside.
struct ExportText {
    AsideFile aside;
    std::FILE* stream = nullptr;

    ExportText() = default;
    ~ExportText();
    ExportText(ExportText&& other) noexcept;
    ExportText(const ExportText&) = delete;
    ExportText& operator=(const ExportText&) = delete;
};

/// Throws ResultError if it can't be written, as do those below.
[[nodiscard]] ExportText export_beginText(const std::string& name);
void export_closeText(ExportText& text);  ///< its bytes are all there
void export_placeText(ExportText& text);  ///< and in place

/// Throws ResultError with the message, if there is one.
void export_refuse(const std::string& failure);

/// Tells something on standard error.
void export_tell(const std::string& message);

/// Seconds since 30 December 1899, to the nearest one. Throws ResultError for a date that can't be.
[[nodiscard]] int64_t export_getTime(const ResultFile& file, double date);

void exportcsv_write(const ExportWork& work);
void exportnetcdf_write(const ExportWork& work);
void exportmap_write(const ExportWork& work);
