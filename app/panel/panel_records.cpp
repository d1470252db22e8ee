#include "app/panel/panel_records.h"

#include "app/panel/app_icon_provider.h"
#include "platform/ports/bundle_resources.h"

#include <QFile>
#include <QUrl>

#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

namespace {

// Points: the side of the glyph beside the headline. A picture of that size tells whether there is
// one.
constexpr QSize kGlyphSize{32, 32};

QString text(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

QString text(const std::string& utf8) {
    return text(std::string_view(utf8));
}

QString text(const std::optional<std::string>& utf8) {
    return utf8 ? text(*utf8) : QString();
}

QString text(const std::optional<Symbol>& symbol) {
    return symbol ? text(name(*symbol)) : QString();
}

/// A line of names may be broken between two of them and not inside one: single blanks hold.
QString withWholeNames(QString line) {
    for (qsizetype i = 1; i + 1 < line.size(); ++i) {
        const bool single = line[i] == u' ' && line[i - 1] != u' ' && line[i + 1] != u' ';
        if (single) line[i] = QChar::Nbsp;
    }
    return line;
}

PanelTint::Value value(Tint tint) {
    return static_cast<PanelTint::Value>(tint);
}

ButtonRecord buttonRecord(const ButtonView& button) {
    ButtonRecord record;
    record.label = text(button.label);
    record.symbol = text(button.symbol);
    record.visible = button.visible;
    record.enabled = button.enabled;
    record.toolTip = text(button.toolTip);
    return record;
}

FlawRecord flawRecord(const FlawRow& flaw) {
    FlawRecord record;
    record.severity = text(flaw.severity);
    record.tint = value(flaw.severityTint);
    record.text = text(flaw.text);
    return record;
}

ChipRecord chipRecord(const AgentChipView& chip) {
    ChipRecord record;
    record.name = text(chip.name);
    record.dot = value(chip.dot);
    record.badge = text(chip.badge);
    record.toolTip = text(chip.toolTip);
    return record;
}

MenuItemRecord menuItemRecord(const MenuItem& item) {
    MenuItemRecord record;
    record.action = static_cast<PanelMenuAction::Value>(item.action);
    record.actionName = text(name(item.action));
    record.title = text(item.title);
    return record;
}

} // namespace

HeaderRecord headerRecord(const CompanionViewRecord& view, BundleResources& resources) {
    HeaderRecord record;
    record.product = text(view.product);
    record.tag = text(view.tag);
    record.dot = value(view.status.tint);
    record.toolTip = text(view.status.toolTip);
    if (const auto mark = resources.url("brask", "png")) {
        // Paths are bytes; Qt decodes them by the locale.
        record.mark = QUrl::fromLocalFile(QFile::decodeName(mark->c_str())).toString();
    }
    record.markLetter = text(view.markLetter);
    return record;
}

NowRecord nowRecord(const NowSection& now, AppIcons& icons) {
    NowRecord record;
    record.caption = text(now.caption);
    record.recognised = now.recognised;
    // A picture that cannot be had is left out, and the symbol stands there.
    if (now.recognised && !appIconPicture(icons, now.bundleId, kGlyphSize).isNull()) {
        record.icon = appIconSource(now.bundleId);
    }
    record.symbol = text(now.symbol);
    record.headline = text(now.headline);
    record.detail = text(now.detail);
    record.hint = text(now.hint);
    return record;
}

VerdictRecord verdictRecord(const VerdictSection& verdict) {
    VerdictRecord record;
    record.shown = verdict.progress || verdict.graded || verdict.note;
    record.progress = text(verdict.progress);
    record.note = text(verdict.note);
    record.hint = text(verdict.hint);
    record.spoken = text(verdict.spoken);
    // All that follows belongs to a verdict with a band; the panel hides it otherwise.
    if (!verdict.graded) return record;
    const auto& graded = *verdict.graded;
    record.graded = true;
    record.band = text(graded.pill.label);
    record.bandTint = value(graded.pill.tint);
    record.bandLabelTint = value(graded.pill.labelTint);
    record.bandToolTip = text(graded.pill.toolTip);
    record.score = text(graded.score);
    if (graded.report) record.report = text(graded.report->label);
    record.error = text(graded.error);
    for (const auto& flaw : graded.flaws) record.flaws << flawRecord(flaw);
    record.more = text(graded.more);
    record.summary = text(graded.summary);
    return record;
}

FlawListRecord flawListRecord(const FlawListView& list) {
    FlawListRecord record;
    record.title = text(list.title);
    record.more = text(list.more);
    for (const auto& item : list.items) {
        FlawItemRecord one;
        one.flaw = flawRecord(item.row);
        one.place = text(item.place);
        one.evidence = text(item.evidence);
        one.spoken = text(item.spoken);
        one.mayDismiss = item.mayDismiss;
        one.mayAddWord = item.mayAddWord;
        one.mayGoTo = item.mayGoTo;
        record.items << one;
    }
    return record;
}

ActionsRecord actionsRecord(const ActionRow& actions) {
    ActionsRecord record;
    record.grade = buttonRecord(actions.grade);
    record.iterate = buttonRecord(actions.iterate);
    record.getKey = buttonRecord(actions.getKey);
    if (actions.cancel) {
        record.cancel = text(actions.cancel->label);
        record.cancelName = text(actions.cancel->spokenName);
    }
    return record;
}

AgentsRecord agentsRecord(const AgentsSection& agents) {
    AgentsRecord record;
    record.caption = text(agents.caption);
    record.empty = text(agents.empty);
    for (const auto& row : agents.rows) {
        ChipRowRecord chips;
        for (const auto& chip : row) chips.chips << chipRecord(chip);
        record.rows << chips;
    }
    return record;
}

WorkflowRecord workflowRecord(const WorkflowSection& workflow) {
    WorkflowRecord record;
    record.caption = text(workflow.caption);
    record.tag = text(workflow.tag);
    record.pipeline = withWholeNames(text(workflow.pipeline));
    return record;
}

PreviewRecord previewRecord(const std::optional<PreviewPage>& page) {
    PreviewRecord record;
    if (!page) return record;
    record.shown = true;
    record.caption = text(page->caption);
    record.headline = text(page->headline);
    record.detail = text(page->detail);
    if (page->lines) {
        record.lines.reserve(static_cast<qsizetype>(page->lines->size()));
        for (const auto& line : *page->lines) record.lines << text(line);
    }
    if (page->picture) record.picture = previewPictureSource();
    record.contentName = text(page->contentName);
    for (const auto& remark : page->remarks) record.remarks << text(remark);
    record.always = text(page->always);
    record.send = text(page->send);
    record.cancel = text(page->cancel);
    return record;
}

FooterRecord footerRecord(const FooterRow& footer) {
    FooterRecord record;
    record.wire = buttonRecord(footer.wire);
    record.menuTitle = text(footer.menuTitle);
    for (const auto& item : footer.menu) record.menu << menuItemRecord(item);
    return record;
}

} // namespace kelvane
