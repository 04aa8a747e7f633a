// Paper: light colours, charts as wide as the sheet, all messages and tables.

import { byId } from "./dom.js";
import { setPrinting } from "./theme.js";

const WIDTH = 690; // px, what A4 leaves between its margins

export function startPrint({ messages, storm, network, charts, tables }) {
    const prepare = (isPrinting) => {
        document.documentElement.classList.toggle("printing", isPrinting);
        setPrinting(isPrinting);
        messages.setPrinting(isPrinting);
        tables.setPrinting(isPrinting);
        for (const chart of [storm, ...charts.all()].filter(Boolean)) {
            chart.setWidth(isPrinting ? WIDTH : null);
        }
        network.drawNow?.();
    };
    addEventListener("beforeprint", () => prepare(true));
    addEventListener("afterprint", () => prepare(false));
    byId("print").addEventListener("click", () => print());
}
