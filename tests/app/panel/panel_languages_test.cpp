#include "app/panel/history_item.h"
#include "app/panel/panel_language.h"
#include "app/settings/settings.h"
#include "app/settings/settings_store.h"
#include "tests/app/panel/panel_laid_out.h"
#include "text/translation.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QQuickView>
#include <QTest>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace kelvane {
namespace {

/// Longer texts that are written from the right, made by the build, see pseudo_translation.py.
constexpr const char* kPseudo = "pseudo";

std::vector<std::string> languages() {
    auto all = settingsLanguages();
    all.emplace_back(kPseudo);
    return all;
}

class PanelLanguages : public testing::TestWithParam<std::string> {
public:
    PanelLanguages() {
        language.use(GetParam());
        // That is told to the application in an event.
        QCoreApplication::processEvents();
    }
    ~PanelLanguages() override {
        language.use("en");
        QCoreApplication::processEvents();
    }
    static bool isMirrored() { return GetParam() == kPseudo; }

    PanelLanguage language;
};

/// Whether a text is of the product's own and in English.
bool isEnglish(const std::string& text) {
    return text == "AGENTS" || text == "WORKFLOW" || text == "NOW" || text == "Grade this" ||
           text == "Wire my tools" || text == "Full report" || text == "Settings";
}

TEST_P(PanelLanguages, NothingOverlapsOrIsCutInAnyState) {
    EXPECT_EQ(QGuiApplication::layoutDirection() == Qt::RightToLeft, isMirrored());
    for (const auto& state : panelStates()) {
        for (const int textSize :
             {PanelBridge::kLargestTextInUsualWidth, PanelBridge::kLargestTextSize}) {
            SCOPED_TRACE(state.name + " at " + std::to_string(textSize));
            const LaidOut laid(state, textSize);
            expectNothingOverlapsOrIsCut(*laid.panel);
            for (const auto* text : visibleTexts(*laid.panel)) {
                EXPECT_TRUE(GetParam() == "en" || GetParam() == "fr" || !isEnglish(textOf(*text)))
                    << textOf(*text);
            }
        }
    }
}

TEST_P(PanelLanguages, ThePanelStandsAsItsWritingRuns) {
    const auto demo = std::ranges::find(panelStates(), "demo", &PanelState::name);
    const LaidOut laid(*demo, PanelBridge::kTextSize);
    const auto left = [&](const char* name) {
        const auto* item = laid.panel->findChild<QQuickItem*>(name);
        return item == nullptr ? -1 : placeIn(*laid.panel, *item).left();
    };
    EXPECT_EQ(left("gradeButton") > left("iterateButton"), isMirrored());
    EXPECT_EQ(left("wireLink") > left("settingsButton"), isMirrored());
    EXPECT_EQ(left("bandPill") > left("reportLink"), isMirrored());
    EXPECT_EQ(left("statusDot") < kPanelWidth / 2.0, isMirrored());
}

/// In a window every text has the room that it needs, whatever is scrolled out of sight.
void expectReadableIn(QQuickView& view) {
    const double width = view.width();
    for (const auto* text : visibleTexts(*view.rootObject())) {
        EXPECT_FALSE(text->property("truncated").toBool()) << textOf(*text);
        EXPECT_LE(text->property("contentWidth").toDouble(), text->width() + kTolerance)
            << textOf(*text);
        const QRectF place = placeIn(*view.rootObject(), *text);
        EXPECT_GE(place.left(), -kTolerance) << textOf(*text);
        EXPECT_LE(place.right(), width + kTolerance) << textOf(*text);
    }
}

TEST_P(PanelLanguages, EveryTextOfTheSettingsIsReadable) {
    PanelFixture panel;
    panel.model.seedDemo();
    SettingsStore store(panel.fake.files, "/home/u/.brask");
    panel.fake.files.files["/home/u/.brask/settings.json"] =
        R"({"preview_apps": {"a": "never"}, "never_capture": ["b"], "shortcut": 1})";
    store.look();
    PanelBridge bridge(panel.model, panel.images);
    SettingsBridge settings({.model = panel.model,
                             .store = store,
                             .place = [] { return std::string("this machine"); },
                             .askPlace = [] {}});
    const auto view = makeSettingsView(settings, bridge);
    view->resize(view->minimumSize());
    view->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
    layOutPanel(*view->rootObject());
    expectReadableIn(*view);
    EXPECT_EQ(settings.record().problems.size(), 1);
    EXPECT_EQ(settings.record().problems.first().contains("is a text such as"), GetParam() == "en");
}

TEST_P(PanelLanguages, EveryTextOfTheHistoryIsReadable) {
    for (const auto& state : historyStates()) {
        SCOPED_TRACE(state.name);
        HistoryBridge bridge(historyPorts());
        const auto view = makeHistoryView(bridge);
        view->resize(820, 560);
        view->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
        bridge.reload();
        state.open(bridge);
        layOutPanel(*view->rootObject());
        expectReadableIn(*view);
    }
}

TEST_P(PanelLanguages, CountsHaveAFormForEveryNumber) {
    for (const std::size_t count : {0U, 1U, 2U, 3U, 11U, 21U, 100U, 1'000'000U}) {
        const auto said = text::translated("Panel", "%n flaw", "%n flaws", count);
        EXPECT_NE(said.find(std::to_string(count)), std::string::npos) << said;
        EXPECT_EQ(said.find("%n"), std::string::npos) << said;
        EXPECT_EQ(said.find("flaw") != std::string::npos, GetParam() == "en") << said;
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, PanelLanguages, testing::ValuesIn(languages()),
                         [](const auto& each) { return each.param; });

TEST(PanelLanguage, ChangesWhatIsShownAlready) {
    PanelLanguage language;
    PanelFixture panel;
    panel.model.seedDemo();
    PanelBridge bridge(panel.model, panel.images);
    const auto view = makePanelView(bridge);
    HistoryBridge history(historyPorts());
    const auto window = makeHistoryView(history);
    history.reload();
    history.choose(QStringLiteral("6"));
    history.compareWithBefore();
    const auto labelOf = [](QQuickView& in, const char* name) {
        return in.rootObject()->findChild<QQuickItem*>(name)->property("label").toString();
    };
    ASSERT_EQ(labelOf(*view, "gradeButton"), QStringLiteral("Grade this"));
    ASSERT_EQ(labelOf(*window, "flawsLink"), QStringLiteral("Back to its flaws"));

    EXPECT_TRUE(language.use("de"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return labelOf(*view, "gradeButton") == QLatin1String("Bewerten"); }));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return labelOf(*window, "flawsLink") == QStringLiteral("Zurück zu den Mängeln"); }));
    EXPECT_TRUE(history.compares()) << "what was open stays open";
    EXPECT_EQ(history.details().first().flaw.text, QStringLiteral("Behoben (1)"));
    EXPECT_FALSE(language.use("de")) << "it is in use";

    EXPECT_TRUE(language.use("klingon")) << "that is English";
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return labelOf(*view, "gradeButton") == QLatin1String("Grade this"); }));
    EXPECT_FALSE(language.use("en"));
}

