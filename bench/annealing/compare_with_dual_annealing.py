#!/usr/bin/python3
"""Success counts of the library's ready annealer next to Debian's scipy.optimize.dual_annealing on a
suite of test functions, with the same seeds and the same budgets of evaluations.

Suite: rastrigin, ackley, griewank, schwefel (2.26), levy, styblinski-tang, rosenbrock in 2, 5 and 10
dimensions and himmelblau in 2; seeds 1..S (default 20); budgets of 1000 * d and 5000 * d evaluations.
A run succeeds when the lowest value it evaluated within its budget lies within 1e-2 of the known global
minimum value.

Two ways of counting evaluations, one table each:
  gradient = 1 evaluation   the annealer gets `budget` evaluations, each objective and each gradient call
                            costing one; dual_annealing gets the analytic gradient for its L-BFGS-B local
                            searches and is charged the same way (one per objective call, one per
                            gradient call).
  gradient = d evaluations  what a gradient costs by finite differences: the annealer is charged d per
                            gradient call; dual_annealing runs as it does by default, without the
                            gradient, its L-BFGS-B taking forward differences (d objective calls each).
Both sides stop at their budget: the annealer by its own evaluationBudget setting, dual_annealing by its
maxfun and, where its own count leaves out gradient calls, by the counting wrapper below, which ends the
run as soon as the next call would exceed the budget (the best value so far is its result).

Usage: bench/annealing/compare_with_dual_annealing.py [--build BUILD_DIR] [--seeds S]
           [--functions NAME,...] [--dimensions D,...] [--peer-results FILE]
The build folder must hold bench/annealing/annealing_suite. With --peer-results, dual_annealing's
results are read from FILE when it exists (from an earlier run with the same seeds) and written to it
otherwise, since they do not depend on the library.
"""
import argparse
import json
import os
import subprocess
import sys

import numpy as np
from scipy.optimize import dual_annealing

SUCCESS_TOLERANCE = 1e-2
BUDGET_FACTORS = (1000, 5000)


def rastrigin(x):
    return 10.0 * x.size + np.sum(x * x - 10.0 * np.cos(2.0 * np.pi * x))


def rastrigin_gradient(x):
    return 2.0 * x + 20.0 * np.pi * np.sin(2.0 * np.pi * x)


def ackley(x):
    n = x.size
    return (-20.0 * np.exp(-0.2 * np.sqrt(np.sum(x * x) / n)) - np.exp(np.sum(np.cos(2.0 * np.pi * x)) / n)
            + 20.0 + np.e)


def ackley_gradient(x):
    n = x.size
    r = np.sqrt(np.sum(x * x) / n)
    radial = 4.0 * np.exp(-0.2 * r) / (n * r) if r > 0.0 else 0.0
    ripple = 2.0 * np.pi / n * np.exp(np.sum(np.cos(2.0 * np.pi * x)) / n)
    return radial * x + ripple * np.sin(2.0 * np.pi * x)


def griewank(x):
    roots = np.sqrt(np.arange(1.0, x.size + 1.0))
    return 1.0 + np.sum(x * x) / 4000.0 - np.prod(np.cos(x / roots))


def griewank_gradient(x):
    roots = np.sqrt(np.arange(1.0, x.size + 1.0))
    cosines = np.cos(x / roots)
    others = np.array([np.prod(np.delete(cosines, i)) for i in range(x.size)])
    return x / 2000.0 + np.sin(x / roots) / roots * others


SCHWEFEL_CONSTANT = 418.98288727243371


def schwefel(x):
    return SCHWEFEL_CONSTANT * x.size - np.sum(x * np.sin(np.sqrt(np.abs(x))))


def schwefel_gradient(x):
    root = np.sqrt(np.abs(x))
    return -(np.sin(root) + 0.5 * root * np.cos(root))


def levy(x):
    w = 1.0 + (x - 1.0) / 4.0
    head = np.sin(np.pi * w[0]) ** 2
    body = np.sum((w[:-1] - 1.0) ** 2 * (1.0 + 10.0 * np.sin(np.pi * w[:-1] + 1.0) ** 2))
    tail = (w[-1] - 1.0) ** 2 * (1.0 + np.sin(2.0 * np.pi * w[-1]) ** 2)
    return head + body + tail


