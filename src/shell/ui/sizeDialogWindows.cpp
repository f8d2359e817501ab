#include "shell/ui/sizeDialogWindows.h"

#include "filters/cBitFilter.h"
#include "pixel/ui/BitsImage.h"
#include "shell/ui/widgetParts.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <functional>

namespace velmar {

namespace {

// Large enough for any picture the loaders accept; the logic judges the sizes themselves.
constexpr int kMostSide = 1'000'000;
constexpr QSize kPreviewBox{160, 120};
// The orientation preview turns, so it fits a square to show both ways the same size.
constexpr QSize kTurnBox{140, 140};

const Bits* activePicture(const Application& app) {
    fImage* doc = nullptr;
    if (!app.GetActiveImage(doc) || !doc->Bits().IsAllocated()) return nullptr;
    return &doc->Bits();
}

// The view of Bits shares their memory, so the image is copied before the Bits can go.
QImage ownedImage(const Bits& bits) {
    return bitsAsImage(bits).copy();
}

QLabel* previewLabel(QWidget* owner, QSize box) {
    auto* label = new QLabel(owner);
    label->setObjectName("iSrc");
    label->setFixedSize(box + QSize(4, 4));
    label->setAlignment(Qt::AlignCenter);
    label->setFrameShape(QFrame::StyledPanel);
    return label;
}

// A preview of the active picture that does not change while the dialog is open.
QLabel* staticPreview(QWidget* owner, const Application& app) {
    QLabel* label = previewLabel(owner, kPreviewBox);
    if (const Bits* picture = activePicture(app))
        label->setPixmap(QPixmap::fromImage(
            ownedImage(FittedPicture(*picture, kPreviewBox.width(), kPreviewBox.height()))));
    return label;
}

QSpinBox* sideBox(QWidget* owner, const char* name) {
    auto* box = new QSpinBox(owner);
    box->setObjectName(name);
    box->setRange(0, kMostSide);
    return box;
}

// The "Quick" list acts as a menu: each choice applies its factor once more, so the list shows
// no entry between choices.
QComboBox* quickList(QWidget* owner) {
    auto* list = new QComboBox(owner);
    list->setObjectName("cbPreDef");
    for (std::string_view entry : fSize::kQuick)
        list->addItem(QtText(entry));
    list->setCurrentIndex(-1);
    return list;
}

void connectQuick(QComboBox* list, const std::function<void(int)>& apply) {
    QObject::connect(list, &QComboBox::activated, list, [list, apply](int index) {
        apply(index);
        list->setCurrentIndex(-1);
    });
}

QDialogButtonBox* okCancel(QDialog* dialog) {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return buttons;
}

// The dialogs' common layout: the fields on the left, the picture on the right, then an
// optional note and the OK and Cancel buttons.
void layOutFieldsAndPicture(QDialog* dialog, QLayout* fields, QWidget* picture,
                            QWidget* note = nullptr) {
    auto* row = new QHBoxLayout;
    row->addLayout(fields);
    row->addWidget(picture);
    auto* layout = new QVBoxLayout(dialog);
    layout->addLayout(row);
    if (note) layout->addWidget(note);
    layout->addWidget(okCancel(dialog));
}

void name(QDialog* dialog, const char* form, std::string_view title) {
    dialog->setObjectName(form);
    dialog->setWindowTitle(QtText(title));
}

} // namespace

Bits FittedPicture(const Bits& picture, int boxWidth, int boxHeight) {
    if (!picture.IsAllocated() || picture.Width() < 1 || picture.Height() < 1) return {};
    const double scale = std::min({1.0, static_cast<double>(boxWidth) / picture.Width(),
                                   static_cast<double>(boxHeight) / picture.Height()});
    const int w = std::max(1, static_cast<int>(std::lround(picture.Width() * scale)));
    const int h = std::max(1, static_cast<int>(std::lround(picture.Height() * scale)));
    if (w == picture.Width() && h == picture.Height()) return picture.clone();
    cBitFilter f;
    f.BitsResize(picture, w, h);
    return f.TakeBits();
}

// ---- SizeFields ---------------------------------------------------------------------------

SizeFields::SizeFields(QWidget* owner, ProportionalSize& size, const QString& keepCaption)
    : size_(size), width_(sideBox(owner, "txtW")), height_(sideBox(owner, "txtH")),
      keep_(new QCheckBox(keepCaption, owner)) {
    keep_->setObjectName("chkKeepProportions");
    keep_->setChecked(size_.KeepProportions);
    Show();
    QObject::connect(width_, &QSpinBox::valueChanged, owner, [this](int w) {
        size_.SetWidth(w);
        Show();
    });
    QObject::connect(height_, &QSpinBox::valueChanged, owner, [this](int h) {
        size_.SetHeight(h);
        Show();
    });
    QObject::connect(keep_, &QCheckBox::toggled, owner,
                     [this](bool on) { size_.KeepProportions = on; });
}

void SizeFields::Show() {
    const QSignalBlocker blockWidth(width_);
    const QSignalBlocker blockHeight(height_);
    width_->setValue(size_.Width());
    height_->setValue(size_.Height());
}

// ---- fNew ---------------------------------------------------------------------------------

fNewDialog::fNewDialog(Application& app, QWidget* parent)
    : QDialog(parent), logic_(app), fields_(this, logic_.Size, "Keep proportions") {
    name(this, "fNew", fNew::kTitle);
    auto* defaults = new QComboBox(this);
    defaults->setObjectName("cbDefault");
    for (std::string_view entry : fNew::kDefaults)
        defaults->addItem(QtText(entry));
    connect(defaults, &QComboBox::currentIndexChanged, this, [this](int index) {
        logic_.cbDefault(index);
        fields_.Show();
    });

    auto* form = new QFormLayout;
    form->addRow("Standard sizes", defaults);
    form->addRow("Width", fields_.Width());
    form->addRow("Height", fields_.Height());
    form->addRow(fields_.Keep());
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(okCancel(this));
}

void fNewDialog::accept() {
    if (logic_.OK()) QDialog::accept();
}

// ---- fSize --------------------------------------------------------------------------------

fSizeDialog::fSizeDialog(Application& app, QWidget* parent)
    : QDialog(parent), logic_(app), fields_(this, logic_.Size, "Keep proportions") {
    name(this, "fSize", fSize::kTitle);
    QComboBox* quick = quickList(this);
    connectQuick(quick, [this](int index) {
        logic_.cbPreDef(index);
        fields_.Show();
    });
    auto* interpolate = new QCheckBox("Anti-Alias", this);
    interpolate->setObjectName("chkInterpolate");
    interpolate->setChecked(logic_.chkInterpolate);
    connect(interpolate, &QCheckBox::toggled, this,
            [this](bool on) { logic_.chkInterpolate = on; });

    auto* form = new QFormLayout;
    form->addRow("Width", fields_.Width());
    form->addRow("Height", fields_.Height());
    form->addRow(fields_.Keep());
    form->addRow("Quick", quick);
    form->addRow(interpolate);
    layOutFieldsAndPicture(this, form, staticPreview(this, app));
}

void fSizeDialog::accept() {
    if (logic_.OK()) QDialog::accept();
}

// ---- fCanvas ------------------------------------------------------------------------------

// The new canvas and the old picture drawn to one scale, the picture placed where the logic puts
// it: centred, with the half-difference truncated. The part of the picture the canvas cuts away
// shows faded; the canvas itself is black, as the space the logic adds.
class CanvasPlacement : public QWidget {
  public:
    CanvasPlacement(QWidget* parent, QImage thumbnail, int oldWidth, int oldHeight)
        : QWidget(parent), thumbnail_(std::move(thumbnail)), oldWidth_(oldWidth),
          oldHeight_(oldHeight) {
        setObjectName("iCnv");
        setFixedSize(kPreviewBox + QSize(20, 20));
    }
    void SetCanvas(int width, int height) {
        canvasWidth_ = width;
        canvasHeight_ = height;
        update();
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), palette().window());
        const int dx = (canvasWidth_ - oldWidth_) / 2, dy = (canvasHeight_ - oldHeight_) / 2;
        const int left = std::min(0, dx), top = std::min(0, dy);
        const int spanW = std::max(canvasWidth_, dx + oldWidth_) - left;
        const int spanH = std::max(canvasHeight_, dy + oldHeight_) - top;
        if (spanW < 1 || spanH < 1) return;
        const double scale = std::min((width() - 8.0) / spanW, (height() - 8.0) / spanH);
        const QPointF origin((width() - spanW * scale) / 2 - left * scale,
                             (height() - spanH * scale) / 2 - top * scale);
        const auto onScreen = [&](int x, int y, int w, int h) {
            return QRectF(origin.x() + x * scale, origin.y() + y * scale, w * scale, h * scale);
        };
        const QRectF canvas = onScreen(0, 0, canvasWidth_, canvasHeight_);
        const QRectF picture = onScreen(dx, dy, oldWidth_, oldHeight_);
        p.fillRect(canvas, Qt::black);
        if (!thumbnail_.isNull()) {
            p.setOpacity(0.35);
            p.drawImage(picture, thumbnail_);
            p.setOpacity(1.0);
            p.setClipRect(canvas);
            p.drawImage(picture, thumbnail_);
            p.setClipping(false);
        }
        p.setPen(QPen(palette().highlight().color(), 1, Qt::DashLine));
        p.drawRect(picture);
        p.setPen(QPen(palette().highlight().color(), 2));
        p.drawRect(canvas);
    }

  private:
    QImage thumbnail_;
    int oldWidth_;
    int oldHeight_;
    int canvasWidth_ = 0;
    int canvasHeight_ = 0;
};

