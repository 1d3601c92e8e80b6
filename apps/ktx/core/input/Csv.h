// Numeric tables as CSV: reading a matrix as a spreadsheet exports it.
//
// Reading: cells are separated by commas, semicolons or tabs (the first separator found in the first
// data row is used throughout); blank lines and lines starting with '#' are skipped; a cell may be quoted
// and may carry surrounding spaces; line ends may be "\n" or "\r\n". Every cell must be a finite number
// unless the caller accepts infinities.
#pragma once

#include <string>
#include <vector>

namespace ktx {

// Whether cells may hold an infinity ("inf", "-inf", "Infinity", any case) where a matrix gives it a meaning.
enum class CsvInfinity { Rejected, Accepted };

// Throws InputError "line:column: <reason>" for a cell that is not a finite number (NaN always; infinities
// unless accepted), and "line:column: row has N cells, expected M" for ragged rows. An input without rows
// gives an empty matrix.
std::vector<std::vector<double>> parseCsvMatrix(std::string const& text,
                                                CsvInfinity infinity = CsvInfinity::Rejected);

}  // namespace ktx
