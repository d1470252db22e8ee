#include "service/setup/key_proof.h"

#include <gtest/gtest.h>

#include <string>

namespace trevix {
namespace {

const std::string kKey = "trevix_local_0123456789abcdef0123456789abcdef01234567";

std::string nonce(const std::string& pair) {
    std::string all;
    for (int i = 0; i < 32; ++i) all += pair;
    return all;
}

// The expected value was computed with Python's hmac and hashlib.
TEST(KeyProof, IsTheCodeOfNonceAndAddressUnderTheKey) {
    EXPECT_EQ(keyProof(kKey, nonce("ab"), "127.0.0.1:8797"),
              "2245772c5dc1be6221ce58fffe54af4530a001004c0e0e9090094efb610e3330");
}

TEST(KeyProof, DependsOnAllThree) {
    const std::string proof = keyProof(kKey, nonce("ab"), "127.0.0.1:8797");
    EXPECT_NE(keyProof(kKey + "0", nonce("ab"), "127.0.0.1:8797"), proof);
    EXPECT_NE(keyProof(kKey, nonce("ac"), "127.0.0.1:8797"), proof);
    EXPECT_NE(keyProof(kKey, nonce("ab"), "127.0.0.1:8798"), proof);
}

TEST(KeyProof, ANonceIs64LowerCaseDigits) {
    EXPECT_TRUE(isNonce(nonce("0f")));
    EXPECT_FALSE(isNonce(nonce("0F")));
    EXPECT_FALSE(isNonce(nonce("0g")));
    EXPECT_FALSE(isNonce(nonce("0f") + "0"));
    EXPECT_FALSE(isNonce(nonce("0f").substr(1)));
    EXPECT_FALSE(isNonce(""));
    EXPECT_FALSE(isNonce(nonce("\n0")));
}

} // namespace
} // namespace trevix
