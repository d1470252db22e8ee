#include "catalog/catalog_file.h"

#include "text/json_shape.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <utility>

namespace kelvane {

namespace {

using nlohmann::json;

// What a hostile file can make of its bytes is decided before anything is built from them: an app
// takes 360 bytes however short its entry is, and the tree that the parser builds about 100 for
// each value, so this bound and the one on bytes hold decoding to some 300 MB. The shipped catalog,
// a thousand apps, has 20,000 values.
constexpr std::size_t kMostValues = 500'000;

/// Where a value stands: a chain that leads out to the root. Spelled out only for a message.
struct Place {
    const Place* outer = nullptr; ///< Absent for the root.
    std::string_view key = {};    ///< Empty for an element of a list.
    std::size_t index = 0;

    [[nodiscard]] std::string path() const {
        // Written only when it is asked for, which is once, in the message of the refusal.
        if (outer == nullptr) return {};
        std::string path = outer->path();
        if (key.empty()) return path + "[" + std::to_string(index) + "]";
        if (!path.empty()) path += ".";
        return path.append(key);
    }
};

[[noreturn]] void refuse(const Place& place, const std::string& why) {
    const std::string path = place.path();
    throw CatalogError((path.empty() ? "the root" : path) + ": " + why);
}

void require(bool typeIsRight, const Place& place, const char* type, const json& value) {
    if (!typeIsRight) {
        refuse(place, std::string("expected ") + type + ", found " + value.type_name());
    }
}

// The tree is taken apart: texts move out of it.

void take(json& value, const Place& place, std::string& to) {
    require(value.is_string(), place, "string", value);
    to = std::move(value.get_ref<std::string&>());
}

void take(json& value, const Place& place, bool& to) {
    require(value.is_boolean(), place, "boolean", value);
    to = value.get<bool>();
}

void take(json& value, const Place& place, CatalogCategory& to);
void take(json& value, const Place& place, CatalogApp& to);

template <typename Element>
void take(json& value, const Place& place, std::vector<Element>& to) {
    require(value.is_array(), place, "array", value);
    // Elements are made first and filled then, so that each can be told by its place.
    to.resize(value.size());
    for (std::size_t i = 0; i < to.size(); ++i) take(value[i], {&place, {}, i}, to[i]);
}

/// The members of one object.
class Members {
public:
    Members(json& object, const Place& place) : m_object(object), m_place(place) {
        require(object.is_object(), place, "object", object);
    }

    /// Leaves `to` as it is when the member is missing or null, and says whether it was there.
    template <typename Value>
    bool optional(std::string_view key, Value& to) {
        const auto found = m_object.find(key);
        if (found == m_object.end() || found->is_null()) return false;
        take(*found, {&m_place, key}, to);
        return true;
    }

    template <typename Value>
    void required(std::string_view key, Value& to) {
        if (!optional(key, to)) refuse(m_place, "\"" + std::string(key) + "\" is missing");
    }

private:
    json& m_object;
    const Place& m_place;
};

void take(json& value, const Place& place, CatalogCategory& to) {
    Members members(value, place);
    members.required("id", to.id);
    members.required("label", to.label);
}

void take(json& value, const Place& place, CatalogApp& to) {
    Members members(value, place);
    members.required("id", to.id);
    members.required("name", to.name);
    members.optional("category", to.category);
    members.optional("vertical", to.vertical);
    members.optional("bundle_ids", to.bundleIds);
    members.optional("web_hosts", to.webHosts);
    members.optional("modalities", to.modalities);
    // The first modality stands for a primary one that is not stated.
    if (!members.optional("primary_modality", to.primaryModality) && !to.modalities.empty()) {
        to.primaryModality = to.modalities.front();
    }
    members.optional("capture", to.capture);
    members.optional("connector", to.connector);
    members.optional("tier", to.tier);
    members.optional("workflow_nodes", to.workflowNodes);
    members.optional("is_browser", to.isBrowser);
}

json parsed(std::string_view bytes) {
    if (bytes.size() > kMostCatalogBytes) {
        throw CatalogError("larger than " + std::to_string(kMostCatalogBytes) + " bytes");
    }
    // Looked at before anything is built: a parser would build what the bytes ask for.
    const text::JsonShape shape = text::jsonShape(bytes);
    if (shape.hasNul) throw CatalogError("a NUL byte is not JSON"); // the parser would end there
    if (shape.depth > text::kDeepestJson) {
        throw CatalogError("nested deeper than " + std::to_string(text::kDeepestJson) + " levels");
    }
    if (shape.values > kMostValues) {
        throw CatalogError("more than " + std::to_string(kMostValues) + " values");
    }
    try {
        return json::parse(bytes);
    } catch (const json::exception& error) {
        throw CatalogError(error.what());
    }
}

} // namespace

CatalogFile decodeCatalogFile(std::string_view bytes) {
    json tree = parsed(bytes);
    const Place root;
    // Members that are not known are passed over, so that a later catalog can be read.
    Members members(tree, root);
    CatalogFile file;
    std::string schema; // has to be a string, and that is all
    members.optional("schema", schema);
    members.optional("version", file.version);
    members.optional("modalities", file.modalities);
    members.optional("categories", file.categories);
    members.required("apps", file.apps);
    return file;
}

} // namespace kelvane
