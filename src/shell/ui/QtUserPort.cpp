#include "shell/ui/QtUserPort.h"

#include <QApplication>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMessageBox>

namespace velmar {

namespace {

QMessageBox::Icon toQtIcon(MsgIcon icon) {
    switch (icon) {
    case MsgIcon::Critical:
        return QMessageBox::Critical;
    case MsgIcon::Question:
        return QMessageBox::Question;
    case MsgIcon::Warning:
        return QMessageBox::Warning;
    case MsgIcon::Information:
        return QMessageBox::Information;
    case MsgIcon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons toQtButtons(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::OkCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case MsgButtons::AbortRetryIgnore:
        return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
    case MsgButtons::YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case MsgButtons::YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case MsgButtons::RetryCancel:
        return QMessageBox::Retry | QMessageBox::Cancel;
    case MsgButtons::Ok:
        break;
    }
    return QMessageBox::Ok;
}

MsgResult fromQtButton(int button) {
    switch (button) {
    case QMessageBox::Cancel:
        return MsgResult::Cancel;
    case QMessageBox::Abort:
        return MsgResult::Abort;
    case QMessageBox::Retry:
        return MsgResult::Retry;
    case QMessageBox::Ignore:
        return MsgResult::Ignore;
    case QMessageBox::Yes:
        return MsgResult::Yes;
    case QMessageBox::No:
        return MsgResult::No;
    default:
        return MsgResult::Ok;
    }
}

} // namespace

MsgResult QtUserPort::MsgBox(const std::string& text, MsgIcon icon, MsgButtons buttons,
                             const std::string& title) {
    // The texts are single-byte Windows-1252 in the old files; ours are ASCII, and any path a
    // message carries is the file system's UTF-8.
    QMessageBox box(toQtIcon(icon), QString::fromStdString(title), QString::fromStdString(text),
                    toQtButtons(buttons), parent_);
    return fromQtButton(box.exec());
}

bool QtUserPort::SetClipboardPicture(const ClipboardPicture& picture) {
    if (picture.width <= 0 || picture.height <= 0 || !QGuiApplication::clipboard()) return false;
    QImage image(picture.bgrx.data(), picture.width, picture.height, picture.width * 4,
                 QImage::Format_RGB32);
    QGuiApplication::clipboard()->setImage(image.copy());
    return !QGuiApplication::clipboard()->image().isNull();
}

} // namespace velmar
