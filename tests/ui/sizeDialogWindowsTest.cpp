// The size windows and the options window over their logic: what a user types reaches the
// logic, the boxes show what the logic holds, and OK runs it or keeps the window open.
#include "shell/ui/sizeDialogWindows.h"
#include "shell/ui/fPreferencesDialog.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/qtModal.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace velmar {
namespace {

struct Session {
    test::TempFolder folder;
    test::RecordingPort port;
    Application app{folder.path(), port, SetupRecord{}};

    Session() {
        test::qtApp();
        std::filesystem::create_directories(folder / "Temp");
    }
    fImage& document(int width, int height) {
        fImage& doc = app.NewDocument();
        doc.CreateBlank(width, height);
        doc.SelectWholePicture();
        app.ShowDocument(doc);
        return doc;
    }
};

template <class T> T* child(const QObject& parent, const char* name) {
    T* found = parent.findChild<T*>(name);
    EXPECT_NE(found, nullptr) << name;
    return found;
}

QPushButton* buttonWithText(const QObject& parent, const QString& text) {
    for (QPushButton* button : parent.findChildren<QPushButton*>())
        if (button->text() == text) return button;
    ADD_FAILURE() << text.toStdString();
    return nullptr;
}

// Types the text over the box's contents a character at a time, as the keyboard does. (Key
// events would leave Qt a keyboard device that breaks the test program's exit.)
void typeInto(QSpinBox* box, const QString& text) {
    auto* edit = box->findChild<QLineEdit*>();
    ASSERT_NE(edit, nullptr);
    edit->selectAll();
    for (const QChar c : text)
        edit->insert(c);
}

void clickOk(QDialog& dialog) {
    child<QDialogButtonBox>(dialog, "")->button(QDialogButtonBox::Ok)->click();
}

void setSize(QDialog& dialog, int width, int height) {
    child<QSpinBox>(dialog, "txtW")->setValue(width);
    child<QSpinBox>(dialog, "txtH")->setValue(height);
}

TEST(SizeDialogWindows, NewFollowsProportionsPresetsAndItsMinimum) {
    Session s;
    fNewDialog dialog(s.app);
    dialog.show();
    EXPECT_EQ(dialog.objectName(), "fNew");
    EXPECT_EQ(dialog.windowTitle(), "New");
    auto* width = child<QSpinBox>(dialog, "txtW");
    auto* height = child<QSpinBox>(dialog, "txtH");
    auto* keep = child<QCheckBox>(dialog, "chkKeepProportions");

    // 640 x 480 at the start: 300 typed gives 300 * 0.75.
    keep->click();
    typeInto(width, "300");
    EXPECT_EQ(width->value(), 300);
    EXPECT_EQ(height->value(), 225);

    child<QComboBox>(dialog, "cbDefault")->setCurrentIndex(6); // "800 x 600"
    EXPECT_EQ(width->value(), 800);
    EXPECT_EQ(height->value(), 600);

    keep->click();
    setSize(dialog, 1, 1);
    clickOk(dialog);
    EXPECT_EQ(s.port.texts(), std::vector<std::string>{"Minimum size: 2 x 2"});
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_TRUE(s.app.Documents().empty());

    setSize(dialog, 2, 2);
    clickOk(dialog);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    ASSERT_EQ(s.app.Documents().size(), 1u);
    EXPECT_EQ(s.app.ActiveImage()->PictureWidth(), 2);
}

TEST(SizeDialogWindows, RotateStepsShowInBothControls) {
    Session s;
    fRotateDialog dialog(s.app);
    auto* degrees = child<QSpinBox>(dialog, "txtDegrees");
    auto* slider = child<QSlider>(dialog, "sbDegrees");
    buttonWithText(dialog, "- 45")->click();
    EXPECT_EQ(degrees->value(), -45);
    EXPECT_EQ(slider->value(), -45);
    slider->setValue(30);
    EXPECT_EQ(degrees->value(), 30);
    buttonWithText(dialog, "+ 45")->click();
    EXPECT_EQ(slider->value(), 75);
}

// Each window sets up its change the way a user would and OK applies it to the active
// document; without a document, OK leaves everything alone.
TEST(SizeDialogWindows, OkChangesTheActiveDocument) {
    struct Case {
        const char* form;
        std::function<std::unique_ptr<QDialog>(Application&)> make;
        std::function<void(QDialog&)> edit;
        QSize expected;
    };
    const std::vector<Case> cases = {
        {"fSize",
         [](Application& a) { return std::make_unique<fSizeDialog>(a); },
         [](QDialog& d) { setSize(d, 80, 60); },
         {80, 60}},
        {"fCanvas",
         [](Application& a) { return std::make_unique<fCanvasDialog>(a); },
         [](QDialog& d) { setSize(d, 50, 20); },
         {50, 20}},
        {"fOrientation",
         [](Application& a) { return std::make_unique<fOrientationDialog>(a); },
         [](QDialog& d) { child<QComboBox>(d, "cbOrientation")->setCurrentIndex(1); },
         {30, 40}},
        {"fResolution",
         [](Application& a) { return std::make_unique<fResolutionDialog>(a); },
         [](QDialog& d) { child<QRadioButton>(d, "optPreset1")->click(); },
         {340, 220}},
        {"fRotate",
         [](Application& a) { return std::make_unique<fRotateDialog>(a); },
         [](QDialog& d) {
             buttonWithText(d, "+ 45")->click();
             buttonWithText(d, "+ 45")->click();
         },
         {30, 40}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.form);
        Session s;
        fImage& doc = s.document(40, 30);
        const std::unique_ptr<QDialog> dialog = c.make(s.app);
        EXPECT_EQ(dialog->objectName(), c.form);
        c.edit(*dialog);
        clickOk(*dialog);
        EXPECT_EQ(dialog->result(), QDialog::Accepted);
        EXPECT_EQ(QSize(doc.PictureWidth(), doc.PictureHeight()), c.expected);

        Session empty;
        const std::unique_ptr<QDialog> without = c.make(empty.app);
        clickOk(*without);
        EXPECT_TRUE(empty.app.Documents().empty());
    }
}

TEST(SizeDialogWindows, PreviewsShowThePictureAndTheChoice) {
    Session s;
    s.document(400, 100);
    fSizeDialog size(s.app);
    // Fitted into 160 x 120 with its proportions.
    EXPECT_EQ(child<QLabel>(size, "iSrc")->pixmap().size(), QSize(160, 40));
    EXPECT_EQ(child<QSpinBox>(size, "txtW")->value(), 400);

    fOrientationDialog orientation(s.app);
    auto* preview = child<QLabel>(orientation, "iSrc");
    EXPECT_EQ(preview->pixmap().size(), QSize(140, 35));
    child<QComboBox>(orientation, "cbOrientation")->setCurrentIndex(3);
    EXPECT_EQ(preview->pixmap().size(), QSize(35, 140));
}

TEST(PreferencesDialog, RefusedFolderKeepsTheDialogAndRestoresTheRecord) {
    test::qtApp();
    test::TempFolder folder;
    test::RecordingPort port;
    SetupRecord record;
    record.ImagesFolder = folder.path().string();
    const SetupBytes before = ToBytes(record);

    fPreferencesDialog dialog(record, port);
    dialog.show();
    auto* tabs = child<QTabWidget>(dialog, "");
    ASSERT_EQ(tabs->count(), 3);
    EXPECT_EQ(tabs->tabText(1), "Save Images Customization");
    EXPECT_EQ(tabs->tabText(2), "WILL COME SOON!");
    auto* maximized = child<QCheckBox>(dialog, "chkFlag0");
    auto* folderEdit = child<QLineEdit>(dialog, "txtImagesFolder");
    EXPECT_EQ(folderEdit->text().toStdString(), folder.path().string());

    maximized->click();
    folderEdit->setText("/no/such/folder");
    EXPECT_TRUE(IsSet(record.FrameMaximized)); // the dialog edits the live record
    clickOk(dialog);
    EXPECT_EQ(port.texts(),
              std::vector<std::string>{std::string(fPreferences::kMissingFolderMessage)});
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_TRUE(ToBytes(record) == before);
    EXPECT_FALSE(maximized->isChecked());
    EXPECT_EQ(folderEdit->text().toStdString(), folder.path().string());

    child<QCheckBox>(dialog, "chkFlag3")->click();
    clickOk(dialog);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(IsSet(record.AskToSave));
}

} // namespace
} // namespace velmar
