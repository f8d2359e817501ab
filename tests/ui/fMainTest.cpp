// The editor as a user drives it: menu actions, synthesized mouse events on a document window,
// the filter dialog, the closing question and the zoomed paint, each checked against what the
// core gives for the same steps without any window.
#include "shell/ui/fMain.h"
#include "composition/ui/fPalette.h"
#include "document/tools.h"
#include "document/ui/fImageWindow.h"
#include "formats/gateway.h"
#include "shell/settingsFile.h"
#include "shell/setupStore.h"
#include "shell/ui/QtUserPort.h"
#include "shell/ui/printPicture.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"
#include "support/files.h"
#include "support/qtModal.h"

#include <QAbstractButton>
#include <QAction>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPrinter>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <regex>

namespace velmar {
namespace {

using test::RecordingPort;
using test::TempFolder;
using test::whenModal;

struct Editor {
    TempFolder folder;
    QtUserPort port;
    std::unique_ptr<Application> app;
    std::unique_ptr<fMain> frame;

    Editor() {
        test::qtApp();
        std::filesystem::create_directories(folder / "Temp");
        SetupRecord record;
        record.SetDefaults(folder.path().string());
        app = std::make_unique<Application>(folder.path(), port, record);
        frame = std::make_unique<fMain>(*app, port);
        frame->resize(1000, 700);
        frame->show();
    }
    ~Editor() {
        // Nothing asks at the end of a test.
        for (const auto& doc : app->Documents())
            doc->Changed = false;
        frame.reset();
    }

