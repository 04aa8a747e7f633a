#pragma once
// What is done with the fields of a run (model/fields.h): measured, written, read in three passes, compared. A state
// holds the fields one after the other, without names and without padding; of an array its numbers, of a list its
// count and its entries.

#include <bit>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "coupling/outside.h"
#include "links/conduit.h"
#include "links/pipe.h"
#include "model/fields.h"
#include "model/model.h"
#include "project/statefields.h"
#include "project/statehash.h"

// --- measuring -----------------------------------------------------------------------------------------------------

/// Adds up the bytes of all fields.
struct StateMeasure {
    size_t bytes;

    template <FieldSort SORT, class T>
    void takeField(const char*, const T& field) {
        if constexpr (std::is_same_v<T, std::string>) {
            bytes += sizeof(uint32_t) + field.size();
        } else {
            bytes += sizeof(T);
        }
    }
    template <FieldSort SORT, class T>
    void takeLimited(const char*, const T&, FieldSpan) {
        bytes += sizeof(T);
    }
    template <FieldSort SORT, class T>
    void takeArray(const char*, const T*, int64_t count) {
        bytes += static_cast<size_t>(count) * sizeof(T);
    }
    template <class T>
    void takeFixed(const T&) {}
    template <class T>
    void takeMark(const T&) {}
    template <class List>
    void takeList(const char*, const List& list) {
        bytes += sizeof(int64_t);
        FieldWalk<StateMeasure> own{*this};
        list.forEach([&](auto& entry) { list.walkEntry(own, entry); });
        *this = own.action;
    }
    void takeReaches(const Pipe& pipe, const Model& model) {
        bytes += sizeof pipe.stepLength + sizeof pipe.reachCount +
                 static_cast<size_t>(pipe_getStorageCount(model, pipe.reachCount)) * sizeof(double);
    }
    void takeSection(const Conduit& conduit, const Model&) {
        bytes += sizeof conduit.fullDepth + sizeof conduit.tableShape;
    }
    void takeEngine(const OutsideNode& outside) {
        bytes += sizeof(int32_t) + static_cast<size_t>(outside_getStateSize(outside));
    }
    size_t beginPart() {
        bytes += sizeof(uint64_t);
        return 0;
    }
    static bool isPartTaken() { return true; }
    void endPart(size_t) {}
    void enterRow(const char*, int32_t) {}
    void leaveRows() {}
};

// --- writing -------------------------------------------------------------------------------------------------------

/// Writes all fields to memory that is there. The checksum goes along while the bytes are at hand.
struct StateWriter {
    char* at;
    char* hashed;  ///< bytes up to here are in the checksum
    char* start;
    StateHash* hash;
    bool isHashing;

    void writeBytes(const void* bytes, size_t size) {
        std::memcpy(at, bytes, size);
        at += size;
    }
    template <class T>
    void write(const T& value) {
        static_assert(std::is_arithmetic_v<T>);
        writeBytes(&value, sizeof value);
    }
    template <FieldSort SORT, class T>
    void takeField(const char*, const T& field) {
        if constexpr (std::is_same_v<T, std::string>) {
            write(static_cast<uint32_t>(field.size()));
            writeBytes(field.data(), field.size());
        } else {
            write(field);
        }
    }
    template <FieldSort SORT, class T>
    void takeLimited(const char*, const T& field, FieldSpan) {
        write(field);
    }
    template <FieldSort SORT, class T>
    void takeArray(const char*, const T* fields, int64_t count) {
        for (int64_t k = 0; k < count; ++k) {
            write(fields ? fields[k] : T{});
        }
    }
    template <class T>
    void takeFixed(const T&) {}
    template <class T>
    void takeMark(const T&) {}
    template <class List>
    void takeList(const char*, const List& list) {
        write(list.count());
        FieldWalk<StateWriter> own{*this};
        list.forEach([&](auto& entry) { list.walkEntry(own, entry); });
        *this = own.action;
    }
    void takeReaches(const Pipe& pipe, const Model& model) {
        write(pipe.stepLength);
        write(pipe.reachCount);
        takeArray<SORT_STATE>("", pipe.storage, pipe_getStorageCount(model, pipe.reachCount));
    }
    void takeSection(const Conduit& conduit, const Model&) {
        write(conduit.fullDepth);
        write(conduit.tableShape);
    }
    void takeEngine(const OutsideNode& outside) {
        const int32_t size = outside_getStateSize(outside);
        write(size);
        outside_saveState(outside, at, size);
        at += size;
    }
    /// The length stands in front, and is known at the end: the checksum waits for it.
    size_t beginPart() {
        addToHash();
        isHashing = false;
        write(uint64_t{0});
        return static_cast<size_t>(at - start);
    }
    static bool isPartTaken() { return true; }
    void endPart(size_t place) {
        const uint64_t length = static_cast<uint64_t>(at - start) - place;
        std::memcpy(start + place - sizeof length, &length, sizeof length);
        isHashing = true;
    }
    void enterRow(const char*, int32_t) {}
    void leaveRows() {
        static constexpr ptrdiff_t ENOUGH = 1 << 14;
        if (isHashing && at - hashed >= ENOUGH) {
            addToHash();
        }
    }
    void addToHash() {
        const size_t blocks = static_cast<size_t>(at - hashed) / StateHash::BLOCK;
        statehash_addBlocks(*hash, hashed, blocks);
        hashed += blocks * StateHash::BLOCK;
    }
};

