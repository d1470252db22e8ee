// Reads the words of one line of writing with a library of others, where the build has one.
//
// What a line is, and where, is the caller's knowledge: the reader gets a picture of the line
// alone, dark on white. It knows English. The library and its language data are both optional;
// without either nothing is read and `ReaderAbsence` says why.

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace trevix {

/// Row by row, 0 is ink and 255 is ground. The letters should be 16 to 48 pixels high, with white
/// around them.
struct LineImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

/// One word as it was read, in the pixels of the line's image.
struct LineWord {
    std::string text;   ///< UTF-8, with the marks that touch it; never empty, without blanks.
    int confidence = 0; ///< From 0 to 100, as the library reckons it.
    int x = 0, y = 0, width = 0, height = 0; ///< Within the image.

    bool operator==(const LineWord&) const = default;
};

/// Why there is no reader: a clause for people, and what would change it.
struct ReaderAbsence {
    std::string why;
    std::string remedy;

    bool operator==(const ReaderAbsence&) const = default;
};

/// A reader has its language loaded (some 30 MB) and serves one thread at a time. It never takes
/// more than one core.
class LineReader {
public:
    /// A reader with the English data of the first of `folders` that has some.
    [[nodiscard]] static std::variant<std::unique_ptr<LineReader>, ReaderAbsence>
    open(const std::vector<std::string>& folders);

    virtual ~LineReader() = default;

    /// The words from left to right, none where none is seen. Nothing when reading was not over
    /// after `limit`. Precondition: the image is not empty.
    [[nodiscard]] virtual std::optional<std::vector<LineWord>>
    read(const LineImage& line, std::chrono::milliseconds limit) = 0;

    /// The library's own: "5.3.0".
    [[nodiscard]] virtual std::string version() const = 0;
};

/// Readers that are kept while the program runs, as loading one takes a tenth of a second. Any
/// thread, several at once; each gets a reader of its own.
class LineReaders {
public:
    /// Opens nothing yet; `folders` are those of `LineReader::open`.
    explicit LineReaders(std::vector<std::string> folders) : m_folders(std::move(folders)) {}

    /// A reader for as long as the answer lives, which the readers must outlive.
    class Lease {
    public:
        Lease(LineReaders& home, std::unique_ptr<LineReader> reader)
            : m_home(&home),
              m_reader(std::move(reader)) {}
        Lease(Lease&&) = default;
        Lease& operator=(Lease&&) = delete;
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease();

        [[nodiscard]] LineReader& reader() const { return *m_reader; }

    private:
        LineReaders* m_home;
        std::unique_ptr<LineReader> m_reader;
    };

    [[nodiscard]] std::variant<Lease, ReaderAbsence> take();

private:
    std::vector<std::string> m_folders;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<LineReader>> m_idle; ///< Guarded by `m_mutex`.
};

/// Where language data is kept: the folder that `prefix` (TESSDATA_PREFIX of the environment)
/// names, unless it is empty, then those of the usual packages.
[[nodiscard]] std::vector<std::string> languageFolders(const std::string& prefix);

} // namespace trevix
