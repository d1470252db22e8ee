// What the pointer does to the panel: looks, tool tips, the menu. At every scale of the display:
// the same tests run with QT_SCALE_FACTOR set as well.

#include "app/panel/panel_item.h"
#include "tests/app/panel/measured_contrast.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QFont>
#include <QQuickView>
#include <QTest>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

namespace kelvane {
namespace {

/// A panel in a window that is shown, dark or light, in one of its states.
class ShownPanel {
public:
    explicit ShownPanel(const std::function<void(PanelFixture&)>& set, bool dark = false) {
        set(panel);
        bridge.setDark(dark);
        bridge.redraw();
        view = makePanelView(bridge);
        layOutPanel(*view->rootObject());
        bubble().setProperty("delay", 0);
        view->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(view.get()));
        away();
    }

    QQuickItem& item(const char* name) {
        auto* found = itemNamed(*view->rootObject(), QLatin1String(name));
        if (found == nullptr) throw std::runtime_error(name);
        return *found;
    }
    QQuickItem& bubble() { return item("toolTip"); }

    [[nodiscard]] QRectF place(const QQuickItem& of) { return placeIn(*view->rootObject(), of); }
    void moveTo(const QQuickItem& target) {
        QTest::mouseMove(view.get(), place(target).center().toPoint());
        QCoreApplication::processEvents();
    }
    void away() {
        QTest::mouseMove(view.get(), QPoint(180, 2));
        QCoreApplication::processEvents();
    }
    void hold(const QQuickItem& target) {
        QTest::mousePress(view.get(), Qt::LeftButton, {}, place(target).center().toPoint());
    }
    void letGo(const QQuickItem& target) {
        QTest::mouseRelease(view.get(), Qt::LeftButton, {}, place(target).center().toPoint());
    }

    /// The part of the window that shows an item, in pixels of the screen.
    QImage picture(const QQuickItem& of) {
        const QImage whole = view->grabWindow();
        const double scale = static_cast<double>(whole.width()) / view->width();
        const QRectF at = place(of);
        return whole.copy(QRectF(at.topLeft() * scale, at.size() * scale).toAlignedRect());
    }

