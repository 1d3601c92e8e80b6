"""CombinatorialCrossEntropyOptimization with Python objectives: identical results to the compiled master
search, exceptions out of the parallel evaluation, the callback, pre-groups, copies and parameters."""

import copy

import numpy as np
import pytest

import kestrel
from conftest import run_with_threads

Optimiser = kestrel.CombinatorialCrossEntropyOptimization


def master_matrix(n):
    """The transition matrix the master search draws from: n + 1 rows, no step from a node to itself."""
    matrix = np.full((n + 1, n), 1.0 / (n - 1))
    matrix[0, :] = 1.0 / n
    for i in range(1, n + 1):
        matrix[i, i - 1] = 0.0
    return matrix


def toy_optimiser():
    lengths = [47, 47, 47, 31, 31, 31, 43, 43, 43, 31, 31, 31]
    model = kestrel.DrawbeadToyModel(lengths, [[0.1, 0.9]] * len(lengths), True)
    return kestrel.MasterOptimizer4DrawbeadToyModel(model)


@pytest.mark.parametrize("masters", [2, 3, 4])
def test_python_objective_reproduces_the_compiled_master_search(masters):
    toy = toy_optimiser()
    optimiser = Optimiser(master_matrix(12), lambda selection: toy.evaluate_master_choice(selection - 1),
                          path_length=masters, ordered=False)
    score, best = optimiser.optimize(Optimiser.Parameters())
    assert (best - 1).tolist() == toy.calculate_optimal_master_indices(masters).tolist()
    assert np.isfinite(score)
    assert optimiser.number_of_evaluations > 0


def test_the_objective_sees_sorted_int_selections():
    seen = []

    def objective(selection):
        seen.append(selection.copy())
        return float(selection.sum())

    optimiser = Optimiser(master_matrix(6), objective, path_length=3, ordered=False)
    _, best = optimiser.optimize(Optimiser.Parameters(max_iterations=3))
    assert best.tolist() == [1, 2, 3]
    assert all(s.dtype.kind == "i" and np.all(np.diff(s) > 0) for s in seen)
    assert len(seen) == optimiser.number_of_evaluations


def test_exception_of_the_lowest_selection_comes_out_unchanged():
    class Rejected(Exception):
        pass

    calls = []

    def objective(selection):
        calls.append(1)
        raise Rejected(f"rejected {selection.tolist()}")

    optimiser = Optimiser(master_matrix(8), objective, path_length=3, ordered=False)
    with pytest.raises(Rejected, match=r"rejected \[\d, \d, \d\]") as raised:
        optimiser.optimize(Optimiser.Parameters())
    assert len(calls) == 8 * 9 * 5, "the loop runs to its end before the exception comes out"
    first = str(raised.value)
    with pytest.raises(Rejected) as again:
        Optimiser(master_matrix(8), objective, path_length=3, ordered=False).optimize(Optimiser.Parameters())
    assert str(again.value) == first


EXCEPTION_SCRIPT = """
import numpy as np, kestrel
Optimiser = kestrel.CombinatorialCrossEntropyOptimization
matrix = np.full((9, 8), 1.0 / 7); matrix[0, :] = 1.0 / 8
for i in range(1, 9): matrix[i, i - 1] = 0.0
def objective(selection):
    if selection[0] + selection[1] > 6:
        raise KeyError(f"too far {selection.tolist()}")
    return float(selection @ selection)
try:
    Optimiser(matrix, objective, path_length=3, ordered=False).optimize(Optimiser.Parameters())
except KeyError as error:
    print("KeyError", error)
score, best = Optimiser(matrix, lambda s: float(np.sin(s).sum()), path_length=4).optimize(Optimiser.Parameters())
print(repr(score), best.tolist())
"""


def test_results_and_exceptions_are_the_same_for_one_and_two_threads():
    one = run_with_threads(EXCEPTION_SCRIPT, 1)
    assert one.startswith("KeyError 'too far [")
    assert one == run_with_threads(EXCEPTION_SCRIPT, 2)


def test_callback_may_change_the_matrix_and_may_raise():
    received = []

    def callback(matrix, smoothing):
        received.append((matrix.shape, smoothing))
        matrix[:, :] = 1.0 / matrix.shape[1]

    optimiser = Optimiser(master_matrix(6), lambda s: float(s.sum()), path_length=2, ordered=False)
    optimiser.optimize(Optimiser.Parameters(max_iterations=4), callback=callback, base_population=5)
    assert received and all(entry == ((7, 6), 0.8) for entry in received)

    def failing(matrix, smoothing):
        raise ArithmeticError("callback failed")

    with pytest.raises(ArithmeticError, match="callback failed"):
        optimiser.optimize(Optimiser.Parameters(max_iterations=4), callback=failing, base_population=5)


def test_pre_groups_allow_one_item_per_group():
    optimiser = Optimiser(master_matrix(6), lambda s: float(s.sum()), path_length=2, ordered=False)
    optimiser.set_pre_groups([0, 3])
    _, best = optimiser.optimize(Optimiser.Parameters())
    assert best.tolist() == [1, 4]
    optimiser.set_pre_groups(None)
    with pytest.raises(ValueError, match="groups: expected strictly ascending boundaries"):
        optimiser.set_pre_groups([3, 1])


def test_nothing_runs_with_fewer_than_two_iterations():
    optimiser = Optimiser(master_matrix(4), lambda s: 0.0, path_length=2)
    score, best = optimiser.optimize(Optimiser.Parameters(max_iterations=1))
    assert score == float("inf") and best.tolist() == []


def test_copies_share_the_learning_state():
    optimiser = Optimiser(master_matrix(5), lambda s: float(s.sum()), path_length=2)
    duplicate = copy.copy(optimiser)
    optimiser.optimize(Optimiser.Parameters(max_iterations=3))
    assert duplicate.number_of_evaluations == optimiser.number_of_evaluations > 0
    assert repr(duplicate) == "CombinatorialCrossEntropyOptimization(nodes=6, path_length=2, ordered=True)"


def test_parameters_defaults_repr_and_copy():
    parameters = Optimiser.Parameters(quantile=0.1, population_dynamics=Optimiser.AdaptivePopulation)
    assert (parameters.smoothing, parameters.quantile, parameters.sample_factor) == (0.8, 0.1, 5.0)
    assert (parameters.stall_iterations, parameters.check_best_stall, parameters.max_iterations) == (3, True, 30)
    duplicate = copy.copy(parameters)
    duplicate.max_iterations = 5
    assert parameters.max_iterations == 30
    assert "AdaptivePopulation" in repr(parameters)


def test_bad_arguments():
    with pytest.raises(TypeError, match="objective: expected a callable"):
        Optimiser(master_matrix(4), 3.0)
    with pytest.raises(ValueError, match="matrix: expected n rows of at least n - 1 entries"):
        Optimiser(np.ones((5, 2)), lambda s: 0.0)
    with pytest.raises(RuntimeError):
        Optimiser(master_matrix(4), lambda s: "text", path_length=2).optimize(Optimiser.Parameters())
