#include "app/panel/history_item.h"

#include "app/panel/app_icon_provider.h"
#include "app/panel/panel_language.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QUrl>
#include <QVariant>

// What the build writes to register this folder's QML types, the module Kelvane.Panel.
void qml_register_types_Kelvane_Panel();

namespace kelvane {

std::unique_ptr<QQuickView> makeHistoryView(HistoryBridge& bridge) {
    // Of a static library only what something refers to is linked. The engine calls it on import.
    [[maybe_unused]] static const volatile auto registration = &qml_register_types_Kelvane_Panel;
    auto view = std::make_unique<QQuickView>();
    view->engine()->addImageProvider(QLatin1String(SymbolProvider::kName), new SymbolProvider);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setInitialProperties(
        {{QStringLiteral("bridge"), QVariant::fromValue<QObject*>(&bridge)}});
    view->setSource(QUrl(QStringLiteral("qrc:/qt/qml/Kelvane/HistoryWindow.qml")));
    if (view->rootObject() == nullptr) return nullptr;
    followLanguage(*view, [&bridge] { bridge.redraw(); });
    return view;
}

} // namespace kelvane
