// The tool strip and its panels on a real application object: the radio behaviour of the
// buttons, the slider rows, the record bindings of the panels, the stamp folders, and the
// tools' own cursors and icons.
#include "shell/ui/sideTools.h"

#include "document/tools.h"
#include "document/ui/toolCursors.h"
#include "formats/gateway.h"
#include "shell/Application.h"
#include "shell/ui/toolPanelParts.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QSignalSpy>
#include <QSlider>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

#include "support/qtModal.h"

#include <array>
#include <functional>
#include <stdexcept>
#include <type_traits>

namespace velmar {
namespace {

using test::RecordingPort;
using test::TempFolder;

QApplication& qtApp() {
    return test::qtApp();
}

struct Session {
    TempFolder folder;
    RecordingPort port;
    Application app{folder.path(), port, SetupRecord{}};

    Session() {
        qtApp();
        app.Setup.SetDefaults(folder.path().string());
        std::filesystem::create_directories(folder / "Temp");
    }
    // A w by h picture file at `path`.
    void stamp(const std::filesystem::path& path, int w, int h) {
        std::filesystem::create_directories(path.parent_path());
        Bits bits(w, h);
        ASSERT_EQ(SaveDocumentPicture(bits, path, LowerCase(ExtensionOf(path)), port),
                  SaveResult::Written);
    }
};

template <class T> constexpr bool kIsShortArray = false;
template <std::size_t N> constexpr bool kIsShortArray<std::array<std::int16_t, N>> = true;

// The 16-bit field of the record by its name, "Name[i]" for an entry of an array field.
std::int16_t& shortField(SetupRecord& r, std::string_view wanted) {
    std::string_view name = wanted;
    std::size_t index = 0;
    if (const std::size_t open = wanted.find('['); open != std::string_view::npos) {
        name = wanted.substr(0, open);
        index = static_cast<std::size_t>(wanted[open + 1] - '0');
    }
    std::int16_t* found = nullptr;
    VisitFields(r, [&](std::string_view fieldName, auto& field) {
        using Field = std::remove_cvref_t<decltype(field)>;
        if (fieldName != name) return;
        if constexpr (std::is_same_v<Field, std::int16_t>)
            found = &field;
        else if constexpr (kIsShortArray<Field>)
            found = &field.at(index);
    });
    if (!found) throw std::invalid_argument(std::string(wanted));
    return *found;
}

QStringList checkedTools(const SideTools& tools) {
    QStringList down;
    for (const std::string_view key : DocumentTools::kToolNames) {
        QToolButton* b = tools.button(QString::fromUtf8(key.data(), std::ssize(key)));
        if (b && b->isChecked()) down << b->objectName();
    }
    return down;
}

QString shownPage(const SideTools& tools) {
    return tools.findChild<QStackedWidget*>("panels")->currentWidget()->objectName();
}

QString hintText(const SideTools& tools) {
    return tools.findChild<QLabel*>("lblToolHint")->text();
}

TEST(SideTools, ToolButtonsAreOneRadioGroupAndShowTheirPanel) {
    Session s;
    SideTools tools(s.app);
    tools.show();
    QSignalSpy chosen(&tools, &SideTools::toolChosen);
    QSignalSpy commands(&tools, &SideTools::commandKey);

    struct Case {
        const char* key;
        const char* page;
    };
    // Tools without a panel show a line of hint in its place.
    const Case cases[] = {{"Brush", "pnlBrush"},       {"Pencil", "pnlHint"},
                          {"Stamp", "pnlStamp"},       {"GetColor", "pnlHint"},
                          {"Gradient", "pnlGradient"}, {"Gradient", "pnlGradient"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        QTest::mouseClick(tools.button(c.key), Qt::LeftButton);
        EXPECT_EQ(s.app.Setup.Tool.Trimmed(), c.key);
        // Clicking the button already down keeps it down (the last case).
        EXPECT_EQ(checkedTools(tools), QStringList{c.key});
        EXPECT_EQ(s.app.Status.text[StatusPanels::Tool], c.key);
        ASSERT_FALSE(chosen.isEmpty());
        EXPECT_EQ(chosen.takeLast().at(0).toString(), c.key);
        EXPECT_EQ(shownPage(tools), c.page);
        if (shownPage(tools) == "pnlHint") {
            EXPECT_FALSE(hintText(tools).isEmpty());
        }
    }

    // The command buttons leave the tool alone and are never down.
    QTest::mouseClick(tools.button("ZoomIn"), Qt::LeftButton);
    QTest::mouseClick(tools.button("MouseScroll"), Qt::LeftButton);
    ASSERT_EQ(commands.size(), 2);
    EXPECT_EQ(commands.at(0).at(0).toString(), "ZoomIn");
    EXPECT_EQ(commands.at(1).at(0).toString(), "MouseScroll");
    EXPECT_FALSE(tools.button("ZoomIn")->isChecked());
    EXPECT_EQ(s.app.Setup.Tool.Trimmed(), "Gradient");
    EXPECT_EQ(checkedTools(tools), QStringList{"Gradient"});
    EXPECT_TRUE(chosen.isEmpty());

    // The record rules after a change from outside: a cleared tool leaves nothing down.
    s.app.Setup.Tool = "Fill";
    tools.syncFromRecord();
    EXPECT_EQ(checkedTools(tools), QStringList{"Fill"});
    EXPECT_EQ(shownPage(tools), "pnlFill");
    s.app.Setup.Tool = "";
    tools.syncFromRecord();
    EXPECT_TRUE(checkedTools(tools).isEmpty());
    EXPECT_EQ(shownPage(tools), "pnlHint");
    EXPECT_TRUE(hintText(tools).isEmpty());
}

TEST(SideTools, SliderRowKeepsItsThreeControlsEqual) {
    qtApp();
    SliderRow row("Size", 0, 100);
    row.show();
    QSignalSpy changed(&row, &SliderRow::valueChanged);

    row.slider()->setValue(40);
    EXPECT_EQ(row.spinBox()->value(), 40);
    EXPECT_EQ(row.valueLabel()->text(), "40");
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed.takeFirst().at(0).toInt(), 40);

    row.spinBox()->selectAll();
    QTest::keyClicks(row.spinBox(), "73");
    EXPECT_EQ(row.slider()->value(), 73);
    EXPECT_EQ(row.valueLabel()->text(), "73");
    ASSERT_FALSE(changed.isEmpty());
    EXPECT_EQ(changed.takeLast().at(0).toInt(), 73);

    // Filling the row from a record reports nothing and stays in range.
    changed.clear();
    row.setValue(250);
    EXPECT_EQ(row.value(), 100);
    EXPECT_EQ(row.spinBox()->value(), 100);
    EXPECT_EQ(row.valueLabel()->text(), "100");
    EXPECT_TRUE(changed.isEmpty());
}

TEST(SideTools, PanelControlsReadAndWriteTheirRecordFields) {
    Session s;
    SideTools tools(s.app);
    tools.show();

    using Act = std::function<void(QWidget*, int)>;
    using Read = std::function<int(QWidget*)>;
    const Act pickCombo = [](QWidget* w, int i) { static_cast<QComboBox*>(w)->setCurrentIndex(i); };
    const Read comboShows = [](QWidget* w) { return static_cast<QComboBox*>(w)->currentIndex(); };
    const Act pickRow = [](QWidget* w, int i) { static_cast<QListWidget*>(w)->setCurrentRow(i); };
    const Read listShows = [](QWidget* w) { return static_cast<QListWidget*>(w)->currentRow(); };
    // On the box itself: a wide check box takes clicks on its box and caption only.
    const Act click = [](QWidget* w, int) {
        QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(6, w->height() / 2));
    };
    const Read checkShows = [](QWidget* w) {
        return static_cast<QCheckBox*>(w)->isChecked() ? 1 : 0;
    };
    const Act slide = [](QWidget* w, int v) { static_cast<SliderRow*>(w)->slider()->setValue(v); };
    const Act spin = [](QWidget* w, int v) { static_cast<SliderRow*>(w)->spinBox()->setValue(v); };
    const Read rowShows = [](QWidget* w) { return static_cast<SliderRow*>(w)->spinBox()->value(); };

