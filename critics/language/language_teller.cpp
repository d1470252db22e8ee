#include "critics/language/language_teller.h"

#include "text/letters.h"
#include "text/unicode.h"

#include <array>
#include <string>
#include <unordered_map>

#if KELVANE_HAVE_CLD2
#include <cld2/public/compact_lang_det.h>
#endif

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::size_t kMostBytes = 16 * 1024;

// Chosen: the fewest little words that make a language, and how many times those of the next best
// one they must be. Five words in German share "in", "was" and "die" with English.
constexpr std::size_t kFewestLittleWords = 2;
constexpr std::size_t kTimesTheNext = 2;
// Of a passage in a script with letters as in Latin, the share in percent that is in none.
constexpr std::size_t kForeignScript = 30;
// Bytes that libcld2 wants before it is believed; below it takes names for Finnish.
constexpr std::size_t kFewestBytesToTell = 60;

constexpr std::string_view kEnglish =
    "the of and to is that it for was with as are be this have from or an they which you had not "
    "but what all were when we there can your how their if will each about up out them then she "
    "many some these would other into has more her like him could my than been who its now did "
    "because should our very i he his me us it's don't doesn't i'm just only also most people "
    "think every much does do by at so where after before over such through those both "
    "here since never always why again still any get go went make made come while under back may "
    "might must well good two first being another between during however although";
constexpr std::string_view kGerman =
    "der und das ist nicht ein ich sie mit dem zu den von für auf auch eine als im es sich des "
    "wird aus werden bei oder wie noch nach nur einer um wenn kann sind haben zum zur über einen "
    "diese dieser dieses durch wir ihr aber hat mehr bis vor wurde sein keine dass unter schon "
    "können muss soll ohne beim vom einem eines jedoch bitte ihnen ihre unsere";
constexpr std::string_view kFrench =
    "le la les des et est un une que qui dans en pour pas sur au par ce ne se plus avec sont "
    "cette aux il elle nous vous ils ou mais comme leur sa ses ces être peut fait aussi si même "
    "tout votre notre très sans sous entre après où dont lors afin doit c'est n'est d'une d'un "
    "qu'il l'on j'ai je du";
constexpr std::string_view kSpanish =
    "el los las del y es que una por con para se su al lo como más pero sus le ha este sí porque "
    "esta entre cuando muy sin sobre también hasta hay donde quien desde todo nos durante estos "
    "puede son ser tiene o fue si ya cada otro otra está están usted esto de la en un no";
// Told only so as not to be taken for their neighbours.
constexpr std::string_view kOthers =
    "het een van niet zijn voor met dat aan ook maar worden wordt bij naar nog deze door il che di "
    "non per una sono della con del gli più anche questo nel alla o que não uma para com os em "
    "mais foi ao das dos pelo está och att det som på är av för inte den till jeg ikke af og er "
    "nie się że jest na";

using Votes = std::array<std::size_t, kNaturalLanguages>;
using LittleWords = std::unordered_map<std::string_view, std::array<bool, kNaturalLanguages>>;

const LittleWords& littleWords() {
    static const LittleWords words = [] {
        LittleWords made;
        const auto add = [&](NaturalLanguage language, std::string_view list) {
            while (!list.empty()) {
                const std::size_t end = std::min(list.find(' '), list.size());
                made[list.substr(0, end)][static_cast<std::size_t>(language)] = true;
                list.remove_prefix(std::min(end + 1, list.size()));
            }
        };
        add(NaturalLanguage::english, kEnglish);
        add(NaturalLanguage::german, kGerman);
        add(NaturalLanguage::french, kFrench);
        add(NaturalLanguage::spanish, kSpanish);
        add(NaturalLanguage::other, kOthers);
        return made;
    }();
    return words;
}

ToldLanguage told(NaturalLanguage language) {
    return {language, std::string(name(language))};
}

/// Letters by the scripts that name a language, or a few, by themselves.
struct Scripts {
    std::size_t letters = 0;
    std::size_t latin = 0;
    std::size_t kana = 0;
    std::size_t han = 0;
    std::size_t hangul = 0;
};

