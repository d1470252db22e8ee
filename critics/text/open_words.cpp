#include "critics/text/open_words.h"

#include "critics/text/english_words.h"

#include <algorithm>
#include <array>

namespace trevix {

namespace {

// Letters. Shorter words have forms by accident: "ope", "pul".
constexpr std::size_t kShortest = 4;
// Letters of a plural or of a verb's form in "-s".
constexpr std::size_t kShortestWithS = kShortest + 1;

// By their forms verbs and nothing else, and in texts other words too: pasts and comparatives,
// particles, and what programmers make nouns of.
constexpr std::string_view kNotOnlyVerbs =
    "found further lower please extinct lasts balls bask dang headquarter roger dice diff grep "
    "merge install uninstall reinstall deploy compile parse rename encrypt append prepend reboot "
    "refactor refresh serialize init config mock disconnect suppose found bent thank bless respond "
    "moot resume conduct converse affect combat dose";

// Singulars that are plurals as well, or go with "are" and "several" without an ending.
constexpr std::string_view kPluralsToo =
    "aircraft spacecraft hovercraft watercraft deer sheep fish salmon trout shrimp bison moose "
    "swine offspring dozen hundred thousand million billion percent staff craft kind sort type";

bool isVowel(char c) {
    return c == 'a' || c == 'e' || c == 'i' || c == 'o' || c == 'u';
}

bool isLetters(std::string_view word) {
    return std::ranges::all_of(word, [](char c) { return c >= 'a' && c <= 'z'; });
}

bool endsInConsonantAndY(std::string_view word) {
    return word.size() > 2 && word.back() == 'y' && !isVowel(word[word.size() - 2]);
}

/// "carry" to "carri", which goes before "-ed", "-ness" and "-ly".
std::string withI(const std::string& word) {
    return endsInConsonantAndY(word) ? word.substr(0, word.size() - 1) + "i" : word;
}

std::string withoutLast(const std::string& word) {
    return word.substr(0, word.size() - 1);
}

/// What a form in "-s" may be of: "tries" of "try", "classes" of "class" and of "classe".
std::array<std::string, 3> stemsOf(const std::string& form) {
    std::array<std::string, 3> stems = {withoutLast(form), "", ""};
    if (form.ends_with("ies")) stems[1] = form.substr(0, form.size() - 3) + "y";
    if (form.ends_with("es")) stems[2] = form.substr(0, form.size() - 2);
    return stems;
}

} // namespace

std::uint32_t OpenWords::of(std::string_view word) {
    if (m_shelf == nullptr || word.size() < kShortest || !isLetters(word)) return 0;
    // Without them every verb that is a noun too would pass for a verb alone.
    if (!m_hasOwners) m_hasOwners = know("house's") && know("report's");
    if (!*m_hasOwners) return 0;
    std::string own(word);
    if (const auto found = m_told.find(own); found != m_told.end()) return found->second;
    const std::uint32_t classes = told(own);
    m_told.emplace(std::move(own), classes);
    return classes;
}

bool OpenWords::know(const std::string& word) const {
    return m_shelf->of(NaturalLanguage::english).know(word);
}

std::uint32_t OpenWords::told(const std::string& word) const {
    if (!know(word)) return 0;
    if (isVerb(word)) return kBase | kPureBase | kOpenVerb;
    // "Jeans are", "the following are": plurals and participles that own something too.
    const bool other = (word.back() == 's' && !word.ends_with("ss")) || word.ends_with("ing");
    if (!other && isThing(word)) {
        static const WordSet both(kPluralsToo);
        const bool counted = !both.has(word) && know(withEndingS(word));
        return kOpenSingular | (counted ? static_cast<std::uint32_t>(kOpenCount) : 0U);
    }
    if (word.size() < kShortestWithS || word.back() != 's' || word.ends_with("ss")) return 0;
    // "physics", "news": a singular that ends like a plural owns something itself.
    if (know(word + "'s")) return 0;
    for (const std::string& stem : stemsOf(word)) {
        if (stem.size() < kShortest || withEndingS(stem) != word || classesOf(stem) != 0) continue;
        if (isVerb(stem)) return kThird | kAnyThird | kOpenVerb;
        if (isThing(stem)) return kOpenPlural;
    }
    return 0;
}

bool OpenWords::hasVerbForms(const std::string& word) const {
    const bool e = word.back() == 'e';
    const std::string doubled = word + word.back();
    const bool past = know(e ? word + "d" : withI(word) + "ed") || (!e && know(doubled + "ed"));
    const bool going = know(word + "ing") || know((e ? withoutLast(word) : doubled) + "ing");
    return past && going;
}

bool OpenWords::describes(const std::string& word) const {
    const std::string stem = withI(word);
    const std::string shortened = word.back() == 'e' ? withoutLast(word) : stem;
    return know(stem + "ly") || know(stem + "ness") || know(word + "ly") ||
           know(shortened + "est") || (word.ends_with("le") && know(withoutLast(word) + "y"));
}

bool OpenWords::isVerb(const std::string& word) const {
    static const WordSet others(kNotOnlyVerbs);
    return !others.has(word) && know(word) && !know(word + "'s") && know(withEndingS(word)) &&
           hasVerbForms(word) && !describes(word);
}

bool OpenWords::isThing(const std::string& word) const {
    return know(word) && know(word + "'s") && !hasVerbForms(word) && !describes(word);
}

} // namespace trevix
