// What the menu-bar shell needs of the desktop.
//
// One narrow interface per thing that a person sees or that makes time pass: the item in the menu
// bar, the popover under it, the demonstration window, the picture, the ticker, the application.
// The delegate decides what happens and in which order; whoever answers these decides nothing.
//
// Everything here is called on the main thread and calls back there. Lengths are points, placed in
// the desktop's own coordinates; a rectangle that has no area stands for no rectangle.

#pragma once

#include "app/companion_view.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class CompanionModel;

struct Point {
    int x = 0;
    int y = 0;

    bool operator==(const Point&) const = default;
};

struct Size {
    int width = 0;
    int height = 0;

    bool operator==(const Size&) const = default;
};

struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const Rect&) const = default;
};

/// A picture made ready for the menu bar. Only who made it looks inside.
class TrayImage {
public:
    virtual ~TrayImage() = default;
};

class TrayImages {
public:
    virtual ~TrayImages() = default;

    /// The picture in the file, brought to `side` points square for every density of screen, in
    /// its own colours whatever the bar's are; with a dot of the colour of `badge` in its lower
    /// right corner where there is one. Null when the file is no readable picture.
    [[nodiscard]] virtual std::shared_ptr<const TrayImage>
    load(const std::filesystem::path& file, int side, std::optional<Tint> badge) = 0;
};

/// The item in the menu bar. It shows up when the bar does, be that later than the item was made,
/// and goes when it is destroyed.
class StatusItem {
public:
    /// One entry of the menu that the other mouse button opens.
    struct MenuEntry {
        std::string title;
        std::function<void()> action;
    };

    virtual ~StatusItem() = default;

    virtual void setImage(std::shared_ptr<const TrayImage> image) = 0;
    virtual void setToolTip(std::string_view text) = 0;
    /// Called for every click on the item.
    virtual void setAction(std::function<void()> action) = 0;
    virtual void setMenu(std::vector<MenuEntry> entries) = 0;
    /// Where on the desktop the item stands, if the system tells.
    [[nodiscard]] virtual std::optional<Rect> bounds() const = 0;
};

/// What the popover is to stand beside. Without either: in the corner where menus are.
struct PopoverAnchor {
    std::optional<Rect> item; ///< The item's place.
    bool byPointer = false;   ///< The pointer is at the item now, for it was just clicked.

    bool operator==(const PopoverAnchor&) const = default;
};

/// A small window that holds the panel, takes its size from it and goes away by itself when the
/// user turns to something else.
class Popover {
public:
    virtual ~Popover() = default;

    [[nodiscard]] virtual bool isShown() const = 0;
    /// Whether it went away because of the very click that is being handled now: a click on the
    /// item while the popover is shown is a click elsewhere before it is a click on the item.
    [[nodiscard]] virtual bool closedByThisClick() const = 0;
    /// Whether it was opened by the very click that is being handled now: the second half of a
    /// double one is no wish to close it.
    [[nodiscard]] virtual bool openedByThisClick() const = 0;
    /// Makes what the first showing needs, where that is not there yet: for a moment in which
    /// nobody waits.
    virtual void prepare() = 0;
    virtual void show(const PopoverAnchor& anchor) = 0;
    /// Gives the popover the keyboard. Only when shown.
    virtual void makeKey() = 0;
    /// Another application is about to be brought forward for a moment, by this program and not by
    /// the user: the popover stays, takes no keys and clicks, and sees to it that nobody else gets
    /// those either. Only when shown.
    virtual void lendKeyboard() = 0;
    /// That moment is over: the keyboard comes back to the control that had it. Nothing without a
    /// loan; one ends with the popover, too.
    virtual void takeKeyboardBack() = 0;
    /// Nothing happens when it is not shown.
    virtual void close() = 0;
};

/// An ordinary window with a title and a close button. It is gone when it is destroyed.
class DemoWindow {
public:
    virtual ~DemoWindow() = default;

    virtual void center() = 0;
    virtual void makeKeyAndOrderFront() = 0;
    /// The window system's number of the window; absent where windows have none.
    [[nodiscard]] virtual std::optional<std::int64_t> windowNumber() const = 0;
};

/// Makes the things that hold a panel of a model, which must outlive them.
class Windows {
public:
    virtual ~Windows() = default;

    /// Null where there is no menu bar to have items in.
    [[nodiscard]] virtual std::unique_ptr<StatusItem> statusItem() = 0;
    [[nodiscard]] virtual std::unique_ptr<Popover> popover(CompanionModel& model) = 0;
    [[nodiscard]] virtual std::unique_ptr<DemoWindow>
    demoWindow(CompanionModel& model, std::string_view title, Size content) = 0;
};

/// A drawn panel.
class RenderedPanel {
public:
    virtual ~RenderedPanel() = default;

    [[nodiscard]] virtual Size pixels() const = 0;
    [[nodiscard]] virtual std::optional<std::string> png() const = 0; ///< Absent: not encodable.
};

class PanelRenderer {
public:
    virtual ~PanelRenderer() = default;

    /// The model's panel, `width` points wide and as high as its content, each point `scale`
    /// pixels. Null when nothing could be drawn.
    [[nodiscard]] virtual std::unique_ptr<RenderedPanel> render(CompanionModel& model, int width,
                                                                double scale) = 0;

    /// Writes the bytes to the path as a shell's redirection does: to a pipe or a device, too. A
    /// file that could not be opened keeps what it had; one that was made for bytes that could not
    /// be written is gone again. What went wrong, for a person; absent when it is written.
    [[nodiscard]] virtual std::optional<std::string> write(const std::filesystem::path& file,
                                                           std::string_view bytes) = 0;
};

/// Calls back again and again until it is destroyed.
class Timer {
public:
    virtual ~Timer() = default;
};

class Ticker {
public:
    virtual ~Ticker() = default;

    /// The first call comes after one interval.
    [[nodiscard]] virtual std::unique_ptr<Timer> every(std::chrono::milliseconds interval,
                                                       std::function<void()> block) = 0;
};

/// The running program as the desktop sees it.
class Application {
public:
    virtual ~Application() = default;

    /// Brings this program in front of all others.
    virtual void activate() = 0;
    /// Leaves the event loop soon, with this exit status. The first status given stands.
    virtual void terminate(int status = 0) = 0;
    /// After the work that the main thread is doing now.
    virtual void later(std::function<void()> job) = 0;
};

} // namespace kelvane
