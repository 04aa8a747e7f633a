#pragma once
// A host that drives a library through a case and writes down each call: its arguments, its result, and what it stored,
// all doubles as their bits.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "library.h"
#include "support/arithmetic.h"

struct File {
    std::string name;
    std::string text;
};

/// An object that the project file names, by its number in getParam and getResult.
struct Object {
    int32_t code;
    std::string id;
};

struct Host {
    Library library{};
    std::FILE* calls = nullptr;
    std::vector<Object> objects;  ///< of model.inp
    int32_t pollutants = 0;       ///< of model.inp
#if defined(__x86_64__)
    const HostSetting* setting = nullptr;  ///< of the processor, for the time of each call; null: as it is
#endif

    template <class Function, class... Arguments>
    int32_t record(const char* name, Function function, Arguments... arguments) {
        const int32_t result = call(function, arguments...);
        std::fputs(name, calls);
        (writeArgument(arguments), ...);
        std::fprintf(calls, " = %d\n", static_cast<int>(result));
        return result;
    }

private:
    /// With the processor set as the host has it, which must be so after the call as well.
    template <class Function, class... Arguments>
    int32_t call(Function function, Arguments... arguments) {
#if defined(__x86_64__)
        if (setting) {
            bool isKept = true;
            const int32_t result = processor_call(*setting, isKept, function, arguments...);
            if (!isKept) {
                std::fputs("sets the processor: ", calls);
            }
            return result;
        }
#endif
        return function(arguments...);
    }

    void writeArgument(int32_t value) {
        std::fprintf(calls, " %d", static_cast<int>(value));
    }
    void writeArgument(double value) {
        writeBits(value);
    }
    void writeArgument(const char* text);
    void writeArgument(char* text) {
        writeArgument(static_cast<const char*>(text));
    }
    void writeArgument(double* value);
    void writeArgument(int32_t* value);
    void writeArgument(std::nullptr_t) {
        std::fputs(" null", calls);
    }
    void writeBits(double value);
};

/// Calls a function of the library and writes it down.
#define CALL(function, ...) host.record(#function, host.library.function __VA_OPT__(, ) __VA_ARGS__)

/// What a value to be stored holds before the call.
constexpr double MARK = -12345.678;

/// A case: files in a folder, and what a host does there.
struct Case {
    std::string name;
    std::vector<File> files;
    void (*script)(Host& host);
};

// --- what cases are made of ----------------------------------------------------------------------------------------

/// A line between calls.
void host_say(Host& host, const std::string& text);

/// All results of all objects, and their settings.
void host_look(Host& host);

/// Steps a started run to its end, at most `limit` steps, with a look at some of them. The last code.
int32_t host_stepToEnd(Host& host, int32_t limit = 20000);

/// Opens model.inp, runs it into a save mode, writes the report, ends and closes. The files are called `files`.
void host_runInSteps(Host& host, const std::string& files, int32_t saveMode);

/// model.inp by tarnvelde_run, and then in steps into the database.
void script_runBoth(Host& host);

/// The same in steps alone, into the database and then into the binary file; for outside models, which tarnvelde_run
/// looks for elsewhere.
void script_runCoupled(Host& host);

/// Opens model.inp, takes up to 400 steps if it is good, closes.
void script_tryOut(Host& host);

// --- the cases -----------------------------------------------------------------------------------------------------

/// `examples` is the folder of the examples.
std::vector<Case> cases_makeAll(const std::string& examples);

void cases_addMathematics(std::vector<Case>& cases);
void cases_addExamples(std::vector<Case>& cases, const std::string& examples);
void cases_addNetworks(std::vector<Case>& cases);
void cases_addTowns(std::vector<Case>& cases);
void cases_addStorage(std::vector<Case>& cases);
void cases_addEdges(std::vector<Case>& cases);
void cases_addLand(std::vector<Case>& cases);
void cases_addLids(std::vector<Case>& cases);
void cases_addReading(std::vector<Case>& cases);
void cases_addBroken(std::vector<Case>& cases);
void cases_addCoupled(std::vector<Case>& cases);
void cases_addScripts(std::vector<Case>& cases);

/// Adds a case of a project file alone, run twice.
inline void cases_add(std::vector<Case>& cases, const std::string& name, const std::string& text,
                      void (*script)(Host&) = script_runBoth) {
    cases.push_back({name, {{"model.inp", text}}, script});
}

/// Tables, columns and rows of a database in their order, as text.
void database_dump(const std::string& database, const std::string& file);
