"""Talks to the case runner: one process for each run mode and runtime version."""

import atexit
import errno
import os
import select
import shutil
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

LONGEST_SECONDS = 60  # of one exchange; a runner that takes longer hangs
ANSWERING = {"call", "get", "getmask", "check", "counts", "services", "sine"}


class RunnerDied(Exception):
    """The runner ended in the middle of a case; the text says how."""


def add_arguments(parser):
    parser.add_argument("--runner", required=True, help="the case_runner program")
    parser.add_argument("--library", required=True, help="the built plugin")
    parser.add_argument("--emulator", default="", help="runs 32-bit programs where the kernel does not")


def _emulator(program, given):
    if given:
        return given.replace(";", " ").split()
    try:
        subprocess.run([program], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=False)
        return []
    except OSError as error:
        if error.errno != errno.ENOEXEC or not shutil.which("qemu-i386"):
            raise
        return ["qemu-i386"]


class Display:
    """An X server of its own, for pictures in pixmaps."""

    def __init__(self):
        read, write = os.pipe()
        command = ["Xvfb", "-displayfd", str(write), "-screen", "0", "320x240x24", "-nolisten", "tcp"]
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        self.server = subprocess.Popen(command, pass_fds=[write], **quiet)
        os.close(write)
        with os.fdopen(read) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise RuntimeError("Xvfb did not start")
        self.environment = dict({"QEMU_CPU": "max"}, **os.environ)
        self.environment["DISPLAY"] = f":{number}"

        atexit.register(self.server.terminate)
        signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that the server ends with a stopped run


class Runner:
    def __init__(self, command, environment):
        self.errors = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.errors, env=environment
        )
        self.received = b""
        greeting = self._line().strip()
        if greeting != "ready":
            raise RuntimeError(f"{' '.join(command)}: {greeting or self._end()}")

    def _line(self):
        """The next line of the runner; empty when it ended, or hung and was ended."""
        while b"\n" not in self.received:
            if not select.select([self.process.stdout], [], [], LONGEST_SECONDS)[0]:
                self.process.kill()
            data = os.read(self.process.stdout.fileno(), 65536)
            if not data:
                return ""
            self.received += data
        line, self.received = self.received.split(b"\n", 1)
        return line.decode() + "\n"

    def _end(self):
        status = self.process.wait()
        self.errors.seek(0)
        return f"ended with status {status}: {self.errors.read().strip()[-1500:]}"

    def ask(self, lines):
        """Sends commands and returns the answers of those that have one."""
        try:
            self.process.stdin.write(("\n".join(lines) + "\n").encode())
            self.process.stdin.flush()
        except BrokenPipeError:
            raise RunnerDied(self._end()) from None
        answers = []
        for line in lines:
            if line.split(" ", 1)[0] in ANSWERING:
                answer = self._line()
                if not answer:
                    raise RunnerDied(self._end())
                if answer.startswith("error "):
                    raise RuntimeError(f"{line[:200]}: {answer.strip()}")
                answers.append(answer.strip())
        return answers

    def close(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()
        self.errors.close()


class Runners:
    """Started on demand; a case that ends one costs only that one."""

    def __init__(self, options):
        self.prefix = _emulator(options.runner, options.emulator) + [options.runner, options.library]
        self.display = Display()
        self.open = {}

    def get(self, console, version):
        key = ("console" if console else "desktop", str(version))
        if key not in self.open:
            self.open[key] = Runner(self.prefix + list(key), self.display.environment)
        return self.open[key]

    def drop(self, console, version):
        self.open.pop(("console" if console else "desktop", str(version)), None)

    def sines(self, angles):
        """The sines as 32-bit programs get them: the last bit differs from a 64-bit program's."""
        answer = self.get(True, 2015.021).ask(["sine " + " ".join(angle.hex() for angle in angles)])[0]
        return [float.fromhex(sine) for sine in answer.split()]

    def close(self):
        for runner in self.open.values():
            runner.close()