    struct Case {
        const char* tool;
        const char* control;
        Act act;
        int input;
        const char* field;
        std::int16_t written; // the field after the user's change
        std::int16_t loaded;  // a value put in the record from outside
        Read read;
        int shown; // what the control shows of it
    };
    const Case cases[] = {
        {"Select", "cbSelectionShape", pickCombo, 2, "SelectionShape", 2, 3, comboShows, 3},
        {"Select", "chkMoveSelection", click, 0, "MoveSelection", kFlagFalse, 1, checkShows, 1},
        {"SelectionMove", "cSelectionMove", pickCombo, 1, "MoveSelection", 0, 1, comboShows, 0},
        {"SelectionMove", "cSelectionPressure", slide, 35, "PasteOpacity", 35, 90, rowShows, 90},
        {"Brush", "cbBrushMode", pickCombo, 6, "BrushMode", 6, 9, comboShows, -1},
        {"Brush", "sbBrushSize", spin, 61, "BrushSize", 61, 12, rowShows, 12},
        {"Airbrush", "sbAirBrushQuantity", slide, 33, "AirbrushQuantity", 33, 7, rowShows, 7},
        {"Fill", "cbFillMode", pickCombo, 1, "FillMode", 1, 0, comboShows, 0},
        {"Shape", "lstShape", pickRow, 6, "ShapeKind", 6, 4, listShows, 4},
        {"Shape", "sbShapeSides", spin, 0, "ShapeSides", 1, 200, rowShows, 64},
        {"Stamp", "chkClearBack", click, 0, "StampClearBack", kFlagTrue, 0, checkShows, 0},
        {"Gradient", "chkTranspCol2", click, 0, "GradTransparent[1]", kFlagTrue, 0, checkShows, 0},
        {"Gradient", "sbGradFrequency", slide, 12, "GradFrequency", 12, 3, rowShows, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.tool) + " " + c.control);
        QTest::mouseClick(tools.button(c.tool), Qt::LeftButton);
        QWidget* control = tools.findChild<QWidget*>(c.control);
        ASSERT_NE(control, nullptr);
        ASSERT_TRUE(control->isVisible());
        c.act(control, c.input);
        std::int16_t& field = shortField(s.app.Setup, c.field);
        EXPECT_EQ(field, c.written);
        field = c.loaded;
        tools.syncFromRecord();
        EXPECT_EQ(c.read(control), c.shown);
        // Showing the record wrote nothing back.
        EXPECT_EQ(field, c.loaded);
    }

