#include "platform/linux/accessibility/accessible_desktop.h"

#include "platform/linux/bus/bus_link.h"
#include "platform/linux/common/process_facts.h"
#include "text/unicode.h"

#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace kelvane {

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kText = "org.a11y.atspi.Text";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kRoot = "/org/a11y/atspi/accessible/root";
constexpr const char* kRegistry = "org.a11y.atspi.Registry";
/// The first state word asks for objects with the keyboard; matches of all, in their order.
constexpr std::int32_t kFocusedWord = 1 << 12;

// What a program says is taken up to here: a text of a few megabytes is no selection to grade.
constexpr std::size_t kLongestText = std::size_t{4} << 20U;

std::vector<AccessibleRef> readRefs(sd_bus_message* answer) {
    std::vector<AccessibleRef> refs;
    if (answer == nullptr || sd_bus_message_enter_container(answer, 'a', "(so)") < 0) return refs;
    const char* name = nullptr;
    const char* path = nullptr;
    while (sd_bus_message_read(answer, "(so)", &name, &path) > 0) refs.push_back({name, path});
    return refs;
}

std::optional<AccessibleStates> readStates(sd_bus_message* answer) {
    const void* words = nullptr;
    std::size_t bytes = 0;
    if (answer == nullptr || sd_bus_message_read_array(answer, 'u', &words, &bytes) < 0 ||
        bytes < 2 * sizeof(std::uint32_t)) {
        return std::nullopt;
    }
    const auto* const word = static_cast<const std::uint32_t*>(words);
    return word[0] | (AccessibleStates{word[1]} << 32U);
}

std::string readText(sd_bus_message* answer, const char* signature = "s") {
    const char* text = nullptr;
    if (answer == nullptr || sd_bus_message_read(answer, signature, &text) < 0) return {};
    return text::utf8FromOutside(std::string_view(text).substr(0, kLongestText));
}

std::string readProperty(sd_bus_message* answer) {
    if (answer == nullptr || sd_bus_message_enter_container(answer, 'v', "s") < 0) return {};
    return readText(answer);
}

bool writeNothing(sd_bus_message*) {
    return true;
}

/// What a program on the bus is, asked once: its name there is never given to another one.
struct Program {
    pid_t process = 0;
    std::optional<std::string> name; ///< Absent until it has told.
    WindowFacts facts;
};

class AtspiDesktop : public AccessibleDesktop {
public:
    AtspiDesktop(Buses buses, InstalledEntries installed, Clock& clock, OwnFocus& ownFocus)
        : m_buses(std::move(buses)),
          m_installed(std::move(installed)),
          m_clock(clock),
          m_ownFocus(ownFocus) {}

    bool isThere() override {
        const std::lock_guard lock(m_mutex);
        return connect();
    }

    std::optional<AccessibleWindow> front() override {
        const std::lock_guard lock(m_mutex);
        return lookForFront();
    }

    std::vector<AccessibleWindow> windows() override {
        const std::lock_guard lock(m_mutex);
        return look(Look::All);
    }

    std::optional<std::string> selectedText(ProcessId target) override {
        const std::lock_guard lock(m_mutex);
        const auto front = lookForFront();
        if (!front || front->app.pid != target) return std::nullopt;
        const auto object = focusedObject(front->window);
        if (!object) return std::nullopt;
        return read(*object);
    }

private:
    enum class Look { FrontOnly, All };

    // ---- the bus -----------------------------------------------------------------------------

    bool connect() {
        if (m_link && m_link->alive()) return true;
        m_link.reset();
        m_programs.clear();
        auto address = m_buses.accessibility;
        if (address.empty()) {
            if (!m_session || !m_session->alive()) m_session = BusLink::open(m_buses.session);
            if (!m_session) return false;
            m_session->ask({"org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"},
                           writeNothing,
                           [&](sd_bus_message* answer) { address = readText(answer); });
            m_session->wait(accessible::kRound);
        }
        m_link = BusLink::open(address);
        return m_link != nullptr;
    }

    void ask(const AccessibleRef& object, const char* interface, const char* member,
             const BusLink::Write& write, BusLink::Read read) {
        m_link->ask({object.name, object.path, interface, member}, write, std::move(read));
    }

    void askProperty(const AccessibleRef& object, const char* interface, const char* property,
                     std::function<void(std::string)> told) {
        ask(
            object, kProperties, "Get",
            [&](sd_bus_message* question) {
                return sd_bus_message_append(question, "ss", interface, property) >= 0;
            },
            [told = std::move(told)](sd_bus_message* answer) { told(readProperty(answer)); });
    }

