#include "catalog/catalog_file.h"

#include "text/json_shape.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kelvane {

namespace {

using nlohmann::json;

/// What the rules say about the value that comes next.
enum class Want { Anything, Text, Flag, Texts, Object, Apps, Categories };

std::string_view nameOf(Want want) {
    switch (want) {
    case Want::Text:
        return "string";
    case Want::Flag:
        return "boolean";
    case Want::Object:
        return "object";
    case Want::Texts:
    case Want::Apps:
    case Want::Categories:
        return "array";
    case Want::Anything:
        break;
    }
    return "anything";
}

/// Where the value of one member goes. Of a key that is not used nothing is kept.
struct Member {
    std::string_view key;
    Want want = Want::Anything;
    std::string* text = nullptr;
    std::vector<std::string>* texts = nullptr;
    bool* flag = nullptr;
    std::string_view missing = {}; ///< The text when the key is missing.
    bool* given = nullptr;         ///< Of a required member.
};

/// One open bracket.
struct Level {
    enum class Kind { Root, App, Category, Apps, Categories, Texts, Ignored };

    explicit Level(Kind theKind) : kind(theKind) {}

    Kind kind;
    Member member;         ///< Of an object: the one whose value comes next.
    std::size_t index = 0; ///< Of a list: the element that comes next.
    bool id = false, name = false, label = false, apps = false; ///< What is required and given.
    /// What is wrong below, each under its member; of a list at most one, under no key. Of a key
    /// that occurs twice the last value counts, so a mistake may yet be taken back.
    std::vector<std::pair<std::string_view, std::string>> mistakes;

    [[nodiscard]] bool isList() const {
        return kind == Kind::Apps || kind == Kind::Categories || kind == Kind::Texts;
    }
};

/// Fills a `CatalogFile` while the parser reads: a document tree is never built.
class Decoder {
public:
    CatalogFile file;

    /// Called when the whole text has been read.
    void finish() const {
        if (!m_mistake.empty()) throw CatalogError(m_mistake);
    }

    // What the parser calls.
    bool null() {
        const Want want = next();
        if (!m_levels.empty() && !m_levels.back().isList()) {
            reset();
        } else if (want != Want::Anything) {
            expected(want, "null");
        }
        return true;
    }
    bool boolean(bool value) {
        const Want want = next();
        if (want == Want::Flag) {
            *m_levels.back().member.flag = value;
        } else if (want != Want::Anything) {
            expected(want, "boolean");
        }
        return true;
    }
    bool number_integer(json::number_integer_t) { return number(); }
    bool number_unsigned(json::number_unsigned_t) { return number(); }
    bool number_float(json::number_float_t, const std::string&) { return number(); }
    bool string(std::string& value) {
        const Want want = next();
        if (want == Want::Text) {
            Level& level = m_levels.back();
            if (level.kind == Level::Kind::Texts) {
                m_texts->push_back(std::move(value));
            } else {
                *level.member.text = std::move(value);
                given(level.member);
            }
        } else if (want != Want::Anything) {
            expected(want, "string");
        }
        return true;
    }
    bool binary(json::binary_t&) { return true; } // not in JSON text

    bool start_object(std::size_t) {
        const Want want = next();
        if (want == Want::Object) {
            open(objectHere());
        } else {
            if (want != Want::Anything) expected(want, "object");
            open(Level::Kind::Ignored);
        }
        return true;
    }
    bool key(std::string& name) {
        Level& level = m_levels.back();
        level.member = memberOf(level, name);
        if (!level.mistakes.empty() && !level.member.key.empty()) {
            std::erase_if(level.mistakes,
                          [&](const auto& mistake) { return mistake.first == level.member.key; });
        }
        return true;
    }
    bool end_object() {
        switch (m_levels.back().kind) {
        case Level::Kind::Root:
            require(m_levels.back().apps, "apps");
            break;
        case Level::Kind::App:
            endApp();
            break;
        case Level::Kind::Category:
            require(m_levels.back().id, "id");
            require(m_levels.back().label, "label");
            break;
        default:
            break;
        }
        close();
        return true;
    }

