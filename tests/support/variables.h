#pragma once
// Models of the second face for tests of variables, and a project in which nearly every parameter acts.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tarnvelde_model.h"

/// Land with LID units of all types, and a network with all kinds of node and link but those with models inside. Six
/// hours in steps of a minute; results are samples at the end of each tenth step.
inline const std::string TownText =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 6:00:00\nROUTING_STEP 0:01:00\nRUNOFF_STEP "
    "0:05:00\n"
    "REPORT_STEP 0:10:00\nREPORT_AVERAGE NO\nLID_MONO_RAINFALL YES\nSTART_DRY_DAYS 3\nEVENT_INTERVAL 30\n"
    "[RAINGAGES]\nG INTENSITY 0:10 RAIN\nG2 INTENSITY 0:10 RAIN2\n"
    "[TIMESERIES]\nRAIN 2021/03/01 0:00 20 0:10 60 0:20 90 0:30 60 0:40 20 0:50 0 2:00 0 2:10 70 2:20 40 2:30 0 7:00 "
    "0\n"
    "RAIN2 2021/03/01 0:00 20 0:10 60 0:20 90 0:30 60 0:40 0 7:00 0\n"
    "[POLLUTANTS]\nA 5\nB 2\n[LANDUSES]\nROAD\n[BUILDUP]\nROAD A 40 0.4\nROAD B 20 0.3\n"
    "[WASHOFF]\nROAD A EXP 0.1 1.2 0.1\nROAD B EMC 10 YES 0.2\n"
    "[SUBCATCHS]\nLAND G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 12\n"
    "SBC G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 0\nSRG G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 0\n"
    "SGR G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 0\nSIT G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 0\n"
    "SPP G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 0\nSRB G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 0\n"
    "SVS G J1 1 100 50 2 0.012 0.1 1 3 20 6 4 5 0\n"
    "[COVERAGES]\nLAND ROAD 80\nSBC ROAD 50\n[LOADINGS]\nLAND A 10\n"
    "[LIDS]\nBC BC\nBC SURFACE 20 0.1 0.1 1 0\nBC SOIL 200 0.45 0.2 0.1 40 10\nBC STORAGE 100 0.67 3\nBC DRAIN 3 0.5 "
    "10\n"
    "RG RG\nRG SURFACE 20 0.1 0.1 1 0\nRG SOIL 200 0.45 0.2 0.1 40 10\nRG STORAGE 0 0.67 3\nRG DRAIN 3 0.5 0\n"
    "GR GR\nGR SURFACE 10 0.1 0.1 1 0\nGR SOIL 100 0.45 0.2 0.1 60 10\nGR DRAINMAT 25 0.5 0.1\n"
    "IT IT\nIT SURFACE 10 0.1 0.1 1 0\nIT STORAGE 200 0.67 3\nIT DRAIN 3 0.5 10\n"
    "PP PP\nPP SURFACE 5 0.1 0.1 1 0\nPP PAVEMENT 100 0.2 40\nPP SOIL 100 0.45 0.2 0.1 30 10\nPP STORAGE 100 0.67 3\n"
    "PP DRAIN 3 0.5 10\n"
    "RB RB\nRB STORAGE 500 0.67 0\nRB DRAIN 3 0.5 10 0.5\n"
    "VS VS\nVS SURFACE 300 0.1 0.1 1 2\n"
    "[LID_GROUPS]\nSBC BC 200 5 30 40\nSRG RG 200 5 30 40\nSGR GR 800 20 30 10\nSIT IT 100 5 20 40\nSPP PP 400 10 30 "
    "40\n"
    "SRB RB 20 2 10 30\nSVS VS 300 6 0 40\n"
    "[JUNCTIONS]\nJ1\nJ2\nJ3\n[TANKS]\nT1 SHAPE 3 0.5\n[OUTFALLS]\nO1\nO2\n[SPLITTERS]\nSP1 D1 FLOW_RATIO 0.05 0.6\n"
    "SP2 C2 FLOW 0.03\nSP3 C3 RATIO 0.4\n"
    "[REACTORS]\nR1 CSTR O2 FLOW_CAPACITY 3000 100 50 50\nR2 PFR O2 SURFACE_LOADING 5 0.2 100\n"
    "[LID_MONOS]\nM1 BC G2 300 5 20 70\n"
    "[PIPES]\nP1 J1 SP1 NO 120 2 0.2 0\nP2 R1 R2 NO 120 2 0.2 0.02\nP3 R2 O2 NO 120 1 0.1 0\nP4 M1 J3 NO 120 1 0.2 0\n"
    "[PUMPS]\nPU1 T1 O1 DUTY NO OFF 0.6 0.45\n"
    "[CONNECTIONS]\nC1 SP1 SP2 NO 120\nC2 SP2 T1 NO 60\nC4 SP2 SP3 NO 60\nC3 SP3 T1 YES 0\nC5 SP3 J2 NO 0\n"
    "[CONDUITS]\nD1 SP1 R1 NO 200 0.5 0.013 CIRCULAR 0.5\nD2 J2 M1 NO 200 0.5 0.013 RECTANGULAR 0.6 0.8\n"
    "D3 J3 O1 NO 200 0.5 0.02 IRREGULAR BED\n"
    "[WEIRS]\nW1 T1 O1 NO RECTANGULAR 1.86 0.5 0.3 0.4\nW2 T1 O1 NO TRIANGULAR 1.4 1 0.5 0.3\n"
    "[ORIFICES]\nOR1 T1 J2 NO RECTANGULAR 0.62 0.4 0.2 0.2\nOR2 T1 J2 NO CIRCULAR 0.62 0.3 0.2\n"
    "[CURVES]\nSHAPE TANK 0 200 4 400\nDUTY PUMP1 0 0.01 3 0.08\nBED TRANSECT 0 1 1 0 2 0 3 1\n"
    "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 1\nJ1 CONCEN A 20 \"\" 1\nJ1 CONCEN B 30 \"\" 1\n"
    "[DWFS]\nJ1 FLOW 0.01 \"\"\nJ1 A 100 \"\"\nJ2 FLOW 0.05 \"\"\nJ2 B 50 \"\"\n"
    "[REACTORS_DECAY]\nR1 A FIRST 20 \"\"\nR1 B ZERO 30 \"\"\nR2 A CONST_CONCEN 5 \"\"\nR2 B CONST_RATIO 0.3 \"\"\n"
    "[REACTORS_EMPTYING]\nR1 O2 20 30 60 \"\"\n[INITIAL_CONCENTRATION]\nT1 x A 10\nT1 x B 5\nR1 x A 10\nR1 x B 5\n"
    "[CONTROL_RULES]\nRULE X\nIF REACTOR R1 FILL > 0.3\nTHEN REACTOR R1 EMPTYING = YES\n"
    "RULE Y1\nIF TANK T1 DEPTH > 0.1\nTHEN WEIR W1 SETTING = 0.7\nPRIORITY 1\n"
    "RULE Y2\nIF TANK T1 DEPTH > 0.1\nTHEN WEIR W1 SETTING = 0.9\nPRIORITY 2\n";

