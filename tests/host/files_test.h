// What the tests of the file commands share: an extension on a recording host, and a folder.
#pragma once

#include "host/files.h"

#include "host/module.h"
#include "platform/text.h"
#include "tests/support/recording_host.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vlisp::test {

using Log = std::vector<std::string>;
using Texts = std::vector<std::u16string>;

inline const std::string promptForFile =
    "DisplayPromptMsg Enter lisp file (.lsp) full path or <Browse...>: ";
inline const Log browsing{"AllowTopMost 1", "chooseFile .lsp|Lisp files (*.lsp)|*lsp||",
                          "AllowTopMost 0"};

inline std::u16string textOf(const std::filesystem::path& path) { return path.u16string(); }

class Files : public testing::Test {
  protected:
    void SetUp() override {
        test::resetHandshake();
        ASSERT_TRUE(test::startExtension());
        host.log.clear();
    }
    void TearDown() override {
        stopModule();
        test::resetHandshake();
    }

    // AppLoad after its prompt; returns when the load has ended.
    void load(int step = 2) {
        const int before = step;
        const int ends = host.evalDones;
        EXPECT_EQ(loadFile(step), 1);
        EXPECT_EQ(step, before) << "the command has ended";
        ASSERT_TRUE(RecordingHost::reaches(host.evalDones, ends + 1));
    }

    RecordingHost host;
    TemporaryFolder folder;
};

}  // namespace vlisp::test
