// The document's save: the writer by extension, the 32-then-24 rule, and the messages.
#include "formats/PCX.h"
#include "formats/PictureConverter.h"
#include "formats/gateway.h"
#include "port/ReplaceFile.h"

#include <string>

namespace velmar {

namespace {

bool saveLibraryFile(FIBITMAP* image, const std::filesystem::path& target, int format, int flags) {
    return ReplaceFileWith(target, [&](const std::filesystem::path& temp) {
        return FreeImage_Save(static_cast<FREE_IMAGE_FORMAT>(format), image, temp.c_str(), flags) !=
               FALSE;
    });
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
    FIBITMAP* made = nullptr;
    if (!mod.FreeImage_DIB_From_BMP(Picture, made)) return failed();
    LibraryImage image(made);
    // The library image starts at 32 bits; everything the library writes gets 24.
    if (FreeImage_GetBPP(image.get()) == 32) {
        image.reset(FreeImage_ConvertTo24Bits(image.get()));
        if (!image) return failed();
    }

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
