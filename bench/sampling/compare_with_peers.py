#!/usr/bin/python3
"""Times the library's population samplers next to the samplers of Debian's python3-scipy and
python3-sklearn, in one run, on the same inputs.

  CartesianProductSampler (four factors of N one-coordinate candidates)
      vs scipy.stats.qmc.LatinHypercube(d=4).random(N)          for N = 1e4, 1e5, 1e6
  DomainSampler2D (n samples from 100 * n candidates uniform in the unit square)
      vs sklearn.cluster.KMeans(n, init="k-means++", n_init=1, max_iter=max(n, 100)) on the same candidates
                                                                 for n = 5, 50, 300

Usage: bench/sampling/compare_with_peers.py [--build BUILD_DIR] [--repetitions R] [--only lhs|kmeans]
The build folder must hold bench/sampling/sampling_peer_timing (a Release build gives meaningful figures).
Prints the medians over R repetitions of the wall time and of the processor time (summed over threads;
steadier than the wall time on a busy machine) and the ratios library / peer (below 1: the library is
faster). Both sides use the threads OMP_NUM_THREADS allows (all cores by default). Both time the whole
life of their result: the library's population is built and released, the peer's array is drawn and
released. On a machine whose cores are shared, OpenMP threads that spin while waiting slow the thread
doing the serial work; OMP_WAIT_POLICY=passive shows the library without that effect.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.stats import qmc
from sklearn.cluster import KMeans


def median_seconds(run, repetitions):
    """Median wall time and median processor time (all threads of this process) of the repetitions."""
    wall, processor = [], []
    for _ in range(repetitions):
        start, start_processor = time.perf_counter(), time.process_time()
        run()
        processor.append(time.process_time() - start_processor)
        wall.append(time.perf_counter() - start)
    return statistics.median(wall), statistics.median(processor)


def library_seconds(driver, *arguments):
    output = subprocess.run([driver, *map(str, arguments)], check=True, capture_output=True, text=True)
    wall, processor = output.stdout.split()
    return float(wall), float(processor)


def compare_latin_hypercube(driver, repetitions):
    rows = []
    for points in (10**4, 10**5, 10**6):
        library = library_seconds(driver, "lhs", points, repetitions)
        peer = median_seconds(lambda: qmc.LatinHypercube(d=4, seed=0).random(points), repetitions)
        rows.append(("CartesianProductSampler", f"N={points}", "LatinHypercube(d=4)", library, peer, ""))
    return rows


def compare_domain_sampler(driver, repetitions):
    rows = []
    for samples in (5, 50, 300):
        candidates = np.random.default_rng(samples).random((100 * samples, 2))
        with tempfile.NamedTemporaryFile(suffix=".f64", delete=False) as handle:
            candidates.astype("<f8").tofile(handle)
            path = handle.name
        try:
            library = library_seconds(driver, "kmeans", path, samples, repetitions)
        finally:
            os.unlink(path)
        limit = max(samples, 100)
        iterations = []

        def fit():
            model = KMeans(n_clusters=samples, init="k-means++", n_init=1, max_iter=limit, random_state=0)
            iterations.append(model.fit(candidates).n_iter_)

        peer = median_seconds(fit, repetitions)
        rows.append(("DomainSampler2D", f"n={samples}", "KMeans(k-means++)", library, peer,
                     f"peer iterations {iterations[-1]}"))
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    parser.add_argument("--build", default=os.path.join(root, "build-release"))
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--only", choices=("lhs", "kmeans"), help="run only one of the two comparisons")
    arguments = parser.parse_args()
    driver = os.path.join(arguments.build, "bench", "sampling", "sampling_peer_timing")
    if not os.access(driver, os.X_OK):
        sys.exit(f"missing {driver}: build the target sampling_peer_timing in {arguments.build} first")

    rows = []
    if arguments.only != "kmeans":
        rows += compare_latin_hypercube(driver, arguments.repetitions)
    if arguments.only != "lhs":
        rows += compare_domain_sampler(driver, arguments.repetitions)
    print(f"OMP_NUM_THREADS={os.environ.get('OMP_NUM_THREADS', 'unset')} "
          f"OMP_WAIT_POLICY={os.environ.get('OMP_WAIT_POLICY', 'unset')}")
    print(f"{'library':<24}{'size':<10}{'peer':<21}{'wall s':>9}{'peer':>9}{'ratio':>7}"
          f"{'cpu s':>9}{'peer':>9}{'ratio':>7}  note")
    for name, size, peer_name, library, peer, note in rows:
        print(f"{name:<24}{size:<10}{peer_name:<21}{library[0]:>9.4f}{peer[0]:>9.4f}{library[0] / peer[0]:>7.2f}"
              f"{library[1]:>9.4f}{peer[1]:>9.4f}{library[1] / peer[1]:>7.2f}  {note}")


if __name__ == "__main__":
    main()
