// The promises of pasteboards, asked of the scripted one and of a real X server's.

#include "platform/fake/fake_pasteboard.h"
#include "platform/fake/journal.h"
#include "platform/linux/common/copy_pasteboard.h"
#include "platform/linux/x11/x11_clipboard.h"
#include "tests/contract/pasteboard_contract.h"
#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace kelvane {
namespace {

class ScriptedPasteboard : public PasteboardOfSystem {
public:
    Pasteboard& pasteboard() override { return m_pasteboard; }
    void anotherApplicationCopies(const std::string& text) override { m_pasteboard.copyText(text); }

private:
    Journal m_journal;
    FakePasteboard m_pasteboard{m_journal};
};

class PasteboardOfXServer : public PasteboardOfSystem {
public:
    Pasteboard& pasteboard() override { return *m_pasteboard; }
    void anotherApplicationCopies(const std::string& text) override { m_other->setString(text); }

private:
    VirtualDesktop m_desktop{{.windowManager = false, .sessionBus = false}};
    std::unique_ptr<Pasteboard> m_pasteboard =
        makeCopyPasteboard(openX11Clipboard(m_desktop.display()));
    std::unique_ptr<Pasteboard> m_other = makeCopyPasteboard(openX11Clipboard(m_desktop.display()));
};

INSTANTIATE_TEST_SUITE_P(
    Pasteboards, PasteboardContract,
    testing::Values(PasteboardKind{"scripted",
                                   []() -> std::unique_ptr<PasteboardOfSystem> {
                                       return std::make_unique<ScriptedPasteboard>();
                                   }},
                    PasteboardKind{"x_server",
                                   []() -> std::unique_ptr<PasteboardOfSystem> {
                                       return std::make_unique<PasteboardOfXServer>();
                                   }}),
    [](const auto& each) { return each.param.name; });

} // namespace
} // namespace kelvane
