// The filter window on a real document: the controls each setup gets, the previews it paints,
// Real Time / OK / Cancel on the document, the picked point, the colour, banks, glass and
// curtain frames, and run-time errors that leave the window usable.
#include "filters/ui/fFilterDialog.h"

#include "document/fImage.h"
#include "filters/filterFixtures.h"
#include "pixel/ui/BitsImage.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QMouseEvent>
#include <QSlider>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include "support/qtModal.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace velmar {
namespace {

QApplication& app() {
    return test::qtApp();
}

template <class W> W& child(QWidget& parent, const char* name) {
    W* found = parent.findChild<W*>(name);
    if (found == nullptr) throw std::runtime_error(std::string("no control ") + name);
    return *found;
}

QRgb rgbOf(COLORREF c) {
    return qRgb(static_cast<int>(c & 0xFF), static_cast<int>((c >> 8) & 0xFF),
                static_cast<int>((c >> 16) & 0xFF)) &
           0xFFFFFF;
}

QRgb shownAt(QWidget& box, int x, int y) {
    return box.grab().toImage().pixel(x, y) & 0xFFFFFF;
}

// The box shows `picture` pixel for pixel (an RGB32 comparison leaves out the mask byte).
bool showsPicture(QWidget& box, const Bits& picture) {
    return box.grab().toImage().convertToFormat(QImage::Format_RGB32) == bitsAsImage(picture);
}

QRgb swatchColour(QAbstractButton& swatch) {
    return swatch.icon().pixmap(swatch.iconSize()).toImage().pixel(4, 4) & 0xFFFFFF;
}

Bits brightened(const Bits& picture, int amount) {
    cBitFilter f;
    f.Bits(picture.clone());
    return f.BRIGHTNESS(amount);
}

constexpr int kBrightness = 1, kGamma = 4, kSketch = 12, kIsolate = 14, kBanks = 26, kFold = 30,
              kGlass = 39, kCurtain = 40;

class FilterDialog : public ::testing::Test {
  protected:
    FilterDialog() {
        app();
        load(test::patterned(40, 30));
    }
    // The document holds `picture` as its first undo state.
    void load(Bits picture) {
        doc.CreateBlank(picture.Width(), picture.Height());
        doc.Bits(std::move(picture));
        doc.SaveUndoBits();
        original = doc.Picture().clone();
    }

    test::TempFolder folder;
    fImage doc{1, folder.path()};
    test::RecordingPort port;
    Bits original;
};

TEST_F(FilterDialog, EachSetupBuildsTheControlsOfItsTableRow) {
    const struct {
        int index;
        const char* title;
        int sliders;
        const char* option; // "": no check box
        bool col0, col1;
    } cases[] = {
        {0, "Color [Colorize]", 3, "", false, false},
        {kGamma, "Adjust [Gamma correction]", 1, "", false, false},
        {kSketch, "Edges [Sketch]", 1, "B/W", false, true},
        {kIsolate, "Color [Isolate]", 1, "", true, true},
        {kBanks, "Color [RGB banks]", 0, "", false, false},
        {kGlass, "Behind Glass", 0, "", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title);
        fFilterDialog dlg(doc, c.index, port);
        EXPECT_EQ(dlg.objectName(), "fFilter");
        EXPECT_EQ(dlg.windowTitle(), c.title);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(dlg.findChild<QSlider*>(QString("slider%1").arg(i)) != nullptr, i < c.sliders)
                << i;
        auto* option = dlg.findChild<QCheckBox*>("chkOption");
        EXPECT_EQ(option ? option->text() : QString(), c.option);
        EXPECT_EQ(dlg.findChild<QAbstractButton*>("Col0") != nullptr, c.col0);
        EXPECT_EQ(dlg.findChild<QAbstractButton*>("Col1") != nullptr, c.col1);
    }
    fFilterDialog gamma(doc, kGamma, port);
    EXPECT_EQ(child<QLabel>(gamma, "value0").text(), "1.00");
}

TEST_F(FilterDialog, MovingASliderRendersTheDestinationAtOnce) {
    fFilterDialog dlg(doc, kBrightness, port);
    dlg.show();
    QWidget& dst = child<QWidget>(dlg, "iDst");
    QWidget& src = child<QWidget>(dlg, "isrc");
    EXPECT_TRUE(showsPicture(dst, original)); // level 0 changes nothing
    // No event loop between the move and the look: the preview is not waiting on a timer.
    child<QSlider>(dlg, "slider0").setValue(50);
    EXPECT_EQ(child<QLabel>(dlg, "value0").text(), "50");
    EXPECT_TRUE(showsPicture(dst, brightened(original, 50)));
    EXPECT_TRUE(showsPicture(src, original));
    EXPECT_EQ(doc.UndoPos(), 1);
    EXPECT_TRUE(test::samePixels(doc.Shown(), original));
}

// The destination shows the starting values' effect as soon as the dialog opens: Colorize's
// defaults change every pixel.
TEST_F(FilterDialog, TheDestinationShowsTheDefaultsAtOnce) {
    fFilterDialog dlg(doc, 0, port);
    dlg.show();
    EXPECT_FALSE(showsPicture(child<QWidget>(dlg, "iDst"), original));
    EXPECT_TRUE(showsPicture(child<QWidget>(dlg, "isrc"), original));
    EXPECT_EQ(doc.UndoPos(), 1);
}

TEST_F(FilterDialog, OkAfterRealTimeAppliesTheFilterOnce) {
    const Bits expected = brightened(original, 50);
    fFilterDialog dlg(doc, kBrightness, port);
    // The cursor each progress report of a run on the document sees.
    std::vector<int> cursors;
    dlg.setProgress([&](std::int32_t) {
        const QCursor* c = QApplication::overrideCursor();
        cursors.push_back(c ? c->shape() : -1);
    });
    dlg.show();
    child<QSlider>(dlg, "slider0").setValue(50);
    EXPECT_TRUE(cursors.empty()); // the small preview reports nothing

    child<QAbstractButton>(dlg, "cmdPreview").click();
    EXPECT_TRUE(test::samePixels(doc.Shown(), expected));
    EXPECT_TRUE(test::samePixels(doc.Picture(), original));
    ASSERT_FALSE(cursors.empty());
    for (int shape : cursors)
        EXPECT_EQ(shape, Qt::WaitCursor);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);

