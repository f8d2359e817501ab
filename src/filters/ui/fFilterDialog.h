#pragma once
// fFilterDialog ("fFilter"): the one window of the 41 filter setups. It builds its controls from
// the setup's table row and hands every event to fFilter, the logic; after each event it shows
// what the logic holds (value labels, colour swatches, the banks' radios, the two previews).
// The window never computes a filter result of its own.
#include "filters/fFilter.h"

#include <QDialog>

#include <array>
#include <functional>

class QButtonGroup;
class QLabel;
class QLayout;
class QPushButton;
class QTimer;

namespace velmar {

class UserPort;

class fFilterDialog final : public QDialog {
    Q_OBJECT

  public:
    // The window of setup `index` (0..40) on `document`, which must outlive it. Messages go
    // through `port`.
    fFilterDialog(FilterDocument& document, int index, UserPort& port, QWidget* parent = nullptr);

    fFilter& Logic() noexcept { return logic_; }
    // The main frame's progress bar: it hears the runs on the document itself (Real Time, OK).
    void setProgress(cBitFilter::ProgressCallback progress);
    void setThreads(int threads);

  public slots:
    // Esc, the title bar's close and "Cancel": the document gets its picture back.
    void reject() override;

  private:
    class PreviewBox;

    QLayout* buildPreviews();
    QLayout* buildSliders();
    QLayout* buildOptionRow();
    QWidget* buildGlassFrame();
    QWidget* buildCurtainFrame();
    QWidget* buildBanksFrame();
    QLayout* buildButtons();

    // Runs one logic event; a run-time error or a lack of memory is shown and leaves the
    // window usable. Either way the controls then show the logic's state. False on an error.
    // A run on the document itself goes under the busy cursor.
    bool runEvent(const std::function<void()>& event, bool onDocument = false);
    void showValues();
    void chooseColour(int which);
    void okClicked();

    fFilter logic_;
    UserPort& port_;
    PreviewBox* isrc_ = nullptr;
    PreviewBox* iDst_ = nullptr;
    std::array<QLabel*, 3> valueLabels_{};
    std::array<QPushButton*, 2> swatches_{};
    std::array<QButtonGroup*, 3> bankSources_{};
    QTimer* markerTimer_ = nullptr;
};

} // namespace velmar
