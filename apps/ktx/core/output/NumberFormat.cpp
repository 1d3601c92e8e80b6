#include "output/NumberFormat.h"

#include <charconv>
#include <cmath>

namespace ktx {

std::string formatNumber(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value > 0 ? "inf" : "-inf";
    }
    char buffer[32];
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string formatCsvRow(std::vector<double> const& row) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (i > 0) {
            line += ',';
        }
        line += formatNumber(row[i]);
    }
    return line;
}

}  // namespace ktx