inline const std::string ConstantEvaporation = "[EVAPORATION]\nCONSTANT 40\n";
inline const std::string MonthlyEvaporation = "[EVAPORATION]\nMONTHLY 1 2 30 4 5 6 7 8 9 10 11 12\n";

inline const int32_t TOWN_STEPS = 360;

/// A model that lives as long as a test.
struct TestModel {
    tv_model* model = nullptr;

    TestModel() { EXPECT_EQ(tv_create(&model), 0); }
    explicit TestModel(const std::string& text) : TestModel() { open(text); }
    ~TestModel() { tv_free(model); }
    TestModel(const TestModel&) = delete;
    TestModel& operator=(const TestModel&) = delete;

    void open(const std::string& text) const {
        const int32_t code = tv_openText(model, text.data(), text.size(), nullptr, nullptr);
        tv_message message{};
        if (code != 0) {
            tv_getMessage(model, 0, &message);
        }
        ASSERT_EQ(code, 0) << message.text << message.words;
    }
    void start() const { ASSERT_EQ(tv_start(model, nullptr, nullptr), 0); }
    void step(int count = 1) const {
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tv_step(model), 0);
        }
    }
    void finish() const { EXPECT_EQ(tv_runUntil(model, TV_END), 0); }

    int32_t count(int32_t objectClass) const {
        int32_t objects = -1;
        EXPECT_EQ(tv_getCount(model, objectClass, &objects), 0);
        return objects;
    }
    int32_t index(int32_t objectClass, const std::string& id) const {
        int32_t found = -1;
        EXPECT_EQ(tv_findObject(model, objectClass, id.c_str(), &found), 0) << id;
        return found;
    }
    double get(int32_t objectClass, const char* name, int32_t object, int32_t pollutant = TV_NO_POLLUTANT) const {
        int32_t variable = -1;
        EXPECT_EQ(tv_findVariable(objectClass, name, &variable), 0) << name;
        double value = std::nan("");
        EXPECT_EQ(tv_getValue(model, variable, object, pollutant, &value), 0) << name << ' ' << object;
        return value;
    }
    double get(int32_t objectClass, const char* name, const char* id, int32_t pollutant = TV_NO_POLLUTANT) const {
        return get(objectClass, name, index(objectClass, id), pollutant);
    }
    int32_t set(int32_t objectClass, const char* name, const char* id, double value,
                int32_t pollutant = TV_NO_POLLUTANT) const {
        int32_t variable = -1;
        EXPECT_EQ(tv_findVariable(objectClass, name, &variable), 0) << name;
        const int32_t object = objectClass == TV_SYSTEM ? 0 : index(objectClass, id);
        return tv_setValue(model, variable, object, pollutant, value);
    }
    int32_t release(int32_t objectClass, const char* name, const char* id, int32_t pollutant = TV_NO_POLLUTANT) const {
        int32_t variable = -1;
        EXPECT_EQ(tv_findVariable(objectClass, name, &variable), 0) << name;
        const int32_t object = objectClass == TV_SYSTEM ? 0 : index(objectClass, id);
        return tv_releaseValue(model, variable, object, pollutant);
    }
};

