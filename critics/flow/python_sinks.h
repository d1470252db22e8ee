// What the libraries of Python do with a text: where it comes from, what makes it harmless, and
// where it can do harm. Constants, by the names that programs import.

#pragma once

#include "critics/flow/flow.h"
#include "critics/flow/python_names.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace trevix {

// ---- where a stranger's text comes from ----

inline constexpr std::array<std::string_view, 22> kWebFrameworks = {
    "flask",     "django",   "bottle",   "quart",          "sanic",   "fastapi",
    "starlette", "aiohttp",  "tornado",  "pyramid",        "web",     "cherrypy",
    "webob",     "falcon",   "werkzeug", "rest_framework", "webapp2", "flask_restful",
    "responder", "litestar", "robyn",    "molten"};
/// Of them those for which a text that a function returns is a page.
inline constexpr std::array<std::string_view, 4> kFrameworksThatAnswerText = {"flask", "bottle",
                                                                              "quart", "cherrypy"};
/// Decorators that bind a function to an address.
inline constexpr std::array<std::string_view, 8> kRouters = {
    "route", "get", "post", "put", "delete", "patch", "websocket", "api_route"};
inline constexpr std::array<std::string_view, 6> kRequests = {
    "flask.request",    "bottle.request",        "quart.request",
    "cherrypy.request", "flask.globals.request", "django.http.request"};
inline constexpr std::array<std::string_view, 2> kRequestNames = {"request", "req"};
/// Parts of a request that a stranger writes.
inline constexpr std::array<std::string_view, 30> kRequestParts = {
    "args",         "form",        "values",     "json",         "cookies",   "headers",
    "files",        "data",        "stream",     "query_string", "full_path", "view_args",
    "query_params", "path_params", "params",     "matchdict",    "json_body", "query",
    "forms",        "match_info",  "rel_url",    "referrer",     "raw_body",  "body",
    "url",          "environ",     "user_agent", "POST",         "GET",       "url_root"};
/// Those that no other kind of request has.
inline constexpr std::array<std::string_view, 5> kCapitalParts = {"GET", "POST", "FILES", "META",
                                                                  "COOKIES"};
inline constexpr std::array<std::string_view, 13> kRequestMethods = {
    "get_json", "get_data", "read",  "json",       "form",       "body",     "post",
    "text",     "get",      "param", "get_cookie", "get_header", "get_param"};
inline constexpr std::array<std::string_view, 6> kTornadoMethods = {
    "get_argument",      "get_arguments", "get_query_argument",
    "get_body_argument", "get_cookie",    "get_query_arguments"};
inline constexpr std::array<std::string_view, 3> kHandlerParts = {"path", "headers", "rfile"};
inline constexpr std::array<std::string_view, 12> kDownloads = {
    "urllib.request.urlopen", "urllib2.urlopen",  "urllib.urlopen", "requests.get", "requests.post",
    "requests.put",           "requests.request", "httpx.get",      "httpx.post",   "urlopen",
    "urllib3.request",        "requests.patch"};

// ---- what is harmless ----

/// What a server itself says of a request.
inline constexpr std::array<std::string_view, 6> kServerKeys = {"REMOTE_ADDR", "REQUEST_METHOD",
                                                                "SERVER_NAME", "SERVER_PORT",
                                                                "REMOTE_USER", "wsgi.url_scheme"};

/// What of a stranger's thing is not the stranger's.
inline constexpr std::array<std::string_view, 12> kHarmlessParts = {
    "method",         "user", "session", "status_code", "remote_addr", "scheme",
    "content_length", "size", "port",    "length",      "shape",       "is_json"};
inline constexpr std::array<std::string_view, 26> kHarmlessMethods = {
    "isdigit",       "isalnum",
    "isalpha",       "isnumeric",
    "isdecimal",     "isidentifier",
    "startswith",    "endswith",
    "count",         "find",
    "index",         "rfind",
    "hexdigest",     "digest",
    "save",          "close",
    "exists",        "is_file",
    "is_dir",        "keys_count",
    "timestamp",     "raise_for_status",
    "is_valid",      "bit_length",
    "total_seconds", "seek"};
/// Types whose values are no text.
inline constexpr std::array<std::string_view, 6> kNumbers = {"int",       "float", "bool",
                                                             "uuid.UUID", "UUID",  "Decimal"};