    /// Takes the answers, and notes who gave none.
    void answers(const std::function<bool()>& enough = {}) {
        const auto silent = m_link->wait(accessible::kRound, enough);
        if (!m_link->alive()) return;
        for (const auto& name : silent) m_silent.add(name, m_clock.now());
    }

    [[nodiscard]] bool isSilent(const std::string& name) {
        return m_silent.holds(name, m_clock.now());
    }

    // ---- windows -----------------------------------------------------------------------------

    struct Seen {
        AccessibleRef window;
        bool active = false;
        std::optional<std::string> title;
    };

    std::optional<AccessibleWindow> lookForFront() {
        for (auto& window : look(Look::FrontOnly)) {
            if (!window.active) continue;
            m_last = window;
            return window;
        }
        if (!m_last || !m_ownFocus.isHeld()) {
            m_last.reset();
            return std::nullopt;
        }
        return m_last;
    }

    std::vector<AccessibleWindow> look(Look what) {
        if (!connect()) return {};
        std::vector<Seen> seen;
        std::set<std::string> present;
        const auto askWindow = [&](const AccessibleRef& window) {
            seen.push_back({window, false, std::nullopt});
            const auto place = seen.size() - 1;
            ask(window, kAccessible, "GetState", writeNothing,
                [&seen, place](sd_bus_message* answer) {
                    const auto states = readStates(answer).value_or(0);
                    seen[place].active = (states & accessible::kActive) != 0;
                });
            askProperty(window, kAccessible, "Name", [&seen, place](std::string title) {
                seen[place].title = std::move(title);
            });
        };
        const auto askProgram = [&](const AccessibleRef& root) {
            // Not told yet where an earlier look was over before.
            if (!m_programs[root.name].name) {
                askProperty(root, kAccessible, "Name", [this, root](std::string name) {
                    m_programs[root.name].name = std::move(name);
                });
            }
            ask(root, kAccessible, "GetChildren", writeNothing,
                [askWindow, &present, root](sd_bus_message* answer) {
                    if (answer != nullptr) present.insert(root.name);
                    for (const auto& window : readRefs(answer)) {
                        if (!window.path.ends_with("/null")) askWindow(window);
                    }
                });
        };
        const auto meet = [&](const AccessibleRef& root) {
            if (isSilent(root.name)) return;
            const auto known = m_programs.find(root.name);
            if (known != m_programs.end()) {
                if (known->second.process != ::getpid()) askProgram(root);
                return;
            }
            askProcess(root.name, [this, askProgram, root](pid_t process) {
                auto& program = m_programs[root.name];
                program.process = process;
                // Asked of ourselves it would wait for us.
                if (process == ::getpid()) return;
                program.facts.process = process;
                addProcessFacts(program.facts);
                askProgram(root);
            });
        };
        ask({kRegistry, kRoot}, kAccessible, "GetChildren", writeNothing,
            [meet](sd_bus_message* answer) {
                for (const auto& root : readRefs(answer)) meet(root);
            });
        answers([&] {
            return what == Look::FrontOnly && std::ranges::any_of(seen, [&](const Seen& window) {
                       return window.active && window.title && m_programs[window.window.name].name;
                   });
        });
        if (what == Look::All) {
            std::erase_if(m_programs, [&](const auto& program) {
                return program.second.process != ::getpid() && !present.contains(program.first);
            });
        }
        return identified(seen, what);
    }

    void askProcess(const std::string& name, std::function<void(pid_t)> told) {
        m_link->ask(
            {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
             "GetConnectionUnixProcessID"},
            [&](sd_bus_message* question) {
                return sd_bus_message_append(question, "s", name.c_str()) >= 0;
            },
            [told = std::move(told)](sd_bus_message* answer) {
                std::uint32_t process = 0;
                if (answer != nullptr && sd_bus_message_read(answer, "u", &process) > 0) {
                    told(static_cast<pid_t>(process));
                }
            });
    }

    std::vector<AccessibleWindow> identified(const std::vector<Seen>& seen, Look what) {
        std::vector<AccessibleWindow> windows;
        const auto index = m_installed();
        for (const auto& one : seen) {
            if (what == Look::FrontOnly && !one.active) continue;
            const auto& program = m_programs[one.window.name];
            const auto facts =
                accessibleFacts(program.facts, program.name.value_or(""), one.title.value_or(""));
            auto identity = identify(facts, *index);
            if (!identity) continue;
            const auto number = processIdOf(program.process, identity->id);
            windows.push_back({one.window,
                               {std::move(identity->id), std::move(identity->name), number},
                               program.process,
                               one.active,
                               identity->takesKeys});
        }
        return windows;
    }

