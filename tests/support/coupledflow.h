#pragma once
// What a test sends into an outside model.

#include "nodes/inflows.h"
#include "nodes/node.h"
#include "support/records.h"

/// Sets the dry weather flow of J, m3/s, for the steps to come.
inline void setFlow(double flow) {
    for (DwfInflow* record = Records::node("J").dwfInflow; record; record = record->next) {
        if (record->pollutant < 0) {
            record->average = flow;
        }
    }
}
