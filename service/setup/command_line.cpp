#include "service/setup/command_line.h"

#include "service/setup/key_file.h"
#include "service/setup/public_url.h"
#include "text/xdg_folders.h"

#include <charconv>
#include <utility>

namespace trevix {

namespace {

template <typename Number>
std::optional<Number> numberIn(std::string_view text, Number least, Number most) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    // The whole text has to be the number: "80x" is a slip, not port 80.
    if (parsed.ec != std::errc() || parsed.ptr != end || value < least || value > most) {
        return std::nullopt;
    }
    return value;
}

// An absent text means that the value was taken.
std::optional<std::string> take(CommandLine& line, const std::string& option,
                                const std::string& value) {
    if (option == "--port") {
        const auto port = numberIn<std::uint16_t>(value, 0, 65535);
        if (!port) return "--port needs a number from 0 to 65535";
        line.port = *port;
    } else if (option == "--metrics") {
        const auto port = numberIn<std::uint16_t>(value, 0, 65535);
        if (!port) return "--metrics needs a number from 0 to 65535";
        line.metrics = *port;
    } else if (option == "--log") {
        if (value != "json" && value != "text") return "--log is text or json";
        line.jsonLog = value == "json";
    } else if (option == "--queue") {
        const auto queue = numberIn<std::size_t>(value, 1, 4096);
        if (!queue) return "--queue needs a number from 1 to 4096";
        line.queue = *queue;
    } else if (option == "--keep-days") {
        // A hundred years. Who means for good says 0.
        const auto days = numberIn<int>(value, 0, 36500);
        if (!days) return "--keep-days needs a number from 0 to 36500";
        line.keepDays = *days;
    } else if (option == "--keep-work") {
        const auto days = numberIn<int>(value, 0, 365);
        if (!days) return "--keep-work needs a number from 0 to 365";
        line.keepWorkDays = *days;
    } else if (option == "--idle-exit") {
        const auto seconds = numberIn<int>(value, 1, 86400);
        if (!seconds) return "--idle-exit needs a number from 1 to 86400";
        line.idleExit = *seconds;
    } else if (value.empty()) {
        return option + " needs a value";
    } else if (option == "--data") {
        line.data = value;
    } else if (option == "--catalog") {
        line.catalog = value;
    } else if (option == "--socket") {
        line.socket = value;
    } else if (option == "--judge") {
        line.judge = value;
    } else if (option == "--model") {
        line.model = value;
    } else if (option == "--languagetool") {
        line.languageTool = value;
    } else if (option == "--store") {
        if (auto problem = storeProblem(value)) return problem;
        line.store = value;
    } else if (option == "--role") {
        if (value == "api") {
            line.role = CommandLine::Role::api;
        } else if (value == "worker") {
            line.role = CommandLine::Role::worker;
        } else if (value == "both") {
            line.role = CommandLine::Role::both;
        } else {
            return "--role is api, worker or both";
        }
    } else if (option == "--listen") {
        if (!isIpv4(value)) return "--listen needs an IPv4 address, as 127.0.0.1";
        line.listen = value;
    } else if (option == "--public-url") {
        if (!parsePublicUrl(value)) {
            return "--public-url needs an address without a path, as https://judge.example.org";
        }
        line.publicUrl = value;
    } else {
        if (!isUsableKey(value))
            return "--key needs 8 to 512 visible ASCII characters without \"%\"";
        line.key = value;
    }
    return std::nullopt;
}

/// What does not go together of what a team's service is told.
std::optional<std::string> teamProblem(const CommandLine& line) {
    if (!line.store) {
        if (line.role != CommandLine::Role::both) return "--role goes with --store";
        if (line.listen) return "--listen goes with --store";
        if (line.publicUrl) return "--public-url goes with --store";
        if (line.plain) return "--plain goes with --listen";
        if (line.metrics) return "--metrics goes with --store";
        return std::nullopt;
    }
    // The others would be cut off from what is theirs as well.
    if (line.key)
        return "with --store there is a key for each person: see trevix-local keys --help";
    if (line.action == CommandLine::Action::printKey) return "--print-key does not go with --store";
    if (line.idleExit > 0) return "--idle-exit does not go with --store";
    if (line.role == CommandLine::Role::worker && (line.listen || line.publicUrl || line.socket)) {
        return "a worker listens nowhere: --listen, --public-url and --socket go with --role api";
    }
    const bool leaves = line.listen && !line.listen->starts_with("127.");
    if (line.plain && !leaves) return "--plain goes with a --listen beyond this machine";
    if (leaves && !line.plain) {
        return "--listen " + *line.listen +
               " would send keys and work unencrypted: have a proxy on this machine speak TLS, or "
               "say --plain";
    }
    // By which name it is asked is not to be anybody's choice but its owner's.
    if (leaves && !line.publicUrl) return "--listen beyond this machine needs --public-url";
    return std::nullopt;
}

} // namespace

