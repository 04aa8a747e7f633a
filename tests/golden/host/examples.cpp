// The examples, as they stand in their folders.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "host.h"

namespace fs = std::filesystem;

namespace {

std::string read(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

/// The whole day of the example takes long enough in one run.
void script_runOnce(Host& host) {
    CALL(run, "model.inp", "model.rpt", "model.bin");
}

void add(std::vector<Case>& cases, const fs::path& folder, const char* example, const char* project,
         void (*script)(Host&)) {
    Case made{std::string("example-") + example, {{"model.inp", read(folder / example / project)}}, script};
    std::vector<fs::path> others;
    for (const auto& entry : fs::directory_iterator(folder / example)) {
        const std::string extension = entry.path().extension().string();
        if (entry.path().filename() != project && (extension == ".inp" || extension == ".sti" || extension == ".dat")) {
            others.push_back(entry.path());
        }
    }
    std::sort(others.begin(), others.end());
    for (const fs::path& other : others) {
        made.files.push_back({other.filename().string(), read(other)});
    }
    cases.push_back(made);
}

}  // namespace

void cases_addExamples(std::vector<Case>& cases, const std::string& examples) {
    add(cases, examples, "coupled", "coupled.inp", script_runCoupled);
    add(cases, examples, "first-storm", "first-storm.inp", script_runOnce);
    add(cases, examples, "green-street", "green-street.inp", script_runOnce);
    add(cases, examples, "host-c", "controller.inp", script_runBoth);
    add(cases, examples, "host-cpp", "scan.inp", script_runBoth);
    add(cases, examples, "interceptor", "interceptor.inp", script_runBoth);
    add(cases, examples, "storm-tank", "storm-tank.inp", script_runBoth);
    add(cases, examples, "wetland-control", "wetland-control.inp", script_runOnce);
}
