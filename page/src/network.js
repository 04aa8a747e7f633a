// The section of the network: what the map is coloured by, its legend, its key, its text for those who don't see it.

import { countOf, formatNumber, formatUnit, withUnit } from "./format.js";
import { byId, make, makeIcon, makeSwitch } from "./dom.js";
import { makeGeometry } from "./geometry.js";
import { makeMap } from "./map.js";
import { CLASSES, subtractMeasure } from "./measures.js";
import { makeScale, mixRamp, RAMPS } from "./ramps.js";
import { LINK_MARKS, linkMarkOf, NODE_SHAPES, nodeShapeOf } from "./symbols.js";
import { currentTheme, onTheme, readColour } from "./theme.js";

const NOUNS = { nodes: "node", links: "link", areas: "subcatchment" };

/// The section. {items: of each run, selection, onChosen()}
export function startNetwork(data, items, selection, names) {
    const networks = data.runs.map((run) => run.network ?? {});
    const network = networks[0];
    if (!network.nodes?.length && !network.areas?.length) {
        byId("map-side").replaceChildren(make("p", { class: "empty" }, "The data of this run hold no network."));
        return {};
    }
    const geometries = networks.map(makeGeometry);
    const state = {
        data,
        items,
        selection,
        networks,
        geometries,
        shown: 0,
        isEven: false,
        measure: (network.measures ?? [])[0]?.key ?? null,
    };
    state.map = makeMap(byId("map-host"), {
        describe: (target) => describe(state, target),
        onChoose(target, isAdded) {
            const item = itemOf(state, target);
            if (item >= 0) {
                selection.choose(item, isAdded || selection.isAdding);
            }
        },
    });
    state.map.setNetwork(geometries[0]);
    fillControls(state, names);
    fillKey(state);
    repaint(state);
    onTheme(() => {
        repaint(state);
        mark(state);
    });
    selection.on(() => mark(state));
    byId("map-in").addEventListener("click", () => state.map.zoom(1.5));
    byId("map-out").addEventListener("click", () => state.map.zoom(1 / 1.5));
    byId("map-fit").addEventListener("click", () => state.map.fit());
    return { drawNow: () => state.map.drawNow(), map: state.map, state };
}

const drawn = (state) => (state.shown === 1 ? 1 : 0); // the run whose network is drawn

/// What lies on the map as an item of the first run; what only the second one has can't be chosen.
function itemOf(state, target) {
    const run = drawn(state);
    const place = state.items[run].at(target.class, target.place);
    if (run === 0) {
        return place;
    }
    return state.items[0].find(state.items[1].items[place].id, target.class);
}

function measureOf(state, run = drawn(state)) {
    return (state.networks[run].measures ?? []).find((measure) => measure.key === state.measure) ?? null;
}

function valuesOf(state) {
    return state.shown === "difference" ? subtractMeasure(state.networks, state.measure) : measureOf(state);
}

function fillControls(state, names) {
    const measures = state.networks[0].measures ?? [];
    const select = byId("map-measure");
    select.append(...measures.map(({ key, title }) => make("option", { value: key }, title)));
    select.disabled = measures.length === 0;
    select.addEventListener("change", () => {
        state.measure = select.value;
        repaint(state);
    });
    byId("map-even").addEventListener("change", (event) => {
        state.isEven = event.target.checked;
        repaint(state);
    });
    if (state.networks.length > 1) {
        byId("map-runs").append(
            makeSwitch(
                "Run",
                [
                    [0, names[0]],
                    [1, names[1]],
                    ["difference", "Difference"],
                ],
                0,
                (value) => {
                    const before = drawn(state);
                    state.shown = value;
                    if (before !== drawn(state)) {
                        state.map.setNetwork(state.geometries[drawn(state)]);
                    }
                    repaint(state);
                    mark(state);
                },
            ),
        );
    }
    const { isGiven, crs } = state.networks[0];
    byId("map-given").textContent = isGiven
        ? crs
            ? `Coordinates: ${crs}.`
            : ""
        : "The project gives no coordinates: places are chosen by the program, and distances mean nothing.";
}

/// The kinds that are there, with their shapes.
function fillKey(state) {
    const kinds = new Map();
    for (const { kind } of state.networks[0].nodes ?? []) {
        kinds.set(kind, (kinds.get(kind) ?? 0) + 1);
    }
    const marks = new Map();
    for (const { kind } of state.networks[0].links ?? []) {
        marks.set(kind, (marks.get(kind) ?? 0) + 1);
    }
    const icon = (path) => makeIcon(path, { viewBox: "-1.3 -1.3 2.6 2.6" });
    byId("map-key").replaceChildren(
        ...[...kinds].map(([kind, count]) =>
            make("li", {}, icon(NODE_SHAPES[nodeShapeOf(kind)]), `${kind} (${count})`),
        ),
        ...[...marks].map(([kind, count]) =>
            make(
                "li",
                {},
                linkMarkOf(kind) ? icon(LINK_MARKS[linkMarkOf(kind)]) : icon("M-1.2 -.15H1.2V.15H-1.2Z"),
                `${kind} (${count})`,
            ),
        ),
    );
}

