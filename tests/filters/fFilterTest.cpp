// The filter dialog's logic on a small document: the preview and its scaled
// selection, the Real Time / OK / Cancel sequence, the picked point and the
// banks rule.
#include "filters/fFilter.h"
#include "filterFixtures.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;

// A document as the dialog sees it: a picture, an optional selection, a picture
// shown live, and the count of undo states it has recorded.
class TestDocument final : public FilterDocument {
  public:
    explicit TestDocument(velmar::Bits picture) : picture_(std::move(picture)) {}

    const velmar::Bits& Picture() const override { return picture_; }
    const cBitRegion* Selection() const override { return selection ? &*selection : nullptr; }
    void ShowLive(velmar::Bits result) override {
        live = std::move(result);
        ++liveShows;
    }
    void KeepLive() override {
        picture_ = std::move(*live);
        live.reset();
        ++undoStates;
        ++keptLive;
    }
    void TakePicture(velmar::Bits picture) override {
        picture_ = std::move(picture);
        live.reset();
        ++undoStates;
        ++taken;
    }
    void RestorePicture() override {
        live.reset();
        ++restored;
    }
    const velmar::Bits& Shown() const { return live ? *live : picture_; }

    std::optional<cBitRegion> selection;
    std::optional<velmar::Bits> live;
    int liveShows = 0, keptLive = 0, taken = 0, restored = 0, undoStates = 0;

  private:
    velmar::Bits picture_;
};

// BRIGHTNESS(amount) of the whole picture, straight from the filter.
velmar::Bits brightened(const velmar::Bits& picture, int amount) {
    cBitFilter f;
    f.Bits(picture.clone());
    return f.BRIGHTNESS(amount);
}

constexpr int kBrightness = 1, kGamma = 4, kBlur = 6, kIsolate = 14, kBanks = 26;

TEST(fFilter, PreviewFitsTheBoxAndKeepsSmallPictures) {
    TestDocument big(test::flat(320, 220, {100, 100, 100, 0}));
    fFilter a(big, kBrightness);
    EXPECT_EQ(a.PreviewWidth(), 160);
    EXPECT_EQ(a.PreviewHeight(), 110);
    EXPECT_EQ(a.Values().previewSide, 160);
    TestDocument small(test::patterned(40, 30));
    fFilter b(small, kBrightness);
    EXPECT_EQ(b.PreviewWidth(), 40);
    EXPECT_EQ(b.PreviewHeight(), 30);
    // Not enlarged, so the preview is the picture (BitsResize leaves the mask
    // byte 0).
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(b.PreviewSource()(c, x, y), small.Picture()(c, x, y));
}

TEST(fFilter, GammaDefaultIsZeroAndChangesNothing) {
    TestDocument doc(test::patterned(40, 30));
    const velmar::Bits original = doc.Picture().clone();
    fFilter dlg(doc, kGamma);
    EXPECT_EQ(dlg.SliderValue(0), 100);
    EXPECT_EQ(dlg.ValueLabel(0), "1.00");
    dlg.ApplyFilter(kGamma);
    EXPECT_EQ(dlg.Values().p[0], 0); // 100 - offset 100
    EXPECT_TRUE(test::samePixels(dlg.PreviewResult(), dlg.PreviewSource()));
    dlg.SetSlider(0, 250); // kept inside 0..200: p0 = 100
    EXPECT_EQ(dlg.SliderValue(0), 200);
    EXPECT_EQ(dlg.Values().p[0], 100);
    EXPECT_EQ(dlg.ValueLabel(0), "2.00");
}

TEST(fFilter, TheSelectionIsAppliedScaledOnThePreview) {
    TestDocument doc(test::flat(320, 220, {100, 100, 100, 0}));
    doc.selection.emplace();
    doc.selection->Init(0, 0, 320, 220);
    doc.selection->CreateRect(40, 20, 200, 120, 2, true);
    fFilter dlg(doc, kBrightness);
    dlg.SetSlider(0, 50);
    // Zoom 160 / 320 = 0.5: the rectangle becomes 20, 10, 100, 60 on the preview.
    // Inside 100 + 50 = 150, outside 100.
    const velmar::Bits& r = dlg.PreviewResult();
    const struct {
        int x, y, value;
    } probes[] = {{20, 10, 150},  {99, 59, 150}, {19, 10, 100}, {20, 9, 100},
                  {100, 30, 100}, {50, 60, 100}, {0, 0, 100},   {159, 109, 100}};
    for (const auto& p : probes)
        EXPECT_EQ(pixelAt(r, p.x, p.y), (Pixel{p.value, p.value, p.value, 0}))
            << p.x << ", " << p.y;
    EXPECT_EQ(doc.liveShows + doc.taken,
              0); // a preview leaves the document alone
}

TEST(fFilter, BlurZeroChangesNothing) {
    TestDocument doc(test::patterned(40, 30));
    const velmar::Bits original = doc.Picture().clone();
    fFilter dlg(doc, kBlur);
    dlg.ApplyFilter(kBlur);
    // Eight times the centre, divided by 8.
    EXPECT_TRUE(test::samePixels(dlg.PreviewResult(), dlg.PreviewSource()));
    dlg.cmdOK();
    EXPECT_EQ(doc.taken, 1);
    EXPECT_TRUE(test::samePixels(doc.Picture(), original));
}

