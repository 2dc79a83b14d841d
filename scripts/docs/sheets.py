"""Sheets of small pictures side by side: the kernels at work on a photograph and on pictures that are hard to resize."""
import math

from docs.command import KERNELS
from docs.picture import GLYPH_HEIGHT, Picture, grey, read_png, text_width

GAP = 6
LABEL_HEIGHT = GLYPH_HEIGHT + 6
PAPER, INK = 255, 60

PHOTO = "chelsea.jpg"
PHOTO_SIZE = (451, 300)
DETAIL = (36, 25)           # left and top of an eye in the photograph reduced to a quarter
DETAIL_SIDE = 12
ENLARGED_DETAIL = (156, 104)  # left and top of the eye in the photograph itself
ENLARGED_SIDE = 24

TINT, DARK = (206, 64, 58), (32, 36, 44)

EIGHT = [(KERNELS[mode], mode) for mode in KERNELS] + [("ScaleKTZ", None)]


def sheet(cells, columns):
    """Labelled pictures of one size and format, row by row."""
    width, height = cells[0][1].width, cells[0][1].height
    rows = -(-len(cells) // columns)
    page = Picture(columns * (width + GAP) - GAP, rows * (height + LABEL_HEIGHT + GAP) - GAP,
                   cells[0][1].channels, PAPER)
    for number, (label, picture) in enumerate(cells):
        left = number % columns * (width + GAP)
        top = number // columns * (height + LABEL_HEIGHT + GAP)
        page.write(label, left + (width - text_width(label)) // 2, top + 2, INK)
        page.paste(picture, left, top + LABEL_HEIGHT)
    return page


def resized(command, path, mode, width, height, *options):
    """By the kernel of that mode, or by ScaleKTZ where it is None."""
    if mode is None:
        return command.scale(path, width, height, *options)
    return command.resample(path, mode, width, height)


def kernels_on_photo(command, media):
    """A photograph's detail by every kernel: a reduction with its pixels shown large, and an enlargement."""
    path = media / PHOTO
    whole = read_png(_copy(command, path))
    part = command.save(whole.crop(*ENLARGED_DETAIL, ENLARGED_SIDE, ENLARGED_SIDE))
    small, large = [], []
    for mode, name in KERNELS.items():
        reduced = command.resample(path, mode, PHOTO_SIZE[0] // 4, PHOTO_SIZE[1] // 4)
        small.append((name, reduced.crop(*DETAIL, DETAIL_SIDE, DETAIL_SIDE).repeated(8)))
        large.append((name, command.resample(part, mode, ENLARGED_SIDE * 4, ENLARGED_SIDE * 4)))
    return sheet(small + large, len(KERNELS))


def _copy(command, path):
    copy = command.new_file()
    command.unchanged(path, copy)
    return copy


def zone_plate(side):
    """Rings that get finer outwards, to half a cycle a pixel at the edge's middle."""
    picture = Picture(side, side)
    for y in range(side):
        for x in range(side):
            distance = (x - (side - 1) / 2) ** 2 + (y - (side - 1) / 2) ** 2
            picture.rows[y][x] = round(127.5 + 127.5 * math.cos(math.pi * distance / side))
    return picture


def line_of_text():
    picture = Picture(40, 24, 1, 255)
    picture.write("small", 2, 3, 0)
    picture.write("text 8", 2, 14, 0)
    return picture


def hard_edge():
    """A light square on a dark ground with room at both ends of the scale, so that over- and undershoot show."""
    picture = Picture(16, 16, 1, 64)
    for y in range(4, 12):
        picture.rows[y][4:12] = bytes([192]) * 8
    return picture


def enlarged_sheet(command, picture, factor):
    path = command.save(picture)
    cells = [(label, grey(resized(command, path, mode, picture.width * factor, picture.height * factor,
                                  "--antialias"))) for label, mode in EIGHT]
    return sheet(cells, 4)


def reduced_sheet(command, picture, divisor):
    path = command.save(picture)
    cells = [(label, grey(resized(command, path, mode, picture.width // divisor, picture.height // divisor)))
             for label, mode in EIGHT]
    return sheet(cells, 4)


def differences(command, media):
    """How the kernels' reductions of the photograph differ from Lanczos 3, eight times enhanced, on mid-grey."""
    size = (PHOTO_SIZE[0] // 3, PHOTO_SIZE[1] // 3)
    reduced = {mode: grey(resized(command, media / PHOTO, mode, *size)) for _, mode in EIGHT}
    cells = []
    for label, mode in EIGHT:
        if mode == 3:
            continue
        cell = Picture(*size)
        for row, mine, other in zip(cell.rows, reduced[mode].rows, reduced[3].rows):
            row[:] = bytes(max(0, min(255, 128 + 8 * (a - b))) for a, b in zip(mine, other))
        cells.append((label, cell))
    return sheet(cells, 4)


def fringes(command):
    """A disc reduced with its transparency and drawn onto a dark ground: cut out of white, and out of its own colour."""
    side, divisor, zoom = 96, 6, 6
    small = side // divisor
    ground = Picture(small, small, 3)
    for row in ground.rows:
        row[:] = bytes(DARK) * small
    cells = []
    for label, around in (("cut out", (255, 255, 255)), ("same tint", TINT)):
        reduced = command.new_file()
        command.report("scale-mask", command.save(_disc(side, around)), reduced, "--size", f"{small}x{small}")
        drawn = command.new_file()
        command.report("draw", reduced, command.save(ground), drawn, "--at", "0,0")
        cells.append((label, read_png(drawn).repeated(zoom)))
    return sheet(cells, len(cells))


def _disc(side, around):
    """Opaque inside; outside transparent, with a colour all the same."""
    picture = Picture(side, side, 4)
    for y in range(side):
        for x in range(side):
            inside = math.hypot(x - (side - 1) / 2, y - (side - 1) / 2) < side * 0.42
            picture.rows[y][4 * x:4 * x + 4] = bytes((*(TINT if inside else around), 255 * inside))
    return picture
