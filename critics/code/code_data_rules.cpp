// Data: JSON must parse, YAML must keep to the rules that most broken files break.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"

#include "text/json_shape.h"
#include "text/letters.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kJson = declared<WorkKind::code>("code.json_syntax");
constexpr GradedRule kJsonKey = declared<WorkKind::code>("code.json_duplicate_key");
constexpr GradedRule kYaml = declared<WorkKind::code>("code.yaml_syntax");

/// Takes the events of the parser and keeps what the rules need. Events, not a document: what is
/// asked for takes no more memory than the keys of what is open.
class JsonListener : public nlohmann::json::json_sax_t {
public:
    /// Without `keepsKeys` no double keys are found, and deep data costs no memory for its levels.
    /// A set for each level that is open: text of brackets alone would have as many levels as
    /// bytes.
    explicit JsonListener(bool keepsKeys) : m_keepsKeys(keepsKeys) {}

    std::optional<std::size_t> faultAt;
    std::vector<std::string> doubleKeys;

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override {
        if (m_keepsKeys) m_keys.emplace_back();
        return true;
    }
    bool key(string_t& name) override {
        // Twice what is listed, so that the count of the rest can be told.
        if (!m_keys.empty() && !m_keys.back().insert(name).second &&
            doubleKeys.size() < 2 * kMostFindingsPerRule) {
            doubleKeys.push_back(name);
        }
        return true;
    }
    bool end_object() override {
        if (!m_keys.empty()) m_keys.pop_back();
        return true;
    }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception&) override {
        // The parser counts the bytes that it has read, the faulty one included.
        faultAt = position > 0 ? position - 1 : 0;
        return false;
    }

private:
    bool m_keepsKeys;
    std::vector<std::set<std::string>> m_keys; ///< Of each object that is open.
};

/// One document to a line, as logs have it.
bool isJsonLines(const SourceText& source) {
    std::size_t documents = 0;
    for (std::size_t i = 0; i < source.lineCount(); ++i) {
        const std::string_view line = text::trimmed(source.line(i));
        if (line.empty()) continue;
        // Every line by itself, or the text is one document with a fault.
        if (line[0] != '{' || !nlohmann::json::accept(line)) return false;
        ++documents;
    }
    return documents > 1;
}

std::string_view withoutYamlComment(std::string_view line) {
    char quote = '\0';
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quote != '\0') {
            if (c == '\\' && quote == '"') ++i;
            if (c == quote) quote = '\0';
        } else if ((c == '"' || c == '\'') && (i == 0 || line[i - 1] == ' ' || line[i - 1] == '[' ||
                                               line[i - 1] == '{' || line[i - 1] == ',')) {
            quote = c;
        } else if (c == '#' && (i == 0 || line[i - 1] == ' ')) {
            return line.substr(0, i);
        }
    }
    return line;
}

/// The colon that ends a key, or npos.
std::size_t keyEnd(std::string_view content) {
    std::size_t i = 0;
    if (!content.empty() && (content[0] == '"' || content[0] == '\'')) {
        i = content.find(content[0], 1);
        if (i == std::string_view::npos) return i;
        ++i;
        return i < content.size() && content[i] == ':' ? i : std::string_view::npos;
    }
    for (; i < content.size(); ++i) {
        // A colon without a blank behind it is part of a value: times, addresses.
        if (content[i] == ':' && (i + 1 == content.size() || content[i + 1] == ' ')) return i;
        if (content[i] == '{' || content[i] == '[' || content[i] == '"') break;
    }
    return std::string_view::npos;
}

struct Level {
    std::size_t indent = 0;
    std::set<std::string, std::less<>> keys;
};

// No parser of YAML, which would say little about what is wrong: the slips that people make, line
// by line, and nothing where it is not sure. Flow collections and block texts are passed over,
// since other rules hold there.
class YamlReader {
public:
    YamlReader(const SourceText& source, FindingList& findings)
        : m_source(source),
          m_findings(findings) {}

    void read() {
        for (std::size_t i = 0; i < m_source.lineCount(); ++i) readLine(i);
    }

private:
    void readLine(std::size_t line) {
        const std::string_view raw = m_source.line(line);
        if (text::trimmed(raw).empty()) return;
        const std::size_t lead = raw.find_first_not_of(" \t");
        if (m_blockIndent) {
            if (lead > *m_blockIndent) return; // Text below "key: |".
            m_blockIndent.reset();
        }
        if (m_flow > 0) {
            countFlow(withoutYamlComment(raw));
            return;
        }
        const std::string_view content = text::trimmed(withoutYamlComment(raw.substr(lead)));
        if (content.empty() || content == "---" || content == "...") {
            // A new document has keys of its own.
            if (!content.empty()) m_levels.clear();
            return;
        }
        if (raw.substr(0, lead).find('\t') != std::string_view::npos) {
            report(line, "is indented with a tab, which YAML forbids");
            return;
        }
        readContent(line, content, lead);
    }

