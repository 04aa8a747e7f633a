// Making elements. Texts of the model - IDs, titles, messages - become text nodes, never markup.

function setAttribute(element, name, value) {
    if (value === null || value === undefined || value === false) {
        return;
    }
    if (name.startsWith("on")) {
        element.addEventListener(name.slice(2), value);
    } else if (name === "class") {
        element.className = value;
    } else {
        element.setAttribute(name, value === true ? "" : String(value));
    }
}

/// make("p", {class: "note"}, "text", otherElement, ...): children that are null, undefined or false are left out.
export function make(name, attributes = {}, ...children) {
    const element = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        setAttribute(element, key, value);
    }
    element.append(
        ...children.flat(Infinity).filter((child) => child !== null && child !== undefined && child !== false),
    );
    return element;
}

/// An icon of one path, for eyes alone.
export function makeIcon(path, attributes = {}) {
    const icon = document.createElementNS("http://www.w3.org/2000/svg", "svg");
    const shape = document.createElementNS("http://www.w3.org/2000/svg", "path");
    for (const [key, value] of Object.entries({
        viewBox: "0 0 24 24",
        "aria-hidden": "true",
        focusable: "false",
        class: "icon",
        ...attributes,
    })) {
        icon.setAttribute(key, value);
    }
    shape.setAttribute("d", path);
    icon.append(shape);
    return icon;
}

export const byId = (id) => document.getElementById(id);

let last = 0;
/// A new ID for an element that another refers to.
export function newId(stem) {
    last += 1;
    return `${stem}-${last}`;
}

/// Says a sentence to screen readers.
export function announce(text) {
    const place = byId("announcements");
    if (place) {
        place.textContent = text;
    }
}

/// A list of listeners: {on(listener), tell(...values)}.
export function makeSignal() {
    const listeners = new Set();
    return {
        on(listener) {
            listeners.add(listener);
            return () => listeners.delete(listener);
        },
        tell(...values) {
            for (const listener of [...listeners]) {
                listener(...values);
            }
        },
    };
}

/// Radio buttons side by side; the chosen value is told.
export function makeSwitch(label, choices, chosen, tell, attributes = {}) {
    const name = newId("switch");
    return make(
        "fieldset",
        { class: "switch", ...attributes },
        make("legend", { class: "quiet" }, label),
        choices.map(([value, text]) => {
            const input = make("input", { type: "radio", name, value, onchange: () => tell(value) });
            input.checked = value === chosen;
            return make("label", {}, input, make("span", {}, text));
        }),
    );
}
