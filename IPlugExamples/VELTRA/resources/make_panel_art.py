#!/usr/bin/env python3
"""Draws VELTRA's panel art into resources/img/: the background with its
sections, captions, scale marks, meter seats, fader track and unpressed
keyboard, and the frame strips of knobs, switches, LEDs, fader handle and
pressed keys. Needs python3-cairo and python3-numpy (Debian). Run it from
anywhere:

    python3 IPlugExamples/VELTRA/resources/make_panel_art.py

Every image is drawn twice: at the panel's own size (name.png) and at twice
its size (name@2x.png, the same frames in the same order), from which the
panel is drawn when it is shown larger. The places below are the panel's
units (VELTRAPanel.cpp); the sizes of the strips fit them without overlaps."""

import math
import os
import re
import struct
import zlib

import cairo
import numpy

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "img")
W, H = 920, 400
# Pixels per panel unit of the images being drawn: 1, then 2 for the @2x set.
SCALE = 1

# Sizes of one frame of each strip.
KNOB = 36
SWITCH_W, SWITCH_H = 20, 32
LED = 12
HANDLE_W, HANDLE_H = 24, 14
WHITE_W, WHITE_H = 20, 110
BLACK_W, BLACK_H = 12, 68
KEYS_X, KEYS_Y, OCTAVES = 180, 269, 4
KEY_COORDS = [0, 12, 21, 36, 42, 65, 72, 85, 95, 111, 118, 132]
FADER_X, FADER_Y, FADER_LEN = 115, 280, 100

# Palette.
PANEL_TOP = (0.180, 0.192, 0.212)
PANEL_BOTTOM = (0.118, 0.126, 0.141)
SECTION_FILL = (0.205, 0.219, 0.243)
SECTION_EDGE = (0.318, 0.337, 0.373)
LEGEND = (0.925, 0.937, 0.953)
CAPTION = (0.690, 0.718, 0.765)
MARK = (0.490, 0.514, 0.557)
ACCENT = (85 / 255.0, 174 / 255.0, 1.0)
ACCENT_DIM = (0.075, 0.180, 0.290)
TRACK = (0.090, 0.098, 0.110)

START, SWEEP = -135.0, 270.0  # knob pointer: degrees from straight up, clockwise

# Every knob and switch: x, y, caption. Knobs 36 x 36, switches 20 x 32.
KNOBS = [
    (140, 40, "Tune"), (200, 40, "Attack"), (250, 40, "Decay"), (300, 40, "Sustain"), (350, 40, "Release"),
    (410, 40, "Volume"),
    (140, 140, "Tune"), (200, 140, "Attack"), (250, 140, "Decay"), (300, 140, "Sustain"), (350, 140, "Release"),
    (410, 140, "Volume"),
    (570, 50, "Cutoff"), (620, 50, "Reso"), (670, 50, "Feedback"),
    (570, 130, "Rate"), (620, 130, "Shape"), (670, 130, "Depth"),
    (570, 190, "Attack"), (620, 190, "Release"), (670, 190, "Depth"),
    (770, 50, "Destruct"), (850, 50, "Mix"),
    (770, 120, "Depth"), (850, 120, "Speed"),
    (770, 190, "Depth"), (850, 190, "Length"),
    (60, 200, "Rate"), (115, 200, "Depth"),
    (25, 280, "Time"),
    (813, 280, "Volume"),
]
BIPOLAR_KNOBS = {(140, 40), (140, 140)}  # the tunes: centre marked
WAVE_KNOBS = [(30, 40, "Wave"), (30, 140, "Wave")]
OCTAVE_KNOBS = [(90, 40, "Octave"), (90, 140, "Octave")]
SWITCHES = [(20, 204, "On"), (28, 345, "On"), (200, 204, "On")]
CRUSHER_SWITCH = (815, 55)  # its caption sits above it, between the two knobs' captions
MODE_SWITCH = (480, 95)
LEDS = [(608, 225), (608, 165), (100, 240)]

