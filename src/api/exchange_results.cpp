// Results, read by number between steps. Which value a number means stands in the list of columns; the room codes finds
// it.

#include "api/defaultmodel.h"
#include "api/exchange.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "platform/arithmetic.h"
#include "results/codes.h"
#include "results/rows.h"
#include "tarnvelde.h"

// An object code is the number of the table with the rows of these objects.
#define RESULT_LAND(token, ...) static_assert(static_cast<int32_t>(OBJECT_CODE_##token) == token##_TABLE);
#define RESULT_NODES(token, ...) static_assert(static_cast<int32_t>(OBJECT_CODE_##token) == token##_TABLE);
#define RESULT_LINKS(token, ...) static_assert(static_cast<int32_t>(OBJECT_CODE_##token) == token##_TABLE);
#include "results/columns.def"

/// Index of an object with rows in a table, -1 if there is none of this name.
static int32_t findObject(Model& model, int32_t table, const char* name) {
    const RowTable& t = RowTables[table];
    if (t.objectType == NODE) {
        const Node* node = exchange_findNode(model, name, t.kind);
        return node ? static_cast<int32_t>(node - model.nodes.data()) : -1;
    }
    if (t.objectType == LINK) {
        const Link* link = exchange_findLink(model, name, t.kind);
        return link ? static_cast<int32_t>(link - model.links.data()) : -1;
    }
    return exchange_findRow(model, SUBCATCH, name, model.subcatches.size());
}

int32_t tarnvelde_getResult(int32_t object, const char* name, int32_t code, double* value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    if (!value || code < 0 || object <= SYSTEM_TABLE || object >= RESULT_TABLE_COUNT) {
        return FAILURE;
    }
    const int32_t index = findObject(model, object, name);
    const auto found = index >= 0 ? codes_find(model, object, index, code) : std::nullopt;
    if (!found) {
        return FAILURE;
    }
    *value = found->value;
    return found->isSuccess ? SUCCESS : FAILURE;
}
