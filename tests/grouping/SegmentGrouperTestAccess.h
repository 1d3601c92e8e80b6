// The tests' window on the grouper's private members (the class names this one as its only friend).
#pragma once

#include <Kestrel/SegmentGrouper.h>

#include <utility>
#include <vector>

namespace Kestrel {

class SegmentGrouperTestAccess {
  public:
    static double evaluate(SegmentGrouper const& grouper, std::vector<int> const& grouping) {
        return grouper.evaluate(grouping);
    }
    static double evaluateMinMax(SegmentGrouper const& grouper, std::vector<int> const& starts) {
        return grouper.evaluateMinMax(starts);
    }
    static double evaluateVariance(SegmentGrouper const& grouper, std::vector<int> const& starts) {
        return grouper.evaluateVariance(starts);
    }
    static double dispersionMinMax(SegmentGrouper const& grouper, int start, int end) {
        return grouper.calculateGroupDispersionMinMax(start, end);
    }
    static double dispersionVariance(SegmentGrouper const& grouper, int start, int end) {
        return grouper.calculateGroupDispersionVariance(start, end);
    }
    static bool isAcceptableGrouping(SegmentGrouper const& grouper, std::vector<int> const& starts) {
        return grouper.isAcceptableGrouping(starts);
    }
    static double optimizeIntraGroupVariation(SegmentGrouper const& grouper, int numberOfGroups,
                                              std::vector<int>& starts) {
        return grouper.optimizeIntraGroupVariation(numberOfGroups, starts);
    }
    static std::vector<double> const& values(SegmentGrouper const& grouper) { return grouper.accessValues(); }
    static std::vector<double> const& lengths(SegmentGrouper const& grouper) { return grouper.lengths; }
    static bool isClosed(SegmentGrouper const& grouper) { return grouper.isClosed(); }
    static int numberOfSegments(SegmentGrouper const& grouper) { return grouper.getNumOfSegments(); }
    static SegmentGrouper::DispersionMeasure measure(SegmentGrouper const& grouper) {
        return grouper.dispersionMeasure;
    }
    static void extendedSegmentCurvature(std::vector<std::pair<double, double>> const& points, bool closed,
                                         std::vector<std::pair<int, int>> const& segments,
                                         std::vector<double>& curvature,
                                         std::vector<double>& segmentLengths) {
        SegmentGrouper::calculateExtendedSegmentCurvature(points, closed, segments, curvature,
                                                          segmentLengths);
    }
};

}  // namespace Kestrel
