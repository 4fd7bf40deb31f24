#!/usr/bin/env python3
"""Writes the wizard's artwork (resources/images/*.svg).

The buttons come in three looks that must stay alike: the normal image, and the pressed or
chosen image for a coloured desktop accent ("Aqua") and for a grey one ("Graphite"). They are
written from one template each, so a change reaches all three.

    python3 tools/artwork/make-artwork.py resources/images
"""
import os
import sys

OUT = sys.argv[1] if len(sys.argv) > 1 else 'resources/images'

W, H = 620, 440            # panel artwork
BODY_TOP = 30              # the record rises above the body
HEADER_BOTTOM = 118
BAR_TOP = 380
RADIUS = 18
DISC = (72, 62, 52)        # centre x, centre y, radius

INK = '#2c3440'
SLATE = ('#3a4758', '#2a3542', '#1f2832')

TINTS = {
    # name: (strong fill top, strong fill bottom, strong border, light fill, light border, badge)
    'Aqua': ('#4796f2', '#2c74d8', '#1f5fb8', '#e3effd', '#5d9ef0', '#2f7be0'),
    'Graphite': ('#858d98', '#646c77', '#545b65', '#eceef1', '#8d949e', '#6a727d'),
}


def svg(width, height, body, defs=''):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
            f'viewBox="0 0 {width} {height}">\n<defs>{defs}</defs>\n{body}\n</svg>\n')


def write(name, text):
    with open(os.path.join(OUT, name + '.svg'), 'w') as f:
        f.write(text)


def body_path():
    x0, y0, x1, y1, r = 0.5, BODY_TOP + 0.5, W - 0.5, H - 0.5, RADIUS
    return (f'M{x0 + r},{y0} H{x1 - r} A{r},{r} 0 0 1 {x1},{y0 + r} V{y1 - r} '
            f'A{r},{r} 0 0 1 {x1 - r},{y1} H{x0 + r} A{r},{r} 0 0 1 {x0},{y1 - r} '
            f'V{y0 + r} A{r},{r} 0 0 1 {x0 + r},{y0} Z')


def record(cx, cy, r, label='#e8893a', label2='#c86d22'):
    grooves = ''.join(
        f'<circle cx="{cx}" cy="{cy}" r="{r * f:.1f}" fill="none" stroke="#2b3039" stroke-width="0.8"/>'
        for f in (0.92, 0.84, 0.76, 0.68, 0.6, 0.52))
    lr = r * 0.36
    return (f'<circle cx="{cx}" cy="{cy}" r="{r}" fill="#14171c"/>'
            f'<circle cx="{cx}" cy="{cy}" r="{r - 0.5}" fill="none" stroke="#3a404a" stroke-width="1"/>'
            f'{grooves}'
            f'<path d="M{cx},{cy} L{cx + r * 0.97:.1f},{cy - r * 0.26:.1f} A{r * 0.97:.1f},{r * 0.97:.1f} 0 0 0 '
            f'{cx + r * 0.5:.1f},{cy - r * 0.84:.1f} Z" fill="#ffffff" opacity="0.07"/>'
            f'<path d="M{cx},{cy} L{cx - r * 0.97:.1f},{cy + r * 0.26:.1f} A{r * 0.97:.1f},{r * 0.97:.1f} 0 0 0 '
            f'{cx - r * 0.5:.1f},{cy + r * 0.84:.1f} Z" fill="#ffffff" opacity="0.05"/>'
            f'<circle cx="{cx}" cy="{cy}" r="{lr:.1f}" fill="{label}"/>'
            f'<circle cx="{cx}" cy="{cy}" r="{lr * 0.72:.1f}" fill="none" stroke="{label2}" stroke-width="1"/>'
            f'<circle cx="{cx}" cy="{cy}" r="{max(1.5, r * 0.045):.1f}" fill="#14171c"/>')


def header_path():
    # The body's top with its rounded corners, down to the header's lower edge.
    x0, y0, x1, r = 0.5, BODY_TOP + 0.5, W - 0.5, RADIUS
    return (f'M{x0},{HEADER_BOTTOM} V{y0 + r} A{r},{r} 0 0 1 {x0 + r},{y0} H{x1 - r} '
            f'A{r},{r} 0 0 1 {x1},{y0 + r} V{HEADER_BOTTOM} Z')


