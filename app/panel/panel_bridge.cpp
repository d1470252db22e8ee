#include "app/panel/panel_bridge.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMetaObject>

#include <algorithm>
#include <string>
#include <utility>

namespace kelvane {

PanelBridge::PanelBridge(CompanionModel& model, PanelImages images, QObject* parent)
    : QObject(parent),
      m_model(model),
      m_images(images),
      m_changes(model.observeWillChange([this] { redrawSoon(); })),
      m_record(companionView(model)),
      m_header(headerRecord(m_record, m_images.resources)),
      m_now(nowRecord(m_record.now, m_images.icons)),
      m_verdict(verdictRecord(m_record.verdict)),
      m_actions(actionsRecord(m_record.actions)),
      m_agents(agentsRecord(m_record.agents)),
      m_workflow(workflowRecord(m_record.workflow)),
      m_footer(footerRecord(m_record.footer)),
      m_preview(previewRecord(m_record.preview)) {}

std::shared_ptr<const std::string> PanelBridge::previewPicture() const {
    return m_record.preview ? m_record.preview->picture : nullptr;
}

void PanelBridge::setDark(bool dark) {
    if (m_dark == dark) return;
    m_dark = dark;
    emit darkChanged();
}

void PanelBridge::setHighContrast(bool high) {
    if (m_highContrast == high) return;
    m_highContrast = high;
    emit darkChanged();
}

void PanelBridge::setTextSize(int pixels) {
    const int size = std::clamp(pixels, kSmallestTextSize, kLargestTextSize);
    if (m_textSize == size) return;
    m_textSize = size;
    emit textSizeChanged();
}

void PanelBridge::redrawSoon() {
    if (m_redrawPending || !m_follows) return;
    m_redrawPending = true;
    // Queued: the model tells of a change before it makes it.
    QMetaObject::invokeMethod(
        this,
        [this] {
            // redraw() may have been called by somebody else since.
            if (std::exchange(m_redrawPending, false) && m_follows) redraw();
        },
        Qt::QueuedConnection);
}

void PanelBridge::redraw() {
    m_redrawPending = false;
    // Compared by section: QML draws anew what it is told has changed.
    const CompanionViewRecord before = std::exchange(m_record, companionView(m_model));
    if (m_record.product != before.product || m_record.tag != before.tag ||
        m_record.markLetter != before.markLetter || m_record.status != before.status) {
        m_header = headerRecord(m_record, m_images.resources);
        emit headerChanged();
    }
    if (m_record.now != before.now) {
        m_now = nowRecord(m_record.now, m_images.icons);
        emit nowChanged();
    }
    if (m_record.verdict != before.verdict) {
        m_verdict = verdictRecord(m_record.verdict);
        emit verdictChanged();
    }
    if (m_record.actions != before.actions) {
        m_actions = actionsRecord(m_record.actions);
        emit actionsChanged();
    }
    if (m_record.agents != before.agents) {
        m_agents = agentsRecord(m_record.agents);
        emit agentsChanged();
    }
    if (m_record.workflow != before.workflow) {
        m_workflow = workflowRecord(m_record.workflow);
        emit workflowChanged();
    }
    if (m_record.footer != before.footer) {
        m_footer = footerRecord(m_record.footer);
        emit footerChanged();
    }
    if (m_record.preview != before.preview) {
        m_preview = previewRecord(m_record.preview);
        emit previewChanged();
    }
    redrawFlaws();
}

void PanelBridge::openFlaws(bool open) {
    if (m_flawsOpen == open) return;
    m_flawsOpen = open;
    redrawFlaws();
    emit flawsOpenChanged();
}

void PanelBridge::redrawFlaws() {
    // A list that nobody sees is not made.
    if (!m_flawsOpen && m_flaws == FlawListView{}) return;
    FlawListView now = m_flawsOpen ? flawListView(m_model) : FlawListView{};
    // The last flaw may have gone with what is still to be read.
    const bool closes = m_flawsOpen && now.items.empty() && now.note.empty();
    if (closes) now = {};
    const bool listed = m_flawsOpen && !closes && *m_model.verdict;
    m_listedFlaws = listed ? (*m_model.verdict)->flaws : std::vector<Flaw>();
    const FlawListView before = std::exchange(m_flaws, std::move(now));
    if (m_flaws.title != before.title || m_flaws.items != before.items ||
        m_flaws.more != before.more) {
        m_flawList = flawListRecord(m_flaws);
        chooseFlaw(-1);
        emit flawListChanged();
    }
    if (m_flaws.note != before.note || m_flaws.mayUndo != before.mayUndo) emit flawNoteChanged();
    if (!closes) return;
    m_flawsOpen = false;
    emit flawsOpenChanged();
}

void PanelBridge::chooseFlaw(int index) {
    if (m_chosenFlaw == index) return;
    m_chosenFlaw = index;
    emit chosenFlawChanged();
}

const Flaw* PanelBridge::listedFlaw(int index) const {
    const auto place = static_cast<std::size_t>(index);
    return index >= 0 && place < m_listedFlaws.size() ? &m_listedFlaws[place] : nullptr;
}

void PanelBridge::showHistory() {
    const auto hook = m_model.onHistory;
    hook();
}

void PanelBridge::dismissFlaw(int index) {
    if (const auto* flaw = listedFlaw(index)) m_model.dismissFlaw(*flaw);
}

void PanelBridge::addFlawsWord(int index) {
    if (const auto* flaw = listedFlaw(index)) m_model.addWord(misspeltWord(*flaw));
}

void PanelBridge::goToFlaw(int index) {
    if (const auto* flaw = listedFlaw(index)) m_model.goTo(*flaw);
}

void PanelBridge::copyFlaw(int index) {
    const auto* const flaw = listedFlaw(index);
    if (flaw == nullptr) return;
    QGuiApplication::clipboard()->setText(QString::fromStdString(flawText(*flaw)));
    m_model.flawNote = "Copied.";
}

void PanelBridge::copyFlaws() {
    if (m_listedFlaws.empty()) return;
    QGuiApplication::clipboard()->setText(QString::fromStdString(flawsText(m_listedFlaws)));
    m_model.flawNote = "Copied.";
}

void PanelBridge::undoLastWord() {
    m_model.undoLastWord();
}

void PanelBridge::choose(PanelMenuAction::Value action) {
    switch (action) {
    case PanelMenuAction::Value::GetKey:
        getKey();
        break;
    case PanelMenuAction::Value::Uninstall:
        uninstall();
        break;
    case PanelMenuAction::Value::Quit:
        quit();
        break;
    case PanelMenuAction::Value::Accessibility:
        accessibility();
        break;
    case PanelMenuAction::Value::Settings:
        settings();
        break;
    case PanelMenuAction::Value::Divider:
        break;
    }
}

void PanelBridge::grade() {
    m_model.grade();
}

void PanelBridge::iterate() {
    m_model.iterate();
}

void PanelBridge::cancel() {
    m_model.cancel();
}

// The hooks may replace or end what holds them: each call works on a copy.
void PanelBridge::wire() {
    const auto hook = m_model.onWire;
    hook();
}

void PanelBridge::getKey() {
    const auto hook = m_model.onGetKey;
    hook();
}

void PanelBridge::uninstall() {
    const auto hook = m_model.onUninstall;
    hook();
}

void PanelBridge::accessibility() {
    const auto hook = m_model.onAccessibility;
    hook();
}

void PanelBridge::sendPreviewed(bool always) {
    m_model.sendPreviewed(always);
}

void PanelBridge::dropPreviewed() {
    m_model.dropPreviewed();
}

void PanelBridge::settings() {
    if (const auto hook = m_model.onSettings) hook();
}

void PanelBridge::quit() {
    const auto hook = m_model.onQuit;
    hook();
}

void PanelBridge::openReport() {
    const auto& graded = m_record.verdict.graded;
    // The report that is shown, by id: the model may have another by the time it opens.
    if (!graded || !graded->report) return;
    const auto hook = m_model.onOpenReport;
    const std::string runId = graded->report->runId;
    hook(runId);
}

} // namespace kelvane
