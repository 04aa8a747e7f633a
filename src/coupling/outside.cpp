// Private copies of engines, and records of exchange. An engine keeps the state of its model in static data, so a
// process can run many of them only if each has a file of its own: the library is copied under a fresh name and the
// copy is loaded. The copies are deleted at the close of the project, those in private folders as soon as they are
// loaded where the system can do that.

#include "coupling/outside.h"

#include <algorithm>

#include "coupling/entries.h"
#include "coupling/guid.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/inputfiles.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/names.h"
#include "model/project.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "platform/files.h"
#include "text/tokens.h"
#include "text/units.h"

// --- library -------------------------------------------------------------------------------------------------------

/// What stands up to the last separator, with it. Nothing is added: of a folder given without a separator at its end
/// the last part is lost.
static std::string cutToFolder(const std::string& path) {
    return path.substr(0, path.find_last_of("/\\") + 1);
}

/// The file of the library, or an empty text after the message that it is missing.
static std::string findLibrary(Model& model, const OutsideKind& kind, const std::string& folder) {
    std::string file = folder + kind.fileName;
    if (files_exists(file)) {
        return file;
    }
    std::string native = folder + kind.nativeName;
    if (*kind.nativeName && files_exists(native)) {
        return native;
    }
    errors_report(model, kind.missingError, file.c_str());
    return {};
}

/// Copies the library to a name that no file has yet, and keeps the name. Two nodes, and two processes that share the
/// folder, never get one file.
static bool copyLibrary(OutsideNode& outside, const std::string& source, const std::string& folder) {
    char guid[GUID_SIZE];
    CopyResult result;
    do {
        guid_make(guid);
        outside.libraryCopy = folder + guid + ".dll";
        result = files_copy(source, outside.libraryCopy);
    } while (result == COPY_EXISTS);
    if (result == COPY_FAILED) {
        outside.libraryCopy.clear();
    }
    return result == COPY_DONE;
}

static void deleteCopy(OutsideNode& outside) {
    if (!outside.libraryCopy.empty()) {
        files_delete(outside.libraryCopy.c_str());
        outside.libraryCopy.clear();
    }
    privatefolder_remove(outside.copyFolder);
}

/// Loads the library from the first of some places where that works, each time from a folder that nobody else gets at.
/// False if it couldn't even be copied.
static bool loadPrivately(OutsideNode& outside, const std::string& source, const std::vector<std::string>& places) {
    bool isCopied = false;
    for (const std::string& place : places) {
        if (!privatefolder_make(place, outside.copyFolder)) {
            continue;
        }
        if (copyLibrary(outside, source, outside.copyFolder.path)) {
            isCopied = true;
            outside.library = library_load(outside.libraryCopy.c_str());
        }
        if (!outside.library || LOADED_FILES_CAN_GO) {
            deleteCopy(outside);
        }
        if (outside.library) {
            break;
        }
    }
    return isCopied;
}

/// Where a private copy may go. Nothing is loaded from some folders of the system, or what the library needs stands
/// beside it alone: then its own folder is left.
static std::vector<std::string> findPlaces(const std::string& tempFolder, const std::string& libraryFolder) {
    if (!tempFolder.empty()) {
        return {tempFolder};
    }
    std::vector<std::string> places = privatefolder_findPlaces();
    places.push_back(libraryFolder);
    return places;
}

void outside_clearLeftovers(const Model& model) {
    const EngineLibraries& engines = model.engines;
    for (const std::string& folder : {engines.swmmFolder, engines.vornFolder}) {
        for (const std::string& place : folder.empty() ? privatefolder_findPlaces() : std::vector{folder}) {
            privatefolder_clearLeftovers(place);
        }
    }
}

