// What a shell script's own text says of its variables: where their values come from, whether they
// are read, and which command a word belongs to.
//
// Read by the lines and not by the grammar: a script that is judged often does not parse, and no
// answer here decides more than how a finding weighs. Of a script larger than 128 KiB only the
// beginning is read, and of a command 1 KiB. Linear in the text. Pure; any thread.

#pragma once

#include <cstddef>
#include <string_view>

namespace trevix {

enum class ShellOrigin {
    own,     ///< Every value that the script gives it is made of words of the script.
    unknown, ///< The script gives it none: the environment, or another script.
    outside, ///< Of arguments, of input, of names of files, of what a command printed.
};

/// Where the value of "name" comes from: "1", "@" and "OPTARG" are from outside, "0" is the
/// script's own. A value that is made of other variables is followed to theirs, over eight names
/// and 256 places of them in all.
[[nodiscard]] ShellOrigin shellOrigin(std::string_view script, std::string_view name);

/// Whether "$name" or "${name" stands anywhere: in single quotes too, as what is in them may be run
/// elsewhere.
[[nodiscard]] bool isReadInShell(std::string_view script, std::string_view name);

/// The name of "$name" and "${name}" at the beginning; empty for anything else.
[[nodiscard]] std::string_view shellVariableAt(std::string_view text);

/// The word that begins the command around the byte, behind "if", "sudo" and their like and behind
/// settings of its environment: "rm". Empty where there is none. `offset` is at most the size.
[[nodiscard]] std::string_view shellCommandAround(std::string_view script, std::size_t offset);

} // namespace trevix