def bar_path():
    x0, x1, y1, r = 0.5, W - 0.5, H - 0.5, RADIUS
    return (f'M{x0},{BAR_TOP} H{x1} V{y1 - r} A{r},{r} 0 0 1 {x1 - r},{y1} H{x0 + r} '
            f'A{r},{r} 0 0 1 {x0},{y1 - r} Z')


def background(name, header, accent='', extra=''):
    # The SVG renderer knows no clipping, so every part is drawn in the body's own shape.
    defs = ('<linearGradient id="paper" x1="0" y1="0" x2="0" y2="1">'
            '<stop offset="0" stop-color="#fcfbf9"/><stop offset="1" stop-color="#f2f0ec"/></linearGradient>'
            f'<linearGradient id="head" x1="0" y1="0" x2="0" y2="1">'
            f'<stop offset="0" stop-color="{header[0]}"/><stop offset="1" stop-color="{header[1]}"/></linearGradient>'
            '<linearGradient id="headshade" x1="0" y1="0" x2="0" y2="1">'
            '<stop offset="0" stop-color="#000000" stop-opacity="0.13"/>'
            '<stop offset="1" stop-color="#000000" stop-opacity="0"/></linearGradient>'
            '<linearGradient id="bar" x1="0" y1="0" x2="0" y2="1">'
            '<stop offset="0" stop-color="#ece9e4"/><stop offset="1" stop-color="#e4e0da"/></linearGradient>')
    cx, cy, r = DISC
    body = (f'<path d="{body_path()}" fill="url(#paper)"/>'
            f'<path d="{header_path()}" fill="url(#head)"/>'
            f'<rect x="1" y="{HEADER_BOTTOM}" width="{W - 2}" height="7" fill="url(#headshade)"/>'
            f'<rect x="{RADIUS}" y="{BODY_TOP + 1}" width="{W - 2 * RADIUS}" height="1" fill="#ffffff" opacity="0.10"/>'
            f'{accent}'
            f'<path d="{bar_path()}" fill="url(#bar)"/>'
            f'<rect x="1" y="{BAR_TOP}" width="{W - 2}" height="1" fill="#d6d1ca"/>'
            f'<rect x="1" y="{BAR_TOP + 1}" width="{W - 2}" height="1" fill="#ffffff" opacity="0.8"/>'
            f'<path d="{body_path()}" fill="none" stroke="#000000" stroke-opacity="0.22" stroke-width="1"/>'
            f'{extra}'
            f'<circle cx="{cx}" cy="{cy + 1.5}" r="{r + 2.5}" fill="#000000" opacity="0.20"/>'
            f'{record(cx, cy, r)}')
    write(name, svg(W, H, body, defs))


def meter_well():
    x, y, w, h = 492, 134, 104, 236
    return (f'<rect x="{x}" y="{y}" width="{w}" height="{h}" rx="12" fill="#232a33"/>'
            f'<rect x="{x + 0.5}" y="{y + 0.5}" width="{w - 1}" height="{h - 1}" rx="11.5" fill="none" '
            'stroke="#000000" stroke-opacity="0.35"/>'
            f'<rect x="{x + 1.5}" y="{y + 1.5}" width="{w - 3}" height="{h - 3}" rx="10.5" fill="none" '
            'stroke="#ffffff" stroke-opacity="0.05"/>')


def backgrounds():
    background('dlg_PlainBackgroundWithButtons', ('#394657', '#28333f'))
    background('dlg_StartRecording', ('#394657', '#28333f'),
               accent=f'<rect x="1" y="{HEADER_BOTTOM - 3}" width="{W - 2}" height="3" fill="#48b36b"/>',
               extra=meter_well())
    rec = (f'<circle cx="{W - 84}" cy="74" r="12" fill="#ff5a52" opacity="0.25"/>'
           f'<circle cx="{W - 84}" cy="74" r="6.5" fill="#ff5a52"/>')
    background('dlg_Recording', ('#8a2a2e', '#5f1a1f'),
               accent=f'<rect x="1" y="{HEADER_BOTTOM - 3}" width="{W - 2}" height="3" fill="#ff5a52"/>' + rec,
               extra=meter_well())
    background('dlg_Question', ('#2a5563', '#1d3f4a'),
               accent=f'<rect x="1" y="{HEADER_BOTTOM - 3}" width="{W - 2}" height="3" fill="#e8893a"/>')


# Buttons ---------------------------------------------------------------------------------

