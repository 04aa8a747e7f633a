// Warnings about nodes with models inside: what never gets into the model, and what never comes out. The engines stand
// beside the test program.

#include "support/tempfolder.h"
#include "warnings/cases.h"

/// The path of a model's file, which lets everything through for the day of the cases.
static std::string aModel(const std::string& extension, const std::string& named) {
    static const TempFolder folder;
    static int count = 0;
    const std::string name = "m" + std::to_string(++count);
    const std::string period = "period 45461 0 45462 0\nstep 60\n";
    const bool isPlant = extension == ".sti";
    const std::string text =
        period + (isPlant ? "influent I\neffluent E\nbasin 0\n" : "node IN\nnode OUT\nreach R IN OUT 0\n");
    folder.write(name + extension, text);
    return named == extension ? folder.file(name + extension) : folder.write(name + named, text);
}

/// Two junctions that lead to a SWMM node, and two outfalls behind it; behind them further sections.
static std::string aDistrict(const std::string& records, const std::string& more = "",
                             const std::string& extension = ".inp") {
    return aDay(
        "[JUNCTIONS]\nJ1\nJ2\n[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\nL1 J1 S1 NO 0\nL2 S1 O1 NO 0\nL3 J2 O2 NO 0\n"
        "[SWMM_INPS]\nS1 " +
        aModel(".inp", extension) + " NO\n" + records + "\n" + more);
}

static const std::string Both = "INFLOW IN L1\nOUTFLOW OUT L2";

WARNING_CASE("W-coupled-lost", aDistrict("OUTFLOW OUT L2"), aDistrict(Both), "S1", "S1");
WARNING_CASE("W-coupled-dry", aDistrict("INFLOW IN L1"), aDistrict(Both), "S1", "S1");
WARNING_CASE("W-coupled-record", aDistrict(Both + "\nINFLOW IN L3"), aDistrict(Both), "S1", "S1");
WARNING_CASE("W-coupled-record", aDistrict(Both + "\nINFLOW OUT L1"), aDistrict(Both), "S1", "S1");
WARNING_CASE("W-coupled-record", aDistrict(Both + "\nOUTFLOW OUT L3"), aDistrict(Both), "S1", "S1");
WARNING_CASE("W-coupled-record", aDistrict(Both + "\nOUTFLOW IN L2"), aDistrict(Both), "S1", "S1");
WARNING_CASE("W-coupled-inflow", aDistrict(Both, "[INFLOWS]\nS1 FLOW FLOW 0.1 \"\" 0\n"),
             aDistrict(Both, "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 0\n"), "S1", "S1");
WARNING_CASE("W-coupled-inflow", aDistrict(Both, "[DWFS]\nS1 FLOW 0.1 \"\"\n"),
             aDistrict(Both, "[DWFS]\nJ1 FLOW 0.1 \"\"\n"), "S1", "S1");
WARNING_CASE("W-coupled-path", aDistrict(Both, "", ".txt"), aDistrict(Both), "S1", "-");

// --- land ------------------------------------------------------------------------------------------------------------

/// Land that drains to the node, and links ahead of its own number or not.
static std::string someLand(const std::string& records, const std::string& first = "") {
    return aDistrict(records,
                     "[TIMESERIES]\nRAIN 2024/06/18 6:00 5 6:10 9\n[RAINGAGES]\nG1 INTENSITY 0:10 RAIN\n"
                     "[SUBCATCHS]\n" +
                         first + "A1 G1 S1 2 90 60 1 0.012 0.1 1 3 40 6 4 5 0\n");
}

static const std::string AHead = "A0 G1 J1 2 90 60 1 0.012 0.1 1 3 40 6 4 5 0\n";

WARNING_CASE("W-coupled-lost", someLand(Both, AHead), someLand(Both + "\nINFLOW OUT A1", AHead), "S1", "S1");
WARNING_CASE("W-coupled-record", someLand(Both), someLand(Both + "\nINFLOW OUT A1", AHead), "S1", "S1");

// --- pipes and conduits behind a node --------------------------------------------------------------------------------

static std::string aLink(const std::string& section, const std::string& records = "OUTFLOW OUT L2") {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nL1 J1 S1 NO 0\nL3 S1 O1 NO 0\n" + section +
                "\n[SWMM_INPS]\nS1 " + aModel(".inp", ".inp") + " NO\nINFLOW IN L1\n" + records + "\n");
}

/// The same with a pollutant, which the model must know.
static std::string aLoadedPipe(const std::string& seconds) {
    static const TempFolder folder;
    static int count = 0;
    const std::string model =
        folder.write("q" + std::to_string(++count) + ".inp",
                     "period 45461 0 45462 0\nstep 60\nsubstances BOD\nnode IN\nnode OUT\nreach R IN OUT 0\n");
    return aDay(
        "[POLLUTANTS]\nBOD 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nL1 J1 S1 NO 0\n[PIPES]\nL2 S1 O1 NO " +
        seconds + " 3 0.2 0\n[SWMM_INPS]\nS1 " + model + " NO\n" + Both + "\n");
}

