// The ports that macOS answers by its own means.
//
// Every maker returns an adapter of its own, never null. All of them may be used from the threads
// that their ports name; each call drains its own autorelease pool, so a thread needs none.
//
// What is in front and what runs is kept up to date by the main thread's event loop: a caller that
// waits for it to change must not wait on the main thread. A program that asks once, before any
// loop, gets the state of that moment.

#pragma once

#include "platform/ports/app_icons.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/pointer_presses.h"
#include "platform/ports/url_opener.h"
#include "platform/ports/window_list.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

/// NSWorkspace and NSRunningApplication. Every application that the system lists is one of the
/// running ones, menu-bar programs and background helpers included.
[[nodiscard]] std::unique_ptr<Workspace> makeNsWorkspace();

/// Command+C, posted into the login session; trusted when the user granted Accessibility.
[[nodiscard]] std::unique_ptr<Keyboard> makeCgKeyboard();

/// The general pasteboard. Only text is remembered and put back.
[[nodiscard]] std::unique_ptr<Pasteboard> makeNsPasteboard();

/// Bounds are in points. Without a login session on a screen the list cannot be had.
[[nodiscard]] std::unique_ptr<WindowList> makeCgWindowList();

/// The icons that the Finder shows, as PNG.
[[nodiscard]] std::unique_ptr<AppIcons> makeNsAppIcons();

/// NSAlert. Shown only in a login session on a screen.
[[nodiscard]] std::unique_ptr<Dialogs> makeNsDialogs();

/// NSWorkspace. An address that is not valid as it stands is refused, never mended.
[[nodiscard]] std::unique_ptr<UrlOpener> makeNsUrlOpener();

/// NSEvent monitors, which need no permission for mouse buttons. They call on the main thread,
/// while its event loop runs.
[[nodiscard]] std::unique_ptr<PointerPresses> makeNsPointerPresses();

} // namespace kelvane
