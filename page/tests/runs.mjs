// Runs to test the page with, made by rules: a small one worked out by hand, a year of a town, two runs to compare,
// one with hostile texts. Series and data elements are written as the program writes them.

import { readFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
export const START = Date.UTC(2021, 2, 1) / 1000; // 2021-03-01 00:00
export const STEP = 600;

/// Base64 of floats, lowest byte first; null is missing.
export function encodeFloats(values) {
    const bytes = Buffer.alloc(values.length * 4);
    values.forEach((value, place) => bytes.writeFloatLE(value === null ? NaN : value, place * 4));
    return bytes.toString("base64");
}

/// Least and greatest of each bucket of reports.
export function thin(values, buckets) {
    const out = [];
    for (let bucket = 0; bucket < buckets; bucket += 1) {
        const part = values.slice(
            Math.floor((bucket * values.length) / buckets),
            Math.floor(((bucket + 1) * values.length) / buckets),
        );
        out.push(Math.min(...part), Math.max(...part));
    }
    return out;
}

/// An object with its columns, and its data element.
export function addObject(run, elements, place, { table, id, columns, isThinned = false }) {
    let first = 0;
    const all = columns.flatMap((column) => column.values);
    run.objects.push({
        table,
        id,
        columns: columns.map(({ name, unit, values }) => {
            const column = {
                name,
                unit,
                data: [run.objects.length, first, values.length],
                ...(isThinned ? { thinned: true } : {}),
            };
            first += values.length;
            return column;
        }),
    });
    elements.push({
        run: place,
        number: run.objects.length - 1,
        form: isThinned ? "extremes" : "all",
        text: encodeFloats(all),
    });
}

/// The document, with the marks of the template filled as the program fills them.
export function makePage(data, elements, title = data.title) {
    const template = readFileSync(join(here, "..", "dist", "template.html"), "utf8");
    const escape = (text) => text.replaceAll("&", "&amp;").replaceAll("<", "&lt;").replaceAll(">", "&gt;");
    const json = JSON.stringify(data).replaceAll("<", "\\u003c");
    const parts = [
        `<script type="application/json" id="tarnvelde-data">${json}</script>`,
        ...elements.map(
            ({ run, number, form, text }) =>
                `<script type="text/plain" id="d-${run}-${number}" data-form="${form}">${text}</script>`,
        ),
    ];
    return template.replace("<!--TITLE-->", () => escape(title)).replace("<!--DATA-->", () => parts.join("\n"));
}

/// A wave that rises to its peak at a report and falls to the end.
function wave(count, peak, at, width) {
    return Array.from({ length: count }, (_, report) =>
        report < at - width ? 0 : peak * Math.exp(-(((report - at) / (report < at ? width / 2 : width)) ** 2)),
    );
}

const VERDICT = {
    level: "amber",
    text: "The balances close, but one of them by little: look at pipe P4.",
    rows: [
        { name: "Runoff", in: 10250, missing: 1.2, unit: "m3", error: 0.0117, level: "green", causes: [] },
        {
            name: "Water of the network",
            in: 5279.2,
            missing: 63.35,
            unit: "m3",
            error: 1.2,
            level: "amber",
            causes: [
                { object: "Pipe P4", share: 83 },
                { object: "Tank T1", share: 11.5 },
            ],
        },
        { name: "TSS", in: 412.6, missing: 0, unit: "kg", error: 0, level: "green", causes: [] },
    ],
};

const MESSAGES = [
    {
        level: "warning",
        code: 12,
        text: "The time step is longer than the travel time of a link.",
        place: "small.inp, line 41, [CONDUITS]",
        object: "Pipe P4",
        effect: "Its peak is damped by up to a tenth.",
        advice: "Halve the routing step, or join the pipe with the next one.",
    },
    {
        level: "hint",
        text: "A tank never held water.",
        object: "Tank T1",
        effect: "",
        advice: "Check the crest of its inlet.",
    },
];

/// Six nodes, five links, two subcatchments over a day. Peak of P1 is 0.4 at 06:00, of P2 0.3 at 07:00, and so on: by
/// hand, factor times what stands here.
export function makeSmall({ factor = 1, name = "small.inp", run: place = 0 } = {}) {
    const count = 144;
    const elements = [];
    const times = { start: START + STEP, step: STEP, count };
    const run = {
        name,
        source: "model",
        description: ["A small town", "Two streets, one tank"],
        facts: [
            ["Start", "2021-03-01 00:00:00"],
            ["End", "2021-03-02 00:00:00"],
            ["Routing step", "60 s"],
            ["Report step", "600 s"],
            ["Nodes", "6"],
            ["Links", "5"],
            ["Subcatchments", "2"],
        ],
        start: START,
        end: START + 86400,
        verdict: VERDICT,
        messages: MESSAGES,
        times,
        system: 0,
        objects: [],
        tables: [],
    };
    const rain = Array.from({ length: count }, (_, report) => Math.max(0, 12 - Math.abs(report - 30) * 1.5));
    addObject(run, elements, place, {
        table: "System",
        id: "System",
        columns: [
            { name: "Rainfall", unit: "mm/h", values: rain },
            { name: "Outflow", unit: "m3/s", values: wave(count, 0.5 * factor, 47, 30) },
            { name: "Storage", unit: "m3", values: wave(count, 900, 40, 40) },
        ],
    });
    const nodes = [
        ["N1", "junction", 0, 400],
        ["N2", "junction", 300, 420],
        ["N3", "splitter", 600, 300],
        ["T1", "tank", 800, 150],
        ["R1", "reactor", 1000, 300],
        ["O1", "outfall", 1200, 0],
    ];
    nodes.forEach(([id, kind], order) =>
        addObject(run, elements, place, {
            table: kind[0].toUpperCase() + kind.slice(1),
            id,
            columns: [
                ...(kind === "tank" ? [{ name: "Depth", unit: "m", values: wave(count, 2.4, 50, 40) }] : []),
                {
                    name: "TotInflow",
                    unit: "m3/s",
                    values: wave(count, factor * (0.1 + 0.08 * order), 36 + 2 * order, 20),
                },
                { name: "TSS", unit: "mg/L", values: wave(count, 240 - 20 * order, 30 + order, 16) },
            ],
        }),
    );
    const links = [
        ["P1", "pipe", 0, 1, 0.4, 35],
        ["P2", "pipe", 1, 2, 0.3, 41],
        ["W1", "weir", 2, 3, 0.2, 44],
        ["P4", "conduit", 2, 4, 0.25, 43],
        ["U1", "pump", 3, 5, 0.1, 60],
    ];
    links.forEach(([id, kind, , , peak, at]) =>
        addObject(run, elements, place, {
            table: kind[0].toUpperCase() + kind.slice(1),
            id,
            columns: [
                {
                    name: kind === "pipe" ? "Outfow" : "Outflow",
                    unit: "m3/s",
                    values: wave(count, peak * factor, at, 24),
                },
                ...(kind === "pipe" ? [{ name: "Vol", unit: "m3", values: wave(count, 30, at, 30) }] : []),
            ],
        }),
    );
    const areas = [
        ["S1", 100, 520, 0],
        ["S2", 500, 520, 1],
    ];
    areas.forEach(([id], order) =>
        addObject(run, elements, place, {
            table: "Subcatchment",
            id,
            columns: [
                { name: "Rainfall", unit: "mm/h", values: rain },
                { name: "Runoff", unit: "m3/s", values: wave(count, factor * (0.2 + 0.1 * order), 33, 14) },
            ],
        }),
    );
    run.network = {
        isGiven: true,
        bounds: [-60, -60, 1260, 660],
        nodes: nodes.map(([id, kind, x, y], order) => ({ id, kind, x, y, series: 1 + order })),
        links: links.map(([id, kind, from, to], order) => ({
            id,
            kind,
            from,
            to,
            series: 7 + order,
            ...(id === "P1" ? { points: [150, 380] } : {}),
        })),
        areas: areas.map(([id, x, y, to], order) => ({
            id,
            x,
            y,
            to,
            toArea: -1,
            series: 12 + order,
            points: [x - 120, y - 60, x + 120, y - 60, x + 150, y + 90, x - 130, y + 80],
        })),
        measures: [
            {
                key: "peak",
                title: "Peak flow",
                unit: "m3/s",
                nodes: nodes.map((_, order) => factor * (0.1 + 0.08 * order)),
                links: links.map((link) => link[4] * factor),
                areas: [0.2 * factor, 0.3 * factor],
            },
            {
                key: "volume",
                title: "Volume",
                unit: "m3",
                nodes: nodes.map((_, order) => 1000 + 200 * order),
                links: links.map(() => null),
            },
        ],
    };
    run.tables = [
        {
            key: "nodes",
            title: "Nodes",
            note: "Peaks of the routing step.",
            object: 0,
            class: "nodes",
            columns: [
                { name: "ID", kind: "text" },
                { name: "Kind", kind: "text" },
                { name: "Peak inflow", unit: "m3/s", kind: "number", digits: 4 },
                { name: "at", kind: "date" },
                { name: "Flooded", unit: "m3", kind: "number", digits: 3 },
            ],
            rows: nodes.map(([id, kind], order) => [
                id,
                kind,
                factor * (0.1 + 0.08 * order),
                START + 3600 * (6 + order),
                order === 2 ? null : order * 1.5,
            ]),
        },
        {
            key: "links",
            title: "Links",
            object: 0,
            class: "links",
            columns: [
                { name: "ID", kind: "text" },
                { name: "Peak flow", unit: "m3/s", kind: "number" },
                { name: "at", kind: "date" },
            ],
            rows: links.map(([id, , , , peak, at]) => [id, peak * factor, START + at * STEP + STEP]),
        },
        {
            key: "rules",
            title: "Rules that fired",
            columns: [
                { name: "Rule", kind: "text" },
                { name: "Times", kind: "number" },
            ],
            rows: [],
        },
    ];
    return { data: { form: 1, title: "Small town", program: "Tarnvelde 2.1.0", runs: [run] }, elements };
}

export function makeCompared() {
    const one = makeSmall({ name: "small.inp" });
    const other = makeSmall({ factor: 0.8, name: "with-tank.inp", run: 1 });
    return {
        data: { ...one.data, title: "Small town with and without tank", runs: [one.data.runs[0], other.data.runs[0]] },
        elements: [...one.elements, ...other.elements],
    };
}

export const HOSTILE = [
    "</script><b>x",
    "<img src=x onerror=alert(1)>",
    '"><svg onload=alert(1)>',
    'a,"b"\nc',
    "=1+1",
    "__proto__",
    "constructor",
    "\u202etfel",
    "N".repeat(300),
    "<!--DATA-->",
    "%s%n",
    "${alert(1)}",
    " ",
    "d-0-0",
];

/// A network whose every text wants to be something else.
export function makeHostile() {
    const bad = HOSTILE[0];
    const elements = [];
    const run = {
        name: bad,
        source: "model",
        description: [bad, HOSTILE[1]],
        facts: [[bad, HOSTILE[1]]],
        start: START,
        end: START + 6000,
        verdict: {
            level: bad,
            text: bad,
            rows: [
                {
                    name: bad,
                    in: null,
                    missing: null,
                    unit: bad,
                    error: null,
                    level: bad,
                    causes: [{ object: HOSTILE[1], share: 1 }],
                },
            ],
        },
        messages: [
            { level: bad, code: null, text: HOSTILE[1], place: HOSTILE[2], object: bad, effect: bad, advice: bad },
        ],
        times: { start: START, step: STEP, count: 10 },
        system: -1,
        objects: [],
        tables: [],
        note: bad,
    };
    HOSTILE.forEach((id) =>
        addObject(run, elements, 0, {
            table: "Junction",
            id,
            columns: [{ name: HOSTILE[1], unit: bad, values: [0, 1, 2, 3, 4, 5, null, 7, 8, 9] }],
        }),
    );
    run.network = {
        isGiven: false,
        bounds: [0, 0, 0, 0],
        nodes: HOSTILE.map((id, place) => ({
            id,
            kind: place === 3 ? bad : "junction",
            x: place * 10,
            y: (place % 3) * 10,
            series: place,
        })),
        links: [
            { id: bad, kind: bad, from: 0, to: 99, series: -1 },
            { id: HOSTILE[1], kind: "pipe", from: 0, to: 1, series: 5000 },
        ],
        areas: [],
        measures: [{ key: bad, title: HOSTILE[1], unit: bad, nodes: HOSTILE.map((_, place) => place) }],
    };
    run.tables = [
        {
            key: bad,
            title: HOSTILE[1],
            note: bad,
            object: 0,
            class: "nodes",
            columns: [
                { name: bad, kind: "text", unit: HOSTILE[1] },
                { name: "x", kind: bad },
            ],
            rows: HOSTILE.map((id) => [id, id]),
        },
    ];
    return { data: { form: 1, title: bad, program: bad, runs: [run] }, elements };
}

/// A town of so many nodes over a year of hourly reports, every series thinned to its extremes.
export function makeTown(nodeCount = 5000, buckets = 500) {
    const elements = [];
    const reports = 8760;
    const wide = Math.ceil(Math.sqrt(nodeCount));
    const run = {
        name: "town.bin",
        source: "results",
        description: ["A town over a year"],
        facts: [["Nodes", String(nodeCount)]],
        start: START,
        end: START + reports * 3600,
        verdict: { level: "green", text: "All balances close.", rows: [] },
        messages: Array.from({ length: 300 }, (_, place) => ({
            level: "warning",
            code: 7,
            text: `Node N${place} was flooded.`,
            object: `Junction N${place}`,
        })),
        times: { start: START + 3600, step: 3600, count: reports },
        system: 0,
        objects: [],
        tables: [],
    };
    const rain = Array.from({ length: reports }, (_, hour) => (hour % 97 < 9 ? (hour % 7) * 1.3 : 0));
    const flow = rain.map(
        (_, hour) =>
            0.1 + (hour % 97 < 30 ? 2.2 * Math.exp(-(((hour % 97) - 9) ** 2) / 60) * (1 + (hour % 700) / 700) : 0),
    );
    const thinRain = thin(rain, buckets);
    const thinFlow = thin(flow, buckets);
    addObject(run, elements, 0, {
        table: "System",
        id: "System",
        isThinned: true,
        columns: [
            { name: "Rainfall", unit: "mm/h", values: thinRain },
            { name: "Outflow", unit: "m3/s", values: thinFlow },
        ],
    });
    const scale = (place) => 0.02 + ((place * 7919) % 1000) / 400;
    const text = encodeFloats([...thinFlow, ...thinFlow.map((value) => value * 10)]);
    const put = (table, id, names) => {
        const number = run.objects.length;
        run.objects.push({
            table,
            id,
            columns: names.map((name, order) => ({
                name,
                unit: order ? "mg/L" : "m3/s",
                thinned: true,
                data: [number, order * thinFlow.length, thinFlow.length],
            })),
        });
        elements.push({ run: 0, number, form: "extremes", text });
        return number;
    };
    const at = (place) => [
        (place % wide) * 40 + ((place * 31) % 17),
        Math.floor(place / wide) * 40 + ((place * 57) % 19),
    ];
    const nodes = Array.from({ length: nodeCount }, (_, place) => ({
        id: `N${place}`,
        kind: place === 0 ? "outfall" : place % 211 === 5 ? "tank" : "junction",
        x: at(place)[0],
        y: at(place)[1],
        series: put("Junction", `N${place}`, ["TotInflow", "TSS"]),
    }));
    const links = Array.from({ length: nodeCount - 1 }, (_, place) => ({
        id: `P${place + 1}`,
        kind: "pipe",
        from: place + 1,
        to: (place + 1) % wide === 0 ? place + 1 - wide : place,
        series: put("Pipe", `P${place + 1}`, ["Outfow", "TSS"]),
    }));
    run.network = {
        isGiven: true,
        bounds: [0, 0, wide * 40, wide * 40],
        nodes,
        links,
        areas: [],
        measures: [
            {
                key: "peak",
                title: "Peak flow",
                unit: "m3/s",
                nodes: nodes.map((_, place) => scale(place)),
                links: links.map((_, place) => scale(place + 1)),
            },
        ],
    };
    run.tables = [
        {
            key: "nodes",
            title: "Nodes",
            object: 0,
            class: "nodes",
            columns: [
                { name: "ID", kind: "text" },
                { name: "Peak inflow", unit: "m3/s", kind: "number", digits: 4 },
                { name: "at", kind: "date" },
            ],
            rows: nodes.map(({ id }, place) => [id, scale(place), START + ((place * 37) % reports) * 3600]),
        },
    ];
    return { data: { form: 1, title: "A town over a year", program: "Tarnvelde 2.1.0", runs: [run] }, elements };
}
