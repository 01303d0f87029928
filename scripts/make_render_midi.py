#!/usr/bin/env python3
"""Writes the Standard MIDI Files that scripts/render-identity.sh renders:
a walk through every voice with overlapping notes, pitch bends that fall
between block starts, and a two-track file with tempo changes; and one with
what the MIDI input stage acts on (pedal, channel-mode messages, keys struck
again, a note after a bend, controller sweeps), which the plug-in test plays. Run it from
the repository's top folder; it writes tests/renders/*.mid."""

import struct


def vlq(v):
    out = [v & 0x7F]
    v >>= 7
    while v:
        out.insert(0, (v & 0x7F) | 0x80)
        v >>= 7
    return bytes(out)


def track(events):
    """events: (delta ticks, bytes) pairs; an end-of-track is appended."""
    body = b"".join(vlq(d) + bytes(e) for d, e in events) + b"\x00\xff\x2f\x00"
    return b"MTrk" + struct.pack(">I", len(body)) + body


def smf(fmt, division, tracks):
    return b"MThd" + struct.pack(">IHHH", 6, fmt, len(tracks), division) + b"".join(tracks)


def voices():
    # Nine overlapping notes (one more than there are voices), staccato runs,
    # two channels, and velocities across the range.
    ev = []
    for k in range(9):
        ev.append((37 if k else 0, [0x90 | (k % 2), 40 + 3 * k, 20 + 12 * k]))
    ev.append((400, [0x80, 40, 0]))
    for k in range(1, 9):
        ev.append((13, [0x80 | (k % 2), 40 + 3 * k, 64]))
    for k in range(24):
        ev.append((29, [0x90, 60 + (k * 7) % 24, 100]))
        ev.append((17, [0x90, 60 + (k * 7) % 24, 0]))
    return smf(0, 480, [track(ev)])


def bends():
    # A held chord under bends every few ticks, so that they fall between
    # the starts of any block size.
    ev = [(0, [0x90, 57, 110]), (0, [0x90, 64, 90]), (0, [0x90, 69, 70])]
    for k in range(60):
        v = int(8192 + 8191 * ((k % 20) - 10) / 10)
        v = max(0, min(16383, v))
        ev.append((7 + k % 5, [0xE0, v & 0x7F, v >> 7]))
    ev.append((100, [0xE0, 0, 64]))
    ev += [(200, [0x80, 57, 0]), (0, [0x80, 64, 0]), (0, [0x80, 69, 0])]
    return smf(0, 96, [track(ev)])


def tempo():
    # Format 1: a tempo track with three changes, and a melody.
    t0 = [(0, [0xFF, 0x51, 3, 0x07, 0xA1, 0x20]), (960, [0xFF, 0x51, 3, 0x03, 0xD0, 0x90]),
          (960, [0xFF, 0x51, 3, 0x0F, 0x42, 0x40])]
    mel = []
    for k in range(16):
        mel.append((0 if k == 0 else 60, [0x90, 48 + (k * 5) % 19, 90]))
        mel.append((180, [0x80, 48 + (k * 5) % 19, 0]))
    return smf(1, 480, [track(t0), track(mel)])


def pedal():
    # (tick, bytes) at 96 ticks a quarter; sorted into deltas below.
    ev = [(0, [0xB0, 64, 127])]
    for k, key in enumerate((48, 52, 55, 60)):
        ev += [(3 * k, [0x90, key, 100]), (40 + 4 * k, [0x80, key, 0])]  # held by the pedal
    ev += [(100, [0xB0, 64, 0]), (110, [0xB0, 64, 100]), (110, [0x90, 64, 90]), (120, [0x80, 64, 0]),
           (130, [0x90, 64, 80]), (150, [0x80, 64, 0]), (170, [0xB0, 64, 0])]  # a held key struck again
    ev += [(180, [0x90, 67, 100]), (190, [0x90, 67, 100]), (210, [0x80, 67, 0])]  # struck twice
    ev += [(220, [0xE0, 0, 32]), (225, [0x90, 69, 100]), (260, [0x80, 69, 0]), (270, [0xE0, 0, 64])]
    ev += [(280, [0xB0, 64, 127]), (280, [0x91, 72, 100]), (280, [0x90, 74, 100]), (300, [0x81, 72, 0]),
           (300, [0x80, 74, 0]), (330, [0xB0, 123, 0])]  # the pedal of one channel; all notes off
    ev += [(340, [0x90, 76, 100]), (340, [0x90, 79, 100]), (380, [0xB0, 120, 0])]  # all sound off
    ev += [(400, [0x90, 60, 100]), (400, [0x90, 64, 100]), (430, [0xB0, 127, 0])]  # poly mode on
    ev += [(440, [0x90, 62, 100]), (450, [0x80, 62, 0]), (480, [0xB0, 121, 0])]  # controllers reset
    ev += [(490, [0x90, 57, 100]), (560, [0x80, 57, 0]), (600, [0xB0, 64, 0])]
    ev += [(490 + k, [0xB0, 74, 127 - 2 * k]) for k in range(60)]
    ev += [(492 + k, [0xB0, 1, 2 * k]) for k in range(0, 60, 3)]
    ev.sort(key=lambda e: e[0])
    out, at = [], 0
    for t, b in ev:
        out.append((t - at, b))
        at = t
    return smf(0, 96, [track(out)])


for name, data in (("voices", voices()), ("bends", bends()), ("tempo", tempo()), ("pedal", pedal())):
    with open("tests/renders/%s.mid" % name, "wb") as f:
        f.write(data)
