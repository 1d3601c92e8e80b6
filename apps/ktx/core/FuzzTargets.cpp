#include "FuzzTargets.h"

#include "input/AnnealInput.h"
#include "input/AssignInput.h"
#include "input/CurvatureInput.h"
#include "input/GroupInput.h"
#include "input/InputError.h"
#include "input/LhsInput.h"
#include "input/MastersInput.h"
#include "input/Sample2dInput.h"
#include "pictures/Pictures.h"

#include <stdexcept>

namespace ktx {

std::vector<std::string> const& fuzzTargetNames() {
    static std::vector<std::string> const names{"group", "curvature", "masters", "assign",
                                                "lhs",   "sample2d",  "anneal"};
    return names;
}

bool runFuzzTarget(std::string const& target, std::string const& input) {
    try {
        // Accepted inputs also go through the picture writers (with a stand-in result), which scale and
        // colour whatever numbers the reader let through.
        if (target == "group") {
            GroupInput const parsed = parseGroupInput(input);
            groupPicture(parsed.values, parsed.lengths, {0}, parsed.closed, "fuzz");
        } else if (target == "curvature") {
            CurvatureInput const parsed = parseCurvatureInput(input);
            curvaturePicture(parsed.points, parsed.closed, parsed.segments,
                             std::vector<double>(parsed.segments.size(), 1.0), "fuzz");
        } else if (target == "masters") {
            MastersInput const parsed = parseMastersInput(input);
            mastersPicture(parsed.lengths, parsed.ranges, parsed.masterIndices.value_or(std::vector<int>{0}),
                           parsed.masterValues.value_or(std::vector<double>{}), "fuzz");
        } else if (target == "assign") {
            parseAssignInput(input, AssignGoal::Minimize);
            parseAssignInput(input, AssignGoal::Maximize);
        } else if (target == "lhs") {
            LhsInput const parsed = parseLhsInput(input);
            lhsColumnNames(parsed);
        } else if (target == "sample2d") {
            Sample2dInput const parsed = parseSample2dInput(input);
            samplePicture(parsed.outer, parsed.holes, parsed.outer, "fuzz");
        } else if (target == "anneal") {
            parseAnnealInput(input);
        } else {
            throw std::invalid_argument("unknown fuzz target '" + target + "'");
        }
        return true;
    } catch (InputError const& error) {
        oneLine(withSource("<fuzz>", error.what()));
        return false;
    }
}

}  // namespace ktx
