#include "shell/ui/toolPanelParts.h"

#include <QColorDialog>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>

#include <algorithm>

namespace velmar {

std::optional<COLORREF> AskColour(COLORREF initial, SetupRecord& record, QWidget* parent,
                                  const QString& title) {
    // The dialog's sixteen custom colours are the record's, so colours a user mixed once are
    // there again in every colour dialog and after a restart.
    for (int i = 0;
         i < QColorDialog::customCount() && i < static_cast<int>(record.CustomColors.size()); ++i)
        QColorDialog::setCustomColor(
            i, ToQColor(static_cast<COLORREF>(record.CustomColors[static_cast<std::size_t>(i)])));
    // Our own dialog rather than the desktop's: the custom colours above only exist in it.
    const QColor chosen =
        QColorDialog::getColor(ToQColor(initial), parent, title, QColorDialog::DontUseNativeDialog);
    for (int i = 0;
         i < QColorDialog::customCount() && i < static_cast<int>(record.CustomColors.size()); ++i)
        record.CustomColors[static_cast<std::size_t>(i)] =
            static_cast<std::int32_t>(ToColourRef(QColorDialog::customColor(i)));
    if (!chosen.isValid()) return std::nullopt;
    return ToColourRef(chosen);
}

SliderRow::SliderRow(const QString& caption, int minimum, int maximum, QWidget* parent)
    : QWidget(parent), slider_(new QSlider(Qt::Horizontal, this)), spin_(new QSpinBox(this)),
      label_(new QLabel(this)) {
    // The caption stands above the controls, so every slider of a narrow side panel gets the
    // panel's whole width whatever its caption's length.
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setVerticalSpacing(1);
    layout->addWidget(new QLabel(caption, this), 0, 0, 1, 3);
    slider_->setRange(minimum, maximum);
    spin_->setRange(minimum, maximum);
    spin_->setSingleStep(1);
    label_->setMinimumWidth(label_->fontMetrics().horizontalAdvance("100") + 4);
    label_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    layout->addWidget(slider_, 1, 0);
    layout->addWidget(spin_, 1, 1);
    layout->addWidget(label_, 1, 2);
    layout->setColumnStretch(0, 1);
    label_->setNum(slider_->value());
    connect(slider_, &QSlider::valueChanged, this, [this](int v) {
        showValue(v);
        emit valueChanged(v);
    });
    connect(spin_, &QSpinBox::valueChanged, this, [this](int v) {
        showValue(v);
        emit valueChanged(v);
    });
}

int SliderRow::value() const {
    return slider_->value();
}

void SliderRow::setValue(int value) {
    showValue(std::clamp(value, slider_->minimum(), slider_->maximum()));
}

void SliderRow::showValue(int value) {
    // Each control is set with its signals blocked: the one the user moved already shows the
    // value, and the others must not echo it back.
    {
        const QSignalBlocker blockSlider(slider_);
        slider_->setValue(value);
    }
    {
        const QSignalBlocker blockSpin(spin_);
        spin_->setValue(value);
    }
    label_->setNum(value);
}

ColourSwatch::ColourSwatch(SetupRecord& record, const QString& dialogTitle, QWidget* parent)
    : QToolButton(parent), record_(record), title_(dialogTitle) {
    setFixedSize(36, 20);
    setCursor(Qt::PointingHandCursor);
    connect(this, &QToolButton::clicked, this, [this] {
        if (const std::optional<COLORREF> chosen = AskColour(colour_, record_, this, title_)) {
            setColour(*chosen);
            emit colourChosen(*chosen);
        }
    });
}

void ColourSwatch::setColour(COLORREF colour) {
    colour_ = colour & 0xFFFFFFu;
    setToolTip(QString("R: %1  G: %2  B: %3")
                   .arg(RedOf(colour_))
                   .arg(GreenOf(colour_))
                   .arg(BlueOf(colour_)));
    update();
}

void ColourSwatch::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().window());
    p.setPen(isDown() ? palette().color(QPalette::Highlight) : QColor(Qt::black));
    p.setBrush(ToQColor(colour_));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

} // namespace velmar
