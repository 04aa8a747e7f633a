// The page of a run, or of two beside each other.

#include "page.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "aside.h"
#include "characters.h"
#include "files.h"
#include "interrupt.h"
#include "messages.h"
#include "pagetemplate.h"
#include "resultfile.h"
#include "status.h"

namespace {

constexpr double BYTES_PER_MB = 1e6;

int refuse(const std::string& text) {
    std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(text).c_str());
    return EXIT_WRONG_USAGE;
}

/// Whether the page may take the place of what stands there: of nothing, or of an earlier page. A project that isn't
/// run can't be asked which files it reads.
bool isFreeForPage(const std::string& name) {
    static constexpr std::string_view MARK = "id=\"tarnvelde-data\"";
    if (!files_exists(name)) {
        return true;
    }
    std::ifstream stream(name, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    return bytes.empty() || bytes.find(MARK) != std::string::npos;
}

/// A file that the page would take the place of, or that would be lost on its way; empty if there is none.
std::string findLostFile(const PageRequest& request) {
    std::vector<std::string> inputs{request.input, request.compare, request.model, request.templateFile};
    for (const std::string& results : {request.input, request.compare}) {
        for (const char* beside : {".run", "-journal", "-wal"}) {  // the identity of a run, and parts of a database
            inputs.push_back(results.empty() ? "" : results + beside);
        }
    }
    for (const std::string& input : inputs) {
        if (!input.empty() &&
            (files_isSame(input, request.output) || files_isSame(input, aside_getName(request.output)))) {
            return input;
        }
    }
    return {};
}

/// The page without its data. False, with a message, if there is none.
bool readTemplate(const PageRequest& request, std::string& page) {
    page = pagetemplate_getBuiltIn();
    if (!request.templateFile.empty()) {
        if (!files_isRegular(request.templateFile)) {  // a pipe would wait for a writer
            refuse("cannot read the page " + request.templateFile);
            return false;
        }
        std::ifstream stream(request.templateFile, std::ios::binary);
        page.assign(std::istreambuf_iterator<char>(stream), {});
        if (!stream.is_open() || stream.bad()) {
            refuse("cannot read the page " + request.templateFile);
            return false;
        }
    } else if (page.empty()) {
        refuse(
            "this program was built without the page: scripts/build-page.sh makes it, then build again; "
            "or give one of your own with --template");
        return false;
    }
    std::string tried = page;
    if (!pagetemplate_fill(tried, "", "")) {
        refuse("the page " + (request.templateFile.empty() ? "that is built in" : request.templateFile) +
               " must have each of the marks <!--TITLE--> and <!--DATA--> once");
        return false;
    }
    return true;
}

PageEnd readInput(const PageRequest& request, const std::string& input, uint64_t most, PageRun& run) {
    return result_isOne(input) ? pageresults_read(request, input, most, run) : pagemodel_run(request, input, most, run);
}

int writePage(const PageRequest& request, std::string page, const std::vector<PageRun>& runs) {
    const std::string name = characters_toUtf8(files_toPath(request.input).stem().string());
    const std::string title = request.title.empty() ? name : characters_toUtf8(request.title);
    (void)pagetemplate_fill(page, title, pagedata_write(title, runs));  // has its marks, as was tried
    if (const std::string failure = aside_write(request.output, page); !failure.empty()) {
        throw ResultError(failure);
    }
    if (!request.isQuiet) {
        std::printf("  Page:    %s\n", messages_makePrintable(request.output).c_str());
    }
    return EXIT_DONE;
}

/// Two files of one name are told apart by the folders that they stand in.
void tellApart(std::vector<PageRun>& runs, const std::vector<std::string>& inputs) {
    if (runs.size() < 2 || runs[0].name != runs[1].name) {
        return;
    }
    std::vector<std::string> folders;
    for (const std::string& input : inputs) {
        folders.push_back(files_toPath(input).parent_path().filename().string());
    }
    if (folders[0] != folders[1]) {
        for (size_t k = 0; k < runs.size(); ++k) {
            runs[k].name = (folders[k].empty() ? "." : folders[k]) + '/' + runs[k].name;
        }
    }
}

int work(const PageRequest& request, std::string page) {
    std::vector<std::string> inputs{request.input};
    if (!request.compare.empty()) {
        inputs.push_back(request.compare);
    }
    const auto most = static_cast<uint64_t>(request.dataLimit * BYTES_PER_MB / static_cast<double>(inputs.size()));
    std::vector<PageRun> runs;
    int status = EXIT_DONE;
    bool isTested = true;
    for (const std::string& input : inputs) {
        PageRun run{};
        const PageEnd end = readInput(request, input, most, run);
        status = status == EXIT_DONE ? end.status : status;
        isTested = isTested && end.isTested;
        if (!end.hasPage) {
            return status;
        }
        runs.push_back(std::move(run));
        if (interrupt_get() != 0) {
            break;
        }
    }
    if (!isTested && !isFreeForPage(request.output)) {
        throw ResultError(request.output + " is there and is no page; it stays, since the project may read it");
    }
    tellApart(runs, inputs);
    const int written = writePage(request, std::move(page), runs);
    return status == EXIT_DONE ? written : status;
}

}  // namespace

int page_execute(const PageRequest& asked) {
    PageRequest request = asked;
    if (request.output.empty()) {
        request.output = files_replaceExtension(request.input, ".html");
    }
    if (const std::string lost = findLostFile(request); !lost.empty()) {
        return refuse("the page would take the place of " + lost);
    }
    if (std::string page; readTemplate(request, page)) {
        interrupt_install();
        try {
            return work(request, std::move(page));
        } catch (const ResultError& error) {
            std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
            return EXIT_ENGINE_ERROR;
        }
    }
    return EXIT_ENGINE_ERROR;
}
