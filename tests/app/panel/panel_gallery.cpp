// Draws every state of the panel to PNG files, for people to look at: panel_gallery FOLDER [STATE]

#include "app/panel/history_item.h"
#include "app/panel/panel_item.h"
#include "app/panel/panel_picture.h"
#include "app/panel/settings_bridge.h"
#include "app/settings/settings_store.h"
#include "tests/app/panel/panel_states.h"

#include <QColor>
#include <QDir>
#include <QGuiApplication>
#include <QQuickView>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    using namespace kelvane;
    if (argc < 2) {
        std::fputs("usage: panel_gallery FOLDER [STATE]\n", stderr);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    useSoftwareRendering();
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    folder.mkpath(QStringLiteral("."));
    for (const auto& state : panelStates()) {
        if (argc > 2 && state.name != argv[2]) continue;
        for (const bool dark : {false, true}) {
            for (const double scale : {1.0, 1.5, 2.0}) {
                PanelFixture panel;
                state.set(panel);
                PanelBridge bridge(panel.model, panel.images);
                bridge.setDark(dark);
                state.open(bridge);
                const auto picture = renderPanel(bridge, Qt::gray, kPanelWidth, scale);
                const auto name = QStringLiteral("%1-%2-%3.png")
                                      .arg(QString::fromStdString(state.name),
                                           dark ? QStringLiteral("dark") : QStringLiteral("light"))
                                      .arg(scale);
                if (!picture.save(folder.filePath(name))) return 1;
            }
        }
    }
    for (const auto& state : historyStates()) {
        if (argc > 2 && state.name != argv[2]) continue;
        for (const bool dark : {false, true}) {
            HistoryBridge bridge(historyPorts());
            bridge.setDark(dark);
            const auto view = makeHistoryView(bridge);
            view->resize(820, 560);
            bridge.reload();
            state.open(bridge);
            view->show();
            QCoreApplication::processEvents();
            const auto name = QStringLiteral("%1-%2.png")
                                  .arg(QString::fromStdString(state.name),
                                       dark ? QStringLiteral("dark") : QStringLiteral("light"));
            if (!view->grabWindow().save(folder.filePath(name))) return 1;
        }
    }
    for (const bool dark : {false, true}) {
        if (argc > 2 && std::string("settings") != argv[2]) continue;
        PanelFixture panel;
        panel.model.seedDemo();
        SettingsStore store(panel.fake.files, "/home/u/.brask");
        SettingsBridge bridge({.model = panel.model,
                               .store = store,
                               .place = [] { return std::string("this machine"); },
                               .askPlace = [] {}});
        PanelBridge look(panel.model, panel.images);
        look.setDark(dark);
        const auto view = makeSettingsView(bridge, look);
        view->resize(420, 560);
        view->show();
        QCoreApplication::processEvents();
        const auto name =
            dark ? QStringLiteral("settings-dark.png") : QStringLiteral("settings-light.png");
        if (!view->grabWindow().save(folder.filePath(name))) return 1;
    }
    return 0;
}