def levy_gradient(x):
    w = 1.0 + (x - 1.0) / 4.0
    dw = np.zeros_like(w)
    dw[0] += 2.0 * np.pi * np.sin(np.pi * w[0]) * np.cos(np.pi * w[0])
    a = w[:-1]
    s = np.sin(np.pi * a + 1.0)
    dw[:-1] += 2.0 * (a - 1.0) * (1.0 + 10.0 * s * s) + (a - 1.0) ** 2 * 20.0 * np.pi * s * np.cos(np.pi * a + 1.0)
    b = w[-1]
    t = np.sin(2.0 * np.pi * b)
    dw[-1] += 2.0 * (b - 1.0) * (1.0 + t * t) + (b - 1.0) ** 2 * 4.0 * np.pi * t * np.cos(2.0 * np.pi * b)
    return dw / 4.0


def styblinski_tang(x):
    return 0.5 * np.sum(x ** 4 - 16.0 * x * x + 5.0 * x)


def styblinski_tang_gradient(x):
    return 2.0 * x ** 3 - 16.0 * x + 2.5


def rosenbrock(x):
    return np.sum(100.0 * (x[1:] - x[:-1] ** 2) ** 2 + (1.0 - x[:-1]) ** 2)


def rosenbrock_gradient(x):
    g = np.zeros_like(x)
    inner = x[1:] - x[:-1] ** 2
    g[:-1] += -400.0 * x[:-1] * inner - 2.0 * (1.0 - x[:-1])
    g[1:] += 200.0 * inner
    return g


def himmelblau(x):
    return (x[0] ** 2 + x[1] - 11.0) ** 2 + (x[0] + x[1] ** 2 - 7.0) ** 2


def himmelblau_gradient(x):
    a = x[0] ** 2 + x[1] - 11.0
    b = x[0] + x[1] ** 2 - 7.0
    return np.array([4.0 * x[0] * a + 2.0 * b, 2.0 * a + 4.0 * x[1] * b])


# name: (objective, gradient, (lower, upper) of every coordinate, minimum value per dimension d)
FUNCTIONS = {
    "rastrigin": (rastrigin, rastrigin_gradient, (-5.12, 5.12), lambda d: 0.0),
    "ackley": (ackley, ackley_gradient, (-5.0, 5.0), lambda d: 0.0),
    "griewank": (griewank, griewank_gradient, (-600.0, 600.0), lambda d: 0.0),
    "schwefel": (schwefel, schwefel_gradient, (-500.0, 500.0), lambda d: 0.0),
    "levy": (levy, levy_gradient, (-10.0, 10.0), lambda d: 0.0),
    "styblinski-tang": (styblinski_tang, styblinski_tang_gradient, (-5.0, 5.0),
                        lambda d: -39.16616570377142 * d),
    "rosenbrock": (rosenbrock, rosenbrock_gradient, (-5.0, 10.0), lambda d: 0.0),
    "himmelblau": (himmelblau, himmelblau_gradient, (-5.0, 5.0), lambda d: 0.0),
}
SUITE = [(name, d) for name in FUNCTIONS if name != "himmelblau" for d in (2, 5, 10)] + [("himmelblau", 2)]


class BudgetSpent(Exception):
    pass


class Counted:
    """Charges every objective call 1 and every gradient call `gradient_cost`, keeps the lowest value,
    and ends the run before a call that would exceed the budget."""

    def __init__(self, objective, gradient, budget, gradient_cost):
        self.objective, self.gradient = objective, gradient
        self.budget, self.gradient_cost = budget, gradient_cost
        self.spent = 0
        self.best = np.inf

    def value(self, x):
        if self.spent + 1 > self.budget:
            raise BudgetSpent()
        self.spent += 1
        v = float(self.objective(x))
        self.best = min(self.best, v)
        return v

    def slope(self, x):
        if self.spent + self.gradient_cost > self.budget:
            raise BudgetSpent()
        self.spent += self.gradient_cost
        return self.gradient(x)


def peer_best(name, d, budget, analytic_gradient, seed):
    objective, gradient, (lower, upper), _ = FUNCTIONS[name]
    counted = Counted(objective, gradient, budget, 1)
    bounds = [(lower, upper)] * d
    minimizer = None
    if analytic_gradient:
        minimizer = {"method": "L-BFGS-B", "jac": counted.slope, "bounds": bounds,
                     "options": {"maxiter": min(max(6 * d, 100), 1000)}}
    try:
        dual_annealing(counted.value, bounds, maxfun=budget, seed=seed, minimizer_kwargs=minimizer)
    except BudgetSpent:
        pass
    return counted.best, counted.spent


