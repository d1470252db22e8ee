#include "catalog/web_apps.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

const std::string kKey = "abcdefghijklmnopponmlkjihgfedcba";

TEST(WebApps, TheKeyIsFoundInEachNameOfAnInstalledSite) {
    for (const std::string& name :
         std::vector<std::string>{"chrome-" + kKey,
                                  "chrome-" + kKey + "-Default",
                                  "chrome-" + kKey + "-Profile_1",
                                  "chromium-" + kKey + "-Default",
                                  "msedge-" + kKey + "-Default",
                                  "msedge-_" + kKey + "-Default",
                                  "brave-" + kKey + "-Default",
                                  "vivaldi-" + kKey + "-Default",
                                  "opera-" + kKey + "-Default",
                                  "crx_" + kKey,
                                  "crx__" + kKey,
                                  "_crx_" + kKey,
                                  "_crx__" + kKey,
                                  "com.google.Chrome.flextop.chrome-" + kKey + "-Default",
                                  "org.chromium.Chromium.flextop.chrome-" + kKey + "-Default",
                                  "com.microsoft.Edge.flextop.msedge-" + kKey + "-Default",
                                  "com.brave.Browser.flextop.brave-" + kKey + "-Profile_2",
                                  "com.google.Chrome.app." + kKey,
                                  "com.google.Chrome.canary.app." + kKey,
                                  "com.microsoft.edgemac.app." + kKey,
                                  "com.brave.Browser.app." + kKey,
                                  "org.chromium.Chromium.app." + kKey,
                                  "com.vivaldi.Vivaldi.app." + kKey}) {
        EXPECT_EQ(WebApps::keyOf(name), kKey) << name;
    }
}

TEST(WebApps, NothingElseHasAKey) {
    for (const std::string& name : std::vector<std::string>{
             "", kKey, "chrome-" + kKey.substr(1), "chrome-" + kKey + "a",
             "chrome-z" + kKey.substr(1), "chrome-A" + kKey.substr(1), "crx" + kKey,
             "crx___" + kKey, "firefox-" + kKey, "x-chrome-" + kKey,
             "com.example.app." + kKey + "x", "com.example.application." + kKey,
             "chrome-docs.google.com__document", "crx_", "com.google.Chrome.app.",
             "com.google.Chrome.flextop." + kKey}) {
        EXPECT_EQ(WebApps::keyOf(name), std::nullopt) << name;
    }
    EXPECT_EQ(WebApps::listedAs(kKey), "chrome-" + kKey);
    EXPECT_EQ(WebApps::keyOf(WebApps::listedAs(kKey)), kKey);
}

TEST(WebApps, ThePageIsReadOutOfTheWindowsName) {
    EXPECT_EQ(WebApps::pageOf("chrome-docs.google.com__document_d"),
              "https://docs.google.com/document/d");
    EXPECT_EQ(WebApps::pageOf("msedge-docs.google.com__document_d_1-Default"),
              "https://docs.google.com/document/d/1-Default");
    EXPECT_EQ(WebApps::pageOf("brave-linear.app__-Profile_1"), "https://linear.app/-Profile/1");
    EXPECT_EQ(WebApps::pageOf("chromium-linear.app__"), "https://linear.app/");
    for (const char* const other :
         {"", "chrome-", "chrome-docs.google.com", "chrome-__x", "chrome-localhost__x",
          "chrome-a b.example__", "chrome-Docs.google.com__", "docs.google.com__document",
          "chrome-abcdefghijklmnopponmlkjihgfedcba-Default", "firefox-docs.google.com__"}) {
        EXPECT_EQ(WebApps::pageOf(other), std::nullopt) << other;
    }
}

} // namespace
} // namespace kelvane
