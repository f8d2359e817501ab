#include "shell/ui/QtUserPort.h"

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QMessageBox>
#include <QTimer>
#include <gtest/gtest.h>

#include "support/qtModal.h"

namespace velmar {
namespace {

QApplication& app() {
    return test::qtApp();
}

TEST(QtUserPort, MessageBoxesShowTheExactTextAndReportTheButton) {
    app();
    QtUserPort port;
    QString seenText, seenTitle;
    QMessageBox::Icon seenIcon = QMessageBox::NoIcon;
    // Answer the modal box from the event loop, as a user would.
    QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        seenText = box->text();
        seenTitle = box->windowTitle();
        seenIcon = box->icon();
        box->button(QMessageBox::No)->click();
    });
    const MsgResult r =
        port.MsgBox("Save changes?", MsgIcon::Question, MsgButtons::YesNo, "Velmar Kestrin");
    EXPECT_EQ(r, MsgResult::No);
    EXPECT_EQ(seenText, "Save changes?");
    EXPECT_EQ(seenTitle, "Velmar Kestrin");
    EXPECT_EQ(seenIcon, QMessageBox::Question);
}

TEST(QtUserPort, ClipboardReceivesThePicture) {
    app();
    QtUserPort port;
    ClipboardPicture p;
    p.width = 2;
    p.height = 1;
    p.bgrx = {30, 20, 10, 255, 60, 50, 40, 255};
    ASSERT_TRUE(port.SetClipboardPicture(p));
    const QImage got = QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(got.size(), QSize(2, 1));
    EXPECT_EQ(got.pixel(0, 0) & 0xFFFFFF, 0x0A141Eu);
    EXPECT_EQ(got.pixel(1, 0) & 0xFFFFFF, 0x28323Cu);
    EXPECT_FALSE(port.SetClipboardPicture(ClipboardPicture{}));
}

} // namespace
} // namespace velmar
