// Fuzzer of models as objects: any function of the second face, in any order, with any argument that isn't a wild
// pointer, on a few models at once. No call may crash, hang, leak, answer with an undocumented code, or store anything
// where it refuses.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/generate.h"
#include "tarnvelde_model.h"

namespace {

/// Hands out the bytes of the input, and zeros behind them.
struct Source {
    const uint8_t* at;
    const uint8_t* end;

    bool isEmpty() const { return at == end; }
    uint8_t byte() { return at < end ? *at++ : uint8_t{0}; }

    /// Mostly small numbers, so that most calls mean something.
    int32_t integer() {
        const uint8_t first = byte();
        if (first < 0xF0) {
            return first % 48 - 4;
        }
        uint32_t value = 0;
        for (int k = 0; k < 4; ++k) {
            value = value << 8 | byte();
        }
        return static_cast<int32_t>(value);
    }

    double number() {
        const uint8_t first = byte();
        switch (first & 7) {
            case 0: return std::nan("");
            case 1: return first & 8 ? -INFINITY : INFINITY;
            case 2: return -static_cast<double>(byte());
            case 3: return byte() / 255.0;
            case 4: return 44256.0 + byte() / 1440.0;
            case 5: return std::ldexp(1.0, integer());
            default: return byte();
        }
    }
};

constexpr size_t MODELS = 3;
constexpr int MOST_CALLS = 200;

struct Play {
    Source source{};
    tv_model* models[MODELS] = {};
    std::vector<char> states[2];
    int calls = 0;

    ~Play() {
        for (tv_model* model : models) {
            expect(tv_free(model));
        }
    }

    /// Every code is documented.
    static int32_t expect(int32_t code) {
        if (std::strcmp(tv_describeCode(code), "unknown code") == 0) {
            std::abort();
        }
        return code;
    }

    /// A call that stores a value if, and only if, it gives 0.
    template <class Value, class Call>
    static void expectStored(Value mark, Call call) {
        constexpr size_t SIZE = sizeof(Value);  // NOLINT(bugprone-sizeof-expression): Value may well be a pointer
        std::array<char, SIZE> before, behind;
        Value value = mark;
        std::memcpy(before.data(), &value, SIZE);
        const int32_t code = expect(call(&value));
        std::memcpy(behind.data(), &value, SIZE);
        if (code != TV_OK && behind != before) {
            std::abort();
        }
    }

    const char* pickId() {
        static const char* const IDS[] = {"", "N1", "n2", "OUT0", "L0", "L3", "Q0", "G", "S", "CELL", "no such"};
        return IDS[source.byte() % (sizeof IDS / sizeof IDS[0])];
    }

