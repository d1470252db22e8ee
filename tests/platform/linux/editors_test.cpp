// Copying the selection out of real editors, and the clipboard afterwards.

#include "tests/platform/linux/capture_desktop_test.h"
#include "tests/platform/linux/x11/painted_window.h"

#include <gmock/gmock.h>

#include <xcb/xtest.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

struct Editor {
    std::string name;
    std::vector<std::string> command;
    std::string wmClass;
    bool announcesKeyboardSelection = true; ///< As PRIMARY.
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const Editor& editor, std::ostream* out) {
    *out << editor.name;
}

class EditorsTest : public ClipboardDesktopTest<EditorsTest>,
                    public testing::WithParamInterface<Editor> {
public:
    inline static const DesktopOptions kDesktop{};

protected:
    static constexpr auto kDocument = "First line\nZweite Zeile: grüße 😀\n\tthird";

    void open(const std::string& document) {
        auto command = GetParam().command;
        command.push_back(file("document.txt", document).string());
        start(command);
        const auto window = desktop().waitForWindow([](const DesktopWindow& candidate) {
            return candidate.wmClass == GetParam().wmClass &&
                   candidate.title.find("document.txt") != std::string::npos;
        });
        ASSERT_TRUE(window);
        ASSERT_TRUE(desktop().activate(window->window));
    }

    /// The editor has dealt with every key that it has been sent before.
    static bool editorHasDealtWithEverything() {
        return desktop().hasDealtWithEverything(desktop().activeWindow());
    }

    static void key(const std::string& keys) { outputOf("xdotool key " + keys); }

    struct Stroke {
        std::uint8_t key;
        bool press;
    };
    static void strokes(std::initializer_list<Stroke> list) {
        auto* const xcb = desktop().link().xcb();
        for (const auto& stroke : list) {
            xcb_test_fake_input(xcb, stroke.press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, stroke.key,
                                XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
        }
        xcb_flush(xcb);
    }

    static void settle() { EXPECT_TRUE(editorHasDealtWithEverything()); }

    /// Keys are dealt with in their order, but the window can be there before its document is: in
    /// an editor that announces what is selected, until it does.
    static void selectAll() {
        EXPECT_TRUE(VirtualDesktop::waitUntil([] {
            key("ctrl+a");
            settle();
            return !GetParam().announcesKeyboardSelection || ownerOf("PRIMARY") != 0U;
        }));
    }

    /// A capture of the whole document that the copy key, and not PRIMARY, brought: the clipboard
    /// was taken, so what it holds afterwards has been put back.
    static void expectCopied(ProductPorts& product, const std::string& document) {
        const auto owner = clipboardOwner();
        EXPECT_EQ(product.captureText().value_or("(nothing)"), document);
        EXPECT_NE(clipboardOwner(), owner);
    }
};

TEST_P(EditorsTest, givesItsSelectionAndTheClipboardComesBack) {
    ProductPorts product(desktop());
    open(kDocument);
    selectAll();

    otherProgramCopies("mine: grüße\n");
    expectCopied(product, kDocument);
    EXPECT_EQ(pasted(), "mine: grüße\n");

    const auto picture = "\x89PNG\r\n\x1a\n" + std::string(100'000, '\xA5') + std::string(1, '\0');
    otherProgramCopies(picture, "image/png");
    expectCopied(product, kDocument);
    EXPECT_TRUE(pasted("image/png") == picture);
    EXPECT_EQ(product.captureText(), kDocument) << "a second time, with the clipboard ours";
    EXPECT_TRUE(pasted("image/png") == picture);
}

TEST_P(EditorsTest, anEmptyClipboardStaysEmpty) {
    ProductPorts product(desktop());
    open(kDocument);
    selectAll();
    EXPECT_EQ(product.captureText(), kDocument);
    EXPECT_EQ(clipboardOwner(), 0U);
}

TEST_P(EditorsTest, withoutASelectionTheClipboardIsNotTouched) {
    ProductPorts product(desktop());
    open(kDocument);
    selectAll();
    key("ctrl+Home");
    settle();
    otherProgramCopies("mine");
    const auto owner = clipboardOwner();
    EXPECT_EQ(product.captureText(), std::nullopt);
    EXPECT_EQ(clipboardOwner(), owner);
    EXPECT_EQ(pasted(), "mine");
}

TEST_P(EditorsTest, locksAndLayoutsDoNotMatter) {
    constexpr std::uint8_t kQ = 24, kShift = 50, kCapsLock = 66, kNumLock = 77, kHome = 110;
    ProductPorts product(desktop());
    open("");
    // The document says which layout is in force: q is й on a Russian keyboard. xdotool would
    // switch the layout back with every key.
    const auto expectRussianText = [&] {
        settle();
        strokes({{kQ, true}, {kQ, false}});
        strokes({{kShift, true}, {kHome, true}, {kHome, false}, {kShift, false}});
        settle();
        otherProgramCopies("mine");
        expectCopied(product, "й");
        EXPECT_EQ(pasted(), "mine");
    };

    outputOf("setxkbmap -layout us,ru -option '' -option grp:caps_toggle");
    settle();
    strokes({{kCapsLock, true}, {kCapsLock, false}, {kNumLock, true}, {kNumLock, false}});
    expectRussianText();
    strokes({{kCapsLock, true}, {kCapsLock, false}, {kNumLock, true}, {kNumLock, false}});

    // No key of this layout is an A or a C; the ones that are needed are there.
    outputOf("setxkbmap -layout ru -option ''");
    expectRussianText();
    outputOf("setxkbmap -layout us -option ''");
}

INSTANTIATE_TEST_SUITE_P(
    Real, EditorsTest,
    testing::Values(Editor{"mousepad", {"mousepad", "--disable-server"}, "Mousepad"},
                    Editor{"gedit", {"gedit", "--standalone"}, "Gedit"},
                    Editor{"featherpad", {"featherpad", "--standalone"}, "FeatherPad", false}),
    [](const auto& each) { return each.param.name; });

std::string longDocument(std::size_t bytes) {
    std::string document;
    while (document.size() < bytes) {
        document += "line " + std::to_string(document.size()) + " of a long document\n";
    }
    return document;
}

class LongDocumentTest : public EditorsTest {};

TEST_P(LongDocumentTest, isCutAndTheClipboardComesBack) {
    const auto document = longDocument(Capture::kMaxCharacters + 20'000);
    ProductPorts product(desktop());
    open(document);
    selectAll();
    otherProgramCopies("mine");
    // How long the editor takes for it depends on the machine, and a capture waits for less than a
    // second. Whatever comes of it, the clipboard is the user's in the end, every time: also when
    // the copy comes late, for which the editor has to have dealt with the key.
    std::optional<std::string> text;
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        text = product.captureText();
        EXPECT_TRUE(editorHasDealtWithEverything());
        EXPECT_TRUE(VirtualDesktop::waitUntil([] { return pasted() == "mine"; }));
        return text.has_value() || HasFailure();
    }));
    ASSERT_TRUE(text);
    EXPECT_TRUE(document.starts_with(*text));
    EXPECT_EQ(text->size(), Capture::kMaxCharacters);
}

