#!/usr/bin/env python3
"""Draws the viewer's icon: two hills in bands of height, with dots of a survey on them.

usage: draw_icon.py ICO

It writes all sizes that the system asks for into one file, which lies beside this one, so that building needs no Python.
"""

import math
import struct
import sys
import zlib

SIZES = (16, 20, 24, 32, 40, 48, 64, 256)
SAMPLES = 4  # each way in a pixel
BANDS = ((24, 62, 84), (36, 105, 116), (82, 150, 112), (160, 184, 104), (226, 200, 122), (246, 232, 196))
DOTS = ((0.30, 0.60), (0.52, 0.44), (0.74, 0.30))
DOT_COLOR = (255, 255, 255)
LINE_COLOR = (16, 40, 56)
CORNER = 0.19


def height(x, y):
    def hill(cx, cy, width):
        return math.exp(-((x - cx) ** 2 + (y - cy) ** 2) / (2.0 * width * width))

    return hill(0.70, 0.33, 0.20) + 0.62 * hill(0.28, 0.66, 0.17) + 0.16 * x


def is_inside(x, y):
    dx = max(CORNER - x, x - 1.0 + CORNER, 0.0)
    dy = max(CORNER - y, y - 1.0 + CORNER, 0.0)
    return dx * dx + dy * dy <= CORNER * CORNER


def color_at(x, y, pixels):
    radius = max(0.055, 1.1 / pixels)
    for dot_x, dot_y in DOTS:
        distance = math.hypot(x - dot_x, y - dot_y)
        if distance < radius:
            return DOT_COLOR
        if distance < radius * 1.5:
            return LINE_COLOR
    band = min(int(height(x, y) * len(BANDS)), len(BANDS) - 1)
    return BANDS[band]


def draw(pixels):
    """Rows of (red, green, blue, alpha), upper row first."""
    rows = []
    for row in range(pixels):
        line = []
        for column in range(pixels):
            total = [0, 0, 0]
            covered = 0
            for sample in range(SAMPLES * SAMPLES):
                x = (column + (sample % SAMPLES + 0.5) / SAMPLES) / pixels
                y = (row + (sample // SAMPLES + 0.5) / SAMPLES) / pixels
                if is_inside(x, y):
                    covered += 1
                    total = [a + b for a, b in zip(total, color_at(x, y, pixels))]
            alpha = round(255 * covered / (SAMPLES * SAMPLES))
            line.append(tuple(value // max(covered, 1) for value in total) + (alpha,))
        rows.append(line)
    return rows


def as_bitmap(rows):
    """A device-independent bitmap: lower row first, and a mask that systems without opacity look at."""
    size = len(rows)
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b"".join(bytes((b, g, r, a)) for row in reversed(rows) for r, g, b, a in row)
    mask = b""
    for row in reversed(rows):
        bits = "".join("0" if pixel[3] else "1" for pixel in row)
        bits += "0" * (-len(bits) % 32)
        mask += int(bits, 2).to_bytes(len(bits) // 8, "big")
    return header + pixels + mask


def as_png(rows):
    def chunk(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))

    size = len(rows)
    lines = b"".join(b"\0" + b"".join(bytes(pixel) for pixel in row) for row in rows)
    header = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(lines, 9)) +
            chunk(b"IEND", b""))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    images = []
    for size in SIZES:
        rows = draw(size)
        # Small sizes are also read by programs that know no PNG in icons.
        images.append(as_png(rows) if size >= 64 else as_bitmap(rows))
    directory = struct.pack("<HHH", 0, 1, len(images))
    offset = len(directory) + 16 * len(images)
    for size, image in zip(SIZES, images):
        directory += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    with open(sys.argv[1], "wb") as file:
        file.write(directory + b"".join(images))


if __name__ == "__main__":
    main()