# Sections: rectangle and heading, which sits on the top edge.
SECTIONS = [
    ((8, 22, 462, 94), "OP1"),
    ((8, 122, 462, 192), "OP2"),
    ((466, 22, 554, 192), "Mode"),
    ((8, 199, 180, 258), "PWM"),
    ((184, 199, 288, 258), "Smoothing"),
    ((558, 22, 712, 100), "Filter"),
    # The AR envelope's heading keeps clear of the LFO's box above it.
    ((558, 114, 712, 179), "LFO"),
    ((558, 185, 712, 258), "AR Envelope"),
    ((758, 22, 912, 100), "Crusher"),
    ((758, 108, 912, 170), "Chorus"),
    ((758, 178, 912, 244), "Reverb"),
    ((8, 266, 104, 394), "Portamento"),
    ((758, 262, 912, 394), "Master"),
]

WAVES = ["vlt_sine", "vlt_tri", "vlt_sqr", "vlt_pulse", "vlt_saw", "vlt_noise", "vlt_hammond", "vlt_yamrect",
         "vlt_yamsaw"]


def wave_tables():
    """The nine tables, read from the instrument's own source."""
    src = open(os.path.join(HERE, "..", "VLTWaveTables.cpp")).read()
    tables = []
    for name in WAVES:
        body = re.search(r"const double %s\[256\]\s*=\s*\{(.*?)\};" % name, src, re.S).group(1)
        tables.append([float(v) for v in re.findall(r"[-+]?[0-9]*\.?[0-9]+(?:[eE][-+]?[0-9]+)?", body)])
    return tables


def surface(w, h):
    """An image of w x h panel units at the current scale, drawn in units."""
    s = cairo.ImageSurface(cairo.FORMAT_ARGB32, w * SCALE, h * SCALE)
    c = cairo.Context(s)
    c.scale(SCALE, SCALE)
    fo = cairo.FontOptions()
    fo.set_antialias(cairo.ANTIALIAS_GRAY)
    fo.set_hint_style(cairo.HINT_STYLE_SLIGHT)
    fo.set_hint_metrics(cairo.HINT_METRICS_ON)
    c.set_font_options(fo)
    return s, c


def rounded(c, x, y, w, h, r):
    c.new_sub_path()
    c.arc(x + w - r, y + r, r, -math.pi / 2, 0)
    c.arc(x + w - r, y + h - r, r, 0, math.pi / 2)
    c.arc(x + r, y + h - r, r, math.pi / 2, math.pi)
    c.arc(x + r, y + r, r, math.pi, 1.5 * math.pi)
    c.close_path()


def text(c, s, x, y, size=9, bold=False, colour=CAPTION, align="centre", spacing=0.0):
    """Text with its baseline at y; x is its centre, left or right edge."""
    c.select_font_face("DejaVu Sans", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_BOLD if bold else cairo.FONT_WEIGHT_NORMAL)
    c.set_font_size(size)
    width = sum(c.text_extents(ch).x_advance for ch in s) + spacing * (len(s) - 1)
    left = x - width / 2 if align == "centre" else x - width if align == "right" else x
    c.set_source_rgb(*colour)
    for ch in s:
        # Each letter starts on a whole pixel, so that the hinting holds.
        c.move_to(round(left * SCALE) / SCALE, y)
        c.show_text(ch)
        left += c.text_extents(ch).x_advance + spacing
    return width


def polar(cx, cy, r, degrees):
    a = math.radians(degrees)
    return cx + r * math.sin(a), cy - r * math.cos(a)


# ---------------------------------------------------------------------------
# Knobs.

def knob_body(c, cx, cy):
    # Drop shadow, knurled rim, cap with light from above.
    g = cairo.RadialGradient(cx, cy + 1.5, 9, cx, cy + 1.5, 14.5)
    g.add_color_stop_rgba(0, 0, 0, 0, 0.55)
    g.add_color_stop_rgba(1, 0, 0, 0, 0)
    c.set_source(g)
    c.arc(cx, cy + 1.5, 14.5, 0, 2 * math.pi)
    c.fill()
    g = cairo.LinearGradient(cx, cy - 12, cx, cy + 12)
    g.add_color_stop_rgb(0, 0.36, 0.38, 0.42)
    g.add_color_stop_rgb(1, 0.12, 0.13, 0.15)
    c.set_source(g)
    c.arc(cx, cy, 12, 0, 2 * math.pi)
    c.fill()
    g = cairo.LinearGradient(cx, cy - 10, cx, cy + 10)
    g.add_color_stop_rgb(0, 0.30, 0.32, 0.36)
    g.add_color_stop_rgb(1, 0.17, 0.18, 0.21)
    c.set_source(g)
    c.arc(cx, cy, 10, 0, 2 * math.pi)
    c.fill()
    c.set_line_width(1)
    c.set_source_rgba(1, 1, 1, 0.10)
    c.arc(cx, cy, 9.5, math.radians(200), math.radians(340))
    c.stroke()


