// Curvature of segments that may leave gaps between them: consecutive segments are first given a common
// boundary point at the arc length midway across the gap, then the extended, contiguous segments are
// measured.
#include <Kestrel/PChip.h>
#include <Kestrel/SegmentGrouper.h>

#include "GroupingInputChecks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <tuple>

namespace Kestrel {

namespace {

using Point = std::pair<double, double>;

// Number of points repeated from the other end of a closed line on each side of its interpolation knots, so
// that the interpolants run smoothly across the line's start.
std::size_t const kClosedLinePadding = 3;

double distance(Point const& from, Point const& to) {
    double const dx = to.first - from.first;
    double const dy = to.second - from.second;
    return std::sqrt(dx * dx + dy * dy);
}

// x(s) and y(s) over the arc-length parameter s.
struct Curve {
    Curve(std::vector<double> const& parameters, std::vector<Point> const& points)
        : x(parameters, coordinates(points, &Point::first), false),
          y(parameters, coordinates(points, &Point::second), false) {}

    static std::vector<double> coordinates(std::vector<Point> const& points, double Point::*coordinate) {
        std::vector<double> result;
        result.reserve(points.size());
        for (Point const& point : points) {
            result.push_back(point.*coordinate);
        }
        return result;
    }

    // The interpolated point at `parameter`; a coordinate that evaluates to zero is stored as +0.0.
    Point at(double parameter) const {
        std::vector<double> const query{parameter};
        double const px = x.interpolateAtQueryPoints(query)[0];
        double const py = y.interpolateAtQueryPoints(query)[0];
        return {px == 0.0 ? 0.0 : px, py == 0.0 ? 0.0 : py};
    }

