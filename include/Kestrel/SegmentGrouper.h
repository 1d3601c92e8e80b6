// Groups the segments of an open or closed line into consecutive groups of similar values, and measures
// the line: the curvature of its segments and a recommended number of master segments.
//
// A grouper holds one line cut into segments, each with a value and a length. `computeGroups` tries every
// number of groups k = 1 ... n: for each k a cross-entropy optimisation finds the k group starts that keep
// the values most uniform inside the groups (largest group range for `MinMax`, segment-weighted mean of the
// group variances for `Variance`). It then keeps the k with the largest improvement over k - 1 among the
// admissible groupings (no group too large), widened to a larger k that still gives more than half of that
// improvement. The result is the list of 0-based group starts, ascending along the line; on a closed line
// the last group runs round the end of the line to the first start.
//
// `computeOptimalGroups` makes the same choice of k from the exact best grouping for every k, found by
// dynamic programming (Variance) or a search over the group ranges (MinMax) in milliseconds even for
// hundreds of segments; `calculateOptimalGroupings` exposes that per-k table.
//
// Cost: n optimisations; each iteration (at most 29) draws and scores about 5 n^2 groupings, drawing k
// starts costs O(k n) and scoring O(n), so a call grows roughly like n^5: about 10 ms for 12 segments,
// 0.2 s for 24 and 7 to 8 s for 48 on one core.
//
//   std::vector<double> const values{1.0, 1.1, 0.9, 5.0, 5.2, 4.9, 1.0, 1.05};   // one per segment
//   std::vector<double> const lengths(values.size(), 10.0);
//   Kestrel::SegmentGrouper const grouper(values, lengths, true, Kestrel::SegmentGrouper::Variance);
//   std::vector<int> starts;
//   grouper.computeGroups(starts);          // 0-based group starts, ascending along the line
//
//   std::vector<double> const pointValues(16, 1.0), pointWeights(16, 0.0625);  // one per point
//   int const masters = Kestrel::SegmentGrouper::calculateRecommendedNumberOfMasterSegments(
//       true, pointValues, {0, 4, 8, 12}, pointWeights);
//
// Guarantees: every result is a deterministic function of the inputs, bit for bit, for any number of
// OpenMP threads (the optimiser draws from fixed seeds). Inputs that the computations cannot use are refused
// with std::invalid_argument naming the argument and the offending index or value, before any work. A grouper
// is immutable after construction; its const methods may be called from several threads at once.
#pragma once

#include <Kestrel/Export.h>

#include <boost/function.hpp>

#include <utility>
#include <vector>

namespace Kestrel {

class KESTREL_API SegmentGrouper {
  public:
    // How the values inside one group are measured. Any other value passed as a measure (the underlying
    // type is int, so every int is a valid value) makes the objective throw
    // std::logic_error("Missing implementation").
    enum DispersionMeasure : int {
        MinMax = 0,   // largest minus smallest value; a grouping scores its largest group range
        Variance = 1  // population variance; a grouping scores the segment-count weighted mean variance
    };

    // Copies the line. If the values are all equal (neighbours within 0.001 / W, W the total length, and
    // W not zero), they are replaced by 1 / (0.9 * length + 0.1 * W / n), so that shorter segments get
    // larger values; if those are still all equal (uniform lengths), by 1 / (c * length + 0.1 * W / n)
    // with c = 0.95 at even and 0.85 at odd indices.
    // Throws: std::invalid_argument when values and lengths differ in size, or naming the first value or
    // length that is NaN or infinite.
    SegmentGrouper(std::vector<double> const& values, std::vector<double> const& lengths, bool closed,
                   DispersionMeasure measure);

    SegmentGrouper(SegmentGrouper const&) = default;
    SegmentGrouper(SegmentGrouper&&) noexcept = default;
    SegmentGrouper& operator=(SegmentGrouper const&) = default;
    SegmentGrouper& operator=(SegmentGrouper&&) noexcept = default;
    ~SegmentGrouper();

    // Replaces `result` with the chosen 0-based group starts (ascending). One segment gives {0}, no
    // segment an empty result; an empty result also comes back when no number of groups improves the
    // objective. Runs one optimisation per k = 1 ... n; these share nothing, so they run side by side on
    // the library's OpenMP threads (each on one thread; see setMaxNumberOfThreads()), with the same result
    // for any number of threads. Throws: std::logic_error("Missing implementation") for a measure other
    // than MinMax and Variance with two or more segments (the failure of the smallest k is the one
    // reported); allocation failures. `result` keeps its former contents when anything throws.
    void computeGroups(std::vector<int>& result) const;

