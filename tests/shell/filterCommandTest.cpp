// velmar-cli filter and dialog end to end: small files in a temporary folder,
// read back and compared with the filters called directly; run-time errors and
// bad arguments fail cleanly and write nothing.
#include "filters/cBitFilter.h"
#include "filters/documentGeometry.h"
#include "formats/gateway.h"
#include "pixel/RegionFile.h"
#include "shell/cli/CliCommand.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"
#include "support/cliRuns.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <sstream>

namespace velmar::cli {
namespace {

using test::TempFolder;
using test::sameColours;
using Outcome = test::CliOutcome;
const auto cli = test::runCli;

// 12 by 10, every pixel its own colour, channels within 20..250.
Bits picture12x10() {
    Bits b(12, 10);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 12; ++x) {
            b(0, x, y) = static_cast<std::uint8_t>(20 + x * 17 + y * 3);
            b(1, x, y) = static_cast<std::uint8_t>(30 + y * 21 + x);
            b(2, x, y) = static_cast<std::uint8_t>(250 - x * 9 - y * 7);
        }
    return b;
}

std::filesystem::path writePicture(const TempFolder& tmp, const std::string& name,
                                   const Bits& picture) {
    test::RecordingPort port;
    EXPECT_EQ(SaveDocumentPicture(picture, tmp / name, "bmp", port), SaveResult::Written);
    return tmp / name;
}

Bits load(const std::filesystem::path& p) {
    std::optional<Bits> b = LoadPictureFile(p, LoadSite::MainFrameOpen);
    EXPECT_TRUE(b) << p;
    return b ? std::move(*b) : Bits();
}

TEST(FilterCommand, AWordRunsOnTheSelectionOnly) {
    TempFolder tmp;
    const auto in = writePicture(tmp, "in.bmp", picture12x10());
    WriteRegionFile(tmp / "top-right.rgn", Region::Rect(8, 0, 12, 3).ToRgnData());
    const Outcome o = cli({"filter", "INVERT", in.string(), (tmp / "out.png").string(), "--rect",
                           "0,0,6,10", "--subtract-rect", "2,2,4,4", "--region",
                           (tmp / "top-right.rgn").string(), "--rect", "10,5,20,20"});
    ASSERT_EQ(o.code, 0) << o.err;
    EXPECT_EQ(o.err, "");
    // The last rectangle is cut to the picture: columns 10, 11 of rows 5..9.
    const auto inside = [](int x, int y) {
        const bool left = x < 6 && !(x >= 2 && x < 4 && y >= 2 && y < 4);
        return left || (x >= 8 && y < 3) || (x >= 10 && y >= 5);
    };
    const Bits before = load(in);
    const Bits after = load(tmp / "out.png");
    ASSERT_EQ(after.Width(), 12);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 12; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(after(c, x, y), inside(x, y) ? 255 - before(c, x, y) : before(c, x, y))
                    << x << ", " << y;
    // PNG is written as 24-bit RGB: bit depth 8, colour type 2 in the header.
    const std::vector<std::uint8_t> png = test::readFile(tmp / "out.png");
    ASSERT_GT(png.size(), 26u);
    EXPECT_EQ(png[24], 8);
    EXPECT_EQ(png[25], 2);
}

TEST(FilterCommand, DialogSetupsRunAtFullSizeWithTheGivenValues) {
    TempFolder tmp;
    const auto in = writePicture(tmp, "in.bmp", picture12x10());
    const Bits source = load(in);
    const Region whole = Region::Rect(0, 0, 12, 10);
    // Pixel (0, 0): blue 20, green 30, red 250.
    constexpr COLORREF kCorner = 250 | 30 << 8 | 20 << 16;
    const struct {
        std::vector<std::string> args;
        std::function<Bits(cBitFilter&)> expected;
    } rows[] = {
        {{"1", "50"}, [](cBitFilter& f) { return f.BRIGHTNESS(50); }},
        {{"4"}, [](cBitFilter& f) { return f.GammaCorrection(0); }},
        {{"4", "-40"}, [](cBitFilter& f) { return f.GammaCorrection(-40); }},
        {{"25", "-10", "0", "20"}, [](cBitFilter& f) { return f.ShiftRGB(-10, 0, 20); }},
        {{"12", "100", "--option", "--col1", "0xFF0000"},
         [](cBitFilter& f) { return f.SKETCH(100, true, 0xFF0000); }},
        {{"26", "--banks", "0,2,1", "--invert-banks", "1,0,0", "--kill-banks", "0,0,1"},
         [](cBitFilter& f) { return f.SwapRGB(0, 2, 1, -1, 0, 0, 0, 0, 255); }},
        // The key is the picture's colour at the point.
        {{"14", "40", "--point", "0,0", "--col1", "65280"},
         [](cBitFilter& f) { return f.ISOLATE(kCorner, 65280, 40); }},
        // The picture fits the preview box as it is: the larger side 12.
        {{"27", "6", "70", "--point", "0.25,0.5"},
         [](cBitFilter& f) { return f.LENS(0.25f, 0.5f, 0.5f, 70); }},
        {{"39", "2", "--glass", "squary"}, [](cBitFilter& f) { return f.GLASS("squary", 2); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args[0] + (row.args.size() > 1 ? " " + row.args[1] : ""));
        std::vector<std::string> args = {"dialog", row.args[0], in.string(),
                                         (tmp / "out.bmp").string()};
        args.insert(args.end(), row.args.begin() + 1, row.args.end());
        const Outcome o = cli(args);
        ASSERT_EQ(o.code, 0) << o.err;
        cBitFilter f;
        f.Bits(source.clone());
        f.BitsRegion(&whole);
        EXPECT_TRUE(sameColours(load(tmp / "out.bmp"), row.expected(f)));
    }
}

TEST(FilterCommand, TurnsAndSizesChangeThePicturesSize) {
    TempFolder tmp;
    const auto in = writePicture(tmp, "in.bmp", picture12x10());
    const Bits source = load(in);
    const struct {
        const char* typed;
        const char* word;
        int width, height;
    } rows[] = {
        {"x2", "x2", 6, 5},
        {"2X", "2x", 24, 20},
        {"N90", "N90", 10, 12},
        // cos 45 = sin 45 = 0.7071: round(10 * 0.7071 + 0.7071 * 12) =
        // round(15.56) = 16.
        {"A45", "A45", 16, 16},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.typed);
        const Outcome o = cli({"filter", row.typed, in.string(), (tmp / "out.bmp").string()});
        ASSERT_EQ(o.code, 0) << o.err;
        const Bits out = load(tmp / "out.bmp");
        EXPECT_EQ(out.Width(), row.width);
        EXPECT_EQ(out.Height(), row.height);
        cBitFilter f;
        EXPECT_TRUE(sameColours(out, ApplyGeometryWord(f, source, *FindGeometryWord(row.word))));
    }
}

TEST(FilterCommand, ARunTimeErrorWritesNothing) {
    TempFolder tmp;
    Bits green(4, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            green(1, x, y) = 255;
    const auto in = writePicture(tmp, "green.bmp", green);
    // RETRO on pure green: |0 - 255 - 1| = 256 does not fit a byte.
    const Outcome o = cli({"filter", "RETRO", in.string(), (tmp / "out.bmp").string()});
    EXPECT_EQ(o.code, 1);
    EXPECT_EQ(o.err, "velmar-cli filter: Run-time error 6: Overflow\n");
    EXPECT_FALSE(std::filesystem::exists(tmp / "out.bmp"));
}

TEST(FilterCommand, IdleWordsCopyThePicture) {
    TempFolder tmp;
    const auto in = writePicture(tmp, "in.bmp", picture12x10());
    const Outcome o = cli({"filter", "mosaic", in.string(), (tmp / "out.bmp").string()});
    ASSERT_EQ(o.code, 0) << o.err;
    EXPECT_TRUE(sameColours(load(tmp / "out.bmp"), load(in)));
}

TEST(FilterCommand, BadArgumentsAndMissingFilesFailCleanly) {
    TempFolder tmp;
    const std::string in = writePicture(tmp, "in.bmp", picture12x10()).string();
    const std::string out = (tmp / "out.bmp").string();
    const struct {
        std::vector<std::string> args;
        int code;
        std::string err;
    } cases[] = {
        {{"filter"}, 2, "Usage: velmar-cli filter KEYWORD IN OUT [SELECTION]"},
        {{"filter", "NOPE", in, out},
         2,
         "unknown key word 'NOPE'. velmar-cli filter --list prints the words."},
        {{"filter", "ROTATE", in, out},
         2,
         "ROTATE opens the filter dialog at setup 31 (Deformation [Rotate]): run "
         "it with "
         "velmar-cli dialog 31 IN OUT"},
        {{"filter", "INVERT", in, out, "--rect", "1,2,3"}, 2, "--rect takes four numbers L,T,R,B"},
        {{"filter", "INVERT", in, out, "--polygon", "1,2,3,4"},
         2,
         "--polygon takes at least three corners"},
        {{"filter", "INVERT", in, out, "--ellipse"}, 2, "--ellipse needs a value"},
        {{"filter", "INVERT", in, out, "--bogus"}, 2, "unknown option '--bogus'"},
        {{"filter", "x2", in, out, "--rect", "0,0,4,4"},
         2,
         "x2 turns or sizes the whole picture and takes no selection"},
        {{"filter", "INVERT", in, (tmp / "out.xyz").string()},
         2,
         "no picture format is written for the name"},
        {{"dialog", "41", in, out}, 2, "there is no setup '41'. velmar-cli dialog --list"},
        {{"dialog", "1", in, out, "300"}, 2, "P0 (Level) runs from -100 to 250"},
        {{"dialog", "1", in, out, "1", "2"}, 2, "setup 1 takes 1 value P"},
        {{"dialog", "1", in, out, "x"}, 2, "'x' is not a whole number"},
        {{"dialog", "1", in, out, "--col0", "5"},
         2,
         "--col0 is not an option of setup 1 (Adjust [Brightness])"},
        {{"dialog", "14", in, out, "--col0", "0xGG"}, 2, "--col0 takes a colour"},
        {{"dialog", "27", in, out, "--point", "1.5,0"}, 2, "--point takes X,Y"},
        {{"dialog", "26", in, out, "--banks", "0,0,1"},
         2,
         "--banks takes the three channels 0, 1, 2 in some order"},
        {{"dialog", "39", in, out, "--glass", "frosted"}, 2, "--glass takes slanting"},
        {{"filter", "INVERT", (tmp / "absent.bmp").string(), out},
         1,
         "Unexpected error loading image"},
        {{"filter", "INVERT", in, out, "--region", (tmp / "absent.rgn").string()}, 1, "absent.rgn"},
        {{"filter", "INVERT", in, out, "--rect", "20,20,30,30"},
         1,
         "the selection holds no pixel of the picture; nothing was written."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.size() > 1 ? c.args[1] : c.args[0]);
        const Outcome o = cli(c.args);
        EXPECT_EQ(o.code, c.code) << o.err;
        EXPECT_NE(o.err.find(c.err), std::string::npos) << o.err;
        EXPECT_FALSE(std::filesystem::exists(out));
    }
}

TEST(FilterCommand, ListsNameTheWordsAndSetups) {
    const Outcome words = cli({"filter", "--list"});
    EXPECT_EQ(words.code, 0);
    EXPECT_TRUE(words.out.starts_with("INVERT\nGRAYSCALE\n"));
    EXPECT_NE(words.out.find("\nHEAVYEMBOSS\n"), std::string::npos);
    const Outcome setups = cli({"dialog", "--list"});
    EXPECT_EQ(setups.code, 0);
    EXPECT_NE(setups.out.find("4  Adjust [Gamma correction]\n      P0 Gamma -100..100, default 0 "
                              "(shown as (P + 100) * 0.01)\n"),
              std::string::npos);
    EXPECT_NE(setups.out.find("40  Behind Curtain\n"), std::string::npos);
}

} // namespace
} // namespace velmar::cli
