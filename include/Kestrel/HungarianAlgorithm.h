// Solver of the rectangular linear assignment problem.
//
// Given a cost matrix of rows (workers) by columns (jobs), `Solve` assigns to each row at most one column
// and to each column at most one row, so that min(rows, columns) pairs are formed and the sum of their
// costs is minimal. An element of +infinity marks a forbidden pair, which is never assigned. The method is
// the Munkres form of the Hungarian method on a column-major working copy, with stars and primes kept as
// boolean matrices; where several assignments are optimal, its scan orders decide which one comes back
// (lowest column first, then lowest row), so results are reproducible.
//
// Precision: the steps work in double precision and count a working value as zero when its magnitude is
// below DBL_EPSILON (about 2.2e-16), an absolute tolerance. Assignments whose costs differ by less than
// that count as ties, and a matrix whose costs all lie below about 1e-15 is mostly "zero" to the method:
// its result is then the steps' choice among near-ties, not necessarily optimal. From about 1e-12 down it
// is worth multiplying every cost by a constant (a power of two keeps the ratios exact) before solving.
//
// Cost: the Munkres steps as they stand take O(n^3) to O(n^4) time on an n x n matrix, each of their up to
// n(n+1)/2 matrix adjustments touching every element. Two faster routes return exactly the same result:
// - a shortest-augmenting-path solver (O(n^3) worst case, far less on typical matrices) finds an optimum,
//   and its dual values prove that every other assignment costs more than the rounding errors of the
//   steps could ever bridge; that optimum is then what the steps return. This serves tie-free matrices,
//   with negative costs and (square matrices, or lines with enough finite costs) forbidden pairs. When
//   every value the steps form is exact (below), the steps make no rounding errors at all, and the proof
//   needs only that the optimum be unique: products of indices are served at every size;
// - when every element is a multiple of one power of two no finer than DBL_EPSILON (integers above all)
//   and the values stay small enough to be exact (below about 2^51 times that power), the steps run on
//   row and column potentials with lasting lists of zeros: the same choices in the same order, with O(1)
//   work per adjustment on the potentials and O(n) to find the next one. This serves integer matrices,
//   full of ties, whether random or structured.
// Other matrices run the steps as they stand. Memory: at most about 19 bytes per element when the steps
// run (two double copies and three boolean matrices, allocated once per call), about 8 plus 4 per zero for
// the exact route; the unique-optimum route copies nothing for a matrix that is not taller than wide and
// makes one column-major copy otherwise. A matrix with forbidden pairs also builds a list of its finite
// elements (4 bytes each) to check feasibility.
//
//   std::vector<std::vector<double>> cost = {{4.0, 1.0, 3.0},
//                                            {2.0, 0.0, 5.0},
//                                            {3.0, 2.0, 2.0}};
//   std::vector<int> assignment;                 // assignment[row] = column, -1 for none
//   HungarianAlgorithm solver;
//   double const total = solver.Solve(cost, assignment);
//   // assignment == {1, 0, 2}, total == 5.0
//
//   double const forbidden = std::numeric_limits<double>::infinity();
//   std::vector<std::vector<double>> shifts = {{forbidden, 1.0}, {2.0, forbidden}};
//   solver.Solve(shifts, assignment);            // assignment == {1, 0}, returns 3.0
//   std::vector<std::vector<double>> blocked = {{1.0, forbidden}, {2.0, forbidden}};
//   solver.Solve(blocked, assignment);           // throws std::invalid_argument("cost matrix is infeasible")
//
// Thread safety: the class has no data members; concurrent calls on the same or distinct objects are
// independent. The steps run as a loop, so the stack depth does not grow with the number of iterations.
#pragma once

#include <Kestrel/Export.h>

#include <vector>

class KESTREL_API HungarianAlgorithm {
  public:
    HungarianAlgorithm() = default;
    HungarianAlgorithm(HungarianAlgorithm const&) = default;
    HungarianAlgorithm& operator=(HungarianAlgorithm const&) = default;
    ~HungarianAlgorithm() = default;

    // Solves the assignment problem for DistMatrix (one inner vector per row) and returns the sum of the
    // input costs of the assigned cells, added in row order (always finite).
    // Requires: every row has the size of the first row; no element is NaN or -infinity. +infinity marks
    // a forbidden pair; costs may be negative.
    // Guarantees: Assignment is replaced by nRows entries, the column of each row or -1 for an unassigned
    // row (a taller than wide matrix leaves nRows - nCols rows unassigned); no forbidden pair is assigned.
    // DistMatrix is not modified (it is taken by non-const reference for interface compatibility only). An
    // empty outer vector gives 0 and an empty Assignment; rows of zero length give 0 and every row at -1.
    // Each element below 0 writes "All matrix elements have to be non-negative." and a newline to
    // std::cerr (flushed), one line per element; the solve goes on with the negative values as they are.
    // Throws: std::invalid_argument, naming the row or element, for rows of unequal length or a NaN or
    // -infinity element; std::invalid_argument("cost matrix is infeasible") when no assignment of
    // min(nRows, nCols) pairs avoids the forbidden pairs. In these cases nothing is written to std::cerr
    // and Assignment is left empty. std::bad_alloc when the working buffers cannot be allocated.
    double Solve(std::vector<std::vector<double>>& DistMatrix, std::vector<int>& Assignment);

  private:
    friend class HungarianAlgorithmInternals;

    // Solve, with the fast routes allowed or not (the Munkres steps then always run).
    double solve(std::vector<std::vector<double>> const& DistMatrix, std::vector<int>& Assignment,
                 bool allowFastRoutes);

    // The step the method goes to next; the steps return it instead of calling each other.
    enum class NextStep { Step2a, Step2b, Step3, Step4, Step5, Done };

    void assignmentoptimal(int* assignment, double* cost, double* distMatrixIn, int nOfRows, int nOfColumns);
    void buildassignmentvector(int* assignment, bool* starMatrix, int nOfRows, int nOfColumns);
    void computeassignmentcost(int* assignment, double* cost, double* distMatrix, int nOfRows);
    NextStep step2a(int* assignment, double* distMatrix, bool* starMatrix, bool* newStarMatrix,
                    bool* primeMatrix, bool* coveredColumns, bool* coveredRows, int nOfRows, int nOfColumns,
                    int minDim);
    NextStep step2b(int* assignment, double* distMatrix, bool* starMatrix, bool* newStarMatrix,
                    bool* primeMatrix, bool* coveredColumns, bool* coveredRows, int nOfRows, int nOfColumns,
                    int minDim);
    // Also reports the primed zero that starts the augmenting path when it returns NextStep::Step4.
    // scanFrom (nOfColumns entries) is scratch space for the row at which each column's scan resumes.
    NextStep step3(int* assignment, double* distMatrix, bool* starMatrix, bool* newStarMatrix,
                   bool* primeMatrix, bool* coveredColumns, bool* coveredRows, int nOfRows, int nOfColumns,
                   int minDim, int* primeRow, int* primeCol, int* scanFrom);
    NextStep step4(int* assignment, double* distMatrix, bool* starMatrix, bool* newStarMatrix,
                   bool* primeMatrix, bool* coveredColumns, bool* coveredRows, int nOfRows, int nOfColumns,
                   int minDim, int row, int col);
    NextStep step5(int* assignment, double* distMatrix, bool* starMatrix, bool* newStarMatrix,
                   bool* primeMatrix, bool* coveredColumns, bool* coveredRows, int nOfRows, int nOfColumns,
                   int minDim);
};
