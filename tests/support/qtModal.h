#pragma once
// Widget tests: one QApplication on the offscreen platform, and answering the modal windows a
// command opens from inside their own event loop, as a user would.
#include <QApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <functional>

namespace velmar::test {

// The one application object of a test program. It is never destroyed: destroyed as a static
// it would go after Qt's own input devices, which crashes the program at exit.
inline QApplication& qtApp() {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "ui_tests";
    static char* argv[] = {name, nullptr};
    static QApplication* instance = new QApplication(argc, argv);
    return *instance;
}

// Waits (in the event loop) for a modal window of type T to come up, then hands it to
// `answer`. Gives up after five seconds so that a missing window fails the test instead of
// hanging it.
template <typename T> void whenModal(std::function<void(T*)> answer) {
    auto* timer = new QTimer;
    auto* clock = new QElapsedTimer;
    clock->start();
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, clock, answer] {
        T* window = qobject_cast<T*>(QApplication::activeModalWidget());
        if (!window && clock->elapsed() < 5000) return;
        timer->stop();
        timer->deleteLater();
        delete clock;
        if (window) answer(window);
    });
    timer->start();
}

// Types `path` into a file dialog and presses its Open or Save button once the dialog has
// looked at the folder and enabled it; a dialog that never does is cancelled, so that the test
// fails instead of hanging.
inline void answerFileDialog(QFileDialog* dialog, const QString& path,
                             QDialogButtonBox::StandardButton button) {
    const QFileInfo file(path);
    dialog->setDirectory(file.absolutePath());
    dialog->findChild<QLineEdit*>("fileNameEdit")->setText(file.fileName());
    QPushButton* press = dialog->findChild<QDialogButtonBox*>()->button(button);
    if (press && QTest::qWaitFor([press] { return press->isEnabled(); }, 5000))
        press->click();
    else
        dialog->reject();
}

} // namespace velmar::test
