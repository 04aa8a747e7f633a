// The tables of a run behind tabs; a table is made when its tab is first opened.

import { nameRuns } from "./data.js";
import { byId, make, makeSwitch } from "./dom.js";
import { formatNumber } from "./format.js";
import { subtractTable } from "./measures.js";
import { makeTable } from "./table.js";

export function startTables(data, items, onChoose) {
    const state = { data, items, onChoose, run: 0, open: 0, made: new Map() };
    if (data.runs.length > 1) {
        byId("tables-runs").append(
            makeSwitch(
                "Run",
                [...nameRuns(data).map((name, run) => [run, name]), ["difference", "Difference"]],
                0,
                (run) => {
                    state.run = run;
                    fill(state);
                },
            ),
        );
    }
    fill(state);
    return {
        /// All tables, for paper.
        setPrinting(isPrinting) {
            const { length } = state.panels;
            for (let place = 0; place < length; place += 1) {
                if (isPrinting) {
                    build(state, place);
                }
                state.panels[place].hidden = !isPrinting && place !== state.open;
                state.made.get(state.panels[place])?.setPrinting(isPrinting);
            }
        },
    };
}

/// Tables of the chosen run, or what the second run has more of.
function listTables({ data, run }) {
    const all = data.runs.map(({ tables }) => tables ?? []);
    if (run !== "difference") {
        return all[run];
    }
    return all[0]
        .map((table) =>
            subtractTable(
                table,
                all[1].find(({ key }) => key === table.key),
            ),
        )
        .filter((table) => table?.rows.length > 0);
}

function fill(state) {
    const tables = listTables(state);
    const before = state.tables?.[state.open]?.key;
    state.open = Math.max(
        0,
        tables.findIndex(({ key }) => key === before),
    );
    state.made.clear();
    state.tables = tables;
    state.tabs = tables.map((table, place) =>
        make(
            "button",
            {
                type: "button",
                role: "tab",
                id: `tab-${place}`,
                "aria-controls": `panel-${place}`,
                onclick: () => open(state, place),
            },
            table.title,
            make("span", { class: "count" }, formatNumber(table.rows.length, 9)),
        ),
    );
    state.panels = tables.map((table, place) =>
        make(
            "div",
            { role: "tabpanel", id: `panel-${place}`, "aria-labelledby": `tab-${place}`, hidden: true },
            make("h3", { class: "print-only" }, table.title),
        ),
    );
    byId("tabs").replaceChildren(...state.tabs);
    byId("tabs").onkeydown = (event) => pressKey(state, event);
    byId("tables-host").replaceChildren(...state.panels);
    if (tables.length === 0) {
        byId("tables-host").append(make("p", { class: "empty" }, "The data hold no tables."));
        return;
    }
    open(state, state.open);
}

function build(state, place) {
    const panel = state.panels[place];
    if (state.made.has(panel)) {
        return;
    }
    const table = state.tables[place];
    const find = (id) => state.items[0].find(id, table.class ?? null);
    state.made.set(
        panel,
        makeTable(panel, table, {
            isLinked: (id) => find(id) >= 0,
            onChoose: (id, isAdded) => state.onChoose(find(id), isAdded),
        }),
    );
}

function open(state, place) {
    state.open = place;
    build(state, place);
    state.tabs.forEach((tab, other) => {
        tab.setAttribute("aria-selected", String(other === place));
        tab.tabIndex = other === place ? 0 : -1;
        state.panels[other].hidden = other !== place;
    });
}

function pressKey(state, event) {
    const count = state.tabs.length;
    const next = { ArrowRight: state.open + 1, ArrowLeft: state.open - 1 + count, Home: 0, End: count - 1 }[event.key];
    if (next === undefined) {
        return;
    }
    event.preventDefault();
    open(state, next % count);
    state.tabs[state.open].focus();
}
