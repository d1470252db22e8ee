// What the analyses of a program's tree say: where something of a stranger's ends up, and what is
// called in a way that cannot be safe.
//
// Values. Offsets are bytes of the text that was read.

#pragma once

#include <cstddef>
#include <string>

namespace trevix {

/// What a stranger's text can do at the place where it ends up.
enum class Danger {
    code,     ///< It is run as code of the program's own language, or as a template.
    command,  ///< It is run by a shell, or names the program that is run.
    query,    ///< It becomes part of a statement: SQL, LDAP, XPath.
    path,     ///< It names a file.
    page,     ///< It becomes part of a page, unescaped.
    address,  ///< It decides where a request of this program goes.
    redirect, ///< It decides where a browser is sent.
    output,   ///< It becomes part of a header, a cookie or a line of a log.
    load,     ///< It is made into objects by a format that can hold code.
    pattern,  ///< It is used as a regular expression.
    script,   ///< It is run as code, with names that are meant for that.
    module,   ///< It names a module of the program's own language, which is loaded.
};

/// Who could have written it.
enum class Origin {
    request, ///< Whoever can reach the service.
    network, ///< Whoever answers, or sends.
    person,  ///< Who runs the program: its arguments and what is typed.
};

/// Something of a stranger's that arrives where it can do harm.
struct Flow {
    Danger danger = Danger::code;
    Origin origin = Origin::request;
    std::size_t offset = 0; ///< Of what it ends up in.
    std::size_t length = 0;
    std::size_t built = 0; ///< Where it was put together with others, if it was.
    std::size_t builtLength = 0;
    std::size_t from = 0; ///< Where it comes in.
    /// A name for it, of at most 40 bytes: "request.args". Empty for what is longer.
    std::string what;
    /// What stands before it keeps it from deciding all: a host is fixed, a log line begun.
    bool partly = false;

    bool operator==(const Flow&) const = default;
};

} // namespace trevix
