#include "critics/flow/python_names.h"

#include <array>
#include <vector>

namespace trevix {

using Index = SyntaxTree::Index;
constexpr Index kNone = SyntaxTree::kNone;

PythonNames::PythonNames(const SyntaxTree& tree, std::string_view text)
    : m_tree(tree),
      m_text(text) {
    for (Index i = 0; i < tree.nodes.size(); ++i) {
        if (tree.is(i, "import_statement")) readImport(i);
        if (tree.is(i, "import_from_statement")) readImportFrom(i);
    }
}

void PythonNames::readImport(Index node) {
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree[at].field != "name") continue;
        std::string_view module = m_tree.textOf(at, m_text);
        if (m_tree.is(at, "aliased_import")) {
            module = m_tree.textOf(m_tree.child(at, "name"), m_text);
            m_names[m_tree.textOf(m_tree.child(at, "alias"), m_text)] = std::string(module);
        }
        // "import a.b" makes "a" known, which stands for itself.
        for (std::size_t end = module.find('.'); end != std::string_view::npos;
             end = module.find('.', end + 1)) {
            m_modules[std::string(module.substr(0, end))] = true;
        }
        m_modules[std::string(module)] = true;
    }
}

void PythonNames::readImportFrom(Index node) {
    const std::string module(m_tree.textOf(m_tree.child(node, "module_name"), m_text));
    for (std::size_t end = module.find('.'); end != std::string::npos;
         end = module.find('.', end + 1)) {
        m_modules[module.substr(0, end)] = true;
    }
    m_modules[module] = true;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree[at].field != "name") continue;
        Index name = at;
        Index alias = at;
        if (m_tree.is(at, "aliased_import")) {
            name = m_tree.child(at, "name");
            alias = m_tree.child(at, "alias");
        }
        const std::string whole = module + "." + std::string(m_tree.textOf(name, m_text));
        m_names[m_tree.textOf(alias, m_text)] = whole;
        m_modules[whole] = true;
    }
}

std::string PythonNames::full(Index node) const {
    constexpr std::size_t kMostNames = 8;
    std::vector<std::string_view> names;
    std::string root;
    bool called = false;
    const auto add = [&](std::string_view name) { names.push_back(name); };
    std::vector<bool> calls;
    while (node != kNone && names.size() < kMostNames) {
        if (m_tree.is(node, "attribute")) {
            add(m_tree.textOf(m_tree.child(node, "attribute"), m_text));
            calls.push_back(called);
            called = false;
            node = m_tree.child(node, "object");
        } else if (m_tree.is(node, "call")) {
            called = true;
            node = m_tree.child(node, "function");
        } else if (m_tree.is(node, "identifier")) {
            const std::string_view name = m_tree.textOf(node, m_text);
            const auto known = m_names.find(name);
            root = known == m_names.end() ? std::string(name) : known->second;
            break;
        } else {
            root = "?";
            break;
        }
    }
    if (root.empty() && names.empty()) return {};
    if (called && !root.empty()) root += "()";
    for (std::size_t i = names.size(); i > 0; --i) {
        if (!root.empty()) root += '.';
        root += names[i - 1];
        if (calls[i - 1]) root += "()";
    }
    return root;
}

bool PythonNames::imports(std::string_view module) const {
    return m_modules.contains(std::string(module));
}

SyntaxTree::Index firstNamed(const SyntaxTree& tree, SyntaxTree::Index node) {
    for (auto at = tree.firstChild(node); at != SyntaxTree::kNone; at = tree.nextSibling(at)) {
        if (tree[at].named && !tree.is(at, "comment")) return at;
    }
    return SyntaxTree::kNone;
}

std::string_view parameterName(const SyntaxTree& tree, std::string_view text, Index parameter) {
    if (tree.is(parameter, "identifier")) return tree.textOf(parameter, text);
    const Index name = tree.child(parameter, "name");
    if (name != kNone) return tree.textOf(name, text);
    const Index first = tree.firstChild(parameter);
    return tree.is(first, "identifier") ? tree.textOf(first, text) : std::string_view();
}

} // namespace trevix
