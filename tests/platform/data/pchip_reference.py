#!/usr/bin/python3
"""Writes pchip_reference.txt: reference values of the shape-preserving cubic interpolant.

Run once with Debian's python3-scipy; the test reads the committed text file and needs no Python.
Each case is five lines: "case <name>", then "x", "y", "q" (queries) and "v" (expected values),
each followed by the numbers written with 17 significant digits.
"""
import os

import numpy as np
from scipy.interpolate import PchipInterpolator


def fmt(values):
    return " ".join("%.17g" % v for v in values)


def main():
    rng = np.random.default_rng(20261121)
    cases = []

    def add(name, x, y, queries=None):
        x = np.asarray(x, dtype=float)
        y = np.asarray(y, dtype=float)
        if queries is None:
            span = x[-1] - x[0]
            inside = rng.uniform(x[0], x[-1], 40)
            outside = np.array([x[0] - 0.3 * span, x[0] - 1e-3 * span, x[-1] + 1e-3 * span, x[-1] + 0.25 * span])
            queries = np.concatenate([x, inside, outside])
        queries = np.asarray(queries, dtype=float)
        values = PchipInterpolator(x, y)(queries)
        cases.append((name, x, y, queries, values))

    add("two_knots", [0.0, 2.0], [1.0, -3.0])
    add("three_knots_monotone", [0.0, 1.0, 3.0], [0.0, 1.0, 1.5])
    add("three_knots_peak", [0.0, 1.0, 3.0], [0.0, 2.0, 1.0])
    add("flat_interior", [0.0, 1.0, 2.0, 3.0, 4.0], [1.0, 1.0, 2.0, 2.0, 0.5])
    add("end_slope_clamped_to_three_secants", [0.0, 1.0, 1.1, 2.0], [0.0, 1.0, -9.0, -8.0])
    add("end_slope_sign_flipped_to_zero", [0.0, 3.0, 3.5, 5.0], [0.0, 0.1, 3.0, 3.2])
    add("quarter_circle_x", np.linspace(0.0, np.pi / 2, 9), np.cos(np.linspace(0.0, np.pi / 2, 9)))
    for index in range(6):
        count = int(rng.integers(4, 30))
        x = np.cumsum(rng.uniform(0.05, 2.0, count)) - 3.0
        y = rng.normal(0.0, 5.0, count)
        add("random_%d" % index, x, y)
    x = np.cumsum(rng.uniform(0.1, 1.0, 20))
    add("random_monotone", x, np.cumsum(rng.uniform(0.0, 1.0, 20)))

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "pchip_reference.txt")
    with open(path, "w") as out:
        for name, x, y, queries, values in cases:
            out.write("case %s\n" % name)
            out.write("x %s\n" % fmt(x))
            out.write("y %s\n" % fmt(y))
            out.write("q %s\n" % fmt(queries))
            out.write("v %s\n" % fmt(values))


if __name__ == "__main__":
    main()
