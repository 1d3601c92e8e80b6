// Checks shared by the input readers; each throws InputError naming the field.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ktx {

// "field 'values': must not be empty"
void requireNonEmpty(std::size_t count, std::string const& field);

// "field 'lengths': has 29 entries but 'values' has 30"
void requireSameCount(std::size_t count, std::string const& field, std::size_t expected,
                      std::string const& reference);

// "field 'lengths[3]': must be positive, got 0"
void requirePositive(std::vector<double> const& numbers, std::string const& field);
void requireNonNegative(std::vector<double> const& numbers, std::string const& field);

// "field 'lengths': the sum is inf in double precision; scale the numbers down" (summed in order)
void requireFiniteSum(std::vector<double> const& numbers, std::string const& field);

// "field 'values': the spread 2e308 ...": the largest minus the smallest number, and with `squared` its
// square, must be finite.
void requireFiniteSpread(std::vector<double> const& numbers, std::string const& field, bool squared);

// "field 'masters': must be between 1 and 30, got 31"
void requireInRange(long long value, long long low, long long high, std::string const& field);

// "field 'masterIndices[2]': must be greater than the previous entry (4), got 4"
void requireStrictlyAscending(std::vector<int> const& numbers, std::string const& field);

}  // namespace ktx
