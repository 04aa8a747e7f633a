// Warnings about numbers that are in another unit than meant.

#include "warnings/cases.h"
#include "warnings/town.h"

/// A town in which one group of words is wrong.
#define UNIT_CASE(name, old, words, object, word) WARNING_CASE(name, aTownWith(old, words), aTown(), object, word)

// --- land ------------------------------------------------------------------------------------------------------------

UNIT_CASE("W-unit-area", "HILL 1.5 100", "HILL 15000 100", "S1", "15000");
UNIT_CASE("W-unit-area", "CELL 121 6", "CELL 0.0121 6", "S1", "0.0121");
UNIT_CASE("W-unit-width", "HILL 1.5 100", "HILL 1500 100", "S1", "100");
UNIT_CASE("W-unit-width", "CELL 121 6", "CELL 121 60000", "S1", "60000");
UNIT_CASE("W-unit-impervious", "100 45 1.2", "100 0.45 1.2", "S1", "0.45");
UNIT_CASE("W-unit-slope", "100 45 1.2", "100 45 0.012", "S1", "0.012");
UNIT_CASE("W-unit-slope", "600 0.5 0.013", "600 0.005 0.013", "C1", "0.005");
UNIT_CASE("W-unit-slope", "0.12 1.1 0", "0.12 0.011 0", "CELL", "0.011");
UNIT_CASE("W-unit-slope", "0.12 1.1 0", "0.12 1.1 33", "CELL", "33");
UNIT_CASE("W-unit-roughness", "0.014 0.15 1.5", "70 0.15 1.5", "S1", "70");
UNIT_CASE("W-unit-roughness", "0.014 0.15 1.5", "0.014 6.7 1.5", "S1", "6.7");
UNIT_CASE("W-unit-roughness", "600 0.5 0.013", "600 0.5 77", "C1", "77");
UNIT_CASE("W-unit-roughness", "0.1 0.12 1.1", "0.1 12 1.1", "CELL", "12");
UNIT_CASE("W-unit-roughness", "25 0.5 0.3", "25 0.5 3.3", "ROOF", "3.3");
UNIT_CASE("W-unit-storage", "0.15 1.5 4.5", "0.15 150 4.5", "S1", "150");
UNIT_CASE("W-unit-storage", "0.15 1.5 4.5", "0.15 1.5 450", "S1", "450");
UNIT_CASE("W-unit-infiltration", "61 8 4.2", "1.7e-5 2.2e-6 4.2", "S1", "1.7e-5");
UNIT_CASE("W-unit-infiltration", "61 8 4.2", "61 2.2e-6 4.2", "S1", "2.2e-6");
UNIT_CASE("W-unit-infiltration", "61 8 4.2", "61 8 0.0018", "S1", "0.0018");
UNIT_CASE("W-unit-infiltration", "4.2 7 0", "4.2 168 0", "S1", "168");
UNIT_CASE("W-unit-infiltration", "4.2 7 0", "4.2 7 0.2", "S1", "0.2");
UNIT_CASE("W-unit-evaporation", "CONSTANT 2.5", "CONSTANT 75", "", "75");
UNIT_CASE("W-unit-evaporation", "CONSTANT 2.5", "MONTHLY 10 20 -40 60 90 110 110 90 60 30 15 10", "", "20");
UNIT_CASE("W-unit-evaporation", "40 0.5 4 \"\"", "40 0.5 120 \"\"", "POND", "120");

// --- what lies on the land -------------------------------------------------------------------------------------------

