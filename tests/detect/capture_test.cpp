#include "detect/capture.h"

#include "platform/fake/fakes.h"
#include "text/base64.h"
#include "text/unicode.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using Journalled = std::vector<std::string>;

constexpr ProcessId kPid = 42;
constexpr const char* kNoSelectionNote =
    "No text selection found \u2014 graded a screenshot of The Editor's window. Select text first "
    "for a text grade.";
constexpr const char* kNoPermissionNote =
    "Grant Accessibility (System Settings \u25b8 Privacy) to grade your text selection; graded a "
    "window screenshot for now.";
constexpr const char* kNoPictureNote =
    "Couldn't capture The Editor's window \u2014 grant Screen Recording in System Settings \u25b8 "
    "Privacy, and make sure the window is open on screen.";

/// An editor runs, behind another application, with one window; the catalog knows it.
class CaptureTest : public testing::Test {
protected:
    CaptureTest() {
        fake.workspace.running = {
            {.bundleId = "org.example.other", .name = "Other", .pid = 7},
            {.bundleId = "org.example.editor", .name = "editor-bin", .pid = kPid},
        };
        fake.workspace.front = 7;
        fake.windows.windows = {{window(kPid, 100, 100, 900)}};
        fake.picture.pictures[900] = "PNG bytes";
        fake.pasteboard.text = "before";
    }

    static WindowInfo window(ProcessId owner, double width, double height, std::int64_t number) {
        return {.ownerPid = owner,
                .layer = 0,
                .bounds = WindowBounds{.width = width, .height = height},
                .number = number};
    }

    static DetectedApp known(const std::string& method, const std::string& modality) {
        CatalogApp entry;
        entry.id = "editor";
        entry.name = "The Editor";
        entry.capture = method;
        entry.primaryModality = modality;
        return {.rawBundleId = "org.example.editor", .rawName = "editor-bin", .app = entry};
    }

    static DetectedApp unknown() {
        return {.rawBundleId = "org.example.editor", .rawName = "editor-bin", .app = std::nullopt};
    }

    /// What the application copies when it is asked to.
    void selects(const std::optional<std::string>& text) {
        fake.keyboard.onCopy = [this, text](ProcessId) { fake.pasteboard.copyText(text); };
    }

    Capture::Ports ports() {
        return {.workspace = fake.workspace,
                .keyboard = fake.keyboard,
                .pasteboard = fake.pasteboard,
                .windows = fake.windows,
                .picture = fake.picture,
                .clock = fake.clock};
    }

    CaptureResult capture(const DetectedApp& app) { return Capture::capture(ports(), app); }

    static CaptureResult shot(const std::string& stem, const std::string& modality,
                              const std::optional<std::string>& note) {
        const bool lacks = note == kNoPermissionNote;
        return {.parts = {{.mimeType = "image/png",
                           .text = std::nullopt,
                           .dataB64 = "UE5HIGJ5dGVz",
                           .logicalName = stem + ".png"}},
                .modality = modality,
                .ok = true,
                .note = note,
                .lacks = lacks ? CaptureLack::Selection : CaptureLack::Nothing};
    }

    static CaptureResult text(const std::string& copied, const std::string& mime,
                              const std::string& name, const std::string& modality) {
        return {.parts = {{.mimeType = mime,
                           .text = copied,
                           .dataB64 = std::nullopt,
                           .logicalName = name}},
                .modality = modality,
                .ok = true,
                .note = std::nullopt};
    }

    static CaptureResult failed(const std::string& modality, const std::string& note) {
        const bool lacks = note.starts_with("Couldn't capture");
        return {.parts = {},
                .modality = modality,
                .ok = false,
                .note = note,
                .lacks = lacks ? CaptureLack::Picture : CaptureLack::Nothing};
    }