TEST(PanelLanguage, VerdictsAreFoundByTheirBandInItsWordsAndInEnglish) {
    PanelLanguage language;
    HistoryBridge history(historyPorts());
    history.reload();
    const auto found = [&](const char* words) {
        history.setWords(QString::fromUtf8(words));
        std::vector<std::string> ids;
        for (const auto& line : history.lines()) {
            if (!line.id.isEmpty()) ids.push_back(line.id.toStdString());
        }
        return ids;
    };
    const auto blocked = found("block");
    ASSERT_FALSE(blocked.empty());
    ASSERT_LT(blocked.size(), someVerdicts().size());
    EXPECT_TRUE(found("blockieren").empty());
    EXPECT_FALSE(found("no verdict").empty()) << "the sign that is drawn for it is not a word";

    EXPECT_TRUE(language.use("de"));
    EXPECT_EQ(found("blockieren"), blocked);
    EXPECT_EQ(found("Block"), blocked);
    EXPECT_EQ(found("quarantäne"), found("quarantine"));
    EXPECT_FALSE(found("quarantäne").empty());
    EXPECT_TRUE(found("absent").empty());
    language.use("en");
    QCoreApplication::processEvents();
}

TEST(PanelLanguage, AnOpenPreviewIsToldInTheNewOne) {
    PanelLanguage language;
    const auto preview = std::ranges::find(panelStates(), "preview-picture", &PanelState::name);
    ASSERT_NE(preview, panelStates().end());
    PanelFixture panel;
    preview->set(panel);
    PanelBridge bridge(panel.model, panel.images);
    const auto view = makePanelView(bridge);
    const auto english = bridge.preview();
    ASSERT_GE(english.remarks.size(), 3);

    EXPECT_TRUE(language.use("de"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return bridge.preview().send == QLatin1String("Senden"); }));
    const auto& german = bridge.preview();
    ASSERT_EQ(german.remarks.size(), english.remarks.size());
    for (qsizetype i = 0; i < german.remarks.size(); ++i) {
        EXPECT_NE(german.remarks.at(i), english.remarks.at(i));
    }
    EXPECT_FALSE(german.picture.isEmpty()) << "the work is the same";
    language.use("en");
    QCoreApplication::processEvents();
}

} // namespace
} // namespace kelvane
