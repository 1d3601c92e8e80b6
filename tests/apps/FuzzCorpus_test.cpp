// Replays the fuzzing corpus (fuzz/corpus/<target>) and the inputs that once found bugs
// (fuzz/regressions/<target>) through the same entry points the libFuzzer harnesses call: every input
// must be accepted or rejected with an input error, nothing else.
#include "FuzzTargets.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <fstream>
#include <iterator>

namespace {

std::vector<std::string> filesIn(std::string const& folder) {
    std::vector<std::string> files;
    if (DIR* dir = ::opendir(folder.c_str())) {
        while (dirent const* entry = ::readdir(dir)) {
            std::string const name = entry->d_name;
            if (name != "." && name != ".." && name != "README.md") {
                files.push_back(folder + "/" + name);
            }
        }
        ::closedir(dir);
    }
    return files;
}

std::string contentOf(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class FuzzCorpus : public ::testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(FuzzCorpus, EveryInputIsAcceptedOrRejectedCleanly) {
    std::vector<std::string> files = filesIn(std::string(KTX_FUZZ_DIR) + "/corpus/" + GetParam());
    std::vector<std::string> const regressions =
        filesIn(std::string(KTX_FUZZ_DIR) + "/regressions/" + GetParam());
    files.insert(files.end(), regressions.begin(), regressions.end());
    int accepted = 0;
    for (std::string const& file : files) {
        SCOPED_TRACE(file);
        EXPECT_NO_THROW(accepted += ktx::runFuzzTarget(GetParam(), contentOf(file)) ? 1 : 0);
    }
    EXPECT_GE(accepted, 1);  // the seeds include the valid example inputs
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzCorpus, ::testing::ValuesIn(ktx::fuzzTargetNames()),
                         [](auto const& info) { return info.param; });

TEST(FuzzTargets, UnknownTargetIsRejected) {
    EXPECT_THROW(ktx::runFuzzTarget("nothing", "{}"), std::invalid_argument);
}
