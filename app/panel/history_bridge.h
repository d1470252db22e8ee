// What the window of the history binds to: the list, what is searched for, what is chosen.
//
// Everything shown comes from `history_view.h`. What is read from the disk comes through `Ports`,
// later: the window is there at once. Main thread only.

#pragma once

#include "app/history_view.h"
#include "app/panel/panel_records.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct HistoryLineRecord {
    Q_GADGET
    QML_VALUE_TYPE(historyLineRecord)
    Q_PROPERTY(bool isApp MEMBER isApp CONSTANT)
    Q_PROPERTY(bool isDay MEMBER isDay CONSTANT)
    Q_PROPERTY(QString text MEMBER text CONSTANT)
    Q_PROPERTY(QString id MEMBER id CONSTANT)
    Q_PROPERTY(QString band MEMBER band CONSTANT)
    Q_PROPERTY(int bandTint READ bandTintNumber CONSTANT)
    Q_PROPERTY(int bandLabelTint READ bandLabelTintNumber CONSTANT)
    Q_PROPERTY(QString score MEMBER score CONSTANT)
    Q_PROPERTY(QString spoken MEMBER spoken CONSTANT)

public:
    bool isApp = false;
    bool isDay = false; ///< Neither: a verdict.
    QString text;
    QString id; ///< Empty but for a verdict.
    QString band;
    PanelTint::Value bandTint = PanelTint::Value::Gray;
    PanelTint::Value bandLabelTint = PanelTint::Value::White;
    QString score;
    QString spoken;

    [[nodiscard]] int bandTintNumber() const { return static_cast<int>(bandTint); }
    [[nodiscard]] int bandLabelTintNumber() const { return static_cast<int>(bandLabelTint); }
};

struct HistoryDetailRecord {
    Q_GADGET
    QML_VALUE_TYPE(historyDetailRecord)
    Q_PROPERTY(bool isHeading MEMBER isHeading CONSTANT)
    Q_PROPERTY(bool isFlaw MEMBER isFlaw CONSTANT)
    Q_PROPERTY(QString sign MEMBER sign CONSTANT)
    Q_PROPERTY(kelvane::FlawRecord flaw MEMBER flaw CONSTANT)

public:
    bool isHeading = false;
    bool isFlaw = false;
    QString sign; ///< Of a line of text: "+", "−" or a blank; empty of all others.
    FlawRecord flaw;
};

class HistoryBridge : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QList<kelvane::HistoryLineRecord> lines READ lines NOTIFY linesChanged)
    Q_PROPERTY(QString empty READ empty NOTIFY linesChanged)
    Q_PROPERTY(QString words READ words WRITE setWords NOTIFY wordsChanged)
    Q_PROPERTY(QString chosen READ chosen NOTIFY detailsChanged)
    Q_PROPERTY(QString marked READ marked NOTIFY detailsChanged)
    Q_PROPERTY(QString title READ title NOTIFY detailsChanged)
    Q_PROPERTY(QList<kelvane::HistoryDetailRecord> details READ details NOTIFY detailsChanged)
    Q_PROPERTY(bool hasReport READ hasReport NOTIFY detailsChanged)
    Q_PROPERTY(bool hasVersionBefore READ hasVersionBefore NOTIFY detailsChanged)
    Q_PROPERTY(bool compares READ compares NOTIFY detailsChanged)
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY lookChanged)
    Q_PROPERTY(bool highContrast READ highContrast WRITE setHighContrast NOTIFY lookChanged)
    Q_PROPERTY(int textSize READ textSize WRITE setTextSize NOTIFY lookChanged)
    Q_PROPERTY(double grown READ grown NOTIFY lookChanged)

public:
    using Entries = std::vector<history::VerdictEntry>;

    struct Ports {
        /// Hands all entries to the function, at once or later on this thread.
        std::function<void(std::function<void(Entries)>)> load;
        std::function<void(const std::string& id)> erase;
        std::function<void()> eraseAll;
        std::function<void(const history::VerdictEntry&)> openReport;
        LocalTime local;
    };

    explicit HistoryBridge(Ports ports, QObject* parent = nullptr);

    /// Reads the history anew; what is chosen stays as long as it is there.
    Q_INVOKABLE void reload();
    /// Says all of it anew, in the language that is in use now.
    void redraw();

    Q_INVOKABLE void choose(const QString& id); ///< Nothing for an id that is not listed.
    Q_INVOKABLE void openReport();
    Q_INVOKABLE void compareWithBefore();
    /// Puts the chosen verdict aside to be compared with another; with the marked one chosen, takes
    /// the mark away.
    Q_INVOKABLE void mark();
    Q_INVOKABLE void compareWithMarked();
    Q_INVOKABLE void showFlaws(); ///< Ends a comparison.
    Q_INVOKABLE void eraseChosen();
    Q_INVOKABLE void eraseAll();
    Q_INVOKABLE void copyDetails(); ///< To the clipboard, as text.

    [[nodiscard]] const QList<HistoryLineRecord>& lines() const { return m_lines; }
    /// Why there are no lines; empty while there are some.
    [[nodiscard]] QString empty() const;
    [[nodiscard]] QString words() const { return m_words; }
    void setWords(const QString& words);
    [[nodiscard]] QString chosen() const { return QString::fromStdString(m_chosen); }
    [[nodiscard]] QString marked() const { return QString::fromStdString(m_marked); }
    [[nodiscard]] QString title() const { return QString::fromStdString(m_details.title); }
    [[nodiscard]] const QList<HistoryDetailRecord>& details() const { return m_detailRecords; }
    [[nodiscard]] bool hasReport() const { return m_details.hasReport; }
    [[nodiscard]] bool hasVersionBefore() const;
    [[nodiscard]] bool compares() const { return m_compares; }

    [[nodiscard]] bool dark() const { return m_dark; }
    void setDark(bool dark);
    [[nodiscard]] bool highContrast() const { return m_highContrast; }
    void setHighContrast(bool high);
    [[nodiscard]] int textSize() const { return m_textSize; }
    [[nodiscard]] double grown() const; ///< As the panel's.
    void setTextSize(int pixels);

signals:
    /// What came of something that was typed or pressed, for who does not see it.
    void said(const QString& what);
    void linesChanged();
    void wordsChanged();
    void detailsChanged();
    void lookChanged();

private:
    void listAnew();
    void sayWhatIsFound();
    void show(HistoryDetails details, bool compares);
    [[nodiscard]] const history::VerdictEntry* entryOf(const std::string& id) const;
    void compareWith(const history::VerdictEntry* other);

    Ports m_ports;
    Entries m_entries;
    QList<HistoryLineRecord> m_lines;
    QString m_words;
    QString m_found; ///< What was said of them last.
    std::string m_chosen;
    std::string m_marked;
    std::string m_comparedWith; ///< While `m_compares`.
    HistoryDetails m_details;
    QList<HistoryDetailRecord> m_detailRecords;
    bool m_compares = false;
    bool m_isLoaded = false;
    bool m_dark = false;
    bool m_highContrast = false;
    int m_textSize = 13;
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true);
};

} // namespace kelvane
