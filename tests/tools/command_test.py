"""The pixmorph command as a user runs it: exit codes, sentences, files that are whole or not there at all."""
import glob
import json
import os
import random
import shutil
import signal
import subprocess
import sys
import time
import unittest
import zlib

from command_case import (COMMAND, FORMAT, INPUT, LIBRARY, LIBRARY_MISSING, MEMORY, METHOD, MODE, OUTPUT, SIZE, USAGE,
                          CommandTest, media)
from png_codec import chunk, read_png, write_png


class Files(CommandTest):
    def through(self, name):
        """A picture read and written again, changed by nothing: the same size and all transparency kept."""
        out = self.at("out.png")
        width, height = 5, 3
        result = self.report("scale-mask", self.at(name), out, "--size", f"{width}x{height}", "--force")
        got = self.pixels(out)
        flat = b"".join(bytes(pixel) for pixel in got[3])
        self.assertEqual(result["result"]["checksum"], format(zlib.crc32(flat), "08x"))
        return got

    def test_every_kind_of_png_is_read_exactly(self):
        palette = chunk(b"PLTE", bytes(range(48))) + chunk(b"tRNS", bytes([0, 128]))
        scale16 = lambda value: value * 257

        def index(x, y):
            return (x + y) % 5

        kinds = {
            "rgb": (dict(colour_type=2), lambda x, y: (x * 50, y * 80, 7)),
            "rgba": (dict(colour_type=6), lambda x, y: (x * 50, y * 80, 7, x * 60)),
            "grey": (dict(colour_type=0), lambda x, y: (x * 50 + y,)),
            "greyalpha": (dict(colour_type=4), lambda x, y: (x * 50 + y, y * 100)),
            "bits": (dict(colour_type=0, depth=1), lambda x, y: ((x + y) & 1,)),
            "deep": (dict(colour_type=2, depth=16), lambda x, y: (scale16(x * 50), scale16(y * 80), scale16(9))),
            "palette": (dict(colour_type=3, depth=4, extra=palette), lambda x, y: (index(x, y),)),
        }
        expected = {
            "rgb": lambda x, y: (x * 50, y * 80, 7, 255),
            "rgba": lambda x, y: (x * 50, y * 80, 7, x * 60),
            "grey": lambda x, y: (x * 50 + y,) * 3 + (255,),
            "greyalpha": lambda x, y: (x * 50 + y,) * 3 + (y * 100,),
            "bits": lambda x, y: (255 * ((x + y) & 1),) * 3 + (255,),
            "deep": lambda x, y: (x * 50, y * 80, 9, 255),
            "palette": lambda x, y: tuple(3 * index(x, y) + i for i in range(3)) +
                                    (([0, 128] + [255] * 9)[index(x, y)],),
        }
        for name, (how, pixel) in kinds.items():
            for interlaced in (False, True):
                with self.subTest(kind=name, interlaced=interlaced):
                    write_png(self.at("in.png"), 5, 3, pixel, interlaced=interlaced, **how)
                    width, height, _, got = self.through("in.png")
                    self.assertEqual((width, height), (5, 3))
                    self.assertEqual(got, [expected[name](x, y) for y in range(3) for x in range(5)])

    def test_jpeg_both_ways(self):
        small, back = self.at("small.jpg"), self.at("back.png")
        self.succeed("blur", media("coffee.jpg"), self.at("whole.png"), "--radius", 0)
        self.succeed("blur", self.at("whole.png"), small, "--radius", 0, "--quality", 95)
        self.succeed("blur", small, back, "--radius", 0)
        first, second = self.pixels(self.at("whole.png")), self.pixels(back)
        self.assertEqual(first[:3], (600, 400, False))
        self.assertEqual(second[:3], (600, 400, False))
        error = sum(abs(a[i] - b[i]) for a, b in zip(first[3], second[3]) for i in range(3)) / (600 * 400 * 3)
        self.assertLess(error, 3)
        self.succeed("blur", self.at("whole.png"), self.at("rough.jpg"), "--radius", 0, "--quality", 20)
        self.assertLess(os.path.getsize(self.at("rough.jpg")), os.path.getsize(small) / 2)

    def test_transparency_in_jpeg_goes_over_white(self):
        write_png(self.at("clear.png"), 16, 16, lambda x, y: (10, 20, 30, 0), colour_type=6)
        self.succeed("scale-mask", self.at("clear.png"), self.at("clear.jpg"), "--size", "8x8")
        self.succeed("blur", self.at("clear.jpg"), self.at("back.png"), "--radius", 0)
        self.assertEqual(set(self.pixels(self.at("back.png"))[3]), {(255, 255, 255, 255)})

    def test_streams(self):
        with open(media("chelsea.jpg"), "rb") as file:
            done = self.succeed("scale", "-", "-", "--size", "45x", "--json", stdin=file.read())
        self.assertEqual(read_png(done.stdout)[:2], (45, 30))
        self.assertEqual(json.loads(done.stderr)["result"]["width"], 45)

    def test_damaged_files_are_refused_or_read_but_never_crash(self):
        generator = random.Random(7)
        codes = {}
        for name in ("badge.png", "chelsea.jpg"):
            with open(media(name), "rb") as file:
                whole = file.read()
            for case in range(60):
                damaged = bytearray(whole)
                if case < 20:
                    del damaged[generator.randrange(1, len(whole) - 20):]
                else:
                    for _ in range(1 + case % 5):
                        damaged[generator.randrange(8, len(whole))] = generator.randrange(256)
                done = self.run_command("scale", "-", self.at("out.png"), "--size", "20x20", "--force",
                                        stdin=bytes(damaged))
                self.assertIn(done.returncode, (FORMAT,) if case < 20 else (0, FORMAT, SIZE, MEMORY), (name, case))
                codes[done.returncode] = codes.get(done.returncode, 0) + 1
        self.assertGreater(codes[FORMAT], 40)
        self.assertEqual(glob.glob(self.at(".pixmorph-*")), [])


