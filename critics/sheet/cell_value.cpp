#include "critics/sheet/cell_value.h"

#include "critics/sheet/table_reader.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace trevix {
namespace {

// Bytes. Longer cells are words, and the limits keep reading linear; the longest texts that are
// meant stand behind them.
constexpr std::size_t kLongestNumber = 48; // "-1 234 567 890 123 456.123456 kWh" with wide blanks.
constexpr std::size_t kShortestDate = 6;   // "1.1.24".
constexpr std::size_t kLongestDate = 40;   // "September 30, 2024, 11:59:59.999 PM".
constexpr std::size_t kShortestError = 3;  // "#NV".
constexpr std::size_t kLongestError = 14;
constexpr std::size_t kLongestPlaceholder = 24;
constexpr std::size_t kLongestNoValue = 16; // "not applicable".
constexpr std::size_t kLongestSummary = 60; // A longer label is a sentence.
// Years of four digits that a table has; outside them the figures are no date.
constexpr int kFirstYear = 1500;
constexpr int kLastYear = 2500;

bool isDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

bool isLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

bool take(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// The length of a blank that people put between thousands, or 0. Blank, no-break space, narrow
/// no-break space and thin space.
std::size_t spaceAt(std::string_view text) {
    if (text.starts_with(' ')) return 1;
    if (text.starts_with("\xC2\xA0")) return 2;
    if (text.starts_with("\xE2\x80\xAF") || text.starts_with("\xE2\x80\x89")) return 3;
    return 0;
}

void skipSpaces(std::string_view& text) {
    while (const std::size_t length = spaceAt(text)) text.remove_prefix(length);
}

struct Sign {
    std::string_view text;
    std::string_view code;
};

// A sign that several countries have stands for the most frequent of their currencies.
constexpr std::array<Sign, 30> kCurrencies{{
    {"US$", "USD"}, {"A$", "AUD"},  {"C$", "CAD"},  {"$", "USD"},   {"€", "EUR"},   {"£", "GBP"},
    {"¥", "JPY"},   {"₹", "INR"},   {"₽", "RUB"}, {"₩", "KRW"},   {"USD", "USD"}, {"EUR", "EUR"},
    {"GBP", "GBP"}, {"JPY", "JPY"}, {"CHF", "CHF"}, {"SEK", "SEK"}, {"NOK", "NOK"}, {"DKK", "DKK"},
    {"PLN", "PLN"}, {"CZK", "CZK"}, {"HUF", "HUF"}, {"CNY", "CNY"}, {"INR", "INR"}, {"AUD", "AUD"},
    {"CAD", "CAD"}, {"BRL", "BRL"}, {"TRY", "TRY"}, {"KRW", "KRW"}, {"Fr.", "CHF"}, {"zł", "PLN"},
}};

constexpr std::array<std::string_view, 37> kUnits{
    "kg", "g",  "mg", "t",   "lb", "lbs", "oz",  "km",  "m",  "cm", "mm",   "mi", "ft",
    "in", "yd", "l",  "ml",  "h",  "hrs", "min", "s",   "ms", "d",  "GB",   "MB", "KB",
    "TB", "kW", "W",  "kWh", "MW", "°C",  "°F",  "pcs", "px", "pt", "days",
};

std::string_view takeCurrency(std::string_view& text) {
    for (const Sign& sign : kCurrencies) {
        std::string_view rest = text;
        if (!take(rest, sign.text)) continue;
        // "Fr." and "zł" may be followed by a letter; "USDA" is no currency.
        if (isLetter(sign.text.back()) && !rest.empty() && isLetter(rest.front())) continue;
        text = rest;
        return sign.code;
    }
    return {};
}

bool takeMinus(std::string_view& text) {
    return take(text, "-") || take(text, "−");
}

/// The number that the text spells in full, 0 when it has no room for it. Some standard libraries
/// cannot read floating-point numbers by `from_chars`; the stream is told to heed no locale.
template <class Real>
Real numberIn(const std::string& text) {
    Real value = 0;
    // The type of the expression decides, when compiled: see the note above.
    if constexpr (requires { std::from_chars(text.data(), text.data(), value); }) {
        std::from_chars(text.data(), text.data() + text.size(), value);
    } else {
        std::istringstream in(text);
        in.imbue(std::locale::classic());
        if (!(in >> value)) return 0;
    }
    return value;
}

// Through text, because a decimal fraction that is put together by arithmetic is off in its last
// binary place, and totals are compared.
double valueOf(const std::string& digits, std::size_t decimals, int exponent) {
    std::string plain = digits.substr(0, digits.size() - decimals);
    if (plain.empty()) plain = "0";
    if (decimals > 0) plain += "." + digits.substr(digits.size() - decimals);
    if (exponent != 0) plain += "e" + std::to_string(exponent);
    return numberIn<double>(plain);
}

/// Digits with the marks between them, before any decision on what the marks mean.
struct Body {
    std::vector<std::size_t> groups; ///< Number of digits between marks.
    std::string marks;               ///< One of , . ' or a blank between two groups.
    std::string digits;
};

std::optional<Body> takeBody(std::string_view& text) {
    Body body;
    std::size_t run = 0;
    while (!text.empty()) {
        if (isDigit(text.front())) {
            body.digits += text.front();
            ++run;
            text.remove_prefix(1);
            continue;
        }
        std::string_view rest = text;
        char mark = 0;
        if (take(rest, ","))
            mark = ',';
        else if (take(rest, "."))
            mark = '.';
        else if (take(rest, "'") || take(rest, "’"))
            mark = '\'';
        else if (const std::size_t length = spaceAt(rest)) {
            rest.remove_prefix(length);
            mark = ' ';
        }
        // A mark is one only between digits, or before the first as in ".5".
        if (mark == 0 || rest.empty() || !isDigit(rest.front())) break;
        if (run == 0 && mark != '.' && mark != ',') break;
        body.groups.push_back(run);
        body.marks += mark;
        run = 0;
        text = rest;
    }
    body.groups.push_back(run);
    // No figure in a table has more, and identifiers do.
    if (body.digits.empty() || body.digits.size() > 30) return std::nullopt;
    return body;
}

/// Whether groups [0, last] read as thousands: up to three digits, then threes (or, after commas,
/// twos closed by a three).
bool areThousands(const Body& body, std::size_t last, char mark) {
    if (body.groups[0] == 0 || body.groups[0] > 3 || body.groups[last] != 3) return false;
    for (std::size_t i = 1; i < last; ++i) {
        // Indian figures group by twos: 12,34,567.
        const bool lakh = mark == ',' && body.groups[i] == 2;
        if (body.groups[i] != 3 && !lakh) return false;
    }
    return true;
}

bool readMarks(const Body& body, NumberText& number) {
    const std::size_t count = body.marks.size();
    if (count == 0) return true;
    const char last = body.marks.back();
    const bool uniform = body.marks.find_first_not_of(last) == std::string::npos;
    // The reading of marks: a mark that comes twice parts thousands; the last of two kinds is the
    // decimal mark; one alone with three digits behind it may be either, and its column decides
    // (SheetColumn::valueOf). Anything else is no number.
    const bool canBeDecimal = last == '.' || last == ',';
    if (uniform && (count > 1 || !canBeDecimal)) {
        if (!areThousands(body, count, last)) return false;
        number.groupMark = last;
        if (last == ',') number.mark = DecimalMark::dot;
        if (last == '.') number.mark = DecimalMark::comma;
        return true;
    }
    if (count == 1) {
        // No figure of thousands begins with 0: "0,123" is a decimal fraction.
        const bool thousands = areThousands(body, 1, last) && body.digits.front() != '0';
        if (thousands) {
            number.mark = last == ',' ? DecimalMark::openComma : DecimalMark::openDot;
            number.groupMark = last;
            number.otherDecimals = 3;
            return true;
        }
        number.mark = last == ',' ? DecimalMark::comma : DecimalMark::dot;
        number.decimals = static_cast<int>(body.groups.back());
        return true;
    }
    const char group = body.marks.front();
    // The last mark differs from the others, which are all of one kind.
    const bool oneKindBefore =
        body.marks.find_first_not_of(group) == count - 1; // All but the last are the same.
    if (!canBeDecimal || !oneKindBefore || !areThousands(body, count - 1, group)) return false;
    number.groupMark = group;
    number.mark = last == ',' ? DecimalMark::comma : DecimalMark::dot;
    number.decimals = static_cast<int>(body.groups.back());
    return true;
}

std::optional<int> takeInt(std::string_view& text, std::size_t most) {
    std::size_t length = 0;
    while (length < text.size() && isDigit(text[length])) ++length;
    // No more digits than an int holds: the most is 4.
    if (length == 0 || length > most) return std::nullopt;
    int value = 0;
    for (const char digit : text.substr(0, length)) value = value * 10 + (digit - '0');
    text.remove_prefix(length);
    return value;
}

bool isTimeOfDay(std::string_view rest) {
    if (rest.empty()) return true;
    if (rest.front() != ' ' && rest.front() != 'T' && rest.front() != ',') return false;
    rest.remove_prefix(1);
    skipSpaces(rest);
    if (!takeInt(rest, 2) || !take(rest, ":")) return false;
    // Only the hour is read; what may follow is known by its letters.
    return rest.find_first_not_of("0123456789:.+-ZzAaPpMm ") == std::string_view::npos;
}

bool isOnCalendar(int year, int month, int day) {
    if (month < 1 || month > 12 || day < 1) return false;
    constexpr std::array<int, 12> kDays{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2 && day == 29) return leap;
    return day <= kDays[static_cast<std::size_t>(month - 1)];
}

int monthNamed(std::string_view word) {
    // English, German and French; the shorter rows are filled up with names they have already.
    constexpr std::array<std::array<std::string_view, 5>, 12> kNames{{
        {"jan", "january", "januar", "jän", "jänner"},
        {"feb", "february", "februar", "feber", "febr"},
        {"mar", "march", "märz", "mär", "mrz"},
        {"apr", "april", "avr", "avril", "apr"},
        {"may", "mai", "may", "mai", "may"},
        {"jun", "june", "juni", "juin", "jun"},
        {"jul", "july", "juli", "juillet", "jul"},
        {"aug", "august", "août", "aout", "aug"},
        {"sep", "september", "sept", "septembre", "sep"},
        {"oct", "october", "okt", "oktober", "octobre"},
        {"nov", "november", "novembre", "nov", "nov"},
        {"dec", "december", "dez", "dezember", "décembre"},
    }};
    const std::string lower = kelvane::text::lowercased(word);
    for (std::size_t month = 0; month < kNames.size(); ++month) {
        if (std::ranges::find(kNames[month], lower) != kNames[month].end()) {
            return static_cast<int>(month) + 1;
        }
    }
    return 0;
}

std::optional<DateText> readNamedDate(std::string_view text) {
    const auto takeMonth = [&text] {
        std::size_t length = 0;
        while (length < text.size() &&
               (isLetter(text[length]) || static_cast<unsigned char>(text[length]) >= 0x80))
            ++length;
        const int month = monthNamed(text.substr(0, length));
        text.remove_prefix(length);
        take(text, ".");
        return month;
    };
    const auto takeGap = [&text] {
        const std::size_t before = text.size();
        while (!text.empty() && (text.front() == ' ' || text.front() == '-' ||
                                 text.front() == ',' || text.front() == '.'))
            text.remove_prefix(1);
        return text.size() < before;
    };
    // Names tell which is the month, so the order is sure.
    DateText date{DateForm::monthName, DayOrder::dayFirst, true, true};
    std::optional<int> day;
    int month = 0;
    if (!text.empty() && isDigit(text.front())) {
        day = takeInt(text, 2);
        if (!day || !takeGap()) return std::nullopt;
        month = takeMonth();
    } else {
        date.order = DayOrder::monthFirst;
        month = takeMonth();
        if (month == 0 || !takeGap()) return std::nullopt;
        day = takeInt(text, 2);
    }
    if (!day || month == 0 || !takeGap()) return std::nullopt;
    const std::size_t before = text.size();
    const std::optional<int> year = takeInt(text, 4);
    if (!year || !isTimeOfDay(text)) return std::nullopt;
    date.fullYear = before - text.size() == 4;
    // Of two digits a year of this century is meant; for the calendar it only decides the 29th of
    // February.
    date.possible = isOnCalendar(date.fullYear ? *year : 2000 + *year, month, *day);
    return date;
}

bool isIn(std::string_view text, std::initializer_list<std::string_view> list) {
    return std::ranges::find(list, text) != list.end();
}

} // namespace

std::optional<NumberText> readNumber(std::string_view text) {
    text = trimmedCell(text);
    if (text.empty() || text.size() > kLongestNumber) return std::nullopt;
    NumberText number;
    bool negative = false;
    // Accountants write losses in parentheses.
    if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
        negative = true;
        text = trimmedCell(text.substr(1, text.size() - 2));
    }
    // One before the currency or one behind it: "-$5" and "$-5".
    const auto takeSign = [&] {
        if (takeMinus(text))
            negative = !negative;
        else if (!take(text, "+"))
            return;
        skipSpaces(text);
    };
    takeSign();
    number.currency = takeCurrency(text);
    if (!number.currency.empty()) {
        skipSpaces(text);
        takeSign();
    }
    const std::optional<Body> body = takeBody(text);
    if (!body || !readMarks(*body, number)) return std::nullopt;