def value_ring(c, cx, cy, fraction, bipolar=False):
    c.set_line_cap(cairo.LINE_CAP_ROUND)
    c.set_line_width(2.6)
    c.set_source_rgb(*TRACK)
    c.arc(cx, cy, 15.5, math.radians(START - 90), math.radians(START + SWEEP - 90))
    c.stroke()
    a0 = START + SWEEP / 2 if bipolar else START
    a1 = START + SWEEP * fraction
    if abs(a1 - a0) > 0.5:
        c.set_source_rgb(*ACCENT)
        lo, hi = min(a0, a1), max(a0, a1)
        c.arc(cx, cy, 15.5, math.radians(lo - 90), math.radians(hi - 90))
        c.stroke()
    c.set_line_cap(cairo.LINE_CAP_BUTT)


def pointer(c, cx, cy, degrees, inner=3.5, outer=9.5):
    c.set_line_cap(cairo.LINE_CAP_ROUND)
    c.set_line_width(2.2)
    c.set_source_rgb(0.96, 0.97, 0.98)
    c.move_to(*polar(cx, cy, inner, degrees))
    c.line_to(*polar(cx, cy, outer, degrees))
    c.stroke()
    c.set_line_cap(cairo.LINE_CAP_BUTT)


def strip(frames, w, h, draw):
    s, c = surface(w, h * frames)
    for f in range(frames):
        c.save()
        c.translate(0, f * h)
        draw(c, f)
        c.restore()
    return s


def general_knob(frames=60, bipolar=False):
    def draw(c, f):
        v = f / (frames - 1)
        cx = cy = KNOB / 2
        value_ring(c, cx, cy, v, bipolar)
        knob_body(c, cx, cy)
        pointer(c, cx, cy, START + SWEEP * v)
    return strip(frames, KNOB, KNOB, draw)


def selector_knob(n, label):
    """A stepped knob: n detents on the ring, the chosen one lit, and what it
    chooses shown on the cap."""
    def draw(c, f):
        cx = cy = KNOB / 2
        for i in range(n):
            x, y = polar(cx, cy, 15.5, START + SWEEP * i / (n - 1))
            c.set_source_rgb(*(ACCENT if i == f else (0.30, 0.32, 0.36)))
            c.arc(x, y, 1.9 if i == f else 1.3, 0, 2 * math.pi)
            c.fill()
        knob_body(c, cx, cy)
        x, y = polar(cx, cy, 10.2, START + SWEEP * f / (n - 1))
        c.set_source_rgb(0.96, 0.97, 0.98)
        c.arc(x, y, 1.4, 0, 2 * math.pi)
        c.fill()
        label(c, f, cx, cy)
    return strip(n, KNOB, KNOB, draw)


def wave_glyph(tables):
    def label(c, f, cx, cy):
        t = tables[f]
        lo, hi = min(t), max(t)
        span = (hi - lo) or 1.0
        c.set_line_width(1.1)
        c.set_line_join(cairo.LINE_JOIN_ROUND)
        c.set_source_rgb(*ACCENT)
        for i in range(0, 257, 4):
            v = t[min(i, 255)]
            x = cx - 6.5 + 13.0 * i / 256
            y = cy + 3.5 - 7.0 * (v - lo) / span
            if i == 0:
                c.move_to(x, y)
            else:
                c.line_to(x, y)
        c.stroke()
    return label


def octave_digit(c, f, cx, cy):
    text(c, str(f), cx, cy + 3.5, size=10, bold=True, colour=ACCENT)


# ---------------------------------------------------------------------------
# Switches, LED, fader handle.

