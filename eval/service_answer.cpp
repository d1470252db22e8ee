#include "eval/service_answer.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <utility>
#include <vector>

namespace kelvane::service_answer {

namespace {

using nlohmann::json;

// ---- what is read

/// What is kept of a value: a scalar as it is, of an object these members, of an array its elements
/// reduced in their turn. Without members an object is kept empty, without an element an array.
/// What is not named here costs no memory, however much of it there is.
struct Shape {
    struct Member {
        std::string_view key;
        const Shape* shape;
    };
    std::span<const Member> members;
    const Shape* element = nullptr;
};

constexpr Shape kValue{};

constexpr std::array kFlawMembers{
    Shape::Member{"severity", &kValue}, Shape::Member{"criterion", &kValue},
    Shape::Member{"name", &kValue},     Shape::Member{"detail", &kValue},
    Shape::Member{"evidence", &kValue}, Shape::Member{"description", &kValue},
    Shape::Member{"rule", &kValue},     Shape::Member{"place", &kValue}};
constexpr Shape kFlaw{kFlawMembers};
constexpr Shape kFlaws{{}, &kFlaw};

constexpr std::array kCheckedByMembers{Shape::Member{"engine", &kValue},
                                       Shape::Member{"version", &kValue},
                                       Shape::Member{"knows", &kValue}};
constexpr Shape kCheckedBy{kCheckedByMembers};
constexpr Shape kAllCheckedBy{{}, &kCheckedBy};

constexpr std::array kNotCheckedMembers{Shape::Member{"what", &kValue},
                                        Shape::Member{"why", &kValue},
                                        Shape::Member{"remedy", &kValue}};
constexpr Shape kNotChecked{kNotCheckedMembers};
constexpr Shape kAllNotChecked{{}, &kNotChecked};

constexpr std::array kSummaryMembers{Shape::Member{"band", &kValue},
                                     Shape::Member{"decision", &kValue},
                                     Shape::Member{"score", &kValue},
                                     Shape::Member{"flaws", &kFlaws},
                                     Shape::Member{"checked_by", &kAllCheckedBy},
                                     Shape::Member{"not_checked", &kAllNotChecked}};
constexpr Shape kSummary{kSummaryMembers};

constexpr std::array kProgressMembers{Shape::Member{"warming", &kValue}};
constexpr Shape kProgress{kProgressMembers};
// A run tells its verdict as a summary does.
constexpr std::array kIterationMembers{Shape::Member{"critic_verdict", &kSummary}};
constexpr Shape kIteration{kIterationMembers};

constexpr std::array kAnswerMembers{
    Shape::Member{"job_id", &kValue},      Shape::Member{"keeps_work", &kValue},
    Shape::Member{"status", &kValue},      Shape::Member{"run_id", &kValue},
    Shape::Member{"error", &kValue},       Shape::Member{"detail", &kValue},
    Shape::Member{"message", &kValue},     Shape::Member{"result_summary", &kSummary},
    Shape::Member{"progress", &kProgress}, Shape::Member{"run", &kSummary},
    Shape::Member{"flaws", &kFlaws},       Shape::Member{"iteration", &kIteration},
    Shape::Member{"report", &kValue}};
constexpr Shape kAnswer{kAnswerMembers};

/// Builds what the shapes keep; of all the rest only how deep it is.
class Reader : public nlohmann::json_sax<json> {
public:
    json answer;

