#include "app/panel/panel_item.h"

#include "app/panel/app_icon_provider.h"
#include "app/panel/panel_language.h"

#include <QMetaObject>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QString>
#include <QUrl>
#include <QVariant>
#include <QtGlobal>

#include <cmath>

// What the build writes to register this folder's QML types, the module Kelvane.Panel.
void qml_register_types_Kelvane_Panel();

namespace kelvane {

namespace {

const QUrl& panelSource() {
    static const QUrl source(QStringLiteral("qrc:/qt/qml/Kelvane/CompanionView.qml"));
    return source;
}

void prepare(QQmlEngine& engine, PanelBridge& bridge) {
    // Of a static library only what something refers to is linked. The engine calls it on import.
    [[maybe_unused]] static const volatile auto registration = &qml_register_types_Kelvane_Panel;
    // Once for each engine; it owns the providers.
    if (engine.imageProvider(QLatin1String(SymbolProvider::kName)) != nullptr) return;
    engine.addImageProvider(QLatin1String(SymbolProvider::kName), new SymbolProvider);
    engine.addImageProvider(QLatin1String(AppIconProvider::kName),
                            new AppIconProvider(bridge.images().icons));
    engine.addImageProvider(
        QLatin1String(PreviewPictureProvider::kName),
        new PreviewPictureProvider([&bridge] { return bridge.previewPicture(); }));
}

QVariantMap initialProperties(PanelBridge& bridge) {
    return {{QStringLiteral("bridge"), QVariant::fromValue<QObject*>(&bridge)}};
}

} // namespace

void useSoftwareRendering() {
    // Only the first word counts, and Qt complains about any other.
    [[maybe_unused]] static const bool once = [] {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        return true;
    }();
}

std::unique_ptr<QQuickItem> makePanelItem(QQmlEngine& engine, PanelBridge& bridge,
                                          QQuickItem* parent) {
    prepare(engine, bridge);
    QQmlComponent component(&engine, panelSource());
    std::unique_ptr<QObject> object(component.beginCreate(engine.rootContext()));
    auto* panel = qobject_cast<QQuickItem*>(object.get());
    if (panel == nullptr) {
        for (const auto& error : component.errors()) qWarning("%s", qPrintable(error.toString()));
        return nullptr;
    }
    component.setInitialProperties(panel, initialProperties(bridge));
    // The pictures are loaded on completion, for the scale of the window that the panel is in.
    panel->setParentItem(parent);
    component.completeCreate();
    // Of what has a parent among QML's items, QML would think itself the owner.
    QQmlEngine::setObjectOwnership(panel, QQmlEngine::CppOwnership);
    return std::unique_ptr<QQuickItem>(static_cast<QQuickItem*>(object.release()));
}

std::unique_ptr<QQuickView> makePanelView(PanelBridge& bridge) {
    auto view = std::make_unique<QQuickView>();
    prepare(*view->engine(), bridge);
    view->setColor(Qt::transparent);
    view->setResizeMode(QQuickView::SizeViewToRootObject);
    QVariantMap properties = initialProperties(bridge);
    properties[QStringLiteral("cornerRadius")] = kPanelCornerRadius;
    view->setInitialProperties(properties);
    view->setSource(panelSource());
    QQuickItem* panel = view->rootObject();
    if (panel == nullptr) return nullptr;
    // The view itself would follow its panel only in the next turn of the loop.
    const auto fit = [panel, window = view.get()] {
        // Whole points: a fraction would be drawn across two rows of pixels.
        panel->setHeight(std::ceil(panel->implicitHeight()));
        window->resize(QSizeF(panel->width(), panel->height()).toSize());
    };
    QObject::connect(panel, &QQuickItem::implicitHeightChanged, panel, fit);
    QObject::connect(panel, &QQuickItem::widthChanged, panel, fit);
    fit();
    followLanguage(*view, [&bridge] { bridge.redraw(); });
    return view;
}

std::unique_ptr<QQuickView> makeSettingsView(SettingsBridge& settings, PanelBridge& panel) {
    auto view = std::make_unique<QQuickView>();
    prepare(*view->engine(), panel);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setInitialProperties(
        {{QStringLiteral("bridge"), QVariant::fromValue<QObject*>(&settings)},
         {QStringLiteral("panel"), QVariant::fromValue<QObject*>(&panel)}});
    view->setSource(QUrl(QStringLiteral("qrc:/qt/qml/Kelvane/SettingsWindow.qml")));
    if (view->rootObject() == nullptr) return nullptr;
    followLanguage(*view, [&settings] { settings.redraw(); });
    // Narrower than this the longest caption would be cut.
    const auto keepRoom = [window = view.get(), &panel] {
        growTo(*window, QSize(360, 320), panel.grown());
    };
    QObject::connect(&panel, &PanelBridge::textSizeChanged, view.get(), keepRoom);
    keepRoom();
    return view;
}

void growTo(QQuickView& window, QSize usual, double grown) {
    const QSize smallest(static_cast<int>(std::ceil(usual.width() * grown)), usual.height());
    window.setMinimumSize(smallest);
    // Not every window manager enlarges a window that has become too small.
    window.resize(window.size().expandedTo(smallest));
}

void roundPanelGround(QQuickItem& panel, bool rounded) {
    panel.setProperty("groundIsRounded", rounded);
}

void limitPanelHeight(QQuickItem& panel, int points) {
    panel.setProperty("maximumHeight", points);
}

void layOutPanel(QQuickItem& panel) {
    // A row or column of others waits for those: from the inside out.
    for (auto* child : panel.childItems()) layOutPanel(*child);
    panel.ensurePolished();
}

void resetPanel(QQuickItem& panel) {
    QMetaObject::invokeMethod(&panel, "reset");
}

} // namespace kelvane
