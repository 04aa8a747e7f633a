// The page's functions that need no browser. Expected values are worked out by hand.

import assert from "node:assert/strict";
import { test } from "node:test";
import { chooseColumns, groupByUnit } from "../src/columns.js";
import { decodeFloats, nameRuns } from "../src/data.js";
import { filterRows, makeFilter, sortPlaces } from "../src/filter.js";
import * as format from "../src/format.js";
import * as geometry from "../src/geometry.js";
import { listItems, searchItems } from "../src/items.js";
import { subtractMeasure, subtractTable } from "../src/measures.js";
import { makeScale, mixRamp, RAMPS } from "../src/ramps.js";
import * as series from "../src/series.js";
import { chooseTimeTicks, labelNumbers, labelTimeTicks } from "../src/ticks.js";
import { clampWindow } from "../src/timeline.js";
import { encodeFloats, HOSTILE, makeHostile, makeSmall, thin } from "./runs.mjs";

const seconds = (...parts) => Date.UTC(...parts) / 1000;

test("numbers keep their significant digits", () => {
    const expected = [
        [0, "0"],
        [-0, "0"],
        [0.123456, "0.1235"],
        [1234.5678, "1235"],
        [12345.6, "12\u202f346"],
        [-2.5, "\u22122.5"],
        [100, "100"],
        [1234567, "1\u202f234\u202f567"],
        [0.00001234, "1.23e\u22125"],
        [2.5e12, "2.5e12"],
        [null, "–"],
        [NaN, "–"],
        [Infinity, "∞"],
    ];
    for (const [value, text] of expected) {
        assert.equal(format.formatNumber(value), text);
    }
    assert.equal(format.formatNumber(0.98765, 2), "0.99");
});

test("a column of numbers shares its decimals", () => {
    assert.equal(format.chooseDecimals([0.5, 12.25, null]), 2);
    assert.equal(format.chooseDecimals([1, 2, 30000]), 0);
    assert.equal(format.chooseDecimals([0.00123]), 6);
    assert.equal(format.formatFixed(12.3, 2), "12.30");
    assert.equal(format.formatFixed(0, 2), "0.00");
    assert.equal(format.formatFixed(0.0004, 2), "4e\u22124");
    assert.equal(format.formatFixed(-12345.678, 1), "\u221212\u202f345.7");
    assert.equal(format.formatFixed(null, 3), "–");
    const noise = format.findNoise([251153.984, -0.001, null, "", 3.6e-13]);
    assert.equal(noise, 1e-8 * 251153.984);
    assert.equal(format.formatFixed(-3.6e-13, 3, noise), "0.000");
    assert.equal(format.formatFixed(0.0004, 3, format.findNoise([12])), "4e\u22124");
});

test("shares too small to matter aren't spelt out", () => {
    assert.equal(format.formatPercent(1e-13), "< 0.001 %");
    assert.equal(format.formatPercent(0), "0 %");
    assert.equal(format.formatPercent(-0.0826), "\u22120.0826 %");
});

test("dates are those of the model's own clock", () => {
    assert.equal(format.formatDate(seconds(2021, 2, 1, 6)), "2021-03-01 06:00");
    assert.equal(format.formatDate(seconds(2021, 2, 28, 2, 30, 15)), "2021-03-28 02:30:15");
    assert.equal(format.formatDate(seconds(1899, 11, 30)), "1899-12-30 00:00");
    assert.equal(format.formatDate(null), "–");
    assert.equal(format.formatDate(1e20), "–");
    assert.equal(format.formatSpan(86400 + 6 * 3600 + 60), "1 d 6 h");
    assert.equal(format.formatSpan(600), "10 min");
});

test("units and names are written for people", () => {
    assert.equal(format.formatUnit("m3/s"), "m³/s");
    assert.equal(format.formatUnit("m2"), "m²");
    assert.equal(format.formatUnit("mg/L"), "mg/L");
    assert.equal(format.formatHead("Outfow", "m3/s"), "Outflow (m³/s)");
    assert.equal(format.formatHead("", ""), "Item");
});

