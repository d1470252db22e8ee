// One fake of each port around one journal: what a test starts with that uses many of them. A test
// of few ports includes their own headers.
//
// The fields of a fake are its script: set them before or between calls. A fake is used from one
// thread unless it says otherwise; nothing here starts a thread, sleeps or touches the machine.

#pragma once

#include "platform/fake/fake_accessibility_switch.h"
#include "platform/fake/fake_app_icons.h"
#include "platform/fake/fake_bundle_resources.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_desktop_limits.h"
#include "platform/fake/fake_dialogs.h"
#include "platform/fake/fake_dispatcher.h"
#include "platform/fake/fake_environment.h"
#include "platform/fake/fake_file_system.h"
#include "platform/fake/fake_global_shortcut.h"
#include "platform/fake/fake_http_session.h"
#include "platform/fake/fake_kept_programs.h"
#include "platform/fake/fake_keyboard.h"
#include "platform/fake/fake_notifications.h"
#include "platform/fake/fake_own_focus.h"
#include "platform/fake/fake_pasteboard.h"
#include "platform/fake/fake_process_runner.h"
#include "platform/fake/fake_url_opener.h"
#include "platform/fake/fake_window_list.h"
#include "platform/fake/fake_window_picture.h"
#include "platform/fake/fake_workspace.h"
#include "platform/fake/journal.h"

namespace kelvane {

/// One of each, sharing a journal: what most tests start with.
struct FakePlatform {
    Journal journal;
    FakeAccessibilitySwitch accessibility{journal};
    FakeClock clock{journal};
    FakeDesktopLimits limits;
    FakeDialogs dialogs{journal};
    FakeDispatcher dispatcher;
    FakeEnvironment environment;
    FakeFileSystem files{journal};
    FakeBundleResources resources;
    FakeAppIcons icons;
    FakeGlobalShortcut shortcut{journal};
    FakeHttpSession http{journal};
    FakeKeptPrograms programs{journal};
    FakeKeyboard keyboard{journal};
    FakeNotifications notifications{journal};
    FakeOwnFocus ownFocus;
    FakePasteboard pasteboard{journal};
    FakeProcessRunner processes{journal};
    FakeUrlOpener urls{journal};
    FakeWindowList windows{journal};
    FakeWindowPicture picture{journal};
    FakeWorkspace workspace{journal};
};

} // namespace kelvane
