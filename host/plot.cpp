// Draws results with gnuplot. Data, script and picture stand in a folder of our own; no text of the user becomes part
// of a command: names stand in the script as literals only, and the picture is copied to its place by ourselves.

#include "plot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "files.h"
#include "resultfile.h"
#include "status.h"

namespace {

constexpr double UNIX_EPOCH = 25569.0;  ///< 1 January 1970, days since 30 December 1899

struct Line {
    std::string title;
    std::string unit;
    ResultSeries series;
};

/// A literal of the script. Nothing is special between apostrophes but the apostrophe itself.
std::string quoteLiteral(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        quoted += byte < 32 || byte == 127 ? ' ' : c;
        quoted += c == '\'' ? "'" : "";
    }
    return quoted + "'";
}

Line readLine(const ResultFile& file, const std::string& object, const std::string& column) {
    const ResultChoice choice = result_findColumn(file, object, column);
    const ResultTable& table = file.tables[choice.table];
    return {table.objects[choice.object], table.columns[choice.column].unit, result_readSeries(file, choice, {})};
}

/// Rain on the first subcatchment that is plotted, to hang from the top; none if the lines are of rain themselves.
bool findRain(const ResultFile& file, const PlotRequest& request, Line& rain) {
    for (const std::string& object : request.objects) {
        const ResultChoice choice = result_findColumn(file, object, request.column);
        const ResultTable& table = file.tables[choice.table];
        if (table.name == "Subcatchment" && table.columns[choice.column].name != "Rainfall") {
            rain = readLine(file, "Subcatchment:" + table.objects[choice.object], "Rainfall");
            return true;
        }
    }
    return false;
}

bool writeSeries(const std::string& name, const ResultSeries& series) {
    std::ofstream stream(name, std::ios::binary);
    for (size_t k = 0; k < series.values.size(); ++k) {
        char text[96];
        std::snprintf(text, sizeof text, "%.0f %.9g\n", std::floor((series.dates[k] - UNIX_EPOCH) * 86400.0 + 0.5),
                      series.values[k]);
        stream << (std::isfinite(series.values[k]) ? text : "\n");  // a gap in the line
    }
    stream.close();
    return !stream.fail();
}

std::string getLabel(const PlotRequest& request, const std::vector<Line>& lines) {
    for (const Line& line : lines) {
        if (line.unit != lines[0].unit || line.unit.empty()) {
            return request.column;
        }
    }
    return request.column + " (" + lines[0].unit + ')';
}

bool hasMixedUnits(const std::vector<Line>& lines) {
    for (const Line& line : lines) {
        if (line.unit != lines[0].unit) {
            return true;
        }
    }
    return false;
}

double getMaximum(const ResultSeries& series) {
    double maximum = 0.0;
    for (const double value : series.values) {
        maximum = std::isfinite(value) && value > maximum ? value : maximum;
    }
    return maximum;
}

std::string makeScript(const PlotRequest& request, const std::vector<Line>& lines, const Line* rain,
                       int32_t reportStep) {
    std::string script =
        "set terminal svg size 960,480 enhanced font 'sans,12' background '#ffffff'\n"
        "set output 'plot.svg'\n"
        "set xdata time\nset timefmt '%s'\nset format x \"%Y-%m-%d\\n%H:%M\"\n"
        "set xlabel 'Date' noenhanced\nset grid\nset key outside bottom center horizontal noenhanced\n"
        "set border 3\nset tics nomirror\nset datafile missing 'nan'\n"
        "set rmargin 9\n";  // room for half of the last date, and for the axis of the rain
    script += "set ylabel " + quoteLiteral(getLabel(request, lines)) + " noenhanced\n";
    if (rain) {
        // Bars take the upper part of the picture: the axis goes downward, to three times the highest bar.
        const double highest = getMaximum(rain->series);
        char range[64];
        std::snprintf(range, sizeof range, "set y2range [%.6g:0]\n", highest > 0.0 ? 3.0 * highest : 1.0);
        script += "set border 11\nset y2tics\nset y2label 'Rainfall (mm/h)' noenhanced\n";
        script += range;
        script += "set style fill solid 0.5 noborder\nset boxwidth " + std::to_string(reportStep) + " absolute\n";
    }
    script += "plot ";
    if (rain) {
        script += "'rain.dat' using 1:2 axes x1y2 with boxes linecolor '#7fa8d9' title " +
                  quoteLiteral("Rainfall " + rain->title) + ", ";
    }
    for (size_t k = 0; k < lines.size(); ++k) {
        const std::string unit = hasMixedUnits(lines) ? " (" + lines[k].unit + ')' : "";
        script += (k > 0 ? ", " : "") + ("'line" + std::to_string(k)) +
                  ".dat' using 1:2 with lines linewidth 2 linetype " + std::to_string(k + 1) + " title " +
                  quoteLiteral(lines[k].title + unit);
    }
    return script + '\n';
}

