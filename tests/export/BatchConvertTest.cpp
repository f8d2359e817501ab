// The batch converter: every format index written and read back by the project's loader and by
// ImageMagick, the ASCII depth rule, the names and messages, failures, and parallel runs that
// write the same bytes as serial ones.
#include "export/BatchConvert.h"
#include "formats/gateway.h"
#include "formats/gatewayFiles.h"
#include "shell/cli/CliCommand.h"
#include "support/RecordingPort.h"
#include "support/cliRuns.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>

namespace velmar::cli {}

namespace velmar {
namespace {

using test::TempFolder;

std::string identify(const std::filesystem::path& file, const std::string& format) {
    const TempFolder scratch;
    test::run("identify -format '" + format + "' '" + file.string() + "' > '" +
              (scratch / "out.txt").string() + "' 2>/dev/null");
    std::ifstream in(scratch / "out.txt");
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeText(const std::filesystem::path& p, const std::string& text) {
    test::writeFile(p, std::vector<std::uint8_t>(text.begin(), text.end()));
}

std::filesystem::path writeBmp(const TempFolder& dir, const std::string& name, const Bits& pic) {
    test::RecordingPort port;
    EXPECT_EQ(SaveDocumentPicture(pic, dir / name, "bmp", port), SaveResult::Written);
    return dir / name;
}

TEST(BatchConvert, EveryFormatIndexWritesItsFormat) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "ImageMagick is not installed";
    const TempFolder dir;
    const Bits source = test::smoothPicture(24, 16);
    const auto file = writeBmp(dir, "source.bmp", source);
    struct Case {
        int index, colour;
        std::string magick;
        int quality; // JPEG: what the quality flag gives; else 0
        int bmpBits; // BMP: the bit count of the header; else 0
        bool exact;  // read back pixel for pixel
        bool grey;   // every pixel read back is grey
    };
    const Case cases[] = {
        {0, 0, "GIF", 0, 0, false, false},   {1, 1, "GIF", 0, 0, false, true},
        {2, 1, "GIF", 0, 0, false, true},    {3, 1, "JPEG", 10, 0, false, false},
        {4, 0, "JPEG", 25, 0, false, false}, {5, 0, "JPEG", 50, 0, false, false},
        {6, 0, "JPEG", 75, 0, false, false}, {7, 1, "JPEG", 100, 0, false, false},
        {8, 0, "BMP3", 0, 16, false, false}, {8, 1, "BMP3", 0, 16, false, true},
        {9, 0, "BMP3", 0, 24, true, false},  {9, 1, "BMP3", 0, 24, false, true},
        {10, 1, "PNG", 0, 0, true, false},   {11, 0, "TGA", 0, 0, true, false},
        {12, 0, "TIFF", 0, 0, true, false},  {13, 0, "PPM", 0, 0, true, false},
        {14, 1, "PCX", 0, 0, true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("format " + std::to_string(c.index) + " colour " + std::to_string(c.colour));
        const std::string stem =
            BatchStem(dir.path().string(), "c" + std::to_string(c.colour) + "x", c.index);
        const std::string extension(BatchFormats()[c.index].extension);
        const BatchOutcome o = BatchConvert(file, stem, stem + extension, c.index, c.colour);
        ASSERT_EQ(o.result, BatchResult::Written) << o.reason;
        EXPECT_EQ(o.written, stem + (c.index == 13 ? "ppm" : extension));
        EXPECT_EQ(identify(o.written, "%m %w %h"), c.magick + " 24 16");
        if (c.quality != 0) {
            EXPECT_EQ(identify(o.written, "%Q"), std::to_string(c.quality));
        }
        if (c.bmpBits != 0) {
            EXPECT_EQ(test::readFile(o.written).at(28), c.bmpBits);
        }
        const std::optional<Bits> back = LoadPictureFile(o.written, LoadSite::MainFrameOpen);
        ASSERT_TRUE(back.has_value());
        if (c.exact) {
            EXPECT_TRUE(test::sameColours(*back, source));
        }
        // "GreyScale" turns GIF and BMP grey and leaves every other format in colour.
        EXPECT_EQ(test::allGrey(*back), c.grey);
    }
    EXPECT_EQ(identify(dir / "c0x0.gif", "%k"), "64");
}

// 2 x 1 pixels at 4 bits: the depth the ASCII rule has no file for.
std::vector<std::uint8_t> fourBitBmp() {
    std::vector<std::uint8_t> b = {'B', 'M', 122, 0, 0, 0, 0, 0, 0, 0, 118, 0, 0,
                                   0,   40,  0,   0, 0, 2, 0, 0, 0, 1, 0,   0, 0,
                                   1,   0,   4,   0, 0, 0, 0, 0, 4, 0, 0,   0};
    b.resize(54 + 64, 0);
    b[50] = 16;      // colours used
    b[54 + 4] = 255; // colour 1 is blue
    for (std::uint8_t v : {0x01, 0, 0, 0})
        b.push_back(v);
    return b;
}

TEST(BatchConvert, AsciiFormatFollowsTheSourceDepth) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "ImageMagick is not installed";
    const TempFolder dir;
    writeText(dir / "bits.pbm", "P1\n4 2\n1 0 1 1\n0 0 1 0\n");
    writeText(dir / "grey.pgm", "P2\n2 2\n255\n10 20\n30 255\n");
    writeBmp(dir, "colour.bmp", test::patternPicture(5, 3));
    test::writeFile(dir / "nibbles.bmp", fourBitBmp());
    const struct {
        std::string source, written, magickAndDepth;
    } cases[] = {{"bits.pbm", "a1.pbm", "PBM 1"},
                 {"grey.pgm", "a2.pgm", "PGM 8"},
                 {"colour.bmp", "a3.ppm", "PPM 8"}};
    int row = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const std::string stem = BatchStem(dir.path().string(), "a", ++row);
        const BatchOutcome o = BatchConvert(dir / c.source, stem, stem + "pnm", 13, kBatchColor);
        ASSERT_EQ(o.result, BatchResult::Written) << o.reason;
        EXPECT_EQ(o.written, dir / c.written);
        EXPECT_EQ(identify(o.written, "%m %z"), c.magickAndDepth);
        EXPECT_TRUE(test::sameColours(*LoadPictureFile(o.written, LoadSite::MainFrameOpen),
                                      *LoadPictureFile(dir / c.source, LoadSite::MainFrameOpen)));
    }
    const std::string stem = BatchStem(dir.path().string(), "a", 4);
    ASSERT_TRUE(LoadPictureFile(dir / "nibbles.bmp", LoadSite::BatchConverter).has_value());
    EXPECT_EQ(BatchConvert(dir / "nibbles.bmp", stem, stem + "pnm", 13, 0).result,
              BatchResult::NotWritten);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 7);
}