    // A colour swatch asks the colour dialog and keeps the answer as a COLORREF.
    QTest::mouseClick(tools.button("Gradient"), Qt::LeftButton);
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->setCurrentColor(QColor(10, 20, 30));
        dialog->accept();
    });
    tools.findChild<ColourSwatch*>("GradColor1")->click();
    EXPECT_EQ(s.app.Setup.GradColor1, 0x1E140A);
}

TEST(SideTools, StampPanelListsTheStampFoldersAndChoosesStamps) {
    Session s;
    const std::filesystem::path stamps = s.folder / "Stamps";
    s.stamp(stamps / "s2.bmp", 4, 3);
    s.stamp(stamps / "s10.BMP", 2, 5);
    s.stamp(stamps / "Flowers" / "c.bmp", 6, 6);
    s.stamp(stamps / "Leaves" / "d.png", 1, 1);
    SideTools tools(s.app);
    tools.show();
    QTest::mouseClick(tools.button("Stamp"), Qt::LeftButton);

    auto* folders = tools.findChild<QComboBox*>("cbStamps");
    auto* files = tools.findChild<QListWidget*>("flStamps");
    auto* preview = tools.findChild<QLabel*>("iStamp");
    QStringList folderNames;
    for (int i = 0; i < folders->count(); ++i)
        folderNames << folders->itemText(i);
    EXPECT_EQ(folderNames, (QStringList{"Stamps", "Flowers", "Leaves"}));
    const auto listed = [files] {
        QStringList names;
        for (int i = 0; i < files->count(); ++i)
            names << files->item(i)->text();
        return names;
    };
    // Numbered stamps come in counting order.
    EXPECT_EQ(listed(), (QStringList{"s2.bmp", "s10.BMP"}));
    EXPECT_FALSE(tools.findChild<QLabel*>("lblStampsMissing")->isVisible());

    // With no stamp in use the first is taken; choosing another puts it in use and in view.
    ASSERT_TRUE(s.app.Tools().GetStampBits());
    EXPECT_EQ(s.app.Tools().GetStampBits()->width, 4);
    files->setCurrentRow(1);
    ASSERT_TRUE(s.app.Tools().GetStampBits());
    EXPECT_EQ(s.app.Tools().GetStampBits()->width, 2);
    EXPECT_EQ(s.app.Tools().GetStampBits()->height, 5);
    EXPECT_EQ(preview->pixmap().size(), QSize(2, 5));

    folders->setCurrentIndex(1);
    EXPECT_EQ(listed(), QStringList{"c.bmp"});
    folders->setCurrentIndex(2);
    EXPECT_TRUE(listed().isEmpty());
    EXPECT_EQ(s.app.Tools().GetStampBits()->width, 2);

    // Without the folder the panel says so.
    std::filesystem::remove_all(stamps);
    tools.syncFromRecord();
    auto* missing = tools.findChild<QLabel*>("lblStampsMissing");
    EXPECT_TRUE(missing->isVisible());
    EXPECT_EQ(missing->text(), "<Stamps> subfolder not found.");
    EXPECT_FALSE(folders->isVisible());
    EXPECT_EQ(files->count(), 0);
}

