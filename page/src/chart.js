// One chart: lines over time in one unit, its window and cursor shared with the others. Below it a table of the lines
// tells their values at the cursor and their extremes in the window, which is the chart's text too.

import uPlot from "uplot";
import { formatDate, formatNumber, formatUnit } from "./format.js";
import { make } from "./dom.js";
import { findExtremes, findNearest, mergeTimes, spread } from "./series.js";
import { chooseTimeTicks, labelNumbers, labelTimeTicks } from "./ticks.js";
import { onTheme, readColour } from "./theme.js";

const LABEL = 74; // px, the least room of a label of time
const FONT = "12px system-ui, sans-serif";

function timeAxis() {
    let step = 1;
    return {
        stroke: () => readColour("--quiet"),
        font: FONT,
        size: 44,
        gap: 6,
        grid: { stroke: () => readColour("--grid"), width: 1 },
        ticks: { stroke: () => readColour("--grid"), size: 4 },
        splits(chart, _, first, last) {
            const chosen = chooseTimeTicks(first, last, chart.bbox.width / (devicePixelRatio || 1) / LABEL);
            step = chosen.step;
            return chosen.ticks;
        },
        values: (_, splits) => labelTimeTicks(splits, step),
    };
}

function valueAxis(scale, unit, more = {}) {
    return {
        scale,
        label: formatUnit(unit),
        labelSize: unit ? 20 : 0,
        labelFont: FONT,
        stroke: () => readColour("--quiet"),
        font: FONT,
        size: 56,
        gap: 4,
        grid: { stroke: () => readColour("--grid"), width: 1 },
        ticks: { show: false },
        space: 34,
        values: (_, splits, __, ___, step) => labelNumbers(splits, step ?? (splits[1] - splits[0] || 1)),
        ...more,
    };
}

/// From 0 on where no value lies below, with a little room above.
function chooseRange(_, low, high) {
    if (low === null || high === null) {
        return [0, 1];
    }
    const least = Math.min(0, low);
    const greatest = Math.max(0, high);
    if (least === greatest) {
        return [0, 1];
    }
    const room = (greatest - least) * 0.06;
    return [least < 0 ? least - room : 0, greatest > 0 ? greatest + room : 0];
}

/// Lists of uPlot: each line is one series, or two with a band between its extremes.
function arrange(lines) {
    const x = mergeTimes(lines.map((line) => line.series.x));
    const columns = [x];
    const owners = [null];
    const bands = [];
    lines.forEach((line, place) => {
        columns.push(spread(line.series.x, line.series.high, x));
        owners.push(place);
        if (line.series.isThinned && !line.isRain) {
            columns.push(spread(line.series.x, line.series.low, x));
            owners.push(place);
            bands.push({ series: [columns.length - 2, columns.length - 1] });
        }
    });
    return { columns, owners, bands };
}

function makeStyle(line) {
    const colour = () => readColour(line.colour);
    if (line.isRain) {
        return {
            scale: "rain",
            fill: colour,
            stroke: colour,
            width: 0,
            paths: uPlot.paths.bars({ size: [1, Infinity], gap: 0 }),
            points: { show: false },
        };
    }
    return {
        scale: "y",
        stroke: colour,
        width: line.series.isThinned ? 1 : 1.7,
        dash: line.isDashed ? [7, 4] : undefined,
        points: { show: false },
        spanGaps: false,
    };
}

/// The colour of a line, to be looked through.
function veil(name) {
    return `${readColour(name)}38`;
}

function makeOptions(lines, arranged, height, width, hooks) {
    const rain = lines.find((line) => line.isRain);
    const first = lines.find((line) => !line.isRain);
    // With one unit, the title of the chart tells it.
    const axes = [timeAxis(), valueAxis("y", rain ? (first?.unit ?? "") : "")];
    if (rain) {
        axes.push(valueAxis("rain", rain.unit, { side: 1, size: 40, grid: { show: false } }));
    }
    return {
        width,
        height,
        legend: { show: false },
        padding: [10, rain ? 0 : 38, 0, 0],
        scales: {
            x: { time: false, auto: false },
            y: {
                range: rain
                    ? (chart, low, high) => {
                          const [least, greatest] = chooseRange(chart, low, high);
                          return [least, least + (greatest - least) * 1.25];
                      }
                    : chooseRange,
            },
            rain: { dir: -1, range: (_, __, high) => [0, high > 0 ? high * 3 : 1] },
        },
        axes,
        series: [{}, ...arranged.owners.slice(1).map((place) => makeStyle(lines[place]))],
        bands: arranged.bands.map((band) => ({
            ...band,
            fill: () => veil(lines[arranged.owners[band.series[0]]].colour),
        })),
        cursor: { drag: { x: true, y: false, setScale: false }, y: false, points: { size: 7 }, focus: { prox: -1 } },
        hooks,
    };
}