UNIT_CASE("W-unit-coverage", "LIVING 100", "LIVING 0.9", "S1", "0.9");
UNIT_CASE("W-unit-coverage", "LIVING 100", "LIVING -10", "S1", "-10");
UNIT_CASE("W-unit-buildup", "TSS 60 0.25", "TSS 60000 0.25", "LIVING", "60000");
UNIT_CASE("W-unit-buildup", "TSS 60 0.25", "TSS 60 25", "LIVING", "25");
UNIT_CASE("W-unit-buildup", "S1 TSS 30", "S1 TSS 30000", "S1", "30000");
UNIT_CASE("W-buildup-rate", "TSS 60 0.25", "TSS 60 0", "LIVING", "0");
UNIT_CASE("W-unit-washoff", "EXP 0.1 1.3", "EXP 4.6 1.3", "LIVING", "4.6");
UNIT_CASE("W-unit-washoff", "EXP 0.1 1.3", "EXP 1.3 0.1", "LIVING", "1.3");
UNIT_CASE("W-unit-share", "EMC 35 YES 0.1", "EMC 35 YES 10", "LIVING", "10");
UNIT_CASE("W-unit-share", "EXP 0.1 1.3 0", "EXP 0.1 1.3 15", "LIVING", "15");
UNIT_CASE("W-unit-share", "900 750 60", "900 750 0.6", "POND", "0.6");
UNIT_CASE("W-unit-share", "CELL 121 6 20 30", "CELL 121 6 0.2 30", "S1", "0.2");
UNIT_CASE("W-unit-share", "CELL 121 6 20 30", "CELL 121 6 20 0.3", "S1", "0.3");
UNIT_CASE("W-unit-share", "CONST_RATIO 0.7", "CONST_RATIO 70", "REEDS", "70");
UNIT_CASE("W-unit-concentration", "COD 12", "COD 12000", "COD", "12000");
UNIT_CASE("W-unit-concentration", "COD EMC 35", "COD EMC 3.5e11", "LIVING", "3.5e11");
UNIT_CASE("W-unit-concentration", "CONCEN TSS 15", "CONCEN TSS -15", "LOW", "-15");
UNIT_CASE("W-unit-concentration", "MASS COD 0.0001", "MASS COD 8640", "LOW", "8640");
UNIT_CASE("W-unit-concentration", "HILL TSS 220", "HILL TSS -220", "HILL", "-220");
UNIT_CASE("W-unit-concentration", "0 COD 21", "0 COD -21", "POND", "-21");

// --- inflows and links -----------------------------------------------------------------------------------------------

UNIT_CASE("W-unit-flow", "FLOW 0.011 METER", "FLOW 111 METER", "LOW", "111");
UNIT_CASE("W-unit-flow", "FLOW 0.02 HOURS", "FLOW 20 HOURS", "HILL", "20");
UNIT_CASE("W-unit-flow", "0.2 1.9", "0.2 1900", "P1", "1900");
UNIT_CASE("W-unit-flow", "0.03 4 0.04", "30 4 40.5", "DUTY", "30");
WARNING_CASE("W-unit-flow",
             aDay("[JUNCTIONS]\nA\n[SPLITTERS]\nS L2 FLOW 350\n[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\nL1 A S NO 0\n"
                  "L2 S O1 NO 0\nL3 S O2 NO 0\n[INFLOWS]\nA FLOW FLOW 0.1 \"\" 0\n"),
             aDay("[JUNCTIONS]\nA\n[SPLITTERS]\nS L2 FLOW 0.35\n[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\nL1 A S NO 0\n"
                  "L2 S O1 NO 0\nL3 S O2 NO 0\n[INFLOWS]\nA FLOW FLOW 0.1 \"\" 0\n"),
             "S", "350");
