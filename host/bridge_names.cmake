# cmake -DOBJECT=... -DNM=... -DUNDNAME=... -DASSEMBLY=... -DLIST=... -P bridge_names.cmake
# The names that bridge_msvc.cpp, as it is translated, wants of the host. They are written as a list for
# people, and as the table through which the module binds: each name is a jump to an address that is
# found when the module is loaded.
cmake_policy(VERSION 3.25)

execute_process(COMMAND ${NM} --undefined-only --just-symbol-name ${OBJECT}
                OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
list(FILTER symbols INCLUDE REGEX "^[?]")
list(SORT symbols)

set(list "")
set(jumps "")
set(addresses "")
set(texts "")
set(table "")
set(count 0)
foreach(name IN LISTS symbols)
  execute_process(COMMAND ${UNDNAME} ${name} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "^[^\n]*\n([^\n]*)\n.*$" "\\1" signature "${text}")
  string(APPEND list "${name}  ${signature}\n")
  string(APPEND jumps
         "  .globl \"${name}\"\n\"${name}\":\n  jmp *address${count}(%rip)\n")
  string(APPEND addresses "address${count}: .quad 0\n")
  string(APPEND texts
         "name${count}: .asciz \"${name}\"\nsignature${count}: .asciz \"${signature}\"\n")
  string(APPEND table "  .quad name${count}, signature${count}, address${count}\n")
  math(EXPR count "${count} + 1")
endforeach()

file(WRITE ${LIST} "${list}")
file(WRITE ${ASSEMBLY}
     "  .text\n${jumps}
  .data
  .balign 8\n${addresses}
  .section .rdata,\"dr\"\n${texts}
  .balign 8
  .globl hostFunctions\nhostFunctions:\n${table}
  .globl hostFunctionCount\nhostFunctionCount: .quad ${count}\n")
