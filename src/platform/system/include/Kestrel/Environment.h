// Access to the process environment, read at call time (never cached), so a host may change a variable
// between two calls and the next call sees the new value.
//
//   std::string const text = Kestrel::Environment::getEnv("KX_CONTROL_NUMBER_OF_LINE_DVS");
//   if (text.empty()) { /* not set */ }
#pragma once

#include <Kestrel/Export.h>

#include <string>

namespace Kestrel {
namespace Environment {

// The value of the environment variable `name`, or "" when it is not set.
KESTREL_API std::string getEnv(std::string const& name);

}  // namespace Environment
}  // namespace Kestrel
