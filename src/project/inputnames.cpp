// Which files a project with errors would have read. Its lines are gone through once more, by their words alone: called
// when the reading or the validation has failed.

#include "project/inputnames.h"

#include <cstring>
#include <string>

#include "model/inputfiles.h"
#include "model/model.h"
#include "text/textfile.h"
#include "text/tokens.h"

static const char* const ModelSections[] = {"[SWMM_INPS]", "[VORN_INPS]", nullptr};

static void note(Model& model, const std::string& name) {
    inputfiles_add(model, name, "a file that the project names");
    inputfiles_add(model, model.files.inputFolder + name, "a file that the project names");
}

void inputnames_note(Model& model) {
    TextFile& text = model.files.input;
    const int64_t place = textfile_getPosition(text);
    textfile_setPosition(text, 0);
    char line[LINE_SIZE];
    bool isModelSection = false;
    while (textfile_getLine(text, line, LINE_SIZE)) {
        const Tokens tokens = tokens_split(line);
        if (tokens.count > 0 && tokens[0][0] == '[') {
            isModelSection = tokens_findKeyword(tokens[0], ModelSections) >= 0;
        } else if (isModelSection) {
            for (int32_t k = 0; k < tokens.count; ++k) {
                note(model, tokens[k]);
            }
        } else if (tokens.count > 2 && std::strcmp(tokens[1], "FILE") == 0) {
            note(model, tokens[2]);
        }
    }
    textfile_setPosition(text, place);
}
