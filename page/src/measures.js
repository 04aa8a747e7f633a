// Values by which the map is coloured.

export const CLASSES = ["nodes", "links", "areas"];

/// Values of a measure in the second run less those in the first, for objects that both have, in the order of the
/// first.
export function subtractMeasure(networks, key) {
    const [one, other] = networks.map((network) => (network.measures ?? []).find((measure) => measure.key === key));
    const out = {};
    for (const name of CLASSES) {
        if (!one?.[name] || !other?.[name]) {
            continue;
        }
        const places = new Map((networks[1][name] ?? []).map((element, place) => [element.id, place]));
        out[name] = networks[0][name].map((element, place) => {
            const value = other[name][places.get(element.id)] ?? null;
            const before = one[name][place] ?? null;
            return value === null || before === null ? null : value - before;
        });
    }
    return out;
}

/// The place of each row by its name, which is in the column of objects or the first of text; null if names come twice.
function listRows(table) {
    const column = table.object ?? table.columns.findIndex(({ kind }) => kind === "text");
    const places = new Map(table.rows.map((row, place) => [row[column], place]));
    return column >= 0 && places.size === table.rows.length ? { column, places } : null;
}

/// A table of the second run less that of the first: numbers of rows that both have, in the order of the first. Null
/// where rows can't be told apart or the columns differ.
export function subtractTable(one, other) {
    const areAlike =
        one &&
        other &&
        one.columns.length === other.columns.length &&
        one.columns.every(
            ({ name, unit }, place) => name === other.columns[place].name && unit === other.columns[place].unit,
        );
    const rows = areAlike && listRows(one);
    const others = areAlike && listRows(other);
    if (!rows || !others) {
        return null;
    }
    const kept = one.columns.map(({ kind }, place) => place).filter((place) => one.columns[place].kind !== "date");
    if (!kept.some((place) => one.columns[place].kind === "number")) {
        return null;
    }
    const subtract = (row, after, place) => {
        if (one.columns[place].kind !== "number") {
            return row[place];
        }
        const both = Number.isFinite(row[place]) && Number.isFinite(after[place]);
        return both ? after[place] - row[place] : null;
    };
    return {
        ...one,
        note: "Second run less first, of rows that both have.",
        object: one.object === undefined ? undefined : kept.indexOf(one.object),
        columns: kept.map((place) => one.columns[place]),
        rows: one.rows
            .filter((row) => others.places.has(row[rows.column]))
            .map((row) => {
                const after = other.rows[others.places.get(row[rows.column])];
                return kept.map((place) => subtract(row, after, place));
            }),
    };
}
