"""A PNG writer and reader of the tests' own, so that the command's are checked by something else."""
import struct
import zlib

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}
# First column and row, column and row step of Adam7's passes.
ADAM7 = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def pack_row(samples, depth):
    if depth == 16:
        return b"".join(struct.pack(">H", sample) for sample in samples)
    bits = "".join(format(sample, f"0{depth}b") for sample in samples)
    bits += "0" * (-len(bits) % 8)
    return bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8))


def write_png(path, width, height, pixel, colour_type=2, depth=8, interlaced=False, extra=b""):
    """`pixel(x, y)` gives one pixel's samples; `extra` holds whole chunks to put before the data."""
    passes = ADAM7 if interlaced else [(0, 0, 1, 1)]
    raw = b""
    for left, top, step_x, step_y in passes:
        columns = range(left, width, step_x)
        if not columns:
            continue
        for y in range(top, height, step_y):
            raw += b"\0" + pack_row([sample for x in columns for sample in pixel(x, y)], depth)
    header = struct.pack(">IIBBBBB", width, height, depth, colour_type, 0, 0, int(interlaced))
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + extra + chunk(b"IDAT", zlib.compress(raw)) +
                   chunk(b"IEND", b""))


def paeth(a, b, c):
    p = a + b - c
    return min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]


def unfilter(kind, line, previous, step):
    out = bytearray(line)
    for i, byte in enumerate(line):
        a = out[i - step] if i >= step else 0
        b = previous[i]
        c = previous[i - step] if i >= step else 0
        out[i] = (byte + [0, a, b, (a + b) // 2, paeth(a, b, c)][kind]) & 255
    return out


def read_png(data):
    """Width, height, whether there is an alpha channel, and the pixels as (r, g, b, a); what the command writes."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, body, header = 8, b"", None
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        content = data[at + 8:at + 8 + length]
        assert struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0] == zlib.crc32(kind + content)
        header = content if kind == b"IHDR" else header
        body += content if kind == b"IDAT" else b""
        at += 12 + length
    width, height, depth, colour_type, _, _, interlaced = struct.unpack(">IIBBBBB", header)
    assert depth == 8 and colour_type in (2, 6) and not interlaced, (depth, colour_type, interlaced)
    step = CHANNELS[colour_type]
    raw, pixels, previous = zlib.decompress(body), [], bytes(width * step)
    for y in range(height):
        start = y * (width * step + 1)
        previous = unfilter(raw[start], raw[start + 1:start + 1 + width * step], previous, step)
        for x in range(width):
            samples = tuple(previous[x * step:(x + 1) * step])
            pixels.append(samples if step == 4 else samples + (255,))
    return width, height, colour_type == 6, pixels