    PChip x;
    PChip y;
};

// A polyline with non-decreasing parameters, and the extended polyline built from it.
struct ParameterisedLine {
    std::vector<Point> points;
    std::vector<double> parameters;
};

struct ExtendedLine {
    std::vector<Point> points;
    std::vector<std::pair<int, int>> segments;
};

// Inserts one boundary per gap into `line`: the point whose parameter equals the gap's midpoint exactly, or
// else a new point on `curve` placed between the two points around the midpoint. Extended segment k runs
// from the boundary before it (the first point for k = 0) to the boundary after it (the last point for the
// last segment). `evaluationParameter` maps a midpoint to the parameter at which `curve` is queried.
template <class EvaluationParameter>
ExtendedLine insertBoundaries(ParameterisedLine const& line, std::vector<double> const& midpoints,
                              Curve const& curve, EvaluationParameter evaluationParameter,
                              std::size_t reserve) {
    std::size_t const gapCount = midpoints.size();
    std::vector<std::ptrdiff_t> existing(gapCount, -1);
    // (position before which the point goes, midpoint, gap index) for every inserted point.
    std::vector<std::tuple<std::size_t, double, std::size_t>> insertions;
    for (std::size_t g = 0; g < gapCount; ++g) {
        auto const found = std::lower_bound(line.parameters.begin(), line.parameters.end(), midpoints[g]);
        std::size_t const position = static_cast<std::size_t>(found - line.parameters.begin());
        if (found != line.parameters.end() && *found == midpoints[g]) {
            existing[g] = static_cast<std::ptrdiff_t>(position);
        } else {
            insertions.emplace_back(position, midpoints[g], g);
        }
    }
    std::sort(insertions.begin(), insertions.end());

    ExtendedLine extended;
    extended.points.reserve(std::max(reserve, line.points.size() + insertions.size()));
    std::vector<int> boundaries(gapCount, 0);
    std::vector<int> extendedIndexOf(line.points.size(), 0);
    auto next = insertions.begin();
    for (std::size_t i = 0; i <= line.points.size(); ++i) {
        for (; next != insertions.end() && std::get<0>(*next) == i; ++next) {
            boundaries[std::get<2>(*next)] = static_cast<int>(extended.points.size());
            extended.points.push_back(curve.at(evaluationParameter(std::get<1>(*next))));
        }
        if (i < line.points.size()) {
            extendedIndexOf[i] = static_cast<int>(extended.points.size());
            extended.points.push_back(line.points[i]);
        }
    }
    for (std::size_t g = 0; g < gapCount; ++g) {
        if (existing[g] >= 0) {
            boundaries[g] = extendedIndexOf[static_cast<std::size_t>(existing[g])];
        }
    }
    int previous = 0;
    for (int const boundary : boundaries) {
        extended.segments.emplace_back(previous, boundary);
        previous = boundary;
    }
    extended.segments.emplace_back(previous, static_cast<int>(extended.points.size()) - 1);
    return extended;
}

std::vector<double> arcLengths(std::vector<Point> const& points) {
    std::vector<double> result(points.size(), 0.0);
    for (std::size_t i = 1; i < points.size(); ++i) {
        result[i] = result[i - 1] + distance(points[i - 1], points[i]);
    }
    return result;
}

// Open line (or a single segment): the gaps between consecutive segments, on the interpolants of the line.
ExtendedLine extendOpenLine(std::vector<Point> const& points, std::vector<double> const& arcLength,
                            std::vector<std::pair<int, int>> const& segments) {
    std::vector<double> midpoints;
    for (std::size_t k = 0; k + 1 < segments.size(); ++k) {
        midpoints.push_back((arcLength[static_cast<std::size_t>(segments[k].second)] +
                             arcLength[static_cast<std::size_t>(segments[k + 1].first)]) *
                            0.5);
    }
    Curve const curve(arcLength, points);
    return insertBoundaries(
        {points, arcLength}, midpoints, curve, [](double parameter) { return parameter; },
        points.size() + segments.size());
}

// Closed line with two or more segments. The loop has length L = s[N-1] + closing chord; when the closing
// chord is zero, the last point repeats the first and stands for it. Interpolants over the loop are built
// on the points with a few points of the other end repeated before and after (parameters shifted by -L
// and +L), so they run smoothly across the start. The line is then read once round, starting at the
// midpoint of the gap between the last and the first segment, and the boundaries of the other gaps are
// inserted into it; the first extended segment starts and the last one ends at that wrap-round boundary.
// A few points of the loop on either side of it are kept before and after, outside every segment.
ExtendedLine extendClosedLine(std::vector<Point> const& points, std::vector<double> const& arcLength,
                              std::vector<std::pair<int, int>> const& segments) {
    std::size_t const n = points.size();
    double const closingChord = distance(points[n - 1], points[0]);
    double const loopLength = arcLength[n - 1] + closingChord;
    std::size_t const loopCount = closingChord == 0.0 ? n - 1 : n;

    ParameterisedLine knots;
    std::size_t const padding = std::min(kClosedLinePadding, loopCount - 1);
    for (std::size_t i = loopCount - padding; i < loopCount; ++i) {
        knots.points.push_back(points[i]);
        knots.parameters.push_back(arcLength[i] - loopLength);
    }
    for (std::size_t i = 0; i < loopCount; ++i) {
        knots.points.push_back(points[i]);
        knots.parameters.push_back(arcLength[i]);
    }
    for (std::size_t i = 0; i <= padding; ++i) {
        knots.points.push_back(points[i]);
        knots.parameters.push_back(arcLength[i] + loopLength);
    }
    Curve const loop(knots.parameters, knots.points);
    auto onLoop = [loopLength](double parameter) {
        return parameter >= loopLength ? parameter - loopLength : parameter;
    };

    auto arcLengthAt = [&arcLength](int index) { return arcLength[static_cast<std::size_t>(index)]; };
    double const wrapMidpoint = onLoop(
        (arcLengthAt(segments.back().second) + arcLengthAt(segments.front().first) + loopLength) * 0.5);

    // The loop read from the wrap-round boundary: points at or after it, then the points before it one loop
    // on, then the boundary again.
    std::vector<double> const loopParameters(arcLength.begin(),
                                             arcLength.begin() + static_cast<long>(loopCount));
    std::size_t const firstAfter = static_cast<std::size_t>(
        std::lower_bound(loopParameters.begin(), loopParameters.end(), wrapMidpoint) -
        loopParameters.begin());
    bool const wrapIsPoint = firstAfter < loopCount && loopParameters[firstAfter] == wrapMidpoint;
    Point const wrapPoint = wrapIsPoint ? points[firstAfter] : loop.at(wrapMidpoint);

    ParameterisedLine line;
    line.points.push_back(wrapPoint);
    line.parameters.push_back(wrapMidpoint);
    for (std::size_t i = wrapIsPoint ? firstAfter + 1 : firstAfter; i < loopCount; ++i) {
        line.points.push_back(points[i]);
        line.parameters.push_back(arcLength[i]);
    }
    for (std::size_t i = 0; i < firstAfter; ++i) {
        line.points.push_back(points[i]);
        line.parameters.push_back(arcLength[i] + loopLength);
    }
    line.points.push_back(wrapPoint);
    line.parameters.push_back(wrapMidpoint + loopLength);

    std::vector<double> midpoints;
    for (std::size_t k = 0; k + 1 < segments.size(); ++k) {
        double const midpoint =
            onLoop((arcLengthAt(segments[k].second) + arcLengthAt(segments[k + 1].first)) * 0.5);
        midpoints.push_back(midpoint >= wrapMidpoint ? midpoint : midpoint + loopLength);
    }
    ExtendedLine const unrolled =
        insertBoundaries(line, midpoints, loop, onLoop, n + segments.size() + 2 + 2 * kClosedLinePadding);

    // The measured line carries a few points of the loop before its start and after its end, so that its
    // interpolants, too, run smoothly across the wrap-round boundary.
    std::size_t const count = unrolled.points.size();
    std::size_t const margin = std::min(kClosedLinePadding, count - 2);
    ExtendedLine padded;
    padded.points.reserve(count + 2 * margin);
    padded.points.insert(padded.points.end(), unrolled.points.end() - 1 - static_cast<std::ptrdiff_t>(margin),
                         unrolled.points.end() - 1);
    padded.points.insert(padded.points.end(), unrolled.points.begin(), unrolled.points.end());
    padded.points.insert(padded.points.end(), unrolled.points.begin() + 1,
                         unrolled.points.begin() + 1 + static_cast<std::ptrdiff_t>(margin));
    for (std::pair<int, int> const& segment : unrolled.segments) {
        padded.segments.emplace_back(segment.first + static_cast<int>(margin),
                                     segment.second + static_cast<int>(margin));
    }
    return padded;
}

}  // namespace

void SegmentGrouper::calculateSegmentCurvature(std::vector<std::pair<double, double>> const& points,
                                               bool closed, std::vector<std::pair<int, int>> const& segments,
                                               std::vector<double>& curvature,
                                               std::vector<double>& segmentLengths) {
    if (segments.empty()) {
        curvature.clear();
        return;
    }
    if (points.size() < 3) {
        curvature.assign(segments.size(), 0.0);
        return;
    }
    grouping::checkPolylineSegments(points, segments);
    std::vector<double> const arcLength = arcLengths(points);
    ExtendedLine const extended = closed && segments.size() >= 2
                                      ? extendClosedLine(points, arcLength, segments)
                                      : extendOpenLine(points, arcLength, segments);
    calculateExtendedSegmentCurvature(extended.points, closed, extended.segments, curvature, segmentLengths);
}

}  // namespace Kestrel