TEST(SideTools, CursorsAndIconsAreDrawnForEveryName) {
    qtApp();
    for (const char* name : {"cBrush", "cAirBrush", "cFill", "cPencil", "cTextures", "cGradient",
                             "cPicker", "cGrab", "cRelease"}) {
        SCOPED_TRACE(name);
        const QCursor cursor = ToolCursor(name);
        EXPECT_EQ(cursor.shape(), Qt::BitmapCursor);
        EXPECT_EQ(cursor.pixmap().size(), QSize(32, 32));
        EXPECT_TRUE(QRect(0, 0, 32, 32).contains(cursor.hotSpot()));
    }
    // The hands differ: grabbing shows a closed one.
    EXPECT_NE(ToolCursor("cGrab").pixmap().toImage(), ToolCursor("cRelease").pixmap().toImage());
    EXPECT_EQ(ToolCursor("Default").shape(), Qt::ArrowCursor);
    EXPECT_EQ(ToolCursor("Hourglass").shape(), Qt::WaitCursor);
    EXPECT_EQ(ToolCursor("cNoSuchCursor").shape(), Qt::ArrowCursor);

    QStringList keys;
    for (const std::string_view key : DocumentTools::kToolNames)
        keys << QString::fromUtf8(key.data(), std::ssize(key));
    keys << "ZoomIn"
         << "ZoomOut"
         << "MouseScroll";
    for (const QString& key : keys) {
        SCOPED_TRACE(key.toStdString());
        const QIcon icon = ToolIcon(key.toStdString());
        ASSERT_FALSE(icon.isNull());
        EXPECT_EQ(icon.availableSizes().value(0), QSize(24, 24));
    }
    EXPECT_NE(ToolIcon("ZoomIn").pixmap(24).toImage(), ToolIcon("ZoomOut").pixmap(24).toImage());
    EXPECT_TRUE(ToolIcon("NoSuchTool").isNull());
}

} // namespace
} // namespace velmar