fCanvasDialog::fCanvasDialog(Application& app, QWidget* parent)
    : QDialog(parent), logic_(app), fields_(this, logic_.Size, "Proportions"),
      oldWidth_(logic_.Size.Width()), oldHeight_(logic_.Size.Height()) {
    name(this, "fCanvas", fCanvas::kTitle);
    QImage thumbnail;
    if (const Bits* picture = activePicture(app))
        thumbnail = ownedImage(FittedPicture(*picture, kPreviewBox.width(), kPreviewBox.height()));
    placement_ = new CanvasPlacement(this, thumbnail, oldWidth_, oldHeight_);
    showPlacement();
    // Connected after SizeFields' own handlers, so the logic holds the new size when these run.
    connect(fields_.Width(), &QSpinBox::valueChanged, this, [this] { showPlacement(); });
    connect(fields_.Height(), &QSpinBox::valueChanged, this, [this] { showPlacement(); });
    QComboBox* quick = quickList(this);
    connectQuick(quick, [this](int index) {
        logic_.cbPreDef(index);
        fields_.Show();
        showPlacement();
    });

    auto* explanation = new QGroupBox("What is Canvas Size?", this);
    auto* note = new QLabel("The canvas is the area the picture lies on. A smaller canvas cuts "
                            "the picture evenly on every side; a larger one keeps the whole "
                            "picture in the middle and adds black space around it.",
                            explanation);
    note->setWordWrap(true);
    (new QVBoxLayout(explanation))->addWidget(note);

    auto* form = new QFormLayout;
    form->addRow("Width", fields_.Width());
    form->addRow("Height", fields_.Height());
    form->addRow(fields_.Keep());
    form->addRow("Quick", quick);
    layOutFieldsAndPicture(this, form, placement_, explanation);
}

