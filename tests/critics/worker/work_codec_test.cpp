#include "critics/worker/work_codec.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

Submission submission() {
    Submission made;
    made.modality = "text";
    made.vertical = "law";
    made.intent = "a reply";
    made.parts = {{"text/plain", "a.txt", std::string("caf\xe9 \0 x", 8), "", true},
                  {"image/png", "b.png", "", std::string("\x89PNG\0\xff", 6), false}};
    return made;
}

Critique critique() {
    return {{{Severity::high, "r", "c", "line 1", "e\xff", "d"}},
            {1, 2, 3},
            {{{"e", "1", "k"}}, {{"w", "y", "r"}}, true}};
}

TEST(WorkCodec, BringsBackWhatItWasGiven) {
    const auto work = decodeSubmission(encode(submission()));
    ASSERT_TRUE(work);
    EXPECT_EQ(work->modality, "text");
    EXPECT_EQ(work->vertical, "law");
    EXPECT_EQ(work->intent, "a reply");
    ASSERT_EQ(work->parts.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(work->parts[i].mimeType, submission().parts[i].mimeType);
        EXPECT_EQ(work->parts[i].name, submission().parts[i].name);
        EXPECT_EQ(work->parts[i].text, submission().parts[i].text);
        EXPECT_EQ(work->parts[i].bytes, submission().parts[i].bytes);
        EXPECT_EQ(work->parts[i].isText, submission().parts[i].isText);
    }
    EXPECT_EQ(decodeCritique(encode(critique())), critique());
    EXPECT_EQ(decodeCritique(encode(Critique{})), Critique{});
}

TEST(WorkCodec, TakesNothingThatIsCutOrChanged) {
    const std::string whole = encode(critique());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(decodeCritique(std::string_view(whole).substr(0, length))) << length;
    }
    EXPECT_FALSE(decodeCritique(whole + "x"));
    EXPECT_FALSE(decodeCritique(encode(submission())));
    EXPECT_FALSE(decodeSubmission(whole));
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (const char other : {'\x00', '\x7f', '\x9f', '\xff'}) {
            std::string changed = whole;
            changed[i] = other;
            // Whatever comes of it is a critique or none; what must not happen is anything else.
            if (const auto made = decodeCritique(changed)) {
                EXPECT_LE(made->findings.size(), 1U);
            }
        }
    }
}

TEST(WorkCodec, ACountThatIsALieTakesNoMemory) {
    std::string bytes = encode(critique());
    for (std::size_t i = 8; i < 16; ++i) bytes[i] = '\xff'; // how many findings follow
    EXPECT_FALSE(decodeCritique(bytes));
    for (std::size_t i = 24; i < 32; ++i) bytes[i] = '\xff'; // and how long a text is
    EXPECT_FALSE(decodeCritique(bytes));
}

} // namespace
} // namespace trevix
