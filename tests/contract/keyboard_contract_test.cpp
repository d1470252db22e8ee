// The promises of keyboards, asked of the scripted one and of the one on a real X server.

#include "tests/contract/keyboard_contract.h"

#include "platform/fake/fake_keyboard.h"
#include "platform/fake/fake_pasteboard.h"
#include "platform/fake/fakes.h"
#include "platform/fake/journal.h"
#include "tests/contract/keys_of_desktop.h"
#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

class FakeKeys : public KeysOfSystem {
public:
    FakeKeys() {
        m_keyboard.onCopy = [this](ProcessId asked) {
            if (asked != m_front) return;
            auto& keys = m_applications.at(asked).keys;
            keys.insert(keys.end(), kKeysOfACopy.begin(), kKeysOfACopy.end());
            m_pasteboard.copyText(m_applications.at(asked).text);
        };
    }
    Keyboard& keyboard() override { return m_keyboard; }
    Pasteboard& pasteboard() override { return m_pasteboard; }
    ProcessId open(const std::string& text) override {
        m_front = ++m_last;
        m_applications[m_last].text = text;
        return m_last;
    }
    void close(ProcessId application) override {
        m_applications.erase(application);
        if (m_front == application) m_front.reset();
    }
    std::vector<std::string> keys(ProcessId application) override {
        return m_applications.at(application).keys;
    }

private:
    struct Application {
        std::string text;
        std::vector<std::string> keys;
    };

    Journal m_journal;
    FakeKeyboard m_keyboard{m_journal};
    FakePasteboard m_pasteboard{m_journal};
    std::map<ProcessId, Application> m_applications;
    std::optional<ProcessId> m_front;
    ProcessId m_last = 100;
};

/// A desktop with the product's ports on it.
struct X11Desktop {
    X11Desktop() {
        for (const auto& [name, value] : desktop.environment()) {
            fakes.environment.variables[name] = value;
        }
        ports = makeLinuxDesktop(fakes.environment, fakes.clock, fakes.ownFocus);
    }
    VirtualDesktop desktop{{.sessionBus = false}};
    FakePlatform fakes;
    LinuxDesktop ports;
};

class X11Keys : private X11Desktop, public KeysOfDesktop<VirtualDesktop> {
public:
    X11Keys() : KeysOfDesktop(X11Desktop::desktop, X11Desktop::ports) {}
};

INSTANTIATE_TEST_SUITE_P(Keyboards, KeyboardContract,
                         testing::Values(KeyboardKind{"fake",
                                                      []() -> std::unique_ptr<KeysOfSystem> {
                                                          return std::make_unique<FakeKeys>();
                                                      }},
                                         KeyboardKind{"x11",
                                                      []() -> std::unique_ptr<KeysOfSystem> {
                                                          return std::make_unique<X11Keys>();
                                                      }}),
                         [](const testing::TestParamInfo<KeyboardKind>& kind) {
                             return kind.param.name;
                         });

} // namespace
} // namespace kelvane
