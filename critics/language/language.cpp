#include "critics/language/language.h"

namespace trevix {

std::string_view name(Language language) {
    switch (language) {
    case Language::english:
        return "English";
    case Language::german:
        return "German";
    case Language::french:
        return "French";
    case Language::spanish:
        return "Spanish";
    case Language::unknown:
    case Language::other:
        break;
    }
    return "";
}

} // namespace trevix
