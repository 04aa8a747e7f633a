// A project inside a node: its life, what enters and what comes out. A step goes so:
//
//     nested_setInflow, nested_setLoad --> added inflows and loads, which are released after the step
//     nested_step                      --> one routing step of the project, by its own clock
//     nested_getResult                 --> what a node gets in that step
//
// A project inside may hold projects itself. How deep, and how many in all, has an end; so has one that holds itself.

#include "nested.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

static constexpr double MS_PER_SECOND = 1000.0;
static constexpr double MS_PER_DAY = 86400000.0;
static constexpr double G_PER_KG = 1000.0;
static constexpr int32_t CODES_PER_POLLUTANT = 1000;

/// Projects around one another: each opens the next, so all are on one stack.
static constexpr std::ptrdiff_t MOST_AROUND = 8;

// --- opening -------------------------------------------------------------------------------------------------------

/// Whether two names mean one file.
static bool areOne(const std::string& name, std::string_view other) {
    std::error_code error;
    return !other.empty() && std::filesystem::equivalent(name, std::filesystem::path(other), error);
}

static bool isAround(const std::string& projects, const std::string& input) {
    size_t begin = 0;
    for (size_t end = 0; (end = projects.find('\n', begin)) != std::string::npos; begin = end + 1) {
        if (areOne(input, std::string_view(projects).substr(begin, end - begin))) {
            return true;
        }
    }
    return false;
}

/// Why a project can't be where it is; empty if it can.
static std::string findObstacle(const Surroundings& around, const std::string& input) {
    if (isAround(around.projects, input)) {
        return "the project " + input + " is inside itself";
    }
    if (std::count(around.projects.begin(), around.projects.end(), '\n') > MOST_AROUND) {
        return "the project " + input + " is inside more than " + std::to_string(MOST_AROUND) + " others";
    }
    if (around.room < 0) {
        return "too many projects are inside one another to open the project " + input;
    }
    return {};
}

/// The first failure that the model has reported since a message, with its place.
static std::string describeFailure(const tv_model* model, int32_t code, int32_t first) {
    int32_t count = 0;
    tv_getMessageCount(model, &count);
    for (int32_t k = first; k < count; ++k) {
        tv_message message{};
        if (tv_getMessage(model, k, &message) != TV_OK || message.level != TV_ERROR) {
            continue;
        }
        std::string text = message.code > 0 ? "ERROR " + std::to_string(message.code) + ": " : std::string();
        text += message.text;
        if (message.line > 0) {
            text += " at line " + std::to_string(message.line);
            text += std::string(*message.section ? " of " : "") + message.section;
        }
        return text;
    }
    return tv_describeCode(code);
}

static int32_t countMessages(const tv_model* model) {
    int32_t count = 0;
    tv_getMessageCount(model, &count);
    return count;
}

/// Keeps the words of a failure; the code as it is.
static int32_t note(Nested& nested, int32_t code, int32_t firstMessage) {
    if (code != TV_OK) {
        nested.message = describeFailure(nested.model, code, firstMessage);
    }
    return code;
}

int32_t nested_open(Nested& nested, const char* input, const char* report, const char* results) {
    const Surroundings& around = nested.around;
    nested.resultsFile = results;
    nested.message = findObstacle(around, input);
    if (!nested.message.empty()) {
        return TV_ERROR_OPEN;
    }
    if (const int32_t code = tv_create(&nested.model); code != TV_OK) {
        return code;
    }
    tv_setEngines(nested.model, around.swmmLibrary.c_str(), around.swmmFolder.c_str(), around.plantLibrary.c_str(),
                  around.plantFolder.c_str());
    tv_setSurroundings(nested.model, around.projects.c_str(), around.room);
    const int32_t code = note(nested, tv_open(nested.model, input, around.keepsFiles ? report : nullptr), 0);
    if (code != TV_OK) {
        nested.message = std::string(input) + ": " + nested.message;
    }
    int32_t nodes = 0;
    tv_getCount(nested.model, TV_NODE, &nodes);
    nested.isServed.assign(static_cast<size_t>(nodes), 0);
    return code;
}

