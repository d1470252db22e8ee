#include "critics/text/calendar.h"

#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

namespace trevix {

namespace text = kelvane::text;

namespace {

struct Named {
    std::string_view name;
    int number;
};

constexpr std::array kMonths = {
    Named{"january", 1},   Named{"february", 2},   Named{"march", 3},      Named{"april", 4},
    Named{"may", 5},       Named{"june", 6},       Named{"july", 7},       Named{"august", 8},
    Named{"september", 9}, Named{"october", 10},   Named{"november", 11},  Named{"december", 12},
    Named{"jan", 1},       Named{"feb", 2},        Named{"mar", 3},        Named{"apr", 4},
    Named{"jun", 6},       Named{"jul", 7},        Named{"aug", 8},        Named{"sep", 9},
    Named{"sept", 9},      Named{"oct", 10},       Named{"nov", 11},       Named{"dec", 12},
    Named{"januar", 1},    Named{"februar", 2},    Named{"märz", 3},       Named{"mai", 5},
    Named{"juni", 6},      Named{"juli", 7},       Named{"oktober", 10},   Named{"dezember", 12},
    Named{"janvier", 1},   Named{"février", 2},    Named{"mars", 3},       Named{"avril", 4},
    Named{"juin", 6},      Named{"juillet", 7},    Named{"août", 8},       Named{"septembre", 9},
    Named{"octobre", 10},  Named{"novembre", 11},  Named{"décembre", 12},  Named{"enero", 1},
    Named{"febrero", 2},   Named{"marzo", 3},      Named{"abril", 4},      Named{"mayo", 5},
    Named{"junio", 6},     Named{"julio", 7},      Named{"agosto", 8},     Named{"septiembre", 9},
    Named{"octubre", 10},  Named{"noviembre", 11}, Named{"diciembre", 12},
};

constexpr std::array kWeekdays = {
    Named{"monday", 0},     Named{"tuesday", 1},  Named{"wednesday", 2}, Named{"thursday", 3},
    Named{"friday", 4},     Named{"saturday", 5}, Named{"sunday", 6},    Named{"mon", 0},
    Named{"tue", 1},        Named{"tues", 1},     Named{"wed", 2},       Named{"thu", 3},
    Named{"thur", 3},       Named{"thurs", 3},    Named{"fri", 4},       Named{"sat", 5},
    Named{"sun", 6},        Named{"montag", 0},   Named{"dienstag", 1},  Named{"mittwoch", 2},
    Named{"donnerstag", 3}, Named{"freitag", 4},  Named{"samstag", 5},   Named{"sonnabend", 5},
    Named{"sonntag", 6},    Named{"lundi", 0},    Named{"mardi", 1},     Named{"mercredi", 2},
    Named{"jeudi", 3},      Named{"vendredi", 4}, Named{"samedi", 5},    Named{"dimanche", 6},
    Named{"lunes", 0},      Named{"martes", 1},   Named{"miércoles", 2}, Named{"jueves", 3},
    Named{"viernes", 4},    Named{"sábado", 5},   Named{"domingo", 6},
};

// English names of months and weekdays are written with a capital; "may", "march" and "sun" in
// small letters are other words. These small ones are the French and Spanish names.
bool mayBeSmall(std::string_view lower) {
    constexpr std::array<std::string_view, 30> kSmall = {
        "janvier", "février", "mars",       "avril",   "mai",       "juin",
        "juillet", "août",    "septembre",  "octobre", "novembre",  "décembre",
        "enero",   "febrero", "marzo",      "abril",   "mayo",      "junio",
        "julio",   "agosto",  "septiembre", "octubre", "noviembre", "diciembre",
        "lundi",   "mardi",   "mercredi",   "jeudi",   "vendredi",  "samedi"};
    constexpr std::array<std::string_view, 8> kMore = {"dimanche", "lunes",   "martes", "miércoles",
                                                       "jueves",   "viernes", "sábado", "domingo"};
    return std::find(kSmall.begin(), kSmall.end(), lower) != kSmall.end() ||
           std::find(kMore.begin(), kMore.end(), lower) != kMore.end();
}

enum class NameKind { month, weekday };

struct DateName {
    NameKind kind;
    int number;
    bool maybeSmall;
};

using DateNames = std::unordered_map<std::string_view, DateName>;

/// Every word of a long text is looked up here, so the lists are hashed once.
const DateNames& dateNames() {
    static const DateNames names = [] {
        DateNames all;
        for (const Named& month : kMonths) {
            all.emplace(month.name,
                        DateName{NameKind::month, month.number, mayBeSmall(month.name)});
        }
        for (const Named& day : kWeekdays) {
            all.emplace(day.name, DateName{NameKind::weekday, day.number, mayBeSmall(day.name)});
        }
        return all;
    }();
    return names;
}

std::optional<int> lookUp(NameKind kind, std::string_view text, const text::Word& word) {
    if (word.digits || word.length < 3 || word.length > 12) return std::nullopt;
    std::array<char, 12> lower{};
    for (std::size_t i = 0; i < word.length; ++i)
        lower[i] = text::lowerAscii(text[word.offset + i]);
    const auto found = dateNames().find(std::string_view(lower.data(), word.length));
    if (found == dateNames().end() || found->second.kind != kind) return std::nullopt;
    if (!word.capitalised && !found->second.maybeSmall) return std::nullopt;
    return found->second.number;
}

std::optional<int> plainNumber(std::string_view digits) {
    if (digits.empty() || digits.size() > 4) return std::nullopt;
    int value = 0;
    for (const char c : digits) {
        if (!text::isAsciiDigit(c)) return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

struct DayNumber {
    int day = 0;
    bool ordinal = false;
};

/// "3", "03" or "3rd".
std::optional<DayNumber> dayNumber(std::string_view text, const text::Word& word) {
    std::string_view digits = text.substr(word.offset, word.length);
    bool ordinal = false;
    if (digits.size() > 2) {
        const std::string suffix = text::lowerAscii(digits.substr(digits.size() - 2));
        ordinal = suffix == "st" || suffix == "nd" || suffix == "rd" || suffix == "th";
        if (ordinal) digits.remove_suffix(2);
    }
    if (digits.size() > 2) return std::nullopt;
    const auto day = plainNumber(digits);
    if (!day || *day == 0) return std::nullopt;
    // "3.5 May" or "1,3 May" is no day.
    if (word.offset >= 2 && text::isAsciiDigit(text[word.offset - 2]) &&
        (text[word.offset - 1] == '.' || text[word.offset - 1] == ',')) {
        return std::nullopt;
    }
    return DayNumber{*day, ordinal};
}

std::optional<int> yearNumber(std::string_view text, const text::Word& word) {
    if (word.length != 4) return std::nullopt;
    const auto year = plainNumber(text.substr(word.offset, word.length));
    if (!year || *year < 1583 || *year > 2999) return std::nullopt;
    return year;
}

/// What stands between two words, with runs of white space as one blank.
std::string gapBetween(std::string_view text, std::size_t begin, std::size_t end) {
    std::string gap;
    if (end - begin > 24) return "...";
    for (const char c : text.substr(begin, end - begin)) {
        const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        if (!blank) {
            gap += c;
        } else if (gap.empty() || gap.back() != ' ') {
            gap += ' ';
        }
    }
    return gap;
}

constexpr std::array<std::string_view, 4> kDayToMonth = {" ", ". ", "-", "."};
constexpr std::array<std::string_view, 6> kToYear = {" ", ", ", ". ", "-", ",", " , "};
constexpr std::array<std::string_view, 8> kDayRange = {"-", "–",   " - ", " – ",
                                                       "—", " — ", "./",  ".-"};

class DateScanner {
public:
    DateScanner(std::string_view text, const std::vector<text::Word>& words)
        : m_text(text),
          m_words(words) {}

    std::vector<WrittenDate> scan() {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            if (m_words[i].offset < m_end) continue;
            if (const auto month = lookUp(NameKind::month, m_text, m_words[i])) {
                named(i, *month);
            } else if (m_words[i].digits) {
                inFigures(i);
            }
        }
        return std::move(m_dates);
    }

private:
    [[nodiscard]] std::string gap(std::size_t left, std::size_t right) const {
        return gapBetween(m_text, m_words[left].end(), m_words[right].offset);
    }
    [[nodiscard]] bool joining(std::size_t i) const {
        const std::string word =
            text::lowerAscii(m_text.substr(m_words[i].offset, m_words[i].length));
        return word == "of" || word == "de" || word == "del";
    }
    [[nodiscard]] bool connects(std::size_t i) const {
        const std::string word =
            text::lowerAscii(m_text.substr(m_words[i].offset, m_words[i].length));
        return word == "to" || word == "until" || word == "through" || word == "bis";
    }

    void named(std::size_t month, int number) {
        WrittenDate date;
        date.month = number;
        std::size_t first = month;
        std::size_t last = month;
        if (!dayBefore(month, date, first) && !dayAfter(month, date, last)) return;
        yearAfter(date, last);
        finish(date, first, last);
    }

    bool dayBefore(std::size_t month, WrittenDate& date, std::size_t& first) {
        if (month == 0) return false;
        std::size_t at = month - 1;
        if (joining(at) && gap(at, month) == " " && at > 0 && gap(at - 1, at) == " ") {
            --at;
        } else if (!text::isOneOf(gap(at, month), kDayToMonth)) {
            return false;
        }
        const auto day = dayNumber(m_text, m_words[at]);
        if (!day || m_words[at].offset < m_end) return false;
        date.day = day->day;
        date.possible = day->day <= 31;
        m_sure = day->ordinal;
        first = at;
        firstOfRange(at, date, first);
        return true;
    }

    /// The "3" of "3-5 March".
    void firstOfRange(std::size_t day, WrittenDate& date, std::size_t& first) const {
        if (day == 0) return;
        std::size_t at = day - 1;
        if (!text::isOneOf(gap(at, day), kDayRange)) {
            if (!connects(at) || at == 0 || gap(at, day) != " ") return;
            const std::string before = gap(at - 1, at);
            if (before != " " && before != ". ") return;
            --at;
        }
        const auto start = dayNumber(m_text, m_words[at]);
        if (!start || start->day > 31 || m_words[at].offset < m_end) return;
        if (m_words[at].offset > 0) {
            const char before = m_text[m_words[at].offset - 1];
            if (before == '-' || before == '/' || before == '.' || before == '$') return;
        }
        date.firstDay = start->day;
        first = at;
    }

    bool dayAfter(std::size_t month, WrittenDate& date, std::size_t& last) {
        if (month + 1 >= m_words.size()) return false;
        const std::string between = gap(month, month + 1);
        if (between != " " && between != ". ") return false;
        const auto day = dayNumber(m_text, m_words[month + 1]);
        if (!day) return false;
        // "May 12:30" and "March 3.5" are no dates.
        const std::size_t after = m_words[month + 1].end();
        if (after + 1 < m_text.size() && (m_text[after] == ':' || m_text[after] == '.') &&
            text::isAsciiDigit(m_text[after + 1])) {
            return false;
        }
        if (after < m_text.size() && m_text[after] == '%') return false;
        date.day = day->day;
        m_sure = day->ordinal;
        last = month + 1;
        if (last + 1 < m_words.size() && text::isOneOf(gap(last, last + 1), kDayRange)) {
            const auto end = dayNumber(m_text, m_words[last + 1]);
            if (end && end->day <= 31) {
                date.firstDay = date.day;
                date.day = end->day;
                ++last;
            }
        }
        return true;
    }

    void yearAfter(WrittenDate& date, std::size_t& last) const {
        if (last + 1 >= m_words.size()) return;
        std::size_t at = last + 1;
        if (joining(at) && gap(last, at) == " " && at + 1 < m_words.size()) {
            if (gap(at, at + 1) != " ") return;
            ++at;
        } else if (!text::isOneOf(gap(last, at), kToYear)) {
            return;
        }
        date.year = yearNumber(m_text, m_words[at]);
        if (date.year) last = at;
    }

    void finish(WrittenDate& date, std::size_t first, std::size_t last) {
        const int most =
            date.year ? daysInMonth(*date.year, date.month) : daysInMonth(2000, date.month);
        // "May 45 people come" is not a date at all; a year or an ordinal makes it one.
        if (date.day > 31 && !date.year && !m_sure) return;
        if (date.day > 39) return;
        date.possible = date.day <= most;
        date.begin = m_words[first].offset;
        date.end = m_words[last].end();
        weekdayBefore(date, first);
        if (!date.weekday) weekdayAfter(date, last);
        m_end = date.end;
        m_dates.push_back(date);
    }

    void weekdayBefore(WrittenDate& date, std::size_t first) const {
        if (first == 0) return;
        std::size_t at = first - 1;
        const std::string word =
            text::lowerAscii(m_text.substr(m_words[at].offset, m_words[at].length));
        if ((word == "the" || word == "den" || word == "der" || word == "le") && at > 0 &&
            gap(at, first) == " ") {
            const std::string between = gap(at - 1, at);
            if (between != " " && between != ", ") return;
            --at;
        } else {
            const std::string between = gap(at, first);
            if (between != " " && between != ", " && between != "., " && between != ". ") return;
        }
        if (m_words[at].offset < m_end) return;
        date.weekday = lookUp(NameKind::weekday, m_text, m_words[at]);
        if (date.weekday) date.begin = m_words[at].offset;
    }

    void weekdayAfter(WrittenDate& date, std::size_t last) const {
        if (last + 1 >= m_words.size()) return;
        const std::string between = gap(last, last + 1);
        const std::size_t end = m_words[last + 1].end();
        if (between != " (" || end >= m_text.size() || m_text[end] != ')') return;
        date.weekday = lookUp(NameKind::weekday, m_text, m_words[last + 1]);
        if (date.weekday) date.end = end;
    }

    /// "2026-03-03", "31/04/2026" and "31.04.2026", read from the characters.
    void inFigures(std::size_t word) {
        const std::size_t at = m_words[word].offset;
        if (at > 0) {
            const char before = m_text[at - 1];
            if (before == '-' || before == '/' || before == '.' || text::isAsciiWord(before))
                return;
        }
        std::array<int, 3> numbers{};
        std::array<std::size_t, 3> lengths{};
        char separator = '\0';
        std::size_t i = at;
        for (std::size_t part = 0; part < 3; ++part) {
            const std::size_t start = i;
            while (i < m_text.size() && text::isAsciiDigit(m_text[i]) && i - start < 5) ++i;
            const auto number = plainNumber(m_text.substr(start, i - start));
            if (!number) return;
            numbers[part] = *number;
            lengths[part] = i - start;
            if (part == 2) break;
            if (i >= m_text.size()) return;
            if (part == 0) separator = m_text[i];
            if (m_text[i] != separator) return;
            ++i;
        }
        if (i < m_text.size() &&
            ((text::isAsciiWord(m_text[i]) && m_text[i] != 'T') || m_text[i] == separator)) {
            // A full stop may end the sentence; a further figure may not follow.
            if (separator != '.' || m_text[i] != '.') return;
            if (i + 1 < m_text.size() && text::isAsciiDigit(m_text[i + 1])) return;
        }
        WrittenDate date;
        date.begin = at;
        date.end = i;
        if (!readFigures(date, separator, numbers, lengths)) return;
        weekdayBefore(date, word);
        std::size_t last = word;
        while (last + 1 < m_words.size() && m_words[last + 1].offset < date.end) ++last;
        if (!date.weekday) weekdayAfter(date, last);
        m_end = date.end;
        m_dates.push_back(date);
    }

    static bool readFigures(WrittenDate& date, char separator, const std::array<int, 3>& numbers,
                            const std::array<std::size_t, 3>& lengths) {
        const auto plausibleYear = [](int year) { return year >= 1900 && year <= 2100; };
        if (separator == '-' && lengths[0] == 4 && lengths[1] == 2 && lengths[2] == 2) {
            if (!plausibleYear(numbers[0]) || numbers[1] < 1 || numbers[1] > 12) return false;
            if (numbers[2] < 1 || numbers[2] > 31) return false;
            date.year = numbers[0];
            date.month = numbers[1];
            date.day = numbers[2];
            date.possible = date.day <= daysInMonth(numbers[0], numbers[1]);
            return true;
        }
        if ((separator != '/' && separator != '.') || lengths[2] != 4 ||
            !plausibleYear(numbers[2]) || numbers[0] < 1 || numbers[0] > 31 || numbers[1] < 1 ||
            numbers[1] > 31) {
            return false;
        }
        const auto valid = [&](int day, int month) {
            return month <= 12 && day <= daysInMonth(numbers[2], month);
        };
        const bool dayFirst = valid(numbers[0], numbers[1]);
        const bool monthFirst = separator == '/' && valid(numbers[1], numbers[0]);
        if (dayFirst && monthFirst && numbers[0] != numbers[1]) return false; // Ambiguous.
        if (!dayFirst && !monthFirst && numbers[0] > 12 && numbers[1] > 12) return false;
        const bool dayIsFirst = dayFirst || (!monthFirst && numbers[1] <= 12);
        date.year = numbers[2];
        date.day = dayIsFirst ? numbers[0] : numbers[1];
        date.month = dayIsFirst ? numbers[1] : numbers[0];
        date.possible = dayFirst || monthFirst;
        return date.month <= 12;
    }

    std::string_view m_text;
    const std::vector<text::Word>& m_words;
    std::vector<WrittenDate> m_dates;
    std::size_t m_end = 0; ///< Of the last date found.
    bool m_sure = false;   ///< The day just read has its ordinal ending.
};

} // namespace

std::vector<WrittenDate> findDates(std::string_view text, const std::vector<text::Word>& words) {
    return DateScanner(text, words).scan();
}

void warmUpDateNames() {
    (void)dateNames();
}

int daysInMonth(int year, int month) {
    constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2 && leap) return 29;
    return kDays[static_cast<std::size_t>(month - 1)];
}

int weekdayOf(int year, int month, int day) {
    // Years that begin in March put the leap day last; 1 March of year 0 was a Wednesday.
    const int shifted = month <= 2 ? year - 1 : year;
    const int monthFromMarch = (month + 9) % 12;
    const int days = 365 * shifted + shifted / 4 - shifted / 100 + shifted / 400 +
                     (153 * monthFromMarch + 2) / 5 + day - 1;
    return (days + 2) % 7;
}

std::string_view weekdayName(int weekday) {
    constexpr std::array<std::string_view, 7> kNames = {
        "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};
    return kNames[static_cast<std::size_t>(weekday)];
}

} // namespace trevix