def pill(w, h, top, bottom, border, inner_light=0.25):
    r = h / 2
    grad = (f'<linearGradient id="g" x1="0" y1="0" x2="0" y2="1"><stop offset="0" stop-color="{top}"/>'
            f'<stop offset="1" stop-color="{bottom}"/></linearGradient>')
    shape = (f'<rect x="1" y="1.5" width="{w - 2}" height="{h - 3}" rx="{r - 1.5}" fill="#000000" opacity="0.10"/>'
             f'<rect x="1" y="0.5" width="{w - 2}" height="{h - 2}" rx="{r - 1}" fill="url(#g)" '
             f'stroke="{border}" stroke-width="1"/>'
             f'<rect x="2.5" y="1.8" width="{w - 5}" height="{h / 2 - 2}" rx="{r - 3}" fill="#ffffff" '
             f'opacity="{inner_light * 0.35:.2f}"/>')
    return grad, shape


def chevron(x, y, direction, colour, size=5):
    d = size if direction == 'right' else -size
    return (f'<path d="M{x - d / 2},{y - size} L{x + d / 2},{y} L{x - d / 2},{y + size}" fill="none" '
            f'stroke="{colour}" stroke-width="2" stroke-linecap="round" stroke-linejoin="round"/>')


def button_set(name, w, h, looks, icon):
    """looks: dict look -> (top, bottom, border, icon colour)."""
    for look, (top, bottom, border, ink) in looks.items():
        grad, shape = pill(w, h, top, bottom, border)
        suffix = '' if look == 'normal' else look
        write(name + suffix, svg(w, h, shape + icon(ink), grad))


def buttons():
    w, h = 148, 40
    dark = {'normal': (SLATE[0], SLATE[1], SLATE[2], '#ffffff')}
    light = {'normal': ('#ffffff', '#f1eee9', '#c4beb5', INK)}
    for tint, (t1, t2, tb, lf, lb, _) in TINTS.items():
        dark[tint] = (t1, t2, tb, '#ffffff')
        light[tint] = (lf, lf, lb, INK)
    button_set('btn_Next', w, h, dark, lambda ink: chevron(w - 20, h / 2 - 0.5, 'right', ink))
    button_set('btn_Back', 124, h, light, lambda ink: chevron(18, h / 2 - 0.5, 'left', ink))
    button_set('btn_Open', 226, h, light, lambda ink: '')
    # Record and Stop carry their symbol in the caption, so long words never run into it.
    button_set('btn_Stop', w, h, dark, lambda ink: '')
    button_set('btn_NewTrack', 172, h, light,
               lambda ink: f'<path d="M20,{h / 2 - 6.5} v12 M14,{h / 2 - 0.5} h12" stroke="{ink}" '
                           'stroke-width="2.2" stroke-linecap="round"/>')
    red = {'normal': ('#e5484a', '#c23335', '#a4282a', '#ffffff'),
           'Aqua': ('#c23335', '#a4282a', '#8a1f21', '#ffffff'),
           'Graphite': ('#b9393b', '#992b2d', '#83232a', '#ffffff')}
    button_set('btn_Record', w, h, red, lambda ink: '')

    # Round help button in the button bar.
    def help_icon(ink):
        return (f'<path d="M11.3,11.6 a3.9,3.9 0 1 1 5.6,3.6 c-1.3,0.6 -1.9,1.3 -1.9,2.6 v0.5" fill="none" '
                f'stroke="{ink}" stroke-width="2" stroke-linecap="round"/>'
                f'<circle cx="15" cy="21.8" r="1.3" fill="{ink}"/>')
    looks = {'normal': ('#ffffff', '#f1eee9', '#c4beb5', '#4a5462')}
    for tint, (t1, t2, tb, lf, lb, _) in TINTS.items():
        looks[tint] = (lf, lf, lb, '#2c3440')
    for look, (top, bottom, border, ink) in looks.items():
        grad, shape = pill(30, 30, top, bottom, border)
        write('btn_Help' + ('' if look == 'normal' else look), svg(30, 30, shape + help_icon(ink), grad))

    # Close button on the dark header.
    def close(fill, opacity, ink):
        return svg(26, 26, f'<circle cx="13" cy="13" r="12.5" fill="{fill}" opacity="{opacity}"/>'
                           f'<path d="M9,9 L17,17 M17,9 L9,17" stroke="{ink}" stroke-width="1.8" '
                           'stroke-linecap="round"/>')
    write('btn_Close', close('#ffffff', 0.16, '#ffffff'))
    write('btn_CloseAqua', close('#e5484a', 1, '#ffffff'))
    write('btn_CloseGraphite', close('#8d949e', 1, '#ffffff'))


