#include "app/cli/doctor.h"

#include "text/shown_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace kelvane {

namespace {

using nlohmann::json;

/// Collects the lines of one look.
class Lines {
public:
    void good(std::string area, std::string what) {
        add(std::move(area), Health::Good, std::move(what), {});
    }
    void advice(std::string area, std::string what, std::string todo) {
        add(std::move(area), Health::Advice, std::move(what), std::move(todo));
    }
    void bad(std::string area, std::string what, std::string todo) {
        add(std::move(area), Health::Bad, std::move(what), std::move(todo));
    }
    [[nodiscard]] std::vector<DoctorLine> taken() { return std::move(m_lines); }

private:
    void add(std::string area, Health health, std::string what, std::string todo) {
        m_lines.push_back({std::move(area), health, std::move(what), std::move(todo)});
    }

    std::vector<DoctorLine> m_lines;
};

void program(const DoctorFacts& facts, Lines& lines) {
    lines.good("program", "Kelvane " + facts.version + " on " + facts.system + ".");
    if (facts.isRunning) {
        lines.good("program", "It runs on this desktop.");
    } else {
        lines.advice("program", "It does not run on this desktop.",
                     "Start it from the applications menu, or as kelvane.");
    }
    if (facts.startsAtLogin || (facts.hasPackagesEntry && facts.isInstalled)) {
        lines.good("program", "It starts when you log in.");
    } else {
        lines.advice("program", "It does not start when you log in.",
                     facts.isInstalled ? "Choose “Wire my tools” in its menu."
                                       : "Start it once: its first start sees to that.");
    }
    if (!facts.copyVersion.empty() && facts.copyVersion != facts.version) {
        lines.advice("program",
                     "Your copy in ~/Applications, which starts when you log in, is Kelvane " +
                         facts.copyVersion + ".",
                     "Choose “Wire my tools” in the menu of this one to renew the copy.");
    }
}

void display(const DoctorFacts& facts, Lines& lines) {
    if (!facts.silent.empty()) {
        lines.bad("display", "The display " + facts.silent + " does not answer.",
                  "Log out and in again; what is in front cannot be seen.");
    } else if (facts.display.empty()) {
        lines.bad("display", "There is no display.",
                  "Start it in a desktop session: neither DISPLAY nor WAYLAND_DISPLAY is set.");
    } else {
        lines.good("display", "The display is " + facts.display +
                                  (facts.desktop.empty() ? "." : ", of " + facts.desktop + "."));
    }
    if (!facts.hasSessionBus) {
        lines.advice(
            "bus", "There is no session bus.",
            "Start the session through dbus-run-session, or install dbus-user-session: the "
            "tray and the desktop's colours need it.");
        return;
    }
    if (!facts.hasTray) {
        lines.advice("tray", "Whether there is a tray could not be asked.",
                     "Install dbus-bin, which has dbus-send.");
    } else if (*facts.hasTray) {
        lines.good("tray", "There is a tray that shows the icon.");
    } else {
        lines.advice(
            "tray", "No tray of the usual kind (StatusNotifier) is here.",
            "An older tray may show the icon all the same; otherwise add one to your panel, "
            "or start kelvane again to open its panel. GNOME needs the AppIndicator extension.");
    }
    if (!facts.hasAccessibility) {
        lines.advice("accessibility", "Whether the accessibility bus is there could not be asked.",
                     "Install dbus-bin, which has dbus-send.");
    } else if (*facts.hasAccessibility) {
        lines.good("accessibility", "The accessibility bus is there.");
    } else {
        lines.advice("accessibility", "There is no accessibility bus.",
                     "Install at-spi2-core: screen readers need it to read the panel.");
    }
}

void notices(const DoctorFacts& facts, Lines& lines) {
    if (!facts.hasSessionBus) return; // Which has been said.
    if (!facts.wantsNotices) {
        lines.good("notifications", "Verdicts are not told by messages, as your settings have it.");
    } else if (!facts.notifier) {
        lines.advice("notifications", "Whether messages can be shown could not be asked.",
                     "Install dbus-bin, which has dbus-send.");
    } else if (!facts.notifier->empty()) {
        lines.good("notifications", "Messages are shown by " + *facts.notifier + ".");
    } else {
        lines.advice(
            "notifications", "Nobody shows messages here, or does not answer.",
            "Verdicts that come while the panel is closed are told by the icon alone. Start your "
            "desktop's notification service, or install one, such as dunst.");
    }
}

std::string placeName(const DoctorFacts& facts) {
    if (facts.isBaseSet) return "BRASK_API_BASE names it";
    if (facts.place == "this machine") return "chosen: on this machine";
    if (facts.place == "account") return "chosen: with a service account";
    return "nothing was chosen";
}

void service(const DoctorFacts& facts, Lines& lines) {
    for (const std::string& problem : facts.choiceProblems) {
        lines.bad("service", problem + ".", "Choose anew with kelvane --service.");
    }
    if (!facts.isAddress) {
        lines.bad("service", "The address of the service is none: “" + facts.base + "”.",
                  facts.isBaseSet ? "Correct BRASK_API_BASE, or unset it."
                                  : "Choose anew with kelvane --service.");
    } else if (facts.answers.value_or(false)) {
        lines.good("service", "The service " + facts.base + " answers (" + placeName(facts) + ").");
    } else {
        lines.bad("service",
                  "The service " + facts.base + " does not answer (" + placeName(facts) + ").",
                  facts.place == "this machine" && !facts.isBaseSet
                      ? "Start Kelvane, which starts it, or look with systemctl --user status "
                        "trevix-local.socket."
                      : "Look whether this machine reaches it; or grade on this machine: kelvane "
                        "--service.");
    }
    if (facts.proxyFrom == DoctorFacts::ProxyFrom::Environment) {
        lines.good("proxy", "The service is reached by the proxies that the environment names.");
    } else if (facts.proxyFrom == DoctorFacts::ProxyFrom::Desktop) {
        lines.good("proxy", facts.proxy.empty()
                                ? "The service is reached directly, as the desktop's settings say."
                                : "The service is reached through " + facts.proxy +
                                      ", as the desktop's settings say.");
    }
    if (facts.isBaseSet && facts.place == "this machine") {
        lines.advice("service", "BRASK_API_BASE is set and wins over your choice.",
                     "Unset it where you set it, to grade where you chose.");
    }
    if (facts.localService.empty()) {
        lines.advice("service", "The local service, trevix-local, is not installed.",
                     "Install the whole package to grade on this machine.");
    } else {
        lines.good("service", "The local service is " + facts.localService + ".");
    }
}

void key(const DoctorFacts& facts, Lines& lines) {
    switch (facts.key) {
    case DoctorFacts::KeyFrom::Nowhere:
        lines.bad(
            "key", "There is no key.",
            "Choose “Grade on this machine” (kelvane --service), which needs none of yours, or get "
            "one from the service and put it into ~/.brask/key.");
        break;
    case DoctorFacts::KeyFrom::Environment:
        lines.good("key", "The key is in BRASK_API_KEY.");
        break;
    case DoctorFacts::KeyFrom::KeyFile:
        lines.good("key", "The key is in ~/.brask/key.");
        break;
    case DoctorFacts::KeyFrom::Choice:
        lines.good("key", "The key is the local service's own.");
        break;
    }
    if (facts.isKeyOfAnother) {
        lines.bad("key", "BRASK_API_KEY is set and is not the key of the service you chose.",
                  "Unset it where you set it.");
    }
    if (facts.isKeyFileOpen) {
        lines.bad("key", "Others may read or write ~/.brask/key.", "chmod 600 ~/.brask/key");
    }
}

void tools(const DoctorFacts& facts, Lines& lines) {
    if (!facts.hasPython) {
        lines.bad("tools", "There is no python3 on your search path: the validator needs it.",
                  "Install python3 and choose “Wire my tools”.");
    }
    if (!facts.isInstalled) {
        lines.advice("tools", "The validator is not installed in ~/.brask.",
                     "Start Kelvane once, or choose “Wire my tools”.");
    }
    for (const auto& tool : facts.tools) {
        if (tool.isWired) {
            lines.good("tools", tool.name + " is wired.");
        } else if (tool.isPresent) {
            lines.advice(
                "tools", tool.name + " is here and not wired.",
                "Choose “Wire my tools”, or python3 ~/.brask/brask_install.py status for why.");
        } else {
            lines.good("tools", tool.name + " is not here.");
        }
    }
}

void engines(const DoctorFacts& facts, Lines& lines) {
    if (facts.localService.empty()) return;
    if (!facts.engines) {
        lines.bad("engines", "The local service did not say in time who judges.",
                  "In a terminal: trevix-local --engines");
        return;
    }
    std::string here;
    for (const auto& engine : *facts.engines) {
        if (engine.isPresent) here += (here.empty() ? "" : "; ") + engine.name;
    }
    if (!here.empty()) lines.good("engines", "Judging here: " + here + ".");
    for (const auto& engine : *facts.engines) {
        if (!engine.isPresent)
            lines.advice("engines", engine.name + " is not here.", engine.remedy);
    }
}

std::string_view mark(Health health) {
    switch (health) {
    case Health::Good:
        return "ok     ";
    case Health::Advice:
        return "advice ";
    case Health::Bad:
        return "BAD    ";
    }
    return "";
}

std::string_view word(Health health) {
    switch (health) {
    case Health::Good:
        return "ok";
    case Health::Advice:
        return "advice";
    case Health::Bad:
        return "bad";
    }
    return "";
}

} // namespace

