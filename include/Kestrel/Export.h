// Marks the classes and functions that the shared libraries of this project export. Everything else is
// built with hidden visibility, so only what carries KESTREL_API is part of the binary interface. The
// library is built with g++ or clang, whose visibility attribute does the marking.
#pragma once

#define KESTREL_API __attribute__((visibility("default")))
