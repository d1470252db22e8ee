#include "app/panel/settings_bridge.h"

#include "app/companion_model.h"
#include "app/settings/settings_store.h"
#include "app/settings/shortcut_text.h"

#include <QMetaObject>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

namespace kelvane {

namespace {

/// As the icon's menu has it.
constexpr std::chrono::hours kPauseLength{1};

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

QStringList texts(const std::vector<std::string>& all) {
    QStringList list;
    for (const auto& each : all) list << text(each);
    return list;
}

QStringList labels(const std::vector<SettingsView::Entry>& entries) {
    QStringList list;
    for (const auto& each : entries) list << text(each.label);
    return list;
}

SettingsRecord recordOf(const SettingsView& view) {
    SettingsRecord record;
    record.place = text(view.place);
    record.preview = view.preview;
    record.previewChoices = texts(view.previewChoices);
    record.previewApps = labels(view.previewApps);
    record.passwordManagers = view.passwordManagers;
    record.neverCapture = labels(view.neverCapture);
    record.front = text(view.front.label);
    record.pause = text(view.pause);
    record.shortcut = text(view.shortcut);
    record.notifications = view.notifications;
    record.language = view.language;
    record.languageChoices = texts(view.languageChoices);
    record.agents = texts(view.agents);
    record.problems = texts(view.problems);
    return record;
}

/// The identifier at a place of a list; empty when there is none.
std::string at(const std::vector<SettingsView::Entry>& entries, int index) {
    const bool isThere = index >= 0 && static_cast<std::size_t>(index) < entries.size();
    return isThere ? entries[static_cast<std::size_t>(index)].id : std::string();
}

} // namespace

SettingsBridge::SettingsBridge(Ports ports, QObject* parent)
    : QObject(parent),
      m_ports(std::move(ports)),
      m_changes(m_ports.model.observeWillChange([this] {
          if (std::exchange(m_redrawPending, true)) return;
          // Queued: the model tells of a change before it makes it.
          QMetaObject::invokeMethod(
              this, [this] { redraw(); }, Qt::QueuedConnection);
      })) {
    redraw();
}

void SettingsBridge::redraw() {
    m_redrawPending = false;
    const std::string problem = m_ports.shortcutProblem();
    auto view = settingsView(m_ports.model, m_ports.store, m_ports.place(),
                             m_said.empty() ? problem : m_said);
    if (view == m_view) return;
    m_view = std::move(view);
    m_record = recordOf(m_view);
    emit recordChanged();
}

void SettingsBridge::change(const std::function<void(Settings&)>& edit) {
    say(m_ports.store.change(edit).value_or(""));
}

void SettingsBridge::say(std::string problem) {
    m_said = std::move(problem);
    // What follows from the settings holds at once.
    m_ports.model.refresh();
    m_ports.apply();
    redraw();
    // What cannot be used may be told a moment later.
    QMetaObject::invokeMethod(
        this, [this] { redraw(); }, Qt::QueuedConnection);
}

void SettingsBridge::askPlace() {
    m_ports.askPlace();
    redraw();
}

void SettingsBridge::setPreview(int choice) {
    if (choice < 0 || choice > static_cast<int>(PreviewWhen::Never)) return;
    change([&](Settings& settings) { settings.preview = static_cast<PreviewWhen>(choice); });
}

void SettingsBridge::forgetPreviewApp(int index) {
    const std::string app = at(m_view.previewApps, index);
    change([&](Settings& settings) { settings.previewApps.erase(app); });
}

void SettingsBridge::setPasswordManagers(bool on) {
    change([&](Settings& settings) { settings.neverPasswordManagers = on; });
}

void SettingsBridge::exclude(const QString& identifier) {
    const std::string entry = identifier.trimmed().toStdString();
    if (const std::string problem = neverCaptureProblem(entry); !problem.empty()) {
        return say("“" + entry + "”: " + problem + ".");
    }
    change([&](Settings& settings) {
        if (std::ranges::find(settings.neverCapture, entry) == settings.neverCapture.end()) {
            settings.neverCapture.push_back(entry);
        }
    });
}

void SettingsBridge::excludeFront() {
    if (!m_view.front.id.empty()) exclude(text(m_view.front.id));
}

void SettingsBridge::include(int index) {
    const std::string app = at(m_view.neverCapture, index);
    change([&](Settings& settings) { std::erase(settings.neverCapture, app); });
}

void SettingsBridge::pauseOrResume() {
    m_view.paused ? m_ports.model.resume() : m_ports.model.pause(kPauseLength);
    redraw();
}

void SettingsBridge::setShortcut(const QString& said) {
    const std::string wished = said.trimmed().toStdString();
    std::string written;
    if (!wished.empty()) {
        std::string why;
        const auto shortcut = shortcutOf(wished, why);
        if (!shortcut) return say(std::move(why));
        written = shortcutText(*shortcut);
    }
    change([&](Settings& settings) { settings.shortcut = written; });
}

void SettingsBridge::setNotifications(bool on) {
    change([&](Settings& settings) { settings.notifications = on; });
}

void SettingsBridge::setLanguage(int choice) {
    const auto& languages = settingsLanguages();
    if (choice < 0 || static_cast<std::size_t>(choice) > languages.size()) return;
    change([&](Settings& settings) {
        // The first choice is the desktop's.
        settings.language = choice == 0 ? "" : languages[static_cast<std::size_t>(choice) - 1];
    });
}

void SettingsBridge::wire() {
    const auto hook = m_ports.model.onWire;
    hook();
    redraw();
}

} // namespace kelvane
