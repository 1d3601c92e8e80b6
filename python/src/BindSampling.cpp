// Python face of the population samplers: CartesianProductSampler returning an (N, d) array,
// DomainSampler2D (given an (m, 2) array of candidates, or subclassed from Python) and PolygonSampler2D.
#include <Kestrel/PopulationSampling.h>

#include "Arrays.h"
#include "Bindings.h"
#include "Copying.h"
#include "PythonCalls.h"

#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <vector>

namespace kestrel_python {

namespace {

using Kestrel::CartesianProductSampler;
using Kestrel::DomainSampler2D;
using Kestrel::PolygonSampler2D;
using Point = DomainSampler2D::Point;

// Candidates come from the Python subclass's generate_candidates, or else are the fixed set given at
// construction (all of them, whatever count is asked for).
class PythonDomainSampler : public DomainSampler2D {
  public:
    PythonDomainSampler() = default;
    explicit PythonDomainSampler(std::vector<Point> candidates)
        : candidates_(std::move(candidates)), hasCandidates_(true) {}

    void generateCandidates(int count, std::vector<Point>& out) override {
        callPython([&] {
            py::function const function =
                py::get_override(static_cast<DomainSampler2D const*>(this), "generate_candidates");
            if (function) {
                out = toPairs(function(count), "generate_candidates() result");
            } else if (hasCandidates_) {
                out = candidates_;
            } else {
                throw py::type_error(
                    "a DomainSampler2D needs candidates: pass an (m, 2) array or override "
                    "generate_candidates");
            }
        });
    }

    std::size_t numberOfCandidates() const { return candidates_.size(); }

