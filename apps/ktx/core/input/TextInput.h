// Reading a whole input: a named file, or standard input when the name is "-".
#pragma once

#include <cstddef>
#include <string>

namespace ktx {

struct TextInput {
    std::string source;  // the file name, or "<stdin>"
    std::string text;
};

// Reads at most `maxBytes` bytes. Throws InputError ("cannot read input file 'x': <reason>") when the file
// cannot be opened or read, and when it is a directory; and ("input 'x' is larger than N MiB, the limit")
// when it holds more than `maxBytes` bytes.
TextInput readTextInput(std::string const& path, std::size_t maxBytes);

}  // namespace ktx
