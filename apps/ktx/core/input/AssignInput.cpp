#include "input/AssignInput.h"

#include "input/Csv.h"
#include "input/JsonInput.h"
#include "input/Validation.h"
#include "output/NumberFormat.h"

namespace ktx {

namespace {

bool looksLikeJson(std::string const& text) {
    auto const first = text.find_first_not_of(" \t\r\n");
    return first != std::string::npos && (text[first] == '{' || text[first] == '[');
}

std::vector<std::vector<double>> readJsonMatrix(std::string const& text) {
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
        matrix.push_back(toNumbers((*rows)[r], path + "[" + std::to_string(r) + "]"));
    }
    return matrix;
}

}  // namespace

std::vector<std::vector<double>> parseAssignInput(std::string const& text) {
    bool const json = looksLikeJson(text);
    std::vector<std::vector<double>> matrix = json ? readJsonMatrix(text) : parseCsvMatrix(text);
    std::string const field = json ? "costs" : "cost matrix";
    requireNonEmpty(matrix.size(), field);
    for (std::size_t r = 0; r < matrix.size(); ++r) {
        std::string const row = field + "[" + std::to_string(r) + "]";
        requireNonEmpty(matrix[r].size(), row);
        if (matrix[r].size() != matrix.front().size()) {
            failField(row, "has " + std::to_string(matrix[r].size()) + " columns but row 0 has " +
                               std::to_string(matrix.front().size()));
        }
        for (std::size_t c = 0; c < matrix[r].size(); ++c) {
            if (matrix[r][c] < 0.0) {
                failField(row + "[" + std::to_string(c) + "]",
                          "costs must not be negative, got " + formatNumber(matrix[r][c]) +
                              " (add a constant to every cost to shift the matrix)");
            }
        }
    }
    return matrix;
}

}  // namespace ktx
