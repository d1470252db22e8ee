#include "critics/flow/python_flow_values.h"

#include <bit>

namespace trevix::python_flow {

Value joined(const Value& a, const Value& b) {
    if (!a.isOfStranger()) {
        Value value = b;
        if (!b.isOfStranger()) value.head = a.head;
        if (!b.isOfStranger() && a.kind != Value::Kind::plain) value.kind = a.kind;
        return value;
    }
    if (!b.isOfStranger()) return a;
    Value value = a;
    // Of two, the one that can do more.
    if (std::popcount(a.safe) > std::popcount(b.safe)) value = b;
    value.leads = a.leads || b.leads;
    return value;
}

Value put(const Value& left, const Value& right) {
    Value value = joined(left, right);
    value.head = left.head;
    if (!left.isOfStranger() && right.isOfStranger()) {
        value.leads = !left.head.empty() && leavesHostOpen(left.head);
    } else if (left.isOfStranger()) {
        value.leads = left.leads;
    }
    value.kind = left.kind == Value::Kind::words ? left.kind : Value::Kind::plain;
    return value;
}

Value filled(const Value& form, const Value& values, std::string_view mark) {
    Value value = joined(form, values);
    value.head = form.head.substr(0, form.head.find(mark));
    if (values.isOfStranger() && !form.isOfStranger()) {
        value.leads =
            form.head.empty() ? false : form.head.starts_with(mark) || leavesHostOpen(value.head);
    }
    value.kind = Value::Kind::plain;
    return value;
}

bool leavesHostOpen(std::string_view head) {
    if (head.empty()) return true;
    if (head == "/" || head == "http:" || head == "https:") return true;
    const std::size_t slashes = head.find("//");
    const bool address =
        slashes == 0 || head.starts_with("http://") || head.starts_with("https://");
    return address && head.find('/', slashes + 2) == std::string_view::npos;
}

std::string_view inner(std::string_view literal) {
    const std::size_t quote = literal.find_first_of("\"'");
    if (quote == std::string_view::npos) return {};
    literal.remove_prefix(quote);
    const std::size_t marks =
        literal.starts_with("\"\"\"") || literal.starts_with("'''") ? 3 : std::size_t{1};
    if (literal.size() < 2 * marks) return {};
    return literal.substr(marks, literal.size() - 2 * marks);
}

} // namespace trevix::python_flow