    void expectClipboardUntouched() {
        EXPECT_EQ(fake.pasteboard.text, "before");
        EXPECT_EQ(fake.journal.count("clear"), 0U);
        EXPECT_EQ(fake.journal.count("set "), 0U);
    }

    FakePlatform fake;
};

// --- which application ---------------------------------------------------------------------------

TEST_F(CaptureTest, AppThatQuitMeanwhileIsReportedAndNothingIsTouched) {
    fake.workspace.running.clear();
    for (const char* method : {"selection", "document", "export", "screenshot"}) {
        EXPECT_EQ(
            capture(known(method, "code")),
            failed("code", "The Editor isn't running anymore \u2014 open it and press Grade."));
    }
    EXPECT_EQ(fake.journal.entries(), Journalled());
    EXPECT_EQ(fake.pasteboard.timesRead, 0U);
}

TEST_F(CaptureTest, UnknownAppThatQuitIsNamedByItsRawName) {
    fake.workspace.running.clear();
    EXPECT_EQ(capture(unknown()),
              failed("text", "editor-bin isn't running anymore \u2014 open it and press Grade."));
}

TEST_F(CaptureTest, EmptyIdentifierMatchesNoApplicationNotEvenANamelessOne) {
    fake.workspace.running = {{.bundleId = "", .name = "x", .pid = 1},
                              {.bundleId = std::nullopt, .name = "y", .pid = 2}};
    const DetectedApp ghost{.rawBundleId = "", .rawName = "Ghost", .app = std::nullopt};
    EXPECT_EQ(capture(ghost),
              failed("text", "Ghost isn't running anymore \u2014 open it and press Grade."));
}

TEST_F(CaptureTest, FirstOfSeveralInstancesIsUsed) {
    fake.workspace.running = {{.bundleId = "org.example.editor", .name = "a", .pid = 11},
                              {.bundleId = "org.example.editor", .name = "b", .pid = kPid}};
    fake.windows.windows = {{window(kPid, 100, 100, 900), window(11, 10, 10, 901)}};
    fake.picture.pictures[901] = "the other";
    EXPECT_EQ(capture(known("screenshot", "image")).parts.at(0).dataB64, text::base64("the other"));
}

// --- which way -----------------------------------------------------------------------------------

TEST_F(CaptureTest, AppWithoutEntryIsAlwaysScreenshotted) {
    selects("never asked");
    EXPECT_EQ(capture(unknown()), shot("window", "image", std::nullopt));
    EXPECT_EQ(fake.journal.entries(), (Journalled{"windows", "picture 900"}));
}

TEST_F(CaptureTest, MethodsAreComparedExactly) {
    selects("never asked");
    for (const char* method : {"screenshot", "", "Selection", "SELECTION", "selection ",
                               "documents", "Export", "video"}) {
        fake.journal.clear();
        EXPECT_EQ(capture(known(method, "text")), shot("editor", "image", std::nullopt)) << method;
        EXPECT_EQ(fake.journal.entries(), (Journalled{"windows", "picture 900"})) << method;
    }
    EXPECT_EQ(fake.pasteboard.timesRead, 0U);
}

TEST_F(CaptureTest, ExportNeverReadsTheSelectionAndSaysHowToGradeTheFile) {
    selects("never asked");
    EXPECT_EQ(capture(known("export", "video")),
              shot("editor", "image",
                   "Graded a frame of The Editor. For the full render, export the file and run "
                   "`brask grade <file>`."));
    EXPECT_EQ(fake.journal.entries(), (Journalled{"windows", "picture 900"}));
    EXPECT_EQ(fake.pasteboard.timesRead, 0U);
    EXPECT_EQ(fake.workspace.front, 7) << "not brought forward";
}

TEST_F(CaptureTest, DocumentBehavesExactlyLikeSelection) {
    selects("the words");
    const auto bySelection = capture(known("selection", "document"));
    const auto selectionSteps = fake.journal.entries();
    fake.journal.clear();
    fake.workspace.front = 7;
    fake.clock.time = 0ns;
    EXPECT_EQ(capture(known("document", "document")), bySelection);
    EXPECT_EQ(fake.journal.entries(), selectionSteps);
    EXPECT_TRUE(bySelection.ok);
}

