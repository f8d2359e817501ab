// The gateway's tables: loaders by extension with the sites that have them, the document's
// writers by extension, and the three forms of the pnm branch. Everything that routes a file
// reads these rows; nothing else names an extension.
#include "formats/gateway.h"

#include <algorithm>

namespace velmar {

namespace {

constexpr std::uint8_t at(LoadSite site) {
    return static_cast<std::uint8_t>(1u << static_cast<unsigned>(site));
}

using enum LoadSite;
using enum LoadRoute;

constexpr std::uint8_t kEverySite = (1u << kLoadSiteCount) - 1;
constexpr std::uint8_t kAlbums = at(AlbumFolder) | at(AlbumTree) | at(AlbumPreview);
// Sites that send these names to the picture loader before they look at the table.
constexpr std::uint8_t kPictureLoaderSites = at(MainFrameOpen) | at(BatchConverter) | kAlbums;
// The picture loader takes ico at these sites, so only the others reach the library's loader.
constexpr std::uint8_t kIcoPictureSites = at(MainFrameOpen) | kAlbums;

// Flags of the picture-loader rows are ours: a GIF is played to its first frame on the whole
// logical screen, and an icon's AND mask becomes transparency, as the platform loader drew them.
constexpr LoaderRow kLoaders[] = {
    // The platform picture loader, first where a site has it.
    {"gif", PictureLoader, FIF_GIF, GIF_PLAYBACK, kPictureLoaderSites},
    {"wmf", PictureLoader, FIF_UNKNOWN, 0, kPictureLoaderSites},
    {"emf", PictureLoader, FIF_UNKNOWN, 0, kPictureLoaderSites},
    {"ico", PictureLoader, FIF_ICO, ICO_MAKEALPHA, kIcoPictureSites},
    {"cur", PictureLoader, FIF_ICO, ICO_MAKEALPHA, at(MainFrameOpen) | at(AlbumPreview)},
    {"dib", PictureLoader, FIF_BMP, 0, kPictureLoaderSites},

    // The library's loaders.
    {"bmp", Library, FIF_BMP, 0, kEverySite},
    {"rle", Library, FIF_BMP, 0, kEverySite},
    {"cut", Library, FIF_CUT, 0, kEverySite},
    {"ico", Library, FIF_ICO, 0, kEverySite & ~kIcoPictureSites & ~at(ProjectGenerator)},
    {"iff", Library, FIF_LBM, 0, kEverySite},
    {"jpg", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jpe", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jif", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jpeg", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jiff", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jff", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jfi", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jfif", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite & ~at(AlbumTree)},
    // JBIG names go to the JPEG decoder too; a real JBIG file fails there.
    {"jbig", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jbg", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite},
    {"jtif", Library, FIF_JPEG, JPEG_ACCURATE, kEverySite & ~at(AlbumTree)},
    {"koa", Library, FIF_KOALA, 0, kEverySite},
    {"lbm", Library, FIF_LBM, 0, kEverySite},
    {"mng", Library, FIF_MNG, 0, kEverySite},
    {"pcd", Library, FIF_PCD, 0, kEverySite},
    {"pcx", Pcx, FIF_PCX, 0, kEverySite},
    {"png", Library, FIF_PNG, 0, kEverySite},
    // The document's loader alone sends sgi to the PNG loader.
    {"sgi", Library, FIF_PNG, 0, at(Document)},
    {"psd", Library, FIF_PSD, 0, kEverySite},
    {"pdd", Library, FIF_PSD, 0, kEverySite},
    {"ras", Library, FIF_RAS, 0, kEverySite},
    {"sun", Library, FIF_RAS, 0, kEverySite & ~at(BatchConverter)},
    {"tga", Library, FIF_TARGA, TARGA_LOAD_RGB888, kEverySite},
    {"vda", Library, FIF_TARGA, TARGA_LOAD_RGB888, kEverySite},
    {"icb", Library, FIF_TARGA, TARGA_LOAD_RGB888, kEverySite},
    {"vst", Library, FIF_TARGA, TARGA_LOAD_RGB888, kEverySite},
    {"targa", Library, FIF_TARGA, TARGA_LOAD_RGB888, kEverySite},
    {"tif", Library, FIF_TIFF, 0, kEverySite},
    {"tiff", Library, FIF_TIFF, 0, kEverySite},
    {"wbmp", Library, FIF_WBMP, 0, kEverySite},
    // One PNM loader reads all three; it goes by the magic number in the file.
    {"pbm", Library, FIF_PBM, 0, kEverySite},
    {"pgm", Library, FIF_PGM, 0, kEverySite},
    {"ppm", Library, FIF_PPM, 0, kEverySite},
    {"jng", ProbedLibrary, FIF_UNKNOWN, 0, kEverySite & ~at(ProjectGenerator)},
};

constexpr SaveRow kSavers[] = {
    {"png", SaveWriter::Library, FIF_PNG, 0},
    {"gif", SaveWriter::PictureConverter, FIF_UNKNOWN, 0},
    {"jpg", SaveWriter::Library, FIF_JPEG, JPEG_QUALITYGOOD},
    {"jpeg", SaveWriter::Library, FIF_JPEG, JPEG_QUALITYGOOD},
    {"jpe", SaveWriter::Library, FIF_JPEG, JPEG_QUALITYGOOD},
    {"jif", SaveWriter::Library, FIF_JPEG, JPEG_QUALITYGOOD},
    {"jiff", SaveWriter::Library, FIF_JPEG, JPEG_QUALITYGOOD},
    {"ico", SaveWriter::TurnedOff, FIF_UNKNOWN, 0},
    {"bmp", SaveWriter::Library, FIF_BMP, 0},
    {"rle", SaveWriter::Library, FIF_BMP, 0},
    {"dib", SaveWriter::Library, FIF_BMP, 0},
    {"tif", SaveWriter::Library, FIF_TIFF, 0},
    {"tiff", SaveWriter::Library, FIF_TIFF, 0},
    {"pcx", SaveWriter::Pcx, FIF_PCX, 0},
    {"pnm", SaveWriter::Pnm, FIF_UNKNOWN, 0},
    {"tga", SaveWriter::Library, FIF_TARGA, 0},
    {"vda", SaveWriter::Library, FIF_TARGA, 0},
    {"vst", SaveWriter::Library, FIF_TARGA, 0},
    {"icb", SaveWriter::Library, FIF_TARGA, 0},
    {"targa", SaveWriter::Library, FIF_TARGA, 0},
};

constexpr PnmVariant kPnmVariants[] = {
    {1, "pbm", FIF_PBM,
     "PBM, PGM and PPM: If the bitmap has a bit depth of 1, the "
     "file is saved as a PBM file. If the bitmap has a bit depth of 8, "
     "the file is saved as a PGM file. If the bitmap has a bit depth of 24, the "
     "file is saved as a PPM file. Other bit depths are not supported. The file you requested "
     "is saved as 1-bit (.pbm) format."},
    {8, "pgm", FIF_PGM,
     "types: PBM, PGM and PPM. If the bitmap has a bit depth of 1, the "
     "file is saved as a PBM file. If the bitmap has a bit depth of 8, "
     "the file is saved as a PGM file. If the bitmap has a bit depth of 24, the "
     "file is saved as a PPM file. Other bit depths are not supported. The file you requested "
     "is saved as 8-bit (.pgm) format."},
    {24, "ppm", FIF_PPM,
     "PBM, PGM and PPM: If the bitmap has a bit depth of 1, the "
     "file is saved as a PBM file. If the bitmap has a bit depth of 8, "
     "the file is saved as a PGM file. If the bitmap has a bit depth of 24, the "
     "file is saved as a PPM file. Other bit depths are not supported. The file you requested "
     "is saved as 24-bit True Color (.ppm) format."},
    {32, "ppm", FIF_PPM,
     "PBM, PGM and PPM: If the bitmap has a bit depth of 1, the "
     "file is saved as a PBM file. If the bitmap has a bit depth of 8, "
     "the file is saved as a PGM file. If the bitmap has a bit depth of 24, the "
     "file is saved as a PPM file. Other bit depths are not supported. The file you requested "
     "is saved as 24-bit True Color (.ppm) format."},
};

} // namespace

std::string LowerCase(std::string_view Text) {
    std::string lower(Text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return lower;
}

std::optional<std::filesystem::path> PnmStem(const std::filesystem::path& Name) {
    const std::string extension = LowerCase(ExtensionOf(Name));
    if (extension != "ppm" && extension != "pgm" && extension != "pbm") return std::nullopt;
    std::string stem = Name.native();
    stem.resize(stem.size() - 3);
    return std::filesystem::path(stem);
}

std::span<const LoaderRow> LoaderTable() {
    return kLoaders;
}

std::optional<LoaderRow> FindLoader(std::string_view Extension, LoadSite Site) {
    const std::string ext = LowerCase(Extension);
    for (const LoaderRow& row : kLoaders)
        if ((row.sites & at(Site)) != 0 && row.extension == ext) return row;
    return std::nullopt;
}

std::string ExtensionOf(const std::filesystem::path& Path) {
    const std::string name = Path.filename().string();
    const std::size_t point = name.rfind('.');
    return point == std::string::npos ? std::string() : name.substr(point + 1);
}

std::span<const SaveRow> SaveTable() {
    return kSavers;
}

std::optional<SaveRow> FindSaver(std::string_view Extension) {
    const std::string ext = LowerCase(Extension);
    for (const SaveRow& row : kSavers)
        if (row.extension == ext) return row;
    return std::nullopt;
}

std::span<const PnmVariant> PnmVariants() {
    return kPnmVariants;
}

} // namespace velmar
