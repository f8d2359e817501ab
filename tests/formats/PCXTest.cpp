#include "formats/PCX.h"

#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <random>

namespace velmar {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bits picture(int w, int h, std::uint32_t seed, int levels = 256) {
    Bits bits(w, h);
    std::mt19937 rng(seed);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 3; ++c)
                bits(c, x, y) = static_cast<std::uint8_t>(rng() % levels * (255 / (levels - 1)));
    return bits;
}

Bytes data(const Bytes& file) {
    return Bytes(file.begin() + 128, file.end());
}

TEST(PCX, HeaderOfAOnePixelPicture) {
    Bits one(1, 1);
    one(0, 0, 0) = 10; // blue
    one(1, 0, 0) = 20; // green
    one(2, 0, 0) = 30; // red
    const Bytes file = PCX::Encode(one, false);
    ASSERT_EQ(file.size(), 128u + 6u);
    Bytes header(128, 0);
    header[0] = 10; // manufacturer
    header[1] = 5;  // version
    header[3] = 8;  // bits per plane
    header[4] = 1;  // x minimum 1, y minimum 1: deliberately not 0
    header[6] = 1;
    header[8] = 1;   // x maximum = width
    header[10] = 1;  // y maximum = height
    header[12] = 96; // resolution
    header[14] = 96;
    header[65] = 3; // planes
    header[66] = 2; // even row width
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 128), header);
    // Red, green, blue planes of the even width 2; the extra column reads the row padding and
    // the (absent) next row: zero here.
    EXPECT_EQ(data(file), (Bytes{30, 0, 20, 0, 10, 0}));
    EXPECT_EQ(PCX::Encode(one, true)[2], 1);
}

TEST(PCX, OddWidthTakesTheExtraColumnFromPaddingAndTheNextRow) {
    // Width 5: a 24-bit row is 15 bytes in a 16-byte stride, so the extra pixel of row 0 is the
    // pad byte (blue) and the first two bytes of row 1 (green, red).
    Bits bits(5, 2);
    for (int x = 0; x < 5; ++x)
        for (int y = 0; y < 2; ++y) {
            bits(0, x, y) = static_cast<std::uint8_t>(100 + 10 * y + x); // blue
            bits(1, x, y) = static_cast<std::uint8_t>(150 + 10 * y + x); // green
            bits(2, x, y) = static_cast<std::uint8_t>(50 + 10 * y + x);  // red
        }
    const Bytes d = data(PCX::Encode(bits, false));
    ASSERT_EQ(d.size(), 2u * 3u * 6u);
    // The red plane ends with row 1's green (160), the green with its blue (110), blue with 0.
    const Bytes row0 = {50,  51,  52,  53,  54,  160, 150, 151, 152,
                        153, 154, 110, 100, 101, 102, 103, 104, 0};
    EXPECT_EQ(Bytes(d.begin(), d.begin() + 18), row0);
    EXPECT_EQ(d[18 + 5], 0); // last row: nothing follows
    // Width 3 (9 bytes in a 12-byte stride): the extra pixel is all padding.
    const Bytes d3 = data(PCX::Encode(picture(3, 2, 1), false));
    EXPECT_EQ(d3[3], 0);
    EXPECT_EQ(d3[7], 0);
    EXPECT_EQ(d3[11], 0);
}

TEST(PCX, RunsCrossPlanesAndLinesUpTo63) {
    // 10 x 10 of one value: 300 plane bytes in one stream, four full runs and a shorter last.
    Bits flat(10, 10);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x)
            for (int c = 0; c < 3; ++c)
                flat(c, x, y) = 7;
    EXPECT_EQ(data(PCX::Encode(flat, true)),
              (Bytes{0xFF, 7, 0xFF, 7, 0xFF, 7, 0xFF, 7, 0xC0 + 48, 7}));

    // Single bytes of 192 and above are escaped as runs of one; runs keep their value.
    EXPECT_EQ(PCX::RunLengthEncode(Bytes{200, 201, 2, 3, 3, 191, 192, 192, 192}, 2),
              (Bytes{0xC1, 200, 0xC1, 201, 2, 0xC2, 3, 191, 0xC3, 192}));
    EXPECT_TRUE(PCX::RunLengthEncode(Bytes{}, 2).empty());
}

