#include "FuzzTargets.h"

#include "AnnealInput.h"
#include "AssignInput.h"
#include "CurvatureInput.h"
#include "GroupInput.h"
#include "InputError.h"
#include "LhsInput.h"
#include "MastersInput.h"
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
        if (target == "group") {
            parseGroupInput(input);
        } else if (target == "curvature") {
            parseCurvatureInput(input);
        } else if (target == "masters") {
            parseMastersInput(input);
        } else if (target == "assign") {
            parseAssignInput(input);
        } else if (target == "lhs") {
            LhsInput const parsed = parseLhsInput(input);
            lhsColumnNames(parsed);
        } else if (target == "sample2d") {
            parseSample2dInput(input);
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