test("CSV keeps all digits and quotes what needs it", () => {
    const columns = [
        { name: "ID", kind: "text" },
        { name: "Peak", unit: "m3/s", kind: "number" },
        { name: "at", kind: "date" },
    ];
    assert.equal(
        format.formatCsv(columns, [
            ['a,"b"', 0.1234567890123, 0],
            ["c\nd", null, null],
        ]),
        'ID,Peak (m3/s),at\n"a,""b""",0.1234567890123,1970-01-01 00:00\n"c\nd",,\n',
    );
});

test("ticks of time are round and no more than there is room for", () => {
    const day = chooseTimeTicks(seconds(2021, 2, 1), seconds(2021, 2, 2), 8);
    assert.equal(day.step, 3 * 3600);
    assert.equal(day.ticks.length, 9);
    assert.deepEqual(labelTimeTicks(day.ticks, day.step).slice(0, 2), ["00:00\n1 Mar 2021", "03:00"]);
    assert.equal(labelTimeTicks(day.ticks, day.step).at(-1), "00:00\n2 Mar 2021");
    const year = chooseTimeTicks(seconds(2020, 10, 15), seconds(2021, 10, 15), 12);
    assert.deepEqual(labelTimeTicks(year.ticks, year.step).slice(0, 3), ["Dec\n2020", "Jan\n2021", "Feb"]);
    const century = chooseTimeTicks(seconds(1950, 0, 1), seconds(2050, 0, 1), 10);
    assert.deepEqual(labelTimeTicks(century.ticks, century.step).slice(0, 2), ["1950", "1960"]);
    for (const length of [1, 59, 3601, 86400 * 9, 86400 * 200, 86400 * 365 * 900]) {
        for (const most of [1, 4, 11]) {
            assert.ok(chooseTimeTicks(0, length, most).ticks.length <= most + 1, `${length} ${most}`);
        }
    }
});

test("labels of numbers have just the decimals they need", () => {
    assert.deepEqual(labelNumbers([0, 0.05, 0.1], 0.05), ["0", "0.05", "0.10"]);
    assert.deepEqual(labelNumbers([-20, 0, 20], 20), ["\u221220", "0", "20"]);
    assert.deepEqual(labelNumbers([0, 2e7], 2e7), ["0", "2.0e7"]);
});

test("floats are read with the lowest byte first", () => {
    assert.deepEqual([...decodeFloats("AACAPwAAAMA=")], [1, -2]);
    assert.deepEqual([...decodeFloats(` ${encodeFloats([0.5, null])}\n`)], [0.5, NaN]);
    assert.deepEqual([...decodeFloats("")], []);
});

test("a series has the times of its reports; a thinned one the middles of its buckets", () => {
    const times = { start: 600, step: 600, count: 5 };
    const all = series.makeSeries(Float32Array.of(1, NaN, 3, 4, 5), false, times);
    assert.deepEqual([...all.x], [600, 1200, 1800, 2400, 3000]);
    assert.deepEqual(all.high, [1, null, 3, 4, 5]);
    assert.equal(all.low, all.high);
    // Two buckets of five reports: reports 0 and 1, and 2 to 4.
    const thinned = series.makeSeries(Float32Array.from(thin([1, 2, 3, 9, 4], 2)), true, times);
    assert.deepEqual([...thinned.x], [900, 2400]);
    assert.deepEqual(
        [thinned.low, thinned.high],
        [
            [1, 3],
            [2, 9],
        ],
    );
});

test("extremes are those of the window", () => {
    const line = { x: [0, 10, 20, 30], low: [1, null, -3, 4], high: [2, null, 5, 9] };
    assert.deepEqual(series.findExtremes(line), { least: -3, greatest: 9, at: 30 });
    assert.deepEqual(series.findExtremes(line, 0, 25), { least: -3, greatest: 5, at: 20 });
    assert.deepEqual(series.findExtremes(line, 10, 10), { least: null, greatest: null, at: null });
});

test("series of different times stand on one list of all of them", () => {
    const x = series.mergeTimes([
        [0, 10, 20],
        [5, 10, 15],
    ]);
    assert.deepEqual([...x], [0, 5, 10, 15, 20]);
    assert.deepEqual(series.spread([5, 10, 15], [1, null, 3], x), [undefined, 1, null, 3, undefined]);
    const same = [0, 10];
    assert.equal(series.mergeTimes([same, [0, 10]]), same);
    assert.equal(series.findNearest([0, 10, 20], 14), 1);
    assert.equal(series.findNearest([0, 10, 20], 99), 2);
    assert.equal(series.findNearest([7], 99), 0);
});

