// The records that the panel's drawing binds to, one for each section of the panel.
//
// What `companionView` says, with the types that QML knows: a property that is misspelt there is an
// error when the drawing is checked. Nothing is decided here. An absent text is the empty one: no
// text of the panel is present and empty. An enumeration is handed over as its number, for QML 6.4
// reads nothing else out of a value; it compares numbers with the names all the same. In QML:
// `import Kelvane.Panel`. Main thread only.

#pragma once

#include "app/companion_view.h"
#include "app/flaw_list_view.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace kelvane {

class AppIcons;
class BundleResources;

/// `kelvane::Tint` by the names that QML has for it; a theme says what each looks like.
namespace PanelTint {
Q_NAMESPACE
QML_NAMED_ELEMENT(Tint)

enum class Value {
    Green = static_cast<int>(Tint::green),
    Yellow = static_cast<int>(Tint::yellow),
    Orange = static_cast<int>(Tint::orange),
    Red = static_cast<int>(Tint::red),
    Gray = static_cast<int>(Tint::gray),
    Blue = static_cast<int>(Tint::blue),
    Black = static_cast<int>(Tint::black),
    White = static_cast<int>(Tint::white),
    Secondary = static_cast<int>(Tint::secondary),
    Primary = static_cast<int>(Tint::primary),
    Clear = static_cast<int>(Tint::clear),
};
Q_ENUM_NS(Value)
} // namespace PanelTint

/// `kelvane::MenuAction` likewise.
namespace PanelMenuAction {
Q_NAMESPACE
QML_NAMED_ELEMENT(MenuAction)

enum class Value {
    GetKey = static_cast<int>(MenuAction::getKey),
    Uninstall = static_cast<int>(MenuAction::uninstall),
    Quit = static_cast<int>(MenuAction::quit),
    Divider = static_cast<int>(MenuAction::divider),
    Accessibility = static_cast<int>(MenuAction::accessibility),
    Settings = static_cast<int>(MenuAction::settings),
};
Q_ENUM_NS(Value)
} // namespace PanelMenuAction

struct HeaderRecord {
    Q_GADGET
    QML_VALUE_TYPE(headerRecord)
    Q_PROPERTY(QString product MEMBER product CONSTANT)
    Q_PROPERTY(QString tag MEMBER tag CONSTANT)
    Q_PROPERTY(int dot READ dotNumber CONSTANT)
    Q_PROPERTY(QString toolTip MEMBER toolTip CONSTANT)
    Q_PROPERTY(QString mark MEMBER mark CONSTANT)
    Q_PROPERTY(QString markLetter MEMBER markLetter CONSTANT)

public:
    QString product;
    QString tag;
    PanelTint::Value dot = PanelTint::Value::Clear;
    QString toolTip;    ///< Of the dot.
    QString mark;       ///< The address of the mark's picture; empty when it is missing.
    QString markLetter; ///< Instead of the picture.

    [[nodiscard]] int dotNumber() const { return static_cast<int>(dot); }
};

struct NowRecord {
    Q_GADGET
    QML_VALUE_TYPE(nowRecord)
    Q_PROPERTY(QString caption MEMBER caption CONSTANT)
    Q_PROPERTY(bool recognised MEMBER recognised CONSTANT)
    Q_PROPERTY(QString icon MEMBER icon CONSTANT)
    Q_PROPERTY(QString symbol MEMBER symbol CONSTANT)
    Q_PROPERTY(QString headline MEMBER headline CONSTANT)
    Q_PROPERTY(QString detail MEMBER detail CONSTANT)
    Q_PROPERTY(QString hint MEMBER hint CONSTANT)

public:
    QString caption;
    bool recognised = false;
    QString icon; ///< The address of the application's icon; empty when it has none.
    QString symbol;
    QString headline;
    QString detail;
    QString hint; ///< What the desktop does not allow; may be empty.
};

struct FlawRecord {
    Q_GADGET
    QML_VALUE_TYPE(flawRecord)
    Q_PROPERTY(QString severity MEMBER severity CONSTANT)
    Q_PROPERTY(int tint READ tintNumber CONSTANT)
    Q_PROPERTY(QString text MEMBER text CONSTANT)

public:
    QString severity;
    PanelTint::Value tint = PanelTint::Value::Secondary;
    QString text;

    [[nodiscard]] int tintNumber() const { return static_cast<int>(tint); }
};

