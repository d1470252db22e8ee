// The object that the window of settings binds to: what is set, and what changes it.
//
// Each change goes to the file at once and is asked back from there. Main thread only; all of its
// ports must outlive it. It looks again when the model changes, on the next turn of the event loop.

#pragma once

#include "app/published.h"
#include "app/settings_view.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <string>

namespace kelvane {

class CompanionModel;
class SettingsStore;
struct Settings;

struct SettingsRecord {
    Q_GADGET
    QML_VALUE_TYPE(settingsRecord)
    Q_PROPERTY(QString place MEMBER place CONSTANT)
    Q_PROPERTY(int preview MEMBER preview CONSTANT)
    Q_PROPERTY(QStringList previewChoices MEMBER previewChoices CONSTANT)
    Q_PROPERTY(QStringList previewApps MEMBER previewApps CONSTANT)
    Q_PROPERTY(bool passwordManagers MEMBER passwordManagers CONSTANT)
    Q_PROPERTY(QStringList neverCapture MEMBER neverCapture CONSTANT)
    Q_PROPERTY(QString front MEMBER front CONSTANT)
    Q_PROPERTY(QString pause MEMBER pause CONSTANT)
    Q_PROPERTY(QString shortcut MEMBER shortcut CONSTANT)
    Q_PROPERTY(bool notifications MEMBER notifications CONSTANT)
    Q_PROPERTY(int language MEMBER language CONSTANT)
    Q_PROPERTY(QStringList languageChoices MEMBER languageChoices CONSTANT)
    Q_PROPERTY(QStringList agents MEMBER agents CONSTANT)
    Q_PROPERTY(QStringList problems MEMBER problems CONSTANT)

public:
    QString place;
    int preview = 0;
    QStringList previewChoices;
    QStringList previewApps;
    bool passwordManagers = true;
    QStringList neverCapture;
    QString front; ///< Empty: there is nothing to exclude.
    QString pause;
    QString shortcut;
    bool notifications = true;
    int language = 0;
    QStringList languageChoices;
    QStringList agents;
    QStringList problems;
};

class SettingsBridge : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(kelvane::SettingsRecord record READ record NOTIFY recordChanged)

public:
    struct Ports {
        CompanionModel& model;
        SettingsStore& store;
        std::function<std::string()> place;  ///< Where work goes, for people.
        std::function<void()> askPlace;      ///< Asks where to grade.
        std::function<void()> apply = [] {}; ///< What was set is to be in use now.
        /// Why the shortcut is not in use; empty when it is.
        std::function<std::string()> shortcutProblem = [] { return std::string(); };
    };

    explicit SettingsBridge(Ports ports, QObject* parent = nullptr);

    [[nodiscard]] const SettingsRecord& record() const { return m_record; }

    /// Looks at the model and the settings at once.
    void redraw();

    // What the controls call. The numbers are places in the record's lists.
    Q_INVOKABLE void askPlace();
    Q_INVOKABLE void setPreview(int choice);
    Q_INVOKABLE void forgetPreviewApp(int index);
    Q_INVOKABLE void setPasswordManagers(bool on);
    Q_INVOKABLE void exclude(const QString& identifier);
    Q_INVOKABLE void excludeFront();
    Q_INVOKABLE void include(int index);
    Q_INVOKABLE void pauseOrResume();
    Q_INVOKABLE void setShortcut(const QString& text);
    Q_INVOKABLE void setNotifications(bool on);
    Q_INVOKABLE void setLanguage(int choice);
    Q_INVOKABLE void wire();

signals:
    void recordChanged();

private:
    void change(const std::function<void(Settings&)>& edit);
    void say(std::string problem);

    Ports m_ports;
    Subscription m_changes;
    SettingsView m_view;
    SettingsRecord m_record;
    std::string m_said; ///< What came of the last change.
    bool m_redrawPending = false;
};

} // namespace kelvane
