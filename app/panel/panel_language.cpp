#include "app/panel/panel_language.h"

#include "text/translation.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLocale>
#include <QQmlEngine>
#include <QQuickView>
#include <QString>
#include <QTranslator>

#include <optional>
#include <utility>

namespace kelvane {

namespace {

text::Translator asking(std::shared_ptr<const QTranslator> translator) {
    return [translator = std::move(translator)](const text::Phrase& phrase) {
        const QString said = translator->translate(phrase.context, phrase.source, phrase.many,
                                                   phrase.count.value_or(-1));
        return said.isEmpty() ? std::nullopt : std::optional(said.toStdString());
    };
}

class Follower : public QObject {
public:
    Follower(QQuickView& view, std::function<void()> redraw)
        : QObject(&view),
          m_view(view),
          m_redraw(std::move(redraw)) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == &m_view && event->type() == QEvent::LanguageChange) {
            m_view.engine()->retranslate();
            m_redraw();
        }
        return false;
    }

private:
    QQuickView& m_view;
    std::function<void()> m_redraw;
};

} // namespace

PanelLanguage::PanelLanguage() = default;

PanelLanguage::~PanelLanguage() {
    static_cast<void>(use("en"));
}

bool PanelLanguage::use(const std::string& language) {
    return useFile(
        QStringLiteral(":/kelvane/translations/%1.qm").arg(QString::fromStdString(language)));
}

bool PanelLanguage::useFile(const QString& file) {
    if (file == m_inUse) return false;
    auto next = std::make_shared<QTranslator>();
    if (!next->load(file)) next.reset();
    const bool isOther = next || m_translator;
    m_inUse = file;
    if (!isOther) return false;
    // Threads that are asking it hold the one before.
    const auto before = std::exchange(m_translator, std::move(next));
    text::useTranslator(m_translator ? asking(m_translator) : text::Translator());
    if (m_translator) QCoreApplication::installTranslator(m_translator.get());
    if (before) QCoreApplication::removeTranslator(before.get());
    return true;
}

std::vector<std::string> PanelLanguage::ofTheDesktop() {
    std::vector<std::string> names;
    // Of no language in particular Qt lists none.
    if (QLocale::system().language() == QLocale::C) return names;
    for (const QString& name : QLocale::system().uiLanguages()) {
        names.push_back(name.toStdString());
    }
    return names;
}

void followLanguage(QQuickView& view, std::function<void()> redraw) {
    view.installEventFilter(new Follower(view, std::move(redraw)));
}

} // namespace kelvane
