# cmake -DREADOBJ=... -DNAMES=... -DMODULE=... -DHOST=... -P imports_test.cmake
# What the module wants of the host is exported by the host, and what it imports is the system's.
cmake_policy(VERSION 3.25)

execute_process(COMMAND ${READOBJ} --coff-exports ${HOST} OUTPUT_VARIABLE exports
                COMMAND_ERROR_IS_FATAL ANY)
file(STRINGS ${NAMES} wanted)
list(LENGTH wanted count)
if(count LESS 40)
  message(FATAL_ERROR "only ${count} names are wanted")
endif()
foreach(line IN LISTS wanted)
  string(REGEX REPLACE " .*$" "" name "${line}")
  string(FIND "${exports}" "Name: ${name}\n" found)
  if(found EQUAL -1)
    message(SEND_ERROR "the host does not export ${line}")
  endif()
endforeach()

execute_process(COMMAND ${READOBJ} --coff-imports ${MODULE} OUTPUT_VARIABLE imports
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "Name: [^\n]*[.](dll|DLL|exe|vxm)" libraries "${imports}")
list(LENGTH libraries count)
if(count EQUAL 0)
  message(FATAL_ERROR "no imports were found in ${MODULE}")
endif()
foreach(library IN LISTS libraries)
  string(TOLOWER "${library}" library)
  if(NOT library MATCHES "^name: (kernel32|user32|shell32|comdlg32|msvcrt)[.]dll$")
    message(SEND_ERROR "the module needs more than the system: ${library}")
  endif()
endforeach()
