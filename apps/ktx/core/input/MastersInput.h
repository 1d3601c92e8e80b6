// Input of `ktx masters`: a drawbead line and the number of master segments.
//
//   {"closed": true, "lengths": [...], "ranges": [[min, max], ...], "masters": 4,
//    "transitions": [...], "preGroups": [...], "masterIndices": [...], "masterValues": [...]}
//
// "transitions" (one per gap between segments: n on a closed line, n - 1 on an open one) is optional and
// derived from the lengths when absent. "preGroups" lists ascending group boundaries b0 < b1 < ... over the
// segments (group g holds segments b_g ... b_(g+1) - 1; segments outside every group form one more group);
// at most one master is chosen per group. "masterIndices" replaces the search by a given choice, which is
// then only scored. "masterValues" (one per master, in ascending master order) asks for the interpolated
// values of all segments.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ktx {

struct MastersInput {
    std::vector<double> lengths;                    // positive, one per segment
    std::vector<std::pair<double, double>> ranges;  // min <= max, one per segment
    bool closed = false;
    int masters = 0;                                  // 1 ... number of segments
    std::optional<std::vector<double>> transitions;   // non-negative
    std::optional<std::vector<int>> preGroups;        // strictly ascending, within 0 ... n
    std::optional<std::vector<int>> masterIndices;    // strictly ascending, within 0 ... n - 1
    std::optional<std::vector<double>> masterValues;  // one per master
};

MastersInput parseMastersInput(std::string const& text);

// The master search draws 5 n (n + 1) candidate choices per round for n segments and keeps them all, about
// 96 + 8 * masters bytes each (measured: 99 MB for 400 segments and 4 masters). A search estimated above
// kMaxMasterSearchBytes is refused as bad input instead of running out of memory.
constexpr double kMaxMasterSearchBytes = 2.0 * 1024 * 1024 * 1024;
double masterSearchBytes(int segments, int masters);

// The largest number of masters that pre-groups allow: one per group plus one for the ungrouped segments.
int mastersAllowedByPreGroups(std::vector<int> const& boundaries, int segments);

}  // namespace ktx
