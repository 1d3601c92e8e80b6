"""Imports kestrel from an installed prefix and checks that it runs on the installed library.

Usage: python3 -I import_installed.py PREFIX PACKAGE_FOLDER
"""

import pathlib
import sys

prefix = pathlib.Path(sys.argv[1]).resolve()
sys.path.insert(0, sys.argv[2])

import kestrel  # noqa: E402  (the path is set above)

module = pathlib.Path(kestrel._kestrel.__file__).resolve()
if prefix not in module.parents:
    sys.exit(f"kestrel was imported from {module}, not from {prefix}")
libraries = [line.split()[-1] for line in open("/proc/self/maps") if "libKTXService_InformationTheory" in line]
if not libraries or any(prefix not in pathlib.Path(path).resolve().parents for path in libraries):
    sys.exit(f"the module loaded {sorted(set(libraries))}, not the library installed in {prefix}")
rows, cols = kestrel.linear_sum_assignment([[4, 1, 3], [2, 0, 5], [3, 2, 2]])
if cols.tolist() != [1, 0, 2]:
    sys.exit(f"unexpected assignment {cols.tolist()}")
if not (pathlib.Path(kestrel.__file__).parent / "_kestrel.pyi").exists():
    sys.exit("the type stubs were not installed")
print("python package: ok")
