// Input of `ktx lhs`: discrete factors with their candidates, and the order in which they are combined.
//
//   {"factors": [{"name": "thickness", "candidates": [0.8, 1.0, 1.2]},
//                {"name": "friction", "candidates": [0.08, 0.10, 0.12, 0.15]}],
//    "order": [0, 1]}
//
// A candidate is a number or an array of numbers (all candidates of one factor have the same length).
// "name" is optional ("factor<i>" by default). "order" lists factor indices (a factor may appear twice)
// and defaults to every factor once. The population size is the candidate count of the first factor in
// "order"; every factor in "order" must have at least that many candidates.
#pragma once

#include <string>
#include <vector>

namespace ktx {

struct LhsFactor {
    std::string name;
    std::vector<std::vector<double>> candidates;
};

struct LhsInput {
    std::vector<LhsFactor> factors;
    std::vector<int> order;
};

LhsInput parseLhsInput(std::string const& text);

// Column names of the population: the factor's name, or name[i] for candidates with several coordinates.
std::vector<std::string> lhsColumnNames(LhsInput const& input);

}  // namespace ktx
