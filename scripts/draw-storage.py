#!/usr/bin/env python3
"""Makes the drawings of tanks, their outlets and conduits: scripts/draw-storage.py [FOLDER], docs/drawings if none is
given. The curves in them are drawn from the same laws as in the manual's formulas."""
import math
import os
import sys

INK, WATER, LINE, NOTE = '#333333', '#cfe4f5', '#2f7fc1', '#b3541e'


class Drawing:
    """An SVG in user units of one pixel, y downwards."""

    def __init__(self, width, height, title):
        self.parts = ['<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 %d %d" width="%d" height="%d" '
                      'font-family="sans-serif" font-size="13" role="img">' % (width, height, width, height),
                      '<title>%s</title>' % title,
                      '<rect width="100%" height="100%" fill="#ffffff"/>']

    def path(self, points, stroke=INK, fill='none', width=1.5, closed=False, dash=''):
        shape = 'polygon' if closed else 'polyline'
        places = ' '.join('%.1f,%.1f' % p for p in points)
        dash = ' stroke-dasharray="%s"' % dash if dash else ''
        self.parts.append('<%s points="%s" stroke="%s" fill="%s" stroke-width="%s"%s/>'
                          % (shape, places, stroke, fill, width, dash))

    def text(self, x, y, text, anchor='start', colour=INK, style=''):
        style = ' font-style="italic"' if style == 'i' else ' font-weight="bold"' if style == 'b' else ''
        self.parts.append('<text x="%.1f" y="%.1f" text-anchor="%s" fill="%s"%s>%s</text>'
                          % (x, y, anchor, colour, style, text))

    def arrow(self, x1, y1, x2, y2, both=False, colour=INK):
        self.path([(x1, y1), (x2, y2)], colour, width=1.2)
        a = math.atan2(y2 - y1, x2 - x1)
        for x, y, b in [(x2, y2, a)] + ([(x1, y1, a + math.pi)] if both else []):
            self.path([(x, y), (x - 7 * math.cos(b - 0.4), y - 7 * math.sin(b - 0.4)),
                       (x - 7 * math.cos(b + 0.4), y - 7 * math.sin(b + 0.4))], colour, colour, 0.5, True)

    def size(self, x, y1, y2, text, side=1):
        """A vertical dimension line with its name."""
        self.arrow(x, y1, x, y2, True)
        self.text(x + 6 * side, (y1 + y2) / 2 + 4, text, 'start' if side > 0 else 'end', style='i')

    def level(self, x1, x2, y):
        """A water surface with its mark."""
        self.path([(x1, y), (x2, y)], LINE, width=2)
        m = x1 + 24
        self.path([(m, y), (m - 6, y - 9), (m + 6, y - 9)], LINE, 'none', 1.2, True)

    def save(self, folder, name):
        with open(os.path.join(folder, name), 'w', encoding='utf-8', newline='\n') as f:
            f.write('\n'.join(self.parts + ['</svg>']) + '\n')


def draw_tank(folder):
    d = Drawing(640, 330, 'A tank with its outlets')
    bed = [(90, 60), (90, 200), (150, 260), (330, 260), (330, 60)]
    d.path([(90, 110), (90, 200), (150, 260), (330, 260), (330, 110)], 'none', WATER, 0, True)
    d.path(bed, width=3)
    d.level(90, 330, 110)
    d.path([(90, 72), (330, 72)], NOTE, dash='6 4')
    d.text(250, 66, 'full depth', colour=NOTE)
    d.size(50, 260, 110, 'depth', -1)
    d.path([(40, 260), (150, 260)], width=0.7, dash='3 3')
    for y, name, law in ((92, 'weir', 'by its crest'), (190, 'orifice', 'by its crest'), (245, 'pump', 'by its curve')):
        if name == 'weir':
            d.path([(330, 60), (330, y)], '#ffffff', width=5)
        elif name == 'orifice':
            d.path([(330, y - 12), (330, y + 12)], '#ffffff', width=5)
        d.arrow(320, y, 395, y, colour=LINE)
        d.text(402, y + 4, name, style='b')
        d.text(460, y + 4, law)
    d.arrow(20, 40, 120, 40, colour=LINE)
    d.path([(120, 40), (120, 104)], LINE, width=1.2, dash='3 3')
    d.text(20, 30, 'inflow of the step, taken in last')
    d.text(402, 150, 'level by level, from the orifices', colour=NOTE)
    d.text(402, 167, 'over the weirs to the pumps', colour=NOTE)
    d.text(90, 300, 'One store, completely mixed; its curve gives the area at each depth.')
    d.save(folder, 'tank.svg')


def draw_axes(d, x, y, width, height, across, up):
    d.arrow(x, y, x + width, y)
    d.arrow(x, y, x, y - height)
    d.text(x + width, y + 18, across, 'end')
    d.text(x - 6, y - height - 8, up)


def draw_pump(folder):
    d = Drawing(640, 300, 'The two kinds of pump curve')
    points = [(1.0, 0.5), (2.0, 1.5), (4.0, 1.2)]
    for left, name in ((50, 'PUMP1: a line, level at both ends'), (360, 'PUMP2: steps')):
        def at(p):
            return (left + 45 * p[0], 230 - 90 * p[1])
        draw_axes(d, left, 230, 250, 190, 'depth in the tank, m', 'flow, m3/s')
        if name.startswith('PUMP1'):
            line = [(0.0, 0.5)] + points + [(5.2, 1.2)]
        else:
            line = [(0.0, 0.5), (1.0, 0.5), (1.0, 1.5), (2.0, 1.5), (2.0, 1.2), (5.2, 1.2)]
        d.path([at(p) for p in line], LINE, width=2.5)
        for p in points:
            x, y = at(p)
            d.parts.append('<circle cx="%.1f" cy="%.1f" r="4" fill="%s"/>' % (x, y, NOTE))
        d.text(left, 275, name, style='b')
    d.save(folder, 'pump.svg')


