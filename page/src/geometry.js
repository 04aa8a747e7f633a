// Where things of the network stand, on the ground and on the screen, and what lies under a point. Pure functions.

const isPoint = (x, y) => Number.isFinite(x) && Number.isFinite(y);

/// Lines and outlines of a network: lists of x, y, x, y ... in ground units; empty where something has no place.
export function makeGeometry(given) {
    const network = given.isGiven === false ? stretch(given) : given;
    const nodes = network.nodes ?? [];
    const areas = network.areas ?? [];
    const placeOf = (element) => (element && isPoint(element.x, element.y) ? [element.x, element.y] : null);
    const lines = (network.links ?? []).map((link) => {
        const from = placeOf(nodes[link.from]);
        const to = placeOf(nodes[link.to]);
        return from && to ? [...from, ...(link.points ?? []), ...to] : [];
    });
    const outlets = areas.map((area) => {
        const from = placeOf(area);
        const to = placeOf(nodes[area.to]) ?? placeOf(areas[area.toArea]);
        return from && to ? [...from, ...to] : [];
    });
    return { nodes, areas, links: network.links ?? [], lines, outlets, bounds: findBounds(network, lines) };
}

const NARROWEST = 1.15; // width of a picture for its height
const WIDEST = 2.2;

/// Places that the project doesn't give may be drawn wider or higher, so that they fill a picture.
function stretch(network) {
    const [x0, y0, x1, y1] = network.bounds ?? [];
    const shape = (x1 - x0) / (y1 - y0);
    if (!(shape > 0) || shape === Infinity) {
        return network;
    }
    const wide = Math.max(1, NARROWEST / shape);
    const high = Math.max(1, shape / WIDEST);
    const stretchPoints = (points) => points?.map((value, at) => value * (at % 2 === 0 ? wide : high));
    const place = (element) => ({
        ...element,
        x: isPoint(element.x, element.y) ? element.x * wide : null,
        y: isPoint(element.x, element.y) ? element.y * high : null,
        points: stretchPoints(element.points),
    });
    return {
        ...network,
        bounds: stretchPoints(network.bounds),
        nodes: network.nodes?.map(place),
        areas: network.areas?.map(place),
        links: network.links?.map((link) => ({ ...link, points: stretchPoints(link.points) })),
    };
}

/// The given bounds, or those of all points; never without width and height.
function findBounds(network, lines) {
    let [x0, y0, x1, y1] = network.bounds ?? [Infinity, Infinity, -Infinity, -Infinity];
    if (![x0, y0, x1, y1].every(Number.isFinite)) {
        [x0, y0, x1, y1] = [Infinity, Infinity, -Infinity, -Infinity];
        const add = (x, y) => {
            if (!isPoint(x, y)) {
                return;
            }
            x0 = Math.min(x0, x);
            x1 = Math.max(x1, x);
            y0 = Math.min(y0, y);
            y1 = Math.max(y1, y);
        };
        const addAll = (points) => {
            for (let at = 0; at + 1 < points.length; at += 2) {
                add(points[at], points[at + 1]);
            }
        };
        for (const element of [...(network.nodes ?? []), ...(network.areas ?? [])]) {
            add(element.x, element.y);
            addAll(element.points ?? []);
        }
        lines.forEach(addAll);
    }
    if (x1 < x0) {
        return [0, 0, 1, 1];
    }
    const least = Math.max(x1 - x0, y1 - y0) || 1;
    const middle = [(x0 + x1) / 2, (y0 + y1) / 2];
    const half = [Math.max(x1 - x0, least * 1e-3) / 2, Math.max(y1 - y0, least * 1e-3) / 2];
    return [middle[0] - half[0], middle[1] - half[1], middle[0] + half[0], middle[1] + half[1]];
}

/// A view is {x, y, scale}: the ground at the middle of the screen, and pixels per ground unit.
export function fitView([x0, y0, x1, y1], width, height, sides = Math.min(60, width / 8), ends = 32) {
    const scale = Math.min(Math.max(1, width - 2 * sides) / (x1 - x0), Math.max(1, height - 2 * ends) / (y1 - y0));
    return { x: (x0 + x1) / 2, y: (y0 + y1) / 2, scale };
}