UNIT_CASE("W-unit-pipe", "NO 180 2 0.2", "NO 180000 2 0.2", "P1", "180000");
UNIT_CASE("W-unit-pipe", "NO 180 2 0.2", "NO 180 20000 0.2", "P1", "20000");
UNIT_CASE("W-unit-delay", "REEDS NO 120", "REEDS NO 0.03", "L1", "0.03");
UNIT_CASE("W-unit-length", "TANK NO 600", "TANK NO 0.6", "C1", "0.6");
UNIT_CASE("W-unit-length", "CONDUIT_LENGTHENING 50", "CONDUIT_LENGTHENING 50000", "CONDUIT_LENGTHENING", "50000");
UNIT_CASE("W-unit-size", "CIRCULAR 0.8", "CIRCULAR 800", "C1", "800");
UNIT_CASE("W-unit-size", "RECTANGULAR 1.2 1.6", "RECTANGULAR 120 1.6", "C2", "120");
UNIT_CASE("W-unit-size", "RECTANGULAR 1.2 1.6", "RECTANGULAR 1.2 1600", "C2", "1600");
UNIT_CASE("W-unit-size", "0.62 0 0.25", "0.62 0 250", "O1", "250");
UNIT_CASE("W-unit-size", "0.5 0.3 0.4", "0.5 0.3 400", "O2", "400");
UNIT_CASE("W-unit-size", "1.8 6 3.2 0.4", "1.8 6000 3.2 0.4", "W1", "6000");
UNIT_CASE("W-unit-size", "1.8 6 3.2 0.4", "1.8 6 3.2 400", "W1", "400");

// --- tanks and reactors ----------------------------------------------------------------------------------------------

UNIT_CASE("W-unit-level", "SHAPE 4 0.2", "SHAPE 400 0.2", "TANK", "400");
UNIT_CASE("W-unit-level", "1.8 6 3.2 0.4", "1.8 6 152.3 0.4", "W1", "152.3");
UNIT_CASE("W-unit-level", "0.62 0 0.25", "0.62 148.8 0.25", "O1", "148.8");
UNIT_CASE("W-unit-level", "OFF 1.5 1.1", "OFF 150.5 1.1", "U1", "150.5");
UNIT_CASE("W-unit-level", "OFF 1.5 1.1", "OFF 150.5 148.9", "U1", "150.5");
UNIT_CASE("W-unit-level", "TANK 0 250", "TANK -1 250", "SHAPE", "-1");
UNIT_CASE("W-unit-surface", "TANK 0 250 5 250", "TANK 0 250 5 250000000", "SHAPE", "250000000");
UNIT_CASE("W-unit-surface", "14 2500", "14 0.25", "REEDS", "0.25");
UNIT_CASE("W-unit-coefficient", "1.8 6 3.2 0.4", "3.3 6 3.2 0.4", "W1", "3.3");
UNIT_CASE("W-unit-coefficient", "1.8 6 3.2 0.4", "0.61 6 3.2 0.4", "W1", "0.61");
UNIT_CASE("W-unit-coefficient", "TRIANGULAR 1.39", "TRIANGULAR 25", "W2", "25");
UNIT_CASE("W-unit-coefficient", "CIRCULAR 0.62", "CIRCULAR 62", "O1", "62");
UNIT_CASE("W-unit-reactor", "FLOW_CAPACITY 5200", "FLOW_CAPACITY 0.06", "POND", "0.06");
UNIT_CASE("W-unit-reactor", "SURFACE_LOADING 1.25", "SURFACE_LOADING 1.4e-5", "REEDS", "1.4e-5");
UNIT_CASE("W-unit-reactor", "5200 900 750", "5200 0.009 750", "POND", "0.009");
UNIT_CASE("W-unit-reactor", "1.25 14 2500", "1.25 50400 2500", "REEDS", "50400");
UNIT_CASE("W-unit-reactor", "RIVER 40 0.5", "RIVER 0.011 0.5", "POND", "0.011");
UNIT_CASE("W-unit-conductivity", "RIVER 40 0.5", "RIVER 40 1.4e-7", "POND", "1.4e-7");
UNIT_CASE("W-unit-reaction", "FIRST 1.7", "FIRST 2e-5", "POND", "2e-5");
UNIT_CASE("W-unit-reaction", "ZERO 0.4", "ZERO 40000000", "POND", "40000000");
UNIT_CASE("W-unit-reaction", "FIRST 6", "FIRST 7e-5", "TANK", "7e-5");
UNIT_CASE("W-unit-reaction", "COD FIRST 0.3", "COD FIRST -0.3", "C1", "-0.3");

