#include "platform/macos/cf_owned.h"
#include "platform/macos/macos_platform.h"
#include "platform/macos/window_dictionary.h"

#import <ApplicationServices/ApplicationServices.h>

#include <array>

namespace kelvane {

namespace {

WindowNumber numberIn(CFTypeRef value) {
    if (value == nullptr || CFGetTypeID(value) != CFNumberGetTypeID()) return ForeignValue{};
    auto* number = static_cast<CFNumberRef>(value);
    if (CFNumberIsFloatType(number)) {
        double real = 0;
        if (CFNumberGetValue(number, kCFNumberDoubleType, &real)) return real;
        return ForeignValue{};
    }
    std::int64_t integer = 0;
    if (CFNumberGetValue(number, kCFNumberSInt64Type, &integer)) return integer;
    return ForeignValue{};
}

CFDictionaryRef dictionaryIn(CFTypeRef value) {
    if (value == nullptr || CFGetTypeID(value) != CFDictionaryGetTypeID()) return nullptr;
    return static_cast<CFDictionaryRef>(value);
}

/// What stands under `key`, null when nothing does; it belongs to the dictionary.
CFTypeRef valueAt(CFDictionaryRef dictionary, const char* key) {
    const CFOwned<CFStringRef> name(
        CFStringCreateWithCString(kCFAllocatorDefault, key, kCFStringEncodingUTF8));
    return name ? CFDictionaryGetValue(dictionary, name.get()) : nullptr;
}

WindowNumbers copiedBounds(CFDictionaryRef bounds) {
    WindowNumbers numbers;
    for (const char* key : {kBoundsWidthKey, kBoundsHeightKey}) {
        if (CFTypeRef value = valueAt(bounds, key)) numbers.emplace(key, numberIn(value));
    }
    return numbers;
}

WindowDictionary copied(CFDictionaryRef window) {
    WindowDictionary dictionary;
    for (const char* key : {kWindowOwnerKey, kWindowLayerKey, kWindowNumberKey}) {
        CFTypeRef value = valueAt(window, key);
        if (value == nullptr) continue;
        std::visit([&](auto number) { dictionary.emplace(key, number); }, numberIn(value));
    }
    if (CFDictionaryRef bounds = dictionaryIn(valueAt(window, kWindowBoundsKey))) {
        dictionary.emplace(kWindowBoundsKey, copiedBounds(bounds));
    }
    return dictionary;
}

class CgWindowList : public WindowList {
public:
    std::optional<std::vector<WindowInfo>> onScreenWindows() override {
        constexpr CGWindowListOption kOptions =
            kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements;
        const CFOwned<CFArrayRef> list(CGWindowListCopyWindowInfo(kOptions, kCGNullWindowID));
        if (!list) return std::nullopt;
        std::vector<WindowInfo> windows;
        const CFIndex count = CFArrayGetCount(list.get());
        for (CFIndex i = 0; i < count; ++i) {
            CFDictionaryRef window = dictionaryIn(CFArrayGetValueAtIndex(list.get(), i));
            // Not a list of dictionaries: then it cannot be read at all.
            if (window == nullptr) return std::nullopt;
            windows.push_back(windowInfo(copied(window)));
        }
        return windows;
    }
};

} // namespace

std::unique_ptr<WindowList> makeCgWindowList() {
    return std::make_unique<CgWindowList>();
}

} // namespace kelvane
