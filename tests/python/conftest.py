"""Shared fixtures of the Python test suite: the ktx tool (the C++ library's own command line, used as
the reference for bit-for-bit comparisons), the example data, and a helper that runs a snippet in a fresh
interpreter with a given number of OpenMP threads."""

import json
import os
import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
DATA = ROOT / "examples" / "data"


@pytest.fixture(scope="session")
def data_dir():
    return DATA


@pytest.fixture(scope="session")
def ktx():
    """Runs `ktx <arguments>` and returns its JSON output."""
    path = os.environ.get("KESTREL_KTX")
    if not path:
        pytest.skip("KESTREL_KTX is not set (the test suite sets it when the tool is built)")

    def run(*arguments):
        completed = subprocess.run([path, *map(str, arguments)], check=True, capture_output=True, text=True)
        return json.loads(completed.stdout)

    return run


def load(name):
    return json.loads((DATA / name).read_text())


def run_with_threads(code, threads):
    """Runs `code` in a fresh interpreter with OMP_NUM_THREADS=threads and returns its standard output."""
    environment = dict(os.environ, OMP_NUM_THREADS=str(threads), OMP_WAIT_POLICY="passive")
    completed = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True,
                               env=environment)
    return completed.stdout
