// Marks the classes and functions that the shared libraries of this project export. Everything else is
// built with hidden visibility, so only what carries KESTREL_API is part of the binary interface.
#pragma once

#if defined(_WIN32)
#define KESTREL_API
#else
#define KESTREL_API __attribute__((visibility("default")))
#endif
