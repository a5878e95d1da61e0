"""What the tests share: the demonstration, made once."""

import atexit
import os
import shutil
import tempfile
import unittest
from pathlib import Path

import tarnvisor

folder = Path(tempfile.mkdtemp())
atexit.register(shutil.rmtree, folder)
os.environ["TMPDIR"] = str(folder)  # whatever is left there is seen
os.environ["XDG_RUNTIME_DIR"] = str(folder)  # which Qt would make there
with tarnvisor.Session(data=folder / "data") as _session:
    exam = Path(_session.make_demonstration())
still = exam / "stills" / "good.bmp"


class Case(unittest.TestCase):
    """Each test has a folder of its own."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(dir=folder))

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content)
        return path