void outside_loadLibrary(Model& model, OutsideNode& outside, const OutsideKind& kind, const std::string& path,
                         const std::string& tempFolder) {
    const std::string folder = cutToFolder(files_exists(path) ? path : files_getProgramPath());
    const std::string source = findLibrary(model, kind, folder);
    if (source.empty()) {
        return;
    }
    if (!tempFolder.empty() && !files_exists(tempFolder)) {
        errors_report(model, kind.folderError, tempFolder.c_str());
        return;
    }
    inputfiles_add(model, source, "the library of an outside model");
    bool isCopied;
    if (model.engines.hasPrivateCopies) {
        isCopied = loadPrivately(outside, source, findPlaces(tempFolder, folder));
    } else {
        isCopied = copyLibrary(outside, source, tempFolder.empty() ? folder : tempFolder);
        outside.library = isCopied ? library_load(outside.libraryCopy.c_str()) : nullptr;
    }
    if (!isCopied && kind.copyError) {
        errors_report(model, kind.copyError, "");
    }
}

/// What an engine says of its latest failure, in one line; empty if it says nothing.
static std::string getMessage(const OutsideNode& outside) {
    static constexpr int MOST = 10000;  // bytes; an engine may err about its own text
    const auto& call = outside.speechCalls.getMessage;
    const int size = call.function ? std::min(call(nullptr, 0), MOST) : 0;
    if (size <= 0) {
        return {};
    }
    std::string text(static_cast<size_t>(size) + 1, '\0');
    call(text.data(), size + 1);
    text.resize(std::min(text.find('\0'), static_cast<size_t>(size)));
    for (char& letter : text) {
        letter = static_cast<unsigned char>(letter) < ' ' ? ' ' : letter;
    }
    return text;
}

/// An engine that says why its model couldn't be brought to its end is heard; the code changes nothing here.
static void tellEnd(Model& model, const OutsideNode& outside, int code) {
    const std::string text = code != 0 && model.log ? getMessage(outside) : std::string();
    if (!text.empty()) {
        messages_addError(model, 0, "the model " + std::string(outside.inpFile) + ": " + text, "");
    }
}

void outside_close(Model& model, OutsideNode& outside, const OutsideCalls& calls) {
    if (outside.isOpen) {
        outside.isOpen = false;
        tellEnd(model, outside, calls.close());
    }
    if (outside.library) {
        library_release(outside.library);
        outside.library = nullptr;
        outside.stateCalls = OutsideStateCalls{};
        outside.speechCalls = OutsideSpeechCalls{};
    }
    deleteCopy(outside);
}

void outside_findStateCalls(OutsideNode& outside, const char* save, const char* restore) {
    OutsideStateCalls calls{};
    const bool hasBoth =
        entries_find(outside.library, save, calls.save) && entries_find(outside.library, restore, calls.restore);
    outside.stateCalls = hasBoth ? calls : OutsideStateCalls{};
}

// --- what an engine hears and says ---------------------------------------------------------------------------------

/// What each node of the project has of the room for projects inside: what the nodes themselves leave, in equal parts,
/// so that all of them together never take more. Below 0 there is none for the node itself.
static int32_t shareRoom(const Model& model) {
    const int32_t nodes = model.counts.nodeKinds[SWMM] + model.counts.nodeKinds[VORN];
    const int32_t room = model.engines.room;
    return room < nodes ? -1 : (room - nodes) / nodes;
}

void outside_findSpeechCalls(const Model& model, OutsideNode& outside, const char* setSurroundings,
                             const char* getMessage) {
    OutsideSpeechCalls& calls = outside.speechCalls;
    if (entries_find(outside.library, setSurroundings, calls.setSurroundings)) {
        const EngineLibraries& engines = model.engines;
        const std::string projects = engines.around + model.files.inputName + '\n';
        calls.setSurroundings(projects.c_str(), shareRoom(model), model.files.report ? 1 : 0,
                              engines.swmmLibrary.c_str(), engines.swmmFolder.c_str(), engines.vornLibrary.c_str(),
                              engines.vornFolder.c_str());
    }
    (void)entries_find(outside.library, getMessage, calls.getMessage);
}

void outside_setDetail(Model& model, const OutsideNode& outside) {
    if (const std::string text = getMessage(outside); !text.empty()) {
        messages_setDetail(model, (" (" + text + ")").c_str());
    }
}