int32_t nested_close(Nested& nested) {
    const int32_t before = countMessages(nested.model);
    int32_t phase = TV_CLOSED;
    tv_getPhase(nested.model, &phase);
    const int32_t code = phase != TV_CLOSED ? note(nested, tv_close(nested.model), before) : TV_OK;
    std::string message = std::move(nested.message);  // can be asked for after the close
    tv_free(nested.model);
    nested = Nested{};
    nested.message = std::move(message);
    return code;
}

bool nested_isOpen(const Nested& nested) {
    int32_t phase = TV_CLOSED;
    tv_getPhase(nested.model, &phase);
    return phase == TV_OPEN || phase == TV_STARTED || phase == TV_FINISHED;
}

tv_clock nested_getClock(const Nested& nested) {
    tv_clock clock{};
    tv_getClock(nested.model, &clock);
    return clock;
}

// --- a run ---------------------------------------------------------------------------------------------------------

static bool hasMore(const Nested& nested) {
    int32_t phase = TV_CLOSED;
    tv_getPhase(nested.model, &phase);
    return phase == TV_STARTED && !nested.isBroken;
}

/// The days that are these milliseconds. The project around multiplies them again; of the numbers beside the quotient
/// that one is taken which gives the very milliseconds or, where none does, a little less: it must not seem to be
/// ahead.
static double convertToDays(double time) {
    double days = time / MS_PER_DAY;
    if (days * MS_PER_DAY < time) {
        const double next = std::nextafter(days, HUGE_VAL);
        days = next * MS_PER_DAY <= time ? next : days;
    }
    return days * MS_PER_DAY > time ? std::nextafter(days, 0.0) : days;
}

int32_t nested_start(Nested& nested, bool savesResults) {
    const int32_t before = countMessages(nested.model);
    const char* results = savesResults && nested.around.keepsFiles ? nested.resultsFile.c_str() : nullptr;
    nested.elapsed = 0.0;
    nested.isBroken = false;
    nested.served.clear();
    std::fill(nested.isServed.begin(), nested.isServed.end(), uint8_t{0});
    return note(nested, tv_start(nested.model, results, nullptr), before);
}

/// What was to enter has entered.
static void releaseServed(Nested& nested) {
    int32_t inflow = 0, load = 0, pollutants = 0;
    tv_findVariable(TV_NODE, "added_inflow", &inflow);
    tv_findVariable(TV_NODE, "added_load", &load);
    tv_getCount(nested.model, TV_POLLUTANT, &pollutants);
    for (const int32_t node : nested.served) {
        tv_releaseValue(nested.model, inflow, node, TV_NO_POLLUTANT);
        for (int32_t p = 0; p < pollutants; ++p) {
            tv_releaseValue(nested.model, load, node, p);
        }
        nested.isServed[static_cast<size_t>(node)] = 0;
    }
    nested.served.clear();
}

/// Whether an engine within the project has refused a step since a message; keeps the words of the last one. The
/// project itself goes on.
static bool noteRefusals(Nested& nested, int32_t first) {
    bool isRefused = false;
    for (int32_t k = first, count = countMessages(nested.model); k < count; ++k) {
        tv_message message{};
        tv_getMessage(nested.model, k, &message);
        const bool isRefusal = std::string_view(message.name) == "W-run-engine";
        if (isRefusal) {
            nested.message = std::string("node ") + message.object + ": " + message.text;
        } else if (isRefused && message.level == TV_INFO) {  // the reason, which follows
            nested.message = message.text;
        }
        isRefused = isRefused || isRefusal;
    }
    return isRefused;
}