# Choice tiles ----------------------------------------------------------------------------

def turntable(cx, cy, s=1.0):
    w, h = 112 * s, 78 * s
    x, y = cx - w / 2, cy - h / 2
    rr = 31 * s
    px, py = x + w * 0.40, cy + 1 * s
    return (f'<rect x="{x}" y="{y + 3 * s}" width="{w}" height="{h}" rx="{8 * s}" fill="#000000" opacity="0.12"/>'
            f'<rect x="{x}" y="{y}" width="{w}" height="{h}" rx="{8 * s}" fill="#3b4350"/>'
            f'<rect x="{x + 1}" y="{y + 1}" width="{w - 2}" height="{h * 0.45}" rx="{7 * s}" fill="#ffffff" opacity="0.06"/>'
            + record(round(px, 1), round(py, 1), round(rr, 1))
            + f'<circle cx="{x + w - 17 * s}" cy="{y + 15 * s}" r="{6 * s}" fill="#59616e"/>'
            f'<circle cx="{x + w - 17 * s}" cy="{y + 15 * s}" r="{2.5 * s}" fill="#c9ced6"/>'
            f'<path d="M{x + w - 17 * s},{y + 15 * s} L{x + w - 15 * s},{y + 48 * s} L{px + 22 * s},{py + 14 * s}" '
            f'fill="none" stroke="#d5d9df" stroke-width="{2.6 * s}" stroke-linecap="round" stroke-linejoin="round"/>'
            f'<rect x="{px + 16 * s}" y="{py + 10 * s}" width="{9 * s}" height="{6 * s}" rx="1.5" fill="#d5d9df" '
            f'transform="rotate(-35 {px + 20 * s} {py + 13 * s})"/>'
            f'<circle cx="{x + w - 13 * s}" cy="{y + h - 12 * s}" r="{3 * s}" fill="#48b36b"/>')


def cassette(cx, cy, s=1.0, label='#efe4cf', stripe='#e8893a', shell='#3b4350', mark=''):
    w, h = 120 * s, 76 * s
    x, y = cx - w / 2, cy - h / 2
    reel = lambda rx: (f'<circle cx="{rx}" cy="{y + 35 * s}" r="{8.5 * s}" fill="#ffffff"/>'
                       f'<circle cx="{rx}" cy="{y + 35 * s}" r="{4 * s}" fill="{shell}"/>'
                       + ''.join(f'<rect x="{rx - 0.9 * s}" y="{y + 35 * s - 8 * s}" width="{1.8 * s}" height="{3 * s}" '
                                 f'fill="{shell}" transform="rotate({a} {rx} {y + 35 * s})"/>' for a in (0, 60, 120, 180, 240, 300)))
    return (f'<rect x="{x}" y="{y + 3 * s}" width="{w}" height="{h}" rx="{6 * s}" fill="#000000" opacity="0.12"/>'
            f'<rect x="{x}" y="{y}" width="{w}" height="{h}" rx="{6 * s}" fill="{shell}"/>'
            f'<rect x="{x + 8 * s}" y="{y + 7 * s}" width="{w - 16 * s}" height="{46 * s}" rx="{3 * s}" fill="{label}"/>'
            f'<rect x="{x + 8 * s}" y="{y + 12 * s}" width="{w - 16 * s}" height="{5 * s}" fill="{stripe}"/>'
            f'<rect x="{x + 30 * s}" y="{y + 26 * s}" width="{w - 60 * s}" height="{18 * s}" rx="{9 * s}" fill="#2a2f37"/>'
            + reel(x + 39 * s) + reel(x + w - 39 * s) +
            f'<path d="M{x + 26 * s},{y + h} L{x + 32 * s},{y + h - 14 * s} H{x + w - 32 * s} L{x + w - 26 * s},{y + h} Z" '
            f'fill="#000000" opacity="0.25"/>'
            f'{mark}')


