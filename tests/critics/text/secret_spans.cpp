// What the critics take for secrets, for the tests of the kit to compare with what the kit takes.
//
// Reads a JSON array of texts from standard input and writes, for each, an array of
// [first byte, byte behind the last, kind].

#include "critics/text/secret_shapes.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <string>

int main() {
    const auto texts = nlohmann::json::parse(std::cin);
    auto answers = nlohmann::json::array();
    for (const auto& text : texts) {
        auto spans = nlohmann::json::array();
        for (const trevix::Secret& secret : trevix::findSecrets(text.get<std::string>())) {
            spans.push_back({secret.valueOffset, secret.valueOffset + secret.valueLength,
                             std::string(secret.kind)});
        }
        answers.push_back(spans);
    }
    std::cout << answers.dump() << '\n';
    return 0;
}
