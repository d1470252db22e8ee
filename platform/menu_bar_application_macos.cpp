#include "platform/macos/activation_policy.h"
#include "platform/menu_bar_application.h"

namespace kelvane {

void makeAccessoryApplication() {
    setAccessoryPolicy();
}

void activateApplication() {
    activateIgnoringOtherApplications();
}

} // namespace kelvane
