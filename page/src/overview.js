// The head of the page: what run this is, and whether its numbers can be trusted.

import { byId, make, makeIcon } from "./dom.js";
import { asSentence, formatNumber, formatPercent, formatUnit, MISSING, withUnit } from "./format.js";
import { nameRuns } from "./data.js";

/// A shape and a word for each level, since colours alone don't tell everybody.
export const LEVELS = {
    green: {
        word: "Good",
        path: "M12 2a10 10 0 1 0 0 20a10 10 0 0 0 0-20zm-1.6 14.6l-4.5-4.5l1.7-1.7l2.8 2.8l6-6l1.7 1.7z",
    },
    amber: { word: "Look closer", path: "M12 2.2L23 21.5H1zM10.9 9v6h2.2V9zM10.9 16.7v2.2h2.2v-2.2z" },
    red: {
        word: "Not to be trusted",
        path: "M7.9 2h8.2L22 7.9v8.2L16.1 22H7.9L2 16.1V7.9z" +
            "M8.6 7L7 8.6l3.4 3.4L7 15.4L8.6 17l3.4-3.4l3.4 3.4l1.6-1.6l-3.4-3.4L17 8.6L15.4 7L12 10.4z",
    },
    none: { word: "No verdict", path: "M12 2a10 10 0 1 0 0 20a10 10 0 0 0 0-20zM7 11h10v2H7z" },
};

export function makeBadge(level, word = null) {
    const known = LEVELS[level] ? level : "none";
    return make(
        "span",
        { class: `badge ${known}` },
        makeIcon(LEVELS[known].path),
        make("span", {}, word ?? LEVELS[known].word),
    );
}

export function startOverview(data, linkTo) {
    byId("title").textContent = data.title || data.runs[0].name;
    const names = nameRuns(data);
    byId("subtitle").textContent = [names.join(" compared with "), data.program].filter(Boolean).join(" · ");
    byId("overview-host").replaceChildren(
        ...data.runs.map((run, place) => makeRun(run, data.runs.length > 1 ? names[place] : null, linkTo)),
    );
}

function makeRun(run, name, linkTo) {
    const verdict = run.verdict ?? { level: "none", text: "", rows: [] };
    const description = (run.description ?? []).join("\n").trim();
    return make(
        "section",
        { class: "run" },
        name ? make("h2", { class: "id" }, name) : null,
        description ? make("p", { class: "description" }, description) : null,
        make(
            "div",
            { class: `verdict ${LEVELS[verdict.level] ? verdict.level : "none"}` },
            makeBadge(verdict.level),
            make("p", {}, asSentence(verdict.text)),
        ),
        run.note ? make("p", { class: "note" }, run.note) : null,
        verdict.rows?.length ? makeContinuity(verdict.rows, linkTo) : null,
        run.facts?.length
            ? make(
                  "dl",
                  { class: "facts" },
                  run.facts.map(([fact, text]) => make("div", {}, make("dt", {}, fact), make("dd", {}, text))),
              )
            : null,
    );
}

const MOST_CAUSES = 3; // shown at first

/// What is missing; next to nothing of what came in is nothing.
function formatMissing({ missing, in: inside }) {
    return Math.abs(missing) < Math.abs(inside) * 1e-9 ? "0" : formatNumber(missing, 3);
}

function makeCauses(row, linkTo) {
    if (!row.causes?.length) {
        return make("span", { class: "quiet" }, MISSING);
    }
    const shown = row.causes.map((cause, place) =>
        make(
            "li",
            { hidden: place >= MOST_CAUSES },
            linkTo(cause.object, cause.id, cause.kind),
            ` ${formatPercent(cause.share)}`,
            Number.isFinite(cause.missing)
                ? make("span", { class: "quiet" }, ` (${withUnit(formatNumber(cause.missing, 3), row.unit)})`)
                : null,
        ),
    );
    const rest = shown.length - MOST_CAUSES;
    const more =
        rest > 0
            ? make(
                  "li",
                  {},
                  make(
                      "button",
                      {
                          type: "button",
                          class: "link",
                          onclick: () => {
                              shown.forEach((cause) => {
                                  cause.hidden = false;
                              });
                              more.remove();
                              shown[MOST_CAUSES].querySelector("button")?.focus();
                          },
                      },
                      `and ${rest} more`,
                  ),
              )
            : null;
    return make("ul", { class: "causes" }, shown, more);
}

function makeContinuityRow(row, hasTexts, linkTo) {
    const level = LEVELS[row.level] ? row.level : "none";
    const amount = (text) =>
        make(
            "td",
            { class: "number" },
            text,
            " ",
            text === MISSING ? null : make("span", { class: "quiet" }, formatUnit(row.unit)),
        );
    return make(
        "tr",
        {},
        make(
            "th",
            { scope: "row" },
            makeIcon(LEVELS[level].path, { class: `icon ${level}` }),
            make("span", { class: "hidden" }, `${LEVELS[level].word}: `),
            row.name,
        ),
        amount(formatNumber(row.in)),
        amount(formatMissing(row)),
        make("td", { class: "number" }, formatPercent(row.error)),
        hasTexts ? make("td", { class: "which quiet" }, row.text ?? "") : null,
        make("td", {}, makeCauses(row, linkTo)),
    );
}

function makeContinuity(rows, linkTo) {
    const hasTexts = rows.some((row) => row.text);
    const heads = [
        ["Balance"],
        ["In", "number"],
        ["Missing", "number"],
        ["Error", "number"],
        ...(hasTexts ? [["Which is", "which"]] : []),
        ["Arises at"],
    ];
    return make(
        "div",
        { class: "scroll", tabindex: 0, role: "group", "aria-label": "Continuity" },
        make(
            "table",
            { class: "continuity" },
            make(
                "caption",
                { class: "hidden" },
                "Continuity: what came in, what is missing, and where the error arises",
            ),
            make(
                "thead",
                {},
                make(
                    "tr",
                    {},
                    heads.map(([text, kind]) => make("th", { scope: "col", class: kind }, text)),
                ),
            ),
            make(
                "tbody",
                {},
                rows.map((row) => makeContinuityRow(row, hasTexts, linkTo)),
            ),
        ),
    );
}
