"""Bit-for-bit identical results for one and two OpenMP threads, and Ctrl-C during long calls."""

import os
import signal
import threading

import numpy as np
import pytest

import kestrel
from conftest import run_with_threads

SCRIPT = """
import numpy as np, kestrel
values = np.random.default_rng(5).random(14)
grouper = kestrel.SegmentGrouper(values, np.linspace(1, 2, 14), True, kestrel.SegmentGrouper.Variance)
print(grouper.compute_groups().tolist())
model = kestrel.DrawbeadToyModel(np.linspace(10, 30, 16), [[0.1, 0.9]] * 16, False)
toy = kestrel.MasterOptimizer4DrawbeadToyModel(model)
print(toy.calculate_optimal_master_indices(5).tolist())
class Python(kestrel.MasterOptimizer4Interpolation):
    def get_interpolation(self, indices, values):
        return np.interp(np.arange(16), indices, values)
    def geometry_based_evaluation(self, indices):
        return float(np.cos(indices * 1.7).sum())
print(Python([[0, 1]] * 16, sum).calculate_optimal_master_indices(4).tolist())
f = kestrel.make_test_function("ackley", 3)
found = kestrel.anneal_in_box(f.objective, f.gradient, f.box, 3, kestrel.AnnealingSettings4HSA(evaluation_budget=3000))
print(found.best_position.tobytes().hex(), found.objective_evaluations)
"""


def test_results_are_identical_for_one_and_two_threads():
    one = run_with_threads(SCRIPT, 1)
    assert len(one.splitlines()) == 4
    assert one == run_with_threads(SCRIPT, 2)


def interrupt_after(seconds):
    timer = threading.Timer(seconds, lambda: os.kill(os.getpid(), signal.SIGINT))
    timer.start()
    return timer


def test_ctrl_c_interrupts_compute_groups():
    values = np.random.default_rng(0).random(44)
    grouper = kestrel.SegmentGrouper(values, np.ones(44), False, kestrel.SegmentGrouper.Variance)
    timer = interrupt_after(0.3)
    with pytest.raises(KeyboardInterrupt):
        grouper.compute_groups()
    timer.join()


def test_ctrl_c_interrupts_an_annealing_run_of_compiled_functions():
    f = kestrel.make_test_function("rastrigin", 4)
    settings = kestrel.AnnealingSettings4HSA(evaluation_budget=10**12)
    timer = interrupt_after(0.3)
    with pytest.raises(KeyboardInterrupt):
        kestrel.anneal_in_box(f.objective, f.gradient, f.box, 1, settings)
    timer.join()


def test_ctrl_c_interrupts_the_optimiser_with_a_python_objective():
    n = 40
    matrix = np.full((n, n - 1), 1.0 / (n - 1))
    optimiser = kestrel.CombinatorialCrossEntropyOptimization(matrix, lambda s: float(s[0] * s[-1]))
    timer = interrupt_after(0.3)
    with pytest.raises(KeyboardInterrupt):
        optimiser.optimize(kestrel.CombinatorialCrossEntropyOptimization.Parameters(max_iterations=1000,
                                                                                   stall_iterations=1000))
    timer.join()


def test_after_ctrl_c_the_remaining_calls_of_the_loop_do_not_call_python():
    n = 30
    matrix = np.full((n, n - 1), 1.0 / (n - 1))
    calls = []

    def objective(selection):
        calls.append(1)
        if len(calls) == 50:
            os.kill(os.getpid(), signal.SIGINT)
        return float(selection[0])

    optimiser = kestrel.CombinatorialCrossEntropyOptimization(matrix, objective)
    with pytest.raises(KeyboardInterrupt):
        optimiser.optimize(kestrel.CombinatorialCrossEntropyOptimization.Parameters())
    assert len(calls) < n * (n - 1) * 5, "the interrupted loop skipped the rest of its population"
    # The next run starts afresh.
    calls.clear()
    calls.extend([1] * 100)
    score, best = optimiser.optimize(kestrel.CombinatorialCrossEntropyOptimization.Parameters(max_iterations=2))
    assert len(best) == n - 1


LIMIT_SCRIPT = """
import numpy as np, kestrel
kestrel.set_max_number_of_threads(1)
assert kestrel.get_max_number_of_threads() == 1
""" + SCRIPT


def test_thread_limit_changes_nothing_in_the_results():
    limited = run_with_threads(LIMIT_SCRIPT, 2)
    assert limited == run_with_threads(SCRIPT, 2)
    kestrel.set_max_number_of_threads(3)
    try:
        assert kestrel.get_max_number_of_threads() == 3
    finally:
        kestrel.set_max_number_of_threads(0)
    assert kestrel.get_max_number_of_threads() == 0
