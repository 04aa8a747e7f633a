#!/usr/bin/env python3
"""Draws the layers and fluxes of each type of LID control, one SVG file per type, beside this script."""
import os

HERE = os.path.dirname(os.path.abspath(__file__))
LEFT, WIDTH, TOP, HEIGHT = 170, 220, 70, 64
COLOURS = {'surface': '#d7ead0', 'pavement': '#c9c9c9', 'soil': '#d9c19b', 'storage': '#cfdbe6', 'mat': '#cfdbe6',
           'barrel': '#dbe7f3', 'channel': '#d7ead0'}


def arrow(x1, y1, x2, y2, text, anchor, tx, ty, dashed=False):
    dash = ' stroke-dasharray="5 3"' if dashed else ''
    dx, dy = (x2 > x1) - (x2 < x1), (y2 > y1) - (y2 < y1)
    base_x, base_y = x2 - 9 * dx, y2 - 9 * dy
    tip = '%d,%d %d,%d %d,%d' % (x2, y2, base_x + 4 * dy, base_y + 4 * dx, base_x - 4 * dy, base_y - 4 * dx)
    return ('<line x1="%d" y1="%d" x2="%d" y2="%d" stroke="#1b5e8c" stroke-width="2"%s/>'
            '<polygon points="%s" fill="#1b5e8c"/><text x="%d" y="%d" text-anchor="%s">%s</text>'
            % (x1, y1, x2 - 5 * dx, y2 - 5 * dy, dash, tip, tx, ty, anchor, text))


def draw(name, title, layers, inflow, flows):
    """layers: (kind, label); flows: (where, layer, text) with where one of down, over, drain, seep, evap."""
    parts = []
    right = LEFT + WIDTH
    for k, (kind, label) in enumerate(layers):
        y = TOP + k * HEIGHT
        parts.append('<rect x="%d" y="%d" width="%d" height="%d" fill="%s" stroke="#555"/>'
                     % (LEFT, y, WIDTH, HEIGHT, COLOURS[kind]))
        parts.append('<text x="%d" y="%d">%s</text>' % (LEFT + 50, y + 38, label))
    parts.append(arrow(LEFT + 40, TOP - 34, LEFT + 40, TOP + 12, inflow, 'middle', LEFT + 40, TOP - 42))
    for where, layer, text in flows:
        y = TOP + layer * HEIGHT
        if where == 'down':
            parts.append(arrow(LEFT + 26, y + HEIGHT - 14, LEFT + 26, y + HEIGHT + 16, text, 'end', LEFT - 8,
                               y + HEIGHT + 5))
        elif where == 'over':
            parts.append(arrow(right, y + 16, right + 60, y + 16, text, 'start', right + 68, y + 20))
        elif where == 'drain':
            parts.append(arrow(right, y + 48, right + 60, y + 48, text, 'start', right + 68, y + 52))
        elif where == 'seep':
            parts.append(arrow(LEFT + 110, y + HEIGHT - 10, LEFT + 110, y + HEIGHT + 30, text, 'start', LEFT + 122,
                               y + HEIGHT + 26))
        elif where == 'evap':
            parts.append(arrow(right - 24 - 18 * layer, y + 12, right - 24 - 18 * layer, TOP - 34, text, 'start',
                               right - 20, TOP - 42, True))
    height = TOP + len(layers) * HEIGHT + 46
    text = ('<svg xmlns="http://www.w3.org/2000/svg" width="640" height="%d" viewBox="0 0 640 %d" '
            'font-family="sans-serif" font-size="13">\n<title>%s</title>\n'
            '<rect width="640" height="%d" fill="white"/>\n%s\n</svg>\n'
            % (height, height, title, height, '\n'.join(parts)))
    with open(os.path.join(HERE, name + '.svg'), 'w', encoding='utf-8') as f:
        f.write(text)


SURFACE, SOIL, STORAGE = ('surface', 'surface'), ('soil', 'soil'), ('storage', 'storage')
IN = 'rain and runon'

draw('bio-retention', 'Bio-retention cell', [SURFACE, SOIL, STORAGE], IN,
     [('evap', 0, 'evaporation'), ('evap', 1, ''), ('evap', 2, ''), ('over', 0, 'surface outflow'),
      ('down', 0, 'infiltration'), ('down', 1, 'percolation'), ('drain', 2, 'underdrain'), ('seep', 2, 'seepage')])
draw('rain-garden', 'Rain garden', [SURFACE, SOIL], IN,
     [('evap', 0, 'evaporation'), ('evap', 1, ''), ('over', 0, 'surface outflow'), ('down', 0, 'infiltration'),
      ('seep', 1, 'percolation = seepage')])
draw('green-roof', 'Green roof', [SURFACE, SOIL, ('mat', 'drainage mat')], IN,
     [('evap', 0, 'evaporation'), ('evap', 1, ''), ('evap', 2, ''), ('over', 0, 'surface outflow'),
      ('down', 0, 'infiltration'), ('down', 1, 'percolation'), ('drain', 2, 'flow off the mat')])
draw('trench', 'Infiltration trench', [SURFACE, STORAGE], IN,
     [('evap', 0, 'evaporation'), ('evap', 1, ''), ('over', 0, 'surface outflow'), ('down', 0, 'infiltration'),
      ('drain', 1, 'underdrain'), ('seep', 1, 'seepage')])
draw('pavement', 'Permeable pavement', [SURFACE, ('pavement', 'pavement'), ('soil', 'soil (optional)'), STORAGE],
     IN,
     [('evap', 0, 'evaporation'), ('evap', 1, ''), ('evap', 2, ''), ('evap', 3, ''), ('over', 0, 'surface outflow'),
      ('down', 0, 'infiltration'), ('down', 1, 'percolation'), ('down', 2, 'percolation'), ('drain', 3, 'underdrain'),
      ('seep', 3, 'seepage')])
draw('barrel', 'Rain barrel', [('barrel', 'barrel')], IN,
     [('over', 0, 'overflow'), ('drain', 0, 'drain, behind the delay')])
draw('swale', 'Vegetative swale', [('channel', 'channel, trapezoidal')], IN,
     [('evap', 0, 'evaporation'), ('over', 0, 'channel flow'), ('seep', 0, 'seepage')])
