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
            # Sources that are compiled together may have the same names.
            $<$<NOT:$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wshadow>
            -Wnon-virtual-dtor
            -Wold-style-cast
            -Wcast-qual
            -Woverloaded-virtual
            -Wformat=2
            -Wimplicit-fallthrough
            -Werror
            # The same bits on every machine: no fused multiply-add behind our back.
            -ffp-contract=off)
if(WIN32)
  target_compile_definitions(vlisp_options INTERFACE NOMINMAX UNICODE)
endif()
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

# vlisp_starts_in_order(NAME LIKE OBJECTS): in the program NAME, which is linked of OBJECTS, the functions
# that a start runs through stand next to each other. For that it is linked twice: tools/start_order.cpp
# watches a run of the first one. Elsewhere, and in builds that are not released, it is linked as any other.
if(CMAKE_BUILD_TYPE STREQUAL Release AND NOT VLISP_SANITIZE AND NOT CMAKE_CROSSCOMPILING
   AND CMAKE_SYSTEM_NAME STREQUAL Linux AND CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
  file(WRITE ${CMAKE_BINARY_DIR}/CMakeFiles/no_order.ld "SECTIONS { .text.start : { } } INSERT BEFORE .text;\n")
  check_linker_flag(CXX LINKER:-T,${CMAKE_BINARY_DIR}/CMakeFiles/no_order.ld VLISP_ORDERS_FUNCTIONS)
endif()
if(VLISP_ORDERS_FUNCTIONS)
  target_compile_options(vlisp_options INTERFACE -ffunction-sections)
endif()
function(vlisp_starts_in_order name like objects)
  if(NOT VLISP_ORDERS_FUNCTIONS)
    return()
  endif()
  add_executable(start_order EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/tools/start_order.cpp)
  target_link_libraries(start_order PRIVATE vlisp_options)

  set(unordered ${name}_unordered)
  add_executable(${unordered} EXCLUDE_FROM_ALL)
  target_link_libraries(${unordered} PRIVATE ${objects})
  vlisp_stands_alone(${unordered})

  set(order ${CMAKE_CURRENT_BINARY_DIR}/${name}_order.ld)
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/empty.lsp "")
  add_custom_command(
    OUTPUT ${order}
    COMMAND start_order ${order} $<TARGET_FILE:${unordered}> run ${CMAKE_CURRENT_BINARY_DIR}/empty.lsp
    DEPENDS start_order ${unordered}
    COMMENT "Watching a start of ${name}"
    VERBATIM)
  add_custom_target(${name}_order DEPENDS ${order})
  add_dependencies(${name} ${name}_order)
  target_link_options(${name} PRIVATE LINKER:-T,${order})
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${order})
endfunction()
