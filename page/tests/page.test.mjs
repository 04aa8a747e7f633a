// The page in a browser, as a reader uses it: the small run, whose numbers stand in runs.mjs.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { after, before, test } from "node:test";
import { decoded, startBrowser } from "./browser.mjs";
import { HOSTILE, makeCompared, makeHostile, makeSmall, START } from "./runs.mjs";

let browser;
before(async () => {
    browser = await startBrowser();
});
after(async () => {
    await browser.close();
});

/// Opens a run, works with it, and makes sure that the page had nothing to complain of and asked nobody for anything.
async function visit(run, options, work) {
    const view = await browser.open(run, options);
    try {
        await work(view.page);
        assert.deepEqual(view.problems, []);
        assert.deepEqual(view.foreign(), []);
    } finally {
        await view.close();
    }
}

const chips = (page) => page.locator("#chosen .chip > .id").allTextContents();
const windowText = (page) => page.locator("#window-text").textContent();
const column = (page, place) => page.locator(`#panel-0 table.data tbody tr > :nth-child(${place})`).allTextContents();

async function search(page, text) {
    await page.fill("#search", text);
    await page.press("#search", "Enter");
}

/// Where a place of the ground is on the screen: the map is fitted into its canvas with the margins of the page.
async function placeOnMap(page, x, y) {
    const box = await page.locator("canvas.map").boundingBox();
    const [x0, y0, x1, y1] = [-60, -60, 1260, 660];
    const scale = Math.min((box.width - 2 * Math.min(60, box.width / 8)) / (x1 - x0), (box.height - 64) / (y1 - y0));
    return { x: box.width / 2 + (x - (x0 + x1) / 2) * scale, y: box.height / 2 - (y - (y0 + y1) / 2) * scale };
}

test("title, verdict, balances, facts and description are there", () =>
    visit(makeSmall(), {}, async (page) => {
        assert.equal(await page.title(), "Small town");
        assert.equal(await page.locator("h1").textContent(), "Small town");
        assert.match(await page.locator(".verdict.amber").textContent(), /Look closer.*one of them by little/);
        const row = page.locator(".continuity tbody tr").nth(1);
        assert.match(
            (await row.textContent()).replace(/\s+/g, " "),
            /Look closer: Water of the network5279 m³63.4 m³1.2 %.*Pipe P4 83 %Tank T1 11.5 %/,
        );
        assert.match(await page.locator(".facts").textContent(), /Routing step60 s/);
        assert.match(await page.locator(".description").textContent(), /A small town\nTwo streets/);
        const message = await page.locator(".messages li").first().textContent();
        for (const part of ["Warning", "12", "line 41", "Pipe P4", "damped", "Halve the routing step"]) {
            assert.ok(message.includes(part), part);
        }
    }));

test("nothing but the system's series is decoded until an object is chosen", () =>
    visit(makeSmall(), {}, async (page) => {
        assert.deepEqual(await decoded(page), ["d-0-0"]);
        await search(page, "P1");
        assert.deepEqual(await decoded(page), ["d-0-0", "d-0-7"]);
        await search(page, "P1");
        assert.deepEqual(await decoded(page), ["d-0-0", "d-0-7"]);
    }));

test("rain and outflow are drawn with their peaks", () =>
    visit(makeSmall(), {}, async (page) => {
        // Rain is greatest at report 30, outflow at report 47; the first report is one step after the start.
        const text = await page.locator("#storm-host table").textContent();
        assert.match(text, /Rain0122021-03-01 05:10/);
        assert.match(text, /Outflow00.52021-03-01 08:00/);
        // Rain hangs from the top: its colour fills the upper part of its bar and not the lower part.
        const isBlue = await page.locator("#storm-host canvas").evaluate((canvas) => {
            const ratio = devicePixelRatio;
            const over = document.querySelector("#storm-host .u-over");
            const left = over.offsetLeft + over.clientWidth * (30 / 143);
            const pixels = canvas.getContext("2d").getImageData(left * ratio, 0, 1, canvas.height);
            const at = (part) => {
                const [red, , blue, alpha] = pixels.data.slice(
                    4 * Math.round((over.offsetTop + over.clientHeight * part) * ratio),
                );
                return alpha > 200 && blue > red + 60;
            };
            return [at(0.02), at(0.2), at(0.6)];
        });
        assert.deepEqual(isBlue, [true, true, false]);
    }));

