// velmar-screenshots OUTDIR PICTURE: starts the editor's frame on a scratch application folder,
// opens PICTURE, and saves what a user sees as PNG files in OUTDIR: the frame with the picture,
// the frame with the filter dialog open, and the frame after a filter and a selection. Run it
// under a real display server (scripts/screenshot uses Xvfb) so the whole screen is grabbed.
#include "document/tools.h"
#include "shell/startup.h"
#include "shell/ui/QtUserPort.h"
#include "shell/ui/fMain.h"

#include <QApplication>
#include <QDialog>
#include <QPixmap>
#include <QScreen>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

void shoot(const std::filesystem::path& file) {
    QApplication::processEvents();
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
    if (!shot.save(QString::fromStdString(file.string())))
        std::fprintf(stderr, "velmar-screenshots: cannot write %s\n", file.c_str());
    else
        std::printf("%s\n", file.c_str());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: velmar-screenshots OUTDIR PICTURE\n");
        return 2;
    }
    const std::filesystem::path out = argv[1];
    const std::string picture = argv[2];
    std::filesystem::create_directories(out);
    std::string scratch = (std::filesystem::temp_directory_path() / "velmar-shots-XXXXXX").string();
    if (!mkdtemp(scratch.data())) return 1;

    QApplication qt(argc, argv);
    velmar::QtUserPort port;
    auto app = velmar::StartUp(scratch, port, velmar::ProgramFolder());
    velmar::fMain frame(*app, port);
    frame.resize(1200, 800);
    frame.ApplyViewSettings();
    frame.show();
    frame.ShowBoxes();
    if (!app->User_File(picture)) return 1;
    frame.RefreshFrame();

    QTimer::singleShot(300, [&] {
        shoot(out / "editor.png");
        // The filter dialog is modal: grab it from inside its own event loop, then close it.
        QTimer::singleShot(400, [&] {
            QApplication::processEvents();
            shoot(out / "filter-dialog.png");
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
                dialog->reject();
        });
        frame.RunKey("CUSTOMEMBOSS");
        app->Setup.Tool = "Select";
        app->Tools().MouseDown(*app->ActiveImage(), 20, 20);
        app->Tools().MouseUp(*app->ActiveImage(), 140, 100);
        frame.RunKey("HEAVYEMBOSS");
        QTimer::singleShot(600, [&] {
            shoot(out / "after-filter.png");
            // Nothing is saved: the scratch folder goes.
            for (const auto& doc : app->Documents())
                doc->Changed = false;
            frame.close();
            std::filesystem::remove_all(scratch);
            QApplication::quit();
        });
    });
    return QApplication::exec();
}
