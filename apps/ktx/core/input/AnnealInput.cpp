#include "input/AnnealInput.h"

#include "input/JsonInput.h"
#include "input/Validation.h"
#include "output/NumberFormat.h"

#include <cmath>

namespace ktx {

namespace {

void requireOpenUnit(double value, std::string const& field) {
    if (!(value > 0.0 && value < 1.0)) {
        failField(field, "must lie strictly between 0 and 1, got " + formatNumber(value));
    }
}

void readSettings(nlohmann::json const& value, AnnealInput& input) {
    JsonObjectReader reader(value, "settings");
    if (reader.has("evaluationBudget")) {
        input.evaluationBudget = reader.integer("evaluationBudget");
        requireInRange(*input.evaluationBudget, 1, kMaxAnnealEvaluations, "settings.evaluationBudget");
    }
    if (reader.has("gradientCost")) {
        input.gradientCost = reader.integer("gradientCost");
        requireInRange(*input.gradientCost, 1, kMaxGradientCost, "settings.gradientCost");
    }
    if (reader.has("warmUpPoints")) {
        input.warmUpPoints = reader.integer("warmUpPoints");
        requireInRange(*input.warmUpPoints, 1, kMaxAnnealCount, "settings.warmUpPoints");
    }
    if (reader.has("jumpFraction")) {
        input.jumpFraction = reader.number("jumpFraction");
        if (!(*input.jumpFraction > 0.0 && *input.jumpFraction <= 1.0)) {
            failField("settings.jumpFraction",
                      "must lie in (0, 1], got " + formatNumber(*input.jumpFraction));
        }
    }
    if (reader.has("descentCalls")) {
        input.descentCalls = reader.integer("descentCalls");
        requireInRange(*input.descentCalls, 0, kMaxAnnealCount, "settings.descentCalls");
    }
    if (reader.has("coolingFactor")) {
        input.coolingFactor = reader.number("coolingFactor");
        requireOpenUnit(*input.coolingFactor, "settings.coolingFactor");
    }
    if (reader.has("finalTemperatureRatio")) {
        input.finalTemperatureRatio = reader.number("finalTemperatureRatio");
        requireOpenUnit(*input.finalTemperatureRatio, "settings.finalTemperatureRatio");
    }
    if (reader.has("freshStartInterval")) {
        input.freshStartInterval = reader.integer("freshStartInterval");
        requireInRange(*input.freshStartInterval, 0, kMaxAnnealCount, "settings.freshStartInterval");
    }
    reader.finish();
}

}  // namespace

AnnealInput parseAnnealInput(std::string const& text) {
    nlohmann::json const document = parseJson(text);
    JsonObjectReader reader(document, "");
    AnnealInput input;
    input.function = reader.text("function");
    bool const dimensionGiven = reader.has("dimension");
    input.dimension = reader.integer("dimension", 2);
    if (reader.has("box")) {
        input.box = toPoints(reader.value("box"), "box");
        if (!dimensionGiven) {
            input.dimension = static_cast<int>(input.box->size());
        }
    }
    requireInRange(input.dimension, 1, kMaxAnnealDimension, "dimension");
    if (input.box) {
        requireSameCount(input.box->size(), "box", static_cast<std::size_t>(input.dimension), "dimension");
        for (std::size_t i = 0; i < input.box->size(); ++i) {
            auto const [lower, upper] = (*input.box)[i];
            if (!(lower < upper) || !std::isfinite(upper - lower)) {
                failField(
                    "box[" + std::to_string(i) + "]",
                    "expected lower < upper, got [" + formatNumber(lower) + ", " + formatNumber(upper) + "]");
            }
        }
    }
    input.seed = reader.integer("seed", 1);
    requireInRange(input.seed, 0, 2147483647, "seed");
    if (reader.has("settings")) {
        readSettings(reader.value("settings"), input);
    }
    reader.finish();

    return input;
}

}  // namespace ktx
