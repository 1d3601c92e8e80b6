#include "output/OutputFiles.h"
#include "input/InputError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

using ::testing::HasSubstr;

namespace {

class OutputFilesTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = "/tmp/ktx-output-test-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { std::system(("rm -rf '" + folder_ + "'").c_str()); }

    std::string path(std::string const& name) const { return folder_ + "/" + name; }

    std::vector<std::string> entries() const {
        std::vector<std::string> names;
        DIR* dir = ::opendir(folder_.c_str());
        while (dirent const* entry = ::readdir(dir)) {
            std::string const name = entry->d_name;
            if (name != "." && name != "..") {
                names.push_back(name);
            }
        }
        ::closedir(dir);
        std::sort(names.begin(), names.end());
        return names;
    }

    static std::string read(std::string const& file) {
        std::ifstream in(file);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    std::string folder_;
};

}  // namespace

TEST_F(OutputFilesTest, WritesEveryFileCompletelyAndLeavesNoTemporaryFile) {
    ktx::OutputFiles outputs;
    outputs.add(path("a.json"), "{}\n");
    outputs.add(path("b.svg"), std::string(100000, 'x'));
    outputs.commit();
    EXPECT_EQ(read(path("a.json")), "{}\n");
    EXPECT_EQ(read(path("b.svg")).size(), 100000u);
    EXPECT_EQ(entries(), (std::vector<std::string>{"a.json", "b.svg"}));
}

TEST_F(OutputFilesTest, ReplacesAnExistingFile) {
    std::ofstream(path("a.json")) << "old content that is longer than the new one\n";
    ktx::OutputFiles outputs;
    outputs.add(path("a.json"), "new\n");
    outputs.commit();
    EXPECT_EQ(read(path("a.json")), "new\n");
}

TEST_F(OutputFilesTest, WhenOneFileCannotBeWrittenNoneAppears) {
    ktx::OutputFiles outputs;
    outputs.add(path("a.json"), "{}\n");
    outputs.add(path("missing/b.svg"), "<svg/>\n");
    EXPECT_THROW(outputs.commit(), ktx::InputError);
    EXPECT_TRUE(entries().empty());
}

TEST_F(OutputFilesTest, CheckWritableRejectsFoldersAndMissingFolders) {
    try {
        ktx::OutputFiles::checkWritable(folder_);
        FAIL() << "a folder was accepted";
    } catch (ktx::InputError const& error) {
        EXPECT_THAT(error.what(), HasSubstr("it is a directory"));
    }
    EXPECT_THROW(ktx::OutputFiles::checkWritable(path("no/such/file")), ktx::InputError);
    EXPECT_THROW(ktx::OutputFiles::checkWritable(path("trailing/")), ktx::InputError);
    EXPECT_NO_THROW(ktx::OutputFiles::checkWritable(path("new.json")));
    EXPECT_NO_THROW(ktx::OutputFiles::checkWritable("-"));
}

TEST_F(OutputFilesTest, NewFilesGetTheUsualPermissions) {
    ::umask(022);
    ktx::OutputFiles outputs;
    outputs.add(path("a.json"), "{}\n");
    outputs.commit();
    struct stat status {};
    ASSERT_EQ(::stat(path("a.json").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(OutputFilesTest, TheSameDestinationNamedTwiceIsRefusedAndNothingIsWritten) {
    ktx::OutputFiles outputs;
    outputs.add(path("a.json"), "{}\n");
    outputs.add(folder_ + "/./a.json", "<svg/>\n");
    try {
        outputs.commit();
        FAIL() << "the same file was accepted twice";
    } catch (ktx::InputError const& error) {
        EXPECT_THAT(error.what(), HasSubstr("is named twice"));
    }
    EXPECT_TRUE(entries().empty());
}

TEST_F(OutputFilesTest, SameDestinationResolvesLinksAndFolders) {
    std::ofstream(path("target.json")) << "x\n";
    ASSERT_EQ(::symlink("target.json", path("link.json").c_str()), 0);
    EXPECT_TRUE(ktx::OutputFiles::sameDestination(path("link.json"), path("target.json")));
    EXPECT_TRUE(ktx::OutputFiles::sameDestination(
        path("new.json"), folder_ + "/../" + folder_.substr(folder_.rfind('/') + 1) + "/new.json"));
    EXPECT_FALSE(ktx::OutputFiles::sameDestination(path("new.json"), path("other.json")));
    EXPECT_TRUE(ktx::OutputFiles::sameDestination("-", "-"));
    EXPECT_FALSE(ktx::OutputFiles::sameDestination("-", path("new.json")));
}

TEST_F(OutputFilesTest, ALinkIsFollowedAndALinkToNothingRefused) {
    std::ofstream(path("target.json")) << "old\n";
    ASSERT_EQ(::symlink("target.json", path("link.json").c_str()), 0);
    ASSERT_EQ(::symlink("missing.json", path("dangling.json").c_str()), 0);
    ktx::OutputFiles outputs;
    outputs.add(path("link.json"), "new\n");
    outputs.commit();
    EXPECT_EQ(read(path("target.json")), "new\n");
    struct stat status {};
    ASSERT_EQ(::lstat(path("link.json").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
    EXPECT_THROW(ktx::OutputFiles::checkWritable(path("dangling.json")), ktx::InputError);
    EXPECT_EQ(entries(), (std::vector<std::string>{"dangling.json", "link.json", "target.json"}));
}
