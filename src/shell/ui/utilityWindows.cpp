#include "shell/ui/utilityWindows.h"

#include "export/ui/fBatchSaveWindow.h"
#include "export/ui/fPDFWindow.h"
#include "extract/ui/frmIconExWindow.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QWidget>

#include <functional>
#include <string>

namespace velmar {

namespace {

// The text the PDF window starts on: the file the editor's own command line names, when it names
// one. One surrounding pair of double quotes is dropped; the case is kept, since Linux file
// names differ by case.
QString commandLineFile() {
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) return {};
    QString file = arguments.mid(1).join(' ');
    if (file.size() >= 2 && file.startsWith('"') && file.endsWith('"'))
        file = file.mid(1, file.size() - 2);
    return QFileInfo(file).isFile() ? file : QString();
}

struct UtilityWindow {
    std::string_view form;
    std::function<QWidget*(UserPort&, QWidget*)> make;
};

const UtilityWindow kWindows[] = {
    {"fPDF",
     [](UserPort& port, QWidget* frame) { return new fPDFWindow(port, frame, commandLineFile()); }},
    {"fBatchSave",
     [](UserPort& port, QWidget* frame) { return new fBatchSaveWindow(port, frame); }},
    {"frmIconEx", [](UserPort& port, QWidget* frame) { return new frmIconExWindow(port, frame); }},
};

} // namespace

bool ShowUtilityWindow(std::string_view form, UserPort& port, QWidget* frame) {
    for (const UtilityWindow& w : kWindows) {
        if (w.form != form) continue;
        const QString name = QString::fromUtf8(form.data(), static_cast<qsizetype>(form.size()));
        QWidget* window = frame->findChild<QWidget*>(name, Qt::FindDirectChildrenOnly);
        if (window == nullptr) {
            window = w.make(port, frame);
            window->setObjectName(name);
            window->setAttribute(Qt::WA_DeleteOnClose);
            // A window of its own beside the frame (a main window would otherwise sit inside
            // it), not a dialog that blocks it.
            window->setWindowFlag(Qt::Window);
            window->setWindowModality(Qt::NonModal);
        }
        window->show();
        window->raise();
        window->activateWindow();
        return true;
    }
    return false;
}

} // namespace velmar
