// Numbers as the tool writes them: the shortest text that reads back as exactly the same double, alone or
// as one CSV row. Every number the tool prints in CSV, in error messages and in pictures goes through here,
// so a value written by one command reads back unchanged in the next.
#pragma once

#include <string>
#include <vector>

namespace ktx {

// Shortest text that reads back as exactly the same double ("0.1", "1e-300", "nan", "inf").
std::string formatNumber(double value);

// One CSV line (without the line end) of the given numbers, separated by commas.
std::string formatCsvRow(std::vector<double> const& row);

}  // namespace ktx
