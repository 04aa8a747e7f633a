// The network as one works with it: wheel, fingers, mouse and keys move it; a click chooses what lies there.

import { make } from "./dom.js";
import { findAt, fitView, toGround, zoomView } from "./geometry.js";
import { drawMap } from "./mapdraw.js";

const REACH = 9; // px, how far from a thing a click still means it
const STEP = 60; // px, of an arrow key

/// A view of the network in a host element. {onChoose(target, isAdded), describe(target): lines of the tip}
export function makeMap(host, { onChoose, describe }) {
    const canvas = make("canvas", {
        class: "map",
        tabindex: 0,
        role: "application",
        "aria-roledescription": "map",
        "aria-describedby": "map-keys",
    });
    const tip = make("div", { class: "tip", hidden: true, "aria-hidden": "true" });
    const hint = make(
        "div",
        { class: "map-hint", hidden: true, "aria-hidden": "true" },
        "Hold Ctrl, or click the map first, to zoom with the wheel",
    );
    host.append(canvas, tip, hint);
    const state = {
        canvas,
        tip,
        hint,
        geometry: null,
        view: null,
        paint: null,
        marked: [],
        hovered: null,
        hasCross: false,
        fitted: 1,
        isMoved: false,
        isAsked: false,
        describe,
        onChoose,
    };
    state.redraw = () => requestDraw(state);
    new ResizeObserver(() => {
        if (!state.isMoved) {
            fit(state);
        }
        requestDraw(state);
    }).observe(canvas);
    listenWheel(state);
    listenPointers(state);
    listenKeys(state);
    return {
        canvas,
        setNetwork(geometry) {
            state.geometry = geometry;
            fit(state);
        },
        setPaint(paint) {
            state.paint = paint;
            requestDraw(state);
        },
        setMarked(marked) {
            state.marked = marked;
            requestDraw(state);
        },
        /// At once, in the size that the canvas has just got.
        drawNow() {
            if (!state.isMoved) {
                fit(state);
            }
            draw(state);
        },
        fit: () => fit(state),
        zoom: (factor) => zoomAt(state, factor),
        /// Brings a place into sight, if it isn't.
        show(x, y) {
            const [x0, y1] = toGround(state.view, canvas.clientWidth, canvas.clientHeight, 0, 0);
            const [x1, y0] = toGround(
                state.view,
                canvas.clientWidth,
                canvas.clientHeight,
                canvas.clientWidth,
                canvas.clientHeight,
            );
            if (x < x0 || x > x1 || y < y0 || y > y1) {
                move(state, { ...state.view, x, y });
            }
        },
        get view() {
            return state.view;
        },
    };
}

function draw(state) {
    state.isAsked = false;
    if (state.geometry && state.paint && state.canvas.clientWidth > 0) {
        drawMap(state.canvas, state.geometry, state.view, state.paint, state);
    }
}

function requestDraw(state) {
    if (!state.isAsked) {
        state.isAsked = true;
        requestAnimationFrame(() => draw(state));
    }
}

function fit(state) {
    if (!state.geometry) {
        return;
    }
    state.view = fitView(state.geometry.bounds, state.canvas.clientWidth, state.canvas.clientHeight);
    state.fitted = state.view.scale;
    state.isMoved = false;
    requestDraw(state);
}

function move(state, view) {
    state.view = view;
    state.isMoved = true;
    state.tip.hidden = true;
    requestDraw(state);
}

function zoomAt(state, factor, left = state.canvas.clientWidth / 2, top = state.canvas.clientHeight / 2) {
    if (!state.view) {
        return;
    }
    const limits = [state.fitted / 4, state.fitted * 4000];
    move(state, zoomView(state.view, state.canvas.clientWidth, state.canvas.clientHeight, factor, left, top, limits));
}

function panBy(state, left, top) {
    if (!state.view) {
        return;
    }
    move(state, { ...state.view, x: state.view.x - left / state.view.scale, y: state.view.y + top / state.view.scale });
}

function targetAt(state, left, top, reach = REACH) {
    if (!state.geometry || !state.view) {
        return null;
    }
    const [x, y] = toGround(state.view, state.canvas.clientWidth, state.canvas.clientHeight, left, top);
    return findAt(state.geometry, x, y, reach / state.view.scale);
}

/// The wheel scrolls the page until the map is in use.
function listenWheel(state) {
    let timer = 0;
    state.canvas.addEventListener(
        "wheel",
        (event) => {
            if (!event.ctrlKey && !event.metaKey && document.activeElement !== state.canvas) {
                state.hint.hidden = false;
                clearTimeout(timer);
                timer = setTimeout(() => {
                    state.hint.hidden = true;
                }, 1500);
                return;
            }
            event.preventDefault();
            const lines = event.deltaMode === 1 ? 18 : 1;
            zoomAt(
                state,
                Math.exp(-event.deltaY * lines * (event.ctrlKey ? 0.006 : 0.0018)),
                event.offsetX,
                event.offsetY,
            );
        },
        { passive: false },
    );
}

