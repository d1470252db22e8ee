#include "text/build_version.h"

#ifndef KELVANE_VERSION
#define KELVANE_VERSION "0.0.0-unbuilt"
#endif

namespace kelvane::text {

std::string_view buildVersion() {
    return KELVANE_VERSION;
}

} // namespace kelvane::text
