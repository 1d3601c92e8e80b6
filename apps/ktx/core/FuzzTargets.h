// The input readers of every subcommand as fuzzing targets. A target parses and validates one input; an
// InputError is the expected answer to bad input and is swallowed, while any other exception, a crash, a
// hang or a sanitizer report is a defect. The libFuzzer harnesses (fuzz/) and the corpus replay test call
// these functions, so what the fuzzer found stays tested in the normal build. Accepted inputs are also
// drawn by the picture writers.
#pragma once

#include <string>
#include <vector>

namespace ktx {

// "group", "curvature", "masters", "assign", "lhs", "sample2d", "anneal".
std::vector<std::string> const& fuzzTargetNames();

// Returns true when the input was accepted, false when it was rejected with an InputError. Throws
// std::invalid_argument for an unknown target; lets every other exception through.
bool runFuzzTarget(std::string const& target, std::string const& input);

}  // namespace ktx