Scripts scriptsOf(std::string_view passage) {
    Scripts scripts;
    for (std::size_t i = 0; i < passage.size();) {
        const text::Decoded point = text::decodeFront(passage.substr(i));
        i += point.length;
        const std::int32_t c = point.codePoint;
        if (!text::isLetter(c)) continue;
        ++scripts.letters;
        if (c < 0x250 || (c >= 0x1E00 && c < 0x1F00)) ++scripts.latin;
        if (c >= 0x3040 && c < 0x3100) ++scripts.kana;
        if (c >= 0x3400 && c < 0xA000) ++scripts.han;
        if (c >= 0xAC00 && c < 0xD7B0) ++scripts.hangul;
    }
    return scripts;
}

ToldLanguage byScript(const Scripts& scripts) {
    if (scripts.kana * 10 > scripts.letters) return {NaturalLanguage::other, "Japanese"};
    if (scripts.hangul * 3 > scripts.letters) return {NaturalLanguage::other, "Korean"};
    if (scripts.han * 3 > scripts.letters) return {NaturalLanguage::other, "Chinese"};
    return {NaturalLanguage::other, "a language in another script"};
}

/// What libcld2 makes of it, where the build has it and it is sure.
ToldLanguage byLibrary(std::string_view passage) {
#if KELVANE_HAVE_CLD2
    if (passage.size() < kFewestBytesToTell) return {};
    bool reliable = false;
    int valid = 0;
    const std::string whole = text::repairedUtf8(passage);
    const CLD2::Language found = CLD2::DetectLanguageCheckUTF8(
        whole.data(), static_cast<int>(whole.size()), true, &reliable, &valid);
    if (!reliable || found == CLD2::UNKNOWN_LANGUAGE) return {};
    std::string shown = text::lowerAscii(CLD2::LanguageName(found));
    if (shown.empty()) return {};
    shown[0] = static_cast<char>(shown[0] - 'a' + 'A');
    for (const NaturalLanguage known : kSpelledLanguages) {
        if (shown == name(known)) return told(known);
    }
    if (shown == "Chineset") shown = "Chinese";
    return {NaturalLanguage::other, shown};
#else
    (void)passage;
    (void)kFewestBytesToTell;
    return {};
#endif
}

} // namespace

bool tellsManyLanguages() {
#if KELVANE_HAVE_CLD2
    return true;
#else
    return false;
#endif
}

ToldLanguage tellLanguage(std::string_view passage) {
    passage = passage.substr(0, kMostBytes);
    const Scripts scripts = scriptsOf(passage);
    if (scripts.letters == 0) return {};
    if ((scripts.letters - scripts.latin) * 100 > scripts.letters * kForeignScript) {
        const ToldLanguage library = byLibrary(passage);
        return library.language == NaturalLanguage::other ? library : byScript(scripts);
    }

    Votes votes{};
    std::size_t words = 0;
    for (const text::Word& word : text::wordsIn(passage, 0, passage.size())) {
        ++words;
        const std::string own = text::lowercased(passage.substr(word.offset, word.length));
        const auto found = littleWords().find(own);
        if (found == littleWords().end()) continue;
        for (std::size_t i = 0; i < kNaturalLanguages; ++i) votes[i] += found->second[i] ? 1U : 0U;
    }
    NaturalLanguage best = NaturalLanguage::unknown;
    std::size_t most = 0;
    std::size_t next = 0;
    for (std::size_t i = 0; i < kNaturalLanguages; ++i) {
        if (votes[i] > most) {
            next = most;
            most = votes[i];
            best = static_cast<NaturalLanguage>(i);
        } else {
            next = std::max(next, votes[i]);
        }
    }
    const bool clear = most >= kFewestLittleWords && most >= kTimesTheNext * next &&
                       best != NaturalLanguage::other && most * 8 >= words;
    if (clear) return told(best);
    ToldLanguage library = byLibrary(passage);
    // Sure of a language whose little words are all missing, it read names or code.
    if (library.language != NaturalLanguage::other &&
        library.language != NaturalLanguage::unknown &&
        votes[static_cast<std::size_t>(library.language)] == 0) {
        return {};
    }
    if (library.language == NaturalLanguage::other && most > 0 &&
        best == NaturalLanguage::english && next == 0) {
        return {};
    }
    return library;
}

} // namespace trevix
