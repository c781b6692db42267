"""Reads and writes PNG files as rows of (red, green, blue, alpha), for the tests of programs.

It shares no code with the encoders under test, so that it can judge their files.
"""

import struct
import zlib

CHANNELS = {0: 1, 2: 3, 4: 2, 6: 4}  # by color type


def encode(rows):
    """Returns the bytes of a PNG file. Each pixel has three or four numbers; the top row is first."""
    lines = [bytes(number for pixel in row for number in pixel) for row in rows]
    return encode_bytes(len(rows[0]), len(rows[0][0]), lines)


def encode_bytes(width, channels, rows):
    """Does the same for rows that are the bytes of their pixels."""

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, len(rows), 8, {3: 2, 4: 6}[channels], 0, 0, 0)
    data = b"".join(b"\0" + row for row in rows)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(data)) + chunk(b"IEND", b"")


def write(path, rows):
    path.write_bytes(encode(rows))


def plain(width, height, color):
    return [[color] * width for _ in range(height)]


def read(path):
    """Returns the rows of a PNG file with eight bits per channel."""
    file = path.read_bytes()
    assert file[:8] == b"\x89PNG\r\n\x1a\n", f"{path} is not a PNG"
    at, data = 8, b""
    while at < len(file):
        length, kind = struct.unpack(">I4s", file[at : at + 8])
        content = file[at + 8 : at + 8 + length]
        if kind == b"IHDR":
            width, height, depth, color_type, _, _, interlaced = struct.unpack(">IIBBBBB", content)
            assert (depth, interlaced) == (8, 0)
        elif kind == b"IDAT":
            data += content
        at += 12 + length
    return _pixels(zlib.decompress(data), width, height, CHANNELS[color_type])


def _pixels(data, width, height, channels):
    stride = width * channels
    above = bytearray(stride)
    rows = []
    for y in range(height):
        start = y * (stride + 1)
        line = _unfiltered(data[start], bytearray(data[start + 1 : start + 1 + stride]), above, channels)
        rows.append([_pixel(line[x : x + channels]) for x in range(0, stride, channels)])
        above = line
    return rows


def _pixel(numbers):
    color = tuple(numbers) if len(numbers) > 2 else (numbers[0],) * 3 + tuple(numbers[1:])
    return color if len(color) == 4 else color + (255,)


def _unfiltered(kind, line, above, step):
    for i in range(len(line)):
        left = line[i - step] if i >= step else 0
        up = above[i]
        corner = above[i - step] if i >= step else 0
        if kind == 1:
            line[i] = (line[i] + left) & 255
        elif kind == 2:
            line[i] = (line[i] + up) & 255
        elif kind == 3:
            line[i] = (line[i] + (left + up) // 2) & 255
        elif kind == 4:
            guess = left + up - corner
            nearest = min((abs(guess - left), 0, left), (abs(guess - up), 1, up), (abs(guess - corner), 2, corner))[2]
            line[i] = (line[i] + nearest) & 255
    return line


def light(byte):
    """Decodes a byte of sRGB to linear light, 0 to 1."""
    x = byte / 255
    return x / 12.92 if x <= 0.04045 else ((x + 0.055) / 1.055) ** 2.4


def byte(light):
    """Encodes linear light, 0 to 1, as a byte of sRGB."""
    x = light * 12.92 if light <= 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055
    return round(min(max(x, 0), 1) * 255)