INSTANTIATE_TEST_SUITE_P(Real, LongDocumentTest,
                         testing::Values(Editor{
                             "mousepad", {"mousepad", "--disable-server"}, "Mousepad"}),
                         [](const auto& each) { return each.param.name; });

/// An application of the test's own with more text than one answer holds: it hands it on in pieces,
/// and copies at the very moment that a test says.
class LargeSelectionTest : public ClipboardDesktopTest<LargeSelectionTest> {
public:
    inline static const DesktopOptions kDesktop{.sessionBus = false};

protected:
    void SetUp() override {
        ASSERT_TRUE(m_window->waitUntilDrawn());
        ASSERT_TRUE(desktop().waitForWindow(
            [&](const DesktopWindow& other) { return other.window == m_window->id(); }));
        ASSERT_TRUE(desktop().activate(m_window->id()));
        otherProgramCopies("mine");
    }
    void TearDown() override {
        m_window.reset();
        ClipboardDesktopTest::TearDown();
    }

    const std::string m_document = longDocument(5'400'000);
    std::unique_ptr<PaintedWindow> m_window =
        std::make_unique<PaintedWindow>(desktop().display(), PaintedWindowOptions{});
    ScriptedOwner m_application{
        desktop().display(),
        {.values = {{"UTF8_STRING", {"UTF8_STRING", m_document}}}, .chunk = 256'000}};
    ProductPorts m_product{desktop()};
};

TEST_F(LargeSelectionTest, isCapturedInPiecesAndTheClipboardComesBack) {
    m_product.clock.meanwhile = [&] { m_application.own(); };
    const auto text = m_product.captureText();
    ASSERT_TRUE(text);
    EXPECT_TRUE(m_document.starts_with(*text));
    EXPECT_EQ(text->size(), Capture::kMaxCharacters);
    EXPECT_EQ(pasted(), "mine");
}

TEST_F(LargeSelectionTest, thatComesTooLateIsNoneAndTheClipboardComesBack) {
    m_product.clock.meanwhile = [] {};
    EXPECT_EQ(m_product.captureText(), std::nullopt);
    EXPECT_EQ(pasted(), "mine");
    m_application.own();
    EXPECT_TRUE(VirtualDesktop::waitUntil([] { return pasted() == "mine"; }));
    EXPECT_TRUE(m_application.lost());
}

} // namespace
} // namespace kelvane
