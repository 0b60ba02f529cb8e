// Text at the edge: UTF-8 outside, UTF-16 inside.
// One idea: conversion never refuses; what is not UTF-8 is read as Latin-1, byte by byte.
// Tests: tests/platform/text_test.cpp.
#pragma once

#include <string>
#include <string_view>

namespace vlisp::platform {

/// UTF-16 of `bytes`. A byte-order mark at the front is dropped; a byte that is not part of valid
/// UTF-8 becomes the code point of the same number.
std::u16string fromUtf8(std::string_view bytes);

/// UTF-8 of `text`. A surrogate without its partner becomes U+FFFD.
std::string toUtf8(std::u16string_view text);

}  // namespace vlisp::platform
