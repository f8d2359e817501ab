// The document window's paint and the way from a JPEG file to the first paint.
//
// Paint: a 6000x4000 picture into a 1920x1080 view at zooms 1, 2 and 7, scrolled to the middle
// (target: at most 8 ms a paint). Open: User_File of a 6000x4000 JPEG up to the window's first
// paint, against FreeImage's decode of the same file alone (target: within 1.3 times). The first
// undo state is still being written on its thread when the paint ends; closing the document
// waits for it, outside the timing.
#include "document/tools.h"
#include "document/ui/fImageWindow.h"
#include "formats/gateway.h"
#include "shell/Application.h"

#include <FreeImage.h>
#include <QApplication>
#include <QImage>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace velmar {
namespace {

constexpr int kW = 6000, kH = 4000;

// Nothing is asked of the user in a benchmark.
class QuietPort final : public UserPort {
  public:
    MsgResult MsgBox(const std::string&, MsgIcon, MsgButtons, const std::string&) override {
        return MsgResult::Ok;
    }
    bool SetClipboardPicture(const ClipboardPicture&) override { return false; }
};

QApplication& qt() {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "ui_bench";
    static char* argv[] = {name, nullptr};
    static QApplication instance(argc, argv);
    return instance;
}

std::filesystem::path benchFolder() {
    static const std::filesystem::path folder = [] {
        std::string pattern = "/tmp/velmar-bench-view-XXXXXX";
        if (!mkdtemp(pattern.data())) std::abort();
        std::filesystem::create_directories(std::filesystem::path(pattern) / "Temp");
        return std::filesystem::path(pattern);
    }();
    return folder;
}

Bits patterned() {
    Bits bits(kW, kH);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            bits(0, x, y) = static_cast<std::uint8_t>(x);
            bits(1, x, y) = static_cast<std::uint8_t>(y);
            bits(2, x, y) = static_cast<std::uint8_t>(x ^ y);
        }
    return bits;
}

void BM_PaintView(benchmark::State& state) {
    qt();
    const int zoom = static_cast<int>(state.range(0));
    QuietPort port;
    Application app(benchFolder(), port, SetupRecord{});
    fImage& doc = app.NewDocument();
    doc.CreateBlank(kW, kH);
    doc.Bits(patterned());
    doc.SelectWholePicture();
    doc.ZoomFactor(zoom);
    fImageWindow window(doc, app.Tools());
    window.resize(1920, 1080);
    window.LayoutView();
    window.ScrollTo(kW * zoom / 2, kH * zoom / 2);
    QImage target(window.Surface()->size(), QImage::Format_RGB32);
    // The view less its two scroll bars.
    if (target.width() < 1880 || target.height() < 1040) state.SkipWithError("the view is small");
    for (auto _ : state) {
        window.Surface()->render(&target);
        benchmark::DoNotOptimize(target.constBits());
    }
}
BENCHMARK(BM_PaintView)->Arg(1)->Arg(2)->Arg(7)->Unit(benchmark::kMillisecond);

const std::string& jpegFile() {
    static const std::string file = [] {
        const std::string path = (benchFolder() / "big.jpg").string();
        QuietPort port;
        if (SaveDocumentPicture(patterned(), path, "jpg", port) != SaveResult::Written)
            std::abort();
        return path;
    }();
    return file;
}

// The loader alone: FreeImage's decode and the move into a document's pixel array.
void BM_LoadJpegIntoBits(benchmark::State& state) {
    const std::string& file = jpegFile();
    for (auto _ : state) {
        std::optional<Bits> bits = LoadPictureFile(file, LoadSite::Document);
        if (!bits) state.SkipWithError("load failed");
        benchmark::DoNotOptimize(bits->Data());
    }
}
BENCHMARK(BM_LoadJpegIntoBits)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FreeImageDecodeJpeg(benchmark::State& state) {
    const std::string& file = jpegFile();
    for (auto _ : state) {
        FIBITMAP* dib = FreeImage_Load(FIF_JPEG, file.c_str(), JPEG_DEFAULT);
        if (!dib) state.SkipWithError("decode failed");
        FreeImage_Unload(dib);
    }
}
BENCHMARK(BM_FreeImageDecodeJpeg)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OpenJpegToFirstPaint(benchmark::State& state) {
    qt();
    const std::string& file = jpegFile();
    QuietPort port;
    Application app(benchFolder(), port, SetupRecord{});
    std::unique_ptr<fImageWindow> window;
    app.onDocumentShown = [&](fImage& doc, bool) {
        window = std::make_unique<fImageWindow>(doc, app.Tools());
        window->resize(1280, 800);
        window->LayoutView();
    };
    app.onDocumentClosed = [&](fImage&) { window.reset(); };
    QImage target(1280, 800, QImage::Format_RGB32);
    for (auto _ : state) {
        if (!app.User_File(file)) state.SkipWithError("open failed");
        window->Surface()->render(&target);
        state.PauseTiming();
        app.UnloadDocument(*app.Documents().back());
        state.ResumeTiming();
    }
}
BENCHMARK(BM_OpenJpegToFirstPaint)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace velmar
