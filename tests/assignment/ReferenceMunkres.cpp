#include "ReferenceMunkres.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace ReferenceMunkres {
namespace {

struct State {
    int nRows;
    int nCols;
    int minDim;
    std::vector<double> dist;  // column-major
    std::vector<char> star, prime, newStar;
    std::vector<char> coveredColumns, coveredRows;
    std::vector<int> assignment;
    int adjustments = 0;

    double& d(int r, int c) { return dist[r + nRows * c]; }
    char& s(int r, int c) { return star[r + nRows * c]; }
    char& p(int r, int c) { return prime[r + nRows * c]; }
    char& ns(int r, int c) { return newStar[r + nRows * c]; }
};

void step2a(State& st);
void step2b(State& st);
void step3(State& st);
void step4(State& st, int row, int col);
void step5(State& st);

void buildAssignment(State& st) {
    for (int r = 0; r < st.nRows; ++r) {
        for (int c = 0; c < st.nCols; ++c) {
            if (st.s(r, c)) {
                st.assignment[r] = c;
                break;
            }
        }
    }
}

void step2a(State& st) {
    for (int c = 0; c < st.nCols; ++c) {
        for (int r = 0; r < st.nRows; ++r) {
            if (st.s(r, c)) {
                st.coveredColumns[c] = 1;
                break;
            }
        }
    }
    step2b(st);
}

void step2b(State& st) {
    int count = 0;
    for (int c = 0; c < st.nCols; ++c) {
        if (st.coveredColumns[c]) {
            ++count;
        }
    }
    if (count == st.minDim) {
        buildAssignment(st);
    } else {
        step3(st);
    }
}

void step3(State& st) {
    bool zerosFound = true;
    while (zerosFound) {
        zerosFound = false;
        for (int c = 0; c < st.nCols; ++c) {
            if (st.coveredColumns[c]) {
                continue;
            }
            for (int r = 0; r < st.nRows; ++r) {
                if (!st.coveredRows[r] && std::fabs(st.d(r, c)) < DBL_EPSILON) {
                    st.p(r, c) = 1;
                    int starCol = 0;
                    for (; starCol < st.nCols; ++starCol) {
                        if (st.s(r, starCol)) {
                            break;
                        }
                    }
                    if (starCol == st.nCols) {
                        step4(st, r, c);
                        return;
                    }
                    st.coveredRows[r] = 1;
                    st.coveredColumns[starCol] = 0;
                    zerosFound = true;
                    break;
                }
            }
        }
    }
    step5(st);
}

void step4(State& st, int row, int col) {
    st.newStar = st.star;
    st.ns(row, col) = 1;
    int starRow = 0;
    for (; starRow < st.nRows; ++starRow) {
        if (st.s(starRow, col)) {
            break;
        }
    }
    while (starRow < st.nRows) {
        st.ns(starRow, col) = 0;
        int primeCol = 0;
        for (; primeCol < st.nCols; ++primeCol) {
            if (st.p(starRow, primeCol)) {
                break;
            }
        }
        st.ns(starRow, primeCol) = 1;
        col = primeCol;
        for (starRow = 0; starRow < st.nRows; ++starRow) {
            if (st.s(starRow, col)) {
                break;
            }
        }
    }
    st.star = st.newStar;
    std::fill(st.prime.begin(), st.prime.end(), 0);
    std::fill(st.coveredRows.begin(), st.coveredRows.end(), 0);
    step2a(st);
}

void step5(State& st) {
    ++st.adjustments;
    double h = DBL_MAX;
    for (int r = 0; r < st.nRows; ++r) {
        if (!st.coveredRows[r]) {
            for (int c = 0; c < st.nCols; ++c) {
                if (!st.coveredColumns[c] && st.d(r, c) < h) {
                    h = st.d(r, c);
                }
            }
        }
    }
    for (int r = 0; r < st.nRows; ++r) {
        if (st.coveredRows[r]) {
            for (int c = 0; c < st.nCols; ++c) {
                st.d(r, c) += h;
            }
        }
    }
    for (int c = 0; c < st.nCols; ++c) {
        if (!st.coveredColumns[c]) {
            for (int r = 0; r < st.nRows; ++r) {
                st.d(r, c) -= h;
            }
        }
    }
    step3(st);
}

}  // namespace

Result solveByMunkresSteps(std::vector<std::vector<double>> const& matrix) {
    State st;
    st.nRows = static_cast<int>(matrix.size());
    st.nCols = static_cast<int>(matrix.front().size());
    std::vector<double> in(static_cast<std::size_t>(st.nRows) * st.nCols);
    Result result;
    for (int r = 0; r < st.nRows; ++r) {
        for (int c = 0; c < st.nCols; ++c) {
            in[r + st.nRows * c] = matrix[r][c];
        }
    }
    st.assignment.assign(st.nRows, -1);
    st.dist = in;
    for (double v : in) {
        if (v < 0) {
            ++result.negativeElements;
        }
    }
    st.star.assign(in.size(), 0);
    st.prime.assign(in.size(), 0);
    st.newStar.assign(in.size(), 0);
    st.coveredColumns.assign(st.nCols, 0);
    st.coveredRows.assign(st.nRows, 0);

    if (st.nRows <= st.nCols) {
        st.minDim = st.nRows;
        for (int r = 0; r < st.nRows; ++r) {
            double minValue = st.d(r, 0);
            for (int c = 1; c < st.nCols; ++c) {
                if (st.d(r, c) < minValue) {
                    minValue = st.d(r, c);
                }
            }
            for (int c = 0; c < st.nCols; ++c) {
                st.d(r, c) -= minValue;
            }
        }
        for (int r = 0; r < st.nRows; ++r) {
            for (int c = 0; c < st.nCols; ++c) {
                if (std::fabs(st.d(r, c)) < DBL_EPSILON && !st.coveredColumns[c]) {
                    st.s(r, c) = 1;
                    st.coveredColumns[c] = 1;
                    break;
                }
            }
        }
    } else {
        st.minDim = st.nCols;
        for (int c = 0; c < st.nCols; ++c) {
            double minValue = st.d(0, c);
            for (int r = 1; r < st.nRows; ++r) {
                if (st.d(r, c) < minValue) {
                    minValue = st.d(r, c);
                }
            }
            for (int r = 0; r < st.nRows; ++r) {
                st.d(r, c) -= minValue;
            }
        }
        for (int c = 0; c < st.nCols; ++c) {
            for (int r = 0; r < st.nRows; ++r) {
                if (std::fabs(st.d(r, c)) < DBL_EPSILON && !st.coveredRows[r]) {
                    st.s(r, c) = 1;
                    st.coveredColumns[c] = 1;
                    st.coveredRows[r] = 1;
                    break;
                }
            }
        }
        std::fill(st.coveredRows.begin(), st.coveredRows.end(), 0);
    }
    step2b(st);

    result.assignment = st.assignment;
    for (int r = 0; r < st.nRows; ++r) {
        if (st.assignment[r] >= 0) {
            result.cost += in[r + st.nRows * st.assignment[r]];
        }
    }
    result.matrixAdjustments = st.adjustments;
    return result;
}

}  // namespace ReferenceMunkres
