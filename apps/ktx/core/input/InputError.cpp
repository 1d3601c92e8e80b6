#include "input/InputError.h"

#include <cctype>
#include <cstdio>

namespace ktx {

std::string withSource(std::string const& source, std::string const& message) {
    bool const startsWithPosition = !message.empty() && std::isdigit(static_cast<unsigned char>(message[0]));
    return source + (startsWithPosition ? ":" : ": ") + message;
}

std::string excerpt(std::string const& text) {
    if (text.size() <= kExcerptLength) {
        return text;
    }
    std::size_t cut = kExcerptLength;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xc0) == 0x80) {
        --cut;
    }
    return text.substr(0, cut) + "... (" + std::to_string(text.size()) + " bytes)";
}

std::string oneLine(std::string const& message) {
    std::string line;
    line.reserve(message.size());
    for (char const c : message) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(byte));
            line += escaped;
        } else {
            line += c;
        }
    }
    return line;
}

}  // namespace ktx