test("a window stays inside the run and keeps its length", () => {
    assert.deepEqual(clampWindow([-50, 50], [0, 1000], 10), [0, 100]);
    assert.deepEqual(clampWindow([950, 1050], [0, 1000], 10), [900, 1000]);
    assert.deepEqual(clampWindow([500, 501], [0, 1000], 10), [495.5, 505.5]);
    assert.deepEqual(clampWindow([-500, 2000], [0, 1000], 10), [0, 1000]);
});

test("filters compare numbers and dates and find words", () => {
    const passes = (text, kind, values) => values.filter(makeFilter(text, kind));
    assert.deepEqual(passes(">0.5", "number", [0.4, 0.5, 0.6, null]), [0.6]);
    assert.deepEqual(passes("<= 0.5", "number", [0.4, 0.5, 0.6]), [0.4, 0.5]);
    assert.deepEqual(passes("1..2", "number", [0, 1, 1.5, 2, 3]), [1, 1.5, 2]);
    assert.deepEqual(passes("!=0", "number", [0, 1, null]), [1]);
    assert.deepEqual(passes("-1e-3", "number", [-0.001, 0.001]), [-0.001]);
    assert.deepEqual(passes("\u22121..0", "number", [-2, -1, 0]), [-1, 0]);
    assert.deepEqual(passes("N1", "text", ["n1", "N12", "P1", null]), ["n1", "N12"]);
    assert.deepEqual(passes(">2021-03-01 06:00", "date", [seconds(2021, 2, 1, 6), seconds(2021, 2, 1, 7)]), [
        seconds(2021, 2, 1, 7),
    ]);
    assert.deepEqual(passes("03-02", "date", [seconds(2021, 2, 1), seconds(2021, 2, 2)]), [seconds(2021, 2, 2)]);
    assert.deepEqual(passes("", "number", [1, null]), [1, null]);
    for (const text of [">", "> x", "a", "1..", "1..x"]) {
        assert.equal(makeFilter(text, "number"), null, text);
    }
});

test("rows are sorted with missing values last, in both directions", () => {
    const rows = [
        ["b", 2],
        ["a10", null],
        ["a9", 2],
        ["c", -1],
    ];
    const places = [0, 1, 2, 3];
    assert.deepEqual(sortPlaces(rows, places, 1, false), [3, 0, 2, 1]);
    assert.deepEqual(sortPlaces(rows, places, 1, true), [0, 2, 3, 1]);
    assert.deepEqual(sortPlaces(rows, places, 0, false), [2, 1, 0, 3]);
    assert.deepEqual(filterRows(rows, [null, (value) => value === 2]), [0, 2]);
});

/// CIE lightness of a colour, by the definition of the sRGB space.
function lightness(colour) {
    const [red, green, blue] = [1, 3, 5].map((at) => {
        const part = parseInt(colour.slice(at, at + 2), 16) / 255;
        return part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4;
    });
    const y = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
    return y > 216 / 24389 ? 116 * Math.cbrt(y) - 16 : (y * 24389) / 27;
}

test("lightness of a ramp runs one way, in steps that can be seen", () => {
    for (const [theme, sign] of [
        ["light", -1],
        ["dark", 1],
    ]) {
        const shades = Array.from({ length: 9 }, (_, step) => lightness(mixRamp(RAMPS[theme].sequential, step / 8)));
        for (let step = 1; step < shades.length; step += 1) {
            assert.ok(sign * (shades[step] - shades[step - 1]) > 2.5, `${theme} ${step} ${shades}`);
        }
        const ends = Array.from({ length: 7 }, (_, step) => lightness(mixRamp(RAMPS[theme].diverging, step / 6)));
        for (const step of [0, 1, 2]) {
            assert.ok(sign * (ends[step] - ends[step + 1]) > 2.5, `${theme} left ${ends}`);
            assert.ok(sign * (ends[6 - step] - ends[5 - step]) > 2.5, `${theme} right ${ends}`);
        }
    }
});