// --- reading -------------------------------------------------------------------------------------------------------

/// The passes of a restoring. Only the last one changes what is seen.
enum ReadPass : int32_t { READ_CHECK, READ_RESERVE, READ_WRITE };

/// The state of an outside model within the bytes.
struct EngineBytes {
    OutsideNode* outside;
    const char* bytes;
    int32_t size;
};

/// What the passes of a restoring share.
struct ReadContext {
    Model* model;
    WalkMemory memory;
    std::vector<EngineBytes> engines;
    double timeShift;  ///< ms, from the clock of the state to that of a new run
    double dateShift;  ///< days
};

enum ReadFault : int32_t { READ_GOOD, READ_DAMAGED, READ_OTHER, READ_NO_MEMORY };

/// Reads all fields. After a fault nothing more is read. The passes after the first rely on it.
template <ReadPass PASS, bool IS_HOT>
struct StateReader {
    const char* at;
    const char* end;
    ReadContext* context;
    ReadFault fault;

    static constexpr bool isCarried(FieldSort sort) {
        return !IS_HOT || sort == SORT_STATE || sort == SORT_TIME || sort == SORT_DATE;
    }
    static constexpr bool isWritten(FieldSort sort) { return PASS == READ_WRITE && isCarried(sort); }

    size_t getRest() const { return static_cast<size_t>(end - at); }
    void fail(ReadFault reason) {
        fault = reason;
        at = end;
    }

    /// False at the end of the bytes.
    bool readBytes(void* bytes, size_t size) {
        if (PASS == READ_CHECK && size > getRest()) {
            fail(READ_DAMAGED);
            return false;
        }
        std::memcpy(bytes, at, size);
        at += size;
        return true;
    }
    bool skip(size_t size) {
        if (PASS == READ_CHECK && size > getRest()) {
            fail(READ_DAMAGED);
            return false;
        }
        at += size;
        return true;
    }
    template <class T>
    bool read(T& value) {
        static_assert(std::is_arithmetic_v<T>);
        if constexpr (std::is_same_v<T, bool>) {
            uint8_t byte = 0;
            if (!readBytes(&byte, 1) || byte > 1) {
                fail(READ_DAMAGED);
                return false;
            }
            value = byte != 0;
            return true;
        } else {
            return readBytes(&value, sizeof value);
        }
    }
    void readText(std::string& text, bool isTaken) {
        uint32_t size = 0;
        if (read(size) && PASS == READ_CHECK && size > getRest()) {
            fail(READ_DAMAGED);
        } else if (fault == READ_GOOD) {
            if (isTaken) {
                text.assign(at, size);
            }
            at += size;
        }
    }