    bool start_array(std::size_t) {
        switch (const Want want = next()) {
        case Want::Texts:
            m_texts = m_levels.back().member.texts;
            m_texts->clear();
            open(Level::Kind::Texts);
            break;
        case Want::Apps:
            file.apps.clear();
            given(m_levels.back().member);
            open(Level::Kind::Apps);
            break;
        case Want::Categories:
            file.categories.clear();
            open(Level::Kind::Categories);
            break;
        default:
            if (want != Want::Anything) expected(want, "array");
            open(Level::Kind::Ignored);
        }
        return true;
    }
    bool end_array() {
        close();
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const json::exception& error) {
        throw CatalogError(error.what());
    }

private:
    /// What may come now; moves on in a list.
    Want next() {
        if (m_levels.empty()) return Want::Object;
        Level& level = m_levels.back();
        ++level.index;
        switch (level.kind) {
        case Level::Kind::Apps:
        case Level::Kind::Categories:
            return Want::Object;
        case Level::Kind::Texts:
            return Want::Text;
        case Level::Kind::Ignored:
            return Want::Anything;
        default:
            return level.member.want;
        }
    }

    [[nodiscard]] Level::Kind objectHere() {
        if (m_levels.empty()) return Level::Kind::Root;
        if (m_levels.back().kind == Level::Kind::Apps) {
            file.apps.emplace_back();
            m_primaryGiven = false;
            return Level::Kind::App;
        }
        file.categories.emplace_back();
        return Level::Kind::Category;
    }

    void open(Level::Kind kind) {
        if (m_levels.size() == text::kDeepestJson) {
            throw CatalogError("nested deeper than " + std::to_string(text::kDeepestJson) +
                               " levels");
        }
        m_levels.emplace_back(kind);
    }

    /// A list or an object that holds a mistake is one.
    void close() {
        auto mistakes = std::move(m_levels.back().mistakes);
        m_levels.pop_back();
        if (!mistakes.empty()) mistake(std::move(mistakes.front().second));
    }

    Member memberOf(Level& level, std::string_view key) {
        switch (level.kind) {
        case Level::Kind::Root:
            return rootMember(level, key);
        case Level::Kind::App:
            return appMember(level, key);
        case Level::Kind::Category:
            return categoryMember(level, key);
        default:
            return {};
        }
    }

    static Member text(std::string_view key, std::string& value, std::string_view missing = {},
                       bool* given = nullptr) {
        return {.key = key, .want = Want::Text, .text = &value, .missing = missing, .given = given};
    }
    static Member texts(std::string_view key, std::vector<std::string>& values) {
        return {.key = key, .want = Want::Texts, .texts = &values};
    }

    Member rootMember(Level& level, std::string_view key) {
        if (key == "schema") return text("schema", m_schema);
        if (key == "version") return text("version", file.version, "0");
        if (key == "modalities") return texts("modalities", file.modalities);
        if (key == "categories") return {.key = "categories", .want = Want::Categories};
        if (key == "apps") return {.key = "apps", .want = Want::Apps, .given = &level.apps};
        return {};
    }

    Member categoryMember(Level& level, std::string_view key) {
        CatalogCategory& category = file.categories.back();
        if (key == "id") return text("id", category.id, {}, &level.id);
        if (key == "label") return text("label", category.label, {}, &level.label);
        return {};
    }

    Member appMember(Level& level, std::string_view key) {
        CatalogApp& app = file.apps.back();
        if (key == "id") return text("id", app.id, {}, &level.id);
        if (key == "name") return text("name", app.name, {}, &level.name);
        if (key == "category") return text("category", app.category, "operations");
        if (key == "vertical") return text("vertical", app.vertical, "operations");
        if (key == "bundle_ids") return texts("bundle_ids", app.bundleIds);
        if (key == "web_hosts") return texts("web_hosts", app.webHosts);
        if (key == "modalities") return texts("modalities", app.modalities);
        if (key == "primary_modality") {
            return text("primary_modality", m_primaryModality, {}, &m_primaryGiven);
        }
        if (key == "capture") return text("capture", app.capture, "screenshot");
        if (key == "connector") return text("connector", app.connector, "native_gui");
        if (key == "tier") return text("tier", app.tier, "full");
        if (key == "workflow_nodes") return texts("workflow_nodes", app.workflowNodes);
        if (key == "is_browser") {
            return {.key = "is_browser", .want = Want::Flag, .flag = &app.isBrowser};
        }
        return {};
    }

