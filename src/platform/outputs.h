#pragma once
// Files that the engine writes. A file is written in place, where hosts watch it grow; or aside, under its name with
// ".part" behind it, and put in place when it is complete: until then the name stands for the file that was there.
// Either way one run at a time writes a file, and a second one is refused before anything is lost.

#include <cstdint>
#include <cstdio>
#include <string>

/// What stands behind the name of a file while it is written aside.
constexpr const char* FILE_IN_THE_MAKING = ".part";

/// Why a file can't be written.
enum OutputFault : int32_t {
    OUTPUT_FINE,
    OUTPUT_NOT_OPEN,     ///< it can't be opened, or not be put in place
    OUTPUT_IN_USE,       ///< another run writes it
    OUTPUT_NO_FILE,      ///< it is a folder, a device or a pipe, which nothing can be put in place of
    OUTPUT_NOT_WRITTEN,  ///< a write, or the end of it, has failed
    OUTPUT_TAKEN,        ///< the file aside is gone, or another one stands there
    OUTPUT_NO_FOLDER,    ///< nothing can be made in its folder
    OUTPUT_NO_ASIDE,     ///< what stands under the name of the file aside can't be written
};

/// Where an output is to stand, and where it stands while it is written.
struct OutputPlace {
    std::string target;   ///< behind all links, if it is written aside
    std::string written;  ///< the target itself, or the file aside; empty while none is open
    int32_t held = -1;    ///< what keeps others off the file that stands at the target; -1 for nothing
    int32_t reason = 0;   ///< errno of the last fault, where the system gave one
    bool isOurs = false;  ///< what stands aside was made, or emptied, by this run
    int32_t process = 0;  ///< that has opened it; a copy of it that was forked changes nothing
};

/// Opens a file for writing and reading. It keeps its bytes until it is emptied.
/// The null device is always written in place. Null with a fault if it can't be opened, and nothing has changed then.
[[nodiscard]] std::FILE* outputs_open(OutputPlace& place, const std::string& name, bool isAside, OutputFault& fault);

/// Empties a file; false if that fails. What is no file has nothing to be emptied of.
bool outputs_empty(OutputPlace& place, std::FILE* file);

/// Keeps other runs off a file that something else than a stream writes; below 0 with a fault. To be released.
[[nodiscard]] int32_t outputs_lock(const std::string& path, OutputFault& fault);
void outputs_unlock(int32_t lock);

/// Where a file is written that is to stand here, behind all links. Where the name with its ending would be longer than
/// one may be, its end gives way to a sum of all of it; `room` bytes are kept for what others put behind that.
[[nodiscard]] std::string outputs_nameAside(const std::string& target, size_t room = 0);

/// Whether the name of a file in its folder, with so many bytes behind it, is longer than one may be.
[[nodiscard]] bool outputs_isTooLong(const std::string& target, size_t room);

/// Whether a run writes aside what is to stand here.
[[nodiscard]] bool outputs_isInTheMaking(const std::string& path);

/// Whether this is the null device.
[[nodiscard]] bool outputs_isNowhere(const std::string& path);

/// The number of this process.
[[nodiscard]] int32_t outputs_getProcess();

/// Closes a file with all that was written to it, and puts it in place. A file aside whose last byte can't be written
/// is deleted; one that can't be put in place stays aside.
[[nodiscard]] OutputFault outputs_finish(OutputPlace& place, std::FILE*& file);

/// Closes a file, and leaves it as and where it stands.
void outputs_leave(OutputPlace& place, std::FILE*& file);

/// Closes a file that isn't wanted, and deletes it, but no device or pipe, and nothing that this run has found aside
/// and not emptied; what stands in the place of one aside stays.
void outputs_drop(OutputPlace& place, std::FILE*& file);

/// Why a file can't be written aside and put in place, as far as can be told without making anything; empty if nothing
/// is in the way. A file that is there may be one that isn't replaced, but written.
[[nodiscard]] std::string outputs_findObstacle(const std::string& name, bool isReplaced = true);

/// A fault in words, for the end of a sentence.
[[nodiscard]] std::string outputs_describe(OutputFault fault, int32_t reason);

/// Writes a whole file aside, and puts it in place: whatever happens, the name stands for the file that was there or
/// for the new one.
[[nodiscard]] OutputFault outputs_writeWhole(const std::string& path, const void* bytes, size_t size);

/// A file as the system knows it, whatever it is called.
struct FileIdentity {
    std::string path;  ///< behind all links
    uint64_t device = 0, number = 0;
    bool exists = false;
};

[[nodiscard]] FileIdentity outputs_identify(const std::string& name);
[[nodiscard]] bool outputs_isSame(const FileIdentity& first, const FileIdentity& second);
