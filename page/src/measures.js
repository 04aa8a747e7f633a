// Values by which the map is coloured.

export const CLASSES = ["nodes", "links", "areas"];

/// Values of a measure in the second run less those in the first, for objects that both have, in the order of the first.
export function subtractMeasure(networks, key) {
    const [one, other] = networks.map((network) => (network.measures ?? []).find((measure) => measure.key === key));
    const out = {};
    for (const name of CLASSES) {
        if (!one?.[name] || !other?.[name]) { continue; }
        const places = new Map((networks[1][name] ?? []).map((element, place) => [element.id, place]));
        out[name] = networks[0][name].map((element, place) => {
            const value = other[name][places.get(element.id)] ?? null;
            const before = one[name][place] ?? null;
            return value === null || before === null ? null : value - before;
        });
    }
    return out;
}
