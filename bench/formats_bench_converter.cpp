// The GIF save path: an adaptive 256-colour GIF of a 6000 x 4000 photograph-like picture, and
// ImageMagick's "convert in.ppm -colors 256 out.gif" on the same picture for comparison.
#include "benchFolder.h"
#include "formats/PictureConverter.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <unistd.h>

namespace velmar {
namespace {

constexpr int kW = 6000, kH = 4000;

// Smooth colour fields (a sky, a warm ground, a round light) with sensor-like noise on top.
const Bits& photo() {
    static const Bits picture = [] {
        Bits b(kW, kH);
        std::mt19937 random(1);
        std::normal_distribution<float> noise(0.0f, 6.0f);
        for (int y = 0; y < kH; ++y) {
            std::uint8_t* row = b.Row(y);
            const float v = static_cast<float>(y) / kH;
            for (int x = 0; x < kW; ++x) {
                const float u = static_cast<float>(x) / kW;
                const float dx = u - 0.7f, dy = v - 0.3f;
                const float light = 120.0f / (1.0f + 40.0f * (dx * dx + dy * dy));
                const float sky = v < 0.55f ? 1.0f : 0.0f;
                const float red = sky * (90 + 60 * u) + (1 - sky) * (150 + 50 * u * v) + light;
                const float green = sky * (140 + 40 * v) + (1 - sky) * (110 + 30 * u) + light;
                const float blue = sky * (230 - 50 * v) + (1 - sky) * (60 + 20 * v) + light * 0.6f;
                const float n = noise(random);
                const auto clamp = [](float c) {
                    return static_cast<std::uint8_t>(c < 0 ? 0 : (c > 255 ? 255 : c));
                };
                row[x * 4 + 2] = clamp(red + n);
                row[x * 4 + 1] = clamp(green + n);
                row[x * 4] = clamp(blue + n);
            }
        }
        return b;
    }();
    return picture;
}

// A private folder for the two pictures and the outputs, removed when the program ends.

const std::filesystem::path& benchFolder() {
    static const bench::BenchFolder folder;
    return folder.path();
}

void BM_ConvertAdaptiveGif256(benchmark::State& state) {
    const Bits& picture = photo();
    const auto out = benchFolder() / "ours.gif";
    PictureConverter converter;
    for (auto _ : state) {
        if (!converter.ConvertPicture(picture, out, kFileGif, kColorModeColors, 8, kPaletteOptimal,
                                      kDitherNone)) {
            state.SkipWithError(converter.LastError().c_str());
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * kW * kH);
    state.counters["KB"] = static_cast<double>(std::filesystem::file_size(out)) / 1024.0;
}
BENCHMARK(BM_ConvertAdaptiveGif256)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ImageMagickColors256(benchmark::State& state) {
    const auto in = benchFolder() / "in.ppm", out = benchFolder() / "magick.gif";
    if (!std::filesystem::exists(in)) {
        const Bits& picture = photo();
        std::ofstream file(in, std::ios::binary);
        file << "P6\n" << kW << " " << kH << "\n255\n";
        std::string row(static_cast<std::size_t>(kW) * 3, '\0');
        for (int y = 0; y < kH; ++y) {
            const std::uint8_t* p = picture.Row(y);
            for (int x = 0; x < kW; ++x) {
                row[static_cast<std::size_t>(x) * 3] = static_cast<char>(p[x * 4 + 2]);
                row[static_cast<std::size_t>(x) * 3 + 1] = static_cast<char>(p[x * 4 + 1]);
                row[static_cast<std::size_t>(x) * 3 + 2] = static_cast<char>(p[x * 4]);
            }
            file.write(row.data(), static_cast<std::streamsize>(row.size()));
        }
    }
    const std::string command = "convert '" + in.string() + "' -colors 256 '" + out.string() + "'";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("ImageMagick's convert failed or is missing");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * kW * kH);
    if (std::filesystem::exists(out))
        state.counters["KB"] = static_cast<double>(std::filesystem::file_size(out)) / 1024.0;
}
BENCHMARK(BM_ImageMagickColors256)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace velmar
