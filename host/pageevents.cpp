// Events of flow in the tables of a page: each object's statistics, and the largest events of all.

#include <algorithm>
#include <cmath>
#include <limits>

#include "json.h"
#include "pagetables.h"
#include "stats.h"
#include "units.h"

namespace {

constexpr size_t MOST_EVENTS = 1000;  ///< in a table

double getEventDate(int64_t time) {
    return static_cast<double>(time) / SECONDS_PER_DAY;
}

using List = std::vector<const StatsStepsFound*>;

template <class Get>
std::vector<double> collect(const List& list, Get get) {
    std::vector<double> numbers;
    for (const StatsStepsFound* events : list) {
        numbers.push_back(get(*events));
    }
    return numbers;
}

PageTable begin(const char* key, const char* title, const std::string& note, const char* itsClass) {
    PageTable table{key, title, note, {}};
    table.object = 0;
    table.objectClass = itsClass;
    return table;
}

void addNames(PageTable& table, const List& list) {
    std::vector<std::string> ids, kinds;
    for (const StatsStepsFound* events : list) {
        ids.push_back(events->object);
        kinds.push_back(events->table);
    }
    pagetables_addTexts(table, "ID", ids);
    pagetables_addTexts(table, "Type", kinds);
}

PageTable makeStatistics(const List& list, const std::vector<std::string>& pollutants, PageTable table) {
    addNames(table, list);
    const auto add = [&](const char* name, const char* unit, auto get, int digits) {
        pagetables_addNumbers(table, name, unit, collect(list, get), digits);
    };
    add(
        "Events", "", [](const StatsStepsFound& e) { return static_cast<double>(e.summary.events); }, 0);
    add(
        "Time with flow", "h", [](const StatsStepsFound& e) { return stats_getHours(e.summary.wet); }, 2);
    add(
        "Volume", "m3", [](const StatsStepsFound& e) { return e.summary.volume; }, 3);
    add(
        "Peak", "m3/s", [](const StatsStepsFound& e) { return e.summary.peak; }, 3);
    pagetables_addDates(table, "at", collect(list, [](const StatsStepsFound& e) {
                            return e.summary.peak > 0.0 ? getEventDate(e.summary.peakTime) : 0.0;
                        }));
    add(
        "Largest event", "m3", [](const StatsStepsFound& e) { return e.summary.largestVolume; }, 3);
    const bool isLong = std::any_of(list.begin(), list.end(), [](const StatsStepsFound* events) {
        return statssummary_getYears(events->summary) >= 1.0;
    });
    if (isLong) {
        add(
            "Events by year", "",
            [](const StatsStepsFound& e) {
                return statssummary_getByYear(e.summary, static_cast<double>(e.summary.events));
            },
            2);
    }
    for (size_t p = 0; p < pollutants.size(); ++p) {
        add(
            pollutants[p].c_str(), "kg",
            [p](const StatsStepsFound& e) {
                return p < e.summary.loads.size() ? e.summary.loads[p].mass : std::nan("");
            },
            3);
    }
    return table;
}

/// An event and whose it is.
struct Place {
    const StatsStepsFound* object;
    const StatsEvent* event;
};

/// The largest events, in the order of objects and time.
std::vector<Place> chooseEvents(const List& list, size_t& all) {
    std::vector<Place> places;
    for (const StatsStepsFound* object : list) {
        for (const StatsEvent& event : object->events) {
            places.push_back({object, &event});
        }
    }
    all = places.size();
    if (all > MOST_EVENTS) {
        std::vector<double> volumes;
        for (const Place& place : places) {
            volumes.push_back(place.event->volume);
        }
        const auto last = volumes.begin() + static_cast<ptrdiff_t>(MOST_EVENTS - 1);
        std::nth_element(volumes.begin(), last, volumes.end(), std::greater<>());
        const double least = *last;
        std::erase_if(places, [&](const Place& place) { return place.event->volume < least; });
        places.resize(std::min(places.size(), MOST_EVENTS));
    }
    return places;
}

PageTable makeList(const List& list, const std::vector<std::string>& pollutants, PageTable table) {
    size_t all = 0;
    const std::vector<Place> places = chooseEvents(list, all);
    if (places.size() < all) {
        table.note += " The " + std::to_string(places.size()) + " largest of " + std::to_string(all) + " events.";
    }
    table.columns = {{"ID", "", "text"},         {"Begin", "", "date"},      {"End", "", "date"},
                     {"Flow", "h", "number", 2}, {"Volume", "m3", "number"}, {"Peak", "m3/s", "number"},
                     {"at", "", "date"}};
    for (const std::string& pollutant : pollutants) {
        table.columns.push_back({pollutant, "kg", "number"});
    }
    for (const auto& [object, event] : places) {
        std::vector<std::string> row{json_quote(object->object),
                                     pagedata_formatDate(getEventDate(event->start)),
                                     pagedata_formatDate(getEventDate(event->end)),
                                     json_formatNumber(stats_getHours(event->wet)),
                                     json_formatNumber(event->volume),
                                     json_formatNumber(event->peak),
                                     pagedata_formatDate(getEventDate(event->peakTime))};
        for (size_t p = 0; p < pollutants.size(); ++p) {
            row.push_back(json_formatNumber(p < event->loads.size() ? event->loads[p].mass : std::nan("")));
        }
        table.rows.push_back(std::move(row));
    }
    return table;
}

}  // namespace

void pagetables_addEvents(std::vector<PageTable>& tables, const std::vector<StatsStepsFound>& list,
                          const std::vector<std::string>& pollutants, const std::string& note) {
    List outfalls, links;
    for (const StatsStepsFound& events : list) {
        (events.table == "Outfall" ? outfalls : links).push_back(&events);
    }
    if (!outfalls.empty()) {
        tables.push_back(
            makeStatistics(outfalls, pollutants, begin("outfall-events", "Events of outfalls", note, "nodes")));
        tables.push_back(
            makeList(outfalls, pollutants, begin("outfall-event-list", "Each event of outfalls", note, "nodes")));
    }
    if (!links.empty()) {
        tables.push_back(makeStatistics(links, pollutants,
                                        begin("link-events", "Events of pumps, weirs and orifices", note, "links")));
        tables.push_back(makeList(links, pollutants,
                                  begin("link-event-list", "Each event of pumps, weirs and orifices", note, "links")));
    }
}
