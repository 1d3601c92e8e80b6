#include "input/GroupInput.h"

#include "input/InputError.h"
#include "input/JsonInput.h"
#include "input/Validation.h"

namespace ktx {

GroupInput parseGroupInput(std::string const& text) {
    nlohmann::json const document = parseJson(text);
    JsonObjectReader reader(document, "");
    GroupInput input;
    input.closed = reader.boolean("closed", false);
    std::string const measure = reader.text("measure", "minmax");
    if (measure == "minmax") {
        input.measure = Dispersion::MinMax;
    } else if (measure == "variance") {
        input.measure = Dispersion::Variance;
    } else {
        failField("measure", "expected \"minmax\" or \"variance\", got \"" + excerpt(measure) + "\"");
    }
    input.values = reader.numbers("values");
    input.lengths = reader.numbers("lengths");
    reader.finish();

    requireNonEmpty(input.values.size(), "values");
    requireSameCount(input.lengths.size(), "lengths", input.values.size(), "values");
    requirePositive(input.lengths, "lengths");
    requireFiniteSum(input.lengths, "lengths");
    requireFiniteSpread(input.values, "values", input.measure == Dispersion::Variance);
    return input;
}

}  // namespace ktx
