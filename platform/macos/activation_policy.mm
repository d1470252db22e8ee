#include "platform/macos/activation_policy.h"

#import <AppKit/AppKit.h>

namespace kelvane {

void setAccessoryPolicy() {
    @autoreleasepool {
        [NSApplication.sharedApplication
            setActivationPolicy:NSApplicationActivationPolicyAccessory];
    }
}

void activateIgnoringOtherApplications() {
    @autoreleasepool {
        [NSApplication.sharedApplication activateIgnoringOtherApps:YES];
    }
}

} // namespace kelvane