    template <FieldSort SORT, class T>
    void store(T& field, const T& value) {
        if constexpr (IS_HOT && SORT == SORT_TIME) {
            field = value + context->timeShift;
        } else if constexpr (IS_HOT && SORT == SORT_DATE) {
            field = value + context->dateShift;
        } else {
            field = value;
        }
    }
    template <FieldSort SORT, class T>
    void takeField(const char*, T& field) {
        if constexpr (std::is_same_v<T, std::string>) {
            readText(field, isWritten(SORT));
        } else {
            T value{};
            if (read(value) && isWritten(SORT)) {
                store<SORT>(field, value);
            }
        }
    }
    template <FieldSort SORT, class T>
    void takeLimited(const char*, T& field, FieldSpan span) {
        T value{};
        if (!read(value)) {
            return;
        }
        const double number = static_cast<double>(value);
        if (PASS == READ_CHECK && !(number >= span.lowest && number <= span.highest)) {
            fail(READ_DAMAGED);
        } else if (isWritten(SORT)) {
            store<SORT>(field, value);
        }
    }
    template <FieldSort SORT, class T>
    void takeArray(const char*, T* fields, int64_t count) {
        const size_t size = static_cast<size_t>(count) * sizeof(T);
        const char* from = at;
        if (skip(size) && isWritten(SORT) && fields && size > 0) {
            std::memcpy(fields, from, size);
        }
    }
    template <class T>
    void takeFixed(const T&) {}
    template <class T>
    void takeMark(T& mark) {
        if (PASS == READ_WRITE) {
            mark = T{};
        }
    }

    /// Reads over the entries of a list.
    template <class List>
    void passEntries(const List& list, int64_t count) {
        FieldWalk<StateReader<PASS == READ_CHECK ? READ_CHECK : READ_RESERVE, IS_HOT>> own{{at, end, context, fault}};
        for (int64_t k = 0; k < count && own.action.fault == READ_GOOD; ++k) {
            typename List::Entry entry{};
            list.walkEntry(own, entry);
        }
        at = own.action.at;
        fault = own.action.fault;
    }
    template <class List>
    void takeEntries(List& list, int64_t count) {
        FieldWalk<StateReader<READ_WRITE, IS_HOT>> own{{at, end, context, fault}};
        for (int64_t k = 0; k < count; ++k) {
            typename List::Entry entry{};
            list.walkEntry(own, entry);
            list.put(k, entry);
        }
        at = own.action.at;
    }
    template <class List>
    void takeList(const char*, List list) {
        int64_t count = 0;
        if (!read(count)) {
            return;
        }
        if (PASS == READ_CHECK && (count < 0 || count > list.getLimit() || static_cast<size_t>(count) > getRest())) {
            fail(READ_DAMAGED);
            return;
        }
        if constexpr (List::IS_SPARE) {
            if (PASS == READ_RESERVE && isCarried(List::SORT)) {
                takeEntries(list, count);
            } else {
                passEntries(list, count);
            }
        } else {
            if (PASS == READ_RESERVE && isCarried(List::SORT) && !list.reserve(count, context->memory)) {
                fail(READ_NO_MEMORY);
                return;
            }
            if (isWritten(List::SORT)) {
                list.begin(count, context->memory);
                takeEntries(list, count);
            } else {
                passEntries(list, count);
            }
        }
    }

    /// The reaches of a pipe are as many as its number was at the start of the run, and a host may have set another one
    /// since the project was read. Their memory is made anew then.
    void takeReaches(Pipe& pipe, const Model& model) {
        double stepLength = 0.0;
        int32_t count = 0;
        if (!read(stepLength) || !read(count)) {
            return;
        }
        if (PASS == READ_CHECK && (count < 0 || static_cast<size_t>(count) > getRest() / sizeof(double))) {
            fail(READ_DAMAGED);
            return;
        }
        if (IS_HOT && count != pipe.reachCount) {
            fail(READ_OTHER);
            return;
        }
        const bool fits = IS_HOT || pipe_doReachesFit(model, pipe, count, stepLength);
        if (PASS == READ_RESERVE && !fits && !context->memory.keep(pipe_allocateReaches(*context->model, count))) {
            fail(READ_NO_MEMORY);
            return;
        }
        if (PASS == READ_WRITE && !IS_HOT) {
            if (!fits) {
                pipe_placeReaches(*context->model, pipe, static_cast<double*>(context->memory.take()), count);
            }
            pipe.stepLength = stepLength;
        }
        takeArray<SORT_STATE>("", pipe.storage, pipe_getStorageCount(model, count));
    }

    /// The tables of a conduit follow from the shape and the depth at the start of the run; likewise.
    void takeSection(Conduit& conduit, const Model&) {
        double fullDepth = 0.0;
        int32_t shape = 0;
        if (!read(fullDepth) || !read(shape) || IS_HOT) {
            return;
        }
        const bool isSame = shape == conduit.tableShape &&
                            std::bit_cast<uint64_t>(fullDepth) == std::bit_cast<uint64_t>(conduit.fullDepth);
        if (PASS == READ_RESERVE && !isSame && !conduit_reserveTables(*context->model, conduit, shape, fullDepth)) {
            fail(READ_NO_MEMORY);
        } else if (PASS == READ_WRITE && !isSame) {
            conduit_remakeTables(*context->model, conduit, shape, fullDepth);
        }
    }