export function toScreen(view, width, height, x, y) {
    return [(x - view.x) * view.scale + width / 2, height / 2 - (y - view.y) * view.scale];
}

export function toGround(view, width, height, left, top) {
    return [view.x + (left - width / 2) / view.scale, view.y + (height / 2 - top) / view.scale];
}

/// Closer by a factor, the ground under a point of the screen staying there.
export function zoomView(view, width, height, factor, left, top, limits) {
    const scale = Math.min(limits[1], Math.max(limits[0], view.scale * factor));
    const [x, y] = toGround(view, width, height, left, top);
    return { scale, x: x - (left - width / 2) / scale, y: y - (height / 2 - top) / scale };
}

/// Distance of a point from a line of x, y, x, y ...
export function distanceToLine(line, x, y) {
    let least = Infinity;
    for (let at = 0; at + 3 < line.length; at += 2) {
        const dx = line[at + 2] - line[at];
        const dy = line[at + 3] - line[at + 1];
        const square = dx * dx + dy * dy;
        const part =
            square > 0 ? Math.min(1, Math.max(0, ((x - line[at]) * dx + (y - line[at + 1]) * dy) / square)) : 0;
        least = Math.min(least, Math.hypot(x - line[at] - part * dx, y - line[at + 1] - part * dy));
    }
    return least;
}

/// Whether a point lies within an outline.
export function isInside(outline, x, y) {
    let inside = false;
    for (let at = 0, before = outline.length - 2; at + 1 < outline.length; before = at, at += 2) {
        const y0 = outline[at + 1];
        const y1 = outline[before + 1];
        if (y0 > y !== y1 > y && x < ((outline[before] - outline[at]) * (y - y0)) / (y1 - y0) + outline[at]) {
            inside = !inside;
        }
    }
    return inside;
}

function findNearest(list, reach, distance) {
    let best = -1;
    let least = reach;
    list.forEach((element, place) => {
        const far = distance(element, place);
        if (far <= least) {
            least = far;
            best = place;
        }
    });
    return best;
}

/// What lies at a place of the ground, {class, place} or null: nodes before links, links before land. The reach is in
/// ground units.
export function findAt(geometry, x, y, reach) {
    const far = (element) => (isPoint(element.x, element.y) ? Math.hypot(element.x - x, element.y - y) : Infinity);
    const node = findNearest(geometry.nodes, reach, far);
    if (node >= 0) {
        return { class: "nodes", place: node };
    }
    const label = findNearest(geometry.areas, reach, far);
    if (label >= 0) {
        return { class: "areas", place: label };
    }
    const link = findNearest(geometry.lines, reach * 0.7, (line) => distanceToLine(line, x, y));
    if (link >= 0) {
        return { class: "links", place: link };
    }
    const area = geometry.areas.findIndex(({ points }) => points && points.length >= 6 && isInside(points, x, y));
    return area >= 0 ? { class: "areas", place: area } : null;
}

/// The middle of a line along its length, as {x, y, angle}; the angle is that of the ground.
export function findMiddle(line) {
    let length = 0;
    for (let at = 0; at + 3 < line.length; at += 2) {
        length += Math.hypot(line[at + 2] - line[at], line[at + 3] - line[at + 1]);
    }
    let rest = length / 2;
    for (let at = 0; at + 3 < line.length; at += 2) {
        const dx = line[at + 2] - line[at];
        const dy = line[at + 3] - line[at + 1];
        const part = Math.hypot(dx, dy);
        if (part >= rest && part > 0) {
            return {
                x: line[at] + (dx * rest) / part,
                y: line[at + 1] + (dy * rest) / part,
                angle: Math.atan2(dy, dx),
                length,
            };
        }
        rest -= part;
    }
    return { x: line[0], y: line[1], angle: 0, length };
}
