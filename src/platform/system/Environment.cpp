#include <Kestrel/Environment.h>

#include <cstdlib>

namespace Kestrel {
namespace Environment {

std::string getEnv(std::string const& name) {
    char const* const value = std::getenv(name.c_str());
    return value == nullptr ? std::string() : std::string(value);
}

}  // namespace Environment
}  // namespace Kestrel