    int exponent = 0;
    if (!text.empty() && (text.front() == 'e' || text.front() == 'E')) {
        std::string_view rest = text.substr(1);
        const bool down = take(rest, "-");
        if (!down) take(rest, "+");
        const std::optional<int> power = takeInt(rest, 3);
        // "e" may also begin a unit or a word; then it is no number.
        if (!power) return std::nullopt;
        exponent = down ? -*power : *power;
        number.scientific = true;
        text = rest;
    }
    skipSpaces(text);
    if (take(text, "%"))
        number.percent = true;
    else if (number.currency.empty()) {
        number.currency = takeCurrency(text);
        const auto unit = std::ranges::find(kUnits, text);
        // Units are compared whole, so that "m" is not the beginning of "min".
        if (number.currency.empty() && unit != kUnits.end()) {
            number.unit = *unit;
            text = {};
        }
    }
    // A sign behind the figure, as some ledgers have it.
    if (takeMinus(text)) negative = !negative;
    if (!text.empty()) return std::nullopt;

    number.value = valueOf(body->digits, static_cast<std::size_t>(number.decimals), exponent);
    number.other = number.value;
    if (number.mark == DecimalMark::openComma || number.mark == DecimalMark::openDot) {
        number.other =
            valueOf(body->digits, static_cast<std::size_t>(number.otherDecimals), exponent);
    } else {
        number.otherDecimals = number.decimals;
    }
    if (negative) {
        number.value = -number.value;
        number.other = -number.other;
    }
    return number;
}

