#include "platform/qt/qt_url_opener.h"

#include "text/web_address.h"

#include <QDesktopServices>
#include <QString>
#include <QUrl>

namespace kelvane {

namespace {

class QtUrlOpener : public UrlOpener {
public:
    bool open(std::string_view address) override {
        if (!text::isWebAddress(address)) return false;
        // Strict: what would have to be guessed at is not opened.
        const QUrl url(QString::fromUtf8(address.data(), static_cast<qsizetype>(address.size())),
                       QUrl::StrictMode);
        return url.isValid() && QDesktopServices::openUrl(url);
    }
};

} // namespace

std::unique_ptr<UrlOpener> makeQtUrlOpener() {
    return std::make_unique<QtUrlOpener>();
}

} // namespace kelvane
