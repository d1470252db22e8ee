#include "app/panel/panel_portal_dbus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusVariant>
#include <QString>

#include <vector>

namespace kelvane {
namespace {

using testing::Each;
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

    std::vector<DesktopLook> told;
    PanelPortal portal{[this](const DesktopLook& look) { told.push_back(look); }};
};

TEST_F(PanelPortalTest, NothingIsToldBeforeTheDesktopAnswers) {
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(PanelPortalTest, EveryChangeIsTold) {
    for (const unsigned number : {1U, 2U, 0U}) {
        tell("org.freedesktop.appearance", "color-scheme", number);
    }
    EXPECT_THAT(told, ElementsAre(DesktopLook{.scheme = ColorScheme::dark},
                                  DesktopLook{.scheme = ColorScheme::light}, DesktopLook{}));
}

TEST_F(PanelPortalTest, AValueWrappedTwiceIsTheSameValue) {
    tell("org.freedesktop.appearance", "color-scheme",
         QVariant::fromValue(QDBusVariant(QVariant(1U))));
    EXPECT_THAT(told, ElementsAre(DesktopLook{.scheme = ColorScheme::dark}));
}

TEST_F(PanelPortalTest, AValueOfAnotherKindIsNoPreference) {
    tell("org.freedesktop.appearance", "color-scheme", QStringLiteral("dark"));
    EXPECT_THAT(told, ElementsAre(DesktopLook{}));
}

TEST_F(PanelPortalTest, WhatIsKnownAlreadyIsToldWithWhatChanges) {
    tell("org.freedesktop.appearance", "color-scheme", 1U);
    tell("org.freedesktop.appearance", "contrast", 1U);
    tell("org.gnome.desktop.interface", "text-scaling-factor", 2.0);
    tell("org.freedesktop.appearance", "contrast", 0U);
    DesktopLook look{.scheme = ColorScheme::dark};
    std::vector<DesktopLook> wanted{look};
    look.highContrast = true;
    wanted.push_back(look);
    look.textScale = 2;
    wanted.push_back(look);
    look.highContrast = false;
    wanted.push_back(look);
    EXPECT_EQ(told, wanted);
}

TEST_F(PanelPortalTest, ValuesThatNobodyDefinedAreTheUsual) {
    tell("org.freedesktop.appearance", "contrast", 2U);
    tell("org.freedesktop.appearance", "contrast", QStringLiteral("high"));
    tell("org.gnome.desktop.interface", "text-scaling-factor", -4.0);
    tell("org.gnome.desktop.interface", "text-scaling-factor", QStringLiteral("large"));
    EXPECT_THAT(told, Each(DesktopLook{}));
}

TEST_F(PanelPortalTest, OtherSettingsAreNotTold) {
    tell("org.freedesktop.appearance", "accent-color", 1U);
    tell("org.gnome.desktop.interface", "color-scheme", 1U);
    tell("org.gnome.desktop.interface", "contrast", 1U);
    EXPECT_THAT(told, IsEmpty());
}

} // namespace
} // namespace kelvane
