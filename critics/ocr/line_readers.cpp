#include "critics/ocr/line_reader.h"

#include <utility>

namespace trevix {

LineReaders::Lease::~Lease() {
    if (!m_reader) return;
    const std::lock_guard lock(m_home->m_mutex);
    m_home->m_idle.push_back(std::move(m_reader));
}

// A reader serves one thread at a time and takes long to open, so each is used again. Opened
// outside the lock, so that nobody waits who can have one that is idle.
std::variant<LineReaders::Lease, ReaderAbsence> LineReaders::take() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_idle.empty()) {
            std::unique_ptr<LineReader> reader = std::move(m_idle.back());
            m_idle.pop_back();
            return Lease(*this, std::move(reader));
        }
    }
    auto opened = LineReader::open(m_folders);
    if (auto* absence = std::get_if<ReaderAbsence>(&opened)) return std::move(*absence);
    return Lease(*this, std::get<std::unique_ptr<LineReader>>(std::move(opened)));
}

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
