"""The packages: what is in them, that the installed command works, that removing leaves nothing.

usage: package_test.py CPACK BUILD_FOLDER MEDIA_FOLDER VERSION
"""
import glob
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from png_codec import read_png

CPACK, BUILD, MEDIA, VERSION = sys.argv[1:5]
MANUAL = os.path.exists(os.path.join(BUILD, "man", "pixmorph.1"))


def run(*arguments, **keywords):
    done = subprocess.run(arguments, capture_output=True, text=True, timeout=120, **keywords)
    if done.returncode != 0:
        raise AssertionError(f"{arguments} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout


def files_in(folder):
    return sorted(os.path.relpath(os.path.join(top, name), folder)
                  for top, _, names in os.walk(folder) for name in names)


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.made = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.made)
        run(CPACK, "--config", os.path.join(BUILD, "CPackConfig.cmake"), "-B", cls.made, "-G", "DEB;TGZ")
        cls.deb, = glob.glob(os.path.join(cls.made, "*.deb"))
        cls.tgz, = glob.glob(os.path.join(cls.made, "*.tgz"))

    def folder(self):
        path = tempfile.mkdtemp(dir=self.made)
        self.addCleanup(shutil.rmtree, path)
        return path

    def check_command(self, command):
        """The command finds the library that came with it: nothing else tells it where to look."""
        root = command[:-len("usr/bin/pixmorph")]
        out = os.path.join(self.folder(), "small.png")
        env = {"PATH": "/usr/bin:/bin", **{name: os.environ[name] for name in os.environ if name == "QEMU_CPU"}}
        info = run(command, "info", env=env)
        self.assertIn(f"Plugin version: {VERSION} ", info)
        self.assertIn(os.path.realpath(root), os.path.realpath(info.split()[1]))
        run(command, "scale", os.path.join(MEDIA, "badge.png"), out, "--size", "20x10", env=env)
        with open(out, "rb") as file:
            self.assertEqual(read_png(file.read())[:2], (20, 10))

    def test_deb_unpacked_into_an_empty_root_works(self):
        root = self.folder()
        run("dpkg", "-x", self.deb, root)
        self.check_command(os.path.join(root, "usr/bin/pixmorph"))
        found = files_in(root)
        wanted = ["usr/lib/pixmorph/libpixmorph.so", "usr/share/bash-completion/completions/pixmorph",
                  "usr/share/zsh/vendor-completions/_pixmorph", "usr/share/fish/vendor_completions.d/pixmorph.fish",
                  "usr/share/doc/pixmorph/README.md", "usr/share/doc/pixmorph/copyright",
                  "usr/share/doc/pixmorph/docs/architecture.md"]
        for name in wanted + (["usr/share/man/man1/pixmorph.1"] if MANUAL else []):
            self.assertTrue(any(file in (name, name + ".gz") for file in found), (name, found))
        field = lambda name: run("dpkg-deb", "-f", self.deb, name).strip()
        self.assertEqual((field("Package"), field("Version"), field("Architecture")), ("pixmorph", VERSION, "i386"))

    @unittest.skipUnless(os.geteuid() == 0, "dpkg installs as root only")
    def test_deb_installs_and_leaves_a_clean_root(self):
        root = self.folder()
        for name in ("info", "updates"):
            os.makedirs(os.path.join(root, "var/lib/dpkg", name))
        open(os.path.join(root, "var/lib/dpkg/status"), "w").close()

        def outside_dpkg():
            return [os.path.join(top, name) for top, folders, names in os.walk(root) for name in folders + names
                    if not os.path.relpath(os.path.join(top, name), root).startswith("var")]

        self.assertEqual(outside_dpkg(), [])
        dpkg = ("dpkg", f"--root={root}", "--force-depends", "--force-architecture", "--force-script-chrootless",
                f"--log={root}/var/dpkg.log")
        run(*dpkg, "-i", self.deb)
        self.check_command(os.path.join(root, "usr/bin/pixmorph"))
        run(*dpkg, "-r", "pixmorph")
        self.assertEqual(outside_dpkg(), [])

    def test_tgz_holds_the_library_to_drop_in_and_true_checksums(self):
        folder = self.folder()
        run("tar", "-xzf", self.tgz, "-C", folder)
        self.assertEqual(os.listdir(folder), [f"pixmorph-{VERSION}-i386"])
        top = os.path.join(folder, f"pixmorph-{VERSION}-i386")
        run("sha256sum", "--check", "--strict", "SHA256SUMS", cwd=top)
        with open(os.path.join(top, "SHA256SUMS")) as file:
            listed = sorted(line.split("  ", 1)[1].rstrip("\n") for line in file)
        self.assertEqual(listed, [name for name in files_in(top) if name != "SHA256SUMS"])
        self.assertIn("libpixmorph.so", listed)
        self.assertIn("docs/architecture.md", listed)
        run("sha256sum", "--check", "--strict", os.path.basename(self.tgz) + ".sha256", cwd=self.made)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
