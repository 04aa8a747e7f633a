// Draws the network on a canvas: land, links, nodes by kind, names where there is room. Things of one colour are drawn
// together, which keeps thousands of them quick.

import { findMiddle, toScreen } from "./geometry.js";
import { mixRamp } from "./ramps.js";
import { linkMarkOf, LINK_MARKS, nodeShapeOf, NODE_SHAPES } from "./symbols.js";

const STEPS = 32; // of colours
const MOST_LABELS = 300;
const paths = new Map();

function pathOf(text) {
    if (!paths.has(text)) {
        paths.set(text, new Path2D(text));
    }
    return paths.get(text);
}

/// Sizes on the screen, from the room that each node has.
export function chooseSizes(geometry, scale) {
    const [x0, y0, x1, y1] = geometry.bounds;
    const count = Math.max(1, geometry.nodes.length + geometry.areas.length);
    const room = Math.sqrt(Math.max((x1 - x0) * (y1 - y0), ((x1 - x0 + y1 - y0) / 4) ** 2) / count) * scale;
    return { room, radius: Math.min(7.5, Math.max(1.1, room * 0.16)), width: Math.min(3, Math.max(0.7, room * 0.05)) };
}

/// The shade of a value: the step of its colour and how thick it is drawn; -1 without a value.
function shadeOf(paint, name, place) {
    const value = paint.values?.[name]?.[place];
    if (!paint.scale || !Number.isFinite(value)) {
        return -1;
    }
    return Math.round(Math.min(1, Math.max(0, paint.scale.fraction(value))) * (STEPS - 1));
}

function colourOf(paint, shade) {
    return shade < 0
        ? paint.colours.none
        : mixRamp(paint.scale.isDiverging ? paint.colours.diverging : paint.colours.sequential, shade / (STEPS - 1));
}

function strengthOf(paint, shade) {
    const fraction = Math.max(0, shade) / (STEPS - 1);
    return paint.scale?.isDiverging ? Math.abs(2 * fraction - 1) : fraction;
}

/// Places of a class, sorted by shade: pale ones are drawn first and don't hide strong ones.
function sortByShade(paint, name, count) {
    const groups = new Map();
    for (let place = 0; place < count; place += 1) {
        const shade = shadeOf(paint, name, place);
        if (!groups.has(shade)) {
            groups.set(shade, []);
        }
        groups.get(shade).push(place);
    }
    const rank = (shade) => (shade < 0 ? -1 : strengthOf(paint, shade));
    return [...groups].sort(([one], [other]) => rank(one) - rank(other));
}

function traceLine(draw, line) {
    for (let at = 0; at + 1 < line.length; at += 2) {
        const [left, top] = draw.place(line[at], line[at + 1]);
        if (at === 0) {
            draw.context.moveTo(left, top);
        } else {
            draw.context.lineTo(left, top);
        }
    }
}

function drawAreas(draw, geometry, paint) {
    const { context } = draw;
    for (const [shade, places] of sortByShade(paint, "areas", geometry.areas.length)) {
        context.beginPath();
        for (const place of places) {
            const { points } = geometry.areas[place];
            if (points && points.length >= 6) {
                traceLine(draw, points);
                context.closePath();
            }
        }
        context.fillStyle = shade < 0 ? paint.land : colourOf(paint, shade);
        context.globalAlpha = shade < 0 ? 1 : 0.42;
        context.fill();
        context.globalAlpha = 1;
        context.strokeStyle = paint.landEdge;
        context.lineWidth = 1;
        context.stroke();
    }
    context.beginPath();
    geometry.outlets.forEach((line) => traceLine(draw, line));
    context.setLineDash([3, 4]);
    context.strokeStyle = paint.landEdge;
    context.stroke();
    context.setLineDash([]);
}

function drawLinks(draw, geometry, paint, sizes) {
    const { context } = draw;
    context.lineCap = "round";
    context.lineJoin = "round";
    for (const [shade, places] of sortByShade(paint, "links", geometry.lines.length)) {
        context.strokeStyle = colourOf(paint, shade);
        context.lineWidth = sizes.width * (0.75 + 1.25 * strengthOf(paint, shade));
        context.beginPath();
        for (const place of places) {
            traceLine(draw, geometry.lines[place]);
        }
        context.stroke();
        places.forEach((place) => drawMark(draw, geometry, place, sizes));
    }
}

