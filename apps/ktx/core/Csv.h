// Numeric tables as CSV: reading a matrix (as a spreadsheet exports it) and writing rows of numbers.
//
// Reading: cells are separated by commas, semicolons or tabs (the first separator found in the first
// data row is used throughout); blank lines and lines starting with '#' are skipped; a cell may be quoted
// and may carry surrounding spaces; line ends may be "\n" or "\r\n". Every cell must be a finite number.
#pragma once

#include <string>
#include <vector>

namespace ktx {

// Throws InputError "line:column: <reason>" for a cell that is not a finite number, and
// "line:column: row has N cells, expected M" for ragged rows. An input without rows gives an empty matrix.
std::vector<std::vector<double>> parseCsvMatrix(std::string const& text);

// Shortest text that reads back as exactly the same double ("0.1", "1e-300", "nan", "inf").
std::string formatNumber(double value);

// One CSV line (without the line end) of the given numbers.
std::string formatCsvRow(std::vector<double> const& row);

}  // namespace ktx
