// The page of a run: reads the data of the document and starts its sections.

import { startCharts } from "./charts.js";
import { nameRuns, openStore, readData } from "./data.js";
import { byId, make } from "./dom.js";
import { formatDate, formatSpan } from "./format.js";
import { listItems } from "./items.js";
import { startMessages } from "./messages.js";
import { startNetwork } from "./network.js";
import { startOverview } from "./overview.js";
import { startPrint } from "./print.js";
import { startSearch } from "./search.js";
import { makeSelection } from "./selection.js";
import { startStorm } from "./storm.js";
import { startTables } from "./tables.js";
import { startTheme } from "./theme.js";
import { makeTimeline } from "./timeline.js";

/// The time from the first to the last report of all runs.
function openTimeline(data) {
    const all = data.runs.map((run) => run.times).filter((times) => times && times.count > 0);
    if (all.length === 0) {
        return makeTimeline(0, 1, 1);
    }
    const first = Math.min(...all.map((times) => times.start));
    const last = Math.max(...all.map((times) => times.start + (times.count - 1) * times.step));
    const step = Math.min(...all.map((times) => times.step));
    return makeTimeline(first, Math.max(last, first + step), step);
}

function startWindowTools(timeline, hasTimes) {
    const text = byId("window-text");
    byId("window-tools").hidden = byId("chart-keys").hidden = !hasTimes;
    const tell = () => {
        const [from, to] = timeline.window;
        text.textContent = `${formatDate(from)} to ${formatDate(to)} (${formatSpan(to - from)})`;
        byId("window-reset").disabled = timeline.isWhole;
    };
    byId("window-back").addEventListener("click", () => timeline.pan(-0.5));
    byId("window-on").addEventListener("click", () => timeline.pan(0.5));
    byId("window-in").addEventListener("click", () => timeline.zoom(0.5));
    byId("window-out").addEventListener("click", () => timeline.zoom(2));
    byId("window-reset").addEventListener("click", () => timeline.reset());
    timeline.onWindow(tell);
    tell();
}

function fail(text) {
    byId("main").replaceChildren(make("p", { class: "empty", role: "alert" }, text));
}

function start() {
    startTheme(byId("theme"));
    let data = null;
    try {
        data = readData();
    } catch (error) {
        fail(`The data of this page can't be read: ${error.message}`);
        return;
    }
    if (!data?.runs?.length) {
        fail("This page holds no run.");
        return;
    }
    const store = openStore(data);
    const items = data.runs.map(listItems);
    const selection = makeSelection();
    const timeline = openTimeline(data);
    const choose = (item, isAdded) => {
        if (item < 0) {
            return;
        }
        selection.choose(item, isAdded || selection.isAdding);
        if (!selection.isAdding && !isAdded) {
            byId("series").scrollIntoView({ block: "start" });
            byId("series-title").focus({ preventScroll: true });
        }
    };
    const linkTo = (words, id = null, kind = "") => {
        const item = items[0].findByWords(id === null ? words : `${kind} ${id}`);
        return item < 0
            ? make("span", { class: "id" }, words)
            : make(
                  "button",
                  { type: "button", class: "link id", onclick: (event) => choose(item, event.shiftKey) },
                  words,
              );
    };
    startOverview(data, linkTo);
    const messages = startMessages(data, linkTo);
    startWindowTools(
        timeline,
        data.runs.some((run) => run.times?.count > 0),
    );
    const storm = startStorm(data, store, timeline);
    const network = startNetwork(data, items, selection, nameRuns(data));
    const charts = startCharts({ data, store, items, selection, timeline });
    byId("series").hidden = items[0].items.length === 0;
    startSearch(items[0].items, choose);
    const tables = startTables(data, items, choose);
    startPrint({ messages, storm, network, charts, tables });
    document.documentElement.dataset.ready = "true";
    performance.mark("tarnvelde ready");
}

start();
