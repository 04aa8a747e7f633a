// The page of each example as the program writes it: what a reader sees has the numbers of the text report. Needs the
// program of the release build, or that which TARNVELDE names.

import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { cpSync, existsSync, mkdtempSync, readdirSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";
import { startBrowser } from "./browser.mjs";

const ROOT = resolve(fileURLToPath(import.meta.url), "../../..");
const BUILD = join(ROOT, "build/release");
const PROGRAM = process.env.TARNVELDE ?? join(BUILD, "tarnvelde");
const skip = existsSync(PROGRAM) ? false : `there is no ${PROGRAM}`;
const NAMES = readdirSync(join(ROOT, "examples")).filter((name) =>
    existsSync(join(ROOT, "examples", name, `${name}.inp`)),
);

let browser, folder;
before(async () => {
    if (skip) {
        return;
    }
    folder = mkdtempSync(join(tmpdir(), "tarnvelde-examples-"));
    cpSync(join(ROOT, "examples"), folder, {
        recursive: true,
        filter: (name) => !/\.(bin|run|rpt|db|html)$|node_modules|sizes$/.test(name),
    });
    browser = await startBrowser();
});
after(async () => {
    await browser?.close();
    if (folder) {
        rmSync(folder, { recursive: true, force: true });
    }
});

function run(...words) {
    const done = spawnSync(PROGRAM, words, { encoding: "utf8" });
    assert.equal(done.status, 0, done.stderr);
}

/// The first numbers of the lines of a table of the report that has no columns of objects: {label: "12.000"}.
function readBalance(report, title) {
    const lines = report.split("\n");
    const head = lines.findIndex((line) => line.trim().startsWith(title));
    const found = {};
    for (let at = head + 2; at < lines.length && lines[at].trim() !== ""; at += 1) {
        const [, label, first] = lines[at].match(/^ {2}(\S.*?) {2,}(-?[\d.]+|-?nan)/) ?? [];
        found[label] = first;
    }
    return found;
}

/// A number as the page shows it, which gives a small one more digits, as the report does.
const plain = (text) =>
    Number(text.replace(/[\s\u2009\u202f\u00a0]/g, "").replaceAll("\u2212", "-"))
        .toFixed(3)
        .replace(/^-(0\.0*)$/, "$1");

for (const name of NAMES) {
    test(`${name}: its page loads, chooses, and has the numbers of its report`, { skip }, async () => {
        const project = join(folder, name, `${name}.inp`);
        const file = join(folder, name, `${name}.html`);
        const engines = { "nested-town": "nested", "catchment-plant-river": "plant" }[name] ?? BUILD;
        run("run", project, "--quiet", "--engines", engines);
        run("report", project, "-o", file, "--quiet", "--engines", engines);
        const report = readFileSync(project.replace(/inp$/, "rpt"), "utf8");
        const view = await browser.openFile(file);
        try {
            const { page } = view;
            assert.equal(await page.title(), name);
            await page.getByRole("tab", { name: /^Flow Routing Continuity/ }).click();
            const rows = page.locator("[role=tabpanel]:visible table.data tbody tr");
            const shown = {};
            for (const row of await rows.all()) {
                const cells = await row.locator(":scope > *").allTextContents();
                shown[cells[0]] = plain(cells[1]);
            }
            const balance = readBalance(report, "Flow Routing Continuity");
            assert.ok(Object.keys(balance).length >= 15, "rows of the report");
            for (const [label, number] of Object.entries(balance)) {
                assert.equal(shown[label], plain(number), label);
            }
            const peak = report.match(/Node Inflow Summary[\s\S]*?-{16}[^\n]*\n {2}(\S+)/)[1];
            await page.fill("#search", peak);
            await page.press("#search", "Enter");
            assert.equal(await page.locator("#chosen .chip > .id").first().textContent(), peak);
            assert.ok((await page.locator(".chart-box").count()) > 0);
            assert.deepEqual(view.problems, []);
            assert.deepEqual(view.foreign(), []);
        } finally {
            await view.close();
        }
    });
}
