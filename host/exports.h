// The exports: what the module offers a host, under plain names.
// One idea: a host finds these nine functions by name in the loaded module, and nothing else.
// Tests: tests/module/.
//
// All of them are called on the host's user-interface thread.
#pragma once

#include "host/handshake.h"

#include <cstdint>

#if !defined(VLISP_EXPORT)
#define VLISP_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

/// Start-up; called once, before anything else. Returns 1, with 40 in `first` and 33 in `second`, when
/// the module accepts the host's version (2.0 or later); otherwise warns and returns 0, and nothing
/// is registered.
VLISP_EXPORT int VelmoraExtEntryPoint(std::uint16_t* first, std::uint16_t* second);

/// The host's answer to a request of kind 0 or 1. Returns 1.
VLISP_EXPORT int VelmoraExtUIEntry(vlisp::HostRequest* reply);

/// Runs the LISP text that the host holds as its input (GetInputString) on a thread of its own; at a
/// step greater than 1 nothing but counting. Returns 1 at once; the end is a request of kind 2. A
/// second evaluation starts when the first has ended.
VLISP_EXPORT int VelmoraExtDynamicCmdEntry(int* step);

/// Evaluates `expression` (299 units are looked at) and writes its value as text into `result`, which
/// has room for 300 units. `mode`: 0 point text, 4 flat list, 5 the value's own text, any other the
/// printed value. Shows the printed value as a line. Returns 1. The expression must not wait for this
/// very thread: no PRINC, PRIN1, PRINT, COMMAND, GET functions, ENTSEL, nor SSGET that asks.
VLISP_EXPORT int VelmoraExtGetVarEntry(const char16_t* expression, char16_t* result, int mode);

// Commands that take a step: called with 1 first, then again with each line that the user types;
// the command has ended when a call leaves the step as it was. Return 1.
VLISP_EXPORT int AppLoad(int* step);
VLISP_EXPORT int LispEdit(int* step);
VLISP_EXPORT int LispPoly(int* step);

/// Loads the host's menu file. Returns 0 only when the host's own path cannot be found.
VLISP_EXPORT int MnuLoad();
VLISP_EXPORT int TestLine();
}
