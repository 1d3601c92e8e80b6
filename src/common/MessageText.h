// Text pieces for the messages of std::invalid_argument that every family's input checks throw, so that
// each quotes numbers and entries the same way.
#pragma once

#include <cstddef>
#include <sstream>
#include <string>

namespace Kestrel::common {

// `value` as text with every digit needed to read it back (17 significant digits; "nan", "inf", "-inf").
inline std::string numberText(double value) {
    std::ostringstream text;
    text.precision(17);
    text << value;
    return text.str();
}

// "name[index]", for messages that name an offending entry.
inline std::string entryText(char const* name, std::size_t index) {
    return std::string(name) + "[" + std::to_string(index) + "]";
}

}  // namespace Kestrel::common