std::optional<DateText> readDate(std::string_view text) {
    text = trimmedCell(text);
    if (text.size() < kShortestDate || text.size() > kLongestDate) return std::nullopt;
    const std::string_view whole = text;
    std::string_view rest = text;
    std::string_view before = rest;
    const std::optional<int> first = takeInt(rest, 4);
    const std::size_t firstDigits = before.size() - rest.size();
    // Four digits at once are a year in front, or the number of something.
    if (!first || rest.empty()) return readNamedDate(whole);
    const char mark = rest.front();
    if (mark != '-' && mark != '/' && mark != '.') return readNamedDate(whole);
    rest.remove_prefix(1);
    const std::optional<int> second = takeInt(rest, 2);
    if (!second) return readNamedDate(whole);
    // Two marks that differ make no date.
    if (rest.empty() || rest.front() != mark) return std::nullopt;
    rest.remove_prefix(1);
    before = rest;
    const std::optional<int> third = takeInt(rest, 4);
    const std::size_t thirdDigits = before.size() - rest.size();
    if (!third || !isTimeOfDay(rest)) return std::nullopt;

    DateText date;
    // A year in front has one order everywhere but in name: month, then day.
    if (firstDigits == 4) {
        if (thirdDigits > 2 || *first < kFirstYear || *first > kLastYear) return std::nullopt;
        date.form = mark == '-'   ? DateForm::isoDashes
                    : mark == '/' ? DateForm::isoSlashes
                                  : DateForm::dots;
        date.possible = isOnCalendar(*first, *second, *third);
        return date;
    }
    if (firstDigits > 2 || (thirdDigits != 4 && thirdDigits != 2)) return std::nullopt;
    date.fullYear = thirdDigits == 4;
    if (date.fullYear && (*third < kFirstYear || *third > kLastYear)) return std::nullopt;
    // See readNamedDate() for the century.
    const int year = date.fullYear ? *third : 2000 + *third;
    // With dots the day is taken to come first.
    const bool dayFirst = isOnCalendar(year, *second, *first);
    const bool monthFirst = mark != '.' && isOnCalendar(year, *first, *second);
    date.form = mark == '.' ? DateForm::dots : mark == '/' ? DateForm::slashes : DateForm::dashes;
    date.possible = dayFirst || monthFirst;
    if (dayFirst == monthFirst && mark != '.') {
        date.order = DayOrder::either;
        // Past the calendar in both readings, but one of them has at least a month.
        if (!dayFirst && *second <= 12 && *first > 12) date.order = DayOrder::dayFirst;
        if (!dayFirst && *first <= 12 && *second > 12) date.order = DayOrder::monthFirst;
    } else {
        date.order = monthFirst ? DayOrder::monthFirst : DayOrder::dayFirst;
    }
    return date;
}

