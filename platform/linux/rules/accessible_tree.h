// What may be asked of the objects that programs show to assistive technology, and what their
// answers mean.
//
// Programs publish their windows as trees of objects with a role, a set of states and sometimes a
// text. Reading such a tree can hang the program behind it or give away a password, so who may be
// asked what is decided here, from values. Nothing here talks to anybody. The numbers of roles and
// states are those of AT-SPI 2.

#pragma once

#include "platform/linux/rules/window_identity.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {

/// An object: the name of its program on the bus and its path there.
struct AccessibleRef {
    std::string name;
    std::string path;

    // NOLINTNEXTLINE(modernize-use-nullptr): the 0 is of what the compiler makes
    auto operator<=>(const AccessibleRef&) const = default;
};

using AccessibleRole = std::uint32_t;
/// Bit n is state n; the bus sends it as two words, the low one first.
using AccessibleStates = std::uint64_t;

namespace accessible {

inline constexpr AccessibleRole kPassword = 40;
inline constexpr AccessibleRole kTable = 55;
inline constexpr AccessibleRole kTerminal = 60;
inline constexpr AccessibleRole kTreeTable = 66;

inline constexpr AccessibleStates kActive = AccessibleStates{1} << 1U;
inline constexpr AccessibleStates kFocused = AccessibleStates{1} << 12U;
inline constexpr AccessibleStates kShowing = AccessibleStates{1} << 25U;
inline constexpr AccessibleStates kVisible = AccessibleStates{1} << 30U;
inline constexpr AccessibleStates kManagesDescendants = AccessibleStates{1} << 31U;

/// How long the answers to one round of questions are waited for, and how many objects of one
/// window are looked at: beyond either a program has nothing to say.
inline constexpr std::chrono::milliseconds kRound{150};
inline constexpr std::size_t kMostObjects = 1500;
/// A program that let a round pass without an answer is not asked again for so long.
inline constexpr std::chrono::seconds kForgotten{30};

/// Whether an object may be asked for what is below it. One that manages its descendants makes them
/// as they are asked for: a spreadsheet asked for its cells is busy for most of a minute.
[[nodiscard]] bool mayAskChildren(AccessibleRole role, AccessibleStates states);

/// Whether an object may be asked for its text: not where passwords are typed. Some toolkits hand
/// those out in the clear.
[[nodiscard]] bool mayAskText(AccessibleRole role);

/// Whether the texts that a program shows are whole. An office suite shows the paragraphs that are
/// on screen, so what is selected there would be cut without a word. By its toolkit and by the file
/// that it runs: with a desktop's own look the suite names the desktop's toolkit.
[[nodiscard]] bool tellsWholeTexts(std::string_view toolkit, std::string_view executable);

/// Whether the toolkit may be asked to search its objects itself. Others look below tables too,
/// which makes their cells: it is safe to walk there, and not to have them walk.
[[nodiscard]] bool maySearch(std::string_view toolkit);

} // namespace accessible

/// The search for the object in a window that has the keyboard, one answer at a time. Whoever asks
/// hands in what he was told and hears what may be asked next; every object is asked about once.
class FocusSearch {
public:
    explicit FocusSearch(std::size_t mostObjects = accessible::kMostObjects)
        : m_mostObjects(mostObjects) {}

    /// Those of `found` whose role and states may now be asked for. `parent` null: the beginning.
    [[nodiscard]] std::vector<AccessibleRef> admit(const AccessibleRef* parent,
                                                   const std::vector<AccessibleRef>& found);

    struct Next {
        bool children = false;
        bool selections = false; ///< How many there are; an object without a text says nothing.

        bool operator==(const Next&) const = default;
    };
    /// What may be asked of an object, by what it says it is.
    [[nodiscard]] Next told(const AccessibleRef& object, AccessibleRole role,
                            AccessibleStates states) const;

    /// An object that has the keyboard answered how many selections it has.
    void toldSelections(const AccessibleRef& object, std::int32_t count);

    /// The object with the selection. Whole rows of frames and tabs say that they have the
    /// keyboard: it is the deepest of those that know of selections, and of several as deep the
    /// last.
    [[nodiscard]] std::optional<AccessibleRef> focused() const;

private:
    struct Place {
        std::size_t depth = 0;
        std::size_t order = 0;
        // NOLINTNEXTLINE(modernize-use-nullptr): likewise
        auto operator<=>(const Place&) const = default;
    };
    std::size_t m_mostObjects;
    std::map<AccessibleRef, Place> m_places;
    std::optional<std::pair<Place, AccessibleRef>> m_best;
};

/// A text that was read, with the objects that are embedded in it.
struct AccessibleText {
    std::string text; ///< All of it; U+FFFC stands for the next one of `embedded`.
    /// From and to, in characters of `text`.
    std::vector<std::pair<std::int32_t, std::int32_t>> selections;
    std::vector<AccessibleText> embedded;
    bool block = false; ///< A paragraph and the like: it stands on lines of its own.
    bool whole = true;  ///< False where what is below could not or may not be read.

    bool operator==(const AccessibleText&) const = default;
};

/// Which of the embedded objects of `text` a selection touches, as places among `embedded`.
[[nodiscard]] std::vector<std::size_t>
selectedObjects(std::string_view text,
                const std::vector<std::pair<std::int32_t, std::int32_t>>& selections);

/// What is selected, with the embedded pieces spliced in where they stand. Absent when nothing is,
/// and when a piece of it could not be read: a text with a hole is not what the user selected.
[[nodiscard]] std::optional<std::string> selectedText(const AccessibleText& read);

/// Whether an object of this role begins on a line of its own. Links and the like run on in a line.
[[nodiscard]] bool isBlock(AccessibleRole role);

/// Names that did not answer, and when. Not asked again for half a minute.
class SilentNames {
public:
    using Moment = std::chrono::nanoseconds;
    void add(const std::string& name, Moment now) { m_since[name] = now; }
    [[nodiscard]] bool holds(const std::string& name, Moment now) const;

private:
    std::map<std::string, Moment> m_since;
};

/// A window as assistive technology sees it, turned into what windows otherwise say of themselves.
/// `application` is the name of its program there, `facts` what is known of the process.
[[nodiscard]] WindowFacts accessibleFacts(WindowFacts facts, std::string_view application,
                                          std::string_view title);

} // namespace kelvane
