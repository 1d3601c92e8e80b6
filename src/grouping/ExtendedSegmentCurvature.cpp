// Curvature of contiguous segments of a polyline: the length-weighted turning of the unit tangent along a
// dense resampling of each segment on shape-preserving cubic interpolants of the coordinates over the arc
// length.
#include <Kestrel/PChip.h>
#include <Kestrel/SegmentGrouper.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Kestrel {

namespace {

using Point = std::pair<double, double>;

// Fewest samples per segment: a segment with more points is sampled at one parameter per point.
int const kMinimumSamplesPerSegment = 25;

double distance(Point const& from, Point const& to) {
    double const dx = to.first - from.first;
    double const dy = to.second - from.second;
    return std::sqrt(dx * dx + dy * dy);
}

// Unit vector from `from` to `to`; (0, 0) when both coincide.
Point unitOrZero(Point const& from, Point const& to) {
    double const length = distance(from, to);
    if (length == 0.0) {
        return {0.0, 0.0};
    }
    return {(to.first - from.first) / length, (to.second - from.second) / length};
}

// Unit tangents at the samples: one-sided at the ends (divided without a zero test, so a zero end chord
// gives NaN), the normalised sum of the two neighbouring chord directions inside.
std::vector<Point> unitTangents(std::vector<Point> const& samples) {
    std::size_t const m = samples.size();
    std::vector<Point> tangents(m);
    auto endTangent = [](Point const& from, Point const& to) {
        double const length = distance(from, to);
        return Point{(to.first - from.first) / length, (to.second - from.second) / length};
    };
    tangents[0] = endTangent(samples[0], samples[1]);
    tangents[m - 1] = endTangent(samples[m - 2], samples[m - 1]);
    for (std::size_t j = 1; j + 1 < m; ++j) {
        Point const before = unitOrZero(samples[j - 1], samples[j]);
        Point const after = unitOrZero(samples[j], samples[j + 1]);
        Point const sum{before.first + after.first, before.second + after.second};
        double const length = std::sqrt(sum.first * sum.first + sum.second * sum.second);
        tangents[j] = length == 0.0 ? Point{0.0, 0.0} : Point{sum.first / length, sum.second / length};
    }
    return tangents;
}

bool isZero(Point const& vector) {
    return vector.first == 0.0 && vector.second == 0.0;
}

// Turning of the tangent per unit length along the samples; 0 when the samples have no length.
double turningPerLength(std::vector<Point> const& samples, std::vector<Point> const& tangents) {
    double total = 0.0;
    double length = 0.0;
    for (std::size_t j = 1; j < samples.size(); ++j) {
        double const chord = distance(samples[j - 1], samples[j]);
        if (chord > 0.0) {
            double const ux = (samples[j].first - samples[j - 1].first) / chord;
            double const uy = (samples[j].second - samples[j - 1].second) / chord;
            if (!isZero(tangents[j - 1]) && !isZero(tangents[j])) {
                total += (tangents[j].first - tangents[j - 1].first) * uy -
                         (tangents[j].second - tangents[j - 1].second) * ux;
            }
        }
        length += chord;
    }
    return length > 0.0 ? total / length : 0.0;
}

}  // namespace

void SegmentGrouper::calculateExtendedSegmentCurvature(std::vector<std::pair<double, double>> const& points,
                                                       bool /*closed*/,
                                                       std::vector<std::pair<int, int>> const& segments,
                                                       std::vector<double>& curvature,
                                                       std::vector<double>& segmentLengths) {
    if (segments.empty()) {
        curvature.clear();
        return;
    }
    if (points.size() <= 2) {
        curvature.assign(segments.size(), 0.0);
        return;
    }
    std::vector<double> arcLength(points.size(), 0.0);
    std::vector<double> xs(points.size());
    std::vector<double> ys(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (i > 0) {
            arcLength[i] = arcLength[i - 1] + distance(points[i - 1], points[i]);
        }
        xs[i] = points[i].first;
        ys[i] = points[i].second;
    }
    PChip const x(arcLength, xs, false);
    PChip const y(arcLength, ys, false);

    curvature.assign(segments.size(), 0.0);
    segmentLengths.reserve(segmentLengths.size() + segments.size());
    for (std::size_t k = 0; k < segments.size(); ++k) {
        double const from = arcLength[static_cast<std::size_t>(segments[k].first)];
        double const to = arcLength[static_cast<std::size_t>(segments[k].second)];
        int const sampleCount =
            std::max(segments[k].second - segments[k].first + 1, kMinimumSamplesPerSegment);
        double const step = (to - from) / static_cast<double>(sampleCount - 1);
        std::vector<double> parameters(static_cast<std::size_t>(sampleCount));
        parameters[0] = from;
        for (std::size_t j = 1; j < parameters.size(); ++j) {
            parameters[j] = parameters[j - 1] + step;
        }
        std::vector<double> const sampleXs = x.interpolateAtQueryPoints(parameters);
        std::vector<double> const sampleYs = y.interpolateAtQueryPoints(parameters);
        std::vector<Point> samples(parameters.size());
        for (std::size_t j = 0; j < samples.size(); ++j) {
            samples[j] = {sampleXs[j], sampleYs[j]};
        }
        curvature[k] = turningPerLength(samples, unitTangents(samples));
        segmentLengths.push_back(to - from);
    }
}

}  // namespace Kestrel
