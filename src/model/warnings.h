#pragma once
// Warnings: what passes and yet can't be meant, said beside the report and never in it. They change no result and no
// code. Each is a row of model/warnings.def, told at most WARNINGS_KEPT times with its place; further ones are counted.
// Without a host that listens (Model::log) nothing is worked out.

#include <cstdint>
#include <initializer_list>
#include <string>

#include "model/messages.h"
#include "model/project.h"

struct Model;

enum WarningIndex : int32_t {
#define TARNVELDE_WARNING(enumerator, name, group, severity, text, effect, advice) enumerator,
#include "model/warnings.def"
    WARNING_COUNT
};

/// When a warning is found.
enum WarningGroup : int32_t {
    WARNING_DROPPED,      ///< reading: something is dropped, or taken otherwise than it seems to say
    WARNING_IMPLAUSIBLE,  ///< reading: something can hardly be meant
    WARNING_RUN           ///< a run: something goes wrong with the water
};

enum WarningSeverity : int32_t {
    SEVERITY_NOTE,     ///< unusual, and maybe meant
    SEVERITY_WARNING,  ///< hardly meant
    SEVERITY_SERIOUS   ///< results can't be right
};

struct WarningKind {
    const char* name;
    int32_t group;     ///< WarningGroup
    int32_t severity;  ///< WarningSeverity
    const char* text;  ///< in words, with %1 ... %9 for what the case fills in
    const char* effect;
    const char* advice;
};

extern const WarningKind WarningKinds[WARNING_COUNT];

/// So many of one kind and severity are told with their place.
constexpr int64_t WARNINGS_KEPT = 100;

using WarningFills = std::initializer_list<std::string>;

/// Whether anybody wants to hear warnings: for what costs something to find out.
[[nodiscard]] bool warnings_isWanted(const Model& model);

/// At the line that is being read. `word` is its place in the line from 0 on, -1 for the line as a whole.
void warnings_addAtLine(const Model& model, int32_t warning, int32_t word, const char* object, WarningFills fills = {});

/// The same with a severity of the case's own.
void warnings_addAtLine(const Model& model, int32_t warning, int32_t severity, int32_t word, const char* object,
                        WarningFills fills);

/// About an object of a class (ObjectType), at the line that defined it.
void warnings_addAbout(const Model& model, int32_t warning, int32_t type, int32_t index, const char* object,
                       WarningFills fills = {});

/// The same with a severity of the case's own.
struct ObjectKey {
    int32_t type;  ///< ObjectType
    int32_t index;
};
void warnings_addAbout(const Model& model, int32_t warning, int32_t severity, const ObjectKey& key, const char* object,
                       WarningFills fills);

/// At a line that was read before.
void warnings_addAtPlace(const Model& model, int32_t warning, const LinePlace& place, int32_t word, const char* object,
                         WarningFills fills = {});

/// About no object and no line.
void warnings_addAboutAll(const Model& model, int32_t warning, WarningFills fills = {});

/// About an object at the present moment of the run, the first of its kind for the object; nothing for further ones.
void warnings_addInRun(const Model& model, int32_t warning, int32_t type, int32_t index, const char* object);

/// A new run: what the last one has told may be told again.
void warnings_openRun(const Model& model);

/// Tells of each kind how many more there were than were told with their place.
void warnings_tellRest(const Model& model);

/// Lets warnings see where a reader stands, for as long as it reads: the place moves with the reader's own, and the
/// words are those of its line. Nothing is done per line.
class ReadingGuard {
public:
    ReadingGuard(const Model& model, const LinePlace& place, const char* words);
    ~ReadingGuard();
    ReadingGuard(const ReadingGuard&) = delete;
    ReadingGuard& operator=(const ReadingGuard&) = delete;

    /// The line as it stands is somewhere else now.
    void setWords(const char* words) const;

private:
    MessageLog* log;
};

/// Where the reader stands; a line of 0 while none reads.
[[nodiscard]] LinePlace warnings_getReading(const WarningLog& warnings);

/// Notes that the line that is being read gives something: `first` and `second`, below 2^28, tell it apart from all
/// else that lines of its section give. Tells if an earlier line gave the same and is replaced. `what` says it in
/// words.
void warnings_noteGiven(const Model& model, int32_t first, int32_t second, const char* object, const char* what);

/// The place of the line of a section that gave something last; its line is 0 if none did, or nobody wants warnings.
[[nodiscard]] LinePlace warnings_findGiven(const Model& model, int32_t section, int32_t first, int32_t second);

/// " (line 12)", or nothing for a line of 0.
[[nodiscard]] std::string warnings_formatLine(const LinePlace& place);

/// A number for the texts of warnings: as the user wrote it, but with four figures where it has many.
[[nodiscard]] std::string warnings_formatNumber(double value);
