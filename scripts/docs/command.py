"""The pixmorph command, called for its results and its reports."""
import json
import pathlib
import subprocess
import tempfile

from docs.picture import read_png, write_png

KERNELS = {1: "triangle", 2: "box", 3: "Lanczos 3", 4: "Lanczos 8", 5: "Mitchell", 6: "poly3", 7: "cubic"}


class CommandFailed(Exception):
    pass


class Command:
    """One built command. Pictures that only pass through it live in a folder that goes away with it."""

    def __init__(self, program):
        self.program = pathlib.Path(program).resolve()
        self._folder = tempfile.TemporaryDirectory()
        self._files = 0

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self._folder.cleanup()

    def report(self, *arguments):
        """Runs it and returns its report."""
        line = [str(argument) for argument in (self.program, *arguments, "--json")]
        done = subprocess.run(line, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise CommandFailed(f"{' '.join(line)}: exit {done.returncode}: {done.stderr.strip()}")
        return json.loads(done.stdout)

    def unchanged(self, path, out, *options):
        """Writes the picture at `path` as it is, transparency included: a size that does not change gives it back."""
        return self.report("scale", path, out, "--mask", "--size", "100%", *options)

    def new_file(self, suffix=".png"):
        self._files += 1
        return pathlib.Path(self._folder.name) / f"{self._files}{suffix}"

    def save(self, picture):
        path = self.new_file()
        write_png(path, picture)
        return path

    def scale(self, path, width, height, *options):
        return self._made("scale", path, self.new_file(), "--size", f"{width}x{height}", *options)

    def resample(self, path, mode, width, height):
        return self._made("resample", path, self.new_file(), "--size", f"{width}x{height}", "--kernel", mode)

    def blur(self, path, radius):
        return self._made("blur", path, self.new_file(), "--radius", radius)

    def draw(self, path, onto, x, y):
        return self._made("draw", path, onto, self.new_file(), "--at", f"{x},{y}")

    def _made(self, *arguments):
        """Runs it and reads the picture it wrote, the last of the files named."""
        self.report(*arguments)
        return read_png([argument for argument in arguments if isinstance(argument, pathlib.Path)][-1])
