// The bytes of resources/secrets.json, as a part of the program; the build writes the definition.

#pragma once

#include <string_view>

namespace trevix {

extern const std::string_view kSecrets;

} // namespace trevix
