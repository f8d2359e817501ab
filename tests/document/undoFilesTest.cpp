// Undo states on disk: names, the exact bytes of a state, the ten-state rotation, the dead redo
// branch, size changes, refused files and the clean-up.
#include "document/fImage.h"
#include "port/ReplaceFile.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velmar {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::TempFolder;
using test::writeFile;

std::set<std::string> filesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(folder))
        names.insert(e.path().filename().string());
    return names;
}

std::pair<int, int> counters(const fImage& d) {
    return {d.UndoPos(), d.UndoTop()};
}

struct CountingView : DocumentView {
    int images = 0;
    void UpdateImage() override { ++images; }
};

// A 2 by 1 picture of document 3 whose pixel (0, 0) carries a marker in its blue byte.
class UndoFiles : public ::testing::Test {
  protected:
    UndoFiles() : doc(3, folder.path()) {
        doc.CreateBlank(2, 1);
        doc.SelectWholePicture();
        doc.SetStatus(&status);
        doc.SetView(&view);
    }
    void saveMarked(int marker) {
        doc.Bits()(0, 0, 0) = static_cast<std::uint8_t>(marker);
        doc.SaveUndoBits();
    }
    int marker() const { return doc.Bits()(0, 0, 0); }

    TempFolder folder;
    StatusPanels status;
    CountingView view;
    fImage doc;
};

TEST_F(UndoFiles, NamesCarryFourDigitDocumentAndTwoDigitState) {
    const struct {
        int doc, state;
        const char* name;
    } cases[] = {{3, 0, "b000300.dat"}, {3, 10, "b000310.dat"}, {12345, 7, "b1234507.dat"}};
    for (const auto& c : cases)
        EXPECT_EQ(fImage(c.doc, folder.path()).UndoFileName(c.state), folder / c.name);
}

TEST_F(UndoFiles, StateIsHeaderThenBitsWithMargin) {
    doc.Bits()(0, 0, 0) = 7;
    doc.Bits()(1, 0, 0) = 8;
    doc.Bits()(2, 0, 0) = 9;
    doc.Bits()(2, 1, 0) = 5;
    doc.SaveUndoBits();
    EXPECT_EQ(filesIn(folder.path()), std::set<std::string>{"b000300.dat"});
    const auto bytes = readFile(folder / "b000300.dat");
    // 40 + 4 * (2 + 4) * (1 + 4) = 160.
    ASSERT_EQ(bytes.size(), 160u);
    // Size 40, width 6, height -5 (FB FF FF FF), planes 1, 32 bits, then zeros.
    const std::vector<std::uint8_t> header{40, 0, 0, 0, 6, 0, 0, 0, 0xFB, 0xFF, 0xFF, 0xFF, 1, 0,
                                           32, 0, 0, 0, 0, 0, 0, 0, 0,    0,    0,    0,    0, 0,
                                           0,  0, 0, 0, 0, 0, 0, 0, 0,    0,    0,    0};
    EXPECT_TRUE(std::equal(header.begin(), header.end(), bytes.begin()));
    // Pixel (0, 0) sits two rows of 24 bytes and two pixels into the array: 40 + 48 + 8 = 96;
    // pixel (1, 0) follows at 100. Everything else, the margin included, is zero (7+8+9+5 = 29).
    EXPECT_EQ(std::vector(bytes.begin() + 96, bytes.begin() + 104),
              (std::vector<std::uint8_t>{7, 8, 9, 0, 0, 0, 5, 0}));
    EXPECT_EQ(std::accumulate(bytes.begin() + 40, bytes.end(), 0), 29);
    EXPECT_EQ(counters(doc), std::pair(1, 1));
}