def switch_strip(mode=False):
    """An on/off switch, lit in the slot's free half when on; or, for the
    mode switch, whose two positions are both modes, a lever whose own light
    always sits beside the chosen mode's legend."""
    def draw(c, f):
        on = f == 1
        x0, y0 = 3, 2
        # Slot.
        rounded(c, x0, y0, 14, 28, 4)
        c.set_source_rgb(0.07, 0.075, 0.085)
        c.fill_preserve()
        c.set_source_rgb(0.33, 0.35, 0.39)
        c.set_line_width(1)
        c.stroke()
        # Lever: up for on, down for off.
        ly = y0 + 2 if on else y0 + 14
        g = cairo.LinearGradient(0, ly, 0, ly + 12)
        g.add_color_stop_rgb(0, 0.78, 0.80, 0.84)
        g.add_color_stop_rgb(1, 0.42, 0.44, 0.48)
        rounded(c, x0 + 2, ly, 10, 12, 3)
        c.set_source(g)
        c.fill()
        if mode:
            g = cairo.RadialGradient(10, ly + 6, 0, 10, ly + 6, 4.5)
            g.add_color_stop_rgba(0, *ACCENT, 1.0)
            g.add_color_stop_rgba(0.45, *ACCENT, 0.9)
            g.add_color_stop_rgba(1, *ACCENT, 0.0)
            c.set_source(g)
            c.arc(10, ly + 6, 4.5, 0, 2 * math.pi)
            c.fill()
            return
        c.set_source_rgba(0, 0, 0, 0.35)
        c.rectangle(x0 + 4, ly + 5, 6, 1)
        c.rectangle(x0 + 4, ly + 7, 6, 1)
        c.fill()
        # Light in the slot's free half when on.
        if on:
            g = cairo.RadialGradient(10, y0 + 21, 0, 10, y0 + 21, 5)
            g.add_color_stop_rgba(0, *ACCENT, 1.0)
            g.add_color_stop_rgba(1, *ACCENT, 0.0)
            c.set_source(g)
            c.arc(10, y0 + 21, 5, 0, 2 * math.pi)
            c.fill()
    return strip(2, SWITCH_W, SWITCH_H, draw)


def led_strip(frames=30):
    def draw(c, f):
        v = f / (frames - 1)
        cx = cy = LED / 2
        base = tuple(d + (a - d) * v for d, a in zip(ACCENT_DIM, ACCENT))
        g = cairo.RadialGradient(cx, cy, 0, cx, cy, 6)
        g.add_color_stop_rgba(0, *ACCENT, 0.55 * v)
        g.add_color_stop_rgba(1, *ACCENT, 0.0)
        c.set_source(g)
        c.arc(cx, cy, 6, 0, 2 * math.pi)
        c.fill()
        g = cairo.RadialGradient(cx - 1, cy - 1, 0, cx, cy, 3.6)
        g.add_color_stop_rgb(0, *(min(1.0, b + 0.45 * v + 0.08) for b in base))
        g.add_color_stop_rgb(1, *base)
        c.set_source(g)
        c.arc(cx, cy, 3.6, 0, 2 * math.pi)
        c.fill()
    return strip(frames, LED, LED, draw)


def handle_strip():
    def draw(c, f):
        rounded(c, 0.5, 0.5, HANDLE_W - 1, HANDLE_H - 1, 2.5)
        g = cairo.LinearGradient(0, 0, 0, HANDLE_H)
        g.add_color_stop_rgb(0, 0.80, 0.82, 0.86)
        g.add_color_stop_rgb(0.5, 0.56, 0.58, 0.62)
        g.add_color_stop_rgb(1, 0.34, 0.36, 0.40)
        c.set_source(g)
        c.fill_preserve()
        c.set_source_rgb(0.10, 0.11, 0.12)
        c.set_line_width(1)
        c.stroke()
        c.set_source_rgb(*ACCENT)
        c.rectangle(3, HANDLE_H / 2 - 0.75, HANDLE_W - 6, 1.5)
        c.fill()
    return strip(1, HANDLE_W, HANDLE_H, draw)


# ---------------------------------------------------------------------------
# Keys. The white keys' notches: where the neighbouring black keys cover
# them, from the black keys' offsets (E and B share a frame, so it takes the
# wider notch of the two).

def key_notches():
    """(left, right) widths that the black keys cover of each white key of
    an octave, C to B."""
    def cover(left_edge):
        left = right = 0
        for n in (1, 3, 6, 8, 10):
            b0, b1 = KEY_COORDS[n], KEY_COORDS[n] + BLACK_W
            if b0 < left_edge < b1:
                left = b1 - left_edge
            if b0 < left_edge + WHITE_W < b1:
                right = left_edge + WHITE_W - b0
        return left, right
    return [cover(i * WHITE_W) for i in range(7)]