    // ---- what is selected --------------------------------------------------------------------

    /// The object with the keyboard: as the toolkit's own search finds it where it has one, else by
    /// walking down the window.
    std::optional<AccessibleRef> focusedObject(const AccessibleRef& window) {
        std::string toolkit;
        const AccessibleRef root{window.name, kRoot};
        askProperty(root, "org.a11y.atspi.Application", "ToolkitName",
                    [&](std::string name) { toolkit = std::move(name); });
        answers();
        const auto& executable = m_programs[window.name].facts.executable;
        if (isSilent(window.name) || !accessible::tellsWholeTexts(toolkit, executable)) {
            return std::nullopt;
        }

        std::vector<AccessibleRef> found;
        if (accessible::maySearch(toolkit)) {
            ask(window, "org.a11y.atspi.Collection", "GetMatches", &AtspiDesktop::writeFocusedRule,
                [&](sd_bus_message* answer) { found = readRefs(answer); });
        }
        std::vector<AccessibleRef> cached;
        ask({window.name, "/org/a11y/atspi/cache"}, "org.a11y.atspi.Cache", "GetItems",
            writeNothing, [&](sd_bus_message* answer) { cached = readFocusedItems(answer); });
        answers();
        for (const auto* const objects : {&found, &cached}) {
            if (objects->empty() || isSilent(window.name)) continue;
            if (auto object = search(*objects, false)) return object;
        }
        if (isSilent(window.name)) return std::nullopt;
        return search({window}, true);
    }

    std::optional<AccessibleRef> search(const std::vector<AccessibleRef>& from, bool walks) {
        FocusSearch search;
        std::function<void(const AccessibleRef*, const std::vector<AccessibleRef>&)> meet;
        meet = [&](const AccessibleRef* parent, const std::vector<AccessibleRef>& objects) {
            for (const auto& object : search.admit(parent, objects)) {
                askRoleAndStates(object, [&, object](AccessibleRole role, AccessibleStates states) {
                    const auto next = search.told(object, role, states);
                    if (next.selections) {
                        askSelections(object, [&search, object](std::int32_t count) {
                            search.toldSelections(object, count);
                        });
                    }
                    if (!walks || !next.children) return;
                    ask(object, kAccessible, "GetChildren", writeNothing,
                        [&meet, object](sd_bus_message* answer) {
                            meet(&object, readRefs(answer));
                        });
                });
            }
        };
        meet(nullptr, from);
        answers();
        return isSilent(from.front().name) ? std::nullopt : search.focused();
    }

    void askRoleAndStates(const AccessibleRef& object,
                          std::function<void(AccessibleRole, AccessibleStates)> told) {
        ask(object, kAccessible, "GetRole", writeNothing,
            [this, object, told = std::move(told)](sd_bus_message* answer) {
                std::uint32_t role = 0;
                if (answer == nullptr || sd_bus_message_read(answer, "u", &role) <= 0) return;
                ask(object, kAccessible, "GetState", writeNothing,
                    [told, role](sd_bus_message* states) {
                        if (const auto read = readStates(states)) told(role, *read);
                    });
            });
    }

    void askSelections(const AccessibleRef& object, std::function<void(std::int32_t)> told) {
        ask(object, kText, "GetNSelections", writeNothing,
            [told = std::move(told)](sd_bus_message* answer) {
                std::int32_t count = -1;
                if (answer != nullptr) (void)sd_bus_message_read(answer, "i", &count);
                told(count);
            });
    }

    static bool writeFocusedRule(sd_bus_message* question) {
        return sd_bus_message_append(question, "(aiia{ss}iaiiasib)uib", 2, kFocusedWord, 0, 1, 0, 1,
                                     4, 0, 0, 0, 0, 1, 0, 1, 0, 1U, 1, 1) >= 0;
    }

    static std::vector<AccessibleRef> readFocusedItems(sd_bus_message* answer) {
        std::vector<AccessibleRef> focused;
        constexpr const char* kItem = "((so)(so)(so)iiassusau)";
        if (answer == nullptr || sd_bus_message_enter_container(answer, 'a', kItem) < 0) {
            return focused;
        }
        while (sd_bus_message_enter_container(answer, 'r', "(so)(so)(so)iiassusau") > 0) {
            const char* name = nullptr;
            const char* path = nullptr;
            if (sd_bus_message_read(answer, "(so)", &name, &path) <= 0) break;
            if (sd_bus_message_skip(answer, "(so)(so)iiassus") < 0) break;
            if ((readStates(answer).value_or(0) & accessible::kFocused) != 0) {
                focused.push_back({name, path});
            }
            if (sd_bus_message_exit_container(answer) < 0) break;
        }
        return focused;
    }

