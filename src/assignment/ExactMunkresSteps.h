// The Munkres steps, from the first star pass on, for matrices on which every value they form is exact:
// all finite elements are multiples of one power of two 2^e (e >= -52; integers are the common case) and
// small enough that sums of them stay below 2^(52 + e). Then the working matrix equals, bit for bit,
// reduced + rowAdded[row] - columnSubtracted[col], where the two potentials are the sums of the adjustments
// each line received, and the steps can be carried out with O(rows + columns) work per adjustment instead
// of a pass over the whole matrix. The scan orders and the choices are those of the steps, so the stars
// (and hence the assignment) come out identical.
#pragma once

#include "MatrixCheck.h"

#include <memory>
#include <vector>

namespace Kestrel::assignment {

struct NarrowCell;

// Continues the steps after the first reduction and star pass: `reduced` is the column-major working
// matrix at that point, rowMajor the caller's matrix, lineMinimum the minima the first reduction subtracted
// (one per row when rows <= columns, else one per column), starColumn[row] the column of each row's star
// (-1 for none). Requires range = surveyMatrix(rowMajor).exactRange and a matrix that admits min(rows,
// columns) pairs on finite elements. Returns true with starColumn holding the final star of each row (the
// steps' assignment), or false, with starColumn in an unspecified state, when the adjustments would leave the
// exact range (the ordinary steps must then run).
bool continueStepsExactly(double const* reduced, std::vector<std::vector<double>> const& rowMajor,
                          double const* lineMinimum, int nOfRows, int nOfColumns, double range,
                          int* starColumn);

// The whole route, built from the caller's rows: the constructor writes the first reduction into storage of
// the route's own, the narrowest that holds every reduced value exactly (two-byte integers, floats or
// doubles); no copy of the caller's matrix is made. The route keeps references to rowMajor and survey, which
// must outlive it.
class ExactStepsRoute {
  public:
    // Requires rowMajor to admit min(rows, columns) pairs on finite elements, and survey to be its survey,
    // with exactRange > 0 and, for a matrix taller than wide, the column facts.
    ExactStepsRoute(std::vector<std::vector<double>> const& rowMajor, MatrixSurvey const& survey);
    ~ExactStepsRoute();
    ExactStepsRoute(ExactStepsRoute const&) = delete;
    ExactStepsRoute& operator=(ExactStepsRoute const&) = delete;

    // Whether more than `limit` columns hold more than one zero of the reduced matrix; for a matrix taller
    // than wide, whether more than `limit` columns hold their minimum more than once. Reads each column up
    // to its second zero, and no further column once the answer is known.
    bool moreColumnsWithRepeatedZeroThan(int limit) const;

    // Returns true with assignment[row] the column of each row (-1 for none), which is what the Munkres
    // steps return for this matrix; false, leaving assignment unspecified, when the values would leave the
    // exact range on the way.
    bool solve(int* assignment) const;

  private:
    std::vector<std::vector<double>> const& rowMajor_;
    MatrixSurvey const& survey_;
    double const* lineMinimum_ = nullptr;  // the minima of the short side's lines, which the reduction took
    double largestReduced_ = 0.0;
    // The reduced matrix, column-major: one of the three is set.
    std::unique_ptr<NarrowCell[]> narrowCells_;
    std::unique_ptr<float[]> floats_;
    std::unique_ptr<double[]> doubles_;

    // Calls visit(reduced) with the storage that is set.
    template <typename Visit>
    auto visitStorage(Visit visit) const;
};

// The route in one call: ExactStepsRoute(rowMajor, survey).solve(assignment), with the same requirements.
bool solveByExactSteps(std::vector<std::vector<double>> const& rowMajor, MatrixSurvey const& survey,
                       int* assignment);

}  // namespace Kestrel::assignment
