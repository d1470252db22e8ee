#include "catalog/recognition.h"

#include "catalog/app_catalog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

const std::string kKey = "abcdefghijklmnopponmlkjihgfedcba";

CatalogApp app(const std::string& id, std::vector<std::string> bundleIds,
               std::vector<std::string> hosts = {}) {
    CatalogApp made;
    made.id = id;
    made.bundleIds = std::move(bundleIds);
    made.webHosts = std::move(hosts);
    return made;
}

AppCatalog catalog() {
    CatalogApp chrome = app("chrome", {"com.google.Chrome", "google-chrome"});
    chrome.isBrowser = true;
    CatalogApp vivaldi = app("vivaldi", {"vivaldi"});
    vivaldi.isBrowser = true;
    return AppCatalog({chrome, vivaldi, app("mail", {"chrome-" + kKey}, {"mail.example.org"}),
                       app("desk", {}, {".desk.example/agent"}),
                       app("opus", {"opera-opus.example"}),
                       app("editor", {"wmclass:code", "wmclass:suite-", "com.example.ed"}),
                       app("words", {"wmclass:two words"}), app("paint", {"paint-it"}),
                       app("listed", {"crx_ponmlkjihgfedcbaponmlkjihgfedcba"})});
}

std::string found(const std::string& identifier) {
    const AppCatalog known = catalog();
    const CatalogApp* const entry = recognise(known, identifier);
    return entry == nullptr ? "-" : entry->id;
}

TEST(Recognition, AnInstalledSiteIsFoundByEachOfItsNames) {
    EXPECT_EQ(found("chrome-" + kKey), "mail");
    EXPECT_EQ(found("chrome-" + kKey + "-Default"), "mail");
    EXPECT_EQ(found("msedge-_" + kKey + "-Default"), "mail");
    EXPECT_EQ(found("crx__" + kKey), "mail");
    // Though these begin with a browser's identifier.
    EXPECT_EQ(found("com.google.Chrome.app." + kKey), "mail");
    EXPECT_EQ(found("vivaldi-" + kKey + "-Default"), "mail");
}

TEST(Recognition, AnUnknownInstalledSiteIsWhatItsIdentifierBeginsWith) {
    EXPECT_EQ(found("com.google.Chrome.app.bcdefghijklmnopabcdefghijklmnopa"), "chrome");
    EXPECT_EQ(found("chrome-bcdefghijklmnopabcdefghijklmnopa-Default"), "-");
}

TEST(Recognition, APageIsFoundByItsHostWhateverTheBrowser) {
    EXPECT_EQ(found("chrome-mail.example.org__-Default"), "mail");
    EXPECT_EQ(found("msedge-mail.example.org__inbox-Default"), "mail");
    EXPECT_EQ(found("chrome-acme.desk.example__agent_1-Default"), "desk");
    EXPECT_EQ(found("vivaldi-mail.example.org__-Default"), "mail") << "not the browser";
    EXPECT_EQ(found("chrome-other.example.org__-Default"), "-");
    EXPECT_EQ(found("vivaldi-other.example.org__-Default"), "vivaldi");
}

TEST(Recognition, WhatIsListedComesFirst) {
    EXPECT_EQ(found("crx_ponmlkjihgfedcbaponmlkjihgfedcba"), "listed");
    EXPECT_EQ(found("opera-opus.example__-Default"), "opus") << "a prefix of no browser";
    EXPECT_EQ(found("com.google.Chrome"), "chrome");
    EXPECT_EQ(found("google-chrome-beta"), "chrome");
    EXPECT_EQ(found("com.example.nope"), "-");
    EXPECT_EQ(found(""), "-");
}

TEST(Recognition, AnAppImagesDesktopFileIsKnownByTheNameInIt) {
    const std::string hash = "appimagekit_0123456789abcdef0123456789abcdef-";
    EXPECT_EQ(found(hash + "com.example.ed"), "editor");
    EXPECT_EQ(found(hash + "Code"), "editor") << "by its class";
    EXPECT_EQ(found(hash + "Two_Words"), "words");
    EXPECT_EQ(found(hash + "Paint_It"), "paint");
    EXPECT_EQ(found(hash + "VIVALDI"), "vivaldi");
    EXPECT_EQ(found(hash + "Codex"), "-") << "whole names only";
    EXPECT_EQ(found(hash), "-");
    EXPECT_EQ(found("appimagekit_0123456789abcdef0123456789abcdeg-Code"), "-");
    EXPECT_EQ(found("appimagekit_0123456789abcdef-Code"), "-");
}

TEST(Recognition, AClassIsAWholeWordUnlessAFamilyIsListed) {
    EXPECT_EQ(found("wmclass:code"), "editor");
    EXPECT_EQ(found("wmclass:codeblocks"), "-");
    EXPECT_EQ(found("wmclass:code-oss"), "-");
    EXPECT_EQ(found("wmclass:suite-idea"), "editor");
    EXPECT_EQ(found("wmclass:"), "-");
    EXPECT_EQ(found("com.example.editor"), "editor") << "other identifiers go on";
}

} // namespace
} // namespace kelvane
