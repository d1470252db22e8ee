#include "app/cli/detection_report.h"

#include <string_view>

namespace kelvane {

namespace {

std::string_view word(bool value) {
    return value ? "true" : "false";
}

/// A text as it is, but for control characters: the report is one line, whatever anybody calls
/// himself.
std::string onOneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F) line.push_back(c);
    }
    return line;
}

std::string fragment(const DetectedAgent& agent) {
    std::string text = "{\"id\":\"" + agent.id + "\",\"running\":";
    text.append(word(agent.running)).append(",\"wired\":");
    text.append(agent.wired ? word(*agent.wired) : "null").append("}");
    return text;
}

} // namespace

std::string detectionReport(const DetectedApp& front, std::size_t catalogApps,
                            const std::vector<DetectedAgent>& agents) {
    const auto text = [&](std::string CatalogApp::*field) {
        return front.app ? onOneLine((*front.app).*field) : std::string();
    };
    std::string line = "{\"frontmost_bundle\":\"" + onOneLine(front.rawBundleId);
    line.append("\",\"detected_app\":\"").append(text(&CatalogApp::id));
    line.append("\",\"app_name\":\"").append(text(&CatalogApp::name));
    line.append("\",\"modality\":\"").append(text(&CatalogApp::primaryModality));
    line.append("\",\"supported\":").append(word(front.supported()));
    line.append(",\"catalog_apps\":").append(std::to_string(catalogApps));
    line.append(",\"agents\":[");
    bool first = true;
    for (const DetectedAgent& agent : agents) {
        if (!agent.present) continue;
        if (!first) line.append(",");
        first = false;
        line.append(fragment(agent));
    }
    line.append("]}");
    return line;
}

} // namespace kelvane
