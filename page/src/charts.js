// Charts of the chosen objects: one per unit, with the columns that are chosen.

import { makeChart } from "./chart.js";
import { chooseColumns, groupByUnit, LEADING } from "./columns.js";
import { nameRuns } from "./data.js";
import { announce, byId, make } from "./dom.js";
import { countOf, formatColumn, formatHead, formatNumber, formatUnit, withUnit } from "./format.js";
import { MOST_CHOSEN } from "./selection.js";

export function startCharts({ data, store, items, selection, timeline }) {
    const state = {
        data,
        store,
        items,
        selection,
        timeline,
        charts: [],
        names: new Set(["Depth", ...LEADING.map(formatColumn)]),
    };
    selection.on(() => {
        update(state);
        const last = selection.list.at(-1);
        announce(
            last === undefined
                ? "No object is chosen."
                : `${items[0].items[last].kind} ${items[0].items[last].id} is drawn, ${countOf(
                      selection.list.length,
                      "object",
                  )} in all.`,
        );
    });
    byId("adding").addEventListener("change", (event) => selection.setAdding(event.target.checked));
    byId("chosen-clear").addEventListener("click", () => selection.clear());
    update(state);
    return { all: () => state.charts, focus: () => byId("series-title").focus({ preventScroll: true }) };
}

function objectOf(state, item, run) {
    const { id, kind, object } = state.items[0].items[item];
    if (run === 0) {
        return state.data.runs[0].objects[object] ?? null;
    }
    const other = state.items[1].findInTable(kind, id);
    return other < 0 ? null : (state.data.runs[1].objects[state.items[1].items[other].object] ?? null);
}

function update(state) {
    state.charts.forEach((chart) => chart.destroy());
    state.charts = [];
    const host = byId("charts-host");
    host.replaceChildren();
    fillChosen(state);
    fillColumns(state);
    const parts = state.selection.list.flatMap((item, place) => {
        const columns = objectOf(state, item, 0)?.columns ?? [];
        return chooseColumns(columns, state.names).map((column) => ({ item, column, place }));
    });
    for (const { unit, parts: members } of groupByUnit(parts)) {
        addChart(state, host, unit, members);
    }
    if (state.selection.list.length === 0) {
        host.append(
            make(
                "p",
                { class: "empty" },
                "Choose an object on the map, in a table or with the search: its series are drawn here.",
            ),
        );
    } else if (parts.length === 0) {
        host.append(make("p", { class: "empty" }, "The results hold no series of this object."));
    }
}

/// Objects keep their colour over all charts unless one of them has several lines here.
function addChart(state, host, unit, members) {
    const isPlain = new Set(members.map((part) => part.item)).size === members.length;
    const names = nameRuns(state.data);
    const lines = members
        .flatMap(({ item, column, place }, order) =>
            state.data.runs.map((_, run) => {
                const own =
                    run === 0
                        ? column
                        : objectOf(state, item, 1)?.columns.find(
                              (one) => one.name === column.name && one.unit === column.unit,
                          );
                const series = own ? state.store.readColumn(run, own) : null;
                const suffix = state.data.runs.length > 1 ? `, ${names[run]}` : "";
                return (
                    series && {
                        label: `${state.items[0].items[item].id} · ${formatColumn(column.name)}${suffix}`,
                        unit,
                        series,
                        isDashed: run > 0,
                        colour: `--series-${((isPlain ? place : order) % MOST_CHOSEN) + 1}`,
                    }
                );
            }),
        )
        .filter(Boolean);
    const columns = [...new Set(members.map((part) => formatColumn(part.column.name)))];
    const title = columns.join(", ");
    const box = make("div", { class: "chart-box" }, make("h4", {}, formatHead(title, unit)));
    host.append(box);
    if (lines.length === 0) {
        box.append(make("p", { class: "empty" }, "The page doesn't hold this series."));
        return;
    }
    if (lines.some((line) => line.series.isThinned)) {
        box.querySelector("h4").append(
            make("span", { class: "quiet" }, " · least and greatest of each bucket of reports"),
        );
    }
    state.charts.push(makeChart(box, { title, lines, timeline: state.timeline }));
}

function fillChosen(state) {
    const { list } = state.selection;
    byId("chosen").replaceChildren(
        ...list.map((index, place) => {
            const { id, kind } = state.items[0].items[index];
            const swatch = make("i", { class: "swatch" });
            swatch.style.color = `var(--series-${place + 1})`;
            return make(
                "li",
                { class: "chip" },
                swatch,
                make("span", { class: "id" }, id),
                make("span", { class: "quiet" }, kind),
                make(
                    "button",
                    { type: "button", "aria-label": `Drop ${kind} ${id}`, onclick: () => state.selection.drop(index) },
                    "×",
                ),
            );
        }),
    );
    byId("chosen-clear").hidden = list.length < 2;
    fillCard(state);
}

/// What the measures say of the object chosen last, in both runs.
function fillCard(state) {
    const card = byId("card");
    const last = state.selection.list.at(-1);
    const item = last === undefined ? null : state.items[0].items[last];
    const measures = item?.class ? (state.data.runs[0].network.measures?.filter((one) => one[item.class]) ?? []) : [];
    card.hidden = measures.length === 0;
    const valueIn = (run, measure) => {
        if (run === 0) {
            return measure[item.class][item.place];
        }
        const other = state.items[1].find(item.id, item.class);
        const same = state.data.runs[1].network?.measures?.find((one) => one.key === measure.key);
        return other < 0 ? null : (same?.[item.class]?.[state.items[1].items[other].place] ?? null);
    };
    card.replaceChildren(
        ...measures
            .filter((measure) => valueIn(0, measure) !== null)
            .map((measure) =>
                make(
                    "div",
                    {},
                    make("dt", {}, measure.title),
                    make(
                        "dd",
                        {},
                        state.data.runs.map((_, run) => formatNumber(valueIn(run, measure))).join(" → "),
                        " ",
                        make("span", { class: "quiet" }, formatUnit(measure.unit)),
                    ),
                ),
            ),
    );
}

/// A box for each column that any of the chosen objects has.
function fillColumns(state) {
    const columns = new Map();
    for (const item of state.selection.list) {
        for (const column of objectOf(state, item, 0)?.columns ?? []) {
            const name = formatColumn(column.name);
            if (!columns.has(name)) {
                columns.set(name, column);
            }
        }
    }
    const drawn = new Set(
        state.selection.list.flatMap((item) =>
            chooseColumns(objectOf(state, item, 0)?.columns ?? [], state.names).map((column) =>
                formatColumn(column.name),
            ),
        ),
    );
    const host = byId("columns");
    host.hidden = columns.size < 2;
    const legend = host.querySelector("legend");
    const focused = document.activeElement?.dataset?.column;
    host.replaceChildren(
        legend,
        ...[...columns].map(([name, column]) => {
            const box = make("input", {
                type: "checkbox",
                "data-column": name,
                onchange: () => toggle(state, name, drawn, columns),
            });
            box.checked = drawn.has(name);
            return make("label", {}, box, make("span", {}, withUnit(name, column.unit ? `(${column.unit})` : "")));
        }),
    );
    if (focused !== undefined) {
        [...host.querySelectorAll("input")].find((box) => box.dataset.column === focused)?.focus();
    }
}

/// What is seen is what is chosen from now on, of the columns that are offered.
function toggle(state, name, drawn, columns) {
    for (const offered of columns.keys()) {
        const isChosen = offered === name ? !drawn.has(name) : drawn.has(offered);
        if (isChosen) {
            state.names.add(offered);
        } else {
            state.names.delete(offered);
        }
    }
    update(state);
}
