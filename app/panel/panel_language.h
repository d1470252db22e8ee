// The language of the program's texts as Qt knows it: translations, and which way writing runs.
//
// Main thread only, with an application object. Translations are compiled into the program; none is
// needed for English. While one is in use, `text::translated` and QML's qsTr answer from it, and
// everything is laid out from the right where its writing runs so.

#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QQuickView;
class QTranslator;

namespace kelvane {

class PanelLanguage {
public:
    PanelLanguage();
    /// What follows is in English again.
    ~PanelLanguage();
    PanelLanguage(const PanelLanguage&) = delete;
    PanelLanguage& operator=(const PanelLanguage&) = delete;

    /// Whether it is another language than before. One that the program does not have is English.
    /// Windows that follow the language are told on the next turn of the loop.
    bool use(const std::string& language);

    /// The same with a translation in a file; English where it cannot be read.
    bool useFile(const QString& file);

    /// Names of the desktop's languages, the preferred one first.
    [[nodiscard]] static std::vector<std::string> ofTheDesktop();

private:
    QString m_inUse;                           ///< The file.
    std::shared_ptr<QTranslator> m_translator; ///< Null: English.
};

/// Has a window's texts follow the language while it lives: those of QML, then what `redraw` makes.
void followLanguage(QQuickView& view, std::function<void()> redraw);

} // namespace kelvane
