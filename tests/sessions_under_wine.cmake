# Sessions and examples with the program for Windows: the runner is a program of this system, for it
# types the commands to a shell; the folder that it puts on the path has a vlisp that starts the other one,
# which lies beside it wherever it is copied to.
set(programs ${CMAKE_BINARY_DIR}/programs-under-wine)
list(GET CMAKE_CROSSCOMPILING_EMULATOR 0 under_wine)
list(GET CMAKE_CROSSCOMPILING_EMULATOR 1 prefix)
file(WRITE ${programs}/vlisp "#!/bin/sh
here=$(dirname \"$0\")
[ -e \"$here/vlisp.exe\" ] || ln -s ${CMAKE_BINARY_DIR}/bin/vlisp.exe \"$here/vlisp.exe\"
exec ${under_wine} ${prefix} \"$here/vlisp.exe\" \"$@\"
")
file(CREATE_LINK ${CMAKE_BINARY_DIR}/bin/vlisp.exe ${programs}/vlisp.exe SYMBOLIC)
file(CHMOD ${programs}/vlisp PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

set(sources support/session_runner.cpp cli/examples_posix_test.cpp)
list(TRANSFORM sources PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
set(runner ${CMAKE_BINARY_DIR}/sessions_under_wine)
add_custom_command(
  OUTPUT ${runner}
  COMMAND c++ -std=c++20 -DSESSIONS="${CMAKE_CURRENT_SOURCE_DIR}/cli" -DLEFT_OUT=""
          -DPROJECT_ROOT="${PROJECT_SOURCE_DIR}" -DPROGRAMS="${programs}" -DVLISP_SANITIZED=true
          ${sources} -lgtest -pthread -o ${runner}
  DEPENDS ${sources}
  VERBATIM)
add_custom_target(sessions_under_wine ALL DEPENDS ${runner})
add_dependencies(sessions_under_wine vlisp)

# Left out: what shows PDF and PNG pictures, which this build has not, and the small host of the examples,
# which is a program of this system. In two parts, so that they run beside one another.
string(JOIN ":" left_out Session.pictures DocumentSession.docs_pictures_md
                         Session.host_example DocumentSession.docs_host_md)
foreach(part 0 1)
  add_test(NAME Sessions_under_wine_${part} COMMAND ${runner} --gtest_brief=1 --gtest_filter=-${left_out})
  set_tests_properties(Sessions_under_wine_${part} PROPERTIES TIMEOUT 300
                       ENVIRONMENT "GTEST_TOTAL_SHARDS=2;GTEST_SHARD_INDEX=${part}")
  uses_wine(Sessions_under_wine_${part})
endforeach()

# Of the system it wants what every start has to load, and no more.
find_program(VLISP_LLVM_READOBJ NAMES llvm-readobj llvm-readobj-14 REQUIRED)
add_test(NAME Program_imports
         COMMAND ${CMAKE_COMMAND} -DREADOBJ=${VLISP_LLVM_READOBJ} -DPROGRAM=$<TARGET_FILE:vlisp>
                 -P ${CMAKE_CURRENT_SOURCE_DIR}/cli/imports_test.cmake)