function listenPointers(state) {
    const { canvas } = state;
    const held = new Map();
    let way = 0; // px moved since the first press
    canvas.addEventListener("pointerdown", (event) => {
        if (event.button !== 0) {
            return;
        }
        if (held.size === 0) {
            way = 0;
        }
        held.set(event.pointerId, [event.offsetX, event.offsetY]);
        canvas.setPointerCapture(event.pointerId);
    });
    canvas.addEventListener("pointermove", (event) => {
        const before = held.get(event.pointerId);
        if (!before) {
            hover(state, event);
            return;
        }
        const now = [event.offsetX, event.offsetY];
        way += Math.hypot(now[0] - before[0], now[1] - before[1]);
        if (held.size === 2) {
            pinch(state, held, event.pointerId, now);
        } else if (way > 4 && held.size === 1) {
            panBy(state, now[0] - before[0], now[1] - before[1]);
        }
        held.set(event.pointerId, now);
    });
    const release = (event) => {
        const isClick = held.delete(event.pointerId) && event.type === "pointerup" && held.size === 0 && way <= 4;
        if (!isClick) {
            return;
        }
        const target = targetAt(state, event.offsetX, event.offsetY, event.pointerType === "touch" ? 2 * REACH : REACH);
        if (target) {
            state.onChoose(target, event.shiftKey || event.ctrlKey || event.metaKey);
        }
    };
    canvas.addEventListener("pointerup", release);
    canvas.addEventListener("pointercancel", release);
    canvas.addEventListener("pointerleave", () => hover(state, null));
    canvas.addEventListener("dblclick", (event) => zoomAt(state, 2, event.offsetX, event.offsetY));
}

/// Two fingers: the map follows their middle and their distance.
function pinch(state, held, moved, now) {
    const [other] = [...held].filter(([id]) => id !== moved).map(([, place]) => place);
    const before = held.get(moved);
    const far = Math.hypot(before[0] - other[0], before[1] - other[1]);
    const near = Math.hypot(now[0] - other[0], now[1] - other[1]);
    panBy(state, (now[0] - before[0]) / 2, (now[1] - before[1]) / 2);
    if (far > 0 && near > 0) {
        zoomAt(state, near / far, (now[0] + other[0]) / 2, (now[1] + other[1]) / 2);
    }
}

function hover(state, event) {
    const target = event ? targetAt(state, event.offsetX, event.offsetY) : null;
    if (target?.class !== state.hovered?.class || target?.place !== state.hovered?.place) {
        state.hovered = target;
        requestDraw(state);
    }
    state.canvas.style.cursor = target ? "pointer" : "grab";
    state.tip.hidden = !target;
    if (!target) {
        return;
    }
    state.tip.replaceChildren(
        ...state.describe(target).map((line, place) => make(place === 0 ? "strong" : "span", {}, line)),
    );
    const isRight = event.offsetX > state.canvas.clientWidth - 220;
    const isLow = event.offsetY > state.canvas.clientHeight - 90;
    state.tip.style.left = `${event.offsetX + (isRight ? -14 : 14)}px`;
    state.tip.style.top = `${event.offsetY + (isLow ? -14 : 14)}px`;
    state.tip.style.transform = `translate(${isRight ? "-100%" : "0"}, ${isLow ? "-100%" : "0"})`;
}

/// With keys, a cross in the middle points at what Enter chooses.
function listenKeys(state) {
    const { canvas } = state;
    const keys = {
        ArrowLeft: () => panBy(state, STEP, 0),
        ArrowRight: () => panBy(state, -STEP, 0),
        ArrowUp: () => panBy(state, 0, STEP),
        ArrowDown: () => panBy(state, 0, -STEP),
        "+": () => zoomAt(state, 1.4),
        "=": () => zoomAt(state, 1.4),
        "-": () => zoomAt(state, 1 / 1.4),
        0: () => fit(state),
        Home: () => fit(state),
    };
    canvas.addEventListener("keydown", (event) => {
        if (event.ctrlKey || event.metaKey || event.altKey) {
            return;
        }
        if (event.key === "Enter" || event.key === " ") {
            event.preventDefault();
            const target = targetAt(state, canvas.clientWidth / 2, canvas.clientHeight / 2, 1e6);
            if (target) {
                state.onChoose(target, event.shiftKey);
            }
        } else if (keys[event.key]) {
            event.preventDefault();
            state.hasCross = true;
            keys[event.key]();
        }
    });
    const cross = () => {
        state.hasCross = canvas.matches(":focus-visible");
        requestDraw(state);
    };
    canvas.addEventListener("focus", cross);
    canvas.addEventListener("blur", cross);
    canvas.addEventListener("pointerdown", () => {
        state.hasCross = false;
    });
}