TEST_F(UndoFiles, EleventhSaveDropsTheFirstState) {
    for (int m = 1; m <= 11; ++m)
        saveMarked(m);
    // Files 00..09 hold markers 2..11; the twelfth name was renamed down.
    std::set<std::string> expected;
    for (int s = 0; s <= 9; ++s)
        expected.insert(fs::path(doc.UndoFileName(s)).filename().string());
    EXPECT_EQ(filesIn(folder.path()), expected);
    EXPECT_EQ(readFile(doc.UndoFileName(0))[96], 2);
    EXPECT_EQ(counters(doc), std::pair(10, 10));

    for (int m = 10; m >= 2; --m) {
        ASSERT_TRUE(doc.UndoBits());
        EXPECT_EQ(marker(), m);
    }
    EXPECT_FALSE(doc.UndoBits()); // the second state is the oldest left
    EXPECT_EQ(marker(), 2);
    EXPECT_EQ(doc.UndoPos(), 1);
}

TEST_F(UndoFiles, ChangeAfterUndoDropsTheRedoBranch) {
    for (int m = 1; m <= 3; ++m)
        saveMarked(m);
    ASSERT_TRUE(doc.UndoBits());
    ASSERT_TRUE(doc.UndoBits());
    EXPECT_EQ(marker(), 1);
    ASSERT_TRUE(doc.RedoBits());
    EXPECT_EQ(marker(), 2);
    ASSERT_TRUE(doc.UndoBits());

    saveMarked(4); // becomes state 1; states 2 and 3 are gone
    EXPECT_EQ(filesIn(folder.path()), (std::set<std::string>{"b000300.dat", "b000301.dat"}));
    EXPECT_EQ(counters(doc), std::pair(2, 2));
    EXPECT_FALSE(doc.RedoBits());
    EXPECT_EQ(marker(), 4);
    ASSERT_TRUE(doc.UndoBits());
    EXPECT_EQ(marker(), 1);
}

TEST_F(UndoFiles, UndoAtTheFirstStateDoesNothing) {
    EXPECT_FALSE(doc.UndoBits()); // no state at all
    saveMarked(1);
    doc.Bits()(0, 0, 0) = 9;
    EXPECT_FALSE(doc.UndoBits());
    EXPECT_EQ(marker(), 9);
    EXPECT_EQ(doc.UndoPos(), 1);
    EXPECT_EQ(view.images, 0);
}

TEST_F(UndoFiles, UndoAcrossASizeChangeRestoresSizeAndSelection) {
    saveMarked(1); // 2 by 1
    doc.Bits(velmar::Bits(4, 3));
    doc.SaveUndoBits();
    doc.BitsRegion().CreateRect(1, 1, 2, 2, 5, true);

    ASSERT_TRUE(doc.UndoBits());
    EXPECT_EQ(std::pair(doc.PictureWidth(), doc.PictureHeight()), std::pair(2, 1));
    EXPECT_EQ(marker(), 1);
    EXPECT_EQ(status.text[StatusPanels::Size], "2 x 1");
    int l = -1, t = -1, r = -1, b = -1;
    ASSERT_TRUE(doc.BitsRegion().BoundRect(l, t, r, b));
    EXPECT_EQ((std::vector{l, t, r, b}), (std::vector{0, 0, 2, 1}));
    EXPECT_EQ(view.images, 1);

    ASSERT_TRUE(doc.RedoBits());
    EXPECT_EQ(doc.PictureWidth(), 4);
    EXPECT_EQ(status.text[StatusPanels::Size], "4 x 3");
}