def frame_notches():
    """The notches of the six pressed-key frames: C and F, D, E and B, G, A,
    the top key. E and B share a frame, which takes the wider notch of the
    two so that it never paints over a black key."""
    c, d, e, f, g, a, b = key_notches()
    return [c, d, (max(e[0], b[0]), max(e[1], b[1])), g, a, (0, 0)]


def white_key_path(c, x, left, right):
    c.move_to(x + left, 0)
    c.line_to(x + WHITE_W - right, 0)
    c.line_to(x + WHITE_W - right, BLACK_H)
    c.line_to(x + WHITE_W, BLACK_H)
    c.line_to(x + WHITE_W, WHITE_H)
    c.line_to(x, WHITE_H)
    c.line_to(x, BLACK_H)
    c.line_to(x + left, BLACK_H)
    c.close_path()


def white_key(c, x, y, notch, pressed):
    c.save()
    c.translate(0, y)
    c.save()
    white_key_path(c, x + 0.5, notch[0], notch[1])
    c.clip()
    g = cairo.LinearGradient(0, 0, 0, WHITE_H)
    if pressed:
        g.add_color_stop_rgb(0, 0.62, 0.72, 0.84)
        g.add_color_stop_rgb(0.12, 0.80, 0.87, 0.95)
        g.add_color_stop_rgb(1, 0.86, 0.91, 0.97)
    else:
        g.add_color_stop_rgb(0, 0.80, 0.80, 0.78)
        g.add_color_stop_rgb(0.08, 0.96, 0.955, 0.94)
        g.add_color_stop_rgb(0.93, 0.93, 0.925, 0.91)
        g.add_color_stop_rgb(1, 0.78, 0.775, 0.76)
    c.set_source(g)
    c.paint()
    c.restore()
    c.set_line_width(1)
    c.set_source_rgb(0.20, 0.20, 0.21)
    c.move_to(x + 0.5, 0)
    c.line_to(x + 0.5, WHITE_H)
    c.move_to(x + WHITE_W - 0.5, BLACK_H)
    c.line_to(x + WHITE_W - 0.5, WHITE_H)
    c.stroke()
    c.restore()


def black_key(c, x, y, pressed):
    rounded(c, x, y - 2, BLACK_W, BLACK_H + 2, 1.5)
    g = cairo.LinearGradient(x, 0, x + BLACK_W, 0)
    if pressed:
        g.add_color_stop_rgb(0, 0.10, 0.22, 0.36)
        g.add_color_stop_rgb(0.5, 0.16, 0.34, 0.54)
        g.add_color_stop_rgb(1, 0.08, 0.18, 0.30)
    else:
        g.add_color_stop_rgb(0, 0.06, 0.06, 0.07)
        g.add_color_stop_rgb(0.5, 0.17, 0.17, 0.19)
        g.add_color_stop_rgb(1, 0.05, 0.05, 0.06)
    c.set_source(g)
    c.fill()
    # The key's top face ends above its front edge.
    c.set_source_rgba(1, 1, 1, 0.16 if not pressed else 0.22)
    c.rectangle(x + 2, y + BLACK_H - 8, BLACK_W - 4, 5)
    c.fill()


def white_keys_strip():
    notches = frame_notches()
    return strip(6, WHITE_W, WHITE_H, lambda c, f: white_key(c, 0, 0, notches[f], True))


def black_key_strip():
    s, c = surface(BLACK_W, BLACK_H)
    black_key(c, 0, 0, True)
    return s


def keyboard(c):
    notches = key_notches()
    # The key bed.
    rounded(c, KEYS_X - 6, KEYS_Y - 7, OCTAVES * 7 * WHITE_W + WHITE_W + 12, WHITE_H + 22, 5)
    c.set_source_rgb(0.06, 0.065, 0.075)
    c.fill()
    c.set_source_rgb(*ACCENT)
    c.rectangle(KEYS_X - 2, KEYS_Y - 3, OCTAVES * 7 * WHITE_W + WHITE_W + 4, 1.5)
    c.fill()
    x = KEYS_X
    for o in range(OCTAVES):
        for i in range(7):
            white_key(c, x, KEYS_Y, notches[i], False)
            x += WHITE_W
    white_key(c, x, KEYS_Y, (0, 0), False)
    for o in range(OCTAVES):
        for n in (1, 3, 6, 8, 10):
            black_key(c, KEYS_X + o * 7 * WHITE_W + KEY_COORDS[n], KEYS_Y, False)
    for o in range(OCTAVES + 1):
        text(c, "C%d" % (3 + o), KEYS_X + o * 7 * WHITE_W + WHITE_W / 2, KEYS_Y + WHITE_H + 11, size=8, colour=MARK)


