#include "shell/ui/toolPanels.h"

#include "shell/Application.h"
#include "shell/ui/toolPanelParts.h"
#include "shell/ui/toolPanelStamp.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace velmar {

ToolPanel::ToolPanel(SetupRecord& record, QWidget* parent)
    : QWidget(parent), record_(record), column_(new QVBoxLayout(this)) {
    column_->setContentsMargins(4, 4, 4, 4);
}

void ToolPanel::Init() {
    for (const auto& load : loaders_)
        load();
}

QHBoxLayout* ToolPanel::addRow() {
    auto* row = new QHBoxLayout;
    column_->addLayout(row);
    return row;
}

void ToolPanel::finish() {
    column_->addStretch(1);
}

QComboBox* ToolPanel::addCombo(const char* name, const QString& caption, const QStringList& items,
                               std::int16_t& field, std::vector<std::int16_t> values) {
    if (!caption.isEmpty()) column_->addWidget(new QLabel(caption, this));
    auto* combo = new QComboBox(this);
    combo->setObjectName(name);
    combo->addItems(items);
    column_->addWidget(combo);
    const auto valueAt = [values](int index) {
        return values.empty() ? static_cast<std::int16_t>(index)
                              : values[static_cast<std::size_t>(index)];
    };
    connect(combo, &QComboBox::currentIndexChanged, this, [&field, valueAt](int index) {
        if (index >= 0) field = valueAt(index);
    });
    loaders_.push_back([combo, &field, valueAt] {
        // A field that holds none of the values shows no choice rather than a wrong one; a
        // flag counts as set whatever non-zero value it holds.
        int shown = -1;
        for (int i = 0; i < combo->count() && shown < 0; ++i)
            if (valueAt(i) == field) shown = i;
        for (int i = 0; i < combo->count() && shown < 0; ++i)
            if (field != 0 && valueAt(i) == kFlagTrue) shown = i;
        const QSignalBlocker block(combo);
        combo->setCurrentIndex(shown);
    });
    return combo;
}

QListWidget* ToolPanel::addList(const char* name, const QStringList& items, std::int16_t& field) {
    auto* list = new QListWidget(this);
    list->setObjectName(name);
    list->addItems(items);
    list->setFixedHeight(list->sizeHintForRow(0) * static_cast<int>(items.size()) +
                         2 * list->frameWidth());
    column_->addWidget(list);
    connect(list, &QListWidget::currentRowChanged, this, [&field](int row) {
        if (row >= 0) field = static_cast<std::int16_t>(row);
    });
    loaders_.push_back([list, &field] {
        const QSignalBlocker block(list);
        list->setCurrentRow(field >= 0 && field < list->count() ? field : -1);
    });
    return list;
}

QCheckBox* ToolPanel::addCheck(const char* name, const QString& caption, std::int16_t& flag,
                               QHBoxLayout* into) {
    auto* check = new QCheckBox(caption, this);
    check->setObjectName(name);
    if (into)
        into->addWidget(check);
    else
        column_->addWidget(check);
    connect(check, &QCheckBox::toggled, this, [&flag](bool on) { flag = ToFlag(on); });
    loaders_.push_back([check, &flag] {
        const QSignalBlocker block(check);
        check->setChecked(IsSet(flag));
    });
    return check;
}

SliderRow* ToolPanel::addSlider(const char* name, const QString& caption, std::int16_t& field,
                                int minimum, int maximum) {
    auto* row = new SliderRow(caption, minimum, maximum, this);
    row->setObjectName(name);
    column_->addWidget(row);
    connect(row, &SliderRow::valueChanged, this,
            [&field](int value) { field = static_cast<std::int16_t>(value); });
    loaders_.push_back([row, &field] { row->setValue(field); });
    return row;
}

ColourSwatch* ToolPanel::addSwatch(const char* name, const QString& dialogTitle,
                                   std::int32_t& field, QHBoxLayout* into) {
    auto* swatch = new ColourSwatch(record_, dialogTitle, this);
    swatch->setObjectName(name);
    into->addWidget(swatch);
    connect(swatch, &ColourSwatch::colourChosen, this,
            [&field](COLORREF colour) { field = static_cast<std::int32_t>(colour); });
    loaders_.push_back([swatch, &field] { swatch->setColour(static_cast<COLORREF>(field)); });
    return swatch;
}

