// Reading a whole input: a named file, or standard input when the name is "-".
#pragma once

#include <string>

namespace ktx {

struct TextInput {
    std::string source;  // the file name, or "<stdin>"
    std::string text;
};

// Throws InputError ("cannot read input file 'x': <reason>") when the file cannot be opened or read, and
// when it is a directory.
TextInput readTextInput(std::string const& path);

}  // namespace ktx
