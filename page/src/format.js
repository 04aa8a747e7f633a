// Numbers, dates, units and CSV as texts. Nothing here looks at the document or at the reader's locale: the same data
// reads the same everywhere.

export const MISSING = "–";
const MINUS = "\u2212";
const THIN = "\u202f"; // between groups of three digits

/// The integer digits in groups of three, from five digits on.
function groupDigits(text) {
    const [whole, fraction] = text.split(".");
    const grouped = whole.length > 4 ? whole.replace(/\B(?=(\d{3})+$)/g, THIN) : whole;
    return fraction === undefined ? grouped : `${grouped}.${fraction}`;
}

function formatExponent(size, digits) {
    const [mantissa, exponent] = size.toExponential(Math.max(0, digits - 1)).split("e");
    return `${mantissa.replace(/\.?0+$/, "")}e${exponent.replace("+", "").replace("-", MINUS)}`;
}

/// A number by itself: so many significant digits, no zeros behind them.
export function formatNumber(value, digits = 4) {
    if (value === null || value === undefined || Number.isNaN(value)) {
        return MISSING;
    }
    const sign = value < 0 ? MINUS : "";
    const size = Math.abs(value);
    if (size === 0) {
        return "0";
    }
    if (size === Infinity) {
        return `${sign}∞`;
    }
    if (size >= 1e9 || size < 1e-4) {
        return sign + formatExponent(size, Math.min(digits, 3));
    }
    const decimals = Math.min(20, Math.max(0, digits - 1 - Math.floor(Math.log10(size))));
    const text = size.toFixed(decimals);
    return sign + groupDigits(text.includes(".") ? text.replace(/\.?0+$/, "") : text);
}

/// A share in percent; what is too small to matter isn't spelt out.
export function formatPercent(value) {
    if (!Number.isFinite(value)) {
        return MISSING;
    }
    return value !== 0 && Math.abs(value) < 0.0005 ? "< 0.001 %" : `${formatNumber(value, 3)} %`;
}

/// The decimals that a column of numbers shares, so that its points stand below each other.
export function chooseDecimals(values, digits = 4) {
    let greatest = 0;
    let areWhole = true;
    for (const value of values) {
        if (!Number.isFinite(value)) {
            continue;
        }
        greatest = Math.max(greatest, Math.abs(value));
        areWhole = areWhole && Number.isInteger(value);
    }
    if (areWhole || greatest === 0) {
        return 0;
    }
    return Math.min(6, Math.max(0, digits - 1 - Math.floor(Math.log10(greatest))));
}

/// What is nothing beside the numbers of a column: the last bits of sums that should cancel out.
export function findNoise(values) {
    return 1e-8 * values.reduce((greatest, value) => Math.max(greatest, Math.abs(value) || 0), 0);
}

/// A number with the decimals of its column; what they would show as 0 and isn't keeps two digits, if it is more than
/// noise.
export function formatFixed(value, decimals, noise = 0) {
    if (!Number.isFinite(value)) {
        return formatNumber(value);
    }
    const size = Math.abs(value);
    const sign = value < 0 ? MINUS : "";
    if (size >= 1e12) {
        return sign + formatExponent(size, 3);
    }
    const text = size.toFixed(decimals);
    if (Number(text) === 0) {
        return size > noise ? sign + formatExponent(size, 2) : text;
    }
    return (size > 0 ? sign : "") + groupDigits(text);
}

const pad = (number, width = 2) => String(number).padStart(width, "0");

/// Seconds of the model's own clock as "2021-03-01 06:00"; seconds are written where there are some.
export function formatDate(seconds) {
    if (!Number.isFinite(seconds)) {
        return MISSING;
    }
    const date = new Date(Math.round(seconds) * 1000);
    if (Number.isNaN(date.getTime())) {
        return MISSING;
    }
    const day = `${pad(date.getUTCFullYear(), 4)}-${pad(date.getUTCMonth() + 1)}-${pad(date.getUTCDate())}`;
    const time = `${pad(date.getUTCHours())}:${pad(date.getUTCMinutes())}`;
    return `${day} ${time}${date.getUTCSeconds() ? `:${pad(date.getUTCSeconds())}` : ""}`;
}

/// A length of time in its two greatest parts: "1 d 6 h", "10 min".
export function formatSpan(seconds) {
    if (!Number.isFinite(seconds)) {
        return MISSING;
    }
    let rest = Math.round(seconds);
    const parts = [];
    for (const [unit, size] of [
        ["d", 86400],
        ["h", 3600],
        ["min", 60],
        ["s", 1],
    ]) {
        const count = Math.floor(rest / size);
        rest -= count * size;
        if (count > 0) {
            parts.push(`${count} ${unit}`);
        }
    }
    return parts.slice(0, 2).join(" ") || "0 s";
}

/// m3/s as m³/s.
export function formatUnit(unit) {
    return (unit ?? "").replace(
        /\b(k?m|cm|mm|ft)([23])(?![0-9])/g,
        (_, name, power) => name + (power === "2" ? "²" : "³"),
    );
}

/// The name of a column for people: that of a pipe's outflow is spelt wrongly in files.
export function formatColumn(name) {
    return name === "Outfow" ? "Outflow" : name;
}

export function withUnit(text, unit) {
    return unit ? `${text} ${formatUnit(unit)}` : text;
}

/// A head of a column: name and unit.
export function formatHead(name, unit) {
    const shown = formatColumn(name) || "Item";
    return unit ? `${shown} (${formatUnit(unit)})` : shown;
}

/// A text of the program as a sentence of a page.
export function asSentence(text) {
    return text ? text.charAt(0).toUpperCase() + text.slice(1) : "";
}

function quoteCell(text) {
    return /[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

/// Rows with their head as CSV: numbers with all their digits, dates as they are shown, nothing where a value is
/// missing.
export function formatCsv(columns, rows) {
    const head = columns.map((column) => quoteCell(column.unit ? `${column.name} (${column.unit})` : column.name));
    const lines = rows.map((row) =>
        columns
            .map((column, place) => {
                const value = row[place];
                if (value === null || value === undefined) {
                    return "";
                }
                return quoteCell(
                    column.kind === "date" && typeof value === "number" ? formatDate(value) : String(value),
                );
            })
            .join(","),
    );
    return [head.join(","), ...lines, ""].join("\n");
}

export function countOf(number, one, many = `${one}s`) {
    return `${formatNumber(number, 9)} ${number === 1 ? one : many}`;
}