int32_t nested_step(Nested& nested, double& elapsedDays) {
    elapsedDays = 0.0;
    if (!hasMore(nested)) {
        return nested.isBroken ? TV_ERROR_FINISHED : TV_OK;
    }
    const int32_t before = countMessages(nested.model);
    const double step = nested_getClock(nested).step;
    const int32_t code = note(nested, tv_step(nested.model), before);
    releaseServed(nested);
    nested.isBroken = code != TV_OK;
    nested.elapsed += step * MS_PER_SECOND;
    elapsedDays = hasMore(nested) ? convertToDays(nested.elapsed) : 0.0;
    return code == TV_OK && noteRefusals(nested, before) ? TV_ERROR_STATE_ENGINE : code;
}

int32_t nested_end(Nested& nested) {
    const int32_t before = countMessages(nested.model);
    const int32_t reported = tv_report(nested.model);
    const int32_t ended = tv_end(nested.model);
    return note(nested, ended != TV_OK ? ended : reported, before);
}

// --- what enters ---------------------------------------------------------------------------------------------------

int32_t nested_getClass(int32_t type) {
    switch (type) {
        case NESTED_GAGE: return TV_GAGE;
        case NESTED_NODE: return TV_NODE;
        case NESTED_LINK: return TV_LINK;
        case NESTED_SUBCATCHMENT: return TV_SUBCATCHMENT;
        case NESTED_POLLUTANT: return TV_POLLUTANT;
        default: return TV_CLASS_COUNT;
    }
}

int32_t nested_find(const Nested& nested, int32_t type, const char* id) {
    int32_t index = -1;
    const int32_t code = tv_findObject(nested.model, nested_getClass(type), id, &index);
    return code == TV_OK ? index : code;
}

bool nested_isPlace(const Nested& nested, const char* node) {
    int32_t kind = TV_SWMM_NODE;
    tv_getKind(nested.model, TV_NODE, nested_find(nested, NESTED_NODE, node), &kind);
    return kind != TV_SWMM_NODE && kind != TV_PLANT_NODE;
}

/// Takes a forcing of a node for the next step. One that is refused leaves the node without any.
static int32_t serve(Nested& nested, const char* id, const char* variable, int32_t pollutant, double value) {
    int32_t number = 0;
    tv_findVariable(TV_NODE, variable, &number);
    const int32_t node = nested_find(nested, NESTED_NODE, id);
    if (node < 0) {
        return node;
    }
    if (!nested.isServed[static_cast<size_t>(node)]) {
        nested.isServed[static_cast<size_t>(node)] = 1;
        nested.served.push_back(node);
    }
    const int32_t code = tv_setValue(nested.model, number, node, pollutant, value);
    if (code != TV_OK) {
        tv_releaseValue(nested.model, number, node, pollutant);
    }
    return code;
}

int32_t nested_setInflow(Nested& nested, const char* node, double flow) {
    return serve(nested, node, "added_inflow", TV_NO_POLLUTANT, flow);
}

int32_t nested_setLoad(Nested& nested, const char* node, const char* pollutant, double load) {
    const int32_t index = nested_find(nested, NESTED_POLLUTANT, pollutant);
    return index < 0 ? index : serve(nested, node, "added_load", index, load);
}

// --- values --------------------------------------------------------------------------------------------------------

/// Where a value is.
struct ValuePlace {
    int32_t code;  ///< other than 0 if there is no such place
    int32_t variable, object;
};

static ValuePlace findPlace(const Nested& nested, int32_t type, const char* id, const char* variable) {
    ValuePlace place{};
    place.code = tv_findVariable(nested_getClass(type), variable, &place.variable);
    if (place.code == TV_OK) {
        place.code = tv_findObject(nested.model, nested_getClass(type), id, &place.object);
    }
    return place;
}

int32_t nested_setValue(const Nested& nested, int32_t type, const char* id, const char* variable, double value) {
    const ValuePlace place = findPlace(nested, type, id, variable);
    return place.code != TV_OK ? place.code
                               : tv_setValue(nested.model, place.variable, place.object, TV_NO_POLLUTANT, value);
}

