#include "input/Csv.h"

#include "input/InputError.h"

#include <cmath>
#include <cstdlib>

namespace ktx {

namespace {

struct Cell {
    std::string text;
    std::size_t column;  // 1-based column of the cell's first character
};

[[noreturn]] void failAt(std::size_t line, std::size_t column, std::string const& message) {
    throw InputError(std::to_string(line) + ":" + std::to_string(column) + ": " + message);
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// Splits one line at `separator`; a cell in double quotes may contain the separator ("" is a quote).
std::vector<Cell> splitLine(std::string const& line, char separator, std::size_t lineNumber) {
    std::vector<Cell> cells;
    std::size_t i = 0;
    while (true) {
        while (i < line.size() && line[i] != separator && isBlank(line[i]) && line[i] != separator) {
            ++i;
        }
        Cell cell{{}, i + 1};
        if (i < line.size() && line[i] == '"') {
            ++i;
            while (true) {
                if (i >= line.size()) {
                    failAt(lineNumber, cell.column, "unterminated quoted cell");
                }
                if (line[i] == '"') {
                    if (i + 1 < line.size() && line[i + 1] == '"') {
                        cell.text += '"';
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                cell.text += line[i++];
            }
            while (i < line.size() && line[i] != separator && isBlank(line[i])) {
                ++i;
            }
            if (i < line.size() && line[i] != separator) {
                failAt(lineNumber, i + 1, "unexpected text after a quoted cell");
            }
        } else {
            while (i < line.size() && line[i] != separator) {
                cell.text += line[i++];
            }
            while (!cell.text.empty() && isBlank(cell.text.back())) {
                cell.text.pop_back();
            }
        }
        cells.push_back(std::move(cell));
        if (i >= line.size()) {
            break;
        }
        ++i;  // the separator
    }
    return cells;
}

double parseCell(Cell const& cell, std::size_t lineNumber, CsvInfinity infinity) {
    std::string text = cell.text;
    std::size_t start = 0;
    while (start < text.size() && isBlank(text[start])) {
        ++start;
    }
    text = text.substr(start);
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    if (text.empty()) {
        failAt(lineNumber, cell.column, "empty cell, expected a number");
    }
    char const* begin = text.c_str();
    char* end = nullptr;
    double const value = std::strtod(begin, &end);
    bool const isNumber =
        end == begin + text.size() && end != begin && text.find_first_of("xXpP") == std::string::npos;
    if (!isNumber) {
        failAt(lineNumber, cell.column, "'" + excerpt(text) + "' is not a number");
    }
    if (std::isnan(value) || (std::isinf(value) && infinity == CsvInfinity::Rejected)) {
        failAt(lineNumber, cell.column, "'" + excerpt(text) + "' is not a finite number");
    }
    return value;
}

}  // namespace

std::vector<std::vector<double>> parseCsvMatrix(std::string const& text, CsvInfinity infinity) {
    std::vector<std::vector<double>> rows;
    char separator = 0;
    std::size_t lineNumber = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        std::size_t const end = text.find('\n', position);
        std::string line =
            text.substr(position, end == std::string::npos ? std::string::npos : end - position);
        position = end == std::string::npos ? text.size() : end + 1;
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        std::size_t first = 0;
        while (first < line.size() && isBlank(line[first])) {
            ++first;
        }
        if (first == line.size() || line[first] == '#') {
            continue;
        }
        if (separator == 0) {
            auto const found = line.find_first_of(",;\t");
            separator = found == std::string::npos ? ',' : line[found];
        }
        std::vector<Cell> const cells = splitLine(line, separator, lineNumber);
        if (!rows.empty() && cells.size() != rows.front().size()) {
            failAt(lineNumber, 1,
                   "row has " + std::to_string(cells.size()) + " cells, expected " +
                       std::to_string(rows.front().size()) + " like the first row");
        }
        std::vector<double> row;
        row.reserve(cells.size());
        for (Cell const& cell : cells) {
            row.push_back(parseCell(cell, lineNumber, infinity));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace ktx
