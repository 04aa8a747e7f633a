// What is thinned keeps its extremes: of each part of the time the least and the greatest value, so that no peak is
// lost whatever the width of a picture. Where even that is too much, buckets grow, then columns but the leading one go,
// and at last objects from the end of the list.

#include "pageseries.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace {

constexpr float NONE = std::numeric_limits<float>::quiet_NaN();

constexpr uint64_t OF_OBJECT = 128, OF_COLUMN = 96;  ///< bytes that their names and places take, roughly

/// The system stays whole: its rain and outflow are what a page begins with.
bool isWhole(const PageSeriesTable& table, bool isLeadingOnly) {
    return !isLeadingOnly || table.name == "System";
}

/// Series that there are, of all columns or of the leading ones.
uint64_t countSeries(const std::vector<PageSeriesTable>& tables, bool isLeadingOnly) {
    uint64_t count = 0;
    for (const PageSeriesTable& table : tables) {
        count += table.objects.size() * (isWhole(table, isLeadingOnly) ? table.columns.size() : 1);
    }
    return count;
}

uint64_t countObjects(const std::vector<PageSeriesTable>& tables) {
    uint64_t count = 0;
    for (const PageSeriesTable& table : tables) {
        count += table.objects.size();
    }
    return count;
}

/// Values that each series may have, so that all of them stay below `most` bytes.
int64_t measureRoom(const std::vector<PageSeriesTable>& tables, bool isLeadingOnly, uint64_t most) {
    const uint64_t series = std::max<uint64_t>(countSeries(tables, isLeadingOnly), 1);
    const uint64_t names = OF_OBJECT * countObjects(tables) + OF_COLUMN * series;
    const uint64_t values = (most > names ? most - names : 0) / PAGE_BYTES_OF_THREE * 3;
    return static_cast<int64_t>(std::min<uint64_t>(values / series, INT32_MAX));
}

/// Settles the length of a series. False if there is room for fewer than the buckets that a picture needs.
bool fit(int64_t count, int64_t room, PageSeriesPlan& plan) {
    plan.isThinned = false;
    plan.length = count;
    if (count <= std::min(PAGE_MOST_POINTS, room)) {
        return true;
    }
    const int64_t buckets = std::min(PAGE_MOST_BUCKETS, room / 2);
    const int64_t length = 2 * std::max(buckets, PAGE_LEAST_BUCKETS);
    if (length < count) {  // of so few reports all are less
        plan.isThinned = true;
        plan.length = length;
    }
    return buckets >= PAGE_LEAST_BUCKETS;
}

PageSeriesPlan makePlan(const std::vector<PageSeriesTable>& tables, int64_t count, uint64_t most) {
    PageSeriesPlan plan;
    plan.tables = tables.size();
    plan.objectsOfLast = tables.empty() ? 0 : tables.back().objects.size();
    if (fit(count, measureRoom(tables, false, most), plan)) {
        return plan;
    }
    plan.isLeadingOnly = true;
    if (fit(count, measureRoom(tables, true, most), plan)) {
        return plan;
    }
    const auto length = static_cast<uint64_t>(plan.length);
    uint64_t left = most / (length * PAGE_BYTES_OF_THREE / 3 + OF_OBJECT + OF_COLUMN);
    plan.tables = 0;
    for (const PageSeriesTable& table : tables) {
        ++plan.tables;
        plan.objectsOfLast = static_cast<size_t>(std::min<uint64_t>(left, table.objects.size()));
        left -= plan.objectsOfLast;
        if (plan.objectsOfLast < table.objects.size()) {
            break;
        }
    }
    return plan;
}

std::string describe(const PageSeries& series) {
    std::string note;
    if (series.plan.isThinned) {
        note = "Lines show the least and the greatest value in each of " + std::to_string(series.plan.length / 2) +
               " parts of the " + std::to_string(series.count) + " reports.";
    }
    if (series.plan.isLeadingOnly) {
        note += note.empty() ? "" : " ";
        note += "To stay below the limit of the page, each object has one line alone, its flow as a rule.";
    }
    size_t all = 0, kept = 0;
    for (const PageSeriesTable& table : series.tables) {
        all += table.objects.size();
        kept += table.objectCount;
    }
    if (kept < all) {
        note += " " + std::to_string(all - kept) + " of " + std::to_string(all) + " objects have none.";
    }
    return note;
}

}  // namespace

