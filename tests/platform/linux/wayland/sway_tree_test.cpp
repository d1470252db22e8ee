#include "platform/linux/wayland/sway_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// Two tiled windows, one that floats and one of an X11 program on a workspace that is not shown.
constexpr auto kTree = R"({"id":1,"type":"root","name":"root","nodes":[
  {"id":2,"type":"output","name":"HEADLESS-1","nodes":[
    {"id":3,"type":"workspace","name":"1","nodes":[
      {"id":4,"type":"con","name":"one","app_id":"editor","pid":40,"focused":true,"visible":true,
       "fullscreen_mode":0,"rect":{"x":0,"y":0,"width":640,"height":800},
       "window_rect":{"x":2,"y":0,"width":636,"height":798},"nodes":[],"floating_nodes":[]},
      {"id":5,"type":"con","name":null,"app_id":null,"nodes":[
        {"id":6,"type":"con","name":"two","app_id":"editor","pid":41,"focused":false,
         "visible":true,"rect":{"x":640,"y":0,"width":640,"height":800}}]}],
     "floating_nodes":[
      {"id":7,"type":"floating_con","name":"three","app_id":"foot","pid":42,"focused":false,
       "visible":true,"rect":{"x":600,"y":100,"width":100,"height":100}}]},
    {"id":8,"type":"workspace","name":"2","nodes":[
      {"id":9,"type":"con","name":"four","app_id":null,"pid":43,"focused":false,"visible":false,
       "window_properties":{"class":"XTerm","instance":"xterm","title":"four"},
       "rect":{"x":0,"y":0,"width":1280,"height":800}}]}]}]})";

SwayWindow shown(std::int64_t id, DisplayRect rect, bool floating = false) {
    SwayWindow window;
    window.id = id;
    window.rect = rect;
    window.floating = floating;
    window.visible = true;
    return window;
}

TEST(SwayTree, tellsProcessesAndPlaces) {
    const auto windows = swayWindows(kTree);
    ASSERT_TRUE(windows);
    ASSERT_EQ(windows->size(), 4U);
    EXPECT_EQ((*windows)[0].process, 40);
    EXPECT_TRUE((*windows)[0].focused);
    EXPECT_EQ((*windows)[0].rect, (DisplayRect{2, 0, 636, 798})) << "without its border";
    EXPECT_EQ((*windows)[1].rect, (DisplayRect{640, 0, 640, 800}));
    EXPECT_TRUE((*windows)[2].floating);
    EXPECT_EQ((*windows)[3].appId, "XTerm");
    EXPECT_EQ((*windows)[3].instance, "xterm");
    EXPECT_FALSE((*windows)[3].visible);
}

TEST(SwayTree, whatIsNoTreeIsNone) {
    for (const auto* const text : {"", "null", "[]", "{", "{\"type\":\"output\"}", "4"}) {
        EXPECT_EQ(swayWindows(text), std::nullopt) << text;
    }
    std::string deep = R"({"type":"root","nodes":[)";
    for (int i = 0; i < 500; ++i) deep += R"({"nodes":[)";
    for (int i = 0; i < 500; ++i) deep += "]}";
    EXPECT_THAT(swayWindows(deep + "]}").value_or(std::vector<SwayWindow>{}), IsEmpty());
    EXPECT_THAT(swayWindows(R"({"type":"root","nodes":[{"pid":7,"rect":{"x":1e99,"width":-3}}]})")
                    .value_or(std::vector<SwayWindow>{}),
                testing::SizeIs(1));
}

TEST(SwayTree, windowsAreMatchedByWhatTheySay) {
    const auto tree = swayWindows(kTree).value_or(std::vector<SwayWindow>{});
    WaylandWindow one;
    one.number = 1;
    one.appId = "XTerm";
    one.title = "four";
    WaylandWindow two;
    two.number = 2;
    two.appId = "editor";
    two.title = "two";
    WaylandWindow stranger;
    stranger.number = 3;
    stranger.appId = "editor";
    stranger.title = "a title that has changed since";
    const auto matched = matchedWindows({one, two, stranger}, tree);
    EXPECT_EQ(matched.size(), 2U);
    EXPECT_EQ(matched.at(1).id, 9);
    EXPECT_EQ(matched.at(2).id, 6);
}

TEST(SwayTree, ofSeveralThatSayTheSameTheActiveOneIsTheFocusedOne) {
    std::vector<SwayWindow> tree{shown(10, {}), shown(11, {}), shown(12, {})};
    tree[1].focused = true;
    std::vector<WaylandWindow> windows(3);
    for (std::uint32_t i = 0; i < 3; ++i) windows[i].number = i + 1;
    windows[2].active = true;
    const auto matched = matchedWindows(windows, tree);
    EXPECT_EQ(matched.at(3).id, 11);
    EXPECT_EQ(matched.at(1).id, 10);
    EXPECT_EQ(matched.at(2).id, 12);
}

