// Mutations that know drawing files: most changes concern pairs and records, not bytes.
#pragma once

namespace vlisp::fuzz {

/// Whether the target takes the first line of its input for itself; the drawing begins behind it.
extern const bool drawingBehindFirstLine;

}  // namespace vlisp::fuzz