test("a click on the map chooses a node, a link, land; with Shift beside the others", () =>
    visit(makeSmall(), {}, async (page) => {
        const click = async (x, y, options) =>
            page.locator("canvas.map").click({ position: await placeOnMap(page, x, y), ...options });
        await click(800, 150);
        assert.deepEqual(await chips(page), ["T1"]);
        await click(450, 360); // the middle of P2
        assert.deepEqual(await chips(page), ["P2"]);
        await click(430, 545, { modifiers: ["Shift"] }); // within the outline of S2
        assert.deepEqual(await chips(page), ["P2", "S2"]);
        await click(1200, 600);
        assert.deepEqual(await chips(page), ["P2", "S2"], "a click on nothing changes nothing");
    }));

test("the tip of the map names what lies there and its value", () =>
    visit(makeSmall(), {}, async (page) => {
        await page.locator("canvas.map").hover({ position: await placeOnMap(page, 1200, 0) });
        assert.equal(await page.locator(".tip").innerText(), "O1\noutfall\nPeak flow: 0.5 m³/s");
    }));

test("the map zooms and moves by wheel, drag, buttons and keys", () =>
    visit(makeSmall(), {}, async (page) => {
        const map = page.locator("canvas.map");
        const click = async (x, y) => map.click({ position: await placeOnMap(page, x, y) });
        await page.click("#map-in");
        await click(0, 400); // N1 stood here before the zoom
        assert.deepEqual(await chips(page), []);
        await page.click("#map-fit");
        await click(0, 400);
        assert.deepEqual(await chips(page), ["N1"]);
        // The wheel zooms about the pointer: what is under it stays.
        const at = await placeOnMap(page, 300, 420);
        await map.hover({ position: at });
        await page.mouse.wheel(0, -400);
        await map.click({ position: at });
        assert.deepEqual(await chips(page), ["N2"]);
        await map.press("0");
        await map.press("ArrowRight"); // by 60 px: things move to the left
        const moved = await placeOnMap(page, 1200, 0);
        await map.click({ position: { x: moved.x - 60, y: moved.y } });
        assert.deepEqual(await chips(page), ["O1"]);
        await map.press("Home");
        const from = await placeOnMap(page, 600, 60);
        const box = await map.boundingBox();
        await page.mouse.move(box.x + from.x, box.y + from.y);
        await page.mouse.down();
        await page.mouse.move(box.x + from.x + 40, box.y + from.y + 30, { steps: 4 });
        await page.mouse.up();
        assert.deepEqual(await chips(page), ["O1"], "a drag chooses nothing");
        const node = await placeOnMap(page, 0, 400);
        await map.click({ position: { x: node.x + 40, y: node.y + 30 } });
        assert.deepEqual(await chips(page), ["N1"]);
    }));

test("the wheel scrolls the page until the map is in use", () =>
    visit(makeSmall(), { height: 500 }, async (page) => {
        await page.locator("canvas.map").scrollIntoViewIfNeeded();
        await page.locator("canvas.map").hover();
        const before = await page.evaluate(() => scrollY);
        await page.mouse.wheel(0, 100);
        await page.waitForFunction((top) => scrollY > top, before);
        assert.ok(await page.locator(".map-hint").isVisible());
    }));

test("colours of the map follow the choice of the measure", () =>
    visit(makeSmall(), {}, async (page) => {
        const legend = page.locator("#map-legend");
        assert.match(await legend.textContent(), /Peak flow in m³\/s00.1250.250.3750.5/);
        await page.selectOption("#map-measure", "volume");
        assert.match(await legend.textContent(), /Volume in m³0500100015002000/);
        assert.match(
            await page.locator("canvas.map").getAttribute("aria-label"),
            /6 nodes, 5 links, 2 subcatchments.*Volume; greatest: O1 2000 m³/,
        );
        await page.check("#map-even");
        assert.match(await legend.textContent(), /1000.*2000/);
    }));

