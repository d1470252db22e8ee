#include "app/shell/qt/qt_popover.h"

#include "app/panel/panel_appearance.h"
#include "app/panel/panel_item.h"
#include "app/shell/qt/layer_surface.h"
#include "app/shell/qt/panel_trace.h"
#include "platform/ports/clock.h"
#include "platform/ports/compositing.h"
#include "platform/ports/input_hold.h"
#include "platform/ports/pointer_presses.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QPainterPath>
#include <QQuickItem>
#include <QQuickView>
#include <QRegion>
#include <QScreen>

#include <utility>

namespace kelvane {

namespace {

/// Between two looks at who has the keyboard, and how long a window manager may take to give it
/// back: it takes some 50 ms, and a user whose keys are held must not wait for one that never does.
constexpr std::chrono::milliseconds kLook{10};
constexpr std::chrono::seconds kPatience{1};

/// What a person does to a window; what ends such a thing is not among it.
bool isPress(QEvent::Type type) {
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::Wheel:
        return true;
    default:
        return false;
    }
}

Point point(const QPoint& from) {
    return {from.x(), from.y()};
}

Rect rect(const QRect& from) {
    return {from.x(), from.y(), from.width(), from.height()};
}

std::vector<Screen> screensOfTheDesktop() {
    std::vector<Screen> screens;
    const QScreen* const primary = QGuiApplication::primaryScreen();
    for (const QScreen* const screen : QGuiApplication::screens()) {
        const Screen described{rect(screen->geometry()), rect(screen->availableGeometry())};
        screens.insert(screen == primary ? screens.begin() : screens.end(), described);
    }
    return screens;
}

} // namespace

QtPopover::QtPopover(Ports ports, std::filesystem::path traceFile)
    : m_ports(std::move(ports)),
      m_traceFile(std::move(traceFile)) {
    m_waitForKeyboard.setInterval(kLook);
    m_waitForKeyboard.setTimerType(Qt::PreciseTimer);
    connect(&m_waitForKeyboard, &QTimer::timeout, this, &QtPopover::endLoanOnceBack);
    m_waitForLateNews.setSingleShot(true);
    m_waitForLateNews.setInterval(kLateNews);
    connect(&m_waitForLateNews, &QTimer::timeout, this, [this] {
        if (!m_view->isActive() && !m_lent) close();
    });
}

QtPopover::~QtPopover() {
    m_ports.presses.stop();
    m_ports.hold.stop();
    if (m_view) m_view->disconnect(this);
}

bool QtPopover::isShown() const {
    return m_view && m_view->isVisible();
}

PointerMoment QtPopover::pointerNow() const {
    return {m_ports.clock.now(), point(QCursor::pos())};
}

bool QtPopover::closedByThisClick() const {
    return isSameClick(m_closed, pointerNow());
}

bool QtPopover::openedByThisClick() const {
    return isSameClick(m_opened, pointerNow());
}

void QtPopover::build() {
    m_bridge = std::make_unique<PanelBridge>(m_ports.model, m_ports.images);
    m_appearance = std::make_unique<PanelAppearance>(*m_bridge);
    m_view = makePanelView(*m_bridge);
    if (!m_view) return;
    m_view->setTitle(QGuiApplication::applicationDisplayName());
    m_view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    m_layer = makeLayerSurface(*m_view, [this] {
        if (isShown() && !m_lent) closeForClick();
    });
    // Not kept while hidden: a panel is open for seconds and hidden for hours.
    m_view->setPersistentSceneGraph(false);
    m_view->setPersistentGraphics(false);

    m_view->installEventFilter(this);
    connect(m_view->rootObject(), SIGNAL(dismissed()), this, SLOT(close()));
    connect(m_view.get(), &QWindow::activeChanged, this, &QtPopover::activeChanged);
    const auto resized = [this] {
        shape();
        if (m_layer) m_layer->resize(m_view->size());
        if (isShown()) place();
    };
    connect(m_view.get(), &QWindow::heightChanged, this, resized);
    connect(m_view.get(), &QWindow::widthChanged, this, resized);
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible) hidden();
    });
    if (!m_traceFile.empty()) m_trace = std::make_unique<PanelTrace>(*m_view, m_traceFile);
}

void QtPopover::prepare() {
    if (m_view) return;
    build();
    if (m_view) rest();
}

void QtPopover::show(const PopoverAnchor& anchor) {
    prepare();
    if (!m_view) return;
    // The first frame shows what holds now, in a window of the right height.
    m_beside.item = anchor.item;
    m_beside.pointer = anchor.byPointer ? std::optional(point(QCursor::pos())) : std::nullopt;
    m_bridge->follow(true);
    m_bridge->redraw();
    limitPanelHeight(*m_view->rootObject(), popoverRoom(m_beside, screensOfTheDesktop()));
    layOutPanel(*m_view->rootObject());
    m_closed.reset();
    m_opened = anchor.byPointer ? std::optional(pointerNow()) : std::nullopt;
    m_wasActive = false;
    shape();
    place();
    if (m_layer) m_layer->open(m_view->size(), kPopoverGap);
    m_view->show();
    m_ports.presses.start([this] {
        QMetaObject::invokeMethod(
            this, [this] { pressed(point(QCursor::pos())); }, Qt::QueuedConnection);
    });
}

