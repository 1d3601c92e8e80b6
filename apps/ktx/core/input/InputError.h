// The one exception type for bad input: malformed JSON or CSV, missing or mistyped fields, inconsistent
// sizes, out-of-range indices, non-finite numbers, unreadable input and unwritable output. The tool turns
// it into a one-line message on standard error and exit status 2; every other exception is an internal
// failure (exit status 1).
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace ktx {

// Replaces control characters and line breaks by \xNN so that a message always fits on one line.
std::string oneLine(std::string const& message);

// Input text quoted in a message: `text` itself up to kExcerptLength bytes, otherwise its first
// kExcerptLength bytes (not cutting a UTF-8 character) followed by "... (N bytes)", so that a huge cell or
// name never floods the error line.
constexpr std::size_t kExcerptLength = 60;
std::string excerpt(std::string const& text);

class InputError : public std::runtime_error {
  public:
    // `message` names the field (`field 'values[3]': ...`) or starts with `line:column:` for syntax errors.
    // Control characters in it (quoted input text may hold any byte) are escaped by oneLine.
    explicit InputError(std::string const& message) : std::runtime_error(oneLine(message)) {}
};

// Prefixes the message of an InputError with the name of the input it came from, so that
// "3:14: malformed JSON" becomes "group.json:3:14: malformed JSON" and "field 'values': ..." becomes
// "group.json: field 'values': ...".
std::string withSource(std::string const& source, std::string const& message);

}  // namespace ktx
