# The extension for the true host of Windows. Included by host/CMakeLists.txt.
find_program(VLISP_CLANG NAMES clang++ clang++-14 REQUIRED)
find_program(VLISP_LLVM_NM NAMES llvm-nm llvm-nm-14 REQUIRED)
find_program(VLISP_LLVM_UNDNAME NAMES llvm-undname llvm-undname-14 REQUIRED)
enable_language(RC)

# The one source for the Microsoft ABI.
set(bridge ${CMAKE_CURRENT_BINARY_DIR}/bridge_msvc.o)
add_custom_command(
  OUTPUT ${bridge}
  COMMAND ${VLISP_CLANG} --target=x86_64-pc-windows-msvc -std=c++20 -ffreestanding -nostdinc++
          -fno-exceptions -fno-rtti -fno-threadsafe-statics -fasynchronous-unwind-tables -O2 -ffp-contract=off -Wall -Wextra
          -Wpedantic -Werror -I ${PROJECT_SOURCE_DIR} -MD -MF ${bridge}.d -o ${bridge} -c
          ${CMAKE_CURRENT_SOURCE_DIR}/bridge_msvc.cpp
  DEPENDS bridge_msvc.cpp
  DEPFILE ${bridge}.d
  VERBATIM)

# The names that it wants of the host, and the table that binds them.
set(bridge_names ${CMAKE_CURRENT_BINARY_DIR}/bridge_names)
add_custom_command(
  OUTPUT ${bridge_names}.o ${bridge_names}.txt
  COMMAND ${CMAKE_COMMAND} -DOBJECT=${bridge} -DNM=${VLISP_LLVM_NM} -DUNDNAME=${VLISP_LLVM_UNDNAME}
          -DASSEMBLY=${bridge_names}.s -DLIST=${bridge_names}.txt -P
          ${CMAKE_CURRENT_SOURCE_DIR}/bridge_names.cmake
  COMMAND ${CMAKE_CXX_COMPILER} -c -o ${bridge_names}.o ${bridge_names}.s
  DEPENDS ${bridge} bridge_names.cmake
  VERBATIM)

configure_file(${PROJECT_SOURCE_DIR}/resources/module.rc.in ${CMAKE_CURRENT_BINARY_DIR}/module.rc @ONLY)

# What stands here as a source or an object comes before the archives; so their constant of the prelude and
# their calls to other hosts are not taken.
add_library(VelmoraLispExtension MODULE
            exports.cpp application_windows.cpp binding_windows.cpp exports.def
            ${PROJECT_SOURCE_DIR}/platform/window_windows.cpp
            ${PROJECT_SOURCE_DIR}/resources/prelude_windows.cpp
            ${CMAKE_CURRENT_BINARY_DIR}/module.rc ${bridge} ${bridge_names}.o)
target_link_libraries(VelmoraLispExtension PRIVATE vlisp_host vlisp_options comdlg32)
set_source_files_properties(${bridge} ${bridge_names}.o PROPERTIES EXTERNAL_OBJECT TRUE)
set_target_properties(VelmoraLispExtension PROPERTIES PREFIX "" SUFFIX ".vxm")
install(TARGETS VelmoraLispExtension LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR})
