// The object that the panel's drawing binds to: the model, republished as properties.
//
// One record per section of the panel, each with its own change signal, so that only what changed
// is drawn again. It decides nothing; every text and every flag comes from `companionView`.
//
// The model tells of a change before it happens, often several times in a row. The bridge therefore
// looks again once, on the next turn of the event loop. Main thread only. The model and what
// `PanelImages` refers to must outlive the bridge.

#pragma once

#include "app/companion_view.h"
#include "app/panel/panel_records.h"
#include "app/published.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <string>
#include <vector>

namespace kelvane {

class AppIcons;
class BundleResources;

/// Where the pictures in the panel come from.
struct PanelImages {
    AppIcons& icons;
    BundleResources& resources;
};

class PanelBridge : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(kelvane::HeaderRecord header READ header NOTIFY headerChanged)
    Q_PROPERTY(kelvane::NowRecord now READ now NOTIFY nowChanged)
    Q_PROPERTY(kelvane::VerdictRecord verdict READ verdict NOTIFY verdictChanged)
    Q_PROPERTY(kelvane::ActionsRecord actions READ actions NOTIFY actionsChanged)
    Q_PROPERTY(kelvane::AgentsRecord agents READ agents NOTIFY agentsChanged)
    Q_PROPERTY(kelvane::WorkflowRecord workflow READ workflow NOTIFY workflowChanged)
    Q_PROPERTY(kelvane::FooterRecord footer READ footer NOTIFY footerChanged)
    Q_PROPERTY(bool flawsOpen READ flawsOpen WRITE openFlaws NOTIFY flawsOpenChanged)
    Q_PROPERTY(kelvane::FlawListRecord flawList READ flawList NOTIFY flawListChanged)
    Q_PROPERTY(int chosenFlaw READ chosenFlaw WRITE chooseFlaw NOTIFY chosenFlawChanged)
    Q_PROPERTY(QString flawNote READ flawNote NOTIFY flawNoteChanged)
    Q_PROPERTY(bool mayUndo READ mayUndo NOTIFY flawNoteChanged)
    Q_PROPERTY(kelvane::PreviewRecord preview READ preview NOTIFY previewChanged)
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY darkChanged)
    Q_PROPERTY(bool highContrast READ highContrast WRITE setHighContrast NOTIFY darkChanged)
    Q_PROPERTY(int textSize READ textSize WRITE setTextSize NOTIFY textSizeChanged)
    Q_PROPERTY(double grown READ grown NOTIFY textSizeChanged)