void fCanvasDialog::showPlacement() {
    placement_->SetCanvas(logic_.Size.Width(), logic_.Size.Height());
}

void fCanvasDialog::accept() {
    if (logic_.OK()) QDialog::accept();
}

// ---- fOrientation -------------------------------------------------------------------------

fOrientationDialog::fOrientationDialog(Application& app, QWidget* parent)
    : QDialog(parent), logic_(app), preview_(previewLabel(this, kTurnBox)) {
    name(this, "fOrientation", fOrientation::kTitle);
    if (const Bits* picture = activePicture(app))
        small_ = FittedPicture(*picture, kTurnBox.width(), kTurnBox.height());

    auto* orientation = new QComboBox(this);
    orientation->setObjectName("cbOrientation");
    for (std::string_view entry : fOrientation::kOrientations)
        orientation->addItem(QtText(entry));
    orientation->setCurrentIndex(logic_.cbOrientation);
    connect(orientation, &QComboBox::currentIndexChanged, this, [this](int index) {
        logic_.cbOrientation = index;
        showPreview();
    });

    auto* flips = new QGroupBox("Flip image", this);
    auto* vertical = new QCheckBox("Flip &vertical", flips);
    vertical->setObjectName("chkFlipVertical");
    auto* horizontal = new QCheckBox("Flip &horizontal", flips);
    horizontal->setObjectName("chkFlipHorizontal");
    connect(vertical, &QCheckBox::toggled, this, [this](bool on) {
        logic_.FlipVertical = on;
        showPreview();
    });
    connect(horizontal, &QCheckBox::toggled, this, [this](bool on) {
        logic_.FlipHorizontal = on;
        showPreview();
    });
    auto* flipLayout = new QVBoxLayout(flips);
    flipLayout->addWidget(vertical);
    flipLayout->addWidget(horizontal);

    auto* form = new QFormLayout;
    form->addRow("Canvas orientation", orientation);
    form->addRow(flips);
    layOutFieldsAndPicture(this, form, preview_);
    showPreview();
}

// The same quarter turns and flips fOrientation::OK runs on the document, on the small copy.
void fOrientationDialog::showPreview() {
    if (!small_.IsAllocated()) return;
    cBitFilter f;
    f.Bits(small_.clone());
    const Bits result =
        OrientPicture(f, logic_.cbOrientation, logic_.FlipVertical, logic_.FlipHorizontal);
    preview_->setPixmap(QPixmap::fromImage(ownedImage(result)));
}

void fOrientationDialog::accept() {
    if (logic_.OK()) QDialog::accept();
}

