// Descriptive statistics of one data set: quantiles, variance and extremes.
//
// The optimiser takes its elite threshold from `getQuantile` and the segment grouper measures groups with
// `getVariance`, `getMinimum` and `getMaximum`. Every result is a deterministic function of the loaded
// values: sums run in the order the values were loaded.
//
//   Kestrel::Tessel::StatisticalCalculator calculator(static_cast<int>(scores.size()));
//   calculator.loadDataSet(scores);
//   double const threshold = calculator.getQuantile(0.05, 0);   // 5 % quantile
//   double const variance = calculator.getVariance(0);          // population variance
//
// Cost: loading is O(N); a quantile selects two order statistics of a copy, O(N), by counting (a few
// passes without data-dependent branches) unless NaN are loaded; variance O(N).
// The calculator is not safe to use from several threads at once; separate objects are independent.
#pragma once

#include <Kestrel/Export.h>

#include <vector>

namespace Kestrel {
namespace Tessel {

class KESTREL_API StatisticalCalculator {
  public:
    // Reserves room for `count` values (a negative count reserves nothing).
    explicit StatisticalCalculator(int count);
    virtual ~StatisticalCalculator();

    StatisticalCalculator(StatisticalCalculator const&) = default;
    StatisticalCalculator& operator=(StatisticalCalculator const&) = default;
    StatisticalCalculator(StatisticalCalculator&&) noexcept = default;
    StatisticalCalculator& operator=(StatisticalCalculator&&) noexcept = default;

    // Replaces the data set by a copy of `values`.
    virtual void loadDataSet(std::vector<double> const& values);

    // The `level` quantile (level in [0, 1]) by linear interpolation between neighbouring order statistics:
    // with the values sorted ascending, h = (N - 1) * level and lo = floor(h), the result is
    // x[lo] + (h - lo) * (x[lo + 1] - x[lo]) when lo + 1 < N, else x[lo]. The second argument selects the
    // method; 0 is this one and the only one offered. Requires at least one value. NaN values sort after
    // every number; a level outside [0, 1] is taken as the nearest end, a NaN level gives NaN.
    // Equal zeros sort -0.0 before +0.0 and NaN sort by their bits, so the result is a function of the
    // values alone, bit for bit, whatever their load order; next to a sort by operator<, which leaves the
    // order of equal zeros open, only the sign of a zero or the payload of a NaN result can differ, and
    // neither changes the outcome of any comparison with the result.
    virtual double getQuantile(double level, int method) const;

    // Variance with `degreesOfFreedomCorrection` subtracted from the count in the divisor: 0 gives the
    // population variance, 1 the sample variance. Two passes: mean = (sum in load order) / N, then the
    // sum in load order of (x - mean)^2 divided by (N - correction). Requires at least one value.
    virtual double getVariance(int degreesOfFreedomCorrection) const;

    // Smallest and largest loaded value. Require at least one value.
    virtual double getMinimum() const;
    virtual double getMaximum() const;

    // Number of loaded values.
    int getNumberOfValues() const;

  private:
    std::vector<double> values_;
};

}  // namespace Tessel
}  // namespace Kestrel
