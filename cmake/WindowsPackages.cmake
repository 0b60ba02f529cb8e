# Libraries for the cross build: of those that are headers only the building system's are used. They are
# seen through a folder of links, for the rest of /usr/include is not meant for Windows; GoogleTest is
# built from its source. find_package finds all of them as ever.

set(windows_headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${windows_headers})

# header_package(PACKAGE TARGET ENTRY): ENTRY of /usr/include becomes the imported target TARGET.
function(header_package package target entry)
  file(REAL_PATH /usr/include/${entry} header)
  if(NOT EXISTS ${header})
    message(FATAL_ERROR "${header} is missing: ./dev setup --windows installs what is needed")
  endif()
  get_filename_component(name ${entry} NAME)
  file(CREATE_LINK ${header} ${windows_headers}/${name} SYMBOLIC)
  string(TOLOWER ${package} file)
  file(WRITE ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/${file}-config.cmake
       "if(NOT TARGET ${target})
  add_library(${target} INTERFACE IMPORTED)
  target_include_directories(${target} SYSTEM INTERFACE ${windows_headers})
endif()
")
endfunction()

header_package(CLI11 CLI11::CLI11 CLI)
header_package(nlohmann_json nlohmann_json::nlohmann_json nlohmann)
header_package(utf8cpp utf8cpp utf8cpp/utf8.h)
header_package(utf8cpp utf8cpp utf8cpp/utf8)
header_package(xbyak xbyak::xbyak xbyak)
header_package(Boost Boost::headers boost)

set(googletest_source /usr/src/googletest CACHE PATH "GoogleTest's source")
file(WRITE ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/gtest-config.cmake
     "set(INSTALL_GTEST OFF)
set(BUILD_GMOCK OFF)
add_subdirectory(${googletest_source} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
target_compile_options(gtest PRIVATE -O0)
")
