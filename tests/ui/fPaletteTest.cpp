// The colour box on a setup record, and the palette lists and colour text it is built on.
#include "composition/ui/fPalette.h"

#include "composition/paletteLists.h"
#include "shell/ui/toolPanelParts.h"

#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

#include "support/qtModal.h"

#include <algorithm>

namespace velmar {
namespace {

QApplication& qtApp() {
    return test::qtApp();
}

QString labelText(const fPalette& box, const char* name) {
    return box.findChild<QLabel*>(name)->text();
}

void pressCell(PaletteGrid& grid, int index, Qt::MouseButton button) {
    QTest::mouseClick(&grid, button, Qt::NoModifier, grid.cellRect(index).center());
}

TEST(fPalette, SwapCellsAndTextSetTheRecordColours) {
    qtApp();
    SetupRecord record;
    record.SetDefaults("/nowhere");
    record.ForeColor = 0x0000FF; // red
    record.BackColor = 0x00FF00; // green
    fPalette box(record);
    box.show();
    EXPECT_EQ(box.windowTitle(), "Colors");
    EXPECT_TRUE(box.windowFlags().testFlag(Qt::Tool));
    QSignalSpy changed(&box, &fPalette::coloursChanged);

    QTest::mouseClick(box.findChild<QToolButton*>("iSwap"), Qt::LeftButton);
    EXPECT_EQ(record.ForeColor, 0x00FF00);
    EXPECT_EQ(record.BackColor, 0x0000FF);
    EXPECT_EQ(labelText(box, "lblR"), "R: 0");
    EXPECT_EQ(labelText(box, "lblG"), "G: 255");
    EXPECT_EQ(changed.size(), 1);

    // "16 Colors": cell 12 is blue, cell 14 cyan; the left button sets the current colour,
    // the right one the second colour.
    auto* grid = box.findChild<PaletteGrid*>("iPal");
    pressCell(*grid, 12, Qt::LeftButton);
    EXPECT_EQ(record.ForeColor, 0xFF0000);
    pressCell(*grid, 14, Qt::RightButton);
    EXPECT_EQ(record.BackColor, 0xFFFF00);
    EXPECT_EQ(record.ForeColor, 0xFF0000);
    // Another list fills the grid with its colours.
    box.findChild<QComboBox*>("cbPal")->setCurrentIndex(5);
    ASSERT_EQ(grid->colours().size(), 32u);
    pressCell(*grid, 31, Qt::LeftButton);
    EXPECT_EQ(record.ForeColor, 0xFFFFFF);
    EXPECT_EQ(changed.size(), 4);

    auto* text = box.findChild<QLineEdit*>("txtRGB");
    text->selectAll();
    QTest::keyClicks(text, "#102030");
    QTest::keyClick(text, Qt::Key_Return);
    EXPECT_EQ(record.ForeColor, 0x302010);
    EXPECT_EQ(labelText(box, "lblB"), "B: 48");
    text->selectAll();
    QTest::keyClicks(text, "12,300,4");
    QTest::keyClick(text, Qt::Key_Return);
    EXPECT_EQ(record.ForeColor, 0x302010);
    EXPECT_EQ(text->palette().color(QPalette::Text), QColor(Qt::red));
    QTest::keyClick(text, Qt::Key_Backspace);
    EXPECT_NE(text->palette().color(QPalette::Text), QColor(Qt::red));

    // The picker's colour shows without being taken; the record's comes back after it.
    box.showPicked(0x563412);
    EXPECT_EQ(labelText(box, "lblR"), "R: 18");
    EXPECT_EQ(box.findChild<ColourSwatch*>("iForeColor")->colour(), 0x563412u);
    EXPECT_EQ(record.ForeColor, 0x302010);
    box.syncFromRecord();
    EXPECT_EQ(labelText(box, "lblR"), "R: 16");

    // A click on the second colour asks the colour dialog for it.
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->setCurrentColor(QColor(1, 2, 3));
        dialog->accept();
    });
    box.findChild<ColourSwatch*>("iBackColor")->click();
    EXPECT_EQ(record.BackColor, 0x030201);
    EXPECT_EQ(record.ForeColor, 0x302010);
}

TEST(PaletteLists, ColourTextIsParsedOrRefused) {
    struct Case {
        const char* text;
        std::optional<COLORREF> colour;
    };
    const Case cases[] = {
        {"#FF8000", 0x0080FF},
        {"ff8000", 0x0080FF},
        {"  #0a0B0c ", 0x0C0B0A},
        {"255,128,0", 0x0080FF},
        {" 1 , 2 , 3 ", 0x030201},
        {"0,0,0", 0x000000},
        {"#FF800", {}},
        {"FF80001", {}},
        {"#GG8000", {}},
        {"0xFF80", {}},
        {"256,0,0", {}},
        {"1,2", {}},
        {"1,2,3,4", {}},
        {"-1,2,3", {}},
        {"1,,3", {}},
        {"", {}},
        {"red", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(ParseColourText(c.text), c.colour);
    }
}

TEST(PaletteLists, NamesSizesAndEnds) {
    const std::vector<std::string_view> names(PaletteListNames().begin(), PaletteListNames().end());
    EXPECT_EQ(names, (std::vector<std::string_view>{"16 Colors", "48 Colors", "Red Pallete",
                                                    "Green Pallete", "Blue Pallete", "Grey Pallete",
                                                    "System Pallete"}));
    struct Case {
        int list;
        std::size_t size;
        std::optional<COLORREF> first; // nothing where the end is a computed tint
        COLORREF last;
        std::size_t at;
        COLORREF colourAt;
    };
    const Case cases[] = {
        {0, 16, 0x000000, 0xFFFFFF, 9, 0x0000FF}, // bright red of the VGA set
        {1, 48, {}, 0xFFFFFF, 16, 0x0000FF},      // pure red opens the middle row
        {2, 32, 0x000000, 0xFFFFFF, 15, 0x0000FF}, {3, 32, 0x000000, 0xFFFFFF, 15, 0x00FF00},
        {4, 32, 0x000000, 0xFFFFFF, 15, 0xFF0000}, {5, 32, 0x000000, 0xFFFFFF, 16, 0x848484},
        {6, 20, 0x000000, 0xFFFFFF, 8, 0xC0DCC0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.list);
        const std::vector<COLORREF> colours = PaletteColours(c.list);
        ASSERT_EQ(colours.size(), c.size);
        if (c.first) {
            EXPECT_EQ(colours.front(), *c.first);
        }
        EXPECT_EQ(colours.back(), c.last);
        EXPECT_EQ(colours[c.at], c.colourAt);
        // No list offers the same colour twice.
        std::vector<COLORREF> sorted = colours;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
    }
    EXPECT_TRUE(PaletteColours(7).empty());
    EXPECT_TRUE(PaletteColours(-1).empty());
}

} // namespace
} // namespace velmar
