// Every file of the shared corpus through the gateway: whole, cut short, under a wrong name,
// and the broken ones. Skipped when the corpus is not there.
#include "formats/gateway.h"
#include "gatewayFiles.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace velmar {
namespace {

using test::TempFolder;

struct CorpusFile {
    std::filesystem::path path;
    std::string extension; // lower case
};

std::vector<CorpusFile> corpusFiles(const std::string& part) {
    std::vector<CorpusFile> files;
    const std::filesystem::path corpus = test::corpusFolder();
    if (corpus.empty()) return files;
    for (const auto& e : std::filesystem::recursive_directory_iterator(corpus / part)) {
        if (!e.is_regular_file()) continue;
        std::string ext = ExtensionOf(e.path());
        for (char& c : ext)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        files.push_back({e.path(), ext});
    }
    std::sort(files.begin(), files.end(),
              [](const CorpusFile& a, const CorpusFile& b) { return a.path < b.path; });
    return files;
}

// The site that reads the most formats: the main frame's open, or the document for sgi.
LoadSite siteFor(const std::string& ext) {
    return FindLoader(ext, LoadSite::MainFrameOpen) ? LoadSite::MainFrameOpen : LoadSite::Document;
}

// The size ImageMagick gives the picture the gateway should show: the canvas of a GIF, the
// largest image of an icon or cursor.
std::optional<std::pair<int, int>> magickSize(const CorpusFile& f) {
    const TempFolder scratch;
    const bool icon = f.extension == "ico" || f.extension == "cur";
    const std::string format = f.extension == "gif" ? "%W %H\\n" : "%w %h\\n";
    // Without an index ImageMagick reads a Photo CD's base picture, with [0] its thumbnail.
    const std::string which = icon || f.extension == "gif" || f.extension == "pcd" ? "" : "[0]";
    if (test::run("identify -format '" + format + "' '" + f.path.string() + which + "' > '" +
                  (scratch / "size").string() + "' 2>/dev/null") != 0)
        return std::nullopt;
    std::ifstream in(scratch / "size");
    std::pair<int, int> best{0, 0};
    for (int w, h; in >> w >> h;) {
        if (!icon) return std::pair{w, h};
        if (w * h > best.first * best.second) best = {w, h};
    }
    return best;
}

TEST(GatewayCorpus, PicturesOfOtherProgramsLoadWithTheSizeImageMagickReads) {
    const auto files = corpusFiles("images");
    if (files.empty() || !test::haveImageMagick())
        GTEST_SKIP() << "needs the corpus and ImageMagick";
    int named = 0, loaded = 0;
    std::map<std::string, std::pair<int, int>> byFormat; // loaded, named
    std::vector<std::string> refused;
    for (const CorpusFile& f : files) {
        const LoadSite site = siteFor(f.extension);
        if (!FindLoader(f.extension, site)) continue;
        ++named;
        ++byFormat[f.extension].second;
        ModFreeImage why;
        const auto bits = LoadPictureFile(f.path, site, &why);
        if (!bits) {
            refused.push_back(f.path.filename().string() + ": " + why.LastError());
            continue;
        }
        ++loaded;
        ++byFormat[f.extension].first;
        const auto size = magickSize(f);
        if (!size) continue; // ImageMagick cannot read it either
        EXPECT_EQ(bits->Width(), size->first) << f.path;
        EXPECT_EQ(bits->Height(), size->second) << f.path;
    }
    std::string summary;
    for (const auto& [ext, counts] : byFormat)
        summary +=
            " " + ext + " " + std::to_string(counts.first) + "/" + std::to_string(counts.second);
    std::string why;
    for (const auto& r : refused)
        why += "\n  " + r;
    std::cout << "[ corpus   ] " << loaded << " of " << named << " pictures loaded:" << summary
              << "\n[ corpus   ] refused:" << why << "\n";
    // Metafiles (drawn later) and the few variants FreeImage 3.18 does not read are refused;
    // everything else loads.
    EXPECT_GE(loaded, named * 8 / 10);
}

// The pictures cut short at several places, each under its own name: nothing may load, unless
// the cut took only what follows the picture (a footer, a later page) and the picture is the
// same as the whole file's.
TEST(GatewayCorpus, FilesCutShortLoadNothingOrTheirWholePicture) {
    const auto files = corpusFiles("images");
    if (files.empty()) GTEST_SKIP() << "needs the corpus";
    int tried = 0, same = 0;
    std::vector<std::string> wrong;
    for (const CorpusFile& f : files) {
        const LoadSite site = siteFor(f.extension);
        if (!FindLoader(f.extension, site)) continue;
        const auto whole = LoadPictureFile(f.path, site);
        if (!whole) continue;
        const std::vector<std::uint8_t> bytes = test::readFile(f.path);
        for (const double part : {0.3, 0.5, 0.9}) {
            const std::span<const std::uint8_t> cut(bytes.data(),
                                                    static_cast<std::size_t>(bytes.size() * part));
            ++tried;
            const auto bits = LoadPictureBytes(cut, f.extension, site);
            if (!bits) continue;
            if (test::samePicture(*whole, *bits)) {
                ++same;
                continue;
            }
            wrong.push_back(f.path.filename().string() + " at " + std::to_string(part));
        }
    }
    std::string list;
    for (const auto& w : wrong)
        list += "\n  " + w;
    std::cout << "[ cut      ] " << tried << " cut files, " << same
              << " gave the whole picture (only a tail was cut)\n";
    EXPECT_TRUE(wrong.empty()) << wrong.size() << " of " << tried
                               << " cut files gave a different picture:" << list;
}

// Every picture under every other name of the table: nothing may load. Names of the same
// format, or of the format the content really has, are skipped.
TEST(GatewayCorpus, FilesUnderAWrongNameLoadNothing) {
    const auto files = corpusFiles("images");
    if (files.empty()) GTEST_SKIP() << "needs the corpus";
    std::set<std::string> names;
    for (const LoaderRow& row : LoaderTable())
        names.insert(std::string(row.extension));
    int tried = 0;
    std::vector<std::string> loaded;
    for (const CorpusFile& f : files) {
        const LoadSite ownSite = siteFor(f.extension);
        const auto own = FindLoader(f.extension, ownSite);
        if (!own || !LoadPictureFile(f.path, ownSite)) continue;
        const std::vector<std::uint8_t> bytes = test::readFile(f.path);
        const int probed = [&] {
            FIMEMORY* m = FreeImage_OpenMemory(const_cast<BYTE*>(bytes.data()),
                                               static_cast<DWORD>(bytes.size()));
            const int fif = FreeImage_GetFileTypeFromMemory(m, 16);
            FreeImage_CloseMemory(m);
            return fif;
        }();
        for (const std::string& name : names) {
            const LoadSite site = siteFor(name);
            const auto row = FindLoader(name, site);
            if (row->format == own->format || row->format == probed ||
                row->route == LoadRoute::ProbedLibrary)
                continue;
            // The three PNM names share one loader.
            if ((own->format == FIF_PBM || own->format == FIF_PGM || own->format == FIF_PPM) &&
                (row->format == FIF_PBM || row->format == FIF_PGM || row->format == FIF_PPM))
                continue;
            ++tried;
            if (LoadPictureBytes(bytes, name, site))
                loaded.push_back(f.path.filename().string() + " as ." + name);
        }
    }
    std::string list;
    for (const auto& l : loaded)
        list += "\n  " + l;
    EXPECT_TRUE(loaded.empty()) << loaded.size() << " of " << tried
                                << " renamed files loaded:" << list;
}

TEST(GatewayCorpus, BrokenFilesAreRefusedCleanly) {
    const auto files = corpusFiles("corrupt");
    if (files.empty()) GTEST_SKIP() << "needs the corpus";
    int tried = 0;
    std::vector<std::string> loaded;
    for (const CorpusFile& f : files) {
        // Each different loader once: sites that share a row read the file the same way.
        std::set<std::tuple<LoadRoute, int, int>> seen;
        for (int s = 0; s < kLoadSiteCount; ++s) {
            const auto site = static_cast<LoadSite>(s);
            const auto row = FindLoader(f.extension, site);
            if (!row || !seen.insert({row->route, row->format, row->flags}).second) continue;
            ++tried;
            const auto bits = LoadPictureFile(f.path, site);
            if (!bits) continue;
            // What does load must be a whole picture within the limit.
            EXPECT_GE(bits->Width(), 1);
            EXPECT_LE(std::uint64_t(bits->Width()) * std::uint64_t(bits->Height()),
                      kMostPicturePixels);
            loaded.push_back(f.path.filename().string() + " as ." + f.extension + " (" +
                             std::to_string(bits->Width()) + " x " +
                             std::to_string(bits->Height()) + ")");
        }
    }
    std::string list;
    for (const auto& l : loaded)
        list += "\n  " + l;
    std::cout << "[ corrupt  ] " << tried << " loads tried, " << loaded.size()
              << " gave a picture:" << list << "\n";
    EXPECT_GT(tried, 0);
}

} // namespace
} // namespace velmar