    bool null() override { return place(nullptr); }
    bool boolean(bool value) override { return place(value); }
    bool number_integer(std::int64_t value) override { return place(value); }
    bool number_unsigned(std::uint64_t value) override { return place(value); }
    bool number_float(double value, const std::string&) override { return place(value); }
    bool string(std::string& value) override { return place(std::move(value)); }
    bool binary(json::binary_t&) override { return false; } // JSON text has none
    bool start_object(std::size_t) override { return open(json::object()); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(json::array()); }
    bool end_array() override { return close(); }
    bool key(std::string& name) override {
        // Within what is dropped names mean nothing.
        if (m_dropped > 0) return true;
        const auto members = m_open.back().shape->members;
        const auto found = std::ranges::find(members, name, &Shape::Member::key);
        m_next = found == members.end() ? nullptr : found->shape;
        m_key = std::move(name);
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    struct Open {
        json* value;
        const Shape* shape;
    };

    /// The shape that keeps the value that comes next; null when nothing of it is kept. Of arrays
    /// only so many elements are kept, and the rest is passed over: twelve megabytes of empty flaws
    /// would take eight hundred. Within what is dropped the answer stays what it was at its
    /// beginning: neither the name nor the holder changes there.
    [[nodiscard]] const Shape* next() const {
        const Open& holder = m_open.back();
        if (holder.value->is_object()) return m_next;
        return holder.value->size() < kMostElements ? holder.shape->element : nullptr;
    }

    // References into the document stay valid while it grows: each value that is open is the last
    // of its holder, and holders are not added to until it is closed.
    json* put(json value) {
        json& holder = *m_open.back().value;
        if (holder.is_object()) return &(holder[m_key] = std::move(value));
        holder.push_back(std::move(value));
        return &holder.back();
    }

    bool place(json value) {
        // A value without an object around it.
        if (m_open.empty() && m_dropped == 0) return false; // the answer is to be an object
        if (next() != nullptr) put(std::move(value));
        return true;
    }

    bool open(json empty) {
        if (m_open.empty() && m_dropped == 0) {
            if (!empty.is_object()) return false;
            answer = std::move(empty);
            m_open.push_back({&answer, &kAnswer});
            return true;
        }
        const Shape* const shape = next();
        // From the first bracket that is not kept on, only depth is counted.
        if (shape == nullptr) {
            ++m_dropped;
        } else {
            m_open.push_back({put(std::move(empty)), shape});
        }
        return true;
    }

    bool close() {
        if (m_dropped > 0) {
            --m_dropped;
        } else {
            m_open.pop_back();
        }
        return true;
    }

    std::vector<Open> m_open;  // as deep as the shapes, no deeper
    std::size_t m_dropped = 0; // brackets open around what is not kept
    const Shape* m_next = nullptr;
    std::string m_key;
};

// ---- what is mended

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// How many characters of `text` are a number as JSON has it; 0 when it does not begin with one.
std::size_t numberLength(std::string_view text) {
    std::size_t at = 0;
    const auto here = [&] { return at < text.size() ? text[at] : '\0'; };
    const auto digits = [&] {
        const std::size_t first = at;
        while (isDigit(here())) ++at;
        return at > first;
    };
    if (here() == '-') ++at;
    if (here() == '0') {
        ++at;
    } else if (!digits()) {
        return 0;
    }
    if (here() == '.') {
        ++at;
        if (!digits()) return 0;
    }
    if (here() == 'e' || here() == 'E') {
        ++at;
        if (here() == '+' || here() == '-') ++at;
        if (!digits()) return 0;
    }
    return at;
}

// Most numbers are settled by their length alone.
bool isPastDouble(std::string_view number) {
    // The largest double has 309 digits.
    if (number.size() < 309 && number.find_first_of("eE") == std::string_view::npos) return false;
    return !std::isfinite(std::strtod(std::string(number).c_str(), nullptr));
}

/// The code unit of an escape "\uXXXX" at the beginning of `text`; absent when there is none.
std::optional<unsigned> escapedUnit(std::string_view text) {
    if (!text.starts_with("\\u") || text.size() < 6) return std::nullopt;
    unsigned unit = 0;
    for (const char c : text.substr(2, 4)) {
        const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
        if (!isDigit(lower) && (lower < 'a' || lower > 'f')) return std::nullopt;
        unit = unit * 16 + static_cast<unsigned>(isDigit(lower) ? lower - '0' : lower - 'a' + 10);
    }
    return unit;
}

bool isHighSurrogate(unsigned unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(unsigned unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

class Mender {
public:
    // The parser refuses a number that no double holds and half of a surrogate pair, and with them
    // the whole answer, which is otherwise in order. Only what is replaced costs a copy.
    explicit Mender(std::string_view body) : m_body(body) {}

    std::optional<std::string> run() {
        while (m_at < m_body.size()) {
            // Strings are passed as a whole, so digits within them are left alone.
            if (m_body[m_at] == '"') {
                ++m_at;
                passString();
            } else if (m_body[m_at] == '-' || isDigit(m_body[m_at])) {
                passNumber();
            } else {
                ++m_at;
            }
        }
        if (m_taken == 0) return std::nullopt;
        m_text.append(m_body.substr(m_taken));
        return std::move(m_text);
    }

private:
    void passString() {
        while (m_at < m_body.size()) {
            const char c = m_body[m_at];
            if (c == '\\') {
                passEscape();
                continue;
            }
            ++m_at;
            if (c == '"') return;
        }
    }

    void passEscape() {
        const auto unit = escapedUnit(m_body.substr(m_at));
        if (!unit) {
            m_at += 2;
            return;
        }
        if (isHighSurrogate(*unit)) {
            const auto other = escapedUnit(m_body.substr(m_at + 6));
            // Both halves together are one character; what they are is left to the parser.
            if (other && isLowSurrogate(*other)) {
                m_at += 12;
                return;
            }
        }
        if (isHighSurrogate(*unit) || isLowSurrogate(*unit)) {
            replace(6, "\\ufffd");
        } else {
            m_at += 6;
        }
    }

    void passNumber() {
        const std::size_t length = numberLength(m_body.substr(m_at));
        if (length > 0 && isPastDouble(m_body.substr(m_at, length))) {
            replace(length, "null");
        } else {
            // At least one byte, so that it comes to its end whatever stands there.
            m_at += std::max<std::size_t>(length, 1);
        }
    }

    void replace(std::size_t length, std::string_view with) {
        m_text.append(m_body.substr(m_taken, m_at - m_taken)).append(with);
        m_at += length;
        m_taken = m_at;
    }

    std::string_view m_body;
    std::size_t m_at = 0;
    std::size_t m_taken = 0; // of the body, into the text
    std::string m_text;
};

} // namespace

std::optional<std::string> mended(std::string_view body) {
    return Mender(body).run();
}

std::optional<json> read(std::string_view body) {
    if (body.find('\0') != std::string_view::npos) return std::nullopt; // the end, to the parser
    // Before the parser, as it stops at the first fault.
    const auto mendedBody = mended(body);
    Reader reader;
    if (!json::sax_parse(mendedBody ? std::string_view(*mendedBody) : body, &reader)) {
        return std::nullopt;
    }
    return std::move(reader.answer);
}

} // namespace kelvane::service_answer
