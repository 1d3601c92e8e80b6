#include "input/DemoLine.h"

#include <cmath>

namespace ktx {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kWidth = 400.0;      // mm
constexpr double kHeight = 250.0;     // mm
constexpr double kRadius = 60.0;      // mm, corner radius
constexpr int kPointsPerSegment = 6;  // intervals per segment

// One straight side or corner of the outline, traversed counter-clockwise.
struct Piece {
    bool corner;
    double x0, y0;      // start of a side, or centre of a corner
    double dx, dy;      // direction of a side, scaled to its length
    double startAngle;  // of a corner
    int segments;
    double baseValue;
};

std::pair<double, double> pointOn(Piece const& piece, double t) {
    if (piece.corner) {
        double const angle = piece.startAngle + t * kPi / 2;
        return {piece.x0 + kRadius * std::cos(angle), piece.y0 + kRadius * std::sin(angle)};
    }
    return {piece.x0 + t * piece.dx, piece.y0 + t * piece.dy};
}

}  // namespace

DemoLine makeDemoLine() {
    double const w = kWidth / 2;
    double const h = kHeight / 2;
    double const r = kRadius;
    // Long sides 0.66, short sides 0.52, corners 0.30: the restraint a process engineer would start from.
    std::vector<Piece> const pieces{
        {false, -w + r, -h, kWidth - 2 * r, 0, 0, 6, 0.66},     // bottom, left to right
        {true, w - r, -h + r, 0, 0, -kPi / 2, 3, 0.30},         // bottom-right corner
        {false, w, -h + r, 0, kHeight - 2 * r, 0, 3, 0.52},     // right side, upwards
        {true, w - r, h - r, 0, 0, 0, 3, 0.30},                 // top-right corner
        {false, w - r, h, -(kWidth - 2 * r), 0, 0, 6, 0.66},    // top, right to left
        {true, -w + r, h - r, 0, 0, kPi / 2, 3, 0.30},          // top-left corner
        {false, -w, h - r, 0, -(kHeight - 2 * r), 0, 3, 0.52},  // left side, downwards
        {true, -w + r, -h + r, 0, 0, kPi, 3, 0.30},             // bottom-left corner
    };
    // Gentle variation along each piece, by segment position: a little more restraint in the middle of a
    // side, least at the apex of a corner.
    double const longSide[] = {0.0, 0.002, 0.004, 0.004, 0.002, 0.0};
    double const shortSide[] = {0.0, 0.003, 0.0};
    double const corner[] = {0.02, 0.0, 0.02};

    DemoLine line;
    line.description =
        "a closed drawbead line around a 400 mm x 250 mm die opening with 60 mm corner radii, 30 segments";
    for (Piece const& piece : pieces) {
        for (int s = 0; s < piece.segments; ++s) {
            int const first = static_cast<int>(line.points.size());
            for (int j = 0; j < kPointsPerSegment; ++j) {
                double const t =
                    (s * kPointsPerSegment + j) / static_cast<double>(piece.segments * kPointsPerSegment);
                line.points.push_back(pointOn(piece, t));
            }
            line.segments.emplace_back(first, first + kPointsPerSegment);
            double const* const variation =
                piece.corner ? corner : (piece.segments == 6 ? longSide : shortSide);
            line.values.push_back(piece.baseValue + variation[s]);
            line.ranges.emplace_back(0.1, 0.9);
        }
    }
    // The last segment ends at the last point; the closing chord back to point 0 joins the line.
    line.segments.back().second = static_cast<int>(line.points.size()) - 1;
    return line;
}

}  // namespace ktx
