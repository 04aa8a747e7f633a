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

/// Series that there are, of all columns or of the leading ones.
uint64_t countSeries(const std::vector<PageSeriesTable>& tables, bool isLeadingOnly) {
    uint64_t count = 0;
    for (const PageSeriesTable& table : tables) {
        count += table.objects.size() * (isLeadingOnly ? 1 : table.columns.size());
    }
    return count;
}

/// Values that a series may have. False if there is room for fewer than the buckets that a picture needs.
bool fit(uint64_t series, int64_t count, uint64_t mostValues, PageSeriesPlan& plan) {
    const auto each = static_cast<int64_t>(std::min<uint64_t>(mostValues / std::max<uint64_t>(series, 1), INT32_MAX));
    if (count <= std::min(PAGE_MOST_POINTS, each)) {
        plan.isThinned = false;
        plan.length = count;
        return true;
    }
    // A series that has hardly more reports than that is kept whole, which is more and costs less.
    const int64_t buckets = std::min(PAGE_MOST_BUCKETS, each / 2);
    plan.isThinned = true;
    plan.length = 2 * std::max(buckets, PAGE_LEAST_BUCKETS);
    if (plan.length >= count) {
        plan.isThinned = false;
        plan.length = count;
    }
    return buckets >= PAGE_LEAST_BUCKETS;
}

PageSeriesPlan makePlan(const std::vector<PageSeriesTable>& tables, int64_t count, uint64_t most) {
    const uint64_t mostValues = most / PAGE_BYTES_BY_VALUE * 3;
    PageSeriesPlan plan;
    plan.tables = tables.size();
    plan.objectsOfLast = tables.empty() ? 0 : tables.back().objects.size();
    if (fit(countSeries(tables, false), count, mostValues, plan)) {
        return plan;
    }
    plan.isLeadingOnly = true;
    if (fit(countSeries(tables, true), count, mostValues, plan)) {
        return plan;
    }
    uint64_t left = mostValues / static_cast<uint64_t>(std::max<int64_t>(plan.length, 1));
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
        note = "Lines show the least and the greatest value of each " + std::to_string(series.plan.length / 2) +
               "th part of the " + std::to_string(series.count) + " reports.";
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
        const bool isWhole = !series.plan.isLeadingOnly || table.name == "System";
        const size_t leading = pageseries_findLeading(table);
        for (size_t k = 0; k < table.columns.size(); ++k) {
            if (isWhole || k == leading) {
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