/// Pumps, weirs and orifices have a mark; other links a small arrow, where they are long enough for one.
function drawMark(draw, geometry, place, sizes) {
    const kind = linkMarkOf(geometry.links[place].kind);
    const line = geometry.lines[place];
    if (line.length < 4 || (!kind && sizes.room < 40)) {
        return;
    }
    const { x, y, angle, length } = findMiddle(line);
    if (!kind && length * draw.scale < 34) {
        return;
    }
    const size = kind ? Math.max(3, sizes.radius * 0.85) : sizes.width + 2.6;
    const [left, top] = draw.place(x, y);
    draw.stamp(LINK_MARKS[kind ?? "pump"], left, top, size, -angle, draw.context.strokeStyle);
}

function drawNodes(draw, geometry, paint, sizes) {
    const drawShape = (shape, x, y, size, fill) => {
        const [left, top] = draw.place(x, y);
        if (left < -20 || top < -20 || left > draw.width + 20 || top > draw.height + 20) {
            return;
        }
        draw.stamp(shape, left, top, size, 0, fill, sizes.radius > 2.4 ? paint.edge : null);
    };
    for (const [shade, places] of sortByShade(paint, "nodes", geometry.nodes.length)) {
        const fill = colourOf(paint, shade);
        for (const place of places) {
            const { x, y, kind } = geometry.nodes[place];
            const shape = nodeShapeOf(kind);
            const grown = shape === "junction" ? 0.8 : 1.25;
            drawShape(NODE_SHAPES[shape], x, y, sizes.radius * (grown + 0.35 * strengthOf(paint, shade)), fill);
        }
    }
    // Land whose outline isn't known is a small field.
    geometry.areas.forEach(({ x, y, points }, place) => {
        const isOutlined = points && points.length >= 6;
        const fill = isOutlined ? null : colourOf(paint, shadeOf(paint, "areas", place));
        drawShape(isOutlined ? "M-.6 0H.6M0 -.6V.6" : "M-1.2 -.8H1.2V.8H-1.2Z", x, y, sizes.radius * 0.9, fill);
    });
}

function drawRing(draw, geometry, target, sizes, colour, width) {
    const { context } = draw;
    context.strokeStyle = colour;
    context.lineWidth = width;
    context.beginPath();
    if (target.class === "links") {
        context.lineWidth = sizes.width * 2 + width * 2;
        context.globalAlpha = 0.55;
        traceLine(draw, geometry.lines[target.place]);
    } else {
        const element = geometry[target.class][target.place];
        const [left, top] = draw.place(element.x, element.y);
        context.arc(left, top, sizes.radius * 1.6 + 3, 0, 2 * Math.PI);
    }
    context.stroke();
    context.globalAlpha = 1;
}

/// Boxes that are taken, in cells of a grid.
function makeRoom() {
    const cells = new Set();
    const size = 14;
    return (left, top, width, height, isForced) => {
        const wanted = [];
        for (let x = Math.floor(left / size); x <= Math.floor((left + width) / size); x += 1) {
            for (let y = Math.floor(top / size); y <= Math.floor((top + height) / size); y += 1) {
                if (cells.has(`${x},${y}`) && !isForced) {
                    return false;
                }
                wanted.push(`${x},${y}`);
            }
        }
        wanted.forEach((cell) => cells.add(cell));
        return true;
    };
}

function shorten(text) {
    const letters = [...text];
    return letters.length > 24 ? `${letters.slice(0, 23).join("")}…` : text;
}