// ---- fRotate ------------------------------------------------------------------------------

fRotateDialog::fRotateDialog(Application& app, QWidget* parent)
    : QDialog(parent), logic_(app), degrees_(new QSpinBox(this)),
      slider_(new QSlider(Qt::Horizontal, this)) {
    name(this, "fRotate", fRotate::kTitle);
    degrees_->setObjectName("txtDegrees");
    slider_->setObjectName("sbDegrees");
    slider_->setRange(-180, 180);
    degrees_->setRange(-180, 180);
    showDegrees();
    const auto setDegrees = [this](int value) {
        logic_.Degrees = static_cast<std::int16_t>(value);
        showDegrees();
    };
    connect(degrees_, &QSpinBox::valueChanged, this, setDegrees);
    connect(slider_, &QSlider::valueChanged, this, setDegrees);

    auto* plus = new QPushButton("+ 45", this);
    plus->setObjectName("cmdPlus45");
    plus->setAutoDefault(false);
    auto* minus = new QPushButton("- 45", this);
    minus->setObjectName("cmdMinus45");
    minus->setAutoDefault(false);
    connect(plus, &QPushButton::clicked, this, [this] {
        logic_.Plus45();
        showDegrees();
    });
    connect(minus, &QPushButton::clicked, this, [this] {
        logic_.Minus45();
        showDegrees();
    });
    auto* antialiasing = new QCheckBox("Antialiasing", this);
    antialiasing->setObjectName("chkAntialiasing");
    antialiasing->setChecked(logic_.chkAntialiasing);
    connect(antialiasing, &QCheckBox::toggled, this,
            [this](bool on) { logic_.chkAntialiasing = on; });

    auto* steps = new QHBoxLayout;
    steps->addWidget(plus);
    steps->addWidget(minus);
    auto* form = new QFormLayout;
    form->addRow("Degrees", degrees_);
    form->addRow(slider_);
    form->addRow(steps);
    form->addRow(antialiasing);
    form->addRow(new QLabel("Canvas will be resized", this));
    layOutFieldsAndPicture(this, form, staticPreview(this, app));
}

void fRotateDialog::showDegrees() {
    const QSignalBlocker blockBox(degrees_);
    const QSignalBlocker blockSlider(slider_);
    degrees_->setValue(logic_.Degrees);
    slider_->setValue(logic_.Degrees);
}

void fRotateDialog::accept() {
    if (logic_.OK()) QDialog::accept();
}

// ---- fResolution --------------------------------------------------------------------------

fResolutionDialog::fResolutionDialog(Application& app, QWidget* parent)
    : QDialog(parent), logic_(app), width_(sideBox(this, "txtW")), height_(sideBox(this, "txtH")) {
    name(this, "fResolution", fResolution::kTitle);
    auto* presets = new QGroupBox(this);
    auto* presetLayout = new QVBoxLayout(presets);
    auto* group = new QButtonGroup(this);
    for (std::size_t i = 0; i < fResolution::kPresets.size(); ++i) {
        auto* option = new QRadioButton(QtText(fResolution::kPresets[i]), presets);
        option->setObjectName(QString("optPreset%1").arg(i));
        int w = 0, h = 0;
        option->setChecked(ParseSizeEntry(fResolution::kPresets[i], w, h) && w == logic_.Width &&
                           h == logic_.Height);
        group->addButton(option, static_cast<int>(i));
        presetLayout->addWidget(option);
    }
    connect(group, &QButtonGroup::idClicked, this, [this](int index) {
        logic_.Preset(index);
        showSize();
    });
    showSize();
    connect(width_, &QSpinBox::valueChanged, this, [this](int w) { logic_.Width = w; });
    connect(height_, &QSpinBox::valueChanged, this, [this](int h) { logic_.Height = h; });
    auto* anti = new QCheckBox("Anti-Alias", this);
    anti->setObjectName("chkAnti");
    anti->setChecked(logic_.chkAnti);
    connect(anti, &QCheckBox::toggled, this, [this](bool on) { logic_.chkAnti = on; });

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    buttons->addButton("Exit", QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* form = new QFormLayout;
    form->addRow("Width", width_);
    form->addRow("Height", height_);
    form->addRow(anti);
    auto* row = new QHBoxLayout;
    row->addWidget(presets);
    row->addLayout(form);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(buttons);
}

void fResolutionDialog::showSize() {
    const QSignalBlocker blockWidth(width_);
    const QSignalBlocker blockHeight(height_);
    width_->setValue(logic_.Width);
    height_->setValue(logic_.Height);
}

void fResolutionDialog::accept() {
    if (logic_.OK()) QDialog::accept();
}

} // namespace velmar
