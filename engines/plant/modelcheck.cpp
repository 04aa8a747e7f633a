// Names of a model file, and what its parts ask of each other.

#include "modelcheck.h"

#include <cmath>

#include "words.h"

namespace {

struct Checker {
    const Draft& draft;
    PlantModel& model;
    std::vector<FileMessage>& messages;
};

void complain(Checker& checker, size_t line, const std::string& text) {
    checker.messages.push_back({line, text});
}

size_t findTank(Checker& checker, size_t line, const std::string& name) {
    const std::vector<Tank>& tanks = checker.model.tanks;
    for (size_t k = 0; k < tanks.size(); ++k) {
        if (words_areEqual(tanks[k].name, name)) {
            return k;
        }
    }
    complain(checker, line, "no tank: \"" + name.substr(0, 80) + "\"");
    return 0;
}

void checkPeriod(Checker& checker) {
    PlantModel& model = checker.model;
    const Draft& draft = checker.draft;
    if (draft.startDay < 0.0 || draft.endDay < 0.0) {
        complain(checker, 0, "START and END of [PLANT] are missing");
        return;
    }
    constexpr double DAY = 86400.0;  // s
    model.start = draft.startDay + static_cast<double>(draft.startSecond) / DAY;
    model.end = draft.endDay + static_cast<double>(draft.endSecond) / DAY;
    model.duration = static_cast<int64_t>(draft.endDay - draft.startDay) * 86400 + draft.endSecond - draft.startSecond;
    if (model.duration <= 0) {
        complain(checker, 0, "END is not after START");
    }
}

// Parameters may be such that no process could be (as with a yield of 0): then something comes from nothing.
void checkContinuity(Checker& checker) {
    constexpr double CLOSED = 1e-9;
    const PlantModel& model = checker.model;
    for (size_t p = 0; p < model.matrix.processes.size(); ++p) {
        for (const Content content : {COD, NITROGEN, PHOSPHORUS, CHARGE}) {
            if (!(std::fabs(matrix_computeGap(model.matrix, p, content)) < CLOSED)) {
                complain(checker, checker.draft.choiceLines.empty() ? 0 : checker.draft.choiceLines.back(),
                         "with these parameters " + std::string(model.table.processes[p].name) +
                             " keeps no balance of COD, nitrogen, phosphorus or charge");
                return;
            }
        }
    }
}

void checkMatrix(Checker& checker) {
    PlantModel& model = checker.model;
    model.table = model.kinetics == Kinetics::ASM1 ? asm1_makeTable(model.isBenchmark) : asm2d_makeTable();
    for (size_t k = 0; k < model.choices.size(); ++k) {
        bool isKnown = false;
        for (const ParameterRow& row : model.table.parameters) {
            isKnown = isKnown || words_areEqual(row.name, model.choices[k].name);
        }
        if (!isKnown) {
            complain(
                checker, checker.draft.choiceLines[k],
                std::string(model.table.name) + " has no parameter \"" + model.choices[k].name.substr(0, 80) + "\"");
        }
    }
    const std::string error = matrix_compile(model.table, model.choices, model.temperature, model.matrix);
    if (!error.empty()) {
        complain(checker, checker.draft.choiceLines.empty() ? 0 : checker.draft.choiceLines.back(), error);
    } else {
        checkContinuity(checker);
    }
}

void checkTanks(Checker& checker) {
    std::vector<Tank>& tanks = checker.model.tanks;
    if (tanks.empty()) {
        complain(checker, 0, "[TANKS] is missing or empty");
        return;
    }
    for (size_t k = 0; k < tanks.size(); ++k) {
        for (size_t other = 0; other < k; ++other) {
            if (words_areEqual(tanks[k].name, tanks[other].name)) {
                complain(checker, tanks[k].line, "a second tank \"" + tanks[k].name + "\"");
            }
        }
    }
    double shares = 0.0;
    for (const NamedLine& feed : checker.draft.feeds) {
        Tank& tank = tanks[findTank(checker, feed.line, feed.name)];
        tank.share += feed.value;
        shares += feed.value;
    }
    if (checker.draft.feeds.empty()) {
        tanks[0].share = 1.0;
    } else if (std::fabs(shares - 1.0) > 1e-9) {
        complain(checker, checker.draft.feeds.back().line,
                 "the shares of FEED add up to " + words_showNumber(shares) + ", not to 1");
    }
}

void checkFlows(Checker& checker) {
    PlantModel& model = checker.model;
    const Draft& draft = checker.draft;
    for (size_t k = 0; k < draft.recycles.size() && !model.tanks.empty(); ++k) {
        Recycle& recycle = model.recycles[k];
        recycle.from = findTank(checker, draft.recycles[k].line, draft.recycles[k].from);
        recycle.to = findTank(checker, draft.recycles[k].line, draft.recycles[k].to);
        if (recycle.to > recycle.from) {
            complain(checker, draft.recycles[k].line, "a recycle leads to its own tank or to one before it");
        }
    }
    if (!draft.returned.to.empty() && !model.tanks.empty()) {
        model.returnTank = findTank(checker, draft.returned.line, draft.returned.to);
    }
    if (model.settler.kind == SettlerKind::TAKACS && model.settler.area <= 0.0) {
        complain(checker, 0, "AREA of [SETTLER] is missing");
    }
    if (model.settler.feed > model.settler.layers) {
        complain(checker, 0, "FEED of [SETTLER] is above the highest layer");
    }
}

void checkUnits(Checker& checker) {
    const std::vector<NamedLine>& units = checker.draft.unitLines;
    for (size_t k = 0; k < units.size(); ++k) {
        for (size_t other = 0; other < k; ++other) {
            if (units[k].name == units[other].name) {
                complain(checker, units[k].line, "a second unit \"" + units[k].name + "\"");
            }
        }
    }
    if (checker.model.influents.empty()) {
        complain(checker, 0, "[INFLUENTS] is missing or empty");
    }
    const Fractions& part = checker.model.fractions;
    if (part.inertDissolved + part.fermentable + part.acetate + part.inertParticulate + part.biomass > 1.0 + 1e-9) {
        complain(checker, checker.draft.fractionLine, "the fractions of COD add up to more than 1");
    }
}

// Constituents first, for what the components of the same list replace.
void checkDesign(Checker& checker) {
    PlantModel& model = checker.model;
    std::array<double, CONSTITUENT_COUNT> constituents{};
    model.designInflow.assign(model.matrix.names.size(), 0.0);
    std::vector<bool> isTaken(checker.draft.design.size());
    for (size_t k = 0; k < checker.draft.design.size(); ++k) {
        for (size_t c = 0; c < CONSTITUENT_COUNT; ++c) {
            if (words_areEqual(checker.draft.design[k].name, ConstituentNames[c])) {
                constituents[c] = checker.draft.design[k].value;
                isTaken[k] = true;
            }
        }
    }
    plantmodel_splitInflow(model, constituents, model.designInflow.data());
    for (size_t k = 0; k < checker.draft.design.size(); ++k) {
        const NamedLine& line = checker.draft.design[k];
        const size_t component = matrix_findComponent(model.matrix, line.name);
        if (component < model.matrix.names.size()) {
            model.designInflow[component] = line.value;
        } else if (!isTaken[k]) {
            complain(checker, line.line, "neither constituent nor component: \"" + line.name.substr(0, 80) + "\"");
        }
    }
    if (model.startsSteady && model.designFlow <= 0.0) {
        complain(checker, 0, "FLOW of [DESIGN] is missing, with which the steady state is found");
    }
}

// "LAYER3" is a layer of the settler, unless it is a tank.
size_t findUnit(Checker& checker, const StartLine& line) {
    const PlantModel& model = checker.model;
    for (size_t k = 0; k < model.tanks.size(); ++k) {
        if (words_areEqual(model.tanks[k].name, line.unit)) {
            return k;
        }
    }
    double layer = 0.0;
    if (words_areEqual(std::string_view(line.unit).substr(0, 5), "LAYER") &&
        words_readNumber(std::string_view(line.unit).substr(5), layer) && model.settler.kind == SettlerKind::TAKACS) {
        for (size_t k = 0; k < model.settler.layers; ++k) {
            if (layer == static_cast<double>(k + 1)) {
                return model.tanks.size() + k;
            }
        }
    }
    complain(checker, line.line, "neither a tank nor a layer: \"" + line.unit.substr(0, 80) + "\"");
    return 0;
}

void checkInitial(Checker& checker) {
    PlantModel& model = checker.model;
    for (const StartLine& line : checker.draft.initial) {
        const StartValue value{findUnit(checker, line), matrix_findComponent(model.matrix, line.component), line.value};
        if (value.component >= model.matrix.names.size()) {
            complain(checker, line.line,
                     std::string(model.table.name) + " has no component \"" + line.component.substr(0, 80) + "\"");
        }
        model.startValues.push_back(value);
    }
}

}  // namespace

void modelcheck_finish(const Draft& draft, PlantModel& model, std::vector<FileMessage>& messages) {
    Checker checker{draft, model, messages};
    checkPeriod(checker);
    checkMatrix(checker);
    checkTanks(checker);
    checkFlows(checker);
    checkUnits(checker);
    if (messages.empty()) {  // these take numbers that the others have found to be good
        checkDesign(checker);
        checkInitial(checker);
    }
}
