#pragma once
// The tool strip and, beside it, the panel of the active tool. The strip is a radio group of
// the eleven tools (the setup record's Tool names the one down) and three command buttons for
// the active document: "ZoomIn", "ZoomOut", "MouseScroll".
#include <QHash>
#include <QString>
#include <QWidget>

class QLabel;
class QStackedWidget;
class QToolButton;

namespace velmar {

class Application;
class ToolPanel;

class SideTools : public QWidget {
    Q_OBJECT
  public:
    explicit SideTools(Application& app, QWidget* parent = nullptr);

    // Only the button of `except` stays down; an empty or unknown key leaves none down.
    void DisableTools(const QString& except);
    // Puts the strip and the panel in line with the record: its Tool is down and shown, its
    // fields in the panel's controls. An empty Tool leaves no button down and an empty panel.
    void syncFromRecord();

    // Each fills its tool's panel from the record, for callers that changed the record.
    void Select_Init() { initPanel("Select"); }
    void SelectionMove_Init() { initPanel("SelectionMove"); }
    void Brush_Init() { initPanel("Brush"); }
    void Airbrush_Init() { initPanel("Airbrush"); }
    void Fill_Init() { initPanel("Fill"); }
    void Shape_Init() { initPanel("Shape"); }
    void Stamp_Init() { initPanel("Stamp"); }
    void Gradient_init() { initPanel("Gradient"); }

    // The strip's button of a key (tool or command), nullptr for another key.
    QToolButton* button(const QString& key) const { return buttons_.value(key); }

  signals:
    // The user chose a tool; the record and the status bar already name it.
    void toolChosen(QString key);
    // "ZoomIn", "ZoomOut" or "MouseScroll": for the frame to run on the active document.
    void commandKey(QString key);

  private:
    void chooseTool(const QString& key);
    void showPanel(const QString& key);
    void initPanel(const QString& key);
    QToolButton* addButton(const QString& key, const QString& tip, bool isTool);

    Application& app_;
    QWidget* strip_;
    QStackedWidget* panels_;
    QWidget* hintPage_;
    QLabel* hint_;
    QHash<QString, QToolButton*> buttons_;
    QHash<QString, ToolPanel*> toolPanels_;
};

} // namespace velmar
