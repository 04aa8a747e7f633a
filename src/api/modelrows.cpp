// Rows of results for a host: the functions of tarnvelde_model.h that hand out what the sinks get, or say how one
// keeps it.

#include <algorithm>

#include "api/modelhandle.h"
#include "api/modelobjects.h"
#include "model/pollut.h"
#include "results/databaseform.h"
#include "results/results.h"
#include "results/rows.h"
#include "results/systemrow.h"

int32_t tv_keepRows(tv_model* handle, int32_t isKept) {
    return modelhandle_look(handle, NEED_NOTHING, [&]() -> int32_t {
        if (handle->phase == TV_STARTED || handle->phase == TV_FINISHED) {
            return TV_ERROR_STARTED;
        }
        handle->keepsRows = isKept != 0;
        return TV_OK;
    });
}

int32_t tv_setDatabaseForm(tv_model* handle, int32_t flags) {
    static_assert(int32_t{TV_DATABASE_INDEX} == FORM_INDEX && int32_t{TV_DATABASE_UNITS} == FORM_UNITS &&
                  int32_t{TV_DATABASE_DATES} == FORM_DATES && int32_t{TV_DATABASE_FULL} == FORM_FULL);
    return modelhandle_look(handle, NEED_NOTHING, [&]() -> int32_t {
        if (handle->phase == TV_STARTED || handle->phase == TV_FINISHED) {
            return TV_ERROR_STARTED;
        }
        if (flags < 0 || flags > FORM_ALL) {
            return TV_ERROR_RANGE;
        }
        handle->databaseForm = flags;
        return TV_OK;
    });
}

int32_t tv_setPeriodCallback(tv_model* handle, tv_period callback, void* user) {
    return modelhandle_look(handle, NEED_NOTHING, [&]() -> int32_t {
        handle->listener = callback;
        handle->listenerUser = user;
        return TV_OK;
    });
}

static int32_t countRows(const Model& model, int32_t table) {
    return table == SYSTEM_TABLE ? 1 : rows_getObjectCount(model, table);
}

static bool isTable(int32_t table) {
    return table >= 0 && table < RESULT_TABLE_COUNT;
}

int32_t tv_getTable(const tv_model* handle, int32_t table, tv_table* description) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!description) {
            return TV_ERROR_NULL;
        }
        if (!isTable(table)) {
            return TV_ERROR_CLASS;
        }
        const Model& model = *handle->model;
        const RowTable& entry = RowTables[table];
        *description = {entry.name, modelobjects_getClass(entry.objectType), entry.kind, countRows(model, table),
                        rows_getLength(model, table)};
        return TV_OK;
    });
}

int32_t tv_getColumn(const tv_model* handle, int32_t table, int32_t column, const char** name, const char** unit) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!name || !unit) {
            return TV_ERROR_NULL;
        }
        if (!isTable(table)) {
            return TV_ERROR_CLASS;
        }
        const Model& model = *handle->model;
        if (column < 0 || column >= rows_getLength(model, table)) {
            return TV_ERROR_INDEX;
        }
        const RowTable& entry = RowTables[table];
        if (column < entry.columnCount) {
            *name = entry.columns[column].name;
            *unit = entry.columns[column].unit;
            return TV_OK;
        }
        const int32_t place = column - entry.columnCount;
        const RowColumn& block = entry.columns[entry.columnCount + place / model.polluts.size()];
        const Pollut& pollutant = model.polluts[place % model.polluts.size()];
        *name = handle->columnNames.insert(std::string(block.name) + pollutant.id).first->c_str();
        *unit = block.unit;
        return TV_OK;
    });
}

int32_t tv_getRowObjects(const tv_model* handle, int32_t table, int32_t* indices, size_t count) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!indices) {
            return TV_ERROR_NULL;
        }
        if (!isTable(table)) {
            return TV_ERROR_CLASS;
        }
        const Model& model = *handle->model;
        if (count != static_cast<size_t>(countRows(model, table))) {
            return TV_ERROR_SIZE;
        }
        if (table == SYSTEM_TABLE) {
            *indices = 0;
            return TV_OK;
        }
        size_t filled = 0;
        for (int32_t k = 0; k < rows_getClassSize(model, table) && filled < count; ++k) {
            if (rows_holds(model, table, k)) {
                indices[filled++] = k;
            }
        }
        return TV_OK;
    });
}

int32_t tv_getRows(const tv_model* handle, int32_t table, float* values, size_t count) {
    return modelhandle_look(handle, NEED_RUN, [&]() -> int32_t {
        if (!values) {
            return TV_ERROR_NULL;
        }
        if (!isTable(table)) {
            return TV_ERROR_CLASS;
        }
        const ResultBuffers& results = *handle->model->results;
        if (!handle->keepsRows || results.kept[SYSTEM_TABLE].empty()) {
            return TV_ERROR_NO_ROWS;
        }
        const std::vector<float>& kept = results.kept[table];
        if (kept.size() != count) {
            return TV_ERROR_SIZE;
        }
        std::copy(kept.begin(), kept.end(), values);
        return TV_OK;
    });
}