std::vector<DoctorLine> doctorLines(const DoctorFacts& facts) {
    Lines lines;
    program(facts, lines);
    display(facts, lines);
    notices(facts, lines);
    service(facts, lines);
    key(facts, lines);
    tools(facts, lines);
    engines(facts, lines);
    return lines.taken();
}

std::string doctorText(const std::vector<DoctorLine>& lines) {
    std::string text;
    for (const auto& line : lines) {
        text.append(mark(line.health)).append(line.area);
        text.append(line.area.size() < 14 ? 14 - line.area.size() : 1, ' ').append(line.what);
        text += '\n';
        if (!line.todo.empty()) text.append(21, ' ').append("-> ").append(line.todo).append("\n");
    }
    return text;
}

std::string doctorJson(const std::vector<DoctorLine>& lines) {
    json list = json::array();
    for (const auto& line : lines) {
        list.push_back({{"area", line.area},
                        {"health", word(line.health)},
                        {"what", line.what},
                        {"todo", line.todo}});
    }
    return json{{"healthy", isHealthy(lines)}, {"lines", std::move(list)}}.dump(
        -1, ' ', false, json::error_handler_t::replace);
}

bool isHealthy(const std::vector<DoctorLine>& lines) {
    return std::ranges::none_of(lines,
                                [](const DoctorLine& line) { return line.health == Health::Bad; });
}

