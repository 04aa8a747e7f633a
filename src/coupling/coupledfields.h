#pragma once
// The fields of all records of the folder, told for saving and restoring (model/fields.h). A new run has engines that
// begin anew as well, so all that passes between them and the network is a setting.

#include "coupling/converter.h"
#include "coupling/outside.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "model/fields.h"
#include "model/model.h"

template <class V>
void outside_walkRecord(V& v, CoupledFlow& record, int64_t loads) {
    v.fixed(record.objectId, record.index, record.converter, record.next);
    v.setting(NAMED(record.oldFlow));
    v.setting(NAMED(record.newFlow));
    v.setting(NAMED(record.oldLoad), loads);
    v.setting(NAMED(record.newLoad), loads);
    v.setting(NAMED(record.sumLoad), loads);
    v.setting(NAMED(record.sumFlow));
    v.setting(NAMED(record.sumCount), FieldSpan{0, 1 << 30});
    v.total(NAMED(record.statVolume));
}

/// A node, whose records of what flows in have `loads` loads.
template <class V>
void outside_walk(V& v, OutsideNode& outside, const Model& model, int64_t loads) {
    v.fixed(outside.inpFile, outside.saveResults, outside.inflows.head, outside.inflows.tail, outside.inflows.byIndex,
            outside.outflows.head, outside.outflows.tail, outside.outflows.byIndex, outside.scratch, outside.library,
            outside.stateCalls.save, outside.stateCalls.restore, outside.speechCalls.setSurroundings,
            outside.speechCalls.getMessage, outside.isOpen, outside.isStarted, outside.libraryCopy, outside.copyFolder);
    v.setting(NAMED(outside.oldTime));
    v.setting(NAMED(outside.newTime));
    for (CoupledFlow* record = outside.inflows.head; record; record = record->next) {
        outside_walkRecord(v, *record, loads);
    }
    for (CoupledFlow* record = outside.outflows.head; record; record = record->next) {
        outside_walkRecord(v, *record, model_pollutantCount(model));
    }
    v.action.takeEngine(outside);
}

template <class V>
void coupled_walk(V& v, Model& model) {
    v.rows("SWMM node", model.swmmNodes, [&](V& own, SwmmNode& row) {
        own.fixed(row.entries, row.rptFile, row.outFile);
        outside_walk(own, row.outside, model, model_pollutantCount(model));
    });
    v.rows("VORN node", model.vornNodes, [&](V& own, VornNode& row) {
        own.fixed(row.entries);
        outside_walk(own, row.outside, model, CONSTITUENT_COUNT);
    });
    v.fixed(model.converters);
}
