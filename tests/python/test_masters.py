"""Master selection: identical results to the C++ tool, Python subclasses of
MasterOptimizer4Interpolation, exceptions out of the parallel evaluation, argument checking."""

import copy
import itertools

import numpy as np
import pytest

import kestrel
from conftest import DATA, load


def toy_from(name):
    line = load(name)
    model = kestrel.DrawbeadToyModel(line["lengths"], line["ranges"], line["closed"],
                                     line.get("transitions"))
    return line, model, kestrel.MasterOptimizer4DrawbeadToyModel(model)


def test_closed_line_matches_the_tool(ktx):
    expected = ktx("masters", DATA / "masters.json")
    line, model, optimiser = toy_from("masters.json")
    masters = optimiser.calculate_optimal_master_indices(line["masters"])
    assert masters.tolist() == expected["masters"]
    assert optimiser.evaluate_master_choice(masters) == expected["score"]
    values = optimiser.interpolate(masters, line["masterValues"])
    assert values.tolist() == expected["values"]
    assert model.calculate_penalty_value(values) == expected["penalty"]


def test_open_line_with_pre_groups_matches_the_tool(ktx):
    expected = ktx("masters", DATA / "masters-open-pregroups.json")
    line, _, optimiser = toy_from("masters-open-pregroups.json")
    masters = optimiser.calculate_optimal_master_indices(line["masters"], pre_groups=line["preGroups"][:-1])
    assert masters.tolist() == expected["masters"]
    assert optimiser.evaluate_master_choice(masters) == expected["score"]


def test_model_queries():
    model = kestrel.DrawbeadToyModel([2.0, 4.0, 6.0, 3.0, 5.0], [[0.1, 0.9]] * 5, closed=True)
    assert len(model) == 5 and model.closed
    assert model.transition_lengths.tolist() == [2.0, 4.0, 3.0, 3.0, 2.0]
    assert model.min_max_data.shape == (5, 2)
    assert model.get_segment_length(2) == 6.0
    assert model.distance(3, 1) == 5.0 + 2.0
    assert model.full_distance(0, 2) == 1.0 + 2.0 + 4.0 + 4.0 + 3.0
    assert repr(model) == "DrawbeadToyModel(segments=5, closed=True)"
    assert copy.deepcopy(model).full_distance(0, 2) == model.full_distance(0, 2)


def test_model_checks_indices_and_sizes():
    model = kestrel.DrawbeadToyModel([1.0, 2.0], [[0, 1], [0, 1]], False)
    with pytest.raises(IndexError, match="i: index 2 is outside 0 ... 1"):
        model.get_segment_length(2)
    with pytest.raises(IndexError, match="to: index -1"):
        model.full_distance(0, -1)
    with pytest.raises(ValueError, match="values: has 1 entries, needs 2"):
        model.calculate_penalty_value([0.5])
    with pytest.raises(ValueError, match="min_max: has 1 rows but segment_lengths has 2"):
        kestrel.DrawbeadToyModel([1.0, 2.0], [[0, 1]], False)
    with pytest.raises(ValueError, match="min_max: expected 2 columns"):
        kestrel.DrawbeadToyModel([1.0, 2.0], [[0, 1, 2], [0, 1, 2]], False)


def test_optimiser_checks_its_arguments():
    _, _, optimiser = toy_from("masters.json")
    with pytest.raises(ValueError, match="master_indices: indices must be strictly ascending"):
        optimiser.interpolate([3, 1], [0.2, 0.4])
    with pytest.raises(IndexError, match="master_indices: index 12"):
        optimiser.interpolate([1, 12], [0.2, 0.4])
    with pytest.raises(ValueError, match="master_values: has 1 entries but master_indices has 2"):
        optimiser.interpolate([1, 3], [0.2])
    with pytest.raises(IndexError, match="pre_groups: index 40"):
        optimiser.calculate_optimal_master_indices(3, pre_groups=[0, 40])
    with pytest.raises(ValueError, match="model: must not be None"):
        kestrel.MasterOptimizer4DrawbeadToyModel(None)


def test_optimiser_copies_give_the_same_choice():
    line, _, optimiser = toy_from("masters.json")
    duplicate = copy.copy(optimiser)
    assert repr(duplicate) == "MasterOptimizer4DrawbeadToyModel(positions=12)"
    assert duplicate.calculate_optimal_master_indices(3).tolist() == \
        optimiser.calculate_optimal_master_indices(3).tolist()


class Delegating(kestrel.MasterOptimizer4Interpolation):
    """A Python optimiser whose two operations are those of a toy-model optimiser."""

    def __init__(self, toy, min_max, evaluator):
        super().__init__(min_max, evaluator)
        self.toy = toy
        self.scored = 0

    def get_interpolation(self, master_indices, master_values):
        return self.toy.interpolate(master_indices, master_values)

    def geometry_based_evaluation(self, master_indices):
        self.scored += 1
        return self.toy.evaluate_master_choice(master_indices)


