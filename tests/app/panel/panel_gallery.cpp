// Draws every state of the panel to PNG files, for people to look at: panel_gallery FOLDER [STATE
// [LANGUAGE [LOOK]]]. STATE "" is all of them; LANGUAGE is "de" or another one, or "pseudo", see
// pseudo_translation.py; LOOK is "contrast" for high contrast, "large" for twice the size of text.

#include "app/panel/history_item.h"
#include "app/panel/panel_item.h"
#include "app/panel/panel_language.h"
#include "app/panel/panel_picture.h"
#include "app/panel/settings_bridge.h"
#include "app/settings/settings_store.h"
#include "tests/app/panel/panel_states.h"

#include <QColor>
#include <QDir>
#include <QGuiApplication>
#include <QQuickView>

#include <cmath>
#include <cstdio>
#include <string_view>

int main(int argc, char** argv) {
    using namespace kelvane;
    if (argc < 2) {
        std::fputs("usage: panel_gallery FOLDER [STATE [LANGUAGE [LOOK]]]\n", stderr);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    useSoftwareRendering();
    PanelLanguage language;
    if (argc > 3) {
        language.use(argv[3]);
        QCoreApplication::processEvents(); // The application learns which way writing runs.
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    folder.mkpath(QStringLiteral("."));
    const auto isWanted = [&](std::string_view state) {
        return argc < 3 || *argv[2] == '\0' || state == argv[2];
    };
    const std::string_view look = argc > 4 ? argv[4] : "";
    const auto dress = [&](auto& bridge, bool dark) {
        bridge.setDark(dark);
        bridge.setHighContrast(look == "contrast");
        if (look == "large") bridge.setTextSize(PanelBridge::kLargestTextSize);
        return static_cast<int>(std::lround(kPanelWidth * bridge.grown()));
    };
    for (const auto& state : panelStates()) {
        if (!isWanted(state.name)) continue;
        for (const bool dark : {false, true}) {
            for (const double scale : {1.0, 1.5, 2.0}) {
                PanelFixture panel;
                state.set(panel);
                PanelBridge bridge(panel.model, panel.images);
                const int width = dress(bridge, dark);
                state.open(bridge);
                const auto picture = renderPanel(bridge, Qt::gray, width, scale);
                const auto name = QStringLiteral("%1-%2-%3.png")
                                      .arg(QString::fromStdString(state.name),
                                           dark ? QStringLiteral("dark") : QStringLiteral("light"))
                                      .arg(scale);
                if (!picture.save(folder.filePath(name))) return 1;
            }
        }
    }
    for (const auto& state : historyStates()) {
        if (!isWanted(state.name)) continue;
        for (const bool dark : {false, true}) {
            HistoryBridge bridge(historyPorts());
            const int width = dress(bridge, dark);
            const auto view = makeHistoryView(bridge);
            view->resize(820 * width / kPanelWidth, 560);
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
        if (!isWanted("settings")) break;
        PanelFixture panel;
        panel.model.seedDemo();
        SettingsStore store(panel.fake.files, "/home/u/.brask");
        PanelBridge bridge(panel.model, panel.images);
        const int width = dress(bridge, dark);
        SettingsBridge settings({.model = panel.model,
                                 .store = store,
                                 .place = [] { return std::string("this machine"); },
                                 .askPlace = [] {}});
        const auto view = makeSettingsView(settings, bridge);
        view->resize(420 * width / kPanelWidth, 730 * width / kPanelWidth);
        view->show();
        QCoreApplication::processEvents();
        const auto name = QStringLiteral("settings-%1.png")
                              .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"));
        if (!view->grabWindow().save(folder.filePath(name))) return 1;
    }
    return 0;
}
