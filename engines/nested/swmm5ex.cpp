// The functions of an engine for SWMM nodes, for a project of this engine. Each private copy of the library holds one
// project. docs/outside-engines.md has what is asked of them, docs/nested.md what they mean here.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

#include "nested.h"

#if defined(_WIN32)
#define ENTRY extern "C" __declspec(dllexport)
#else
#define ENTRY extern "C" __attribute__((visibility("default")))
#endif

/// The project of this copy: the functions are handed nothing by which they could find it.
static Nested& getProject() {
    static Nested project;
    return project;
}

/// Nothing is thrown through a call.
template <class Work>
static int run(Work&& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return TV_ERROR_MEMORY;
    } catch (const std::exception&) {
        return TV_ERROR_FILE;
    }
}

static constexpr int REFUSED = -1;
static constexpr int SI_UNITS = 1;
static constexpr size_t ID_SIZE = 1025;  ///< room that hosts give for an ID

// --- what surrounds the project, and what it says ------------------------------------------------------------------

ENTRY int swmm_setSurroundings(const char* projects, int room, int keepsFiles, const char* swmmLibrary,
                               const char* swmmFolder, const char* plantLibrary, const char* plantFolder) {
    return run([&] {
        getProject().around = {projects, room, keepsFiles != 0, swmmLibrary, swmmFolder, plantLibrary, plantFolder};
        return 0;
    });
}

ENTRY int swmm_getMessage(char* text, int size) {
    const std::string& message = getProject().message;
    if (text && size > 0) {
        const size_t length = std::min(message.size(), static_cast<size_t>(size) - 1);
        std::memcpy(text, message.data(), length);
        text[length] = 0;
    }
    return static_cast<int>(std::min<size_t>(message.size(), INT32_MAX));
}

// --- life ----------------------------------------------------------------------------------------------------------

ENTRY int swmm_open(const char* input, const char* report, const char* results) {
    return run([&] { return nested_open(getProject(), input, report, results); });
}

ENTRY int swmm_start(int save) {
    return run([&] { return nested_start(getProject(), save != 0); });
}

ENTRY int swmm_step(double* elapsedDays) {
    return run([&] { return nested_step(getProject(), *elapsedDays); });
}

ENTRY int swmm_end() {
    return run([] { return nested_end(getProject()); });
}

ENTRY int swmm_close() {
    return run([] { return nested_close(getProject()); });
}

ENTRY int swmm_saveState(void* buffer, int size) {
    return nested_saveState(getProject(), buffer, buffer ? size : 0);
}

ENTRY int swmm_restoreState(const void* bytes, int size) {
    return run([&] { return nested_restoreState(getProject(), bytes, size); });
}

// --- questions -----------------------------------------------------------------------------------------------------
// Of a project that couldn't be opened nothing is known. Its objects pass, so that its own fault is reported and not a
// row of others that come of it.

static int find(int32_t type, const char* id) {
    const Nested& nested = getProject();
    return nested_isOpen(nested) ? nested_find(nested, type, id) : 0;
}

ENTRY int swmm_isNode(const char* id) {
    const Nested& nested = getProject();
    return !nested_isOpen(nested) || nested_isPlace(nested, id) ? find(NESTED_NODE, id) : REFUSED;
}

ENTRY int swmm_isLink(const char* id) {
    return find(NESTED_LINK, id);
}

ENTRY int swmm_isPollut(const char* name, int* index) {
    const int found = find(NESTED_POLLUTANT, name);
    *index = found;
    return found < 0 ? found : 0;
}

ENTRY int swmm_getStartAndEndTime(double* start, double* end) {
    const Nested& nested = getProject();
    if (!nested_isOpen(nested)) {
        return REFUSED;
    }
    const tv_clock clock = nested_getClock(nested);
    *start = clock.start;
    *end = clock.end;
    return 0;
}

ENTRY double swmm_getRoutingStep() {
    return nested_getClock(getProject()).step;
}

ENTRY int swmm_getUnitSystem() {
    return SI_UNITS;
}

