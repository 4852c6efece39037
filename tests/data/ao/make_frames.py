#!/usr/bin/env python3
"""Writes the indexed PNG frames of the test animation: a ball of 6 x 6
pixels crossing a 24 x 16 frame, transparent (index 0) around it. Frames 0
and 3 are the same picture at different places, frame 4 repeats frame 0
exactly, and frame 5 is empty. Run from this folder."""
import struct
import zlib

W, H = 24, 16
PALETTE = [(0, 0, 0), (255, 255, 255), (200, 40, 40), (250, 200, 60),
           (40, 160, 80), (30, 60, 200), (120, 120, 120), (255, 0, 255)]


def ball(px, left, top, shade):
    rows = ["..33..", ".3223.", "322222", "32222" + shade, ".3222.", "..33.."]
    for y, row in enumerate(rows):
        for x, ch in enumerate(row):
            if ch != ".":
                px[top + y][left + x] = int(ch)


def png(path, px):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    raw = b"".join(b"\0" + bytes(row) for row in px)
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n")
        f.write(chunk(b"IHDR", struct.pack(">IIBBBBB", W, H, 8, 3, 0, 0, 0)))
        f.write(chunk(b"PLTE", b"".join(bytes(c) for c in PALETTE)))
        f.write(chunk(b"IDAT", zlib.compress(raw)))
        f.write(chunk(b"IEND", b""))


frames = [(2, 5, "6"), (8, 4, "5"), (14, 6, "4"), (18, 9, "6"), (2, 5, "6"), None]
for n, frame in enumerate(frames):
    px = [[0] * W for _ in range(H)]
    if frame:
        ball(px, *frame)
    if n in (1, 2):
        # A stripe of one index along the bottom: a long fill run.
        px[H - 1] = [7] * W
    png("walk%d.png" % n, px)
