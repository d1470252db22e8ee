#include "tests/app/panel/panel_laid_out.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QStringList>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace kelvane {
namespace {

TEST(PanelLayout, NothingOverlapsOrIsCutInAnyStateAtAnyTextSize) {
    for (const auto& state : panelStates()) {
        for (const int textSize :
             {PanelBridge::kSmallestTextSize, PanelBridge::kTextSize,
              PanelBridge::kLargestTextInUsualWidth, PanelBridge::kLargestTextSize}) {
            SCOPED_TRACE(state.name + " at " + std::to_string(textSize));
            const LaidOut laid(state, textSize);
            expectNothingOverlapsOrIsCut(*laid.panel);
        }
    }
}

TEST(PanelLayout, APanelWithLargeTextsIsWiderAndSoIsItsWindow) {
    PanelFixture fixture;
    fixture.model.seedDemo();
    PanelBridge bridge(fixture.model, fixture.images);
    const auto view = makePanelView(bridge);
    const int height = view->height();
    bridge.setTextSize(PanelBridge::kLargestTextInUsualWidth);
    layOutPanel(*view->rootObject());
    EXPECT_EQ(view->width(), kPanelWidth);
    bridge.setTextSize(PanelBridge::kLargestTextSize);
    layOutPanel(*view->rootObject());
    EXPECT_EQ(view->width(), 520) << "360 points are enough for 18 pixels, so 520 are for 26";
    EXPECT_GT(view->height(), height);
    EXPECT_EQ(view->height(), std::ceil(view->rootObject()->implicitHeight()));
    bridge.setTextSize(PanelBridge::kTextSize);
    layOutPanel(*view->rootObject());
    EXPECT_EQ(view->size(), QSize(kPanelWidth, height));
}

const PanelState& stateNamed(const std::string& name) {
    for (const auto& state : panelStates()) {
        if (state.name == name) return state;
    }
    throw std::out_of_range(name);
}

std::vector<QRectF> dotsOf(const QQuickItem& panel) {
    std::vector<QRectF> dots;
    for (auto* item : visibleItems(const_cast<QQuickItem&>(panel))) {
        if (item->objectName() == QLatin1String("dot")) dots.push_back(placeIn(panel, *item));
    }
    return dots;
}

TEST(PanelLayout, TenAgentsStandInFiveRowsOfTwo) {
    const LaidOut laid(stateNamed("ten-agents"), PanelBridge::kTextSize);
    const auto dots = dotsOf(*laid.panel);
    ASSERT_EQ(dots.size(), 10U);
    for (std::size_t i = 0; i < dots.size(); i += 2) {
        EXPECT_EQ(dots[i].top(), dots[i + 1].top());
        EXPECT_EQ(dots[i].left(), 24);
        if (i > 0) {
            EXPECT_GT(dots[i].top(), dots[i - 1].bottom());
        }
    }
}

TEST(PanelLayout, TenAgentsOfWhichMostAreAbsentAreAllShown) {
    const PanelState mostlyAbsent{"mostly-absent", [](PanelFixture& panel) {
                                      std::vector<DetectedAgent> agents;
                                      for (int i = 0; i < 10; ++i) {
                                          agents.push_back({.id = "agent" + std::to_string(i),
                                                            .name = "Agent " + std::to_string(i),
                                                            .kind = AgentKind::codingHarness,
                                                            .running = false,
                                                            .present = i == 4,
                                                            .wired = std::nullopt});
                                      }
                                      panel.model.agents = agents;
                                  }};
    const LaidOut laid(mostlyAbsent, PanelBridge::kTextSize);
    std::vector<std::string> names;
    int clear = 0;
    for (auto* item : visibleItems(*laid.panel)) {
        if (item->objectName() == QLatin1String("dot")) {
            clear += item->property("color").value<QColor>().alpha() == 0 ? 1 : 0;
        }
        const auto text = textOf(*item);
        if (item->inherits("QQuickText") && text.starts_with("Agent ")) names.push_back(text);
    }
    EXPECT_EQ(names,
              (std::vector<std::string>{"Agent 0", "Agent 1", "Agent 2", "Agent 3", "Agent 4",
                                        "Agent 5", "Agent 6", "Agent 7", "Agent 8", "Agent 9"}));
    EXPECT_EQ(clear, 9);
    EXPECT_EQ(dotsOf(*laid.panel).size(), 10U) << "a clear dot takes its place all the same";
}

TEST(PanelLayout, EveryTextMayBorrowGlyphsFromOtherFonts) {
    const LaidOut laid(stateNamed("cjk-and-emoji"), PanelBridge::kTextSize);
    for (const auto* text : visibleTexts(*laid.panel)) {
        const auto font = text->property("font").value<QFont>();
        EXPECT_EQ(font.family(), QGuiApplication::font().family()) << textOf(*text);
        EXPECT_FALSE(font.styleStrategy() & QFont::NoFontMerging) << textOf(*text);
    }
}

TEST(PanelLayout, AnAgentNeitherRunningNorPresentKeepsThePlaceOfItsDot) {
    const LaidOut laid(stateNamed("ten-agents"), PanelBridge::kTextSize);
    EXPECT_EQ(dotsOf(*laid.panel).back().size(), QSizeF(7, 7));
}

TEST(PanelLayout, GradeTakesTheWholeWidthUntilIterateIsOffered) {
    const LaidOut alone(stateNamed("ungraded"), PanelBridge::kTextSize);
    EXPECT_EQ(alone.panel->findChild<QQuickItem*>("gradeButton")->width(), kPanelWidth - 32);
    const LaidOut both(stateNamed("demo"), PanelBridge::kTextSize);
    const auto* grade = both.panel->findChild<QQuickItem*>("gradeButton");
    const auto* iterate = both.panel->findChild<QQuickItem*>("iterateButton");
    EXPECT_EQ(placeIn(*both.panel, *iterate).right(), kPanelWidth - 16);
    EXPECT_EQ(placeIn(*both.panel, *grade).right() + 8, placeIn(*both.panel, *iterate).left());
}

TEST(PanelLayout, ALongSeverityIsShownWhole) {
    const PanelState severe{
        "severe", [](PanelFixture& panel) {
            panel.model.verdict =
                Verdict{.band = Band::block,
                        .score = 0.2,
                        .flaws = {{"NEEDS ATTENTION AT ONCE", "a", "One."}, {"LOW", "b", "Two."}},
                        .runId = "run-1",
                        .warming = false,
                        .error = std::nullopt};
        }};
    const LaidOut laid(severe, PanelBridge::kTextSize);
    const auto texts = visibleTexts(*laid.panel);
    const auto severity = std::ranges::find_if(
        texts, [](const QQuickItem* text) { return textOf(*text).starts_with("NEEDS"); });
    ASSERT_NE(severity, texts.end());
    EXPECT_FALSE((*severity)->property("truncated").toBool());
    EXPECT_LE((*severity)->property("contentWidth").toDouble(), (*severity)->width() + kTolerance);
}

TEST(PanelLayout, TheWorkflowIsBrokenBetweenTwoNamesAndInsideNone) {
    const LaidOut laid(stateNamed("long-names"), PanelBridge::kTextSize);
    const auto texts = visibleTexts(*laid.panel);
    const auto line = std::ranges::find_if(
        texts, [](const QQuickItem* text) { return textOf(*text).find("→") != std::string::npos; });
    ASSERT_NE(line, texts.end());
    const auto words = (*line)->property("text").toString();
    // What the text does with it, done once more to see where its lines begin.
    QTextLayout layout(words, (*line)->property("font").value<QFont>());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QStringList lines;
    for (auto each = layout.createLine(); each.isValid(); each = layout.createLine()) {
        each.setLineWidth((*line)->width());
        lines << words.mid(each.textStart(), each.textLength());
    }
    layout.endLayout();
    EXPECT_EQ(lines.size(), (*line)->property("lineCount").toInt());
    EXPECT_GT(lines.size(), 1) << "four long names fill more than a line";
    EXPECT_LE(lines.size(), 3);
    for (const auto& each : lines) {
        const auto end = each.trimmed();
        EXPECT_TRUE(end.endsWith(u'→') || each == lines.back() ||
                    lines[lines.indexOf(each) + 1].trimmed().startsWith(u'→'))
            << each.toStdString();
    }
}

TEST(PanelLayout, WhatRunsIsAFullDotAndWhatDoesNotARing) {
    const LaidOut laid(stateNamed("ten-agents"), PanelBridge::kTextSize);
    std::vector<bool> rings;
    for (auto* item : visibleItems(*laid.panel)) {
        if (item->objectName() != QLatin1String("dot")) continue;
        const auto parts = item->childItems();
        rings.push_back(std::ranges::any_of(parts, [&](const QQuickItem* hole) {
            return hole->isVisible() && hole->property("color") != item->property("color");
        }));
    }
    // Every other one of that state runs, the last is not there at all.
    EXPECT_EQ(rings, (std::vector<bool>{false, true, false, true, false, true, false, true, false,
                                        false}));
}

TEST(PanelLayout, TheSignBesideSettingsPointsWhereTheMenuOpens) {
    const LaidOut laid(stateNamed("demo"), PanelBridge::kTextSize);
    const auto* settings = laid.panel->findChild<QQuickItem*>("settingsButton");
    ASSERT_NE(settings, nullptr);
    const auto parts = settings->childItems();
    const auto sign = std::ranges::find_if(parts, [](const QQuickItem* part) {
        return part->property("symbol").toString() == QLatin1String("chevron.down");
    });
    ASSERT_NE(sign, parts.end());
    EXPECT_EQ((*sign)->rotation(), 180) << "upwards";
}

TEST(PanelLayout, HeightFollowsTheContent) {
    LaidOut laid(stateNamed("first-run"), PanelBridge::kTextSize);
    const double before = laid.panel->implicitHeight();
    laid.fixture.model.seedDemo();
    laid.bridge->redraw();
    layOutPanel(*laid.panel);
    EXPECT_GT(laid.panel->implicitHeight(), before + 50);
}

TEST(PanelLayout, InAHigherWindowTheFootStandsAtItsLowerEdge) {
    const LaidOut laid(stateNamed("demo"), PanelBridge::kTextSize);
    const auto* settings = laid.panel->findChild<QQuickItem*>("settingsButton");
    ASSERT_NE(settings, nullptr);
    const double below = laid.panel->height() - placeIn(*laid.panel, *settings).bottom();
    laid.panel->setHeight(laid.panel->implicitHeight() + 60);
    layOutPanel(*laid.panel);
    EXPECT_NEAR(laid.panel->height() - placeIn(*laid.panel, *settings).bottom(), below, kTolerance);
}

TEST(PanelLayout, AViewHasThePanelsHeightBeforeItIsShown) {
    PanelFixture fixture;
    PanelBridge bridge(fixture.model, fixture.images);
    const auto view = makePanelView(bridge);
    layOutPanel(*view->rootObject());
    const int before = view->height();
    fixture.model.seedDemo();
    bridge.redraw();
    layOutPanel(*view->rootObject());
    EXPECT_GT(view->height(), before + 50);
    EXPECT_EQ(view->height(), std::ceil(view->rootObject()->implicitHeight()));
    EXPECT_EQ(view->width(), kPanelWidth);
}

TEST(PanelLayout, OnlyAWindowOfItsOwnHasAHairlineAlongItsEdge) {
    PanelFixture fixture;
    PanelBridge bridge(fixture.model, fixture.images);
    const auto view = makePanelView(bridge);
    const auto* edge = view->rootObject()->findChild<QQuickItem*>("edge");
    ASSERT_NE(edge, nullptr);
    EXPECT_TRUE(edge->property("visible").toBool());
    EXPECT_EQ(edge->property("radius").toInt(), kPanelCornerRadius);
    EXPECT_EQ(edge->size(), view->rootObject()->size());
    EXPECT_EQ(view->rootObject()->childItems().last(), edge) << "above everything";
    QQmlEngine engine;
    const auto panel = makePanelItem(engine, bridge);
    EXPECT_FALSE(panel->findChild<QQuickItem*>("edge")->isVisible());
}

} // namespace
} // namespace kelvane