/// A chart in a host. Lines are {label, unit, series, colour, isDashed, isRain}; colours are names of the style sheet.
export function makeChart(host, { title, lines, timeline, height = 250 }) {
    const frame = make("div", {
        class: "chart",
        tabindex: 0,
        role: "group",
        "aria-label": `Chart: ${title}`,
        "aria-describedby": "chart-keys",
    });
    const table = makeLegend(lines, title);
    host.append(frame, table.element);
    const arranged = arrange(lines);
    const state = {
        frame,
        lines,
        timeline,
        table,
        arranged,
        x: arranged.columns[0],
        chart: null,
        isFollowing: false,
        isLeading: false,
    };
    const measure = () => Math.max(220, Math.floor(frame.clientWidth));
    const hooks = {
        setSelect: [(chart) => select(state, chart)],
        setCursor: [(chart) => follow(state, chart)],
    };
    const options = makeOptions(lines, arranged, height, measure(), hooks);
    state.chart = new uPlot(options, arranged.columns, frame);
    state.chart.setScale("x", { min: timeline.window[0], max: timeline.window[1] });
    listen(state);
    const ends = [
        timeline.onWindow(([min, max]) => {
            state.chart.setScale("x", { min, max });
            fillLegend(state);
        }),
        timeline.onCursor((time) => point(state, time)),
        onTheme(() => state.chart.redraw(false, true)),
    ];
    const observer = new ResizeObserver(() => resize(state, measure(), height));
    observer.observe(frame);
    fillLegend(state);
    return {
        setWidth: (width) => resize(state, width ?? measure(), height),
        destroy() {
            observer.disconnect();
            ends.forEach((end) => end());
            state.chart.destroy();
            frame.remove();
            table.element.remove();
        },
    };
}

function resize(state, width, height) {
    if (width !== state.chart.width) {
        state.chart.setSize({ width, height });
    }
}

function select(state, chart) {
    if (chart.select.width < 4) {
        return;
    }
    const from = chart.posToVal(chart.select.left, "x");
    const to = chart.posToVal(chart.select.left + chart.select.width, "x");
    chart.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
    state.timeline.show([from, to]);
}

/// The mouse moved over this chart: all others follow.
function follow(state, chart) {
    if (state.isFollowing) {
        return;
    }
    const { left } = chart.cursor;
    state.isLeading = true;
    state.timeline.point(
        left === null || left === undefined || left < 0 || !state.x.length
            ? null
            : state.x[findNearest(state.x, chart.posToVal(left, "x"))],
    );
    state.isLeading = false;
}

/// The chart under the mouse itself keeps its cursor where the mouse is.
function point(state, time) {
    fillLegend(state);
    if (state.isLeading) {
        return;
    }
    state.isFollowing = true;
    const [from, to] = state.timeline.window;
    const isSeen = time !== null && time >= from && time <= to;
    state.chart.setCursor({ left: isSeen ? state.chart.valToPos(time, "x") : -10, top: isSeen ? 10 : -10 }, false);
    state.isFollowing = false;
}

/// Keys and Shift with the mouse; without Shift uPlot itself marks what is to be looked at closer.
function listen(state) {
    const { frame, timeline, chart } = state;
    chart.over.addEventListener(
        "mousedown",
        (event) => {
            if (!event.shiftKey || event.button !== 0) {
                return;
            }
            event.stopImmediatePropagation();
            event.preventDefault();
            let before = event.clientX;
            const drag = (moved) => {
                timeline.pan(-(moved.clientX - before) / chart.over.clientWidth);
                before = moved.clientX;
            };
            document.addEventListener("mousemove", drag);
            document.addEventListener("mouseup", () => document.removeEventListener("mousemove", drag), { once: true });
        },
        { capture: true },
    );
    chart.over.addEventListener("dblclick", () => timeline.reset());
    chart.over.addEventListener(
        "wheel",
        (event) => {
            if (!event.ctrlKey && !event.metaKey) {
                return;
            }
            event.preventDefault();
            timeline.zoom(Math.exp(event.deltaY * 0.003), chart.posToVal(event.offsetX, "x"));
        },
        { passive: false },
    );
    frame.addEventListener("keydown", (event) => pressKey(state, event));
    frame.addEventListener("blur", () => timeline.point(null));
}

