// See town.h. This source writes the head of the project, its weather, and the land; network.cpp the rest.

#include "town.h"

#include <algorithm>

#include "plan.h"
#include "rain.h"
#include "random.h"
#include "sections.h"
#include "text.h"

namespace {

enum Stream : uint64_t { LAND = 10, UNITS };

constexpr const char* LIDS[7] = {"CELL", "GARDEN", "ROOF", "TRENCH", "PAVING", "BARREL", "DITCH"};

// They begin empty: the balance has water of theirs that isn't there.
constexpr int ROOF = 2, DITCH = 6;

constexpr const char* LID_TEXT =
    "[LIDS]\n"
    "CELL BC\nCELL SURFACE 150 0.1 0.1 1 0\nCELL SOIL 500 0.45 0.2 0.1 40 10\nCELL STORAGE 300 0.67 3\n"
    "CELL DRAIN 3 0.5 100\n"
    "GARDEN RG\nGARDEN SURFACE 150 0.15 0.1 1 0\nGARDEN SOIL 400 0.45 0.2 0.1 40 10\nGARDEN STORAGE 0 0 8\n"
    "ROOF GR\nROOF SURFACE 20 0 0.1 2 0\nROOF SOIL 100 0.5 0.3 0.1 80 10\nROOF DRAINMAT 25 0.5 0.3\n"
    "TRENCH IT\nTRENCH SURFACE 50 0 0.1 1 0\nTRENCH STORAGE 900 0.67 12\nTRENCH DRAIN 4 0.5 600\n"
    "PAVING PP\nPAVING SURFACE 5 0 0.02 1 0\nPAVING PAVEMENT 120 0.2 500\nPAVING SOIL 100 0.4 0.2 0.1 60 10\n"
    "PAVING STORAGE 300 0.67 3\nPAVING DRAIN 3 0.5 150\n"
    "BARREL RB\nBARREL STORAGE 1500 1 0\nBARREL DRAIN 6 0.5 50 6\n"
    "DITCH VS\nDITCH SURFACE 400 0.1 0.15 1 3\nDITCH STORAGE 100 1 5\n";

/// A storm of two hours, in mm/h each five minutes, of 27 mm.
constexpr int STORM_RATES[] = {2, 3, 4, 5, 6, 8, 10, 14, 20, 32, 60, 45, 30, 22, 16, 12, 10, 8, 6, 5, 4, 3, 2, 2};

struct Date {
    int64_t year, month, day;
};

/// The date that lies some days behind the first of January 2023.
Date makeDate(int64_t days) {
    constexpr int LENGTHS[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    Date date{2023, 1, 1 + days};
    for (;;) {
        const bool isLeap = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
        const int64_t length = LENGTHS[date.month - 1] + (date.month == 2 && isLeap ? 1 : 0);
        if (date.day <= length) {
            return date;
        }
        date.day -= length;
        date.year += date.month == 12 ? 1 : 0;
        date.month = date.month % 12 + 1;
    }
}

void writeDate(TownText& out, int64_t days) {
    const Date date = makeDate(days);
    out << date.year << "/" << (date.month < 10 ? "0" : "") << date.month << "/" << (date.day < 10 ? "0" : "")
        << date.day;
}

void writeTime(TownText& out, int64_t seconds) {
    const int64_t minutes = seconds / 60 % 60, rest = seconds % 60;
    out << seconds / 3600 << ":" << (minutes < 10 ? "0" : "") << minutes << ":" << (rest < 10 ? "0" : "") << rest;
}

int getDays(const TownOptions& options) {
    if (options.days > 0) {
        return options.days;
    }
    switch (options.weather) {
        case TownWeather::YEAR: return RAIN_DAYS;
        case TownWeather::WEEK:
        case TownWeather::DRY: return 7;
        default: return 1;
    }
}

/// The first day of the year's rain with which a week has 10 to 40 mm, from June on.
int findWeek(const std::vector<int32_t>& rates) {
    constexpr int JUNE = 151;
    for (int day = JUNE; day + 7 < RAIN_DAYS; ++day) {
        const auto begin = rates.begin() + day * RAIN_INTERVALS_PER_DAY;
        int64_t sum = 0;
        std::for_each(begin, begin + 7 * RAIN_INTERVALS_PER_DAY, [&sum](int32_t rate) { sum += rate; });
        const double depth = static_cast<double>(sum) * (RAIN_INTERVAL / 360000.0);
        if (depth >= 10.0 && depth <= 40.0) {
            return day;
        }
    }
    return JUNE;
}

int64_t getFirstDay(const TownOptions& options) {
    switch (options.weather) {
        case TownWeather::YEAR: return 0;
        case TownWeather::WEEK: return findWeek(rain_makeYear(options.seed, 0));
        default: return 153;
    }
}

bool hasLongRain(const TownOptions& options) {
    return options.weather == TownWeather::YEAR || options.weather == TownWeather::WEEK;
}

void writeOption(TownText& out, std::string_view option, int64_t seconds) {
    out << option;
    writeTime(out, seconds);
    out << "\n";
}

void writeGeneral(TownText& out, const TownPlan& plan) {
    const TownOptions& options = plan.options;
    const int64_t first = getFirstDay(options);
    out << "[DESCRIPTION]\nA made-up town of " << options.subcatchments << " subcatchments, seed "
        << static_cast<int64_t>(options.seed) << "\n[GENERAL]\nSTART_DATE ";
    writeDate(out, first);
    out << "\nEND_DATE ";
    writeDate(out, first + getDays(options));
    out << "\n";
    const int64_t runoff = options.runoffStep > 0 ? options.runoffStep : hasLongRain(options) ? 300 : 60;
    writeOption(out, "ROUTING_STEP ", options.routingStep);
    writeOption(out, "RUNOFF_STEP ", std::max<int64_t>(runoff, options.routingStep));
    writeOption(out, "REPORT_STEP ", std::max(options.reportStep, options.routingStep));
    out << "REPORT_AVERAGE NO\nEVENT_INTERVAL 360\nSTART_DRY_DAYS "
        << (options.weather == TownWeather::NONE  ? "60"
            : options.weather == TownWeather::DRY ? "0"
                                                  : "3")
        << "\n[EVAPORATION]\nMONTHLY 0.4 0.7 1.4 2.2 3.0 3.5 3.6 3.0 2.0 1.1 0.5 0.3\n";
}

// --- rain ----------------------------------------------------------------------------------------------------------

/// Rates of one interval each from the start of a day on; dry ones are left out but beside wet ones, since events are
/// looked for on the line between the entries.
void writeRates(TownText& out, int gage, int64_t firstDay, const std::vector<int32_t>& rates, int interval) {
    const int64_t perDay = 86400 / interval;
    const int64_t count = static_cast<int64_t>(rates.size());
    const auto isWet = [&](int64_t k) { return k >= 0 && k < count && rates[static_cast<size_t>(k)] > 0; };
    int64_t day = -1, onLine = 0;
    for (int64_t k = 0; k < count; ++k) {
        if (k > 0 && !isWet(k - 1) && !isWet(k) && !isWet(k + 1)) {
            continue;
        }
        if (k / perDay != day || onLine == 12) {
            day = k / perDay;
            onLine = 0;
            out << (k > 0 ? "\nRAIN" : "RAIN") << int64_t{gage} << " ";
            writeDate(out, firstDay + day);
        }
        const int64_t minutes = k % perDay * interval / 60;
        out << " " << minutes / 60 << (minutes % 60 < 10 ? ":0" : ":") << minutes % 60 << " "
            << TownDecimal{rates[static_cast<size_t>(k)], 2};
        ++onLine;
    }
    out << "\n";
}

std::vector<int32_t> makeRates(const TownOptions& options, int gage) {
    std::vector<int32_t> rates;
    if (hasLongRain(options)) {
        const std::vector<int32_t> year = rain_makeYear(options.seed, gage);
        const int64_t days = getDays(options), first = getFirstDay(options);
        for (int64_t k = 0; k < days * RAIN_INTERVALS_PER_DAY; ++k) {
            rates.push_back(year[static_cast<size_t>(first * RAIN_INTERVALS_PER_DAY + k) % year.size()]);
        }
        return rates;
    }
    if (options.weather == TownWeather::STORM) {
        rates.assign(static_cast<size_t>(12 + 2 * gage), 0);
        for (const int rate : STORM_RATES) {
            rates.push_back(rate * (100 - 5 * gage));
        }
    }
    rates.resize(std::max<size_t>(rates.size() + 1, 12), 0);
    return rates;
}

void writeRain(TownText& out, const TownPlan& plan) {
    const int interval = hasLongRain(plan.options) ? RAIN_INTERVAL : 300;
    out << "[TIMESERIES]\n";
    for (int gage = 0; gage < plan.gages; ++gage) {
        writeRates(out, gage, getFirstDay(plan.options), makeRates(plan.options, gage), interval);
    }
    out << "[RAINGAGES]\n";
    for (int64_t gage = 0; gage < plan.gages; ++gage) {
        out << "GAGE" << gage << " INTENSITY ";
        writeTime(out, interval);
        out << " RAIN" << gage << "\n";
    }
}

// --- land ----------------------------------------------------------------------------------------------------------

void writeSubcatchments(TownText& out, const TownPlan& plan) {
    out << "[SUBCATCHS]\n";
    for (int64_t k = 0; k < plan_getSize(plan); ++k) {
        const TownPlot plot = plan_makePlot(plan, k);
        TownRandom random = townRandom_make(plan.options.seed, LAND, static_cast<uint64_t>(k));
        out << "S" << k << " GAGE" << k / DISTRICT % plan.gages << " ";
        sections_writeNode(out, plan, k);
        out << " " << TownDecimal{plot.area, 2} << " " << plot.width << " " << plot.imperviousness << " "
            << TownDecimal{plot.slope, 2} << " " << TownDecimal{townRandom_pick(random, 12, 16), 3} << " "
            << TownDecimal{townRandom_pick(random, 12, 30), 2} << " " << TownDecimal{townRandom_pick(random, 8, 20), 1}
            << " " << TownDecimal{townRandom_pick(random, 25, 60), 1} << " " << townRandom_pick(random, 30, 80) << " "
            << townRandom_pick(random, 3, 12) << " " << TownDecimal{townRandom_pick(random, 20, 50), 1} << " 5 0\n";
    }
}

void writeQuality(TownText& out, const TownPlan& plan) {
    constexpr const char* POLLUTANTS[4] = {"TSS 0\n", "COD 4\n", "NH4 0\n", "ZN 0.03\n"};
    constexpr const char* BUILDUP[2][4] = {
        {"LIVING TSS 60 0.25\n", "LIVING COD 40 0.3\n", "LIVING NH4 2 0.3\n", "LIVING ZN 0.15 0.2\n"},
        {"TRADE TSS 160 0.4\n", "TRADE COD 70 0.4\n", "TRADE NH4 3 0.4\n", "TRADE ZN 0.9 0.35\n"}};
    constexpr const char* WASHOFF[2][4] = {{"LIVING TSS EXP 0.1 1.3 0\n", "LIVING COD EMC 35 NO 0\n",
                                            "LIVING NH4 EMC 0.8 YES 0\n", "LIVING ZN EXP 0.06 1.2 0\n"},
                                           {"TRADE TSS EXP 0.12 1.45 0.15\n", "TRADE COD EXP 0.05 1.1 0.1\n",
                                            "TRADE NH4 EMC 1.2 NO 0\n", "TRADE ZN EXP 0.08 1.25 0.15\n"}};
    const int pollutants = plan.options.pollutants, uses = plan.options.landUses;
    if (pollutants == 0) {
        return;
    }
    const auto writeTable = [&](const char* header, const char* const lines[2][4]) {
        out << header;
        for (int k = 0; k < uses * pollutants; ++k) {
            out << lines[k / pollutants][k % pollutants];
        }
    };
    out << "[POLLUTANTS]\n";
    for (int k = 0; k < pollutants; ++k) {
        out << POLLUTANTS[k];
    }
    out << (uses == 2 ? "[LANDUSES]\nLIVING\nTRADE\n" : "[LANDUSES]\nLIVING\n");
    writeTable("[BUILDUP]\n", BUILDUP);
    writeTable("[WASHOFF]\n", WASHOFF);
    out << "[COVERAGES]\n";
    for (int64_t k = 0; k < plan_getSize(plan); ++k) {
        const int64_t share = uses == 2 ? 20 + (k * 37) % 61 : 100;
        out << "S" << k << " LIVING " << share << "\n";
        if (uses == 2) {
            out << "S" << k << " TRADE " << 100 - share << "\n";
        }
    }
}

void writeUnits(TownText& out, const TownPlan& plan) {
    if (std::all_of(plan.lids.begin(), plan.lids.end(), [](int32_t type) { return type < 0; })) {
        return;
    }
    out << LID_TEXT << "[LID_GROUPS]\n";
    const bool isDry = plan.options.weather == TownWeather::NONE;
    for (int64_t k = 0; k < plan_getSize(plan); ++k) {
        const int type = plan.lids[static_cast<size_t>(k)];
        if (type < 0) {
            continue;
        }
        TownRandom random = townRandom_make(plan.options.seed, UNITS, static_cast<uint64_t>(k));
        const int64_t area = plan_makePlot(plan, k).area * townRandom_pick(random, 4, 9);  // m2: 4 to 9 %
        out << "S" << k << " " << LIDS[type] << " " << area << " " << 2 + area / 50 << " "
            << (isDry || type == ROOF || type == DITCH ? 0 : townRandom_pick(random, 5, 40)) << " "
            << townRandom_pick(random, 20, 60) << "\n";
    }
    if (plan.options.pollutants > 0) {
        out << "[DECAY_COEFFICIENT]\nCELL LID TSS FIRST 3 \"\" SOIL\nGARDEN LID TSS FIRST 3 \"\" SOIL\n"
               "TRENCH LID TSS FIRST 2 \"\" STORAGE\nBARREL LID TSS FIRST 1 \"\" STORAGE\n"
               "DITCH LID TSS FIRST 4 DAY SURFACE\n";
    }
}

void writeTown(TownText& out, const TownOptions& options) {
    const TownPlan plan = plan_make(options);
    writeGeneral(out, plan);
    writeRain(out, plan);
    writeSubcatchments(out, plan);
    sections_writeNetwork(out, plan);
    writeQuality(out, plan);
    writeUnits(out, plan);
    sections_writeFlows(out, plan);
    sections_writeTables(out, plan);
    townText_flush(out);
}

}  // namespace

void town_makePlain(TownOptions& options) {
    options.conduits = options.connections = options.tanks = options.reactors = 0.0;
    options.splitters = options.rules = options.lids = 0.0;
    options.hasDryFlow = false;
}

std::string town_makeText(const TownOptions& options) {
    TownText out;
    writeTown(out, options);
    return std::move(out.text);
}

bool town_writeText(const TownOptions& options, std::FILE* file) {
    TownText out;
    out.file = file;
    writeTown(out, options);
    return !out.isFailed && std::fflush(file) == 0;
}