    // A picture file with a pattern every filter changes.
    std::string picture(const std::string& name, int w, int h) {
        Bits bits(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                bits(0, x, y) = static_cast<std::uint8_t>(x * 7);
                bits(1, x, y) = static_cast<std::uint8_t>(y * 11);
                bits(2, x, y) = static_cast<std::uint8_t>((x ^ y) * 5);
            }
        const std::string path = (folder / name).string();
        RecordingPort quiet;
        EXPECT_EQ(SaveDocumentPicture(bits, path, ExtensionOf(path), quiet), SaveResult::Written);
        return path;
    }
    fImage& active() { return *app->ActiveImage(); }
    fImageWindow& window() { return *frame->WindowOf(active()); }
    void trigger(std::string_view key) {
        QAction* action = frame->ActionOfKey(key);
        ASSERT_NE(action, nullptr) << key;
        action->trigger();
    }
    void openThroughMenu(const std::string& file) {
        whenModal<QFileDialog>([file](QFileDialog* dialog) {
            test::answerFileDialog(dialog, QString::fromStdString(file), QDialogButtonBox::Open);
        });
        trigger("OPEN");
        QApplication::processEvents();
    }
};

// The same steps on a document without any window.
struct Headless {
    TempFolder folder;
    RecordingPort port;
    Application app{folder.path(), port, defaults()};
    Headless() { std::filesystem::create_directories(folder / "Temp"); }
    SetupRecord defaults() const {
        SetupRecord record;
        record.SetDefaults(folder.path().string());
        return record;
    }
};

TEST(fMain, OpenFilterUndoRedoAndSaveFromTheMenus) {
    Editor editor;
    const std::string file = editor.picture("p.bmp", 40, 30);
    editor.openThroughMenu(file);
    ASSERT_EQ(editor.app->Documents().size(), 1u);
    EXPECT_EQ(editor.frame->Mdi()->subWindowList().size(), 1);
    EXPECT_EQ(editor.frame->Mdi()->activeSubWindow()->windowTitle().toStdString(), file);
    const Bits original = editor.active().Bits().clone();

    Headless core;
    ASSERT_TRUE(core.app.User_File(file));
    core.app.Command("HEAVYEMBOSS");

    editor.trigger("HEAVYEMBOSS");
    EXPECT_TRUE(test::sameColours(editor.active().Bits(), core.app.ActiveImage()->Bits()));
    EXPECT_FALSE(test::sameColours(editor.active().Bits(), original));
    editor.trigger("UNDO");
    EXPECT_TRUE(test::sameColours(editor.active().Bits(), original));
    editor.trigger("REDO");
    EXPECT_TRUE(test::sameColours(editor.active().Bits(), core.app.ActiveImage()->Bits()));

    const std::string saved = (editor.folder / "out.png").string();
    whenModal<QFileDialog>([saved](QFileDialog* dialog) {
        test::answerFileDialog(dialog, QString::fromStdString(saved), QDialogButtonBox::Save);
    });
    editor.trigger("SAVEAS");
    const std::optional<Bits> back = LoadPictureFile(saved, LoadSite::Document);
    ASSERT_TRUE(back.has_value());
    EXPECT_TRUE(test::sameColours(*back, core.app.ActiveImage()->Bits()));
    EXPECT_FALSE(editor.active().Changed);
    EXPECT_EQ(editor.app->Setup.RecentFiles[0].Trimmed(), file);
}

TEST(fMain, MouseOnTheWindowPaintsAsTheToolHandlersDo) {
    Editor editor;
    const std::string file = editor.picture("p.bmp", 60, 50);
    ASSERT_TRUE(editor.app->User_File(file));
    Headless core;
    ASSERT_TRUE(core.app.User_File(file));
    for (Application* app : {editor.app.get(), &core.app}) {
        app->Setup.Tool = "Select";
        app->Setup.SelectionShape = 0;
        app->Setup.SelectionMode = 2;
    }
    QWidget* surface = editor.window().Surface();
    QTest::mousePress(surface, Qt::LeftButton, {}, QPoint(5, 6));
    QTest::mouseMove(surface, QPoint(20, 15));
    QTest::mouseMove(surface, QPoint(41, 33));
    QTest::mouseRelease(surface, Qt::LeftButton, {}, QPoint(41, 33));
    DocumentTools& tools = core.app.Tools();
    fImage& doc = *core.app.ActiveImage();
    tools.MouseDown(doc, 5, 6);
    tools.MouseMove(doc, 20, 15, true);
    tools.MouseMove(doc, 41, 33, true);
    tools.MouseUp(doc, 41, 33);
    int l = 0, t = 0, r = 0, b = 0;
    ASSERT_TRUE(editor.active().BitsRegion().BoundRect(l, t, r, b));
    EXPECT_EQ((std::array{l, t, r, b}), (std::array{5, 6, 41, 33}));
    EXPECT_EQ(editor.active().BitsRegion().GetData(), doc.BitsRegion().GetData());
    EXPECT_EQ(editor.frame->Panel(StatusPanels::Pos)->text(), "X:41 Y:33");

    // A brush stroke inside that selection.
    for (Application* app : {editor.app.get(), &core.app}) {
        app->Setup.Tool = "Brush";
        app->Setup.BrushSize = 7;
        app->Setup.BrushPressure = 60;
        app->Setup.ForeColor = 0x0000FF;
    }
    QTest::mousePress(surface, Qt::LeftButton, {}, QPoint(8, 10));
    QTest::mouseMove(surface, QPoint(25, 20));
    QTest::mouseMove(surface, QPoint(50, 40));
    QTest::mouseRelease(surface, Qt::LeftButton, {}, QPoint(50, 40));
    tools.MouseDown(doc, 8, 10);
    tools.MouseMove(doc, 25, 20, true);
    tools.MouseMove(doc, 50, 40, true);
    tools.MouseUp(doc, 50, 40);
    EXPECT_TRUE(test::sameColours(editor.active().Bits(), doc.Bits()));
    EXPECT_EQ(editor.active().UndoPos(), doc.UndoPos());
    EXPECT_TRUE(editor.active().Changed);

    // The picker's colour becomes the current colour, and the colour box shows it.
    editor.app->Setup.Tool = "GetColor";
    QTest::mouseClick(surface, Qt::LeftButton, {}, QPoint(3, 4));
    const COLORREF picked = editor.active().BitsGetPixel(3, 4);
    EXPECT_EQ(static_cast<COLORREF>(editor.app->Setup.ForeColor), picked);
    EXPECT_EQ(editor.frame->ColourBox()->findChild<QLabel*>("lblR")->text(),
              QString("R: %1").arg(picked & 0xFF));
}

TEST(fMain, FilterDialogPreviewsAtOnceAndOkAppliesOnce) {
    Editor editor;
    ASSERT_TRUE(editor.app->User_File(editor.picture("p.bmp", 64, 48)));
    const int undoBefore = editor.active().UndoPos();
    bool previewChanged = false;
    whenModal<QDialog>([&](QDialog* dialog) {
        EXPECT_EQ(dialog->objectName(), "fFilter");
        auto* slider = dialog->findChild<QSlider*>("slider0");
        auto* preview = dialog->findChild<QWidget*>("iDst");
        ASSERT_TRUE(slider && preview);
        const QImage before = preview->grab().toImage();
        slider->setValue(slider->maximum());
        previewChanged = preview->grab().toImage() != before;
        dialog->findChild<QPushButton*>("cmdOK")->click();
    });
    editor.trigger("CUSTOMEMBOSS");
    EXPECT_TRUE(previewChanged);
    EXPECT_EQ(editor.active().UndoPos(), undoBefore + 1);
    EXPECT_TRUE(editor.active().Changed);
}

TEST(fMain, ClosingAChangedPictureAsksAndCancelKeepsIt) {
    Editor editor;
    const std::string file = editor.picture("p.bmp", 30, 20);
    ASSERT_TRUE(editor.app->User_File(file));
    editor.trigger("INVERT");
    QString asked;
    whenModal<QMessageBox>([&](QMessageBox* box) {
        asked = box->text();
        box->button(QMessageBox::Cancel)->click();
    });
    editor.frame->Mdi()->activeSubWindow()->close();
    QApplication::processEvents();
    EXPECT_TRUE(asked.startsWith("This image has changed.\n"));
    EXPECT_TRUE(asked.endsWith("\nDo you want to save it ?"));
    EXPECT_EQ(editor.app->Documents().size(), 1u);

    whenModal<QMessageBox>([](QMessageBox* box) { box->button(QMessageBox::No)->click(); });
    editor.frame->Mdi()->activeSubWindow()->close();
    QApplication::processEvents();
    EXPECT_TRUE(editor.app->Documents().empty());
    EXPECT_TRUE(editor.frame->Mdi()->subWindowList().isEmpty());
    // The last document took the status bar's texts with it.
    EXPECT_EQ(editor.frame->Panel(StatusPanels::Size)->text(), "");
}

TEST(fMain, ZoomPaintsWholePictureSquaresFromTheScrolledBlock) {
    Editor editor;
    ASSERT_TRUE(editor.app->User_File(editor.picture("p.bmp", 300, 200)));
    editor.frame->Mdi()->activeSubWindow()->resize(400, 300);
    editor.trigger("300");
    EXPECT_EQ(editor.active().ZoomFactor(), 3);
    EXPECT_EQ(editor.frame->Panel(StatusPanels::Zoom)->text(), "Zoom 3 : 1");
    fImageWindow& window = editor.window();
    window.ScrollTo(31, 17);
    QApplication::processEvents();
    const QImage shown = window.Surface()->grab().toImage();
    const Bits& bits = editor.active().Bits();
    ASSERT_GT(shown.width(), 200);
    // Surface pixel (sx, sy) shows picture pixel ((sx + 31) / 3, (sy + 17) / 3).
    for (const QPoint s :
         {QPoint(0, 0), QPoint(1, 2), QPoint(2, 0), QPoint(57, 91), QPoint(150, 140)}) {
        const int px = (s.x() + 31) / 3, py = (s.y() + 17) / 3;
        const QRgb c = shown.pixel(s);
        EXPECT_EQ(qBlue(c), bits(0, px, py)) << s.x() << "," << s.y();
        EXPECT_EQ(qGreen(c), bits(1, px, py)) << s.x() << "," << s.y();
        EXPECT_EQ(qRed(c), bits(2, px, py)) << s.x() << "," << s.y();
    }
    EXPECT_EQ(window.ToPicture(QPoint(2, 0)), QPoint(11, 5));
}

// Exit: the frame's size and the colour box's place go into the record, which reaches the
// file; the first close stores the bar layouts and "RunOnce".
TEST(fMain, ClosingTheFrameWritesTheRecordAndTheLayouts) {
    Editor editor;
    editor.frame->resize(900, 600);
    editor.frame->ShowBoxes();
    editor.frame->ColourBox()->move(300, 200);
    QApplication::processEvents();
    ASSERT_TRUE(editor.frame->close());
    const SetupRecord saved = LoadSetup(editor.folder.path(), editor.port).record;
    EXPECT_EQ(saved.FrameWidth, 900 * 15);
    EXPECT_EQ(saved.FrameHeight, 600 * 15);
    EXPECT_EQ(saved.ColorBoxPlace[0], 300 * 15);
    EXPECT_EQ(saved.ColorBoxPlace[1], 200 * 15);
    SettingsFile settings(editor.folder.path());
    EXPECT_EQ(settings.Value(kSettingsSection, "RunOnce"), "1");
    EXPECT_TRUE(settings.Value(kSettingsSection, "ToolBarLayouts").has_value());
}

// A failure no command expects (the undo folder gone) is shown, and the editor goes on.
TEST(fMain, ACommandThatFailsBeyondItsOwnMessagesSaysWhy) {
    Editor editor;
    ASSERT_TRUE(editor.app->User_File(editor.picture("p.bmp", 8, 8)));
    std::filesystem::remove_all(editor.folder / "Temp");
    QString shown;
    whenModal<QMessageBox>([&](QMessageBox* box) {
        shown = box->text();
        box->button(QMessageBox::Ok)->click();
    });
    editor.trigger("INVERT");
    EXPECT_TRUE(shown.contains("Temp")) << shown.toStdString();
    EXPECT_EQ(editor.app->Documents().size(), 1u);
}

// Print puts the picture on one page, read back by poppler.
TEST(fMain, PrintingMakesOnePageWithThePicture) {
    Editor editor;
    ASSERT_TRUE(editor.app->User_File(editor.picture("p.bmp", 60, 40)));
    QPrinter printer(QPrinter::HighResolution);
    const std::string pdf = (editor.folder / "print.pdf").string();
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(pdf));
    ASSERT_TRUE(PrintPicture(printer, editor.active()));
    const std::string info = (editor.folder / "info.txt").string();
    ASSERT_EQ(test::run("pdfinfo '" + pdf + "' > '" + info + "'"), 0);
    const std::vector<std::uint8_t> text = test::readFile(info);
    const std::string shown(text.begin(), text.end());
    EXPECT_TRUE(std::regex_search(shown, std::regex("Pages:\\s+1\\n"))) << shown;
    // The page carries the picture itself, 60 by 40 pixels.
    ASSERT_EQ(test::run("pdfimages -list '" + pdf + "' > '" + info + "'"), 0);
    const std::vector<std::uint8_t> images = test::readFile(info);
    const std::string listed(images.begin(), images.end());
    EXPECT_TRUE(std::regex_search(listed, std::regex("image\\s+60\\s+40\\s"))) << listed;