# ---------------------------------------------------------------------------
# The background.

def section(c, rect, title):
    x0, y0, x1, y1 = rect
    rounded(c, x0 + 0.5, y0 + 0.5, x1 - x0 - 1, y1 - y0 - 1, 5)
    g = cairo.LinearGradient(0, y0, 0, y1)
    g.add_color_stop_rgb(0, *(v + 0.012 for v in SECTION_FILL))
    g.add_color_stop_rgb(1, *(v - 0.012 for v in SECTION_FILL))
    c.set_source(g)
    c.fill_preserve()
    c.set_source_rgb(*SECTION_EDGE)
    c.set_line_width(1)
    c.stroke()
    # The heading sits on the top edge, the edge broken behind it.
    c.select_font_face("DejaVu Sans", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_BOLD)
    c.set_font_size(9)
    label = title.upper()
    # Letter-spaced from 12 pixels in; a heading too long for that keeps 10
    # pixels from each rounded corner, closing up its letters if it must.
    spacing, left = 1.2, x0 + 12
    advance = sum(c.text_extents(ch).x_advance for ch in label)
    room = (x1 - 10) - (x0 + 10)
    if left + advance + spacing * (len(label) - 1) > x1 - 10:
        spacing = max(0.0, min(spacing, (room - advance) / (len(label) - 1)))
        left = x0 + 10
    width = advance + spacing * (len(label) - 1)
    c.set_source_rgb(*PANEL_TOP)
    c.rectangle(left - 4, y0 - 1, width + 8, 3)
    c.fill()
    text(c, label, left, y0 + 4, size=9, bold=True, colour=LEGEND, align="left", spacing=spacing)


def knob_marks(c, x, y, detents=0, bipolar=False):
    cx, cy = x + KNOB / 2, y + KNOB / 2
    c.set_source_rgb(*MARK)
    c.set_line_width(1)
    ends = [START, START + SWEEP] + ([START + SWEEP / 2] if bipolar else [])
    for a in ends:
        c.move_to(*polar(cx, cy, 18.5, a))
        c.line_to(*polar(cx, cy, 21, a))
    c.stroke()


def caption_below(c, x, y, w, h, label, shift=0):
    """The caption centred under its control, kept 5 units inside the
    section it lies in, and its baseline 5 units above the section's foot."""
    c.select_font_face("DejaVu Sans", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_NORMAL)
    c.set_font_size(9)
    half = sum(c.text_extents(ch).x_advance for ch in label) / 2
    centre, baseline = x + w / 2 + shift, y + h + 9
    for (x0, y0, x1, y1), _ in SECTIONS:
        if x0 <= x + w / 2 <= x1 and y0 <= y + h <= y1:
            centre = min(max(centre, x0 + 5 + half), x1 - 5 - half)
            baseline = min(baseline, y1 - 5)
    text(c, label, centre, baseline, size=9, colour=CAPTION)


def beside_meter(x, y):
    """Captions of knobs whose right neighbour or left neighbour is a meter
    move away from it."""
    for mx, my in LEDS:
        if my - KNOB <= y <= my and 0 < mx - x <= KNOB + 4:
            return -5
        if my - KNOB <= y <= my and 0 <= x - (mx + LED) <= 10:
            return 9
    return 0


