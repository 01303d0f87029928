#!/usr/bin/env python3
"""Writes the Standard MIDI Files that scripts/render-identity.sh renders:
a walk through every voice with overlapping notes, pitch bends that fall
between block starts, and a two-track file with tempo changes. Run it from
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


for name, data in (("voices", voices()), ("bends", bends()), ("tempo", tempo())):
    with open("tests/renders/%s.mid" % name, "wb") as f:
        f.write(data)
