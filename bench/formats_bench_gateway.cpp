// JPEG to PNG of a 6000 x 4000 photograph-like picture, three ways in one run: through the
// gateway (the main frame's load route, then the document's save route), through FreeImage
// alone (load, 24-bit conversion, save, the same flags), and through ImageMagick's convert.
// PNG compression takes most of the time; the gateway's own cost is what it adds to the
// FreeImage-alone figure.
#include "formats/gateway.h"

#include <FreeImage.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <unistd.h>

namespace velmar {
namespace {

constexpr int kW = 6000, kH = 4000;

class SilentPort final : public UserPort {
  public:
    MsgResult MsgBox(const std::string&, MsgIcon, MsgButtons, const std::string&) override {
        return MsgResult::Ok;
    }
    bool SetClipboardPicture(const ClipboardPicture&) override { return false; }
};

// The benchmark's folder with the JPEG, made once with FreeImage and removed at exit.
struct Workspace {
    std::filesystem::path folder, jpeg;

    Workspace() {
        folder = std::filesystem::temp_directory_path() /
                 ("velmar-bench-gateway-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
        jpeg = folder / "photo.jpg";
        FIBITMAP* dib = FreeImage_Allocate(kW, kH, 24);
        // Smooth fields (sky, ground, a round light), fine texture and sensor-like noise, so
        // that both JPEG and PNG see what a photograph gives them.
        std::mt19937 random(7);
        std::normal_distribution<float> noise(0.0f, 5.0f);
        for (int y = 0; y < kH; ++y) {
            BYTE* line = FreeImage_GetScanLine(dib, kH - 1 - y);
            const float v = static_cast<float>(y) / kH;
            for (int x = 0; x < kW; ++x) {
                const float u = static_cast<float>(x) / kW;
                const float dx = u - 0.3f, dy = v - 0.35f;
                const float light = 110.0f / (1.0f + 30.0f * (dx * dx + dy * dy));
                const float ground = v < 0.6f ? 0.0f : 1.0f;
                const float texture = 12.0f * std::sin(0.05f * x) * std::cos(0.07f * y) * ground;
                const float n = noise(random);
                const auto clamp = [](float c) {
                    return static_cast<BYTE>(c < 0 ? 0 : (c > 255 ? 255 : c));
                };
                line[3 * x + FI_RGBA_RED] = clamp((1 - ground) * (80 + 50 * u) +
                                                  ground * (140 + 40 * u) + light + texture + n);
                line[3 * x + FI_RGBA_GREEN] = clamp((1 - ground) * (130 + 50 * v) +
                                                    ground * (105 + 25 * v) + light + texture + n);
                line[3 * x + FI_RGBA_BLUE] = clamp((1 - ground) * (225 - 40 * v) +
                                                   ground * (55 + 15 * u) + 0.6f * light + n);
            }
        }
        FreeImage_Save(FIF_JPEG, dib, jpeg.c_str(), JPEG_QUALITYGOOD);
        FreeImage_Unload(dib);
    }
    ~Workspace() {
        std::error_code ec;
        std::filesystem::remove_all(folder, ec);
    }
};

const Workspace& workspace() {
    static const Workspace w;
    return w;
}

void setCounters(benchmark::State& state) {
    state.counters["MP/s"] = benchmark::Counter(static_cast<double>(kW) * kH / 1e6 *
                                                    static_cast<double>(state.iterations()),
                                                benchmark::Counter::kIsRate);
}

void BM_JpegToPng_Gateway(benchmark::State& state) {
    const Workspace& w = workspace();
    const std::filesystem::path out = w.folder / "gateway.png";
    SilentPort port;
    for (auto _ : state) {
        const std::optional<Bits> bits = LoadPictureFile(w.jpeg, LoadSite::MainFrameOpen);
        if (!bits || SaveDocumentPicture(*bits, out, "png", port) != SaveResult::Written) {
            state.SkipWithError("the gateway failed");
            break;
        }
    }
    setCounters(state);
}

void BM_JpegToPng_FreeImageAlone(benchmark::State& state) {
    const Workspace& w = workspace();
    const std::filesystem::path out = w.folder / "freeimage.png";
    for (auto _ : state) {
        FIBITMAP* dib = FreeImage_Load(FIF_JPEG, w.jpeg.c_str(), JPEG_ACCURATE);
        FIBITMAP* rgb = FreeImage_ConvertTo24Bits(dib);
        const BOOL saved = FreeImage_Save(FIF_PNG, rgb, out.c_str(), 0);
        FreeImage_Unload(rgb);
        FreeImage_Unload(dib);
        if (!saved) {
            state.SkipWithError("FreeImage failed");
            break;
        }
    }
    setCounters(state);
}

void BM_JpegToPng_ImageMagick(benchmark::State& state) {
    const Workspace& w = workspace();
    const std::string command =
        "convert '" + w.jpeg.string() + "' '" + (w.folder / "imagemagick.png").string() + "'";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("ImageMagick's convert failed or is missing");
            break;
        }
    }
    setCounters(state);
}

BENCHMARK(BM_JpegToPng_Gateway)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_JpegToPng_FreeImageAlone)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_JpegToPng_ImageMagick)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace
} // namespace velmar
