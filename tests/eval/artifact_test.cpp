#include "eval/artifact.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kelvane {
namespace {

using nlohmann::json;

TEST(ArtifactPart, WithNeitherTextNorDataHasExactlyTwoKeys) {
    const ArtifactPart part{.mimeType = "text/plain",
                            .text = std::nullopt,
                            .dataB64 = std::nullopt,
                            .logicalName = "selection"};
    EXPECT_EQ(part.json(), (json{{"mime_type", "text/plain"}, {"logical_name", "selection"}}));
}

TEST(ArtifactPart, TextIsSentWhenPresentEvenWhenEmpty) {
    const ArtifactPart part{
        .mimeType = "text/plain", .text = "", .dataB64 = std::nullopt, .logicalName = "n"};
    EXPECT_EQ(part.json(),
              (json{{"mime_type", "text/plain"}, {"logical_name", "n"}, {"text", ""}}));
}

TEST(ArtifactPart, DataIsSentWhenPresent) {
    const ArtifactPart part{
        .mimeType = "image/png", .text = std::nullopt, .dataB64 = "AAAA", .logicalName = "n"};
    EXPECT_EQ(part.json(),
              (json{{"mime_type", "image/png"}, {"logical_name", "n"}, {"data_b64", "AAAA"}}));
}

TEST(ArtifactPart, MayCarryBothTextAndData) {
    const ArtifactPart part{.mimeType = "x/y", .text = "t", .dataB64 = "AAAA", .logicalName = "n"};
    EXPECT_EQ(
        part.json(),
        (json{{"mime_type", "x/y"}, {"logical_name", "n"}, {"text", "t"}, {"data_b64", "AAAA"}}));
}

TEST(ArtifactPart, EqualsFieldByField) {
    const ArtifactPart part{.mimeType = "x/y", .text = "t", .dataB64 = "A", .logicalName = "n"};
    EXPECT_EQ(part, ArtifactPart(part));
    for (auto change :
         {+[](ArtifactPart& p) { p.mimeType = "z"; },
          +[](ArtifactPart& p) { p.text = std::nullopt; }, +[](ArtifactPart& p) { p.dataB64 = ""; },
          +[](ArtifactPart& p) { p.logicalName = "N"; }}) {
        ArtifactPart other = part;
        change(other);
        EXPECT_NE(part, other);
    }
}

} // namespace
} // namespace kelvane
