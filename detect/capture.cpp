#include "detect/capture.h"

#include "platform/ports/clock.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"
#include "text/base64.h"
#include "text/unicode.h"

#include <cmath>
#include <string_view>
#include <utility>

namespace kelvane::Capture {

namespace {

using namespace std::chrono_literals;

// A window comes to the front within a few redraws once its application is asked; what takes longer
// refuses, and the user is waiting.
constexpr auto kFrontmostTimeout = 700ms;
constexpr auto kFrontmostInterval = 40ms;

// What an application gets between the copy key and the look at the clipboard. A stated part of the
// behaviour: short enough not to be felt, and long enough for an editor with a page of text.
constexpr auto kCopyDelay = 180'000us;

enum class Front {
    Reached,
    NotReached,
    Quitting,
};

enum class Selection {
    Copied,
    None,
    Quitting,
};

struct SelectionCopy {
    Selection outcome = Selection::None;
    std::string text;
};

const std::string& displayName(const DetectedApp& app) {
    return app.app ? app.app->name : app.rawName;
}

std::string fileName(const DetectedApp& app, std::string_view namelessStem,
                     std::string_view extension) {
    std::string name(app.app ? std::string_view(app.app->id) : namelessStem);
    return name.append(".").append(extension);
}

bool isFrontmost(Workspace& workspace, ProcessId pid) {
    const auto front = workspace.frontmost();
    return front && front->pid == pid;
}

Front waitForFront(Workspace& workspace, Clock& clock, ProcessId pid) {
    const Instant deadline = clock.now() + kFrontmostTimeout;
    while (clock.now() < deadline) {
        if (isFrontmost(workspace, pid)) return Front::Reached;
        if (clock.sleep(kFrontmostInterval) == SleepEnd::Quitting) return Front::Quitting;
    }
    return isFrontmost(workspace, pid) ? Front::Reached : Front::NotReached;
}

/// Copies the selection of `pid` by its own copy key and leaves the pasteboard as it was.
SelectionCopy copySelection(const Ports& ports, ProcessId pid) {
    const PasteboardMemory memory = ports.pasteboard.remember();
    // Its answer does not matter: what counts is who is in front in the end.
    ports.workspace.activate(pid);
    switch (waitForFront(ports.workspace, ports.clock, pid)) {
    case Front::Reached:
        break;
    case Front::NotReached:
        return {};
    case Front::Quitting:
        return {.outcome = Selection::Quitting, .text = {}};
    }

    ports.keyboard.postCopy(pid);
    const bool quitting = ports.clock.sleep(kCopyDelay) == SleepEnd::Quitting;
    std::optional<std::string> copied;
    if (ports.pasteboard.changeCount() != memory.changeCount) copied = ports.pasteboard.string();
    // Asked again: a copy that came only just now has to be undone as well.
    if (ports.pasteboard.changeCount() != memory.changeCount) ports.pasteboard.putBack(memory);

    if (quitting) return {.outcome = Selection::Quitting, .text = {}};
    // Blanks alone are what an application copies that has nothing selected.
    if (!copied || text::trimmedWhitespaceAndNewlines(*copied).empty()) return {};
    return {.outcome = Selection::Copied, .text = std::move(*copied)};
}

struct TextFormat {
    std::string_view mimeType;
    std::string_view extension;
};

TextFormat textFormat(std::string_view modality) {
    if (modality == "code") return {.mimeType = "text/x-code", .extension = "txt"};
    if (modality == "spreadsheet") {
        return {.mimeType = "text/tab-separated-values", .extension = "tsv"};
    }
    if (modality == "document") return {.mimeType = "text/markdown", .extension = "md"};
    return {.mimeType = "text/plain", .extension = "txt"};
}

CaptureResult textResult(const DetectedApp& app, std::string_view copied,
                         const std::string& modality) {
    const TextFormat format = textFormat(modality);
    return {
        .parts = {{
            .mimeType = std::string(format.mimeType),
            .text = std::string(text::firstCharacters(copied, kMaxCharacters)),
            .dataB64 = std::nullopt,
            .logicalName = fileName(app, "work", format.extension),
        }},
        .modality = modality,
        .ok = true,
        .note = std::nullopt,
    };
}

CaptureResult failure(const std::string& modality, std::optional<std::string> note) {
    return {.parts = {}, .modality = modality, .ok = false, .note = std::move(note)};
}

CaptureResult selectionOrShot(const Ports& ports, const RunningApp& running, const DetectedApp& app,
                              const std::string& modality) {
    if (ports.keyboard.trusted()) {
        const SelectionCopy copy = copySelection(ports, running.pid);
        switch (copy.outcome) {
        case Selection::Copied:
            return textResult(app, copy.text, modality);
        case Selection::Quitting:
            return failure(modality, std::nullopt);
        case Selection::None:
            break;
        }
    }
    // The permission may have come or gone since; the note must fit how things are now.
    const bool trusted = ports.keyboard.trusted();
    const std::string note =
        trusted ? "No text selection found — graded a screenshot of " + displayName(app) +
                      "'s window. Select text first for a text grade."
                : "Grant Accessibility (System Settings ▸ Privacy) to grade your text selection; "
                  "graded a window screenshot for now.";
    auto shot = windowShot(ports, running, app, modality, note);
    if (shot.ok && !trusted) shot.lacks = CaptureLack::Selection;
    return shot;
}

} // namespace

CaptureResult capture(const Ports& ports, const DetectedApp& app) {
    const std::string modality = app.app ? app.app->primaryModality : "text";
    const std::string method = app.app ? app.app->capture : "screenshot";
    const std::string& name = displayName(app);

    std::vector<RunningApp> instances;
    if (!app.rawBundleId.empty()) instances = ports.workspace.instancesOf(app.rawBundleId);
    if (instances.empty()) {
        return failure(modality, name + " isn't running anymore — open it and press Grade.");
    }
    const RunningApp& running = instances.front();

    if (method == "selection" || method == "document") {
        return selectionOrShot(ports, running, app, modality);
    }
    if (method == "export") {
        return windowShot(ports, running, app, modality,
                          "Graded a frame of " + name +
                              ". For the full render, export the file and run `brask grade "
                              "<file>`.");
    }
    return windowShot(ports, running, app, modality, std::nullopt);
}

bool waitFrontmost(Workspace& workspace, Clock& clock, ProcessId pid) {
    return waitForFront(workspace, clock, pid) == Front::Reached;
}

double area(const WindowInfo& info) {
    if (!info.bounds || !info.bounds->width || !info.bounds->height) return 0;
    const double product = *info.bounds->width * *info.bounds->height;
    // A size that is none must not win over a real one, nor block it by being incomparable.
    return std::isfinite(product) ? product : 0;
}

std::optional<std::string> frontWindowPNG(WindowList& windows, WindowPicture& picture,
                                          ProcessId pid) {
    const auto list = windows.onScreenWindows();
    if (!list) return std::nullopt;
    const WindowInfo* largest = nullptr;
    for (const WindowInfo& window : *list) {
        if (window.ownerPid != pid || window.layer != 0) continue; // menus and tool tips lie higher
        if (largest == nullptr || area(window) > area(*largest)) largest = &window;
    }
    if (largest == nullptr || !largest->number) return std::nullopt;
    return picture.png(*largest->number);
}

CaptureResult windowShot(const Ports& ports, const RunningApp& running, const DetectedApp& app,
                         const std::string& fallbackModality,
                         const std::optional<std::string>& note) {
    const auto png = frontWindowPNG(ports.windows, ports.picture, running.pid);
    if (!png || png->empty()) {
        auto failed =
            failure(fallbackModality,
                    "Couldn't capture " + displayName(app) +
                        "'s window — grant Screen Recording in System Settings ▸ Privacy, and "
                        "make sure the window is open on screen.");
        failed.lacks = CaptureLack::Picture;
        return failed;
    }
    // A slide and an interface are judged as such by their picture; of anything else only the
    // picture is left.
    const bool keepsModality = fallbackModality == "deck" || fallbackModality == "ui_ux";
    return {
        .parts = {{
            .mimeType = "image/png",
            .text = std::nullopt,
            .dataB64 = text::base64(*png),
            .logicalName = fileName(app, "window", "png"),
        }},
        .modality = keepsModality ? fallbackModality : "image",
        .ok = true,
        .note = note,
    };
}

} // namespace kelvane::Capture
