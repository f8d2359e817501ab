#include "shell/ui/printPicture.h"

#include "document/fImage.h"
#include "pixel/ui/BitsImage.h"

#include <QPainter>
#include <QPrinter>

namespace velmar {

bool PrintPicture(QPrinter& printer, const fImage& doc) {
    if (!doc.PictureExists()) return false;
    const QImage picture = bitsAsImage(doc.Bits());
    if (picture.isNull()) return false;
    QPainter painter;
    if (!painter.begin(&printer)) return false;
    const QRect page = painter.viewport();
    const QSize fitted = picture.size().scaled(page.size(), Qt::KeepAspectRatio);
    const QRect target(page.x() + (page.width() - fitted.width()) / 2,
                       page.y() + (page.height() - fitted.height()) / 2, fitted.width(),
                       fitted.height());
    // Pixels stay sharp squares on paper, as on the screen.
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.drawImage(target, picture);
    return painter.end();
}

} // namespace velmar
