#include "critics/ocr/line_reader.h"

#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#ifdef _OPENMP
#include <omp.h>
#endif

namespace trevix {
namespace {

constexpr const char* kLanguage = "eng";
/// Dots an inch; the library asks for a figure and only guesses point sizes by it.
constexpr int kResolution = 300;

class EngineLineReader : public LineReader {
public:
    /// Whether the data could be loaded.
    [[nodiscard]] bool load(const std::string& folder) {
        // Where the library writes to is one variable of the process, however many readers there
        // are.
        static std::mutex oneAtATime;
        const std::lock_guard lock(oneAtATime);
        // It writes to standard error otherwise, which here is told as what a child said.
        m_api.SetVariable("debug_file", "/dev/null");
        // The network of long short-term memory alone: the older engine needs data that packages
        // leave out.
        if (m_api.Init(folder.c_str(), kLanguage, tesseract::OEM_LSTM_ONLY) != 0) return false;
        m_api.SetPageSegMode(tesseract::PSM_SINGLE_LINE);
        m_api.SetVariable("debug_file", "/dev/null"); // Loading resets it.
        m_api.SetVariable("tessedit_do_invert", "0"); // Lines come dark on white.
        return true;
    }

    std::optional<std::vector<LineWord>> read(const LineImage& line,
                                              std::chrono::milliseconds limit) override {
#ifdef _OPENMP
        // The library asks for four threads by itself, which spin and make one line take twice as
        // long; at no level of nesting there is only one. The setting is that of this thread.
        omp_set_max_active_levels(0);
#endif
        tesseract::ETEXT_DESC monitor;
        monitor.set_deadline_msecs(static_cast<std::int32_t>(limit.count()));
        m_api.SetImage(line.pixels.data(), line.width, line.height, 1, line.width);
        m_api.SetSourceResolution(kResolution);
        std::optional<std::vector<LineWord>> words;
        if (m_api.Recognize(&monitor) == 0) words = wordsRead(line);
        // Drops the picture and what was read, and keeps the data that took so long to load.
        m_api.Clear();
        return words;
    }

    [[nodiscard]] std::string version() const override {
        return tesseract::TessBaseAPI::Version();
    }

private:
    std::vector<LineWord> wordsRead(const LineImage& line) {
        std::vector<LineWord> words;
        const std::unique_ptr<tesseract::ResultIterator> at(m_api.GetIterator());
        if (!at) return words;
        do {
            const std::unique_ptr<char[]> text(at->GetUTF8Text(tesseract::RIL_WORD));
            int left = 0;
            int top = 0;
            int right = 0;
            int bottom = 0;
            if (!text || !at->BoundingBox(tesseract::RIL_WORD, &left, &top, &right, &bottom))
                continue;
            LineWord word;
            word.text = text.get();
            if (word.text.find_first_not_of(" \t\r\n") == std::string::npos) continue;
            // Per cent.
            word.confidence = static_cast<int>(at->Confidence(tesseract::RIL_WORD));
            // Clamped: boxes may reach beyond the picture by a pixel or more.
            word.x = std::clamp(left, 0, line.width);
            word.y = std::clamp(top, 0, line.height);
            word.width = std::clamp(right, word.x, line.width) - word.x;
            word.height = std::clamp(bottom, word.y, line.height) - word.y;
            words.push_back(std::move(word));
        } while (at->Next(tesseract::RIL_WORD));
        return words;
    }

    tesseract::TessBaseAPI m_api;
};

} // namespace

std::variant<std::unique_ptr<LineReader>, ReaderAbsence>
LineReader::open(const std::vector<std::string>& folders) {
    for (const std::string& folder : folders) {
        std::error_code ignored;
        // Looked for before it is tried: the library says a lot about data that is not there.
        if (!std::filesystem::is_regular_file(
                std::filesystem::path(folder) / (std::string(kLanguage) + ".traineddata"), ignored))
            continue;
        auto reader = std::make_unique<EngineLineReader>();
        if (reader->load(folder)) return reader;
        return ReaderAbsence{"the English data of tesseract in " + folder + " cannot be read",
                             "install tesseract-ocr-eng again"};
    }
    return ReaderAbsence{"tesseract has no data of the English language here",
                         "install tesseract-ocr-eng"};
}

} // namespace trevix
