#include "critics/engines/foreign_fault.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <charconv>
#include <optional>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

NotUnderstood notUnderstood() {
    return {"its answer is not understood"};
}

/// A text that is read from the front.
class Reader {
public:
    explicit Reader(std::string_view text) : m_rest(text) {}

    [[nodiscard]] std::string_view rest() const { return m_rest; }

    bool skip(std::string_view word) {
        if (!m_rest.starts_with(word)) return false;
        m_rest.remove_prefix(word.size());
        return true;
    }

    /// Up to the next `end`, which is skipped; absent where there is none.
    std::optional<std::string_view> upTo(std::string_view end) {
        const std::size_t at = m_rest.find(end);
        if (at == std::string_view::npos) return std::nullopt;
        const std::string_view part = m_rest.substr(0, at);
        m_rest.remove_prefix(at + end.size());
        return part;
    }

    std::optional<std::size_t> number() {
        std::size_t value = 0;
        const auto read = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value);
        if (read.ec != std::errc()) return std::nullopt;
        m_rest.remove_prefix(static_cast<std::size_t>(read.ptr - m_rest.data()));
        return value;
    }

    /// The next line without its end; absent behind the last.
    std::optional<std::string_view> line() {
        if (m_rest.empty()) return std::nullopt;
        const std::size_t at = m_rest.find('\n');
        const std::string_view line = m_rest.substr(0, at);
        m_rest.remove_prefix(at == std::string_view::npos ? m_rest.size() : at + 1);
        return line;
    }

private:
    std::string_view m_rest;
};

ForeignFault faultAt(std::string_view code, std::string_view level, std::size_t line,
                     std::size_t column, std::string_view message) {
    return {std::string(code),
            text::lowerAscii(level),
            {},
            line,
            column,
            text::repairedUtf8(text::trimmed(message))};
}

/// Skips the name that the file was given by us: "work.sh" and no more, or a path that ends in it.
bool skipFile(Reader& reader) {
    const std::string_view rest = reader.rest();
    const std::size_t colon = rest.find(':');
    if (colon == std::string_view::npos) return false;
    const std::string_view path = rest.substr(0, colon);
    const std::string_view name = path.substr(path.rfind('/') + 1);
    if (!name.starts_with("work.")) return false;
    return reader.skip(path) && reader.skip(":");
}

ForeignReading onlyFault(std::optional<ForeignFault> fault) {
    if (!fault) return notUnderstood();
    return std::vector{*std::move(fault)};
}

} // namespace

ForeignReading readCppcheck(std::string_view output) {
    std::vector<ForeignFault> faults;
    Reader lines(output);
    while (const auto each = lines.line()) {
        if (each->empty()) continue;
        Reader fields(*each);
        const auto level = fields.upTo("\t");
        const auto code = fields.upTo("\t");
        const auto line = fields.number();
        const bool tab = fields.skip("\t");
        const auto column = fields.number();
        if (!level || !code || !line || !tab || !column || !fields.skip("\t")) {
            return notUnderstood();
        }
        if (faults.size() == kMostForeignFaults) break;
        faults.push_back(faultAt(*code, *level, *line, *column, fields.rest()));
    }
    return faults;
}

ForeignReading readYamllint(std::string_view output) {
    std::vector<ForeignFault> faults;
    Reader lines(output);
    while (const auto each = lines.line()) {
        if (each->empty()) continue;
        Reader fields(*each);
        if (!skipFile(fields)) return notUnderstood();
        const auto line = fields.number();
        const bool colon = fields.skip(":");
        const auto column = fields.number();
        if (!line || !colon || !column || !fields.skip(": [")) return notUnderstood();
        const auto level = fields.upTo("] ");
        const std::size_t open = fields.rest().rfind('(');
        if (!level || open == std::string_view::npos || !fields.rest().ends_with(')')) {
            return notUnderstood();
        }
        const std::string_view code = fields.rest().substr(open + 1);
        if (faults.size() == kMostForeignFaults) break;
        faults.push_back(faultAt(code.substr(0, code.size() - 1), *level, *line, *column,
                                 fields.rest().substr(0, open)));
    }
    return faults;
}

ForeignReading readBash(std::string_view errors) {
    Reader lines(errors);
    while (const auto each = lines.line()) {
        Reader fields(*each);
        if (!skipFile(fields) || !fields.skip(" line ")) continue;
        const auto line = fields.number();
        if (!line || !fields.skip(": ") || fields.rest().starts_with("warning:")) continue;
        return onlyFault(faultAt(kSyntaxCode, "error", *line, 0, fields.rest()));
    }
    return notUnderstood();
}

ForeignReading readNode(std::string_view errors) {
    Reader lines(errors);
    const auto first = lines.line();
    if (!first) return notUnderstood();
    Reader place(*first);
    const auto line = skipFile(place) ? place.number() : std::nullopt;
    const auto quoted = lines.line();
    auto mark = lines.line();
    if (!line || !place.rest().empty() || !quoted || !mark) return notUnderstood();
    // Tabs stand in the mark's line as in the quoted one, so that its width is the column.
    std::size_t column = 0;
    if (const std::size_t at = mark->find('^'); at != std::string_view::npos) column = at + 1;
    while (const auto each = lines.line()) {
        Reader message(*each);
        if (!message.skip("SyntaxError: ")) continue;
        // Types and markup inside the code are the languages of other programs.
        if (message.rest() == "Unexpected token '<'" || message.rest() == "Unexpected token ':'") {
            return NotUnderstood{"it does not read this dialect of JavaScript"};
        }
        return onlyFault(faultAt(kSyntaxCode, "error", *line, column, message.rest()));
    }
    return notUnderstood();
}

ForeignReading readXmllint(std::string_view errors) {
    Reader lines(errors);
    while (const auto each = lines.line()) {
        Reader fields(*each);
        const auto line = skipFile(fields) ? fields.number() : std::nullopt;
        if (!line || !fields.skip(": ")) continue;
        const auto kind = fields.upTo(" : ");
        if (!kind || !kind->ends_with("error")) continue;
        return onlyFault(faultAt(kSyntaxCode, "error", *line, 0, fields.rest()));
    }
    return notUnderstood();
}

ForeignReading readGofmt(std::string_view errors) {
    Reader lines(errors);
    while (const auto each = lines.line()) {
        Reader fields(*each);
        const auto line = skipFile(fields) ? fields.number() : std::nullopt;
        const bool colon = fields.skip(":");
        const auto column = fields.number();
        if (!line || !colon || !column || !fields.skip(": ")) continue;
        return onlyFault(faultAt(kSyntaxCode, "error", *line, *column, fields.rest()));
    }
    return notUnderstood();
}

} // namespace trevix