// --- the selection -------------------------------------------------------------------------------

TEST_F(CaptureTest, StepsOfACopyInOrder) {
    selects("the words");
    EXPECT_EQ(capture(known("selection", "text")),
              text("the words", "text/plain", "editor.txt", "text"));
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"activate 42", "copy 42", "sleep 180000000ns", "clear", "set before"}));
    EXPECT_EQ(fake.pasteboard.text, "before");
    EXPECT_EQ(fake.workspace.front, kPid);
}

TEST_F(CaptureTest, StepsWhenTheApplicationTakesAWhileToComeForward) {
    selects("the words");
    fake.workspace.onActivate = [](ProcessId) {};
    fake.clock.onSleep = [this](Instant now) {
        if (now == 80ms) fake.workspace.front = kPid;
    };
    EXPECT_TRUE(capture(known("selection", "text")).ok);
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"activate 42", "sleep 40000000ns", "sleep 40000000ns", "copy 42",
                          "sleep 180000000ns", "clear", "set before"}));
}

TEST_F(CaptureTest, ClipboardIsRememberedBeforeTheApplicationComesForward) {
    selects("the words");
    // An application that copies something of its own when it comes to the front.
    fake.workspace.onActivate = [this](ProcessId pid) {
        fake.pasteboard.copyText("its own");
        fake.workspace.front = pid;
    };
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, "the words");
    EXPECT_EQ(fake.pasteboard.text, "before");
}

TEST_F(CaptureTest, FormatFollowsTheModality) {
    struct Case {
        std::string modality;
        std::string mime;
        std::string name;
    };
    for (const auto& test : std::vector<Case>{
             {"code", "text/x-code", "editor.txt"},
             {"spreadsheet", "text/tab-separated-values", "editor.tsv"},
             {"document", "text/markdown", "editor.md"},
             {"text", "text/plain", "editor.txt"},
             {"deck", "text/plain", "editor.txt"},
             {"Code", "text/plain", "editor.txt"},
             {"", "text/plain", "editor.txt"},
         }) {
        selects("a\tb");
        fake.workspace.front = 7;
        EXPECT_EQ(capture(known("selection", test.modality)),
                  text("a\tb", test.mime, test.name, test.modality))
            << test.modality;
    }
}

TEST_F(CaptureTest, SelectionKeepsItsSurroundingWhitespace) {
    selects("\n\t the words \u2003\n\n");
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, "\n\t the words \u2003\n\n");
}

TEST_F(CaptureTest, SelectionOfTwoHundredThousandCharactersIsCut) {
    std::string copied = "  ";
    while (copied.size() < 200'000) copied += "0123456789";
    selects(copied);
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, copied.substr(0, 180'000));
}

TEST_F(CaptureTest, SelectionOfExactlyTheLimitIsWhole) {
    const std::string limit(180'000, 'x');
    selects(limit);
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, limit);
    selects(limit + "y");
    fake.workspace.front = 7;
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, limit);
}

TEST_F(CaptureTest, CutCountsCharactersAsReadersSeeThem) {
    const std::string family =
        "\U0001F468\u200D\U0001F469\u200D\U0001F467"; // one character, 18 bytes
    const std::string accented = "e\u0301";           // one, 3 bytes
    std::string copied;
    for (int i = 0; i < 90'000; ++i) copied += family + accented;
    selects(copied + "beyond");
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, copied);
}

TEST_F(CaptureTest, NothingSelectedLeavesTheClipboardAlone) {
    EXPECT_EQ(capture(known("selection", "text")), shot("editor", "image", kNoSelectionNote));
    EXPECT_EQ(fake.journal.entries(), (Journalled{"activate 42", "copy 42", "sleep 180000000ns",
                                                  "windows", "picture 900"}));
    expectClipboardUntouched();
}

TEST_F(CaptureTest, UnchangedCountMeansNoTextWhateverTheClipboardSays) {
    fake.keyboard.onCopy = [this](ProcessId) { fake.pasteboard.text = "before"; };
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).mimeType, "image/png");
    expectClipboardUntouched();
}

