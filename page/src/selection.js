// The objects that are chosen, in the order of choosing. No more than a chart has colours for.

import { makeSignal } from "./dom.js";

export const MOST_CHOSEN = 8;

export function makeSelection() {
    const changed = makeSignal();
    let chosen = [];
    let isAdding = false;
    const set = (next) => {
        chosen = next.slice(-MOST_CHOSEN);
        changed.tell(chosen);
    };
    return {
        on: changed.on,
        get list() {
            return chosen;
        },
        get isAdding() {
            return isAdding;
        },
        setAdding(value) {
            isAdding = value;
        },
        has: (item) => chosen.includes(item),
        /// Alone or beside the others; one that is chosen already is dropped when others are to stay.
        choose(item, isAdded = isAdding) {
            if (!isAdded) {
                set([item]);
            } else if (chosen.includes(item)) {
                set(chosen.filter((other) => other !== item));
            } else {
                set([...chosen, item]);
            }
        },
        drop(item) {
            set(chosen.filter((other) => other !== item));
        },
        clear() {
            set([]);
        },
    };
}
