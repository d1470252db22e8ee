#include "app/shell/qt/qt_panel_renderer.h"

#include "app/panel/panel_picture.h"

#include <QBuffer>
#include <QSaveFile>
#include <QString>

#include <utility>

namespace kelvane {

namespace {

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
        QSaveFile file(QString::fromStdString(path.string()));
        const bool written = file.open(QIODevice::WriteOnly) &&
                             file.write(bytes.data(), static_cast<qint64>(bytes.size())) ==
                                 static_cast<qint64>(bytes.size()) &&
                             file.commit();
        if (written) return std::nullopt;
        return file.errorString().toStdString();
    }

private:
    PanelImages m_images;
};

} // namespace

std::unique_ptr<PanelRenderer> makeQtPanelRenderer(PanelImages images) {
    return std::make_unique<QtPanelRenderer>(images);
}

} // namespace kelvane