test("objects are found with the search: keys, list, nothing found", () =>
    visit(makeSmall(), {}, async (page) => {
        await page.keyboard.press("/");
        await page.keyboard.type("p");
        assert.deepEqual(
            await page.locator("#search-list .id").allTextContents(),
            ["P1", "P2", "P4", "U1"],
            "IDs that begin so, then kinds that do: the pump",
        );
        await page.keyboard.press("ArrowDown");
        await page.keyboard.press("Enter");
        assert.deepEqual(await chips(page), ["P2"]);
        await page.fill("#search", "nowhere");
        assert.match(await page.locator("#search-list").textContent(), /No object/);
        await page.keyboard.press("Escape");
        assert.ok(await page.locator("#search-list").isHidden());
    }));

test("several objects: one chart per unit, columns to choose from, values at the cursor", () =>
    visit(makeSmall(), {}, async (page) => {
        await page.check("#adding");
        for (const id of ["P1", "T1", "N2"]) {
            await search(page, id);
        }
        const titles = () => page.locator(".chart-box h4").allTextContents();
        assert.deepEqual(await titles(), ["Outflow, TotInflow (m³/s)", "Depth (m)"]);
        assert.match(
            await page.locator(".chart-box").first().locator("table").textContent(),
            /P1 · Outflow00.42021-03-01 06:00T1 · TotInflow00.34/,
        );
        await page.getByRole("checkbox", { name: "TSS (mg/L)" }).check();
        assert.deepEqual(await titles(), ["Outflow, TotInflow (m³/s)", "Depth (m)", "TSS (mg/L)"]);
        await page.getByRole("checkbox", { name: "Depth (m)" }).uncheck();
        assert.deepEqual(await titles(), ["Outflow, TotInflow (m³/s)", "TSS (mg/L)"]);
        const frame = page.locator(".chart-box .chart").first();
        await frame.focus();
        await frame.press("ArrowLeft"); // the last report
        assert.equal(
            await page.locator("#storm-host th.now").textContent(),
            "2021-03-02 00:00",
            "the cursor is the same on all charts",
        );
        await frame.press("ArrowLeft");
        assert.equal(await page.locator(".chart-box").nth(1).locator("th.now").textContent(), "2021-03-01 23:50");
        await page.getByRole("button", { name: "Drop Tank T1" }).click();
        assert.deepEqual(await chips(page), ["P1", "N2"]);
        await page.click("#chosen-clear");
        assert.deepEqual(await chips(page), []);
    }));

test("the cursor under the mouse shows the same moment and its values on all charts", () =>
    visit(makeSmall(), {}, async (page) => {
        await search(page, "P1");
        const over = page.locator(".chart-box .u-over");
        await over.scrollIntoViewIfNeeded();
        const box = await over.boundingBox();
        // Report 35, the peak of P1, lies at 35 of 143 parts.
        await page.mouse.move(box.x + (box.width * 35) / 143, box.y + 40);
        assert.equal(await page.locator(".chart-box th.now").textContent(), "2021-03-01 06:00");
        assert.equal(await page.locator(".chart-box td.now").textContent(), "0.4");
        assert.equal(await page.locator("#storm-host th.now").textContent(), "2021-03-01 06:00");
        await page.mouse.move(box.x + box.width / 2, box.y - 200);
        assert.equal(await page.locator("#storm-host th.now").textContent(), "At the cursor");
    }));