def background(tables):
    s, c = surface(W, H)
    g = cairo.LinearGradient(0, 0, 0, H)
    g.add_color_stop_rgb(0, *PANEL_TOP)
    g.add_color_stop_rgb(1, *PANEL_BOTTOM)
    c.set_source(g)
    c.paint()
    # A fine grain, so that the large surfaces are not flat.
    c.set_line_width(1)
    for yy in range(0, H, 2):
        c.set_source_rgba(1, 1, 1, 0.012 if yy % 4 else 0.0)
        c.move_to(0, yy + 0.5)
        c.line_to(W, yy + 0.5)
        c.stroke()
    for rect, title in SECTIONS:
        section(c, rect, title)

    for x, y, label in KNOBS:
        knob_marks(c, x, y, bipolar=(x, y) in BIPOLAR_KNOBS)
        caption_below(c, x, y, KNOB, KNOB, label, beside_meter(x, y))
    for x, y, label in WAVE_KNOBS + OCTAVE_KNOBS:
        caption_below(c, x, y, KNOB, KNOB, label)
    for x, y, label in SWITCHES:
        caption_below(c, x, y, SWITCH_W, SWITCH_H - 2, label)

    sx, sy = CRUSHER_SWITCH
    text(c, "Pre VCF", sx + SWITCH_W / 2, sy - 4, size=9, colour=CAPTION)

    # The mode switch: FM with the lever up, the sum of both operators down.
    mx, my = MODE_SWITCH
    text(c, "FM", mx + SWITCH_W + 6, my + 11, size=9, bold=True, colour=LEGEND, align="left")
    text(c, "OP1 > OP2", mx + SWITCH_W + 6, my + 20, size=7, colour=MARK, align="left")
    text(c, "SUM", mx + SWITCH_W + 6, my + 44, size=9, bold=True, colour=LEGEND, align="left")
    text(c, "OP1 + OP2", mx + SWITCH_W + 6, my + 53, size=7, colour=MARK, align="left")

    # Seats of the meter LEDs.
    for x, y in LEDS:
        c.set_source_rgb(0.05, 0.055, 0.06)
        c.arc(x + LED / 2, y + LED / 2, 6.5, 0, 2 * math.pi)
        c.fill()
        c.set_source_rgb(*SECTION_EDGE)
        c.set_line_width(1)
        c.arc(x + LED / 2, y + LED / 2, 6.5, 0, 2 * math.pi)
        c.stroke()

    # The pitch-bend fader's track, with its centre and scale.
    cx = FADER_X + HANDLE_W / 2
    top, bottom = FADER_Y + HANDLE_H / 2, FADER_Y + FADER_LEN - HANDLE_H / 2
    c.set_source_rgb(*MARK)
    for i in range(11):
        yy = round(top + (bottom - top) * i / 10) + 0.5
        half = 9 if i in (0, 5, 10) else 6
        c.move_to(cx - half - 4, yy)
        c.line_to(cx - 4, yy)
        c.move_to(cx + 4, yy)
        c.line_to(cx + half + 4, yy)
    c.stroke()
    rounded(c, cx - 2, top - 3, 4, bottom - top + 6, 2)
    c.set_source_rgb(0.04, 0.045, 0.05)
    c.fill()
    text(c, "Bend", cx, FADER_Y + FADER_LEN + 10, size=9, colour=CAPTION)

    # The program display: the name on the left, the menu on the right.
    rounded(c, 292.5, 206.5, 201, 51, 4)
    g = cairo.LinearGradient(0, 206, 0, 258)
    g.add_color_stop_rgb(0, 0.030, 0.045, 0.065)
    g.add_color_stop_rgb(1, 0.045, 0.065, 0.090)
    c.set_source(g)
    c.fill_preserve()
    c.set_source_rgb(*SECTION_EDGE)
    c.set_line_width(1)
    c.stroke()
    c.set_source_rgba(*ACCENT, 0.25)
    c.move_to(410.5, 212)
    c.line_to(410.5, 252)
    c.stroke()
    text(c, "PROGRAM", 352, 250, size=7, colour=(0.35, 0.50, 0.66), spacing=1.0)
    text(c, "LOAD", 450, 230, size=8, bold=True, colour=ACCENT, spacing=0.8)
    text(c, "SAVE", 450, 241, size=8, bold=True, colour=ACCENT, spacing=0.8)
    # The previous and next program: two small arrows beside the display.
    for left, d in ((500, -1), (527, 1)):
        rounded(c, left + 0.5, 220.5, 22, 24, 3)
        c.set_source_rgb(0.030, 0.045, 0.065)
        c.fill_preserve()
        c.set_source_rgb(*SECTION_EDGE)
        c.set_line_width(1)
        c.stroke()
        cx, cy = left + 11.5, 232.5
        c.move_to(cx - 3 * d, cy - 5)
        c.line_to(cx + 4 * d, cy)
        c.line_to(cx - 3 * d, cy + 5)
        c.close_path()
        c.set_source_rgb(*ACCENT)
        c.fill()

    keyboard(c)

    # The maker's mark, in the master section.
    text(c, "VELTRA", 835, 357, size=22, bold=True, colour=LEGEND, spacing=3.0)
    text(c, "QUILLMOOR INSTRUMENTS", 835, 372, size=7, colour=MARK, spacing=1.2)
    c.set_source_rgb(*ACCENT)
    c.rectangle(780, 379, 110, 1.5)
    c.fill()
    return s


