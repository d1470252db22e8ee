#include "app/panel/history_bridge.h"

#include "app/panel/panel_bridge.h"
#include "text/translation.h"

#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kelvane {

namespace {

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

HistoryLineRecord lineRecord(const HistoryLine& line) {
    HistoryLineRecord record;
    record.isApp = line.kind == HistoryLine::Kind::App;
    record.isDay = line.kind == HistoryLine::Kind::Day;
    record.text = text(line.text);
    record.id = text(line.id);
    record.band = text(line.pill.label);
    record.bandTint = static_cast<PanelTint::Value>(line.pill.tint);
    record.bandLabelTint = static_cast<PanelTint::Value>(line.pill.labelTint);
    record.score = text(line.score);
    record.spoken = text(line.spoken);
    return record;
}

QString signOf(HistoryDetail::Kind kind) {
    switch (kind) {
    case HistoryDetail::Kind::Same:
        return QStringLiteral(" ");
    case HistoryDetail::Kind::Removed:
        return QStringLiteral("−");
    case HistoryDetail::Kind::Added:
        return QStringLiteral("+");
    default:
        return {};
    }
}

HistoryDetailRecord detailRecord(const HistoryDetail& detail) {
    HistoryDetailRecord record;
    record.isHeading = detail.kind == HistoryDetail::Kind::Heading;
    record.isFlaw = detail.kind == HistoryDetail::Kind::Flaw;
    record.sign = signOf(detail.kind);
    record.flaw.severity = text(detail.severity);
    record.flaw.tint = static_cast<PanelTint::Value>(detail.tint);
    record.flaw.text = text(detail.text);
    return record;
}

} // namespace

HistoryBridge::HistoryBridge(Ports ports, QObject* parent)
    : QObject(parent),
      m_ports(std::move(ports)) {}

void HistoryBridge::reload() {
    m_ports.load([this, alive = std::weak_ptr(m_alive)](Entries entries) {
        if (alive.expired() || (m_isLoaded && entries == m_entries)) return;
        m_entries = std::move(entries);
        m_isLoaded = true;
        listAnew();
    });
}

void HistoryBridge::redraw() {
    const std::string compared = m_compares ? m_comparedWith : std::string();
    listAnew();
    if (m_chosen.empty()) return;
    showFlaws();
    if (!compared.empty()) compareWith(entryOf(compared));
}

void HistoryBridge::listAnew() {
    m_lines.clear();
    const auto found = history::search(m_entries, m_words.toStdString(), shownNames);
    for (const auto& line : historyLines(found, m_ports.local)) m_lines << lineRecord(line);
    emit linesChanged();
    if (!m_chosen.empty() && entryOf(m_chosen) == nullptr) {
        m_chosen.clear();
        show({}, false);
    }
    if (!m_marked.empty() && entryOf(m_marked) == nullptr) {
        m_marked.clear();
        emit detailsChanged();
    }
}

QString HistoryBridge::empty() const {
    if (!m_lines.empty() || !m_isLoaded) return {};
    return QString::fromStdString(m_entries.empty()
                                      ? text::translated("History", "Verdicts will be listed here.")
                                      : text::translated("History", "No verdict has these words."));
}

void HistoryBridge::setWords(const QString& words) {
    if (m_words == words) return;
    m_words = words;
    emit wordsChanged();
    listAnew();
    sayWhatIsFound();
}

void HistoryBridge::sayWhatIsFound() {
    const auto count = static_cast<std::size_t>(
        std::ranges::count_if(m_lines, [](const auto& line) { return !line.id.isEmpty(); }));
    QString found;
    if (!m_words.isEmpty()) {
        found = count == 0 ? empty()
                           : QString::fromStdString(text::translated("History", "%n verdict found.",
                                                                     "%n verdicts found.", count));
    }
    // Not for every key that changes nothing.
    if (found == std::exchange(m_found, found) || found.isEmpty()) return;
    emit said(found);
}

const history::VerdictEntry* HistoryBridge::entryOf(const std::string& id) const {
    const auto found = std::ranges::find(m_entries, id, &history::VerdictEntry::id);
    return found == m_entries.end() ? nullptr : &*found;
}

void HistoryBridge::show(HistoryDetails details, bool compares) {
    m_details = std::move(details);
    m_compares = compares;
    m_detailRecords.clear();
    for (const auto& line : m_details.lines) m_detailRecords << detailRecord(line);
    emit detailsChanged();
}

void HistoryBridge::choose(const QString& id) {
    const auto* const entry = entryOf(id.toStdString());
    if (entry == nullptr) return;
    m_chosen = entry->id;
    show(historyDetails(*entry, m_ports.local), false);
}

void HistoryBridge::openReport() {
    const auto* const entry = entryOf(m_chosen);
    if (entry != nullptr && !entry->runId.empty()) m_ports.openReport(*entry);
}

bool HistoryBridge::hasVersionBefore() const {
    const auto* const entry = entryOf(m_chosen);
    return entry != nullptr && history::versionBefore(m_entries, *entry) != nullptr;
}

void HistoryBridge::compareWith(const history::VerdictEntry* other) {
    const auto* const entry = entryOf(m_chosen);
    if (entry == nullptr || other == nullptr || other == entry) return;
    m_comparedWith = other->id;
    show(comparisonDetails(history::compare(*other, *entry), m_ports.local), true);
    emit said(QString::fromStdString(m_details.spoken));
}

void HistoryBridge::compareWithBefore() {
    const auto* const entry = entryOf(m_chosen);
    if (entry != nullptr) compareWith(history::versionBefore(m_entries, *entry));
}

void HistoryBridge::mark() {
    m_marked = m_marked == m_chosen ? std::string() : m_chosen;
    emit detailsChanged();
}

void HistoryBridge::compareWithMarked() {
    compareWith(entryOf(m_marked));
}

void HistoryBridge::showFlaws() {
    choose(chosen());
}

void HistoryBridge::eraseChosen() {
    if (entryOf(m_chosen) == nullptr) return;
    m_ports.erase(m_chosen);
    std::erase_if(m_entries, [&](const auto& entry) { return entry.id == m_chosen; });
    listAnew();
    emit said(QString::fromStdString(text::translated("History", "The verdict is deleted.")));
}

void HistoryBridge::eraseAll() {
    m_ports.eraseAll();
    m_entries.clear();
    listAnew();
    emit said(QString::fromStdString(text::translated("History", "All verdicts are deleted.")));
}

void HistoryBridge::copyDetails() {
    QString all = title() + u'\n';
    for (const auto& line : m_detailRecords) {
        const QString& before = line.isFlaw ? line.flaw.severity : line.sign;
        all +=
            before + (before.isEmpty() ? QString() : QStringLiteral(" ")) + line.flaw.text + u'\n';
    }
    QGuiApplication::clipboard()->setText(all);
    emit said(QString::fromStdString(text::translated("Sentence", "Copied.")));
}

void HistoryBridge::setDark(bool dark) {
    if (m_dark == dark) return;
    m_dark = dark;
    emit lookChanged();
}

void HistoryBridge::setHighContrast(bool high) {
    if (m_highContrast == high) return;
    m_highContrast = high;
    emit lookChanged();
}

double HistoryBridge::grown() const {
    return PanelBridge::grownFor(m_textSize);
}

void HistoryBridge::setTextSize(int pixels) {
    pixels = std::clamp(pixels, PanelBridge::kSmallestTextSize, PanelBridge::kLargestTextSize);
    if (m_textSize == pixels) return;
    m_textSize = pixels;
    emit lookChanged();
}

} // namespace kelvane
