// The FRX scanner on containers built here from pictures the program's own writers make (BMP,
// GIF, JPEG) and small hand-made icons, cursors and metafile headers; then the command that
// writes the items out, and the real containers of the shared corpus when it is here.
#include "extract/cFrxFile.h"
#include "formats/gateway.h"
#include "formats/gatewayFiles.h"
#include "shell/cli/CliCommand.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <numeric>

namespace velmar {
namespace {

using Bytes = std::vector<std::uint8_t>;
using test::TempFolder;

void put32(Bytes& b, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

// The three record forms: a picture record, the same with a 16-byte prefix, a bare length.
Bytes form1(const Bytes& data) {
    Bytes b;
    put32(b, static_cast<std::uint32_t>(data.size() + 8));
    put32(b, 29804);
    put32(b, static_cast<std::uint32_t>(data.size()));
    return joined({b, data});
}

Bytes form2(const Bytes& data) {
    Bytes b;
    put32(b, static_cast<std::uint32_t>(data.size() + 24));
    for (std::uint8_t i = 0; i < 16; ++i)
        b.push_back(static_cast<std::uint8_t>(0xA0 + i));
    put32(b, 29804);
    put32(b, static_cast<std::uint32_t>(data.size()));
    return joined({b, data});
}

Bytes form3(const Bytes& data) {
    Bytes b;
    put32(b, static_cast<std::uint32_t>(data.size()));
    return joined({b, data});
}

// A picture file as the document's Save As writes it.
Bytes written(const Bits& picture, const std::string& extension) {
    const TempFolder folder;
    const std::filesystem::path path = folder / ("picture." + extension);
    test::RecordingPort port;
    if (SaveDocumentPicture(picture, path, extension, port) != SaveResult::Written) return {};
    return test::readFile(path);
}

// The 2 x 2 colours of the hand-made icon, top row first.
constexpr std::uint8_t kIconRgb[2][2][3] = {{{255, 0, 0}, {0, 255, 0}},
                                            {{0, 0, 255}, {9, 99, 199}}};

// A one-image 2 x 2 icon (type 1) or cursor (type 2) of 32 bits with a 40-byte bitmap header.
Bytes iconFile(std::uint16_t type, std::uint32_t bitmapHeader = 40) {
    Bytes b = {0, 0, static_cast<std::uint8_t>(type), 0, 1, 0, 2, 2, 0, 0, 1, 0, 32, 0};
    put32(b, 40 + 16 + 8);
    put32(b, 22);
    put32(b, bitmapHeader);
    put32(b, 2);
    put32(b, 4); // colour rows and mask rows
    b.insert(b.end(), {1, 0, 32, 0});
    for (int i = 0; i < 6; ++i)
        put32(b, 0);
    for (int y = 1; y >= 0; --y) // bottom row first
        for (int x = 0; x < 2; ++x)
            b.insert(b.end(), {kIconRgb[y][x][2], kIconRgb[y][x][1], kIconRgb[y][x][0], 255});
    b.insert(b.end(), 8, 0); // AND mask: two rows of four bytes
    return b;
}

Bytes placeableMetafile() {
    Bytes b;
    put32(b, 2596720087u);
    b.resize(40, 7);
    return b;
}

Bytes enhancedMetafile(std::size_t size = 60) {
    Bytes b(size, 1);
    const Bytes mark = {' ', 'E', 'M', 'F'};
    std::copy(mark.begin(), mark.end(), b.begin() + 40);
    return b;
}

// The plain-metafile test as the program makes it: 18 in the word at 2, the length at 8.
Bytes plainMetafile(std::size_t size = 30) {
    Bytes b(size, 3);
    b[2] = 18;
    b[3] = 0;
    b.erase(b.begin() + 8, b.begin() + 12);
    Bytes length;
    put32(length, static_cast<std::uint32_t>(size));
    b.insert(b.begin() + 8, length.begin(), length.end());
    return b;
}

Bytes withByte(Bytes b, std::size_t at, std::uint8_t value) {
    b[at] = value;
    return b;
}

struct ExpectedItem {
    int type;
    int headerSize;
    std::size_t offset;
    Bytes bytes;
};

void expectItems(const std::vector<cFrxItem>& items, const std::vector<ExpectedItem>& expected,
                 const std::string& what) {
    ASSERT_EQ(items.size(), expected.size()) << what;
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].PictureType(), expected[i].type) << what << " item " << i + 1;
        EXPECT_EQ(items[i].HeaderSize(), expected[i].headerSize) << what << " item " << i + 1;
        EXPECT_EQ(items[i].FileOffset(), expected[i].offset) << what << " item " << i + 1;
        EXPECT_EQ(items[i].ImageSize(), expected[i].bytes.size()) << what << " item " << i + 1;
        EXPECT_TRUE(items[i].Bits() == expected[i].bytes) << what << " item " << i + 1;
    }
}