TEST_F(CaptureTest, CopyOfTheSameTextAsBeforeIsACopy) {
    selects("before");
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, "before");
}

TEST_F(CaptureTest, WhitespaceOnlySelectionFallsBackAndTheClipboardComesBack) {
    for (const char* blank :
         {"", " ", "\n", " \t\r\n ", "\u00a0\u2003\u3000", "\u2028\u2029\u0085"}) {
        selects(blank);
        fake.workspace.front = 7;
        EXPECT_EQ(capture(known("selection", "text")), shot("editor", "image", kNoSelectionNote));
        EXPECT_EQ(fake.pasteboard.text, "before");
    }
}

TEST_F(CaptureTest, SelectionWithoutTextFallsBackAndTheClipboardComesBack) {
    selects(std::nullopt); // an image was copied
    EXPECT_EQ(capture(known("selection", "text")), shot("editor", "image", kNoSelectionNote));
    EXPECT_EQ(fake.pasteboard.text, "before");
}

TEST_F(CaptureTest, ClipboardWithoutTextBeforeIsLeftEmpty) {
    fake.pasteboard.text = std::nullopt;
    selects("the words");
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, "the words");
    EXPECT_EQ(fake.pasteboard.text, std::nullopt);
    EXPECT_EQ(fake.journal.count("clear"), 1U);
    EXPECT_EQ(fake.journal.count("set "), 0U);
}

TEST_F(CaptureTest, EmptyTextBeforeIsPutBackAsEmptyText) {
    fake.pasteboard.text = "";
    selects("the words");
    (void)capture(known("selection", "text"));
    EXPECT_EQ(fake.pasteboard.text, "");
}

TEST_F(CaptureTest, CopyThatArrivesJustBeforeTheRestoreIsUndoneThoughNotUsed) {
    // Looking for the text is already over when the slow application's copy comes.
    class LatePasteboard : public FakePasteboard {
    public:
        using FakePasteboard::FakePasteboard;
        std::int64_t changeCount() override {
            const auto answer = FakePasteboard::changeCount();
            if (++asked == 2) copyText("too late");
            return answer;
        }
        int asked = 0;
    };
    LatePasteboard late(fake.journal);
    late.text = "before";
    auto mine = ports();
    EXPECT_EQ(Capture::capture({.workspace = mine.workspace,
                                .keyboard = mine.keyboard,
                                .pasteboard = late,
                                .windows = mine.windows,
                                .picture = mine.picture,
                                .clock = mine.clock},
                               known("selection", "text")),
              shot("editor", "image", kNoSelectionNote));
    EXPECT_EQ(late.text, "before");
}

TEST_F(CaptureTest, PasteboardThatKeepsOtherFormatsPutsThemBackItself) {
    class RichPasteboard : public FakePasteboard {
    public:
        using FakePasteboard::FakePasteboard;
        PasteboardMemory remember() override {
            auto memory = FakePasteboard::remember();
            memory.formats = std::make_shared<const std::string>("an image");
            return memory;
        }
        void putBack(const PasteboardMemory& memory) override {
            restored = *static_cast<const std::string*>(memory.formats.get());
        }
        std::string restored;
    };
    RichPasteboard rich(fake.journal);
    fake.keyboard.onCopy = [&](ProcessId) { rich.copyText("the words"); };
    auto mine = ports();
    EXPECT_TRUE(Capture::capture({.workspace = mine.workspace,
                                  .keyboard = mine.keyboard,
                                  .pasteboard = rich,
                                  .windows = mine.windows,
                                  .picture = mine.picture,
                                  .clock = mine.clock},
                                 known("selection", "text"))
                    .ok);
    EXPECT_EQ(rich.restored, "an image");
    EXPECT_EQ(fake.journal.count("clear"), 0U);
}