inline int32_t getVariableCount() {
    int32_t count = 0;
    EXPECT_EQ(tv_getVariableCount(&count), 0);
    return count;
}

inline tv_variable getVariable(int32_t variable) {
    tv_variable description{};
    EXPECT_EQ(tv_getVariable(variable, &description), 0);
    return description;
}

/// All values of all variables that aren't parameters or forcings, in a run.
inline std::vector<double> readRun(const TestModel& model) {
    std::vector<double> all;
    int32_t pollutants = model.count(TV_POLLUTANT);
    for (int32_t v = 0; v < getVariableCount(); ++v) {
        const tv_variable variable = getVariable(v);
        if (variable.access == TV_PARAMETER || variable.access == TV_FORCING) {
            continue;
        }
        const size_t count = static_cast<size_t>(model.count(variable.objectClass));
        for (int32_t p = 0; p < (variable.isPerPollutant ? pollutants : 1); ++p) {
            const size_t place = all.size();
            all.resize(place + count);
            EXPECT_EQ(tv_getValues(model.model, v, variable.isPerPollutant ? p : -1, all.data() + place, count), 0);
        }
    }
    return all;
}

/// Whether two of them are the same; what is no number equals itself.
inline bool isSame(const std::vector<double>& a, const std::vector<double>& b) {
    for (size_t k = 0; k < a.size() && k < b.size(); ++k) {
        if (!(a[k] == b[k] || (std::isnan(a[k]) && std::isnan(b[k])))) {
            return false;
        }
    }
    return a.size() == b.size();
}
