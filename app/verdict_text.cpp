#include "app/verdict_text.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace kelvane {

namespace {

std::string scoreText(const Verdict& verdict) {
    if (!verdict.score) return "no score";
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", *verdict.score);
    return text;
}

std::string bandText(const Verdict& verdict) {
    std::string text(rawValue(verdict.band));
    std::replace(text.begin(), text.end(), '_', ' ');
    return text;
}

std::string flawText(const Flaw& flaw) {
    std::string line = withVisibleControls(flaw.severity);
    if (line.size() < 8) line.append(8 - line.size(), ' ');
    line += "  " + withVisibleControls(flaw.criterion);
    if (!flaw.detail.empty()) line += ": " + withVisibleControls(flaw.detail);
    return line;
}

void appendFlaws(std::string& text, std::string_view heading, const std::vector<Flaw>& flaws) {
    if (flaws.empty()) return;
    text += std::string(heading) + " (" + std::to_string(flaws.size()) + ")\n";
    for (const auto& flaw : flaws) text += "  " + flawText(flaw) + "\n";
}

} // namespace

std::string withVisibleControls(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        // U+0080 to U+009F are control characters too, and terminals obey some of them.
        const bool c1 = byte == 0xC2 && i + 1 < text.size() &&
                        static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                        static_cast<unsigned char>(text[i + 1]) <= 0x9F;
        if (!c1 && byte >= 0x20 && byte != 0x7F) {
            shown += text[i];
            continue;
        }
        const unsigned code = c1 ? static_cast<unsigned char>(text[++i]) : byte;
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", code);
        shown += escape;
    }
    return shown;
}

std::string verdictText(const Verdict& verdict) {
    if (verdict.error) {
        std::string text = "not graded: " + withVisibleControls(*verdict.error) + "\n";
        if (verdict.warming) text += "the grader was still warming up\n";
        return text;
    }
    std::string text = "band   " + bandText(verdict) + "\nscore  " + scoreText(verdict) + "\n";
    if (verdict.flaws.empty()) {
        text += clears(verdict.band) ? "no flaws\n" : "no itemised flaws returned\n";
    }
    appendFlaws(text, "flaws", verdict.flaws);
    return text;
}

std::string changeText(const Verdict& before, const Verdict& after) {
    if (after.error) return verdictText(after);
    std::string text = "band   " + bandText(before) + " -> " + bandText(after) + "\nscore  " +
                       scoreText(before) + " -> " + scoreText(after) + "\n";
    std::vector<Flaw> fixed = before.flaws;
    std::vector<Flaw> remaining;
    std::vector<Flaw> added;
    for (const auto& flaw : after.flaws) {
        const auto match = std::find(fixed.begin(), fixed.end(), flaw);
        if (match == fixed.end()) {
            added.push_back(flaw);
        } else {
            fixed.erase(match);
            remaining.push_back(flaw);
        }
    }
    appendFlaws(text, "fixed", fixed);
    appendFlaws(text, "remaining", remaining);
    appendFlaws(text, "new", added);
    return text;
}

} // namespace kelvane
