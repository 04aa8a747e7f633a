// Values divided by commas: for each table a file of one row a report and one column for each value, or one list of all
// values. Both are written as the results are read, so they may be of any size.

#include <cmath>
#include <filesystem>

#include "characters.h"
#include "export.h"
#include "files.h"
#include "results.h"

namespace fs = std::filesystem;

namespace {

/// The file of a table: TABLE.csv in a folder, or NAME-TABLE.csv where NAME.csv is asked for.
std::string getName(const std::string& output, const std::string& table) {
    if (files_isFolder(output) || output.back() == '/') {
        return (files_toPath(output) / (table + ".csv")).string();
    }
    const fs::path path = files_toPath(output);
    return (path.parent_path() / (path.stem().string() + "-" + table + path.extension().string())).string();
}

/// None of the files may be one that is read, under whatever name.
void refuseInputs(const ExportRequest& request, const std::string& output) {
    for (const std::string& input : {request.file, request.model}) {
        if (!input.empty() && (files_isSame(input, output) || files_isSame(input, aside_getName(output)))) {
            throw ResultError(output + " would take the place of what is read");
        }
    }
}

void writeHead(std::FILE* stream, const ResultTable& table, const ResultPart& part) {
    std::fputs("Date", stream);
    for (const size_t object : part.objects) {
        for (const size_t column : part.columns) {
            const std::string title = table.objects[object] + ':' + results_addUnit(table.columns[column]);
            std::fprintf(stream, ",%s", characters_quoteCsv(title).c_str());
        }
    }
    std::fputc('\n', stream);
}

/// A row of a table: a report.
struct WideRow {
    int64_t time = 0;
    bool isThere = false;
    size_t object = 0;           ///< the last one, of the part's
    std::vector<double> values;  ///< object by object; NaN where there is none
};

void writeRow(std::FILE* stream, WideRow& row) {
    if (!row.isThere) {
        return;
    }
    std::fputs(result_formatDate(static_cast<double>(row.time) / 86400.0).c_str(), stream);
    for (double& value : row.values) {
        std::fprintf(stream, ",%s", results_formatNumber(value, "").c_str());
        value = std::nan("");
    }
    std::fputc('\n', stream);
    row.isThere = false;
}

void writeTable(const ExportWork& work, const ResultPart& part, std::FILE* stream) {
    writeHead(stream, work.file.tables[part.table], part);
    const size_t columns = part.columns.size();
    WideRow row;
    row.values.assign(part.objects.size() * columns, std::nan(""));
    ResultRows rows(work.file, part, work.window);
    while (std::ferror(stream) == 0 && result_nextRow(rows)) {
        const int64_t time = export_getTime(work.file, rows.date);
        if (row.isThere && (time != row.time || rows.object <= row.object)) {
            writeRow(stream, row);
        }
        row.time = time;
        row.isThere = true;
        row.object = rows.object;
        for (size_t k = 0; k < columns; ++k) {
            row.values[rows.object * columns + k] = rows.values[k];
        }
    }
    writeRow(stream, row);
}

/// All files are whole before the first of them is put in place.
void writeTables(const ExportWork& work) {
    std::vector<ExportText> texts;
    const std::string& output = work.request.output;
    if (files_endsAsFolder(output) && !files_isFolder(output)) {
        std::error_code error;
        fs::create_directories(files_toPath(output), error);
        export_refuse(error ? "cannot make the folder " + output + ": " + error.message() : "");
    }
    for (const ResultPart& part : work.parts) {
        const std::string name = getName(output, work.file.tables[part.table].name);
        refuseInputs(work.request, name);
        texts.push_back(export_beginText(name));
        writeTable(work, part, texts.back().stream);
        export_closeText(texts.back());
    }
    for (ExportText& text : texts) {
        export_placeText(text);
    }
}

void writeList(const ExportWork& work) {
    ExportText text = export_beginText(work.request.output);
    std::fputs("Date,Table,Object,Column,Unit,Value\n", text.stream);
    for (const ResultPart& part : work.parts) {
        const ResultTable& table = work.file.tables[part.table];
        std::vector<std::string> titles, names;  // quoted once, and not anew in each row
        for (const size_t column : part.columns) {
            titles.push_back(characters_quoteCsv(table.columns[column].name) + ',' +
                             characters_quoteCsv(table.columns[column].unit));
        }
        for (const size_t object : part.objects) {
            names.push_back(characters_quoteCsv(table.name) + ',' + characters_quoteCsv(table.objects[object]));
        }
        ResultRows rows(work.file, part, work.window);
        while (std::ferror(text.stream) == 0 && result_nextRow(rows)) {
            const std::string begin = result_formatDate(rows.date) + ',' + names[rows.object] + ',';
            for (size_t k = 0; k < titles.size(); ++k) {
                std::fprintf(text.stream, "%s%s,%s\n", begin.c_str(), titles[k].c_str(),
                             results_formatNumber(rows.values[k], "").c_str());
            }
        }
    }
    export_closeText(text);
    export_placeText(text);
}

}  // namespace

void exportcsv_write(const ExportWork& work) {
    if (work.request.isLong) {
        writeList(work);
    } else {
        writeTables(work);
    }
}
