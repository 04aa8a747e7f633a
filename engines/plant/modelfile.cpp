// Sections and lines of a model file, one function for each section. What needs the whole file is tested at the end, in
// modelcheck.cpp.

#include "modelfile.h"

#include <cstdio>
#include <functional>
#include <memory>

#include "modelcheck.h"
#include "words.h"

namespace {

constexpr size_t MOST_BYTES = 4U << 20U, MOST_MESSAGES = 100;
constexpr size_t MOST_TANKS = 30, MOST_UNITS = 30, MOST_RECYCLES = 30, MOST_LINES = 20000;
constexpr double LARGEST = 1e9;

using Words = std::vector<std::string_view>;

struct Reader {
    PlantModel& model;
    Draft& draft;
    size_t line = 0;
    std::vector<FileMessage> messages = {};
};

void complain(Reader& reader, const std::string& text) {
    if (reader.messages.size() < MOST_MESSAGES) {
        reader.messages.push_back({reader.line, text});
    }
}

std::string quote(std::string_view word) {
    return "\"" + std::string(word.substr(0, 80)) + "\"";
}

// A number within limits; `what` names it in a message.
bool takeNumber(Reader& reader, const Words& words, size_t place, const char* what, double least, double most,
                double& number) {
    double read = 0.0;
    if (place >= words.size()) {
        complain(reader, std::string(what) + " is missing");
        return false;
    }
    if (!words_readNumber(words[place], read)) {
        complain(reader, std::string(what) + " is no number: " + quote(words[place]));
        return false;
    }
    if (read < least || read > most) {
        complain(reader, std::string(what) + " is not between " + words_showNumber(least) + " and " +
                             words_showNumber(most) + ": " + quote(words[place]));
        return false;
    }
    number = read;
    return true;
}

bool wantWords(Reader& reader, const Words& words, size_t least, size_t most) {
    if (words.size() < least) {
        complain(reader, "too few words");
    } else if (words.size() > most) {
        complain(reader, "too many words, from " + quote(words[most]) + " on");
    }
    return words.size() >= least && words.size() <= most;
}

// --- [PLANT] ---------------------------------------------------------------------------------------------------------

// Days from 31 December 1899, which is day 1, in the calendar of today.
double countDays(long year, long month, long day) {
    const long shifted = year - (month <= 2 ? 1 : 0);
    const long era = shifted / 400;
    const long yearOfEra = shifted - era * 400;
    const long dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return static_cast<double>(era * 146097 + dayOfEra - 719468 + 25569);
}

bool readParts(std::string_view word, std::string_view sign, size_t count, std::array<long, 3>& parts) {
    const Words words = words_split(word, sign);
    if (words.size() != count && !(sign == ":" && words.size() == 2)) {
        return false;
    }
    parts = {0, 0, 0};
    for (size_t k = 0; k < words.size(); ++k) {
        double number = 0.0;
        if (words[k].size() > 4 || words[k].find_first_not_of("0123456789") != std::string_view::npos ||
            !words_readNumber(words[k], number)) {
            return false;
        }
        parts[k] = static_cast<long>(number);
    }
    return true;
}

void readDate(Reader& reader, const Words& words, double& days, long& seconds) {
    std::array<long, 3> date{};
    std::array<long, 3> time{};
    constexpr std::array<long, 12> LENGTHS = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (!wantWords(reader, words, 2, 3)) {
        return;
    }
    bool isGood = readParts(words[1], "/", 3, date) && (words.size() < 3 || readParts(words[2], ":", 3, time));
    isGood = isGood && date[0] >= 1900 && date[0] <= 9999 && date[1] >= 1 && date[1] <= 12 && date[2] >= 1 &&
             date[2] <= LENGTHS[static_cast<size_t>(date[1] - 1)] && time[0] <= 24 && time[1] < 60 && time[2] < 60;
    const bool isLeap = date[0] % 4 == 0 && (date[0] % 100 != 0 || date[0] % 400 == 0);
    if (!isGood || (date[1] == 2 && date[2] == 29 && !isLeap)) {
        complain(reader, "no date of the form YEAR/MONTH/DAY [HOUR:MINUTE[:SECOND]]");
        return;
    }
    days = countDays(date[0], date[1], date[2]);
    seconds = time[0] * 3600 + time[1] * 60 + time[2];
}

void readTolerances(Reader& reader, const Words& words) {
    if (wantWords(reader, words, 3, 3)) {
        takeNumber(reader, words, 1, "the relative tolerance", 1e-9, 1e-2, reader.model.relativeTolerance);
        takeNumber(reader, words, 2, "the absolute tolerance", 1e-9, 1.0, reader.model.absoluteTolerance);
    }
}

void readKinetics(Reader& reader, const Words& words) {
    if (!wantWords(reader, words, 2, 2)) {
        return;
    }
    const bool isBenchmark = words_areEqual(words[1], "BSM1");
    if (isBenchmark || words_areEqual(words[1], "ASM1")) {
        reader.model.kinetics = Kinetics::ASM1;
        reader.model.isBenchmark = isBenchmark;
    } else if (words_areEqual(words[1], "ASM2D")) {
        reader.model.kinetics = Kinetics::ASM2D;
    } else {
        complain(reader, "no model: " + quote(words[1]) + "; ASM1, BSM1 and ASM2D are known");
    }
}

void readPlant(Reader& reader, const Words& words) {
    PlantModel& model = reader.model;
    const std::string_view key = words[0];
    if (words_areEqual(key, "MODEL")) {
        readKinetics(reader, words);
    } else if (words_areEqual(key, "START")) {
        readDate(reader, words, reader.draft.startDay, reader.draft.startSecond);
    } else if (words_areEqual(key, "END")) {
        readDate(reader, words, reader.draft.endDay, reader.draft.endSecond);
    } else if (words_areEqual(key, "STEP")) {
        double step = 0.0;
        if (wantWords(reader, words, 2, 2) && takeNumber(reader, words, 1, "the step", 1.0, 86400.0, step)) {
            model.step = static_cast<int64_t>(step);
            if (static_cast<double>(model.step) != step) {
                complain(reader, "the step is no whole number of seconds");
            }
        }
    } else if (words_areEqual(key, "TEMPERATURE")) {
        (void)(wantWords(reader, words, 2, 2) &&
               takeNumber(reader, words, 1, "the temperature", 1.0, 40.0, model.temperature));
    } else if (words_areEqual(key, "SATURATION")) {
        (void)(wantWords(reader, words, 2, 2) &&
               takeNumber(reader, words, 1, "the saturation", 0.0, 50.0, model.saturation));
    } else if (words_areEqual(key, "TOLERANCES")) {
        readTolerances(reader, words);
    } else {
        complain(reader, "[PLANT] knows no " + quote(key));
    }
}

// --- the other sections --------------------------------------------------------------------------------------------

void readParameter(Reader& reader, const Words& words) {
    ParameterChoice choice;
    if (!wantWords(reader, words, 2, 3)) {
        return;
    }
    choice.name = words[0];
    if (takeNumber(reader, words, 1, "the parameter", 0.0, 1e6, choice.value) &&
        (words.size() < 3 || takeNumber(reader, words, 2, "the temperature factor", 0.5, 2.0, choice.theta))) {
        reader.draft.choiceLines.push_back(reader.line);
        reader.model.choices.push_back(choice);
    }
}

bool isName(Reader& reader, std::string_view name) {
    if (name.size() > 60) {
        complain(reader, "the name is too long: " + quote(name));
    }
    return name.size() <= 60;
}

void readController(Reader& reader, const Words& words, Tank& tank) {
    tank.aeration = Aeration::OXYGEN;
    (void)(wantWords(reader, words, 6, 9) &&
           takeNumber(reader, words, 3, "the wanted oxygen", 0.0, 50.0, tank.setpoint) &&
           takeNumber(reader, words, 4, "the least KLa", 0.0, 5000.0, tank.klaLeast) &&
           takeNumber(reader, words, 5, "the largest KLa", tank.klaLeast, 5000.0, tank.klaMost) &&
           (words.size() < 7 || takeNumber(reader, words, 6, "the gain", 0.0, 5000.0, tank.gain)) &&
           (words.size() < 8 || takeNumber(reader, words, 7, "the integral time", 1e-4, 100.0, tank.integralTime)) &&
           (words.size() < 9 || takeNumber(reader, words, 8, "the KLa to start from", 0.0, 5000.0, tank.kla)));
}

void readTank(Reader& reader, const Words& words) {
    Tank tank;
    tank.name = words[0];
    tank.line = reader.line;
    if (reader.model.tanks.size() >= MOST_TANKS) {
        complain(reader, "more than " + std::to_string(MOST_TANKS) + " tanks");
        return;
    }
    if (!isName(reader, words[0]) || !takeNumber(reader, words, 1, "the volume", 0.1, LARGEST, tank.volume)) {
        return;
    }
    if (words.size() > 2 && words_areEqual(words[2], "KLA")) {
        tank.aeration = Aeration::KLA;
        (void)(wantWords(reader, words, 4, 4) && takeNumber(reader, words, 3, "KLa", 0.0, 5000.0, tank.kla));
    } else if (words.size() > 2 && words_areEqual(words[2], "OXYGEN")) {
        readController(reader, words, tank);
    } else if (words.size() > 2 && !words_areEqual(words[2], "NONE")) {
        complain(reader, "no aeration: " + quote(words[2]) + "; NONE, KLA and OXYGEN are known");
    }
    reader.model.tanks.push_back(tank);
}

// CONSTANT m3/d, RATIO of the inflow, MIN and MAX m3/d, in pairs from a place on.
FlowRule readRule(Reader& reader, const Words& words, size_t place) {
    FlowRule rule;
    if (place >= words.size()) {
        complain(reader, "the flow is missing");
    }
    for (; place < words.size(); place += 2) {
        double* target = nullptr;
        if (words_areEqual(words[place], "CONSTANT")) {
            target = &rule.constant;
        } else if (words_areEqual(words[place], "RATIO")) {
            target = &rule.ratio;
        } else if (words_areEqual(words[place], "MIN")) {
            target = &rule.least;
        } else if (words_areEqual(words[place], "MAX")) {
            target = &rule.most;
        } else {
            complain(reader, "no part of a flow: " + quote(words[place]) + "; CONSTANT, RATIO, MIN and MAX are known");
            return rule;
        }
        if (!takeNumber(reader, words, place + 1, "the flow", 0.0, LARGEST, *target)) {
            return rule;
        }
    }
    if (rule.least > rule.most) {
        complain(reader, "MIN is above MAX");
        rule.least = rule.most;
    }
    return rule;
}

void readFlow(Reader& reader, const Words& words) {
    PlantModel& model = reader.model;
    const std::string_view key = words[0];
    if (words_areEqual(key, "RECYCLE") && words.size() >= 3) {
        if (model.recycles.size() >= MOST_RECYCLES) {
            complain(reader, "more than " + std::to_string(MOST_RECYCLES) + " recycles");
            return;
        }
        reader.draft.recycles.push_back({reader.line, std::string(words[1]), std::string(words[2])});
        model.recycles.push_back({0, 0, readRule(reader, words, 3)});
    } else if (words_areEqual(key, "RETURN") && words.size() >= 2) {
        reader.draft.returned = {reader.line, "", std::string(words[1])};
        model.returned = readRule(reader, words, 2);
    } else if (words_areEqual(key, "WASTE")) {
        model.waste = readRule(reader, words, 1);
    } else if (words_areEqual(key, "BYPASS")) {
        (void)(wantWords(reader, words, 2, 2) &&
               takeNumber(reader, words, 1, "the flow that the plant takes", 0.0, LARGEST, model.bypassAbove));
    } else if (words_areEqual(key, "FEED") && words.size() == 3) {
        double share = 0.0;
        if (takeNumber(reader, words, 2, "the share", 0.0, 1.0, share)) {
            reader.draft.feeds.push_back({reader.line, std::string(words[1]), share});
        }
    } else {
        complain(reader, "[FLOWS] knows no line of this form: " + quote(key));
    }
}

void readSettler(Reader& reader, const Words& words) {
    Settler& settler = reader.model.settler;
    struct Entry {
        const char* key;
        double least, most;
        double* target;
    };
    double layers = static_cast<double>(settler.layers);
    double feed = static_cast<double>(settler.feed);
    const std::array<Entry, 10> entries = {{{"AREA", 0.1, LARGEST, &settler.area},
                                            {"DEPTH", 0.1, 100.0, &settler.depth},
                                            {"LAYERS", 2.0, 30.0, &layers},
                                            {"FEED", 1.0, 30.0, &feed},
                                            {"V0", 0.0, 5000.0, &settler.v0},
                                            {"V0MAX", 0.0, 5000.0, &settler.v0Most},
                                            {"RH", 0.0, 1.0, &settler.rh},
                                            {"RP", 0.0, 1.0, &settler.rp},
                                            {"FNS", 0.0, 1.0, &settler.fns},
                                            {"THRESHOLD", 0.0, 1e5, &settler.threshold}}};
    if (!wantWords(reader, words, 2, 2)) {
        return;
    }
    if (words_areEqual(words[0], "KIND")) {
        const bool isIdeal = words_areEqual(words[1], "IDEAL");
        settler.kind = isIdeal ? SettlerKind::IDEAL : SettlerKind::TAKACS;
        if (!isIdeal && !words_areEqual(words[1], "TAKACS")) {
            complain(reader, "no settler: " + quote(words[1]) + "; TAKACS and IDEAL are known");
        }
        return;
    }
    for (const Entry& entry : entries) {
        if (words_areEqual(words[0], entry.key)) {
            takeNumber(reader, words, 1, entry.key, entry.least, entry.most, *entry.target);
            settler.layers = static_cast<size_t>(layers);
            settler.feed = static_cast<size_t>(feed);
            if (static_cast<double>(settler.layers) != layers || static_cast<double>(settler.feed) != feed) {
                complain(reader, "a layer is no whole number");
            }
            return;
        }
    }
    complain(reader, "[SETTLER] knows no " + quote(words[0]));
}

void readInfluent(Reader& reader, const Words& words) {
    if (!wantWords(reader, words, 1, 1) || !isName(reader, words[0])) {
        return;
    }
    if (reader.model.influents.size() >= MOST_UNITS) {
        complain(reader, "too many influents");
        return;
    }
    reader.draft.unitLines.push_back({reader.line, std::string(words[0]), 0.0});
    reader.model.influents.emplace_back(words[0]);
}

void readEffluent(Reader& reader, const Words& words) {
    struct Entry {
        const char* key;
        Stream stream;
    };
    constexpr std::array<Entry, 4> ENTRIES = {{{"EFFLUENT", Stream::EFFLUENT},
                                               {"OVERFLOW", Stream::OVERFLOW},
                                               {"WASTE", Stream::WASTE},
                                               {"BYPASS", Stream::BYPASS}}};
    if (!wantWords(reader, words, 2, 2) || !isName(reader, words[0])) {
        return;
    }
    if (reader.model.effluents.size() >= MOST_UNITS) {
        complain(reader, "too many effluents");
        return;
    }
    for (const Entry& entry : ENTRIES) {
        if (words_areEqual(words[1], entry.key)) {
            reader.draft.unitLines.push_back({reader.line, std::string(words[0]), 0.0});
            reader.model.effluents.push_back({std::string(words[0]), entry.stream});
            return;
        }
    }
    complain(reader, "no stream: " + quote(words[1]) + "; EFFLUENT, OVERFLOW, WASTE and BYPASS are known");
}

void readFraction(Reader& reader, const Words& words) {
    Fractions& part = reader.model.fractions;
    struct Entry {
        const char* key;
        double least, most;
        double* target;
    };
    const std::array<Entry, 8> entries = {{{"S_I", 0.0, 1.0, &part.inertDissolved},
                                           {"S_F", 0.0, 1.0, &part.fermentable},
                                           {"S_A", 0.0, 1.0, &part.acetate},
                                           {"X_I", 0.0, 1.0, &part.inertParticulate},
                                           {"X_H", 0.0, 1.0, &part.biomass},
                                           {"N_S", 0.0, 1.0, &part.nitrogenDissolved},
                                           {"N_X", 0.0, 1.0, &part.nitrogenParticulate},
                                           {"ALK", 1.0, 1000.0, &part.alkalinity}}};
    if (!wantWords(reader, words, 2, 2)) {
        return;
    }
    for (const Entry& entry : entries) {
        if (words_areEqual(words[0], entry.key)) {
            takeNumber(reader, words, 1, entry.key, entry.least, entry.most, *entry.target);
            reader.draft.fractionLine = reader.line;
            return;
        }
    }
    complain(reader, "[FRACTIONS] knows no " + quote(words[0]));
}

void readDesign(Reader& reader, const Words& words) {
    double value = 0.0;
    if (wantWords(reader, words, 2, 2) && takeNumber(reader, words, 1, "the value", 0.0, LARGEST, value)) {
        if (words_areEqual(words[0], "FLOW")) {
            reader.model.designFlow = value;
        } else {
            reader.draft.design.push_back({reader.line, std::string(words[0]), value});
        }
    }
}

void readInitial(Reader& reader, const Words& words) {
    if (words.size() == 1 && words_areEqual(words[0], "STEADY")) {
        reader.model.startsSteady = true;
    } else if (words.size() == 1 && words_areEqual(words[0], "EMPTY")) {
        reader.model.startsSteady = false;
    } else {
        double value = 0.0;
        if (wantWords(reader, words, 3, 3) && takeNumber(reader, words, 2, "the value", 0.0, 1e6, value)) {
            reader.draft.initial.push_back({reader.line, std::string(words[0]), std::string(words[1]), value});
        }
    }
}

struct Section {
    std::string_view name;
    void (*read)(Reader&, const Words&);
};

constexpr std::array<Section, 10> SECTIONS = {{{"[PLANT]", readPlant},
                                               {"[PARAMETERS]", readParameter},
                                               {"[TANKS]", readTank},
                                               {"[FLOWS]", readFlow},
                                               {"[SETTLER]", readSettler},
                                               {"[INFLUENTS]", readInfluent},
                                               {"[EFFLUENTS]", readEffluent},
                                               {"[FRACTIONS]", readFraction},
                                               {"[DESIGN]", readDesign},
                                               {"[INITIAL]", readInitial}}};

const Section* findSection(std::string_view name) {
    for (const Section& section : SECTIONS) {
        if (words_areEqual(section.name, name)) {
            return &section;
        }
    }
    return nullptr;
}

void readLines(Reader& reader, std::string_view text) {
    const Section* section = nullptr;
    bool isSkipping = false;
    for (size_t begin = 0; begin < text.size() && reader.line < MOST_LINES;) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        std::string_view line = text.substr(begin, end - begin);
        begin = end + 1;
        ++reader.line;
        line = line.substr(0, line.find("//"));
        const Words words = words_split(line, " \t\r");
        if (words.empty()) {
            continue;
        }
        if (words[0].front() == '[') {
            section = findSection(words[0]);
            isSkipping = section == nullptr;
            if (isSkipping) {
                complain(reader, "no section: " + quote(words[0]));
            }
        } else if (section != nullptr) {
            section->read(reader, words);
        } else if (!isSkipping) {
            complain(reader, "a line before the first section: " + quote(words[0]));
            isSkipping = true;
        }
    }
    if (reader.line >= MOST_LINES) {
        complain(reader, "the file has too many lines");
    }
}

}  // namespace

