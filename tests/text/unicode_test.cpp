#include "text/unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::text {
namespace {

using namespace std::string_view_literals;

// The text as a list of its characters, found by cutting alone.
std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> found;
    while (!text.empty()) {
        const auto first = firstCharacters(text, 1);
        found.push_back(first);
        text.remove_prefix(first.size());
    }
    return found;
}

using Characters = std::vector<std::string_view>;

TEST(IsValidUtf8, TakesEveryWellFormedLength) {
    for (const auto text :
         {""sv, "a"sv, "\0"sv, "\x7F"sv, "é"sv, "€"sv, "𝄞"sv, "\xF4\x8F\xBF\xBF"sv,
          "\xED\x9F\xBF"sv, "\xEE\x80\x80"sv, "eight or more plain letters, é"sv}) {
        EXPECT_TRUE(isValidUtf8(text)) << text;
    }
}

TEST(IsValidUtf8, RefusesMalformedBytes) {
    const struct {
        const char* what;
        std::string_view bytes;
    } cases[] = {
        {"a continuation on its own", "\x80"sv},
        {"a lead byte on its own", "\xC3"sv},
        {"two of three bytes", "\xE2\x82"sv},
        {"three of four bytes", "\xF0\x9D\x84"sv},
        {"overlong slash in two bytes", "\xC0\xAF"sv},
        {"overlong in two bytes", "\xC1\xBF"sv},
        {"overlong in three bytes", "\xE0\x9F\xBF"sv},
        {"overlong in four bytes", "\xF0\x8F\xBF\xBF"sv},
        {"the first surrogate", "\xED\xA0\x80"sv},
        {"the last surrogate", "\xED\xBF\xBF"sv},
        {"past U+10FFFF", "\xF4\x90\x80\x80"sv},
        {"a lead byte of no sequence", "\xF5\x80\x80\x80"sv},
        {"FF", "\xFF"sv},
        {"a third byte that continues nothing", "\xE2\x82\x28"sv},
        {"malformed after eight plain bytes", "12345678\x80"sv},
        {"malformed inside eight bytes", "123\xC3 5678"sv},
    };
    for (const auto& [what, bytes] : cases) EXPECT_FALSE(isValidUtf8(bytes)) << what;
}

TEST(Characters, AreExtendedGraphemeClusters) {
    const struct {
        const char* what;
        std::string_view text;
        Characters expected;
    } cases[] = {
        {"nothing", "", {}},
        {"letters", "abc", {"a", "b", "c"}},
        {"a NUL", "a\0b"sv, {"a", "\0"sv, "b"}},
        {"CR LF is one, CR CR LF two", "a\r\r\n\n\rb", {"a", "\r", "\r\n", "\n", "\r", "b"}},
        {"CR LF at the end", "a\r\n", {"a", "\r\n"}},
        {"a mark after an ASCII letter", "ae\u0301b", {"a", "e\u0301", "b"}},
        {"two marks", "e\u0301\u0323", {"e\u0301\u0323"}},
        {"a mark after nothing", "\u0301a", {"\u0301", "a"}},
        {"a mark after a line break stands alone", "\n\u0301", {"\n", "\u0301"}},
        {"a mark after CR LF stands alone", "\r\n\u0301", {"\r\n", "\u0301"}},
        {"composed letters", "éà", {"é", "à"}},
        {"Hangul syllable of three jamo",
         "\u1112\u1161\u11AB\uAC00",
         {"\u1112\u1161\u11AB", "\uAC00"}},
        {"a flag is two regional indicators", "🇫🇷🇩🇪", {"🇫🇷", "🇩🇪"}},
        {"an odd regional indicator", "🇫🇷🇩", {"🇫🇷", "🇩"}},
        {"a family joined by ZWJ", "👩‍👩‍👧x", {"👩‍👩‍👧", "x"}},
        {"a skin tone", "👍🏽👍", {"👍🏽", "👍"}},
        {"a keycap begins with an ASCII digit", "1\uFE0F\u20E32", {"1\uFE0F\u20E3", "2"}},
        {"ZWJ after an ASCII letter joins no emoji", "a\u200D👩", {"a\u200D", "👩"}},
        {"Devanagari vowel sign", "\u0915\u093F", {"\u0915\u093F"}},
        {"a prepended mark", "\u0600a", {"\u0600a"}},
    };
    for (const auto& [what, text, expected] : cases) {
        EXPECT_EQ(characters(text), expected) << what;
        EXPECT_EQ(characterCount(text), expected.size()) << what;
    }
}

