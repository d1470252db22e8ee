#include "text/json_shape.h"

#include <algorithm>

namespace kelvane::text {

JsonShape jsonShape(std::string_view bytes) {
    JsonShape shape{.hasNul = bytes.find('\0') != std::string_view::npos, .depth = 0, .values = 1};
    std::size_t open = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        switch (bytes[at]) {
        case '"':
            for (++at; at < bytes.size() && bytes[at] != '"'; ++at) {
                if (bytes[at] == '\\') ++at;
            }
            break;
        case '{':
        case '[':
            ++shape.values;
            shape.depth = std::max(shape.depth, ++open);
            break;
        case '}':
        case ']':
            if (open > 0) --open;
            break;
        case ',':
            ++shape.values;
            break;
        default:
            break;
        }
    }
    return shape;
}

} // namespace kelvane::text