std::string_view example(DateForm form, DayOrder order) {
    const bool monthFirst = order == DayOrder::monthFirst;
    switch (form) {
    case DateForm::isoDashes:
        return "2024-01-31";
    case DateForm::isoSlashes:
        return "2024/01/31";
    case DateForm::dots:
        return order == DayOrder::yearFirst ? "2024.01.31" : "31.01.2024";
    case DateForm::slashes:
        return monthFirst ? "01/31/2024" : "31/01/2024";
    case DateForm::dashes:
        return monthFirst ? "01-31-2024" : "31-01-2024";
    case DateForm::monthName:
        return monthFirst ? "Jan 31, 2024" : "31 Jan 2024";
    }
    return "2024-01-31";
}

bool isFormulaError(std::string_view text) {
    text = trimmedCell(text);
    // Err:502 and the like are LibreOffice's.
    if (text.size() < kShortestError || text.size() > kLongestError) return false;
    if (text.starts_with("Err:")) {
        return text.size() == 7 && text[4] == '5' && isDigit(text[5]) && isDigit(text[6]);
    }
    // In English, German, French and Spanish or Portuguese, as the programs write them into files.
    return isIn(text,
                {"#REF!",   "#DIV/0!", "#VALUE!",  "#NAME?",  "#N/A",     "#NUM!",   "#NULL!",
                 "#SPILL!", "#CALC!",  "#FIELD!",  "#ERROR!", "#CYCLE!",  "#WERT!",  "#BEZUG!",
                 "#NV",     "#ZAHL!",  "#VALEUR!", "#NOM?",   "#NOMBRE?", "#VALOR!", "#NOME?"});
}

