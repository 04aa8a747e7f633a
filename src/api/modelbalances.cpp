// The functions of tarnvelde_model.h that tell where the water of a run went.

#include "api/modelhandle.h"
#include "api/modelobjects.h"
#include "routing/loadbook.h"
#include "routing/placebalances.h"
#include "text/units.h"

/// The words of the grades, in the order of their numbers.
static const char* const GradeWords[] = {"nothing came in", "usual", "look where it comes from",
                                         "don't rely on the results before it is explained"};

static tv_balance describe(const Balance& balance) {
    const double in = balance.initial + balance.in, missing = balance_getMissing(balance);
    return {balance.initial,
            balance.in,
            balance.out,
            balance.lost,
            balance.stored,
            missing,
            in == 0.0 ? 0.0 : missing / in * PERCENT};
}

// --- places --------------------------------------------------------------------------------------------------------

static int32_t getWater(const Model& model, int32_t objectClass, int32_t index, Balance& balance) {
    switch (objectClass) {
        case TV_SUBCATCHMENT: balance = placebalances_getSubcatch(model, index); return TV_OK;
        case TV_LID_UNIT: balance = placebalances_getUnit(model, index); return TV_OK;
        case TV_NODE: balance = placebalances_getNode(model, index); return TV_OK;
        case TV_LINK: balance = placebalances_getLink(model, index); return TV_OK;
        default: return TV_ERROR_CLASS;
    }
}

static int32_t getLoad(const Model& model, int32_t objectClass, int32_t index, int32_t pollutant, Balance& balance) {
    switch (objectClass) {
        case TV_SUBCATCHMENT:
            return placebalances_getSubcatchLoad(model, index, pollutant, balance) ? TV_OK : TV_ERROR_KIND;
        case TV_LID_UNIT: return placebalances_getUnitLoad(model, index, pollutant, balance) ? TV_OK : TV_ERROR_KIND;
        case TV_NODE: return placebalances_getNodeLoad(model, index, pollutant, balance) ? TV_OK : TV_ERROR_KIND;
        case TV_LINK: return placebalances_getLinkLoad(model, index, pollutant, balance) ? TV_OK : TV_ERROR_KIND;
        default: return TV_ERROR_CLASS;
    }
}

int32_t tv_keepLoads(tv_model* handle, int32_t isKept) {
    return modelhandle_look(handle, NEED_IDLE, [&]() -> int32_t {
        handle->model->loadBook->isWanted = isKept != 0;
        return TV_OK;
    });
}

int32_t tv_getBalance(const tv_model* handle, int32_t objectClass, int32_t index, int32_t pollutant,
                      tv_balance* balance) {
    return modelhandle_look(handle, NEED_RUN, [&]() -> int32_t {
        if (!balance) {
            return TV_ERROR_NULL;
        }
        const Model& model = *handle->model;
        if (const int32_t code = modelobjects_test(model, objectClass, index)) {
            return code;
        }
        if (pollutant < TV_NO_POLLUTANT || pollutant >= model_pollutantCount(model)) {
            return TV_ERROR_INDEX;
        }
        Balance found{};
        const int32_t code = pollutant == TV_NO_POLLUTANT ? getWater(model, objectClass, index, found)
                                                          : getLoad(model, objectClass, index, pollutant, found);
        if (code == TV_OK) {
            *balance = describe(found);
        }
        return code;
    });
}

// --- verdict -------------------------------------------------------------------------------------------------------

int32_t tv_judge(tv_model* handle, int32_t* rowCount) {
    return modelhandle_look(handle, NEED_RUN, [&]() -> int32_t {
        if (!rowCount) {
            return TV_ERROR_NULL;
        }
        handle->verdicts = verdict_make(*handle->model);
        *rowCount = static_cast<int32_t>(handle->verdicts.size());
        return TV_OK;
    });
}

/// The row of the verdict, or null.
static const Verdict* findRow(const tv_model* handle, int32_t row) {
    const bool isThere = row >= 0 && static_cast<size_t>(row) < handle->verdicts.size();
    return isThere ? &handle->verdicts[static_cast<size_t>(row)] : nullptr;
}

int32_t tv_getVerdict(const tv_model* handle, int32_t row, tv_verdict* verdict) {
    return modelhandle_look(handle, NEED_PROJECT, [&]() -> int32_t {
        if (!verdict) {
            return TV_ERROR_NULL;
        }
        const Verdict* found = findRow(handle, row);
        if (!found) {
            return TV_ERROR_INDEX;
        }
        *verdict = {found->part,
                    found->pollutant,
                    found->in,
                    found->missing,
                    found->error,
                    found->grade,
                    GradeWords[found->grade],
                    static_cast<int32_t>(found->causes.size())};
        return TV_OK;
    });
}

static int32_t getClass(int32_t type) {
    return type == SUBCATCH ? TV_SUBCATCHMENT : type == NODE ? TV_NODE : TV_LINK;
}

int32_t tv_getCause(const tv_model* handle, int32_t row, int32_t cause, tv_cause* place) {
    return modelhandle_look(handle, NEED_PROJECT, [&]() -> int32_t {
        if (!place) {
            return TV_ERROR_NULL;
        }
        const Verdict* found = findRow(handle, row);
        if (!found || cause < 0 || static_cast<size_t>(cause) >= found->causes.size()) {
            return TV_ERROR_INDEX;
        }
        const VerdictCause& entry = found->causes[static_cast<size_t>(cause)];
        *place = {getClass(entry.type), entry.index, balance_getMissing(entry.balance), entry.share};
        return TV_OK;
    });
}
