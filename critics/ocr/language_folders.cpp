#include "critics/ocr/line_reader.h"

namespace trevix {

std::vector<std::string> languageFolders(const std::string& prefix) {
    std::vector<std::string> folders;
    if (!prefix.empty()) {
        folders.push_back(prefix);
        folders.push_back(prefix + "/tessdata"); // What the variable meant before version 4.
    }
    for (const char* folder :
         {"/usr/share/tesseract-ocr/5/tessdata", "/usr/share/tesseract-ocr/4.00/tessdata",
          "/usr/share/tessdata", "/usr/local/share/tessdata", "/opt/homebrew/share/tessdata"}) {
        folders.emplace_back(folder);
    }
    return folders;
}

} // namespace trevix
