#include "critics/findings/part_kind.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

WorkKind kind(std::string type, std::string_view modality, bool isText = true) {
    Part part;
    part.mimeType = std::move(type);
    part.isText = isText;
    (isText ? part.text : part.bytes) = "content";
    return kindOf(part, modality);
}

TEST(PartKind, TheTypeSaysItWhereItSaysAnything) {
    EXPECT_EQ(kind("text/csv; charset=utf-8", "code"), WorkKind::sheet);
    EXPECT_EQ(kind("text/tab-separated-values", "text"), WorkKind::sheet);
    EXPECT_EQ(kind("Text/X-Code", "document"), WorkKind::code);
    EXPECT_EQ(kind("text/markdown", "code"), WorkKind::document);
}

TEST(PartKind, TheModalitySpeaksForPlainText) {
    EXPECT_EQ(kind("text/plain", "spreadsheet"), WorkKind::sheet);
    EXPECT_EQ(kind("text/plain", "code"), WorkKind::code);
    EXPECT_EQ(kind("", "document"), WorkKind::document);
    EXPECT_EQ(kind("text/plain", "email"), WorkKind::text);
    EXPECT_EQ(kind("text/plain", ""), WorkKind::text);
}

TEST(PartKind, BytesArePicturesOrNothingThatIsReadHere) {
    EXPECT_EQ(kind("image/png", "code", false), WorkKind::picture);
    EXPECT_EQ(kind("application/zip", "code", false), WorkKind::any);
    Part bytes;
    bytes.mimeType = "image/png";
    bytes.bytes = "x";
    EXPECT_EQ(kindOf(bytes, "code"), WorkKind::picture) << "a text part without text";
}

TEST(PartKind, ParametersAndBlanksAreNoPartOfAType) {
    EXPECT_EQ(bareType("text/csv ; charset=utf-8"), "text/csv");
    EXPECT_EQ(bareType("IMAGE/PNG"), "image/png");
    EXPECT_EQ(bareType(""), "");
}

} // namespace
} // namespace trevix