size_t pageseries_findLeading(const PageSeriesTable& table) {
    ResultTable known;
    known.name = table.name;
    known.columns = table.columns;
    size_t leading = result_findCarrier(known);
    for (const char* name : {"TotInflow", "Outflow"}) {
        leading = leading == RESULT_NONE ? result_findColumnOf(known, name) : leading;
    }
    return leading == RESULT_NONE ? 0 : leading;
}

PageSeries pageseries_begin(std::vector<PageSeriesTable> tables, int64_t count, uint64_t most) {
    PageSeries series{std::max<int64_t>(count, 0), {}, std::move(tables)};
    series.plan = makePlan(series.tables, series.count, most);
    for (size_t t = 0; t < series.tables.size(); ++t) {
        PageSeriesTable& table = series.tables[t];
        const bool isLast = t + 1 == series.plan.tables;
        table.objectCount = t >= series.plan.tables ? 0 : isLast ? series.plan.objectsOfLast : table.objects.size();
        const size_t leading = pageseries_findLeading(table);
        for (size_t k = 0; k < table.columns.size(); ++k) {
            if (isWhole(table, series.plan.isLeadingOnly) || k == leading) {
                table.kept.push_back(k);
            }
        }
        table.values.assign(table.objectCount * table.kept.size() * static_cast<size_t>(series.plan.length), NONE);
    }
    series.note = describe(series);
    return series;
}

int64_t pageseries_findBucket(int64_t report, int64_t count, int64_t buckets) {
    return ((report + 1) * buckets - 1) / count;
}

void pageseries_add(PageSeries& series, size_t table, size_t object, int64_t report, const float* row) {
    PageSeriesTable& kept = series.tables[table];
    if (object >= kept.objectCount || report < 0 || report >= series.count) {
        return;
    }
    const auto length = static_cast<size_t>(series.plan.length);
    float* place = kept.values.data() + object * kept.kept.size() * length;
    if (!series.plan.isThinned) {
        place += report;
        for (size_t k = 0; k < kept.kept.size(); ++k, place += length) {
            *place = row[kept.kept[k]];
        }
        return;
    }
    place += 2 * pageseries_findBucket(report, series.count, series.plan.length / 2);
    for (size_t k = 0; k < kept.kept.size(); ++k, place += length) {
        const float value = row[kept.kept[k]];
        place[0] = place[0] <= value ? place[0] : std::isnan(value) ? place[0] : value;
        place[1] = place[1] >= value ? place[1] : std::isnan(value) ? place[1] : value;
    }
}

std::string pageseries_encodeBytes(const unsigned char* bytes, size_t count) {
    static constexpr const char* LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((count + 2) / 3 * 4);
    for (size_t k = 0; k < count; k += 3) {
        const auto get = [&](size_t place) { return place < count ? static_cast<uint32_t>(bytes[place]) : 0u; };
        const uint32_t group = get(k) << 16 | get(k + 1) << 8 | get(k + 2);
        text += LETTERS[group >> 18];
        text += LETTERS[group >> 12 & 63u];
        text += k + 1 < count ? LETTERS[group >> 6 & 63u] : '=';
        text += k + 2 < count ? LETTERS[group & 63u] : '=';
    }
    return text;
}

std::string pageseries_encode(const PageSeries& series, size_t table, size_t object) {
    const PageSeriesTable& kept = series.tables[table];
    const size_t count = kept.kept.size() * static_cast<size_t>(series.plan.length);
    std::vector<unsigned char> bytes(4 * count);
    for (size_t k = 0; k < count; ++k) {
        const auto bits = std::bit_cast<uint32_t>(kept.values[object * count + k]);
        for (size_t b = 0; b < 4; ++b) {
            bytes[4 * k + b] = static_cast<unsigned char>(bits >> (8 * b));
        }
    }
    return pageseries_encodeBytes(bytes.data(), bytes.size());
}