class Methods(CommandTest):
    def test_scale_averages_areas(self):
        write_png(self.at("in.png"), 4, 2, lambda x, y: (x * 40, y * 100, 200))
        self.succeed("scale", self.at("in.png"), self.at("out.png"), "--size", "50%")
        self.assertEqual(self.pixels(self.at("out.png"))[3], [(20, 50, 200, 255), (100, 50, 200, 255)])

    def test_scale_mask_carries_transparency_over_as_mask_and_as_channel(self):
        write_png(self.at("in.png"), 4, 2, lambda x, y: (80, 90, 100, 255 if x < 2 else 0), colour_type=6)
        for extra in ([], ["--alpha-channel"]):
            for mode in ("console", "cairo"):
                with self.subTest(extra=extra, mode=mode):
                    self.succeed("scale-mask", self.at("in.png"), self.at("out.png"), "--size", "2x1", "--force",
                                 "--mode", mode, *extra)
                    _, _, alpha, pixels = self.pixels(self.at("out.png"))
                    self.assertTrue(alpha)
                    self.assertEqual([pixel[3] for pixel in pixels], [255, 0])
                    self.assertEqual(pixels[0][:3], (80, 90, 100))
        self.succeed("scale", self.at("in.png"), self.at("plain.png"), "--size", "2x1")
        self.assertFalse(self.pixels(self.at("plain.png"))[2])

    def test_resample_runs_the_kernel_that_was_named(self):
        checksums = set()
        for mode, name in enumerate(["triangle", "box", "lanczos3", "lanczos8", "mitchell", "poly3", "cubic"], 1):
            arguments = ("resample", media("chelsea.jpg"), self.at("out.png"), "--size", "90x", "--force", "--kernel")
            by_name, by_number = self.report(*arguments, name), self.report(*arguments, mode)
            self.assertEqual(by_name["result"], by_number["result"])
            self.assertEqual(by_name["parameters"]["mode"], mode)
            checksums.add(by_name["result"]["checksum"])
        self.assertEqual(len(checksums), 7)

    def test_blur_and_draw_give_the_worked_out_pixels(self):
        write_png(self.at("row.png"), 2, 1, lambda x, y: (210 * x, 0, 0))
        self.succeed("blur", self.at("row.png"), self.at("blurred.png"), "--radius", "10.9")
        self.assertEqual([pixel[0] for pixel in self.pixels(self.at("blurred.png"))[3]], [100, 110])

        write_png(self.at("black.png"), 1, 1, lambda x, y: (0, 0, 0))
        write_png(self.at("white.png"), 3, 1, lambda x, y: (255, 255, 255))
        write_png(self.at("hide.png"), 1, 1, lambda x, y: (255, 255, 255))
        for extra, expected in ((["--at", "1,0", "--opacity", "0.5"], [255, 127, 255]),
                                (["--at", "-0.25,0"], [63, 255, 255]),
                                (["--at", "0,0", "--mask", self.at("hide.png")], [255, 255, 255])):
            self.succeed("draw", self.at("black.png"), self.at("white.png"), self.at("drawn.png"), "--force", *extra)
            self.assertEqual([pixel[0] for pixel in self.pixels(self.at("drawn.png"))[3]], expected, extra)

    def test_every_mode_gives_the_same_picture(self):
        arguments = ("resample", media("badge.png"), self.at("out.png"), "--size", "300x", "--kernel", 3, "--force")
        results = {mode: self.report(*arguments, "--mode", mode) for mode in self.modes()}
        self.assertEqual({report["mode"] for report in results.values()}, set(results))
        self.assertEqual(len({report["result"]["checksum"] for report in results.values()}), 1)

    def modes(self):
        return ["console", "cairo"] + (["gdk"] if shutil.which("Xvfb") else [])

    def test_gdk_cannot_be_drawn_onto(self):
        if "gdk" not in self.modes():
            self.skipTest("no Xvfb")
        self.fail_with(METHOD, "can only be copied out", "draw", media("badge.png"), media("coffee.jpg"),
                       self.at("out.png"), "--at", "1,1", "--mode", "gdk")


