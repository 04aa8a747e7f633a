// Colours for numbers. The lightness of a sequential ramp only rises or only falls, away from the ground it stands on;
// the diverging ones are blue and orange, which nobody mixes up.

export const RAMPS = {
    light: {
        sequential: ["#94cfc4", "#55b0bd", "#2c8cb4", "#2466a3", "#263f86", "#221a5c"],
        diverging: ["#0b4f9e", "#3f84c4", "#7fa9d2", "#bdc0c4", "#d6975a", "#c46f1c", "#8a4300"],
        none: "#aeb6bf",
    },
    dark: {
        sequential: ["#3d5f93", "#2d81a0", "#2aa198", "#62c077", "#b3d858", "#fbe93c"],
        diverging: ["#7cc0ff", "#4f93d6", "#45698f", "#545a62", "#9a6c3f", "#d98b3a", "#ffbd73"],
        none: "#566270",
    },
};

const parse = (text) => [1, 3, 5].map((at) => parseInt(text.slice(at, at + 2), 16));

/// The colour at a fraction from 0 to 1.
export function mixRamp(ramp, fraction) {
    const at = Math.min(1, Math.max(0, fraction)) * (ramp.length - 1);
    const left = Math.min(ramp.length - 2, Math.floor(at));
    const one = parse(ramp[left]);
    const other = parse(ramp[left + 1]);
    const part = at - left;
    return `#${one
        .map((value, place) =>
            Math.round(value + (other[place] - value) * part)
                .toString(16)
                .padStart(2, "0"),
        )
        .join("")}`;
}

/// A scale of values: {fraction(value), valueAt(fraction), isDiverging}; null without any value. Evenly is by rank, so
/// that one great sewer doesn't leave all others pale.
export function makeScale(values, { isDiverging = false, isEven = false } = {}) {
    const sorted = Float64Array.from(values.filter((value) => Number.isFinite(value))).sort();
    if (sorted.length === 0) {
        return null;
    }
    const last = sorted.length - 1;
    if (isDiverging) {
        const reach = Math.max(Math.abs(sorted[0]), Math.abs(sorted[last])) || 1;
        return {
            isDiverging,
            least: -reach,
            greatest: reach,
            valueAt: (fraction) => (2 * fraction - 1) * reach,
            fraction: (value) => (value / reach + 1) / 2,
        };
    }
    const least = Math.min(0, sorted[0]);
    const greatest = sorted[last];
    if (isEven && last > 0 && sorted[0] < greatest) {
        return {
            isDiverging,
            least: sorted[0],
            greatest,
            valueAt: (fraction) => sorted[Math.round(fraction * last)],
            fraction: (value) => rankOf(sorted, value),
        };
    }
    const length = greatest - least || 1;
    return {
        isDiverging,
        least,
        greatest: least + length,
        valueAt: (fraction) => least + fraction * length,
        fraction: (value) => (value - least) / length,
    };
}

/// The part of the values that lie below a value; of equal ones, half.
function rankOf(sorted, value) {
    const count = (isBelow) => {
        let low = 0;
        let high = sorted.length;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (isBelow(sorted[middle])) {
                low = middle + 1;
            } else {
                high = middle;
            }
        }
        return low;
    };
    const first = count((other) => other < value);
    const behind = count((other) => other <= value);
    return (first + Math.max(first, behind - 1)) / 2 / (sorted.length - 1);
}
