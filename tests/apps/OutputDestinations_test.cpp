// Where ktx writes: a standard output that does not take the result is a failure (exit status 1), devices
// and FIFOs named by -o are written in place and never replaced, symbolic links are followed (a link to
// nothing is refused), and -o and --svg may not name the same destination.
#include "KtxRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <algorithm>

using ktx::testing::examplePath;
using ktx::testing::folderEntries;
using ktx::testing::KtxRun;
using ktx::testing::readFile;
using ktx::testing::runKtx;
using ktx::testing::runKtxWithOutput;
using ktx::testing::ScratchFolder;
using ktx::testing::writeFile;
using ::testing::HasSubstr;

namespace {

struct ExampleRun {
    std::string command;
    std::string example;
};

std::ostream& operator<<(std::ostream& out, ExampleRun const& run) {
    return out << run.command;
}

class FullStandardOutput : public ::testing::TestWithParam<ExampleRun> {};

mode_t typeOf(std::string const& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & S_IFMT;
}

std::vector<std::string> sortedEntries(std::string const& folder) {
    std::vector<std::string> entries = folderEntries(folder);
    std::sort(entries.begin(), entries.end());
    return entries;
}

}  // namespace

TEST_P(FullStandardOutput, FailsWithExitStatusOneAndSaysSo) {
    KtxRun const run = runKtxWithOutput({GetParam().command, examplePath(GetParam().example)}, "> /dev/full");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("ktx " + GetParam().command + ": cannot write to standard output: "));
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, FullStandardOutput,
                         ::testing::Values(ExampleRun{"group", "group.json"},
                                           ExampleRun{"curvature", "curvature.json"},
                                           ExampleRun{"masters", "masters.json"},
                                           ExampleRun{"assign", "assign.csv"}, ExampleRun{"lhs", "lhs.json"},
                                           ExampleRun{"sample2d", "sample2d.json"},
                                           ExampleRun{"anneal", "anneal.json"}),
                         [](auto const& info) { return info.param.command; });

TEST(KtxStandardOutput, DemoSummaryToAFullStandardOutputFails) {
    ScratchFolder const folder;
    KtxRun const run = runKtxWithOutput({"demo", "--dir", folder.path("pictures")}, "> /dev/full");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("ktx demo: cannot write to standard output"));
}

TEST(KtxStandardOutput, ClosedStandardOutputFails) {
    KtxRun const run = runKtxWithOutput({"group", examplePath("group.json")}, ">&-");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("ktx group: cannot write to standard output: "));
}

TEST(KtxStandardOutput, HelpToAFullStandardOutputFails) {
    KtxRun const run = runKtxWithOutput({"group", "--help"}, "> /dev/full");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("cannot write to standard output"));
}

TEST(KtxOutputDestination, CharacterDevicesAreWrittenInPlaceAndKept) {
    ScratchFolder const folder;
    std::string const null = folder.path("null");
    std::string const full = folder.path("full");
    if (::mknod(null.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0 ||
        ::mknod(full.c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0) {
        GTEST_SKIP() << "device nodes cannot be made here";
    }
    KtxRun const quiet = runKtx({"group", examplePath("group.json"), "-o", null});
    EXPECT_EQ(quiet.status, 0) << quiet.err;
    EXPECT_EQ(quiet.out, "");
    KtxRun const refused = runKtx({"group", examplePath("group.json"), "-o", full});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("cannot write output file '" + full + "': No space left on device"));
    EXPECT_EQ(typeOf(null), static_cast<mode_t>(S_IFCHR));
    EXPECT_EQ(typeOf(full), static_cast<mode_t>(S_IFCHR));
    EXPECT_EQ(sortedEntries(folder.path()), (std::vector<std::string>{"full", "null"}));
}

TEST(KtxOutputDestination, AFifoIsWrittenInPlace) {
    ScratchFolder const folder;
    std::string const fifo = folder.path("pipe");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // A reader that is open before ktx starts lets ktx open the FIFO; the small result fits its buffer.
    int const reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    KtxRun const run = runKtx({"group", examplePath("group.json"), "-o", fifo});
    std::string received;
    char buffer[4096];
    for (ssize_t n = ::read(reader, buffer, sizeof buffer); n > 0;
         n = ::read(reader, buffer, sizeof buffer)) {
        received.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(reader);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(received, runKtx({"group", examplePath("group.json")}).out);
    EXPECT_EQ(typeOf(fifo), static_cast<mode_t>(S_IFIFO));
    EXPECT_EQ(sortedEntries(folder.path()), (std::vector<std::string>{"pipe"}));
}

TEST(KtxOutputDestination, ASymbolicLinkIsFollowedAndKept) {
    ScratchFolder const folder;
    ASSERT_EQ(::mkdir(folder.path("target").c_str(), 0700), 0);
    writeFile(folder.path("target/result.json"), "old\n");
    ASSERT_EQ(::symlink("target/result.json", folder.path("link.json").c_str()), 0);
    KtxRun const run = runKtx({"group", examplePath("group.json"), "-o", folder.path("link.json")});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(typeOf(folder.path("link.json")), static_cast<mode_t>(S_IFLNK));
    EXPECT_EQ(readFile(folder.path("target/result.json")), runKtx({"group", examplePath("group.json")}).out);
    EXPECT_EQ(sortedEntries(folder.path()), (std::vector<std::string>{"link.json", "target"}));
    EXPECT_EQ(sortedEntries(folder.path("target")), (std::vector<std::string>{"result.json"}));
}

TEST(KtxOutputDestination, ASymbolicLinkToNothingIsRefused) {
    ScratchFolder const folder;
    ASSERT_EQ(::symlink("missing/result.json", folder.path("link.json").c_str()), 0);
    KtxRun const run = runKtx({"group", examplePath("group.json"), "-o", folder.path("link.json")});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("'" + folder.path("link.json") + "': it is a symbolic link to nothing"));
    EXPECT_EQ(typeOf(folder.path("link.json")), static_cast<mode_t>(S_IFLNK));
    EXPECT_EQ(sortedEntries(folder.path()), (std::vector<std::string>{"link.json"}));
}

TEST(KtxOutputDestination, OutputAndPictureMayNotNameTheSameFile) {
    ScratchFolder const folder;
    KtxRun const same =
        runKtx({"group", examplePath("group.json"), "-o", folder.path("x"), "--svg", folder.path("x")});
    EXPECT_EQ(same.status, 2);
    EXPECT_THAT(same.err, HasSubstr("-o/--output and --svg name the same destination"));
    KtxRun const spelledTwoWays = runKtx(
        {"curvature", examplePath("curvature.json"), "-o", folder.path("./x"), "--svg", folder.path("x")});
    EXPECT_EQ(spelledTwoWays.status, 2);
    KtxRun const bothStandardOutput = runKtx({"group", examplePath("group.json"), "--svg", "-"});
    EXPECT_EQ(bothStandardOutput.status, 2);
    EXPECT_EQ(bothStandardOutput.out, "");
    EXPECT_TRUE(folderEntries(folder.path()).empty());
}
