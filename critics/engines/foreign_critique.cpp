#include "critics/engines/foreign_critique.h"

#include "critics/engines/engine_rule_table.h"
#include "critics/engines/foreign_grade.h"
#include "critics/engines/prose_file.h"
#include "critics/findings/finding_list.h"
#include "critics/findings/shown_secret.h"
#include "critics/text/secret_shapes.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

/// Much more than any of them prints about a file that they are given.
constexpr std::uint64_t kMostOutput = std::uint64_t{4} << 20U;
/// From start to end. What computes without end is stopped by the limit on its CPU time before
/// that; a sound answer may take this long where everything else on the machine is busy.
constexpr std::chrono::seconds kMostTime{60};
/// Characters of a program's own words in a finding. Chosen: two lines of a report.
constexpr std::size_t kLongestMessage = 240;
/// A line of evidence begins at most so far before what is meant, in bytes, so that it is in sight.
constexpr std::size_t kBeforeFault = 60;

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

std::string filled(std::string_view argument, const InstalledEngine& engine, const WorkFile& file) {
    std::string out(argument);
    replaceAll(out, "{file}", file.name);
    replaceAll(out, "{dialect}", file.dialect);
    replaceAll(out, "{script}", engine.entry->scriptName);
    replaceAll(out, "{module}", engine.module);
    return out;
}

ChildRequest requestOf(const InstalledEngine& engine, std::span<const std::string_view> arguments,
                       const WorkFile& file) {
    ChildRequest request;
    request.program = engine.program;
    for (const std::string_view argument : arguments) {
        request.arguments.push_back(filled(argument, engine, file));
    }
    const EngineEntry& entry = *engine.entry;
    if (!entry.scriptName.empty()) {
        request.files.emplace_back(std::string(entry.scriptName), std::string(entry.script));
    }
    if (!entry.modules.empty()) {
        request.environment.emplace_back("PYTHONPATH", std::string(entry.modules));
    }
    if (!engine.module.empty()) {
        // The module's own folder of modules: it may need its neighbours.
        const std::size_t below = engine.module.size() - entry.module.size();
        request.readable.push_back(engine.module.substr(0, below == 0 ? 0 : below - 1));
    }
    request.limits.output = kMostOutput;
    request.limits.wall = kMostTime;
    if (entry.reservesMuch) request.limits.addressSpace = 0;
    if (entry.megabytes != 0) request.limits.memory = entry.megabytes << 20U;
    return request;
}

/// Why nothing is to be had of the answer, a clause for people; empty when it is to be read.
std::string troubleOf(const EngineEntry& entry, const ChildResult& answer) {
    const std::string name(entry.name);
    switch (answer.end) {
    case ChildResult::End::exited:
        break;
    case ChildResult::End::killed:
        return name + " was ended by signal " + std::to_string(answer.status);
    case ChildResult::End::outOfTime:
        return name + " did not end within " + std::to_string(kMostTime.count()) + " s";
    case ChildResult::End::tooMuch:
        return name + " printed more than is read of it";
    case ChildResult::End::cancelled:
        return name + " was stopped";
    case ChildResult::End::notStarted:
        return name + " could not be started";
    }
    if (std::ranges::find(entry.clean, answer.status) == entry.clean.end() &&
        std::ranges::find(entry.faulty, answer.status) == entry.faulty.end()) {
        // So shells, and what shuts a child in, tell that a signal ended what they ran.
        constexpr int kBySignal = 128;
        constexpr int kSignals = 64;
        if (answer.status > kBySignal && answer.status <= kBySignal + kSignals) {
            return name + " was ended by signal " + std::to_string(answer.status - kBySignal);
        }
        return name + " ended with status " + std::to_string(answer.status);
    }
    return {};
}

ForeignReading readingOf(const EngineEntry& entry, const ChildResult& answer) {
    const bool faulty = std::ranges::find(entry.faulty, answer.status) != entry.faulty.end();
    // What stands on standard error without a fault is advice about something else.
    if (entry.speaksOnErrors && !faulty) return std::vector<ForeignFault>();
    ForeignReading reading = entry.read(entry.speaksOnErrors ? answer.errors : answer.output);
    const auto* faults = std::get_if<std::vector<ForeignFault>>(&reading);
    if (faulty && faults != nullptr && faults->empty()) {
        return NotUnderstood{"its answer is not understood"};
    }
    return reading;
}

