// Looking up the host's functions, and the memory that the module shares with it. See
// binding_windows.h, bridge_msvc.cpp.
#include "host/binding_windows.h"

#include <new>

#include <windows.h>

extern "C" {

extern const vlisp::HostFunction hostFunctions[];
extern const std::size_t hostFunctionCount;

void* takeHostMemory(std::size_t bytes) {
    void* block = HeapAlloc(GetProcessHeap(), 0, bytes);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void giveHostMemory(void* block) noexcept {
    if (block != nullptr) HeapFree(GetProcessHeap(), 0, block);
}
}

namespace vlisp {

std::wstring bindToHost() {
    std::wstring missing;
    HMODULE host = GetModuleHandleW(nullptr);
    for (std::size_t i = 0; i < hostFunctionCount; ++i) {
        const HostFunction& function = hostFunctions[i];
        *function.address = reinterpret_cast<void*>(GetProcAddress(host, function.decoratedName));
        if (*function.address != nullptr) continue;
        const std::string line =
            std::string(function.signature) + "  [" + function.decoratedName + "]\n";
        missing.append(line.begin(), line.end());
    }
    return missing;
}

}  // namespace vlisp
