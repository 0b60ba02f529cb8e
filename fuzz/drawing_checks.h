// What the fuzz targets of drawing files demand of documents and drawings.
// One idea: a demand that is not met ends the program with a sentence, so that the fuzzer keeps the
// input.
#pragma once

#include "refhost/dxf/document.h"

#include <memory>
#include <string>

namespace vlisp::fuzz {

/// Ends the program with `what` when `holds` is false.
void require(bool holds, const std::string& what);

/// Looks at every object, block, layer and variable.
void lookAtAll(refhost::Drawing& drawing);

/// Opens bytes that a document and its changes were joined to: they must be whole.
[[nodiscard]] std::shared_ptr<const refhost::dxf::Document> reopened(std::string saved);

/// What `drawing`, which was opened from `document` and changed, must find again in `saved`, which
/// `again` was filled from: its objects, blocks and layers, numbers to the last bit, and the bytes of
/// everything that was not touched. `isComplete`: nothing was left out for good reason.
void requireSaved(const refhost::dxf::Document& document, const refhost::Drawing& drawing,
                  const refhost::dxf::Document& saved, const refhost::Drawing& again,
                  bool isComplete);

}  // namespace vlisp::fuzz
