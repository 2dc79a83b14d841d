"""Runs the pixmorph command of the first argument, with the library of the second beside it, in a folder of its own."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from png_codec import read_png

COMMAND, LIBRARY = (os.path.abspath(path) for path in sys.argv[1:3])
MEDIA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "media")
INPUT, FORMAT, OUTPUT, SIZE, MEMORY, LIBRARY_MISSING, MODE, METHOD = 3, 4, 5, 6, 7, 8, 9, 10
USAGE = 2


def media(name):
    return os.path.join(MEDIA, name)


class CommandTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def at(self, name):
        return os.path.join(self.folder, name)

    def run_command(self, *arguments, stdin=None, env=None):
        return subprocess.run([COMMAND, *map(str, arguments)], input=stdin, capture_output=True, env=env, timeout=120)

    def succeed(self, *arguments, **keywords):
        done = self.run_command(*arguments, **keywords)
        self.assertEqual(done.returncode, 0, (arguments, done.stderr))
        return done

    def fail_with(self, code, fragment, *arguments, **keywords):
        """One sentence on stderr that names the thing, the documented code, and nothing left in the folder."""
        before = sorted(os.listdir(self.folder))
        done = self.run_command(*arguments, **keywords)
        sentence = done.stderr.decode()
        self.assertEqual(done.returncode, code, (arguments, sentence))
        self.assertIn(fragment, sentence)
        self.assertTrue(sentence.startswith("pixmorph: ") and sentence.count("\n") == 1, sentence)
        self.assertEqual(sorted(os.listdir(self.folder)), before)
        return done

    def report(self, *arguments):
        return json.loads(self.succeed(*arguments, "--json").stdout)

    def pixels(self, path):
        with open(path, "rb") as file:
            return read_png(file.read())
