#pragma once
// Runs of projects in models of their own, and their states.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "api/run.h"
#include "model/model.h"
#include "project/state.h"
#include "project/statefields.h"
#include "support/generateall.h"
#include "support/sanitizer.h"
#include "support/tempfolder.h"

using StateBytes = std::vector<char>;

/// A project opened in a model of its own. Several may share a folder, by different names of their results.
struct ModelRun {
    std::string report, results;
    std::unique_ptr<Model> model = std::make_unique<Model>();

    ModelRun(const TempFolder& folder, const std::string& name, const std::string& input = "model.inp",
             const EngineLibraries& engines = {})
        : report(folder.file(name + ".rpt")), results(folder.file(name + ".bin")) {
        model->engines = engines;
        model->isSilent = true;
        EXPECT_EQ(run_open(*model, folder.file(input).c_str(), report.c_str(), results.c_str()), 0);
    }
    ~ModelRun() { run_close(*model); }
    ModelRun(const ModelRun&) = delete;
    ModelRun& operator=(const ModelRun&) = delete;

    void start(int32_t saveMode = 1) { ASSERT_EQ(run_start(*model, saveMode), 0) << readReport(); }

    /// Some steps; false once the run is over.
    bool step(int count = 1) {
        double elapsed = 1.0;
        for (int k = 0; k < count && elapsed > 0.0; ++k) {
            const int32_t code = run_step(*model, &elapsed);
            EXPECT_EQ(code, 0);
            elapsed = code ? 0.0 : elapsed;
        }
        return elapsed > 0.0;
    }
    int stepToEnd() {
        int steps = 1;
        while (step()) {
            ++steps;
        }
        return steps;
    }
    /// Ends a run whose steps are done, report and all.
    void finish() {
        EXPECT_EQ(run_report(*model), 0);
        EXPECT_EQ(run_end(*model), 0);
        std::fflush(model->files.report);
    }
    std::string readReport() const {
        std::fflush(model->files.report);
        return readFile(report);
    }

    StateBytes save() {
        StateBytes bytes(state_getSize(*model));
        state_save(*model, bytes.data());
        return bytes;
    }
    StateFault restore(const StateBytes& bytes) { return state_restore(*model, bytes.data(), bytes.size()); }
    StateFault hotStart(const StateBytes& bytes) { return state_hotStart(*model, bytes.data(), bytes.size()); }
};

/// A folder with a generated project.
struct GeneratedFolder : TempFolder {
    explicit GeneratedFolder(unsigned seed) : GeneratedFolder(generateProject(seed)) {}
    explicit GeneratedFolder(const std::string& text) {
        write("model.inp", text);
        write("series.txt", GeneratedSeriesFile);
        write("rain.txt", GeneratedSeriesFile);
    }
};

/// What a run leaves behind.
struct RunTrace {
    std::string report, results;
};

/// The difference of two states in words; empty if there is none.
inline std::string tellDifference(Model& model, const StateBytes& a, const StateBytes& b) {
    const StateDifference found = state_compare(model, a.data(), a.size(), b.data(), b.size());
    if (!found.isDifferent) {
        return "";
    }
    return found.fault ? "fault " + std::to_string(found.fault)
                       : std::string(found.table ? found.table : "the whole") + " " + std::to_string(found.row) + ": " +
                             found.field;
}
