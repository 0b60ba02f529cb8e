// The host's C++ in its own ABI, for the Windows module.
// One idea: this is the only file that a compiler for the Microsoft ABI translates. It has the calls of
// host_calls.h and what such an object needs where there is no library of that compiler; so nothing
// else knows how the host's names are decorated, or how its classes lie.
// Tests: tests/bridge/, tests/windows/.
#include "host/host_calls.cpp"  // NOLINT: the same functions, translated for another host

extern "C" {

/// What such objects name when they compute with floating point.
int _fltused = 0;

// From the process's heap; the first throws what the rest of the module expects when there is no more.
void* takeHostMemory(size_t bytes);
void giveHostMemory(void* block) noexcept;
}

// What is made here the host may destroy, and the other way round: a line, the text of a field.
void* operator new(size_t bytes) { return takeHostMemory(bytes); }
void* operator new[](size_t bytes) { return takeHostMemory(bytes); }
void operator delete(void* block) noexcept { giveHostMemory(block); }
void operator delete[](void* block) noexcept { giveHostMemory(block); }
void operator delete(void* block, size_t) noexcept { giveHostMemory(block); }
void operator delete[](void* block, size_t) noexcept { giveHostMemory(block); }