// Our reader and ImageMagick, a reader we did not write, must both see the pixels we wrote.
TEST(PCX, FilesReadBackExactly) {
    test::TempFolder dir;
    const bool magick = test::haveProgram("convert");
    for (const auto& [w, h] :
         {std::pair{1, 1}, std::pair{3, 5}, std::pair{5, 3}, std::pair{64, 7}, std::pair{101, 33}})
        for (const int levels : {2, 256}) // few levels make long runs across rows and planes
            for (const bool compress : {true, false}) {
                SCOPED_TRACE(testing::Message()
                             << w << "x" << h << " levels " << levels << " rle " << compress);
                const Bits pic = picture(w, h, static_cast<std::uint32_t>(w * h), levels);
                const auto path = dir / "p.pcx";
                ASSERT_TRUE(PCX().SavePCXinFile(path, pic, compress));
                const Bits back = PcxRead(test::readFile(path));
                ASSERT_EQ(back.Width(), w);
                ASSERT_EQ(back.Height(), h);
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x)
                        for (int c = 0; c < 4; ++c)
                            ASSERT_EQ(back(c, x, y), c == 3 ? 0 : pic(c, x, y));
                if (!magick) continue;
                const auto raw = dir / "p.rgb";
                ASSERT_EQ(test::run("convert " + path.string() + " -depth 8 rgb:" + raw.string() +
                                    " 2>/dev/null"),
                          0);
                const Bytes rgb = test::readFile(raw);
                ASSERT_EQ(rgb.size(), static_cast<std::size_t>(w * h * 3));
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x)
                        for (int c = 0; c < 3; ++c)
                            ASSERT_EQ(rgb[static_cast<std::size_t>((y * w + x) * 3 + c)],
                                      pic(2 - c, x, y))
                                << x << "," << y;
            }
    if (!magick) GTEST_SKIP() << "ImageMagick's convert is not installed";
}

TEST(PCX, AnExistingFileIsReplacedNotPatched) {
    test::TempFolder dir;
    const auto path = dir / "old.pcx";
    test::writeFile(path, Bytes(5000, 0xAB));
    ASSERT_TRUE(PCX().SavePCXinFile(path, picture(2, 2, 9), false));
    EXPECT_EQ(test::readFile(path).size(), 128u + 12u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
    EXPECT_FALSE(PCX().SavePCXinFile(dir / "no-such-folder" / "x.pcx", picture(2, 2, 9), true));
}

TEST(PCX, BrokenFilesAreRefused) {
    const Bytes good = PCX::Encode(picture(6, 4, 5, 2), true);
    const auto with = [&](std::initializer_list<std::pair<int, std::uint8_t>> changes) {
        Bytes b = good;
        for (const auto& [at, value] : changes)
            b[static_cast<std::size_t>(at)] = value;
        return b;
    };
    const struct {
        const char* what;
        Bytes bytes;
    } cases[] = {
        {"empty", {}},
        {"header only", Bytes(good.begin(), good.begin() + 127)},
        {"truncated data", Bytes(good.begin(), good.end() - 3)},
        // 65535 x 65535 claimed by a few bytes of data
        {"forged size", with({{8, 0xFF}, {9, 0xFF}, {10, 0xFF}, {11, 0xFF}})},
        {"inverted corners", with({{4, 9}})}, // x minimum beyond x maximum
        {"not a PCX", with({{0, 'B'}})},
        {"one plane", with({{65, 1}})},
    };
    for (const auto& c : cases)
        EXPECT_THROW(PcxRead(c.bytes), PcxError) << c.what;
    EXPECT_NO_THROW(PcxRead(good));
}

} // namespace
} // namespace velmar
