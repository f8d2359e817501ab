#pragma once
// A private folder under the temporary folder for a benchmark's files, removed with the object.
// Benchmarks write where the tests and the editor write, so that disk figures compare alike.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

namespace velmar::bench {

class BenchFolder {
  public:
    explicit BenchFolder(const std::string& tag = "velmar-bench") {
        std::string pattern = (std::filesystem::temp_directory_path() / (tag + "-XXXXXX")).string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path_ = pattern;
    }
    BenchFolder(const BenchFolder&) = delete;
    BenchFolder& operator=(const BenchFolder&) = delete;
    ~BenchFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    const std::filesystem::path& path() const noexcept { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }

  private:
    std::filesystem::path path_;
};

} // namespace velmar::bench
