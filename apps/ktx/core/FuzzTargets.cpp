#include "FuzzTargets.h"

#include "AnnealInput.h"
#include "AssignInput.h"
#include "CurvatureInput.h"
#include "GroupInput.h"
#include "InputError.h"
#include "LhsInput.h"
#include "MastersInput.h"
#include "Pictures.h"
#include "Sample2dInput.h"

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
            parseAssignInput(input);
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
