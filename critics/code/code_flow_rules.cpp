// What the analyses of the tree found, in the words of the critic.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "critics/code/python_blocks.h"
#include "critics/findings/shown_secret.h"
#include "critics/flow/python_flow.h"
#include "critics/flow/python_misuse.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

namespace {

constexpr GradedRule kRuns = declared<WorkKind::code>("code.runs_text", Severity::high);
constexpr GradedRule kQuery = declared<WorkKind::code>("code.query_from_text");
constexpr GradedRule kPath = declared<WorkKind::code>("code.path_from_outside");
constexpr GradedRule kPage = declared<WorkKind::code>("code.page_from_outside");
constexpr GradedRule kAddress =
    declared<WorkKind::code>("code.address_from_outside", Severity::high);
constexpr GradedRule kPartOfAddress =
    declared<WorkKind::code>("code.address_from_outside", Severity::medium);
constexpr GradedRule kOutput = declared<WorkKind::code>("code.output_from_outside");
constexpr GradedRule kObjects = declared<WorkKind::code>("code.objects_from_outside");
constexpr GradedRule kPattern = declared<WorkKind::code>("code.pattern_from_outside");
constexpr GradedRule kCrypto = declared<WorkKind::code>("code.weak_crypto");
constexpr GradedRule kToken = declared<WorkKind::code>("code.unverified_token");
constexpr GradedRule kPeer = declared<WorkKind::code>("code.unverified_peer");
constexpr GradedRule kUnescaped = declared<WorkKind::code>("code.unescaped_page");
constexpr GradedRule kLax = declared<WorkKind::code>("code.lax_setting");
constexpr GradedRule kTrace = declared<WorkKind::code>("code.shown_trace");
constexpr GradedRule kPassword = declared<WorkKind::code>("code.known_password");
constexpr GradedRule kShown = declared<WorkKind::code>("code.shown_secret");
constexpr GradedRule kPlain = declared<WorkKind::code>("code.plain_address");
constexpr GradedRule kParser = declared<WorkKind::code>("code.unsafe_parser");
constexpr GradedRule kLeaky = declared<WorkKind::code>("code.leaky_comparison");
constexpr GradedRule kSlow = declared<WorkKind::code>("code.slow_pattern");
constexpr GradedRule kEndless = declared<WorkKind::code>("code.endless_loop");
constexpr GradedRule kRange = declared<WorkKind::code>("code.wrong_range");
constexpr GradedRule kGone = declared<WorkKind::code>("code.gone_function");

/// A rule, and what it says: what happens, and the next step.
struct Telling {
    GradedRule rule;
    std::string_view says;
    std::string_view step;
};

Telling tellingOf(const Flow& flow) {
    switch (flow.danger) {
    case Danger::code:
    case Danger::script:
        return {kRuns, "is run as code", "look the value up among those that are meant"};
    case Danger::command:
        return {kRuns, "becomes part of a command", "hand over a list of words, without a shell"};
    case Danger::query:
        return {kQuery, "becomes part of a query", "pass it as a parameter, or escape it"};
    case Danger::path:
        return {kPath, "names a file",
                "take its last part alone, or see that the path stays in its folder"};
    case Danger::page:
        return {kPage, "becomes part of a page", "escape it, or leave that to a template"};
    case Danger::address:
        return flow.partly ? Telling{kPartOfAddress, "becomes part of the address that is opened",
                                     "quote it, or see that it has the form that is meant"}
                           : Telling{kAddress, "decides which address is opened",
                                     "hold its host against those that are meant"};
    case Danger::redirect:
        return {kPartOfAddress, "decides where the browser is sent",
                "hold its host against those that are meant"};
    case Danger::output:
        return {kOutput, "becomes part of a header or a log", "take line breaks out of it first"};
    case Danger::load:
        return {kObjects, "is made into objects by a format that can run code",
                "use JSON, or a loader that makes plain values"};
    case Danger::module:
        return {kRuns, "decides which module is loaded",
                "look the name up among those that are meant"};
    case Danger::pattern:
        return {kPattern, "is used as a regular expression", "escape it"};
    }
    return {kRuns, {}, {}};
}

std::string_view broughtBy(Origin origin) {
    switch (origin) {
    case Origin::request:
        return "which comes with the request";
    case Origin::network:
        return "which comes over the network";
    case Origin::person:
        return "which comes from whoever runs the program";
    }
    return {};
}

Telling tellingOf(Misuse::Kind kind) {
    using Kind = Misuse::Kind;
    switch (kind) {
    case Kind::fastPasswordHash:
        return {kCrypto, "hashes a password with a function that is made to be fast",
                "use scrypt, bcrypt, Argon2 or PBKDF2 with a salt"};
    case Kind::fixedSalt:
        return {kCrypto, "has a salt or start vector that stands in the program",
                "draw one for each value"};
    case Kind::blockwiseCipher:
        return {kCrypto, "encrypts equal blocks alike", "use a mode such as GCM"};
    case Kind::brokenCipher:
        return {kCrypto, "uses a cipher that has been broken", "use AES or ChaCha20"};
    case Kind::fewIterations:
        return {kCrypto, "stretches a key by too few rounds", "take some hundred thousand"};
    case Kind::unverifiedToken:
        return {kToken, "takes a token without its signature", "have the signature verified"};
    case Kind::unverifiedPeer:
        return {kPeer, "takes any certificate for that of its peer",
                "use ssl.create_default_context()"};
    case Kind::unescapedTemplate:
        return {kUnescaped, "puts values into pages as they are", "leave escaping on"};
    case Kind::builtMarkup:
        return {kUnescaped, "takes text that was put together for safe markup",
                "pass the values apart, so that they are escaped"};
    case Kind::tagFilter:
        return {kUnescaped, "filters tags by a pattern, which markup can be written past",
                "escape the text, or use a library that parses it"};
    case Kind::laxCookie:
        return {kLax, "sets a cookie that scripts can read or that goes unencrypted",
                "set secure and httponly"};
    case Kind::laxSetting:
        return {kLax, "turns a protection off", "leave it on"};
    case Kind::shownTrace:
        return {kTrace, "shows the trace of a failure to whoever asks",
                "log it, and answer that something failed"};
    case Kind::knownPassword:
        return {kPassword, "has a password that stands in the program, or none",
                "read it from the environment or from a file"};
    case Kind::knownKey:
        return {kPassword, "signs or encrypts with a key that stands in the program",
                "read it from the environment or from a file"};
    case Kind::shownPassword:
        return {kShown, "shows a secret to whoever reads the log or the token", "leave it out"};
    case Kind::plainLogin:
        return {kPlain, "sends a password without encryption",
                "call starttls() before, or use SMTP_SSL"};
    case Kind::unsafeParser:
        return {kParser, "reads a format so that it can open files or run code",
                "leave entities and objects unresolved"};
    case Kind::builtShellCommand:
        return {kRuns, "hands a command that was put together to a shell",
                "hand over a list of words, without a shell"};
    case Kind::leakyComparison:
        return {kLeaky, "takes longer the more of the value is right", "use hmac.compare_digest"};
    case Kind::endlessLoop:
        return {kEndless, "waits for what nothing in the loop changes",
                "change one of its names in the loop"};
    case Kind::pastTheEnd:
        return {kRange, "lets the index run one past the end", "stop below the length"};
    case Kind::loopOverNumber:
        return {kRange, "goes over a number as if it were a list", "put range() around it"};
    case Kind::goneFunction:
        return {kGone, "calls what Python no longer has", "use its successor"};
    case Kind::slowPattern:
        return {kSlow, "repeats what is repeated already, so that some texts take without end",
                "repeat once"};
    }
    return {kRange, {}, {}};
}

/// Whether it harms by what strangers do with it, and not by itself. Where a test does it, there
/// are none: its words are the author's, and its machine too.
bool letsStrangersIn(Misuse::Kind kind) {
    using Kind = Misuse::Kind;
    return kind != Kind::endlessLoop && kind != Kind::pastTheEnd && kind != Kind::loopOverNumber &&
           kind != Kind::goneFunction;
}

/// What shows a password without giving it away.
std::string hiddenBehindQuote(std::string_view shown) {
    const std::size_t quote = shown.find_first_of("\"'");
    if (quote == std::string_view::npos) return std::string(shown);
    std::string_view password = shown.substr(quote + 1);
    if (password.ends_with(shown[quote])) password.remove_suffix(1);
    return std::string(shown.substr(0, quote + 1)) + shownSecret(password);
}

} // namespace