test("a scale begins at 0, is even in both directions for differences, or counts ranks", () => {
    const plain = makeScale([2, null, 8]);
    assert.deepEqual([plain.fraction(0), plain.fraction(4), plain.fraction(8), plain.valueAt(0.5)], [0, 0.5, 1, 4]);
    const both = makeScale([-1, 4], { isDiverging: true });
    assert.deepEqual([both.fraction(-4), both.fraction(0), both.fraction(4)], [0, 0.5, 1]);
    const even = makeScale([1, 2, 3, 4, 1000], { isEven: true });
    assert.deepEqual([even.fraction(1), even.fraction(3), even.fraction(1000), even.valueAt(0.5)], [0, 0.5, 1, 3]);
    assert.equal(makeScale([null, undefined, NaN]), null);
    assert.equal(makeScale([0, 0]).fraction(0), 0);
    assert.equal(mixRamp(["#000000", "#ffffff"], 0.5), "#808080");
});

test("the network is fitted into the view and found again under a point", () => {
    const network = {
        bounds: [0, 0, 100, 50],
        nodes: [
            { x: 0, y: 0 },
            { x: 100, y: 50 },
            { x: null, y: 1 },
        ],
        links: [
            { from: 0, to: 1, points: [100, 0] },
            { from: 0, to: 9 },
        ],
        areas: [{ x: 10, y: 40, points: [0, 30, 30, 30, 30, 50, 0, 50] }],
    };
    const shape = geometry.makeGeometry(network);
    assert.deepEqual(shape.lines, [[0, 0, 100, 0, 100, 50], []]);
    const view = geometry.fitView(shape.bounds, 420, 264, 10, 32);
    assert.equal(view.scale, 4);
    assert.deepEqual(geometry.toScreen(view, 420, 264, 0, 0), [10, 232]);
    assert.deepEqual(geometry.toGround(view, 420, 264, 10, 232), [0, 0]);
    const closer = geometry.zoomView(view, 420, 264, 2, 10, 232, [0.1, 100]);
    assert.deepEqual(geometry.toGround(closer, 420, 264, 10, 232), [0, 0]);
    assert.deepEqual(geometry.findAt(shape, 1, 1, 3), { class: "nodes", place: 0 });
    assert.deepEqual(geometry.findAt(shape, 100, 25, 3), { class: "links", place: 0 });
    assert.deepEqual(geometry.findAt(shape, 25, 45, 3), { class: "areas", place: 0 });
    assert.equal(geometry.findAt(shape, 60, 25, 3), null);
    assert.equal(geometry.distanceToLine([0, 0, 10, 0], 13, 4), 5);
    assert.deepEqual(geometry.findMiddle([0, 0, 10, 0, 10, 10]), { x: 10, y: 0, angle: 0, length: 20 });
});

test("places of the program's own choice fill the picture", () => {
    const nodes = [
        { x: 0, y: 0 },
        { x: 10, y: 200 },
    ];
    const given = { bounds: [0, 0, 10, 200], nodes, links: [{ from: 0, to: 1, points: [10, 100] }] };
    assert.deepEqual(geometry.makeGeometry({ ...given, isGiven: true }).lines, [[0, 0, 10, 100, 10, 200]]);
    // 230 wide for a height of 200.
    const own = geometry.makeGeometry({ ...given, isGiven: false });
    assert.deepEqual(own.bounds.map(Math.round), [0, 0, 230, 200]);
    assert.deepEqual(own.lines[0].map(Math.round), [0, 0, 230, 100, 230, 200]);
});

test("bounds that say nothing are taken from the objects", () => {
    assert.deepEqual(
        geometry.makeGeometry({
            nodes: [
                { x: 2, y: 3 },
                { x: 6, y: 7 },
            ],
        }).bounds,
        [2, 3, 6, 7],
    );
    const [x0, y0, x1, y1] = geometry.makeGeometry({ nodes: [{ x: 5, y: 5 }] }).bounds;
    assert.ok(x0 < 5 && x1 > 5 && y0 < 5 && y1 > 5);
    assert.deepEqual(geometry.makeGeometry({}).bounds, [0, 0, 1, 1]);
});

