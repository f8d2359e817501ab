#include "shell/ui/fSplash.h"

#include "shell/ui/widgetParts.h"
#include "shell/version.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

namespace velmar {

namespace {

constexpr QSize kArtworkSize{440, 240};

QString versionLine() {
    return "Version " + QtText(productVersion());
}

// The artwork: a deep blue to violet gradient with a soft light band, the product's name,
// the version and a footer line.
void paintArtwork(QPainter& p, const QRect& area, const QString& footer) {
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(area.topLeft(), area.bottomRight());
    sky.setColorAt(0.0, QColor(18, 32, 84));
    sky.setColorAt(0.55, QColor(64, 40, 128));
    sky.setColorAt(1.0, QColor(150, 60, 140));
    p.fillRect(area, sky);

    QLinearGradient band(area.topLeft(), area.topRight());
    band.setColorAt(0.0, QColor(255, 255, 255, 0));
    band.setColorAt(0.5, QColor(255, 255, 255, 60));
    band.setColorAt(1.0, QColor(255, 255, 255, 0));
    const int bandTop = area.top() + area.height() * 3 / 5;
    p.fillRect(QRect(area.left(), bandTop, area.width(), 3), band);

    QFont title = p.font();
    title.setPointSizeF(title.pointSizeF() * 2.2);
    title.setBold(true);
    p.setFont(title);
    p.setPen(Qt::white);
    const QRect titleArea(area.left() + 24, area.top() + 30, area.width() - 48, area.height() / 2);
    p.drawText(titleArea, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap,
               QtText(productName()));

    QFont small = p.font();
    small.setPointSizeF(small.pointSizeF() / 2.2);
    small.setBold(false);
    p.setFont(small);
    p.setPen(QColor(230, 225, 255));
    const QRect lower(area.left() + 24, bandTop + 12, area.width() - 48, area.bottom() - bandTop);
    p.drawText(lower, Qt::AlignLeft | Qt::AlignTop, versionLine());
    p.drawText(lower.adjusted(0, 0, 0, -12), Qt::AlignLeft | Qt::AlignBottom, footer);
}

// The artwork as a widget of the About box.
class Artwork : public QWidget {
  public:
    explicit Artwork(QWidget* parent) : QWidget(parent) { setFixedSize(kArtworkSize); }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        paintArtwork(p, rect(), QString());
    }
};

} // namespace

fSplash::fSplash(QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
    setObjectName("fSplash");
    setFixedSize(kArtworkSize);
}

void fSplash::showSplash() {
    if (const QScreen* screen = QApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
    show();
    raise();
    repaint();
    QApplication::processEvents();
}

void fSplash::paintEvent(QPaintEvent*) {
    QPainter p(this);
    paintArtwork(p, rect(), "Loading...");
}

void fSplash::ShowAbout(QWidget* parent) {
    QDialog about(parent);
    about.setObjectName("fAbout");
    about.setWindowTitle("About Velmar Kestrin");
    auto* name = new QLabel(QtText(productName()) + "\n" + versionLine(), &about);
    name->setObjectName("lblVersion");
    name->setAlignment(Qt::AlignCenter);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, &about);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &about, &QDialog::accept);
    auto* layout = new QVBoxLayout(&about);
    layout->addWidget(new Artwork(&about));
    layout->addWidget(name);
    layout->addWidget(buttons);
    about.exec();
}

} // namespace velmar