bool isPlaceholder(std::string_view text) {
    text = trimmedCell(text);
    if (text.size() < 2 || text.size() > kLongestPlaceholder) return false;
    const std::string lower = kelvane::text::lowercased(text);
    if (isIn(lower, {"tbd",           "tbd.",    "tbc",         "tba",         "todo",
                     "to do",         "fixme",   "placeholder", "asdf",        "lorem ipsum",
                     "lorem",         "[tbd]",   "<tbd>",       "(tbd)",       "to be determined",
                     "to be defined", "fill in", "fill me in",  "insert here", "dummy",
                     "changeme"}))
        return true;
    // Runs of one sign that people type to come back to. A single one may be an answer.
    for (const char letter : {'x', '?', '#'}) {
        const std::size_t least = letter == 'x' ? 3 : 2;
        if (lower.size() >= least && lower.find_first_not_of(letter) == std::string::npos)
            return true;
    }
    return false;
}

bool isNoValue(std::string_view text) {
    text = trimmedCell(text);
    if (text.size() > kLongestNoValue) return false;
    const std::string lower = kelvane::text::lowercased(text);
    return isIn(lower, {"",
                        "-",
                        "--",
                        "–",
                        "—",
                        "n/a",
                        "na",
                        "n.a.",
                        "none",
                        "nil",
                        "null",
                        "nan",
                        "k.a.",
                        "k. a.",
                        "not applicable",
                        ".",
                        "..",
                        "…",
                        "*",
                        "x",
                        "empty",
                        "(empty)",
                        "blank",
                        "(blank)",
                        "missing",
                        "not available",
                        "no data",
                        "n.d.",
                        "<na>",
                        "<null>"});
}

