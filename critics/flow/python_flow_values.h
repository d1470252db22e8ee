// What following a stranger's text through Python knows: where it comes in, what a value still can
// do, and what a function does with what it is given.
//
// Values and functions over them; any thread. Names are pieces of the text that is read, which must
// outlive them.

#pragma once

#include "critics/flow/flow.h"
#include "critics/syntax/syntax_tree.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix::python_flow {

using Index = SyntaxTree::Index;
constexpr Index kNone = SyntaxTree::kNone;

/// One bit for each danger.
using Dangers = std::uint16_t;
constexpr Dangers kAll = 0xffff;

constexpr Dangers bit(Danger danger) {
    return static_cast<Dangers>(1U << static_cast<unsigned>(danger));
}
constexpr Dangers bits(std::initializer_list<Danger> dangers) {
    Dangers all = 0;
    for (const Danger danger : dangers) all = static_cast<Dangers>(all | bit(danger));
    return all;
}

/// A program of the command line opens and loads what it is told to, and is scripted; only what
/// runs otherwise is asked about.
constexpr Dangers kOfPerson = bits({Danger::code, Danger::command, Danger::query});
/// What is decided by the host of an address.
constexpr Dangers kWhereTo = bits({Danger::address, Danger::redirect});
constexpr Dangers kOfNetwork = bits(
    {Danger::code, Danger::command, Danger::query, Danger::load, Danger::script, Danger::module});

/// Where something comes in. Number 0 is nobody's.
struct Source {
    Origin origin = Origin::request;
    std::size_t offset = 0;
    std::string_view name;
    Dangers dangers = 0;
    /// The parameter of the function that is looked at, counted from 1, while its callers are not
    /// known; else 0.
    std::size_t parameter = 0;
};

/// What is known of a value.
struct Value {
    enum class Kind : std::uint8_t {
        plain,
        request, ///< The object of a request itself.
        file,    ///< A file that came with a request.
        path,    ///< An object that opens the file that it names.
        words,   ///< A list that begins with a word of the program's own, and with no shell.
    };
    std::uint32_t source = 0;
    Dangers safe = 0; ///< Dangers that are no more, or that `checks` takes away.
    Kind kind = Kind::plain;
    /// Whether the stranger's text stands at its beginning, or behind so little that it decides
    /// all.
    bool leads = true;
    Index built = kNone;      ///< Where it was put together last.
    std::uint32_t checks = 0; ///< It says whether the text of that source is as it should be.
    std::string_view head;    ///< The words in quotes that it begins with.

    [[nodiscard]] bool isOfStranger() const { return source != 0; }
};

/// A source whose text is as it should be, and the dangers that are over by that.
struct Check {
    std::uint32_t source = 0; ///< 0 where nothing is checked.
    Dangers dangers = kAll;
};
/// The sources whose text is as it should be where a condition holds, and where it does not.
struct Checks {
    std::vector<Check> whenTrue;
    std::vector<Check> whenFalse;
};

/// What a call of a function of the same text does with what it is given.
struct Summary {
    struct Arrival {
        Flow flow;
        Dangers safe = 0;
        std::size_t parameter = 0; ///< Counted from 1.
    };
    std::vector<Arrival> arrivals;
    /// For each parameter, whether it comes back, and what it can no longer do then.
    std::vector<std::pair<bool, Dangers>> passes;
    Value gives; ///< Of a stranger, whatever the arguments are.
};

struct Function {
    Index node = kNone;
    std::string_view name;
    std::vector<std::string_view> parameters;
    bool method = false;
    bool answersPage = false;  ///< What it returns is shown by a browser.
    bool answersEvent = false; ///< It answers with a page among other things.
    Summary summary;
};

struct Argument {
    std::string_view name; ///< Empty for those by place.
    Index node = kNone;
    Value value;
};

/// What may be either of the two: a stranger's rather than the program's own, and of two of
/// strangers the one that can do more.
[[nodiscard]] Value joined(const Value& a, const Value& b);

/// One text behind another.
[[nodiscard]] Value put(const Value& left, const Value& right);

/// A text with places for values. `mark` is what a place begins with: "%", "{".
[[nodiscard]] Value filled(const Value& form, const Value& values, std::string_view mark);

/// Whether an address that begins so may still lead to any host.
[[nodiscard]] bool leavesHostOpen(std::string_view head);

/// What stands between the quotes of a literal; empty for what is none.
[[nodiscard]] std::string_view inner(std::string_view literal);

} // namespace trevix::python_flow