bool isUsableCode(std::string_view code) {
    return !code.empty() && code.size() <= 80 && std::ranges::all_of(code, [](char c) {
        return text::isAsciiWord(c) || c == '-' || c == '/' || c == '@';
    });
}

/// One slip makes a parser complain in several ways: the most telling complaint stays, the others
/// of its sort go.
void keepOneSyntaxFault(std::string_view engine, std::vector<ForeignFault>& faults) {
    const auto first = std::ranges::find_if(
        faults, [&](const ForeignFault& fault) { return isSyntax(engine, fault); });
    if (first == faults.end()) return;
    const auto aboutParsing = [&](const ForeignFault& fault) {
        // All of ShellCheck's first thousand are about reading the script.
        return isSyntax(engine, fault) || (engine == "shellcheck" && fault.code.starts_with("SC1"));
    };
    ForeignFault kept = *first;
    for (const ForeignFault& fault : faults) {
        if (aboutParsing(fault) && !isSyntax(engine, fault) && fault.level == "error") {
            kept = fault;
            break;
        }
    }
    std::erase_if(faults, aboutParsing);
    faults.insert(faults.begin(), std::move(kept));
}

using Span = std::pair<std::size_t, std::size_t>; ///< Begin and end.

/// Whether the rule is about a password that stands in the code as a word in quotes.
bool isAboutPassword(std::string_view engine, std::string_view code) {
    constexpr std::array<std::string_view, 6> kPasswords = {"B105", "B106", "B107",
                                                            "S105", "S106", "S107"};
    return (engine == "bandit" || engine == "ruff") && text::isOneOf(code, kPasswords);
}

/// Whether the line shows that a secret was taken out of it before the work came here, as the
/// validator does.
bool isRedacted(std::string_view line) {
    return line.find("'REDACTED'") != std::string_view::npos ||
           line.find("\"REDACTED\"") != std::string_view::npos;
}

/// What stands in quotes between the two offsets.
void addQuoted(std::string_view text, std::size_t begin, std::size_t end,
               std::vector<Span>& spans) {
    for (std::size_t at = begin; at < end; ++at) {
        if (text[at] != '"' && text[at] != '\'') continue;
        const std::size_t close = std::min(text.find(text[at], at + 1), end);
        if (close > at + 1) spans.emplace_back(at + 1, close);
        at = close;
    }
}

std::vector<Span> apart(std::vector<Span> spans) {
    std::sort(spans.begin(), spans.end());
    std::vector<Span> joined;
    for (const Span& span : spans) {
        if (!joined.empty() && span.first < joined.back().second) {
            joined.back().second = std::max(joined.back().second, span.second);
        } else {
            joined.push_back(span);
        }
    }
    return joined;
}

/// The program's words as they are shown: on one line, no secret among them.
std::string wordsOf(std::string_view engine, const ForeignFault& fault,
                    const std::vector<std::string>& secrets) {
    if (isAboutPassword(engine, fault.code)) return "a password stands in the code";
    std::string words = fault.message;
    for (const std::string& secret : secrets) replaceAll(words, secret, shownSecret(secret));
    const std::vector<Secret> own = findSecrets(words);
    for (auto secret = own.rbegin(); secret != own.rend(); ++secret) {
        const std::string value = words.substr(secret->valueOffset, secret->valueLength);
        words.replace(secret->valueOffset, secret->valueLength, shownSecret(value));
    }
    words = shortened(words, kLongestMessage);
    while (words.ends_with('.') || words.ends_with(' ')) words.pop_back();
    return words;
}

/// What is quoted for a fault at `offset`: its line, from near enough before it.
Span evidenceAt(const SourceText& source, std::size_t offset) {
    std::size_t line = source.lineAt(offset);
    // Faults at the end of a file point behind what is written.
    while (line > 0 && text::trimmed(source.line(line)).empty()) --line;
    std::size_t begin = source.lineStart(line);
    const std::size_t end = source.lineEnd(line);
    if (offset < end && offset > begin + kBeforeFault) {
        begin = offset - kBeforeFault;
        while (begin < offset &&
               (static_cast<unsigned char>(source.text()[begin]) & 0xC0U) == 0x80U) {
            ++begin;
        }
    }
    return {begin, end};
}

