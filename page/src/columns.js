// Which columns of an object are drawn, and in which charts.

import { formatColumn } from "./format.js";

export const LEADING = ["Outflow", "Outfow", "Flow", "TotInflow", "Runoff"];

/// The columns of an object that are drawn: those of the chosen names; without one of them, the leading or first one.
export function chooseColumns(columns, names) {
    const wanted = columns.filter((column) => names.has(formatColumn(column.name)));
    if (wanted.length > 0) {
        return wanted;
    }
    const leading = LEADING.map((name) => columns.find((column) => column.name === name)).find(Boolean);
    return leading ? [leading] : columns.slice(0, 1);
}

/// Charts as [{unit, parts: [{item, column, objectColour}]}], in the order in which units first come up.
export function groupByUnit(chosen) {
    const groups = new Map();
    for (const part of chosen) {
        const unit = part.column.unit ?? "";
        if (!groups.has(unit)) {
            groups.set(unit, []);
        }
        groups.get(unit).push(part);
    }
    return [...groups].map(([unit, parts]) => ({ unit, parts }));
}