    const std::size_t reports = cursors.size();
    child<QAbstractButton>(dlg, "cmdOK").click();
    EXPECT_EQ(dlg.result(), QDialog::Accepted);
    EXPECT_FALSE(dlg.isVisible());
    EXPECT_TRUE(dlg.Logic().Closed());
    EXPECT_EQ(cursors.size(), reports); // not run a second time
    EXPECT_EQ(doc.UndoPos(), 2);
    EXPECT_TRUE(test::samePixels(doc.Picture(), expected));
}

TEST_F(FilterDialog, EveryWayOfCancellingRestoresThePicture) {
    const struct {
        const char* way;
        void (*cancel)(fFilterDialog&);
    } ways[] = {
        {"Cancel", [](fFilterDialog& d) { child<QAbstractButton>(d, "CmdCancel").click(); }},
        {"Esc", [](fFilterDialog& d) { QTest::keyClick(&d, Qt::Key_Escape); }},
        {"title bar", [](fFilterDialog& d) { d.close(); }},
    };
    for (const auto& w : ways) {
        SCOPED_TRACE(w.way);
        fFilterDialog dlg(doc, kBrightness, port);
        dlg.show();
        child<QSlider>(dlg, "slider0").setValue(50);
        child<QAbstractButton>(dlg, "cmdPreview").click();
        ASSERT_FALSE(test::samePixels(doc.Shown(), original));
        w.cancel(dlg);
        EXPECT_EQ(dlg.result(), QDialog::Rejected);
        EXPECT_FALSE(dlg.isVisible());
        EXPECT_TRUE(dlg.Logic().Closed());
        EXPECT_TRUE(test::samePixels(doc.Shown(), original));
        EXPECT_EQ(doc.UndoPos(), 1);
    }
}

