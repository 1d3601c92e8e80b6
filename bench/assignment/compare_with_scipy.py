#!/usr/bin/python3
"""Times HungarianAlgorithm::Solve next to scipy.optimize.linear_sum_assignment on the same matrices.

Usage: bench/assignment/compare_with_scipy.py BUILD_DIR [--repetitions N] [--quick]

BUILD_DIR is a (Release) build folder in which the target `assignment_driver` has been built. For every
case, matrices are drawn from fixed seeds with numpy, written to a temporary file, solved N times by the driver
(one call per process, timed inside it) alternating with N scipy calls, and compared: the library must
return an optimal cost, and where the fast route proved the optimum unique, exactly scipy's assignment.
The table reports the medians, their ratio and the route each matrix took (P: optimum proved unique by
shortest augmenting paths, E: the Munkres steps run exactly on potentials, S: the Munkres steps as they
stand). Timings alternate library and scipy calls; the machine load is printed first.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.optimize import linear_sum_assignment

CASES = [  # (label, rows, columns, kind, number of seeds)
    ("uniform", 100, 100, "uniform", 5),
    ("uniform", 1000, 1000, "uniform", 3),
    ("uniform", 2000, 2000, "uniform", 2),
    ("uniform", 500, 1000, "uniform", 3),
    ("uniform", 1000, 500, "uniform", 3),
    ("negated", 1000, 1000, "negated", 3),
    ("one -1e-12", 1000, 1000, "one negative", 3),
    ("50% forbidden", 1000, 1000, "forbidden", 3),
    ("integers 0..9", 1000, 1000, "0..9", 3),
    ("integers 1..100", 1000, 1000, "1..100", 3),
    ("integers 0..999", 1000, 1000, "0..999", 3),
    ("integers 0..9", 500, 1000, "0..9", 3),
    ("integers 0..9", 1000, 500, "0..9", 3),
    ("integers 0..999", 500, 1000, "0..999", 3),
    ("integers 0..999", 1000, 500, "0..999", 3),
    ("i*j", 1000, 1000, "i*j", 1),
    ("(i+1)(j+1)", 1000, 1000, "(i+1)(j+1)", 1),
    ("i*j", 2000, 2000, "i*j", 1),
]


def make_matrix(rows, cols, kind, seed):
    rng = np.random.default_rng(seed)
    if kind == "uniform":
        return rng.random((rows, cols))
    if kind == "negated":
        return -rng.random((rows, cols))
    if kind == "one negative":
        matrix = rng.random((rows, cols))
        matrix[rng.integers(rows), rng.integers(cols)] = -1e-12
        return matrix
    if kind == "forbidden":
        matrix = rng.random((rows, cols))
        matrix[rng.random((rows, cols)) < 0.5] = np.inf
        return matrix
    if kind in ("i*j", "(i+1)(j+1)"):
        offset = 0.0 if kind == "i*j" else 1.0
        return np.outer(np.arange(rows) + offset, np.arange(cols) + offset)
    low, high = {"0..9": (0, 9), "1..100": (1, 100), "0..999": (0, 999)}[kind]
    return rng.integers(low, high + 1, (rows, cols)).astype(np.float64)


def write_matrix(path, matrix):
    with open(path, "wb") as out:
        np.array(matrix.shape, dtype="<i8").tofile(out)
        np.ascontiguousarray(matrix, dtype="<f8").tofile(out)


def row_order_cost(matrix, assignment):
    total = 0.0
    for row, col in enumerate(assignment):
        if col >= 0:
            total += float(matrix[row, col])
    return total


def run_library(driver, path):
    output = subprocess.run([driver, path, "1"], check=True, capture_output=True, text=True).stdout
    header, assignment_line = output.strip().split("\n")
    fields = dict(item.split("=") for item in header.split())
    assignment = [int(value) for value in assignment_line.split()]
    return fields["route"], float(fields["cost"]), float(fields["median_seconds"]), assignment


def run_scipy(matrix):
    start = time.perf_counter()
    rows, cols = linear_sum_assignment(matrix)
    seconds = time.perf_counter() - start
    assignment = [-1] * matrix.shape[0]
    for row, col in zip(rows, cols):
        assignment[row] = int(col)
    return row_order_cost(matrix, assignment), seconds, assignment


def time_both(driver, path, matrix, repetitions):
    """Alternates one library call and one scipy call, so that both see the same machine load."""
    library_seconds, scipy_seconds = [], []
    for _ in range(repetitions):
        route, cost, seconds, assignment = run_library(driver, path)
        library_seconds.append(seconds)
        scipy_cost, seconds, scipy_assignment = run_scipy(matrix)
        scipy_seconds.append(seconds)
    return (route, cost, statistics.median(library_seconds), assignment,
            scipy_cost, statistics.median(scipy_seconds), scipy_assignment)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build_dir")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--quick", action="store_true", help="one seed per case, n <= 1000")
    args = parser.parse_args()
    driver = os.path.join(args.build_dir, "bench", "assignment", "assignment_driver")
    if not os.access(driver, os.X_OK):
        sys.exit(f"{driver} not found: build the target assignment_driver first")

    print(f"load average: {' '.join(f'{value:.2f}' for value in os.getloadavg())}")
    print(f"{'case':<16} {'shape':>11} {'seeds':>5} {'routes':>7} {'library s':>10} {'scipy s':>10} "
          f"{'ratio':>6}  check")
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "matrix.bin")
        for label, rows, cols, kind, seeds in CASES:
            if args.quick and (rows > 1000 or cols > 1000):
                continue
            seeds = 1 if args.quick else seeds
            # The structured matrices take seconds on both sides: one timed call each.
            repetitions = 1 if kind in ("i*j", "(i+1)(j+1)") else args.repetitions
            library_times, scipy_times, routes, checks = [], [], [], []
            for seed in range(1, seeds + 1):
                matrix = make_matrix(rows, cols, kind, 1000 * rows + cols + seed)
                write_matrix(path, matrix)
                (route, cost, seconds, assignment, scipy_cost, scipy_seconds,
                 scipy_assignment) = time_both(driver, path, matrix, repetitions)
                library_times.append(seconds)
                scipy_times.append(scipy_seconds)
                routes.append(route[0].upper())
                optimal = abs(cost - scipy_cost) <= 1e-9 * max(1.0, abs(scipy_cost))
                consistent = abs(row_order_cost(matrix, assignment) - cost) == 0.0
                same = assignment == scipy_assignment
                if not (optimal and consistent) or (route == "proved" and not same):
                    failures += 1
                    checks.append("FAIL")
                else:
                    checks.append("same assignment" if same else "other optimum")
            library = statistics.median(library_times)
            scipy_median = statistics.median(scipy_times)
            print(f"{label:<16} {rows:>5}x{cols:<5} {seeds:>5} {''.join(routes):>7} {library:>10.4f} {scipy_median:>10.4f} "
                  f"{library / scipy_median:>6.2f}  {', '.join(sorted(set(checks)))}", flush=True)
    if failures:
        sys.exit(f"{failures} matrices failed the checks")


if __name__ == "__main__":
    main()
