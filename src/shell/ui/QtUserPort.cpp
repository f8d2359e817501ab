#include "shell/ui/QtUserPort.h"

#include "shell/ui/fileDialogs.h"

#include <QDesktopServices>
#include <QFontMetrics>
#include <QUrl>
#include <QWidget>

#include <QApplication>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMessageBox>
#include <cstring>

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

std::optional<ClipboardPicture> QtUserPort::GetClipboardPicture() {
    const QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard) return std::nullopt;
    const QImage image = clipboard->image().convertToFormat(QImage::Format_RGB32);
    if (image.isNull()) return std::nullopt;
    ClipboardPicture picture{image.width(), image.height(), {}};
    picture.bgrx.resize(static_cast<std::size_t>(image.width()) * image.height() * 4);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(&picture.bgrx[static_cast<std::size_t>(y) * image.width() * 4],
                    image.constScanLine(y), static_cast<std::size_t>(image.width()) * 4);
    return picture;
}

std::vector<std::string> QtUserPort::OpenFileDialog(const FileDialogSetup& setup, bool multiple) {
    return RunOpenDialog(setup, multiple, parent_);
}

std::optional<std::string> QtUserPort::SaveFileDialog(const FileDialogSetup& setup) {
    return RunSaveDialog(setup, parent_);
}

bool QtUserPort::ShowForm(std::string_view form, int argument) {
    return formShower ? formShower(form, argument) : false;
}

void QtUserPort::Progress(int percent) {
    if (progressSink) progressSink(percent);
}

void QtUserPort::PumpEvents() {
    // Painting goes on; clicks and keys wait until the command is done, so that a second
    // command cannot start inside the first.
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

std::string QtUserPort::CompactPath(const std::string& path, int pixels) {
    const QFontMetrics metrics(parent_ ? parent_->font() : QApplication::font());
    return metrics.elidedText(QString::fromStdString(path), Qt::ElideMiddle, pixels).toStdString();
}

void QtUserPort::OpenUrl(const std::string& url) {
    QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

} // namespace velmar
