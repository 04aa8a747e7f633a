#pragma once
// What gnuplot would get to draw.

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/program.h"
#include "support/tempfolder.h"

/// A picture that a program in place of gnuplot has looked at and not drawn.
struct PlotSpy {
    ProcessResult result{};
    std::map<std::string, std::string> files{};  ///< script and data

    [[nodiscard]] std::string getScript() const { return get("plot.gp"); }
    [[nodiscard]] std::string get(const std::string& name) const {
        const auto file = files.find(name);
        return file == files.end() ? "" : file->second;
    }
    /// The rows of a file of data as numbers. A blank line is a row without any.
    [[nodiscard]] std::vector<std::vector<double>> getRows(const std::string& name) const {
        std::vector<std::vector<double>> rows;
        std::istringstream text(get(name));
        for (std::string line; std::getline(text, line);) {
            rows.emplace_back();
            std::istringstream words(line);
            for (std::string word; words >> word;) {
                rows.back().push_back(std::stod(word));
            }
        }
        return rows;
    }
};

/// Calls `tarnvelde plot` with these arguments and a picture beside them.
inline PlotSpy spyPlot(const TempFolder& folder, std::vector<std::string> arguments) {
    namespace fs = std::filesystem;
    const fs::path seen = folder.path / "seen", programs = folder.path / "programs";
    fs::remove_all(seen);
    fs::create_directories(seen);
    fs::create_directories(programs);
    const std::string program = folder.write("programs/gnuplot", "#!/bin/sh\ncp ./*.dat plot.gp \"$SEEN\"\nexit 1\n");
    fs::permissions(program, fs::perms(0755));
    arguments.insert(arguments.begin(), {"env", "PATH=" + programs.string() + ":/usr/bin:/bin", "SEEN=" + seen.string(),
                                         TARNVELDE_PROGRAM, "plot"});
    arguments.insert(arguments.end(), {"-o", folder.file("spied.svg")});
    PlotSpy spy{process_run(arguments)};
    for (const auto& entry : fs::directory_iterator(seen)) {
        spy.files[entry.path().filename().string()] = readFile(entry.path());
    }
    return spy;
}

/// The lines of a text, each at its commas.
inline std::vector<std::vector<std::string>> splitRows(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        rows.emplace_back();
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');) {
            rows.back().push_back(cell);
        }
    }
    return rows;
}