/// Runs gnuplot on the script in a folder. False if there is no gnuplot, or if it fails.
bool runGnuplot(const std::string& folder) {
    const std::string message = folder + "/message";
    std::string program = "gnuplot", script = "plot.gp";
    char* arguments[] = {program.data(), script.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, message.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t child = 0;
    const int failure = posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        std::fprintf(stderr, "tarnvelde: cannot start gnuplot; it is in the package gnuplot-nox\n");
        return false;
    }
    int state = 0;
    waitpid(child, &state, 0);
    if (WIFEXITED(state) && WEXITSTATUS(state) == 0 && files_exists(folder + "/plot.svg")) {
        return true;
    }
    std::ifstream stream(message);
    std::string line, all;
    while (std::getline(stream, line)) {
        all += line + '\n';
    }
    std::fprintf(stderr, "tarnvelde: gnuplot failed\n%s", all.c_str());
    return false;
}

int draw(const PlotRequest& request, const std::string& folder) {
    ResultFile file;
    result_open(file, request.file);
    if (file.periods == 0) {
        throw ResultError(file.name + " holds no report");
    }
    std::vector<Line> lines;
    for (const std::string& object : request.objects) {
        lines.push_back(readLine(file, object, request.column));
    }
    Line rain;
    const bool hasRain = findRain(file, request, rain);
    bool isWritten = !hasRain || writeSeries(folder + "/rain.dat", rain.series);
    for (size_t k = 0; k < lines.size(); ++k) {
        isWritten = isWritten && writeSeries(folder + "/line" + std::to_string(k) + ".dat", lines[k].series);
    }
    std::ofstream script(folder + "/plot.gp", std::ios::binary);
    script << makeScript(request, lines, hasRain ? &rain : nullptr, file.reportStep);
    script.close();
    if (!isWritten || script.fail()) {
        throw ResultError("cannot write to " + folder);
    }
    if (!runGnuplot(folder)) {
        return EXIT_ENGINE_ERROR;
    }
    std::error_code error;
    std::filesystem::copy_file(folder + "/plot.svg", request.output, std::filesystem::copy_options::overwrite_existing,
                               error);
    if (error) {
        throw ResultError("cannot write " + request.output + ": " + error.message());
    }
    return EXIT_DONE;
}

}  // namespace

int plot_execute(const PlotRequest& request) {
    if (files_isSame(request.file, request.output)) {
        std::fprintf(stderr, "tarnvelde: the picture would take the place of the results\n");
        return EXIT_WRONG_USAGE;
    }
    const std::string folder = files_makeTemporaryFolder();
    if (folder.empty()) {
        std::fprintf(stderr, "tarnvelde: cannot make a temporary folder\n");
        return EXIT_ENGINE_ERROR;
    }
    int status = EXIT_ENGINE_ERROR;
    try {
        status = draw(request, folder);
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", error.what());
    }
    files_removeFolder(folder);
    return status;
}