TEST(Characters, EachByteThatIsNotUtf8IsOne) {
    EXPECT_EQ(characters("a\xFF\xFE\u0301"sv), (Characters{"a", "\xFF", "\xFE", "\u0301"}));
    EXPECT_EQ(characters("\xE2\x82"sv), (Characters{"\xE2", "\x82"}));
    EXPECT_EQ(characters("\xED\xA0\x80"sv), (Characters{"\xED", "\xA0", "\x80"}));
    EXPECT_EQ(characters("\xF0\x9D\x84z"sv), (Characters{"\xF0", "\x9D", "\x84", "z"}));
    EXPECT_EQ(characterCount("e\u0301\x80\u0301"sv), 3U);
}

TEST(FirstCharacters, CutsBetweenCharacters) {
    const std::string_view text = "ae\u0301\r\n👩‍👩‍👧\xFFz"sv;
    EXPECT_EQ(firstCharacters(text, 0), "");
    EXPECT_EQ(firstCharacters(text, 1), "a");
    EXPECT_EQ(firstCharacters(text, 2), "ae\u0301");
    EXPECT_EQ(firstCharacters(text, 3), "ae\u0301\r\n");
    EXPECT_EQ(firstCharacters(text, 4), "ae\u0301\r\n👩‍👩‍👧");
    EXPECT_EQ(firstCharacters(text, 5), "ae\u0301\r\n👩‍👩‍👧\xFF"sv);
    EXPECT_EQ(firstCharacters(text, 6), text);
    EXPECT_EQ(firstCharacters(text, 7), text);
    EXPECT_EQ(firstCharacters(text, std::string_view::npos), text);
}

TEST(FirstCharacters, IsAViewIntoTheText) {
    const std::string text = "abc";
    EXPECT_EQ(firstCharacters(text, 2).data(), text.data());
}

TEST(FirstCharacters, ACutAfterALongAsciiRunKeepsTheMarkThatFollows) {
    const std::string run(1000, 'x');
    EXPECT_EQ(firstCharacters(run + "\u0301" + run, 1000), run + "\u0301");
    EXPECT_EQ(firstCharacters(run + "\r\n" + run, 1001), run + "\r\n");
    EXPECT_EQ(firstCharacters(run + "\r\n" + run, 1000), run);
}