/// A flaw of the list that opens from the first three.
struct FlawItemRecord {
    Q_GADGET
    QML_VALUE_TYPE(flawItemRecord)
    Q_PROPERTY(kelvane::FlawRecord flaw MEMBER flaw CONSTANT)
    Q_PROPERTY(QString place MEMBER place CONSTANT)
    Q_PROPERTY(QString evidence MEMBER evidence CONSTANT)
    Q_PROPERTY(QString spoken MEMBER spoken CONSTANT)
    Q_PROPERTY(bool mayDismiss MEMBER mayDismiss CONSTANT)
    Q_PROPERTY(bool mayAddWord MEMBER mayAddWord CONSTANT)
    Q_PROPERTY(bool mayGoTo MEMBER mayGoTo CONSTANT)

public:
    FlawRecord flaw;
    QString place;    ///< May be empty.
    QString evidence; ///< May be empty.
    QString spoken;
    bool mayDismiss = false;
    bool mayAddWord = false;
    bool mayGoTo = false;
};

struct FlawListRecord {
    Q_GADGET
    QML_VALUE_TYPE(flawListRecord)
    Q_PROPERTY(QString title MEMBER title CONSTANT)
    Q_PROPERTY(QList<kelvane::FlawItemRecord> items MEMBER items CONSTANT)
    Q_PROPERTY(QString more MEMBER more CONSTANT)

public:
    QString title;
    QList<FlawItemRecord> items;
    QString more; ///< May be empty.
};

struct VerdictRecord {
    Q_GADGET
    QML_VALUE_TYPE(verdictRecord)
    Q_PROPERTY(bool shown MEMBER shown CONSTANT)
    Q_PROPERTY(QString progress MEMBER progress CONSTANT)
    Q_PROPERTY(QString note MEMBER note CONSTANT)
    Q_PROPERTY(QString hint MEMBER hint CONSTANT)
    Q_PROPERTY(bool graded MEMBER graded CONSTANT)
    Q_PROPERTY(QString band MEMBER band CONSTANT)
    Q_PROPERTY(int bandTint READ bandTintNumber CONSTANT)
    Q_PROPERTY(int bandLabelTint READ bandLabelTintNumber CONSTANT)
    Q_PROPERTY(QString bandToolTip MEMBER bandToolTip CONSTANT)
    Q_PROPERTY(QString score MEMBER score CONSTANT)
    Q_PROPERTY(QString report MEMBER report CONSTANT)
    Q_PROPERTY(QString error MEMBER error CONSTANT)
    Q_PROPERTY(QList<kelvane::FlawRecord> flaws MEMBER flaws CONSTANT)
    Q_PROPERTY(QString more MEMBER more CONSTANT)
    Q_PROPERTY(QString summary MEMBER summary CONSTANT)
    Q_PROPERTY(QString spoken MEMBER spoken CONSTANT)

public:
    bool shown = false; ///< Whether the section has anything to show.
    QString progress;
    QString note;
    QString hint;        ///< Below the note; may be empty.
    bool graded = false; ///< Whether what follows is of a verdict.
    QString band;
    PanelTint::Value bandTint = PanelTint::Value::Gray;
    PanelTint::Value bandLabelTint = PanelTint::Value::White;
    QString bandToolTip; ///< Empty: there is none.
    QString score;
    QString report; ///< What the link to the report says; empty: there is none to open.
    QString error;
    QList<FlawRecord> flaws;
    QString more;
    QString summary;
    QString spoken; ///< What is read out when it comes up.

    [[nodiscard]] int bandTintNumber() const { return static_cast<int>(bandTint); }
    [[nodiscard]] int bandLabelTintNumber() const { return static_cast<int>(bandLabelTint); }
};

struct ButtonRecord {
    Q_GADGET
    QML_VALUE_TYPE(buttonRecord)
    Q_PROPERTY(QString label MEMBER label CONSTANT)
    Q_PROPERTY(QString symbol MEMBER symbol CONSTANT)
    Q_PROPERTY(bool visible MEMBER visible CONSTANT)
    Q_PROPERTY(bool enabled MEMBER enabled CONSTANT)
    Q_PROPERTY(QString toolTip MEMBER toolTip CONSTANT)

public:
    QString label;
    QString symbol;
    bool visible = false;
    bool enabled = false;
    QString toolTip; ///< Empty: there is none.
};

struct ActionsRecord {
    Q_GADGET
    QML_VALUE_TYPE(actionsRecord)
    Q_PROPERTY(kelvane::ButtonRecord grade MEMBER grade CONSTANT)
    Q_PROPERTY(kelvane::ButtonRecord iterate MEMBER iterate CONSTANT)
    Q_PROPERTY(kelvane::ButtonRecord getKey MEMBER getKey CONSTANT)
    Q_PROPERTY(QString cancel MEMBER cancel CONSTANT)
    Q_PROPERTY(QString cancelName MEMBER cancelName CONSTANT)

public:
    ButtonRecord grade;
    ButtonRecord iterate;
    ButtonRecord getKey;
    QString cancel;     ///< What the link beside the progress says; empty: there is none.
    QString cancelName; ///< What assistive technology calls it.
};

