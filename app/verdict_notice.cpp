#include "app/verdict_notice.h"

#include "app/settings/settings_store.h"
#include "text/shown_text.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

std::vector<std::pair<std::string, std::string>> actionsFor(bool hasReport) {
    std::vector<std::pair<std::string, std::string>> actions{{kNoticeClicked, "Show"},
                                                             {kNoticeShow, "Show"}};
    if (hasReport) actions.emplace_back(kNoticeReport, "Open report");
    return actions;
}

std::string scoreAndFlaws(const std::optional<double>& score, std::int64_t flaws) {
    std::string said;
    if (score) {
        if (const auto number = scoreText(*score)) said = "Trevix " + *number;
    }
    if (flaws > 0) {
        said +=
            (said.empty() ? "" : ", ") + std::to_string(flaws) + (flaws == 1 ? " flaw" : " flaws");
    }
    return said;
}

} // namespace

NoticeNow noticeNow(bool isWanted, bool panelIsShown,
                    const std::optional<std::chrono::nanoseconds>& sinceLast) {
    if (!isWanted || panelIsShown) return NoticeNow::Drop;
    return sinceLast && *sinceLast < kNoticePause ? NoticeNow::Wait : NoticeNow::Show;
}

Notification verdictNotice(const Verdict& verdict, const std::optional<GradedWork>& about) {
    const std::string app = about ? text::shownWithin(about->app) + ": " : std::string();
    Notification notice;
    notice.actions = actionsFor(verdict.runId.has_value());
    if (verdict.error) {
        notice.title = app + "not graded";
        notice.body = text::shownParagraph(*verdict.error);
        return notice;
    }
    notice.title =
        app + (verdict.band == Band::unknown ? "no verdict" : bandPill(verdict.band).label);
    notice.body = scoreAndFlaws(verdict.score, static_cast<std::int64_t>(verdict.flaws.size()));
    return notice;
}

Notice turnNotice(const history::TurnVerdict& turn, const std::string& base) {
    const bool hasReport = turn.runId && turn.service == base;
    Notice notice{.notification = {}, .runId = hasReport ? turn.runId : std::nullopt};
    notice.notification.actions = actionsFor(hasReport);
    notice.notification.title =
        "Agent" + (turn.project.empty() ? "" : " in " + text::shownWithin(turn.project)) + ": " +
        bandPill(turn.band).label;
    notice.notification.body = scoreAndFlaws(turn.score, turn.flaws);
    return notice;
}

std::optional<Tint> badgeOf(const std::optional<Verdict>& verdict, bool isSeen) {
    if (isSeen || !verdict || verdict->error || verdict->band == Band::unknown) return std::nullopt;
    return bandPill(verdict->band).tint;
}

std::string badgeTip(const std::optional<Verdict>& verdict, bool isSeen) {
    // Whoever does not tell the colours apart reads it.
    return badgeOf(verdict, isSeen) ? "New verdict: " + bandPill(verdict->band).label
                                    : std::string();
}

void Notifier::tell(Notification notice, bool panelIsShown, Chosen chosen) {
    m_next = {std::move(notice), std::move(chosen)};
    look(panelIsShown);
}

void Notifier::look(bool panelIsShown) {
    if (!m_next) return;
    const Instant now = m_ports.clock.now();
    const auto sinceLast =
        m_last ? std::optional<std::chrono::nanoseconds>(now - *m_last) : std::nullopt;
    const auto what = noticeNow(m_ports.settings.now().notifications, panelIsShown, sinceLast);
    if (what == NoticeNow::Wait) return;
    const auto next = *std::exchange(m_next, std::nullopt);
    if (what == NoticeNow::Drop) return;
    m_last = now;
    m_ports.notifications.show(next.first, next.second);
}

void Notifier::withdraw() {
    m_next.reset();
    m_ports.notifications.withdraw();
}

} // namespace kelvane
