// Rain and outflow of the whole system, the rain hanging from the top.

import { makeChart } from "./chart.js";
import { nameRuns } from "./data.js";
import { byId, make } from "./dom.js";

function readLine(data, store, run, name, more) {
    const system = data.runs[run].objects?.[data.runs[run].system ?? -1];
    const column = system?.columns.find((one) => one.name === name);
    const series = column ? store.readColumn(run, column) : null;
    const suffix = data.runs.length > 1 ? `, ${nameRuns(data)[run]}` : "";
    return series && { label: `${more.title}${suffix}`, unit: column.unit, series, ...more };
}

function hasValues(line) {
    return line?.series.high.some((value) => value);
}

export function startStorm(data, store, timeline) {
    const rains = data.runs.map((_, run) =>
        readLine(data, store, run, "Rainfall", { title: "Rain", isRain: true, colour: run ? "--rain-2" : "--rain" }),
    );
    const flows = data.runs.map((_, run) =>
        readLine(data, store, run, "Outflow", {
            title: "Outflow",
            colour: run ? "--series-2" : "--series-1",
            isDashed: run > 0,
        }),
    );
    // One rain is enough where both runs have the same.
    const isSameRain =
        rains[1] &&
        rains[0]?.series.high.length === rains[1].series.high.length &&
        rains[0].series.high.every((value, place) => value === rains[1].series.high[place]);
    const lines = [...rains.slice(0, isSameRain ? 1 : 2).filter(hasValues), ...flows.filter(Boolean)];
    const host = byId("storm-host");
    if (lines.length === 0) {
        host.append(make("p", { class: "empty" }, "The data hold no series of the system."));
        return null;
    }
    return makeChart(host, {
        title: rains.some(hasValues) ? "rain and outflow of the system" : "outflow of the system",
        lines,
        timeline,
        height: 300,
    });
}