TEST_F(UndoFiles, DamagedStateIsRefusedAndTheDocumentKept) {
    saveMarked(1);
    saveMarked(2);
    const std::vector<std::uint8_t> good = readFile(doc.UndoFileName(0));
    const auto withLong = [&](std::size_t at, std::uint32_t v) {
        auto b = good;
        for (int i = 0; i < 4; ++i)
            b[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
        return b;
    };
    auto longer = good;
    longer.push_back(0);
    const struct {
        const char* what;
        std::vector<std::uint8_t> bytes;
    } cases[] = {
        {"header size 41", withLong(0, 41)},
        {"24 bits", withLong(12, 0x00180001)},
        {"bottom-up", withLong(8, 5)},
        {"width 7 for 6 columns of data", withLong(4, 7)},
        {"huge sizes, short file", withLong(8, 0x80000000u)},
        {"one byte short", std::vector<std::uint8_t>(good.begin(), good.end() - 1)},
        {"one byte long", longer},
        {"header only", std::vector<std::uint8_t>(good.begin(), good.begin() + 40)},
        {"ten bytes", std::vector<std::uint8_t>(good.begin(), good.begin() + 10)},
        {"empty", {}},
    };
    for (const auto& c : cases) {
        writeFile(doc.UndoFileName(0), c.bytes);
        EXPECT_FALSE(doc.UndoBits()) << c.what;
        EXPECT_EQ(doc.UndoPos(), 2) << c.what;
        EXPECT_EQ(marker(), 2) << c.what;
        EXPECT_EQ(std::pair(doc.PictureWidth(), doc.PictureHeight()), std::pair(2, 1)) << c.what;
    }
    EXPECT_EQ(view.images, 0);
    writeFile(doc.UndoFileName(0), good);
    EXPECT_TRUE(doc.UndoBits());
    EXPECT_EQ(marker(), 1);
}

TEST_F(UndoFiles, CleanUpTakesOnlyThisDocumentsStates) {
    // 31203's state 00 is "b3120300.dat", which "b3120*.dat" would also match.
    fImage mine(3120, folder.path()), other(31203, folder.path());
    for (fImage* d : {&mine, &other}) {
        d->CreateBlank(1, 1);
        d->SaveUndoBits();
    }
    mine.SaveUndoBits();
    saveMarked(1);
    writeFile(folder / "b3120.txt", {1});
    mine.DeleteUndoFiles();
    EXPECT_EQ(filesIn(folder.path()),
              (std::set<std::string>{"b3120300.dat", "b000300.dat", "b3120.txt"}));
}

TEST_F(UndoFiles, NoPictureOrNoFolderRecordsNothing) {
    fImage empty(4, folder.path()), lost(5, folder / "gone");
    empty.SaveUndoBits();
    lost.CreateBlank(1, 1);
    EXPECT_THROW(lost.SaveUndoBits(), FileWriteError);
    EXPECT_TRUE(filesIn(folder.path()).empty());
    EXPECT_EQ(counters(empty), std::pair(0, 0));
    EXPECT_EQ(counters(lost), std::pair(0, 0));
}

// The first state of an opened picture is written on a second thread. Whatever changes the
// picture first waits for it, so the state holds the picture as it was opened; a failed write
// reaches the next change once, with the state not counted.
TEST_F(UndoFiles, BackgroundStateIsThePictureBeforeTheFirstChange) {
    // Big enough that the write is still going when the brush comes down on its last rows.
    fImage big(6, folder.path());
    big.CreateBlank(3000, 2000);
    big.SelectWholePicture();
    big.SaveUndoBitsInBackground();
    EXPECT_EQ(counters(big), std::pair(1, 1));
    big.BitsBrush(1500, 1990, 400, 100, 0xFFFFFF); // the rows written last
    big.SaveUndoBits();
    ASSERT_TRUE(big.UndoBits());
    const Bits& first = big.Bits();
    EXPECT_TRUE(std::all_of(first.Data(), first.Data() + first.SizeBytes(),
                            [](std::uint8_t b) { return b == 0; }));

    // A state that would drop a redo branch is written at once, as SaveUndoBits does.
    big.SaveUndoBitsInBackground();
    EXPECT_EQ(counters(big), std::pair(2, 2));
    EXPECT_TRUE(fs::exists(big.UndoFileName(1)));

    fImage lost(7, folder / "gone");
    lost.CreateBlank(4, 4);
    lost.SaveUndoBitsInBackground();
    EXPECT_THROW(lost.BitsPaint(1, 1, 0xFF, 100), FileWriteError);
    EXPECT_EQ(counters(lost), std::pair(0, 0));
    EXPECT_NO_THROW(lost.BitsPaint(1, 1, 0xFF, 100));
}

} // namespace
} // namespace velmar
