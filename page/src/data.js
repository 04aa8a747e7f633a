// The data of the document: one JSON element, and one element per object's series, which is decoded when it is asked
// for and not before - of a year of a town there are thousands.

import { makeSeries } from "./series.js";

export const FORM = 1;

/// Null if the document has no data, as the bare template.
export function readData(page = document) {
    const element = page.getElementById("tarnvelde-data");
    return element ? JSON.parse(element.textContent) : null;
}

function decodeBase64(text) {
    const bytes = atob(text.trim());
    const out = new Uint8Array(bytes.length - (bytes.length % 4));
    for (let place = 0; place < out.length; place += 1) {
        out[place] = bytes.charCodeAt(place);
    }
    return out;
}

/// Floats with the lowest byte first.
export function decodeFloats(text) {
    const bytes = decodeBase64(text);
    const view = new DataView(bytes.buffer);
    const out = new Float32Array(bytes.length / 4);
    for (let place = 0; place < out.length; place += 1) {
        out[place] = view.getFloat32(place * 4, true);
    }
    return out;
}

/// What reads series. Decoded elements are kept; each decoding leaves a mark in the browser's own list of times.
export function openStore(data, page = document) {
    const kept = new Map();
    const read = (run, number) => {
        const id = `d-${run}-${number}`;
        if (!kept.has(id)) {
            const element = page.getElementById(id);
            performance.mark(`tarnvelde decode ${id}`);
            kept.set(
                id,
                element
                    ? { values: decodeFloats(element.textContent), isThinned: element.dataset.form === "extremes" }
                    : null,
            );
        }
        return kept.get(id);
    };
    return {
        /// A column of an object as {x, high, low, isThinned}; null if the page doesn't hold it.
        readColumn(run, column) {
            if (column?.data === undefined || column.data === null) {
                return null;
            }
            const [number, first, length] = Array.isArray(column.data) ? column.data : [column.data, 0, undefined];
            const element = read(run, number);
            if (!element) {
                return null;
            }
            const values = element.values.subarray(first, length === undefined ? undefined : first + length);
            const isThinned = column.thinned ?? element.isThinned;
            return makeSeries(values, isThinned, data.runs[run].times);
        },
    };
}

/// Names of the runs for people; told apart where they are the same.
export function nameRuns(data) {
    const names = data.runs.map((run, place) => run.name || `Run ${place + 1}`);
    return names[0] === names[1] ? [`${names[0]} (first)`, `${names[1]} (second)`] : names;
}