def draw_weir(folder):
    d = Drawing(640, 300, 'A weir: crest, opening and setting')
    d.path([(60, 110), (60, 250), (250, 250), (250, 110)], 'none', WATER, 0, True)
    d.path([(60, 60), (60, 250), (250, 250), (250, 180)], width=3)
    d.path([(250, 180), (250, 140)], NOTE, width=6)
    d.level(60, 250, 110)
    d.path([(250, 112), (280, 122), (300, 150), (310, 250)], LINE, width=2)
    d.size(275, 250, 180, 'crest')
    d.size(340, 180, 140, '(1 − setting) × opening')
    d.path([(250, 180), (350, 180)], width=0.7, dash='3 3')
    d.path([(250, 140), (350, 140)], width=0.7, dash='3 3')
    d.size(230, 140, 110, 'h', -1)
    for left, name in ((545, 'RECTANGULAR'), (545, 'TRIANGULAR')):
        top = 70 if name == 'RECTANGULAR' else 190
        d.path([(left - 45, top), (left + 45, top)], LINE, width=2)
        if name == 'RECTANGULAR':
            corners = [(left - 60, top - 20), (left - 60, top + 50), (left + 60, top + 50), (left + 60, top - 20)]
            d.path(corners, width=2)
            d.arrow(left - 58, top + 40, left + 58, top + 40, True)
            d.text(left, top + 34, 'length', 'middle', style='i')
        else:
            d.path([(left - 60, top - 15), (left, top + 45), (left + 60, top - 15)], width=2)
        d.text(left, top + 70, name, 'middle', style='b')
    d.save(folder, 'weir.svg')


def draw_orifice(folder):
    d = Drawing(680, 300, 'An orifice with free and with submerged opening')
    for left, water, name in ((40, 190, 'partly filled'), (330, 90, 'submerged')):
        d.path([(left, water), (left, 260), (left + 150, 260), (left + 150, water)], 'none', WATER, 0, True)
        d.path([(left, 60), (left, 260), (left + 150, 260), (left + 150, 220)], width=3)
        d.path([(left + 150, 160), (left + 150, 60)], width=3)
        d.level(left, left + 150, water)
        d.arrow(left + 140, 205, left + 200, 205, colour=LINE)
        d.size(left + 175, 260, 220, 'crest')
        d.path([(left + 150, 220), (left + 185, 220)], width=0.7, dash='3 3')
        if name == 'submerged':
            d.size(left + 130, 190, 90, 'head', -1)
            d.path([(left + 100, 190), (left + 150, 190)], width=0.7, dash='3 3')
            d.size(left + 215, 220, 160, 'setting × height')
        else:
            d.size(left + 130, 220, 190, 'y', -1)
            d.text(left + 160, 180, 'head = y ÷ 2', style='i')
        d.text(left + 75, 285, name, 'middle', style='b')
    d.save(folder, 'orifice.svg')


def draw_conduit(folder):
    d = Drawing(640, 270, 'The three sections of a conduit')
    r, cx, cy, fill = 70, 110, 130, 0.68
    y = cy + r - 2 * r * fill
    half = math.sqrt(r * r - (y - cy) ** 2)
    end = math.atan2(y - cy, half)
    arc = [(cx + r * math.cos(a), cy + r * math.sin(a))
           for a in (end + (math.pi - 2 * end) * k / 60 for k in range(61))]
    d.path(arc, 'none', WATER, 0, True)
    d.path([(cx + r * math.cos(k * math.pi / 60), cy + r * math.sin(k * math.pi / 60)) for k in range(121)], width=2)
    d.path(arc, NOTE, width=3)
    d.level(cx - half, cx + half, y)
    d.size(cx + r + 12, cy - r, cy + r, 'height')
    d.path([(270, 110), (270, 200), (400, 200), (400, 110)], 'none', WATER, 0, True)
    d.path([(270, 60), (270, 200), (400, 200), (400, 60)], width=2, closed=True)
    d.path([(270, 110), (270, 200), (400, 200), (400, 110)], NOTE, width=3)
    d.level(270, 400, 110)
    d.size(290, 60, 200, 'height')
    d.arrow(270, 212, 400, 212, True)
    d.text(335, 228, 'width', 'middle', style='i')
    bed = [(450, 70), (475, 150), (490, 200), (515, 200), (530, 140), (560, 160), (580, 155), (610, 50)]
    water = 110

    def cut(a, b):
        return (a[0] + (b[0] - a[0]) * (water - a[1]) / (b[1] - a[1]), water)
    wet = [cut(bed[0], bed[1])] + bed[1:7] + [cut(bed[6], bed[7])]
    d.path(wet, 'none', WATER, 0, True)
    d.path(bed, width=2)
    d.path(wet, NOTE, width=3)
    d.level(wet[0][0], wet[-1][0], water)
    d.path([(440, 70), (604, 70)], width=0.8, dash='5 4')
    d.text(450, 62, 'full at the lower bank')
    for x, name in ((cx, 'CIRCULAR'), (335, 'RECTANGULAR'), (530, 'IRREGULAR')):
        d.text(x, 252, name, 'middle', style='b')
    d.text(20, 25, 'area A', colour=LINE)
    d.text(80, 25, 'wetted perimeter P', colour=NOTE)
    d.save(folder, 'conduit.svg')


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), '..', 'docs', 'drawings')
    os.makedirs(folder, exist_ok=True)
    for draw in (draw_tank, draw_pump, draw_weir, draw_orifice, draw_conduit):
        draw(folder)


if __name__ == '__main__':
    main()
