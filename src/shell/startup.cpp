#include "shell/startup.h"

#include "shell/dataFolders.h"
#include "shell/instanceLock.h"
#include "shell/settingsFile.h"
#include "shell/setupStore.h"

#include <unistd.h>

#include <system_error>

namespace velmar {

std::filesystem::path ProgramFolder() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::current_path() : self.parent_path();
}

std::unique_ptr<Application> StartUp(const std::filesystem::path& appFolder, UserPort& port,
                                     const std::filesystem::path& programFolder) {
    LoadedSetup setup = LoadSetup(appFolder, port);
    auto app = std::make_unique<Application>(appFolder, port, setup.record);
    app->Setup.Tool = "";
    app->InstanceGuard = std::make_unique<InstanceLock>(appFolder);
    if (app->InstanceGuard->AnotherInstanceRunning())
        port.MsgBox(kAlreadyRunningText, MsgIcon::Information, MsgButtons::Ok, kAppTitle);
    EnsureDataFolders(appFolder, programFolder);
    app->Setup.Tool = "";
    app->FillRecent();
    return app;
}

void OpenCommandLine(Application& app, const std::string& commandLine) {
    std::error_code error;
    if (commandLine.empty() || !std::filesystem::is_regular_file(commandLine, error)) return;
    app.User_File(commandLine);
}

void QueryUnloadFrame(Application& app, const FrameState& frame,
                      const std::function<void(SettingsFile&)>& storeLayouts) {
    if (!frame.minimized) {
        app.Setup.FrameWidth = static_cast<std::int16_t>(frame.width);
        app.Setup.FrameHeight = static_cast<std::int16_t>(frame.height);
    }
    app.Setup.FrameMaximized = ToFlag(frame.maximized);
    SettingsFile settings(app.AppFolder());
    const std::optional<std::string> runOnce = settings.Value(kSettingsSection, "RunOnce");
    if (!runOnce || *runOnce == "0") {
        if (storeLayouts) storeLayouts(settings);
        settings.SetValue(kSettingsSection, "RunOnce", "1");
        settings.Save();
    }
}

void UnloadFrame(Application& app, const std::function<void(SettingsFile&)>& storeLayouts) {
    while (!app.Documents().empty())
        app.UnloadDocument(*app.Documents().back());
    if (storeLayouts) {
        SettingsFile settings(app.AppFolder());
        storeLayouts(settings);
        settings.Save();
    }
    SaveSetup(app.AppFolder(), app.Setup);
}

std::unique_ptr<Application> StartHeadless(const std::filesystem::path& appFolder, UserPort& port) {
    std::filesystem::create_directories(appFolder);
    return StartUp(appFolder, port, ProgramFolder());
}

void StopHeadless(Application& app) {
    UnloadFrame(app);
}

} // namespace velmar