TEST_F(FilterDialog, TheColourFrameTakesPickedAndChosenColours) {
    fFilterDialog dlg(doc, kIsolate, port);
    dlg.show();
    const fFilter& logic = dlg.Logic();
    QWidget& src = child<QWidget>(dlg, "isrc");
    QAbstractButton& col0 = child<QAbstractButton>(dlg, "Col0");
    QAbstractButton& col1 = child<QAbstractButton>(dlg, "Col1");
    const auto previewColour = [&](int x, int y) {
        const Bits& p = logic.PreviewSource();
        return static_cast<COLORREF>(p(2, x, y) | p(1, x, y) << 8 | p(0, x, y) << 16);
    };

    QTest::mouseClick(&src, Qt::LeftButton, {}, QPoint(10, 6));
    EXPECT_FLOAT_EQ(logic.Values().x, 10.0f / 40.0f);
    EXPECT_FLOAT_EQ(logic.Values().y, 6.0f / 30.0f);
    EXPECT_EQ(logic.Values().col0, previewColour(10, 6));
    EXPECT_EQ(swatchColour(col0), rgbOf(previewColour(10, 6)));
    // A drag keeps picking.
    QMouseEvent move(QEvent::MouseMove, QPointF(30, 20), src.mapToGlobal(QPointF(30, 20)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&src, &move);
    EXPECT_FLOAT_EQ(logic.Values().x, 0.75f);
    EXPECT_EQ(logic.Values().col0, previewColour(30, 20));

    // The marker sits on the point and blinks with the timer.
    EXPECT_EQ(shownAt(src, 30, 20), rgbOf(logic.MarkerColour()));
    EXPECT_EQ(shownAt(src, 34, 20), rgbOf(logic.MarkerColour()));
    const COLORREF before = logic.MarkerColour();
    ASSERT_TRUE(QTest::qWaitFor([&] { return logic.MarkerColour() != before; }, 2000));
    EXPECT_EQ(shownAt(src, 30, 20), rgbOf(logic.MarkerColour()));

    // Col 1 from the colour dialog.
    QTimer::singleShot(0, [] {
        auto* box = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        box->setCurrentColor(QColor(10, 20, 30));
        box->accept();
    });
    col1.click();
    EXPECT_EQ(logic.Values().col1, 0x1E140Au);
    EXPECT_EQ(swatchColour(col1), qRgb(10, 20, 30) & 0xFFFFFF);
}

TEST_F(FilterDialog, TheBankRadiosShowTheExchangeTheLogicMade) {
    fFilterDialog dlg(doc, kBanks, port);
    const auto radio = [&](int output, int source) -> QAbstractButton& {
        return child<QAbstractButton>(dlg, QString("optBank%1%2").arg(output).arg(source).toUtf8());
    };
    const auto expectRadiosShow = [&](std::array<std::int32_t, 3> p) {
        for (int o = 0; o < 3; ++o)
            for (int s = 0; s < 3; ++s)
                EXPECT_EQ(radio(o, s).isChecked(), p[static_cast<std::size_t>(o)] == s)
                    << "output " << o << " source " << s;
    };
    expectRadiosShow({2, 1, 0});
    // Red takes blue's channel 0; blue gets red's old 2.
    radio(0, 0).click();
    EXPECT_EQ(dlg.Logic().Values().p, (std::array<std::int32_t, 3>{0, 1, 2}));
    expectRadiosShow({0, 1, 2});

    child<QAbstractButton>(dlg, "chkKill1").click();
    child<QAbstractButton>(dlg, "chkInvert2").click();
    EXPECT_TRUE(dlg.Logic().Values().kill[1]);
    EXPECT_TRUE(dlg.Logic().Values().invert[2]);
    EXPECT_EQ(dlg.Logic().PreviewResult()(1, 5, 5), 0); // green killed
}

TEST_F(FilterDialog, GlassAndCurtainFramesFeedTheLogic) {
    fFilterDialog glass(doc, kGlass, port);
    EXPECT_TRUE(child<QAbstractButton>(glass, "optGlass0").isChecked());
    child<QAbstractButton>(glass, "optGlass2").click();
    EXPECT_EQ(glass.Logic().Values().glassStyle, "vertical");
    child<QComboBox>(glass, "cmbGlassMode").setCurrentIndex(2);
    EXPECT_EQ(glass.Logic().Values().p[0], 2);
    EXPECT_TRUE(glass.Logic().PreviewResult().IsAllocated());

    fFilterDialog curtain(doc, kCurtain, port);
    child<QAbstractButton>(curtain, "cmdCurtainClassy").click();
    EXPECT_EQ(curtain.Logic().Values().p[0], 3);
    child<QAbstractButton>(curtain, "cmdCurtainWhity").click();
    EXPECT_EQ(curtain.Logic().Values().p[0], 4);
}

TEST_F(FilterDialog, RunTimeErrorsAreShownAndTheWindowStaysUsable) {
    // Folding a picture one pixel wide overflows, in the preview and on the document alike.
    load(test::patterned(1, 5));
    const int undoPos = doc.UndoPos();
    fFilterDialog dlg(doc, kFold, port);
    dlg.show();
    child<QSlider>(dlg, "slider0").setValue(10);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "Run-time error '6':\n\nOverflow");
    EXPECT_EQ(port.messages[0].icon, MsgIcon::Critical);
    EXPECT_EQ(child<QLabel>(dlg, "value0").text(), "10");

    child<QAbstractButton>(dlg, "cmdOK").click();
    ASSERT_EQ(port.messages.size(), 2u);
    EXPECT_EQ(port.messages[1].text, "Run-time error '6':\n\nOverflow");
    EXPECT_TRUE(dlg.isVisible());
    EXPECT_FALSE(dlg.Logic().Closed());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(doc.UndoPos(), undoPos);

    child<QAbstractButton>(dlg, "CmdCancel").click();
    EXPECT_TRUE(dlg.Logic().Closed());
    EXPECT_TRUE(test::samePixels(doc.Picture(), original));
}

} // namespace
} // namespace velmar
