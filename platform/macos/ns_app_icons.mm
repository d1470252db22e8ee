#include "platform/macos/icon_size.h"
#include "platform/macos/macos_platform.h"
#import "platform/macos/ns_text.h"

#import <AppKit/AppKit.h>

#include <mutex>

namespace kelvane {

namespace {

std::optional<std::int64_t> sideOf(NSImage* image) {
    std::vector<std::int64_t> widths;
    for (NSImageRep* picture in image.representations) widths.push_back(picture.pixelsWide);
    return iconSide(widths);
}

/// A drawing surface of our own, so that no window and no main thread is needed.
NSBitmapImageRep* blankPicture(NSInteger side) {
    return [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                   pixelsWide:side
                                                   pixelsHigh:side
                                                bitsPerSample:8
                                              samplesPerPixel:4
                                                     hasAlpha:YES
                                                     isPlanar:NO
                                               colorSpaceName:NSCalibratedRGBColorSpace
                                                  bytesPerRow:0
                                                 bitsPerPixel:0];
}

NSData* pngOf(NSImage* image, NSInteger side) {
    NSBitmapImageRep* picture = blankPicture(side);
    NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:picture];
    if (picture == nil || context == nil) return nil;
    const auto length = static_cast<CGFloat>(side);
    [NSGraphicsContext saveGraphicsState];
    NSGraphicsContext.currentContext = context;
    [image drawInRect:NSMakeRect(0, 0, length, length)
             fromRect:NSZeroRect
            operation:NSCompositingOperationSourceOver
             fraction:1.0];
    [context flushGraphics];
    [NSGraphicsContext restoreGraphicsState];
    return [picture representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
}

class NsAppIcons : public AppIcons {
public:
    std::optional<AppIcon> icon(std::string_view bundleId) override {
        @autoreleasepool {
            NSString* identifier = nsString(bundleId);
            if (identifier == nil || identifier.length == 0) return std::nullopt;
            // An image may be drawn on any thread, but two threads must not draw at once what the
            // system may hand out to both.
            const std::lock_guard lock(m_mutex);
            NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
            NSURL* place = [workspace URLForApplicationWithBundleIdentifier:identifier];
            if (place.path == nil) return std::nullopt;
            NSImage* image = [workspace iconForFile:place.path];
            const auto side = sideOf(image);
            if (!side) return std::nullopt;
            NSData* png = pngOf(image, static_cast<NSInteger>(*side));
            if (png == nil) return std::nullopt;
            return IconPng{std::string(static_cast<const char*>(png.bytes), png.length)};
        }
    }

private:
    std::mutex m_mutex;
};

} // namespace

std::unique_ptr<AppIcons> makeNsAppIcons() {
    return std::make_unique<NsAppIcons>();
}

} // namespace kelvane
