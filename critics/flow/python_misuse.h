// What a Python program calls, sets or asks in a way that is unsafe, or cannot be meant, whatever
// its data are.
//
// Each is told by the call itself: by the library's own words for its options, and by names where
// those say what a value is ("password"). What a condition may have been made for (another version
// of a library, a test) is left alone.
//
// Pure; any thread. Linear in the tree.

#pragma once

#include "critics/syntax/syntax_tree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

struct Misuse {
    enum class Kind {
        fastPasswordHash,  ///< A password is hashed by what was made to be fast.
        fixedSalt,         ///< A salt or a start vector that stands in the program.
        blockwiseCipher,   ///< Equal blocks stay equal.
        brokenCipher,      ///< A cipher that has been broken.
        fewIterations,     ///< A key is stretched too little.
        unverifiedToken,   ///< A token is read, its signature is not.
        unverifiedPeer,    ///< A connection takes anybody for its peer.
        unescapedTemplate, ///< A template puts in what is not escaped.
        builtMarkup,       ///< Markup that is to be trusted is put together.
        tagFilter,         ///< Markup is made harmless by a pattern for tags.
        laxCookie,         ///< A cookie that scripts can read or that goes unencrypted.
        laxSetting,        ///< A protection is turned off.
        shownTrace,        ///< Who asked is shown the trace of a failure.
        knownPassword,     ///< A password that stands in the program, or is empty.
        knownKey,          ///< What signs or encrypts stands in the program.
        shownPassword,     ///< A password in a log, or in what anybody can read.
        plainLogin,        ///< A password that is sent unencrypted.
        unsafeParser,      ///< It can be made to read files, or to run code.
        builtShellCommand, ///< A shell runs a text that is put together.
        leakyComparison,   ///< How long it takes tells how much is right.
        endlessLoop,       ///< Nothing changes what the loop waits for.
        pastTheEnd,        ///< An index runs one too far.
        loopOverNumber,    ///< A number is no sequence.
        goneFunction,      ///< The library has it no longer.
        slowPattern,       ///< Some texts take a pattern time without end.
    };
    Kind kind = Kind::laxSetting;
    std::size_t offset = 0;
    std::size_t length = 0;

    bool operator==(const Misuse&) const = default;
};

/// In the order of the text. `tree` is that of `text` by the grammar "python".
[[nodiscard]] std::vector<Misuse> pythonMisuses(const SyntaxTree& tree, std::string_view text);

} // namespace trevix
