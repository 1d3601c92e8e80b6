"""linear_sum_assignment and HungarianAlgorithm: scipy's conventions, agreement with scipy on total cost,
the cases scipy's own suite checks, and identical results to the C++ tool."""

import copy
import subprocess

import numpy as np
import pytest
from scipy.optimize import linear_sum_assignment as scipy_assignment

import kestrel
from conftest import DATA


def total(cost, rows, cols):
    return float(np.asarray(cost, dtype=float)[rows, cols].sum())


def check_against_scipy(cost, maximize=False):
    rows, cols = kestrel.linear_sum_assignment(cost, maximize=maximize)
    expected_rows, expected_cols = scipy_assignment(cost, maximize=maximize)
    assert len(rows) == len(expected_rows) == min(np.shape(cost))
    assert np.all(np.diff(rows) > 0), "rows are sorted and distinct"
    assert len(set(cols.tolist())) == len(cols), "columns are distinct"
    assert total(cost, rows, cols) == pytest.approx(total(cost, expected_rows, expected_cols), rel=1e-12, abs=1e-9)


@pytest.mark.parametrize("seed", range(100))
def test_uniform_square_matrices_agree_with_scipy(seed):
    rng = np.random.default_rng(seed)
    n = int(rng.integers(1, 40))
    check_against_scipy(rng.random((n, n)))


@pytest.mark.parametrize("seed", range(100))
def test_small_integer_matrices_agree_with_scipy(seed):
    rng = np.random.default_rng(1000 + seed)
    n = int(rng.integers(1, 25))
    check_against_scipy(rng.integers(0, 5, size=(n, n)))


@pytest.mark.parametrize("seed", range(100))
def test_rectangular_matrices_agree_with_scipy(seed):
    rng = np.random.default_rng(2000 + seed)
    shape = tuple(int(v) for v in rng.integers(1, 30, size=2))
    check_against_scipy(rng.normal(size=shape) * 10.0)


@pytest.mark.parametrize("seed", range(100))
def test_maximize_agrees_with_scipy(seed):
    rng = np.random.default_rng(3000 + seed)
    shape = tuple(int(v) for v in rng.integers(1, 25, size=2))
    check_against_scipy(rng.integers(-20, 20, size=shape).astype(float), maximize=True)


@pytest.mark.parametrize("seed", range(100))
def test_forbidden_pairs_agree_with_scipy(seed):
    rng = np.random.default_rng(4000 + seed)
    n = int(rng.integers(2, 20))
    cost = rng.random((n, n + int(rng.integers(0, 3))))
    cost[rng.random(cost.shape) < 0.3] = np.inf
    try:
        expected = scipy_assignment(cost)
    except ValueError:
        with pytest.raises(ValueError, match="infeasible"):
            kestrel.linear_sum_assignment(cost)
        return
    rows, cols = kestrel.linear_sum_assignment(cost)
    assert np.all(np.isfinite(cost[rows, cols]))
    assert total(cost, rows, cols) == pytest.approx(total(cost, *expected), rel=1e-12)


def test_negative_costs_write_nothing_to_stderr(capfd):
    rows, cols = kestrel.linear_sum_assignment([[-1.0, -5.0], [-3.0, -2.0]])
    assert cols.tolist() == [1, 0]
    assert capfd.readouterr().err == ""


def test_hand_made_matrices():
    # Small cases of the kind scipy's own suite checks, with their known optimal assignments.
    cases = [
        ([[400, 150, 400], [400, 450, 600], [300, 225, 300]], False, [1, 0, 2]),
        ([[400, 150, 400, 1], [400, 450, 600, 2], [300, 225, 300, 3]], False, [1, 3, 2]),
        ([[10, 10, 8], [9, 8, 1], [9, 7, 4]], False, [0, 2, 1]),
        ([[10, 10, 8, 11], [9, 8, 1, 1], [9, 7, 4, 10]], False, [1, 3, 2]),
        ([[10, 6, 14, 1], [17, 18, 17, 15], [14, 17, 15, 8], [11, 13, 11, 4]], True, [2, 3, 1, 0]),
    ]
    for cost, maximize, expected_cols in cases:
        rows, cols = kestrel.linear_sum_assignment(cost, maximize=maximize)
        assert rows.tolist() == list(range(len(expected_cols)))
        assert total(cost, rows, cols) == total(cost, rows, expected_cols)


@pytest.mark.parametrize("shape", [(0, 0), (0, 3), (3, 0)])
def test_empty_matrices_give_empty_index_arrays(shape):
    rows, cols = kestrel.linear_sum_assignment(np.zeros(shape))
    assert rows.shape == (0,) and cols.shape == (0,)
    assert rows.dtype.kind == "i" and cols.dtype.kind == "i"


