// What all dialogs promise, whatever is behind them: the scripted ones and windows on a real
// desktop.

#include "platform/fake/fake_dialogs.h"
#include "platform/fake/journal.h"
#include "platform/qt/qt_dialogs.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QColor>
#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QMessageBox>
#include <QPixmap>
#include <QTimer>

#include <deque>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

/// Dialogs, and the person in front of them.
class DialogsOfSystem {
public:
    virtual ~DialogsOfSystem() = default;
    virtual Dialogs& dialogs() = 0;
    /// The next alert: press its button, or close it without one.
    virtual void willAnswer(std::optional<std::size_t> button) = 0;
    [[nodiscard]] virtual std::vector<Alert> seen() const = 0;
};

class ScriptedDialogs : public DialogsOfSystem {
public:
    Dialogs& dialogs() override { return m_dialogs; }
    void willAnswer(std::optional<std::size_t> button) override {
        m_dialogs.answers.push_back(button);
    }
    std::vector<Alert> seen() const override { return m_dialogs.shown; }

private:
    Journal m_journal;
    FakeDialogs m_dialogs{m_journal};
};

/// Presses buttons as soon as there are some.
class DialogsOfDesktop : public DialogsOfSystem {
public:
    DialogsOfDesktop() {
        QObject::connect(&m_eyes, &QTimer::timeout, [this] { look(); });
        m_eyes.start(5);
    }

    Dialogs& dialogs() override { return *m_dialogs; }
    void willAnswer(std::optional<std::size_t> button) override { m_answers.push_back(button); }
    std::vector<Alert> seen() const override { return m_seen; }

private:
    static QList<QAbstractButton*> inOrder(const QMessageBox& box) {
        // As they were added; where they stand on the screen is the desktop's own habit.
        QList<QAbstractButton*> buttons;
        for (auto* button : box.findChildren<QAbstractButton*>()) {
            if (box.buttons().contains(button)) buttons << button;
        }
        return buttons;
    }

    void look() {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr || !box->isVisible() || m_answers.empty()) return;
        Alert shown{.style = box->icon() == QMessageBox::Warning ? Alert::Style::Warning
                                                                 : Alert::Style::Informational,
                    .message = box->text().toStdString(),
                    .informative = box->informativeText().toStdString(),
                    .buttons = {}};
        const auto buttons = inOrder(*box);
        for (const auto* button : buttons) {
            shown.buttons.push_back(
                button->text().replace(QLatin1String("&&"), QLatin1String("&")).toStdString());
        }
        m_seen.push_back(shown);
        const auto answer = m_answers.front();
        m_answers.pop_front();
        if (answer) {
            buttons.at(static_cast<qsizetype>(*answer))->click();
        } else {
            box->close();
        }
    }

    std::unique_ptr<Dialogs> m_dialogs = makeQtDialogs();
    QTimer m_eyes;
    std::deque<std::optional<std::size_t>> m_answers;
    std::vector<Alert> m_seen;
};

Alert alert(std::string message, std::vector<std::string> buttons = {}) {
    return {.style = Alert::Style::Informational,
            .message = std::move(message),
            .informative = "",
            .buttons = std::move(buttons)};
}

struct System {
    std::string name;
    std::unique_ptr<DialogsOfSystem> (*make)();
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const System& system, std::ostream* out) {
    *out << system.name;
}

class DialogsContract : public testing::TestWithParam<System> {
protected:
    std::unique_ptr<DialogsOfSystem> system = GetParam().make();
    Dialogs& dialogs = system->dialogs();
};

TEST_P(DialogsContract, tellsWhichButtonWasPressed) {
    const Alert asked{.style = Alert::Style::Warning,
                      .message = "Uninstall?",
                      .informative = "Everything goes.\nNothing stays.",
                      .buttons = {"Uninstall", "Ask again", "Cancel"}};
    for (std::size_t button = 0; button < asked.buttons.size(); ++button) {
        system->willAnswer(button);
        EXPECT_EQ(dialogs.show(asked), button);
    }
}

