#pragma once
// The controls the tool panels and the colour box are built from: a slider row that keeps a
// slider, an up-down box and a value label equal, and a colour swatch that asks the colour
// dialog. Colours are COLORREF values (0x00BBGGRR) as the setup record keeps them.
#include "composition/paletteLists.h"
#include "shell/SetupRecord.h"

#include <QColor>
#include <QToolButton>
#include <QWidget>

#include <optional>

class QLabel;
class QSlider;
class QSpinBox;

namespace velmar {

inline QColor ToQColor(COLORREF colour) {
    return QColor(RedOf(colour), GreenOf(colour), BlueOf(colour));
}
inline COLORREF ToColourRef(const QColor& colour) {
    return MakeColourRef(colour.red(), colour.green(), colour.blue());
}

// The colour dialog started at `initial`, its custom colours those of the record (and kept
// there when the user changed them). Nothing when the user cancels.
std::optional<COLORREF> AskColour(COLORREF initial, SetupRecord& record, QWidget* parent,
                                  const QString& title);

// Caption, slider, up-down box and value label of one number. Moving any of the two moves the
// other and the label; only a change made by the user is reported, so a panel that fills the
// row from its record field never writes back what it just read.
class SliderRow : public QWidget {
    Q_OBJECT
  public:
    SliderRow(const QString& caption, int minimum, int maximum, QWidget* parent = nullptr);

    int value() const;
    // Shows the value (clamped to the range) without reporting it.
    void setValue(int value);

    QSlider* slider() const { return slider_; }
    QSpinBox* spinBox() const { return spin_; }
    QLabel* valueLabel() const { return label_; }

  signals:
    void valueChanged(int value);

  private:
    void showValue(int value);

    QSlider* slider_;
    QSpinBox* spin_;
    QLabel* label_;
};

// A button filled with one colour; a click opens the colour dialog and reports the colour the
// user took.
class ColourSwatch : public QToolButton {
    Q_OBJECT
  public:
    ColourSwatch(SetupRecord& record, const QString& dialogTitle, QWidget* parent = nullptr);

    COLORREF colour() const { return colour_; }
    // Shows the colour without reporting it.
    void setColour(COLORREF colour);

  signals:
    void colourChosen(COLORREF colour);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    SetupRecord& record_;
    QString title_;
    COLORREF colour_ = 0;
};

} // namespace velmar