    // The same computation with a progress hook: after the optimisation for k groups, `progress(k, n)` is
    // called (k = 1 ... n in increasing order, n = number of segments), on the calling thread, as soon as
    // the optimisations for 1 ... k have all finished and the calling thread is free. With fewer
    // than two segments no optimisation runs and `progress` is not called; an empty `progress` reports
    // nothing. The result is exactly that of computeGroups(result). An exception thrown by `progress`
    // stops the computation and reaches the caller; `result` is then left as it was.
    void computeGroups(
        std::vector<int>& result,
        boost::function<void(int numberOfGroupsTried, int numberOfSegments)> const& progress) const;

    // The exact counterpart of computeGroups: the best grouping for every number of groups k = 1 ... n
    // (calculateOptimalGroupings), then the same choice of k (gains, admissibility, widening, fallback to
    // the finest grouping) as computeGroups makes from its cross-entropy results. One segment gives {0}, no
    // segment an empty result. Requires nothing beyond the checks below. Guarantees: deterministic, bit for
    // bit, for any number of OpenMP threads. Throws: std::invalid_argument when a length is negative (the
    // constructor has rejected lines whose values and lengths differ in size or are not finite);
    // std::logic_error("Missing implementation") for a measure other than MinMax and Variance with two or
    // more segments; allocation failures. `result` keeps its former contents when anything throws.
    void computeOptimalGroups(std::vector<int>& result) const;

    // The same computation with a progress hook: once the search is done, `progress(k, n)` is called for
    // k = 1 ... n in increasing order as each grouping is scored, on the calling thread (not with fewer
    // than two segments). An exception thrown by `progress` reaches the caller; `result` is left as it was.
    void computeOptimalGroups(
        std::vector<int>& result,
        boost::function<void(int numberOfGroupsDone, int numberOfSegments)> const& progress) const;

    // The best grouping into exactly `numberOfGroups` groups. Replaces `starts` with its 0-based starts
    // (ascending; on an open line the first is 0) and returns its objective, exactly as the grouper scores
    // those starts; k = 1 gives {0} and the dispersion of the whole line. No other grouping into k groups
    // scores lower by more than a relative 1e-12 (MinMax: none scores lower at all); among the groupings
    // the search finds equal, the lexicographically smallest starts win.
    // Cost, n segments: MinMax O(n^2 log n) time and O(n^2) memory; Variance open line O(k n^2), closed
    // line O(n^4 / 24) time (one search per first start), O(n^2) memory.
    // Throws: std::invalid_argument as computeOptimalGroups, and when numberOfGroups is outside 1 ... n;
    // std::logic_error("Missing implementation") for an unknown measure with k >= 2. `starts` keeps its
    // former contents when anything throws.
    double calculateOptimalGrouping(int numberOfGroups, std::vector<int>& starts) const;

    // The table behind computeOptimalGroups, e.g. to plot the objective against the number of groups:
    // `bestValues` and `bestStarts` get n + 1 entries, entry k (1 ... n) holding what
    // calculateOptimalGrouping(k, ...) returns; entry 0 is 0.0 and empty. Cost: as one call of
    // calculateOptimalGrouping with k = n (the search yields every k at once). The progress overload calls
    // `progress(k, n)` for k = 1 ... n after scoring each k. Throws: as computeOptimalGroups; both outputs
    // keep their former contents when anything throws.
    void calculateOptimalGroupings(std::vector<double>& bestValues,
                                   std::vector<std::vector<int>>& bestStarts) const;
    void calculateOptimalGroupings(
        std::vector<double>& bestValues, std::vector<std::vector<int>>& bestStarts,
        boost::function<void(int numberOfGroupsDone, int numberOfSegments)> const& progress) const;

