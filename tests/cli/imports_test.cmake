# cmake -DREADOBJ=... -DPROGRAM=... -P imports_test.cmake
# The program for Windows loads these two libraries only: any other makes its starts longer.
cmake_policy(VERSION 3.25)

execute_process(COMMAND ${READOBJ} --coff-imports ${PROGRAM} OUTPUT_VARIABLE imports
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "Name: [^\n]*[.][dD][lL][lL]" libraries "${imports}")
string(TOLOWER "${libraries}" libraries)
list(SORT libraries)
if(NOT libraries STREQUAL "name: kernel32.dll;name: msvcrt.dll")
  message(FATAL_ERROR "the program needs other libraries: ${libraries}")
endif()