public:
    /// The size of ordinary text, in pixels, unless the desktop asks for another.
    static constexpr int kTextSize = 13;
    static constexpr int kSmallestTextSize = 13;
    /// Up to here texts grow within the usual width; from here on the windows grow with them.
    static constexpr int kLargestTextInUsualWidth = 18;
    /// Twice the usual size.
    static constexpr int kLargestTextSize = 26;
    /// How much wider than usual a window is then, so that texts fit as they do at the largest size
    /// of the usual width.
    [[nodiscard]] static constexpr double grownFor(int textSize) {
        return textSize <= kLargestTextInUsualWidth
                   ? 1.0
                   : static_cast<double>(textSize) / kLargestTextInUsualWidth;
    }

    PanelBridge(CompanionModel& model, PanelImages images, QObject* parent = nullptr);

    [[nodiscard]] const PanelImages& images() const { return m_images; }

    [[nodiscard]] const HeaderRecord& header() const { return m_header; }
    [[nodiscard]] const NowRecord& now() const { return m_now; }
    [[nodiscard]] const VerdictRecord& verdict() const { return m_verdict; }
    [[nodiscard]] const ActionsRecord& actions() const { return m_actions; }
    [[nodiscard]] const AgentsRecord& agents() const { return m_agents; }
    [[nodiscard]] const WorkflowRecord& workflow() const { return m_workflow; }
    [[nodiscard]] const FooterRecord& footer() const { return m_footer; }
    [[nodiscard]] const PreviewRecord& preview() const { return m_preview; }
    /// Of the preview that is shown; null when there is none, or it is of a text.
    [[nodiscard]] std::shared_ptr<const std::string> previewPicture() const;

    /// Whether all flaws are listed in the place of the first three; a verdict without flaws and a
    /// grade end it. The list is empty while it is not open.
    [[nodiscard]] bool flawsOpen() const { return m_flawsOpen; }
    void openFlaws(bool open);
    [[nodiscard]] const FlawListRecord& flawList() const { return m_flawList; }
    /// The one of which is shown what can be done about it; -1 for none.
    [[nodiscard]] int chosenFlaw() const { return m_chosenFlaw; }
    void chooseFlaw(int index);
    /// What became of what was pressed last in it, and whether it can be taken back.
    [[nodiscard]] QString flawNote() const { return QString::fromStdString(m_flaws.note); }
    [[nodiscard]] bool mayUndo() const { return m_flaws.mayUndo; }

    /// Whether the panel is drawn light on dark. False until it is set.
    [[nodiscard]] bool dark() const { return m_dark; }
    void setDark(bool dark);

    /// Whether texts are as far from their ground as can be. False until it is set.
    [[nodiscard]] bool highContrast() const { return m_highContrast; }
    void setHighContrast(bool high);

    /// The size of ordinary text in pixels; all other sizes follow from it. What lies outside the
    /// smallest and the largest size is brought to the nearer one.
    [[nodiscard]] int textSize() const { return m_textSize; }
    void setTextSize(int pixels);
    [[nodiscard]] double grown() const { return grownFor(m_textSize); }

    /// Looks at the model at once instead of on the next turn of the loop: for whoever is about to
    /// show the panel and wants its first frame to be right.
    void redraw();
    /// Whether changes of the model are followed, as they are at first. For a panel that nobody
    /// sees only `redraw` looks.
    void follow(bool follows) { m_follows = follows; }

    // What the controls call.
    Q_INVOKABLE void choose(kelvane::PanelMenuAction::Value action); ///< From the menu.
    Q_INVOKABLE void grade();
    Q_INVOKABLE void iterate();
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void wire();
    Q_INVOKABLE void getKey();
    Q_INVOKABLE void uninstall();
    Q_INVOKABLE void accessibility();
    Q_INVOKABLE void sendPreviewed(bool always); ///< See the model.
    Q_INVOKABLE void dropPreviewed();
    Q_INVOKABLE void settings();
    Q_INVOKABLE void quit();
    Q_INVOKABLE void showHistory();
    // Of the list of flaws, by their place in it; nothing for a place that it does not have.
    Q_INVOKABLE void dismissFlaw(int index);
    Q_INVOKABLE void addFlawsWord(int index);
    Q_INVOKABLE void goToFlaw(int index);
    Q_INVOKABLE void copyFlaw(int index); ///< To the clipboard, as text.
    Q_INVOKABLE void copyFlaws();
    Q_INVOKABLE void undoLastWord();
    Q_INVOKABLE void openReport(); ///< Of the verdict shown; nothing when it has no run.

signals:
    void headerChanged();
    void nowChanged();
    void verdictChanged();
    void actionsChanged();
    void agentsChanged();
    void workflowChanged();
    void footerChanged();
    void flawsOpenChanged();
    void flawListChanged();
    void chosenFlawChanged();
    void flawNoteChanged();
    void previewChanged();
    void darkChanged();
    void textSizeChanged();

private:
    void redrawSoon();
    void redrawFlaws();
    [[nodiscard]] const Flaw* listedFlaw(int index) const;

    CompanionModel& m_model;
    PanelImages m_images;
    Subscription m_changes;
    CompanionViewRecord m_record;
    HeaderRecord m_header;
    NowRecord m_now;
    VerdictRecord m_verdict;
    ActionsRecord m_actions;
    AgentsRecord m_agents;
    WorkflowRecord m_workflow;
    FooterRecord m_footer;
    bool m_flawsOpen = false;
    int m_chosenFlaw = -1;
    FlawListView m_flaws;
    std::vector<Flaw> m_listedFlaws; ///< As listed: the model may have others by the next press.
    FlawListRecord m_flawList;
    PreviewRecord m_preview;
    bool m_dark = false;
    bool m_highContrast = false;
    int m_textSize = kTextSize;
    bool m_redrawPending = false;
    bool m_follows = true;
};

} // namespace kelvane
