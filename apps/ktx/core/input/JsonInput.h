// Parsing JSON text and reading typed fields out of it with messages that name the field.
//
//   nlohmann::json const document = parseJson(text);          // "3:14: malformed JSON: ..." on syntax errors
//   JsonObjectReader reader(document, "");                     // the document must be an object
//   std::vector<double> values = reader.numbers("values");     // "field 'values[2]': expected a number, ..."
//   bool closed = reader.boolean("closed", false);             // optional with a default
//   reader.finish();                                           // "field 'lenghts': unknown field"
//
// Every number must be finite; integers must be JSON integers within the range of int.
#pragma once

#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ktx {

// Parses `text`; throws InputError "line:column: malformed JSON: <reason>" on a syntax error.
nlohmann::json parseJson(std::string const& text);

// "field 'path': message"
[[noreturn]] void failField(std::string const& path, std::string const& message);

// The JSON type name used in messages ("a string", "an array", ...).
std::string describeType(nlohmann::json const& value);

double toNumber(nlohmann::json const& value, std::string const& path);
int toInteger(nlohmann::json const& value, std::string const& path);
std::vector<double> toNumbers(nlohmann::json const& value, std::string const& path);
std::vector<int> toIntegers(nlohmann::json const& value, std::string const& path);
// A point [x, y].
std::pair<double, double> toPoint(nlohmann::json const& value, std::string const& path);
std::vector<std::pair<double, double>> toPoints(nlohmann::json const& value, std::string const& path);
// The array itself, checked to be one.
nlohmann::json const& toArray(nlohmann::json const& value, std::string const& path);

// Reads the fields of one JSON object. `path` is the object's own field path ("" for the document).
class JsonObjectReader {
  public:
    JsonObjectReader(nlohmann::json const& object, std::string path);

    bool has(std::string const& name) const;
    std::string fieldPath(std::string const& name) const;

    // Required fields: "field 'x': missing" when absent.
    nlohmann::json const& value(std::string const& name);
    double number(std::string const& name);
    int integer(std::string const& name);
    bool boolean(std::string const& name);
    std::string text(std::string const& name);
    std::vector<double> numbers(std::string const& name);
    std::vector<int> integers(std::string const& name);

    // Optional fields with a default.
    double number(std::string const& name, double fallback);
    int integer(std::string const& name, int fallback);
    bool boolean(std::string const& name, bool fallback);
    std::string text(std::string const& name, std::string const& fallback);

    // Rejects any field that was not read, naming the first one: catches misspelt field names.
    void finish() const;

  private:
    nlohmann::json const& object_;
    std::string path_;
    std::set<std::string> read_;
};

}  // namespace ktx
