// The batch converter: its tables, its names, one file's conversion, and the runner that spreads
// a selection over threads.
#include "export/BatchConvert.h"

#include "formats/ModFreeImage.h"
#include "formats/PCX.h"
#include "formats/PictureConverter.h"
#include "formats/gateway.h"
#include "port/ReplaceFile.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

namespace velmar {

namespace {

using enum BatchWriter;

constexpr BatchFormat kFormats[] = {
    {"GIF-64 Colors", "gif", Converter, 6},
    {"GIF-128 Colors", "gif", Converter, 7},
    {"GIF-256 Colors", "gif", Converter, 8},
    {"JPEG - Bad Quality", "jpg", Jpeg, JPEG_QUALITYBAD},
    {"JPEG - Average Quality", "jpg", Jpeg, JPEG_QUALITYAVERAGE},
    {"JPEG - Normal Quality", "jpg", Jpeg, JPEG_QUALITYNORMAL},
    {"JPEG - Good Quality", "jpg", Jpeg, JPEG_QUALITYGOOD},
    {"JPEG - Superb Quality", "jpg", Jpeg, JPEG_QUALITYSUPERB},
    {"BMP-16 bit", "bmp", Converter, 16},
    {"BMP-24 bit", "bmp", Converter, 24},
    {"PNG-24 bit", "png", Document, 0},
    {"TGA-24 bit", "tga", Document, 0},
    {"TIFF-24 bit", "tif", Document, 0},
    {"ASCII based bitmap types (PPM,PBM,PGM)", "pnm", Pnm, 0},
    {"PCX-24 bit (Uncompressed)", "pcx", Pcx, 0},
};

constexpr std::string_view kColourEntries[] = {"Color", "GreyScale"};

constexpr std::string_view kSaveAllFileTypes[] = {
    "Windows Bitmap File (*.bmp)",
    "Graphical Interface Format (*.GIF)",
    "Independent JPEG Group (*.JPG)",
    "Portable Network Graphics (*.PNG)",
    "Targa files (*.TGA)",
    "Tagged Image File Format (*.TIF)",
    "ASCII bitmap format(*.ppm)(*.pgm)(*.pbm)",
};

// The depth a picture has once it is held as a screen picture: what the library gets for
// every format whose depth nothing else decides.
constexpr unsigned kHeldDepth = 24;

BatchOutcome failed(std::string reason) {
    return {BatchResult::Failed, {}, std::move(reason)};
}

BatchOutcome written(std::filesystem::path file) {
    return {BatchResult::Written, std::move(file), {}};
}

// The port of the document's save route during a batch: the user hears nothing, and the text
// the route would have shown becomes the reason of the file's outcome.
class ReasonPort final : public UserPort {
  public:
    std::string reason;
    MsgResult MsgBox(const std::string& text, MsgIcon, MsgButtons, const std::string&) override {
        reason = text;
        return MsgResult::Ok;
    }
    bool SetClipboardPicture(const ClipboardPicture&) override { return false; }
};

bool readWholeFile(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

// The depth of the library image the site's loader makes of the source, read from its header
// alone. The PNM rule follows the source's depth, so that a 1-bit picture stays a bitmap. Only
// called after the gateway has loaded the same bytes whole, so the header is known to hold;
// where the header cannot tell, the picture counts at the depth it is held in.
unsigned sourceDepth(const std::filesystem::path& source) {
    const std::optional<LoaderRow> row = FindLoader(ExtensionOf(source), LoadSite::BatchConverter);
    std::vector<std::uint8_t> bytes;
    if (!row || !readWholeFile(source, bytes) || bytes.empty()) return kHeldDepth;
    if (row->route == LoadRoute::Pcx && PcxIsTrueColour(bytes)) return 24;

    ModFreeImage mod;
    const FreeImageSession session = mod.FreeImage_InitErrorHandler();
    FIMEMORY* memory = FreeImage_OpenMemory(bytes.data(), static_cast<DWORD>(bytes.size()));
    if (memory == nullptr) return kHeldDepth;
    auto format = static_cast<FREE_IMAGE_FORMAT>(row->format);
    if (row->route == LoadRoute::ProbedLibrary)
        format = FreeImage_GetFileTypeFromMemory(memory, 16);
    unsigned depth = kHeldDepth;
    if (format != FIF_UNKNOWN && FreeImage_FIFSupportsNoPixels(format)) {
        const LibraryImage header(
            FreeImage_LoadFromMemory(format, memory, row->flags | FIF_LOAD_NOPIXELS));
        if (header && FreeImage_GetImageType(header.get()) == FIT_BITMAP)
            depth = FreeImage_GetBPP(header.get());
        else if (header)
            depth = 0; // 16-bit grey, floats and the like have no ASCII form
    }
    FreeImage_CloseMemory(memory);
    return depth;
}

// The picture as a 24-bit library image: a 32-bit one first, then converted, as every save
// through the library receives it.
LibraryImage colourImage(const Bits& picture, ModFreeImage& mod) {
    FIBITMAP* dib = nullptr;
    if (!mod.FreeImage_DIB_From_BMP(picture, dib)) return {};
    const LibraryImage full(dib);
    return LibraryImage(FreeImage_ConvertTo24Bits(full.get()));
}

bool saveLibraryFile(FIBITMAP* image, const std::filesystem::path& target, int format, int flags) {
    return ReplaceFileWith(target, [&](const std::filesystem::path& temp) {
        return FreeImage_Save(static_cast<FREE_IMAGE_FORMAT>(format), image, temp.c_str(), flags) !=
               FALSE;
    });
}

BatchOutcome writeJpeg(const Bits& picture, const std::filesystem::path& target, int quality) {
    ModFreeImage mod;
    const FreeImageSession session = mod.FreeImage_InitErrorHandler();
    const LibraryImage image = colourImage(picture, mod);
    if (!image) return failed("The picture could not be made into a library image.");
    return saveLibraryFile(image.get(), target, FIF_JPEG, quality)
               ? written(target)
               : failed("The JPEG file could not be written.");
}

// Black and white by a threshold at the middle grey, with index 1 black: the library's PBM
// writer stores the pixel bits as they are, and in PBM a set bit is black.
LibraryImage bilevelImage(FIBITMAP* colour) {
    LibraryImage bilevel(FreeImage_Threshold(colour, 128));
    RGBQUAD* palette = bilevel ? FreeImage_GetPalette(bilevel.get()) : nullptr;
    if (palette == nullptr || !FreeImage_Invert(bilevel.get())) return {};
    palette[0] = {255, 255, 255, 0};
    palette[1] = {0, 0, 0, 0};
    return bilevel;
}

// The library image at the source's depth: 1 bit by a threshold at the middle grey, 8 bits as
// greys, 24 and 32 bits in colour; nothing for any other depth.
LibraryImage pnmImage(const Bits& picture, unsigned depth, ModFreeImage& mod) {
    if (depth != 1 && depth != 8 && depth != 24 && depth != 32) return {};
    LibraryImage colour = colourImage(picture, mod);
    if (!colour || depth >= 24) return colour;
    if (depth == 1) return bilevelImage(colour.get());
    return LibraryImage(FreeImage_ConvertToGreyscale(colour.get()));
}

BatchOutcome writePnm(const Bits& picture, const std::filesystem::path& source,
                      const std::string& stem) {
    const unsigned depth = sourceDepth(source);
    ModFreeImage mod;
    const FreeImageSession session = mod.FreeImage_InitErrorHandler();
    const LibraryImage image = pnmImage(picture, depth, mod);
    const auto& variants = PnmVariants();
    const auto variant = std::find_if(variants.begin(), variants.end(), [&](const PnmVariant& v) {
        return image && v.bpp == FreeImage_GetBPP(image.get());
    });
    if (variant == variants.end())
        return {BatchResult::NotWritten,
                {},
                "A picture of " + std::to_string(depth) + " bits has no ASCII bitmap form."};
    const std::filesystem::path target = stem + std::string(variant->letters);
    return saveLibraryFile(image.get(), target, variant->format, 0)
               ? written(target)
               : failed("The ASCII bitmap file could not be written.");
}

BatchOutcome writeWithConverter(const Bits& picture, const std::filesystem::path& target,
                                const BatchFormat& format, int colourIndex) {
    const bool gif = format.extension == "gif";
    PictureConverter converter;
    if (converter.ConvertPicture(
            picture, target, gif ? kFileGif : kFileBmp,
            colourIndex == kBatchGreyScale ? kColorModeGreyscale : kColorModeColors, format.setting,
            gif ? kPaletteOptimal : kPalettePlatform, kDitherNone))
        return written(target);
    return failed(converter.LastError());
}

BatchOutcome writeByDocumentRoute(const Bits& picture, const std::filesystem::path& target,
                                  std::string_view extension) {
    ReasonPort port;
    switch (SaveDocumentPicture(picture, target, std::string(extension), port)) {
    case SaveResult::Written:
        return written(target);
    case SaveResult::NotWritten:
        return {BatchResult::NotWritten, {}, "The save route writes nothing for this format."};
    case SaveResult::Failed:
        break;
    }
    return failed(port.reason);
}

} // namespace

std::span<const BatchFormat> BatchFormats() {
    return kFormats;
}

std::span<const std::string_view> BatchColourEntries() {
    return kColourEntries;
}

std::vector<std::filesystem::path> BatchSourceFiles(const std::filesystem::path& Folder) {
    std::vector<std::filesystem::path> files;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(Folder, ec), end; !ec && it != end;
         it.increment(ec)) {
        std::error_code typeError;
        if (it->is_regular_file(typeError) &&
            FindLoader(ExtensionOf(it->path()), LoadSite::BatchConverter))
            files.push_back(it->path());
    }
    std::sort(files.begin(), files.end(),
              [](const auto& a, const auto& b) { return a.filename() < b.filename(); });
    return files;
}

bool CheckBatchTarget(std::string_view Folder, std::string_view Name, UserPort& Port) {
    if (Folder.empty()) {
        Port.MsgBox(kBatchNoFolderText, MsgIcon::Information, MsgButtons::Ok, kAppTitle);
        return false;
    }
    if (Name.empty()) {
        Port.MsgBox(kBatchNoNameText, MsgIcon::Information, MsgButtons::Ok, kAppTitle);
        return false;
    }
    return true;
}

std::string FolderWithSeparator(std::string_view Folder) {
    std::string folder(Folder);
    if (folder.empty() || folder.back() != '/') folder += '/';
    return folder;
}

std::string BatchStem(std::string_view Folder, std::string_view Name, int Row) {
    return FolderWithSeparator(Folder) + std::string(Name) + std::to_string(Row) + ".";
}

BatchOutcome BatchConvert(const std::filesystem::path& Source, const std::string& Stem,
                          const std::filesystem::path& Target, int FormatIndex, int ColourIndex) {
    if (FormatIndex < 0 || FormatIndex >= static_cast<int>(std::size(kFormats)))
        return failed("There is no format " + std::to_string(FormatIndex) + ".");
    const BatchFormat& format = kFormats[FormatIndex];
    ModFreeImage diagnostics;
    const std::optional<Bits> picture =
        LoadPictureFile(Source, LoadSite::BatchConverter, &diagnostics);
    if (!picture)
        return failed(diagnostics.LastError().empty() ? "The picture could not be loaded."
                                                      : diagnostics.LastError());
    switch (format.writer) {
    case Converter:
        return writeWithConverter(*picture, Target, format, ColourIndex);
    case Jpeg:
        return writeJpeg(*picture, Target, format.setting);
    case Document:
        return writeByDocumentRoute(*picture, Target, format.extension);
    case Pnm:
        return writePnm(*picture, Source, Stem);
    case Pcx:
        // The caption says uncompressed, but every PCX the program writes is run-length
        // encoded; the caption names the 24 bits, as the optimizer's PCX entries do.
        return PCX().SavePCXinFile(Target, *picture, true)
                   ? written(Target)
                   : failed("The PCX file could not be written.");
    }
    return failed("There is no format " + std::to_string(FormatIndex) + ".");
}

// ---- the runner ----

namespace {

struct Job {
    std::filesystem::path source;
    std::string stem;
    std::filesystem::path target;
};

BatchOutcome convertJob(const Job& job, int formatIndex, int colourIndex) {
    // One file's trouble, even running out of memory on a huge picture, must not end the batch.
    try {
        return BatchConvert(job.source, job.stem, job.target, formatIndex, colourIndex);
    } catch (const std::exception& e) {
        return failed(e.what());
    }
}

// Each worker takes the next file from one counter, so a large file does not hold up the small
// ones behind it. Every file is converted by one thread from start to end with its own library
// sessions and converter, which is why its output does not depend on what runs beside it.
std::vector<BatchOutcome> convertOnThreads(const std::vector<Job>& jobs, int formatIndex,
                                           int colourIndex, unsigned workers) {
    std::vector<BatchOutcome> outcomes(jobs.size());
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i; (i = next.fetch_add(1)) < jobs.size();)
            outcomes[i] = convertJob(jobs[i], formatIndex, colourIndex);
    };
    // The library stays initialised for the whole batch, so the sessions of single files only
    // count up and down and never load and drop the plug-ins while another file is using them.
    ModFreeImage mod;
    const FreeImageSession session = mod.FreeImage_InitErrorHandler();
    std::vector<std::jthread> helpers;
    for (unsigned k = 1; k < workers; ++k) {
        try {
            helpers.emplace_back(work);
        } catch (const std::system_error&) {
            break; // fewer threads only make the batch slower
        }
    }
    work();
    // The helpers finish their files before the outcomes are handed back.
    for (std::jthread& helper : helpers)
        helper.join();
    return outcomes;
}

} // namespace

