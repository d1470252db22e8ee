#include "eval/artifact.h"

#include <nlohmann/json.hpp>

namespace kelvane {

nlohmann::json ArtifactPart::json() const {
    nlohmann::json object = {{"mime_type", mimeType}, {"logical_name", logicalName}};
    if (text) object["text"] = *text;
    if (dataB64) object["data_b64"] = *dataB64;
    return object;
}

} // namespace kelvane
