#!/usr/bin/env python3
"""Makes the drawing of the floors of the engine: scripts/draw-architecture.py [FOLDER], docs/drawings if none is given.
Floors are read from cmake/checkFloors.cmake and rooms from src/: the drawing is made anew when either changes."""
import os
import re
import sys

INK, WATER, LINE, NOTE, WALL, PAPER = '#333333', '#cfe4f5', '#2f7fc1', '#b3541e', '#8a8f96', '#ffffff'
SHADES = ['#e4e0d8', '#e9e5dd', '#eeeae2', '#e6efe0', '#e4ecf4', '#f3ead9', '#f1e6ea', '#e2eef0',
          '#eee9f3', '#f6ecdf', '#f2f2f2']
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..')

LEFT, HOUSE, WIDTH = 20, 700, 1240  # left wall, right end of the rooms, right wall
CHIP, ROW = 22, 27                  # height of a room, and from row to row
STOP = 40                           # from stop to stop of the way

# The way of a drop: floor, what the floor does with it, function.
WAY = [('api', 'tarnvelde_step'), ('hydrology', 'runoff_advance'), ('routing', 'routing_step'),
       ('controls', 'rule_evaluate'), ('routing', 'landinflows_addRunoff'), ('nodes', 'inflows_applyExternal'),
       ('routing', 'nodekinds_visit'), ('links', 'pipe_deliver'), ('nodes', 'tank_update'), ('links', 'pipe_update'),
       ('routing', 'routing_countStep'), ('results', 'results_write'), ('api', 'back to the host')]
LOOP = (6, 9)  # stops that come once for each node


def read_floors():
    """The folders of each floor, from the ground up."""
    with open(os.path.join(ROOT, 'cmake', 'checkFloors.cmake'), encoding='utf-8') as f:
        places = re.findall(r'^set\(([a-z]+) (\d+)\)$', f.read(), re.M)
    floors = {}
    for folder, place in places:
        floors.setdefault(int(place), []).append(folder)
    return [floors[k] for k in sorted(floors)]


def read_rooms(folder):
    """Header and source are one room, and so are the parts behind an underscore."""
    names = os.listdir(os.path.join(ROOT, 'src', folder))
    return sorted({re.sub(r'[._].*', '', n) for n in names if n.endswith(('.h', '.cpp'))})


def text(x, y, words, size=14, anchor='start', colour=INK, weight='', style=''):
    more = (' font-weight="%s"' % weight if weight else '') + (' font-style="%s"' % style if style else '')
    return '<text x="%.1f" y="%.1f" font-size="%g" text-anchor="%s" fill="%s"%s>%s</text>' % (
        x, y, size, anchor, colour, more, words)


def box(x, y, w, h, fill, stroke=INK, width=1.0, round_by=0.0):
    return '<rect x="%.1f" y="%.1f" width="%.1f" height="%.1f" rx="%g" fill="%s" stroke="%s" stroke-width="%g"/>' % (
        x, y, w, h, round_by, fill, stroke, width)


def line(points, stroke, width, dash=''):
    dash = ' stroke-dasharray="%s"' % dash if dash else ''
    return '<polyline points="%s" fill="none" stroke="%s" stroke-width="%g" stroke-linejoin="round"%s/>' % (
        ' '.join('%.1f,%.1f' % p for p in points), stroke, width, dash)


def measure(folder):
    """Room for the name of a folder."""
    return 9.4 * len(folder) + 26 if folder in ('controls', 'results', 'hydrology', 'links') else 108


def lay_out(rooms, width):
    """Rooms in rows of a width: lists of (x, width of the room, name)."""
    rows, x = [[]], 0.0
    for name in rooms:
        w = 7.2 * len(name) + 18
        if rows[-1] and x + w > width:
            rows.append([])
            x = 0.0
        rows[-1].append((x, w, name))
        x += w + 6
    return rows


def place_folders(folders):
    """Left edge and width of the folders of one floor; two of them share it by their rooms."""
    whole = HOUSE - LEFT
    if len(folders) == 1:
        return [(LEFT, whole)]
    sizes = [sum(len(room) + 3 for room in read_rooms(f)) for f in folders]
    share = min(max(sizes[0] / sum(sizes), 0.31), 0.58)
    return [(LEFT, whole * share), (LEFT + whole * share, whole * (1 - share))]


def draw_floor(parts, folders, y, height, shade):
    parts.append(box(LEFT, y, WIDTH - LEFT, height, shade, WALL))
    for folder, (x, w) in zip(folders, place_folders(folders)):
        if x > LEFT:
            parts.append(line([(x, y), (x, y + height)], WALL, 1))
        parts.append(text(x + 12, y + 23, folder, 16, weight='bold'))
        for r, row in enumerate(lay_out(read_rooms(folder), w - measure(folder) - 6)):
            for rx, rw, name in row:
                top = y + 8 + r * ROW
                is_switch = name in ('nodekinds', 'linkkinds')
                parts.append(box(x + measure(folder) + rx, top, rw, CHIP, '#fbe3d3' if is_switch else PAPER,
                                 NOTE if is_switch else WALL, 1.4 if is_switch else 0.8, 4))
                parts.append(text(x + measure(folder) + rx + rw / 2, top + 15.5, name, 13, 'middle'))