    // ---- reading a text ----------------------------------------------------------------------

    std::optional<std::string> read(const AccessibleRef& object) {
        AccessibleText text;
        std::size_t objects = 0;
        fill(object, text, objects);
        answers();
        // A round that was not enough leaves a hole, and so does a program that went silent.
        if (isSilent(object.name) || objects > accessible::kMostObjects) return std::nullopt;
        return kelvane::selectedText(text);
    }

    /// Fills `text`, which stays where it is until the answers are in.
    void fill(const AccessibleRef& object, AccessibleText& text, std::size_t& objects) {
        if (++objects > accessible::kMostObjects) return;
        askRoleAndStates(
            object, [this, object, &text, &objects](AccessibleRole role, AccessibleStates states) {
                text.block = isBlock(role);
                if (!accessible::mayAskText(role)) return;
                if (!accessible::mayAskChildren(role, states)) {
                    // It may have a text of its own, but nothing below it will be known.
                    text.whole = (states & accessible::kManagesDescendants) == 0 &&
                                 role != accessible::kTable && role != accessible::kTreeTable;
                    return;
                }
                askSelections(object, [this, object, &text, &objects](std::int32_t count) {
                    if (count <= 0) return;
                    for (std::int32_t i = 0; i < count; ++i) askSelection(object, i, text);
                    ask(
                        object, kText, "GetText",
                        [](sd_bus_message* question) {
                            return sd_bus_message_append(question, "ii", 0, -1) >= 0;
                        },
                        [this, object, &text, &objects](sd_bus_message* answer) {
                            text.text = readText(answer);
                            // GTK 4.8 has nothing to say about the whole of an entry.
                            if (text.text.empty()) return fillSelected(object, text);
                            fillEmbedded(object, text, objects);
                        });
                });
            });
    }

    void askSelection(const AccessibleRef& object, std::int32_t number, AccessibleText& text) {
        ask(
            object, kText, "GetSelection",
            [number](sd_bus_message* question) {
                return sd_bus_message_append(question, "i", number) >= 0;
            },
            [&text](sd_bus_message* answer) {
                std::int32_t from = 0;
                std::int32_t to = 0;
                if (answer != nullptr && sd_bus_message_read(answer, "ii", &from, &to) > 0) {
                    text.selections.emplace_back(from, to);
                }
            });
    }

    void fillSelected(const AccessibleRef& object, AccessibleText& text) {
        if (text.selections.size() != 1) return;
        const auto [from, to] = std::minmax(text.selections[0].first, text.selections[0].second);
        ask(
            object, kText, "GetText",
            [from = from, to = to](sd_bus_message* question) {
                return sd_bus_message_append(question, "ii", from, to) >= 0;
            },
            [&text, length = to - from](sd_bus_message* answer) {
                text.text = readText(answer);
                text.selections = {{0, length}};
            });
    }

    void fillEmbedded(const AccessibleRef& object, AccessibleText& text, std::size_t& objects) {
        const auto selected = selectedObjects(text.text, text.selections);
        if (selected.empty()) return;
        ask(object, kAccessible, "GetChildren", writeNothing,
            [this, &text, &objects, selected](sd_bus_message* answer) {
                const auto children = readRefs(answer);
                text.embedded.resize(children.size());
                for (const auto place : selected) {
                    if (place < children.size())
                        fill(children[place], text.embedded[place], objects);
                }
            });
    }

    const Buses m_buses;
    const InstalledEntries m_installed;
    Clock& m_clock;
    OwnFocus& m_ownFocus;
    std::mutex m_mutex; ///< Guards everything below.
    std::unique_ptr<BusLink> m_session;
    std::unique_ptr<BusLink> m_link;
    std::map<std::string, Program> m_programs; ///< By their names on the bus.
    SilentNames m_silent;
    std::optional<AccessibleWindow> m_last; ///< The one that was in front before our own.
};

} // namespace

std::shared_ptr<AccessibleDesktop> openAccessibleDesktop(AccessibleDesktop::Buses buses,
                                                         InstalledEntries installed, Clock& clock,
                                                         OwnFocus& ownFocus) {
    return std::make_shared<AtspiDesktop>(std::move(buses), std::move(installed), clock, ownFocus);
}

} // namespace kelvane
