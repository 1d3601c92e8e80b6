#include "input/LhsInput.h"

#include "input/JsonInput.h"
#include "input/Validation.h"

namespace ktx {

namespace {

LhsFactor readFactor(nlohmann::json const& value, std::string const& path, std::size_t index) {
    JsonObjectReader reader(value, path);
    LhsFactor factor;
    factor.name = reader.text("name", "factor" + std::to_string(index));
    nlohmann::json const& candidates = toArray(reader.value("candidates"), reader.fieldPath("candidates"));
    reader.finish();
    for (std::size_t c = 0; c < candidates.size(); ++c) {
        std::string const candidatePath = reader.fieldPath("candidates") + "[" + std::to_string(c) + "]";
        if (candidates[c].is_array()) {
            factor.candidates.push_back(toNumbers(candidates[c], candidatePath));
        } else {
            factor.candidates.push_back({toNumber(candidates[c], candidatePath)});
        }
        if (factor.candidates.back().empty()) {
            failField(candidatePath, "must hold at least one number");
        }
        if (factor.candidates.back().size() != factor.candidates.front().size()) {
            failField(candidatePath, "has " + std::to_string(factor.candidates.back().size()) +
                                         " coordinates but the first candidate has " +
                                         std::to_string(factor.candidates.front().size()));
        }
    }
    return factor;
}

}  // namespace

LhsInput parseLhsInput(std::string const& text) {
    nlohmann::json const document = parseJson(text);
    JsonObjectReader reader(document, "");
    nlohmann::json const& factors = toArray(reader.value("factors"), "factors");
    LhsInput input;
    for (std::size_t f = 0; f < factors.size(); ++f) {
        input.factors.push_back(readFactor(factors[f], "factors[" + std::to_string(f) + "]", f));
    }
    if (reader.has("order")) {
        input.order = reader.integers("order");
    } else {
        for (std::size_t f = 0; f < input.factors.size(); ++f) {
            input.order.push_back(static_cast<int>(f));
        }
    }
    reader.finish();

    requireNonEmpty(input.factors.size(), "factors");
    requireNonEmpty(input.order.size(), "order");
    int const lastFactor = static_cast<int>(input.factors.size()) - 1;
    for (std::size_t k = 0; k < input.order.size(); ++k) {
        requireInRange(input.order[k], 0, lastFactor, "order[" + std::to_string(k) + "]");
    }
    std::size_t const population = input.factors[input.order.front()].candidates.size();
    if (population == 0) {
        failField("factors[" + std::to_string(input.order.front()) + "].candidates",
                  "must not be empty (its count sets the population size)");
    }
    for (int const f : input.order) {
        std::size_t const count = input.factors[f].candidates.size();
        if (count < population) {
            failField("factors[" + std::to_string(f) + "].candidates",
                      "has " + std::to_string(count) + " candidates, fewer than the population size " +
                          std::to_string(population) + " set by the first factor in 'order'");
        }
    }
    return input;
}

std::vector<std::string> lhsColumnNames(LhsInput const& input) {
    std::vector<std::string> names;
    for (int const f : input.order) {
        LhsFactor const& factor = input.factors[f];
        std::size_t const coordinates = factor.candidates.front().size();
        for (std::size_t c = 0; c < coordinates; ++c) {
            names.push_back(coordinates == 1 ? factor.name : factor.name + "[" + std::to_string(c) + "]");
        }
    }
    return names;
}

}  // namespace ktx
