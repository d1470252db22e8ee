#include "platform/qt/qt_url_opener.h"

#include <QDesktopServices>
#include <QString>
#include <QUrl>

#include <optional>

namespace kelvane {

namespace {

std::optional<QUrl> webAddress(std::string_view text) {
    const auto bytes = QByteArray(text.data(), static_cast<qsizetype>(text.size()));
    const QString decoded = QString::fromUtf8(bytes);
    if (decoded.toUtf8() != bytes) return std::nullopt; // Not UTF-8.
    for (const QChar c : decoded) {
        if (c.isSpace() || c.category() == QChar::Other_Control) return std::nullopt;
    }
    const QUrl url(decoded, QUrl::StrictMode);
    const bool web =
        url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !web || url.host().isEmpty()) return std::nullopt;
    return url;
}

class QtUrlOpener : public UrlOpener {
public:
    bool open(std::string_view text) override {
        const auto url = webAddress(text);
        return url && QDesktopServices::openUrl(*url);
    }
};

} // namespace

bool isWebAddress(std::string_view text) {
    return webAddress(text).has_value();
}

std::unique_ptr<UrlOpener> makeQtUrlOpener() {
    return std::make_unique<QtUrlOpener>();
}

} // namespace kelvane
