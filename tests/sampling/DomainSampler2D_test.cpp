#include <Kestrel/PopulationSampling.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <stdexcept>
#include <string>

#include "KMeansPlusPlusSeeding.h"
#include "LloydIterations.h"
#include "ReferenceSamplers.h"

namespace {

using Point = Kestrel::DomainSampler2D::Point;

// A domain that hands out a fixed list of candidates and records what it was asked for.
class FixedCandidates : public Kestrel::DomainSampler2D {
  public:
    explicit FixedCandidates(std::vector<Point> points) : points_(std::move(points)) {}

    void generateCandidates(int count, std::vector<Point>& out) override {
        ++calls;
        requested = count;
        out = points_;
    }

    int calls = 0;
    int requested = -1;

  private:
    std::vector<Point> points_;
};

class FailingDomain : public Kestrel::DomainSampler2D {
  public:
    void generateCandidates(int, std::vector<Point>&) override { throw std::runtime_error("no outline"); }
};

std::vector<Point> uniformPoints(std::size_t count, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> coordinate(-3.0, 5.0);
    std::vector<Point> points(count);
    for (Point& p : points) {
        p.first = coordinate(engine);
        p.second = coordinate(engine);
    }
    return points;
}

// Points on a small integer grid (many equal distances) with repeated points.
std::vector<Point> gridPoints(std::size_t count, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_int_distribution<int> coordinate(0, 6);
    std::vector<Point> points(count);
    for (Point& p : points) {
        p = {coordinate(engine), coordinate(engine)};
    }
    return points;
}

// Gaussian blobs of different sizes at different scales.
std::vector<Point> clusteredPoints(std::size_t count, unsigned seed, double scale) {
    std::mt19937 engine(seed);
    std::normal_distribution<double> spread(0.0, 1.0);
    std::uniform_int_distribution<int> blob(0, 4);
    std::vector<Point> points(count);
    for (Point& p : points) {
        int const b = blob(engine);
        p = {scale * (10.0 * b + (b + 1) * spread(engine)), scale * (3.0 * b * b + spread(engine))};
    }
    return points;
}

std::vector<Point> samplesOf(std::vector<Point> const& candidates, int n) {
    FixedCandidates domain(candidates);
    std::vector<Point> out;
    domain.calculateSamples(n, out);
    return out;
}

void expectSameBits(std::vector<Point> const& actual, std::vector<Point> const& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        bool const same = std::memcmp(&actual[i], &expected[i], sizeof(Point)) == 0;
        EXPECT_TRUE(same) << "sample " << i << ": (" << actual[i].first << ", " << actual[i].second
                          << ") vs (" << expected[i].first << ", " << expected[i].second << ")";
    }
}

void expectEveryPointACandidate(std::vector<Point> const& samples, std::vector<Point> const& candidates) {
    std::set<Point> const known(candidates.begin(), candidates.end());
    for (Point const& p : samples) {
        EXPECT_EQ(known.count(p), 1u) << p.first << ", " << p.second;
    }
}

TEST(DomainSampler2D, FiveSamples_Asks500CandidatesAndAllows100Iterations) {
    std::vector<Point> const candidates = uniformPoints(500, 1);
    FixedCandidates domain(candidates);
    std::vector<Point> out;
    domain.calculateSamples(5, out);
    EXPECT_EQ(domain.requested, 500);
    EXPECT_EQ(out.size(), 5u);
    std::vector<Point> centres = ReferenceSamplers::seed(candidates, 5);
    ReferenceSamplers::lloyd(candidates, centres, 100);
    expectSameBits(out, centres);
}

TEST(DomainSampler2D, ThreeHundredSamples_Asks30000CandidatesAndAllows300Iterations) {
    std::vector<Point> const candidates = uniformPoints(30000, 2);
    FixedCandidates domain(candidates);
    std::vector<Point> out;
    domain.calculateSamples(300, out);
    EXPECT_EQ(domain.requested, 30000);
    ASSERT_EQ(out.size(), 300u);
    expectEveryPointACandidate(out, candidates);
    EXPECT_EQ(std::set<Point>(out.begin(), out.end()).size(), 300u);
    std::vector<Point> centres = ReferenceSamplers::seed(candidates, 300);
    ReferenceSamplers::lloyd(candidates, centres, 300);
    expectSameBits(out, centres);
}

