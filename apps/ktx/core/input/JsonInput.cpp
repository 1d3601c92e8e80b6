#include "input/JsonInput.h"

#include "input/InputError.h"

#include <cmath>
#include <limits>

namespace ktx {

namespace {

// Line and column (both from 1) of the byte at `offset` (0-based).
std::pair<std::size_t, std::size_t> lineAndColumn(std::string const& text, std::size_t offset) {
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return {line, column};
}

// The parser's reason ends in "last read: '<the text read>'", which can be as long as the input.
std::string shortenLastRead(std::string const& reason) {
    std::string const marker = "last read: '";
    auto const at = reason.find(marker);
    if (at == std::string::npos || reason.back() != '\'') {
        return reason;
    }
    std::size_t const start = at + marker.size();
    return reason.substr(0, start) + excerpt(reason.substr(start, reason.size() - 1 - start)) + "'";
}

// nlohmann's message reads "[json.exception.parse_error.101] parse error at line 1, column 5: <reason>".
std::string reasonOf(nlohmann::json::parse_error const& error) {
    std::string const message = error.what();
    auto const column = message.find(", column ");
    if (column != std::string::npos) {
        auto const colon = message.find(": ", column);
        if (colon != std::string::npos) {
            return shortenLastRead(message.substr(colon + 2));
        }
    }
    auto const bracket = message.find("] ");
    return bracket == std::string::npos ? message : message.substr(bracket + 2);
}

std::string elementPath(std::string const& path, std::size_t index) {
    return path + "[" + std::to_string(index) + "]";
}

}  // namespace

nlohmann::json parseJson(std::string const& text) {
    try {
        return nlohmann::json::parse(text);
    } catch (nlohmann::json::parse_error const& error) {
        std::size_t const offset = error.byte > 0 ? error.byte - 1 : 0;
        auto const [line, column] = lineAndColumn(text, offset);
        throw InputError(std::to_string(line) + ":" + std::to_string(column) +
                         ": malformed JSON: " + reasonOf(error));
    } catch (nlohmann::json::out_of_range const& error) {
        // A number too large for a double ("1e999"): the message quotes it but gives no position, so the
        // position is that of the quoted text's first occurrence.
        std::string const message = error.what();
        auto const open = message.find('\'');
        auto const close = message.rfind('\'');
        std::string const number =
            open != std::string::npos && close > open ? message.substr(open + 1, close - open - 1) : "";
        auto const at = number.empty() ? std::string::npos : text.find(number);
        auto const [line, column] = lineAndColumn(text, at == std::string::npos ? 0 : at);
        throw InputError(std::to_string(line) + ":" + std::to_string(column) + ": number out of range: '" +
                         excerpt(number) + "' is beyond the largest double");
    }
}

void failField(std::string const& path, std::string const& message) {
    throw InputError("field '" + (path.empty() ? std::string("(document)") : path) + "': " + message);
}

std::string describeType(nlohmann::json const& value) {
    switch (value.type()) {
        case nlohmann::json::value_t::null:
            return "null";
        case nlohmann::json::value_t::object:
            return "an object";
        case nlohmann::json::value_t::array:
            return "an array";
        case nlohmann::json::value_t::string:
            return "a string";
        case nlohmann::json::value_t::boolean:
            return "a boolean";
        case nlohmann::json::value_t::number_integer:
        case nlohmann::json::value_t::number_unsigned:
            return "an integer";
        case nlohmann::json::value_t::number_float:
            return "a number";
        default:
            return "an unsupported value";
    }
}

double toNumber(nlohmann::json const& value, std::string const& path) {
    if (!value.is_number()) {
        failField(path, "expected a number, got " + describeType(value));
    }
    double const number = value.get<double>();
    if (!std::isfinite(number)) {
        failField(path, "expected a finite number");
    }
    return number;
}

int toInteger(nlohmann::json const& value, std::string const& path) {
    if (value.is_number_unsigned()) {
        auto const number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
            failField(path, "integer out of range");
        }
        return static_cast<int>(number);
    }
    if (value.is_number_integer()) {
        auto const number = value.get<std::int64_t>();
        if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
            failField(path, "integer out of range");
        }
        return static_cast<int>(number);
    }
    failField(path, "expected an integer, got " + describeType(value));
}

