#include "platform/ports/pasteboard.h"

namespace kelvane {

PasteboardMemory Pasteboard::remember() {
    return {.string = string(), .changeCount = changeCount(), .formats = nullptr};
}

void Pasteboard::putBack(const PasteboardMemory& memory) {
    clearContents();
    if (memory.string) setString(*memory.string);
}

} // namespace kelvane