/// What gives back what it was given, put together or in another form.
inline constexpr std::array<std::string_view, 40> kPassesOn = {"str",
                                                               "bytes",
                                                               "bytearray",
                                                               "repr",
                                                               "dict",
                                                               "list",
                                                               "tuple",
                                                               "set",
                                                               "sorted",
                                                               "reversed",
                                                               "iter",
                                                               "next",
                                                               "enumerate",
                                                               "zip",
                                                               "ascii",
                                                               "unicode",
                                                               "io.StringIO",
                                                               "io.BytesIO",
                                                               "os.path.abspath",
                                                               "os.path.realpath",
                                                               "os.path.normpath",
                                                               "os.path.expanduser",
                                                               "os.path.expandvars",
                                                               "os.fspath",
                                                               "os.path.dirname",
                                                               "urllib.parse.unquote",
                                                               "urllib.parse.unquote_plus",
                                                               "urllib.parse.urljoin",
                                                               "urllib.parse.urlparse",
                                                               "urllib.parse.urlsplit",
                                                               "urllib.unquote",
                                                               "urlparse.urlparse",
                                                               "base64.b64decode",
                                                               "base64.b64encode",
                                                               "base64.urlsafe_b64decode",
                                                               "json.loads",
                                                               "ast.literal_eval",
                                                               "copy.copy",
                                                               "copy.deepcopy",
                                                               "textwrap.dedent"};
inline constexpr std::array<std::string_view, 5> kPathMakers = {
    "pathlib.Path", "pathlib.PurePath", "pathlib.PosixPath", "Path", "anyio.Path"};
/// What makes a text say nothing but what is asked of it, for some uses or for all.
struct Escape {
    std::string_view name; ///< Whole, or of a method after a dot.
    unsigned safe;         ///< One bit for each danger.
};
inline constexpr unsigned kSafeForAll = 0xffff;
constexpr unsigned safeFor(Danger danger) {
    return 1U << static_cast<unsigned>(danger);
}
inline constexpr std::array<Escape, 48> kEscapes = {{
    {"int", kSafeForAll},
    {"float", kSafeForAll},
    {"bool", kSafeForAll},
    {"len", kSafeForAll},
    {"ord", kSafeForAll},
    {"hash", kSafeForAll},
    {"abs", kSafeForAll},
    {"round", kSafeForAll},
    {"uuid.UUID", kSafeForAll},
    {"decimal.Decimal", kSafeForAll},
    {"datetime.datetime.strptime", kSafeForAll},
    {"datetime.datetime.fromisoformat", kSafeForAll},
    {"ipaddress.ip_address", kSafeForAll},
    {"isinstance", kSafeForAll},
    {"type", kSafeForAll},
    {"hashlib.sha256", kSafeForAll},
    {"hashlib.md5", kSafeForAll},
    {"werkzeug.security.generate_password_hash", kSafeForAll},
    {"shlex.quote", safeFor(Danger::command)},
    {"pipes.quote", safeFor(Danger::command)},
    {"html.escape", safeFor(Danger::page)},
    {"cgi.escape", safeFor(Danger::page)},
    {"escape", safeFor(Danger::page)},
    {"flask.escape", safeFor(Danger::page)},
    {"markupsafe.escape", safeFor(Danger::page)},
    {"django.utils.html.escape", safeFor(Danger::page)},
    {"django.utils.html.conditional_escape", safeFor(Danger::page)},
    {"django.utils.html.strip_tags", safeFor(Danger::page)},
    {"xml.sax.saxutils.escape", safeFor(Danger::page)},
    {"bleach.clean", safeFor(Danger::page)},
    {"nh3.clean", safeFor(Danger::page)},
    {"json.dumps", safeFor(Danger::page) | safeFor(Danger::output)},
    {"flask.jsonify", safeFor(Danger::page)},
    {"flask.json.dumps", safeFor(Danger::page) | safeFor(Danger::output)},
    {"urllib.parse.quote", safeFor(Danger::page) | safeFor(Danger::output) |
                               safeFor(Danger::redirect) | safeFor(Danger::address)},
    {"urllib.parse.quote_plus", safeFor(Danger::page) | safeFor(Danger::output) |
                                    safeFor(Danger::path) | safeFor(Danger::redirect) |
                                    safeFor(Danger::address)},
    {"urllib.parse.urlencode", safeFor(Danger::page) | safeFor(Danger::output) |
                                   safeFor(Danger::redirect) | safeFor(Danger::address)},
    {"werkzeug.utils.secure_filename", safeFor(Danger::path)},
    {"werkzeug.secure_filename", safeFor(Danger::path)},
    {"secure_filename", safeFor(Danger::path)},
    {"os.path.basename", safeFor(Danger::path)},
    {"werkzeug.utils.safe_join", safeFor(Danger::path)},
    {"flask.safe_join", safeFor(Danger::path)},
    {"re.escape", safeFor(Danger::pattern)},
    {"ldap.filter.escape_filter_chars", safeFor(Danger::query)},
    {"ldap.dn.escape_dn_chars", safeFor(Danger::query)},
    {"ldap3.utils.conv.escape_filter_chars", safeFor(Danger::query)},
    {"ldap3.utils.dn.escape_rdn", safeFor(Danger::query)},
}};
/// Methods of a text that are true of harmless ones alone, where a program asks.
inline constexpr std::array<std::string_view, 8> kTests = {
    "startswith", "isdigit",   "isalnum",      "isalpha",
    "isnumeric",  "isdecimal", "isidentifier", "is_relative_to"};
