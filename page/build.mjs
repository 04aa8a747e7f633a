// Makes dist/template.html of src/: one document with its scripts and styles inside, and two marks for the program to
// fill, <!--TITLE--> and <!--DATA-->.
//
// The document forbids itself to load anything or to run any script but its own (by its hash), so that nothing in the
// data of a model can become active.

import { createHash } from "node:crypto";
import { mkdirSync, readFileSync, renameSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

const here = dirname(fileURLToPath(import.meta.url));
const read = (...names) => readFileSync(join(here, ...names), "utf8");

async function bundle() {
    const result = await build({
        absWorkingDir: here,
        entryPoints: ["src/main.js"],
        bundle: true,
        minify: true,
        write: false,
        charset: "utf8",
        format: "iife",
        target: ["chrome111", "firefox113", "safari16.2"],
        legalComments: "none",
    });
    return result.outputFiles[0].text.trim();
}

async function minifyStyle() {
    const result = await build({
        absWorkingDir: here,
        stdin: {
            contents: `${read("node_modules", "uplot", "dist", "uPlot.min.css")}\n${read("src", "style.css")}`,
            loader: "css",
        },
        minify: true,
        write: false,
        charset: "utf8",
    });
    return result.outputFiles[0].text.trim();
}

/// The words of a licence as a comment of the script; they must be there wherever the code goes.
function licenceOf(name) {
    const { version } = JSON.parse(read("node_modules", name, "package.json"));
    const licence = read("node_modules", name, "LICENSE").trim().replaceAll("\r", "");
    return `/*\nThis page draws its charts with ${name} ${version}:\n\n${licence}\n*/\n`;
}

function assemble(style, script, body) {
    const hash = createHash("sha256").update(script).digest("base64");
    const policy = [
        "default-src 'none'",
        "img-src data:",
        "style-src 'unsafe-inline'",
        `script-src 'sha256-${hash}'`,
        "base-uri 'none'",
        "form-action 'none'",
    ].join("; ");
    return `<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="${policy}">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<link rel="icon" href="data:,">
<title><!--TITLE--></title>
<style>${style}</style>
</head>
<body>
${body.trim()}
<!--DATA-->
<script>${script}</script>
</body>
</html>
`;
}

function check(template) {
    for (const mark of ["<!--TITLE-->", "<!--DATA-->"]) {
        if (template.split(mark).length !== 2) {
            throw new Error(`${mark} must stand in the template once`);
        }
    }
    if (template.split("<script").length !== 2 || template.split("</script").length !== 2) {
        throw new Error("the template must hold one script");
    }
    if (template.split("<!--").length !== 3) {
        throw new Error("the template must hold no comment");
    }
}

const template = assemble(await minifyStyle(), licenceOf("uplot") + (await bundle()), read("src", "body.html"));
check(template);
const target = join(here, "dist", "template.html");
mkdirSync(dirname(target), { recursive: true });
writeFileSync(`${target}.part`, template);
renameSync(`${target}.part`, target); // whole or not at all
console.log(`dist/template.html: ${(template.length / 1024).toFixed(0)} KB`);