TEST(DomainSampler2D, IterationLimitAbove100_FastIterationsEqualReference) {
    std::vector<Point> const candidates = clusteredPoints(3000, 3, 1.0);
    std::vector<Point> const seeded = ReferenceSamplers::seed(candidates, 150);
    for (int const limit : {1, 2, 150}) {
        std::vector<Point> reference = seeded;
        ReferenceSamplers::lloyd(candidates, reference, limit);
        std::vector<Point> fast = seeded;
        Kestrel::sampling::runLloydIterations(candidates, fast, limit);
        SCOPED_TRACE(limit);
        expectSameBits(fast, reference);
    }
}

TEST(DomainSampler2D, EverySampleIsOneOfTheCandidates) {
    for (unsigned seed = 0; seed < 10; ++seed) {
        int const n = 1 + static_cast<int>(seed * 3);
        std::vector<Point> const candidates = clusteredPoints(static_cast<std::size_t>(100 * n), seed, 1.0);
        std::vector<Point> const samples = samplesOf(candidates, n);
        EXPECT_EQ(samples.size(), static_cast<std::size_t>(n));
        expectEveryPointACandidate(samples, candidates);
    }
}

TEST(DomainSampler2D, FewerCandidatesThanRequested_GivesFewerSamples) {
    std::vector<Point> const candidates = uniformPoints(7, 4);
    std::vector<Point> const samples = samplesOf(candidates, 10);
    ASSERT_EQ(samples.size(), 7u);
    EXPECT_EQ(std::set<Point>(samples.begin(), samples.end()),
              std::set<Point>(candidates.begin(), candidates.end()));
    expectSameBits(samples, ReferenceSamplers::domainSamples(candidates, 10));
}

TEST(DomainSampler2D, NoCandidates_GivesNoSamples) {
    std::vector<Point> out{{1.0, 2.0}};
    FixedCandidates domain({});
    domain.calculateSamples(4, out);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(domain.requested, 400);
}

TEST(DomainSampler2D, NonPositiveCount_ClearsOutputWithoutAskingForCandidates) {
    FixedCandidates domain(uniformPoints(100, 5));
    for (int const n : {0, -3}) {
        std::vector<Point> out{{1.0, 2.0}};
        domain.calculateSamples(n, out);
        EXPECT_TRUE(out.empty());
    }
    EXPECT_EQ(domain.calls, 0);
}

TEST(DomainSampler2D, CountTooLargeForTheCandidateRequest_ThrowsLengthError) {
    FixedCandidates domain(uniformPoints(10, 5));
    std::vector<Point> out;
    EXPECT_THROW(domain.calculateSamples(std::numeric_limits<int>::max() / 100 + 1, out), std::length_error);
    EXPECT_EQ(domain.calls, 0);
}

TEST(DomainSampler2D, CandidateGeneratorFailure_ReachesCallerAndLeavesOutputAlone) {
    FailingDomain domain;
    std::vector<Point> out{{1.0, 2.0}};
    EXPECT_THROW(domain.calculateSamples(3, out), std::runtime_error);
    EXPECT_EQ(out, (std::vector<Point>{{1.0, 2.0}}));
}

TEST(DomainSampler2D, FixedSeed_SameCandidatesGiveSameSamplesEveryRun) {
    std::vector<Point> const candidates = uniformPoints(2000, 6);
    FixedCandidates domain(candidates);
    std::vector<Point> first;
    std::vector<Point> second;
    domain.calculateSamples(20, first);
    FixedCandidates copy(domain);
    copy.calculateSamples(20, second);
    expectSameBits(first, second);
}

TEST(DomainSampler2D, FirstCentreFollowsTheSeededDraw) {
    // With uniform first weights 1/m the first centre is candidate floor-ish(u * m) for the first draw u.
    std::vector<Point> const candidates = uniformPoints(1000, 7);
    std::minstd_rand engine(35);
    double const u = static_cast<double>(engine() - 1) / 2147483646.0;
    double running = 0.0;
    std::size_t first = 0;
    while (running + 1.0 / 1000.0 <= u) {
        running += 1.0 / 1000.0;
        ++first;
    }
    std::vector<Point> const seeded = Kestrel::sampling::seedKMeansPlusPlus(candidates, 1);
    ASSERT_EQ(seeded.size(), 1u);
    EXPECT_EQ(seeded[0], candidates[first]);
}

TEST(DomainSampler2D, CoincidingCentres_CentreWithoutMembersKeepsItsPosition) {
    std::vector<Point> candidates(40, Point{2.0, 3.0});
    candidates.push_back({5.0, 5.0});
    std::vector<Point> const samples = samplesOf(candidates, 3);
    expectSameBits(samples, ReferenceSamplers::domainSamples(candidates, 3));
    EXPECT_EQ(std::count(samples.begin(), samples.end(), Point{2.0, 3.0}), 2);

    std::vector<Point> const same(300, Point{1.0, -1.0});
    expectSameBits(samplesOf(same, 3), std::vector<Point>(3, Point{1.0, -1.0}));
}