int largestDifference(const Bits& a, const Bits& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height()) return 256;
    int most = 0;
    for (int y = 0; y < a.Height(); ++y)
        for (int x = 0; x < a.Width(); ++x)
            for (int c = 0; c < 3; ++c)
                most = std::max(most, std::abs(a(c, x, y) - b(c, x, y)));
    return most;
}

TEST(FrxSignatures, EachTypeIsKnownByItsSignatureAndNearMissesAreBinary) {
    const Bytes bmp = written(test::patternPicture(3, 2), "bmp");
    const Bytes gif = written(test::patternPicture(3, 2), "gif");
    const Bytes jpg = written(test::smoothPicture(8, 8), "jpg");
    ASSERT_FALSE(bmp.empty() || gif.empty() || jpg.empty());
    const Bytes shortBmp = {'B', 'M', 6, 0, 0, 0};
    const Bytes enhanced44 = enhancedMetafile(44);
    const Bytes enhanced43(enhanced44.begin(), enhanced44.end() - 1);
    const struct {
        const char* what;
        Bytes bytes;
        int type;
        const char* name;
        const char* extension;
    } cases[] = {
        {"bitmap", bmp, 1, "Bitmap Image", "bmp"},
        {"bitmap, size field one short", withByte(bmp, 2, bmp[2] - 1), 0, "Binary data", "txt"},
        {"six-byte bitmap that names its size", shortBmp, 1, "Bitmap Image", "bmp"},
        {"gif", gif, 3, "GIF Image", "gif"},
        {"gif without its trailer", Bytes(gif.begin(), gif.end() - 1), 0, "Binary data", "txt"},
        {"jpeg", jpg, 4, "JPEG Image", "jpg"},
        {"jpeg cut short", Bytes(jpg.begin(), jpg.end() - 1), 0, "Binary data", "txt"},
        {"placeable metafile", placeableMetafile(), 5, "Metatfile", "wmf"},
        {"plain metafile", plainMetafile(), 5, "Metatfile", "wmf"},
        {"plain metafile, length off", withByte(plainMetafile(), 8, 29), 0, "Binary data", "txt"},
        {"plain metafile of 17 bytes", plainMetafile(17), 0, "Binary data", "txt"},
        {"enhanced metafile", enhancedMetafile(), 6, "Enhanced Metatfile", "emf"},
        {"enhanced metafile of 44 bytes", enhancedMetafile(44), 6, "Enhanced Metatfile", "emf"},
        {"enhanced mark, 43 bytes would hold it", enhanced43, 0, "Binary data", "txt"},
        {"icon", iconFile(1), 7, "Icon File", "ico"},
        {"icon whose bitmap header is 108 bytes", iconFile(1, 108), 0, "Binary data", "txt"},
        {"icon whose first image lies past the end", withByte(iconFile(1), 18, 200), 0,
         "Binary data", "txt"},
        {"cursor", iconFile(2), 8, "Cursor File", "cur"},
        {"type 3 directory", iconFile(3), 0, "Binary data", "txt"},
        {"four bytes", Bytes{'G', 'I', 'F', 59}, 0, "Binary data", "txt"},
        {"five bytes", Bytes{'G', 'I', 'F', 0, 59}, 3, "GIF Image", "gif"},
    };
    // Five bytes of a bitmap whose size field would end one byte past the item.
    const Bytes fiveInSix = {'B', 'M', 5, 0, 0, 0};
    EXPECT_EQ(FrxSignatureType(std::span(fiveInSix).first(5)), kFrxBinary);
    for (const auto& c : cases) {
        EXPECT_EQ(FrxSignatureType(c.bytes), c.type) << c.what;
        const cFrxItem item(c.bytes, 4, 0, FrxSignatureType(c.bytes));
        EXPECT_EQ(item.FileTypeName(), c.name) << c.what;
        EXPECT_EQ(item.FileExtension(), c.extension) << c.what;
    }
    EXPECT_EQ(cFrxItem({}, 0, 0, kFrxBitmap2).FileExtension(), "bmp");
}

