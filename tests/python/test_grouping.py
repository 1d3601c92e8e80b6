"""SegmentGrouper: identical results to the C++ tool, progress callbacks, the curvature against a scipy
PCHIP computation, argument checking and error mapping."""

import copy
import itertools

import numpy as np
import pytest
from scipy.interpolate import PchipInterpolator

import kestrel
from conftest import DATA, load

MEASURES = {"minmax": kestrel.SegmentGrouper.MinMax, "variance": kestrel.SegmentGrouper.Variance}


def grouper_from(name):
    line = load(name)
    return kestrel.SegmentGrouper(line["values"], line["lengths"], line["closed"], MEASURES[line["measure"]])


@pytest.mark.parametrize("name", ["group.json", "group-closed.json"])
def test_groups_match_the_tool(ktx, name):
    expected = ktx("group", DATA / name)
    assert grouper_from(name).compute_groups().tolist() == expected["groupStarts"]


def test_progress_is_called_once_per_number_of_groups_in_order():
    calls = []
    starts = grouper_from("group.json").compute_groups(progress=lambda done, total: calls.append((done, total)))
    assert calls == [(k, 12) for k in range(1, 13)]
    assert starts.tolist() == grouper_from("group.json").compute_groups().tolist()


class Stop(Exception):
    pass


def stop_at_3(done, total):
    if done == 3:
        raise Stop("enough at 3")


def test_an_exception_in_progress_stops_the_run_unchanged():
    with pytest.raises(Stop, match="enough at 3"):
        grouper_from("group.json").compute_groups(progress=stop_at_3)


def test_one_and_no_segment():
    measure = kestrel.SegmentGrouper.Variance
    assert kestrel.SegmentGrouper([1.0], [2.0], False, measure).compute_groups().tolist() == [0]
    assert kestrel.SegmentGrouper([], [], True, measure).compute_groups().tolist() == []


def test_mismatched_lengths_name_the_argument():
    with pytest.raises(ValueError, match="lengths: has 2 entries but values has 3"):
        kestrel.SegmentGrouper([1.0, 2.0, 3.0], [1.0, 1.0], False, kestrel.SegmentGrouper.MinMax)


def test_repr_len_and_copy():
    grouper = grouper_from("group-closed.json")
    duplicate = copy.copy(grouper)
    assert repr(grouper).startswith("SegmentGrouper(segments=")
    assert len(duplicate) == len(grouper)
    assert duplicate.compute_groups().tolist() == grouper.compute_groups().tolist()


def test_curvature_matches_the_tool(ktx):
    expected = ktx("curvature", DATA / "curvature.json")
    line = load("curvature.json")
    curvature, lengths = kestrel.SegmentGrouper.calculate_segment_curvature(
        np.array(line["points"], dtype=float), line["closed"], line["segments"])
    assert curvature.tolist() == [s["curvature"] for s in expected["segments"]]
    assert lengths.tolist() == [s["length"] for s in expected["segments"]]


def pchip_curvature(points, segments):
    """Curvature of each segment of a polyline through a PCHIP of x and y over the cumulative chord length:
    minus the turning of the tangent over the segment divided by its arc length."""
    chords = np.hypot(*np.diff(points, axis=0).T)
    s = np.concatenate([[0.0], np.cumsum(chords)])
    x, y = PchipInterpolator(s, points[:, 0]), PchipInterpolator(s, points[:, 1])
    result = []
    for first, last in segments:
        t = np.linspace(s[first], s[last], 2001)
        angle = np.unwrap(np.arctan2(y(t, 1), x(t, 1)))
        arc = np.trapz(np.hypot(x(t, 1), y(t, 1)), t)
        result.append(-(angle[-1] - angle[0]) / arc)
    return np.array(result)


@pytest.mark.parametrize("radius", [5.0, 40.0])
def test_curvature_agrees_with_scipy_pchip(radius):
    # An S-shaped line: a counter-clockwise arc, then a clockwise one, 10 points per quarter circle.
    t = np.linspace(0.0, np.pi / 2, 11)
    first = np.column_stack([radius * np.sin(t), radius * (1 - np.cos(t))])
    second = np.column_stack([2 * radius - radius * np.cos(t[1:]), radius + radius * np.sin(t[1:])])
    points = np.vstack([first, second])
    segments = [[0, 5], [5, 10], [10, 15], [15, 20]]
    curvature, _ = kestrel.SegmentGrouper.calculate_segment_curvature(points, False, segments)
    expected = pchip_curvature(points, segments)
    # Interior segments: the two computations agree within 2 percent of 1/r; the ends and the
    # inflection differ by the end conditions of the two interpolations, within 15 percent.
    assert np.sign(curvature).tolist() == [-1.0, -1.0, 1.0, 1.0]
    np.testing.assert_allclose(curvature, expected, atol=0.15 / radius)
    np.testing.assert_allclose(curvature[[0, 3]], [-1 / radius, 1 / radius], rtol=0.15)


def test_curvature_checks_its_arguments():
    points = np.zeros((4, 2))
    with pytest.raises(ValueError, match="points: expected 2 columns, got 3"):
        kestrel.SegmentGrouper.calculate_segment_curvature(np.zeros((4, 3)), False, [[0, 1]])
    with pytest.raises(IndexError, match="segments: row 0 names point 9 of 4"):
        kestrel.SegmentGrouper.calculate_segment_curvature(points, False, [[0, 9]])
    with pytest.raises(TypeError, match="segments: expected integers"):
        kestrel.SegmentGrouper.calculate_segment_curvature(points, False, [[0.5, 1.0]])


