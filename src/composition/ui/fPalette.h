#pragma once
// The colour box: the current colour (the record's ForeColor) over the second colour
// (BackColor), the palette lists to pick from, and the colour as text and numbers. It edits the
// setup record directly and says so with coloursChanged(), as the tools read their colours
// from the record at every stroke.
#include "composition/paletteLists.h"
#include "shell/SetupRecord.h"

#include <QWidget>

#include <vector>

class QComboBox;
class QLabel;
class QLineEdit;
class QToolButton;

namespace velmar {

class ColourSwatch;

// The cells of one palette list, eight to a row. A press on a cell reports its colour and the
// mouse button.
class PaletteGrid : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kColumns = 8;
    static constexpr int kCell = 16;

    explicit PaletteGrid(QWidget* parent = nullptr);

    void setColours(std::vector<COLORREF> colours);
    const std::vector<COLORREF>& colours() const { return colours_; }
    QRect cellRect(int index) const;
    // The cell under a point of the widget, -1 for none.
    int cellAt(QPoint point) const;

  signals:
    void cellPressed(COLORREF colour, Qt::MouseButton button);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    std::vector<COLORREF> colours_;
};

class fPalette : public QWidget {
    Q_OBJECT
  public:
    explicit fPalette(SetupRecord& record, QWidget* parent = nullptr);

    // Shows a colour the picker passes over as the current one, leaving the record as it is:
    // the pick is made only when the mouse lets go.
    void showPicked(COLORREF colour);
    // Shows the record's colours again.
    void syncFromRecord();

  signals:
    void coloursChanged();

  private:
    void setForeColour(COLORREF colour);
    void setBackColour(COLORREF colour);
    void swapColours();
    void showCurrent(COLORREF colour);
    void applyText();
    void markText(bool bad);

    SetupRecord& record_;
    ColourSwatch* fore_;
    ColourSwatch* back_;
    QToolButton* swap_;
    QComboBox* lists_;
    PaletteGrid* grid_;
    QLineEdit* text_;
    QLabel* red_;
    QLabel* green_;
    QLabel* blue_;
};

} // namespace velmar