    PanelFixture panel;
    PanelBridge bridge{panel.model, panel.images};
    std::unique_ptr<QQuickView> view;

private:
    /// What a repeater makes is a child of its place, not of its maker.
    static QQuickItem* itemNamed(QQuickItem& below, QLatin1String name) {
        for (auto* child : below.childItems()) {
            if (child->objectName() == name) return child;
            if (auto* found = itemNamed(*child, name)) return found;
        }
        return nullptr;
    }
};

void demo(PanelFixture& panel) {
    panel.model.seedDemo();
}

void withoutKey(PanelFixture& panel) {
    demo(panel);
    panel.model.hasKey = false;
    panel.model.verdict = std::nullopt;
}

double scaleOfTheDisplay() {
    const QByteArray factor = qgetenv("QT_SCALE_FACTOR");
    return factor.isEmpty() ? 1.0 : factor.toDouble();
}

TEST(PanelPointer, EveryControlShowsThePointerAndThePress) {
    for (const bool dark : {false, true}) {
        ShownPanel shown(demo, dark);
        for (const char* name :
             {"gradeButton", "iterateButton", "reportLink", "wireLink", "settingsButton"}) {
            SCOPED_TRACE(std::string(name) + (dark ? " dark" : " light"));
            auto& control = shown.item(name);
            const QImage usual = shown.picture(control);
            shown.moveTo(control);
            const QImage hovered = shown.picture(control);
            EXPECT_NE(hovered, usual);
            shown.hold(control);
            const QImage pressed = shown.picture(control);
            EXPECT_NE(pressed, hovered);
            EXPECT_NE(pressed, usual);
            // Let go elsewhere: nothing is pressed, and it looks as before.
            shown.away();
            QTest::mouseRelease(shown.view.get(), Qt::LeftButton, {}, QPoint(180, 2));
            EXPECT_EQ(shown.picture(control), usual);
        }
    }
}

TEST(PanelPointer, ADisabledButtonTakesNoNoticeOfThePointer) {
    ShownPanel shown(withoutKey);
    auto& grade = shown.item("gradeButton");
    ASSERT_FALSE(grade.property("usable").toBool());
    const QImage usual = shown.picture(grade);
    shown.moveTo(grade);
    EXPECT_EQ(shown.picture(grade), usual);
    shown.hold(grade);
    EXPECT_EQ(shown.picture(grade), usual);
    shown.letGo(grade);
}

TEST(PanelPointer, TheLampTellsWhatItsColourMeans) {
    const struct {
        std::function<void(PanelFixture&)> set;
        std::string text;
    } cases[] = {{demo, "Ready to grade"}, {withoutKey, "Get a free key to start grading"}};
    for (const auto& each : cases) {
        ShownPanel shown(each.set);
        EXPECT_FALSE(shown.bubble().isVisible());
        shown.moveTo(shown.item("statusDot"));
        EXPECT_TRUE(QTest::qWaitFor([&] { return shown.bubble().isVisible(); }));
        EXPECT_EQ(shown.bubble().property("text").toString().toStdString(), each.text);
        shown.away();
        EXPECT_FALSE(shown.bubble().isVisible());
    }
}

TEST(PanelPointer, TheToolTipOfAnAgentTellsItsStateAndFollowsIt) {
    const auto agents = [](bool running, std::optional<bool> wired) {
        return std::vector<DetectedAgent>{{.id = "a",
                                           .name = "An agent",
                                           .kind = AgentKind::codingHarness,
                                           .running = running,
                                           .present = true,
                                           .wired = wired}};
    };
    ShownPanel shown([&](PanelFixture& panel) {
        demo(panel);
        panel.model.agents = agents(true, true);
    });
    const struct {
        bool running;
        std::optional<bool> wired;
        std::string text;
    } cases[] = {{true, true, "running · validation wired"},
                 {true, false, "running · not wired"},
                 {true, std::nullopt, "running"},
                 {false, true, "installed · validation wired"},
                 {false, false, "installed · not wired"},
                 {false, std::nullopt, "installed"}};
    for (const auto& each : cases) {
        shown.away();
        shown.panel.model.agents = agents(each.running, each.wired);
        shown.bridge.redraw();
        QCoreApplication::processEvents();
        shown.moveTo(shown.item("dot"));
        ASSERT_TRUE(QTest::qWaitFor([&] { return shown.bubble().isVisible(); })) << each.text;
        EXPECT_EQ(shown.bubble().property("text").toString().toStdString(), each.text);
    }
}

TEST(PanelPointer, ThePillTellsWhoJudgedAndKeepsItsPlace) {
    ShownPanel plain(demo);
    ShownPanel shown([](PanelFixture& panel) {
        demo(panel);
        auto verdict = *panel.model.verdict;
        verdict->checkedBy.assign(20, CheckedBy{"engine", "1", std::string(200, 'k')});
        panel.model.verdict = verdict;
    });
    EXPECT_EQ(shown.place(shown.item("bandPill")), plain.place(plain.item("bandPill")));
    EXPECT_EQ(shown.view->height(), plain.view->height());

    shown.moveTo(shown.item("bandPill"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown.bubble().isVisible(); }));
    EXPECT_EQ(shown.bubble().property("text").toString().toStdString(),
              coverageTip(**shown.panel.model.verdict));
    const QRectF room(0, 0, shown.view->width(), shown.view->height());
    EXPECT_TRUE(room.contains(shown.place(shown.bubble())));

    shown.panel.model.verdict = std::nullopt;
    shown.bridge.redraw();
    QCoreApplication::processEvents();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !shown.bubble().isVisible(); }));
}

TEST(PanelPointer, AGradeThatTheDesktopDoesNotAllowSaysWhy) {
    ShownPanel shown([](PanelFixture& panel) {
        panel.model.hasKey = true;
        panel.model.limit = DesktopLimit{.line = "Turn it on.", .hidesFront = true};
    });
    shown.moveTo(shown.item("gradeButton"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown.bubble().isVisible(); }));
    EXPECT_EQ(shown.bubble().property("text").toString().toStdString(),
              "Nobody says which window is in front. Turn it on.");
    const QRectF room(0, 0, shown.view->width(), shown.view->height());
    EXPECT_TRUE(room.contains(shown.place(shown.bubble())));

    shown.away();
    shown.panel.model.seedDemo();
    shown.bridge.redraw();
    QCoreApplication::processEvents();
    shown.moveTo(shown.item("gradeButton"));
    QTest::qWait(50);
    EXPECT_FALSE(shown.bubble().isVisible()) << "it can be pressed";
}

TEST(PanelPointer, APillOfAServiceThatTellsNothingHasNoToolTip) {
    ShownPanel shown(demo);
    shown.moveTo(shown.item("bandPill"));
    QTest::qWait(50);
    EXPECT_FALSE(shown.bubble().isVisible());
    EXPECT_TRUE(shown.bubble().property("source").value<QQuickItem*>() == nullptr);
}