TEST(BatchConvertRows, MessagesNamesListAndFailures) {
    const TempFolder dir;
    test::RecordingPort port;
    const std::vector<BatchRow> none;
    EXPECT_FALSE(BatchConvertRows(none, "", "x", 9, 0, port));
    EXPECT_FALSE(BatchConvertRows(none, dir.path().string(), "", 9, 0, port));
    ASSERT_EQ(port.messages.size(), 2u);
    EXPECT_EQ(port.messages[0].text, "Please specify a folder to save the images!");
    EXPECT_EQ(port.messages[1].text, "Please type a name to save the images!");
    for (const auto& m : port.messages) {
        EXPECT_EQ(m.icon, MsgIcon::Information);
        EXPECT_EQ(m.title, "Velmar Kestrin");
    }

    for (const char* name : {"b.png", "a.sun", "c.txt", "d.RAS", "e.gif"})
        writeText(dir / name, "not a picture");
    std::filesystem::create_directory(dir / "f.png");
    const auto list = BatchSourceFiles(dir.path());
    EXPECT_EQ(list,
              (std::vector<std::filesystem::path>{dir / "b.png", dir / "d.RAS", dir / "e.gif"}));

    const TempFolder out;
    const auto good = writeBmp(dir, "good.bmp", test::patternPicture(3, 2));
    // The rows keep their list positions: rows 3 and 5 of a longer list give x3 and x5.
    const std::vector<BatchRow> rows = {{good, 3}, {dir / "b.png", 4}, {good, 5}};
    const auto outcomes = BatchConvertRows(rows, out.path().string() + "/", "x", 9, 0, port);
    ASSERT_TRUE(outcomes.has_value());
    EXPECT_EQ((*outcomes)[0].written, out / "x3.bmp");
    EXPECT_EQ((*outcomes)[1].result, BatchResult::Failed);
    EXPECT_FALSE((*outcomes)[1].reason.empty());
    EXPECT_EQ((*outcomes)[2].written, out / "x5.bmp");
    std::set<std::string> files;
    for (const auto& e : std::filesystem::directory_iterator(out.path()))
        files.insert(e.path().filename().string());
    EXPECT_EQ(files, (std::set<std::string>{"x3.bmp", "x5.bmp"}));
    EXPECT_EQ(port.messages.size(), 2u);

    const std::string frames[] = {"bmp", "GIF", "JPG", "PNG", "TGA", "TIF", "ppm"};
    for (int type = 0; type < 7; ++type)
        EXPECT_EQ(SaveAllFrameName("/f", "frame", 12, type), "/f/frame12." + frames[type]);
    EXPECT_EQ(SaveAllFrameName("/f/", "frame", 1, 0), "/f/frame1.bmp");
}