def tape_deck(cx, cy, s=1.0):
    w, h = 128 * s, 76 * s
    x, y = cx - w / 2, cy - h / 2
    keys = ''.join(f'<rect x="{x + 14 * s + i * 17 * s}" y="{y + h - 17 * s}" width="{13 * s}" height="{8 * s}" '
                   f'rx="1.5" fill="#59616e"/>' for i in range(5))
    return (f'<rect x="{x}" y="{y + 3 * s}" width="{w}" height="{h}" rx="{7 * s}" fill="#000000" opacity="0.12"/>'
            f'<rect x="{x}" y="{y}" width="{w}" height="{h}" rx="{7 * s}" fill="#3b4350"/>'
            f'<rect x="{x + 10 * s}" y="{y + 9 * s}" width="{w - 20 * s}" height="{40 * s}" rx="{4 * s}" fill="#1d2229"/>'
            f'<rect x="{x + 28 * s}" y="{y + 15 * s}" width="{w - 56 * s}" height="{26 * s}" rx="{3 * s}" fill="#efe4cf"/>'
            f'<rect x="{x + 28 * s}" y="{y + 18 * s}" width="{w - 56 * s}" height="{3 * s}" fill="#e8893a"/>'
            f'<rect x="{x + 44 * s}" y="{y + 25 * s}" width="{w - 88 * s}" height="{11 * s}" rx="{5.5 * s}" fill="#2a2f37"/>'
            f'<circle cx="{x + 50 * s}" cy="{y + 30.5 * s}" r="{4 * s}" fill="#ffffff"/>'
            f'<circle cx="{x + w - 50 * s}" cy="{y + 30.5 * s}" r="{4 * s}" fill="#ffffff"/>'
            f'{keys}'
            f'<circle cx="{x + w - 14 * s}" cy="{y + h - 13 * s}" r="{3 * s}" fill="#48b36b"/>')


def tile_set(name, w, h, art):
    def tile(fill, border, width, badge):
        check = ''
        if badge:
            check = (f'<circle cx="{w - 20}" cy="20" r="10" fill="{badge}"/>'
                     f'<path d="M{w - 25},20 l3.5,3.5 l6.5,-7" fill="none" stroke="#ffffff" stroke-width="2.2" '
                     'stroke-linecap="round" stroke-linejoin="round"/>')
        return svg(w, h, f'<rect x="1" y="2.5" width="{w - 2}" height="{h - 3.5}" rx="14" fill="#000000" opacity="0.08"/>'
                         f'<rect x="{width / 2 + 0.5}" y="{width / 2 + 0.5}" width="{w - width - 1}" height="{h - width - 2}" '
                         f'rx="13" fill="{fill}" stroke="{border}" stroke-width="{width}"/>' + art + check)
    write(name, tile('#ffffff', '#d3cdc4', 1.2, None))
    for tint, (_, _, _, lf, lb, badge) in TINTS.items():
        write(name + tint, tile(lf, badge, 2.5, badge))


def answer_set(name, w, h):
    def answer(fill, border, width, badge):
        mark = ''
        if badge:
            mark = (f'<circle cx="26" cy="{h / 2}" r="10" fill="{badge}"/>'
                    f'<path d="M21,{h / 2} l3.5,3.5 l6.5,-7" fill="none" stroke="#ffffff" stroke-width="2.2" '
                    'stroke-linecap="round" stroke-linejoin="round"/>')
        else:
            mark = f'<circle cx="26" cy="{h / 2}" r="9.5" fill="none" stroke="#bfb8ae" stroke-width="1.5"/>'
        return svg(w, h, f'<rect x="1" y="2.5" width="{w - 2}" height="{h - 3.5}" rx="12" fill="#000000" opacity="0.08"/>'
                         f'<rect x="{width / 2 + 0.5}" y="{width / 2 + 0.5}" width="{w - width - 1}" height="{h - width - 2}" '
                         f'rx="11" fill="{fill}" stroke="{border}" stroke-width="{width}"/>' + mark)
    write(name, answer('#ffffff', '#d3cdc4', 1.2, None))
    for tint, (_, _, _, lf, lb, badge) in TINTS.items():
        write(name + tint, answer(lf, badge, 2.5, badge))


def tiles():
    tw, th = 196, 176
    tile_set('tile_Turntable', tw, th, turntable(tw / 2, 58, 0.95))
    tile_set('tile_TapeDeck', tw, th, tape_deck(tw / 2, 58, 1.0))
    tile_set('tile_NormalTape', tw, th, cassette(tw / 2, 58, 1.0))
    chrome_mark = ('<g font-family="sans-serif" font-weight="bold" font-size="9" fill="#ffffff">'
                   f'<text x="{tw / 2 + 40}" y="{58 + 34}" text-anchor="end">II</text></g>')
    tile_set('tile_ChromeTape', tw, th,
             cassette(tw / 2, 58, 1.0, label='#d9dde3', stripe='#5b6b85', shell='#1f242b', mark=chrome_mark))
    answer_set('btn_Answer', 232, 52)


