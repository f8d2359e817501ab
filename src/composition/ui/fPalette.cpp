#include "composition/ui/fPalette.h"

#include "shell/ui/toolPanelParts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>
#include <QVBoxLayout>

namespace velmar {

namespace {

// Two arrows bending round a corner, the common sign for exchanging two colours.
QIcon swapIcon() {
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(Qt::black, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    QPainterPath bend;
    bend.moveTo(4, 12);
    bend.quadTo(4, 4, 12, 4);
    p.drawPath(bend);
    p.setBrush(Qt::black);
    p.drawPolygon(QPolygonF{{1.5, 10}, {6.5, 10}, {4, 14}});
    p.drawPolygon(QPolygonF{{10, 1.5}, {10, 6.5}, {14, 4}});
    return QIcon(pixmap);
}

QString hexText(COLORREF colour) {
    return QString("#%1%2%3")
        .arg(RedOf(colour), 2, 16, QChar('0'))
        .arg(GreenOf(colour), 2, 16, QChar('0'))
        .arg(BlueOf(colour), 2, 16, QChar('0'))
        .toUpper();
}

} // namespace

PaletteGrid::PaletteGrid(QWidget* parent) : QWidget(parent) {
    setObjectName("iPal");
    setCursor(Qt::PointingHandCursor);
    setToolTip("Left click: current color. Right click: second color.");
}

void PaletteGrid::setColours(std::vector<COLORREF> colours) {
    colours_ = std::move(colours);
    const int rows = (static_cast<int>(colours_.size()) + kColumns - 1) / kColumns;
    setFixedSize(kColumns * kCell + 1, rows * kCell + 1);
    update();
}

QRect PaletteGrid::cellRect(int index) const {
    return QRect((index % kColumns) * kCell, (index / kColumns) * kCell, kCell, kCell);
}

int PaletteGrid::cellAt(QPoint point) const {
    if (point.x() < 0 || point.y() < 0 || point.x() >= kColumns * kCell) return -1;
    const int index = (point.y() / kCell) * kColumns + point.x() / kCell;
    return index < static_cast<int>(colours_.size()) ? index : -1;
}

void PaletteGrid::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setPen(palette().color(QPalette::Mid));
    for (int i = 0; i < static_cast<int>(colours_.size()); ++i) {
        p.setBrush(ToQColor(colours_[static_cast<std::size_t>(i)]));
        p.drawRect(cellRect(i));
    }
}

void PaletteGrid::mousePressEvent(QMouseEvent* event) {
    const int index = cellAt(event->position().toPoint());
    if (index < 0 || (event->button() != Qt::LeftButton && event->button() != Qt::RightButton))
        return QWidget::mousePressEvent(event);
    emit cellPressed(colours_[static_cast<std::size_t>(index)], event->button());
}

fPalette::fPalette(SetupRecord& record, QWidget* parent)
    : QWidget(parent, Qt::Tool), record_(record), fore_(new ColourSwatch(record, "Current color")),
      back_(new ColourSwatch(record, "Second color")), swap_(new QToolButton(this)),
      lists_(new QComboBox(this)), grid_(new PaletteGrid(this)), text_(new QLineEdit(this)),
      red_(new QLabel(this)), green_(new QLabel(this)), blue_(new QLabel(this)) {
    setObjectName("fPalette");
    setWindowTitle("Colors");

    // The second colour peeks out from under the current one, as on a painter's palette.
    auto* swatches = new QWidget(this);
    swatches->setFixedSize(48, 36);
    back_->setParent(swatches);
    fore_->setParent(swatches);
    back_->setObjectName("iBackColor");
    fore_->setObjectName("iForeColor");
    back_->setFixedSize(32, 24);
    fore_->setFixedSize(32, 24);
    back_->move(16, 12);
    fore_->move(0, 0);
    fore_->raise();
    connect(fore_, &ColourSwatch::colourChosen, this, &fPalette::setForeColour);
    connect(back_, &ColourSwatch::colourChosen, this, &fPalette::setBackColour);

    swap_->setObjectName("iSwap");
    swap_->setIcon(swapIcon());
    swap_->setAutoRaise(true);
    swap_->setToolTip("Swap the two colors");
    connect(swap_, &QToolButton::clicked, this, &fPalette::swapColours);

    auto* top = new QHBoxLayout;
    top->addWidget(swatches);
    top->addWidget(swap_, 0, Qt::AlignTop);
    top->addStretch(1);

    lists_->setObjectName("cbPal");
    for (const std::string_view name : PaletteListNames())
        lists_->addItem(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    connect(lists_, &QComboBox::currentIndexChanged, this,
            [this](int index) { grid_->setColours(PaletteColours(index)); });
    grid_->setColours(PaletteColours(0));
    connect(grid_, &PaletteGrid::cellPressed, this,
            [this](COLORREF colour, Qt::MouseButton button) {
                if (button == Qt::LeftButton)
                    setForeColour(colour);
                else
                    setBackColour(colour);
            });

    text_->setObjectName("txtRGB");
    text_->setToolTip("#RRGGBB or R,G,B; Enter applies it to the current color");
    connect(text_, &QLineEdit::returnPressed, this, &fPalette::applyText);
    connect(text_, &QLineEdit::textEdited, this, [this] { markText(false); });

    red_->setObjectName("lblR");
    green_->setObjectName("lblG");
    blue_->setObjectName("lblB");
    auto* numbers = new QHBoxLayout;
    numbers->addWidget(red_);
    numbers->addWidget(green_);
    numbers->addWidget(blue_);

    auto* column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->addLayout(top);
    column->addWidget(lists_);
    column->addWidget(grid_);
    column->addWidget(text_);
    column->addLayout(numbers);
    syncFromRecord();
}

void fPalette::showPicked(COLORREF colour) {
    fore_->setColour(colour);
    showCurrent(colour);
}

void fPalette::syncFromRecord() {
    fore_->setColour(static_cast<COLORREF>(record_.ForeColor));
    back_->setColour(static_cast<COLORREF>(record_.BackColor));
    showCurrent(static_cast<COLORREF>(record_.ForeColor));
}

void fPalette::setForeColour(COLORREF colour) {
    record_.ForeColor = static_cast<std::int32_t>(colour);
    syncFromRecord();
    emit coloursChanged();
}

void fPalette::setBackColour(COLORREF colour) {
    record_.BackColor = static_cast<std::int32_t>(colour);
    syncFromRecord();
    emit coloursChanged();
}

void fPalette::swapColours() {
    std::swap(record_.ForeColor, record_.BackColor);
    syncFromRecord();
    emit coloursChanged();
}

void fPalette::showCurrent(COLORREF colour) {
    red_->setText(QString("R: %1").arg(RedOf(colour)));
    green_->setText(QString("G: %1").arg(GreenOf(colour)));
    blue_->setText(QString("B: %1").arg(BlueOf(colour)));
    text_->setText(hexText(colour));
    markText(false);
}

void fPalette::applyText() {
    const std::optional<COLORREF> colour = ParseColourText(text_->text().toStdString());
    if (!colour) {
        // The colour stays; the field says its text was not taken.
        markText(true);
        return;
    }
    setForeColour(*colour);
}

void fPalette::markText(bool bad) {
    QPalette colours = text_->palette();
    colours.setColor(QPalette::Text, bad ? QColor(Qt::red) : palette().color(QPalette::Text));
    text_->setPalette(colours);
}

} // namespace velmar
