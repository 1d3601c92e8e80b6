#include "CentresByX.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

using Kestrel::sampling::CentresByX;
using Kestrel::sampling::Point;

// Reference implementation, comparing with every centre: strictly smaller replaces (ties to the lower index).
void nearestTwoByScanningAll(std::vector<Point> const& centres, Point const& point, int& best,
                             double& bestDistance, double& secondDistance) {
    best = -1;
    bestDistance = std::numeric_limits<double>::infinity();
    secondDistance = std::numeric_limits<double>::infinity();
    for (std::size_t c = 0; c < centres.size(); ++c) {
        double const dx = point.first - centres[c].first;
        double const dy = point.second - centres[c].second;
        double const distance = dx * dx + dy * dy;
        if (distance < bestDistance) {
            secondDistance = bestDistance;
            bestDistance = distance;
            best = static_cast<int>(c);
        } else if (distance < secondDistance) {
            secondDistance = distance;
        }
    }
}

TEST(CentresByX, NearestTwoEqualsComparingAllCentres) {
    std::mt19937 engine(3);
    for (int trial = 0; trial < 200; ++trial) {
        bool const onGrid = trial % 2 == 0;  // a small grid gives many equal distances and equal centres
        std::uniform_int_distribution<int> cell(0, 5);
        std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
        auto draw = [&]() -> Point {
            if (onGrid) {
                return {cell(engine), cell(engine)};
            }
            return {coordinate(engine), coordinate(engine)};
        };
        std::vector<Point> centres(1 + static_cast<std::size_t>(engine() % 40));
        for (Point& c : centres) {
            c = draw();
        }
        CentresByX byX;
        byX.assign(centres);
        for (int q = 0; q < 50; ++q) {
            Point const point = q < 5 ? centres[static_cast<std::size_t>(q) % centres.size()] : draw();
            int best = 0;
            int expectedBest = 0;
            double bestDistance = 0.0;
            double secondDistance = 0.0;
            double expectedBestDistance = 0.0;
            double expectedSecondDistance = 0.0;
            byX.nearestTwo(point, best, bestDistance, secondDistance);
            nearestTwoByScanningAll(centres, point, expectedBest, expectedBestDistance,
                                    expectedSecondDistance);
            ASSERT_EQ(best, expectedBest) << "trial " << trial;
            ASSERT_EQ(bestDistance, expectedBestDistance);
            ASSERT_EQ(secondDistance, expectedSecondDistance);
        }
    }
}

}  // namespace
