"""Times Pillow or OpenCV for the benchmark: reads one request a line, answers with one line.

    hello                                  -> ready
    prepare METHOD SW SH W H RADIUS        -> ok NUMBER WHAT, or none
    run NUMBER                             -> milliseconds
"""
import sys
import time


def noise(width, height, channels):
    import random
    return random.Random(1).randbytes(width * height * channels)


class Pillow:
    def __init__(self):
        from PIL import Image, ImageFilter
        self.image, self.filter = Image, ImageFilter

    def prepare(self, method, sw, sh, w, h, radius):
        source = self.image.frombytes("RGBX", (sw, sh), noise(sw, sh, 4))
        r = self.image.Resampling
        names = {"average": (r.BOX, "BOX"), "repeat": (r.NEAREST, "NEAREST"), "smooth": (r.BILINEAR, "BILINEAR"),
                 "triangle": (r.BILINEAR, "BILINEAR"), "box": (r.BOX, "BOX"), "lanczos3": (r.LANCZOS, "LANCZOS"),
                 "mitchell": (r.BICUBIC, "BICUBIC"), "poly3": (r.BICUBIC, "BICUBIC")}
        if method in names:
            kind, label = names[method]
            return lambda: source.resize((w, h), kind), label
        if method == "blur":
            return lambda: source.filter(self.filter.BoxBlur(radius)), "BoxBlur"
        return None


class OpenCv:
    def __init__(self):
        import cv2
        import numpy
        self.cv, self.numpy = cv2, numpy
        cv2.setNumThreads(1)

    def prepare(self, method, sw, sh, w, h, radius):
        cv = self.cv
        source = self.numpy.frombuffer(noise(sw, sh, 4), dtype=self.numpy.uint8).reshape(sh, sw, 4)
        names = {"average": (cv.INTER_AREA, "INTER_AREA"), "repeat": (cv.INTER_NEAREST, "INTER_NEAREST"),
                 "smooth": (cv.INTER_LINEAR, "INTER_LINEAR"), "box": (cv.INTER_AREA, "INTER_AREA")}
        if w > sw:
            names |= {"triangle": (cv.INTER_LINEAR, "INTER_LINEAR"), "poly3": (cv.INTER_CUBIC, "INTER_CUBIC"),
                      "box": (cv.INTER_NEAREST, "INTER_NEAREST"), "lanczos3": (cv.INTER_LANCZOS4, "INTER_LANCZOS4")}
        if method in names:
            kind, label = names[method]
            result = self.numpy.zeros((h, w, 4), dtype=self.numpy.uint8)
            return lambda: cv.resize(source, (w, h), dst=result, interpolation=kind), label
        if method == "blur":
            result = source.copy()
            side = 2 * radius + 1
            return lambda: cv.blur(source, (side, side), dst=result, borderType=cv.BORDER_REPLICATE), "blur"
        return None


def timed(work):
    start = time.perf_counter()
    work()
    return (time.perf_counter() - start) * 1000


def main():
    library = {"pillow": Pillow, "opencv": OpenCv}[sys.argv[1]]()
    prepared = []
    for line in sys.stdin:
        words = line.split()
        if words[0] == "hello":
            answer = "ready"
        elif words[0] == "run":
            answer = f"{timed(prepared[int(words[1])]):.6f}"
        else:
            made = library.prepare(words[1], *map(int, words[2:]))
            answer = "none"
            if made:
                prepared.append(made[0])
                answer = f"ok {len(prepared) - 1} {made[1]}"
        print(answer, flush=True)


if __name__ == "__main__":
    try:
        main()
    except ImportError:
        sys.exit(1)
