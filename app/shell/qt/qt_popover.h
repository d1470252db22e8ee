// The panel under the item in the menu bar.
//
// An ordinary window as far as the window manager knows, without a frame: it grabs nothing, so
// that the rest of the desktop, its shortcuts and its screen lock work while it is open. It closes
// when the user clicks elsewhere or another window takes the keyboard. On a Wayland desktop with a
// layer shell it is a layer over all windows, in the corner where trays are.
//
// The one exception: a capture brings the graded application to the front for the fraction of a
// second in which it copies. Then the panel stays, and keys and clicks are held: a Return that was
// meant for the panel would replace the user's selection. Once the keyboard is back, they are free.
// A window of settings or of the history that has the keyboard then lends it in the same way.
//
// The window is made when it is first shown and kept; while it is hidden it holds no pictures.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/shell/popover_rules.h"
#include "app/shell/shell_ports.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWindow>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QQuickView;
class QWindow;

namespace kelvane {

class Clock;
class Compositing;
class InputHold;
class LayerSurface;
class PanelAppearance;
class PanelTrace;
class PointerPresses;

class QtPopover : public QObject, public Popover {
    Q_OBJECT

public:
    /// All of it must outlive the popover.
    struct Ports {
        CompanionModel& model;
        PanelImages images;
        Clock& clock;
        PointerPresses& presses;
        InputHold& hold;
        Compositing& compositing;
        /// Asks the system to bring one of this program's windows forward.
        std::function<void(const QWindow&)> bringForward;
        /// Called whenever it has gone away.
        std::function<void()> wentAway;
    };

    /// `traceFile`: where to write what is drawn and when; empty for nowhere.
    QtPopover(Ports ports, std::filesystem::path traceFile);
    ~QtPopover() override;

    [[nodiscard]] bool isShown() const override;
    [[nodiscard]] bool closedByThisClick() const override;
    [[nodiscard]] bool openedByThisClick() const override;
    void prepare() override;
    void show(const PopoverAnchor& anchor) override;
    void makeKey() override;
    void lendKeyboard() override;
    void takeKeyboardBack() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

public slots:
    void close() override;

private:
    void build();
    void takeKeyboard();
    void place();
    void shape();
    void pressed(Point at);
    void activeChanged();
    void closeForClick();
    void hidden();
    void rest();
    [[nodiscard]] KeyboardLoan loan() const;
    void endLoanOnceBack();
    void endLoan();
    [[nodiscard]] PointerMoment pointerNow() const;

    Ports m_ports;
    std::filesystem::path m_traceFile;
    std::unique_ptr<PanelBridge> m_bridge;
    std::unique_ptr<PanelAppearance> m_appearance;
    std::unique_ptr<QQuickView> m_view;
    std::unique_ptr<LayerSurface> m_layer; ///< Null where windows are no layers.
    std::unique_ptr<PanelTrace> m_trace;
    PopoverBeside m_beside;
    bool m_wasActive = false; ///< Since it was last shown.
    std::optional<PointerMoment> m_closed;
    std::optional<PointerMoment> m_opened; ///< By a click.
    bool m_lent = false;                   ///< The keyboard, by the panel to a capture.
    bool m_toldOfLoan = true;              ///< See KeyboardLoan.
    std::optional<std::chrono::nanoseconds> m_loanEnded;
    QTimer m_waitForLateNews;
    /// Another window of the program's that had the keyboard when a capture began.
    QPointer<QWindow> m_lender;
    QTimer m_waitForKeyboard;
    std::chrono::nanoseconds m_patienceEnds{0};
};

} // namespace kelvane
