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
    if (reader.has("chains")) {
        input.chains = reader.integer("chains");
        requireInRange(*input.chains, 1, kMaxAnnealChains, "settings.chains");
    }
    if (reader.has("freshStartInterval")) {
        input.freshStartInterval = reader.integer("freshStartInterval");
        requireInRange(*input.freshStartInterval, 0, kMaxAnnealChains, "settings.freshStartInterval");
    }
    if (reader.has("refinementCalls")) {
        input.refinementCalls = reader.integer("refinementCalls");
        requireInRange(*input.refinementCalls, 0, static_cast<int>(kMaxAnnealSteps),
                       "settings.refinementCalls");
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

void requireSteppableBox(std::vector<std::pair<double, double>> const& box, double stepFraction) {
    for (std::size_t i = 0; i < box.size(); ++i) {
        double const width = box[i].second - box[i].first;
        if (!(stepFraction * width > 0.0)) {
            failField("box[" + std::to_string(i) + "]",
                      "width " + formatNumber(width) + " is too narrow to step in: stepFraction " +
                          formatNumber(stepFraction) + " times the width is 0 in double precision");
        }
    }
}

void GradientBudget::spendOne() {
    spent_ += 1;
    if (spent_ > limit_) {
        failField("settings",
                  "the run needs more than " + formatNumber(limit_) +
                      " gradient evaluations (integration steps, also those cut short at the box's "
                      "walls, and refinement calls); lower stepFraction, stepsPerSample or chains");
    }
}

void requireBoundedAnnealWork(double coolingFactor, double finalTemperatureRatio, int stepsPerSample,
                              int chains, int refinementCalls) {
    double const samplesPerChain = 1.0 + std::ceil(std::log(finalTemperatureRatio) / std::log(coolingFactor));
    double const work = static_cast<double>(chains) * (samplesPerChain * static_cast<double>(stepsPerSample) +
                                                       static_cast<double>(refinementCalls));
    if (!(work <= kMaxAnnealSteps)) {
        failField("settings",
                  "asks for about " + formatNumber(std::round(work)) +
                      " leapfrog steps and refinement calls, more than " + formatNumber(kMaxAnnealSteps) +
                      "; lower coolingFactor, chains or stepsPerSample, or raise finalTemperatureRatio");
    }
}

}  // namespace ktx
