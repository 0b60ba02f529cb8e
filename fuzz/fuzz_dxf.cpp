// Fuzzes the reading of drawing files: the input is a file.
// One idea: a whole file is opened and nothing in it is to be changed; a damaged one is recovered to
// one that is whole and holds the same objects.
#include "fuzz/drawing_checks.h"
#include "fuzz/drawing_mutator.h"

#include <cstdint>

const bool vlisp::fuzz::drawingBehindFirstLine = false;

namespace {

using namespace vlisp;
using namespace vlisp::fuzz;
using namespace vlisp::refhost::dxf;

// Whether the bytes are a whole file, which must look like itself.
bool readWhole(const std::string& bytes) {
    std::shared_ptr<const Document> document;
    try {
        document = Document::ofBytes(bytes, "input", OnDamage::stop);
    } catch (const FileError& error) {
        require(error.kind == FileError::Kind::damaged, "damage is called something else");
        return false;
    }
    refhost::Drawing drawing;
    document->fill(drawing);
    lookAtAll(drawing);
    std::vector<std::string> notes;
    require(document->changes(drawing, notes).empty(), "a file that was only opened is changed");
    require(document->structure().repairs.empty(), "a whole file is repaired");
    return true;
}

void readRecovered(const std::string& bytes, bool isWhole) {
    const auto document = Document::ofBytes(bytes, "input", OnDamage::recover);
    if (isWhole) return require(document->structure().repairs.empty(), "a whole file is repaired");
    require(!document->problems().empty(), "damage is not told");
    refhost::Drawing drawing;
    document->fill(drawing);
    lookAtAll(drawing);
    std::vector<std::string> notes;
    const auto saved =
        reopened(ChangedBytes(document->bytes(), document->changes(drawing, notes)).joined());
    refhost::Drawing again;
    saved->fill(again);
    requireSaved(*document, drawing, *saved, again, notes.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    readRecovered(bytes, readWhole(bytes));
    return 0;
}