void outside_tellRefusal(Model& model, const OutsideNode& outside, int32_t node) {
    const char* id = model.nodes[node].id;
    const size_t before = model.log ? model.log->messages.size() : 0;
    warnings_addInRun(model, WARN_RUN_ENGINE, NODE, node, id);
    if (!model.log || model.log->messages.size() == before) {
        return;
    }
    if (const std::string text = getMessage(outside); !text.empty()) {
        messages_addInfo(model, (std::string("node ") + id + ": " + text).c_str());
    }
}

// --- state of an engine --------------------------------------------------------------------------------------------

int32_t outside_getStateSize(const OutsideNode& outside) {
    const int size = outside.stateCalls.save.function ? outside.stateCalls.save(nullptr, 0) : 0;
    return size > 0 ? size : 0;
}

bool outside_saveState(const OutsideNode& outside, void* buffer, int32_t size) {
    return size > 0 && outside.stateCalls.save(buffer, size) == size;
}

bool outside_restoreState(const OutsideNode& outside, const void* bytes, int32_t size) {
    return outside.stateCalls.restore.function && outside.stateCalls.restore(bytes, size) == 0;
}

bool outside_findModel(Model& model, const OutsideNode& outside, std::string& path) {
    std::string found = outside.inpFile;
    if (!files_exists(found)) {
        found = model.files.inputFolder + outside.inpFile;
        if (!files_exists(found)) {
            return false;
        }
    }
    const PathParts parts = files_splitPath(found);
    path = parts.drive + parts.folder + parts.base;
    for (const char* extension : {parts.extension.c_str(), ".inp", ".sti"}) {
        inputfiles_add(model, path + extension, "a model inside a node");
    }
    if (model.log) {  // the old face has always let a report meet that of an engine
        inputfiles_addForeign(model, path + ".rpt", "the report of a model inside a node");
        inputfiles_addForeign(model, path + ".out", "the results of a model inside a node");
    }
    return true;
}

// --- records -------------------------------------------------------------------------------------------------------

int32_t outside_addRecord(Model& model, const Tokens& tokens, CoupledList& list, int32_t index, int32_t converter) {
    CoupledFlow* record = arena_allocateArray<CoupledFlow>(model.memory.project, 1);
    const char* id = record ? names_copyText(model, tokens[1]) : nullptr;
    if (!id) {
        return errors_setName(model, ERR_MEMORY, "");
    }
    record->objectId = id;
    record->index = index;
    record->converter = converter;
    (list.tail ? list.tail->next : list.head) = record;
    list.tail = record;
    return ERR_NONE;
}

/// False without memory.
static bool openRecords(Arena& arena, CoupledList& list, int32_t count) {
    list.byIndex.clear();
    for (CoupledFlow* record = list.head; record; record = record->next) {
        double* arrays = arena_allocateArray<double>(arena, 3 * static_cast<int64_t>(count));
        if (!arrays) {
            return false;
        }
        record->oldLoad = arrays;
        record->newLoad = arrays + count;
        record->sumLoad = arrays + 2 * static_cast<int64_t>(count);
        record->oldFlow = record->newFlow = record->sumFlow = record->statVolume = 0.0;
        record->sumCount = 0;
        list.byIndex.push_back(record);
    }
    std::stable_sort(list.byIndex.begin(), list.byIndex.end(),
                     [](const CoupledFlow* a, const CoupledFlow* b) { return a->index < b->index; });
    return true;
}

static void closeRecords(CoupledList& list) {
    list.byIndex.clear();
    for (CoupledFlow* record = list.head; record; record = record->next) {
        record->oldLoad = record->newLoad = record->sumLoad = nullptr;
    }
}

CoupledRange outside_findRecords(const CoupledList& list, int32_t index) {
    CoupledFlow* const* first = list.byIndex.data();
    CoupledFlow* const* last = first + list.byIndex.size();
    first = std::partition_point(first, last, [=](const CoupledFlow* record) { return record->index < index; });
    return {first,
            std::partition_point(first, last, [=](const CoupledFlow* record) { return record->index == index; })};
}

