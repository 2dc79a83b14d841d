"""Commands over many pictures or none: batch, demo, bench, the curves of the kernels, the progress bar."""
import json
import math
import os
import pty
import re
import subprocess
import sys
import unittest

from command_case import COMMAND, FORMAT, INPUT, OUTPUT, USAGE, CommandTest, media
from png_codec import write_png


class Batch(CommandTest):
    def setUp(self):
        super().setUp()
        os.makedirs(self.at("in/more"))
        for name, width in (("in/a.png", 40), ("in/b.b.png", 20), ("in/more/a.png", 60)):
            write_png(self.at(name), width, 20, lambda x, y: (x * 4, y * 9, 80))
        with open(self.at("in/bad.jpg"), "w") as file:
            file.write("no picture")

    def made(self):
        return {name for name in os.listdir(self.at("out"))} if os.path.exists(self.at("out")) else set()

    def test_names_come_from_the_pattern_and_pictures_from_the_method(self):
        self.succeed("batch", "scale", self.at("in/a.png"), self.at("in/b.b.png"), self.at("in/more/a.png"), "--size",
                     "50%", "--mkdir", "--output", self.at("out/{n}-{name}.{ext}-{width}x{height}{{}}.png"))
        self.assertEqual(self.made(), {"1-a.png-20x10{}.png", "2-b.b.png-10x10{}.png", "3-a.png-30x10{}.png"})
        for command, extra in (("scale", ["--size", "9x"]), ("scale-mask", ["--size", "9x"]), ("blur", ["--radius", 3]),
                               ("resample", ["--size", "9x", "--kernel", "cubic"])):
            out = self.at(f"out/{command}.png")
            self.succeed("batch", command, *extra, self.at("in/a.png"), "--output", self.at(f"out/{command}.png"))
            alone = self.report(command, self.at("in/a.png"), self.at("alone.png"), *extra, "--force")
            self.assertEqual(self.pixels(out), self.pixels(self.at("alone.png")), alone)
        self.succeed("batch", "draw", "--picture", media("badge.png"), "--at", "2.5,1", self.at("in/a.png"),
                     "--output", self.at("out/draw.png"))
        self.succeed("draw", media("badge.png"), self.at("in/a.png"), self.at("drawn.png"), "--at", "2.5,1")
        self.assertEqual(self.pixels(self.at("out/draw.png")), self.pixels(self.at("drawn.png")))

    def test_bad_files_are_passed_over_and_the_first_failure_gives_the_code(self):
        files = [self.at(name) for name in ("in/a.png", "in/bad.jpg", "in/missing.png", "in/b.b.png")]
        arguments = ("batch", "blur", "--radius", 1, *files, "--mkdir", "--output", self.at("out/{name}.png"))
        done = self.run_command(*arguments, "--json")
        self.assertEqual(done.returncode, FORMAT)
        self.assertEqual(self.made(), {"a.png", "b.b.png"})
        rows = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([row.get("exitCode") for row in rows[:4]], [None, FORMAT, INPUT, None])
        self.assertEqual((rows[4]["done"], rows[4]["failed"], rows[4]["exitCode"]), (2, 2, FORMAT))
        again = self.run_command(*arguments)
        self.assertEqual(again.returncode, OUTPUT)
        self.assertIn(b"0 of 4 files done", again.stdout)
        self.assertIn(b"2 of 4 files done", self.run_command(*arguments, "--force").stdout)

    def test_no_file_is_lost_to_another(self):
        a, other, b = self.at("in/a.png"), self.at("in/more/a.png"), self.at("in/b.b.png")
        blur = ("batch", "blur", "--radius", 1, "--force", "--mkdir", "--output")
        self.fail_with(USAGE, "would both become", *blur, self.at("out/{name}.png"), a, other)
        self.fail_with(USAGE, "would both become", *blur, self.at("out/same.png"), a, b)
        # By another way to the same place.
        self.fail_with(USAGE, "one of the inputs", *blur, self.at("in/../in/b.b.png"), a, b)
        self.assertEqual(self.made(), set())
        # Known only once the sizes are: the first one stands.
        done = self.run_command("batch", "scale", "--size", "8x8", "--mkdir", "--output",
                                self.at("out/{width}.png"), a, other)
        self.assertEqual(done.returncode, USAGE)
        self.assertEqual(self.made(), {"8.png"})
        self.succeed(*blur, self.at("in/{name}.{ext}"), a, b)

    def test_what_cannot_be_understood_is_refused_before_any_work(self):
        for fragment, arguments in (("did you mean \"scale\"?", ("scael",)),
                                    ("did you mean {name}?", ("blur", "--radius", 1, "--output", "{nmae}.png")),
                                    ("{{", ("blur", "--radius", 1, "--output", "{name.png")),
                                    ("--kernel", ("scale", "--size", "5x", "--kernel", "box", "--output", "{n}.png")),
                                    ("--output", ("blur", "--radius", 1)),
                                    ("files only", ("blur", "--radius", 1, "--output", "{n}.png", "-"))):
            self.fail_with(USAGE, fragment, "batch", *arguments, self.at("in/a.png"))
        done = self.run_command("batch", "blur", "--radius", 1, self.at("in/a.png"), "--output", self.at("out/{n}.png"))
        self.assertEqual(done.returncode, OUTPUT)
        self.assertIn(b"--mkdir", done.stderr)