TEST(BatchConvertRows, TwoWorkersWriteWhatOneWrites) {
    const TempFolder in, serial, parallel;
    std::vector<BatchRow> rows;
    for (int i = 0; i < 7; ++i)
        rows.push_back({writeBmp(in, "p" + std::to_string(i) + ".bmp",
                                 i % 2 ? test::smoothPicture(40 + 9 * i, 30)
                                       : test::patternPicture(31, 7 + i)),
                        i + 1});
    writeText(in / "broken.png", "\x89PNG\r\n\x1a\n cut short");
    rows.push_back({in / "broken.png", 8});
    test::RecordingPort port;
    for (int format : {2, 10, 14}) {
        SCOPED_TRACE(format);
        const auto one = BatchConvertRows(rows, serial.path().string(), "n", format, 0, port, 1);
        const auto two = BatchConvertRows(rows, parallel.path().string(), "n", format, 0, port, 2);
        ASSERT_TRUE(one && two);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ((*one)[i].result, (*two)[i].result);
            EXPECT_EQ((*one)[i].reason, (*two)[i].reason);
            EXPECT_EQ((*one)[i].written.filename(), (*two)[i].written.filename());
            if ((*one)[i].result == BatchResult::Written) {
                EXPECT_EQ(test::readFile((*one)[i].written), test::readFile((*two)[i].written));
            }
        }
        EXPECT_EQ(one->back().result, BatchResult::Failed);
    }
}

TEST(BatchCommand, ConvertsCountsAndRefuses) {
    const TempFolder dir, out;
    const auto a = writeBmp(dir, "a.bmp", test::patternPicture(4, 4));
    writeText(dir / "bad.png", "nothing");
    const auto run = [&](std::vector<std::string> args) {
        return test::runCommand(cli::batchCommand(), args);
    };
    const auto r = run({"--format", "10", "--out", out.path().string(), "--name", "s", a.string(),
                        (dir / "bad.png").string(), a.string()});
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.out, (out / "s1.png").string() + "\n" + (out / "s3.png").string() + "\n");
    EXPECT_NE(r.err.find("'" + (dir / "bad.png").string() + "' was not converted: "),
              std::string::npos);
    EXPECT_NE(r.err.find("velmar-cli batch: 1 of 3 pictures were not converted.\n"),
              std::string::npos);
    EXPECT_TRUE(test::sameColours(*LoadPictureFile(out / "s3.png", LoadSite::MainFrameOpen),
                                  test::patternPicture(4, 4)));

    const auto grey =
        run({"--grey", "--format", "0", "--out", out.path().string(), "--name", "g", a.string()});
    EXPECT_EQ(grey.code, 0);
    EXPECT_TRUE(test::allGrey(*LoadPictureFile(out / "g1.gif", LoadSite::MainFrameOpen)));

    const auto noFolder = run({"--format", "9", "--name", "s", a.string()});
    EXPECT_EQ(noFolder.code, 2);
    EXPECT_EQ(noFolder.err, "Velmar Kestrin: Please specify a folder to save the images!\n");
    EXPECT_EQ(run({"--format", "15", "--out", out.path().string(), "--name", "s", a.string()}).code,
              2);
    EXPECT_EQ(
        run({"--format", "9", "--out", (dir / "none").string(), "--name", "s", a.string()}).code,
        2);
}

} // namespace
} // namespace velmar
