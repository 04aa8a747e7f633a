// A headless browser with one page at a time, opened from a file as a reader opens it. Whatever the page says on its
// console, throws or asks of a network is kept.

import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { pathToFileURL } from "node:url";
import { chromium } from "playwright-core";
import { makePage } from "./runs.mjs";

export async function startBrowser() {
    const isRoot = process.getuid?.() === 0;
    const browser = await chromium.launch({
        executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
        args: isRoot ? ["--no-sandbox"] : [],
    });
    const folder = mkdtempSync(join(tmpdir(), "tarnvelde-page-"));
    let count = 0;
    return {
        /// The page of a run: {page, problems, requests, close()}.
        async open({ data, elements }, options = {}) {
            count += 1;
            const file = join(folder, `run-${count}.html`);
            writeFileSync(file, makePage(data, elements));
            return openFile(browser, file, options);
        },
        openFile: (file, options = {}) => openFile(browser, file, options),
        async close() {
            await browser.close();
            rmSync(folder, { recursive: true, force: true });
        },
    };
}

async function openFile(browser, file, { width = 1400, height = 900, ...more }) {
    const context = await browser.newContext({ viewport: { width, height }, reducedMotion: "reduce", ...more });
    const page = await context.newPage();
    const problems = [];
    const requests = [];
    page.on("console", (message) => {
        if (["error", "warning"].includes(message.type())) {
            problems.push(message.text());
        }
    });
    page.on("pageerror", (error) => problems.push(error.stack ?? String(error)));
    page.on("dialog", (dialog) => {
        problems.push(`dialog: ${dialog.message()}`);
        dialog.dismiss();
    });
    page.on("request", (request) => requests.push(request.url()));
    const address = pathToFileURL(file).href;
    await page.goto(address, { waitUntil: "load", timeout: 60000 });
    await page.waitForSelector("html[data-ready]", { state: "attached", timeout: 30000 });
    return {
        page,
        problems,
        foreign: () =>
            requests.filter((url) => url !== address && !url.startsWith("data:") && !url.startsWith("blob:")),
        close: () => context.close(),
    };
}

/// IDs of data elements that were decoded, in order.
export function decoded(page) {
    return page.evaluate(() =>
        performance
            .getEntriesByType("mark")
            .map((mark) => mark.name)
            .filter((name) => name.startsWith("tarnvelde decode "))
            .map((name) => name.slice(17)),
    );
}
