// Replacing a file: what it is on every system.
// One idea: how a failure travels and how pieces are put together is the same; how bytes reach a file is
// the system's.
// Tests: tests/platform/replace_file_test.cpp.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace vlisp::platform {

/// Errors are thrown inside replaceFile only, as the text for its `reason`.
struct ReplaceFailure {
    std::string reason;
};

[[noreturn]] inline void failWith(std::string_view what, const std::string& path,
                                  const std::string& why) {
    throw ReplaceFailure{std::string(what) + ' ' + path + ": " + why};
}

inline constexpr std::string_view cannotWrite = "cannot write";

/// Writes millions of small pieces as few large ones. `write` takes bytes and answers false where it
/// cannot write all of them; nothing is written after that.
template <class Write> bool writePieces(std::span<const std::string_view> pieces, Write write) {
    constexpr std::size_t blockSize = std::size_t{1} << 20;
    std::string block;
    for (const std::string_view piece : pieces) {
        if (block.size() + piece.size() > blockSize) {
            if (!write(block)) return false;
            block.clear();
        }
        if (piece.size() >= blockSize) {
            if (!write(piece)) return false;
        } else {
            block += piece;
        }
    }
    return write(block);
}

}  // namespace vlisp::platform
