// The parallel loops: every index once, the exception of the first failure in serial order on the
// calling thread, reports in increasing order on the calling thread.
#include "ParallelFor.h"
#include "common/ThreadCount.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Kestrel::common::forEachBlock;
using Kestrel::common::forEachIndex;
using Kestrel::common::forEachTaskReportingInOrder;

using Kestrel::test::ThreadCount;

template <class Loop>
std::string firstFailure(Loop&& loop) {
    try {
        loop();
    } catch (std::exception const& caught) {
        return caught.what();
    }
    return "no exception";
}

TEST(ParallelFor, EveryIndexIsVisitedOnceOnEveryNumberOfThreads) {
    for (int const threads : {1, 2, 3, 8}) {
        for (std::ptrdiff_t const count : {0, 1, 2, 5, 1000}) {
            std::vector<std::atomic<int>> visits(static_cast<std::size_t>(count));
            std::atomic<int> highestThread{-1};
            forEachIndex(threads, count, [&](std::ptrdiff_t index, int thread) {
                ++visits[static_cast<std::size_t>(index)];
                int seen = highestThread.load();
                while (thread > seen && !highestThread.compare_exchange_weak(seen, thread)) {
                }
            });
            for (std::ptrdiff_t i = 0; i < count; ++i) {
                EXPECT_EQ(visits[static_cast<std::size_t>(i)].load(), 1)
                    << threads << " " << count << " " << i;
            }
            EXPECT_LT(highestThread.load(), threads);
        }
    }
}

TEST(ParallelFor, ChunksTileTheIndicesOnceAndEachThreadTakesThemInAscendingOrder) {
    for (int const threads : {1, 2, 3}) {
        ThreadCount const team(threads);
        for (std::ptrdiff_t const count : {1, 7, 10, 1000}) {
            std::vector<std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>>> taken(
                static_cast<std::size_t>(threads));
            forEachBlock(threads, count, [&](std::ptrdiff_t begin, std::ptrdiff_t end, int thread) {
                taken[static_cast<std::size_t>(thread)].emplace_back(begin, end);
            });
            std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>> all;
            for (auto const& chunks : taken) {
                EXPECT_TRUE(std::is_sorted(chunks.begin(), chunks.end()));
                all.insert(all.end(), chunks.begin(), chunks.end());
            }
            std::sort(all.begin(), all.end());
            std::ptrdiff_t expectedBegin = 0;
            for (auto const& chunk : all) {
                EXPECT_EQ(chunk.first, expectedBegin);
                EXPECT_LT(chunk.first, chunk.second);
                expectedBegin = chunk.second;
            }
            EXPECT_EQ(expectedBegin, count) << threads;
        }
    }
}

TEST(ParallelFor, LowestFailingIndexWinsAndTheLoopRunsToItsEnd) {
    for (int const threads : {1, 2, 4}) {
        ThreadCount const team(threads);
        for (std::ptrdiff_t const failing : {0, 3, 499, 998}) {
            std::atomic<int> visits{0};
            std::string const message = firstFailure([&] {
                forEachIndex(threads, 1000, [&](std::ptrdiff_t index, int) {
                    ++visits;
                    if (index == failing || index == 999 || index == failing + 1) {
                        throw std::runtime_error("index " + std::to_string(index));
                    }
                });
            });
            EXPECT_EQ(message, "index " + std::to_string(failing)) << threads;
            EXPECT_EQ(visits.load(), 1000) << threads;
        }
    }
}

TEST(ParallelFor, FailingBlockOfTheLowestIndicesWins) {
    for (int const threads : {1, 2, 4}) {
        ThreadCount const team(threads);
        std::string const message = firstFailure([&] {
            forEachBlock(threads, 1000, [&](std::ptrdiff_t begin, std::ptrdiff_t end, int) {
                for (std::ptrdiff_t index = begin; index < end; ++index) {
                    if (index == 700 || index == 900) {
                        throw std::runtime_error("index " + std::to_string(index));
                    }
                }
            });
        });
        EXPECT_EQ(message, "index 700") << threads;
    }
}