TEST(PanelPointer, AToolTipStaysInsideThePanel) {
    ShownPanel shown(demo);
    const QRectF room(0, 0, shown.view->width(), shown.view->height());
    for (const char* name : {"statusDot", "dot"}) {
        shown.away();
        shown.moveTo(shown.item(name));
        ASSERT_TRUE(QTest::qWaitFor([&] { return shown.bubble().isVisible(); })) << name;
        EXPECT_TRUE(room.contains(shown.place(shown.bubble()))) << name;
        EXPECT_FALSE(shown.place(shown.bubble()).intersects(shown.place(shown.item(name)))) << name;
    }
}

TEST(PanelPointer, HidingThePanelEndsTheToolTip) {
    ShownPanel shown(demo);
    shown.moveTo(shown.item("statusDot"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown.bubble().isVisible(); }));
    resetPanel(*shown.view->rootObject());
    EXPECT_FALSE(shown.bubble().isVisible());
}

TEST(PanelPointer, TheMenuShowsWhereThePointerIs) {
    ShownPanel shown(demo);
    QTest::mouseClick(shown.view.get(), Qt::LeftButton, {},
                      shown.place(shown.item("settingsButton")).center().toPoint());
    ASSERT_TRUE(shown.item("menu").isVisible());
    for (const char* name : {"menu.getKey", "menu.uninstall", "menu.quit"}) {
        shown.away();
        const QImage usual = shown.picture(shown.item(name));
        shown.moveTo(shown.item(name));
        EXPECT_NE(shown.picture(shown.item(name)), usual) << name;
    }
}

void expectReadableWriting(ShownPanel& shown, QQuickItem& in, const std::string& what) {
    int texts = 0;
    for (auto* text : visibleTexts(in)) {
        ++texts;
        const QImage picture = shown.picture(*text);
        EXPECT_GE(measuredContrast(picture, picture.rect()), 4.5)
            << what << ": " << text->property("text").toString().toStdString();
    }
    EXPECT_GE(texts, 1) << what;
}

TEST(PanelPointer, TheOpenMenuAndTheToolTipCanBeRead) {
    for (const bool dark : {false, true}) {
        const std::string look = dark ? " dark" : " light";
        ShownPanel shown(demo, dark);
        shown.moveTo(shown.item("statusDot"));
        ASSERT_TRUE(QTest::qWaitFor([&] { return shown.bubble().isVisible(); }));
        expectReadableWriting(shown, shown.bubble(), "tool tip" + look);
        shown.away();
        QTest::mouseClick(shown.view.get(), Qt::LeftButton, {},
                          shown.place(shown.item("settingsButton")).center().toPoint());
        ASSERT_TRUE(shown.item("menu").isVisible());
        shown.away();
        expectReadableWriting(shown, shown.item("menu"), "menu" + look);
        for (const char* name : {"menu.getKey", "menu.uninstall", "menu.quit"}) {
            shown.moveTo(shown.item(name));
            expectReadableWriting(shown, shown.item(name), name + look + ", chosen");
        }
    }
}

TEST(PanelPointer, EveryStateHasItsPixelsAndItsPlaceAtThisScale) {
    for (const auto& state : panelStates()) {
        SCOPED_TRACE(state.name);
        ShownPanel shown(state.set);
        const QImage whole = shown.view->grabWindow();
        EXPECT_EQ(whole.width(), std::lround(kPanelWidth * scaleOfTheDisplay()));
        EXPECT_NEAR(whole.height(), shown.view->height() * scaleOfTheDisplay(), 1);
        const QRectF room(0, 0, shown.view->width(), shown.view->height());
        const auto texts = visibleTexts(*shown.view->rootObject());
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const std::string words = texts[i]->property("text").toString().left(40).toStdString();
            EXPECT_TRUE(room.contains(shown.place(*texts[i]))) << words;
            EXPECT_LE(texts[i]->property("contentWidth").toDouble(), texts[i]->width() + 0.51)
                << words;
            const QImage picture = shown.picture(*texts[i]);
            EXPECT_GT(measuredContrast(picture, picture.rect()), 2.0) << "nothing drawn: " << words;
            for (std::size_t k = i + 1; k < texts.size(); ++k) {
                const QRectF shared = shown.place(*texts[i]).intersected(shown.place(*texts[k]));
                EXPECT_TRUE(shared.width() < 0.51 || shared.height() < 0.51)
                    << words << " and " << texts[k]->property("text").toString().toStdString();
            }
        }
    }
}

} // namespace
} // namespace kelvane