TEST_P(DialogsContract, closedWithoutAButtonIsNoAnswer) {
    for (const std::vector<std::string>& buttons :
         {std::vector<std::string>{"OK", "Cancel"}, {"OK"}, {}}) {
        system->willAnswer(std::nullopt);
        EXPECT_EQ(dialogs.show(alert("News", buttons)), std::nullopt);
    }
}

TEST_P(DialogsContract, withoutButtonsThereIsTheSystemsOwn) {
    system->willAnswer(0);
    EXPECT_EQ(dialogs.show(alert("Done")), 0U);
}

TEST_P(DialogsContract, showsTheTextsAsTheyAre) {
    const Alert asked{.style = Alert::Style::Informational,
                      .message = "<b>Wired</b> & done: 100 % of \"2\" tools ✓",
                      .informative = "one\n<a href='x'>two</a>\n&amp; three",
                      .buttons = {"Save & Quit", "<i>No</i>"}};
    system->willAnswer(1);
    EXPECT_EQ(dialogs.show(asked), 1U);
    EXPECT_EQ(system->seen(), std::vector<Alert>{asked});
}

TEST_P(DialogsContract, oneAfterTheOther) {
    system->willAnswer(0);
    system->willAnswer(std::nullopt);
    system->willAnswer(1);
    EXPECT_EQ(dialogs.show(alert("1", {"A", "B"})), 0U);
    EXPECT_EQ(dialogs.show(alert("2", {"A", "B"})), std::nullopt);
    EXPECT_EQ(dialogs.show(alert("3", {"A", "B"})), 1U);
    ASSERT_EQ(system->seen().size(), 3U);
    EXPECT_EQ(system->seen().back().message, "3");
}

INSTANTIATE_TEST_SUITE_P(Dialogs, DialogsContract,
                         testing::Values(System{"scripted",
                                                []() -> std::unique_ptr<DialogsOfSystem> {
                                                    return std::make_unique<ScriptedDialogs>();
                                                }},
                                         System{"desktop",
                                                []() -> std::unique_ptr<DialogsOfSystem> {
                                                    return std::make_unique<DialogsOfDesktop>();
                                                }}),
                         [](const auto& each) { return each.param.name; });

TEST(DesktopDialogs, TheLoopRunsOnMeanwhile) {
    const auto dialogs = makeQtDialogs();
    int turns = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (++turns == 3) QApplication::activeModalWidget()->close();
    });
    timer.start(5);
    EXPECT_EQ(dialogs->show(alert("News")), std::nullopt);
    EXPECT_GE(turns, 3);
}

TEST(DesktopDialogs, AnAlertIsWideEnoughToBeReadHasOneSizeAndShowsWhoAsks) {
    const auto dialogs = makeQtDialogs();
    QPixmap mark(64, 64);
    mark.fill(Qt::darkCyan);
    QGuiApplication::setWindowIcon(QIcon(mark));
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr) return;
        EXPECT_GE(box->width(), 400);
        EXPECT_FALSE(box->windowFlags() & (Qt::WindowMinMaxButtonsHint));
        EXPECT_EQ(box->iconPixmap().toImage().pixelColor(10, 10), QColor(Qt::darkCyan));
        EXPECT_TRUE(box->findChild<QLabel*>("qt_msgbox_label")->font().bold());
        box->close();
    });
    timer.start(5);
    EXPECT_EQ(dialogs->show(alert("News", {"OK"})), std::nullopt);
    QGuiApplication::setWindowIcon({});
}

TEST(DesktopDialogs, NothingInATextIsMarkupAndReturnPressesTheFirstButton) {
    const auto dialogs = makeQtDialogs();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr) return;
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        ASSERT_NE(box->defaultButton(), nullptr);
        EXPECT_EQ(reinterpret_cast<QAbstractButton*>(box->defaultButton())->text(), "First");
        box->close();
    });
    timer.start(5);
    EXPECT_EQ(dialogs->show(alert("<b>x</b>", {"First", "Second"})), std::nullopt);
}

} // namespace
} // namespace kelvane