ENTRY int swmm_getObjCount(int type) {
    int32_t count = 0;
    const int32_t code = tv_getCount(getProject().model, nested_getClass(type), &count);
    return code == TV_OK ? count : REFUSED;
}

ENTRY int swmm_getObjID(int type, int index, char* id) {
    const char* text = nullptr;
    if (tv_getId(getProject().model, nested_getClass(type), index, &text) != TV_OK) {
        return REFUSED;
    }
    const size_t length = std::min(std::strlen(text), ID_SIZE - 1);
    std::memcpy(id, text, length);
    id[length] = 0;
    return 0;
}

ENTRY int swmm_getObjIndex(int type, const char* id) {
    const int index = nested_find(getProject(), type, id);
    return index < 0 ? REFUSED : index;
}

// --- what enters and what comes out --------------------------------------------------------------------------------

ENTRY int swmm_setExtInflow(const char* node, double flow) {
    return run([&] { return nested_setInflow(getProject(), node, flow); });
}

ENTRY int swmm_setExtPollutLoad(const char* node, const char* pollutant, double load) {
    return run([&] { return nested_setLoad(getProject(), node, pollutant, load); });
}

ENTRY int swmm_setSetting(const char* link, double setting, double /*stepLength*/) {
    return nested_setValue(getProject(), NESTED_LINK, link, "held_setting", setting);
}

ENTRY int swmm_getCurrentSetting(const char* link, double* setting) {
    return nested_getValue(getProject(), NESTED_LINK, link, "setting", *setting);
}

ENTRY int swmm_setRainfall(const char* gage, double rainfall) {
    return rainfall < 0.0 ? nested_release(getProject(), NESTED_GAGE, gage, "held_rain")
                          : nested_setValue(getProject(), NESTED_GAGE, gage, "held_rain", rainfall);
}

ENTRY int swmm_getResult(int type, const char* id, int property, double* value) {
    return nested_getResult(getProject(), type, id, property, *value);
}

ENTRY int swmm_getParam(int type, const char* id, int code, double* value) {
    return nested_getParameter(getProject(), type, id, code, *value);
}

ENTRY int swmm_setParam(int type, const char* id, int code, double value) {
    return nested_setParameter(getProject(), type, id, code, value);
}

ENTRY int swmm_getNodeParam(int /*type*/, const char* id, int code, double* value) {
    return nested_getParameter(getProject(), NESTED_NODE, id, code, *value);
}

ENTRY int swmm_setNodeParam(int /*type*/, const char* id, int code, double value) {
    return nested_setParameter(getProject(), NESTED_NODE, id, code, value);
}

ENTRY int swmm_getLinkParam(int /*type*/, const char* id, int code, double* value) {
    return nested_getParameter(getProject(), NESTED_LINK, id, code, *value);
}

ENTRY int swmm_setLinkParam(int /*type*/, const char* id, int code, double value) {
    return nested_setParameter(getProject(), NESTED_LINK, id, code, value);
}

ENTRY int swmm_setNodeDepth(const char* id, double depth) {
    return nested_setValue(getProject(), NESTED_NODE, id, "depth", depth);
}

/// Depths of conduits follow from their flows.
ENTRY int swmm_setLinkDepth(const char* /*id*/, double /*depth*/) {
    return REFUSED;
}

/// That of a pump is held, that of a pipe or a lagged link holds as long as its state does.
ENTRY int swmm_setLinkFlow(const char* id, double flow) {
    const int code = nested_setValue(getProject(), NESTED_LINK, id, "held_flow", flow);
    return code == TV_ERROR_KIND ? nested_setValue(getProject(), NESTED_LINK, id, "flow", flow) : code;
}

// --- looked up, and never called -----------------------------------------------------------------------------------

ENTRY int swmm_run() {
    return REFUSED;
}

ENTRY int swmm_report() {
    return REFUSED;
}

ENTRY int swmm_getMassBalErr() {
    return REFUSED;
}

ENTRY int swmm_getVersion() {
    return REFUSED;
}

ENTRY int swmm_getError() {
    return REFUSED;
}

ENTRY int swmm_getWarnings() {
    return REFUSED;
}
