#include "app/shell/qt/activation_token.h"

namespace kelvane {

void bringForwardBy(const std::string&) {}

} // namespace kelvane
