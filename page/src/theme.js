// Light and dark: what the reader's system prefers, or what is chosen here. Paper is always light.

import { makeSignal, makeSwitch } from "./dom.js";

const KEY = "tarnvelde-theme";
const changed = makeSignal();
const prefersDark = matchMedia("(prefers-color-scheme: dark)");
let chosen = "auto";
let isPrinting = false;

function recall() {
    try {
        const kept = localStorage.getItem(KEY);
        return kept === "light" || kept === "dark" ? kept : "auto";
    } catch {
        return "auto"; // a page opened from a file may be refused a memory
    }
}

function keep(value) {
    try {
        localStorage.setItem(KEY, value);
    } catch {
        // then it holds until the page is closed
    }
}

function apply() {
    const system = prefersDark.matches ? "dark" : "light";
    const theme = isPrinting ? "light" : chosen === "auto" ? system : chosen;
    if (document.documentElement.dataset.theme !== theme) {
        document.documentElement.dataset.theme = theme;
        changed.tell(theme);
    }
}

export const onTheme = changed.on;
export const currentTheme = () => document.documentElement.dataset.theme ?? "light";

export function setPrinting(value) {
    isPrinting = value;
    apply();
}

/// A colour of the style sheet, by its name there.
export function readColour(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

export function startTheme(host) {
    chosen = recall();
    prefersDark.addEventListener("change", apply);
    apply();
    host.append(
        makeSwitch(
            "Colours",
            [
                ["auto", "Auto"],
                ["light", "Light"],
                ["dark", "Dark"],
            ],
            chosen,
            (value) => {
                chosen = value;
                keep(value);
                apply();
            },
        ),
    );
}
