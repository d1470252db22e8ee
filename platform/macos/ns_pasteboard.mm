#include "platform/macos/macos_platform.h"
#import "platform/macos/ns_text.h"

#import <AppKit/AppKit.h>

namespace kelvane {

namespace {

class NsPasteboard : public Pasteboard {
public:
    std::optional<std::string> string() override {
        @autoreleasepool {
            return textOf([NSPasteboard.generalPasteboard stringForType:NSPasteboardTypeString]);
        }
    }

    std::int64_t changeCount() override {
        @autoreleasepool {
            return NSPasteboard.generalPasteboard.changeCount;
        }
    }

    void clearContents() override {
        @autoreleasepool {
            [NSPasteboard.generalPasteboard clearContents];
        }
    }

    void setString(std::string_view text) override {
        @autoreleasepool {
            NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
            [pasteboard clearContents]; // it takes text only from who cleared it last
            if (NSString* string = nsString(text)) {
                [pasteboard setString:string forType:NSPasteboardTypeString];
            }
        }
    }
};

} // namespace

std::unique_ptr<Pasteboard> makeNsPasteboard() {
    return std::make_unique<NsPasteboard>();
}

} // namespace kelvane
