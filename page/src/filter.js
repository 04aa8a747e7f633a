// Filters of tables: words in texts, comparisons with numbers and dates.

import { formatDate, formatNumber } from "./format.js";

const NUMBER = /^[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?$/i;
const DATE = /^(-?\d{4,6})-(\d{2})(?:-(\d{2})(?:[ T](\d{2}):(\d{2})(?::(\d{2}))?)?)?$/;

function readNumber(text) {
    const plain = text.replaceAll("\u2212", "-").replaceAll("\u202f", "");
    return NUMBER.test(plain) ? Number(plain) : null;
}

function readDate(text) {
    const parts = DATE.exec(text);
    if (!parts) {
        return null;
    }
    const [, year, month, day = "01", hour = "00", minute = "00", second = "00"] = parts;
    const date = new Date(0);
    date.setUTCFullYear(Number(year), Number(month) - 1, Number(day));
    date.setUTCHours(Number(hour), Number(minute), Number(second));
    return date.getTime() / 1000;
}

const COMPARISONS = {
    ">": (value, limit) => value > limit,
    ">=": (value, limit) => value >= limit,
    "<": (value, limit) => value < limit,
    "<=": (value, limit) => value <= limit,
    "=": (value, limit) => value === limit,
    "!=": (value, limit) => value !== limit,
};
const SIGNS = { "≥": ">=", "≤": "<=", "≠": "!=", "<>": "!=", "==": "=" };

function makeComparison(text, read) {
    const range = /^(.+?)\s*\.\.\s*(.+)$/.exec(text);
    if (range) {
        const from = read(range[1]);
        const to = read(range[2]);
        return from === null || to === null ? null : (value) => value >= from && value <= to;
    }
    const parts = /^(>=|<=|<>|!=|==|[<>=≥≤≠])\s*(.+)$/.exec(text);
    const limit = parts && read(parts[2]);
    if (limit === null) {
        return null;
    }
    const compare = COMPARISONS[SIGNS[parts[1]] ?? parts[1]];
    return (value) => compare(value, limit);
}

/// A test of one value of a column, or null if the text can't be understood. An empty text lets all pass; missing
/// values pass nothing else.
export function makeFilter(text, kind) {
    const wanted = text.trim();
    if (wanted === "") {
        return () => true;
    }
    if (kind === "number") {
        const equal = readNumber(wanted);
        const test =
            equal === null
                ? makeComparison(wanted, readNumber)
                : (value) => formatNumber(value) === formatNumber(equal);
        return test && ((value) => Number.isFinite(value) && test(value));
    }
    if (kind === "date" && /^[<>=!≤≥≠]|\.\./.test(wanted)) {
        const test = makeComparison(wanted, readDate);
        return test && ((value) => Number.isFinite(value) && test(value));
    }
    const words = wanted.toLowerCase();
    const show = kind === "date" ? formatDate : String;
    return (value) => value !== null && value !== undefined && show(value).toLowerCase().includes(words);
}

const order = new Intl.Collator("en", { numeric: true }).compare;

/// Places of rows in the order of a column; missing values stand last in both directions, equals keep their order.
export function sortPlaces(rows, places, column, isDown) {
    const isMissing = (value) => value === null || value === undefined || value === "";
    const compare = (one, other) => {
        const a = rows[one][column];
        const b = rows[other][column];
        if (isMissing(a) || isMissing(b)) {
            return isMissing(a) - isMissing(b);
        }
        const difference = typeof a === "number" && typeof b === "number" ? a - b : order(String(a), String(b));
        return isDown ? -difference : difference;
    };
    return [...places].sort((one, other) => compare(one, other) || one - other);
}

/// Places of the rows that pass the test of every column.
export function filterRows(rows, tests) {
    const active = tests.map((test, column) => [test, column]).filter(([test]) => test);
    const places = [];
    rows.forEach((row, place) => {
        if (active.every(([test, column]) => test(row[column]))) {
            places.push(place);
        }
    });
    return places;
}
