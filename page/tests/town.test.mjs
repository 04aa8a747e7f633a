// Thousands of objects over a year: the page does no work ahead of what is asked of it.

import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { decoded, startBrowser } from "./browser.mjs";
import { makeTown, START } from "./runs.mjs";

const NODES = 5000;
let browser, view;
before(async () => {
    browser = await startBrowser();
    view = await browser.open(makeTown(NODES), { width: 1400, height: 900 });
});
after(async () => {
    assert.deepEqual(view.problems, []);
    assert.deepEqual(view.foreign(), []);
    await browser.close();
});

test("a year of 5000 nodes opens with one series decoded and few rows made", async () => {
    const { page } = view;
    assert.deepEqual(await decoded(page), ["d-0-0"]);
    assert.equal(await page.locator("#panel-0 tbody tr").count(), 25);
    assert.equal(await page.locator(".messages li").count(), 12);
    assert.ok((await page.evaluate(() => document.querySelectorAll("main *").length)) < 2000, "elements of the page");
    // Told, not tested: how long it took.
    const times = await page.evaluate(() => [
        performance.getEntriesByName("first-contentful-paint")[0]?.startTime,
        performance.getEntriesByName("tarnvelde ready")[0].startTime,
        document.documentElement.outerHTML.length,
    ]);
    console.log(
        `${(times[2] / 1048576).toFixed(1)} MB: first paint after ${Math.round(times[0])} ms,`,
        `ready after ${Math.round(times[1])} ms`,
    );
});

test("the map draws them all, and one object more decodes one series more", async () => {
    const { page } = view;
    const drawn = await page.locator("canvas.map").evaluate((canvas) => {
        const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
        let count = 0;
        for (let at = 0; at < data.length; at += 4) {
            if (data[at] < 200) {
                count += 1;
            }
        }
        return count;
    });
    // Links of about 10 px and nodes of about 3 px a piece.
    assert.ok(drawn > NODES * 10, `${drawn} px`);
    await page.fill("#search", "P4321");
    await page.press("#search", "Enter");
    assert.deepEqual(await page.locator("#chosen .id").allTextContents(), ["P4321"]);
    assert.equal((await decoded(page)).length, 2);
});

test("the series of a year shows extremes, and its greatest value by rule", async () => {
    const { page } = view;
    assert.match(await page.locator(".chart-box h4").textContent(), /least and greatest of each bucket/);
    // The greatest flow: 0.1 + 2.2 × (1 + hour % 700 / 700), 9 hours behind the begin of a rain, whose hours are
    // multiples of 97; over all hours of a year.
    let greatest = 0;
    for (let hour = 0; hour < 8760; hour += 1) {
        if (hour % 97 < 30) {
            greatest = Math.max(
                greatest,
                0.1 + 2.2 * Math.exp(-(((hour % 97) - 9) ** 2) / 60) * (1 + (hour % 700) / 700),
            );
        }
    }
    assert.equal(await page.locator(".chart-box td.greatest").textContent(), greatest.toPrecision(4));
});

test("thousands of rows: filtered, sorted, turned", async () => {
    const { page } = view;
    const rows = page.locator("#panel-0 tbody tr");
    const status = () => page.locator("#panel-0 .status").textContent();
    await page.getByRole("textbox", { name: "Filter Peak inflow (m³/s)" }).fill(">2.5");
    // Of the numbers place × 7919 % 1000, those above 992 give more than 0.02 + 992/400: 7 in a thousand.
    assert.equal(await status(), "Rows 1 to 25 of 35 (5000 without filters)");
    await page.getByRole("button", { name: "Next rows" }).click();
    assert.equal(await rows.count(), 10);
    await page.locator("#panel-0 th", { hasText: "Peak inflow" }).locator("button").click();
    assert.equal(await rows.first().locator("td").first().textContent(), "2.5175");
    const box = page.getByRole("textbox", { name: "Filter Peak inflow (m³/s)" });
    await box.fill("> much");
    assert.equal(await box.getAttribute("aria-invalid"), "true");
    assert.equal(await status(), "Rows 1 to 25 of 5000");
    await box.fill("");
    await page.getByRole("textbox", { name: "Filter at" }).fill("<2021-03-01 01:00");
    // 37 and 8760 have no common factor: the first hour comes once in 8760 places.
    assert.equal(await rows.count(), 1);
    assert.equal(await rows.locator("td").last().textContent(), "2021-03-01 00:00");
    await page.getByRole("textbox", { name: "Filter ID" }).fill("N77");
    assert.match(await page.locator("#panel-0 tbody").textContent(), /No row passes/);
    await page.getByRole("textbox", { name: "Filter at" }).fill("");
    // N77, N770 to N779, and nothing of N77xx with 5000 nodes; N177 and the like hold it not at an N.
    assert.equal(await status(), "Rows 1 to 11 of 11 (5000 without filters)");
    await page.getByRole("textbox", { name: "Filter ID" }).fill("");
    await page.getByLabel("Rows at once").selectOption("500");
    assert.equal(await rows.count(), 500);
});

test("all messages on demand", async () => {
    const { page } = view;
    await page.getByRole("button", { name: "Show all 300 messages" }).click();
    assert.equal(await page.locator(".messages li").count(), 300);
});

test("paper holds no more rows than its limit", async () => {
    const { page } = view;
    await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
    assert.equal(await page.locator("#panel-0 tbody tr").count(), 500);
    assert.ok(await page.getByText("Paper shows the first 500 rows.").isVisible());
    await page.evaluate(() => dispatchEvent(new Event("afterprint")));
    assert.ok(await page.getByText("Paper shows the first 500 rows.").isHidden());
});

test("a window of days in a year", async () => {
    const { page } = view;
    for (let press = 0; press < 6; press += 1) {
        await page.click("#window-in");
    }
    const [from, to] = (await page.locator("#window-text").textContent())
        .match(/\d{4}-\d\d-\d\d \d\d:\d\d(:\d\d)?/g)
        .map((text) => Date.parse(`${text.replace(" ", "T")}Z`) / 1000 - START);
    // A year of 8759 hours between its reports, halved six times about its middle.
    assert.ok(Math.abs(to - from - (8759 * 3600) / 64) < 2, `${to - from}`);
    assert.ok(Math.abs((from + to) / 2 - 3600 * (1 + 8759 / 2)) < 2);
});