def test_recommended_number_of_masters_reacts_to_the_environment(monkeypatch):
    values = [1.0] * 8 + [3.0] * 8 + [1.0] * 8 + [2.0] * 8
    starts = list(range(0, 32, 4))
    weights = [1.0 / 32] * 32
    monkeypatch.delenv("KX_CONTROL_NUMBER_OF_LINE_DVS", raising=False)
    plain = kestrel.SegmentGrouper.calculate_recommended_number_of_master_segments(True, values, starts, weights)
    monkeypatch.setenv("KX_CONTROL_NUMBER_OF_LINE_DVS", "4")
    raised = kestrel.SegmentGrouper.calculate_recommended_number_of_master_segments(True, values, starts, weights)
    assert 0 <= plain <= 8
    assert raised == 8


def test_recommended_number_of_masters_checks_its_arguments():
    with pytest.raises(ValueError, match="weights: has 1 entries but values has 2"):
        kestrel.SegmentGrouper.calculate_recommended_number_of_master_segments(False, [1.0, 2.0], [0], [1.0])
    with pytest.raises(IndexError, match="segment_starts: point 5 of 2"):
        kestrel.SegmentGrouper.calculate_recommended_number_of_master_segments(False, [1.0, 2.0], [5], [1.0, 1.0])


@pytest.mark.parametrize("name", ["group.json", "group-closed.json"])
def test_optimal_groups_match_the_exact_search_of_the_tool(ktx, name):
    expected = ktx("group", "--search", "exact", DATA / name)
    assert grouper_from(name).compute_optimal_groups().tolist() == expected["groupStarts"]


@pytest.mark.parametrize("name", ["group.json", "group-closed.json"])
def test_optimal_table_agrees_with_each_single_search(name):
    grouper = grouper_from(name)
    values, starts = grouper.calculate_optimal_groupings()
    n = len(grouper)
    assert len(values) == n + 1 and len(starts) == n + 1
    assert values[0] == 0.0 and starts[0].tolist() == []
    for k in range(1, n + 1):
        value, single = grouper.calculate_optimal_grouping(k)
        assert value == values[k]
        assert single.tolist() == starts[k].tolist()
        assert len(single) == k and single.tolist() == sorted(single.tolist())


@pytest.mark.parametrize("name", ["group.json", "group-closed.json"])
def test_exact_value_is_never_above_the_cross_entropy_value(name):
    grouper = grouper_from(name)
    exact, _ = grouper.calculate_optimal_groupings()
    found, found_starts = grouper.calculate_cross_entropy_groupings()
    assert len(found) == len(exact) == len(grouper) + 1
    for k in range(1, len(grouper) + 1):
        assert len(found_starts[k]) == k
        assert exact[k] <= found[k] * (1 + 1e-12), f"k = {k}"


def test_exact_grouping_beats_every_grouping_of_a_small_open_line():
    values = [0.3, 0.9, 0.35, 0.8, 0.82, 0.1, 0.15, 0.6]
    grouper = kestrel.SegmentGrouper(values, [1.0] * 8, False, kestrel.SegmentGrouper.MinMax)
    for k in range(1, 9):
        value, starts = grouper.calculate_optimal_grouping(k)
        assert starts[0] == 0
        bounds = starts.tolist() + [8]
        assert value == max(max(values[a:b]) - min(values[a:b]) for a, b in zip(bounds, bounds[1:]))
        best = min(max(max(values[a:b]) - min(values[a:b]) for a, b in zip(cut, cut[1:]))
                   for cut in ([0, *c, 8] for c in itertools.combinations(range(1, 8), k - 1)))
        assert value == best, f"k = {k}"


def test_cross_entropy_table_matches_compute_groups_progress():
    calls = []
    grouper = grouper_from("group.json")
    values, starts = grouper.calculate_cross_entropy_groupings(
        progress=lambda done, total: calls.append((done, total)))
    assert calls == [(k, 12) for k in range(1, 13)]
    assert values[0] == 0.0 and starts[0].tolist() == []
    assert grouper.compute_groups().tolist() in [s.tolist() for s in starts[1:]]


@pytest.mark.parametrize("method", ["compute_optimal_groups", "calculate_optimal_groupings"])
def test_exact_search_progress_is_called_in_order_and_can_stop_it(method):
    calls = []
    grouper = grouper_from("group.json")
    getattr(grouper, method)(progress=lambda done, total: calls.append((done, total)))
    assert calls == [(k, 12) for k in range(1, 13)]
    with pytest.raises(Stop, match="enough at 3"):
        getattr(grouper, method)(progress=stop_at_3)


def test_exact_search_one_and_no_segment():
    measure = kestrel.SegmentGrouper.Variance
    assert kestrel.SegmentGrouper([1.0], [2.0], False, measure).compute_optimal_groups().tolist() == [0]
    assert kestrel.SegmentGrouper([], [], True, measure).compute_optimal_groups().tolist() == []
    values, starts = kestrel.SegmentGrouper([], [], True, measure).calculate_optimal_groupings()
    assert values.tolist() == [0.0] and [s.tolist() for s in starts] == [[]]


def test_exact_search_maps_invalid_arguments_to_value_error():
    grouper = grouper_from("group.json")
    for k in (0, 13):
        with pytest.raises(ValueError, match=f"numberOfGroups {k} is outside 1 ... 12"):
            grouper.calculate_optimal_grouping(k)
    negative = kestrel.SegmentGrouper([1.0, 2.0], [1.0, -1.0], False, kestrel.SegmentGrouper.MinMax)
    for call in (negative.compute_optimal_groups, negative.calculate_optimal_groupings,
                 lambda: negative.calculate_optimal_grouping(1)):
        with pytest.raises(ValueError, match="length 1 is negative"):
            call()
