// The loader and writer tables: every extension to its route, format code and flags, and the
// differences between the sites. The expectations are written from the format list with the
// library's numbers spelled out, so a wrong constant in the table shows.
#include "formats/gateway.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace velmar {
namespace {

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> out;
    for (std::string w; in >> w;)
        out.push_back(w);
    return out;
}

std::string upper(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

struct LoaderCase {
    const char* extensions;
    LoadRoute route;
    int format; // FreeImage's number
    int flags;
};

// The common table, as the document's loader has it.
const LoaderCase kDocumentRows[] = {
    {"bmp rle", LoadRoute::Library, 0, 0},
    {"cut", LoadRoute::Library, 21, 0},
    {"ico", LoadRoute::Library, 1, 0},
    {"iff lbm", LoadRoute::Library, 5, 0},
    {"jpg jpe jif jpeg jiff jff jfi jfif jbig jbg jtif", LoadRoute::Library, 2, 2},
    {"koa", LoadRoute::Library, 4, 0},
    {"mng", LoadRoute::Library, 6, 0},
    {"pcd", LoadRoute::Library, 9, 0},
    {"pcx", LoadRoute::Pcx, 10, 0},
    {"png sgi", LoadRoute::Library, 13, 0},
    {"psd pdd", LoadRoute::Library, 20, 0},
    {"ras sun", LoadRoute::Library, 16, 0},
    {"tga vda icb vst targa", LoadRoute::Library, 17, 1},
    {"tif tiff", LoadRoute::Library, 18, 0},
    {"wbmp", LoadRoute::Library, 19, 0},
    {"pbm", LoadRoute::Library, 7, 0},
    {"pgm", LoadRoute::Library, 11, 0},
    {"ppm", LoadRoute::Library, 14, 0},
    {"jng", LoadRoute::ProbedLibrary, -1, 0},
};

TEST(LoaderTable, EveryExtensionGoesToItsLoaderWithItsFlagsInAnyCase) {
    std::size_t named = 0;
    for (const LoaderCase& c : kDocumentRows)
        for (const std::string& ext : words(c.extensions))
            for (const std::string& spelled : {ext, upper(ext)}) {
                const auto row = FindLoader(spelled, LoadSite::Document);
                ASSERT_TRUE(row) << spelled;
                EXPECT_EQ(row->route, c.route) << spelled;
                EXPECT_EQ(row->format, c.format) << spelled;
                EXPECT_EQ(row->flags, c.flags) << spelled;
                named += spelled == ext;
            }
    std::size_t rows = 0;
    for (const LoaderRow& row : LoaderTable())
        rows += (row.sites & (1u << static_cast<int>(LoadSite::Document))) != 0;
    EXPECT_EQ(rows, named) << "the document's loader has a row the list above does not name";
    for (const char* ext : {"gif", "wmf", "emf", "cur", "dib", "xyz", "", "jp", "jpgx"})
        EXPECT_FALSE(FindLoader(ext, LoadSite::Document)) << ext;
}

TEST(LoaderTable, SitesDifferFromTheDocumentLoaderOnlyWhereTheyShould) {
    using R = LoadRoute;
    const struct {
        LoadSite site;
        const char* extension;
        std::optional<LoadRoute> route; // nullopt: the site has no such row
        int format;
    } cases[] = {
        // The main frame's open: the picture loader first, and no sgi.
        {LoadSite::MainFrameOpen, "gif", R::PictureLoader, 25},
        {LoadSite::MainFrameOpen, "wmf", R::PictureLoader, -1},
        {LoadSite::MainFrameOpen, "emf", R::PictureLoader, -1},
        {LoadSite::MainFrameOpen, "ico", R::PictureLoader, 1},
        {LoadSite::MainFrameOpen, "cur", R::PictureLoader, 1},
        {LoadSite::MainFrameOpen, "dib", R::PictureLoader, 0},
        {LoadSite::MainFrameOpen, "sun", R::Library, 16},
        // The batch converter: no sun; its picture loader takes gif, metafiles and dib.
        {LoadSite::BatchConverter, "sun", std::nullopt, 0},
        {LoadSite::BatchConverter, "ras", R::Library, 16},
        {LoadSite::BatchConverter, "gif", R::PictureLoader, 25},
        {LoadSite::BatchConverter, "ico", R::Library, 1},
        {LoadSite::BatchConverter, "cur", std::nullopt, 0},
        // The three album loaders.
        {LoadSite::AlbumFolder, "jfif", R::Library, 2},
        {LoadSite::AlbumFolder, "ico", R::PictureLoader, 1},
        {LoadSite::AlbumFolder, "cur", std::nullopt, 0},
        {LoadSite::AlbumTree, "jfif", std::nullopt, 0},
        {LoadSite::AlbumTree, "jtif", std::nullopt, 0},
        {LoadSite::AlbumTree, "jfi", R::Library, 2},
        {LoadSite::AlbumPreview, "cur", R::PictureLoader, 1},
        {LoadSite::AlbumPreview, "jtif", R::Library, 2},
        // The generators: no ico, no jng, no picture loader.
        {LoadSite::ProjectGenerator, "ico", std::nullopt, 0},
        {LoadSite::ProjectGenerator, "jng", std::nullopt, 0},
        {LoadSite::ProjectGenerator, "gif", std::nullopt, 0},
        {LoadSite::ProjectGenerator, "sun", R::Library, 16},
    };
    for (const auto& c : cases) {
        const auto row = FindLoader(c.extension, c.site);
        SCOPED_TRACE(std::string(c.extension) + " at site " +
                     std::to_string(static_cast<int>(c.site)));
        ASSERT_EQ(row.has_value(), c.route.has_value());
        if (!row) continue;
        EXPECT_EQ(row->route, *c.route);
        EXPECT_EQ(row->format, c.format);
    }
    for (int s = 0; s < kLoadSiteCount; ++s) {
        // sgi is the document loader's alone.
        EXPECT_EQ(FindLoader("sgi", static_cast<LoadSite>(s)).has_value(), s == 0) << s;
        // Every other row a site shares with the document's loader has the same flags.
        for (const LoaderCase& c : kDocumentRows)
            for (const std::string& ext : words(c.extensions)) {
                const auto row = FindLoader(ext, static_cast<LoadSite>(s));
                if (!row || row->route == LoadRoute::PictureLoader) continue;
                EXPECT_EQ(row->format, c.format) << ext << " at " << s;
                EXPECT_EQ(row->flags, c.flags) << ext << " at " << s;
            }
    }
}

TEST(LoaderTable, TheExtensionIsTheTextAfterTheFileNamesLastPoint) {
    const std::pair<const char*, const char*> cases[] = {
        {"photo.JPG", "JPG"}, {"/a/b.c/photo.png", "png"}, {"archive.tar.gz", "gz"},
        {"README", ""},       {"a.dir/README", ""},        {".png", "png"},
        {"ends.", ""},
    };
    for (const auto& [path, ext] : cases)
        EXPECT_EQ(ExtensionOf(path), ext) << path;
}

TEST(SaveTable, EveryExtensionGoesToItsWriterWithItsFlags) {
    const struct {
        const char* extensions;
        SaveWriter writer;
        int format;
        int flags;
    } cases[] = {
        {"png", SaveWriter::Library, 13, 0},
        {"gif", SaveWriter::PictureConverter, -1, 0},
        {"jpg jpeg jpe jif jiff", SaveWriter::Library, 2, 256},
        {"ico", SaveWriter::TurnedOff, -1, 0},
        {"bmp rle dib", SaveWriter::Library, 0, 0},
        {"tif tiff", SaveWriter::Library, 18, 0},
        {"pcx", SaveWriter::Pcx, 10, 0},
        {"pnm", SaveWriter::Pnm, -1, 0},
        {"tga vda vst icb targa", SaveWriter::Library, 17, 0},
    };
    std::size_t named = 0;
    for (const auto& c : cases)
        for (const std::string& ext : words(c.extensions))
            for (const std::string& spelled : {ext, upper(ext)}) {
                const auto row = FindSaver(spelled);
                ASSERT_TRUE(row) << spelled;
                EXPECT_EQ(row->writer, c.writer) << spelled;
                if (c.writer == SaveWriter::Library) {
                    EXPECT_EQ(row->format, c.format) << spelled;
                    EXPECT_EQ(row->flags, c.flags) << spelled;
                }
                named += spelled == ext;
            }
    EXPECT_EQ(SaveTable().size(), named);
    for (const char* ext : {"ppm", "pgm", "pbm", "jfif", "psd", "cur", ""})
        EXPECT_FALSE(FindSaver(ext)) << ext;

    // The pnm branch by depth; the 24-bit text is checked whole with the save itself.
    const auto variants = PnmVariants();
    ASSERT_EQ(variants.size(), 4u);
    EXPECT_EQ(variants[0].letters, "pbm");
    EXPECT_TRUE(variants[0].message.ends_with("is saved as 1-bit (.pbm) format."));
    EXPECT_EQ(variants[1].letters, "pgm");
    EXPECT_TRUE(variants[1].message.starts_with("types: PBM, PGM and PPM. If the bitmap has"));
    EXPECT_TRUE(variants[1].message.ends_with("is saved as 8-bit (.pgm) format."));
    EXPECT_EQ(variants[2].message, variants[3].message);
    EXPECT_EQ(variants[3].bpp, 32u);
}

} // namespace
} // namespace velmar
