// Where this person's work is graded, as they chose it: one small file that every part reads.
//
// `~/.brask/service`, lines of `name: value`, `#` for remarks:
//
//   service: this machine | account | later
//   base: http+unix://%2Frun%2Fuser%2F1000%2Ftrevix-local%2Fapi.sock
//   key_file: /home/me/.local/share/trevix-local/key
//   program: /usr/bin/trevix-local
//
// The last three stand there for "this machine" alone. The file names a key's file and holds no
// key. It lies in the data folder because a coding tool hands nothing on but HOME; the kit's
// `engine/settings.py` reads it by the same rules. What the environment says wins over it. Where it
// names the service it names the key as well: a key of another service is of no use there.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class FileSystem;

struct ServiceChoice {
    enum class Where {
        Unasked,     ///< There is no such file, or none that can be used.
        ThisMachine, ///< By the local service.
        Account,     ///< By the service that the build names, with an account's key.
        Later,       ///< Asked, and put off.
    };

    Where where = Where::Unasked;
    std::string base;              ///< Of the local service: absolute address, or empty.
    std::filesystem::path keyFile; ///< Absolute, or empty.
    std::filesystem::path program; ///< What was found to serve when it was chosen; or empty.

    bool operator==(const ServiceChoice&) const = default;
};

/// A choice, and a sentence for each thing about the file that could not be used.
struct ServiceChoiceRead {
    ServiceChoice choice;
    std::vector<std::string> problems;
};

/// The word of the file for a place: "this machine", "account", "later"; empty when nobody was
/// asked.
[[nodiscard]] std::string_view serviceWord(ServiceChoice::Where where);

/// The file's name under the data folder.
[[nodiscard]] std::filesystem::path serviceChoiceFile(const std::filesystem::path& braskHome);

/// Pure. A line that is no `name: value`, a name that is unknown, a value that is none of its
/// name's and "this machine" without base and key file are problems; a line that is one is passed
/// over, the rest counts. `where` stands in the sentences.
[[nodiscard]] ServiceChoiceRead parseServiceChoice(std::string_view text, const std::string& where);

/// The file's text for a choice. What parseServiceChoice() reads of it is that choice.
[[nodiscard]] std::string serviceChoiceText(const ServiceChoice& choice);

/// The choice of this person. A file that somebody else can have written is not used: it says where
/// work goes.
[[nodiscard]] ServiceChoiceRead readServiceChoice(FileSystem& files,
                                                  const std::filesystem::path& braskHome);

/// The key in a file, without white space at its ends, or why there is none. A file that others may
/// read or write, or that is another user's, is not used.
struct ChosenKey {
    std::optional<std::string> key;
    std::string problem; ///< A sentence; empty with a key.
};
[[nodiscard]] ChosenKey readChosenKey(FileSystem& files, const std::filesystem::path& keyFile);

} // namespace kelvane