int32_t nested_release(const Nested& nested, int32_t type, const char* id, const char* variable) {
    const ValuePlace place = findPlace(nested, type, id, variable);
    return place.code != TV_OK ? place.code
                               : tv_releaseValue(nested.model, place.variable, place.object, TV_NO_POLLUTANT);
}

int32_t nested_getValue(const Nested& nested, int32_t type, const char* id, const char* variable, double& value) {
    const ValuePlace place = findPlace(nested, type, id, variable);
    return place.code != TV_OK ? place.code
                               : tv_getValue(nested.model, place.variable, place.object, TV_NO_POLLUTANT, &value);
}

/// The variable of a numbered result; null if there is none.
static const char* nameResult(int32_t type, int32_t property) {
    switch (type) {
        case NESTED_NODE:
            switch (property) {
                case 0: return "depth";
                case 2: return "volume";
                case 3: return "lateral_flow";
                case NESTED_TOTAL_INFLOW: return "inflow";
                case 5: return "flooding";
                default: return nullptr;
            }
        case NESTED_LINK:
            switch (property) {
                case 0: return "flow";
                case 1: return "depth";
                case 2: return "velocity";
                case 3: return "volume";
                case 4: return "setting";
                default: return nullptr;
            }
        case NESTED_SUBCATCHMENT: return property == 0 ? "rain" : property == 4 ? "runoff" : nullptr;
        case NESTED_GAGE: return property == 0 ? "rain" : nullptr;
        default: return nullptr;
    }
}

/// What a node gets has the concentration of the load in it, which isn't that of a store in the node.
static int32_t getInflowConcentration(const Nested& nested, const char* id, int32_t pollutant, double& value) {
    const ValuePlace load = findPlace(nested, NESTED_NODE, id, "load");
    double flow = 0.0, mass = 0.0;
    int32_t code = nested_getValue(nested, NESTED_NODE, id, "inflow", flow);
    if (code == TV_OK) {
        code = tv_getValue(nested.model, load.variable, load.object, pollutant, &mass);
    }
    if (code == TV_OK) {
        value = flow != 0.0 ? mass / flow * G_PER_KG : 0.0;
    }
    return code;
}

int32_t nested_getResult(const Nested& nested, int32_t type, const char* id, int32_t property, double& value) {
    if (nested.isBroken) {
        return TV_ERROR_FINISHED;
    }
    if (property < NESTED_FIRST_POLLUTANT || type == NESTED_GAGE) {
        const char* variable = nameResult(type, property);
        return variable ? nested_getValue(nested, type, id, variable, value) : TV_ERROR_VARIABLE;
    }
    const int32_t pollutant = property - NESTED_FIRST_POLLUTANT;
    if (type == NESTED_NODE) {
        return getInflowConcentration(nested, id, pollutant, value);
    }
    const ValuePlace place = findPlace(nested, type, id, "concentration");
    return place.code != TV_OK ? place.code
                               : tv_getValue(nested.model, place.variable, place.object, pollutant, &value);
}

/// What a code of a parameter names: of another class than the object's there is nothing.
static int32_t findCode(const Nested& nested, int32_t type, const char* id, int32_t code, int32_t& object) {
    tv_variable description{};
    if (code < 0 || tv_getVariable(code % CODES_PER_POLLUTANT, &description) != TV_OK ||
        description.objectClass != nested_getClass(type)) {
        return TV_ERROR_VARIABLE;
    }
    return tv_findObject(nested.model, description.objectClass, id, &object);
}

int32_t nested_getParameter(const Nested& nested, int32_t type, const char* id, int32_t code, double& value) {
    int32_t object = 0;
    const int32_t found = findCode(nested, type, id, code, object);
    return found != TV_OK
               ? found
               : tv_getValue(nested.model, code % CODES_PER_POLLUTANT, object, code / CODES_PER_POLLUTANT - 1, &value);
}

