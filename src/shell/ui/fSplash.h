#pragma once
// The start-up splash and the About box. Both show the same artwork, drawn here rather than
// loaded, so the program needs no picture file to greet the user.
#include <QWidget>

namespace velmar {

class fSplash : public QWidget {
    Q_OBJECT
  public:
    explicit fSplash(QWidget* parent = nullptr);
    // Shows the splash centred on the screen and paints it at once: start-up keeps the event
    // loop busy until the frame appears.
    void showSplash();
    // The modal About box: the artwork, the version and OK.
    static void ShowAbout(QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace velmar
