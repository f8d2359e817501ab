#include "shell/ui/sideTools.h"

#include "document/tools.h"
#include "document/ui/toolCursors.h"
#include "shell/Application.h"
#include "shell/ui/toolPanels.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>
#include <string>

namespace velmar {

namespace {

struct StripEntry {
    const char* key;
    const char* tip;
    const char* hint; // the line a tool without a panel shows in its place
};

// The strip's tools in the order of DocumentTools::kToolNames.
constexpr std::array<StripEntry, 11> kTools = {{
    {"Select", "Select", ""},
    {"SelectionMove", "Move selection", ""},
    {"Brush", "Brush", ""},
    {"Airbrush", "Airbrush", ""},
    {"Fill", "Fill", ""},
    {"Shape", "Shapes", ""},
    {"Pencil", "Pencil", "The pencil paints single pixels in the current color."},
    {"Stamp", "Stamp", ""},
    {"Gradient", "Gradient", ""},
    {"Text", "Text", "Make the text in the textures box, then click the picture."},
    {"GetColor", "Get color", "Click the picture to take its color."},
}};
static_assert(kTools.size() == std::size(DocumentTools::kToolNames));

constexpr std::array<StripEntry, 3> kCommands = {{
    {"ZoomIn", "Zoom in", ""},
    {"ZoomOut", "Zoom out", ""},
    {"MouseScroll", "Scroll", ""},
}};

const StripEntry* toolEntry(const QString& key) {
    for (const StripEntry& entry : kTools)
        if (key == QLatin1String(entry.key)) return &entry;
    return nullptr;
}

} // namespace

SideTools::SideTools(Application& app, QWidget* parent)
    : QWidget(parent), app_(app), strip_(new QWidget(this)), panels_(new QStackedWidget(this)),
      hintPage_(new QWidget(panels_)), hint_(new QLabel(hintPage_)) {
    strip_->setObjectName("tb_tools");
    auto* stripColumn = new QVBoxLayout(strip_);
    stripColumn->setContentsMargins(2, 2, 2, 2);
    stripColumn->setSpacing(1);
    for (const StripEntry& entry : kTools)
        stripColumn->addWidget(addButton(entry.key, entry.tip, true));
    stripColumn->addSpacing(8);
    for (const StripEntry& entry : kCommands)
        stripColumn->addWidget(addButton(entry.key, entry.tip, false));
    stripColumn->addStretch(1);

    panels_->setObjectName("panels");
    hintPage_->setObjectName("pnlHint");
    hint_->setObjectName("lblToolHint");
    hint_->setWordWrap(true);
    auto* hintColumn = new QVBoxLayout(hintPage_);
    hintColumn->addWidget(hint_);
    hintColumn->addStretch(1);
    panels_->addWidget(hintPage_);
    for (const StripEntry& entry : kTools)
        if (ToolPanel* panel = MakeToolPanel(entry.key, app_, panels_)) {
            toolPanels_.insert(entry.key, panel);
            panels_->addWidget(panel);
        }

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(strip_, 0, Qt::AlignTop);
    row->addWidget(panels_, 1);
    syncFromRecord();
}

QToolButton* SideTools::addButton(const QString& key, const QString& tip, bool isTool) {
    auto* button = new QToolButton(strip_);
    button->setObjectName(key);
    button->setIcon(ToolIcon(key.toStdString()));
    button->setIconSize(QSize(24, 24));
    button->setToolTip(tip);
    button->setAutoRaise(true);
    button->setCheckable(isTool);
    buttons_.insert(key, button);
    connect(button, &QToolButton::clicked, this, [this, key, isTool] {
        if (isTool)
            chooseTool(key);
        else
            emit commandKey(key);
    });
    return button;
}

void SideTools::DisableTools(const QString& except) {
    for (const StripEntry& entry : kTools)
        buttons_.value(entry.key)->setChecked(except == QLatin1String(entry.key));
}

void SideTools::chooseTool(const QString& key) {
    const std::string name = key.toStdString();
    app_.Setup.Tool = name;
    DisableTools(key);
    showPanel(key);
    app_.Status.Set(StatusPanels::Tool, name);
    emit toolChosen(key);
}

void SideTools::syncFromRecord() {
    const QString tool = QString::fromStdString(app_.Setup.Tool.Trimmed());
    DisableTools(tool);
    showPanel(tool);
}

void SideTools::showPanel(const QString& key) {
    if (ToolPanel* panel = toolPanels_.value(key)) {
        panel->Init();
        panels_->setCurrentWidget(panel);
        return;
    }
    const StripEntry* entry = toolEntry(key);
    hint_->setText(entry ? QString(entry->hint) : QString());
    panels_->setCurrentWidget(hintPage_);
}

void SideTools::initPanel(const QString& key) {
    if (ToolPanel* panel = toolPanels_.value(key)) panel->Init();
}

} // namespace velmar