nlohmann::json const& toArray(nlohmann::json const& value, std::string const& path) {
    if (!value.is_array()) {
        failField(path, "expected an array, got " + describeType(value));
    }
    return value;
}

std::vector<double> toNumbers(nlohmann::json const& value, std::string const& path) {
    toArray(value, path);
    std::vector<double> numbers;
    numbers.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        numbers.push_back(toNumber(value[i], elementPath(path, i)));
    }
    return numbers;
}

std::vector<int> toIntegers(nlohmann::json const& value, std::string const& path) {
    toArray(value, path);
    std::vector<int> numbers;
    numbers.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        numbers.push_back(toInteger(value[i], elementPath(path, i)));
    }
    return numbers;
}

std::pair<double, double> toPoint(nlohmann::json const& value, std::string const& path) {
    if (!value.is_array() || value.size() != 2) {
        failField(path, "expected a point [x, y], got " +
                            (value.is_array() ? "an array of " + std::to_string(value.size()) + " entries"
                                              : describeType(value)));
    }
    return {toNumber(value[0], elementPath(path, 0)), toNumber(value[1], elementPath(path, 1))};
}

std::vector<std::pair<double, double>> toPoints(nlohmann::json const& value, std::string const& path) {
    toArray(value, path);
    std::vector<std::pair<double, double>> points;
    points.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        points.push_back(toPoint(value[i], elementPath(path, i)));
    }
    return points;
}

JsonObjectReader::JsonObjectReader(nlohmann::json const& object, std::string path)
    : object_(object), path_(std::move(path)) {
    if (!object_.is_object()) {
        failField(path_, "expected an object, got " + describeType(object_));
    }
}

bool JsonObjectReader::has(std::string const& name) const {
    return object_.contains(name);
}

std::string JsonObjectReader::fieldPath(std::string const& name) const {
    return path_.empty() ? name : path_ + "." + name;
}

nlohmann::json const& JsonObjectReader::value(std::string const& name) {
    auto const found = object_.find(name);
    if (found == object_.end()) {
        failField(fieldPath(name), "missing");
    }
    read_.insert(name);
    return *found;
}

double JsonObjectReader::number(std::string const& name) {
    return toNumber(value(name), fieldPath(name));
}

int JsonObjectReader::integer(std::string const& name) {
    return toInteger(value(name), fieldPath(name));
}

bool JsonObjectReader::boolean(std::string const& name) {
    nlohmann::json const& field = value(name);
    if (!field.is_boolean()) {
        failField(fieldPath(name), "expected true or false, got " + describeType(field));
    }
    return field.get<bool>();
}

std::string JsonObjectReader::text(std::string const& name) {
    nlohmann::json const& field = value(name);
    if (!field.is_string()) {
        failField(fieldPath(name), "expected a string, got " + describeType(field));
    }
    return field.get<std::string>();
}

std::vector<double> JsonObjectReader::numbers(std::string const& name) {
    return toNumbers(value(name), fieldPath(name));
}

std::vector<int> JsonObjectReader::integers(std::string const& name) {
    return toIntegers(value(name), fieldPath(name));
}

double JsonObjectReader::number(std::string const& name, double fallback) {
    return has(name) ? number(name) : fallback;
}

int JsonObjectReader::integer(std::string const& name, int fallback) {
    return has(name) ? integer(name) : fallback;
}

bool JsonObjectReader::boolean(std::string const& name, bool fallback) {
    return has(name) ? boolean(name) : fallback;
}

std::string JsonObjectReader::text(std::string const& name, std::string const& fallback) {
    return has(name) ? text(name) : fallback;
}

void JsonObjectReader::finish() const {
    for (auto const& item : object_.items()) {
        if (read_.count(item.key()) == 0) {
            failField(fieldPath(excerpt(item.key())), "unknown field");
        }
    }
}

}  // namespace ktx
