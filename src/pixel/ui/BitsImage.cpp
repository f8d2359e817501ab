#include "pixel/ui/BitsImage.h"

namespace velmar {

QImage bitsAsImage(Bits& bits) {
    if (!bits.IsAllocated() || bits.Width() == 0 || bits.Height() == 0) return {};
    return QImage(bits.Row(0), bits.Width(), bits.Height(), static_cast<qsizetype>(bits.Stride()),
                  QImage::Format_RGB32);
}

QImage bitsAsImage(const Bits& bits) {
    if (!bits.IsAllocated() || bits.Width() == 0 || bits.Height() == 0) return {};
    // The const constructor makes Qt copy on any write, so the array cannot be changed through it.
    return QImage(bits.Row(0), bits.Width(), bits.Height(), static_cast<qsizetype>(bits.Stride()),
                  QImage::Format_RGB32);
}

Bits bitsFromImage(const QImage& image) {
    if (image.isNull()) return {};
    const QImage rgb = image.format() == QImage::Format_RGB32
                           ? image
                           : image.convertToFormat(QImage::Format_RGB32);
    PictureView view{rgb.constScanLine(0), static_cast<std::ptrdiff_t>(rgb.bytesPerLine()),
                     rgb.width(), rgb.height()};
    Bits bits = TakeBitsFromPicture(view, rgb.width(), rgb.height());
    // The fourth byte of an RGB32 image is 0xFF; in Bits it is the mask and starts at 0.
    for (int y = 0; y < bits.Height(); ++y) {
        std::uint8_t* row = bits.Row(y);
        for (int x = 0; x < bits.Width(); ++x)
            row[x * 4 + 3] = 0;
    }
    return bits;
}

} // namespace velmar
