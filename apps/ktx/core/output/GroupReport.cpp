#include "output/GroupReport.h"

#include <algorithm>

namespace ktx {

namespace {

std::vector<int> segmentsOfGroup(int start, int end, int n) {
    std::vector<int> members;
    if (end > start) {
        for (int i = start; i < end; ++i) {
            members.push_back(i);
        }
    } else {
        for (int i = start; i < n; ++i) {
            members.push_back(i);
        }
        for (int i = 0; i < end; ++i) {
            members.push_back(i);
        }
    }
    return members;
}

double dispersionOf(std::vector<double> const& values, Dispersion measure) {
    if (values.empty()) {
        return 0.0;
    }
    if (measure == Dispersion::MinMax) {
        auto const [low, high] = std::minmax_element(values.begin(), values.end());
        return *high - *low;
    }
    double sum = 0.0;
    for (double const v : values) {
        sum += v;
    }
    double const mean = sum / static_cast<double>(values.size());
    double squares = 0.0;
    for (double const v : values) {
        double const d = v - mean;
        squares += d * d;
    }
    return squares / static_cast<double>(values.size());
}

}  // namespace

std::vector<GroupSummary> summariseGroups(std::vector<double> const& values,
                                          std::vector<double> const& lengths, bool closed, Dispersion measure,
                                          std::vector<int> const& starts) {
    int const n = static_cast<int>(values.size());
    int const count = static_cast<int>(starts.size());
    std::vector<GroupSummary> groups;
    for (int k = 0; k < count; ++k) {
        GroupSummary group;
        group.start = starts[k];
        group.end = k + 1 < count ? starts[k + 1] : (closed ? starts[0] : n);
        std::vector<double> members;
        for (int const i : segmentsOfGroup(group.start, group.end, n)) {
            members.push_back(values[i]);
            group.length += lengths[i];
        }
        group.segments = static_cast<int>(members.size());
        group.dispersion = dispersionOf(members, measure);
        groups.push_back(group);
    }
    return groups;
}

std::vector<int> groupOfSegments(std::vector<int> const& starts, int segments, bool closed) {
    std::vector<int> group(static_cast<std::size_t>(segments), -1);
    int const count = static_cast<int>(starts.size());
    for (int k = 0; k < count; ++k) {
        int const end = k + 1 < count ? starts[k + 1] : (closed ? starts[0] : segments);
        for (int const i : segmentsOfGroup(starts[k], end, segments)) {
            group[i] = k;
        }
    }
    return group;
}

}  // namespace ktx