function drawLabels(draw, geometry, paint, sizes, marked) {
    const { context } = draw;
    const takeRoom = makeRoom();
    let count = 0;
    context.font = `12px ${paint.font}`;
    context.textBaseline = "middle";
    context.lineJoin = "round";
    const put = (text, x, away, top, isForced) => {
        if (count >= MOST_LABELS || x < 0 || top < 0 || x > draw.width || top > draw.height) {
            return;
        }
        const shown = shorten(text);
        const width = context.measureText(shown).width;
        // At the right margin, where the buttons are, names stand to the left.
        const left = x + away + width > draw.width - 48 ? x - away - width : x + away;
        if (!takeRoom(left, top - 7, width, 14, isForced)) {
            return;
        }
        count += 1;
        context.lineWidth = 3.5;
        context.strokeStyle = paint.ground;
        context.strokeText(shown, left, top);
        context.fillStyle = isForced ? paint.text : paint.quiet;
        context.fillText(shown, left, top);
    };
    const putOf = (target, isForced) => {
        const isLink = target.class === "links";
        const element = isLink ? geometry.links[target.place] : geometry[target.class][target.place];
        const line = isLink ? geometry.lines[target.place] : null;
        if (isLink && line.length < 4) {
            return;
        }
        const middle = isLink ? findMiddle(line) : element;
        if (isLink && !isForced && middle.length * draw.scale < 70) {
            return;
        }
        const [left, top] = draw.place(middle.x, middle.y);
        const away = isLink ? sizes.width + 4 : sizes.radius * 1.3 + 4;
        // Above to the right: most links leave a node to its sides.
        put(element.id, left, away * 0.75, top - away * (isLink ? 1 : 0.75) - 4, isForced);
    };
    marked.forEach((target) => putOf(target, true));
    if (sizes.room < 26) {
        return;
    }
    geometry.nodes.forEach((_, place) => putOf({ class: "nodes", place }, false));
    geometry.areas.forEach((_, place) => putOf({ class: "areas", place }, false));
    if (sizes.room > 44) {
        geometry.links.forEach((_, place) => putOf({ class: "links", place }, false));
    }
}

function drawCross(draw, colour) {
    const { context, width, height } = draw;
    context.strokeStyle = colour;
    context.lineWidth = 1.5;
    context.beginPath();
    context.moveTo(width / 2 - 9, height / 2);
    context.lineTo(width / 2 + 9, height / 2);
    context.moveTo(width / 2, height / 2 - 9);
    context.lineTo(width / 2, height / 2 + 9);
    context.stroke();
}

function makeDraw(context, view, width, height, ratio) {
    return {
        context,
        width,
        height,
        scale: view.scale,
        place: (x, y) => toScreen(view, width, height, x, y),
        /// A small shape about a point.
        stamp(shape, left, top, size, angle, fill, edge = null) {
            const cos = Math.cos(angle) * size * ratio;
            const sin = Math.sin(angle) * size * ratio;
            context.setTransform(cos, sin, -sin, cos, left * ratio, top * ratio);
            const path = pathOf(shape);
            if (fill) {
                context.fillStyle = fill;
                context.fill(path);
            }
            if (edge) {
                context.strokeStyle = edge;
                context.lineWidth = 1 / size;
                context.stroke(path);
            }
            context.setTransform(ratio, 0, 0, ratio, 0, 0);
        },
    };
}

/// Paint is {values by class, scale, colours, ground, land, landEdge, edge, text, quiet, accent, font}; marked and
/// hovered are {class, place}.
export function drawMap(canvas, geometry, view, paint, { marked, hovered, hasCross }) {
    const ratio = window.devicePixelRatio || 1;
    const width = canvas.clientWidth;
    const height = canvas.clientHeight;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
    const context = canvas.getContext("2d");
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    const draw = makeDraw(context, view, width, height, ratio);
    const sizes = chooseSizes(geometry, view.scale);
    context.fillStyle = paint.ground;
    context.fillRect(0, 0, width, height);
    drawAreas(draw, geometry, paint);
    marked
        .filter((target) => target.class === "links")
        .forEach((target) => drawRing(draw, geometry, target, sizes, target.colour, 2.5));
    drawLinks(draw, geometry, paint, sizes);
    drawNodes(draw, geometry, paint, sizes);
    marked
        .filter((target) => target.class !== "links")
        .forEach((target) => drawRing(draw, geometry, target, sizes, target.colour, 2.5));
    if (hovered) {
        drawRing(draw, geometry, hovered, sizes, paint.accent, 1.2);
    }
    drawLabels(draw, geometry, paint, sizes, hovered ? [...marked, hovered] : marked);
    if (hasCross) {
        drawCross(draw, paint.accent);
    }
}