// --- LID controls ----------------------------------------------------------------------------------------------------

UNIT_CASE("W-unit-layer", "SURFACE 150", "SURFACE 0.15", "CELL", "0.15");
UNIT_CASE("W-unit-layer", "SOIL 500", "SOIL 0.5", "CELL", "0.5");
UNIT_CASE("W-unit-layer", "STORAGE 300", "STORAGE 0.3", "CELL", "0.3");
UNIT_CASE("W-unit-layer", "PAVEMENT 120", "PAVEMENT 0.12", "PAVING", "0.12");
UNIT_CASE("W-unit-layer", "DRAINMAT 25", "DRAINMAT 0.025", "ROOF", "0.025");
UNIT_CASE("W-unit-porosity", "0.45 0.21 0.11", "45 0.21 0.11", "CELL", "45");
UNIT_CASE("W-unit-porosity", "0.45 0.21 0.11", "45 21 0.11", "CELL", "45");
UNIT_CASE("W-unit-porosity", "0.45 0.21 0.11", "45 21 11", "CELL", "45");
UNIT_CASE("W-unit-porosity", "SURFACE 150 0.1", "SURFACE 150 0.97", "CELL", "0.97");
UNIT_CASE("W-unit-porosity", "300 0.67 3", "300 40 3", "CELL", "40");
UNIT_CASE("W-unit-porosity", "120 0.2 500", "120 20 500", "PAVING", "20");
UNIT_CASE("W-unit-porosity", "25 0.5 0.3", "25 50 0.3", "ROOF", "50");
UNIT_CASE("W-unit-conductivity", "0.11 40 10", "0.11 1.1e-5 10", "CELL", "1.1e-5");
UNIT_CASE("W-unit-conductivity", "0.11 40 10", "0.11 40 1000", "CELL", "1000");
UNIT_CASE("W-unit-conductivity", "300 0.67 3", "300 0.67 1e-6", "CELL", "1e-6");
UNIT_CASE("W-unit-conductivity", "120 0.2 500", "120 0.2 1e-4", "PAVING", "1e-4");
UNIT_CASE("W-unit-drain", "DRAIN 3 0.5 100", "DRAIN 3 50 100", "CELL", "50");
UNIT_CASE("W-unit-drain", "DRAIN 3 0.5 100", "DRAIN 3 0.5 100 3600", "CELL", "3600");
UNIT_CASE("W-unit-drain", "DRAIN 3 0.5 100", "DRAIN 3 0.5 10001", "CELL", "10001");

// --- options and gages -----------------------------------------------------------------------------------------------

UNIT_CASE("W-unit-date", "START_DATE 2024/06/18", "START_DATE 24/06/18", "START_DATE", "24/06/18");
UNIT_CASE("W-unit-date", "END_TIME 0:00", "END_TIME 600", "END_TIME", "600");
UNIT_CASE("W-unit-step", "RUNOFF_STEP 0:01:00\n", "RUNOFF_STEP 5\n", "RUNOFF_STEP", "5");
UNIT_CASE("W-unit-step", "REPORT_STEP 0:15:00", "REPORT_STEP 900", "REPORT_STEP", "900");
UNIT_CASE("W-unit-step", "INTENSITY 0:10:00", "INTENSITY 1000", "GAGE", "1000");
UNIT_CASE("W-step-plain", "REPORT_STEP 0:15:00", "REPORT_STEP 15", "REPORT_STEP", "15");
UNIT_CASE("W-unit-dry-days", "START_DRY_DAYS 5", "START_DRY_DAYS 500", "START_DRY_DAYS", "500");
UNIT_CASE("W-unit-event", "EVENT_INTERVAL 360", "EVENT_INTERVAL 6", "EVENT_INTERVAL", "6");
UNIT_CASE("W-unit-event", "EVENT_MIN_VALUE 1", "EVENT_MIN_VALUE 1000", "EVENT_MIN_VALUE", "1000");
