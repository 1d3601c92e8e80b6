// The small example inputs that `ktx <subcommand> --help` shows; each parses with its subcommand's reader
// (checked by the tests), so the help never shows an input the tool rejects.
#pragma once

namespace ktx::examples {

extern char const* const group;
extern char const* const curvature;
extern char const* const masters;
extern char const* const assign;
extern char const* const lhs;
extern char const* const sample2d;
extern char const* const anneal;

}  // namespace ktx::examples