    void move(tv_model*& model, uint8_t what);
    void look(tv_model* model, uint8_t what);
    void exchange(tv_model* model, uint8_t what);
    void keep(tv_model*& model, uint8_t what);
    void play();
};

const std::string GENERAL =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 0:30:00\nROUTING_STEP 0:01:00\n"
    "RUNOFF_STEP 0:05:00\nREPORT_STEP 0:05:00\n";

/// Projects: a network, one with land and LID units, one with faults, an empty one.
const std::string& getProject(size_t which) {
    static const std::string PROJECTS[] = {
        GENERAL + generateNetwork(5, 6, 2),
        GENERAL +
            "[OUTFALLS]\nO\n[RAINGAGES]\nG INTENSITY 1:00 R\n[TIMESERIES]\nR 0 20 1 0\n[POLLUTANTS]\nQ0 5\n"
            "[SUBCATCHS]\nS G O 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n"
            "[LIDS]\nCELL BC\nCELL SURFACE 150 0.1 0.1 1 0\nCELL SOIL 500 0.45 0.2 0.1 40 10\n"
            "CELL STORAGE 300 0.67 3\nCELL DRAIN 3 0.5 100\n[LID_GROUPS]\nS CELL 500 5 20 50 O\n",
        GENERAL + "[JUNCTIONS]\nN1\nN1\n[PIPES]\nL0 N1 N9 NO 60 1 0 0\n",
        "",
    };
    return PROJECTS[which % (sizeof PROJECTS / sizeof PROJECTS[0])];
}

int32_t listen(void* user, tv_model* model, int64_t period, double) {
    Play& play = *static_cast<Play*>(user);
    for (int k = 0; k < 3 && ++play.calls < MOST_CALLS; ++k) {
        const uint8_t what = play.source.byte();
        if (what & 1) {
            play.look(model, what / 2);
        } else {
            play.exchange(model, what / 2);
        }
    }
    Play::expect(tv_step(model));
    Play::expect(tv_close(model));
    Play::expect(tv_free(model));
    return period % 7 == 6;
}

void hear(void* user, const tv_message* message) {
    auto* model = static_cast<tv_model*>(user);
    if (!message->text || !message->section || !message->words || !message->object || !message->name) {
        std::abort();
    }
    Play::expect(tv_close(model));
    Play::expect(tv_free(model));
}

void Play::move(tv_model*& model, uint8_t what) {
    switch (what % 13) {
        case 0:
            if (!model) {
                expect(tv_create(&model));
            }
            break;
        case 1:
        case 2: {
            const std::string& text = getProject(source.byte());
            expect(tv_openText(model, text.data(), text.size(), source.byte() & 1 ? "/nowhere" : nullptr, nullptr));
            break;
        }
        case 3:
        case 4: expect(tv_start(model, nullptr, nullptr)); break;
        case 5:
        case 6: expect(tv_step(model)); break;
        case 7: expect(tv_runUntil(model, source.number())); break;
        case 8: expect(tv_report(model)); break;
        case 9: expect(tv_end(model)); break;
        case 10: expect(tv_close(model)); break;
        case 11:
            expect(tv_keepLoads(model, source.byte() & 1));
            expect(tv_setWarnings(model, source.byte() & 3));
            expect(tv_setSkipping(model, source.byte() & 1));
            expect(tv_setThreads(model, source.byte() & 3));
            break;
        default:
            if (source.byte() % 4 == 0) {
                expect(tv_free(model));
                model = nullptr;
            } else {
                expect(tv_open(model, source.byte() & 1 ? "/nowhere/at/all" : nullptr, nullptr));
            }
    }
}

void Play::look(tv_model* model, uint8_t what) {
    const int32_t a = source.integer(), b = source.integer();
    switch (what % 16) {
        case 0: expectStored(int32_t{77}, [&](int32_t* value) { return tv_getPhase(model, value); }); break;
        case 1: expectStored(tv_clock{}, [&](tv_clock* value) { return tv_getClock(model, value); }); break;
        case 2: expectStored(int32_t{77}, [&](int32_t* value) { return tv_getMessageCount(model, value); }); break;
        case 3: expectStored(tv_message{}, [&](tv_message* value) { return tv_getMessage(model, a, value); }); break;
        case 4: expectStored(int32_t{77}, [&](int32_t* value) { return tv_getCount(model, a, value); }); break;
        case 5:
            expectStored(static_cast<const char*>(nullptr), [&](const char** id) {
                const int32_t code = tv_getId(model, a, b, id);
                return code == TV_OK && std::strlen(*id) > 1000 ? -1 : code;
            });
            break;
        case 6: expectStored(int32_t{77}, [&](int32_t* value) { return tv_getKind(model, a, b, value); }); break;
        case 7: {
            const char* id = pickId();
            expectStored(int32_t{77}, [&](int32_t* value) { return tv_findObject(model, a, id, value); });
            break;
        }
        case 8: expectStored(int32_t{77}, [&](int32_t* value) { return tv_getRelation(model, a, b, value); }); break;
        case 9: expectStored(tv_table{}, [&](tv_table* value) { return tv_getTable(model, a, value); }); break;
        case 10: {
            const char* unit = nullptr;
            expectStored(static_cast<const char*>(nullptr),
                         [&](const char** name) { return tv_getColumn(model, a, b, name, &unit); });
            break;
        }
        case 11: {
            std::vector<int32_t> indices(static_cast<size_t>(source.byte()));
            expect(tv_getRowObjects(model, a, indices.data(), indices.size()));
            break;
        }
        case 12: {
            tv_table table{};
            const bool isFitting = tv_getTable(model, a, &table) == TV_OK && source.byte() & 1;
            const int32_t count = isFitting ? table.rowCount * table.columnCount : source.byte();
            std::vector<float> values(static_cast<size_t>(count));
            expect(tv_getRows(model, a, values.data(), values.size()));
            break;
        }
        case 13: expectStored(size_t{77}, [&](size_t* value) { return tv_getStateSize(model, value); }); break;
        case 14: {
            const int32_t p = source.integer();
            expectStored(tv_balance{}, [&](tv_balance* value) { return tv_getBalance(model, a, b, p, value); });
            break;
        }
        default:
            expectStored(int32_t{77}, [&](int32_t* value) { return tv_judge(model, value); });
            expectStored(tv_verdict{}, [&](tv_verdict* value) { return tv_getVerdict(model, a, value); });
            expectStored(tv_cause{}, [&](tv_cause* value) { return tv_getCause(model, a, b, value); });
            expectStored(tv_warning_kind{}, [&](tv_warning_kind* value) { return tv_getWarningKind(a, value); });
            break;
    }
}

void Play::exchange(tv_model* model, uint8_t what) {
    int32_t variableCount = 0;
    expect(tv_getVariableCount(&variableCount));
    const int32_t variable =
        source.byte() < 0xF0 ? (source.byte() * 256 + source.byte()) % (variableCount + 1) : source.integer();
    const int32_t a = source.integer(), p = source.byte() % 4 == 0 ? source.integer() : TV_NO_POLLUTANT;
    tv_variable description{};
    switch (what % 8) {
        case 0: expectStored(tv_variable{}, [&](tv_variable* value) { return tv_getVariable(variable, value); }); break;
        case 1:
        case 2: expectStored(77.0, [&](double* value) { return tv_getValue(model, variable, a, p, value); }); break;
        case 3:
        case 4: expect(tv_setValue(model, variable, a, p, source.number())); break;
        case 5:
        case 6: {
            int32_t count = 0;
            const bool isFitting = tv_getVariable(variable, &description) == TV_OK &&
                                   tv_getCount(model, description.objectClass, &count) == TV_OK && source.byte() & 3;
            std::vector<double> values(isFitting ? static_cast<size_t>(count) : source.byte() % size_t{40});
            expect(tv_getValues(model, variable, p, values.data(), values.size()));
            for (double& value : values) {
                value = source.byte() & 1 ? source.number() : value;
            }
            if (what & 8) {
                expect(tv_setValues(model, variable, p, values.data(), values.size()));
            }
            break;
        }
        default: expect(tv_releaseValue(model, variable, a, p)); break;
    }
}

void Play::keep(tv_model*& model, uint8_t what) {
    std::vector<char>& state = states[source.byte() & 1];
    switch (what % 8) {
        case 0:
        case 1: {
            size_t size = 0;
            if (expect(tv_getStateSize(model, &size)) == TV_OK) {
                state.assign(size + source.byte() % size_t{3}, 0);
                size_t used = 0;
                expect(tv_saveState(model, state.data(), state.size(), &used));
                state.resize(used);
            }
            break;
        }
        case 2:
        case 3:
            if (!state.empty() && source.byte() % 4 == 0) {
                state[(source.byte() * size_t{256} + source.byte()) % state.size()] ^= static_cast<char>(source.byte());
            }
            expect(tv_restoreState(model, state.data(), state.size() - (state.empty() ? 0 : source.byte() % 7 == 0)));
            break;
        case 4: expect(tv_hotStart(model, state.data(), state.size())); break;
        case 5: {
            tv_model*& place = models[source.byte() % MODELS];
            if (!place) {
                expectStored(static_cast<tv_model*>(nullptr), [&](tv_model** clone) {
                    const int32_t code = tv_clone(model, clone);
                    place = code == TV_OK ? *clone : nullptr;
                    return code;
                });
            }
            break;
        }
        case 6:
            expect(tv_keepRows(model, source.byte() & 1));
            expect(tv_setPeriodCallback(model, source.byte() & 1 ? listen : nullptr, this));
            break;
        default:
            expect(tv_setLog(model, source.byte() & 1 ? hear : nullptr, model));
            expect(tv_setEngines(model, "x", nullptr, "", "y"));
    }
}

void Play::play() {
    while (!source.isEmpty() && ++calls < MOST_CALLS) {
        tv_model*& model = models[source.byte() % MODELS];
        const uint8_t what = source.byte();
        switch (what & 3) {
            case 0: move(model, what / 4); break;
            case 1: look(model, what / 4); break;
            case 2: exchange(model, what / 4); break;
            default: keep(model, what / 4); break;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 2000) {
        return -1;
    }
    Play play;
    play.source = {data, data + size};
    play.play();
    return 0;
}