int32_t nested_setParameter(const Nested& nested, int32_t type, const char* id, int32_t code, double value) {
    int32_t object = 0;
    const int32_t found = findCode(nested, type, id, code, object);
    return found != TV_OK
               ? found
               : tv_setValue(nested.model, code % CODES_PER_POLLUTANT, object, code / CODES_PER_POLLUTANT - 1, value);
}

// --- state ---------------------------------------------------------------------------------------------------------

/// Ahead of the state of the project, which may be shorter than the room that it asks for.
struct StateHead {
    char mark[8];
    uint64_t size;   ///< bytes of the state of the project
    double elapsed;  ///< ms
};

static constexpr char STATE_MARK[8] = {'T', 'V', 'N', 'E', 'S', 'T', '1', 26};

int32_t nested_saveState(const Nested& nested, void* buffer, int32_t size) {
    size_t needed = 0;
    if (nested.isBroken || tv_getStateSize(nested.model, &needed) != TV_OK ||
        needed > static_cast<size_t>(INT32_MAX) - sizeof(StateHead)) {
        return -1;
    }
    const auto whole = static_cast<int32_t>(sizeof(StateHead) + needed);
    if (size < whole) {
        return whole;
    }
    char* const bytes = static_cast<char*>(buffer);
    size_t used = 0;
    if (tv_saveState(nested.model, bytes + sizeof(StateHead), needed, &used) != TV_OK) {
        return -1;
    }
    std::memset(bytes + sizeof(StateHead) + used, 0, needed - used);
    StateHead head{};
    std::memcpy(head.mark, STATE_MARK, sizeof head.mark);
    head.size = used;
    head.elapsed = nested.elapsed;
    std::memcpy(bytes, &head, sizeof head);
    return whole;
}

/// Nodes that the state has an inflow or a load for in the next step.
static void findServed(Nested& nested) {
    int32_t inflow = 0, load = 0, pollutants = 0;
    tv_findVariable(TV_NODE, "added_inflow", &inflow);
    tv_findVariable(TV_NODE, "added_load", &load);
    tv_getCount(nested.model, TV_POLLUTANT, &pollutants);
    nested.served.clear();
    for (int32_t node = 0; static_cast<size_t>(node) < nested.isServed.size(); ++node) {
        double value = NAN;
        bool isServed = tv_getValue(nested.model, inflow, node, TV_NO_POLLUTANT, &value) == TV_OK && !std::isnan(value);
        for (int32_t p = 0; p < pollutants && !isServed; ++p) {
            isServed = tv_getValue(nested.model, load, node, p, &value) == TV_OK && !std::isnan(value);
        }
        nested.isServed[static_cast<size_t>(node)] = isServed ? 1 : 0;
        if (isServed) {
            nested.served.push_back(node);
        }
    }
}

int32_t nested_restoreState(Nested& nested, const void* bytes, int32_t size) {
    StateHead head{};
    if (size < static_cast<int32_t>(sizeof head)) {
        return TV_ERROR_NO_STATE;
    }
    std::memcpy(&head, bytes, sizeof head);
    const size_t rest = static_cast<size_t>(size) - sizeof head;
    const bool isWhole = std::memcmp(head.mark, STATE_MARK, sizeof head.mark) == 0 && head.size <= rest;
    if (!isWhole || !std::isfinite(head.elapsed) || head.elapsed < 0.0) {
        return TV_ERROR_NO_STATE;
    }
    const int32_t code =
        tv_restoreState(nested.model, static_cast<const char*>(bytes) + sizeof head, static_cast<size_t>(head.size));
    if (code == TV_OK) {
        nested.elapsed = head.elapsed;
        nested.isBroken = false;
        findServed(nested);
    }
    return code;
}