class Showing(CommandTest):
    def test_demo_runs_all_methods_with_or_without_a_picture(self):
        methods = {"ScaleKTZ", "ScaleImageAndMaskKTZ", "ScalingKTZ", "BlurKTZ", "DrawPictureFKTZ"}
        for extra in ([], [media("chelsea.jpg"), "--badge", media("badge.png")]):
            folder = self.at(f"shown{len(extra)}")
            rows = [json.loads(line) for line in self.succeed("demo", folder, *extra, "--json").stdout.splitlines()]
            self.assertEqual({row["method"] for row in rows}, methods)
            self.assertEqual({os.path.basename(row["output"]) for row in rows}, set(os.listdir(folder)))
            self.assertEqual(self.run_command("demo", folder, *extra).returncode, OUTPUT)

    def test_bench_times_all_methods_and_knows_an_emulator(self):
        report = self.report("bench", "--size", "40x30", "--rounds", 3)
        self.assertEqual(len({row["method"] for row in report["methods"]}), 5)
        for row in report["methods"]:
            self.assertLessEqual(row["fastestMs"], row["medianMs"])
            self.assertLessEqual(row["medianMs"], row["slowestMs"])
            self.assertGreater(row["medianMs"], 0)
        text = self.succeed("bench", media("badge.png"), "--rounds", 1).stdout.decode()
        self.assertEqual("say nothing" in text, report["emulated"])
        if os.path.exists("/proc/sys/fs/binfmt_misc/pixmorph-i386"):
            self.assertTrue(report["emulated"])
        self.fail_with(USAGE, "--rounds", "bench", "--rounds", "0")

    def test_curves_are_the_kernels_that_the_library_applies(self):
        def sinc(x):
            return math.sin(math.pi * x) / (math.pi * x) if x else 1

        def mitchell(x):
            x = abs(x)
            if x < 1:
                return (7 * x ** 3 - 12 * x ** 2 + 16 / 3) / 6
            return (-7 / 3 * x ** 3 + 12 * x ** 2 - 20 * x + 32 / 3) / 6 if x < 2 else 0

        def windowed(x):
            return sinc(x) * sinc(x / 3) if abs(x) < 3 else 0

        shapes = {"triangle": lambda x: max(0, 1 - abs(x)), "mitchell": mitchell,
                  # Weights are divided by the sum of those that meet at one place.
                  "lanczos3": lambda x: windowed(x) / sum(windowed(x - math.floor(x) + k) for k in range(-4, 5))}
        curves = {curve["name"]: curve for curve in json.loads(self.succeed("kernels", "--curves", "text", "--json").stdout)}
        self.assertEqual(len(curves), 7)
        for name, shape in shapes.items():
            for i, weight in enumerate(curves[name]["weights"]):
                x = curves[name]["from"] + i * curves[name]["step"]
                self.assertAlmostEqual(weight, shape(x), delta=0.002, msg=(name, x))
        text = self.succeed("kernels", "--curves", "text").stdout.decode().splitlines()
        self.assertEqual(text[6].split()[:4], ["1.0", "0.000", "0.000", "0.000"])
        self.assertEqual(len(re.findall("<polyline", self.succeed("kernels", "--curves", "svg").stdout.decode())), 7)


class Terminal(CommandTest):
    def on_terminal(self, *extra, **environment):
        """What a long run writes to a terminal on stderr."""
        try:
            leader, follower = pty.openpty()
        except OSError as error:
            self.skipTest(f"no pseudo-terminal to be had here: {error}")
        env = {**os.environ, "TERM": "xterm", **environment}
        env = {name: value for name, value in env.items() if value is not None}
        process = subprocess.Popen([COMMAND, "resample", media("coffee.jpg"), self.at("out.png"), "--size", "2400x",
                                    "--kernel", "lanczos8", "--force", *extra], stdout=subprocess.DEVNULL,
                                   stderr=follower, env=env)
        os.close(follower)
        written = b""
        while True:
            try:
                piece = os.read(leader, 4096)
            except OSError:
                break
            if not piece:
                break
            written += piece
        os.close(leader)
        self.assertEqual(process.wait(), 0)
        return written

    def test_a_progress_bar_only_where_it_is_wanted(self):
        took = self.report("resample", media("coffee.jpg"), self.at("out.png"), "--size", "2400x", "--kernel",
                           "lanczos8")["times"]["methodMs"]
        if took < 1500:
            self.skipTest("too fast for a progress bar")
        coloured = self.on_terminal(NO_COLOR=None)
        percents = [int(number) for number in re.findall(rb"(\d+) %", coloured)]
        self.assertEqual(percents, sorted(percents))
        self.assertGreater(len(percents), 3)
        self.assertGreater(percents[-1], 60)
        self.assertIn(b"\x1b[36m", coloured)
        self.assertTrue(coloured.endswith(b"\r\x1b[K"))
        plain = self.on_terminal(NO_COLOR="1")
        self.assertIn(b" %", plain)
        self.assertNotIn(b"\x1b[36m", plain)
        self.assertEqual(self.on_terminal("--quiet"), b"")
        self.assertEqual(self.on_terminal(TERM="dumb"), b"")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
