// Rain, evaporation, subcatchments, and what they build up and wash off.

#include "host.h"
#include "text.h"

namespace {

constexpr const char* RAIN =
    "[TIMESERIES]\nT 2024/05/06 0:10 3 0:15 12 0:20 40 0:25 22 0:30 0 0:35 0 0:40 8 0:45 90 0:50 30 0:55 4 1:00 0\n"
    "T 2024/05/06 2:00 6 2:05 6.5 2:10 0.2 2:15 0\n";

constexpr const char* SUBCATCHS =
    "A G O 1 100 60 1 0.013 0.15 1 3 40 5 4 5 0\nB G O 2.5 60 5 0.4 0.02 0.3 1 5 60 2 2 5 12\n"
    "C G O 0.3 90 100 3 0.011 0.1 0.5 2 10 10 3 5 0\nD G O 0.7 20 0 0.2 0.02 0.4 1 6 30 1 5 2 0\n";

struct Land {
    std::string options;
    Times times{240, 60, 60, 60, false, 0};
    std::string evaporation = "CONSTANT 4\n";
    std::string gages = "G INTENSITY 0:05 T\n";
    std::string subcatchs = SUBCATCHS;
    std::string quality;
    std::string rain = RAIN;
};

std::string makeLand(const Land& land) {
    return "[GENERAL]\n" + general(land.times) + land.options + "[EVAPORATION]\n" + land.evaporation + "[RAINGAGES]\n" +
           land.gages + "[SUBCATCHS]\n" + land.subcatchs + "[OUTFALLS]\nO\n" + land.quality + land.rain;
}

Land withQuality(const std::string& washoff, const std::string& more = "") {
    Land land;
    land.options = "START_DRY_DAYS 4\n";
    land.quality =
        "[POLLUTANTS]\nP 4\nQ 0\nR 0.5\n[LANDUSES]\nU\nV\n[COVERAGES]\nA U 70\nA V 30\nB U 100\nC V 80\nD U 20\nD V "
        "40\n"
        "[BUILDUP]\nU P 40 0.4\nU Q 10 0.1\nV P 90 0.3\nV R 5 0\n[WASHOFF]\n" +
        washoff + more;
    return land;
}

Land withEvaporation(const std::string& text) {
    Land land;
    land.evaporation = text;
    return land;
}

Land withGages(const std::string& gages, const std::string& rain) {
    Land land;
    land.gages = gages;
    land.rain = rain;
    land.options = "EVENT_INTERVAL 10\nEVENT_MIN_VALUE 0.4\n";
    return land;
}

Land withTimes(const Times& times) {
    Land land = withQuality("U P EXP 0.2 1.2 0.1\nU Q EMC 30 YES 0\nV P EMC 60 NO 0.3\n");
    land.times = times;
    return land;
}

void addGages(std::vector<Case>& cases) {
    cases_add(cases, "gage-volume",
              makeLand(withGages("G VOLUME 0:05 T\n",
                                 "[TIMESERIES]\nT 2024/05/06 0:00 0 0:05 1.5 0:12 2 0:15 0.5 0:20 0\n")));
    cases_add(cases, "gage-shared",
              makeLand(withGages("G INTENSITY 0:05 T\nG2 INTENSITY 0:10 T\nG3 INTENSITY 0:02 X\n",
                                 std::string(RAIN) + "X 2024/05/06 0:00 1 0:02 40 0:04 3 1:00 0\n[SUBCATCHS]\n"
                                                     "E G2 O 1 80 50 1 0.013 0.2 1 3 40 5 4 5 0\n"
                                                     "F G3 O 1 80 50 1 0.013 0.2 1 3 40 5 4 5 0\n")));
    cases.push_back(
        {"gage-from-file",
         {{"model.inp", makeLand(withGages("G INTENSITY 0:05 T\n", "[TIMESERIES]\nT FILE \"rain of may.dat\"\n"))},
          {"rain of may.dat",
           "; made up\n\n2024/05/05 23:50 0\n2024/05/06 0:05 12 more\n2024-MAY-06 0:10 44\n2024/05/06 0.25 8\n"
           "2024/05/06 0:40:30 16\n2024/05/06 1:00 0\n2024/05/06 30:00 0"}},
         script_runBoth});
    cases_add(cases, "gage-gaps",
              makeLand(withGages("G INTENSITY 0:20 T\n",
                                 "[TIMESERIES]\nT 2024/05/05 23:50 5 23:55 9\nT 2024/05/06 0:05 14 0:10 0 0:55 30 2:00 "
                                 "-1 2:30 0 3:55 9\n")));
}

}  // namespace

void cases_addLand(std::vector<Case>& cases) {
    cases_add(cases, "land-constant-evaporation", makeLand(withEvaporation("CONSTANT 7.5\n")));
    cases_add(cases, "land-monthly-evaporation",
              makeLand(withEvaporation("MONTHLY 0.4 0.7 1.4 2.2 13 3.5 3.6 3 2 1.1 0.5 0.3\n")));
    cases_add(cases, "land-no-evaporation", makeLand(withEvaporation("")));
    cases_add(cases, "land-negative-evaporation", makeLand(withEvaporation("CONSTANT -20\n")));
    cases_add(cases, "land-washoff-exp",
              makeLand(withQuality("U P EXP 0.3 1.3 0\nU Q EXP 0.1 0.8 0.2\nV P EXP 2 1.1 0\n")));
    cases_add(cases, "land-washoff-emc",
              makeLand(withQuality("U P EMC 40 YES 0\nU Q EMC 15 NO 0.25\nV P EMC 80 NO 1.4\nV R EMC 6 YES 0\n",
                                   "[LOADINGS]\nA P 35\nB Q 0\nC R 4\nD P 0.2\n")));
    cases_add(cases, "land-washoff-odd",
              makeLand(withQuality(
                  "U P EMC 40 YES 0\nU P SURFACE 1 1 1\nU Q SOIL 0 0 0\nV P EXP 0.2 1 0\nV P EMC 30 YES 0.1\n"
                  "V R DRAIN 1 2 3\n",
                  "[LOADINGS]\nA R 3\nC R 2\n[COVERAGES]\nB V -10\n")));
    Land lengthy = withQuality("U P EXP 0.3 1.3 0\n");
    lengthy.subcatchs += "LAST G O 9 20 3 0.05 0.03 0.9 2 8 15 1 2 5 20\n";
    lengthy.times = {200, 60, 900, 60, false, 0};
    cases_add(cases, "land-long-steps", makeLand(lengthy));
    const Times others[] = {
        {300, 30, 60, 60, false, 0}, {100, 120, 300, 240, true, 3600}, {200, 60, 120, 180, true, 0}};
    int index = 0;
    for (const Times& times : others) {
        cases_add(cases, name("land-times-", index++), makeLand(withTimes(times)));
    }
    addGages(cases);
}
