#include "platform/macos/cf_owned.h"
#include "platform/macos/macos_platform.h"

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>

namespace kelvane {

namespace {

/// The key that bears C on the layout the codes were made for. Applications look the shortcut up by
/// what the user's layout makes of it.
constexpr CGKeyCode kKeyC = 8;

using Source = CFOwned<CGEventSourceRef>;
using Event = CFOwned<CGEventRef>;

Event commandC(const Source& source, bool down) {
    Event event(CGEventCreateKeyboardEvent(source.get(), kKeyC, down));
    if (event) CGEventSetFlags(event.get(), kCGEventFlagMaskCommand);
    return event;
}

bool isFrontmost(ProcessId pid) {
    @autoreleasepool {
        NSRunningApplication* front = NSWorkspace.sharedWorkspace.frontmostApplication;
        return front != nil && front.processIdentifier == pid;
    }
}

class CgKeyboard : public Keyboard {
public:
    bool trusted() override { return AXIsProcessTrusted(); }

    void postCopy(ProcessId target) override {
        const Source source(CGEventSourceCreate(kCGEventSourceStateCombinedSessionState));
        const Event down = commandC(source, true);
        const Event up = commandC(source, false);
        // A key that goes down and never up would hang in the session.
        if (!down || !up || !isFrontmost(target)) return;
        CGEventPost(kCGSessionEventTap, down.get());
        CGEventPost(kCGSessionEventTap, up.get());
    }
};

} // namespace

std::unique_ptr<Keyboard> makeCgKeyboard() {
    return std::make_unique<CgKeyboard>();
}

} // namespace kelvane
