// The place of a finding, read back from the words in which it is told.
//
// A finding says where it stands as a person would: "line 12, column 5", "cell C4", "x 10, y 40,
// 120 x 30 px", and in work of several parts "part 2 (a.csv), row 5". Who shows the work with its
// flaws marked needs the figures. Pure; any thread.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct Place {
    enum class Kind {
        whole,  ///< Of the part as a whole, or words that name nothing that can be marked.
        line,   ///< `line`, and `column` where one is named.
        cell,   ///< `row` and `cellColumn`.
        row,    ///< `row`.
        column, ///< `header`: the name of the column, or its letters.
        box,    ///< `x`, `y`, `width` and `height`, in pixels.
    };

    std::size_t part = 0; ///< Index from 0.
    Kind kind = Kind::whole;
    std::size_t line = 0;       ///< From 1.
    std::size_t column = 0;     ///< Code points from 1; 0 where none is named.
    std::size_t row = 0;        ///< Index from 0.
    std::size_t cellColumn = 0; ///< Index from 0.
    std::string header;
    std::size_t x = 0;
    std::size_t y = 0;
    std::size_t width = 0;
    std::size_t height = 0;

    bool operator==(const Place&) const = default;
};

/// What `place` names in work whose parts have these names. Words that are none of the forms above
/// are a place of kind `whole`, of the first part where no part is named.
[[nodiscard]] Place placeOf(std::string_view place, const std::vector<std::string>& partNames);

} // namespace trevix
