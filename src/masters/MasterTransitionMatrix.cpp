#include "MasterTransitionMatrix.h"

namespace Kestrel::masters {

std::vector<std::vector<double>> buildMasterTransitionMatrix(std::size_t n) {
    std::vector<std::vector<double>> matrix(n + 1);
    matrix[0].assign(n, 1.0 / static_cast<double>(n));
    double const other = 1.0 / static_cast<double>(n - 1);
    for (std::size_t i = 1; i <= n; ++i) {
        matrix[i].assign(n, other);
        matrix[i][i - 1] = 0.0;
    }
    return matrix;
}

}  // namespace Kestrel::masters