TEST_F(CaptureTest, AppThatDoesNotComeForwardGetsNoKeystroke) {
    selects("never asked");
    fake.workspace.onActivate = [](ProcessId) {};
    EXPECT_EQ(capture(known("selection", "text")), shot("editor", "image", kNoSelectionNote));
    EXPECT_EQ(fake.journal.count("copy "), 0U);
    EXPECT_EQ(fake.journal.count("sleep 40000000ns"), 18U);
    EXPECT_EQ(fake.journal.count("sleep 180000000ns"), 0U);
    expectClipboardUntouched();
}

TEST_F(CaptureTest, RefusedActivationIsNotFatalWhenTheAppIsInFrontAnyway) {
    class RefusingWorkspace : public FakeWorkspace {
    public:
        using FakeWorkspace::FakeWorkspace;
        bool activate(ProcessId pid) override {
            FakeWorkspace::activate(pid);
            return false;
        }
    };
    RefusingWorkspace refusing(fake.journal);
    refusing.running = fake.workspace.running;
    selects("the words");
    auto mine = ports();
    EXPECT_EQ(Capture::capture({.workspace = refusing,
                                .keyboard = mine.keyboard,
                                .pasteboard = mine.pasteboard,
                                .windows = mine.windows,
                                .picture = mine.picture,
                                .clock = mine.clock},
                               known("selection", "text")),
              text("the words", "text/plain", "editor.txt", "text"));
}

// --- the permission ------------------------------------------------------------------------------

TEST_F(CaptureTest, WithoutPermissionOnlyAScreenshotAndTheReason) {
    fake.keyboard.isTrusted = false;
    EXPECT_EQ(capture(known("selection", "text")), shot("editor", "image", kNoPermissionNote));
    EXPECT_EQ(fake.journal.entries(), (Journalled{"windows", "picture 900"}));
    EXPECT_EQ(fake.pasteboard.timesRead, 0U);
}

TEST_F(CaptureTest, PermissionIsAskedAgainForTheNote) {
    fake.keyboard.trustedAnswers = {true, false}; // withdrawn meanwhile; nothing was selected
    EXPECT_EQ(capture(known("selection", "text")), shot("editor", "image", kNoPermissionNote));
    EXPECT_TRUE(fake.keyboard.trustedAnswers.empty());

    fake.keyboard.trustedAnswers = {false, true}; // granted meanwhile
    fake.journal.clear();
    EXPECT_EQ(capture(known("selection", "text")), shot("editor", "image", kNoSelectionNote));
    EXPECT_EQ(fake.journal.count("copy "), 0U);
}

TEST_F(CaptureTest, PermissionIsAskedOnceWhenTheTextIsThere) {
    selects("the words");
    fake.keyboard.trustedAnswers = {true, false};
    EXPECT_TRUE(capture(known("selection", "text")).parts.at(0).text.has_value());
    EXPECT_EQ(fake.keyboard.trustedAnswers.size(), 1U);
}

// --- quitting ------------------------------------------------------------------------------------

TEST_F(CaptureTest, QuittingWhileTheAppComesForwardEndsTheCapture) {
    fake.workspace.onActivate = [](ProcessId) {};
    fake.clock.sleepEnds = {SleepEnd::Elapsed, SleepEnd::Quitting};
    const auto result = capture(known("selection", "code"));
    EXPECT_EQ(result, (CaptureResult{.parts = {}, .modality = "code", .ok = false, .note = {}}));
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"activate 42", "sleep 40000000ns", "sleep 40000000ns"}));
}

