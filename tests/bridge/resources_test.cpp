// The resources of the built Windows module, read from its file: one prelude for every system, and the
// version of the project.
#include "resources/prelude.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <windows.h>

namespace {

// The path of the module, which lies beside this program.
std::wstring modulePath() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path.substr(0, path.rfind(L'\\') + 1) + L"" MODULE_NAME;
}

TEST(Resources, ThePreludeIsTheSameTextAsElsewhere) {
    HMODULE file = LoadLibraryExW(modulePath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(file, nullptr);
    const char16_t* text = nullptr;
    const int length = LoadStringW(file, 5000, reinterpret_cast<wchar_t*>(&text), 0);
    ASSERT_GT(length, 400);
    EXPECT_TRUE(std::u16string_view(text, static_cast<std::size_t>(length)) ==
                vlisp::preludeText());
    FreeLibrary(file);
}

TEST(Resources, TheVersionRecordHasTheProjectsVersion) {
    const std::wstring path = modulePath();
    std::vector<char> record(GetFileVersionInfoSizeW(path.c_str(), nullptr));
    ASSERT_FALSE(record.empty());
    ASSERT_NE(
        GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(record.size()), record.data()),
        FALSE);
    VS_FIXEDFILEINFO* version = nullptr;
    UINT size = 0;
    ASSERT_NE(VerQueryValueW(record.data(), L"\\", reinterpret_cast<void**>(&version), &size),
              FALSE);
    const std::string text = std::to_string(HIWORD(version->dwFileVersionMS)) + "." +
                             std::to_string(LOWORD(version->dwFileVersionMS)) + "." +
                             std::to_string(HIWORD(version->dwFileVersionLS));
    EXPECT_EQ(text, MODULE_VERSION);
    EXPECT_EQ(version->dwFileType, static_cast<DWORD>(VFT_DLL));
}

}  // namespace
