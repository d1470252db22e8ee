#include "platform/menu_bar_application.h"

namespace kelvane {

void makeAccessoryApplication() {}

void activateApplication() {}

} // namespace kelvane
