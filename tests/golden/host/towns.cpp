// Towns of many seeds, steps and ways to report.

#include "host.h"
#include "town.h"

void cases_addTowns(std::vector<Case>& cases) {
    for (int k = 0; k < 16; ++k) {
        Town town;
        town.seed = 100 + static_cast<uint64_t>(k);
        town.stages = 10 + k % 5 * 3;
        town.subcatchs = 3 + k % 4;
        town.pollutants = 1 + k % 4;
        town.times.start = k % 3 * 3600;
        cases_add(cases, name("town-", k), town_make(town));
    }
    const Times others[] = {{300, 60, 300, 300, true, 0},  {500, 30, 60, 90, true, 1800},
                            {240, 60, 300, 240, false, 0}, {150, 120, 120, 120, false, 79200},
                            {260, 60, 60, 60, true, 0},    {97, 300, 600, 700, true, 0}};
    int index = 0;
    for (const Times& times : others) {
        Town town;
        town.seed = 200 + static_cast<uint64_t>(index);
        town.times = times;
        cases_add(cases, name("town-times-", index++), town_make(town));
    }
    Town clean;
    clean.seed = 301;
    clean.pollutants = 0;
    cases_add(cases, "town-clean-water", town_make(clean));
    Town plain;
    plain.seed = 302;
    plain.hasRules = plain.hasLids = false;
    cases_add(cases, "town-plain", town_make(plain));
    Town wide;
    wide.seed = 303;
    wide.stages = 60;
    wide.subcatchs = 20;
    wide.times.steps = 120;
    cases_add(cases, "town-wide", town_make(wide));
}
