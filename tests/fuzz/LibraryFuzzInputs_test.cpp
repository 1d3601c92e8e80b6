// Replays the library harness's committed inputs (fuzz/corpus/library, fuzz/regressions/library) and a
// seeded sweep of random inputs through the library's entry points: every input must give a result or a
// documented refusal, never another exception (under the sanitizer build: never a memory error).
#include "LibraryInputs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <system_error>
#include <vector>

namespace {

// Every file of `folder` (none when it does not exist), in name order.
std::vector<std::string> filesIn(std::string const& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (auto const& entry : std::filesystem::directory_iterator(folder, error)) {
        files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::uint8_t> contentOf(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool run(std::vector<std::uint8_t> const& input) {
    return KestrelFuzz::runLibraryInput(input.data(), input.size());
}

TEST(LibraryFuzzInputs, CommittedInputsGiveAResultOrADocumentedRefusal) {
    std::vector<std::string> files = filesIn(std::string(KESTREL_FUZZ_DIR) + "/corpus/library");
    std::vector<std::string> const regressions =
        filesIn(std::string(KESTREL_FUZZ_DIR) + "/regressions/library");
    files.insert(files.end(), regressions.begin(), regressions.end());
    ASSERT_FALSE(files.empty());
    int accepted = 0;
    int refused = 0;
    for (std::string const& file : files) {
        SCOPED_TRACE(file);
        bool result = false;
        EXPECT_NO_THROW(result = run(contentOf(file)));
        (result ? accepted : refused) += 1;
    }
    EXPECT_GE(accepted, 1);
    EXPECT_GE(refused, 1);
}

TEST(LibraryFuzzInputs, SeededRandomInputsGiveAResultOrADocumentedRefusal) {
    std::mt19937 engine(16);
    int accepted = 0;
    int refused = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        std::vector<std::uint8_t> input(static_cast<std::size_t>(engine() % 80));
        for (std::uint8_t& byte : input) {
            byte = static_cast<std::uint8_t>(engine());
        }
        SCOPED_TRACE(trial);
        bool result = false;
        EXPECT_NO_THROW(result = run(input));
        (result ? accepted : refused) += 1;
    }
    EXPECT_GE(accepted, 100);
    EXPECT_GE(refused, 100);
}

}  // namespace
