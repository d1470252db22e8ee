#include "service/http/user_actions.h"

#include "service/http/answers.h"
#include "service/report/page_action.h"
#include "service/setup/key_file.h"
#include "service/store/random_id.h"
#include "service/wire.h"
#include "text/unicode.h"

#include <charconv>
#include <utility>
#include <variant>

namespace trevix {

namespace {

using kelvane::text::lowerAscii;

constexpr std::string_view kConsole = "/console";
constexpr std::string_view kDismissals = "/api/v1/eval/dismissals";
constexpr std::string_view kUndoDismissal = "/api/v1/eval/dismissals/undo";
constexpr std::string_view kWords = "/api/v1/eval/words";
constexpr std::string_view kUndoWord = "/api/v1/eval/words/undo";

// Reports open at the same time; the forms of one opened before so many others ask to be reloaded.
constexpr std::size_t kMostTokens = 1000;
constexpr std::string_view kReload =
    "The page is older than the service. Open the report again, and try once more.";

constexpr std::string_view kNotUnderstood = "The form is none of a report.";

// No length, or one in chunks, counts as too large: forms have one.
bool isSmall(const HttpHead& head) {
    const std::string length = head.header("content-length").value_or("");
    std::size_t value = 0;
    const auto read = std::from_chars(length.data(), length.data() + length.size(), value);
    return read.ec == std::errc() && value <= kLargestForm;
}

std::string bareContentType(const HttpHead& head) {
    const std::string type = lowerAscii(head.header("content-type").value_or(""));
    return type.substr(0, type.find_first_of("; "));
}

/// Whether the browser says that a page of this very service sends the request.
bool comesFromHere(const HttpHead& head) {
    const auto origin = head.header("origin");
    const auto host = head.header("host");
    // The scheme is always http here. A page in a frame without rights of its own has the origin
    // "null", which is no address.
    if (!origin || !host || lowerAscii(*origin) != "http://" + lowerAscii(*host)) return false;
    // Older browsers do not send it; those that do cannot be made to lie by a page.
    return head.header("sec-fetch-site").value_or("same-origin") == "same-origin" &&
           head.headers.count("sec-fetch-site") <= 1;
}

/// The finding of the latest version with this digest, dismissed or not.
std::optional<Finding> findingWith(const Iteration& now, const std::string& key) {
    // By digest and not by number: the list may have changed since the page was read.
    for (const Finding& finding : now.findings) {
        if (findingKey(finding) == key) return finding;
    }
    return std::nullopt;
}

HttpAnswer seeOther(const std::string& address) {
    HttpAnswer answer = guarded({303, "text/plain; charset=utf-8", "", {}});
    answer.headers.emplace_back("Location", address);
    return answer;
}

HttpAnswer done(const std::optional<std::string>& error) {
    return error ? errorAnswer(500, *error) : jsonAnswer(200, R"({"status":"ok"})");
}

} // namespace

UserActions::UserActions(UserFiles files, RunStore& store, std::function<std::int64_t()> nowMs)
    : m_files(std::move(files)),
      m_store(store),
      m_nowMs(std::move(nowMs)) {}

bool UserActions::owns(const HttpHead& head) {
    if (head.path == kConsole) return head.method == "POST";
    return head.path == kDismissals || head.path == kUndoDismissal || head.path == kWords ||
           head.path == kUndoWord;
}

std::optional<HttpAnswer> UserActions::refuse(const HttpHead& head) const {
    const bool isForm = head.path == kConsole;
    const bool reads = head.path == kDismissals && (head.method == "GET" || head.method == "HEAD");
    if (reads) return std::nullopt;
    if (head.method != "POST") {
        return head.path == kDismissals
                   ? wrongMethod("only GET and POST are possible here", "GET, HEAD, POST")
                   : wrongMethod("only POST is possible here", "POST");
    }
    // Programs send no Origin; a browser sends one with every form.
    // For a form it is asked for, for a program's request it only must not be another page's.
    if ((isForm || head.headers.count("origin") > 0) && !comesFromHere(head)) {
        return errorAnswer(403, "requests from other web pages are not taken");
    }
    const std::string_view type = isForm ? "application/x-www-form-urlencoded" : "application/json";
    if (bareContentType(head) != type) {
        return errorAnswer(415, "Content-Type must be " + std::string(type));
    }
    if (lowerAscii(head.header("content-encoding").value_or("identity")) != "identity" ||
        head.headers.count("content-encoding") > 1) {
        return errorAnswer(415, "the body must not be compressed");
    }
    // Of every body here: the words are a line each.
    if (!isSmall(head)) return errorAnswer(413, "the body is larger than 16 KiB");
    return std::nullopt;
}

HttpAnswer UserActions::answer(const HttpHead& head, const std::string& body) {
    if (head.path == kConsole) return form(head, body);
    if (head.path == kDismissals && head.method != "POST") {
        return jsonAnswer(200, dismissalsJson(m_files.says().dismissals));
    }
    if (head.path == kWords || head.path == kUndoWord) {
        const auto word = parseWord(body);
        if (const auto* error = std::get_if<WireError>(&word)) return errorAnswer(400, error->text);
        if (const auto* text = std::get_if<std::string>(&word); !isWord(*text)) {
            return errorAnswer(400, "word must have no blanks, no \"#\" and at most 200 bytes");
        }
        const auto& text = std::get<std::string>(word);
        return done(head.path == kWords ? m_files.addWord(text) : m_files.removeWord(text));
    }
    auto parsed = parseDismissal(body);
    if (const auto* error = std::get_if<WireError>(&parsed)) return errorAnswer(400, error->text);
    auto& dismissal = std::get<Dismissal>(parsed);
    if (head.path == kUndoDismissal) return done(m_files.undo(dismissal));
    // Evidence that is cut short, or stands for other cases too, would dismiss more than was meant,
    // in every work to come.
    if (dismissal.place.empty() && needsPlace(dismissal.evidence)) {
        return errorAnswer(400, "place is missing: the evidence does not tell one case from "
                                "another");
    }
    dismissal.when = isoTime(m_nowMs());
    return done(m_files.dismiss(std::move(dismissal)));
}

HttpAnswer UserActions::report(const RunRecord& run, int status, const std::string& notice) {
    ReportExtras extras;
    extras.work = m_store.work(run.id, run.latest().number);
    if (run.iterations.size() > 1) {
        extras.workBefore = m_store.work(run.id, run.latest().number - 1);
    }
    if (m_files.canBeTold()) extras.formToken = tokenFor(run.id);
    extras.notice = notice;
    return formPageAnswer(status, reportPage(withUserSays(run, says()), extras));
}

HttpAnswer UserActions::form(const HttpHead& head, const std::string& body) {
    const auto named = head.query.find("run");
    if (named == head.query.end() || !m_store.hasRun(named->second)) {
        return pageAnswer(404, noSuchRunPage());
    }
    const auto action = parsePageAction(body);
    if (!action) return pageAnswer(400, notDonePage(named->second, kNotUnderstood));
    // Compared as keys are: in a time that does not tell how much of it is right. Until then
    // nothing is told of the run: the token is the proof that its report could be read.
    if (!authorizes("Bearer " + action->token, tokenFor(named->second))) {
        return pageAnswer(403, notDonePage(named->second, kReload));
    }
    const auto run = m_store.run(named->second);
    if (!run) return pageAnswer(404, noSuchRunPage());
    const auto finding = findingWith(run->latest(), action->finding);
    if (!finding) {
        // 409: what was meant is not there any more, and the page shows what is.
        return report(*run, 409, "That flaw is not in the latest version; nothing was changed.");
    }
    std::optional<std::string> error;
    Dismissal dismissal = dismissalOf(*finding);
    switch (action->kind) {
    case PageAction::Kind::dismiss:
        dismissal.reason = action->reason;
        dismissal.when = isoTime(m_nowMs());
        error = m_files.dismiss(std::move(dismissal));
        break;
    case PageAction::Kind::undo:
        // Forgetting what is not there is no error, so both are tried.
        error = m_files.undo(dismissal);
        // It may have been dismissed at its place alone.
        dismissal.place = finding->place;
        if (!error) error = m_files.undo(dismissal);
        break;
    case PageAction::Kind::addWord:
        error = m_files.addWord(wordOf(*finding));
        break;
    case PageAction::Kind::removeWord:
        error = m_files.removeWord(wordInDictionary(*finding, m_files.says()));
        break;
    }
    if (error) return report(*run, 500, "That was not done: " + *error + ".");
    // A page that was posted to would be posted again by reloading it; after a 303 it is only read
    // again. Back to the place in the page where the flaw was.
    return seeOther("/console?run=" + run->id + "#k-" + action->finding);
}

std::string UserActions::tokenFor(const std::string& runId) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_tokens.find(runId);
    if (found != m_tokens.end()) return found->second;
    // The oldest goes: whoever has that report open is told to open it again.
    if (m_tokenOrder.size() >= kMostTokens) {
        m_tokens.erase(m_tokenOrder.front());
        m_tokenOrder.pop_front();
    }
    m_tokenOrder.push_back(runId);
    // 128 bits. Held in memory alone, so that no token outlives the service.
    return m_tokens[runId] = randomName("", 16);
}

} // namespace trevix
