// The search for an object: a box with a list below it, worked with the keyboard.

import { byId, make } from "./dom.js";
import { searchItems } from "./items.js";

const MOST = 12;

export function startSearch(items, onChoose) {
    const input = byId("search");
    const list = byId("search-list");
    const state = { input, list, items, onChoose, found: [], active: -1 };
    input.addEventListener("input", () => {
        state.found = searchItems(items, input.value, MOST);
        state.active = state.found.length > 0 ? 0 : -1;
        show(state);
    });
    input.addEventListener("keydown", (event) => pressKey(state, event));
    input.addEventListener("blur", () => close(state));
    document.addEventListener("keydown", (event) => {
        const isTyping = event.target.closest?.("input, select, textarea");
        if (event.key === "/" && !isTyping && !event.ctrlKey && !event.metaKey && !event.altKey) {
            event.preventDefault();
            input.focus();
            input.select();
        }
    });
}

function close(state) {
    state.list.hidden = true;
    state.input.setAttribute("aria-expanded", "false");
    state.input.removeAttribute("aria-activedescendant");
}

function choose(state, place, isAdded) {
    const item = state.found[place];
    if (item === undefined) {
        return;
    }
    close(state);
    state.input.value = "";
    state.onChoose(item, isAdded);
}

function show(state) {
    const { input, list, found, items } = state;
    if (input.value.trim() === "") {
        close(state);
        return;
    }
    list.replaceChildren(
        ...found.map((index, place) =>
            make(
                "li",
                {
                    role: "option",
                    id: `found-${place}`,
                    "aria-selected": String(place === state.active),
                    onmousedown: (event) => {
                        event.preventDefault(); // the box keeps the focus until the choice is made
                        choose(state, place, event.shiftKey || undefined);
                    },
                },
                make("span", { class: "id" }, items[index].id),
                make("span", { class: "quiet" }, items[index].kind),
            ),
        ),
    );
    if (found.length === 0) {
        list.append(
            make(
                "li",
                { role: "option", "aria-disabled": "true", "aria-selected": "false", class: "quiet" },
                "No object of this name",
            ),
        );
    }
    list.hidden = false;
    input.setAttribute("aria-expanded", "true");
    if (state.active >= 0) {
        input.setAttribute("aria-activedescendant", `found-${state.active}`);
        list.children[state.active].scrollIntoView({ block: "nearest" });
    } else {
        input.removeAttribute("aria-activedescendant");
    }
}

function pressKey(state, event) {
    const count = state.found.length;
    if ((event.key === "ArrowDown" || event.key === "ArrowUp") && count > 0) {
        event.preventDefault();
        state.active = (state.active + (event.key === "ArrowDown" ? 1 : count - 1)) % count;
        show(state);
    } else if (event.key === "Enter" && !state.list.hidden) {
        event.preventDefault();
        choose(state, state.active, event.shiftKey || undefined);
    } else if (event.key === "Escape") {
        state.input.value = "";
        close(state);
    }
}
