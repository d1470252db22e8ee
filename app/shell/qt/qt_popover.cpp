#include "app/shell/qt/qt_popover.h"

#include "app/companion_model.h"
#include "app/panel/panel_appearance.h"
#include "app/panel/panel_item.h"
#include "app/shell/qt/panel_trace.h"
#include "platform/ports/clock.h"
#include "platform/ports/pointer_presses.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPainterPath>
#include <QQuickItem>
#include <QQuickView>
#include <QRegion>
#include <QScreen>

#include <utility>

namespace kelvane {

namespace {

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
      m_traceFile(std::move(traceFile)) {}

QtPopover::~QtPopover() {
    m_ports.presses.stop();
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

void QtPopover::build() {
    m_bridge = std::make_unique<PanelBridge>(m_ports.model, m_ports.images);
    m_appearance = std::make_unique<PanelAppearance>(*m_bridge);
    m_view = makePanelView(*m_bridge);
    if (!m_view) return;
    m_view->setTitle(QGuiApplication::applicationDisplayName());
    m_view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    // Not kept while hidden: a panel is open for seconds and hidden for hours.
    m_view->setPersistentSceneGraph(false);
    m_view->setPersistentGraphics(false);

    connect(m_view->rootObject(), SIGNAL(dismissed()), this, SLOT(close()));
    connect(m_view.get(), &QWindow::activeChanged, this, &QtPopover::activeChanged);
    connect(m_view.get(), &QWindow::heightChanged, this, [this] {
        shape();
        if (isShown()) place();
    });
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible) hidden();
    });
    shape();
    if (!m_traceFile.empty()) m_trace = std::make_unique<PanelTrace>(*m_view, m_traceFile);
}

void QtPopover::show(const PopoverAnchor& anchor) {
    if (!m_view) build();
    if (!m_view) return;
    // The first frame shows what holds now, in a window of the right height.
    m_bridge->redraw();
    layOutPanel(*m_view->rootObject());
    m_beside.item = anchor.item;
    m_beside.pointer = anchor.byPointer ? std::optional(point(QCursor::pos())) : std::nullopt;
    m_closed.reset();
    m_wasActive = false;
    place();
    m_view->show();
    m_ports.presses.start([this] {
        QMetaObject::invokeMethod(
            this, [this] { pressed(point(QCursor::pos())); }, Qt::QueuedConnection);
    });
}

void QtPopover::makeKey() {
    if (!isShown()) return;
    m_view->raise();
    m_view->requestActivate();
    m_view->rootObject()->forceActiveFocus();
    // A window manager may take Qt's wish for something older than the user's last action.
    if (!m_view->isActive()) m_ports.bringForward();
}

void QtPopover::place() {
    const auto [x, y] =
        popoverPlace(m_beside, {m_view->width(), m_view->height()}, screensOfTheDesktop());
    m_view->setPosition(x, y);
}

void QtPopover::shape() {
    QPainterPath outline;
    outline.addRoundedRect(QRectF(QPointF(0, 0), QSizeF(m_view->size())), kPanelCornerRadius,
                           kPanelCornerRadius);
    m_view->setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

void QtPopover::pressed(Point at) {
    if (isShown() && !m_view->geometry().contains(at.x, at.y)) closeForClick();
}

void QtPopover::activeChanged() {
    if (m_view->isActive()) {
        m_wasActive = true;
    } else if (m_wasActive && isShown() && !m_ports.model.grading.get()) {
        closeForClick();
    }
}

void QtPopover::closeForClick() {
    m_closed = pointerNow();
    close();
}

void QtPopover::close() {
    if (isShown()) m_view->hide();
}

void QtPopover::hidden() {
    m_ports.presses.stop();
    resetPanel(*m_view->rootObject());
    m_view->releaseResources();
    m_ports.wentAway();
}

} // namespace kelvane
