// Whoever opens a file of the project notes it here: the reader the project itself, series their files, nodes with a
// model inside the files of that model and their library. Before an output is opened it is looked for among them.

#include "model/inputfiles.h"

#include <vector>

#include "model/model.h"
#include "platform/outputs.h"

void inputfiles_add(Model& model, const std::string& path, const std::string& use) {
    model.files.inputs.push_back({outputs_identify(path), true, use});
}

void inputfiles_addForeign(Model& model, const std::string& path, const std::string& use) {
    model.files.inputs.push_back({outputs_identify(path), false, use});
}

/// All files that an output makes: itself, the one that is written aside, the text about its run, and the company of a
/// database.
static std::vector<FileIdentity> list(const std::string& output, bool isDatabase) {
    const FileIdentity itself = outputs_identify(output);
    const std::string& target = itself.path;
    std::vector<FileIdentity> files{itself, outputs_identify(outputs_nameAside(target)),
                                    outputs_identify(target + IDENTITY_ENDING),
                                    outputs_identify(outputs_nameAside(target + IDENTITY_ENDING))};
    if (isDatabase) {
        const std::string aside = outputs_nameAside(target, JOURNAL_ROOM);
        files.push_back(outputs_identify(aside));
        for (const std::string& base : {target, aside}) {
            for (const char* ending : {"-journal", "-wal", "-shm"}) {
                files.push_back(outputs_identify(base + ending));
            }
        }
    }
    return files;
}

std::string inputfiles_findUse(const Model& model, const std::string& output, bool isDatabase) {
    if (output.empty()) {
        return {};
    }
    for (const FileIdentity& file : list(output, isDatabase)) {
        for (const InputFile& input : model.files.inputs) {
            if (outputs_isSame(file, input.identity)) {
                return input.use;
            }
        }
    }
    return {};
}

bool inputfiles_areOne(const std::string& first, const std::string& second, bool isDatabase) {
    if (first.empty() || second.empty() || outputs_isNowhere(first)) {
        return false;
    }
    for (const FileIdentity& one : list(first, false)) {
        for (const FileIdentity& other : list(second, isDatabase)) {
            if (outputs_isSame(one, other)) {
                return true;
            }
        }
    }
    return false;
}
