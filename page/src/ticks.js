// Ticks of axes: round times of the model's clock (no zones, no summer time), and numbers with just the decimals they
// need.

const MINUTE = 60;
const HOUR = 3600;
const DAY = 86400;
const NAMES = ["Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"];
const SECONDS = [
    1,
    2,
    5,
    10,
    15,
    30,
    MINUTE,
    2 * MINUTE,
    5 * MINUTE,
    10 * MINUTE,
    15 * MINUTE,
    30 * MINUTE,
    HOUR,
    2 * HOUR,
    3 * HOUR,
    6 * HOUR,
    12 * HOUR,
    DAY,
    2 * DAY,
    4 * DAY,
    7 * DAY,
    14 * DAY,
];
const MONTHS = [1, 2, 3, 6, 12, 24, 60, 120, 240, 600, 1200, 2400, 6000, 12000];

function fillSeconds(first, last, step) {
    const ticks = [];
    for (let tick = Math.ceil(first / step) * step; tick <= last; tick += step) {
        ticks.push(tick);
    }
    return ticks;
}

function fillMonths(first, last, step) {
    const begin = new Date(first * 1000);
    let month = Math.floor((begin.getUTCFullYear() * 12 + begin.getUTCMonth()) / step) * step;
    const ticks = [];
    for (; ; month += step) {
        const tick = new Date(0).setUTCFullYear(Math.floor(month / 12), month % 12, 1) / 1000;
        if (tick > last) {
            return ticks;
        }
        if (tick >= first) {
            ticks.push(tick);
        }
    }
}

/// The finest round step that gives no more than so many ticks, as {ticks, step}; the step in seconds.
export function chooseTimeTicks(first, last, most) {
    const allowed = Math.max(1, most);
    const length = last - first;
    for (const step of SECONDS) {
        if (length / step <= allowed) {
            return { ticks: fillSeconds(first, last, step), step };
        }
    }
    for (const months of MONTHS) {
        if (length / (months * 30.5 * DAY) <= allowed) {
            return { ticks: fillMonths(first, last, months), step: months * 30 * DAY };
        }
    }
    return { ticks: [], step: length };
}

const pad = (number) => String(number).padStart(2, "0");

/// Labels of ticks. The part that changes seldom - day, year - stands in a second line, and only where it is new.
export function labelTimeTicks(ticks, step) {
    let before = "";
    return ticks.map((tick) => {
        const date = new Date(tick * 1000);
        const day = `${date.getUTCDate()} ${NAMES[date.getUTCMonth()]}`;
        const year = String(date.getUTCFullYear());
        let text = NAMES[date.getUTCMonth()];
        let below = year;
        if (step >= 360 * DAY) {
            text = year;
            below = "";
        } else if (step < DAY) {
            text = `${pad(date.getUTCHours())}:${pad(date.getUTCMinutes())}`;
            text += step < MINUTE ? `:${pad(date.getUTCSeconds())}` : "";
            below = `${day} ${year}`;
        } else if (step < 28 * DAY) {
            text = day;
        }
        const isNew = below !== "" && below !== before;
        before = below;
        return isNew ? `${text}\n${below}` : text;
    });
}

/// Labels of numbers that are a step apart.
export function labelNumbers(ticks, step) {
    const greatest = Math.max(...ticks.map(Math.abs), 0);
    if (greatest >= 1e7 || (greatest > 0 && greatest < 1e-4)) {
        return ticks.map((tick) =>
            tick === 0 ? "0" : tick.toExponential(1).replace("e+", "e").replaceAll("-", "\u2212"),
        );
    }
    let decimals = 0;
    while (decimals < 10 && Math.abs(Number(step.toFixed(decimals)) - step) > step * 1e-6) {
        decimals += 1;
    }
    return ticks.map((tick) => (Math.abs(tick) < step * 1e-6 ? "0" : tick.toFixed(decimals).replace("-", "\u2212")));
}