void QtPopover::makeKey() {
    // Lent, it comes back by itself; taken now, the capture would copy the panel.
    if (isShown() && !m_lent) takeKeyboard();
}

void QtPopover::takeKeyboard() {
    m_view->raise();
    m_view->requestActivate();
    m_view->rootObject()->forceActiveFocus();
    // A window manager may take Qt's wish for something older than the user's last action.
    if (!m_view->isActive()) m_ports.bringForward(*m_view);
}

void QtPopover::lendKeyboard() {
    m_waitForKeyboard.stop();
    if (isShown()) {
        m_lent = true;
        m_toldOfLoan = !m_view->isActive();
        m_waitForLateNews.stop();
        if (m_layer) m_layer->lend(true);
    } else {
        m_lender = QGuiApplication::focusWindow();
        if (!m_lender) return;
    }
    m_ports.hold.start();
}

void QtPopover::takeKeyboardBack() {
    if (m_lent) {
        if (m_layer) m_layer->lend(false);
        takeKeyboard();
    } else if (m_lender) {
        m_lender->requestActivate();
        if (!m_lender->isActive()) m_ports.bringForward(*m_lender);
    } else {
        return;
    }
    m_patienceEnds = m_ports.clock.now() + kPatience;
    m_waitForKeyboard.start();
    endLoanOnceBack();
}

void QtPopover::endLoanOnceBack() {
    // A panel that opened meanwhile takes what another window had lent.
    const QWindow* const window = isShown() ? m_view.get() : m_lender.data();
    const bool back =
        window == nullptr || m_ports.hold.keyboardIsAt(static_cast<std::int64_t>(window->winId()));
    if (!back && m_ports.clock.now() < m_patienceEnds) return;
    const bool wasPanels = m_lent;
    endLoan();
    // Somebody else has it, and would get the keys that are meant for a panel which looks open.
    if (!back && wasPanels && m_wasActive) close();
}

void QtPopover::endLoan() {
    m_waitForKeyboard.stop();
    m_ports.hold.stop();
    m_lender.clear();
    if (!std::exchange(m_lent, false)) return;
    m_loanEnded = m_ports.clock.now();
    if (m_trace) m_trace->note("keyboard back");
}

bool QtPopover::eventFilter(QObject*, QEvent* event) {
    return m_lent && isPress(event->type());
}

void QtPopover::place() {
    const auto [x, y] =
        popoverPlace(m_beside, {m_view->width(), m_view->height()}, screensOfTheDesktop());
    m_view->setPosition(x, y);
}

/// Corners that let through what lies below them are smooth. Where nothing lets anything through
/// they are cut off, which leaves stairs.
void QtPopover::shape() {
    const bool letsThrough = m_ports.compositing.isOn();
    roundPanelGround(*m_view->rootObject(), letsThrough);
    if (letsThrough) {
        m_view->setMask({});
        return;
    }
    QPainterPath outline;
    outline.addRoundedRect(QRectF(QPointF(0, 0), QSizeF(m_view->size())), kPanelCornerRadius,
                           kPanelCornerRadius);
    m_view->setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

void QtPopover::pressed(Point at) {
    if (isShown() && !m_view->geometry().contains(at.x, at.y) && !openedByThisClick()) {
        closeForClick();
    }
}

void QtPopover::activeChanged() {
    if (m_view->isActive()) {
        m_wasActive = true;
        m_waitForLateNews.stop();
        return;
    }
    if (!m_wasActive || !isShown()) return;
    switch (keyboardGone(loan())) {
    case KeyboardGone::Stays:
        break;
    case KeyboardGone::Closes:
        closeForClick();
        break;
    case KeyboardGone::ClosesIfItLasts:
        m_waitForLateNews.start();
        break;
    }
    m_toldOfLoan = true;
}

KeyboardLoan QtPopover::loan() const {
    KeyboardLoan loan{.lent = m_lent, .told = m_toldOfLoan, .sinceItsEnd = {}};
    if (m_loanEnded) loan.sinceItsEnd = m_ports.clock.now() - *m_loanEnded;
    return loan;
}

void QtPopover::closeForClick() {
    m_closed = pointerNow();
    close();
}

void QtPopover::close() {
    if (!isShown()) return;
    if (m_layer) m_layer->close();
    m_view->hide();
}

void QtPopover::hidden() {
    m_ports.presses.stop();
    m_waitForLateNews.stop();
    endLoan();
    resetPanel(*m_view->rootObject());
    m_view->releaseResources();
    m_ports.wentAway();
    rest();
}

void QtPopover::rest() {
    // A closed panel has let go of what it showed, a preview's picture among it, and then stays as
    // it is: each control that is told of a change reads megabytes of program code back into
    // memory.
    m_bridge->redraw();
    m_bridge->follow(false);
}

} // namespace kelvane