Critique gap(const EngineEntry& entry, std::string why) {
    Critique critique;
    critique.coverage.missed({std::string(entry.judges), std::move(why), ""});
    return critique;
}

struct Placed {
    const ForeignFault* fault;
    std::size_t offset;
    std::size_t end; ///< Of what it is about on its line, where the program said so; else `offset`.
    Severity severity;
};

std::vector<Finding> findingsOf(const EngineEntry& entry, const SourceText& source,
                                const std::vector<Placed>& placed) {
    std::vector<Span> spans;
    std::vector<std::string> values;
    for (const Secret& secret : findSecrets(source.text())) {
        spans.emplace_back(secret.offset, secret.offset + secret.length);
        values.emplace_back(source.text().substr(secret.valueOffset, secret.valueLength));
    }
    for (const Placed& each : placed) {
        if (entry.findsSecrets) {
            const std::size_t line = source.lineAt(each.offset);
            // Its columns are one off on some lines, by its versions.
            const std::size_t begin = std::max(each.offset, source.lineStart(line) + 1) - 1;
            const std::size_t end = source.lineEnd(line);
            spans.emplace_back(begin, each.end > each.offset ? std::min(each.end + 1, end) : end);
        }
        if (!isAboutPassword(entry.id, each.fault->code)) continue;
        const std::size_t line = source.lineAt(each.offset);
        addQuoted(source.text(), source.lineStart(line), source.lineEnd(line), spans);
    }
    FindingList findings(source);
    for (const Span& span : apart(std::move(spans))) {
        findings.hide(span.first, span.second - span.first);
    }

    const Rule* family = engineFamily(entry.id);
    for (const Placed& each : placed) {
        const auto rule = family == nullptr ? std::nullopt : graded(*family, each.severity);
        if (!rule) continue;
        if (isAboutPassword(entry.id, each.fault->code) &&
            isRedacted(source.line(source.lineAt(each.offset)))) {
            continue;
        }
        const std::string words = wordsOf(entry.id, *each.fault, values);
        const std::string name(entry.name);
        const std::string says = each.fault->code == kSyntaxCode
                                     ? "does not parse, says " + name + ": " + words
                                     : "is " + each.fault->code + " of " + name + ": " + words;
        const Span evidence = entry.prose && each.end > each.offset
                                  ? Span{each.offset, each.end}
                                  : evidenceAt(source, each.offset);
        findings.addForeign(*rule, each.fault->code, each.offset, evidence.first,
                            evidence.second - evidence.first, says);
    }
    return findings.take();
}

} // namespace

std::string howToObtain(const EngineEntry& entry) {
    std::string out;
    const auto add = [&](std::string_view where, std::string_view package) {
        if (package.empty()) return;
        if (!out.empty()) out += "; ";
        out += std::string(where) + std::string(package);
    };
    add("Debian: ", entry.debian);
    add("Homebrew: ", entry.homebrew);
    if (!entry.npm.empty()) {
        // To the last of the folders where it is looked for, which is the one that every kind of
        // installation has.
        add("npm, with Node.js 20 or later: sudo npm install --ignore-scripts --prefix "
            "/usr/local/lib/kelvane/engines ",
            entry.npm);
    }
    return out;
}

void dropAnswered(Coverage& coverage) {
    std::erase_if(coverage.notChecked, [&](const NotChecked& gap) {
        return std::ranges::find(coverage.checkedBy, gap.what, &CheckedBy::knows) !=
               coverage.checkedBy.end();
    });
}

ChildRequest versionRequest(const InstalledEngine& engine) {
    return requestOf(engine, engine.entry->versionArguments, {});
}

