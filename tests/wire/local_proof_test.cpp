#include "platform/curl/local_proof.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

TEST(LocalProof, IsTheHmacOfNonceAndAddress) {
    EXPECT_EQ(proofOf("trevix_local_abc", std::string(64, '0'), "127.0.0.1:8797"),
              "6c89a22ebc76498719d1abb008f1dcf94f0310e17db60b474bbe6d4759694d5d");
    std::string nonce;
    for (int i = 0; i < 32; ++i) nonce += "ab";
    EXPECT_EQ(proofOf("trevix_local_abc", nonce, "[::1]:8797"),
              "4d226794be8a79aeb6faacb9e7da16a2d754e0cae9f83bb921939cdbf282f8e3");
    EXPECT_EQ(proofOf(" ", std::string(64, '0'), "127.0.0.1:1"),
              "d601f70b6999d1f7d26e29f37154e0c4644ddda5aaf513e2a82a103e260032f9");
}

TEST(LocalProof, ANonceIs32BytesAndNeverTheSame) {
    const auto nonce = newNonce();
    ASSERT_TRUE(nonce);
    EXPECT_EQ(nonce->size(), 64U);
    EXPECT_EQ(nonce->find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(newNonce(), nonce);
    EXPECT_EQ(proofTarget("ab"), "/api/v1/proof?nonce=ab");
}

TEST(LocalProof, AnAddressIsNumericWithItsPort) {
    EXPECT_EQ(serverAddress("127.0.0.1", 8797), "127.0.0.1:8797");
    EXPECT_EQ(serverAddress("::1", 80), "[::1]:80");
}

TEST(LocalProof, IsGivenByExactlyThatText) {
    const std::string proof(64, 'a');
    EXPECT_TRUE(givesProof("{\"proof\": \"" + proof + "\"}", proof));
    EXPECT_TRUE(givesProof("{\"x\":1,\"proof\":\"" + proof + "\"}", proof));
    for (const std::string& body :
         {std::string(), std::string("{}"), proof, "\"" + proof + "\"", "[\"" + proof + "\"]",
          std::string("{\"proof\":null}"), "{\"proof\":\"" + proof + "a\"}",
          "{\"proof\":\"" + proof.substr(1) + "\"}", "{\"proof\":\"b" + proof.substr(1) + "\"}",
          "{\"proof\":\"" + std::string(64, 'A') + "\"}", "{\"proof\":[\"" + proof + "\"]}",
          std::string(100'000, '['), "{\"proof\":\"" + proof + "\""}) {
        EXPECT_FALSE(givesProof(body, proof)) << body.substr(0, 100);
    }
    EXPECT_FALSE(givesProof(R"({"proof":""})", ""));
}

} // namespace
} // namespace kelvane