/// Calls that never come back.
inline constexpr std::array<std::string_view, 7> kEnds = {
    "flask.abort", "abort", "sys.exit", "exit", "quit", "os._exit", "bottle.abort"};

// ---- where it can do harm ----

/// The place of an argument that is given by its name alone.
inline constexpr std::size_t kByName = 99;
struct Sink {
    std::string_view name;
    Danger danger;
    std::size_t argument = 0;
    std::string_view keyword = {};
};
inline constexpr std::array<Sink, 112> kSinks = {{
    {"eval", Danger::code},
    {"exec", Danger::code},
    {"execfile", Danger::code},
    {"compile", Danger::code, 0, "source"},
    {"builtins.eval", Danger::code},
    {"__import__", Danger::module, 0, "name"},
    {"importlib.import_module", Danger::module, 0, "name"},
    {"flask.render_template_string", Danger::code, 0, "source"},
    {"jinja2.Template", Danger::code, 0, "source"},
    {"mako.template.Template", Danger::code, 0, "text"},
    {"django.template.Template", Danger::code, 0, "template_string"},
    {"bottle.template", Danger::code},
    {"os.system", Danger::command, 0, "command"},
    {"os.popen", Danger::command, 0, "cmd"},
    {"os.popen2", Danger::command},
    {"os.popen3", Danger::command},
    {"popen2.popen3", Danger::command},
    {"commands.getoutput", Danger::command},
    {"commands.getstatusoutput", Danger::command},
    {"subprocess.getoutput", Danger::command, 0, "cmd"},
    {"subprocess.getstatusoutput", Danger::command, 0, "cmd"},
    {"asyncio.create_subprocess_shell", Danger::command, 0, "cmd"},
    {"asyncio.subprocess.create_subprocess_shell", Danger::command, 0, "cmd"},
    {"sqlalchemy.text", Danger::query, 0, "text"},
    {"sqlalchemy.sql.text", Danger::query, 0, "text"},
    {"django.db.models.expressions.RawSQL", Danger::query, 0, "sql"},
    {"pandas.read_sql", Danger::query, 0, "sql"},
    {"pandas.read_sql_query", Danger::query, 0, "sql"},
    {"lxml.etree.XPath", Danger::query, 0, "path"},
    {"elementpath.select", Danger::query, 1, "path"},
    {"open", Danger::path, 0, "file"},
    {"file", Danger::path},
    {"io.open", Danger::path, 0, "file"},
    {"codecs.open", Danger::path, 0, "filename"},
    {"aiofiles.open", Danger::path},
    {"os.open", Danger::path, 0, "path"},
    {"os.remove", Danger::path, 0, "path"},
    {"os.unlink", Danger::path, 0, "path"},
    {"os.rmdir", Danger::path, 0, "path"},
    {"os.mkdir", Danger::path, 0, "path"},
    {"os.makedirs", Danger::path, 0, "name"},
    {"os.listdir", Danger::path, 0, "path"},
    {"os.scandir", Danger::path, 0, "path"},
    {"os.rename", Danger::path, 1, "dst"},
    {"shutil.rmtree", Danger::path, 0, "path"},
    {"shutil.copy", Danger::path, 0, "src"},
    {"shutil.copyfile", Danger::path, 0, "src"},
    {"shutil.move", Danger::path, 0, "src"},
    {"flask.send_file", Danger::path, 0, "path_or_file"},
    {"starlette.responses.FileResponse", Danger::path, 0, "path"},
    {"fastapi.responses.FileResponse", Danger::path, 0, "path"},
    {"aiohttp.web.FileResponse", Danger::path, 0, "path"},
    {"zipfile.ZipFile", Danger::path, 0, "file"},
    {"tarfile.open", Danger::path, 0, "name"},
    {"flask.Markup", Danger::page, 0, "base"},
    {"markupsafe.Markup", Danger::page, 0, "base"},
    {"django.utils.safestring.mark_safe", Danger::page, 0, "s"},
    {"django.utils.safestring.SafeString", Danger::page},
    {"django.utils.html.format_html", Danger::page, 0, "format_string"},
    {"fastapi.responses.HTMLResponse", Danger::page, 0, "content"},
    {"starlette.responses.HTMLResponse", Danger::page, 0, "content"},
    {"requests.get", Danger::address, 0, "url"},
    {"requests.post", Danger::address, 0, "url"},
    {"requests.put", Danger::address, 0, "url"},
    {"requests.delete", Danger::address, 0, "url"},
    {"requests.head", Danger::address, 0, "url"},
    {"requests.patch", Danger::address, 0, "url"},
    {"requests.request", Danger::address, 1, "url"},
    {"httpx.get", Danger::address, 0, "url"},
    {"httpx.post", Danger::address, 0, "url"},
    {"urllib.request.urlopen", Danger::address, 0, "url"},
    {"urllib.request.urlretrieve", Danger::address, 0, "url"},
    {"urllib.request.Request", Danger::address, 0, "url"},
    {"urllib2.urlopen", Danger::address, 0, "url"},
    {"urllib2.Request", Danger::address, 0, "url"},
    {"urllib.urlopen", Danger::address, 0, "url"},
    {"http.client.HTTPConnection", Danger::address, 0, "host"},
    {"http.client.HTTPSConnection", Danger::address, 0, "host"},
    {"flask.redirect", Danger::redirect, 0, "location"},
    {"werkzeug.utils.redirect", Danger::redirect, 0, "location"},
    {"bottle.redirect", Danger::redirect, 0, "url"},
    {"django.shortcuts.redirect", Danger::redirect, 0, "to"},
    {"django.http.HttpResponseRedirect", Danger::redirect, 0, "redirect_to"},
    {"django.http.HttpResponsePermanentRedirect", Danger::redirect, 0, "redirect_to"},
    {"fastapi.responses.RedirectResponse", Danger::redirect, 0, "url"},
    {"starlette.responses.RedirectResponse", Danger::redirect, 0, "url"},
    {"django.core.mail.send_mail", Danger::page, kByName, "html_message"},
    {"_testcapi.run_in_subinterp", Danger::code},
    {"test.support.run_in_subinterp", Danger::code},
    {"_xxsubinterpreters.run_string", Danger::code, 1, "script"},
    {"pickle.loads", Danger::load},
    {"pickle.load", Danger::load},
    {"cPickle.loads", Danger::load},
    {"_pickle.loads", Danger::load},
    {"dill.loads", Danger::load},
    {"dill.load", Danger::load},
    {"marshal.loads", Danger::load},
    {"cloudpickle.loads", Danger::load},
    {"cloudpickle.load", Danger::load},
    {"pandas.read_pickle", Danger::load, 0, "filepath_or_buffer"},
    {"joblib.load", Danger::load, 0, "filename"},
    {"torch.load", Danger::load, 0, "f"},
    {"jsonpickle.decode", Danger::load},
    {"yaml.unsafe_load", Danger::load},
    {"yaml.full_load", Danger::load},
    {"re.compile", Danger::pattern, 0, "pattern"},
    {"re.match", Danger::pattern, 0, "pattern"},
    {"re.search", Danger::pattern, 0, "pattern"},
    {"re.fullmatch", Danger::pattern, 0, "pattern"},
    {"re.findall", Danger::pattern, 0, "pattern"},
    {"re.sub", Danger::pattern, 0, "pattern"},
    {"re.split", Danger::pattern, 0, "pattern"},
}};
/// Answers that a browser shows as a page unless they are given another type.
inline constexpr std::array<std::string_view, 13> kPageMakers = {
    "django.http.HttpResponseBadRequest",
    "django.http.HttpResponseNotFound",
    "django.http.HttpResponseForbidden",
    "django.http.HttpResponseServerError",
    "flask.make_response",
    "flask.Response",
    "flask.wrappers.Response",
    "werkzeug.Response",
    "quart.Response",
    "django.http.HttpResponse",
    "pyramid.response.Response",
    "werkzeug.wrappers.Response",
    "django.shortcuts.HttpResponse"};
