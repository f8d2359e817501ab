#pragma once
// Start-up and exit of the program, the parts without windows: the steps of the start-up in
// their order, the command line's file, and the two closing events of the frame. The editor
// runs its window steps (splash, frame, boxes) between them; velmar-cli's script runner runs
// the same core steps around a script.
#include "shell/Application.h"

#include <filesystem>
#include <memory>
#include <string>

namespace velmar {

inline constexpr const char* kAlreadyRunningText = "Velmar Kestrin is already running!";

// The folder of the running executable: the application folder.
std::filesystem::path ProgramFolder();

// Steps 3 to 15 of the start-up that need no window: the setup record is loaded, the tool name
// cleared, the second-instance warning shown (the program comes up all the same), the data
// folders made, the Recent menu filled. The application keeps its instance lock.
std::unique_ptr<Application> StartUp(const std::filesystem::path& appFolder, UserPort& port,
                                     const std::filesystem::path& programFolder);

// The command line is one file name, taken as it stands: quotes stay part of it, so a quoted
// name names no file. A text that names no existing file is ignored without a message.
void OpenCommandLine(Application& app, const std::string& commandLine);

// The frame's size and state when it closes, in twips.
struct FrameState {
    int width = 0;
    int height = 0;
    bool minimized = false;
    bool maximized = false;
};

// The query-unload of the frame: the size (unless minimized) and the maximized flag go into
// the record; the very first close on this machine ("RunOnce" absent or 0 in "VeKes") sets
// "RunOnce" to 1, and `storeLayouts`, when given, stores the tool bar layouts.
void QueryUnloadFrame(Application& app, const FrameState& frame,
                      const std::function<void(class SettingsFile&)>& storeLayouts = {});

// The unload of the frame: the documents go with their undo files, the layouts are stored
// (when given) and the setup record is written.
void UnloadFrame(Application& app,
                 const std::function<void(class SettingsFile&)>& storeLayouts = {});

// velmar-cli's session: StartUp in appFolder (the program's data folders are those of
// appFolder's own program folder), and at the end UnloadFrame.
std::unique_ptr<Application> StartHeadless(const std::filesystem::path& appFolder, UserPort& port);
void StopHeadless(Application& app);

} // namespace velmar
