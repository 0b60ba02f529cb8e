// The exports. See exports.h.
#include "host/exports.h"

#include "host/demonstrations.h"
#include "host/files.h"
#include "host/host_calls.h"
#include "host/menus.h"
#include "host/module.h"

#include <exception>

namespace {

// Calls `work`. The host knows no exceptions: what memory cannot hold is told and given up.
template <class Work> int guarded(int given, Work work) noexcept {
    try {
        return work();
    } catch (const std::exception&) {
        hostDisplayMsg(u";error; out of memory");
        return given;
    }
}

}  // namespace

int VelmoraExtEntryPoint(std::uint16_t* first, std::uint16_t* second) {
    return guarded(0, [&] { return vlisp::startModule(*first, *second) ? 1 : 0; });
}

int VelmoraExtUIEntry(vlisp::HostRequest* reply) { return vlisp::OnHostReply(*reply); }

int VelmoraExtDynamicCmdEntry(int* step) {
    return guarded(1, [&] { return vlisp::runDynamicCommand(*step); });
}

int VelmoraExtGetVarEntry(const char16_t* expression, char16_t* result, int mode) {
    // Both may be the same buffer: the expression is read before the result is written.
    const int failed = -1;
    const int done =
        guarded(failed, [&] { return vlisp::evaluateForHost(expression, result, mode); });
    if (done != failed) return done;
    *result = 0;
    return 1;
}

int AppLoad(int* step) {
    return guarded(1, [&] { return vlisp::loadFile(*step); });
}

int LispEdit(int* step) {
    return guarded(1, [&] { return vlisp::editFile(*step); });
}

int LispPoly(int* step) {
    return guarded(1, [&] { return vlisp::drawPolyline(*step); });
}

int MnuLoad() {
    return guarded(1, [] { return vlisp::loadMenus(); });
}

int TestLine() {
    return guarded(1, [] { return vlisp::addTestLine(); });
}