std::string versionIn(std::string_view output) {
    for (std::size_t at = 0; at < output.size(); ++at) {
        if (!text::isAsciiDigit(output[at])) continue;
        std::size_t end = at;
        while (end < output.size() && (text::isAsciiDigit(output[end]) || output[end] == '.')) {
            ++end;
        }
        std::string_view word = output.substr(at, std::min(end - at, std::size_t{30}));
        while (word.ends_with('.')) word.remove_suffix(1);
        // "libxml version 20914" has no points; a lone digit is part of a name: "libxml2", "v8".
        if (word.find('.') != std::string_view::npos || word.size() >= 5) return std::string(word);
        at = end;
    }
    return {};
}

bool comesBefore(std::string_view a, std::string_view b) {
    const auto next = [](std::string_view& version) {
        const std::string_view number = version.substr(0, version.find('.'));
        version.remove_prefix(std::min(number.size() + 1, version.size()));
        long value = -1;
        const auto read = std::from_chars(number.data(), number.data() + number.size(), value);
        return read.ec == std::errc::result_out_of_range ? std::numeric_limits<long>::max() : value;
    };
    while (!a.empty() || !b.empty()) {
        const long left = next(a);
        const long right = next(b);
        if (left != right) return left < right;
    }
    return false;
}

std::string versionTrouble(const EngineEntry& entry, std::string_view version) {
    if (version.empty()) return {};
    const std::string told = std::string(entry.name) + " " + std::string(version);
    if (!entry.oldest.empty() && comesBefore(version, entry.oldest)) {
        return told + " is older than " + std::string(entry.oldest) + ", which is needed";
    }
    if (!entry.beyond.empty() && !comesBefore(version, entry.beyond)) {
        return told + " is not known here, which versions before " + std::string(entry.beyond) +
               " are";
    }
    return {};
}

ChildRequest judgeRequest(const InstalledEngine& engine, const WorkFile& file) {
    ChildRequest request = requestOf(engine, engine.entry->arguments, file);
    request.files.emplace_back(file.name, file.text);
    return request;
}

Critique critiqueOf(const InstalledEngine& engine, const Part& part, const ChildResult& answer) {
    const EngineEntry& entry = *engine.entry;
    if (std::string trouble = troubleOf(entry, answer); !trouble.empty()) {
        return gap(entry, std::move(trouble));
    }
    ForeignReading reading = readingOf(entry, answer);
    if (const auto* not_ = std::get_if<NotUnderstood>(&reading)) {
        return gap(entry, std::string(entry.name) + " was asked, but " + not_->why);
    }
    auto& faults = std::get<std::vector<ForeignFault>>(reading);
    keepOneSyntaxFault(entry.id, faults);

    const SourceText source(part.text);
    const std::string seen =
        entry.prose ? proseForOthers(part.text, findSecrets(part.text)) : std::string();
    const bool whole = isWholeFile(part);
    std::vector<Placed> placed;
    bool lookedToTheEnd = true;
    for (const ForeignFault& fault : faults) {
        if (gaveUp(entry.id, fault)) {
            lookedToTheEnd = false;
            continue;
        }
        const auto offset =
            offsetOf(source, std::max(fault.line, std::size_t{1}), fault.column, entry.columns);
        if (!offset || !isUsableCode(fault.code)) {
            return gap(entry,
                       std::string(entry.name) + " was asked, but its answer is not understood");
        }
        const auto behind = fault.endColumn > fault.column
                                ? offsetOf(source, fault.line, fault.endColumn, entry.columns)
                                : offset;
        const std::size_t end = behind && *behind > *offset ? *behind : *offset;
        if (entry.prose && !wasSeen(part.text, seen, *offset, end - *offset)) continue;
        const auto severity = gradeOf(entry.id, fault, {whole, source.text(), *offset, part.name});
        if (severity) placed.push_back({&fault, *offset, end, *severity});
    }

    Critique critique;
    critique.findings = findingsOf(entry, source, placed);
    if (lookedToTheEnd) {
        critique.coverage.checked(
            {std::string(entry.name), engine.version, std::string(entry.judges)});
        // Who looks for one thing alone knows the work no better for it.
        critique.coverage.known = !entry.secondOpinion;
    } else {
        critique.coverage.missed(
            {std::string(entry.judges),
             std::string(entry.name) + " gave up where headers or macros are missing", ""});
    }
    return critique;
}

} // namespace trevix
