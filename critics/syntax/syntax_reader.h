// Where a text breaks the grammar of its programming language.
//
// A parser that recovers from errors reads the whole text and leaves marks where it had to skip
// something or to suppose something that is not there. It knows grammar alone: names, types and
// macros mean nothing to it, so in languages with a preprocessor a mark is a hint and no proof.
//
// Stateless; any thread. Time grows linearly with sound text and is limited for the rest.

#pragma once

#include "critics/syntax/syntax_tree.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct SyntaxFault {
    enum class Kind {
        unexpected, ///< The text there fits nowhere.
        missing,    ///< Something must stand there that does not.
    };
    Kind kind = Kind::unexpected;
    std::size_t offset = 0;
    std::size_t length = 0; ///< In bytes; 0 for what is missing.
    std::string missing;    ///< What is missing as the grammar calls it: ")", ";", "identifier".

    bool operator==(const SyntaxFault&) const = default;
};

struct SyntaxReading {
    enum class Outcome {
        read,      ///< To the end; `faults` says the rest.
        noGrammar, ///< No grammar of that name here.
        outOfTime, ///< Given up; nothing is known.
        tooLong,   ///< Longer than `kLongestText`; nothing is known.
    };
    Outcome outcome = Outcome::noGrammar;
    /// In the order of the text, the outermost of faults inside one another. At most `kMostFaults`.
    std::vector<SyntaxFault> faults;
    /// All of the text, faults or not, where it was read and the tree was asked for.
    SyntaxTree tree;
};

/// Whether more than the faults is wanted. A tree takes some fifty bytes for each byte of text.
enum class Wanted { faults, tree };

/// Bytes. The library counts what is open at once in 16 bits and damages its memory beyond that; a
/// text has no more tokens than bytes, so that none of this length can bring it there. It is some
/// 1,500 lines.
constexpr std::size_t kLongestText = 60'000;

/// Beyond these the text is no work in this language, and more places would help nobody.
constexpr std::size_t kMostFaults = 64;

/// Reads `text` by the grammar called `grammar` ("python", "c_sharp"). Precondition: `limit` > 0.
[[nodiscard]] SyntaxReading readSyntax(std::string_view grammar, std::string_view text,
                                       std::chrono::microseconds limit,
                                       Wanted wanted = Wanted::faults);

struct GrammarInfo {
    std::string_view name;
    std::string_view package; ///< With its version.
};

/// The grammars of this build, by name.
[[nodiscard]] std::vector<GrammarInfo> knownGrammars();

} // namespace trevix