    fImage& empty = editor.app->NewDocument();
    EXPECT_FALSE(PrintPicture(printer, empty));
}

// A settings file that cannot be written is reported, and a changed picture still asks before
// the frame closes.
TEST(fMain, UnwritableSettingsDoNotCloseAChangedPictureUnasked) {
    Editor editor;
    ASSERT_TRUE(editor.app->User_File(editor.picture("p.bmp", 8, 8)));
    editor.trigger("INVERT");
    std::filesystem::create_directory(editor.folder / "Velmar.ini");
    QStringList seen;
    QTimer answerer;
    QObject::connect(&answerer, &QTimer::timeout, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            seen << box->text();
            if (QAbstractButton* no = box->button(QMessageBox::No))
                no->click();
            else
                box->button(QMessageBox::Ok)->click();
        }
    });
    answerer.start(10);
    EXPECT_TRUE(editor.frame->close());
    answerer.stop();
    ASSERT_GE(seen.size(), 2);
    EXPECT_TRUE(seen[0].contains("Velmar.ini")) << seen[0].toStdString();
    EXPECT_TRUE(seen[1].startsWith("This image has changed.")) << seen[1].toStdString();
    EXPECT_TRUE(editor.app->Documents().empty());
}

TEST(fMain, UtilityWindowsOpenBesideTheFrameOnceEach) {
    Editor editor;
    for (const auto& [key, form] : {std::pair{"PDF", "fPDF"}, std::pair{"BATCH", "fBatchSave"},
                                    std::pair{"ICONEXTRACTOR", "frmIconEx"}}) {
        editor.trigger(key);
        editor.trigger(key);
        const QList<QWidget*> windows =
            editor.frame->findChildren<QWidget*>(form, Qt::FindDirectChildrenOnly);
        ASSERT_EQ(windows.size(), 1) << form;
        EXPECT_TRUE(windows[0]->isWindow()) << form;
        EXPECT_TRUE(windows[0]->isVisible()) << form;
        EXPECT_FALSE(windows[0]->isModal()) << form;
        windows[0]->close();
    }
}

} // namespace
} // namespace velmar
