// The exports. See exports.h.
#include "host/exports.h"

#include "host/demonstrations.h"
#include "host/files.h"
#include "host/menus.h"
#include "host/module.h"

int VelmoraExtEntryPoint(std::uint16_t* first, std::uint16_t* second) {
    if (!vlisp::startModule()) return 0;
    *first = 40;
    *second = 33;
    return 1;
}

int VelmoraExtUIEntry(vlisp::HostRequest* reply) { return vlisp::OnHostReply(*reply); }

int VelmoraExtDynamicCmdEntry(int* step) { return vlisp::runDynamicCommand(*step); }

int VelmoraExtGetVarEntry(const char16_t* expression, char16_t* result, int mode) {
    return vlisp::evaluateForHost(expression, result, mode);
}

int AppLoad(int* step) { return vlisp::loadFile(*step); }

int LispEdit(int* step) { return vlisp::editFile(*step); }

int LispPoly(int* step) { return vlisp::drawPolyline(*step); }

int MnuLoad() { return vlisp::loadMenus(); }

int TestLine() { return vlisp::addTestLine(); }