def test_python_subclass_gives_the_choice_of_the_compiled_optimiser():
    line, model, toy = toy_from("masters.json")
    python = Delegating(toy, line["ranges"], model.calculate_penalty_value)
    for masters in (2, 4, 5):
        assert python.calculate_optimal_master_indices(masters).tolist() == \
            toy.calculate_optimal_master_indices(masters).tolist()
    assert python.scored > 1000
    values = python.interpolate([1, 4, 7, 10], line["masterValues"])
    assert values.tolist() == toy.interpolate([1, 4, 7, 10], line["masterValues"]).tolist()
    assert python.evaluate_values(values) == model.calculate_penalty_value(values)
    assert len(python) == 12


def test_exception_in_the_parallel_score_comes_out_unchanged():
    line, model, toy = toy_from("masters.json")

    class Failing(Delegating):
        def geometry_based_evaluation(self, master_indices):
            if master_indices[0] >= 0:
                raise ZeroDivisionError(f"no score for {master_indices.tolist()}")
            return 0.0

    with pytest.raises(ZeroDivisionError, match=r"no score for \["):
        Failing(toy, line["ranges"], sum).calculate_optimal_master_indices(3)


def test_missing_overrides_and_bad_results_are_reported():
    class Incomplete(kestrel.MasterOptimizer4Interpolation):
        pass

    incomplete = Incomplete([[0.0, 1.0]] * 4, sum)
    with pytest.raises(TypeError, match="must override geometry_based_evaluation"):
        incomplete.calculate_optimal_master_indices(2)
    with pytest.raises(TypeError, match="must override get_interpolation"):
        incomplete.interpolate([0, 2], [0.1, 0.2])

    class Wrong(kestrel.MasterOptimizer4Interpolation):
        def get_interpolation(self, master_indices, master_values):
            return [[1.0, 2.0]]

        def geometry_based_evaluation(self, master_indices):
            return "not a number"

    wrong = Wrong([[0.0, 1.0]] * 4, sum)
    with pytest.raises(ValueError, match=r"get_interpolation\(\) result: expected a 1-D array"):
        wrong.interpolate([0, 2], [0.1, 0.2])
    with pytest.raises(RuntimeError):
        wrong.evaluate_master_choice([0, 2])


def test_search_precondition_stops_the_search_before_any_score():
    line, model, toy = toy_from("masters.json")
    python = Delegating(toy, line["ranges"], sum)

    def refuse():
        raise ValueError("this line cannot be ranked")

    python.set_search_precondition(refuse)
    with pytest.raises(ValueError, match="this line cannot be ranked"):
        python.calculate_optimal_master_indices(3)
    assert python.scored == 0
    assert python.calculate_optimal_master_indices(1).tolist() == [0], "one master needs no search"
    python.set_search_precondition(None)
    assert len(python.calculate_optimal_master_indices(3)) == 3
    with pytest.raises(TypeError, match="Python subclasses only"):
        toy.set_search_precondition(None)


@pytest.mark.parametrize("name", ["masters.json", "masters-open-pregroups.json"])
def test_exact_choice_matches_the_exact_search_of_the_tool(ktx, name):
    expected = ktx("masters", "--search", "exact", DATA / name)
    line, _, optimiser = toy_from(name)
    score, masters = optimiser.calculate_exact_optimal_master_indices(line["masters"],
                                                                      pre_groups=line.get("preGroups"))
    assert masters.tolist() == expected["masters"]
    assert score == expected["score"]


@pytest.mark.parametrize("name", ["masters.json", "masters-open-pregroups.json"])
def test_exact_choice_scores_as_evaluated_and_beats_the_cross_entropy_choice(name):
    line, _, optimiser = toy_from(name)
    groups = line.get("preGroups")
    score, masters = optimiser.calculate_exact_optimal_master_indices(line["masters"], pre_groups=groups)
    assert score == optimiser.evaluate_master_choice(masters)
    found = optimiser.calculate_optimal_master_indices(line["masters"],
                                                       pre_groups=None if groups is None else groups[:-1])
    assert score <= optimiser.evaluate_master_choice(found) * (1 + 1e-12)


def test_exact_choice_beats_every_choice_of_a_small_closed_line():
    model = kestrel.DrawbeadToyModel([2.0, 4.0, 6.0, 3.0, 5.0, 1.0, 7.0], [[0.1, 0.9]] * 7, closed=True)
    optimiser = kestrel.MasterOptimizer4DrawbeadToyModel(model)
    for m in (2, 3, 4):
        score, masters = optimiser.calculate_exact_optimal_master_indices(m)
        best = min(optimiser.evaluate_master_choice(list(c)) for c in itertools.combinations(range(7), m))
        assert score <= best * (1 + 1e-12), f"m = {m}"
        assert len(masters) == m and masters.tolist() == sorted(masters.tolist())


def test_exact_choice_maps_invalid_arguments_to_value_error():
    _, _, optimiser = toy_from("masters.json")
    for m in (0, 13):
        with pytest.raises(ValueError, match=f"numberOfMasters {m} is outside 1 ... 12"):
            optimiser.calculate_exact_optimal_master_indices(m)
    with pytest.raises(ValueError, match="preGroups entry 1"):
        optimiser.calculate_exact_optimal_master_indices(2, pre_groups=[4, 2])
    with pytest.raises(TypeError, match="pre_groups: expected integers"):
        optimiser.calculate_exact_optimal_master_indices(2, pre_groups=[0.5, 2.0])