inline constexpr std::array<std::string_view, 3> kTypeArguments = {"mimetype", "content_type",
                                                                   "media_type"};
/// Run a list of words, or a line where they are told to ask a shell.
inline constexpr std::array<std::string_view, 5> kRunners = {
    "subprocess.run", "subprocess.call", "subprocess.Popen", "subprocess.check_call",
    "subprocess.check_output"};
inline constexpr std::array<std::string_view, 16> kPrograms = {
    "asyncio.subprocess.create_subprocess_exec",
    "asyncio.create_subprocess_exec",
    "os.execl",
    "os.execle",
    "os.execlp",
    "os.execlpe",
    "os.execv",
    "os.execve",
    "os.execvp",
    "os.spawnl",
    "os.spawnle",
    "os.spawnlp",
    "os.spawnlpe",
    "os.spawnv",
    "os.spawnve",
    "os.spawnvp"};
/// Put something into what they are called of.
inline constexpr std::array<std::string_view, 7> kFillers = {
    "append", "add", "insert", "extend", "update", "appendleft", "put"};
inline constexpr std::array<std::string_view, 6> kShells = {"sh",   "bash", "zsh",
                                                            "dash", "ksh",  "cmd.exe"};
/// Methods of what stands for a database, whatever it is called.
inline constexpr std::array<std::string_view, 5> kExecutors = {
    "execute", "executemany", "executescript", "raw", "exec_driver_sql"};
