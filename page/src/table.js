// One table: sorted by its heads, filtered by words and comparisons, shown page by page, copied as CSV.

import { announce, make, newId } from "./dom.js";
import {
    chooseDecimals,
    countOf,
    formatCsv,
    formatDate,
    findNoise,
    formatFixed,
    formatHead,
    formatNumber,
    MISSING,
} from "./format.js";
import { filterRows, makeFilter, sortPlaces } from "./filter.js";

const FEW = 12; // rows that need no filters
const PAGES = [25, 100, 500];
export const MOST_PRINTED = 500;
const HINTS = { number: "> 0.5", date: "2021-03", text: "Filter" };

/// {table: of the data, isLinked(id), onChoose(id, isAdded)}: IDs in the table's column of objects are buttons.
export function makeTable(host, table, { isLinked, onChoose }) {
    const { columns, rows } = table;
    const state = {
        table,
        columns,
        rows,
        isLinked,
        onChoose,
        tests: columns.map(() => null),
        texts: columns.map(() => ""),
        sorted: -1,
        isDown: false,
        first: 0,
        size: PAGES[0],
        places: rows.map((_, place) => place),
        decimals: columns.map((column, place) =>
            column.kind === "number"
                ? decimalsOf(
                      column,
                      rows.map((row) => row[place]),
                  )
                : 0,
        ),
        noise: columns.map(({ kind }, place) => (kind === "number" ? findNoise(rows.map((row) => row[place])) : 0)),
    };
    state.body = make("tbody");
    state.status = make("p", { class: "quiet status", role: "status" });
    state.heads = columns.map((column, place) => makeHead(state, column, place));
    state.filters = columns.map((column, place) => makeFilterCell(state, column, place));
    const isLong = rows.length > FEW;
    const element = make(
        "table",
        { class: "data" },
        make(
            "caption",
            {},
            make("span", { class: "hidden" }, table.title),
            table.note ? make("span", { class: "quiet" }, table.note) : null,
        ),
        make("thead", {}, make("tr", {}, state.heads), isLong ? make("tr", { class: "filters" }, state.filters) : null),
        state.body,
    );
    state.pager = makePager(state);
    host.append(
        make("div", { class: "table-tools" }, state.status, make("span", { class: "grow" }), makeCopy(state)),
        make("div", { class: "scroll", tabindex: 0, role: "group", "aria-label": `Table ${table.title}` }, element),
        state.pager.element,
    );
    arrange(state);
    return {
        /// On paper all rows are shown, up to a limit.
        setPrinting(isPrinting) {
            fillBody(state, isPrinting ? 0 : state.first, isPrinting ? MOST_PRINTED : state.size);
            state.pager.cut.hidden = !(isPrinting && state.places.length > MOST_PRINTED);
        },
    };
}

/// Those that the data ask for, and more where all numbers are small.
function decimalsOf({ digits }, values) {
    return digits === undefined ? chooseDecimals(values) : digits === 0 ? 0 : Math.max(digits, chooseDecimals(values));
}

function makeHead(state, column, place) {
    const button = make(
        "button",
        { type: "button", onclick: () => sort(state, place) },
        formatHead(column.name, column.unit),
        make("span", { class: "arrow", "aria-hidden": "true" }),
    );
    return make("th", { scope: "col", class: column.kind, "aria-sort": "none" }, button);
}

/// First click: the order that one wants first, which is the greatest number and the first name; third click: as given.
function sort(state, place) {
    const startsDown = state.columns[place].kind === "number";
    if (state.sorted !== place) {
        state.sorted = place;
        state.isDown = startsDown;
    } else if (state.isDown === startsDown) {
        state.isDown = !startsDown;
    } else {
        state.sorted = -1;
    }
    state.heads.forEach((head, column) =>
        head.setAttribute("aria-sort", column !== state.sorted ? "none" : state.isDown ? "descending" : "ascending"),
    );
    state.first = 0;
    arrange(state);
}

function makeFilterCell(state, column, place) {
    const note = newId("filter-note");
    const input = make("input", {
        type: "text",
        placeholder: HINTS[column.kind] ?? HINTS.text,
        spellcheck: "false",
        autocomplete: "off",
        "aria-label": `Filter ${formatHead(column.name, column.unit)}`,
        "aria-describedby": note,
    });
    const problem = make("span", { class: "hidden", id: note });
    input.addEventListener("input", () => {
        const test = makeFilter(input.value, column.kind);
        input.toggleAttribute("aria-invalid", test === null);
        if (test === null) {
            input.setAttribute("aria-invalid", "true");
        }
        problem.textContent = test === null ? "Write a number, a comparison as > 0.5, or a range as 1..5" : "";
        input.title = problem.textContent;
        state.tests[place] = input.value.trim() === "" ? null : test;
        state.first = 0;
        arrange(state);
    });
    return make("td", { class: column.kind }, input, problem);
}

/// All places that pass, in their order.
function arrange(state) {
    const found = filterRows(state.rows, state.tests);
    state.places = state.sorted < 0 ? found : sortPlaces(state.rows, found, state.sorted, state.isDown);
    state.first = Math.min(state.first, Math.max(0, Math.floor((state.places.length - 1) / state.size) * state.size));
    fillBody(state, state.first, state.size);
}