function step(state, by) {
    const { timeline, x } = state;
    if (!x.length) {
        return;
    }
    const [from, to] = timeline.window;
    const now = timeline.cursor ?? (by > 0 ? from : to);
    const near = findNearest(x, now);
    const next = timeline.cursor === null ? near : Math.min(x.length - 1, Math.max(0, near + by));
    if (x[next] < from || x[next] > to) {
        timeline.pan(by > 0 ? 0.5 : -0.5);
    }
    timeline.point(x[next]);
}

function pressKey(state, event) {
    if (event.ctrlKey || event.metaKey || event.altKey) {
        return;
    }
    const { timeline } = state;
    const far = Math.max(1, Math.round(state.x.length / 40));
    const keys = {
        ArrowLeft: () => (event.shiftKey ? timeline.pan(-0.2) : step(state, -1)),
        ArrowRight: () => (event.shiftKey ? timeline.pan(0.2) : step(state, 1)),
        PageUp: () => step(state, -far),
        PageDown: () => step(state, far),
        "+": () => timeline.zoom(0.6),
        "=": () => timeline.zoom(0.6),
        "-": () => timeline.zoom(1 / 0.6),
        0: () => timeline.reset(),
        Home: () => timeline.reset(),
        Escape: () => timeline.point(null),
    };
    if (keys[event.key]) {
        event.preventDefault();
        keys[event.key]();
    }
}

/// The table of the lines.
function makeLegend(lines, title) {
    const rows = lines.map((line) => {
        const swatch = make("i", { class: `swatch${line.isDashed ? " dashed" : ""}${line.isRain ? " filled" : ""}` });
        swatch.style.color = `var(${line.colour})`;
        const cells = ["now", "least", "greatest", "moment"].map((name) => make("td", { class: name }));
        return {
            cells,
            element: make(
                "tr",
                {},
                make("th", { scope: "row" }, swatch, make("span", { class: "id" }, line.label)),
                cells,
            ),
        };
    });
    const now = make("th", { scope: "col", class: "now" }, "At the cursor");
    const unit =
        lines.every((line) => line.unit === lines[0].unit) && lines[0].unit ? `, ${formatUnit(lines[0].unit)}` : "";
    const element = make(
        "div",
        { class: "scroll" },
        make(
            "table",
            { class: "legend-table" },
            make("caption", { class: "hidden" }, `Values of the chart ${title}`),
            make(
                "thead",
                {},
                make(
                    "tr",
                    {},
                    make("th", { scope: "col" }, `Line${unit}`),
                    now,
                    make("th", { scope: "col", class: "least" }, "Least"),
                    make("th", { scope: "col" }, "Greatest"),
                    make("th", { scope: "col", class: "moment" }, "at"),
                ),
            ),
            make(
                "tbody",
                {},
                rows.map((row) => row.element),
            ),
        ),
    );
    return { element, rows, now };
}

function showAt(series, time) {
    if (time === null || !series.x.length) {
        return "";
    }
    const place = findNearest(series.x, time);
    const low = series.low[place];
    const high = series.high[place];
    return low === high || !series.isThinned ? formatNumber(high) : `${formatNumber(low)} to ${formatNumber(high)}`;
}

function fillLegend(state) {
    const { cursor, window } = state.timeline;
    state.table.now.textContent = cursor === null ? "At the cursor" : formatDate(cursor);
    state.table.element.classList.toggle("pointed", cursor !== null);
    state.lines.forEach((line, place) => {
        const [now, least, greatest, at] = state.table.rows[place].cells;
        now.textContent = showAt(line.series, cursor);
        if (state.window !== window) {
            const found = findExtremes(line.series, ...window);
            least.textContent = formatNumber(found.least);
            greatest.textContent = formatNumber(found.greatest);
            at.textContent = formatDate(found.at);
        }
    });
    state.window = window;
}
