#include "platform/macos/application_facts.h"
#include "platform/macos/macos_platform.h"
#import "platform/macos/ns_text.h"

#import <AppKit/AppKit.h>

namespace kelvane {

namespace {

ApplicationFacts factsOf(NSRunningApplication* application) {
    ApplicationFacts facts;
    facts.bundleId = textOf(application.bundleIdentifier);
    facts.name = textOf(application.localizedName);
    facts.processId = application.processIdentifier;
    if (NSDate* launched = application.launchDate) {
        facts.launchedAt = launched.timeIntervalSinceReferenceDate;
    }
    return facts;
}

class NsWorkspace : public Workspace {
public:
    std::optional<RunningApp> frontmost() override {
        @autoreleasepool {
            NSRunningApplication* front = NSWorkspace.sharedWorkspace.frontmostApplication;
            if (front == nil) return std::nullopt;
            return runningApp(factsOf(front));
        }
    }

    std::vector<RunningApp> runningApplications() override {
        @autoreleasepool {
            std::vector<ApplicationFacts> facts;
            for (NSRunningApplication* one in NSWorkspace.sharedWorkspace.runningApplications) {
                facts.push_back(factsOf(one));
            }
            return runningApps(std::move(facts));
        }
    }

    std::vector<RunningApp> instancesOf(std::string_view bundleId) override {
        @autoreleasepool {
            NSString* wanted = nsString(bundleId);
            if (wanted == nil) return {};
            std::vector<RunningApp> instances;
            for (NSRunningApplication* one in
                 [NSRunningApplication runningApplicationsWithBundleIdentifier:wanted]) {
                if (auto app = runningApp(factsOf(one))) instances.push_back(*std::move(app));
            }
            return instances;
        }
    }

    bool activate(ProcessId pid) override {
        @autoreleasepool {
            const auto process = systemProcessId(pid);
            if (!process) return false;
            NSRunningApplication* application =
                [NSRunningApplication runningApplicationWithProcessIdentifier:*process];
            // Messages to nil answer NO.
            return [application activateWithOptions:static_cast<NSApplicationActivationOptions>(0)];
        }
    }
};

} // namespace

std::unique_ptr<Workspace> makeNsWorkspace() {
    return std::make_unique<NsWorkspace>();
}

} // namespace kelvane
