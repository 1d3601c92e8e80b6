#include "input/MastersInput.h"

#include "input/JsonInput.h"
#include "input/Validation.h"
#include "output/NumberFormat.h"

#include <cmath>

namespace ktx {

double masterSearchBytes(int segments, int masters) {
    double const n = segments;
    return 5.0 * n * (n + 1.0) * (96.0 + 8.0 * static_cast<double>(masters));
}

int mastersAllowedByPreGroups(std::vector<int> const& boundaries, int segments) {
    if (boundaries.empty()) {
        return segments;
    }
    int const groups = static_cast<int>(boundaries.size()) - 1;
    bool const ungrouped = boundaries.front() > 0 || boundaries.back() < segments;
    return groups + (ungrouped ? 1 : 0);
}

MastersInput parseMastersInput(std::string const& text) {
    nlohmann::json const document = parseJson(text);
    JsonObjectReader reader(document, "");
    MastersInput input;
    input.closed = reader.boolean("closed", false);
    input.lengths = reader.numbers("lengths");
    input.ranges = toPoints(reader.value("ranges"), "ranges");
    if (reader.has("transitions")) {
        input.transitions = reader.numbers("transitions");
    }
    if (reader.has("preGroups")) {
        input.preGroups = reader.integers("preGroups");
    }
    if (reader.has("masterIndices")) {
        input.masterIndices = reader.integers("masterIndices");
    }
    if (reader.has("masterValues")) {
        input.masterValues = reader.numbers("masterValues");
    }
    bool const mastersGiven = reader.has("masters");
    if (mastersGiven) {
        input.masters = reader.integer("masters");
    }
    reader.finish();

    requireNonEmpty(input.lengths.size(), "lengths");
    requirePositive(input.lengths, "lengths");
    requireFiniteSum(input.lengths, "lengths");
    requireSameCount(input.ranges.size(), "ranges", input.lengths.size(), "lengths");
    for (std::size_t i = 0; i < input.ranges.size(); ++i) {
        if (input.ranges[i].first > input.ranges[i].second) {
            failField("ranges[" + std::to_string(i) + "]", "minimum " + formatNumber(input.ranges[i].first) +
                                                               " is above maximum " +
                                                               formatNumber(input.ranges[i].second));
        }
    }
    int const n = static_cast<int>(input.lengths.size());
    if (input.transitions) {
        std::size_t const expected = input.closed ? input.lengths.size() : input.lengths.size() - 1;
        if (input.transitions->size() != expected) {
            failField("transitions", "has " + std::to_string(input.transitions->size()) +
                                         " entries, expected " + std::to_string(expected) +
                                         " (one per gap of " + (input.closed ? "a closed" : "an open") +
                                         " line of " + std::to_string(n) + " segments)");
        }
        requireNonNegative(*input.transitions, "transitions");
    }
    if (input.masterIndices) {
        requireNonEmpty(input.masterIndices->size(), "masterIndices");
        for (std::size_t k = 0; k < input.masterIndices->size(); ++k) {
            requireInRange((*input.masterIndices)[k], 0, n - 1, "masterIndices[" + std::to_string(k) + "]");
        }
        requireStrictlyAscending(*input.masterIndices, "masterIndices");
        int const count = static_cast<int>(input.masterIndices->size());
        if (mastersGiven && input.masters != count) {
            failField("masters", "is " + std::to_string(input.masters) + " but 'masterIndices' has " +
                                     std::to_string(count) + " entries");
        }
        input.masters = count;
    } else if (!mastersGiven) {
        failField("masters", "missing");
    }
    requireInRange(input.masters, 1, n, "masters");
    if (input.preGroups) {
        if (input.masterIndices) {
            failField("preGroups", "cannot be combined with 'masterIndices'");
        }
        for (std::size_t k = 0; k < input.preGroups->size(); ++k) {
            requireInRange((*input.preGroups)[k], 0, n, "preGroups[" + std::to_string(k) + "]");
        }
        requireStrictlyAscending(*input.preGroups, "preGroups");
        requireNonEmpty(input.preGroups->size(), "preGroups");
        requireInRange(input.preGroups->front(), 0, n - 1, "preGroups[0]");
        int const allowed = mastersAllowedByPreGroups(*input.preGroups, n);
        if (input.masters > allowed) {
            failField("masters", "is " + std::to_string(input.masters) +
                                     " but the pre-groups allow at most " + std::to_string(allowed) +
                                     " masters (one per group)");
        }
    }
    double const searchBytes = masterSearchBytes(n, input.masters);
    if (!input.masterIndices && input.masters >= 2 && searchBytes > kMaxMasterSearchBytes) {
        failField("masters", "searching " + std::to_string(input.masters) + " masters among " +
                                 std::to_string(n) + " segments needs about " +
                                 formatNumber(std::round(searchBytes / 1048576.0)) +
                                 " MiB of memory, more than the limit of " +
                                 formatNumber(kMaxMasterSearchBytes / 1048576.0) +
                                 " MiB; use fewer segments or masters, or give masterIndices");
    }
    if (input.masterValues) {
        requireSameCount(input.masterValues->size(), "masterValues", static_cast<std::size_t>(input.masters),
                         "masters");
    }
    return input;
}

}  // namespace ktx
