#include "app/verdict_notice.h"

#include "app/known_sentences.h"
#include "app/settings/settings_store.h"
#include "text/shown_text.h"
#include "text/translation.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using text::filled;
using text::translated;

std::vector<std::pair<std::string, std::string>> actionsFor(bool hasReport) {
    const std::string show = translated("Notice", "Show");
    std::vector<std::pair<std::string, std::string>> actions{{kNoticeClicked, show},
                                                             {kNoticeShow, show}};
    if (hasReport) actions.emplace_back(kNoticeReport, translated("Notice", "Open report"));
    return actions;
}

std::string scoreAndFlaws(const std::optional<double>& score, std::int64_t flaws) {
    std::string said;
    if (score) {
        if (const auto number = scoreText(*score)) said = "Trevix " + *number;
    }
    if (flaws > 0) {
        const auto count = static_cast<std::size_t>(flaws);
        said += (said.empty() ? "" : ", ") + translated("Notice", "%n flaw", "%n flaws", count);
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
        notice.title = app + translated("Notice", "not graded");
        notice.body = text::shownParagraph(translatedSentence(*verdict.error));
        return notice;
    }
    notice.title = app + (verdict.band == Band::unknown ? translated("Notice", "no verdict")
                                                        : bandPill(verdict.band).label);
    notice.body = scoreAndFlaws(verdict.score, static_cast<std::int64_t>(verdict.flaws.size()));
    return notice;
}

Notice turnNotice(const history::TurnVerdict& turn, const std::string& base) {
    const bool hasReport = turn.runId && turn.service == base;
    Notice notice{.notification = {}, .runId = hasReport ? turn.runId : std::nullopt};
    notice.notification.actions = actionsFor(hasReport);
    const std::string band = bandPill(turn.band).label;
    notice.notification.title = turn.project.empty()
                                    ? filled(translated("Notice", "Agent: %1"), {band})
                                    : filled(translated("Notice", "Agent in %1: %2"),
                                             {text::shownWithin(turn.project), band});
    notice.notification.body = scoreAndFlaws(turn.score, turn.flaws);
    return notice;
}

std::optional<Tint> badgeOf(const std::optional<Verdict>& verdict, bool isSeen) {
    if (isSeen || !verdict || verdict->error || verdict->band == Band::unknown) return std::nullopt;
    return bandPill(verdict->band).tint;
}

std::string badgeTip(const std::optional<Verdict>& verdict, bool isSeen) {
    // Whoever does not tell the colours apart reads it.
    if (!badgeOf(verdict, isSeen)) return {};
    return filled(translated("Notice", "New verdict: %1"), {bandPill(verdict->band).label});
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
    // Not every desktop takes away what somebody has answered.
    m_ports.notifications.show(next.first, [&notifications = m_ports.notifications,
                                            chosen = next.second](const std::string& action) {
        notifications.withdraw();
        chosen(action);
    });
}

void Notifier::withdraw() {
    m_next.reset();
    m_ports.notifications.withdraw();
}

} // namespace kelvane