unsigned DefaultBatchWorkers() {
    return std::max(1u, std::thread::hardware_concurrency());
}

std::optional<std::vector<BatchOutcome>>
BatchConvertRows(std::span<const BatchRow> Rows, std::string_view Folder, std::string_view Name,
                 int FormatIndex, int ColourIndex, UserPort& Port, unsigned Workers) {
    if (!CheckBatchTarget(Folder, Name, Port)) return std::nullopt;
    const bool known = FormatIndex >= 0 && FormatIndex < static_cast<int>(std::size(kFormats));
    const std::string_view extension = known ? kFormats[FormatIndex].extension : "";
    std::vector<Job> jobs;
    jobs.reserve(Rows.size());
    for (const BatchRow& row : Rows) {
        std::string stem = BatchStem(Folder, Name, row.row);
        std::filesystem::path target = stem + std::string(extension);
        jobs.push_back({row.source, std::move(stem), std::move(target)});
    }
    const auto workers =
        static_cast<unsigned>(std::min<std::size_t>(std::max(1u, Workers), jobs.size()));
    return convertOnThreads(jobs, FormatIndex, ColourIndex, workers);
}

// ---- fSaveAll ----

std::span<const std::string_view> SaveAllFileTypes() {
    return kSaveAllFileTypes;
}

std::string SaveAllExtension(int FileType) {
    if (FileType < 0 || FileType >= static_cast<int>(std::size(kSaveAllFileTypes))) return {};
    // The first "(*." of the caption opens the extension; the ASCII entry names ppm first, and
    // the save route turns a ppm name into the letters of the picture's depth.
    const std::string_view caption = kSaveAllFileTypes[FileType];
    const std::size_t from = caption.find("(*.") + 3;
    return std::string(caption.substr(from, caption.find(')', from) - from));
}

std::string SaveAllFrameName(std::string_view Folder, std::string_view Name, int Frame,
                             int FileType) {
    return FolderWithSeparator(Folder) + std::string(Name) + std::to_string(Frame) + "." +
           SaveAllExtension(FileType);
}

} // namespace velmar
