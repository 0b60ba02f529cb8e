// Binding the Windows module to its host.
// One idea: the host is the program that the process runs, whatever its file is called; each function
// that the module calls is looked up there by its decorated name when the module is loaded.
// Tests: tests/bridge/, tests/windows/.
#pragma once

#include <cstddef>
#include <string>

namespace vlisp {

/// A function of the host that the module calls. The build makes the table of them from
/// bridge_msvc.cpp as it is translated (bridge_names.cmake).
struct HostFunction {
    const char* decoratedName;
    const char* signature;  ///< the name as people read it
    void** address;         ///< where the module calls through
};

/// Finds all functions. What is missing, a line each, its signature and its name; empty when
/// nothing is.
std::wstring bindToHost();

}  // namespace vlisp
