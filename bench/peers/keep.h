// What keeps an optimiser from deleting the work that is to be measured.
//
// One idea: the compiler is told that a value is read and changed where it cannot look. No
// instruction comes of it.
#pragma once

template <typename Value> inline void keep(Value& value) { asm volatile("" : "+r"(value)); }