WARNING_CASE("W-coupled-pipe", aLoadedPipe("60"), aLoadedPipe("1200"), "S1", "S1");
WARNING_CASE("W-coupled-record",
             aLink("[CONDUITS]\nL2 S1 O1 NO 900 0.5 0.013 CIRCULAR 0.6", "OUTFLOW OUT L3\nOUTFLOW OUT L2"),
             aLink("[CONDUITS]\nL2 S1 O1 NO 900 0.5 0.013 CIRCULAR 0.6", "OUTFLOW OUT L2\nOUTFLOW OUT L3"), "S1", "S1");

// --- plants ----------------------------------------------------------------------------------------------------------

/// A plant without pollutants, whose converters make the constituents of nothing.
static std::string aPlant(const std::string& records, const std::string& converters = "",
                          const std::string& more = "") {
    std::string lines = "IN VORN_INFLUENT\nOUT VORN_EFFLUENT\n";
    for (const char* constituent : {"COD", "NH4", "NO3", "TP", "TSS", "ALK"}) {
        lines += std::string("IN ") + constituent + " CONSTANT 0 1\n";
    }
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nL1 J1 V1 NO 0\nL2 V1 O1 NO 0\n[VORN_INPS]\nV1 " +
                aModel(".sti", ".sti") + " NO\n" + records + "\n[CONVERTERS]\n" + lines + converters + more);
}

static const std::string Through = "INFLUENT I L1 IN\nEFFLUENT E L2 OUT";

WARNING_CASE("W-coupled-record", aPlant(Through + "\nINFLUENT I L1 IN"), aPlant(Through), "V1", "V1");
WARNING_CASE("W-coupled-record", aPlant("INFLUENT I L1 OUT\nEFFLUENT E L2 OUT"), aPlant(Through), "V1", "V1");
WARNING_CASE("W-coupled-record", aPlant("INFLUENT I L1 IN\nEFFLUENT E L2 IN"), aPlant(Through), "V1", "V1");
WARNING_CASE("W-coupled-inflow",
             aPlant(Through, "",
                    "[TIMESERIES]\nRAIN 2024/06/18 6:00 5 6:10 9\n[RAINGAGES]\nG1 INTENSITY 0:10 RAIN\n"
                    "[SUBCATCHS]\nA1 G1 V1 2 90 60 1 0.012 0.1 1 3 40 6 4 5 0\n"),
             aPlant(Through), "V1", "V1");
WARNING_CASE("W-coupled-inflow",
             aPlant(Through, "", "[REACTORS]\nR1 PFR V1 FLOW_CAPACITY 5 2 5\n[CONNECTIONS]\nL3 R1 O1 NO 0\n"),
             aPlant(Through, "", "[REACTORS]\nR1 PFR O1 FLOW_CAPACITY 5 2 5\n[CONNECTIONS]\nL3 R1 O1 NO 0\n"), "V1",
             "V1");
WARNING_CASE("W-number-word", aPlant(Through, "IN COD CONSTANT some 1\n"), aPlant(Through, "IN COD CONSTANT 3 1 ADD\n"),
             "IN", "some");
WARNING_CASE("W-line-replaced", aPlant(Through, "IN VORN_INFLUENT\n"), aPlant(Through), "IN", "");
WARNING_CASE("W-words-unused", aPlant(Through, "IN COD CONSTANT 3 1 ADD mg/L\n"),
             aPlant(Through, "IN COD CONSTANT 3 1 ADD\n"), "IN", "mg/L");
WARNING_CASE("W-words-unused", aPlant(Through + " a note"), aPlant(Through), "EFFLUENT", "a");
WARNING_CASE("W-object-unused", aPlant(Through, "SPARE VORN_EFFLUENT\n"), aPlant(Through), "SPARE", "SPARE");
// What comes out of a model may hold any pollutant, with nothing of it anywhere else.
WARNING_CASE("W-pollutant-unused",
             aDay("[POLLUTANTS]\nBOD 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nL1 J1 O1 NO 0\n"),
             aPlant(Through, "OUT BOD CONSTANT 3 1\n", "[POLLUTANTS]\nBOD 0\n"), "BOD", "BOD");
WARNING_CASE("W-pollutant-unused",
             aDay("[POLLUTANTS]\nBOD 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nL1 J1 O1 NO 0\n"),
             aLoadedPipe("1200"), "BOD", "BOD");
WARNING_CASE(
    "W-converter-factor",
    aDay("[POLLUTANTS]\nBOD 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n[CONVERTERS]\n"
         "OUT VORN_EFFLUENT\nOUT BOD CONSTANT 3 0.5\n"),
    aDay("[POLLUTANTS]\nBOD 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n[CONVERTERS]\n"
         "OUT VORN_EFFLUENT\nOUT BOD CONSTANT 3 1\n"),
    "OUT", "0.5");