struct ChipRecord {
    Q_GADGET
    QML_VALUE_TYPE(chipRecord)
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(int dot READ dotNumber CONSTANT)
    Q_PROPERTY(QString badge MEMBER badge CONSTANT)
    Q_PROPERTY(QString toolTip MEMBER toolTip CONSTANT)

public:
    QString name;
    PanelTint::Value dot = PanelTint::Value::Clear;
    QString badge; ///< A symbol's name.
    QString toolTip;

    [[nodiscard]] int dotNumber() const { return static_cast<int>(dot); }
};

struct ChipRowRecord {
    Q_GADGET
    QML_VALUE_TYPE(chipRowRecord)
    Q_PROPERTY(QList<kelvane::ChipRecord> chips MEMBER chips CONSTANT)

public:
    QList<ChipRecord> chips;
};

struct AgentsRecord {
    Q_GADGET
    QML_VALUE_TYPE(agentsRecord)
    Q_PROPERTY(QString caption MEMBER caption CONSTANT)
    Q_PROPERTY(QString empty MEMBER empty CONSTANT)
    Q_PROPERTY(QList<kelvane::ChipRowRecord> rows MEMBER rows CONSTANT)

public:
    QString caption;
    QString empty;
    QList<ChipRowRecord> rows;
};

struct WorkflowRecord {
    Q_GADGET
    QML_VALUE_TYPE(workflowRecord)
    Q_PROPERTY(QString caption MEMBER caption CONSTANT)
    Q_PROPERTY(QString tag MEMBER tag CONSTANT)
    Q_PROPERTY(QString pipeline MEMBER pipeline CONSTANT)

public:
    QString caption;
    QString tag;
    QString pipeline;
};

struct MenuItemRecord {
    Q_GADGET
    QML_VALUE_TYPE(menuItemRecord)
    Q_PROPERTY(int action READ actionNumber CONSTANT)
    Q_PROPERTY(QString actionName MEMBER actionName CONSTANT)
    Q_PROPERTY(QString title MEMBER title CONSTANT)

public:
    PanelMenuAction::Value action = PanelMenuAction::Value::Divider;
    QString actionName; ///< By which tests and assistive tools find the item.
    QString title;

    [[nodiscard]] int actionNumber() const { return static_cast<int>(action); }
};

struct FooterRecord {
    Q_GADGET
    QML_VALUE_TYPE(footerRecord)
    Q_PROPERTY(kelvane::ButtonRecord wire MEMBER wire CONSTANT)
    Q_PROPERTY(QString menuTitle MEMBER menuTitle CONSTANT)
    Q_PROPERTY(QList<kelvane::MenuItemRecord> menu MEMBER menu CONSTANT)

public:
    ButtonRecord wire;
    QString menuTitle;
    QList<MenuItemRecord> menu;
};

struct PreviewRecord {
    Q_GADGET
    QML_VALUE_TYPE(previewRecord)
    Q_PROPERTY(bool shown MEMBER shown CONSTANT)
    Q_PROPERTY(QString caption MEMBER caption CONSTANT)
    Q_PROPERTY(QString headline MEMBER headline CONSTANT)
    Q_PROPERTY(QString detail MEMBER detail CONSTANT)
    Q_PROPERTY(QStringList lines MEMBER lines CONSTANT)
    Q_PROPERTY(QString picture MEMBER picture CONSTANT)
    Q_PROPERTY(QString contentName MEMBER contentName CONSTANT)
    Q_PROPERTY(QStringList remarks MEMBER remarks CONSTANT)
    Q_PROPERTY(QString always MEMBER always CONSTANT)
    Q_PROPERTY(QString send MEMBER send CONSTANT)
    Q_PROPERTY(QString cancel MEMBER cancel CONSTANT)

public:
    bool shown = false;
    QString caption;
    QString headline;
    QString detail;
    QStringList lines;
    QString picture; ///< Its address; empty for a text.
    QString contentName;
    QStringList remarks;
    QString always; ///< Empty: there is no such box.
    QString send;
    QString cancel;
};

[[nodiscard]] HeaderRecord headerRecord(const CompanionViewRecord& view,
                                        BundleResources& resources);
[[nodiscard]] NowRecord nowRecord(const NowSection& now, AppIcons& icons);
[[nodiscard]] VerdictRecord verdictRecord(const VerdictSection& verdict);
[[nodiscard]] FlawListRecord flawListRecord(const FlawListView& list);
[[nodiscard]] ActionsRecord actionsRecord(const ActionRow& actions);
[[nodiscard]] AgentsRecord agentsRecord(const AgentsSection& agents);
[[nodiscard]] WorkflowRecord workflowRecord(const WorkflowSection& workflow);
[[nodiscard]] FooterRecord footerRecord(const FooterRow& footer);
[[nodiscard]] PreviewRecord previewRecord(const std::optional<PreviewPage>& page);

} // namespace kelvane