std::string withoutHome(std::string text, const std::string& home) {
    if (home.size() < 2) return text;
    for (std::size_t at = 0; (at = text.find(home, at)) != std::string::npos; ++at) {
        const char next = at + home.size() < text.size() ? text[at + home.size()] : '/';
        const bool isWhole = next == '/' || next == ':' || next == ' ' || next == '"';
        if (isWhole) text.replace(at, home.size(), "~");
    }
    return text;
}

std::vector<std::string> textsInReply(const std::string& reply) {
    constexpr std::string_view kBefore = "string \"";
    std::vector<std::string> texts;
    for (std::size_t at = 0; at < reply.size();) {
        const auto end = std::min(reply.find('\n', at), reply.size());
        const std::string_view line = std::string_view(reply).substr(at, end - at);
        const auto begin = line.find(kBefore);
        const bool isText = begin != std::string_view::npos && line.ends_with('"') &&
                            line.size() > begin + kBefore.size();
        if (isText) {
            const auto text = line.substr(begin + kBefore.size());
            texts.push_back(text::shownLine(text.substr(0, text.size() - 1)));
        }
        at = end + 1;
    }
    return texts;
}

std::string notifierIn(const std::string& reply) {
    // Who it is, who made it, its version, and that of the protocol.
    constexpr std::size_t kVersion = 2;
    const auto texts = textsInReply(reply);
    if (texts.size() <= kVersion || texts.front().empty()) return {};
    return texts.front() + (texts[kVersion].empty() ? "" : " " + texts[kVersion]);
}

std::optional<std::vector<DoctorFacts::Engine>> enginesOf(const std::string& text) {
    const json told = json::parse(text, nullptr, false);
    if (!told.is_object() || !told.contains("engines") || !told["engines"].is_array()) {
        return std::nullopt;
    }
    std::vector<DoctorFacts::Engine> engines;
    for (const json& each : told["engines"]) {
        if (!each.is_object()) continue;
        const auto said = [&](const char* name) {
            const auto found = each.find(name);
            return found != each.end() && found->is_string() ? found->get<std::string>()
                                                             : std::string();
        };
        const auto here = each.find("here");
        const std::string trouble = said("trouble");
        engines.push_back(
            {.name = said("name"),
             .isPresent = here != each.end() && here->is_boolean() && here->get<bool>(),
             .remedy = trouble.empty() ? said("obtain") : trouble});
    }
    return engines;
}

} // namespace kelvane