def draw_way(parts, middles):
    x0 = HOUSE + 38
    stops = [(x0 + k * STOP, middles[floor]) for k, (floor, _) in enumerate(WAY)]
    left, right = stops[LOOP[0]][0] - 19, stops[LOOP[1]][0] + 19
    ys = [stops[k][1] for k in range(LOOP[0], LOOP[1] + 1)]
    parts.append(box(left, min(ys) - 44, right - left, max(ys) - min(ys) + 70, PAPER, LINE, 1, 8))
    parts.append(text((left + right) / 2, min(ys) - 27, 'for each node', 13, 'middle', LINE, style='italic'))
    path = [stops[0]]
    for a, b in zip(stops, stops[1:]):
        path += [((a[0] + b[0]) / 2, a[1]), ((a[0] + b[0]) / 2, b[1]), b]
    parts.append(line(path, WATER, 8))
    parts.append(line(path, LINE, 2))
    for k, (x, y) in enumerate(stops):
        # A drop with its number.
        parts.append('<path d="M %.1f %.1f c 5 8 10.5 13 10.5 19.5 a 10.5 10.5 0 0 1 -21 0 '
                     'c 0 -6.5 5.5 -11.5 10.5 -19.5 z" fill="%s" stroke="%s"/>' % (x, y - 17.5, LINE, PAPER))
        parts.append(text(x, y + 6.8, str(k + 1), 12.5, 'middle', PAPER, 'bold'))


def draw_legend(parts, top, height):
    x = HOUSE + 30
    parts.append(text(x, top + 24, 'The way of a drop in one step', 16, weight='bold', colour=LINE))
    half = (len(WAY) + 1) // 2
    for k, (_, function) in enumerate(WAY):
        cx, cy = x + 4 + (k // half) * 256, top + 47 + (k % half) * (height - 58) / (half - 1)
        parts.append(text(cx + 14, cy, '%d' % (k + 1), 13.5, 'end', LINE, 'bold'))
        parts.append(text(cx + 24, cy, function, 13.5))


def draw(folder):
    floors = read_floors()
    heights = []
    for folders in floors:
        rows = [len(lay_out(read_rooms(f), w - measure(f) - 6)) for f, (_, w) in zip(folders, place_folders(folders))]
        heights.append(max(max(rows) * ROW + 11, 56))
    roof = 74
    total = roof + sum(heights) + 74
    parts = ['<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 %d %d" width="%d" height="%d" '
             'font-family="sans-serif" role="img">' % (WIDTH + 20, total, WIDTH + 20, total),
             '<title>The floors of the engine, and the way of a drop through them</title>',
             '<rect width="100%" height="100%" fill="#ffffff"/>']
    parts.append('<polygon points="%d,%d %d,%d %d,%d" fill="#d9d2c5" stroke="%s"/>' % (
        LEFT - 14, roof, (LEFT + WIDTH) / 2, 8, WIDTH + 14, roof, WALL))
    parts.append(text((LEFT + WIDTH) / 2, roof - 22, 'a host, by include/tarnvelde.h', 16, 'middle'))
    y, middles = roof, {}
    for folders, height, shade in reversed(list(zip(floors, heights, SHADES))):
        draw_floor(parts, folders, y, height, shade)
        middles.update((f, y + height / 2) for f in folders)
        y += height
    top_of_model = y - sum(heights[:3])
    parts.append(box(HOUSE + 14, top_of_model + 8, WIDTH - HOUSE - 26, sum(heights[:3]) - 16, PAPER, WALL, 1, 6))
    draw_legend(parts, top_of_model + 8, sum(heights[:3]) - 16)
    draw_way(parts, middles)
    parts.append(line([(LEFT - 14, y), (WIDTH + 14, y)], INK, 3))
    parts.append(text(LEFT, y + 26, 'A floor stands on the floors below it and knows none above it; folders on one '
                      'floor do not know each other. A small box is a room: a header and its source.', 14))
    parts.append(box(LEFT, y + 41, 16, 14, '#fbe3d3', NOTE, 1.4, 3))
    parts.append(text(LEFT + 24, y + 53, 'the two rooms in which kinds of node and link are told apart', 14))
    with open(os.path.join(folder, 'architecture.svg'), 'w', encoding='utf-8', newline='\n') as f:
        f.write('\n'.join(parts + ['</svg>']) + '\n')


if __name__ == '__main__':
    draw(sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, 'docs', 'drawings'))