test("a drag looks closer on all charts, Shift moves, a double click shows the whole run", () =>
    visit(makeSmall(), {}, async (page) => {
        await search(page, "P1");
        const whole = "2021-03-01 00:10 to 2021-03-02 00:00 (23 h 50 min)";
        assert.equal(await windowText(page), whole);
        const over = page.locator("#storm-host .u-over");
        const drag = async (from, to, isShifted = false) => {
            await over.scrollIntoViewIfNeeded();
            const box = await over.boundingBox();
            if (isShifted) {
                await page.keyboard.down("Shift");
            }
            await page.mouse.move(box.x + box.width * from, box.y + 60);
            await page.mouse.down();
            await page.mouse.move(box.x + box.width * to, box.y + 60, { steps: 6 });
            await page.mouse.up();
            if (isShifted) {
                await page.keyboard.up("Shift");
            }
        };
        const minutes = async () => {
            const [from, to] = (await windowText(page))
                .match(/\d{4}-\d\d-\d\d \d\d:\d\d(:\d\d)?/g)
                .map((text) => Date.parse(`${text.replace(" ", "T")}Z`) / 60000);
            return [from - START / 60, to - START / 60];
        };
        await drag(0.25, 0.5);
        // A quarter of 1430 minutes, from 10 + 357.5 on; a pixel is about a minute.
        const [from, to] = await minutes();
        assert.ok(Math.abs(from - 367.5) < 5 && Math.abs(to - 725) < 5, `${from} ${to}`);
        // The peak of P1 at 06:00 is before the window, whose greatest value stands at its begin.
        assert.notEqual(await page.locator(".chart-box td").nth(3).textContent(), "2021-03-01 06:00");
        await drag(0.5, 0.75, true);
        const [panned] = await minutes();
        assert.ok(Math.abs(panned - (from - (to - from) / 4)) < 5, `${panned}`);
        await over.dblclick();
        assert.equal(await windowText(page), whole);
        await page.click("#window-in");
        assert.notEqual(await windowText(page), whole);
        await page.click("#window-reset");
        assert.equal(await windowText(page), whole);
        assert.ok(await page.locator("#window-reset").isDisabled());
    }));

test("tables sort by their heads and tell it", () =>
    visit(makeSmall(), {}, async (page) => {
        const head = page.locator("#panel-0 th", { hasText: "Flooded" });
        const sort = () => head.locator("button").click();
        assert.equal(await head.getAttribute("aria-sort"), "none");
        await sort();
        assert.equal(await head.getAttribute("aria-sort"), "descending");
        assert.deepEqual(await column(page, 1), ["O1", "R1", "T1", "N2", "N1", "N3"], "the missing value stands last");
        await head.locator("button").press("Enter");
        assert.equal(await head.getAttribute("aria-sort"), "ascending");
        assert.deepEqual(await column(page, 1), ["N1", "N2", "T1", "R1", "O1", "N3"]);
        await sort();
        assert.deepEqual(await column(page, 1), ["N1", "N2", "N3", "T1", "R1", "O1"]);
    }));

test("rows of a table choose their object", () =>
    visit(makeSmall(), {}, async (page) => {
        await page.locator("#panel-0").getByRole("button", { name: "T1" }).click();
        assert.deepEqual(await chips(page), ["T1"]);
        assert.equal(await page.evaluate(() => document.activeElement.id), "series-title");
        await page.locator(".messages").getByRole("button", { name: "Pipe P4" }).click();
        assert.deepEqual(await chips(page), ["P4"], "by the words of a message, whatever it calls the kind");
    }));

test("a table is copied as CSV, all its rows", () =>
    visit(makeSmall(), { permissions: ["clipboard-read", "clipboard-write"] }, async (page) => {
        await page.locator("#panel-0 th", { hasText: "Peak inflow" }).locator("button").click();
        await page.locator("#panel-0").getByRole("button", { name: "Copy as CSV" }).click();
        await page.waitForFunction(() =>
            document.querySelector("#panel-0 .status").textContent.includes("6 rows copied"),
        );
        const lines = (await page.evaluate(() => navigator.clipboard.readText())).split("\n");
        assert.equal(lines[0], "ID,Kind,Peak inflow (m3/s),at,Flooded (m3)");
        assert.equal(lines[1], "O1,outfall,0.5,2021-03-01 11:00,7.5");
        const saved = page.waitForEvent("download");
        await page.locator("#panel-0").getByRole("button", { name: "Save as CSV" }).click();
        const download = await saved;
        assert.equal(download.suggestedFilename(), "nodes.csv");
        assert.equal(readFileSync(await download.path(), "utf8"), lines.join("\n"));
    }));

