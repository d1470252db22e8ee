#include "app/panel/panel_portal_dbus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusVariant>
#include <QString>

#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PanelPortalTest : public testing::Test {
protected:
    /// As the session bus does when the portal tells of a change.
    void tell(const char* space, const char* key, const QVariant& value) {
        ASSERT_TRUE(QMetaObject::invokeMethod(
            &portal, "settingChanged", Qt::DirectConnection, Q_ARG(QString, QString(space)),
            Q_ARG(QString, QString(key)), Q_ARG(QDBusVariant, QDBusVariant(value))));
    }

    std::vector<ColorScheme> told;
    PanelPortal portal{[this](ColorScheme scheme) { told.push_back(scheme); }};
};

TEST_F(PanelPortalTest, NothingIsToldBeforeTheDesktopAnswers) {
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(PanelPortalTest, EveryChangeIsTold) {
    for (const unsigned number : {1U, 2U, 0U}) {
        tell("org.freedesktop.appearance", "color-scheme", number);
    }
    EXPECT_THAT(told,
                ElementsAre(ColorScheme::dark, ColorScheme::light, ColorScheme::noPreference));
}

TEST_F(PanelPortalTest, AValueWrappedTwiceIsTheSameValue) {
    tell("org.freedesktop.appearance", "color-scheme",
         QVariant::fromValue(QDBusVariant(QVariant(1U))));
    EXPECT_THAT(told, ElementsAre(ColorScheme::dark));
}

TEST_F(PanelPortalTest, AValueOfAnotherKindIsNoPreference) {
    tell("org.freedesktop.appearance", "color-scheme", QStringLiteral("dark"));
    EXPECT_THAT(told, ElementsAre(ColorScheme::noPreference));
}

TEST_F(PanelPortalTest, OtherSettingsAreNotTold) {
    tell("org.freedesktop.appearance", "accent-color", 1U);
    tell("org.gnome.desktop.interface", "color-scheme", 1U);
    EXPECT_THAT(told, IsEmpty());
}

} // namespace
} // namespace kelvane
