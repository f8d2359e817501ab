#pragma once
// The six size windows. Each shows the fields of its logic class (shell/sizeDialogs.h) and calls
// it: the checks, the messages and the work on the document all stay in the logic, so the
// editor and velmar-cli's scripts behave alike. OK keeps the window open when the logic says so.
#include "pixel/Bits.h"
#include "shell/sizeDialogs.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QSlider;
class QSpinBox;

namespace velmar {

class CanvasPlacement;

// The picture scaled down with BitsResize so that it fits inside the box, its proportions kept;
// a picture that already fits comes back as a copy. Empty for an empty picture.
Bits FittedPicture(const Bits& picture, int boxWidth, int boxHeight);

// A width and height box pair with its "Keep proportions" check box, bound to the logic's
// ProportionalSize: a box the user edits goes to the logic, and both boxes then show what the
// logic holds. The boxes are shown without their signals, so the second box's update never
// comes back as an edit.
class SizeFields {
  public:
    SizeFields(QWidget* owner, ProportionalSize& size, const QString& keepCaption);
    QSpinBox* Width() const { return width_; }
    QSpinBox* Height() const { return height_; }
    QCheckBox* Keep() const { return keep_; }
    // Shows the logic's present size in the boxes.
    void Show();

  private:
    ProportionalSize& size_;
    QSpinBox* width_;
    QSpinBox* height_;
    QCheckBox* keep_;
};

class fNewDialog : public QDialog {
    Q_OBJECT
  public:
    explicit fNewDialog(Application& app, QWidget* parent = nullptr);
    void accept() override;

  private:
    fNew logic_;
    SizeFields fields_;
};

class fSizeDialog : public QDialog {
    Q_OBJECT
  public:
    explicit fSizeDialog(Application& app, QWidget* parent = nullptr);
    void accept() override;

  private:
    fSize logic_;
    SizeFields fields_;
};

class fCanvasDialog : public QDialog {
    Q_OBJECT
  public:
    explicit fCanvasDialog(Application& app, QWidget* parent = nullptr);
    void accept() override;

  private:
    void showPlacement();

    fCanvas logic_;
    SizeFields fields_;
    CanvasPlacement* placement_;
    int oldWidth_;
    int oldHeight_;
};

class fOrientationDialog : public QDialog {
    Q_OBJECT
  public:
    explicit fOrientationDialog(Application& app, QWidget* parent = nullptr);
    void accept() override;

  private:
    void showPreview();

    fOrientation logic_;
    Bits small_; // the active picture fitted to the preview, turned anew on every change
    QLabel* preview_;
};

class fRotateDialog : public QDialog {
    Q_OBJECT
  public:
    explicit fRotateDialog(Application& app, QWidget* parent = nullptr);
    void accept() override;

  private:
    void showDegrees();

    fRotate logic_;
    QSpinBox* degrees_;
    QSlider* slider_;
};

class fResolutionDialog : public QDialog {
    Q_OBJECT
  public:
    explicit fResolutionDialog(Application& app, QWidget* parent = nullptr);
    void accept() override;

  private:
    void showSize();

    fResolution logic_;
    QSpinBox* width_;
    QSpinBox* height_;
};

} // namespace velmar
