#pragma once
// Series of a page: rows of results as they come, report by report, each kept whole or thinned to the extremes of parts
// of the time. How much is kept is settled ahead of the first row, so that no run takes more memory than its page.

#include <cstdint>
#include <string>
#include <vector>

#include "resultfile.h"

/// How many values a page keeps.
struct PageSeriesPlan {
    bool isThinned = false;      ///< pairs of the least and the greatest value of each bucket of reports
    int64_t length = 0;          ///< values of a series: reports, or twice the buckets
    bool isLeadingOnly = false;  ///< of each object the leading column alone
    size_t tables = 0;           ///< by the order of pageseries_begin; what stands behind them has no series
    size_t objectsOfLast = 0;    ///< of the last of these tables
};

/// A table with its objects, and what is kept of them.
struct PageSeriesTable {
    std::string name;
    std::vector<ResultColumn> columns;
    std::vector<std::string> objects;
    std::vector<size_t> kept{};   ///< columns that are kept
    size_t objectCount = 0;       ///< objects that are, the first ones
    std::vector<float> values{};  ///< object by object, column by column
};

struct PageSeries {
    int64_t count = 0;  ///< reports
    PageSeriesPlan plan;
    std::vector<PageSeriesTable> tables;
    std::string note{};  ///< what is less than all there is; empty for nothing
};

inline constexpr int64_t PAGE_MOST_POINTS = 5000;    ///< of a series that isn't thinned
inline constexpr int64_t PAGE_MOST_BUCKETS = 2000;   ///< of one that is
inline constexpr int64_t PAGE_LEAST_BUCKETS = 200;   ///< before columns or objects are left out
inline constexpr uint64_t PAGE_BYTES_OF_THREE = 16;  ///< values, in base64

/// Series of so many reports that take `most` bytes of a page at most.
[[nodiscard]] PageSeries pageseries_begin(std::vector<PageSeriesTable> tables, int64_t count, uint64_t most);

/// Takes the row of an object: all columns of its table. Reports count from 0; what lies outside is left out.
void pageseries_add(PageSeries& series, size_t table, size_t object, int64_t report, const float* row);

/// The bucket that a report lies in: of n buckets the i-th begins with report i × count ÷ n, rounded down.
[[nodiscard]] int64_t pageseries_findBucket(int64_t report, int64_t count, int64_t buckets);

/// The column of a table that comes first where there isn't room for all: the flow, as a rule.
[[nodiscard]] size_t pageseries_findLeading(const PageSeriesTable& table);

/// The values of an object, as text: single precision, the lowest byte first, in base64.
[[nodiscard]] std::string pageseries_encode(const PageSeries& series, size_t table, size_t object);

/// Bytes in base64 (RFC 4648).
[[nodiscard]] std::string pageseries_encodeBytes(const unsigned char* bytes, size_t count);