def peer_results(seeds, suite, cache):
    results = {}
    if cache and os.path.exists(cache):
        with open(cache) as stored:
            results = {tuple(json.loads(key)): value for key, value in json.load(stored).items()}
    for name, d in suite:
        for factor in BUDGET_FACTORS:
            for analytic in (True, False):
                key = (name, d, factor, analytic)
                if key in results and len(results[key]) == seeds:
                    continue
                runs = [peer_best(name, d, factor * d, analytic, seed) for seed in range(1, seeds + 1)]
                results[key] = runs
                print(f"  dual_annealing {name} d={d} budget={factor}*d gradient={'1' if analytic else 'd'}"
                      f": {successes(name, d, runs)}/{seeds}", file=sys.stderr, flush=True)
                if cache:
                    with open(cache, "w") as stored:
                        json.dump({json.dumps(list(k)): v for k, v in results.items()}, stored)
    return results


def library_results(build, seeds, suite):
    program = os.path.join(build, "bench", "annealing", "annealing_suite")
    results = {}
    for name, d in suite:
        for factor in BUDGET_FACTORS:
            for gradient_cost in (1, d):
                output = subprocess.run([program, name, str(d), str(factor * d), str(gradient_cost), str(seeds)],
                                        check=True, capture_output=True, text=True).stdout
                runs = [(float(v), int(e)) for v, e in (line.split()[1:3] for line in output.splitlines())]
                results[(name, d, factor, gradient_cost == 1)] = runs
                print(f"  annealer {name} d={d} budget={factor}*d gradient={gradient_cost}"
                      f": {successes(name, d, runs)}/{seeds}", file=sys.stderr, flush=True)
    return results


def successes(name, d, runs):
    minimum = FUNCTIONS[name][3](d)
    return sum(1 for best, _ in runs if best - minimum <= SUCCESS_TOLERANCE)


def median(values):
    ordered = sorted(values)
    return ordered[len(ordered) // 2]


def print_table(title, suite, seeds, library, peer, analytic):
    print(f"\n{title}\n")
    print("| function | d | budget | annealer | dual_annealing | annealer median gap | dual_annealing median gap |")
    print("|---|---|---|---|---|---|---|")
    behind = []
    for name, d in suite:
        minimum = FUNCTIONS[name][3](d)
        for factor in BUDGET_FACTORS:
            ours, theirs = library[(name, d, factor, analytic)], peer[(name, d, factor, analytic)]
            a, b = successes(name, d, ours), successes(name, d, theirs)
            if a < b:
                behind.append(f"{name} d={d} budget={factor}*d")
            gap_ours = median([v - minimum for v, _ in ours])
            gap_theirs = median([v - minimum for v, _ in theirs])
            print(f"| {name} | {d} | {factor}·d | {a}/{seeds} | {b}/{seeds} | {gap_ours:.2e} | {gap_theirs:.2e} |")
    print("\nannealer behind dual_annealing: " + (", ".join(behind) if behind else "nowhere"))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build-release")
    parser.add_argument("--seeds", type=int, default=20)
    parser.add_argument("--functions", default=",".join(FUNCTIONS))
    parser.add_argument("--dimensions", default="2,5,10")
    parser.add_argument("--peer-results")
    arguments = parser.parse_args()
    names = arguments.functions.split(",")
    dimensions = [int(d) for d in arguments.dimensions.split(",")]
    suite = [(name, d) for name, d in SUITE if name in names and d in dimensions]

    library = library_results(arguments.build, arguments.seeds, suite)
    peer = peer_results(arguments.seeds, suite, arguments.peer_results)
    print(f"Success counts over seeds 1..{arguments.seeds} (best value within {SUCCESS_TOLERANCE} of the "
          f"global minimum value); median gap = median over seeds of best value - minimum value.")
    print_table("Gradient call = 1 evaluation (dual_annealing given the gradient)", suite, arguments.seeds,
                library, peer, True)
    print_table("Gradient call = d evaluations (dual_annealing by its default finite differences)", suite,
                arguments.seeds, library, peer, False)


if __name__ == "__main__":
    main()
