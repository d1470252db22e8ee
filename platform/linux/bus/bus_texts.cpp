#include "platform/linux/bus/bus_texts.h"

#include <systemd/sd-bus.h>

namespace kelvane {

bool appendText(sd_bus_message* message, const std::string& text) {
    return sd_bus_message_append_basic(message, SD_BUS_TYPE_STRING, text.c_str()) >= 0;
}

std::vector<std::string> textsIn(sd_bus_message* answer) {
    std::vector<std::string> texts;
    if (sd_bus_message_enter_container(answer, SD_BUS_TYPE_ARRAY, "s") <= 0) return texts;
    const char* text = nullptr;
    while (sd_bus_message_read_basic(answer, SD_BUS_TYPE_STRING, &text) > 0) {
        texts.emplace_back(text);
    }
    return texts;
}

} // namespace kelvane
