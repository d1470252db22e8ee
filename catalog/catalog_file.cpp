#include "catalog/catalog_file.h"

#include "text/json_shape.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace kelvane {

namespace {

using nlohmann::json;

void refuseHostileShape(std::string_view bytes) {
    const auto shape = text::jsonShape(bytes);
    if (shape.hasNul) throw CatalogError("a NUL byte is not JSON");
    if (shape.depth > text::kDeepestJson) {
        throw CatalogError("nested deeper than " + std::to_string(text::kDeepestJson) + " levels");
    }
}

json parse(std::string_view bytes) {
    refuseHostileShape(bytes);
    try {
        return json::parse(bytes);
    } catch (const json::exception& error) {
        throw CatalogError(error.what());
    }
}

// Where in the file a value stands, for messages only: cheap to carry, spelt out when needed.
struct Place {
    const Place* parent = nullptr;
    std::string_view key;             // of a member
    std::optional<std::size_t> index; // of an element

    [[nodiscard]] std::string spelt() const {
        std::string text = parent == nullptr ? std::string() : parent->spelt();
        if (index) return text + "[" + std::to_string(*index) + "]";
        if (!text.empty() && !key.empty()) text += ".";
        return text.append(key);
    }
};

[[noreturn]] void fail(const Place& place, std::string_view what) {
    const std::string spelt = place.spelt();
    throw CatalogError((spelt.empty() ? std::string("the root") : spelt) + ": " +
                       std::string(what));
}

[[noreturn]] void failType(const Place& place, std::string_view wanted, const json& found) {
    fail(place, "expected " + std::string(wanted) + ", found " + found.type_name());
}

void requireObject(const json& value, const Place& place) {
    if (!value.is_object()) failType(place, "object", value);
}

// Strings and lists are moved out of the parsed document, which is thrown away afterwards.

std::string takeString(json& value, const Place& place) {
    if (!value.is_string()) failType(place, "string", value);
    return std::move(value.get_ref<std::string&>());
}

template <typename Element>
std::vector<Element> takeArray(json& value, const Place& place,
                               Element (*takeElement)(json&, const Place&)) {
    if (!value.is_array()) failType(place, "array", value);
    auto& elements = value.get_ref<json::array_t&>();
    std::vector<Element> taken;
    taken.reserve(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        taken.push_back(takeElement(elements[i], Place{&place, {}, i}));
    }
    return taken;
}

// The members of one object.
class Members {
public:
    Members(json& object, const Place& place) : m_place(place) {
        requireObject(object, place);
        m_members = &object.get_ref<json::object_t&>();
    }

    [[nodiscard]] std::string requiredString(const char* key) {
        json* value = present(key);
        if (value == nullptr) fail(m_place, missing(key));
        return takeString(*value, at(key));
    }

    template <typename Element>
    [[nodiscard]] std::vector<Element> requiredArray(const char* key,
                                                     Element (*takeElement)(json&, const Place&)) {
        json* value = present(key);
        if (value == nullptr) fail(m_place, missing(key));
        return takeArray(*value, at(key), takeElement);
    }

    // An optional member replaces the default that stands in `field`.
    void optional(const char* key, std::string& field) {
        if (json* value = present(key)) field = takeString(*value, at(key));
    }

    void optional(const char* key, bool& field) {
        json* value = present(key);
        if (value == nullptr) return;
        if (!value->is_boolean()) failType(at(key), "boolean", *value);
        field = value->get<bool>();
    }

    template <typename Element>
    void optional(const char* key, std::vector<Element>& field,
                  Element (*takeElement)(json&, const Place&)) {
        if (json* value = present(key)) field = takeArray(*value, at(key), takeElement);
    }

    void optional(const char* key, std::vector<std::string>& field) {
        optional(key, field, takeString);
    }

private:
    [[nodiscard]] Place at(const char* key) const { return Place{&m_place, key, std::nullopt}; }

    [[nodiscard]] static std::string missing(const char* key) {
        return "\"" + std::string(key) + "\" is missing";
    }

    // Null counts as missing.
    [[nodiscard]] json* present(const char* key) {
        const auto found = m_members->find(key);
        if (found == m_members->end() || found->second.is_null()) return nullptr;
        return &found->second;
    }

    const Place& m_place;
    json::object_t* m_members = nullptr;
};

CatalogCategory takeCategory(json& value, const Place& place) {
    Members members(value, place);
    CatalogCategory category;
    category.id = members.requiredString("id");
    category.label = members.requiredString("label");
    return category;
}

CatalogApp takeApp(json& value, const Place& place) {
    Members members(value, place);
    CatalogApp app;
    app.id = members.requiredString("id");
    app.name = members.requiredString("name");
    members.optional("category", app.category);
    members.optional("vertical", app.vertical);
    members.optional("bundle_ids", app.bundleIds);
    members.optional("web_hosts", app.webHosts);
    members.optional("modalities", app.modalities);
    if (!app.modalities.empty()) app.primaryModality = app.modalities.front();
    members.optional("primary_modality", app.primaryModality);
    members.optional("capture", app.capture);
    members.optional("connector", app.connector);
    members.optional("tier", app.tier);
    members.optional("workflow_nodes", app.workflowNodes);
    members.optional("is_browser", app.isBrowser);
    return app;
}

} // namespace

CatalogFile decodeCatalogFile(std::string_view bytes) {
    json root = parse(bytes);
    const Place place;
    Members members(root, place);
    CatalogFile file;
    std::string schema; // has to be a string, and that is all
    members.optional("schema", schema);
    members.optional("version", file.version);
    members.optional("modalities", file.modalities);
    members.optional("categories", file.categories, takeCategory);
    file.apps = members.requiredArray("apps", takeApp);
    return file;
}

} // namespace kelvane
