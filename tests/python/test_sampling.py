"""Samplers: identical results to the C++ tool, the Latin property, DomainSampler2D returning candidates
only and spreading them about as well as scikit-learn's KMeans, Python subclasses, errors."""

import copy

import numpy as np
import pytest
from sklearn.cluster import KMeans

import kestrel
from conftest import DATA, load, run_with_threads


def factors_of(job):
    return [np.array(factor["candidates"], dtype=float) for factor in job["factors"]]


def test_latin_population_matches_the_tool(ktx):
    expected = ktx("lhs", DATA / "lhs.json", "--format", "json")
    job = load("lhs.json")
    sampler = kestrel.CartesianProductSampler(factors_of(job), job["order"])
    assert sampler.population.tolist() == expected["points"]
    assert len(sampler) == 5
    assert repr(sampler) == "CartesianProductSampler(points=5, dimension=4)"
    assert copy.copy(sampler).population.tolist() == expected["points"]


def test_every_candidate_is_used_once_per_factor():
    rng = np.random.default_rng(3)
    factors = [rng.random(500), rng.random((500, 2)), rng.random(600)]
    population = kestrel.CartesianProductSampler(factors, [0, 1, 2, 0]).population
    assert population.shape == (500, 5)
    assert sorted(population[:, 0]) == sorted(factors[0])
    assert sorted(map(tuple, population[:, 1:3])) == sorted(map(tuple, factors[1]))
    assert sorted(population[:, 3]) == sorted(factors[2][:500])
    assert not np.array_equal(population[:, 0], population[:, 4]), "each naming is its own permutation"


def test_cartesian_errors():
    with pytest.raises(IndexError, match="invalid vector subscript"):
        kestrel.CartesianProductSampler([[1.0, 2.0]], [0, 1])
    with pytest.raises(IndexError, match="invalid vector subscript"):
        kestrel.CartesianProductSampler([[1.0, 2.0], [1.0]], [0, 1])
    with pytest.raises(ValueError, match="order: must name at least one factor"):
        kestrel.CartesianProductSampler([[1.0, 2.0]], [])
    with pytest.raises(TypeError, match=r"factors\[0\]: expected real numbers"):
        kestrel.CartesianProductSampler([["a", "b"]], [0])


def test_polygon_samples_match_the_tool(ktx):
    expected = ktx("sample2d", DATA / "sample2d.json", "--format", "json")
    job = load("sample2d.json")
    blank = kestrel.PolygonSampler2D(job["outer"], job["holes"])
    points = blank.calculate_samples(job["n"])
    assert points.tolist() == expected["points"]
    assert all(blank.contains(x, y) for x, y in points)


def test_polygon_queries_and_errors():
    blank = kestrel.PolygonSampler2D([[0, 0], [4, 0], [4, 3], [0, 3]], holes=[[[1, 1], [2, 1], [2, 2], [1, 2]]])
    assert blank.area == 11.0
    assert blank.contains(0.5, 0.5) and not blank.contains(1.5, 1.5)
    candidates = blank.generate_candidates(200)
    assert candidates.shape == (200, 2)
    assert candidates.tolist() == copy.copy(blank).generate_candidates(200).tolist()
    with pytest.raises(ValueError, match="PolygonSampler2D: outer ring edge 0 and outer ring edge 2 touch or cross"):
        kestrel.PolygonSampler2D([[0, 0], [1, 1], [1, 0], [0, 1]])
    with pytest.raises(ValueError, match="outer: expected 2 columns"):
        kestrel.PolygonSampler2D([[0, 0, 0], [1, 1, 1], [1, 0, 0]])


def mean_squared_distance(candidates, centres):
    distances = ((candidates[:, None, :] - centres[None, :, :]) ** 2).sum(axis=2)
    return float(distances.min(axis=1).mean())


@pytest.mark.parametrize("seed", [1, 2, 3])
def test_domain_sampler_returns_candidates_spread_like_kmeans(seed):
    k = 30
    candidates = np.random.default_rng(seed).random((100 * k, 2))
    points = kestrel.DomainSampler2D(candidates).calculate_samples(k)
    assert points.shape == (k, 2)
    as_set = set(map(tuple, candidates))
    assert all(tuple(p) in as_set for p in points), "every returned point is a candidate"
    assert len(set(map(tuple, points))) == k
    kmeans = KMeans(n_clusters=k, n_init=1, random_state=seed).fit(candidates)
    ours = mean_squared_distance(candidates, points)
    theirs = mean_squared_distance(candidates, kmeans.cluster_centers_)
    # Centres snapped to candidates cost a little spread; within 15 percent of free k-means centres.
    assert ours <= 1.15 * theirs


def test_domain_sampler_subclass_and_its_errors():
    class Disc(kestrel.DomainSampler2D):
        def __init__(self):
            super().__init__()
            self.asked = []

        def generate_candidates(self, count):
            self.asked.append(count)
            angle = np.linspace(0, 2 * np.pi, count, endpoint=False)
            radius = np.sqrt(np.linspace(0, 1, count))
            return np.column_stack([radius * np.cos(angle), radius * np.sin(angle)])

    disc = Disc()
    points = disc.calculate_samples(12)
    assert disc.asked == [1200] and points.shape == (12, 2)
    assert np.all(np.hypot(points[:, 0], points[:, 1]) <= 1.0)
    assert disc.calculate_samples(0).shape == (0, 2)

    class Failing(kestrel.DomainSampler2D):
        def generate_candidates(self, count):
            raise MemoryError("no candidates today")

    with pytest.raises(MemoryError, match="no candidates today"):
        Failing().calculate_samples(3)
    with pytest.raises(TypeError, match="needs candidates"):
        kestrel.DomainSampler2D().calculate_samples(3)
    with pytest.raises(ValueError, match="candidates: expected 2 columns, got 3"):
        kestrel.DomainSampler2D(np.zeros((5, 3)))


THREADS_SCRIPT = """
import numpy as np, kestrel
blank = kestrel.PolygonSampler2D([[0, 0], [120, 0], [120, 80], [60, 100], [0, 80]])
print(blank.calculate_samples(60).tobytes().hex())
factors = [np.arange(30000.0), np.arange(30000.0) * 2]
print(kestrel.CartesianProductSampler(factors, [0, 1]).population.tobytes().hex()[:20000])
"""


def test_samplers_give_the_same_bits_for_one_and_two_threads():
    assert run_with_threads(THREADS_SCRIPT, 1) == run_with_threads(THREADS_SCRIPT, 2)
