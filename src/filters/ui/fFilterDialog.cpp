#include "filters/ui/fFilterDialog.h"

#include "pixel/RuntimeError.h"
#include "pixel/ui/BitsImage.h"
#include "port/UserPort.h"
#include "shell/Application.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>
#include <new>
#include <optional>
#include <string_view>

namespace velmar {

namespace {

constexpr int kMarkerBlinkMs = 300;
// Half the length of the marker's arms, in preview pixels.
constexpr int kMarkerArm = 4;
constexpr QSize kSwatchSize{36, 16};
constexpr int kSliderWidth = 240;
constexpr int kValueLabelWidth = 48;

// The banks' rows are the outputs red, green, blue; a source is a channel number (0 blue,
// 1 green, 2 red), offered in the same red, green, blue order as the rows.
constexpr std::array<std::string_view, 3> kOutputNames{"Red", "Green", "Blue"};
constexpr std::array<int, 3> kSourcesInRowOrder{2, 1, 0};
constexpr std::array<std::string_view, 3> kChannelNames{"Blue", "Green", "Red"};

QString qt(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QColor qColourOf(COLORREF c) {
    return QColor(static_cast<int>(c & 0xFF), static_cast<int>((c >> 8) & 0xFF),
                  static_cast<int>((c >> 16) & 0xFF));
}

COLORREF colourRefOf(const QColor& c) {
    return static_cast<COLORREF>(c.red()) | static_cast<COLORREF>(c.green()) << 8 |
           static_cast<COLORREF>(c.blue()) << 16;
}

void showSwatch(QPushButton& button, COLORREF colour) {
    QPixmap swatch(kSwatchSize);
    swatch.fill(qColourOf(colour));
    button.setIcon(QIcon(swatch));
    button.setIconSize(kSwatchSize);
}

// A whole-picture run can take a while; the busy cursor tells the user the click was taken.
class BusyCursor {
  public:
    BusyCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QApplication::restoreOverrideCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

} // namespace

// One of the two preview boxes, exactly the preview's size so that a widget pixel is a preview
// pixel: the source (with the picked point's marker where the setup has one) or the result.
class fFilterDialog::PreviewBox final : public QWidget {
  public:
    enum class Shows { Source, Result };

    PreviewBox(const fFilter& logic, Shows shows, QWidget* parent)
        : QWidget(parent), logic_(logic), shows_(shows) {
        setFixedSize(logic.PreviewWidth(), logic.PreviewHeight());
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

    // Set on the source box of setups with a picked point: the preview pixel under a left
    // click or drag.
    std::function<void(QPoint)> onPick;
    bool showsMarker = false;

  protected:
    void paintEvent(QPaintEvent*) override {
        const velmar::Bits& picture =
            shows_ == Shows::Result && logic_.PreviewResult().IsAllocated()
                ? logic_.PreviewResult()
                : logic_.PreviewSource();
        QPainter painter(this);
        // A result of another size is still shown in the preview's box, pixel for pixel.
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        const QImage image = bitsAsImage(picture);
        if (image.isNull())
            painter.fillRect(rect(), palette().window());
        else
            painter.drawImage(rect(), image);
        if (showsMarker) paintMarker(painter);
    }

    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) pick(event->position());
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (event->buttons() & Qt::LeftButton) pick(event->position());
    }

  private:
    void pick(QPointF at) {
        if (onPick)
            onPick(
                QPoint(static_cast<int>(std::floor(at.x())), static_cast<int>(std::floor(at.y()))));
    }

    void paintMarker(QPainter& painter) {
        // The logic keeps the point as fractions of the preview; back to its pixel.
        const int x = static_cast<int>(std::lround(logic_.Values().x * logic_.PreviewWidth()));
        const int y = static_cast<int>(std::lround(logic_.Values().y * logic_.PreviewHeight()));
        const QColor colour = qColourOf(logic_.MarkerColour());
        painter.fillRect(QRect(x - kMarkerArm, y, 2 * kMarkerArm + 1, 1), colour);
        painter.fillRect(QRect(x, y - kMarkerArm, 1, 2 * kMarkerArm + 1), colour);
    }

    const fFilter& logic_;
    Shows shows_;
};

fFilterDialog::fFilterDialog(FilterDocument& document, int index, UserPort& port, QWidget* parent)
    : QDialog(parent), logic_(document, index), port_(port) {
    setObjectName("fFilter");
    const FilterSetup& setup = logic_.Setup();
    setWindowTitle(qt(setup.caption));

    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addLayout(buildPreviews());
    if (setup.sliderCount > 0) layout->addLayout(buildSliders());
    if (!setup.option.empty() || setup.colours != ColourFrame::None)
        layout->addLayout(buildOptionRow());
    if (setup.glassFrame) layout->addWidget(buildGlassFrame());
    if (setup.curtainFrame) layout->addWidget(buildCurtainFrame());
    if (setup.banksFrame) layout->addWidget(buildBanksFrame());
    layout->addLayout(buildButtons());

    if (isrc_->showsMarker) {
        markerTimer_ = new QTimer(this);
        markerTimer_->setObjectName("tmrSelect");
        connect(markerTimer_, &QTimer::timeout, this, [this] {
            logic_.tmrSelect();
            isrc_->update();
        });
        markerTimer_->start(kMarkerBlinkMs);
    }
    // The destination shows the starting values' effect at once. A filter that fails on this
    // picture says so at the user's first change instead of before the dialog has appeared.
    try {
        logic_.ApplyFilter(logic_.Index());
    } catch (const RuntimeError&) {
    } catch (const std::bad_alloc&) {
    }
    showValues();
}

void fFilterDialog::setProgress(cBitFilter::ProgressCallback progress) {
    logic_.SetProgress(std::move(progress));
}

void fFilterDialog::setThreads(int threads) {
    logic_.SetThreads(threads);
}

QLayout* fFilterDialog::buildPreviews() {
    const auto framed = [this](PreviewBox* box, const char* name) {
        box->setObjectName(name);
        auto* frame = new QFrame(this);
        frame->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
        const int border = frame->frameWidth();
        frame->setFixedSize(fFilter::kPreviewMaxWidth + 2 * border,
                            fFilter::kPreviewMaxHeight + 2 * border);
        auto* inside = new QGridLayout(frame);
        inside->setContentsMargins(border, border, border, border);
        inside->addWidget(box, 0, 0, Qt::AlignCenter);
        return frame;
    };
    isrc_ = new PreviewBox(logic_, PreviewBox::Shows::Source, this);
    iDst_ = new PreviewBox(logic_, PreviewBox::Shows::Result, this);

    const FilterSetup& setup = logic_.Setup();
    if (setup.pickedPoint || setup.colours == ColourFrame::Colours) {
        isrc_->showsMarker = true;
        isrc_->setCursor(Qt::CrossCursor);
        isrc_->onPick = [this](QPoint at) { runEvent([&] { logic_.PickPoint(at.x(), at.y()); }); };
    }

    auto* row = new QHBoxLayout;
    row->addWidget(framed(isrc_, "isrc"));
    row->addWidget(framed(iDst_, "iDst"));
    return row;
}

QLayout* fFilterDialog::buildSliders() {
    auto* grid = new QGridLayout;
    grid->setColumnMinimumWidth(1, kSliderWidth);
    const auto sliders = logic_.Setup().Sliders();
    for (int i = 0; i < static_cast<int>(sliders.size()); ++i) {
        const SliderSetup& s = sliders[static_cast<std::size_t>(i)];
        auto* slider = new QSlider(Qt::Horizontal, this);
        slider->setObjectName(QString("slider%1").arg(i));
        slider->setRange(s.ControlMin(), s.ControlMax());
        slider->setValue(logic_.SliderValue(i));
        auto* value = new QLabel(this);
        value->setObjectName(QString("value%1").arg(i));
        value->setMinimumWidth(kValueLabelWidth);
        value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        valueLabels_[static_cast<std::size_t>(i)] = value;
        auto* label = new QLabel(qt(s.label), this);
        label->setBuddy(slider);
        grid->addWidget(label, i, 0);
        grid->addWidget(slider, i, 1);
        grid->addWidget(value, i, 2);
        connect(slider, &QSlider::valueChanged, this,
                [this, i](int v) { runEvent([&] { logic_.SetSlider(i, v); }); });
    }
    return grid;
}

QLayout* fFilterDialog::buildOptionRow() {
    const FilterSetup& setup = logic_.Setup();
    auto* row = new QHBoxLayout;
    if (!setup.option.empty()) {
        auto* option = new QCheckBox(qt(setup.option), this);
        option->setObjectName("chkOption");
        option->setChecked(logic_.Values().option);
        connect(option, &QCheckBox::toggled, this,
                [this](bool on) { runEvent([&] { logic_.SetOption(on); }); });
        row->addWidget(option);
    }
    row->addStretch();
    // One colour is Col 1; two are the key Col 0 (also picked from the source) and Col 1.
    const int first = setup.colours == ColourFrame::Colours ? 0 : 1;
    const int last = setup.colours == ColourFrame::None ? 0 : 1;
    for (int which = first; which <= last; ++which) {
        auto* swatch = new QPushButton(this);
        swatch->setObjectName(QString("Col%1").arg(which));
        connect(swatch, &QPushButton::clicked, this, [this, which] { chooseColour(which); });
        swatches_[static_cast<std::size_t>(which)] = swatch;
        row->addWidget(swatch);
    }
    return row;
}

QWidget* fFilterDialog::buildGlassFrame() {
    auto* frame = new QGroupBox(this);
    auto* row = new QHBoxLayout(frame);
    auto* styles = new QButtonGroup(frame);
    const auto names = GlassStyles();
    for (int id = 0; id < static_cast<int>(names.size()); ++id) {
        auto* radio = new QRadioButton(qt(names[static_cast<std::size_t>(id)]), frame);
        radio->setObjectName(QString("optGlass%1").arg(id));
        radio->setChecked(names[static_cast<std::size_t>(id)] == logic_.Values().glassStyle);
        styles->addButton(radio, id);
        row->addWidget(radio);
    }
    connect(styles, &QButtonGroup::idClicked, this, [this](int id) {
        runEvent([&] { logic_.SetGlassStyle(GlassStyles()[static_cast<std::size_t>(id)]); });
    });
    row->addStretch();
    auto* modes = new QComboBox(frame);
    modes->setObjectName("cmbGlassMode");
    for (std::string_view mode : GlassModes())
        modes->addItem(qt(mode));
    modes->setCurrentIndex(logic_.Values().p[0]);
    connect(modes, &QComboBox::currentIndexChanged, this,
            [this](int mode) { runEvent([&] { logic_.SetGlassMode(mode); }); });
    row->addWidget(modes);
    return frame;
}

QWidget* fFilterDialog::buildCurtainFrame() {
    auto* frame = new QGroupBox(this);
    auto* row = new QHBoxLayout(frame);
    for (const CurtainButton& b : CurtainButtons()) {
        auto* button = new QPushButton(qt(b.caption), frame);
        button->setObjectName("cmdCurtain" + qt(b.caption));
        button->setAutoDefault(false);
        const int buttonIndex = b.index;
        connect(button, &QPushButton::clicked, this,
                [this, buttonIndex] { runEvent([&] { logic_.SetCurtain(buttonIndex); }); });
        row->addWidget(button);
    }
    return frame;
}

QWidget* fFilterDialog::buildBanksFrame() {
    auto* frame = new QGroupBox(this);
    auto* grid = new QGridLayout(frame);
    for (int output = 0; output < 3; ++output) {
        const auto o = static_cast<std::size_t>(output);
        grid->addWidget(new QLabel(qt(kOutputNames[o]), frame), output, 0);
        // A group per output: the nine radios share one parent but make three choices.
        auto* sources = new QButtonGroup(frame);
        for (std::size_t column = 0; column < kSourcesInRowOrder.size(); ++column) {
            const int source = kSourcesInRowOrder[column];
            auto* radio =
                new QRadioButton(qt(kChannelNames[static_cast<std::size_t>(source)]), frame);
            radio->setObjectName(QString("optBank%1%2").arg(output).arg(source));
            sources->addButton(radio, source);
            grid->addWidget(radio, output, static_cast<int>(column) + 1);
        }
        connect(sources, &QButtonGroup::idClicked, this, [this, output](int source) {
            runEvent([&] { logic_.SetBankSource(output, source); });
        });
        bankSources_[o] = sources;

        auto* invert = new QCheckBox("Invert", frame);
        invert->setObjectName(QString("chkInvert%1").arg(output));
        connect(invert, &QCheckBox::toggled, this,
                [this, output](bool on) { runEvent([&] { logic_.SetBankInvert(output, on); }); });
        grid->addWidget(invert, output, 4);
        auto* kill = new QCheckBox("Kill", frame);
        kill->setObjectName(QString("chkKill%1").arg(output));
        connect(kill, &QCheckBox::toggled, this,
                [this, output](bool on) { runEvent([&] { logic_.SetBankKill(output, on); }); });
        grid->addWidget(kill, output, 5);
    }
    return frame;
}

QLayout* fFilterDialog::buildButtons() {
    auto* row = new QHBoxLayout;
    row->addStretch();
    auto* preview = new QPushButton("Real Time", this);
    preview->setObjectName("cmdPreview");
    preview->setAutoDefault(false);
    connect(preview, &QPushButton::clicked, this,
            [this] { runEvent([&] { logic_.cmdPreview(); }, true); });
    auto* ok = new QPushButton("OK", this);
    ok->setObjectName("cmdOK");
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &fFilterDialog::okClicked);
    auto* cancel = new QPushButton("Cancel", this);
    cancel->setObjectName("CmdCancel");
    cancel->setAutoDefault(false);
    connect(cancel, &QPushButton::clicked, this, &fFilterDialog::reject);
    row->addWidget(preview);
    row->addWidget(ok);
    row->addWidget(cancel);
    return row;
}

bool fFilterDialog::runEvent(const std::function<void()>& event, bool onDocument) {
    std::optional<RuntimeError> error;
    bool outOfMemory = false;
    {
        std::optional<BusyCursor> busy;
        if (onDocument) busy.emplace();
        try {
            event();
        } catch (const RuntimeError& e) {
            error = e;
        } catch (const std::bad_alloc&) {
            outOfMemory = true;
        }
    }
    // The controls show the logic's state before any message covers them.
    showValues();
    if (error) ShowRunTimeError(port_, *error);
    if (outOfMemory) port_.MsgBox("Out of memory", MsgIcon::Critical);
    return !error && !outOfMemory;
}

void fFilterDialog::showValues() {
    const DialogValues& values = logic_.Values();
    for (int i = 0; i < logic_.Setup().sliderCount; ++i)
        valueLabels_[static_cast<std::size_t>(i)]->setText(qt(logic_.ValueLabel(i)));
    if (swatches_[0]) showSwatch(*swatches_[0], values.col0);
    if (swatches_[1]) showSwatch(*swatches_[1], values.col1);
    // A source taken from another output moved that output's choice too.
    for (std::size_t o = 0; o < bankSources_.size(); ++o)
        if (bankSources_[o])
            if (QAbstractButton* chosen = bankSources_[o]->button(values.p[o]))
                chosen->setChecked(true);
    isrc_->update();
    iDst_->update();
}

void fFilterDialog::chooseColour(int which) {
    const DialogValues& values = logic_.Values();
    const QColor chosen =
        QColorDialog::getColor(qColourOf(which == 0 ? values.col0 : values.col1), this);
    if (!chosen.isValid()) return;
    runEvent([&] { logic_.SetColour(which, colourRefOf(chosen)); });
}

void fFilterDialog::okClicked() {
    if (!runEvent([&] { logic_.cmdOK(); }, true)) return;
    if (markerTimer_) markerTimer_->stop();
    QDialog::accept();
}

void fFilterDialog::reject() {
    logic_.CmdCancel();
    if (markerTimer_) markerTimer_->stop();
    QDialog::reject();
}

} // namespace velmar