TEST(FrxScan, HeaderFormsGapsAndEdgesGiveTheseItems) {
    const Bytes bmp = written(test::patternPicture(3, 2), "bmp");
    const Bytes gif = written(test::patternPicture(4, 4), "gif");
    const Bytes jpg = written(test::smoothPicture(8, 8), "jpg");
    const Bytes ico = iconFile(1), cur = iconFile(2), wmf = placeableMetafile();
    ASSERT_FALSE(bmp.empty() || gif.empty() || jpg.empty());
    const Bytes blob = {'M', 'a', 'i', 'n', 0, 0, 9, 200, 1}; // no record in it
    const std::size_t b1 = form1(bmp).size(), g2 = form2(gif).size();

    // A form-1 record whose first word does not match: the scan steps into it and finds the
    // picture behind its length word, a form-3 record 8 bytes on.
    Bytes badForm1 = form1(bmp);
    badForm1[0] ^= 1;
    // A form-2 prefix that also reads as a form-1 header of a length that holds no picture:
    // form 1 is tried first, so the scan steps on and meets the picture's own length word.
    Bytes bothForms = form2(gif);
    bothForms[4] = 'l', bothForms[5] = 't', bothForms[6] = 0, bothForms[7] = 0;
    for (int i = 0; i < 4; ++i)
        bothForms[8 + i] = static_cast<std::uint8_t>((gif.size() + 16) >> (8 * i));
    // A 4-byte header that announces more bytes than the file has.
    Bytes pastEnd = form3(jpg);
    pastEnd[0] += 1;

    const struct {
        const char* what;
        Bytes file;
        std::vector<ExpectedItem> items;
    } cases[] = {
        {"every form and type, adjacent",
         joined({form1(bmp), form2(gif), form3(jpg), form1(ico), form3(cur), form2(wmf)}),
         {{1, 12, 12, bmp},
          {3, 28, b1 + 28, gif},
          {4, 4, b1 + g2 + 4, jpg},
          {7, 12, b1 + g2 + 4 + jpg.size() + 12, ico},
          {8, 4, b1 + g2 + 4 + jpg.size() + 12 + ico.size() + 4, cur},
          {5, 28, b1 + g2 + 4 + jpg.size() + 12 + ico.size() + 4 + cur.size() + 28, wmf}}},
        {"blobs before, between and after",
         joined({blob, form1(ico), blob, form3(gif), Bytes{1, 2, 3}}),
         {{0, 0, 0, blob},
          {7, 12, blob.size() + 12, ico},
          {0, 0, blob.size() + form1(ico).size(), blob},
          {3, 4, 2 * blob.size() + form1(ico).size() + 4, gif},
          {0, 0, 2 * blob.size() + form1(ico).size() + form3(gif).size(), {1, 2, 3}}}},
        {"an empty picture record is an item",
         joined({form1(ico), form1({}), form1(ico)}),
         {{7, 12, 12, ico},
          {0, 12, 12 + ico.size() + 12, {}},
          {7, 12, 12 + ico.size() + 12 + 12, ico}}},
        {"a form-1 header that does not add up",
         badForm1,
         {{0, 0, 0, Bytes(badForm1.begin(), badForm1.begin() + 8)}, {1, 4, 12, bmp}}},
        {"form 1 before form 2",
         bothForms,
         {{0, 0, 0, Bytes(bothForms.begin(), bothForms.begin() + 24)}, {3, 4, 28, gif}}},
        {"a length past the end", pastEnd, {{0, 0, 0, pastEnd}}},
        {"zero bytes", Bytes(37, 0), {{0, 0, 0, Bytes(37, 0)}}},
        {"fewer than four bytes", Bytes{'l', 't', 0}, {{0, 0, 0, {'l', 't', 0}}}},
        {"nothing", {}, {}},
    };
    for (const auto& c : cases) {
        const std::vector<cFrxItem> items = ScanFrxItems(c.file);
        expectItems(items, c.items, c.what);
        // Every byte belongs to exactly one item or one header.
        const std::size_t covered = std::accumulate(
            items.begin(), items.end(), std::size_t{0}, [](std::size_t sum, const cFrxItem& i) {
                return sum + static_cast<std::size_t>(i.HeaderSize()) + i.ImageSize();
            });
        EXPECT_EQ(covered, c.file.size()) << c.what;
    }
}