test("tabs of tables work with arrow keys; an empty table says so", () =>
    visit(makeSmall(), {}, async (page) => {
        await page.locator("#tab-0").focus();
        await page.keyboard.press("ArrowRight");
        assert.equal(await page.locator("[role=tab][aria-selected=true]").textContent(), "Links5");
        await page.keyboard.press("End");
        assert.match(await page.locator("#panel-2 tbody").textContent(), /No rows/);
        assert.ok(await page.locator("#panel-0").isHidden());
    }));

test("light and dark: the system's wish, and the switch", () =>
    visit(makeSmall(), { colorScheme: "dark" }, async (page) => {
        const ground = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
        const theme = () => page.evaluate(() => document.documentElement.dataset.theme);
        assert.equal(await theme(), "dark");
        const dark = await ground();
        await page.getByRole("radio", { name: "Light" }).check();
        assert.equal(await theme(), "light");
        assert.notEqual(await ground(), dark);
        await page.getByRole("radio", { name: "Auto" }).check();
        assert.equal(await ground(), dark);
        await page.emulateMedia({ colorScheme: "light" });
        await page.waitForFunction(() => document.documentElement.dataset.theme === "light");
    }));

test("paper is light, holds all tables and charts, and the screen comes back", () =>
    visit(makeSmall(), { colorScheme: "dark" }, async (page) => {
        await search(page, "P1");
        await page.evaluate(() => {
            window.seen = null;
            addEventListener("beforeprint", () => {
                window.seen = {
                    theme: document.documentElement.dataset.theme,
                    tables: document.querySelectorAll("[role=tabpanel]:not([hidden]) table").length,
                    chart: document.querySelector("#storm-host .uplot").clientWidth,
                    map: document.querySelector("canvas.map").clientWidth,
                };
            });
        });
        const pdf = await page.pdf({ format: "A4" });
        assert.equal(pdf.subarray(0, 5).toString(), "%PDF-");
        assert.ok(pdf.length > 20000);
        assert.deepEqual(await page.evaluate(() => window.seen), { theme: "light", tables: 3, chart: 690, map: 690 });
        assert.equal(await page.evaluate(() => document.documentElement.dataset.theme), "dark");
        assert.equal(await page.locator("[role=tabpanel]:not([hidden])").count(), 1);
    }));

test("400 px are enough: no part is wider than the screen", async () => {
    for (const run of [makeSmall(), makeCompared(), makeHostile()]) {
        await visit(run, { width: 400, height: 800 }, async (page) => {
            await search(page, run.data.runs[0].network.nodes[0].id);
            assert.ok((await chips(page)).length === 1);
            assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 400);
        });
    }
});

test("two fingers zoom the map", () =>
    visit(makeSmall(), { width: 400, height: 800, hasTouch: true, isMobile: true }, async (page) => {
        const map = page.locator("canvas.map");
        await map.scrollIntoViewIfNeeded();
        const box = await map.boundingBox();
        const middle = await placeOnMap(page, 600, 300);
        const client = await page.context().newCDPSession(page);
        const touch = (type, ...points) =>
            client.send("Input.dispatchTouchEvent", {
                type,
                touchPoints: points.map(([left, top], id) => ({ x: box.x + left, y: box.y + top, id })),
            });
        await touch("touchStart", [middle.x - 20, middle.y], [middle.x + 20, middle.y]);
        for (const far of [30, 40, 50, 60]) {
            await touch("touchMove", [middle.x - far, middle.y], [middle.x + far, middle.y]);
        }
        await touch("touchEnd");
        assert.deepEqual(await chips(page), []);
        // Three times as large: N2, which was 300 away, is 900 away in the old measure.
        const scale = (await placeOnMap(page, 1, 0)).x - (await placeOnMap(page, 0, 0)).x;
        await map.tap({ position: { x: middle.x + 200 * scale * 3 * 0.25, y: middle.y + 150 * scale * 3 * 0.25 } });
        assert.deepEqual(await chips(page), ["W1"], "a quarter of the way from N3 to T1");
        await page.locator("#map-fit").tap();
        await map.tap({ position: middle });
        assert.deepEqual(await chips(page), ["N3"]);
    }));

