"""Small pictures in plain Python: a PNG reader and writer, drawing by rows, and a tiny typeface for labels."""
import struct
import zlib

# Five by seven pixels a letter, rows from the top, the leftmost pixel in the highest of five bits.
GLYPHS = {
    " ": "00 00 00 00 00 00 00", "3": "1F 02 04 02 01 11 0E", "8": "0E 11 11 0E 11 11 0E",
    "K": "11 12 14 18 14 12 11", "L": "10 10 10 10 10 10 1F", "M": "11 1B 15 15 11 11 11",
    "S": "0F 10 10 0E 01 01 1E", "T": "1F 04 04 04 04 04 04", "Z": "1F 01 02 04 08 10 1F",
    "a": "00 00 0E 01 0F 11 0F", "b": "10 10 16 19 11 11 1E", "c": "00 00 0E 10 10 11 0E",
    "e": "00 00 0E 11 1F 10 0E", "g": "00 00 0F 11 0F 01 0E", "h": "10 10 16 19 11 11 11",
    "i": "04 00 0C 04 04 04 0E", "l": "0C 04 04 04 04 04 0E", "m": "00 00 1A 15 15 11 11",
    "n": "00 00 16 19 11 11 11", "o": "00 00 0E 11 11 11 0E", "p": "00 00 1E 11 1E 10 10",
    "r": "00 00 16 19 10 10 10", "s": "00 00 0E 10 0E 01 1E", "t": "08 08 1C 08 08 09 06",
    "u": "00 00 11 11 11 13 0D", "x": "00 00 11 0A 04 0A 11", "y": "00 00 11 11 0F 01 0E",
    "z": "00 00 1F 02 04 08 1F",
}
GLYPH_WIDTH, GLYPH_HEIGHT, ADVANCE = 5, 7, 6

COLOUR_TYPES = {0: 1, 2: 3, 6: 4}
TYPE_OF_CHANNELS = {channels: kind for kind, channels in COLOUR_TYPES.items()}


class Picture:
    """Rows of 8-bit samples: 1 channel (grey), 3 (red, green, blue) or 4 (and alpha)."""

    def __init__(self, width, height, channels=1, fill=0):
        self.width, self.height, self.channels = width, height, channels
        self.rows = [bytearray([fill]) * (width * channels) for _ in range(height)]

    def pixel(self, x, y):
        return self.rows[y][x * self.channels:(x + 1) * self.channels]

    def crop(self, left, top, width, height):
        part = Picture(width, height, self.channels)
        first, last = left * self.channels, (left + width) * self.channels
        part.rows = [self.rows[top + y][first:last] for y in range(height)]
        return part

    def repeated(self, times):
        """Every pixel as a square of `times` pixels a side."""
        large = Picture(self.width * times, self.height * times, self.channels)
        for y, row in enumerate(self.rows):
            pixels = (row[i:i + self.channels] for i in range(0, len(row), self.channels))
            wide = bytearray(b"".join(bytes(pixel) * times for pixel in pixels))
            large.rows[y * times:(y + 1) * times] = [bytearray(wide) for _ in range(times)]
        return large

    def paste(self, other, left, top):
        for y, row in enumerate(other.rows):
            start = left * self.channels
            self.rows[top + y][start:start + len(row)] = row

    def write(self, text, left, top, sample):
        for letter in text:
            for y, bits in enumerate(int(row, 16) for row in GLYPHS[letter].split()):
                for x in range(GLYPH_WIDTH):
                    if bits >> (GLYPH_WIDTH - 1 - x) & 1:
                        start = (left + x) * self.channels
                        self.rows[top + y][start:start + self.channels] = bytes([sample]) * self.channels
            left += ADVANCE


def text_width(text):
    return ADVANCE * len(text) - 1


def grey(picture):
    """The picture's luma, one channel."""
    result = Picture(picture.width, picture.height)
    for y in range(picture.height):
        for x in range(picture.width):
            red, green, blue = picture.pixel(x, y)[:3]
            result.rows[y][x] = (299 * red + 587 * green + 114 * blue + 500) // 1000
    return result


def _paeth(left, up, corner):
    guess = left + up - corner
    return min((abs(guess - left), 0, left), (abs(guess - up), 1, up), (abs(guess - corner), 2, corner))[2]


def _predictions(row, above, step):
    """What each of PNG's five filters expects for each byte of the row."""
    behind = bytes(step) + row[:-step]
    corner = bytes(step) + above[:-step]
    return (bytes(len(row)), behind, above, bytes((a + b) // 2 for a, b in zip(behind, above)),
            bytes(map(_paeth, behind, above, corner)))


def _filtered(row, above, step):
    """The row under the filter that leaves the smallest differences."""
    best = None
    for kind, expected in enumerate(_predictions(bytes(row), bytes(above), step)):
        rest = bytes((a - b) & 255 for a, b in zip(row, expected))
        cost = sum(min(byte, 256 - byte) for byte in rest)
        if best is None or cost < best[0]:
            best = (cost, bytes([kind]) + rest)
    return best[1]


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def write_png(path, picture):
    header = struct.pack(">IIBBBBB", picture.width, picture.height, 8, TYPE_OF_CHANNELS[picture.channels], 0, 0, 0)
    above = bytes(picture.width * picture.channels)
    lines = []
    for row in picture.rows:
        lines.append(_filtered(row, above, picture.channels))
        above = row
    data = zlib.compress(b"".join(lines), 9)
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) + _chunk(b"IDAT", data) + _chunk(b"IEND", b""))


def _unfiltered(kind, line, above, step):
    if kind == 0:
        return bytearray(line)
    row = bytearray(line)
    for i, byte in enumerate(line):
        left = row[i - step] if i >= step else 0
        corner = above[i - step] if i >= step else 0
        up = above[i]
        row[i] = (byte + (0, left, up, (left + up) // 2, _paeth(left, up, corner))[kind]) & 255
    return row


def read_png(path):
    """A PNG of 8 bits a sample without a palette and not interlaced, as the command writes it."""
    with open(path, "rb") as file:
        data = file.read()
    at, body, header = 8, b"", b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        content = data[at + 8:at + 8 + length]
        header = content if kind == b"IHDR" else header
        body += content if kind == b"IDAT" else b""
        at += 12 + length
    width, height, depth, colour_type, _, _, interlaced = struct.unpack(">IIBBBBB", header)
    if depth != 8 or colour_type not in COLOUR_TYPES or interlaced:
        raise ValueError(f"{path}: this kind of PNG is not read here")
    picture = Picture(width, height, COLOUR_TYPES[colour_type])
    raw, above, stride = zlib.decompress(body), bytes(width * picture.channels), width * picture.channels
    for y in range(height):
        start = y * (stride + 1)
        above = _unfiltered(raw[start], raw[start + 1:start + 1 + stride], above, picture.channels)
        picture.rows[y] = above
    return picture