    void given(const Member& member) {
        if (member.given != nullptr) *member.given = true;
    }

    /// Null counts as missing, and takes back what the same key said before.
    void reset() {
        const Member& member = m_levels.back().member;
        if (member.given != nullptr) *member.given = false;
        if (member.text != nullptr) *member.text = member.missing;
        if (member.texts != nullptr) member.texts->clear();
        if (member.flag != nullptr) *member.flag = false;
        if (member.want == Want::Apps) file.apps.clear();
        if (member.want == Want::Categories) file.categories.clear();
    }

    void endApp() {
        const Level& level = m_levels.back();
        require(level.id, "id");
        require(level.name, "name");
        CatalogApp& app = file.apps.back();
        if (m_primaryGiven) {
            app.primaryModality = std::move(m_primaryModality);
        } else if (!app.modalities.empty()) {
            app.primaryModality = app.modalities.front();
        }
    }

    bool number() {
        if (const Want want = next(); want != Want::Anything) expected(want, "number");
        return true;
    }

    void require(bool there, std::string_view key) {
        if (there) return;
        // A value of the wrong type is there, and wrong: that is said already.
        auto& mistakes = m_levels.back().mistakes;
        const auto said = [&](const auto& mistake) { return mistake.first == key; };
        if (std::ranges::any_of(mistakes, said)) return;
        mistakes.emplace_back(key, place() + ": \"" + std::string(key) + "\" is missing");
    }

    void expected(Want want, std::string_view found) {
        std::string where = place();
        if (m_levels.empty()) {
            where = "the root";
        } else if (m_levels.back().isList()) {
            where += "[" + std::to_string(m_levels.back().index - 1) + "]";
        } else {
            const std::string_view key = m_levels.back().member.key;
            where = m_levels.size() == 1 ? std::string(key) : where + "." + std::string(key);
        }
        mistake(where + ": expected " + std::string(nameOf(want)) + ", found " +
                std::string(found));
    }

    /// Notes what is wrong with the value that was read last.
    void mistake(std::string what) {
        if (m_levels.empty()) {
            if (m_mistake.empty()) m_mistake = std::move(what);
            return;
        }
        Level& level = m_levels.back();
        if (!level.isList()) {
            level.mistakes.emplace_back(level.member.key, std::move(what));
        } else if (level.mistakes.empty()) {
            level.mistakes.emplace_back(std::string_view(), std::move(what));
        }
    }

    /// Where the innermost open bracket stands.
    [[nodiscard]] std::string place() const {
        std::string text;
        for (std::size_t i = 0; i + 1 < m_levels.size(); ++i) {
            const Level& level = m_levels[i];
            if (level.isList()) {
                text += "[" + std::to_string(level.index - 1) + "]";
            } else {
                text.append(text.empty() ? "" : ".").append(level.member.key);
            }
        }
        return text.empty() ? "the root" : text;
    }

    std::vector<Level> m_levels;
    std::string m_mistake;
    std::vector<std::string>* m_texts = nullptr; ///< The list of texts that is open.
    std::string m_schema;                        ///< Has to be a string, and that is all.
    std::string m_primaryModality;               ///< Of the app that is open.
    bool m_primaryGiven = false;
};

} // namespace

CatalogFile decodeCatalogFile(std::string_view bytes) {
    // The parser would take it for the end.
    if (bytes.find('\0') != std::string_view::npos) throw CatalogError("a NUL byte is not JSON");
    Decoder decoder;
    try {
        json::sax_parse(bytes, &decoder);
    } catch (const json::exception& error) {
        throw CatalogError(error.what());
    }
    decoder.finish();
    return std::move(decoder.file);
}

} // namespace kelvane
