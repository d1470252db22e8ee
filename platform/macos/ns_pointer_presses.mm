#include "platform/macos/macos_platform.h"

#import <AppKit/AppKit.h>

#include <utility>

namespace kelvane {

namespace {

constexpr NSEventMask kPresses =
    NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown | NSEventMaskOtherMouseDown;

class NsPointerPresses : public PointerPresses {
public:
    NsPointerPresses() = default;
    NsPointerPresses(const NsPointerPresses&) = delete;
    NsPointerPresses& operator=(const NsPointerPresses&) = delete;
    ~NsPointerPresses() override { removeMonitors(); }

    void start(std::function<void()> pressed) override {
        stop();
        if (!pressed) return;
        const auto block = std::make_shared<std::function<void()>>(std::move(pressed));
        @autoreleasepool {
            // One monitor sees only what goes to other programs, the other only what comes to us.
            m_elsewhere = [NSEvent addGlobalMonitorForEventsMatchingMask:kPresses
                                                                 handler:^(NSEvent*) {
                                                                   (*block)();
                                                                 }];
            m_here = [NSEvent addLocalMonitorForEventsMatchingMask:kPresses
                                                           handler:^NSEvent*(NSEvent* event) {
                                                             (*block)();
                                                             return event;
                                                           }];
        }
    }

    void stop() override { removeMonitors(); }

private:
    void removeMonitors() {
        @autoreleasepool {
            for (id monitor : {std::exchange(m_elsewhere, nil), std::exchange(m_here, nil)}) {
                if (monitor != nil) [NSEvent removeMonitor:monitor];
            }
        }
    }

    id m_elsewhere = nil;
    id m_here = nil;
};

} // namespace

std::unique_ptr<PointerPresses> makeNsPointerPresses() {
    return std::make_unique<NsPointerPresses>();
}

} // namespace kelvane