# Pictures --------------------------------------------------------------------------------

def connect_picture():
    w, h = 250, 220
    laptop = ('<rect x="138" y="40" width="100" height="66" rx="6" fill="#3b4350"/>'
              '<rect x="144" y="46" width="88" height="54" rx="2" fill="#dfe9f5"/>'
              '<rect x="144" y="46" width="88" height="12" fill="#394657"/>'
              '<circle cx="156" cy="78" r="10" fill="#14171c"/><circle cx="156" cy="78" r="3.6" fill="#e8893a"/>'
              '<rect x="172" y="70" width="50" height="4" rx="2" fill="#9fb3cc"/>'
              '<rect x="172" y="80" width="38" height="4" rx="2" fill="#c3d1e2"/>'
              '<path d="M128,106 H248 L242,116 H134 Z" fill="#59616e"/>'
              '<rect x="176" y="106" width="24" height="3" rx="1.5" fill="#3b4350"/>')
    cable = ('<path d="M70,170 C70,200 150,206 178,170 C190,154 196,132 196,117" fill="none" '
             'stroke="#59616e" stroke-width="4" stroke-linecap="round"/>'
             '<rect x="189" y="110" width="14" height="9" rx="2" fill="#8b939f"/>')
    plug = '<rect x="63" y="160" width="14" height="12" rx="2" fill="#8b939f"/>'
    body = (f'<ellipse cx="125" cy="{h - 14}" rx="112" ry="10" fill="#000000" opacity="0.06"/>'
            + cable + laptop + turntable(66, 128, 0.95) + plug)
    write('art_Connect', svg(w, h, body))


def library_picture():
    w, h = 200, 170
    shelf = ''.join(f'<rect x="{96 + i * 16}" y="{40 + (i % 2) * 6}" width="13" height="{96 - (i % 2) * 6}" rx="2" '
                    f'fill="{c}"/>' for i, c in enumerate(('#e8893a', '#48b36b', '#4796f2', '#c23335', '#8a6bd1')))
    note = ('<path d="M78,44 v50" stroke="#3b4350" stroke-width="5" stroke-linecap="round"/>'
            '<path d="M78,45 C81,58 95,60 92,78" fill="none" stroke="#3b4350" stroke-width="5" '
            'stroke-linecap="round"/>'
            '<ellipse cx="69" cy="95" rx="11" ry="8" fill="#3b4350" transform="rotate(-22 69 95)"/>')
    body = (f'<ellipse cx="100" cy="{h - 16}" rx="90" ry="9" fill="#000000" opacity="0.06"/>'
            f'<rect x="88" y="136" width="96" height="8" rx="3" fill="#59616e"/>'
            + shelf + record(40, 124, 28) + note)
    write('art_Library', svg(w, h, body))


def app_icon():
    s = 256
    defs = ('<linearGradient id="bg" x1="0" y1="0" x2="0" y2="1"><stop offset="0" stop-color="#41506a"/>'
            '<stop offset="1" stop-color="#27313f"/></linearGradient>')
    body = (f'<rect x="8" y="8" width="240" height="240" rx="54" fill="url(#bg)"/>'
            f'<rect x="8.5" y="8.5" width="239" height="239" rx="53.5" fill="none" stroke="#ffffff" stroke-opacity="0.12"/>'
            + record(112, 110, 78)
            + cassette(168, 184, 0.78)
            + '<path d="M204,42 v40 m-14,-14 l14,14 l14,-14" fill="none" stroke="#ffffff" stroke-width="8" '
              'stroke-linecap="round" stroke-linejoin="round" opacity="0.9"/>')
    write('tolm-audio-converter', svg(s, s, body, defs))


if __name__ == '__main__':
    os.makedirs(OUT, exist_ok=True)
    backgrounds()
    buttons()
    tiles()
    connect_picture()
    library_picture()
    app_icon()
    write('ind_Check', svg(18, 18, '<path d="M4.5,9.5 l3,3 l6,-7" fill="none" stroke="#ffffff" '
                                   'stroke-width="2.2" stroke-linecap="round" stroke-linejoin="round"/>'))
    print('artwork written to', OUT)
