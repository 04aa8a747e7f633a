#pragma once
// Projects inside nodes of one another, in a folder of their own.

#include <string>
#include <vector>

#include "support/tempfolder.h"
#include "support/tvmodel.h"

constexpr double NESTED_STEP = 60.0;  ///< s, of all the projects here
constexpr int NESTED_STEPS = 120;

/// Two hours of steps of a minute.
inline const std::string NestedGeneral =
    "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 02:00\nROUTING_STEP 0:01:00\n"
    "RUNOFF_STEP 0:05:00\nREPORT_STEP 0:15:00\nREPORT_AVERAGE NO\n";

/// A district: what enters at IN, and a spring of its own of m3/s with COD of mg/L, reaches OUT in the same step.
inline std::string getDistrict(double spring, double cod) {
    return NestedGeneral + "[POLLUTANTS]\nCOD 0\n[JUNCTIONS]\nIN\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nC IN OUT NO 0\n" +
           "[INFLOWS]\nIN FLOW FLOW " + std::to_string(spring) + " \"\" 1\nIN CONCEN COD " + std::to_string(cod) +
           " \"\" 1\n";
}

/// A project whose node NAME holds another project: what enters at IN goes into it at IN, what comes out at OUT reaches
/// the outfall OUT.
inline std::string getAround(const std::string& inside, const std::string& inflows = "") {
    return NestedGeneral + "[POLLUTANTS]\nCOD 0\n[JUNCTIONS]\nIN\n[OUTFALLS]\nOUT\n[SWMM_INPS]\nNODE " + inside +
           " NO\nINFLOW IN FIRST\nOUTFLOW OUT LAST\n[CONNECTIONS]\nFIRST IN NODE NO 0\nLAST NODE OUT NO 0\n" + inflows;
}

/// An inflow at IN that changes in each step: flow in m3/s, COD in mg/L.
inline const std::string NestedWave =
    "[INFLOWS]\nIN FLOW FLOW 0 WAVE 1\nIN CONCEN COD 0 DIRT 1\n[TIMESERIES]\n"
    "WAVE 2023/12/31 22:00 0.02 23:00 0.02\nWAVE 2024/01/01 0:00 0.02 0:40 0.31 1:10 0.11 2:30 0.83\n"
    "DIRT 2023/12/31 22:00 100 23:00 100\nDIRT 2024/01/01 0:00 100 1:00 520 2:30 40\n";

/// A model whose SWMM nodes hold projects.
struct NestedModel : TvModel {
    NestedModel() {
        EXPECT_EQ(tv_setEngines(handle, TARNVELDE_NESTED_FOLDER, nullptr, TARNVELDE_ENGINE_FOLDER, nullptr), TV_OK);
    }

    double get(const char* variable, const std::string& node, int32_t pollutant = TV_NO_POLLUTANT) const {
        int32_t number = -1;
        double value = 0.0;
        EXPECT_EQ(tv_findVariable(TV_NODE, variable, &number), TV_OK);
        EXPECT_EQ(tv_getValue(handle, number, find(TV_NODE, node), pollutant, &value), TV_OK);
        return value;
    }

    double getFlow(const std::string& link) const {
        int32_t number = -1;
        double value = 0.0;
        EXPECT_EQ(tv_findVariable(TV_LINK, "flow", &number), TV_OK);
        EXPECT_EQ(tv_getValue(handle, number, find(TV_LINK, link), TV_NO_POLLUTANT, &value), TV_OK);
        return value;
    }

    double getTotal(const char* variable, int32_t pollutant = TV_NO_POLLUTANT) const {
        int32_t number = -1;
        double value = 0.0;
        EXPECT_EQ(tv_findVariable(TV_SYSTEM, variable, &number), TV_OK);
        EXPECT_EQ(tv_getValue(handle, number, 0, pollutant, &value), TV_OK);
        return value;
    }

    /// All messages of a level, a line each.
    std::string getTexts(int32_t level) const {
        std::string texts;
        for (const tv_message& message : getMessages()) {
            if (message.level == level) {
                texts += std::to_string(message.code) + " " + message.text + "\n";
            }
        }
        return texts;
    }
};

/// What an outfall gets in each step: flow in m3/s, load of the first pollutant in kg/s.
struct NestedSeries {
    std::vector<double> flows, loads;

    bool operator==(const NestedSeries&) const = default;

    double sum(const std::vector<double>& values) const {
        double total = 0.0;
        for (const double value : values) {
            total += value * NESTED_STEP;
        }
        return total;
    }
    double getVolume() const { return sum(flows); }
    double getMass() const { return sum(loads); }
};

/// Steps to the end.
inline NestedSeries runToEnd(const NestedModel& model, const std::string& outfall) {
    NestedSeries series;
    while (model.getPhase() == TV_STARTED) {
        EXPECT_EQ(tv_step(model), TV_OK);
        series.flows.push_back(model.get("inflow", outfall));
        series.loads.push_back(model.get("load", outfall, 0));
    }
    return series;
}

/// Opens a project and steps it through.
inline NestedSeries runProject(const std::string& file, const std::string& outfall) {
    const NestedModel model;
    EXPECT_EQ(tv_open(model, file.c_str(), nullptr), TV_OK) << model.getTexts(TV_ERROR);
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_OK) << model.getTexts(TV_ERROR);
    return runToEnd(model, outfall);
}