std::vector<FileMessage> modelfile_read(std::string_view text, PlantModel& model) {
    model = {};
    Draft draft;
    Reader reader{model, draft};
    if (text.size() > MOST_BYTES) {
        complain(reader, "the file is too large");
        return reader.messages;
    }
    readLines(reader, text);
    modelcheck_finish(draft, model, reader.messages);
    return reader.messages;
}

std::string modelfile_load(const std::string& path, std::string& bytes) {
    const auto closeFile = [](std::FILE* open) { (void)std::fclose(open); };
    const std::unique_ptr<std::FILE, decltype(closeFile)> file(std::fopen(path.c_str(), "rb"), closeFile);
    bytes.clear();
    if (!file) {
        return "can't be opened";
    }
    std::array<char, 65536> block{};
    while (bytes.size() <= MOST_BYTES) {
        const size_t count = std::fread(block.data(), 1, block.size(), file.get());
        bytes.append(block.data(), count);
        if (count < block.size()) {
            break;
        }
    }
    return std::ferror(file.get()) != 0 ? "can't be read" : "";
}

std::string modelfile_describe(const std::string& name, const std::vector<FileMessage>& messages) {
    std::string text;
    for (const FileMessage& message : messages) {
        text += name + (message.line > 0 ? ":" + std::to_string(message.line) : "") + ": " + message.text + "\n";
    }
    return text;
}
