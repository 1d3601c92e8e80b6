// Python face of the segment grouper: SegmentGrouper with compute_groups, its exact counterparts and the
// per-k tables of both searches, and the two static measurements of a line, taking and returning numpy
// arrays.
#include <Kestrel/SegmentGrouper.h>

#include "Arrays.h"
#include "Bindings.h"
#include "Copying.h"
#include "PythonCalls.h"

#include <boost/function.hpp>

#include <string>
#include <vector>

namespace kestrel_python {

namespace {

using Kestrel::SegmentGrouper;

// A grouper together with what its repr shows.
struct Grouper {
    SegmentGrouper grouper;
    std::size_t segments;
    bool closed;
    SegmentGrouper::DispersionMeasure measure;
};

std::string describe(Grouper const& self) {
    return "SegmentGrouper(segments=" + std::to_string(self.segments) +
           ", closed=" + (self.closed ? "True" : "False") + ", measure=" +
           (self.measure == SegmentGrouper::MinMax     ? "MinMax"
            : self.measure == SegmentGrouper::Variance ? "Variance"
                                                       : std::to_string(self.measure)) +
           ")";
}

// The progress hook of the long grouper calls: taken with the GIL, where a pending Ctrl-C is raised and
// the caller's progress callable (if any) is told (groups done, segments).
boost::function<void(int, int)> progressHook(PythonFunction const& report) {
    return [&report](int done, int segments) {
        callPython([&] {
            if (report) {
                report(done, segments);
            }
        });
    };
}

// compute_groups: the GIL is released for the run and taken at each progress point.
py::array_t<py::ssize_t> computeGroups(Grouper const& self, py::object const& progress) {
    PythonFunction const report(progress);
    std::vector<int> starts;
    {
        py::gil_scoped_release release;
        self.grouper.computeGroups(starts, progressHook(report));
    }
    return toArray(starts);
}

// compute_optimal_groups: as compute_groups, from the exact best grouping for every number of groups.
py::array_t<py::ssize_t> computeOptimalGroups(Grouper const& self, py::object const& progress) {
    PythonFunction const report(progress);
    std::vector<int> starts;
    {
        py::gil_scoped_release release;
        self.grouper.computeOptimalGroups(starts, progressHook(report));
    }
    return toArray(starts);
}

py::tuple optimalGrouping(Grouper const& self, int numberOfGroups) {
    std::vector<int> starts;
    double value = 0.0;
    {
        py::gil_scoped_release release;
        value = self.grouper.calculateOptimalGrouping(numberOfGroups, starts);
    }
    return py::make_tuple(value, toArray(starts));
}

// A per-k table of one search as (values array, list of start arrays), entry k for k groups and entry 0
// empty; the search runs without the GIL.
using GroupingTable = void (SegmentGrouper::*)(std::vector<double>&, std::vector<std::vector<int>>&,
                                               boost::function<void(int, int)> const&) const;

template <GroupingTable search>
py::tuple groupingTable(Grouper const& self, py::object const& progress) {
    PythonFunction const report(progress);
    std::vector<double> values;
    std::vector<std::vector<int>> starts;
    {
        py::gil_scoped_release release;
        (self.grouper.*search)(values, starts, progressHook(report));
    }
    py::list startArrays;
    for (std::vector<int> const& entry : starts) {
        startArrays.append(toArray(entry));
    }
    return py::make_tuple(toArray(values), startArrays);
}

py::tuple segmentCurvature(py::handle points, bool closed, py::handle segments) {
    std::vector<std::pair<double, double>> const pointPairs = toPairs(points, "points");
    std::vector<std::pair<int, int>> const segmentPairs = toIndexPairs(segments, "segments");
    for (std::size_t i = 0; i < segmentPairs.size(); ++i) {
        for (int const index : {segmentPairs[i].first, segmentPairs[i].second}) {
            if (index < 0 || static_cast<std::size_t>(index) >= pointPairs.size()) {
                throw py::index_error("segments: row " + std::to_string(i) + " names point " +
                                      std::to_string(index) + " of " + std::to_string(pointPairs.size()));
            }
        }
    }
    std::vector<double> curvature;
    std::vector<double> lengths;
    {
        py::gil_scoped_release release;
        SegmentGrouper::calculateSegmentCurvature(pointPairs, closed, segmentPairs, curvature, lengths);
    }
    return py::make_tuple(toArray(curvature), toArray(lengths));
}

int recommendedMasters(bool closed, py::handle values, py::handle segmentStarts, py::handle weights) {
    std::vector<double> const pointValues = toVector(values, "values");
    std::vector<int> const starts = toIndexVector(segmentStarts, "segment_starts");
    std::vector<double> const pointWeights = toVector(weights, "weights");
    if (pointWeights.size() != pointValues.size()) {
        throw py::value_error("weights: has " + std::to_string(pointWeights.size()) +
                              " entries but values has " + std::to_string(pointValues.size()));
    }
    for (int const start : starts) {
        if (start < 0 || static_cast<std::size_t>(start) >= pointValues.size()) {
            throw py::index_error("segment_starts: point " + std::to_string(start) + " of " +
                                  std::to_string(pointValues.size()));
        }
    }
    return SegmentGrouper::calculateRecommendedNumberOfMasterSegments(closed, pointValues, starts,
                                                                      pointWeights);
}

}  // namespace

void bindGrouping(py::module_& module) {
    py::class_<Grouper> cls(module, "SegmentGrouper", R"doc(
Groups the segments of an open or closed line into consecutive groups of similar values.

For every number of groups a cross-entropy optimisation finds the group starts that keep the values most
uniform inside the groups; the number with the largest improvement wins. Results are the same bit for
bit on every run and for any number of OpenMP threads. A grouper is immutable; copies are independent.

Example:
    >>> import kestrel
    >>> grouper = kestrel.SegmentGrouper([1.0, 1.1, 0.9, 5.0, 5.2, 4.9, 1.0, 1.05], [10.0] * 8,
    ...                                  closed=True, measure=kestrel.SegmentGrouper.Variance)
    >>> starts = grouper.compute_groups()      # 0-based group starts, ascending
)doc");
    py::enum_<SegmentGrouper::DispersionMeasure>(cls, "DispersionMeasure",
                                                 "How the values inside one group are measured.")
        .value("MinMax", SegmentGrouper::MinMax, "largest minus smallest value")
        .value("Variance", SegmentGrouper::Variance, "population variance")
        .export_values();
    cls.def(py::init([](py::handle values, py::handle lengths, bool closed,
                        SegmentGrouper::DispersionMeasure measure) {
                std::vector<double> const segmentValues = toVector(values, "values");
                std::vector<double> const segmentLengths = toVector(lengths, "lengths");
                if (segmentLengths.size() != segmentValues.size()) {
                    throw py::value_error("lengths: has " + std::to_string(segmentLengths.size()) +
                                          " entries but values has " + std::to_string(segmentValues.size()));
                }
                return Grouper{SegmentGrouper(segmentValues, segmentLengths, closed, measure),
                               segmentValues.size(), closed, measure};
            }),
            py::arg("values"), py::arg("lengths"), py::arg("closed"), py::arg("measure"), R"doc(
A grouper of one line: one value and one length per segment (1-D arrays of equal length).

Example:
    >>> g = kestrel.SegmentGrouper([1.0, 2.0, 2.1], [1.0, 1.0, 1.0], False, kestrel.SegmentGrouper.MinMax)
)doc");
    cls.def("compute_groups", &computeGroups, py::arg("progress") = py::none(), R"doc(
The chosen 0-based group starts, ascending, as an int array (on a closed line the last group runs round
the end to the first start). One segment gives [0], no segment an empty array.

``progress``, if given, is called as ``progress(groups_tried, segments)`` after each of the n
optimisations; an exception it raises stops the run and comes out unchanged. The GIL is released while
the optimisations run; Ctrl-C interrupts at the next progress point with KeyboardInterrupt.

Example:
    >>> grouper = kestrel.SegmentGrouper([1, 1, 5, 5], [1, 1, 1, 1], False, kestrel.SegmentGrouper.MinMax)
    >>> starts = grouper.compute_groups(progress=lambda done, total: print(done, "of", total))
    1 of 4
    2 of 4
    3 of 4
    4 of 4
)doc");
    cls.def("compute_optimal_groups", &computeOptimalGroups, py::arg("progress") = py::none(), R"doc(
The exact counterpart of compute_groups: the best grouping for every number of groups, then the same
choice of the number of groups. Returns the 0-based group starts, ascending, as an int array; one segment
gives [0], no segment an empty array. Fast (milliseconds for hundreds of segments).

``progress``, if given, is called as ``progress(groups_done, segments)`` for k = 1 ... n once the search
is done; an exception it raises stops the run and comes out unchanged. The GIL is released while the
search runs; Ctrl-C interrupts at the next progress point with KeyboardInterrupt. Raises ValueError for a
negative length.

Example:
    >>> grouper = kestrel.SegmentGrouper([1, 1, 5, 5], [1, 1, 1, 1], False, kestrel.SegmentGrouper.MinMax)
    >>> grouper.compute_optimal_groups().tolist()
    [0, 2]
)doc");
    cls.def("calculate_optimal_grouping", &optimalGrouping, py::arg("number_of_groups"), R"doc(
The best grouping into exactly ``number_of_groups`` groups: ``(value, starts)``, the objective as the
grouper scores those starts and their 0-based starts (ascending) as an int array. Among equally good
groupings the lexicographically smallest starts win. Raises ValueError when ``number_of_groups`` is
outside 1 ... n or a length is negative.

Example:
    >>> grouper = kestrel.SegmentGrouper([1, 1, 5, 5], [1, 1, 1, 1], False, kestrel.SegmentGrouper.MinMax)
    >>> value, starts = grouper.calculate_optimal_grouping(2)
    >>> value, starts.tolist()
    (0.0, [0, 2])
)doc");
    cls.def("calculate_optimal_groupings", &groupingTable<&SegmentGrouper::calculateOptimalGroupings>,
            py::arg("progress") = py::none(), R"doc(
The table behind compute_optimal_groups: ``(values, starts)`` with n + 1 entries each, entry k holding
what ``calculate_optimal_grouping(k)`` returns (a float array and a list of int arrays); entry 0 is 0.0
and empty. ``progress`` and Ctrl-C as in compute_optimal_groups.

Example:
    >>> grouper = kestrel.SegmentGrouper([1, 1, 5, 5], [1, 1, 1, 1], False, kestrel.SegmentGrouper.MinMax)
    >>> values, starts = grouper.calculate_optimal_groupings()
    >>> values.tolist(), [s.tolist() for s in starts][:3]
    ([0.0, 4.0, 0.0, 0.0, 0.0], [[], [0], [0, 2]])
)doc");
    cls.def("calculate_cross_entropy_groupings",
            &groupingTable<&SegmentGrouper::calculateCrossEntropyGroupings>, py::arg("progress") = py::none(),
            R"doc(
The cross-entropy search's table behind compute_groups: ``(values, starts)`` with n + 1 entries each,
entry k holding the value and 0-based starts the optimisation for k groups found; entry 0 is 0.0 and
empty. Costs as much as compute_groups. ``progress`` and Ctrl-C as in compute_groups.

Example:
    >>> grouper = kestrel.SegmentGrouper([1, 1, 5, 5], [1, 1, 1, 1], False, kestrel.SegmentGrouper.MinMax)
    >>> values, starts = grouper.calculate_cross_entropy_groupings()
    >>> float(values[2]), starts[2].tolist()
    (0.0, [0, 2])
)doc");
    cls.def_static("calculate_segment_curvature", &segmentCurvature, py::arg("points"), py::arg("closed"),
                   py::arg("segments"), R"doc(
Curvature and arc length of segments of a polyline.

``points`` is an (m, 2) array of x, y; ``segments`` an (s, 2) int array with the index of each segment's
first and last point. Returns ``(curvature, lengths)``, one value per segment: about -1/r for a
counter-clockwise arc of radius r, +1/r clockwise, 0 for a straight line; the lengths are those of the
segments extended to meet their neighbours (no lengths with fewer than three points).

Example:
    >>> import numpy as np
    >>> t = np.linspace(0, np.pi, 31)
    >>> curvature, lengths = kestrel.SegmentGrouper.calculate_segment_curvature(
    ...     np.column_stack([np.cos(t), np.sin(t)]), False, [[0, 15], [15, 30]])
)doc");
    cls.def_static("calculate_recommended_number_of_master_segments", &recommendedMasters, py::arg("closed"),
                   py::arg("values"), py::arg("segment_starts"), py::arg("weights"), R"doc(
How many master segments a line needs, from the jumps of the mean value between consecutive segments.

``values`` and ``weights`` hold one entry per point, ``segment_starts`` the ascending index of each
segment's first point. The environment variable KX_CONTROL_NUMBER_OF_LINE_DVS raises the result.

Example:
    >>> kestrel.SegmentGrouper.calculate_recommended_number_of_master_segments(
    ...     True, [1.0] * 16, [0, 4, 8, 12], [0.0625] * 16)
    4
)doc");
    cls.def_readonly("closed", &Grouper::closed, "Whether the line is closed.");
    cls.def_readonly("measure", &Grouper::measure, "The dispersion measure.");
    cls.def(
        "__len__", [](Grouper const& self) { return self.segments; }, "The number of segments.");
    cls.def("__repr__", &describe);
    addCopying(cls);
}

}  // namespace kestrel_python
