#include "platform/macos/macos_platform.h"
#import "platform/macos/ns_text.h"
#include "text/web_address.h"

#import <AppKit/AppKit.h>

namespace kelvane {

namespace {

class NsUrlOpener : public UrlOpener {
public:
    bool open(std::string_view url) override {
        if (!text::isAddress(url)) return false;
        @autoreleasepool {
            NSURL* address = [NSURL URLWithString:nsString(url)];
            return address != nil && [NSWorkspace.sharedWorkspace openURL:address];
        }
    }
};

} // namespace

std::unique_ptr<UrlOpener> makeNsUrlOpener() {
    return std::make_unique<NsUrlOpener>();
}

} // namespace kelvane