def test_tall_matrix_returns_rows_sorted():
    cost = np.array([[5.0, 1.0], [1.0, 5.0], [0.0, 0.5]])
    rows, cols = kestrel.linear_sum_assignment(cost)
    assert rows.tolist() == [0, 2]
    assert cols.tolist() == [1, 0]


@pytest.mark.parametrize("bad", [np.nan, -np.inf])
def test_invalid_entries_are_rejected_naming_the_element(bad):
    with pytest.raises(ValueError, match=r"cost: element \(1, 0\)"):
        kestrel.linear_sum_assignment([[1.0, 2.0], [bad, 3.0]])


def test_plus_inf_is_invalid_when_maximizing():
    with pytest.raises(ValueError, match=r"element \(0, 1\) is \+inf"):
        kestrel.linear_sum_assignment([[1.0, np.inf], [2.0, 3.0]], maximize=True)


def test_infeasible_matrix_is_reported():
    with pytest.raises(ValueError, match="cost matrix is infeasible"):
        kestrel.linear_sum_assignment([[np.inf, np.inf], [1.0, 2.0]])


def test_wrong_shape_and_dtype_name_the_argument():
    with pytest.raises(ValueError, match="cost: expected a 2-D array, got 1-D"):
        kestrel.linear_sum_assignment([1.0, 2.0])
    with pytest.raises(TypeError, match="cost: expected real numbers"):
        kestrel.linear_sum_assignment([["a", "b"], ["c", "d"]])
    with pytest.raises(TypeError, match="cost: expected real numbers"):
        kestrel.linear_sum_assignment(np.ones((2, 2), dtype=complex))


def test_non_contiguous_and_integer_input_is_converted():
    cost = np.arange(36, dtype=np.int32).reshape(6, 6)[::2, ::-2]
    rows, cols = kestrel.linear_sum_assignment(cost)
    expected = scipy_assignment(cost)
    assert total(cost, rows, cols) == total(cost, *expected)


def test_hungarian_solve_matches_the_tool(ktx):
    expected = ktx("assign", DATA / "assign.csv")
    cost = np.loadtxt(DATA / "assign.csv", delimiter=",", comments="#")
    total_cost, assignment = kestrel.HungarianAlgorithm().solve(cost)
    assert assignment.tolist() == expected["assignment"]
    assert total_cost == expected["cost"]


@pytest.mark.parametrize("maximize", [False, True])
def test_forbidden_pairs_and_maximize_match_the_tool(ktx, tmp_path, maximize):
    rng = np.random.default_rng(11 if maximize else 12)
    for case in range(5):
        cost = rng.integers(0, 9, size=(6, 7)).astype(float)
        cost[rng.random(cost.shape) < 0.25] = -np.inf if maximize else np.inf
        path = tmp_path / f"cost{case}.csv"
        np.savetxt(path, cost, delimiter=",", fmt="%g")
        try:
            expected = ktx("assign", *(["--maximize"] if maximize else []), path)
        except subprocess.CalledProcessError:  # the tool reports an infeasible matrix with status 2
            with pytest.raises(ValueError, match="cost matrix is infeasible"):
                kestrel.linear_sum_assignment(cost, maximize=maximize)
            continue
        rows, cols = kestrel.linear_sum_assignment(cost, maximize=maximize)
        assert [c for c in expected["assignment"] if c >= 0] == cols.tolist()
        assert cost[rows, cols].sum() == expected["cost"]


def test_hungarian_solve_reports_unassigned_rows_and_negative_elements(capfd):
    total_cost, assignment = kestrel.HungarianAlgorithm().solve([[1.0, -2.0], [3.0, 4.0], [0.5, 9.0]])
    assert assignment.tolist() == [1, -1, 0]
    assert total_cost == -1.5
    assert capfd.readouterr().err == "All matrix elements have to be non-negative.\n"


def test_hungarian_errors_map_to_value_error():
    with pytest.raises(ValueError, match="NaN"):
        kestrel.HungarianAlgorithm().solve([[1.0, np.nan]])
    with pytest.raises(ValueError, match="^cost matrix is infeasible$"):
        kestrel.HungarianAlgorithm().solve([[1.0, np.inf], [2.0, np.inf]])
    assert kestrel.HungarianAlgorithm().solve([[np.inf, 1.0], [2.0, np.inf]])[1].tolist() == [1, 0]


def test_hungarian_copies_and_repr():
    solver = kestrel.HungarianAlgorithm()
    assert repr(copy.copy(solver)) == "HungarianAlgorithm()"
    assert copy.deepcopy(solver).solve([[2.0]])[0] == 2.0


def test_large_matrix_agrees_with_scipy():
    rng = np.random.default_rng(7)
    check_against_scipy(rng.random((300, 300)))
