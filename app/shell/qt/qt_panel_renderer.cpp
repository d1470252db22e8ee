#include "app/shell/qt/qt_panel_renderer.h"

#include "app/panel/panel_picture.h"

#include <QBuffer>

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace kelvane {

namespace {

/// Of a picture that is made: what the umask leaves of it.
constexpr mode_t kReadable = 0666;

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Into what is there, be that a pipe, a device or a file that others have names for. The name is
/// bytes, as the system takes it.
std::optional<std::string> writeTo(const std::filesystem::path& path, std::string_view bytes) {
    constexpr int kHow = O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOCTTY;
    // First what is there: in a folder that everybody writes to, systems refuse to "make" the pipe
    // of another user. A link to nothing is there and is not.
    int file = ::open(path.c_str(), kHow);
    const bool made = file < 0 && errno == ENOENT;
    if (made) file = ::open(path.c_str(), kHow | O_CREAT, kReadable);
    if (file < 0) return std::generic_category().message(errno);
    int error = writeAll(file, bytes) ? 0 : errno;
    // Some disks tell only now that they are full.
    if (::close(file) != 0 && error == 0) error = errno;
    if (error == 0) return std::nullopt;
    if (made) ::unlink(path.c_str());
    return std::generic_category().message(error);
}

class QtRenderedPanel : public RenderedPanel {
public:
    explicit QtRenderedPanel(QImage image) : m_image(std::move(image)) {}

    Size pixels() const override { return {m_image.width(), m_image.height()}; }

    std::optional<std::string> png() const override {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        if (!buffer.open(QIODevice::WriteOnly) || !m_image.save(&buffer, "PNG")) return {};
        return bytes.toStdString();
    }

private:
    QImage m_image;
};

class QtPanelRenderer : public PanelRenderer {
public:
    explicit QtPanelRenderer(PanelImages images) : m_images(images) {}

    std::unique_ptr<RenderedPanel> render(CompanionModel& model, int width, double scale) override {
        QImage image = renderPanel(model, m_images, width, scale);
        return image.isNull() ? nullptr : std::make_unique<QtRenderedPanel>(std::move(image));
    }

    std::optional<std::string> write(const std::filesystem::path& path,
                                     std::string_view bytes) override {
        return writeTo(path, bytes);
    }

private:
    PanelImages m_images;
};

} // namespace

std::unique_ptr<PanelRenderer> makeQtPanelRenderer(PanelImages images) {
    return std::make_unique<QtPanelRenderer>(images);
}

} // namespace kelvane