TEST(ParallelFor, LoopFailuresKeepTheLowestPosition) {
    Kestrel::common::LoopFailures failures(2);
    EXPECT_FALSE(failures.failedBelow(100));
    try {
        throw std::runtime_error("late");
    } catch (...) {
        failures.capture(1, 7);
    }
    try {
        throw std::runtime_error("early");
    } catch (...) {
        failures.capture(0, 4);
    }
    EXPECT_TRUE(failures.failedBelow(5));
    EXPECT_FALSE(failures.failedBelow(4));
    EXPECT_EQ(firstFailure([&] { failures.rethrowFirst(); }), "early");
}

TEST(ParallelFor, TasksReportInIncreasingOrderOnTheCallingThread) {
    for (int const threads : {1, 2, 3}) {
        ThreadCount const team(threads);
        std::thread::id const caller = std::this_thread::get_id();
        std::vector<std::atomic<int>> runs(40);
        std::vector<std::ptrdiff_t> reported;
        bool reportedElsewhere = false;
        forEachTaskReportingInOrder(
            40,
            [&](std::ptrdiff_t index) {
                // Unequal costs: later tasks are heavier.
                volatile double sink = 0.0;
                for (std::ptrdiff_t step = 0; step < 2000 * index; ++step) {
                    sink = sink + 1.0;
                }
                ++runs[static_cast<std::size_t>(index)];
            },
            [&](std::ptrdiff_t index) {
                EXPECT_EQ(runs[static_cast<std::size_t>(index)].load(), 1);
                reportedElsewhere = reportedElsewhere || std::this_thread::get_id() != caller;
                reported.push_back(index);
            });
        std::vector<std::ptrdiff_t> expected(40);
        for (std::ptrdiff_t i = 0; i < 40; ++i) {
            expected[static_cast<std::size_t>(i)] = i;
        }
        EXPECT_EQ(reported, expected) << threads;
        EXPECT_FALSE(reportedElsewhere);
    }
}

TEST(ParallelFor, FirstFailureInSerialOrderWinsBetweenTasksAndReports) {
    for (int const threads : {1, 2, 3}) {
        ThreadCount const team(threads);
        // A report failing before a failing task wins; nothing after it is reported.
        std::vector<std::ptrdiff_t> reported;
        std::string message = firstFailure([&] {
            forEachTaskReportingInOrder(
                30,
                [](std::ptrdiff_t index) {
                    if (index == 20) {
                        throw std::runtime_error("task 20");
                    }
                },
                [&](std::ptrdiff_t index) {
                    if (index == 12) {
                        throw std::runtime_error("report 12");
                    }
                    reported.push_back(index);
                });
        });
        EXPECT_EQ(message, "report 12") << threads;
        EXPECT_EQ(reported.size(), 12u);

        // A failing task wins over every later task and report; the reports before it all happen.
        reported.clear();
        message = firstFailure([&] {
            forEachTaskReportingInOrder(
                30,
                [](std::ptrdiff_t index) {
                    if (index == 9 || index == 25) {
                        throw std::runtime_error("task " + std::to_string(index));
                    }
                },
                [&](std::ptrdiff_t index) {
                    if (index == 15) {
                        throw std::runtime_error("report 15");
                    }
                    reported.push_back(index);
                });
        });
        EXPECT_EQ(message, "task 9") << threads;
        EXPECT_EQ(reported.size(), 9u) << threads;
    }
}

TEST(ParallelFor, CapturedExceptionKeepsItsTypeAndText) {
    Kestrel::common::LoopFailures failures(1);
    try {
        throw std::logic_error("Missing implementation");
    } catch (...) {
        failures.capture(0, 0);
    }
    EXPECT_THROW(failures.rethrowFirst(), std::logic_error);
    EXPECT_EQ(firstFailure([&] { failures.rethrowFirst(); }), "Missing implementation");
}

}  // namespace