WaylandWindow told(std::uint32_t number, const std::string& appId, const std::string& title) {
    WaylandWindow window;
    window.number = number;
    window.appId = appId;
    window.title = title;
    return window;
}

SwayWindow seen(std::int64_t id, const std::string& appId, const std::string& title) {
    auto window = shown(id, {});
    window.appId = appId;
    window.title = title;
    return window;
}

TEST(SwayTree, aWindowThatHasAnotherNameSinceItAppearedIsKnownByItsTitle) {
    const auto matched =
        matchedWindows({told(1, "soffice", "sums - LibreOffice Calc"), told(2, "editor", "notes")},
                       {seen(10, "editor", "notes"), seen(11, "calc", "sums - LibreOffice Calc")});
    EXPECT_EQ(matched.size(), 2U);
    EXPECT_EQ(matched.at(1).id, 11);
    EXPECT_EQ(matched.at(2).id, 10);
}

TEST(SwayTree, aTitleThatIsNobodysOwnTellsNothing) {
    const auto one = told(1, "soffice", "Untitled");
    EXPECT_TRUE(matchedWindows({one, told(2, "soffice", "Untitled")},
                               {seen(10, "calc", "Untitled"), seen(11, "writer", "Untitled")})
                    .empty());
    EXPECT_TRUE(
        matchedWindows({one, told(2, "draw", "Untitled")}, {seen(10, "calc", "Untitled")}).empty());
    EXPECT_TRUE(matchedWindows({one}, {seen(10, "calc", "Untitled"), seen(11, "math", "Untitled")})
                    .empty());
    EXPECT_TRUE(matchedWindows({told(1, "soffice", "")}, {seen(10, "calc", "")}).empty());
    // A window that is taken is nobody else's.
    const auto matched =
        matchedWindows({one, told(2, "calc", "Untitled")}, {seen(10, "calc", "Untitled")});
    EXPECT_EQ(matched.size(), 1U);
    EXPECT_EQ(matched.at(2).id, 10);
}

TEST(SwayTree, ofMoreOrFewerThanSaysTheTreeOnlyTheActiveOneIsKnown) {
    auto one = told(1, "editor", "notes");
    std::vector<SwayWindow> tree{seen(10, "editor", "notes"), seen(11, "editor", "notes")};
    tree[1].focused = true;
    EXPECT_TRUE(matchedWindows({one}, tree).empty()) << "whether it is 10, nobody tells";
    one.active = true;
    auto matched = matchedWindows({one}, tree);
    EXPECT_EQ(matched.size(), 1U);
    EXPECT_EQ(matched.at(1).id, 11);
    matched = matchedWindows({one, told(2, "editor", "notes")}, {tree[1]});
    EXPECT_EQ(matched.size(), 1U);
    EXPECT_EQ(matched.at(1).id, 11);
    one.active = false;
    EXPECT_TRUE(matchedWindows({one, told(2, "editor", "notes")}, tree).empty())
        << "another moment";
    // The one in front was renamed, and now says the same as the other.
    auto renamed = told(2, "soffice", "notes");
    renamed.active = true;
    EXPECT_TRUE(matchedWindows({told(1, "editor", "notes"), renamed}, tree).empty());
}

TEST(SwayTree, aWindowIsCoveredByWhatLiesAboveIt) {
    const auto tiled = shown(1, {0, 0, 640, 800});
    const auto beside = shown(2, {640, 0, 640, 800});
    const auto low = shown(3, {600, 100, 100, 100}, true);
    const auto high = shown(4, {650, 150, 100, 100}, true);
    const std::vector<SwayWindow> tree{tiled, beside, low, high};
    EXPECT_TRUE(isCovered(tiled, tree));
    EXPECT_TRUE(isCovered(beside, tree));
    EXPECT_TRUE(isCovered(low, tree));
    EXPECT_FALSE(isCovered(high, tree));
    EXPECT_FALSE(isCovered(tiled, {tiled, beside}));

    auto hidden = high;
    hidden.visible = false;
    EXPECT_FALSE(isCovered(low, {tiled, beside, low, hidden}));
    auto whole = beside;
    whole.fullscreen = true;
    whole.rect = {0, 0, 1280, 800};
    EXPECT_TRUE(isCovered(low, {whole, low}));
    EXPECT_FALSE(isCovered(whole, {whole, low})) << "sway hides what lies above";
}

} // namespace
} // namespace kelvane
