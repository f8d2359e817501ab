// The editor: start-up in its fixed order, then the frame's event loop.
#include "shell/startup.h"
#include "shell/ui/QtUserPort.h"
#include "shell/ui/fMain.h"
#include "shell/ui/fSplash.h"

#include <QApplication>
#include <QMessageBox>

#include <exception>

#include <string>

namespace {

// The last guard: an error no command caught (a full disk under a paint stroke's undo state,
// say) is shown in a box and the program goes on, instead of ending with the user's pictures.
class EditorApplication final : public QApplication {
  public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override {
        try {
            return QApplication::notify(receiver, event);
        } catch (const std::exception& e) {
            QMessageBox::critical(activeWindow(), "Velmar Kestrin", QString::fromUtf8(e.what()));
        }
        return false;
    }
};

} // namespace

int main(int argc, char** argv) {
    // The whole text after the program's name is one file name, never parsed or unquoted.
    std::string commandLine;
    for (int i = 1; i < argc; ++i) {
        if (i > 1) commandLine += ' ';
        commandLine += argv[i];
    }

    EditorApplication qt(argc, argv);
    QApplication::setApplicationName("Velmar Kestrin SILK");

    velmar::fSplash splash;
    splash.showSplash();
    QApplication::processEvents();

    const std::filesystem::path folder = velmar::ProgramFolder();
    velmar::QtUserPort port;
    // The record, the second-instance warning (the program comes up all the same), the data
    // folders and the Recent list.
    std::unique_ptr<velmar::Application> app = velmar::StartUp(folder, port, folder);

    velmar::fMain frame(*app, port);
    frame.PlaceFrame();
    frame.ApplyViewSettings();
    frame.RestoreLayouts();
    velmar::OpenCommandLine(*app, commandLine);
    frame.RefreshFrame();
    frame.show();
    frame.ShowBoxes();
    splash.close();
    return QApplication::exec();
}
