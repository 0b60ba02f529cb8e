# What belongs to the product besides programs and modules, and the release archives: a Debian package,
# and a .zip for Windows. `./dev package` makes them; tests/package/ installs and runs them.
#
# One idea: an archive holds what `cmake --install` installs, so there is one list of what belongs to the
# product. What the archives' systems ask for besides is in packaging/.

set(VLISP_MAINTAINER "Velmora LISP authors <velmora-lisp@example.org>"
    CACHE STRING "Who answers for the packages")

if(WIN32)
  set(documents .)
else()
  set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/vlisp)
  install(FILES docs/man/vlisp.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES tools/completion/vlisp DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()
install(FILES README.md LICENSE DESTINATION ${documents})
install(DIRECTORY docs DESTINATION ${documents} PATTERN man EXCLUDE)
install(DIRECTORY examples DESTINATION ${documents}
        PATTERN CMakeLists.txt EXCLUDE PATTERN .gitattributes EXCLUDE)

# Parts of these are in the programs; their licences want to be named with them. Where the system
# keeps none, the build was not by its packages, and whoever made it knows what it is made of.
string(REGEX MATCH "^[0-9]+" compiler_version ${CMAKE_CXX_COMPILER_VERSION})
set(taken_in libboost-dev libcli11-dev libutfcpp-dev libxbyak-dev nlohmann-json3-dev)
if(WIN32)
  list(APPEND taken_in gcc-mingw-w64-base mingw-w64-common)
else()
  list(APPEND taken_in libbsd-dev libedit-dev libmd-dev libncurses-dev
       libstdc++-${compiler_version}-dev)
endif()
foreach(library IN LISTS taken_in)
  install(FILES /usr/share/doc/${library}/copyright DESTINATION ${documents}/third-party
          RENAME ${library}.txt OPTIONAL)
endforeach()

set(CPACK_PACKAGE_NAME vlisp)
set(CPACK_PACKAGE_VENDOR "Velmora LISP")
set(CPACK_PACKAGE_CONTACT "${VLISP_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${PROJECT_SOURCE_DIR}/packaging/description.txt)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME velmora-lisp-${PROJECT_VERSION}-windows-x64)
  set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/windows/finish.cmake)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish.cmake)
  set(CPACK_VLISP_ARCHITECTURE ${CMAKE_LIBRARY_ARCHITECTURE})
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "LISP for CAD drawings, as a program and as a module")
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
  set(CPACK_DEBIAN_PACKAGE_SECTION lisp)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
endif()
include(CPack)