TEST(FrxPicture, PicturesDecodeFromTheItemsBytesAndOthersGiveNothing) {
    const Bits pattern = test::patternPicture(5, 3), smooth = test::smoothPicture(16, 12);
    const Bytes file = joined({form1(written(pattern, "bmp")), form2(written(pattern, "gif")),
                               form3(written(smooth, "jpg")), form1(iconFile(1)),
                               form1(iconFile(2)), form1(placeableMetafile()), Bytes{5, 5, 5}});
    cFrxFile container;
    container.LoadBytes(file);
    ASSERT_EQ(container.Count(), 7u);
    EXPECT_EQ(container.FileSize(), file.size());

    Bits icon(2, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x)
            for (int c = 0; c < 3; ++c)
                icon(Bits::Red - c, x, y) = kIconRgb[y][x][c];
    const struct {
        const Bits* expected; // null: no picture
        int tolerance;
    } cases[] = {{&pattern, 0}, {&pattern, 0}, {&smooth, 32}, {&icon, 0},
                 {&icon, 0},    {nullptr, 0},  {nullptr, 0}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const std::optional<Bits> picture = container.Item(i + 1).Picture();
        if (cases[i].expected == nullptr) {
            EXPECT_FALSE(picture) << "item " << i + 1;
            continue;
        }
        ASSERT_TRUE(picture) << "item " << i + 1;
        EXPECT_LE(largestDifference(*picture, *cases[i].expected), cases[i].tolerance)
            << "item " << i + 1;
    }
    const std::vector<int> types = [&] {
        std::vector<int> t;
        for (const cFrxItem& item : container)
            t.push_back(item.PictureType());
        return t;
    }();
    EXPECT_EQ(types, (std::vector<int>{1, 3, 4, 7, 8, 5, 0}));
}

