#include "input/AssignInput.h"

#include "input/Csv.h"
#include "input/JsonInput.h"
#include "output/NumberFormat.h"

#include <cmath>
#include <limits>

namespace ktx {

namespace {

bool looksLikeJson(std::string const& text) {
    auto const first = text.find_first_not_of(" \t\r\n");
    return first != std::string::npos && (text[first] == '{' || text[first] == '[');
}

double forbiddenValue(AssignGoal goal) {
    double const infinity = std::numeric_limits<double>::infinity();
    return goal == AssignGoal::Minimize ? infinity : -infinity;
}

std::vector<std::vector<double>> readJsonMatrix(std::string const& text, AssignGoal goal) {
    nlohmann::json const document = parseJson(text);
    std::string path = "costs";
    nlohmann::json const* rows = &document;
    if (document.is_object()) {
        JsonObjectReader reader(document, "");
        rows = &reader.value("costs");
        reader.finish();
    } else {
        path = "(document)";
    }
    toArray(*rows, path);
    std::vector<std::vector<double>> matrix;
    for (std::size_t r = 0; r < rows->size(); ++r) {
        std::string const rowPath = path + "[" + std::to_string(r) + "]";
        nlohmann::json const& row = (*rows)[r];
        toArray(row, rowPath);
        std::vector<double> values;
        values.reserve(row.size());
        for (std::size_t c = 0; c < row.size(); ++c) {
            values.push_back(row[c].is_null() ? forbiddenValue(goal)
                                              : toNumber(row[c], rowPath + "[" + std::to_string(c) + "]"));
        }
        matrix.push_back(std::move(values));
    }
    return matrix;
}

// Infinities of the other sign than a forbidden pair, and negative costs when minimising, are refused.
void checkCost(double value, AssignGoal goal, std::string const& field) {
    if (goal == AssignGoal::Minimize) {
        if (value == -std::numeric_limits<double>::infinity()) {
            failField(field, "-inf is not a cost; a forbidden pair is inf when minimising");
        }
        if (value < 0.0) {
            failField(field, "costs must not be negative, got " + formatNumber(value) +
                                 " (add a constant to every cost to shift the matrix, or use --maximize)");
        }
    } else if (value == std::numeric_limits<double>::infinity()) {
        failField(field, "inf is not a profit; a forbidden pair is -inf when maximising");
    }
}

}  // namespace

std::vector<std::vector<double>> parseAssignInput(std::string const& text, AssignGoal goal) {
    bool const json = looksLikeJson(text);
    std::vector<std::vector<double>> matrix =
        json ? readJsonMatrix(text, goal) : parseCsvMatrix(text, CsvInfinity::Accepted);
    std::string const field = json ? "costs" : "cost matrix";
    for (std::size_t r = 0; r < matrix.size(); ++r) {
        std::string const row = field + "[" + std::to_string(r) + "]";
        if (matrix[r].size() != matrix.front().size()) {
            failField(row, "has " + std::to_string(matrix[r].size()) + " columns but row 0 has " +
                               std::to_string(matrix.front().size()));
        }
        for (std::size_t c = 0; c < matrix[r].size(); ++c) {
            checkCost(matrix[r][c], goal, row + "[" + std::to_string(c) + "]");
        }
    }
    return matrix;
}

}  // namespace ktx
