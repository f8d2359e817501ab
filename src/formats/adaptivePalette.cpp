// The adaptive ("optimal") palette: libimagequant chooses the colours for the picture. Only the
// palette is taken from it; the mapping and the dithers are the converter's own, so that every
// palette mode dithers the same way.
#include "formats/converterParts.h"

#include <libimagequant.h>

#include <memory>

namespace velmar::converter {

namespace {

struct Source {
    const Bits* picture;
    bool greyscale;
};

// libimagequant reads the picture row by row through this, so no RGBA copy of a large picture
// is made. The mask byte is not transparency: every pixel is opaque.
void readRow(liq_color out[], int row, int width, void* user) {
    const auto* source = static_cast<const Source*>(user);
    const std::uint8_t* p = source->picture->Row(row);
    for (int x = 0; x < width; ++x, p += 4) {
        if (source->greyscale) {
            const std::uint8_t v = GreyOf(p[2], p[1], p[0]);
            out[x] = {v, v, v, 255};
        } else {
            out[x] = {p[2], p[1], p[0], 255};
        }
    }
}

struct AttrFree {
    void operator()(liq_attr* a) const { liq_attr_destroy(a); }
};
struct ImageFree {
    void operator()(liq_image* i) const { liq_image_destroy(i); }
};
struct ResultFree {
    void operator()(liq_result* r) const { liq_result_destroy(r); }
};

[[noreturn]] void failed(liq_error code) {
    if (code == LIQ_OUT_OF_MEMORY)
        throw ConverterFailure("There is not enough memory to make the optimal palette.");
    throw ConverterFailure("The optimal palette could not be made (libimagequant error " +
                           std::to_string(static_cast<int>(code)) + ").");
}

} // namespace

std::vector<PaletteColour> AdaptivePalette(const Bits& picture, bool greyscale, int colours) {
    std::unique_ptr<liq_attr, AttrFree> attr(liq_attr_create());
    if (!attr) failed(LIQ_OUT_OF_MEMORY);
    if (const liq_error e = liq_set_max_colors(attr.get(), colours); e != LIQ_OK) failed(e);

    Source source{&picture, greyscale};
    std::unique_ptr<liq_image, ImageFree> image(liq_image_create_custom(
        attr.get(), readRow, &source, picture.Width(), picture.Height(), 0));
    if (!image) failed(LIQ_OUT_OF_MEMORY);

    liq_result* raw = nullptr;
    if (const liq_error e = liq_image_quantize(image.get(), attr.get(), &raw); e != LIQ_OK)
        failed(e);
    std::unique_ptr<liq_result, ResultFree> result(raw);

    const liq_palette* palette = liq_get_palette(result.get());
    std::vector<PaletteColour> out;
    out.reserve(palette->count);
    for (unsigned i = 0; i < palette->count; ++i) {
        const liq_color& c = palette->entries[i];
        // The quantizer works in linear light; a grey input must still give exact greys.
        if (greyscale)
            out.push_back({c.g, c.g, c.g});
        else
            out.push_back({c.r, c.g, c.b});
    }
    return out;
}

} // namespace velmar::converter
