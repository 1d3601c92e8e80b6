#include "AnnealInput.h"

#include "Csv.h"
#include "JsonInput.h"
#include "Validation.h"

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
    if (reader.has("warmUpPoints")) {
        input.warmUpPoints = reader.integer("warmUpPoints");
        requireInRange(*input.warmUpPoints, 1, 1000000, "settings.warmUpPoints");
    }
    if (reader.has("stepFraction")) {
        input.stepFraction = reader.number("stepFraction");
        if (!(*input.stepFraction > 0.0 && *input.stepFraction <= 1.0)) {
            failField("settings.stepFraction",
                      "must lie in (0, 1], got " + formatNumber(*input.stepFraction));
        }
    }
    if (reader.has("stepsPerSample")) {
        input.stepsPerSample = reader.integer("stepsPerSample");
        requireInRange(*input.stepsPerSample, 1, kMaxStepsPerSample, "settings.stepsPerSample");
    }
    if (reader.has("coolingFactor")) {
        input.coolingFactor = reader.number("coolingFactor");
        requireOpenUnit(*input.coolingFactor, "settings.coolingFactor");
    }
    if (reader.has("finalTemperatureRatio")) {
        input.finalTemperatureRatio = reader.number("finalTemperatureRatio");
        requireOpenUnit(*input.finalTemperatureRatio, "settings.finalTemperatureRatio");
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

    double const factor = input.coolingFactor.value_or(0.95);
    double const ratio = input.finalTemperatureRatio.value_or(1e-5);
    double const samples = 1.0 + std::log(ratio) / std::log(factor);
    double const steps = samples * input.stepsPerSample.value_or(20);
    if (!(steps <= kMaxAnnealSteps)) {
        failField("settings",
                  "asks for about " + formatNumber(std::round(steps)) + " leapfrog steps, more than " +
                      formatNumber(kMaxAnnealSteps) +
                      "; lower coolingFactor, raise finalTemperatureRatio or lower stepsPerSample");
    }
    return input;
}

}  // namespace ktx
