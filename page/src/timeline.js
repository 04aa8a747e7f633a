// The window of time that all charts show, and the moment under the cursor. Charts change it and follow it.

import { makeSignal } from "./dom.js";

/// A window kept inside the whole, its length if possible; never shorter than the least length.
export function clampWindow([from, to], [first, last], least) {
    const whole = last - first;
    const length = Math.min(whole, Math.max(least, to - from));
    const middle = (from + to) / 2;
    const begin = Math.min(last - length, Math.max(first, middle - length / 2));
    return [begin, begin + length];
}

export function makeTimeline(first, last, step) {
    const whole = [first, last];
    const windowChanged = makeSignal();
    const cursorChanged = makeSignal();
    let shown = whole;
    let cursor = null;
    const show = (next) => {
        const clamped = clampWindow(next, whole, Math.min(2 * step, last - first));
        if (clamped[0] === shown[0] && clamped[1] === shown[1]) {
            return;
        }
        shown = clamped;
        windowChanged.tell(shown);
    };
    return {
        whole,
        step,
        show,
        onWindow: windowChanged.on,
        onCursor: cursorChanged.on,
        get window() {
            return shown;
        },
        get cursor() {
            return cursor;
        },
        get isWhole() {
            return shown[0] === first && shown[1] === last;
        },
        /// By a part of the window's length; negative is back in time.
        pan(part) {
            const length = shown[1] - shown[0];
            show([shown[0] + part * length, shown[1] + part * length]);
        },
        /// A factor below 1 looks closer. The time at the centre stays in its place.
        zoom(factor, centre = cursor ?? (shown[0] + shown[1]) / 2) {
            show([centre - (centre - shown[0]) * factor, centre + (shown[1] - centre) * factor]);
        },
        reset() {
            show(whole);
        },
        /// The moment that is pointed at; null if none is.
        point(time) {
            if (time === cursor) {
                return;
            }
            cursor = time;
            cursorChanged.tell(time);
        },
    };
}