TEST(fFilter, OkAfterRealTimeKeepsTheResultWithoutRunningAgain) {
    TestDocument doc(test::patterned(40, 30));
    const velmar::Bits expected = brightened(doc.Picture(), 50);
    fFilter dlg(doc, kBrightness);
    std::vector<int> progress;
    dlg.SetProgress([&](std::int32_t percent) { progress.push_back(percent); });
    dlg.SetSlider(0, 50);
    EXPECT_TRUE(progress.empty()); // the small preview reports nothing

    dlg.cmdPreview();
    EXPECT_EQ(doc.liveShows, 1);
    ASSERT_TRUE(doc.live);
    EXPECT_TRUE(test::samePixels(*doc.live, expected));
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back(), 100);
    EXPECT_TRUE(dlg.AppliedOnce());
    EXPECT_FALSE(dlg.RealTime());
    dlg.cmdPreview(); // already done
    EXPECT_EQ(doc.liveShows, 1);

    const std::size_t reports = progress.size();
    dlg.cmdOK();
    EXPECT_EQ(doc.keptLive, 1);
    EXPECT_EQ(doc.taken, 0);
    EXPECT_EQ(doc.undoStates, 1);
    EXPECT_EQ(progress.size(), reports); // nothing ran
    EXPECT_TRUE(test::samePixels(doc.Picture(), expected));
    EXPECT_TRUE(dlg.Closed());
}

TEST(fFilter, CancelAfterRealTimeRestoresThePicture) {
    TestDocument doc(test::patterned(40, 30));
    const velmar::Bits original = doc.Picture().clone();
    fFilter dlg(doc, kBrightness);
    dlg.SetSlider(0, 50);
    dlg.cmdPreview();
    ASSERT_FALSE(test::samePixels(doc.Shown(), original));
    dlg.CmdCancel();
    EXPECT_EQ(doc.restored, 1);
    EXPECT_TRUE(test::samePixels(doc.Shown(), original));
    EXPECT_EQ(doc.undoStates, 0);
    EXPECT_TRUE(dlg.Closed());
    dlg.SetSlider(0, 20); // a closed dialog does nothing
    dlg.cmdOK();
    EXPECT_EQ(doc.undoStates, 0);
}

TEST(fFilter, OkRunsOnTheDocumentWithTheSettingsOfTheMoment) {
    // A slider moved after Real Time clears the flags: OK runs again, on the
    // document's own picture, with the new value.
    TestDocument doc(test::patterned(40, 30));
    const velmar::Bits expected = brightened(doc.Picture(), 20);
    fFilter dlg(doc, kBrightness);
    dlg.SetSlider(0, 50);
    dlg.cmdPreview();
    dlg.SetSlider(0, 20);
    EXPECT_FALSE(dlg.AppliedOnce());
    dlg.cmdOK();
    EXPECT_EQ(doc.taken, 1);
    EXPECT_EQ(doc.keptLive, 0);
    EXPECT_TRUE(test::samePixels(doc.Picture(), expected));
}

TEST(fFilter, ThePickedPointStaysInsideAndGivesTheKeyColour) {
    TestDocument doc(test::patterned(320, 220));
    fFilter dlg(doc, kIsolate);
    const auto colourAt = [&](int x, int y) {
        const Pixel p = pixelAt(dlg.PreviewSource(), x, y);
        return static_cast<COLORREF>(p[2] | p[1] << 8 | p[0] << 16);
    };
    // The key starts as the colour at the middle, 80, 55.
    EXPECT_EQ(dlg.Values().col0, colourAt(80, 55));
    dlg.PickPoint(-5, 500);
    EXPECT_FLOAT_EQ(dlg.Values().x, 0.0f);
    EXPECT_FLOAT_EQ(dlg.Values().y, 109.0f / 110.0f);
    EXPECT_EQ(dlg.Values().col0, colourAt(0, 109));
    EXPECT_NE(colourAt(0, 109), colourAt(80, 55));
    dlg.PickPoint(40, 22);
    EXPECT_FLOAT_EQ(dlg.Values().x, 0.25f);
    EXPECT_FLOAT_EQ(dlg.Values().y, 0.2f);
    // The marker flips white, black, white.
    EXPECT_EQ(dlg.MarkerColour(), 16777215u);
    dlg.tmrSelect();
    EXPECT_EQ(dlg.MarkerColour(), 0u);
    dlg.tmrSelect();
    EXPECT_EQ(dlg.MarkerColour(), 16777215u);
}

TEST(fFilter, ABankSourceIsTakenFromTheOutputThatHadIt) {
    TestDocument doc(test::flat(4, 4, {10, 20, 30, 0}));
    fFilter dlg(doc, kBanks);
    using P = std::array<std::int32_t, 3>;
    const struct {
        int output, source;
        P after;
    } steps[] = {
        {0, 0, {0, 1, 2}}, // red takes blue's channel 0; blue gets red's old 2
        {1, 0, {1, 0, 2}}, // green takes it from red, which gets green's 1
        {2, 2, {1, 0, 2}}, // blue has 2 already
    };
    for (const auto& s : steps) {
        dlg.SetBankSource(s.output, s.source);
        EXPECT_EQ(dlg.Values().p, s.after);
    }
    // Red from green (20), green from blue (10), blue from red (30): blue 30,
    // green 10, red 20.
    EXPECT_EQ(pixelAt(dlg.PreviewResult(), 1, 1), (Pixel{30, 10, 20, 0}));
    dlg.SetBankKill(1, true);
    EXPECT_EQ(pixelAt(dlg.PreviewResult(), 1, 1), (Pixel{30, 0, 20, 0}));
}

} // namespace
} // namespace velmar
