// Data, script and picture stand in a folder of our own; no text of the user becomes part of a command.

#include "plotdrawing.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "aside.h"
#include "characters.h"
#include "files.h"
#include "resultfile.h"
#include "status.h"

namespace {

constexpr size_t MESSAGE_SHOWN = 4096;  ///< bytes of what gnuplot says of a failure

/// Tells what gnuplot says of its failure. False, as for a picture that isn't there.
bool tellFailure(const std::string& message, const std::string& signal) {
    std::ifstream stream(message, std::ios::binary);
    std::string words(MESSAGE_SHOWN, '\0');
    words.resize(static_cast<size_t>(
        std::max<std::streamsize>(stream.read(words.data(), static_cast<std::streamsize>(words.size())).gcount(), 0)));
    std::fprintf(stderr, "tarnvelde: gnuplot failed%s\n%s", signal.c_str(),
                 characters_makePrintableLines(words).c_str());
    return false;
}

#if defined(_WIN32)

/// Opens a file that the other program inherits.
HANDLE openForChild(const std::string& name) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return CreateFileW(files_toPath(name).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       &inherited, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// Runs gnuplot on the script in a folder. False if there is no gnuplot, or if it fails.
bool runGnuplot(const std::string& folder) {
    const std::string message = folder + "/message";
    std::wstring words = L"gnuplot -d plot.gp";  // without settings of the user
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = start.hStdOutput = openForChild("NUL");
    start.hStdError = openForChild(message);
    PROCESS_INFORMATION child{};
    const BOOL isStarted = CreateProcessW(nullptr, words.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                                          files_toPath(folder).c_str(), &start, &child);
    CloseHandle(start.hStdOutput);
    CloseHandle(start.hStdError);
    if (isStarted == 0) {
        std::fprintf(stderr, "tarnvelde: cannot start gnuplot; it must be installed, and its folder stand in PATH\n");
        return false;
    }
    DWORD status = 1;
    WaitForSingleObject(child.hProcess, INFINITE);
    GetExitCodeProcess(child.hProcess, &status);
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
    return (status == 0 && files_exists(folder + "/picture")) || tellFailure(message, "");
}

#else

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
    return tellFailure(message, WIFSIGNALED(state) ? ": signal " + std::to_string(WTERMSIG(state)) : "");
}

#endif

/// Three characters that no text of XML may hold, and that gnuplot leaves as they are: it writes no section that they
/// could end.
void escapeSectionEnds(std::string& svg) {
    static constexpr std::string_view END = "]]>", ESCAPED = "]]&gt;";
    for (size_t at = svg.find(END); at != std::string::npos; at = svg.find(END, at)) {
        svg.replace(at, END.size(), ESCAPED);
    }
}

/// What a screen reader says of the picture, in place of what gnuplot says of itself.
std::string nameSvg(std::string svg, const PlotDrawing& drawing) {
    escapeSectionEnds(svg);
    const size_t head = svg.find("<svg"), begin = svg.find("<title>"), end = svg.find("</desc>");
    if (head == std::string::npos || begin == std::string::npos || end == std::string::npos || begin > end) {
        return svg;
    }
    svg.replace(begin, end + std::string("</desc>").size() - begin,
                "<title id=\"title\">" + characters_escapeXml(drawing.title) + "</title>\n<desc id=\"desc\">" +
                    characters_escapeXml(drawing.description) + "</desc>");
    return svg.insert(head + std::string("<svg").size(), " role=\"img\" aria-labelledby=\"title desc\"");
}

/// The folder that a picture is made in, which goes whatever happens: its files are known, so that none is left where
/// there is no memory to list them.
struct WorkFolder {
    const std::string name = files_makeTemporaryFolder();
    const size_t lines;  ///< of which each has a file, or none

    explicit WorkFolder(size_t lineCount) : lines(lineCount) {}
#if defined(_WIN32)
    ~WorkFolder() {
        std::error_code error;
        std::filesystem::remove_all(files_toPath(name), error);
    }
#else
    ~WorkFolder() {
        if (name.empty()) {
            return;
        }
        const int folder = open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (const char* file : {"plot.gp", "message", "picture", "rain.dat"}) {
            unlinkat(folder, file, 0);
        }
        for (size_t k = 0; k < lines; ++k) {
            std::array<char, 32> line{};
            std::snprintf(line.data(), line.size(), "line%zu.dat", k);
            unlinkat(folder, line.data(), 0);
        }
        close(folder);
        rmdir(name.c_str());
    }
#endif
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
};

/// False if it can't be written.
bool writeFile(const std::string& name, const std::string& text) {
    std::ofstream stream(name, std::ios::binary);
    stream << text;
    stream.close();
    return !stream.fail();
}

bool writeFiles(const PlotDrawing& drawing, const std::string& folder) {
    bool isWritten = drawing.rain.empty() || writeFile(folder + "/rain.dat", drawing.rain);
    for (size_t k = 0; k < drawing.lines.size(); ++k) {
        isWritten = writeFile(folder + "/line" + std::to_string(k) + ".dat", drawing.lines[k]) && isWritten;
    }
    return writeFile(folder + "/plot.gp", drawing.script) && isWritten;
}

}  // namespace

int plotdrawing_put(const PlotDrawing& drawing, const std::string& output) {
    const WorkFolder folder(drawing.lines.size());
    if (folder.name.empty()) {
        std::fprintf(stderr, "tarnvelde: cannot make a temporary folder\n");
        return EXIT_ENGINE_ERROR;
    }
    if (!writeFiles(drawing, folder.name)) {
        throw ResultError("cannot write to " + folder.name);
    }
    if (!runGnuplot(folder.name)) {
        return EXIT_ENGINE_ERROR;
    }
    std::ifstream stream(folder.name + "/picture", std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    if (!picture_isWhole(drawing.form, bytes.str())) {
        throw ResultError("cannot write " + output + ": gnuplot couldn't write the picture to " + folder.name);
    }
    const std::string failure =
        aside_write(output, drawing.form == PictureForm::SVG ? nameSvg(bytes.str(), drawing) : bytes.str());
    if (!failure.empty()) {
        throw ResultError(failure);
    }
    return EXIT_DONE;
}