    // The cross-entropy search's table behind computeGroups: `bestValues` and `bestStarts` get n + 1
    // entries, entry k (1 ... n) holding the value and 0-based starts that the optimisation for k groups
    // found (exactly what computeGroups chooses from); entry 0 is 0.0 and empty. `progress(k, n)` (may be
    // empty) is called after each k, on the calling thread. Cost: as computeGroups. Throws: as
    // computeGroups, and whatever `progress` throws; both outputs keep their former contents then.
    void calculateCrossEntropyGroupings(
        std::vector<double>& bestValues, std::vector<std::vector<int>>& bestStarts,
        boost::function<void(int numberOfGroupsTried, int numberOfSegments)> const& progress) const;

    // Curvature and arc length of segments of a polyline. `segments` holds per segment the index of its
    // first and last point in `points`; gaps between consecutive segments are closed first, at the arc
    // length midway between the last point of one and the first point of the next (on a closed line with
    // two or more segments also between the last and the first segment, across the closing chord). Each
    // coordinate is interpolated over the arc length with a shape-preserving cubic, each segment is
    // resampled at max(points, 25) parameters, and its curvature is the length-weighted turning of the unit
    // tangent: about -1/r for a counter-clockwise arc of radius r, +1/r clockwise (x right, y up), 0 for
    // a straight line. `curvature` is replaced by one value per segment; the arc length of every extended
    // segment is appended to `segmentLengths` (not cleared first). No segments: `curvature` becomes empty.
    // Fewer than three points: every curvature is 0 and `segmentLengths` is left alone.
    // Throws (with three or more points and at least one segment, before any output is written):
    // std::invalid_argument naming the first point with a NaN or infinite coordinate, or the first segment
    // whose indices lie outside the points, whose first point comes after its last, or that starts before
    // the last point of the segment before it.
    static void calculateSegmentCurvature(std::vector<std::pair<double, double>> const& points, bool closed,
                                          std::vector<std::pair<int, int>> const& segments,
                                          std::vector<double>& curvature,
                                          std::vector<double>& segmentLengths);

    // How many master segments (groups whose values are set independently) a line needs, from the jumps
    // of the mean value between consecutive segments and their sign changes. `values` holds one value per
    // point, `segmentStarts` the ascending index of each segment's first point, `weights` one weight per
    // point (read only by the environment override). Returns a number between 0 and the number of
    // segments S; S < 4 gives min(S, 3). The environment variable KX_CONTROL_NUMBER_OF_LINE_DVS (an int,
    // read at every call) raises the result: level 4 or more gives min(max(E, 8), S), levels 1 to 3 a value
    // between the plain recommendation and that bound; text that is not an int, and levels 0 or below,
    // leave the recommendation as it is.
    // Throws (S >= 4 only): std::invalid_argument naming the first segment start that is not an index of
    // `values` (negative, or beyond the values) or not above the start before it; allocation failures.
    static int calculateRecommendedNumberOfMasterSegments(bool closed, std::vector<double> const& values,
                                                          std::vector<int> const& segmentStarts,
                                                          std::vector<double> const& weights);

  private:
    friend class SegmentGrouperTestAccess;

    // The optimiser's objective: `grouping` holds 1-based start indices.
    double evaluate(std::vector<int> const& grouping) const;
    double evaluateMinMax(std::vector<int> const& starts) const;
    double evaluateVariance(std::vector<int> const& starts) const;
    double calculateGroupDispersionMinMax(int start, int end) const;
    double calculateGroupDispersionVariance(int start, int end) const;
    bool isAcceptableGrouping(std::vector<int> const& starts) const;
    double optimizeIntraGroupVariation(int numberOfGroups, std::vector<int>& starts) const;

    // Starts of the best groupings for k = firstCount ... lastCount (entry k; k = 1 is {0}).
    std::vector<std::vector<int>> searchOptimalStarts(int firstCount, int lastCount) const;
    // The objective of the exact search's starts for k groups; k = 1 as optimizeIntraGroupVariation has it.
    double scoreOptimalStarts(int numberOfGroups, std::vector<int> const& starts) const;

    int getNumOfSegments() const;
    bool isClosed() const;
    std::vector<double> const& accessValues() const;

    static void calculateExtendedSegmentCurvature(std::vector<std::pair<double, double>> const& points,
                                                  bool closed,
                                                  std::vector<std::pair<int, int>> const& segments,
                                                  std::vector<double>& curvature,
                                                  std::vector<double>& segmentLengths);

    std::vector<double> values;
    std::vector<double> lengths;
    bool closed;
    DispersionMeasure dispersionMeasure;
};

}  // namespace Kestrel
