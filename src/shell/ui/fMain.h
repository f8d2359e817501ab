#pragma once
// fMain: the main frame. A multiple-document area with the menus and the seven tool bars built
// from the key-word tables, the side tools on the left, the colour box, the status bar with its
// five panels and the progress bar. Every menu entry and bar button sends its key word to the
// application object; the frame itself only shows windows, arranges them and keeps its view
// settings in the setup record.
#include "shell/Application.h"

#include <QMainWindow>
#include <QTimer>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <string_view>

class QAction;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QProgressBar;
class QToolBar;
class QDockWidget;
class QPrinter;

namespace velmar {

class QtUserPort;
class fImageWindow;
class fPalette;
class SideTools;
struct MenuEntry;

class fMain final : public QMainWindow {
    Q_OBJECT

  public:
    // The frame of `app`; it becomes the port's owner window and shows the port's forms.
    fMain(Application& app, QtUserPort& port);
    ~fMain() override;

    Application& App() noexcept { return app_; }

    // A key word from a menu, a bar or the tool strip.
    void RunKey(std::string_view key);
    // The windows that key words open ("fNew", "fFilter", ...); false for a window this
    // editor does not have.
    bool ShowForm(std::string_view form, int argument);
    // The progress bar: a percentage, or -1 to clear it.
    void Progress(int percent);

    // Start-up steps that need the frame, in their order: placement before showing, the view
    // settings, the tool bar layouts, the boxes.
    void PlaceFrame();
    void ApplyViewSettings();
    void RestoreLayouts();
    void ShowBoxes();

    // The window of a document (nullptr when it has none).
    fImageWindow* WindowOf(const fImage& doc) const;
    QMdiArea* Mdi() const noexcept { return mdi_; }
    // The action that sends `key`, from the menus (for tests and tool bars).
    QAction* ActionOfKey(std::string_view key) const;
    QToolBar* Bar(int index) const { return bars_.at(static_cast<std::size_t>(index)); }
    fPalette* ColourBox() const noexcept { return palette_; }
    SideTools* Tools() const noexcept { return sideTools_; }
    QLabel* Panel(int index) const { return panels_.at(static_cast<std::size_t>(index)); }
    QProgressBar* ProgressBar() const noexcept { return progress_; }

    // The status bar, the Recent menu, the window captions and the check marks as the
    // application object now has them.
    void RefreshStatus();
    void RefreshFrame();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void buildMenus();
    void buildMenu(QMenu* menu, std::span<const MenuEntry> entries);
    void buildToolBars();
    void buildStatusBar();
    void buildBoxes();
    void entryTriggered(const MenuEntry& entry);
    void documentShown(fImage& doc, bool maximized);
    void documentClosed(fImage& doc);
    void subWindowActivated(QMdiSubWindow* sub);
    void toolCommand(const QString& key);
    void toggleBar(int index);
    void toggleColourBox();
    void storeBoxPlace();
    void arrange(std::string_view how);
    void sideToolsAutoHide();
    void storeLayouts(class SettingsFile& settings) const;
    bool runDialog(std::string_view form, int argument);
    QPrinter& printer();

    Application& app_;
    QtUserPort& port_;
    QMdiArea* mdi_;
    std::map<const fImage*, QMdiSubWindow*> windows_;
    std::array<QToolBar*, 7> bars_{};
    std::array<QAction*, 7> barChecks_{};
    std::array<QLabel*, 5> panels_{};
    std::array<QAction*, Application::kRecentCount> recent_{};
    std::map<std::string, QAction*, std::less<>> keyActions_;
    QAction* statusCheck_ = nullptr;
    QAction* autoHideCheck_ = nullptr;
    QAction* colourBoxCheck_ = nullptr;
    QProgressBar* progress_ = nullptr;
    fPalette* palette_ = nullptr;
    SideTools* sideTools_ = nullptr;
    QDockWidget* sideDock_ = nullptr;
    QTimer hoverTimer_; // the side tools' hide-and-seek
    std::unique_ptr<QPrinter> printer_;
};

} // namespace velmar