namespace {

// Each panel is its controls in column order; the bindings do the rest.

class SelectPanel : public ToolPanel {
  public:
    SelectPanel(SetupRecord& r, QWidget* parent) : ToolPanel(r, parent) {
        addCombo("cbSelectionMode", "Mode", {"Add", "Subtract", "New"}, r.SelectionMode);
        addCombo("cbSelectionShape", "Shape",
                 {"Rectangle", "Ellipse", "Polygon/Free hand", "Pixel"}, r.SelectionShape);
        addCheck("chkMoveSelection", "Move selection", r.MoveSelection);
        addSlider("sbSelectionPressure", "Pressure", r.SelectionPressure);
        finish();
    }
};

class SelectionMovePanel : public ToolPanel {
  public:
    SelectionMovePanel(SetupRecord& r, QWidget* parent) : ToolPanel(r, parent) {
        // The record keeps a flag: set moves the outline alone, clear lifts the pixels.
        addCombo("cSelectionMove", "", {"Move Selection Only", "Move Content Only"},
                 r.MoveSelection, {kFlagTrue, kFlagFalse});
        addSlider("cSelectionPressure", "Opaque Intensity", r.PasteOpacity);
        finish();
    }
};

class BrushPanel : public ToolPanel {
  public:
    BrushPanel(SetupRecord& r, QWidget* parent) : ToolPanel(r, parent) {
        addCombo("cbBrushMode", "Mode",
                 {"Current color", "Soften", "Soften (Overlay)", "Sharpen", "Lighten", "Darken",
                  "Current stamp (Tiled)"},
                 r.BrushMode);
        addCheck("chkContinuous", "Trace", r.BrushContinuous);
        addSlider("sbBrushSize", "Size", r.BrushSize);
        addSlider("sbBrushPressure", "Intensity", r.BrushPressure);
        finish();
    }
};

class AirbrushPanel : public ToolPanel {
  public:
    AirbrushPanel(SetupRecord& r, QWidget* parent) : ToolPanel(r, parent) {
        addSlider("sbAirbrushSize", "Size", r.AirbrushSize);
        addSlider("sbAirbrushPressure", "Pressure", r.AirbrushPressure);
        addSlider("sbAirBrushQuantity", "Quantity", r.AirbrushQuantity);
        addSlider("sbAirbrushDefinition", "Definition", r.AirbrushDefinition);
        finish();
    }
};

class FillPanel : public ToolPanel {
  public:
    FillPanel(SetupRecord& r, QWidget* parent) : ToolPanel(r, parent) {
        addCombo("cbFillMode", "Mode", {"Current color", "Current stamp"}, r.FillMode);
        addSlider("sbFillTolerance", "Tolerance", r.FillTolerance);
        addSlider("sbFillPressure", "Pressure", r.FillPressure);
        finish();
    }
};

class ShapePanel : public ToolPanel {
  public:
    // Polygons of more sides than this look like circles at any size a user draws.
    static constexpr int kMostSides = 64;

    ShapePanel(SetupRecord& r, QWidget* parent) : ToolPanel(r, parent) {
        addList("lstShape",
                {"Line", "Free hand", "Square", "Rectangle", "Circle", "Ellipse", "Polygon"},
                r.ShapeKind);
        addSlider("sbShapePressure", "Pressure", r.ShapePressure);
        addSlider("sbShapeSides", "Pol. sides", r.ShapeSides, 1, kMostSides);
        finish();
    }
};

class GradientPanel : public ToolPanel {
  public:
    GradientPanel(SetupRecord& r, QWidget* parent) : ToolPanel(r, parent) {
        addCombo("cbGradMode", "Mode", {"Linear", "Circular"}, r.GradMode);
        // The first colour is where the drag starts; each end may be left transparent.
        QHBoxLayout* first = addRow();
        addSwatch("GradColor1", "Gradient start color", r.GradColor1, first);
        addCheck("chkTranspCol1", "Transparent", r.GradTransparent[0], first);
        first->addStretch(1);
        QHBoxLayout* second = addRow();
        addSwatch("GradColor2", "Gradient end color", r.GradColor2, second);
        addCheck("chkTranspCol2", "Transparent", r.GradTransparent[1], second);
        second->addStretch(1);
        addSlider("sbGradFrequency", "Frequency", r.GradFrequency);
        addSlider("sbGradPressure", "Pressure", r.GradPressure);
        finish();
    }
};

} // namespace

ToolPanel* MakeToolPanel(std::string_view tool, Application& app, QWidget* parent) {
    SetupRecord& r = app.Setup;
    ToolPanel* panel = nullptr;
    if (tool == "Select")
        panel = new SelectPanel(r, parent);
    else if (tool == "SelectionMove")
        panel = new SelectionMovePanel(r, parent);
    else if (tool == "Brush")
        panel = new BrushPanel(r, parent);
    else if (tool == "Airbrush")
        panel = new AirbrushPanel(r, parent);
    else if (tool == "Fill")
        panel = new FillPanel(r, parent);
    else if (tool == "Shape")
        panel = new ShapePanel(r, parent);
    else if (tool == "Stamp")
        panel = new StampPanel(app, parent);
    else if (tool == "Gradient")
        panel = new GradientPanel(r, parent);
    // "pnl" + the key: the key alone names the tool's button.
    if (panel)
        panel->setObjectName("pnl" +
                             QString::fromUtf8(tool.data(), static_cast<qsizetype>(tool.size())));
    return panel;
}

} // namespace velmar
