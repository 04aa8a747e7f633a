#pragma once
// How a record tells its fields. Each room that keeps something through a run has a function `..._walk(v, record,
// model)` that names every field of its record once; what is done with the fields - saving, restoring, comparing - is
// told by the action of the walk alone, so that none of these can forget one. A test proves that no byte of a record
// is left out.
//
// A field is of one of five sorts:
//
//     state    what the network or the land holds; a new run may begin with it
//     time     state as well: a point on the clock of the run, ms, or a date, days; moves with the clock
//     total    what the run has added up, and its clocks and periods; a new run begins them anew
//     setting  parameters and forcing, which a host may change between steps; a new run has its own
//     fixed    never saved: identity, what nobody changes, pointers whose targets are told apart, scratch of a step,
//              and what a start works out alike from the project
//
// An array is told with its count, the pointer stands for it. What has no count of its own project is a list, told
// through an adapter with the members
//
//     SORT                    the sort of its entries
//     getLimit()              the most entries that there can be
//     forEach(function)      calls the function with each entry
//     reserve(count, memory)  takes memory ahead, unseen; false without
//     begin(count, memory), put(place, entry)     makes the list anew
//     walkEntry(v, entry)    the fields of an entry

#include <cstdint>
#include <vector>

#include "model/table.h"

enum FieldSort : int32_t { SORT_STATE, SORT_TIME, SORT_DATE, SORT_TOTAL, SORT_SETTING };

/// The numbers that a field may hold. What counts, indexes or is waited for has one.
struct FieldSpan {
    double lowest, highest;
};

/// A field as a walk names it, with its words in the source.
#define NAMED(field) #field, field

/// Memory that a list takes ahead of its restoring, in the order of the walk.
struct WalkMemory {
    std::vector<void*> pieces;
    size_t next = 0;

    /// Keeps a piece for later. False if there is none.
    bool keep(void* piece) {
        pieces.push_back(piece);
        return piece != nullptr;
    }
    void* take() { return pieces[next++]; }
};

template <class Action>
struct FieldWalk {
    Action action;

    template <class T>
    void state(const char* name, T& field) {
        action.template takeField<SORT_STATE>(name, field);
    }
    template <class T>
    void state(const char* name, T& field, FieldSpan span) {
        action.template takeLimited<SORT_STATE>(name, field, span);
    }
    template <class T>
    void state(const char* name, T*& fields, int64_t count) {
        action.template takeArray<SORT_STATE>(name, fields, count);
    }

    void time(const char* name, double& field) { action.template takeField<SORT_TIME>(name, field); }
    void time(const char* name, double& field, FieldSpan span) {
        action.template takeLimited<SORT_TIME>(name, field, span);
    }
    void date(const char* name, double& field) { action.template takeField<SORT_DATE>(name, field); }

    template <class T>
    void total(const char* name, T& field) {
        action.template takeField<SORT_TOTAL>(name, field);
    }
    template <class T>
    void total(const char* name, T& field, FieldSpan span) {
        action.template takeLimited<SORT_TOTAL>(name, field, span);
    }
    template <class T>
    void total(const char* name, T*& fields, int64_t count) {
        action.template takeArray<SORT_TOTAL>(name, fields, count);
    }

    template <class T>
    void setting(const char* name, T& field) {
        action.template takeField<SORT_SETTING>(name, field);
    }
    template <class T>
    void setting(const char* name, T& field, FieldSpan span) {
        action.template takeLimited<SORT_SETTING>(name, field, span);
    }
    template <class T>
    void setting(const char* name, T*& fields, int64_t count) {
        action.template takeArray<SORT_SETTING>(name, fields, count);
    }

    template <class... T>
    void fixed(T&... fields) {
        (action.takeFixed(fields), ...);
    }

    /// A mark that something worked out from the fields is up to date: false, or none, after each restoring.
    template <class T>
    void mark(T& mark) {
        action.takeMark(mark);
    }

    template <class List>
    void list(const char* name, List list) {
        action.takeList(name, list);
    }

    /// A part that holds nothing but totals and settings: whoever wants none of them passes over it as a whole.
    template <class Function>
    void part(Function walkPart) {
        const size_t place = action.beginPart();
        if (action.isPartTaken()) {
            walkPart();
        }
        action.endPart(place);
    }

    /// The rows of a table, each told apart by the name of the table and its number. The action is a copy on the way
    /// through the rows, which lets the compiler keep it in registers.
    template <class Record, class Function>
    void rows(const char* name, Table<Record>& table, Function walkRow) {
        static constexpr int32_t ROWS_BETWEEN = 64;
        action.takeFixed(table);
        for (int32_t first = 0; first < table.size(); first += ROWS_BETWEEN) {
            FieldWalk<Action> own = *this;
            const int32_t end = table.size() - first > ROWS_BETWEEN ? first + ROWS_BETWEEN : table.size();
            for (int32_t k = first; k < end; ++k) {
                own.action.enterRow(name, k);
                walkRow(own, table[k]);
            }
            own.action.leaveRows();
            *this = own;
        }
    }
};
