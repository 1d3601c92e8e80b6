// libFuzzer entry point for one ktx input reader, chosen at compile time by KTX_FUZZ_TARGET.
#include "FuzzTargets.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    ktx::runFuzzTarget(KTX_FUZZ_TARGET, std::string(reinterpret_cast<char const*>(data), size));
    return 0;
}
