// Messages and warnings: what was said, where, what it means for the results, what to do.

import { byId, make } from "./dom.js";
import { asSentence, countOf, formatDate, formatNumber } from "./format.js";
import { nameRuns } from "./data.js";
import { makeBadge } from "./overview.js";

const MOST = 12; // shown at first
const WORDS = { error: ["red", "Error"], warning: ["amber", "Warning"], hint: ["none", "Hint"] };

export function startMessages(data, linkTo) {
    const host = byId("messages-host");
    const names = nameRuns(data);
    const counts = data.runs.map((run) => (run.messages ?? []).length);
    if (counts.every((count) => count === 0)) {
        host.append(make("p", { class: "empty" }, "Nothing to report: no errors and no warnings."));
        return { setPrinting() {} };
    }
    const count = counts.reduce((sum, one) => sum + one, 0);
    byId("messages-title").append(make("span", { class: "count" }, formatNumber(count, 9)));
    const lists = data.runs.map((run, place) => {
        if (data.runs.length > 1) {
            host.append(make("h3", { class: "id" }, names[place]));
        }
        return addList(host, run.messages ?? [], linkTo);
    });
    return { setPrinting: (isPrinting) => lists.forEach((list) => list.setPrinting(isPrinting)) };
}

function addList(host, messages, linkTo) {
    const list = make("ul", { class: "messages" });
    const more = make("button", { type: "button" }, `Show all ${countOf(messages.length, "message")}`);
    const fill = (count) => {
        list.replaceChildren(...messages.slice(0, count).map((message) => makeMessage(message, linkTo)));
        more.hidden = messages.length <= count;
    };
    let shown = MOST;
    more.addEventListener("click", () => {
        shown = messages.length;
        fill(shown);
        list.children[MOST].querySelector("button, p")?.focus?.();
    });
    fill(shown);
    host.append(list, more);
    if (messages.length === 0) {
        host.append(make("p", { class: "empty" }, "Nothing to report."));
    }
    return { setPrinting: (isPrinting) => fill(isPrinting ? Math.min(messages.length, 200) : shown) };
}

function makeMessage(message, linkTo) {
    const [level, word] = WORDS[message.level] ?? WORDS.hint;
    const line = (title, text) => (text ? make("div", {}, make("dt", {}, title), make("dd", {}, text)) : null);
    const words = message.words ? make("code", {}, message.words) : null;
    return make(
        "li",
        {},
        make(
            "div",
            { class: "message-head" },
            makeBadge(level, message.serious ? `Serious ${word.toLowerCase()}` : word),
            make("div", { class: "quiet" }, String(message.name || message.code || "")),
        ),
        make("p", { class: "message-text" }, asSentence(message.text)),
        make(
            "dl",
            {},
            line("Where", message.place),
            line("Line", words),
            line("When", Number.isFinite(message.date) ? formatDate(message.date) : null),
            line("Object", message.object ? linkTo(message.object) : null),
            line("Effect", asSentence(message.effect)),
            line("Advice", asSentence(message.advice)),
        ),
    );
}