class Gallery(CommandTest):
    def test_one_bad_photo_does_not_keep_the_others_from_being_shown(self):
        with open(self.at("bad.jpg"), "w") as file:
            file.write("no picture")
        write_png(self.at("tiny.png"), 3, 2, lambda x, y: (x * 100, y * 200, 50))
        done = self.run_command("gallery", self.at("shown"), self.at("bad.jpg"), self.at("tiny.png"),
                                "--badge", media("badge.png"), "--json")
        self.assertEqual(done.returncode, FORMAT)
        rows = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertIn("neither a PNG", rows[0]["error"])
        made = [row for row in rows if "output" in row]
        self.assertEqual({row["method"] for row in made},
                         {"ScaleKTZ", "ScaleImageAndMaskKTZ", "ScalingKTZ", "BlurKTZ", "DrawPictureFKTZ"})
        for row in made:
            width, height, _, pixels = self.pixels(row["output"])
            self.assertEqual((width, height), (row["result"]["width"], row["result"]["height"]))
            self.assertEqual(zlib.crc32(b"".join(map(bytes, pixels))), int(row["result"]["checksum"], 16))


class Reports(CommandTest):
    def test_json_tells_what_happened(self):
        report = self.report("blur", media("coffee.jpg"), self.at("out.png"), "--radius", 3, "--yield", -1)
        self.assertEqual((report["method"], report["mode"], report["yield"]), ("BlurKTZ", "console", -1))
        self.assertEqual(report["source"], {"width": 600, "height": 400})
        self.assertGreaterEqual(report["yields"], 1)
        self.assertLessEqual(report["yields"], 802)
        times = report["times"]
        self.assertGreater(report["longestGapMs"], 0)
        self.assertLessEqual(report["longestGapMs"], times["methodMs"])
        self.assertLessEqual(times["readMs"] + times["methodMs"] + times["writeMs"], times["totalMs"])
        self.assertGreater(report["peakMemoryKiB"], 600 * 400 * 4 * 2 // 1024)
        silent = self.report("blur", media("coffee.jpg"), self.at("out.png"), "--radius", 3, "--force")
        self.assertEqual((silent["yield"], silent["yields"]), (0, 0))
        self.assertEqual(silent["result"]["checksum"], report["result"]["checksum"])

    def test_failures_are_json_too(self):
        done = self.fail_with(INPUT, "missing.png", "blur", "missing.png", self.at("o.png"), "--radius", 1, "--json")
        self.assertEqual(json.loads(done.stdout)["exitCode"], INPUT)

    def test_quiet_says_nothing(self):
        done = self.succeed("scale", media("badge.png"), self.at("out.png"), "--size", "10x", "--quiet")
        self.assertEqual((done.stdout, done.stderr), (b"", b""))

    def test_info_follows_the_host_version(self):
        kinds = {"2012.5": ("class extension", 10), "2013.0": ("module", 11), "2999.9": ("module", 13),
                 "3000.0": ("class extension", 13), "none": ("class extension", 9)}
        for version, expected in kinds.items():
            info = json.loads(self.succeed("info", "--json", "--host-version", version).stdout)
            registration, = info["registrations"]
            self.assertEqual((registration["kind"], registration["recordVersion"]), expected, version)
            self.assertEqual(len(registration["methods"]), 5)
            self.assertEqual(info["versionStamp"], "$$ Plugin version: 15.1 (2015) $$")
            self.succeed("scale", media("badge.png"), self.at("out.png"), "--size", "9x", "--force",
                         "--host-version", version)
        self.assertIn(info["cpuLevel"], ("scalar", "sse2", "sse41", "avx2", "avx512"))

    def test_help_lists_every_exit_code(self):
        text = self.succeed("--help").stdout.decode()
        for code in range(11):
            self.assertRegex(text, rf"\n +{code}  \w")


class Failures(CommandTest):
    def test_each_has_its_code_and_names_the_thing(self):
        out, badge = self.at("out.png"), media("badge.png")
        with open(self.at("text.png"), "w") as file:
            file.write("no picture")
        with open(self.at("empty.png"), "w"):
            pass
        write_png(self.at("wide.png"), 32768, 1, lambda x, y: (0,), colour_type=0, depth=1)
        scale = ("scale", badge, out, "--size")
        for code, fragment, arguments in (
                (USAGE, "did you mean \"scale\"?", ("scael", badge, out)),
                (USAGE, "did you mean \"--size\"?", ("scale", badge, out, "--siez", "10x")),
                (USAGE, "--size", ("scale", badge, out)),
                (USAGE, "800x600", (*scale, "ten")),
                (USAGE, "did you mean \"lanczos3\"?", ("resample", badge, out, "--size", "9x", "--kernel", "lancos3")),
                (USAGE, ".png or .jpg", ("scale", badge, self.at("out.gif"), "--size", "10x")),
                (USAGE, "--mode", (*scale, "10x", "--mode", "window")),
                (USAGE, "--quality", (*scale, "10x", "--quality", "101")),
                (USAGE, "2015.021", (*scale, "10x", "--host-version", "new")),
                (USAGE, "10,20", ("draw", badge, badge, out, "--at", "5")),
                (USAGE, "--radius", ("blur", badge, out, "--radius", "-1")),
                (INPUT, "missing.png", ("scale", self.at("missing.png"), out, "--size", "10x")),
                (INPUT, "Is a directory", ("scale", self.folder, out, "--size", "10x")),
                (FORMAT, "neither a PNG nor a JPEG", ("scale", self.at("text.png"), out, "--size", "10x")),
                (FORMAT, "is empty", ("scale", self.at("empty.png"), out, "--size", "10x")),
                (OUTPUT, "exists already", ("scale", badge, self.at("text.png"), "--size", "10x")),
                (OUTPUT, "make its folder", ("scale", badge, self.at("no/out.png"), "--size", "10x")),
                (OUTPUT, "is a folder", ("scale", badge, self.folder, "--size", "10x", "--format", "png")),
                (OUTPUT, "No space left", ("blur", media("coffee.jpg"), "/dev/full", "--radius", 1, "--format", "png")),
                (SIZE, "between 1 and 32767", (*scale, "32768x1")),
                (SIZE, "between 1 and 32767", (*scale, "99999%")),
                (SIZE, "32768x1", ("scale", self.at("wide.png"), out, "--size", "10x")),
                (MEMORY, "MiB", (*scale, "32767x32767")),
                (LIBRARY_MISSING, "no.so", (*scale, "10x", "--library", self.at("no.so"))),
                (LIBRARY_MISSING, "32-bit", (*scale, "10x", "--library", self.at("text.png")))):
            with self.subTest(arguments=arguments):
                self.fail_with(code, fragment, *arguments)

    def test_a_library_beside_nothing_is_missed(self):
        lonely = self.at("pixmorph")
        shutil.copy(COMMAND, lonely)
        done = subprocess.run([lonely, "info"], capture_output=True)
        self.assertEqual(done.returncode, LIBRARY_MISSING)
        self.assertIn(b"libpixmorph.so", done.stderr)
        self.assertEqual(subprocess.run([lonely, "info", "--library", LIBRARY], capture_output=True).returncode, 0)

    def test_no_display_and_no_server_to_start(self):
        bare = {"PATH": self.folder}
        self.fail_with(MODE, "--mode console", "scale", media("badge.png"), self.at("out.png"), "--size", "10x",
                       "--mode", "gdk", env=bare)

    def test_what_stood_there_stays_until_the_new_file_is_whole(self):
        out = self.at("out.png")
        self.succeed("scale", media("badge.png"), out, "--size", "10x")
        with open(out, "rb") as file:
            before = file.read()
        with open(media("chelsea.jpg"), "rb") as file:
            half = file.read()[:20000]
        self.fail_with(FORMAT, "standard input", "scale", "-", out, "--size", "20x", "--force", stdin=half)
        with open(out, "rb") as file:
            self.assertEqual(file.read(), before)

    def test_signals_leave_no_temporary_file(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            out = self.at("large.png")
            process = subprocess.Popen([COMMAND, "resample", media("coffee.jpg"), out, "--size", "6000x",
                                        "--kernel", "triangle"], stdout=subprocess.DEVNULL)
            deadline = time.monotonic() + 60
            while not glob.glob(self.at(".pixmorph-*")) and time.monotonic() < deadline:
                self.assertIsNone(process.poll())
                time.sleep(0.002)
            process.send_signal(number)
            self.assertEqual(process.wait(), -number)
            self.assertEqual(os.listdir(self.folder), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
