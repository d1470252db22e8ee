#include "critics/language/language.h"

namespace trevix {

std::string_view name(NaturalLanguage language) {
    switch (language) {
    case NaturalLanguage::english:
        return "English";
    case NaturalLanguage::german:
        return "German";
    case NaturalLanguage::french:
        return "French";
    case NaturalLanguage::spanish:
        return "Spanish";
    case NaturalLanguage::unknown:
    case NaturalLanguage::other:
        break;
    }
    return "";
}

} // namespace trevix
