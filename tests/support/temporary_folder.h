// A folder that lives as long as a test.
#pragma once

#include "platform/text.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace vlisp::test {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::random_device random;
        do {
            path_ =
                std::filesystem::temp_directory_path() / ("vlisp-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    /// The folder with its last separator.
    [[nodiscard]] std::u16string prefix() const { return path_.u16string() + u"/"; }

    /// Makes a file of these bytes; returns its path.
    std::filesystem::path write(const std::string& name, std::string_view bytes) const {
        const std::filesystem::path file = path_ / platform::fromUtf8(name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

  private:
    std::filesystem::path path_;
};

/// The bytes of a file; empty when there is none.
inline std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace vlisp::test