std::vector<Flow> checkFlows(const CodeView& view, const SyntaxTree& tree, FindingList& findings) {
    std::vector<Flow> flows = pythonFlows(tree, view.source.text());
    for (const Flow& flow : flows) {
        const Telling telling = tellingOf(flow);
        const std::string what = flow.what.empty() ? "a value" : "`" + flow.what + "`";
        // Lines are counted from 0.
        const std::string line = std::to_string(view.source.lineAt(flow.from) + 1);
        findings.add(telling.rule, flow.offset, flow.length,
                     "lets in " + what + ", " + std::string(broughtBy(flow.origin)) + " in line " +
                         line + ": it " + std::string(telling.says) + "; " +
                         std::string(telling.step));
    }
    return flows;
}

void checkMisuses(const CodeView& view, std::string_view name, const SyntaxTree& tree,
                  FindingList& findings) {
    for (const Misuse& misuse : pythonMisuses(tree, view.source.text())) {
        if (letsStrangersIn(misuse.kind) &&
            isInPythonTest(view.source.text(), misuse.offset, name)) {
            continue;
        }
        const Telling telling = tellingOf(misuse.kind);
        const std::string_view shown = view.source.text().substr(misuse.offset, misuse.length);
        if (misuse.kind == Misuse::Kind::knownPassword || misuse.kind == Misuse::Kind::knownKey) {
            findings.addWith(telling.rule, misuse.offset, hiddenBehindQuote(shown),
                             std::string(telling.says) + "; " + std::string(telling.step));
            continue;
        }
        findings.add(telling.rule, misuse.offset, misuse.length,
                     std::string(telling.says) + "; " + std::string(telling.step));
    }
}

} // namespace trevix