    void readContent(std::size_t line, std::string_view content, std::size_t indent) {
        while (content.substr(0, 2) == "- " || content == "-") {
            const std::string_view rest = text::trimmed(content.substr(1));
            // Each item starts keys of its own.
            closeLevels(indent);
            // The rest of the line stands deeper by what the dash and its blanks take.
            indent += rest.empty() ? 1 : static_cast<std::size_t>(rest.data() - content.data());
            content = rest;
            if (content.empty()) return;
        }
        const std::size_t colon = keyEnd(content);
        if (colon == std::string_view::npos) {
            countFlow(content);
            return;
        }
        closeLevels(indent);
        if (m_levels.empty() || m_levels.back().indent < indent) m_levels.push_back({indent, {}});
        const std::string_view key = content.substr(0, colon);
        // "<<" merges another mapping and may come several times.
        if (m_levels.back().indent == indent && key != "<<" && key != "?" &&
            !m_levels.back().keys.insert(std::string(key)).second) {
            report(line, "repeats a key of the same mapping");
            return;
        }
        readValue(line, text::trimmed(content.substr(colon + 1)), indent);
    }

    void readValue(std::size_t line, std::string_view value, std::size_t indent) {
        if (value.empty()) return;
        const char first = value[0];
        if (first == '|' || first == '>') {
            m_blockIndent = indent;
            return;
        }
        if (first == '"' || first == '\'') {
            // A quoted text may run over several lines; only what follows a closed one is judged.
            return;
        }
        if (first == '[' || first == '{') {
            countFlow(value);
            return;
        }
        // Anchors, references and tags: what follows is not looked into.
        if (first == '&' || first == '*' || first == '!') return;
        if (keyEnd(value) != std::string_view::npos) {
            report(line, "has a second “: ” in a value without quotes");
        } else if (first == '@' || first == '`' || first == '%') {
            report(line, "begins a value with a reserved character");
        }
    }

    void countFlow(std::string_view text) {
        char quote = '\0';
        for (std::size_t i = 0; i < text.size(); ++i) {
            const char c = text[i];
            if (quote != '\0') {
                if (c == '\\' && quote == '"') ++i;
                if (c == quote) quote = '\0';
            } else if (c == '"' || (c == '\'' && (i == 0 || !text::isAsciiLetter(text[i - 1])))) {
                quote = c;
            } else if (m_flow > 0 || i == 0) {
                if (c == '[' || c == '{') ++m_flow;
                if ((c == ']' || c == '}') && m_flow > 0) --m_flow;
            }
        }
    }

    void closeLevels(std::size_t indent) {
        while (!m_levels.empty() && m_levels.back().indent > indent) m_levels.pop_back();
    }

    void report(std::size_t line, std::string_view says) {
        m_findings.add(kYaml, m_source.lineStart(line), m_source.line(line).size(), says);
    }

    const SourceText& m_source;
    FindingList& m_findings;
    std::vector<Level> m_levels;
    std::optional<std::size_t> m_blockIndent;
    std::size_t m_flow = 0;
};

} // namespace

void checkJson(const CodeView& view, FindingList& findings) {
    if (view.language != Language::json) return;
    std::string_view text = view.source.text();
    std::size_t skipped = 0;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") skipped = 3;
    text.remove_prefix(skipped);
    JsonListener listener(text::jsonShape(text).depth <= text::kDeepestJson);
    // Without exceptions: the listener hears of the fault.
    nlohmann::json::sax_parse(text, &listener);
    if (listener.faultAt) {
        if (isJsonLines(view.source)) return;
        const std::size_t at = std::min(skipped + *listener.faultAt, view.source.text().size());
        const std::size_t line = view.source.lineAt(at);
        const std::size_t start = view.source.lineStart(line);
        // 60 bytes before the fault, for a line that is a whole document.
        const std::size_t shown = at - start > 60 ? at - 60 : start;
        const std::string_view rest = text::trimmed(view.source.text().substr(at));
        const bool comment = rest.substr(0, 2) == "//" || rest.substr(0, 2) == "/*";
        const std::string place = view.source.place(at);
        if (shown >= view.source.lineEnd(line)) {
            findings.addWith(kJson, at, "the end", "comes before the data is complete");
        } else {
            findings.add(kJson, shown, view.source.lineEnd(line) - shown,
                         comment ? "is no JSON: " + place + " has a comment"
                                 : "is no JSON from " + place + " on");
        }
        return;
    }
    for (const std::string& key : listener.doubleKeys) {
        const std::string quoted = "\"" + key + "\"";
        const std::size_t first = view.source.text().find(quoted);
        // The second place where the key is written. It may be a value or another object's: only
        // the finding's place hangs on it.
        const std::size_t second =
            first == std::string_view::npos ? 0 : view.source.text().find(quoted, first + 1);
        findings.addWith(kJsonKey, second == std::string_view::npos ? first : second, quoted,
                         "is a key that its object has twice");
    }
}

// True when nothing was found, and the grammar may speak.
bool checkYaml(const CodeView& view, FindingList& findings) {
    const std::size_t before = findings.count();
    if (view.language == Language::yaml) YamlReader(view.source, findings).read();
    return findings.count() == before;
}

} // namespace trevix
