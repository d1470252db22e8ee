#include "platform/macos/alert_answer.h"
#include "platform/macos/cf_owned.h"
#include "platform/macos/macos_platform.h"
#import "platform/macos/ns_text.h"

#import <AppKit/AppKit.h>

namespace kelvane {

static_assert(kFirstButtonResponse == NSAlertFirstButtonReturn);

namespace {

NSString* shown(std::string_view text) {
    NSString* string = nsString(text);
    return string == nil ? @"" : string;
}

/// Whether there is a screen with a user in front of it, rather than a remote shell.
bool hasLoginSession() {
    return static_cast<bool>(CFOwned<CFDictionaryRef>(CGSessionCopyCurrentDictionary()));
}

class NsDialogs : public Dialogs {
public:
    std::optional<std::size_t> show(const Alert& alert) override {
        if (!hasLoginSession()) return std::nullopt;
        @autoreleasepool {
            NSApplication* application = NSApplication.sharedApplication;
            NSAlert* panel = [[NSAlert alloc] init];
            panel.alertStyle = alert.style == Alert::Style::Warning ? NSAlertStyleWarning
                                                                    : NSAlertStyleInformational;
            panel.messageText = shown(alert.message);
            panel.informativeText = shown(alert.informative);
            for (const std::string& button : alert.buttons) {
                [panel addButtonWithTitle:shown(button)];
            }
            // A program without a Dock icon is never active by itself.
            [application activateIgnoringOtherApps:YES];
            return pressedButton([panel runModal], alert.buttons.size());
        }
    }
};

} // namespace

std::unique_ptr<Dialogs> makeNsDialogs() {
    return std::make_unique<NsDialogs>();
}

} // namespace kelvane
