// Fuzzer of the way into a database: the names of objects and pollutants, which end up in the statements of SQL, are
// what the input makes them. Both faces of the library run the project into a database that a user has a table in:
// whatever the names, the run goes through, the database stays whole, and so does the table.

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/tempfolder.h"
#include "tarnvelde.h"
#include "tarnvelde_model.h"

static constexpr size_t LARGEST_NAMES = 400;
static constexpr int MOST_STEPS = 12;

static const TempFolder& getFolder() {
    static const TempFolder folder;
    return folder;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The progress lines of the engine.
    return std::freopen("/dev/null", "w", stdout) ? 0 : 1;
}

static void run(sqlite3* handle, const char* text) {
    if (sqlite3_exec(handle, text, nullptr, nullptr, nullptr) != SQLITE_OK) {
        std::abort();
    }
}

static sqlite3* open(const std::string& name) {
    sqlite3* handle = nullptr;
    if (sqlite3_open(name.c_str(), &handle) != SQLITE_OK) {
        std::abort();
    }
    run(handle, "pragma synchronous=off; pragma journal_mode=memory");
    return handle;
}

/// The text that a query answers with in its first row.
static std::string ask(sqlite3* handle, const char* query) {
    std::string answer;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle, query, -1, &statement, nullptr);
    if (statement && sqlite3_step(statement) == SQLITE_ROW) {
        answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    }
    sqlite3_finalize(statement);
    return answer;
}

static std::string makeDatabase() {
    const std::string name = getFolder().file("model.db");
    for (const char* ending : {"", "-journal", ".part", ".part-journal"}) {
        std::remove((name + ending).c_str());
    }
    sqlite3* handle = open(name);
    run(handle, "create table Mine (Place TEXT); insert into Mine values ('weir')");
    sqlite3_close(handle);
    return name;
}

static void testDatabase(const std::string& name) {
    sqlite3* handle = open(name);
    const bool isWhole = ask(handle, "pragma integrity_check") == "ok";
    const bool hasTable = ask(handle, "select group_concat(Place) from Mine") == "weir";
    const bool hasTrigger = ask(handle, "select count(*) from sqlite_master where type not in ('table')") != "0";
    sqlite3_close(handle);
    if (!isWhole || !hasTable || hasTrigger) {
        std::abort();
    }
}

static void runModel(const std::string& file, const std::string& database) {
    tv_model* model = nullptr;
    tv_create(&model);
    if (tv_open(model, file.c_str(), nullptr) == TV_OK && tv_start(model, nullptr, database.c_str()) == TV_OK) {
        for (int step = 0; step < MOST_STEPS; ++step) {
            tv_step(model);
        }
        tv_end(model);
    }
    tv_free(model);
}

static void runFirstFace(const std::string& file, const std::string& database) {
    const std::string report = getFolder().file("model.rpt");
    if (tarnvelde_open(file.c_str(), report.c_str(), database.c_str()) == 0 && tarnvelde_start(2) == 0) {
        double days = 0.0;
        for (int step = 0; step < MOST_STEPS; ++step) {
            tarnvelde_step(&days);
        }
        tarnvelde_end();
    }
    tarnvelde_close();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > LARGEST_NAMES) {
        return -1;
    }
    // Lines of the input are the names, as far as they go.
    std::array<std::string, 4> names{"J", "O", "P", "Q"};
    size_t place = 0;
    std::string name;
    for (size_t k = 0; k <= size && place < names.size(); ++k) {
        if (k < size && data[k] != '\n') {
            name.push_back(static_cast<char>(data[k]));
            continue;
        }
        names[place] = name.empty() ? names[place] : name;
        ++place;
        name.clear();
    }
    const auto& [junction, outfall, pipe, pollutant] = names;
    std::string text =
        "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 1:00:00\nROUTING_STEP 0:05:00\n"
        "REPORT_STEP 0:05:00\n[JUNCTIONS]\n";
    text.append(junction).append("\n[OUTFALLS]\n").append(outfall).append("\n[POLLUTANTS]\n").append(pollutant);
    text.append(" 1\n[PIPES]\n").append(pipe).append(" ").append(junction).append(" ").append(outfall);
    text.append(" NO 900 1 0.2 0\n");
    const std::string file = getFolder().write("model.inp", text);
    const std::string database = makeDatabase();
    runModel(file, database);
    testDatabase(database);
    runFirstFace(file, database);
    testDatabase(database);
    return 0;
}