TEST(FrxPath, OnlyContainerNamesLoadAndFailuresCarryTheClassicErrors) {
    const TempFolder folder;
    const Bytes content = joined({Bytes{1, 2}, form1(iconFile(1))});
    for (const char* name :
         {"a.frx", "B.FRX", "c.Ctx", "d.dsx", "e.dox", "f.pgx", "g.png", "h.frm", "i.x.ct", "frx"})
        test::writeFile(folder / name, content);
    const struct {
        const char* name;
        bool loads;
    } cases[] = {{"a.frx", true},   {"B.FRX", true}, {"c.Ctx", true},  {"d.dsx", true},
                 {"e.dox", true},   {"f.pgx", true}, {"g.png", false}, {"h.frm", false},
                 {"i.x.ct", false}, {"frx", false}};
    for (const auto& c : cases) {
        cFrxFile container;
        container.Path(folder / "a.frx");
        container.Path(folder / c.name); // a refused name also empties what was loaded
        EXPECT_EQ(container.Count(), c.loads ? 2u : 0u) << c.name;
        EXPECT_EQ(container.FileSize(), c.loads ? content.size() : 0u) << c.name;
        EXPECT_EQ(container.Path(), c.loads ? folder / c.name : std::filesystem::path()) << c.name;
    }

    std::filesystem::create_directory(folder / "folder.frx");
    const struct {
        std::filesystem::path path;
        int number;
        const char* text;
    } failures[] = {{folder / "missing.frx", 53, "File not found"},
                    {folder / "folder.frx", 75, "Path/File access error"}};
    for (const auto& f : failures) {
        cFrxFile container;
        container.Path(folder / "a.frx");
        try {
            container.Path(f.path);
            ADD_FAILURE() << f.path << " loaded";
        } catch (const FrxLoadError& e) {
            EXPECT_EQ(e.number(), f.number) << f.path;
            EXPECT_STREQ(e.what(), f.text) << f.path;
            EXPECT_EQ(e.source(), "cFrxFile.LoadItems");
        }
        EXPECT_EQ(container.Count(), 0u) << f.path;
    }

    cFrxFile container;
    container.Path(folder / "a.frx");
    for (std::size_t bad : {std::size_t{0}, std::size_t{3}}) {
        try {
            container.Item(bad);
            ADD_FAILURE() << "item " << bad;
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), 9);
            EXPECT_STREQ(e.what(), "Subscript out of range");
        }
    }
}

TEST(FrxCommand, WritesEveryItemByteForByteUnderTheListingsNumbers) {
    const TempFolder folder;
    const Bytes bmp = written(test::patternPicture(3, 3), "bmp");
    const Bytes gif = written(test::patternPicture(4, 2), "gif");
    const Bytes blob = {'t', 'e', 'x', 't'};
    test::writeFile(folder / "Form1.FRX", joined({blob, form1(bmp), form2(gif), form1({})}));
    std::filesystem::create_directory(folder / "all");
    std::filesystem::create_directory(folder / "images");
    const std::string in = (folder / "Form1.FRX").string();

    const auto all = test::runCommand(cli::frxCommand(), {in, (folder / "all").string()});
    EXPECT_EQ(all.code, 0) << all.err;
    const auto images =
        test::runCommand(cli::frxCommand(), {"--images-only", in, (folder / "images").string()});
    EXPECT_EQ(images.code, 0) << images.err;
    const std::map<std::string, Bytes> expectAll = {
        {"Form11.txt", blob}, {"Form12.bmp", bmp}, {"Form13.gif", gif}, {"Form14.txt", {}}};
    const std::map<std::string, Bytes> expectImages = {{"Form12.bmp", bmp}, {"Form13.gif", gif}};
    for (const auto& [sub, expected, out] :
         {std::tuple{"all", expectAll, all.out}, std::tuple{"images", expectImages, images.out}}) {
        std::map<std::string, Bytes> found;
        std::string listed;
        for (const auto& e : std::filesystem::directory_iterator(folder / sub))
            found[e.path().filename().string()] = test::readFile(e.path());
        for (const auto& [name, bytes] : expected)
            listed += (folder / sub / name).string() + "\n";
        EXPECT_TRUE(found == expected) << sub;
        EXPECT_EQ(out, listed) << sub;
    }

    test::writeFile(folder / "empty.ctx", {});
    const std::string usage = "Usage: velmar-cli frx FILE OUTDIR [--images-only]\n";
    const std::string out = (folder / "all").string();
    const struct {
        std::vector<std::string> args;
        int code;
        std::string err;
    } cases[] = {
        {{in},
         2,
         "velmar-cli frx: give the form's binary file and the folder for its items.\n" + usage},
        {{in, out, "--all"},
         2,
         "velmar-cli frx: give the form's binary file and the folder for its items.\n" + usage},
        {{"x.frm", out},
         2,
         "velmar-cli frx: 'x.frm' is not a form's binary file (.frx, .ctx, .dsx, .dox, .pgx).\n"},
        {{in, out + "/none"}, 1, "velmar-cli frx: the folder '" + out + "/none' does not exist.\n"},
        {{out + "/none.frx", out}, 1, "velmar-cli frx: " + out + "/none.frx: File not found\n"},
        {{(folder / "empty.ctx").string(), out},
         0,
         "No graphics found in " + (folder / "empty.ctx").string() + ".\n"},
    };
    for (const auto& c : cases) {
        const auto r = test::runCommand(cli::frxCommand(), c.args);
        EXPECT_EQ(r.code, c.code) << c.err;
        EXPECT_EQ(r.err, c.err);
    }
}