function formatCell(state, value, place) {
    if (value === null || value === undefined || value === "") {
        return MISSING;
    }
    const { kind } = state.columns[place];
    if (kind === "number" && typeof value === "number") {
        return formatFixed(value, state.decimals[place], state.noise[place]);
    }
    return kind === "date" && typeof value === "number" ? formatDate(value) : String(value);
}

function makeCell(state, row, column, place) {
    const value = row[place];
    const text = formatCell(state, value, place);
    const isObject = place === state.table.object;
    const shown =
        isObject && value !== null && state.isLinked(String(value))
            ? make(
                  "button",
                  {
                      type: "button",
                      class: "link",
                      onclick: (event) =>
                          state.onChoose(String(value), event.shiftKey || event.ctrlKey || event.metaKey),
                  },
                  text,
              )
            : text;
    return make(isObject ? "th" : "td", { scope: isObject ? "row" : null, class: column.kind }, shown);
}

function fillBody(state, first, size) {
    const { places, rows, columns } = state;
    state.body.replaceChildren(
        ...places.slice(first, first + size).map((place) =>
            make(
                "tr",
                {},
                columns.map((column, at) => makeCell(state, rows[place], column, at)),
            ),
        ),
    );
    if (places.length === 0) {
        const text = rows.length === 0 ? "No rows: nothing of this kind came up." : "No row passes the filters.";
        state.body.append(make("tr", {}, make("td", { class: "empty", colspan: columns.length }, text)));
    }
    const last = Math.min(first + size, places.length);
    const all = places.length < rows.length ? ` (${formatNumber(rows.length, 9)} without filters)` : "";
    const [from, to, count] = [first + 1, last, places.length].map((row) => formatNumber(row, 9));
    state.status.textContent = places.length === 0 ? `0 rows${all}` : `Rows ${from} to ${to} of ${count}${all}`;
    state.pager?.update();
}

function makePager(state) {
    const turn = (first) => () => {
        state.first = Math.max(0, Math.min(first(), Math.floor((state.places.length - 1) / state.size) * state.size));
        fillBody(state, state.first, state.size);
    };
    const button = (text, label, first) =>
        make("button", { type: "button", "aria-label": label, onclick: turn(first) }, text);
    const first = button("«", "First rows", () => 0);
    const before = button("‹", "Rows before", () => state.first - state.size);
    const next = button("›", "Next rows", () => state.first + state.size);
    const last = button("»", "Last rows", () => state.places.length);
    const select = make(
        "select",
        {
            onchange: (event) => {
                state.size = Number(event.target.value);
                state.first = Math.floor(state.first / state.size) * state.size;
                fillBody(state, state.first, state.size);
            },
        },
        PAGES.map((size) => make("option", { value: size }, String(size))),
    );
    const cut = make("p", { class: "quiet", hidden: true }, `Paper shows the first ${MOST_PRINTED} rows.`);
    const buttons = make("span", { class: "buttons" }, first, before, next, last);
    const element = make(
        "div",
        { class: "pager" },
        buttons,
        make("label", { class: "quiet" }, "Rows at once ", select),
        cut,
    );
    return {
        element,
        cut,
        update() {
            first.disabled = before.disabled = state.first === 0;
            next.disabled = last.disabled = state.first + state.size >= state.places.length;
            buttons.hidden = state.places.length <= state.size;
            element.hidden = state.rows.length <= PAGES[0];
        },
    };
}

/// What passes the filters, in its order, all pages of it.
function toCsv(state) {
    return formatCsv(
        state.columns,
        state.places.map((place) => state.rows[place]),
    );
}

async function copy(text) {
    try {
        await navigator.clipboard.writeText(text);
        return true;
    } catch {
        // Browsers that keep the clipboard from files still copy what is marked.
        const area = make("textarea", { class: "hidden", "aria-hidden": "true" });
        area.value = text;
        document.body.append(area);
        area.select();
        const done = document.execCommand("copy");
        area.remove();
        return done;
    }
}

function makeCopy(state) {
    const tell = (text) => {
        state.status.textContent = text;
        announce(text);
    };
    const copyButton = make(
        "button",
        {
            type: "button",
            onclick: async () => {
                const isCopied = await copy(toCsv(state));
                copyButton.focus();
                tell(
                    isCopied
                        ? `${countOf(state.places.length, "row")} copied as CSV`
                        : "The browser refused the clipboard; save the table instead",
                );
            },
        },
        "Copy as CSV",
    );
    const saveButton = make(
        "button",
        {
            type: "button",
            onclick: () => {
                const address = URL.createObjectURL(new Blob([toCsv(state)], { type: "text/csv" }));
                make("a", { href: address, download: `${state.table.key || "table"}.csv` }).click();
                setTimeout(() => URL.revokeObjectURL(address), 10000);
            },
        },
        "Save as CSV",
    );
    return make("span", { class: "buttons" }, copyButton, saveButton);
}