  private:
    std::vector<Point> candidates_;
    bool hasCandidates_ = false;
};

std::shared_ptr<CartesianProductSampler::Candidates> toCandidates(py::handle factor, std::size_t index) {
    std::string const name = "factors[" + std::to_string(index) + "]";
    RealArray array = toRealArray(factor, name.c_str(), py::array::ensure(factor).ndim() == 1 ? 1 : 2);
    py::ssize_t const rows = array.shape(0);
    py::ssize_t const width = array.ndim() == 1 ? 1 : array.shape(1);
    auto candidates = std::make_shared<CartesianProductSampler::Candidates>(static_cast<std::size_t>(rows));
    double const* data = array.data();
    for (py::ssize_t row = 0; row < rows; ++row) {
        (*candidates)[static_cast<std::size_t>(row)].assign(data + row * width, data + (row + 1) * width);
    }
    return candidates;
}

CartesianProductSampler makeCartesianSampler(py::sequence const& factorsLike, py::handle orderLike) {
    std::vector<std::shared_ptr<CartesianProductSampler::Candidates>> factors;
    for (std::size_t i = 0; i < factorsLike.size(); ++i) {
        factors.push_back(toCandidates(factorsLike[i], i));
    }
    std::vector<int> const order = toIndexVector(orderLike, "order");
    if (order.empty()) {
        throw py::value_error("order: must name at least one factor");
    }
    py::gil_scoped_release release;
    return CartesianProductSampler(factors, order);
}

py::array_t<double> calculateSamples(DomainSampler2D& self, int n) {
    std::vector<Point> points;
    {
        py::gil_scoped_release release;
        self.calculateSamples(n, points);
    }
    return toArray(points);
}

void bindCartesian(py::module_& module) {
    py::class_<CartesianProductSampler> cls(module, "CartesianProductSampler", R"doc(
Latin-hypercube population over discrete factors: every candidate of every factor named in ``order`` is
used exactly once, matched at random (fixed seed) with the candidates of the other factors.

``factors`` is a list of arrays, one per factor: (N_i, d_i) with one candidate per row, or 1-D for
one-coordinate candidates. N = the number of candidates of factor ``order[0]``; point i concatenates one
candidate of each factor in the sequence of ``order``. Copies share the immutable population.

Example:
    >>> import kestrel
    >>> sampler = kestrel.CartesianProductSampler([[0.0, 1.0], [5.0, 6.0]], order=[0, 1])
    >>> sampler.population.shape
    (2, 2)
)doc");
    cls.def(py::init(&makeCartesianSampler), py::arg("factors"), py::arg("order"), R"doc(
Builds the population (the GIL is released meanwhile). Raises IndexError ("invalid vector subscript")
when ``order`` names a missing factor or a factor has fewer than N candidates, ValueError for an empty
``order``.

Example: ``CartesianProductSampler([np.linspace(0, 1, 100)] * 4, order=[0, 1, 2, 3])``
)doc");
    cls.def_property_readonly(
        "population",
        [](CartesianProductSampler const& self) {
            auto const population = self.getPopulation();
            return toArray(*population);
        },
        "The population as an (N, D) array (a fresh copy). Example: ``sampler.population``");
    cls.def(
        "__len__", [](CartesianProductSampler const& self) { return self.getPopulation()->size(); },
        "The number of points N.");
    cls.def("__repr__", [](CartesianProductSampler const& self) {
        auto const population = self.getPopulation();
        return "CartesianProductSampler(points=" + std::to_string(population->size()) +
               ", dimension=" + std::to_string(population->empty() ? 0 : population->front().size()) + ")";
    });
    addCopying(cls);
}

void bindDomainSamplers(py::module_& module) {
    py::class_<DomainSampler2D, PythonDomainSampler, std::shared_ptr<DomainSampler2D>> base(module,
                                                                                            "DomainSampler2D",
                                                                                            R"doc(
Well-spread points in a two-dimensional domain described by candidate points: k-means++ seeding (fixed
seed) and Lloyd iterations whose centres snap to the nearest candidate, so every returned point is one
of the candidates.

Give the candidates as an (m, 2) array, or subclass and override ``generate_candidates(count) -> (m, 2)
array`` (asked for 100 n candidates; all those returned are used).

Example:
    >>> import numpy as np, kestrel
    >>> candidates = np.random.default_rng(1).random((5000, 2))
    >>> points = kestrel.DomainSampler2D(candidates).calculate_samples(50)
    >>> points.shape
    (50, 2)
)doc");
    base.def(
        py::init([](py::handle candidates) {
            if (candidates.is_none()) {
                return std::shared_ptr<DomainSampler2D>(std::make_shared<PythonDomainSampler>());
            }
            return std::shared_ptr<DomainSampler2D>(
                std::make_shared<PythonDomainSampler>(toPairs(candidates, "candidates")));
        }),
        py::arg("candidates") = py::none(),
        "A sampler over fixed candidates, or the base of a subclass. Example: ``DomainSampler2D(points)``");
    base.def(
        "generate_candidates",
        [](DomainSampler2D& self, int count) {
            std::vector<Point> out;
            self.generateCandidates(count, out);
            return toArray(out);
        },
        py::arg("count"),
        "Candidate points of the domain as an (m, 2) array. Example: ``s.generate_candidates(100)``");
    base.def("calculate_samples", &calculateSamples, py::arg("n"), R"doc(
n well-spread points of the domain as an (n, 2) array, each one of the candidates, in the order the
seeding chose them (fewer with fewer than n candidates; none for n <= 0). The GIL is released while the
clustering runs. Raises what generate_candidates raises.

Example: ``points = sampler.calculate_samples(20)``
)doc");
    base.def("__repr__", [](py::object const& self) {
        return py::str("<{} sampler>").format(self.get_type().attr("__name__"));
    });

    py::class_<PolygonSampler2D, DomainSampler2D, std::shared_ptr<PolygonSampler2D>> polygon(
        module, "PolygonSampler2D",
        R"doc(
A polygon with optional holes as a DomainSampler2D: candidates are spread uniformly at random inside
(fixed seed). Copies share the validated polygon.

Example:
    >>> import kestrel
    >>> blank = kestrel.PolygonSampler2D([[0, 0], [4, 0], [4, 3], [0, 3]], holes=[[[1, 1], [2, 1], [2, 2], [1, 2]]])
    >>> blank.area
    11.0
    >>> points = blank.calculate_samples(20)    # 20 well-spread points, none in the hole
)doc");
    polygon.def(py::init([](py::handle outer, std::vector<py::object> const& holesLike) {
                    std::vector<PolygonSampler2D::Ring> holes;
                    for (std::size_t i = 0; i < holesLike.size(); ++i) {
                        std::string const name = "holes[" + std::to_string(i) + "]";
                        holes.push_back(toPairs(holesLike[i], name.c_str()));
                    }
                    return std::make_shared<PolygonSampler2D>(toPairs(outer, "outer"), holes);
                }),
                py::arg("outer"), py::arg("holes") = std::vector<py::object>(), R"doc(
A polygon from its outer ring ((m, 2) vertices, either orientation) and a list of hole rings. Raises
ValueError ("PolygonSampler2D: ..." naming the ring and edge) for rings that are degenerate, touch or
cross, or holes outside the outer ring.

Example: ``PolygonSampler2D([[0, 0], [1, 0], [0, 1]])``
)doc");
    polygon.def(
        "contains",
        [](PolygonSampler2D const& self, double x, double y) {
            return self.contains({x, y});
        },
        py::arg("x"), py::arg("y"), "Whether (x, y) lies inside. Example: ``blank.contains(0.5, 0.5)``");
    polygon.def_property_readonly("area", &PolygonSampler2D::getArea,
                                  "Outer area minus the holes' areas. Example: ``blank.area``");
    polygon.def("__repr__", [](PolygonSampler2D const& self) {
        return py::str("PolygonSampler2D(area={!r})").format(self.getArea());
    });
    addCopying(polygon);
}

}  // namespace

void bindSampling(py::module_& module) {
    bindCartesian(module);
    bindDomainSamplers(module);
}

}  // namespace kestrel_python
