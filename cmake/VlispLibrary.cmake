# How every target of the project is compiled, and how a room's library is declared.

add_library(vlisp_options INTERFACE)
target_include_directories(vlisp_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(
  vlisp_options
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wconversion
            -Wsign-conversion
            -Wshadow
            -Wnon-virtual-dtor
            -Wold-style-cast
            -Wcast-qual
            -Woverloaded-virtual
            -Wformat=2
            -Wimplicit-fallthrough
            -Werror
            # The same bits on every machine: no fused multiply-add behind our back.
            -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(
    vlisp_options
    INTERFACE -Wduplicated-cond
              -Wduplicated-branches
              -Wlogical-op)
  if(NOT WIN32)
    # There types are the same that elsewhere differ.
    target_compile_options(vlisp_options INTERFACE -Wuseless-cast)
  endif()
endif()

if(VLISP_SANITIZE)
  set(sanitizers -fsanitize=${VLISP_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${sanitizers} -g1)
  add_link_options(${sanitizers})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The instrumented standard library confuses this warning; the other builds keep it.
    target_compile_options(vlisp_options INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()

# vlisp_library(NAME SOURCES source... [USES library...])
function(vlisp_library name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;USES")
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC ${ARG_USES} PRIVATE vlisp_options)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()

# vlisp_copies_cells(NAME): the library does little else. A cell is written word by word; to read it
# back as one vector, as the compiler likes to, stalls the processor.
function(vlisp_copies_cells name)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${name} PRIVATE -fno-tree-slp-vectorize)
  endif()
endfunction()

# vlisp_stands_alone(NAME): a program or module that takes the compiler's libraries into itself, and of
# them what it uses, where the system has them as archives: to find, map and link shared objects takes
# longer than a short program. What is watched by sanitizers shares them, as those expect.
include(CheckLinkerFlag)
check_linker_flag(CXX -static-libstdc++ VLISP_HAS_STANDARD_LIBRARY_ARCHIVE)
function(vlisp_stands_alone name)
  if(VLISP_HAS_STANDARD_LIBRARY_ARCHIVE AND NOT VLISP_SANITIZE)
    target_link_options(${name} PRIVATE -static-libstdc++ -static-libgcc LINKER:--gc-sections)
  endif()
endfunction()
