#pragma once
// Plants for the tests, as texts of model files.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "plant.h"
#include "steady.h"

/// The plant of the benchmark BSM1 (Copp 2002) with its mean inflow, without control.
inline const std::string BenchmarkPlant =
    "[PLANT]\nMODEL BSM1\nSTART 2021/03/01\nEND 2021/03/15\nSTEP 900\nTEMPERATURE 15\nSATURATION 8\n"
    "[TANKS]\nT1 1000\nT2 1000\nT3 1333 KLA 240\nT4 1333 KLA 240\nT5 1333 KLA 84\n"
    "[FLOWS]\nRECYCLE T5 T1 CONSTANT 55338\nRETURN T1 CONSTANT 18446\nWASTE CONSTANT 385\n"
    "[SETTLER]\nAREA 1500\n[INFLUENTS]\nRAW\n[EFFLUENTS]\nCLEAR EFFLUENT\nSLUDGE WASTE\n"
    "[DESIGN]\nFLOW 18446\nS_S 69.5\nX_BH 28.17\nX_S 202.32\nX_I 51.2\nS_NH 31.56\nS_I 30\nS_ND 6.95\nX_ND 10.59\n"
    "S_ALK 7\n";

/// A small plant with ASM2d, an oxygen controller, a bypass and step feed.
inline const std::string PhosphorusPlant =
    "[PLANT]\nMODEL ASM2D\nSTART 2021/06/01\nEND 2021/06/15\nSTEP 900\nTEMPERATURE 15\n"
    "[TANKS]\nAN 300\nDN 700\nN1 900 OXYGEN 2 20 240\nN2 700 OXYGEN 1.5 20 200\n"
    "[FLOWS]\nFEED AN 0.8\nFEED DN 0.2\nRECYCLE N2 DN RATIO 2.5\nRETURN AN RATIO 0.8\nWASTE CONSTANT 50\nBYPASS 6000\n"
    "[SETTLER]\nAREA 420\n[INFLUENTS]\nRAW\n[EFFLUENTS]\nCLEAR OVERFLOW\nSTORM BYPASS\nSLUDGE WASTE\n"
    "[FRACTIONS]\nS_F 0.14\nS_A 0.08\n"
    "[DESIGN]\nFLOW 2000\nCOD 450\nNH4 30\nNO3 0\nTP 8\nTSS 200\nALK 350\n";

/// Opens a text; the test fails with its messages.
inline void openPlant(const std::string& text, Plant& plant) {
    EXPECT_EQ(modelfile_describe("plant.sti", plant_open("plant.sti", text, plant)), "");
}

inline std::string replaceText(std::string text, const std::string& old, const std::string& replacement) {
    const size_t place = text.find(old);
    EXPECT_NE(place, std::string::npos) << old;
    return place == std::string::npos ? text : text.replace(place, old.size(), replacement);
}