TEST_F(CaptureTest, QuittingAfterTheKeyStillRestoresTheClipboard) {
    selects("the words");
    fake.clock.sleepEnds = {SleepEnd::Quitting};
    const auto result = capture(known("selection", "text"));
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.parts.empty());
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"activate 42", "copy 42", "sleep 180000000ns", "clear", "set before"}));
    EXPECT_EQ(fake.pasteboard.text, "before");
}

TEST_F(CaptureTest, WaitCutShortForAnotherReasonGoesOn) {
    selects("the words");
    fake.workspace.onActivate = [](ProcessId) {};
    fake.clock.onSleep = [this](Instant) { fake.workspace.front = kPid; };
    fake.clock.sleepEnds = {SleepEnd::Cancelled, SleepEnd::Cancelled};
    EXPECT_EQ(capture(known("selection", "text")).parts.at(0).text, "the words");
}

// --- the picture ---------------------------------------------------------------------------------

TEST_F(CaptureTest, SuccessfulScreenshotDeclaresAnImageExceptForDecksAndInterfaces) {
    for (const char* modality : {"deck", "ui_ux"}) {
        EXPECT_EQ(capture(known("screenshot", modality)), shot("editor", modality, std::nullopt));
        EXPECT_EQ(capture(known("export", modality)).modality, modality);
        EXPECT_EQ(capture(known("selection", modality)).modality, modality);
    }
    for (const char* modality : {"text", "code", "image", "video", "Deck", "ui-ux", ""}) {
        EXPECT_EQ(capture(known("screenshot", modality)), shot("editor", "image", std::nullopt))
            << modality;
    }
}

TEST_F(CaptureTest, FailedScreenshotKeepsTheModalityAndDropsTheNote) {
    fake.picture.pictures.clear();
    for (const char* modality : {"deck", "ui_ux", "text", "code"}) {
        for (const char* method : {"screenshot", "export", "selection"}) {
            EXPECT_EQ(capture(known(method, modality)), failed(modality, kNoPictureNote))
                << method << " " << modality;
        }
    }
}

TEST_F(CaptureTest, FailedScreenshotOfAnUnknownAppNamesItsRawName) {
    fake.windows.windows = std::nullopt;
    EXPECT_EQ(capture(unknown()),
              failed("text",
                     "Couldn't capture editor-bin's window \u2014 grant Screen Recording in "
                     "System Settings \u25b8 Privacy, and make sure the window is open on "
                     "screen."));
}

TEST_F(CaptureTest, PictureWithoutBytesIsNone) {
    fake.picture.pictures[900] = "";
    EXPECT_EQ(capture(known("screenshot", "image")), failed("image", kNoPictureNote));
}

TEST_F(CaptureTest, PictureIsBase64WithoutLineBreaks) {
    std::string bytes;
    for (int i = 0; i < 100'000; ++i) bytes += static_cast<char>(i % 256);
    fake.picture.pictures[900] = bytes;
    const auto data = capture(known("screenshot", "image")).parts.at(0).dataB64;
    ASSERT_TRUE(data.has_value());
    EXPECT_EQ(data->find_first_of("\r\n "), std::string::npos);
    EXPECT_EQ(text::fromBase64(*data), bytes);
}

TEST_F(CaptureTest, WindowShotPassesItsNoteOnWithASuccess) {
    const RunningApp running{.bundleId = "x", .name = "x", .pid = kPid};
    for (const auto& note : {std::optional<std::string>("said"), std::optional<std::string>()}) {
        EXPECT_EQ(Capture::windowShot(ports(), running, unknown(), "code", note),
                  shot("window", "image", note));
    }
}

TEST_F(CaptureTest, NoStateSurvivesACall) {
    selects("the words");
    const auto first = capture(known("selection", "text"));
    fake.workspace.front = 7;
    EXPECT_EQ(capture(known("selection", "text")), first);
}

} // namespace
} // namespace kelvane
