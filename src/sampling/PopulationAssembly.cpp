// Each factor is read front to back and its candidates go to points at random: a random write does not
// hold up the reads that follow it, whereas a random read does. So when every factor's candidates have
// one length, the coordinates are first written, in candidate order, into one flat table laid out point
// by point, and the points are then copied from it in order; otherwise each point gathers its candidates
// directly. Both give the same coordinates in the same order.
#include "PopulationAssembly.h"

#include <cstddef>

#include "ParallelFor.h"

namespace Kestrel {
namespace sampling {
namespace {

bool allOfOneLength(Candidates const& factor, std::size_t count) {
    for (std::size_t c = 0; c < count; ++c) {
        if (factor[c].size() != factor[0].size()) {
            return false;
        }
    }
    return true;
}

std::vector<double> flatTable(std::vector<Candidates const*> const& named,
                              std::vector<std::vector<std::uint32_t>> const& takenAt,
                              std::size_t pointLength) {
    std::size_t const count = takenAt.front().size();
    std::vector<std::size_t> offsets(named.size(), 0);
    for (std::size_t k = 1; k < named.size(); ++k) {
        offsets[k] = offsets[k - 1] + (*named[k - 1])[0].size();
    }
    std::vector<double> table(count * pointLength);
    std::ptrdiff_t const entries = static_cast<std::ptrdiff_t>(named.size());
    common::forEachIndex(
        common::threadsFor(count >= kLeastPointsForThreads), entries, [&](std::ptrdiff_t k, int) {
            std::size_t const entry = static_cast<std::size_t>(k);
            Candidates const& factor = *named[entry];
            std::vector<std::uint32_t> const& pointOf = takenAt[entry];
            for (std::size_t c = 0; c < count; ++c) {
                double* target = &table[std::size_t{pointOf[c]} * pointLength + offsets[entry]];
                for (double const value : factor[c]) {
                    *target++ = value;
                }
            }
        });
    return table;
}

// chosen[k][i]: the candidate that point i takes in entry k.
std::vector<std::vector<std::uint32_t>> chosenCandidates(
    std::vector<std::vector<std::uint32_t>> const& takenAt) {
    std::vector<std::vector<std::uint32_t>> chosen(takenAt.size());
    for (std::size_t k = 0; k < takenAt.size(); ++k) {
        chosen[k].resize(takenAt[k].size());
        for (std::size_t c = 0; c < takenAt[k].size(); ++c) {
            chosen[k][takenAt[k][c]] = static_cast<std::uint32_t>(c);
        }
    }
    return chosen;
}

}  // namespace

void assemblePoints(std::vector<Candidates const*> const& named,
                    std::vector<std::vector<std::uint32_t>> const& takenAt, std::size_t pointLength,
                    Population& points) {
    std::size_t const count = takenAt.front().size();
    bool oneLength = count > 0;
    for (Candidates const* factor : named) {
        oneLength = oneLength && allOfOneLength(*factor, count);
    }
    std::vector<double> const table =
        oneLength ? flatTable(named, takenAt, pointLength) : std::vector<double>();
    std::vector<std::vector<std::uint32_t>> const chosen =
        oneLength ? std::vector<std::vector<std::uint32_t>>() : chosenCandidates(takenAt);
    std::ptrdiff_t const pointCount = static_cast<std::ptrdiff_t>(count);
    common::forEachIndex(
        common::threadsFor(count >= kLeastPointsForThreads), pointCount, [&](std::ptrdiff_t p, int) {
            std::size_t const i = static_cast<std::size_t>(p);
            std::vector<double>& point = points[i];
            point.reserve(pointLength);
            if (oneLength) {
                point.insert(point.end(), table.begin() + static_cast<std::ptrdiff_t>(i * pointLength),
                             table.begin() + static_cast<std::ptrdiff_t>((i + 1) * pointLength));
                return;
            }
            for (std::size_t k = 0; k < named.size(); ++k) {
                for (double const value : (*named[k])[chosen[k][i]]) {
                    point.push_back(value);
                }
            }
        });
}

}  // namespace sampling
}  // namespace Kestrel
