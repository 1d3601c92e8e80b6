// Shape-preserving piecewise cubic Hermite interpolation of y over x (the monotone cubic interpolant).
//
// Between two knots the interpolant is the cubic that matches the values and the slopes at both knots. The
// slopes are chosen so that the curve never overshoots the data: at an interior knot the slope is zero
// where the neighbouring secant slopes differ in sign or either is zero, and otherwise their weighted
// harmonic mean (weights w1 = 2h_k + h_(k-1) and w2 = h_k + 2h_(k-1) for the intervals h around the knot).
// The end slopes come from the three-point formula ((2h_0 + h_1)m_0 - h_0 m_1) / (h_0 + h_1), set to 0 if
// its sign differs from the first secant m_0, and to 3m_0 if m_0 and m_1 differ in sign and it exceeds
// 3|m_0| (mirrored at the right end). Two knots give the straight line, one knot a constant. Queries
// outside the knot range extend the first and last cubic pieces.
//
//   std::vector<double> const s{0.0, 1.0, 2.5, 4.0};
//   std::vector<double> const x{0.0, 0.8, 1.0, 0.2};
//   Kestrel::PChip const curve(s, x, false);
//   std::vector<double> const values = curve.interpolateAtQueryPoints({0.5, 1.75, 5.0});
//
// Cost: construction O(N) for N knots; each query O(log N). The object is immutable after construction,
// so one object may be queried from several threads at once.
#pragma once

#include <Kestrel/Export.h>

#include <vector>

namespace Kestrel {

class KESTREL_API PChip {
  public:
    // Builds the interpolant over the knots (x[i], y[i]), i < min(x.size(), y.size()). A knot whose
    // abscissa is not greater than that of the previous kept knot (or is NaN) is skipped, so no input
    // throws. The flag is accepted for interface compatibility and has no effect.
    PChip(std::vector<double> const& x, std::vector<double> const& y, bool const& flag);
    ~PChip();

    PChip(PChip const&) = default;
    PChip& operator=(PChip const&) = default;
    PChip(PChip&&) noexcept = default;
    PChip& operator=(PChip&&) noexcept = default;

    // One interpolated value per query point, in query order. Without any kept knot every value is NaN.
    std::vector<double> interpolateAtQueryPoints(std::vector<double> const& queries) const;

    // Number of knots kept after skipping the non-increasing ones.
    int getNumberOfKnots() const;

  private:
    double interpolate(double query) const;

    std::vector<double> knots_;
    std::vector<double> values_;
    // Cubic piece i in powers of (query - knots_[i]): values_[i] + t*(slopes_[i] + t*(c2_[i] + t*c3_[i])).
    std::vector<double> slopes_;
    std::vector<double> c2_;
    std::vector<double> c3_;
};

}  // namespace Kestrel