TEST(DomainSampler2D, FastPathEqualsReferenceOnRandomInputs) {
    for (unsigned seed = 0; seed < 32; ++seed) {
        int const n = 1 + static_cast<int>(seed % 9) * 3;
        std::size_t const m = static_cast<std::size_t>(n) * (seed % 5 == 0 ? 37 : 100);
        std::vector<Point> candidates;
        switch (seed % 4) {
            case 0:
                candidates = uniformPoints(m, seed);
                break;
            case 1:
                candidates = gridPoints(m, seed);
                break;
            case 2:
                candidates = clusteredPoints(m, seed, 1e-7);
                break;
            default:
                candidates = clusteredPoints(m, seed, 1e6);
                break;
        }
        SCOPED_TRACE(seed);
        expectSameBits(samplesOf(candidates, n), ReferenceSamplers::domainSamples(candidates, n));
    }
}

TEST(DomainSampler2D, FastLloydEqualsReferenceFromRandomStarts) {
    // Arbitrary starting centres (not seeded ones) move a lot, which exercises the distance bounds.
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::vector<Point> const candidates = seed % 2 ? uniformPoints(2500, seed) : gridPoints(2500, seed);
        std::vector<Point> start(candidates.begin(), candidates.begin() + 5 + seed * 2);
        std::vector<Point> reference = start;
        ReferenceSamplers::lloyd(candidates, reference, 100);
        std::vector<Point> fast = start;
        Kestrel::sampling::runLloydIterations(candidates, fast, 100);
        SCOPED_TRACE(seed);
        expectSameBits(fast, reference);
    }
}

// The seeding and the Lloyd iterations as calculateSamples runs them, without its check of the candidates.
std::vector<Point> clusteredCentres(std::vector<Point> const& candidates, int n) {
    std::vector<Point> centres = Kestrel::sampling::seedKMeansPlusPlus(candidates, n);
    Kestrel::sampling::runLloydIterations(candidates, centres, std::max(n, 100));
    return centres;
}

TEST(DomainSampler2D, NonFiniteCandidates_FastPathEqualsReference) {
    std::vector<Point> candidates = uniformPoints(600, 9);
    candidates[17] = {std::numeric_limits<double>::infinity(), 0.0};
    candidates[230] = {1e200, -1e200};
    expectSameBits(clusteredCentres(candidates, 6), ReferenceSamplers::domainSamples(candidates, 6));
    candidates[400] = {std::nan(""), 1.0};
    expectSameBits(clusteredCentres(candidates, 6), ReferenceSamplers::domainSamples(candidates, 6));
}

TEST(DomainSampler2D, NonFiniteCandidatesAreRefusedBeforeClustering) {
    std::vector<Point> candidates = uniformPoints(600, 9);
    candidates[230] = {1e200, -1e200};  // huge but finite: accepted
    expectSameBits(samplesOf(candidates, 6), ReferenceSamplers::domainSamples(candidates, 6));
    for (Point const& bad :
         {Point{std::nan(""), 1.0}, Point{0.5, -std::numeric_limits<double>::infinity()}}) {
        candidates[400] = bad;
        FixedCandidates domain(candidates);
        std::vector<Point> out{{7.0, 7.0}};
        try {
            domain.calculateSamples(6, out);
            FAIL() << "no exception";
        } catch (std::invalid_argument const& error) {
            EXPECT_NE(std::string(error.what()).find("candidate 400 = ("), std::string::npos) << error.what();
        }
        EXPECT_EQ(out, (std::vector<Point>{{7.0, 7.0}}));
    }
}

TEST(DomainSampler2D, OneAndTwoThreadsGiveIdenticalSamples) {
    // Enough candidates for the seeding and the assignment of candidates to run in parallel.
    std::vector<Point> const candidates = clusteredPoints(9000, 10, 1.0);
    int const threads = omp_get_max_threads();
    omp_set_num_threads(1);
    std::vector<Point> const single = samplesOf(candidates, 30);
    omp_set_num_threads(2);
    std::vector<Point> const two = samplesOf(candidates, 30);
    omp_set_num_threads(threads);
    expectSameBits(single, two);
    expectSameBits(two, ReferenceSamplers::domainSamples(candidates, 30));
}

}  // namespace
