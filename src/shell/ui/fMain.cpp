#include "shell/ui/fMain.h"

#include "composition/ui/fPalette.h"
#include "document/tools.h"
#include "document/ui/fImageWindow.h"
#include "filters/ui/fFilterDialog.h"
#include "shell/dispatch.h"
#include "shell/menuTable.h"
#include "shell/settingsFile.h"
#include "shell/startup.h"
#include "shell/ui/QtUserPort.h"
#include "shell/ui/commandIcons.h"
#include "shell/ui/fPreferencesDialog.h"
#include "shell/ui/fSplash.h"
#include "shell/ui/printPicture.h"
#include "shell/ui/sideTools.h"
#include "shell/ui/sizeDialogWindows.h"
#include "shell/ui/utilityWindows.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QDockWidget>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMimeData>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>

#include <algorithm>

namespace velmar {

namespace {

constexpr int kTwipsPerPixel = 15;
// The side tools come out when the cursor is this close to the frame's left edge.
constexpr int kSideBandPixels = 8;
constexpr const char* kLayoutsKey = "ToolBarLayouts";

std::int16_t toTwips(int pixels) {
    return static_cast<std::int16_t>(std::clamp(pixels * kTwipsPerPixel, 0, 32767));
}

QString text(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

} // namespace

fMain::fMain(Application& app, QtUserPort& port)
    : app_(app), port_(port), mdi_(new QMdiArea(this)) {
    setObjectName("fMain");
    setWindowTitle("Velmar Kestrin SILK");
    setAcceptDrops(true);
    mdi_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    mdi_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    mdi_->setBackground(QColor(96, 96, 104));
    setCentralWidget(mdi_);
    connect(mdi_, &QMdiArea::subWindowActivated, this, &fMain::subWindowActivated);

    port_.setParent(this);
    port_.formShower = [this](std::string_view form, int argument) {
        return ShowForm(form, argument);
    };
    port_.progressSink = [this](int percent) { Progress(percent); };

    app_.onDocumentShown = [this](fImage& doc, bool maximized) { documentShown(doc, maximized); };
    app_.onDocumentClosed = [this](fImage& doc) { documentClosed(doc); };

    buildMenus();
    buildToolBars();
    buildStatusBar();
    buildBoxes();
    hoverTimer_.setInterval(200);
    connect(&hoverTimer_, &QTimer::timeout, this, &fMain::sideToolsAutoHide);
    hoverTimer_.start();
    RefreshFrame();
}

fMain::~fMain() {
    app_.onDocumentShown = nullptr;
    app_.onDocumentClosed = nullptr;
    port_.formShower = nullptr;
    port_.progressSink = nullptr;
    app_.Tools().onColourPicked = nullptr;
}

// ---- Building ---------------------------------------------------------------------------------

void fMain::buildMenus() {
    for (const MenuDef& def : MainMenus()) {
        QMenu* menu = menuBar()->addMenu(text(def.title));
        menu->setObjectName(text(def.title));
        buildMenu(menu, def.entries);
    }
}

void fMain::buildMenu(QMenu* menu, std::span<const MenuEntry> entries) {
    for (const MenuEntry& entry : entries) {
        switch (entry.action) {
        case MenuAction::Separator:
            menu->addSeparator();
            continue;
        case MenuAction::Submenu:
            buildMenu(menu->addMenu(text(entry.caption)), entry.children);
            continue;
        case MenuAction::Recent: {
            QMenu* recent = menu->addMenu(text(entry.caption));
            recent->setObjectName("RF");
            for (int i = 0; i < Application::kRecentCount; ++i) {
                QAction* item = recent->addAction(QString());
                connect(item, &QAction::triggered, this, [this, i] {
                    app_.RF(i);
                    RefreshFrame();
                });
                recent_[static_cast<std::size_t>(i)] = item;
            }
            continue;
        }
        default:
            break;
        }
        QAction* action = menu->addAction(text(entry.caption));
        switch (entry.action) {
        case MenuAction::ToggleBar:
            action->setCheckable(true);
            barChecks_[static_cast<std::size_t>(entry.index)] = action;
            break;
        case MenuAction::ToggleBox:
            action->setCheckable(true);
            colourBoxCheck_ = action;
            break;
        case MenuAction::ToggleStatus:
            action->setCheckable(true);
            statusCheck_ = action;
            break;
        case MenuAction::ToggleSideAutoHide:
            action->setCheckable(true);
            autoHideCheck_ = action;
            break;
        default:
            break;
        }
        if (!entry.key.empty()) {
            action->setObjectName(text(entry.key));
            keyActions_.emplace(std::string(entry.key), action);
        }
        connect(action, &QAction::triggered, this, [this, &entry] { entryTriggered(entry); });
    }
}

void fMain::buildToolBars() {
    const std::span<const ToolBarDef> defs = ToolBars();
    for (std::size_t i = 0; i < defs.size(); ++i) {
        QToolBar* bar = addToolBar(text(defs[i].name));
        bar->setObjectName(text(defs[i].name));
        bar->setIconSize(QSize(22, 22));
        for (const std::string_view key : defs[i].keys) {
            const QString caption = key == "HELP"    ? QString("Help")
                                    : key == "ABOUT" ? QString("About")
                                                     : text(CaptionOfKey(key));
            QAction* button = bar->addAction(CommandIcon(key, static_cast<int>(i)), caption);
            button->setObjectName(text(key));
            const std::string k(key);
            connect(button, &QAction::triggered, this, [this, k] {
                if (k == "HELP") {
                    port_.MsgBox(kHelpBarNotAvailable, MsgIcon::None, MsgButtons::Ok, kAppTitle);
                } else if (k == "ABOUT") {
                    fSplash::ShowAbout(this);
                } else {
                    RunKey(k);
                }
            });
        }
        bars_[i] = bar;
    }
}

void fMain::buildStatusBar() {
    for (std::size_t i = 0; i < panels_.size(); ++i) {
        auto* panel = new QLabel(this);
        panel->setObjectName(text(StatusPanels::kKeys[i]));
        panel->setMinimumWidth(i == StatusPanels::Tool ? 110 : 90);
        panel->setFrameShape(QFrame::StyledPanel);
        statusBar()->addWidget(panel);
        panels_[i] = panel;
    }
    progress_ = new QProgressBar(this);
    progress_->setObjectName("picPb");
    progress_->setRange(0, 100);
    progress_->setMaximumWidth(220);
    progress_->setTextVisible(false);
    progress_->hide();
    statusBar()->addPermanentWidget(progress_);
}

void fMain::buildBoxes() {
    sideTools_ = new SideTools(app_, this);
    sideDock_ = new QDockWidget("Tools", this);
    sideDock_->setObjectName("SideTools");
    sideDock_->setWidget(sideTools_);
    sideDock_->setFeatures(QDockWidget::DockWidgetMovable);
    addDockWidget(Qt::LeftDockWidgetArea, sideDock_);
    connect(sideTools_, &SideTools::toolChosen, this, [this](const QString&) {
        for (const auto& [doc, sub] : windows_)
            if (auto* w = qobject_cast<fImageWindow*>(sub->widget())) w->SetMouseScrolling(false);
        RefreshStatus();
    });
    connect(sideTools_, &SideTools::commandKey, this, &fMain::toolCommand);

    palette_ = new fPalette(app_.Setup, this);
    palette_->installEventFilter(this);
    app_.Tools().onColourPicked = [this](COLORREF colour) { palette_->showPicked(colour); };
}

// ---- Start-up steps
// ------------------------------------------------------------------------------

void fMain::PlaceFrame() {
    if (IsSet(app_.Setup.FrameMaximized)) {
        setWindowState(Qt::WindowMaximized);
    } else {
        resize(std::max(320, app_.Setup.FrameWidth / kTwipsPerPixel),
               std::max(240, app_.Setup.FrameHeight / kTwipsPerPixel));
    }
}

void fMain::ApplyViewSettings() {
    for (std::size_t i = 0; i < bars_.size(); ++i) {
        const bool visible = IsSet(app_.Setup.BarVisible[i]);
        bars_[i]->setVisible(visible);
        if (barChecks_[i]) barChecks_[i]->setChecked(visible);
    }
    statusBar()->setVisible(IsSet(app_.Setup.StatusBarVisible));
    if (statusCheck_) statusCheck_->setChecked(IsSet(app_.Setup.StatusBarVisible));
    if (autoHideCheck_) autoHideCheck_->setChecked(IsSet(app_.Setup.SideToolsAutoHide));
}

void fMain::RestoreLayouts() {
    SettingsFile settings(app_.AppFolder());
    if (const std::optional<std::string> saved = settings.Value(kSettingsSection, kLayoutsKey))
        restoreState(QByteArray::fromBase64(QByteArray::fromStdString(*saved)));
    // The bars' visibility belongs to the record, not to the saved layout.
    ApplyViewSettings();
}

void fMain::storeLayouts(SettingsFile& settings) const {
    settings.SetValue(kSettingsSection, kLayoutsKey, saveState().toBase64().toStdString());
}

void fMain::ShowBoxes() {
    const auto& place = app_.Setup.ColorBoxPlace;
    palette_->adjustSize();
    palette_->move(place[0] / kTwipsPerPixel, place[1] / kTwipsPerPixel);
    if (place[2] > 0) palette_->resize(palette_->width(), place[2] / kTwipsPerPixel);
    const bool visible = IsSet(app_.Setup.ColorBoxVisible);
    palette_->setVisible(visible);
    if (colourBoxCheck_) colourBoxCheck_->setChecked(visible);
}

// ---- Commands ---------------------------------------------------------------------------------

void fMain::entryTriggered(const MenuEntry& entry) {
    switch (entry.action) {
    case MenuAction::Key:
        RunKey(entry.key);
        break;
    case MenuAction::Exit:
        close();
        break;
    case MenuAction::About:
        fSplash::ShowAbout(this);
        break;
    case MenuAction::DeadHelp:
        port_.MsgBox(kHelpNotAvailable, MsgIcon::None, MsgButtons::Ok, kAppTitle);
        break;
    case MenuAction::DeadSoon:
        port_.MsgBox(kWillComeSoon, MsgIcon::None, MsgButtons::Ok, kAppTitle);
        break;
    case MenuAction::ToggleBar:
        toggleBar(entry.index);
        break;
    case MenuAction::ToggleBox:
        toggleColourBox();
        break;
    case MenuAction::ToggleStatus:
        app_.Setup.StatusBarVisible = ToFlag(!IsSet(app_.Setup.StatusBarVisible));
        ApplyViewSettings();
        break;
    case MenuAction::ToggleSideAutoHide:
        app_.Setup.SideToolsAutoHide = ToFlag(!IsSet(app_.Setup.SideToolsAutoHide));
        if (!IsSet(app_.Setup.SideToolsAutoHide)) sideDock_->show();
        ApplyViewSettings();
        break;
    default:
        break;
    }
}

void fMain::RunKey(std::string_view key) {
    try {
        app_.Command(key);
    } catch (const std::bad_alloc&) {
        port_.MsgBox("Out of memory", MsgIcon::Critical, MsgButtons::Ok, kAppTitle);
    } catch (const std::exception& e) {
        // A command that fails beyond its own messages (an undo state the disk refused, say)
        // ends here: the picture stays as the command left it, and the user reads why.
        port_.MsgBox(e.what(), MsgIcon::Critical, MsgButtons::Ok, kAppTitle);
    }
    RefreshFrame();
}

void fMain::toolCommand(const QString& key) {
    fImage* doc = nullptr;
    if (!app_.GetActiveImage(doc)) return;
    if (key == "ZoomIn" || key == "ZoomOut") {
        if (key == "ZoomIn")
            doc->ZoomIn();
        else
            doc->ZoomOut();
        app_.Status.Set(StatusPanels::Zoom, std::to_string(doc->ZoomFactor()) + " : 1");
    } else if (key == "MouseScroll" || key == "MM") {
        // The grab hand replaces the paint tool until another tool is chosen.
        app_.Setup.Tool = "";
        sideTools_->syncFromRecord();
        if (fImageWindow* w = WindowOf(*doc)) w->SetMouseScrolling(true);
    }
    RefreshStatus();
}

bool fMain::ShowForm(std::string_view form, int argument) {
    if (form == "TILEHORIZONTALLY" || form == "TILEVERTICALLY" || form == "CASCADE") {
        arrange(form);
        return true;
    }
    if (form == "RESET") {
        RestoreLayouts();
        return true;
    }
    if (ShowUtilityWindow(form, port_, this)) return true;
    return runDialog(form, argument);
}

bool fMain::runDialog(std::string_view form, int argument) {
    if (form == "fNew") {
        fNewDialog(app_, this).exec();
    } else if (form == "fSize") {
        fSizeDialog(app_, this).exec();
    } else if (form == "fCanvas") {
        fCanvasDialog(app_, this).exec();
    } else if (form == "fOrientation") {
        fOrientationDialog(app_, this).exec();
    } else if (form == "fRotate") {
        fRotateDialog(app_, this).exec();
    } else if (form == "fResolution") {
        fResolutionDialog(app_, this).exec();
    } else if (form == "fPreferences") {
        fPreferencesDialog(app_.Setup, port_, this).exec();
    } else if (form == "PRINTERSETUP") {
        QPrintDialog dialog(&printer(), this);
        dialog.setWindowTitle("Printer Set up");
        dialog.exec();
    } else if (form == "fPrint") {
        fImage* doc = nullptr;
        if (!app_.GetActiveImage(doc) || !doc->PictureExists()) return true;
        QPrintDialog dialog(&printer(), this);
        if (dialog.exec() == QDialog::Accepted && !PrintPicture(printer(), *doc))
            port_.MsgBox("The picture could not be printed.", MsgIcon::Warning, MsgButtons::Ok,
                         kAppTitle);
    } else if (form == "fFilter") {
        fImage* doc = nullptr;
        if (!app_.GetActiveImage(doc) || !doc->PictureExists()) return true;
        try {
            // The preview of a picture one pixel high cannot be made: the dialog then refuses
            // to open with the filter's own error.
            fFilterDialog dialog(*doc, argument, port_, this);
            dialog.setProgress([this](std::int32_t percent) { Progress(percent); });
            dialog.exec();
        } catch (const RuntimeError& e) {
            ShowRunTimeError(port_, e);
        }
        Progress(-1);
    } else {
        return false;
    }
    RefreshFrame();
    return true;
}

// One printer for the whole run, so that the set-up chosen stays for the next print.
QPrinter& fMain::printer() {
    if (!printer_) printer_ = std::make_unique<QPrinter>(QPrinter::HighResolution);
    return *printer_;
}

void fMain::Progress(int percent) {
    if (percent < 0) {
        progress_->reset();
        progress_->hide();
        return;
    }
    progress_->show();
    progress_->setValue(std::clamp(percent, 0, 100));
    // Long work stays on this thread: let the frame paint, but take no input meanwhile.
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

// ---- Documents --------------------------------------------------------------------------------

void fMain::documentShown(fImage& doc, bool maximized) {
    auto* window = new fImageWindow(doc, app_.Tools());
    window->onStatusChanged = [this] { RefreshStatus(); };
    // The picker's colour became the current colour at the release.
    window->onMouseReleased = [this] { palette_->syncFromRecord(); };
    QMdiSubWindow* sub = mdi_->addSubWindow(window);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    sub->setWindowTitle(QString::fromStdString(doc.Caption));
    sub->installEventFilter(this);
    const int w = std::min(doc.PictureWidth() * doc.ZoomFactor() + 24, mdi_->width() - 20);
    const int h = std::min(doc.PictureHeight() * doc.ZoomFactor() + 44, mdi_->height() - 20);
    sub->resize(std::max(w, 200), std::max(h, 150));
    windows_[&doc] = sub;
    if (maximized)
        sub->showMaximized();
    else
        sub->show();
    window->LayoutView();
    mdi_->setActiveSubWindow(sub);
}

void fMain::documentClosed(fImage& doc) {
    const auto found = windows_.find(&doc);
    if (found == windows_.end()) return;
    QMdiSubWindow* sub = found->second;
    windows_.erase(found);
    if (auto* window = qobject_cast<fImageWindow*>(sub->widget())) window->Detach();
    sub->removeEventFilter(this);
    sub->close();
}

fImageWindow* fMain::WindowOf(const fImage& doc) const {
    const auto found = windows_.find(&doc);
    return found == windows_.end() ? nullptr : qobject_cast<fImageWindow*>(found->second->widget());
}

void fMain::subWindowActivated(QMdiSubWindow* sub) {
    if (!sub) return;
    auto* window = qobject_cast<fImageWindow*>(sub->widget());
    if (!window || !window->Document()) return;
    fImage& doc = *window->Document();
    if (app_.ActiveImage() != &doc) app_.Activate(doc);
    app_.Status.Set(StatusPanels::Zoom, std::to_string(doc.ZoomFactor()) + " : 1");
    app_.Status.Set(StatusPanels::Size,
                    std::to_string(doc.PictureWidth()) + "x" + std::to_string(doc.PictureHeight()));
    // The boxes flagged visible come forward again (a utility window may have hidden them).
    if (IsSet(app_.Setup.ColorBoxVisible)) {
        palette_->show();
        palette_->raise();
    }
    sideDock_->setVisible(!IsSet(app_.Setup.SideToolsAutoHide));
    RefreshStatus();
}

bool fMain::eventFilter(QObject* watched, QEvent* event) {
    if (watched == palette_ && (event->type() == QEvent::Move || event->type() == QEvent::Close ||
                                event->type() == QEvent::Resize)) {
        // Only a box on the screen has a place of its own: the layout of a hidden one must not
        // overwrite where it stood.
        if (palette_->isVisible()) storeBoxPlace();
        if (event->type() == QEvent::Close) {
            app_.Setup.ColorBoxVisible = kFlagFalse;
            if (colourBoxCheck_) colourBoxCheck_->setChecked(false);
        }
        return false;
    }
    auto* sub = qobject_cast<QMdiSubWindow*>(watched);
    if (sub && event->type() == QEvent::Close) {
        auto* window = qobject_cast<fImageWindow*>(sub->widget());
        if (window && window->Document()) {
            // The document asks its question; a veto keeps the window.
            if (!app_.CloseDocument(*window->Document())) {
                event->ignore();
                return true;
            }
            RefreshFrame();
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

// ---- Views --------------------------------------------------------------------------------------

void fMain::toggleBar(int index) {
    auto& flag = app_.Setup.BarVisible[static_cast<std::size_t>(index)];
    flag = ToFlag(!IsSet(flag));
    ApplyViewSettings();
}

void fMain::toggleColourBox() {
    app_.Setup.ColorBoxVisible = ToFlag(!IsSet(app_.Setup.ColorBoxVisible));
    palette_->setVisible(IsSet(app_.Setup.ColorBoxVisible));
    colourBoxCheck_->setChecked(IsSet(app_.Setup.ColorBoxVisible));
}

void fMain::storeBoxPlace() {
    auto& place = app_.Setup.ColorBoxPlace;
    place[0] = toTwips(palette_->x());
    place[1] = toTwips(palette_->y());
    place[2] = toTwips(palette_->height());
}

// Tile horizontally stacks the windows one above the other across the whole width; tile
// vertically sets them side by side at full height.
void fMain::arrange(std::string_view how) {
    if (how == "CASCADE") {
        mdi_->cascadeSubWindows();
        return;
    }
    QList<QMdiSubWindow*> subs;
    for (QMdiSubWindow* sub : mdi_->subWindowList())
        if (!sub->isMinimized()) subs.push_back(sub);
    if (subs.isEmpty()) return;
    const QRect area = mdi_->viewport()->rect();
    const int n = static_cast<int>(subs.size());
    for (int i = 0; i < n; ++i) {
        subs[i]->showNormal();
        if (how == "TILEHORIZONTALLY") {
            const int h = area.height() / n;
            subs[i]->setGeometry(0, i * h, area.width(), h);
        } else {
            const int w = area.width() / n;
            subs[i]->setGeometry(i * w, 0, w, area.height());
        }
    }
}

// With hide-and-seek on, the side tools show while the cursor stands in their band at the
// frame's left edge and hide otherwise.
void fMain::sideToolsAutoHide() {
    if (!IsSet(app_.Setup.SideToolsAutoHide) || !isVisible()) return;
    const QPoint at = mapFromGlobal(QCursor::pos());
    const int band =
        sideDock_->isVisible() ? sideDock_->width() + kSideBandPixels : kSideBandPixels;
    const bool inside = at.x() >= 0 && at.x() < band && at.y() >= 0 && at.y() < height();
    if (inside != sideDock_->isVisible()) sideDock_->setVisible(inside);
}

// ---- Refresh ----------------------------------------------------------------------------------

void fMain::RefreshStatus() {
    for (std::size_t i = 0; i < panels_.size(); ++i) {
        const std::string& t = app_.Status.text[i];
        panels_[i]->setText(i == StatusPanels::Zoom && !t.empty()
                                ? "Zoom " + QString::fromStdString(t)
                                : QString::fromStdString(t));
    }
}

void fMain::RefreshFrame() {
    const auto& items = app_.RecentMenu();
    for (std::size_t i = 0; i < recent_.size(); ++i) {
        if (!recent_[i]) continue;
        recent_[i]->setText(QString::fromStdString(items[i].caption));
        recent_[i]->setVisible(items[i].visible);
        recent_[i]->setEnabled(items[i].enabled);
    }
    for (const auto& [doc, sub] : windows_)
        sub->setWindowTitle(QString::fromStdString(doc->Caption));
    sideTools_->syncFromRecord();
    palette_->syncFromRecord();
    RefreshStatus();
}

// ---- Closing and dropping --------------------------------------------------------------------

void fMain::closeEvent(QCloseEvent* event) {
    const FrameState frame{toTwips(width()), toTwips(height()), isMinimized(), isMaximized()};
    const auto layouts = [this](SettingsFile& settings) { storeLayouts(settings); };
    // Settings that cannot be written are reported, and the documents still ask their
    // questions: nothing may close unasked because a settings file was refused.
    const auto reportFailure = [this](const std::exception& e) {
        port_.MsgBox(e.what(), MsgIcon::Critical, MsgButtons::Ok, kAppTitle);
    };
    try {
        QueryUnloadFrame(app_, frame, layouts);
    } catch (const std::exception& e) {
        reportFailure(e);
    }
    // Each document asks its own question; one Cancel keeps the frame open.
    while (!app_.Documents().empty()) {
        if (!app_.CloseDocument(*app_.Documents().back())) {
            event->ignore();
            RefreshFrame();
            return;
        }
    }
    if (palette_->isVisible()) storeBoxPlace();
    try {
        UnloadFrame(app_, layouts);
    } catch (const std::exception& e) {
        reportFailure(e);
    }
    event->accept();
}

void fMain::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void fMain::dropEvent(QDropEvent* event) {
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) app_.User_File(url.toLocalFile().toStdString());
    event->acceptProposedAction();
    RefreshFrame();
}

QAction* fMain::ActionOfKey(std::string_view key) const {
    const auto found = keyActions_.find(key);
    return found == keyActions_.end() ? nullptr : found->second;
}

} // namespace velmar
