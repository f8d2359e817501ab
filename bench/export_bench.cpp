// The writers and readers of export and extraction on large inputs, each beside the figure it
// is held to:
// - the PDF writer on a 20 MB text file against `cat` copying the same file to the same disk
//   (target: within 3 times);
// - the FRX scan of a 50 MB container read from the page cache (target: at least 200 MB/s).
// Wall-clock time, since the disk's share is part of both.
#include "benchFolder.h"
#include "export/PdfWriter.h"
#include "extract/cFrxFile.h"
#include "shell/TerminalPort.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace velmar {
namespace {

const bench::BenchFolder& folder() {
    static const bench::BenchFolder instance("velmar-bench-export");
    return instance;
}

// 20 MB of prose-like lines: words of 1 to 12 letters with punctuation, lines of 0 to 140
// characters so that some break, a few with parentheses to escape and a form feed now and then.
std::filesystem::path textFile() {
    static const std::filesystem::path path = [] {
        const std::filesystem::path p = folder() / "text.txt";
        std::ofstream out(p, std::ios::binary);
        std::mt19937 random(11);
        std::string line;
        std::size_t written = 0;
        while (written < 20u * 1024 * 1024) {
            line.clear();
            const std::size_t length = random() % 141;
            while (line.size() < length) {
                const int word = 1 + static_cast<int>(random() % 12);
                for (int i = 0; i < word; ++i)
                    line += static_cast<char>('a' + random() % 26);
                const unsigned mark = random() % 40;
                line += mark == 0 ? "(x) " : mark == 1 ? ", " : mark == 2 ? ". " : " ";
            }
            if (random() % 500 == 0) line += '\f';
            line += '\n';
            out << line;
            written += line.size();
        }
        return p;
    }();
    return path;
}

void BM_PdfWriter20MB(benchmark::State& state) {
    TerminalPort port(std::cerr);
    PdfJob job;
    job.input = textFile().string();
    job.output = (folder() / "text.pdf").string();
    for (auto _ : state) {
        PdfWriter writer(port);
        if (!writer.Convert(job)) state.SkipWithError("the PDF was not written");
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(std::filesystem::file_size(textFile())));
}
BENCHMARK(BM_PdfWriter20MB)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

// The yardstick: the same bytes through `cat` to a file beside the PDF.
void BM_Cat20MB(benchmark::State& state) {
    const std::string command =
        "cat '" + textFile().string() + "' > '" + (folder() / "copy.txt").string() + "'";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) state.SkipWithError("cat failed");
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(std::filesystem::file_size(textFile())));
}
BENCHMARK(BM_Cat20MB)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

void put32(std::vector<std::uint8_t>& b, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

// 50 MB as a form designer lays out its resources: picture records (a 12-byte header before a
// JPEG-signed or bitmap-signed body) among stretches of property bytes the scan has to walk one
// byte at a time.
std::filesystem::path frxFile() {
    static const std::filesystem::path path = [] {
        const std::filesystem::path p = folder() / "form.frx";
        std::vector<std::uint8_t> file;
        file.reserve(50u * 1024 * 1024 + 1024 * 1024);
        std::mt19937 random(5);
        while (file.size() < 50u * 1024 * 1024) {
            const std::size_t body = 4096 + random() % (256 * 1024);
            put32(file, static_cast<std::uint32_t>(body + 8));
            put32(file, 29804);
            put32(file, static_cast<std::uint32_t>(body));
            const bool jpeg = random() % 2 == 0;
            const std::size_t start = file.size();
            file.resize(start + body);
            for (std::size_t i = start; i < file.size(); ++i)
                file[i] = static_cast<std::uint8_t>(random());
            // Bodies that pass the signature tests: a JPEG's start and end marks, or a
            // bitmap that names its own length.
            if (jpeg) {
                file[start] = 0xFF, file[start + 1] = 0xD8;
                file[file.size() - 2] = 0xFF, file[file.size() - 1] = 0xD9;
            } else {
                file[start] = 'B', file[start + 1] = 'M';
                for (int i = 0; i < 4; ++i)
                    file[start + 2 + static_cast<std::size_t>(i)] =
                        static_cast<std::uint8_t>(body >> (8 * i));
            }
            const std::size_t loose = random() % 2048;
            for (std::size_t i = 0; i < loose; ++i)
                file.push_back(static_cast<std::uint8_t>(random() % 200 + 1));
        }
        std::ofstream(p, std::ios::binary)
            .write(reinterpret_cast<const char*>(file.data()),
                   static_cast<std::streamsize>(file.size()));
        return p;
    }();
    return path;
}

void scan(benchmark::State& state, const std::filesystem::path& path) {
    std::size_t items = 0;
    for (auto _ : state) {
        cFrxFile container;
        container.Path(path);
        items = container.Count();
        benchmark::DoNotOptimize(items);
    }
    state.counters["items"] = static_cast<double>(items);
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(std::filesystem::file_size(path)));
}
void BM_FrxScan50MB(benchmark::State& state) {
    scan(state, frxFile());
}
BENCHMARK(BM_FrxScan50MB)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

// The slowest kind of file: 50 MB that no header or signature explains, walked one byte at a
// time into one binary item.
std::filesystem::path unexplainedFile() {
    static const std::filesystem::path path = [] {
        const std::filesystem::path p = folder() / "noise.frx";
        std::vector<std::uint8_t> file(50u * 1024 * 1024);
        std::mt19937 random(9);
        for (std::uint8_t& b : file)
            b = static_cast<std::uint8_t>(random());
        std::ofstream(p, std::ios::binary)
            .write(reinterpret_cast<const char*>(file.data()),
                   static_cast<std::streamsize>(file.size()));
        return p;
    }();
    return path;
}

void BM_FrxScan50MBUnexplained(benchmark::State& state) {
    scan(state, unexplainedFile());
}
BENCHMARK(BM_FrxScan50MBUnexplained)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

} // namespace
} // namespace velmar
