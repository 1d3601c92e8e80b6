// Runs one fuzzing input through the library's own entry points (not the ktx readers): the bytes choose
// an entry point and build its arguments with small sizes, arbitrary indices and numbers that include NaN,
// infinities, negative values, zeros and values whose sums overflow. Shared by the libFuzzer harness
// (fuzz/LibraryFuzzHarness.cpp) and the test that replays the committed corpus.
#pragma once

#include <cstddef>
#include <cstdint>

namespace KestrelFuzz {

// Every input must end in a result or in one of the documented refusals (std::invalid_argument, the
// std::logic_error of a thermal bath asked before init(), the std::runtime_error of an integration that
// makes no progress). Anything else, a node number outside the matrix reaching an objective included,
// escapes as an exception that is not a std::exception, so the fuzzer reports it. Returns true when the
// entry point accepted the input, false when it refused it.
bool runLibraryInput(std::uint8_t const* data, std::size_t size);

}  // namespace KestrelFuzz
