// Draws results with gnuplot. Data, script and picture stand in a folder of our own; no text of the user becomes part
// of a command, and the picture is brought to its place by ourselves.

#include "plot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string_view>

#include "aside.h"
#include "characters.h"
#include "files.h"
#include "plotscript.h"
#include "results.h"
#include "status.h"

namespace {

// --- what is drawn -------------------------------------------------------------------------------------------------

PlotLine readLine(const ResultFile& file, const ResultChoice& choice, const ResultWindow& window) {
    const ResultTable& table = file.tables[choice.table];
    return {characters_toUtf8(table.objects[choice.object]), table.columns[choice.column].unit,
            result_readSeries(file, choice, window)};
}

/// The name of the column, for people: that of a pipe's outflow is spelt wrongly in files.
std::string getTitle(const ResultFile& file, const ResultChoice& choice) {
    const std::string& name = file.tables[choice.table].columns[choice.column].name;
    return name == "Outfow" ? "Outflow" : characters_toUtf8(name);
}

/// Rain on the first subcatchment that is drawn, to hang from the top; none if the lines are of rain themselves.
void addRain(const ResultFile& file, const std::vector<ResultChoice>& choices, const ResultWindow& window,
             PlotPicture& picture) {
    for (const ResultChoice& choice : choices) {
        const ResultTable& table = file.tables[choice.table];
        const size_t rain = result_findColumnOf(table, "Rainfall");
        if (table.name == "Subcatchment" && rain != RESULT_NONE && choice.column != rain) {
            picture.hasRain = true;
            picture.rain = readLine(file, {choice.table, choice.object, rain}, window);
            return;
        }
    }
}

/// The axis begins at the start of the run or of the window, not at the first report. One report has room on both
/// sides.
void setAxis(const ResultFile& file, const ResultWindow& window, PlotPicture& picture) {
    const double step = picture.reportStep / 86400.0;
    double first = HUGE_VAL, last = -HUGE_VAL;
    for (const PlotLine& line : picture.lines) {
        for (const double date : line.series.dates) {
            first = std::min(first, date);
            last = std::max(last, date);
        }
    }
    picture.first = std::min(first, std::max(file.startDate, window.from));
    picture.last = last - first >= step / 2.0 ? last : last + step;
    if (!(std::fabs(picture.first) < RESULT_FARTHEST_DATE && std::fabs(picture.last) < RESULT_FARTHEST_DATE)) {
        throw ResultError(file.name + " is damaged: its dates can't be");
    }
}

PlotPicture readPicture(const PlotRequest& request, const ResultWindow& window) {
    ResultFile file;
    result_open(file, request.file);
    results_tellCut(file);
    if (file.periods == 0) {
        throw ResultError(file.name + " holds no report");
    }
    result_checkWindow(file, window);
    PlotPicture picture{};
    picture.form = picture_getForm(request.output);
    picture.reportStep = file.reportStep;
    std::vector<ResultChoice> choices;
    for (const std::string& object : request.objects) {
        choices.push_back(result_findColumn(file, object, request.column));
        picture.lines.push_back(readLine(file, choices.back(), window));
        if (picture.lines.back().series.values.empty()) {
            throw ResultError(file.name + " holds no report of " + object + " in this time");
        }
    }
    const bool hasNumber = std::any_of(picture.lines.begin(), picture.lines.end(), [](const PlotLine& line) {
        const std::vector<double>& values = line.series.values;
        return std::any_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
    });
    if (!hasNumber) {
        throw ResultError(file.name + " holds no number of " + request.column + " to draw");
    }
    picture.column = getTitle(file, choices[0]);
    addRain(file, choices, window, picture);
    setAxis(file, window, picture);
    return picture;
}

// --- drawing -------------------------------------------------------------------------------------------------------

constexpr size_t MESSAGE_SHOWN = 4096;  ///< bytes of what gnuplot says of a failure

bool writeSeries(const std::string& name, const ResultSeries& series, double first) {
    std::ofstream stream(name, std::ios::binary);
    for (size_t k = 0; k < series.values.size(); ++k) {
        char text[96];
        std::snprintf(text, sizeof text, "%.0f %.9g\n", std::floor((series.dates[k] - first) * 86400.0 + 0.5),
                      series.values[k]);
        stream << (std::isfinite(series.values[k]) ? text : "\n");  // a gap in the line
    }
    stream.close();
    return !stream.fail();
}

/// Runs gnuplot on the script in a folder. False if there is no gnuplot, or if it fails.
bool runGnuplot(const std::string& folder) {
    const std::string message = folder + "/message";
    std::string program = "gnuplot", plain = "-d", script = "plot.gp";  // without settings of the user
    char* arguments[] = {program.data(), plain.data(), script.data(), nullptr};
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
    if (WIFEXITED(state) && WEXITSTATUS(state) == 0 && files_exists(folder + "/picture")) {
        return true;
    }
    std::ifstream stream(message, std::ios::binary);
    std::string words(MESSAGE_SHOWN, '\0');
    words.resize(static_cast<size_t>(
        std::max<std::streamsize>(stream.read(words.data(), static_cast<std::streamsize>(words.size())).gcount(), 0)));
    const std::string signal = WIFSIGNALED(state) ? ": signal " + std::to_string(WTERMSIG(state)) : "";
    std::fprintf(stderr, "tarnvelde: gnuplot failed%s\n%s", signal.c_str(),
                 characters_makePrintableLines(words).c_str());
    return false;
}

/// Three characters that no text of XML may hold, and that gnuplot leaves as they are: it writes no section that they
/// could end.
void escapeSectionEnds(std::string& svg) {
    static constexpr std::string_view END = "]]>", ESCAPED = "]]&gt;";
    for (size_t at = svg.find(END); at != std::string::npos; at = svg.find(END, at)) {
        svg.replace(at, END.size(), ESCAPED);
    }
}

/// What a screen reader says of the picture, in place of what gnuplot says of itself.
std::string nameSvg(std::string svg, const PlotPicture& picture) {
    escapeSectionEnds(svg);
    std::string title = plotscript_getLabel(picture) + " of ";
    for (const PlotLine& line : picture.lines) {
        title += (&line == picture.lines.data() ? "" : ", ") + line.title;
    }
    const std::string time = result_formatDate(picture.first) + " to " + result_formatDate(picture.last);
    const size_t head = svg.find("<svg"), begin = svg.find("<title>"), end = svg.find("</desc>");
    if (head == std::string::npos || begin == std::string::npos || end == std::string::npos || begin > end) {
        return svg;
    }
    svg.replace(begin, end + std::string("</desc>").size() - begin,
                "<title id=\"title\">" + characters_escapeXml(title) +
                    "</title>\n<desc id=\"desc\">Lines over the time from " + time +
                    (picture.hasRain ? ", with the rain hanging from the top" : "") + "</desc>");
    return svg.insert(head + std::string("<svg").size(), " role=\"img\" aria-labelledby=\"title desc\"");
}

/// The folder that a picture is made in, which goes whatever happens: its files are known, so that none is left where
/// there is no memory to list them.
struct WorkFolder {
    const std::string name = files_makeTemporaryFolder();