RowKind rowKindOf(std::string_view label) {
    label = trimmedCell(label);
    if (label.empty() || label.size() > kLongestSummary) return RowKind::data;
    std::string lower = kelvane::text::lowercased(label);
    // A label ends in a colon or not.
    while (!lower.empty() && (lower.back() == ':' || lower.back() == ' ')) lower.pop_back();
    const auto startsWord = [&lower](std::string_view word) {
        return lower.starts_with(word) &&
               (lower.size() == word.size() || !isLetter(lower[word.size()]));
    };
    const auto endsWord = [&lower](std::string_view word) {
        return lower.ends_with(word) &&
               (lower.size() == word.size() || !isLetter(lower[lower.size() - word.size() - 1]));
    };
    // Before the totals, since some of these end in that word.
    for (const std::string_view word :
         {"subtotal", "sub-total", "sub total", "zwischensumme", "sous-total"}) {
        if (startsWord(word) || endsWord(word)) return RowKind::subtotal;
    }
    if (isIn(lower, {"total", "totals", "grand total", "overall total", "sum", "summe", "gesamt",
                     "gesamtsumme", "somme", "suma", "totaal", "totale", "insgesamt", "overall",
                     "total general", "total général", "total (all)"}))
        return RowKind::total;
    // These begin a label; the words below have to be all of it.
    for (const std::string_view word : {"average", "avg", "median", "durchschnitt", "mittelwert",
                                        "moyenne", "std dev", "% of total"}) {
        if (startsWord(word)) return RowKind::otherSummary;
    }
    // These are names and ordinary words as well.
    if (isIn(lower, {"min", "max", "mean", "minimum", "maximum", "variance", "difference", "growth",
                     "change", "percentage", "in %"}))
        return RowKind::otherSummary;
    for (const std::string_view word : {"total", "totals", "summe", "gesamt", "somme"}) {
        if (startsWord(word) || endsWord(word)) return RowKind::groupTotal;
    }
    return RowKind::data;
}

} // namespace trevix