void outside_rollRecords(const CoupledList& list, int32_t count) {
    for (CoupledFlow* record = list.head; record; record = record->next) {
        record->oldFlow = record->newFlow;
        record->newFlow = 0.0;
        for (int32_t p = 0; p < count; ++p) {
            record->oldLoad[p] = record->newLoad[p];
            record->newLoad[p] = 0.0;
        }
    }
}

double* outside_getLoads(const Model& model, OutsideNode& outside) {
    std::fill_n(outside.scratch, model_pollutantCount(model), 0.0);
    return outside.scratch;
}

void outside_countDelivery(Model& model, const OutsideTotals& totals, CoupledFlow& record, double flow,
                           const double* loads) {
    record.statVolume += model.options.routingStep * flow;
    model.totals.flow.*totals.outflow += model.options.routingStep * flow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        model.totals.quality[p].*totals.outflowMass += model.options.routingStep * loads[p];
    }
}

// --- the life of a node --------------------------------------------------------------------------------------------

int32_t outside_readDefinition(Model& model, const Tokens& tokens, OutsideNode& outside, int32_t node, int32_t kind,
                               int32_t row) {
    const char* id = names_findId(model, NODE, tokens[0]);
    if (!id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t saveResults = tokens_findKeyword(tokens[2], NoYesWords);
    if (saveResults < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[2]);
    }
    const std::string extension = files_splitPath(tokens[1]).extension;
    const char* const needed = kind == SWMM ? ".inp" : ".sti";
    if (extension != needed) {
        warnings_addAtLine(model, WARN_COUPLED_PATH, 1, tokens[0], {tokens[1], needed});
    }
    const char* inpFile = names_copyText(model, tokens[1]);
    if (!inpFile) {
        return errors_setName(model, ERR_MEMORY, "");
    }
    node_setRow(model, node, kind, row, id);
    outside.inpFile = inpFile;
    outside.saveResults = saveResults;
    return ERR_NONE;
}

void outside_validateDates(Model& model, const OutsideCalls& calls, const OutsideKind& kind, const char* id) {
    double start = 0.0, end = 0.0;
    if (calls.getStartAndEndTime(&start, &end) != 0) {
        errors_report(model, kind.datesError, id);
    }
    if (start != model.options.startDateTime) {
        errors_report(model, kind.startDateError, id);
    }
    if (end != model.options.endDateTime) {
        errors_report(model, kind.endDateError, id);
    }
}

void outside_validateOutflow(Model& model, const CoupledFlow& outflow, const char* id) {
    const int32_t kind = model.links[outflow.index].kind;
    if (kind == PUMP || kind == WEIR || kind == ORIFICE) {
        errors_report(model, ERR_SWMM_OUTFLOW_LINK, id);  // of a treatment plant as well
    }
}

void outside_initState(Model& model, OutsideNode& outside, int32_t inflowCount) {
    Arena& arena = model.memory.run;
    const int32_t pollutants = model_pollutantCount(model);
    const bool isDone =
        openRecords(arena, outside.inflows, inflowCount) && openRecords(arena, outside.outflows, pollutants);
    outside.scratch = arena_allocateArray<double>(arena, pollutants);
    if (!isDone || !outside.scratch) {
        errors_report(model, ERR_MEMORY, "");
    }
}

bool outside_start(Model& model, OutsideNode& outside, const OutsideCalls& calls, const OutsideKind& kind,
                   const char* id) {
    outside.isStarted = true;  // whatever the engine says: it is asked to end in any case
    outside.oldTime = outside.newTime = 0.0;
    if (calls.start(outside.saveResults) != 0) {
        outside_setDetail(model, outside);
        errors_report(model, kind.startError, id);
        return false;
    }
    return true;
}

void outside_moveClock(OutsideNode& outside, double elapsedDays) {
    outside.oldTime = outside.newTime;
    outside.newTime = elapsedDays * MS_PER_DAY;
}

void outside_end(Model& model, OutsideNode& outside, const OutsideCalls& calls) {
    if (outside.isStarted) {
        outside.isStarted = false;
        tellEnd(model, outside, calls.end());
    }
    closeRecords(outside.inflows);
    closeRecords(outside.outflows);
    outside.scratch = nullptr;
}
