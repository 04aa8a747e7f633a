// Shapes of kinds of nodes and marks of kinds of links, the same on the map and in its key.

function polygon(corners, turn = 0) {
    const points = Array.from({ length: corners }, (_, corner) => {
        const angle = turn + (2 * Math.PI * corner) / corners;
        return `${Math.sin(angle).toFixed(3)} ${(-Math.cos(angle)).toFixed(3)}`;
    });
    return `M${points.join("L")}Z`;
}

const CIRCLE = "M0 -.82A.82 .82 0 1 1 0 .82A.82 .82 0 1 1 0 -.82Z";

/// Paths about the origin with a radius of about 1.
export const NODE_SHAPES = {
    junction: CIRCLE,
    tank: "M-.85 -.85H.85V.85H-.85Z",
    outfall: "M-1.05 -.75H1.05L0 1.05Z",
    splitter: "M0 -1.15L1.15 0L0 1.15L-1.15 0Z",
    reactor: polygon(6, Math.PI / 6),
    lid: polygon(5),
    model: "M-.35 -1H.35V-.35H1V.35H.35V1H-.35V.35H-1V-.35H-.35Z",
};

/// Marks in the middle of links, pointing with the flow to the right. Pipes and conduits have none.
export const LINK_MARKS = {
    pump: "M-.9 -.9L1 0L-.9 .9Z",
    weir: "M-.3 -1.1H.3V1.1H-.3Z",
    orifice: "M0 -.8A.8 .8 0 1 1 0 .8A.8 .8 0 1 1 0 -.8Z",
};

const ALIASES = {
    storage: "tank",
    divider: "splitter",
    lid_mono: "lid",
    "lid monomer": "lid",
    swmm: "model",
    coupled: "model",
    engine: "model",
};

export function nodeShapeOf(kind) {
    const name = (kind ?? "").toLowerCase();
    return NODE_SHAPES[name] ? name : (ALIASES[name] ?? "junction");
}

export function linkMarkOf(kind) {
    const name = (kind ?? "").toLowerCase();
    return LINK_MARKS[name] ? name : null;
}
