// Solver of the rectangular linear assignment problem.
//
// Given a cost matrix of rows (workers) by columns (jobs), `Solve` assigns to each row at most one column
// and to each column at most one row, so that min(rows, columns) pairs are formed and the sum of their
// costs is minimal. The method is the Munkres form of the Hungarian method on a column-major working copy,
// with stars and primes kept as boolean matrices; where several assignments are optimal, its scan orders
// decide which one comes back (lowest column first, then lowest row), so results are reproducible. The
// steps work in double precision with a zero tolerance of DBL_EPSILON, so assignments whose costs differ
// only in the last few bits count as ties.
//
// Cost: the Munkres steps take O(n^3) to O(n^4) time on an n x n matrix, each of their up to n(n+1)/2
// matrix adjustments touching every element. Faster route, same result: when the matrix has no negative
// element, a shortest-augmenting-path solver (O(n^3) worst case, far less on typical matrices) finds an
// optimum, and its dual values are used to prove that every other assignment costs more than the rounding
// errors of the Munkres steps could ever bridge; then that optimum is exactly what the steps return, and it
// is returned without running them. Matrices with ties or near-ties (integer costs, repeated rows) run the
// steps. Memory: at most about 19 bytes per element when the steps run (two double copies and three
// boolean matrices, allocated once per call); the faster route copies nothing for a matrix that is not
// taller than wide and makes one column-major copy otherwise.
//
//   std::vector<std::vector<double>> cost = {{4.0, 1.0, 3.0},
//                                            {2.0, 0.0, 5.0},
//                                            {3.0, 2.0, 2.0}};
//   std::vector<int> assignment;                 // assignment[row] = column, -1 for none
//   HungarianAlgorithm solver;
//   double const total = solver.Solve(cost, assignment);
//   // assignment == {1, 0, 2}, total == 5.0
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
    // input costs of the assigned cells, added in row order.
    // Requires: every row has the size of the first row; every element is finite.
    // Guarantees: Assignment is replaced by nRows entries, the column of each row or -1 for an unassigned
    // row (a taller than wide matrix leaves nRows - nCols rows unassigned). DistMatrix is not modified
    // (it is taken by non-const reference for interface compatibility only). An empty outer vector gives
    // 0 and an empty Assignment; rows of zero length give 0 and every row at -1. Each element below 0
    // writes "All matrix elements have to be non-negative." and a newline to std::cerr (flushed); the
    // solve goes on with the negative values as they are.
    // Throws: std::invalid_argument, naming the row or element, for rows of unequal length or a NaN or
    // infinite element (then nothing is written to std::cerr and Assignment is left empty);
    // std::bad_alloc when the working buffers cannot be allocated.
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