// The pictures the corpus's notes say each container holds, by extension.
const std::map<std::string, std::map<std::string, int>> kCorpusPictures = {
    {"address-book/DataReport1.dsx", {{"ico", 1}}},
    {"address-book/frmMain.frx", {}},
    {"battle-star/Game - Form4.frx", {{"ico", 1}}},
    {"battle-star/UserControl1.ctx", {{"bmp", 1}}},
    {"cops-and-robbers/About.frx", {{"bmp", 2}}},
    {"cops-and-robbers/PicturePallet.frx", {{"gif", 7}}},
    {"display-matrix/DisplayMatrix.ctx", {{"bmp", 1}}},
    {"display-matrix/PropertyPage1.pgx", {{"gif", 1}}},
    {"e-diary/Create.frx", {{"jpg", 1}, {"cur", 4}, {"bmp", 2}}},
    {"e-diary/Login.frx", {{"cur", 8}, {"jpg", 1}, {"bmp", 3}}},
    {"electronic-clock/Main.frx", {{"ico", 1}, {"bmp", 5}}},
    {"jumping-blocks/About.frx", {{"ico", 3}}},
    {"jumping-blocks/JUMPER.FRX", {{"ico", 1}, {"wmf", 1}, {"bmp", 2}}},
    {"lcd-display/UserControl1.ctx", {{"bmp", 1}}},
    {"lcd-display/frmAbout.frx", {{"jpg", 1}}},
    {"maze/Help.frx", {{"ico", 5}, {"gif", 2}}},
    {"maze/frmInfo.frx", {}},
    {"maze/frmQuestions.frx", {{"ico", 1}, {"gif", 9}}},
};

TEST(FrxCorpus, RealContainersGiveThePicturesTheirFormsName) {
    const std::filesystem::path corpus = test::corpusFolder();
    if (corpus.empty()) GTEST_SKIP() << "needs the corpus (VELMAR_CORPUS)";
    const bool magick = test::haveImageMagick();
    const TempFolder scratch;
    for (const auto& [name, expected] : kCorpusPictures) {
        cFrxFile container;
        container.Path(corpus / "frx" / name);
        std::map<std::string, int> found;
        std::size_t covered = 0;
        for (const cFrxItem& item : container) {
            covered += static_cast<std::size_t>(item.HeaderSize()) + item.ImageSize();
            const std::string ext(item.FileExtension());
            if (ext == "txt") continue;
            ++found[ext];
            // Our decoder and an independent reader both take the item as a whole file.
            if (ext != "wmf") {
                EXPECT_TRUE(item.Picture()) << name << " at " << item.FileOffset();
            }
            if (!magick || ext == "wmf")
                continue; // ImageMagick draws metafiles only with a delegate
            const std::filesystem::path out = scratch / ("item." + ext);
            test::writeFile(out, item.Bits());
            EXPECT_EQ(test::run("identify '" + out.string() + "' >/dev/null 2>&1"), 0)
                << name << " at " << item.FileOffset();
        }
        EXPECT_EQ(found, expected) << name;
        EXPECT_EQ(covered, container.FileSize()) << name;
    }
}

} // namespace
} // namespace velmar
