// Which processor-specific instructions the library's fast paths may use. Every such path has a portable
// counterpart in plain C++ that performs the same integer or floating-point operations in the same order,
// so the choice never changes a result. Building with KESTREL_PORTABLE defined (the CMake option
// KESTREL_PORTABLE) turns every fast path off, to test the portable code on any processor.
#pragma once

// 1 where 128-bit SSE2 vectors may be used (every x86-64 processor).
#if defined(__SSE2__) && !defined(KESTREL_PORTABLE)
#define KESTREL_USE_SSE2 1
#else
#define KESTREL_USE_SSE2 0
#endif

// 1 where functions compiled for wider x86-64 instructions may be chosen at run time, by the compiler's
// target attribute and processor query (g++ and clang).
#if KESTREL_USE_SSE2 && defined(__x86_64__) && defined(__GNUC__)
#define KESTREL_USE_RUNTIME_DISPATCH 1
#else
#define KESTREL_USE_RUNTIME_DISPATCH 0
#endif
