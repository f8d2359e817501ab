// The document's save: the writer by extension, the 24-bit rule, and the messages.
#include "formats/PCX.h"
#include "formats/PictureConverter.h"
#include "formats/gateway.h"
#include "port/ReplaceFile.h"

#include <cstdint>
#include <string>

namespace velmar {

namespace {

bool saveLibraryFile(FIBITMAP* image, const std::filesystem::path& target, int format, int flags) {
    return ReplaceFileWith(target, [&](const std::filesystem::path& temp) {
        return FreeImage_Save(static_cast<FREE_IMAGE_FORMAT>(format), image, temp.c_str(), flags) !=
               FALSE;
    });
}

// The 24-bit library image of the picture: what building it at 32 bits and converting it to 24
// gives, byte for byte, without holding a second 32-bit copy of a large picture on the way.
LibraryImage colourImageOf(const Bits& picture) {
    const int w = picture.Width(), h = picture.Height();
    if (w < 1 || h < 1) return {};
    LibraryImage made(FreeImage_Allocate(w, h, 24, 0, 0, 0));
    if (!made || FreeImage_GetBits(made.get()) == nullptr) return {};
    for (int y = 0; y < h; ++y) {
        const std::uint8_t* in = picture.Row(y);
        std::uint8_t* out = FreeImage_GetScanLine(made.get(), h - 1 - y);
        for (int x = 0; x < w; ++x) {
            out[3 * x] = in[4 * x];
            out[3 * x + 1] = in[4 * x + 1];
            out[3 * x + 2] = in[4 * x + 2];
        }
    }
    return made;
}

const PnmVariant* pnmVariantFor(unsigned bpp) {
    for (const PnmVariant& v : PnmVariants())
        if (v.bpp == bpp) return &v;
    return nullptr;
}

} // namespace

SaveResult SaveDocumentPicture(const Bits& Picture, const std::filesystem::path& Path,
                               std::string Extension, UserPort& Port) {
    if (!Picture.IsAllocated()) return SaveResult::NotWritten;
    const std::optional<SaveRow> row = FindSaver(Extension);
    // An extension the table does not name writes nothing and says nothing.
    if (!row) return SaveResult::NotWritten;
    // Any writer's failure is told the same way: a silent failure would let the user believe
    // the picture was saved.
    const auto failed = [&] {
        Port.MsgBox(kSaveErrorText, MsgIcon::Critical, MsgButtons::Ok, kSaveErrorCaption);
        return SaveResult::Failed;
    };

    // The writers that take the picture itself need no library image, so they go first.
    switch (row->writer) {
    case SaveWriter::TurnedOff:
        Port.MsgBox(kTurnedOffText, MsgIcon::Information, MsgButtons::Ok, kAppTitle);
        return SaveResult::NotWritten;
    case SaveWriter::PictureConverter:
        return PictureConverter().ConvertPicture(Picture, Path, kFileGif, kColorModeColors, 8,
                                                 kPaletteOptimal, kDitherNone)
                   ? SaveResult::Written
                   : failed();
    case SaveWriter::Pcx:
        return PCX().SavePCXinFile(Path, Picture, true) ? SaveResult::Written : failed();
    case SaveWriter::Library:
    case SaveWriter::Pnm:
        break;
    }

    ModFreeImage mod;
    const FreeImageSession session = mod.FreeImage_InitErrorHandler();
    // Everything the library writes gets 24 bits.
    const LibraryImage image = colourImageOf(Picture);
    if (!image) return failed();

    if (row->writer == SaveWriter::Library)
        return saveLibraryFile(image.get(), Path, row->format, row->flags) ? SaveResult::Written
                                                                           : failed();

    const PnmVariant* variant = pnmVariantFor(FreeImage_GetBPP(image.get()));
    if (variant == nullptr) return SaveResult::NotWritten;
    // The letters follow the path as it was given; the caller ends it in a point.
    const std::filesystem::path target = Path.native() + std::string(variant->letters);
    if (!saveLibraryFile(image.get(), target, variant->format, 0)) return failed();
    Port.MsgBox(std::string(variant->message), MsgIcon::Information, MsgButtons::Ok, kPnmCaption);
    return SaveResult::Written;
}

} // namespace velmar
