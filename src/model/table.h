#pragma once
// A table of records: all objects of one class or kind, by the index that other records know them by.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Rows are counted with 32 bits, as the indices are that stand in records.
template <class Record>
struct Table {
    std::vector<Record> rows;

    Record& operator[](std::integral auto index) { return rows[static_cast<size_t>(index)]; }
    const Record& operator[](std::integral auto index) const { return rows[static_cast<size_t>(index)]; }

    int32_t size() const { return static_cast<int32_t>(rows.size()); }
    bool empty() const { return rows.empty(); }

    /// Whether there is a row of this index; of a negative one there is none.
    bool holds(int32_t index) const { return static_cast<uint32_t>(index) < rows.size(); }

    /// The row of an index, or null.
    Record* find(int32_t index) { return holds(index) ? &rows[static_cast<size_t>(index)] : nullptr; }
    const Record* find(int32_t index) const { return holds(index) ? &rows[static_cast<size_t>(index)] : nullptr; }

    Record* data() { return rows.data(); }
    const Record* data() const { return rows.data(); }
    Record& back() { return rows.back(); }
    auto begin() { return rows.begin(); }
    auto end() { return rows.end(); }
    auto begin() const { return rows.begin(); }
    auto end() const { return rows.end(); }

    /// The row of an index, which must be there: throws otherwise. For tests.
    Record& at(std::integral auto index) { return rows.at(static_cast<size_t>(index)); }

    /// Rows of value-initialised records.
    void resize(int32_t count) { rows.resize(static_cast<size_t>(count)); }
    void reserve(int32_t count) { rows.reserve(static_cast<size_t>(count)); }
    void push_back(const Record& record) { rows.push_back(record); }
    void pop_back() { rows.pop_back(); }
    void clear() { rows.clear(); }

    /// So many equal records in place of all there were.
    void fill(int32_t count, const Record& record) { rows.assign(static_cast<size_t>(count), record); }
};

/// A table of so many equal records.
template <class Record>
Table<Record> table_make(int32_t count, const Record& record) {
    Table<Record> table;
    table.fill(count, record);
    return table;
}
