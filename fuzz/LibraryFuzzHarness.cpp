// libFuzzer entry point for the library's own entry points (optimiser, grouper, curvature, master count,
// toy model and master search, annealing framework and components, 2-D sampler).
#include "LibraryInputs.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    KestrelFuzz::runLibraryInput(data, size);
    return 0;
}
