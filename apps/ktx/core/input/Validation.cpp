#include "input/Validation.h"

#include "input/JsonInput.h"
#include "output/NumberFormat.h"

#include <algorithm>
#include <cmath>

namespace ktx {

namespace {

std::string at(std::string const& field, std::size_t index) {
    return field + "[" + std::to_string(index) + "]";
}

}  // namespace

void requireNonEmpty(std::size_t count, std::string const& field) {
    if (count == 0) {
        failField(field, "must not be empty");
    }
}

void requireSameCount(std::size_t count, std::string const& field, std::size_t expected,
                      std::string const& reference) {
    if (count != expected) {
        failField(field, "has " + std::to_string(count) + " entries but '" + reference + "' has " +
                             std::to_string(expected));
    }
}

void requirePositive(std::vector<double> const& numbers, std::string const& field) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!(numbers[i] > 0.0)) {
            failField(at(field, i), "must be positive, got " + formatNumber(numbers[i]));
        }
    }
}

void requireNonNegative(std::vector<double> const& numbers, std::string const& field) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!(numbers[i] >= 0.0)) {
            failField(at(field, i), "must not be negative, got " + formatNumber(numbers[i]));
        }
    }
}

void requireFiniteSum(std::vector<double> const& numbers, std::string const& field) {
    double sum = 0.0;
    for (double const number : numbers) {
        sum += number;
    }
    if (!std::isfinite(sum)) {
        failField(field, "the sum is " + formatNumber(sum) + " in double precision; scale the numbers down");
    }
}

void requireFiniteSpread(std::vector<double> const& numbers, std::string const& field, bool squared) {
    if (numbers.empty()) {
        return;
    }
    auto const [low, high] = std::minmax_element(numbers.begin(), numbers.end());
    double const spread = *high - *low;
    if (!std::isfinite(squared ? spread * spread : spread)) {
        failField(field, "the numbers are too far apart (from " + formatNumber(*low) + " to " +
                             formatNumber(*high) + ") to measure their " + (squared ? "variance" : "range") +
                             " in double precision; scale them down");
    }
}

void requireInRange(long long value, long long low, long long high, std::string const& field) {
    if (value < low || value > high) {
        failField(field, "must be between " + std::to_string(low) + " and " + std::to_string(high) +
                             ", got " + std::to_string(value));
    }
}

void requireStrictlyAscending(std::vector<int> const& numbers, std::string const& field) {
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        if (numbers[i] <= numbers[i - 1]) {
            failField(at(field, i), "must be greater than the previous entry (" +
                                        std::to_string(numbers[i - 1]) + "), got " +
                                        std::to_string(numbers[i]));
        }
    }
}

}  // namespace ktx