    WorkFolder() = default;
    ~WorkFolder() {
        if (name.empty()) {
            return;
        }
        const int folder = open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (const char* file : {"plot.gp", "message", "picture", "rain.dat"}) {
            unlinkat(folder, file, 0);
        }
        char line[32] = "";
        for (size_t k = 0; k == 0 || unlinkat(folder, line, 0) == 0; ++k) {
            std::snprintf(line, sizeof line, "line%zu.dat", k);
        }
        close(folder);
        rmdir(name.c_str());
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
};

int draw(const PlotRequest& request, const ResultWindow& window, const std::string& folder) {
    const PlotPicture picture = readPicture(request, window);
    bool isWritten = !picture.hasRain || writeSeries(folder + "/rain.dat", picture.rain.series, picture.first);
    for (size_t k = 0; k < picture.lines.size(); ++k) {
        isWritten =
            writeSeries(folder + "/line" + std::to_string(k) + ".dat", picture.lines[k].series, picture.first) &&
            isWritten;
    }
    std::ofstream script(folder + "/plot.gp", std::ios::binary);
    script << plotscript_make(picture);
    script.close();
    if (!isWritten || script.fail()) {
        throw ResultError("cannot write to " + folder);
    }
    if (!runGnuplot(folder)) {
        return EXIT_ENGINE_ERROR;
    }
    std::ifstream stream(folder + "/picture", std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    if (!picture_isWhole(picture.form, bytes.str())) {
        throw ResultError("cannot write " + request.output + ": gnuplot couldn't write the picture to " + folder);
    }
    const std::string failure =
        aside_write(request.output, picture.form == PictureForm::SVG ? nameSvg(bytes.str(), picture) : bytes.str());
    if (!failure.empty()) {
        throw ResultError(failure);
    }
    return EXIT_DONE;
}

}  // namespace

int plot_execute(const PlotRequest& request) {
    ResultWindow window;
    if (!results_readWindow(request.from, request.to, &window)) {
        return EXIT_WRONG_USAGE;
    }
    if (files_isSame(request.file, request.output) || files_isSame(request.file, aside_getName(request.output))) {
        std::fprintf(stderr, "tarnvelde: the picture would take the place of the results\n");
        return EXIT_WRONG_USAGE;
    }
    const WorkFolder folder;
    if (folder.name.empty()) {
        std::fprintf(stderr, "tarnvelde: cannot make a temporary folder\n");
        return EXIT_ENGINE_ERROR;
    }
    try {
        return draw(request, window, folder.name);
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
        return EXIT_ENGINE_ERROR;
    }
}
