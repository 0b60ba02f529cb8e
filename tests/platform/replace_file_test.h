// What the tests of replacing files share: a folder, and how a file is replaced.
#pragma once

#include "platform/system.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp::platform::test {

namespace fs = std::filesystem;

inline std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void put(const fs::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
}

/// What the call left in `reason`; empty when it succeeded.
inline std::string replace(const fs::path& path, std::string_view content,
                           OldFile oldFile = OldFile::drop) {
    std::string reason;
    const std::string_view pieces[] = {content};
    const bool done = replaceFile(path.string(), pieces, oldFile, reason);
    EXPECT_EQ(done, reason.empty());
    return reason;
}

class ReplaceFile : public testing::Test {
  protected:
    /// Names in the folder, sorted, with blanks between.
    [[nodiscard]] std::string names() const {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(folder_))
            all.push_back(entry.path().filename().string());
        std::ranges::sort(all);
        std::string joined;
        for (const std::string& name : all) joined += (joined.empty() ? "" : " ") + name;
        return joined;
    }

    vlisp::test::TemporaryFolder temporary_;
    const fs::path& folder_ = temporary_.path();
};

}  // namespace vlisp::platform::test
