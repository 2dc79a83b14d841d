"""Help, manual page and completions tell the same: every command and option that one knows, the others know too.

usage: agreement_test.py COMMAND SOURCE_FOLDER VERSION
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

COMMAND, SOURCE, VERSION = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]
MANUAL = (SOURCE / "docs/man/pixmorph.1.scd").read_text(encoding="utf-8")


def output(*arguments, stdin=None):
    return subprocess.run(arguments, input=stdin, capture_output=True, text=True, check=True, timeout=120).stdout


def options_in(text):
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", text))


def helps(path=()):
    """Every command's words and what it takes, as its own help tells: {words: (options, commands below)}."""
    text = output(COMMAND, *path, "--help")
    options = {name for line in re.findall(r"^ +(?:-h,)?(--[a-z-]+)", text, re.M) for name in [line]}
    below = re.search(r"^Subcommands:\n((?:  .*\n)+)", text, re.M)
    names = re.findall(r"^  ([a-z-]+) ", below.group(1), re.M) if below else []
    found = {path: (options, set(names))}
    for name in names:
        found.update(helps(path + (name,)))
    return found


class Agreement(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.helps = helps()

    def sections(self):
        """The manual's part for each command, and what is common to all."""
        parts = re.split(r"^(#+ .*)$", MANUAL, flags=re.M)
        return {title.strip("# "): body for title, body in zip(parts[1::2], parts[2::2])}

    def test_the_manual_knows_every_command_and_option_and_no_others(self):
        sections = self.sections()
        common = options_in(sections["COMMON OPTIONS"])
        for path, (options, _) in self.helps.items():
            if path:
                self.assertIn(path[0], sections)
                missing = options - common - options_in(sections[path[0]])
                self.assertEqual(missing, set(), f"missing under {path[0]}")
        for words in (path for path in self.helps if len(path) == 2):
            self.assertIn(f"*{words[1]}*", sections[words[0]])
        for name in {path[0] for path in self.helps if path}:
            known = set().union(*(options for path, (options, _) in self.helps.items() if path[:1] == (name,)))
            documented = set(re.findall(r"^\*.*", sections[name], re.M))
            listed = options_in("\n".join(line for line in documented if line.startswith("*--")))
            self.assertEqual(listed - known, set(), f"{name} has no such option")
        everything = set().union(*(options for options, _ in self.helps.values()))
        self.assertEqual(options_in(MANUAL) - everything, set())

    def test_the_manual_knows_every_exit_code(self):
        text = output(COMMAND, "--help")
        codes = re.findall(r"^ +(\d+)  ", text, re.M)
        self.assertGreater(len(codes), 5)
        self.assertEqual(re.findall(r"^\*(\d+)\*$", MANUAL, re.M), codes)

    def test_bash_completes_them_all(self):
        script = output(COMMAND, "completion", "bash")
        for path, (options, names) in self.helps.items():
            for typed, wanted in (("--", options), *([("", names)] if names else [])):
                words = " ".join(f"'{word}'" for word in ("pixmorph", *path, typed))
                ask = (f"{script}\nCOMP_WORDS=({words}); COMP_CWORD={len(path) + 1}; _pixmorph\n"
                       "printf '%s\\n' \"${COMPREPLY[@]}\"\n")
                self.assertEqual(set(output("bash", "-c", ask).split()), wanted, (path, typed))
        ask = (f"{script}\nCOMP_WORDS=(pixmorph resample a b --kernel lan); COMP_CWORD=5; _pixmorph\n"
               "printf '%s\\n' \"${COMPREPLY[@]}\"\n")
        self.assertEqual(output("bash", "-c", ask).split(), ["lanczos3", "lanczos8"])

    def test_zsh_completes_them_all(self):
        script = output(COMMAND, "completion", "zsh")
        arms = dict(re.findall(r"^    '([a-z -]*)'\)\n(.*?) ;;$", script, re.M | re.S))
        for path, (options, names) in self.helps.items():
            arm = arms[" ".join(path)]
            self.assertEqual(set(re.findall(r"'(--[a-z-]+)\[", arm)), options, path)
            self.assertEqual(set(re.findall(r"^        '([a-z-]+):", arm, re.M)), names, path)
        if shutil.which("zsh"):
            output("zsh", "-n", stdin=script)

    def test_fish_completes_them_all(self):
        script = output(COMMAND, "completion", "fish")
        for path, (options, names) in self.helps.items():
            lines = [line for line in script.splitlines() if f"'__pixmorph_at \"{' '.join(path)}\"'" in line]
            self.assertEqual({"--" + name for name in re.findall(r" -l ([a-z-]+)", "\n".join(lines))}, options)
            self.assertEqual({name for name in re.findall(r" -f -a ([a-z-]+)", "\n".join(lines))}, names)
            if shutil.which("fish"):
                ask = f"{script}\ncomplete -C 'pixmorph {' '.join(path)} --'"
                offered = {line.split("\t")[0] for line in output("fish", "-c", ask).splitlines()}
                self.assertEqual(offered, options, path)

    def test_every_example_runs(self):
        """Those of the helps and the manual, in a folder with a photograph and a logo of the names that they use."""
        examples = re.findall(r"^\t(pixmorph .*)$", MANUAL, re.M)
        self.assertGreater(len(examples), 3)
        for path in self.helps:
            text = output(COMMAND, *path, "--help")
            told = re.search(r"^Example:\n  (.*)$", text, re.M)
            self.assertTrue(told or len(path) != 1, f"the help of {path} has no example")
            examples += [told.group(1)] if told else []
        for example in examples:
            with tempfile.TemporaryDirectory() as folder, self.subTest(example):
                os.mkdir(os.path.join(folder, "photos"))
                for name, there in (("chelsea", "photo"), ("coffee", "photos/one"), ("rocket", "photos/two")):
                    shutil.copy(SOURCE / f"media/{name}.jpg", f"{folder}/{there}.jpg")
                shutil.copy(SOURCE / "media/badge.png", f"{folder}/logo.png")
                line = re.sub(r"\\(.)", r"\1", example.replace("pixmorph", f"'{COMMAND}'", 1))
                done = subprocess.run(["sh", "-c", line], cwd=folder, capture_output=True, text=True, timeout=300)
                self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_one_version_everywhere(self):
        self.assertEqual(output(COMMAND, "--version"), f"pixmorph {VERSION}\n")
        self.assertIn(f"Plugin version: {VERSION} ", output(COMMAND, "info"))
        self.assertIn(f'"pixmorph {VERSION}"', MANUAL.splitlines()[0])
        changes = (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8")
        self.assertEqual(re.search(r"^## (.*)$", changes, re.M).group(1), VERSION)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
