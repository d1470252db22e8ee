#include "app/panel/panel_bridge.h"

#include "app/panel/app_icon_provider.h"
#include "platform/ports/bundle_resources.h"

#include <QFile>
#include <QMetaObject>
#include <QString>
#include <QUrl>
#include <QVariantList>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

constexpr QSize kGlyphSize{32, 32};

QString text(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// QML takes the empty text for what is absent: no text of the panel is present and empty.
QString textOrEmpty(const std::optional<std::string>& utf8) {
    return utf8 ? text(*utf8) : QString();
}

QString symbolName(const std::optional<Symbol>& symbol) {
    return symbol ? text(rawValue(*symbol)) : QString();
}

QVariantMap map(const ButtonView& button) {
    return {{"label", text(button.label)},
            {"symbol", symbolName(button.symbol)},
            {"visible", button.visible},
            {"enabled", button.enabled}};
}

QVariantMap headerMap(const CompanionViewRecord& record, BundleResources& resources) {
    const auto mark = resources.url("brask", "png");
    return {{"product", text(record.product)},
            {"tag", text(record.tag)},
            {"dot", text(rawValue(record.status.tint))},
            {"toolTip", text(record.status.toolTip)},
            {"mark",
             mark ? QUrl::fromLocalFile(QFile::decodeName(mark->c_str())).toString() : QString()}};
}

QVariantMap map(const NowSection& now, AppIcons& icons) {
    const bool hasIcon =
        now.recognised && !appIconPicture(icons, now.bundleId, kGlyphSize).isNull();
    return {{"caption", text(now.caption)},
            {"recognised", now.recognised},
            {"icon", hasIcon ? appIconSource(now.bundleId) : QString()},
            {"symbol", symbolName(now.symbol)},
            {"headline", text(now.headline)},
            {"detail", text(now.detail)}};
}

QVariantMap map(const VerdictSection& section) {
    QVariantMap map{{"progress", textOrEmpty(section.progress)},
                    {"note", textOrEmpty(section.note)},
                    {"graded", section.graded.has_value()}};
    if (!section.graded) return map;
    const auto& graded = *section.graded;
    QVariantList flaws;
    for (const auto& flaw : graded.flaws) {
        flaws << QVariantMap{{"severity", text(flaw.severity)},
                             {"tint", text(rawValue(flaw.severityTint))},
                             {"text", text(flaw.text)}};
    }
    map.insert({{"band", text(graded.pill.label)},
                {"bandTint", text(rawValue(graded.pill.tint))},
                {"bandLabelTint", text(rawValue(graded.pill.labelTint))},
                {"score", textOrEmpty(graded.score)},
                {"hasReport", graded.reportRunId.has_value()},
                {"error", textOrEmpty(graded.error)},
                {"flaws", flaws},
                {"more", textOrEmpty(graded.more)},
                {"summary", textOrEmpty(graded.summary)}});
    return map;
}

QVariantMap map(const ActionRow& actions) {
    return {{"grade", map(actions.grade)},
            {"iterate", map(actions.iterate)},
            {"getKey", map(actions.getKey)}};
}

QVariantMap map(const AgentsSection& agents) {
    QVariantList rows;
    for (const auto& row : agents.rows) {
        QVariantList chips;
        for (const auto& chip : row) {
            chips << QVariantMap{{"name", text(chip.name)},
                                 {"dot", text(rawValue(chip.dot))},
                                 {"badge", symbolName(chip.badge)},
                                 {"toolTip", text(chip.toolTip)}};
        }
        rows << QVariant(chips);
    }
    return {
        {"caption", text(agents.caption)}, {"empty", textOrEmpty(agents.empty)}, {"rows", rows}};
}

QVariantMap map(const WorkflowSection& workflow) {
    return {{"caption", text(workflow.caption)},
            {"tag", textOrEmpty(workflow.tag)},
            {"pipeline", text(workflow.pipeline)}};
}

QVariantMap map(const FooterRow& footer) {
    QVariantList items;
    for (const auto& item : footer.menu) {
        items << QVariantMap{{"action", text(rawValue(item.action))}, {"title", text(item.title)}};
    }
    return {{"wire", map(footer.wire)}, {"menuTitle", text(footer.menuTitle)}, {"menu", items}};
}

} // namespace

PanelBridge::PanelBridge(CompanionModel& model, PanelImages images, QObject* parent)
    : QObject(parent),
      m_model(model),
      m_images(images),
      m_changes(model.observeWillChange([this] { redrawSoon(); })),
      m_record(companionView(model)),
      m_header(headerMap(m_record, m_images.resources)),
      m_now(map(m_record.now, m_images.icons)),
      m_verdict(map(m_record.verdict)),
      m_actions(map(m_record.actions)),
      m_agents(map(m_record.agents)),
      m_workflow(map(m_record.workflow)),
      m_footer(map(m_record.footer)) {}

void PanelBridge::setDark(bool dark) {
    if (m_dark == dark) return;
    m_dark = dark;
    emit darkChanged();
}

void PanelBridge::setTextSize(int pixels) {
    const int size = std::clamp(pixels, kSmallestTextSize, kLargestTextSize);
    if (m_textSize == size) return;
    m_textSize = size;
    emit textSizeChanged();
}

void PanelBridge::redrawSoon() {
    if (m_redrawPending) return;
    m_redrawPending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_redrawPending) redraw();
        },
        Qt::QueuedConnection);
}

void PanelBridge::redraw() {
    m_redrawPending = false;
    const CompanionViewRecord before = std::exchange(m_record, companionView(m_model));
    if (m_record.product != before.product || m_record.tag != before.tag ||
        m_record.status != before.status) {
        m_header = headerMap(m_record, m_images.resources);
        emit headerChanged();
    }
    if (m_record.now != before.now) {
        m_now = map(m_record.now, m_images.icons);
        emit nowChanged();
    }
    if (m_record.verdict != before.verdict) {
        m_verdict = map(m_record.verdict);
        emit verdictChanged();
    }
    if (m_record.actions != before.actions) {
        m_actions = map(m_record.actions);
        emit actionsChanged();
    }
    if (m_record.agents != before.agents) {
        m_agents = map(m_record.agents);
        emit agentsChanged();
    }
    if (m_record.workflow != before.workflow) {
        m_workflow = map(m_record.workflow);
        emit workflowChanged();
    }
    if (m_record.footer != before.footer) {
        m_footer = map(m_record.footer);
        emit footerChanged();
    }
}

void PanelBridge::grade() {
    m_model.grade();
}

void PanelBridge::iterate() {
    m_model.iterate();
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

void PanelBridge::quit() {
    const auto hook = m_model.onQuit;
    hook();
}

void PanelBridge::openReport() {
    const auto& graded = m_record.verdict.graded;
    if (!graded || !graded->reportRunId) return;
    const auto hook = m_model.onOpenReport;
    const std::string runId = *graded->reportRunId;
    hook(runId);
}

} // namespace kelvane