test("all can be done with the keyboard alone", () =>
    visit(makeSmall(), {}, async (page) => {
        const focused = () => page.evaluate(() => document.activeElement.textContent || document.activeElement.id);
        const focusOn = async (wanted) => {
            for (let press = 0; press < 120; press += 1) {
                await page.keyboard.press("Tab");
                if (await page.evaluate((selector) => document.activeElement.matches(selector), wanted)) {
                    const outline = await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle);
                    assert.equal(outline, "solid", `${wanted} shows its focus`);
                    return;
                }
            }
            assert.fail(`${wanted} is never reached, last ${await focused()}`);
        };
        await page.keyboard.press("Tab");
        assert.equal(await focused(), "Skip to the content");
        await focusOn("#search");
        await page.keyboard.type("t1");
        await page.keyboard.press("Enter");
        assert.deepEqual(await chips(page), ["T1"]);
        await page.locator("#search").focus();
        await focusOn("#storm-host .chart");
        await page.keyboard.press("+");
        assert.notEqual(await windowText(page), "2021-03-01 00:10 to 2021-03-02 00:00 (23 h 50 min)");
        await page.keyboard.press("0");
        await focusOn("#map-measure");
        await focusOn("canvas.map");
        await page.keyboard.press("Enter"); // the middle of the map is N3
        assert.deepEqual(await chips(page), ["N3"]);
        await focusOn(".chip button");
        await page.keyboard.press("Enter");
        assert.deepEqual(await chips(page), []);
        await focusOn("[role=tab]");
        await focusOn("th button");
        await page.keyboard.press("Enter");
        assert.equal(await page.locator("#panel-0 th").first().getAttribute("aria-sort"), "ascending");
        await focusOn("#panel-0 tbody button");
        await page.keyboard.press("Enter");
        assert.equal((await chips(page)).length, 1);
    }));

test("a comparison shows both runs, and their difference on the map", () =>
    visit(makeCompared(), {}, async (page) => {
        assert.match(await page.locator("#subtitle").textContent(), /small.inp compared with with-tank.inp/);
        assert.match(
            await page.locator("#storm-host table").textContent(),
            /Outflow, small.inp00.5.*Outflow, with-tank.inp00.4/,
        );
        await search(page, "P1");
        assert.match(
            await page.locator(".chart-box table").textContent(),
            /P1 · Outflow, small.inp00.4.*P1 · Outflow, with-tank.inp00.32/,
        );
        assert.equal(await page.locator(".chart-box .swatch.dashed").count(), 1);
        assert.deepEqual(await decoded(page), ["d-0-0", "d-1-0", "d-0-7", "d-1-7"]);
        assert.match(await page.locator("#card").textContent(), /Peak flow0.4 → 0.32 m³\/s/);
        await page.locator("#map-runs").getByRole("radio", { name: "Difference" }).check();
        // The outfall loses a fifth of 0.5.
        assert.match(await page.locator("#map-legend").textContent(), /second less first\u22120.1\u22120.0500.050.1/);
        await page.locator("canvas.map").hover({ position: await placeOnMap(page, 1200, 0) });
        assert.match(await page.locator(".tip").innerText(), /Peak flow: \u22120.1 m³\/s/);
        await page.locator("#tables-runs").getByRole("radio", { name: "with-tank.inp" }).check();
        assert.equal((await column(page, 3)).at(-1), "0.4000");
        await page.locator("#tables-runs").getByRole("radio", { name: "Difference" }).check();
        assert.equal((await column(page, 3)).at(-1), "\u22120.1000");
        assert.deepEqual(
            await page.locator("[role=tab]").allTextContents(),
            ["Nodes6", "Links5"],
            "rules without rows have no numbers to subtract",
        );
    }));