TEST(FirstCharacters, OfTwoHundredThousandKeepsOneHundredAndEightyThousand) {
    std::string plain(200'000, 'x');
    EXPECT_EQ(firstCharacters(plain, 180'000).size(), 180'000U);
    std::string accented;
    for (int i = 0; i < 200'000; ++i) accented += "e\u0301";
    EXPECT_EQ(firstCharacters(accented, 180'000).size(), 180'000U * 3);
}

TEST(Lowercased, FollowsTheFullMapping) {
    const struct {
        std::string_view text;
        std::string_view lower;
    } cases[] = {
        {"", ""},
        {"AbC-09_é", "abc-09_é"},
        {"ÀÉÎÕÜ", "àéîõü"},
        {"ΑΒΓΣ", "αβγσ"}, // no final sigma: the letters around do not matter
        {"ДЯ", "дя"},
        {"İ", "i\u0307"},
        {"I", "i"},
        {"\u212A", "k"},      // Kelvin sign: three bytes become one
        {"\u023A", "\u2C65"}, // two bytes become three
        {"\U00010400", "\U00010428"},
        {"ǅ", "ǆ"},
        {"ẞ", "ß"},
        {"漢字", "漢字"},
        {"A\xFF\xC3Z"sv, "a\xFF\xC3z"sv},
        {"\0A"sv, "\0a"sv},
    };
    for (const auto& [text, lower] : cases) EXPECT_EQ(lowercased(text), lower) << text;
}

TEST(Uppercased, FollowsTheFullMapping) {
    const struct {
        std::string_view text;
        std::string_view upper;
    } cases[] = {
        {"", ""},
        {"AbC-09_é", "ABC-09_É"},
        {"straße", "STRASSE"},
        {"ﬀﬁﬂﬃﬄﬅﬆ", "FFFIFLFFIFFLSTST"},
        {"ŉ", "ʼN"},
        {"ǰ", "J\u030C"},
        {"ΐ", "\u0399\u0308\u0301"},
        {"ΰ", "\u03A5\u0308\u0301"},
        {"և", "ԵՒ"},
        {"ﬓ", "ՄՆ"},
        {"ẖẗẘẙẚ", "H\u0331T\u0308W\u030AY\u030AA\u02BE"},
        {"\u1F50", "\u03A5\u0313"},
        {"\u1F80", "\u1F08\u0399"},
        {"\u1F88", "\u1F08\u0399"},
        {"\u1FB3", "\u0391\u0399"},
        {"\u1FB7", "\u0391\u0342\u0399"},
        {"\u1FFC", "\u03A9\u0399"},
        {"ς", "Σ"},
        {"ı", "I"},
        {"ÿ", "Ÿ"},
        {"ა", "Ა"},
        {"ẞİ", "ẞİ"}, // Capitals whose folding is longer than they are.
        {"ﬓﬗ", "ՄՆՄԽ"},
        {"\u1FE4", "\u03A1\u0313"},
        {"\u1FBC", "\u0391\u0399"},
        {"a\xFF\xC3z"sv, "A\xFF\xC3Z"sv},
    };
    for (const auto& [text, upper] : cases) EXPECT_EQ(uppercased(text), upper) << text;
}

TEST(DecodeFront, TellsTheCodePointAndItsLength) {
    EXPECT_EQ(decodeFront("a€"), (Decoded{'a', 1}));
    EXPECT_EQ(decodeFront("\0"sv), (Decoded{0, 1}));
    EXPECT_EQ(decodeFront("éa"), (Decoded{0xE9, 2}));
    EXPECT_EQ(decodeFront("€"), (Decoded{0x20AC, 3}));
    EXPECT_EQ(decodeFront("𝄞𝄞"), (Decoded{0x1D11E, 4}));
}

TEST(DecodeFront, TakesAByteThatIsNotUtf8Alone) {
    for (const auto bytes : {"\x80"sv, "\xC3"sv, "\xE2\x82"sv, "\xE2\x82z"sv, "\xC0\xAF"sv,
                             "\xED\xA0\x80"sv, "\xF4\x90\x80\x80"sv, "\xFF"sv}) {
        EXPECT_EQ(decodeFront(bytes), (Decoded{kNoCodePoint, 1})) << bytes;
    }
}

TEST(FromLatin1, IsTheTextOfEveryByte) {
    EXPECT_EQ(fromLatin1("gr\xFC\xDF \xFF\x80"), "grüß ÿ\u0080");
    EXPECT_EQ(fromLatin1("a\0b"sv), "a\0b"sv);
}

TEST(ToLatin1, SaysWhatItCan) {
    EXPECT_EQ(toLatin1("grüß ÿ"), "gr\xFC\xDF \xFF");
    EXPECT_EQ(toLatin1("5 € 😀 Ā"), "5 ? ? ?");
    EXPECT_EQ(toLatin1("\xFF"), "?");
}

TEST(Utf8FromOutside, KeepsUtf8AndReadsTheRestAsLatin1) {
    EXPECT_EQ(utf8FromOutside("grüß"), "grüß");
    EXPECT_EQ(utf8FromOutside("gr\xFC\xDF"), "grüß");
    EXPECT_EQ(utf8FromOutside("grü\xDF"), "grÃ¼ß");
    for (const auto* const bad : {"\x80", "\xC3", "\xC0\xAF", "\xE0\x80\x80", "\xED\xA0\x80",
                                  "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "a\xFF"}) {
        EXPECT_TRUE(isValidUtf8(utf8FromOutside(bad)));
    }
}

TEST(RepairedUtf8, PutsOneReplacementForEachPieceThatBreaksOff) {
    const struct {
        std::string_view bytes;
        std::string_view text;
    } cases[] = {
        {"", ""},
        {"naïve 𝄞", "naïve 𝄞"},
        {"a\xFFz", "a\uFFFDz"},
        {"\xE2\x82", "\uFFFD"},
        {"\xF0\x9D\x84z", "\uFFFDz"},
        {"\xF0\x9D\xE2\x82\xAC", "\uFFFD€"},
        {"\xC0\xAF", "\uFFFD\uFFFD"},                     // Overlong: no byte could complete it.
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},           // A surrogate.
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"}, // Past U+10FFFF.
        {"\x80\x80", "\uFFFD\uFFFD"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(repairedUtf8(bytes), text) << bytes;
}

TEST(LowerAscii, LeavesEverythingElseAlone) {
    EXPECT_EQ(lowerAscii("Content-TYPE [@Z{]"), "content-type [@z{]");
    EXPECT_EQ(lowerAscii("ÄÖ\xC4İ"), "ÄÖ\xC4İ");
    static_assert(lowerAscii('Q') == 'q' && lowerAscii('@') == '@' && lowerAscii('[') == '[');
}

TEST(LowercaseBytes, AreThoseOfLowercased) {
    for (const auto text : {""sv, "ABC"sv, "İ\u212A\u023A\xFFΣ"sv, "\xC3"sv}) {
        const LowercaseBytes bytes(text);
        std::string collected;
        for (const char c : bytes) collected.push_back(c);
        EXPECT_EQ(collected, lowercased(text));
    }
}

TEST(LowercaseBytes, CanBeSearchedFromAnyPlace) {
    const LowercaseBytes bytes("xİY");
    const auto occurs = [&](std::string_view wanted) {
        return std::search(bytes.begin(), bytes.end(), wanted.begin(), wanted.end()) != bytes.end();
    };
    EXPECT_TRUE(occurs("i\u0307y"));
    EXPECT_TRUE(occurs("\u0307y")); // inside what İ became
    EXPECT_FALSE(occurs("iy"));
}

TEST(TrimmedWhitespaceAndNewlines, TakesUnicodeSpacesFromBothEnds) {
    const struct {
        std::string_view text;
        std::string_view left;
    } cases[] = {
        {"", ""},
        {" \t\n\v\f\r", ""},
        {"  a b\n", "a b"},
        {"\r\nkey\r\n", "key"},
        {"\u0085\u00A0\u1680\u2003\u2028\u2029\u202F\u205F\u3000x\u3000", "x"},
        {"\u200Bx\u200B", "\u200Bx\u200B"}, // zero width space is no white space
        {"\uFEFFx", "\uFEFFx"},
        {" \xA0 x \x85 "sv, "\xA0 x \x85"sv}, // bytes, not code points
        {"é", "é"},
        {"\0 "sv, "\0"sv},
    };
    for (const auto& [text, left] : cases) {
        EXPECT_EQ(trimmedWhitespaceAndNewlines(text), left) << text;
    }
}

TEST(TrimmedBlanks, TakesBlanksAndTabsOnly) {
    EXPECT_EQ(trimmedBlanks("\t a b \t"), "a b");
    EXPECT_EQ(trimmedBlanks(" \n "), "\n");
    EXPECT_EQ(trimmedBlanks("\u00A0a\r"), "\u00A0a\r");
    EXPECT_EQ(trimmedBlanks(" \t "), "");
    EXPECT_EQ(trimmedBlanks(""), "");
}

} // namespace
} // namespace kelvane::text