std::variant<CommandLine, UsageError> parseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine line;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string option = arguments[i];
        // Answered at once: what else stands on the line is not looked at.
        if (option == "--help" || option == "-h") {
            line.action = CommandLine::Action::help;
            return line;
        }
        if (option == "--version") {
            line.action = CommandLine::Action::version;
            return line;
        }
        if (option == "--worker") {
            line.action = CommandLine::Action::worker;
            continue;
        }
        if (option == "--own-readers") {
            line.ownReaders = true;
            continue;
        }
        if (option == "--print-key") {
            line.action = CommandLine::Action::printKey;
            continue;
        }
        if (option == "--engines") {
            line.action = CommandLine::Action::engines;
            continue;
        }
        if (option == "--json") {
            line.json = true;
            continue;
        }
        if (option == "--with-parent") {
            line.withParent = true;
            continue;
        }
        if (option == "--plain") {
            line.plain = true;
            continue;
        }
        if (option == "--judge-elsewhere") {
            line.judgeElsewhere = true;
            continue;
        }
        std::optional<std::string> value;
        // At the first "=": an address may hold others.
        if (const auto equals = option.find('='); equals != std::string::npos) {
            value = option.substr(equals + 1);
            option.resize(equals);
        }
        // Before a value is looked for, so that a slip is named and not its neighbour.
        if (option != "--port" && option != "--data" && option != "--key" &&
            option != "--catalog" && option != "--socket" && option != "--queue" &&
            option != "--keep-days" && option != "--keep-work" && option != "--judge" &&
            option != "--model" && option != "--languagetool" && option != "--idle-exit" &&
            option != "--store" && option != "--role" && option != "--listen" &&
            option != "--public-url" && option != "--metrics" && option != "--log") {
            return UsageError{"unknown option " + arguments[i]};
        }
        if (!value) {
            if (++i == arguments.size()) return UsageError{option + " needs a value"};
            value = arguments[i];
        }
        if (auto error = take(line, option, *value)) return UsageError{std::move(*error)};
    }
    if (line.json && line.action != CommandLine::Action::engines) {
        return UsageError{"--json goes with --engines"};
    }
    if (line.judge.has_value() != line.model.has_value()) {
        return UsageError{"--judge and --model go together"};
    }
    if (line.judgeElsewhere && !line.judge) {
        return UsageError{"--judge-elsewhere goes with --judge"};
    }
    if (auto error = teamProblem(line)) return UsageError{std::move(*error)};
    return line;
}

std::optional<std::string> storeProblem(std::string_view address) {
    if (address.starts_with("postgresql://") || address.starts_with("postgres://")) {
        return std::nullopt;
    }
    return "--store needs the address of a database, postgresql://...";
}

std::string_view usageText() {
    return R"(Usage: trevix-local [OPTION]...
       trevix-local keys add|list|revoke ...

Judges work on this machine, for programs of this machine only: listens on 127.0.0.1 and
on a Unix socket of its user. With --store it is one of the programs of a team's service.

  --port N        port to listen on; 0 for any free one (default 8797)
  --socket PATH   Unix socket to listen on beside the port; none for none
                  (default $XDG_RUNTIME_DIR/trevix-local/api.sock, where there is one)
  --data DIR      where the key and the runs are kept
                  (default ${XDG_DATA_HOME:-~/.local/share}/trevix-local)
  --key KEY       use this key and do not write it down (other users of the machine can
                  see it in the process list)
  --catalog FILE  served as /brask/app-catalog.json (default: the one of the product)
  --queue N       jobs that may wait (default 256)
  --keep-days N   forget runs N days after their last version; 0 keeps them (default 365)
  --keep-work N   keep the judged work itself N days, to show it with its flaws marked; 0 keeps
                  nothing of it (default 7)
  --judge URL     have a model judge too, as advice: a chat server of your own on this
                  machine that speaks OpenAI's protocol (http://127.0.0.1:11434,
                  http+unix://%2Fpath%2Fto%2Fsocket); a key of its own stands in the
                  environment as TREVIX_JUDGE_KEY
  --model NAME    the model that it shall ask
  --judge-elsewhere
                  that server may be on another machine: work leaves this one, by https
  --languagetool URL
                  ask a LanguageTool server of your own on this machine
                  (http://127.0.0.1:8081)
  --store URL     keep runs and jobs in a database that the machines of a team share
                  (postgresql://USER@HOST/DATABASE); its password stands in ~/.pgpass or in
                  the environment as PGPASSWORD
  --role ROLE     api takes work in and tells of it, worker judges it, both does both
                  (default both); with --store
  --listen ADDRESS
                  an IPv4 address of this machine to listen on; with --store (default 127.0.0.1)
  --public-url URL
                  where others reach the service, through a proxy as a rule; with --store
                  (https://judge.example.org)
  --plain         what --listen sends beyond this machine may go unencrypted
  --metrics PORT  a port on 127.0.0.1 with /metrics for Prometheus, /healthz and /readyz, without
                  a key; 0 for any free one; with --store
  --log FORM      text, or json: one object a line on standard error for each request and each
                  judged job, without work and keys (default text)
  --idle-exit SECONDS
                  end when for so long nothing was asked and no job waited or ran: for a
                  service manager that listens and starts it anew (LISTEN_FDS)
  --with-parent   end when standard input does, so with the program that holds it
  --print-key     print the key, making it when there is none yet, and exit
  --engines       print who judges work here, and how to get those who are not, and exit
  --json          print that as JSON
  --help          print this and exit
  --version       print the version and exit

When it is ready it prints one line: trevix-local listening on http://127.0.0.1:PORT
and, where it listens on a socket, a second one: trevix-local listening on http+unix://SOCKET
)";
}

std::optional<std::string> dataFolder(const std::optional<std::string>& data,
                                      const std::optional<std::string>& xdgDataHome,
                                      const std::optional<std::string>& home) {
    if (data) return data;
    const auto folder =
        kelvane::text::xdgDataHome(xdgDataHome.value_or(""), home.value_or("")) / "trevix-local";
    // XDG_DATA_HOME that is not absolute is to be ignored, by its specification; without HOME
    // nothing is left.
    if (!folder.is_absolute()) return std::nullopt;
    return folder.string();
}

} // namespace trevix
