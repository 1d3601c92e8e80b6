#!/usr/bin/python3
"""Times the Python package kestrel next to Debian's python3-scipy and python3-sklearn, in one process,
alternating the calls of the two sides on the same inputs:

  kestrel.linear_sum_assignment (conversion of the numpy array included)
      vs scipy.optimize.linear_sum_assignment                       n x n uniform costs, n = 1000
  kestrel.CartesianProductSampler (four factors of N strata centres, population as an (N, 4) array)
      vs scipy.stats.qmc.LatinHypercube(d=4).random(N)              N = 10^6
  kestrel.DomainSampler2D(candidates).calculate_samples(k)
      vs sklearn.cluster.KMeans(k, n_init=1).fit(candidates)        k = 300, 100 k uniform candidates

Usage: PYTHONPATH=BUILD/python bench/python/compare_with_peers.py [--repetitions R]
Prints the medians over R repetitions of the wall time and of the processor time (summed over threads;
steadier than the wall time on a busy machine), the ratio kestrel / peer (below 1: kestrel is faster),
and the load average at the start and end. Both sides use the threads OMP_NUM_THREADS allows.
"""
import argparse
import os
import statistics
import time

import numpy as np
from scipy.optimize import linear_sum_assignment
from scipy.stats import qmc
from sklearn.cluster import KMeans

import kestrel


def alternate(ours, theirs, repetitions):
    """Median (wall, processor) seconds of each side, the two sides called in turn."""
    times = {ours: ([], []), theirs: ([], [])}
    for _ in range(repetitions):
        for run in (ours, theirs):
            start, start_processor = time.perf_counter(), time.process_time()
            run()
            times[run][1].append(time.process_time() - start_processor)
            times[run][0].append(time.perf_counter() - start)
    return [tuple(statistics.median(series) for series in times[run]) for run in (ours, theirs)]


def assignment_row(repetitions):
    cost = np.random.default_rng(1).random((1000, 1000))
    ours = kestrel.linear_sum_assignment(cost)
    theirs = linear_sum_assignment(cost)
    assert abs(cost[ours].sum() - cost[theirs].sum()) < 1e-9, "both find an optimal assignment"
    timing = alternate(lambda: kestrel.linear_sum_assignment(cost), lambda: linear_sum_assignment(cost),
                       repetitions)
    return ("linear_sum_assignment", "n = 1000", "scipy linear_sum_assignment", *timing)


def latin_row(repetitions):
    points = 10**6
    centres = (np.arange(points) + 0.5) / points
    factors = [centres.copy() for _ in range(4)]  # four factors, each converted on its own

    def ours():
        return kestrel.CartesianProductSampler(factors, [0, 1, 2, 3]).population

    population = ours()
    assert population.shape == (points, 4) and np.all(np.sort(population[:, 3]) == centres)
    timing = alternate(ours, lambda: qmc.LatinHypercube(d=4, seed=0).random(points), repetitions)
    return ("CartesianProductSampler", "10^6 x 4", "scipy qmc.LatinHypercube", *timing)


def domain_row(repetitions):
    k = 300
    candidates = np.random.default_rng(2).random((100 * k, 2))

    def spread(centres):
        distances = ((candidates[:, None, :] - centres[None, :, :]) ** 2).sum(axis=2)
        return distances.min(axis=1).mean()

    ours = kestrel.DomainSampler2D(candidates).calculate_samples(k)
    theirs = KMeans(n_clusters=k, n_init=1, random_state=0).fit(candidates).cluster_centers_
    note = f"spread {spread(ours) / spread(theirs):.3f} x KMeans"
    timing = alternate(lambda: kestrel.DomainSampler2D(candidates).calculate_samples(k),
                       lambda: KMeans(n_clusters=k, n_init=1, random_state=0).fit(candidates), repetitions)
    return ("DomainSampler2D", f"k = 300 ({note})", "sklearn KMeans", *timing)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--repetitions", type=int, default=5)
    arguments = parser.parse_args()
    load = os.getloadavg()
    rows = [assignment_row(arguments.repetitions), latin_row(arguments.repetitions),
            domain_row(arguments.repetitions)]
    print(f"\nPython package next to its peers (medians of {arguments.repetitions} alternating runs; "
          f"OMP_NUM_THREADS={os.environ.get('OMP_NUM_THREADS', 'unset')}, {os.cpu_count()} cores, "
          f"load {load[0]:.1f} -> {os.getloadavg()[0]:.1f})\n")
    print("| kestrel | case | peer | kestrel wall s | peer wall s | wall ratio | kestrel cpu s | peer cpu s |"
          " cpu ratio |")
    print("|---|---|---|---|---|---|---|---|---|")
    for name, case, peer, (wall, cpu), (peer_wall, peer_cpu) in rows:
        print(f"| {name} | {case} | {peer} | {wall:.3f} | {peer_wall:.3f} | {wall / peer_wall:.2f} | "
              f"{cpu:.3f} | {peer_cpu:.3f} | {cpu / peer_cpu:.2f} |")


if __name__ == "__main__":
    main()