def draw_icon(c):
    """The application's icon on a 48 x 48 grid: one of the panel's knobs,
    its ring lit, on a rounded piece of the panel."""
    r, x0, y0, x1, y1 = 9, 2, 2, 46, 46
    c.new_sub_path()
    c.arc(x1 - r, y0 + r, r, -math.pi / 2, 0)
    c.arc(x1 - r, y1 - r, r, 0, math.pi / 2)
    c.arc(x0 + r, y1 - r, r, math.pi / 2, math.pi)
    c.arc(x0 + r, y0 + r, r, math.pi, 3 * math.pi / 2)
    c.close_path()
    g = cairo.LinearGradient(0, y0, 0, y1)
    g.add_color_stop_rgb(0, *SECTION_FILL)
    g.add_color_stop_rgb(1, *PANEL_BOTTOM)
    c.set_source(g)
    c.fill_preserve()
    c.set_line_width(1.5)
    c.set_source_rgb(*SECTION_EDGE)
    c.stroke()
    # The panel's knob, enlarged to the icon.
    c.save()
    c.translate(24, 25)
    c.scale(1.3, 1.3)
    c.translate(-KNOB / 2, -KNOB / 2)
    cx = cy = KNOB / 2
    knob_body(c, cx, cy)
    value_ring(c, cx, cy, 0.7)
    pointer(c, cx, cy, START + SWEEP * 0.7)
    c.restore()


def icons():
    """The icon as a 48 x 48 image (the window's, and the desktop's at that
    size) and as SVG for every other size."""
    png = cairo.ImageSurface(cairo.FORMAT_ARGB32, 48, 48)
    draw_icon(cairo.Context(png))
    png.write_to_png(os.path.join(OUT, "icon.png"))
    svg = cairo.SVGSurface(os.path.join(HERE, "icon.svg"), 48, 48)
    draw_icon(cairo.Context(svg))
    svg.finish()


def write_png(s, path):
    """The image as cairo would write it, pixel for pixel (straight alpha,
    rounded as cairo rounds; RGB when every pixel is opaque), but with no
    row filter: the panel's long even runs compress as well without one,
    and the file decodes in half the time of the adaptive filters', which
    matters for the large background."""
    w, h = s.get_width(), s.get_height()
    s.flush()
    px = numpy.frombuffer(s.get_data(), numpy.uint8).reshape(h, s.get_stride())[:, :w * 4].reshape(h, w, 4)
    px = px.astype(numpy.uint32)
    a = px[..., 3]
    channels = [px[..., 2], px[..., 1], px[..., 0]]  # premultiplied red, green, blue
    safe = numpy.maximum(a, 1)
    rgb = [numpy.where(a == 0, 0, (c * 255 + safe // 2) // safe) for c in channels]
    opaque = bool((a == 255).all())
    rows = numpy.stack(rgb + ([] if opaque else [a]), axis=-1).astype(numpy.uint8).reshape(h, -1)
    raw = numpy.concatenate([numpy.zeros((h, 1), numpy.uint8), rows], axis=1).tobytes()

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF)

    head = struct.pack(">IIBBBBB", w, h, 8, 2 if opaque else 6, 0, 0, 0)
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(raw, 9)) +
                chunk(b"IEND", b""))


def draw_all(tables):
    return {
        "bg.png": background(tables),
        "knob.png": general_knob(60),
        "knobn.png": selector_knob(9, wave_glyph(tables)),
        "knobf.png": selector_knob(5, octave_digit),
        "switch.png": switch_strip(),
        "mode.png": switch_strip(mode=True),
        "fadeled.png": led_strip(30),
        "fader.png": handle_strip(),
        "wk.png": white_keys_strip(),
        "bk.png": black_key_strip(),
    }


def main():
    global SCALE
    os.makedirs(OUT, exist_ok=True)
    icons()
    tables = wave_tables()
    for SCALE, suffix in ((1, ""), (2, "@2x")):
        for name, s in draw_all(tables).items():
            write_png(s, os.path.join(OUT, name.replace(".png", suffix + ".png")))


if __name__ == "__main__":
    main()
