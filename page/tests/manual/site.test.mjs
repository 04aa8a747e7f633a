// The manual as a site, as a reader uses it: questions typed into its search, formulas, pages on a small screen and in
// the dark, in a headless browser. MANUAL names the folder of the site.

import assert from "node:assert/strict";
import { existsSync, readdirSync } from "node:fs";
import { join, resolve } from "node:path";
import { after, before, describe, test } from "node:test";
import { pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const folder = resolve(process.env.MANUAL || "../build/manual/html");
const address = (page) => pathToFileURL(folder).href + "/" + page;
let browser;

before(async () => {
    const isRoot = process.getuid?.() === 0;
    const executablePath = process.env.CHROMIUM ?? "/usr/bin/chromium";
    browser = await chromium.launch({ executablePath, args: isRoot ? ["--no-sandbox"] : [] });
});
after(() => browser?.close());

/// A page of the site: {page, problems}. Whatever it says on its console, throws or asks of a network is a problem.
async function open(name, options = {}) {
    const viewport = { width: 1280, height: 900 };
    const context = await browser.newContext({ viewport, reducedMotion: "reduce", ...options });
    const page = await context.newPage();
    const problems = [];
    page.on("console", (message) => ["error", "warning"].includes(message.type()) && problems.push(message.text()));
    page.on("pageerror", (error) => problems.push(error.stack ?? String(error)));
    page.on("request", (request) => /^(file|data):/.test(request.url()) || problems.push(request.url()));
    await page.goto(address(name));
    return { page, problems, close: () => context.close() };
}

/// Types a question into the search of the first page, and opens the first page found: its path and its text.
async function ask(question) {
    const { page, problems, close } = await open("index.html");
    await page.fill(".sidebar-search", question);
    await page.press(".sidebar-search", "Enter");
    await page.waitForSelector("html[data-ready=search]", { state: "attached" });
    await page.click("#search-results li a");
    await page.waitForLoadState();
    const text = await page.innerText("article");
    const path = decodeURI(page.url()).slice(address("").length);
    await close();
    assert.deepEqual(problems, []);
    return { path, text: text.replace(/\s+/g, " ") };
}

/// Questions, the words of their answer, and the page that is needed where others may not be there.
const questions = [
    ["units of K", /K .{0,80}(\bs\b|seconds)/],
    ["What is the unit of K?", /K .{0,80}(\bs\b|seconds)/],
    ["Manning's n for asphalt", /asphalt.{0,60}0\.01\d/i, "docs/parameters/roughness.html"],
    ["how many spills", /Events.{0,200}a year/],
    ["how often does it overflow", /Events.{0,200}a year/],
    ["run from Python", /import tarnvelde as tv .*tv\.run\(/],
    ["hot start", /--hot-start|hot start/i],
    ["two runs at once", /one run at a time/i],
    ["can I start two runs at the same time?", /one run at a time|different models may be used in different threads/i],
    ["rain from a file", /FILE.{0,400}file name|FILE "/],
    ["my own rain file", /mm in 5 minutes 2024.06.10 13:55 0/],
    ["date format", /2024.03.12|2024.06.10/],
    ["decimal comma", /1,5/],
    ["byte order mark", /byte order mark/],
    ["ERROR 363", /ERROR 363/],
    ["same name twice", /ERROR 207|share one set of names/],
    ["too few items", /ERROR 203/],
    ["built without the page", /scripts.build-page\.sh/],
    ["calibrate", /measure/i],
    ["what a negative setting does", /limited to 0 \.\.\. 1|limit it to 0/],
    ["why water is lost", /(is|are) lost|missing/],
    ["which equation infiltration uses", /Horton's equation/, "docs/methods/infiltration.html"],
];

describe("the search", () => {
    for (const [question, answer, needed] of questions) {
        const isMissing = needed !== undefined && !existsSync(join(folder, needed));
        test(`"${question}"`, { skip: isMissing && `${needed} isn't there` }, async () => {
            const { path, text } = await ask(question);
            assert.match(text, answer, `the first page found is ${path}`);
        });
    }

    test("says that there is nothing", async () => {
        const { page, close } = await open("search.html?q=xyzzyqqq");
        assert.match(await page.innerText("#search-count"), /Nothing found/);
        await close();
    });

    test("finds functions of C and of Python", async () => {
        assert.equal((await ask("tv_hotStartFile")).path, "include/tarnvelde_model.html#c.tv_hotStartFile");
        assert.equal((await ask("open_results")).path, "python/reference.html#tarnvelde.open_results");
    });

    test("takes text for text", async () => {
        const { page, problems, close } = await open("search.html");
        await page.fill("#search-field", '<img src=x onerror="document.title=1"> spills');
        await page.waitForSelector("#search-results li");
        assert.deepEqual(problems, []);
        assert.doesNotMatch(await page.title(), /^1$/);
        await close();
    });
});

describe("pages", () => {
    const pages = ["index.html", "docs/tank.html", "docs/project-file.html", "docs/results.html", "search.html?q=tank",
        "include/tarnvelde_model.html", "python/reference.html", "genindex.html",
        ...["methods", "parameters"].flatMap((part) => existsSync(join(folder, "docs", part)) ?
            readdirSync(join(folder, "docs", part)).map((name) => `docs/${part}/${name}`) : [])];

    test("have no problem and no formula that can't be drawn, and fit a small screen", async () => {
        for (const name of pages) {
            const { page, problems, close } = await open(name, { viewport: { width: 400, height: 800 } });
            await page.waitForLoadState();
            assert.deepEqual(problems, [], name);
            assert.ok(await page.evaluate(() => document.documentElement.scrollWidth) <= 400, `${name} is too wide`);
            assert.equal(await page.locator(".katex-error").count(), 0, `${name}: a formula`);
            const drawn = await page.locator(".formula > *:first-child").count();
            assert.equal(drawn, await page.locator(".formula").count(), `${name}: formulas`);
            await close();
        }
    });

    test("are dark for who wants it, and by the switch", async () => {
        const ground = (page) => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
        const light = await open("docs/tank.html", { colorScheme: "light" });
        const dark = await open("docs/tank.html", { colorScheme: "dark" });
        const darkness = async (page) => Math.max(...(await ground(page)).match(/\d+/g).slice(0, 3).map(Number));
        assert.ok(await darkness(light.page) > 200);
        assert.ok(await darkness(dark.page) < 60);
        await light.page.click(".theme-toggle >> visible=true");
        await light.page.click(".theme-toggle >> visible=true");
        const themes = await light.page.evaluate(() => document.body.dataset.theme);
        assert.ok(themes === "dark" ? await darkness(light.page) < 60 : themes === "light");
        await light.close();
        await dark.close();
    });
});
