// Memory that isn't there: each request of a run for memory is refused once. The call ends with the code of the memory
// error, nothing is left behind, and the next run is as good as any.
//
// These tests are a program of their own, since they take the place of operator new.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include "model/curve.h"
#include "model/errors.h"
#include "support/allkinds.h"
#include "support/generate.h"
#include "support/model.h"
#include "support/tvmodel.h"

static int64_t RequestsLeft = -1;  ///< requests until one is refused; negative: none is
static bool IsRefused = false;

static void countRequest() {
    if (RequestsLeft < 0) {
        return;
    }
    if (RequestsLeft == 0) {
        IsRefused = true;
        RequestsLeft = -1;
        throw std::bad_alloc();
    }
    --RequestsLeft;
}

static void* request(size_t size) {
    countRequest();
    void* memory = std::malloc(size > 0 ? size : 1);
    return memory ? memory : throw std::bad_alloc();
}

static void* request(size_t size, std::align_val_t alignment) {
    countRequest();
    const size_t step = static_cast<size_t>(alignment);
    void* memory = std::aligned_alloc(step, (size + step - 1) / step * step);
    return memory ? memory : throw std::bad_alloc();
}

static void* requestOrNull(size_t size) noexcept {
    try {
        return request(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// Every form that is in use, so that none of them meets the release of another's memory.
void* operator new(size_t size) {
    return request(size);
}
void* operator new[](size_t size) {
    return request(size);
}
void* operator new(size_t size, std::align_val_t alignment) {
    return request(size, alignment);
}
void* operator new[](size_t size, std::align_val_t alignment) {
    return request(size, alignment);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return requestOrNull(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return requestOrNull(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

/// What a run leaves behind.
struct Outcome {
    int32_t code = 0;
    size_t entries = 0;  ///< points of all curves
    bool isRefused = false;
    std::string report, results;
};

/// A run step by step, of which the request for memory of this number is refused; -1 lets all pass.
static Outcome run(const Project& project, int64_t request) {
    Outcome outcome;
    const auto note = [&](int32_t code) { outcome.code = outcome.code == 0 ? code : outcome.code; };
    IsRefused = false;
    RequestsLeft = request;
    note(project.open());
    for (const Curve& curve : testModel().curves) {
        outcome.entries += curve.entries.size();
    }
    if (outcome.code == 0) {
        note(tarnvelde_start(1));
        double elapsed = 1.0;
        while (outcome.code == 0 && elapsed > 0.0) {
            note(tarnvelde_step(&elapsed));
        }
        note(tarnvelde_end());
        note(tarnvelde_report());
    }
    tarnvelde_close();
    RequestsLeft = -1;
    outcome.isRefused = IsRefused;
    outcome.report = readFile(project.report);
    outcome.results = readFile(project.results);
    return outcome;
}

/// Refuses one request after the other, every `stride`-th from `first` on, and runs in between as if nothing had
/// happened.
static void refuseEach(const Project& project, int64_t first, int64_t stride) {
    const Outcome good = run(project, -1);
    ASSERT_EQ(good.code, 0) << good.report;
    int64_t request = first;
    for (;; request += stride) {
        const Outcome outcome = run(project, request);
        if (!outcome.isRefused) {
            break;
        }
        if (outcome.entries < good.entries) {
            continue;  // a point of a curve is left out without a word, whatever that leads to
        }
        if (outcome.code == 0) {  // a sort does without the memory that it would like
            ASSERT_EQ(outcome.report, good.report) << "request " << request;
            ASSERT_EQ(outcome.results, good.results) << "request " << request;
            continue;
        }
        ASSERT_EQ(outcome.code, 101) << "request " << request << "\n" << outcome.report;
        if (request % 16 == 0) {
            const Outcome next = run(project, -1);
            ASSERT_EQ(next.code, 0) << "behind request " << request;
            ASSERT_EQ(next.report, good.report) << "behind request " << request;
            ASSERT_EQ(next.results, good.results) << "behind request " << request;
        }
    }
    EXPECT_GT(request, 20);
}

TEST(RefusedMemory, EndsACallWithItsCodeAndLeavesNothing) {
    Project project(getGeneral(20) + generateNetwork(5, 12, 2));
    refuseEach(project, 0, 1);
}

TEST(RefusedMemory, OfAProjectWithEveryKindOfObjectDoesToo) {
    AllKinds model;
    refuseEach(model, 0, 1);
}

/// Reports of an open, one for each request for memory that is refused.
template <class Check>
static bool isFoundInSomeReport(const Project& project, Check check) {
    for (int64_t request = 0;; ++request) {
        const Outcome outcome = run(project, request);
        if (check(outcome)) {
            return true;
        }
        if (!outcome.isRefused) {
            return false;
        }
    }
}

static bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

TEST(RefusedMemory, InTheSearchForCirclesLeavesTheChecksBehindIt) {
    // The period of the pipe is tested after the search.
    Project project(getGeneral(5) + "[JUNCTIONS]\nA\n[OUTFALLS]\nO\n[PIPES]\nP A O NO 30 1 0 0\n");
    EXPECT_TRUE(isFoundInSomeReport(project, [](const Outcome& outcome) {
        const size_t memory = outcome.report.find("ERROR 101"), period = outcome.report.find("ERROR181");
        return memory < period && period != std::string::npos;
    }));
}

TEST(RefusedMemory, LosesAPointOfACurveWithoutAWord) {
    Project project(getGeneral(5) + "[JUNCTIONS]\nA\n[TANKS]\nT SHAPE 3 1\n[OUTFALLS]\nO\n" +
                    "[CONNECTIONS]\nC A T NO 0\n[PUMPS]\nP T O DUTY NO ON 0 0\n" +
                    "[CURVES]\nSHAPE TANK 0 100 1 100 2 100 3 100\nDUTY PUMP2 0 0.01 3 0.01\n");
    EXPECT_TRUE(isFoundInSomeReport(project, [](const Outcome& outcome) {
        return outcome.isRefused && outcome.entries == 5 && outcome.code == 0 && !contains(outcome.report, "ERROR");
    }));
}

// --- models as objects ---------------------------------------------------------------------------------------------

/// A run of a model of its own, with a state saved and restored and a clone on the way; the first code that isn't 0.
static int32_t useModel(tv_model* model, const Project& project) {
    int32_t code = TV_OK;
    const auto note = [&](int32_t result) { code = code == TV_OK ? result : code; };
    note(tv_open(model, project.input.c_str(), project.report.c_str()));
    if (code == TV_OK) {
        note(tv_start(model, project.results.c_str(), nullptr));
    }
    for (int k = 0; k < 5 && code == TV_OK; ++k) {
        note(tv_step(model));
    }
    static char state[1 << 20];  // no request of its own
    size_t size = 0;
    tv_model* clone = nullptr;
    if (code == TV_OK) {
        note(tv_saveState(model, state, sizeof state, &size));
        note(tv_clone(model, &clone));
        tv_free(clone);
    }
    if (code == TV_OK) {
        note(tv_runUntil(model, TV_END));
        note(tv_restoreState(model, state, size));
    }
    if (code == TV_OK) {
        note(tv_runUntil(model, TV_END));
        note(tv_report(model));
        note(tv_end(model));
    }
    return code;
}

/// Whatever is refused: the call says so, the model can be closed, and it serves again as if nothing had been.
static void refuseEachOfModel(const Project& project, int64_t stride) {
    TvModel model;
    ASSERT_EQ(useModel(model, project), TV_OK);
    ASSERT_EQ(tv_close(model), TV_OK);
    const std::string report = readFile(project.report), results = readFile(project.results);
    int64_t request = 0;
    for (bool isRefused = true; isRefused; request += stride) {
        IsRefused = false;
        RequestsLeft = request;
        const int32_t code = useModel(model, project);
        RequestsLeft = -1;
        isRefused = IsRefused;
        ASSERT_TRUE(code == TV_OK || code == TV_ERROR_MEMORY || code == 101) << code << ", request " << request;
        if (model.getPhase() != TV_CLOSED) {
            ASSERT_EQ(tv_close(model), TV_OK) << "request " << request;
        }
        if (request % 16 == 0) {
            ASSERT_EQ(useModel(model, project), TV_OK) << "behind request " << request;
            ASSERT_EQ(tv_close(model), TV_OK);
            ASSERT_EQ(readFile(project.report), report) << "behind request " << request;
            ASSERT_EQ(readFile(project.results), results) << "behind request " << request;
        }
    }
    EXPECT_GT(request, 100);
}

TEST(RefusedMemory, EndsACallToAModel) {
    const Project project(getGeneral(20) + generateNetwork(5, 12, 2));
    refuseEachOfModel(project, 1);
}

TEST(RefusedMemory, EndsACallToAModelWithEveryKindOfObject) {
    const AllKinds project;
    refuseEachOfModel(project, 1);
}

/// A start that lacks memory is none, and a step that does is the last: behind both the model runs anew.
TEST(RefusedMemory, LeavesAModelThatRunsAnew) {
    const Project project(getGeneral(20) + generateNetwork(5, 12, 2));
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    int refusedStarts = 0;
    for (int64_t request = 0;; ++request) {
        IsRefused = false;
        RequestsLeft = request;
        const int32_t code = tv_start(model, project.results.c_str(), nullptr);
        RequestsLeft = -1;
        if (code == TV_OK) {
            ASSERT_EQ(tv_end(model), TV_OK);
            break;
        }
        ++refusedStarts;
        ASSERT_EQ(model.getPhase(), TV_OPEN) << request;
        ASSERT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK) << request;
        ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
        ASSERT_EQ(tv_end(model), TV_OK);
    }
    EXPECT_GT(refusedStarts, 5);
}
