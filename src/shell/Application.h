#pragma once
// The application object: what the main frame holds for the whole run. The setup record, the
// open documents and the active one, the one long-lived filter object, the status bar's
// texts, the recent list's menu, and the user port through which everything is shown. The
// editor's frame and velmar-cli's script runner each own one; the key-word dispatchers
// (dispatch.cpp), open and save (openSave.cpp) and start-up (startup.cpp) are its members.
#include "document/fImage.h"
#include "filters/cBitFilter.h"
#include "pixel/RuntimeError.h"
#include "port/UserPort.h"
#include "shell/SetupRecord.h"

#include <array>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

class DocumentTools;
class InstanceLock;

// One entry of the Recent menu as FillRecent leaves it.
struct RecentItem {
    std::string caption;
    bool visible = false;
    bool enabled = false;
};

// The box of a filter's run-time error, as the old runtime showed it:
// "Run-time error '6':" and the text below.
void ShowRunTimeError(UserPort& port, const RuntimeError& error);

// The file dialogs' filter lists, in their order.
const std::vector<std::string>& OpenDialogFilters();
const std::vector<std::string>& SaveDialogFilters();

class Application {
  public:
    static constexpr int kRecentCount = 8;
    // The width the Recent menu's paths are shortened to.
    static constexpr int kRecentCaptionPixels = 300;
    // The width the closing question's path is shortened to.
    static constexpr int kClosingPathPixels = 400;

    // appFolder holds "Velmar.dat" and the data folders; record is the loaded setup.
    Application(std::filesystem::path appFolder, UserPort& port, const SetupRecord& record);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    const std::filesystem::path& AppFolder() const noexcept { return appFolder_; }
    std::filesystem::path TempFolder() const { return appFolder_ / "Temp"; }
    UserPort& Port() noexcept { return port_; }
    SetupRecord Setup;
    StatusPanels Status;
    cBitFilter& Filter() noexcept { return filter_; }
    DocumentTools& Tools() noexcept { return *tools_; }
    // The file a window opens with: the animated GIF chosen for "fgif".
    std::string FormFile;
    // Held from start-up to exit: the other instances see this one by it.
    std::unique_ptr<InstanceLock> InstanceGuard;

    // ---- Documents ------------------------------------------------------------------------
    const std::vector<std::unique_ptr<fImage>>& Documents() const noexcept { return documents_; }
    fImage* ActiveImage() const noexcept { return active_; }
    // True and the active document in `out`; false when there is none.
    bool GetActiveImage(fImage*& out) const;
    // A new, hidden document numbered by the document counter.
    fImage& NewDocument();
    // The document shows: its window appears (onDocumentShown) and it becomes active.
    void ShowDocument(fImage& doc);
    // A document got the focus.
    void Activate(fImage& doc);
    // The closing question and the unload. False when the user vetoed the close.
    bool CloseDocument(fImage& doc);
    // Drops the document at once: its undo files go; after the last one the status panels
    // are cleared.
    void UnloadDocument(fImage& doc);
    // The caption of a new window on `path`: the path, or path + "[n]" when a window already
    // has it. The document counter rises either way.
    std::string MakeCaption(const std::string& path);
    int DocumentCounter() const noexcept { return documentCounter_; }

    // What the editor's frame does when documents come and go.
    std::function<void(fImage&, bool maximized)> onDocumentShown;
    std::function<void(fImage&)> onDocumentClosed;

    // ---- Commands (dispatch.cpp) ----------------------------------------------------------
    // The three dispatchers of the frame. A key none of them knows does nothing.
    void MenuStatic(std::string_view key);
    void MenuUtilities(std::string_view key);
    void Mmenu(std::string_view key);
    // Sends a key to the dispatcher that has it; false for a key no dispatcher has.
    bool Command(std::string_view key);
    // The closing step of every picture command.
    void Update(bool cancelled, bool saveUndo);
    // Runs a filter key word on the active document with its preset; false for an unknown
    // word. A run-time error of the filter is shown and leaves the picture as it was.
    bool RunFilterWord(std::string_view key);
    // Runs `work` on the active document through the filter object (the picture and the
    // selection handed over, the result taken back) and ends in Update. The filter's run-time
    // errors are shown in a message box and leave the picture as it was.
    // With filterTakesPicture false the filter object starts empty and `work` reads the
    // document's picture itself.
    bool RunOnActive(const std::function<velmar::Bits(cBitFilter&)>& work,
                     bool filterTakesPicture = true);
    void ZoomImage(int percent);
    void Crop();

    // ---- Recent files (recentFiles.cpp) ---------------------------------------------------
    void FillRecent();
    void AddRecent(const std::string& file);
    const std::array<RecentItem, kRecentCount>& RecentMenu() const noexcept { return recentMenu_; }
    // The entry `index` of the Recent menu was clicked.
    void RF(int index);

    // ---- Open and save (openSave.cpp) -----------------------------------------------------
    // Opens one file as a new document; false (after the message) when it cannot be loaded.
    bool User_File(const std::string& file);
    void Open();
    void Save();
    void SaveAs();
    // The clipboard side of the document.
    bool BitsCopyToClipboard(const fImage& doc);
    bool PasteFromClipboard(fImage& doc);

  private:
    void createNewCopy();
    void createFromClipboard();
    void copySelection(bool cut);
    void beginPaste(fImage& doc);
    void openAnimatedGif();
    void runDialogWord(int index);

    std::filesystem::path appFolder_;
    UserPort& port_;
    cBitFilter filter_;
    std::unique_ptr<DocumentTools> tools_;
    std::vector<std::unique_ptr<fImage>> documents_;
    fImage* active_ = nullptr;
    int documentCounter_ = 0;
    int duplicateCounter_ = 0;
    std::array<RecentItem, kRecentCount> recentMenu_{};
};

} // namespace velmar