    void takeEngine(OutsideNode& outside) {
        int32_t size = 0;
        if (!read(size)) {
            return;
        }
        if (PASS == READ_CHECK && (size < 0 || static_cast<size_t>(size) > getRest())) {
            fail(READ_DAMAGED);
            return;
        }
        if (PASS == READ_RESERVE) {
            context->engines.push_back({&outside, at, size});
        }
        skip(static_cast<size_t>(size));
    }

    /// A new run passes over the part; otherwise its length must be that of its fields.
    size_t beginPart() {
        uint64_t length = 0;
        if (!read(length)) {
            return 0;
        }
        if (PASS == READ_CHECK && length > getRest()) {
            fail(READ_DAMAGED);
            return 0;
        }
        if (IS_HOT) {
            skip(static_cast<size_t>(length));
        }
        return getRest() - (IS_HOT ? 0 : static_cast<size_t>(length));
    }
    static bool isPartTaken() { return !IS_HOT; }
    void endPart(size_t rest) {
        if (PASS == READ_CHECK && fault == READ_GOOD && getRest() != rest) {
            fail(READ_DAMAGED);
        }
    }
    void enterRow(const char*, int32_t) {}
    void leaveRows() {}
};

// --- comparing -----------------------------------------------------------------------------------------------------

/// Walks through two states of one project, both of them good, up to the first field that differs.
struct StateComparer {
    const char* a;
    const char* b;
    const char* table;
    int32_t row;
    const char* field;  ///< null while all is the same

    void compare(const char* name, size_t size) {
        if (!field && std::memcmp(a, b, size) != 0) {
            field = name;
        }
        a += field ? 0 : size;
        b += field ? 0 : size;
    }
    /// A count or a length, the same in both or the difference; 0 after one.
    template <class T>
    T compareCount(const char* name) {
        T count{};
        if (!field) {
            std::memcpy(&count, a, sizeof count);
            compare(name, sizeof count);
        }
        return field ? T{} : count;
    }
    template <FieldSort SORT, class T>
    void takeField(const char* name, const T&) {
        if constexpr (std::is_same_v<T, std::string>) {
            const uint32_t size = compareCount<uint32_t>(name);
            compare(name, size);
        } else {
            compare(name, sizeof(T));
        }
    }
    template <FieldSort SORT, class T>
    void takeLimited(const char* name, const T&, FieldSpan) {
        compare(name, sizeof(T));
    }
    template <FieldSort SORT, class T>
    void takeArray(const char* name, const T*, int64_t count) {
        compare(name, static_cast<size_t>(count) * sizeof(T));
    }
    template <class T>
    void takeFixed(const T&) {}
    template <class T>
    void takeMark(const T&) {}
    template <class List>
    void takeList(const char* name, const List& list) {
        const int64_t count = compareCount<int64_t>(name);
        FieldWalk<StateComparer> own{*this};
        for (int64_t k = 0; k < count && !own.action.field; ++k) {
            typename List::Entry entry{};
            list.walkEntry(own, entry);
        }
        *this = own.action;
        field = field && count > 0 ? name : field;
    }
    void takeReaches(const Pipe&, const Model& model) {
        compare("pipe.stepLength", sizeof(double));
        const int32_t count = compareCount<int32_t>("pipe.reachCount");
        compare("pipe.storage", static_cast<size_t>(pipe_getStorageCount(model, count)) * sizeof(double));
    }
    void takeSection(const Conduit&, const Model&) {
        compare("conduit.fullDepth", sizeof(double));
        compare("conduit.tableShape", sizeof(int32_t));
    }
    void takeEngine(const OutsideNode&) {
        const int32_t size = compareCount<int32_t>("outside.engine");
        compare("outside.engine", static_cast<size_t>(size));
    }
    /// Parts of different length differ within.
    size_t beginPart() {
        a += field ? 0 : sizeof(uint64_t);
        b += field ? 0 : sizeof(uint64_t);
        return 0;
    }
    static bool isPartTaken() { return true; }
    void endPart(size_t) {}
    void enterRow(const char* name, int32_t index) {
        if (!field) {
            table = name;
            row = index;
        }
    }
    void leaveRows() {
        if (!field) {
            table = nullptr;
        }
    }
};