test("hostile texts stay texts", () =>
    visit(makeHostile(), {}, async (page) => {
        assert.equal(await page.title(), HOSTILE[0]);
        assert.equal(await page.locator("main b, main img, main svg[onload], main script").count(), 0);
        assert.equal(await page.evaluate(() => document.scripts[document.scripts.length - 1].nextElementSibling), null);
        assert.equal(await page.locator("h1").textContent(), HOSTILE[0]);
        for (const id of ["__proto__", "constructor", HOSTILE[0], HOSTILE[1]]) {
            await search(page, id);
            assert.deepEqual(await chips(page), [id]);
        }
        await page.locator("#panel-0 tbody button").nth(2).click();
        assert.deepEqual(await chips(page), [HOSTILE[2]]);
        await page.locator("canvas.map").hover();
    }));

test("a script that got into the page would not run", async () => {
    const view = await browser.open(makeSmall());
    const hasRun = await view.page.evaluate(() => {
        const script = document.createElement("script");
        script.textContent = "window.hasRun = true";
        document.body.append(script);
        return window.hasRun === true;
    });
    assert.equal(hasRun, false);
    assert.equal(view.problems.length, 1);
    assert.match(view.problems[0], /Content Security Policy/);
    await view.close();
});

test("runs with little in them: no network, no series, no tables, no data", async () => {
    const empty = {
        name: "broken.inp",
        source: "model",
        description: [],
        facts: [],
        verdict: { level: "none", text: "There is no balance.", rows: [] },
        messages: [{ level: "error", code: 209, text: "undefined object X", place: "broken.inp, line 3", object: "X" }],
        network: { nodes: [], links: [], areas: [], measures: [] },
        tables: [],
        times: { start: -2209161600, step: 0, count: 0 },
        system: -1,
        objects: [],
    };
    await visit(
        { data: { form: 1, title: "broken", program: "Tarnvelde 2.1.0", runs: [empty] }, elements: [] },
        {},
        async (page) => {
            assert.match(await page.locator("#messages-host").textContent(), /Error209Undefined object X/);
            assert.match(await page.locator("#map-side").textContent(), /no network/);
            assert.match(await page.locator("#storm-host").textContent(), /no series/);
            assert.match(await page.locator("#tables-host").textContent(), /no tables/);
        },
    );
    await visit(
        { data: { form: 1, title: "nothing", runs: [{ name: "nothing" }] }, elements: [] },
        {},
        async (page) => {
            assert.equal(await page.locator("h1").textContent(), "nothing");
        },
    );
    const half = makeSmall();
    half.data.runs.push({ name: "nothing" });
    await visit(half, {}, async (page) => {
        await search(page, "P1");
        await page.locator("#map-runs").getByRole("radio", { name: "nothing" }).check();
        await page.locator("#map-runs").getByRole("radio", { name: "Difference" }).check();
        await page.locator("#tables-runs").getByRole("radio", { name: "nothing" }).check();
        assert.match(await page.locator("#tables-host").textContent(), /no tables/);
        assert.equal(await page.locator(".chart-box tbody tr").count(), 1);
    });
    const lost = makeSmall();
    lost.elements = lost.elements.slice(0, 3);
    await visit(lost, {}, async (page) => {
        await search(page, "P1");
        assert.match(await page.locator("#charts-host").textContent(), /doesn't hold this series/);
    });
});

test("readers of screens find their way: no finding of axe in either theme", async () => {
    const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
    for (const colorScheme of ["light", "dark"]) {
        const view = await browser.open(makeCompared(), { colorScheme, bypassCSP: true });
        await search(view.page, "T1");
        await view.page.evaluate(axe);
        const { violations } = await view.page.evaluate(() => globalThis.axe.run(document));
        assert.deepEqual(
            violations.map(({ id, nodes }) => [id, nodes.map((node) => node.html)]),
            [],
            colorScheme,
        );
        await view.close();
    }
});