inline constexpr std::array<std::string_view, 6> kDirectorySearches = {
    "search_s", "search_st", "search_ext", "search_ext_s", "search", "paged_search"};
inline constexpr std::array<std::string_view, 7> kTreeSearches = {
    "xpath", "find", "findall", "findtext", "iterfind", "select", "evaluate"};
inline constexpr std::array<std::string_view, 4> kTreeModules = {"lxml", "xml", "elementpath",
                                                                 "defusedxml"};
inline constexpr std::array<std::string_view, 10> kPathMethods = {
    "open",   "read_text", "read_bytes", "write_text", "write_bytes",
    "unlink", "rmdir",     "mkdir",      "iterdir",    "rename"};

// ---- questions ----

[[nodiscard]] inline bool isPageMaker(std::string_view whole) {
    return kelvane::text::isOneOf(whole, kPageMakers);
}

template <std::size_t count>
[[nodiscard]] bool importsAnyOf(const PythonNames& names,
                                const std::array<std::string_view, count>& modules) {
    return std::ranges::any_of(modules,
                               [&](std::string_view module) { return names.imports(module); });
}

/// What stands behind the last dot.
[[nodiscard]] inline std::string_view lastName(std::string_view whole) {
    return whole.substr(whole.rfind('.') + 1); // npos + 1 is 0
}

/// The dangers that a call takes away; absent for a call that is no such.
[[nodiscard]] inline std::optional<unsigned> escapedBy(std::string_view whole,
                                                       std::string_view last) {
    for (const Escape& escape : kEscapes) {
        if (escape.name == whole) return escape.safe;
    }
    // Of the program's own, by what people call such functions.
    if (last.starts_with("sanitize") || last.starts_with("escape_")) return kSafeForAll;
    return std::nullopt;
}

/// Whether a function's name says that its answer tells good from bad: "is_safe_url".
[[nodiscard]] inline bool saysWhether(std::string_view name) {
    if (name == "isinstance") return false;
    const std::string lower = kelvane::text::lowerAscii(name);
    for (const std::string_view sign : {"valid", "safe", "allow", "check", "permit", "authoriz",
                                        "verif", "trusted", "fullmatch", "match", "is_"}) {
        if (lower.find(sign) != std::string::npos) return lower != "is_file" && lower != "is_dir";
    }
    return false;
}

/// Whether a function makes another object of a request: "RequestWrapper".
[[nodiscard]] inline bool isAboutRequest(std::string_view name) {
    return kelvane::text::lowerAscii(name).find("request") != std::string::npos;
}

/// Whether a pattern for addresses has a dot that stands for any character: "www.example.com".
[[nodiscard]] inline bool hasLoosePattern(std::string_view pattern) {
    for (const std::string_view domain : {".com", ".org", ".net", ".io"}) {
        const std::size_t at = pattern.find(domain);
        if (at != std::string_view::npos && at > 0 && pattern[at - 1] != '\\') return true;
    }
    return false;
}

/// A line of a log: "logging.info", "app.logger.warning", "log.error".
[[nodiscard]] inline bool isLog(std::string_view whole, std::string_view last) {
    constexpr std::array<std::string_view, 8> kLevels = {"debug", "info",     "warning",   "warn",
                                                         "error", "critical", "exception", "log"};
    if (!kelvane::text::isOneOf(last, kLevels)) return false;
    const std::string_view owner = whole.substr(0, whole.size() - last.size());
    return owner.ends_with("logging.") || owner.ends_with("logger.") || owner.ends_with("log.") ||
           owner.ends_with("LOG.") || owner.ends_with("getLogger().");
}

} // namespace trevix