function repaint(state) {
    const theme = RAMPS[currentTheme()];
    const values = valuesOf(state);
    const all = values ? CLASSES.flatMap((name) => values[name] ?? []) : [];
    const isDiverging = state.shown === "difference";
    const scale = makeScale(all, { isDiverging, isEven: state.isEven });
    byId("map-even-label").hidden = isDiverging;
    state.scale = scale;
    state.map.setPaint({
        values,
        scale,
        colours: theme,
        ground: readColour("--surface"),
        land: readColour("--land"),
        landEdge: readColour("--land-edge"),
        edge: readColour("--surface"),
        text: readColour("--text"),
        quiet: readColour("--quiet"),
        accent: readColour("--accent"),
        font: "system-ui, sans-serif",
    });
    fillLegend(state, scale, theme);
    describeMap(state, values);
}

function fillLegend(state, scale, theme) {
    const legend = byId("map-legend");
    const measure = measureOf(state);
    legend.hidden = !measure;
    if (!measure) {
        return;
    }
    const unit = measure.unit ? ` in ${formatUnit(measure.unit)}` : "";
    const title = make(
        "div",
        { class: "legend-title" },
        `${measure.title}${unit}${scale?.isDiverging ? ", second less first" : ""}`,
    );
    if (!scale) {
        legend.replaceChildren(title, make("p", { class: "quiet" }, "No values"));
        return;
    }
    const ramp = scale.isDiverging ? theme.diverging : theme.sequential;
    const bar = make("div", { class: "legend-bar" });
    const shades = Array.from({ length: 13 }, (_, step) => mixRamp(ramp, step / 12));
    bar.style.background = `linear-gradient(to right, ${shades.join(", ")})`;
    const ticks = [0, 0.25, 0.5, 0.75, 1].map((fraction) =>
        make("span", {}, formatNumber(scale.valueAt(fraction), 3)),
    );
    legend.replaceChildren(
        title,
        bar,
        make("div", { class: "legend-ticks" }, ticks),
        make("div", { class: "legend-none" }, make("i", {}), "no value"),
    );
    legend.querySelector("i").style.background = theme.none;
}

/// The lines of the tip: name, kind, value.
function describe(state, target) {
    const run = drawn(state);
    const element = state.networks[run][target.class][target.place];
    const measure = measureOf(state);
    const lines = [element.id, element.kind ?? NOUNS[target.class]];
    const value = valuesOf(state)?.[target.class]?.[target.place];
    if (measure && value !== undefined) {
        const sign = state.shown === "difference" && value > 0 ? "+" : "";
        lines.push(`${measure.title}: ${sign}${withUnit(formatNumber(value), measure.unit)}`);
    }
    return lines;
}

/// The text in place of the map.
function describeMap(state, values) {
    const network = state.networks[drawn(state)];
    const counts = CLASSES.filter((name) => network[name]?.length).map((name) =>
        countOf(network[name].length, NOUNS[name]),
    );
    const measure = measureOf(state);
    let text = `Map of the network: ${counts.join(", ")}.`;
    if (measure && state.scale && values) {
        const top = CLASSES.flatMap((name) =>
            (values[name] ?? []).map((value, place) => [value, network[name][place]?.id]),
        )
            .filter(([value]) => Number.isFinite(value))
            .sort(([one], [other]) => Math.abs(other) - Math.abs(one))
            .slice(0, 3);
        const difference = state.shown === "difference" ? ", second run less first" : "";
        const named = top.map(([value, id]) => `${id} ${withUnit(formatNumber(value), measure.unit)}`);
        text += ` Coloured by ${measure.title}${difference}; greatest: ${named.join(", ")}.`;
    }
    state.map.canvas.setAttribute("aria-label", text);
    state.map.canvas.textContent = text;
}

/// What is chosen has a ring in the colour of its lines.
function mark(state) {
    const run = drawn(state);
    const targets = state.selection.list
        .map((index, order) => {
            const item = state.items[0].items[index];
            if (!item.class) {
                return null;
            }
            const colour = readColour(`--series-${order + 1}`);
            if (run === 0) {
                return { class: item.class, place: item.place, colour };
            }
            const other = state.items[1].find(item.id, item.class);
            return other < 0 ? null : { class: item.class, place: state.items[1].items[other].place, colour };
        })
        .filter(Boolean);
    state.map.setMarked(targets);
    const last = targets.at(-1);
    const element = last && state.geometries[run][last.class][last.place];
    if (element && last.class !== "links" && Number.isFinite(element.x)) {
        state.map.show(element.x, element.y);
    }
}