test("objects are found by class, by table, by the words of a message, and by search", () => {
    const list = listItems(makeSmall().data.runs[0]);
    const idOf = (item) => list.items[item]?.id;
    assert.equal(idOf(list.find("P1", "links")), "P1");
    assert.equal(list.find("P1", "nodes"), -1);
    assert.equal(idOf(list.at("nodes", 3)), "T1");
    assert.equal(idOf(list.findByWords("tank T1")), "T1");
    assert.equal(idOf(list.findByWords("Node T1")), "T1");
    assert.equal(idOf(list.findByWords("S2")), "S2");
    assert.equal(list.findByWords("Tank T9"), -1);
    assert.deepEqual(searchItems(list.items, "p", 9).map(idOf).slice(0, 2), ["P1", "P2"]);
    assert.deepEqual(searchItems(list.items, "t1", 9).map(idOf), ["T1"]);
    assert.deepEqual(searchItems(list.items, " ", 9), []);
    assert.equal(searchItems(list.items, "junction", 1).length, 1);
});

test("hostile IDs are IDs as others", () => {
    const list = listItems(makeHostile().data.runs[0]);
    for (const id of HOSTILE) {
        assert.equal(list.items[list.find(id, "nodes")].id, id);
    }
    assert.equal(list.find("toString", "nodes"), -1);
    assert.equal(list.findByWords("hasOwnProperty"), -1);
});

test("one chart per unit, of the columns that are wanted or the leading one", () => {
    const columns = [
        { name: "Vol", unit: "m3" },
        { name: "Outfow", unit: "m3/s" },
        { name: "TSS", unit: "mg/L" },
    ];
    assert.deepEqual(
        chooseColumns(columns, new Set(["Outflow", "TSS"])).map((column) => column.name),
        ["Outfow", "TSS"],
    );
    assert.deepEqual(
        chooseColumns(columns, new Set()).map((column) => column.name),
        ["Outfow"],
    );
    assert.deepEqual(
        chooseColumns([{ name: "X" }, { name: "Y" }], new Set()).map((column) => column.name),
        ["X"],
    );
    assert.deepEqual(
        groupByUnit(columns.concat(columns).map((column) => ({ column }))).map((group) => [
            group.unit,
            group.parts.length,
        ]),
        [
            ["m3", 2],
            ["m3/s", 2],
            ["mg/L", 2],
        ],
    );
});

test("runs of one name are told apart", () => {
    assert.deepEqual(nameRuns({ runs: [{ name: "a" }, { name: "b" }] }), ["a", "b"]);
    assert.deepEqual(nameRuns({ runs: [{ name: "a" }, { name: "a" }] }), ["a (first)", "a (second)"]);
});

test("the difference of two runs is taken by ID, where both have a value", () => {
    const networks = [
        { nodes: [{ id: "A" }, { id: "B" }, { id: "C" }], measures: [{ key: "peak", nodes: [1, 2, null] }] },
        { nodes: [{ id: "C" }, { id: "A" }], measures: [{ key: "peak", nodes: [5, 4] }] },
    ];
    assert.deepEqual(subtractMeasure(networks, "peak"), { nodes: [3, null, null] });
    assert.deepEqual(subtractMeasure(networks, "other"), {});
});

test("tables are subtracted row by row, by the names of the rows", () => {
    const columns = [
        { name: "at", kind: "date" },
        { name: "ID", kind: "text" },
        { name: "Peak", unit: "m3/s", kind: "number" },
    ];
    const one = {
        key: "nodes",
        title: "Nodes",
        object: 1,
        columns,
        rows: [
            [0, "A", 1],
            [0, "B", 2],
            [0, "C", null],
        ],
    };
    const other = {
        ...one,
        rows: [
            [9, "C", 3],
            [9, "B", 5],
        ],
    };
    const difference = subtractTable(one, other);
    assert.deepEqual(difference.rows, [
        ["B", 3],
        ["C", null],
    ]);
    assert.deepEqual([difference.object, difference.columns.map(({ name }) => name)], [0, ["ID", "Peak"]]);
    assert.equal(subtractTable(one, undefined), null);
    assert.equal(
        subtractTable(one, {
            ...other,
            rows: [
                [0, "A", 1],
                [1, "A", 2],
            ],
        }),
        null,
        "events of one object",
    );
    assert.equal(subtractTable(one, { ...other, columns: columns.slice(1) }), null);
});
