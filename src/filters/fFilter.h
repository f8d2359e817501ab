#pragma once
// fFilter: the logic of the one filter dialog, without any widget. The form in ui/ draws the
// sliders, frames and the two preview boxes from this state and forwards its events here.
//
// On load the document's picture is shrunk to fit 160 by 110 (the preview copy, shown in the
// source box). Every change of a control runs the filter of the current setup on the preview
// copy, with the document's selection scaled down to it; "Real Time" runs it once on the
// document itself, OK makes the result the document's picture with an undo state, and Cancel
// gives the document back the picture it had.
#include "filters/cBitFilter.h"
#include "filters/filterCommands.h"
#include "pixel/cBitRegion.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmar {

// What the dialog needs from the document it works on.
class FilterDocument {
  public:
    virtual ~FilterDocument() = default;
    // The picture the filters read: the document's own, as its undo states know it. A result
    // shown live is not part of it until KeepLive.
    virtual const velmar::Bits& Picture() const = 0;
    // The selection; nullptr when there is none. An empty one counts as none.
    virtual const cBitRegion* Selection() const = 0;
    // Real Time: the document shows `result` in place of its picture at once (its repaint
    // frozen during the swap).
    virtual void ShowLive(velmar::Bits result) = 0;
    // The result shown live becomes the document's picture, and an undo state is recorded.
    virtual void KeepLive() = 0;
    // `picture` becomes the document's picture, and an undo state is recorded.
    virtual void TakePicture(velmar::Bits picture) = 0;
    // The document shows Picture() again, dropping anything shown live.
    virtual void RestorePicture() = 0;
};

class fFilter {
  public:
    static constexpr int kPreviewMaxWidth = 160;
    static constexpr int kPreviewMaxHeight = 110;
    // The marker of the picked point flips between these two colours.
    static constexpr COLORREF kMarkerWhite = 16777215;
    static constexpr COLORREF kMarkerBlack = 0;

    // Loads the dialog on `document`: the preview size by FitInside, the preview copy by
    // BitsResize, then SetupFilter(index). The document must outlive the dialog.
    fFilter(FilterDocument& document, int index);

    // Caption, sliders at their defaults, the frames of setup `index` (0..40; anything else is
    // std::out_of_range). With the colour frame shown, Col 0 starts as the preview's colour at
    // the picked point, so the key is a colour of the picture from the start.
    void SetupFilter(int index);

    // Runs the setup's filter as the three flags say: on the preview copy when none is set,
    // on the document's picture otherwise (not at all once applied). A run-time error of the
    // filter reaches the caller; the document and the flags are then as before the call.
    void ApplyFilter(int index);

    // ---- Control events: each stores the value and runs ApplyFilter with the flags cleared ----
    // The value is kept inside the control's range.
    void SetSlider(int slider, std::int32_t controlValue);
    void SetOption(bool on);
    // which: 0 or 1.
    void SetColour(int which, COLORREF colour);
    // A click or drag on the source preview at preview pixel (x, y), kept inside the preview.
    // With the colour frame shown, Col 0 becomes the preview's colour there.
    void PickPoint(int x, int y);
    // RGB banks, output 0 red, 1 green, 2 blue; source a channel number 0..2. Choosing a
    // source takes it from the output that had it, which gets this output's old source, so each
    // source stays in use once.
    void SetBankSource(int output, int source);
    void SetBankInvert(int output, bool on);
    void SetBankKill(int output, bool on);
    // Behind Glass: a style of GlassStyles() and a mode 0..2 of GlassModes().
    void SetGlassStyle(std::string_view style);
    void SetGlassMode(int mode);
    // Behind Curtain: the Index of a button of CurtainButtons().
    void SetCurtain(int buttonIndex);
    // The marker timer: flips the marker's colour.
    void tmrSelect() noexcept;

    // ---- The buttons ----------------------------------------------------------------------------
    // "Real Time": once only, runs the filter on the document and shows the result there.
    void cmdPreview();
    // Accept: the document takes the result with an undo state (without running the filter a
    // second time after Real Time), and the dialog closes.
    void cmdOK();
    // The document gets its picture back, and the dialog closes.
    void CmdCancel();

    // ---- What the form shows --------------------------------------------------------------------
    int Index() const noexcept { return index_; }
    const FilterSetup& Setup() const { return FilterSetupAt(index_); }
    std::int32_t SliderValue(int slider) const;
    std::string ValueLabel(int slider) const;
    // p, option, colours, point, glass and banks as the next run takes them.
    const DialogValues& Values() const noexcept { return values_; }
    const velmar::Bits& PreviewSource() const noexcept { return preview_; }
    // The last small preview's result (not allocated before the first one).
    const velmar::Bits& PreviewResult() const noexcept { return previewResult_; }
    int PreviewWidth() const noexcept { return previewWidth_; }
    int PreviewHeight() const noexcept { return previewHeight_; }
    COLORREF MarkerColour() const noexcept { return marker_; }
    bool RealTime() const noexcept { return realTime_; }
    bool AppliedOnce() const noexcept { return appliedOnce_; }
    bool Accepted() const noexcept { return accept_; }
    // After OK or Cancel: the filter and region are released and events do nothing.
    bool Closed() const noexcept { return closed_; }

    // The main frame's progress control. It hears only runs on the document itself.
    void SetProgress(cBitFilter::ProgressCallback progress) { progress_ = std::move(progress); }
    // The threads of the filter object (the editor's setting).
    void SetThreads(int threads) { filter_.SetThreads(threads); }

  private:
    void controlChanged();
    void release();

    FilterDocument& document_;
    int index_ = 0;
    std::array<std::int32_t, 3> sliders_{};
    DialogValues values_;
    velmar::Bits preview_;
    velmar::Bits previewResult_;
    int previewWidth_ = 0;
    int previewHeight_ = 0;
    int pickX_ = 0;
    int pickY_ = 0;
    COLORREF marker_ = kMarkerWhite;
    bool realTime_ = false;
    bool appliedOnce_ = false;
    bool accept_ = false;
    bool closed_ = false;
    bool forwardProgress_ = false;
    cBitFilter filter_;
    cBitRegion region_;
    cBitFilter::ProgressCallback progress_;
};

} // namespace velmar
