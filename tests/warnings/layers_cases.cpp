// Warnings about LID controls whose lines say something in vain.

#include "warnings/cases.h"

static const std::string Soil = "BED SOIL 500 0.45 0.2 0.1 40 10\n";
static const std::string Storage = "BED STORAGE 300 0.67 3\n";

/// A control in a node of the network; behind it further sections.
static std::string aControl(const std::string& lines, const std::string& more = "",
                            const std::string& words = "* 100 5 0 100") {
    return aDay(
        "[POLLUTANTS]\nBOD 0\nTSS 0\n[TIMESERIES]\nRAIN 2024/06/18 6:00 5 6:10 9\n[RAINGAGES]\n"
        "G1 INTENSITY 0:10 RAIN\n[OUTFALLS]\nO1\n[LIDS]\n" +
        lines + "[LID_MONOS]\nM1 BED " + words + "\n[CONNECTIONS]\nC1 M1 O1 NO 60\n" + more);
}

/// The control as a unit on a subcatchment.
static std::string aUnit(const std::string& lines, const std::string& words) {
    return aControl(lines,
                    "[SUBCATCHS]\nS1 G1 O1 2 90 60 1 0.012 0.1 1 3 40 6 4 5 0\n[LID_GROUPS]\nS1 BED " + words + "\n");
}

static const std::string Cell = "BED BC\nBED SURFACE 150 0.1 0.1 1 0\n" + Soil + Storage;
static const std::string Roof = "BED GR\nBED SURFACE 30 0 0.1 1 0\n" + Soil + "BED DRAINMAT 25 0.5 0.1\n";

static std::string aDecay(const std::string& layer, const std::string& pollutant = "BOD") {
    return "[DECAY_COEFFICIENT]\nBED LID " + pollutant + " FIRST 2 \"\" " + layer + "\n";
}

WARNING_CASE("W-layer-unused", aControl("BED RB\n" + Storage + Soil), aControl("BED RB\n" + Storage), "BED", "SOIL");
WARNING_CASE("W-layer-unused", aControl(Soil + Storage + "BED IT\n"), aControl(Storage + "BED IT\n"), "BED", "SOIL");
WARNING_CASE("W-layer-unused", aControl(Roof + Storage), aControl(Roof), "BED", "STORAGE");
WARNING_CASE("W-layer-unused", aControl("BED BC\n" + Soil + "BED DRAIN 3 0.5 0\n"),
             aControl(Cell + "BED DRAIN 3 0.5 100\n"), "BED", "DRAIN");
WARNING_CASE("W-layer-unused", aControl(Cell, aDecay("PAVEMENT")), aControl(Cell, aDecay("SOIL")), "BED", "PAVEMENT");
WARNING_CASE("W-layer-unused", aControl(Roof, aDecay("DRAINMAT", "TSS")), aControl(Roof, aDecay("DRAINMAT")), "BED",
             "DRAINMAT");
WARNING_CASE("W-layer-unused", aControl(Roof, aDecay("STORAGE")), aControl(Roof, aDecay("STORAGE", "TSS")), "BED",
             "STORAGE");
WARNING_CASE("W-line-dropped", aControl("BED DRAINMAT 25 0.5 0.1\nBED BC\n" + Soil), aControl("BED BC\n" + Soil), "BED",
             "DRAINMAT");
WARNING_CASE("W-line-dropped", aControl("BED BC\nBED DRAINMAT 25 0.5 0.1\n" + Soil), aControl(Roof), "BED", "DRAINMAT");
WARNING_CASE("W-line-dropped", aControl(Cell, aDecay("DRAIN")), aControl(Cell, aDecay("STORAGE")), "BED", "DRAIN");
WARNING_CASE("W-line-replaced", aControl(Cell + Storage), aControl(Cell), "BED", "");
WARNING_CASE("W-line-replaced", aControl(Cell + "BED RG\n"), aControl(Cell), "BED", "");
WARNING_CASE("W-line-replaced", aControl(Cell, aDecay("SOIL") + aDecay("SOIL")),
             aControl(Cell, aDecay("SOIL") + aDecay("SOIL", "TSS") + aDecay("STORAGE")), "BED", "");
WARNING_CASE("W-words-unused", aControl(Cell + "BED DRAIN 3 0.5 100 0 9\n"), aControl(Cell + "BED DRAIN 3 0.5 100 0\n"),
             "BED", "9");
WARNING_CASE("W-lid-plants", aControl("BED BC\nBED SURFACE 0 0.2 0.1 1 0\n" + Soil),
             aControl("BED BC\nBED SURFACE 0 0 0.1 1 0\n" + Soil), "BED", "0.2");
WARNING_CASE("W-lid-plants", aControl("BED PP\nBED SURFACE 5 0.2 0.1 1 0\nBED PAVEMENT 100 0.25 360\n" + Storage),
             aControl("BED PP\nBED SURFACE 5 0 0.1 1 0\nBED PAVEMENT 100 0.25 360\n" + Storage), "BED", "0.2");
WARNING_CASE("W-lid-mono-rain", aControl(Cell, "", "G1 100 5 0 100"), aControl(Cell), "M1", "M1");
WARNING_CASE("W-lid-mono-rain", aControl(Cell, "", "G1 100 5 0 100"),
             aControl(Cell, "[GENERAL]\nLID_MONO_RAINFALL NO\n", "G1 100 5 0 100"), "M1", "M1");
WARNING_CASE("W-value-limit", aControl(Cell, "", "* 100 5 120 100"), aControl(Cell, "", "* 100 5 100 100"), "M1",
             "120");
WARNING_CASE("W-value-limit", aControl(Cell, "", "* 100 5 0 250"), aControl(Cell, "", "* 100 5 0 100"), "M1", "250");
WARNING_CASE("W-value-limit", aUnit(Cell, "100 5 101 50"), aUnit(Cell, "100 5 100 100"), "S1", "101");

// Behind the node of the drain the way to the outfall is another one.
WARNING_CASE("W-lid-drain", aControl(Cell + "BED DRAIN 3 0.5 0\n"),
             aControl(Cell + "BED DRAIN 3 0.5 0\n", "[JUNCTIONS]\nJD\n[CONNECTIONS]\nCD JD O1 NO 60\n",
                      "* 100 5 0 100 JD"),
             "M1", "M1");
