# Install rules: the header pair, the shared library with its link chain, the program, a CMake
# package exporting zelpgen::zelpgen and a pkg-config file.
include(CMakePackageConfigHelpers)

set(ZELPGEN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zelpgen)

install(TARGETS zelpgen EXPORT zelpgenTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
                NAMELINK_COMPONENT development)
install(TARGETS zelpgen_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(FILES docs/zelpgen.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
# The printer application's page goes with the program, which tools/zelpgen-printer builds only
# when PAPPL is found: known once every folder has been read.
function(zelpgen_install_printer_page)
  if(TARGET zelpgen_printer)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/zelpgen-printer.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
  endif()
endfunction()
cmake_language(DEFER CALL zelpgen_install_printer_page)
install(FILES include/zelpgen/zelpgen.h ${PROJECT_BINARY_DIR}/include/zelpgen/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zelpgen COMPONENT development)

install(EXPORT zelpgenTargets NAMESPACE zelpgen:: DESTINATION ${ZELPGEN_CMAKE_DIR}
        COMPONENT development)
configure_package_config_file(cmake/zelpgenConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/zelpgenConfig.cmake
                              INSTALL_DESTINATION ${ZELPGEN_CMAKE_DIR})
# One function whose calling convention stays put within a major version (the SONAME).
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelpgenConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelpgenConfig.cmake
              ${PROJECT_BINARY_DIR}/zelpgenConfigVersion.cmake
        DESTINATION ${ZELPGEN_CMAKE_DIR} COMPONENT development)

# The prefix is only known at install time (cmake --install --prefix), so the pkg-config file
# is written then; DESTDIR stays out of its contents.
foreach(kind libdir includedir)
  string(TOUPPER ${kind} upper)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${upper}}")
    set(pc_${kind} "${CMAKE_INSTALL_${upper}}")
  else()
    set(pc_${kind} "\${prefix}/${CMAKE_INSTALL_${upper}}")
  endif()
endforeach()
set(prefix "@prefix@")
configure_file(cmake/zelpgen.pc.in ${PROJECT_BINARY_DIR}/zelpgen.pc.in @ONLY)
install(CODE "set(prefix \"\${CMAKE_INSTALL_PREFIX}\")
configure_file(\"${PROJECT_BINARY_DIR}/zelpgen.pc.in\" \"${PROJECT_BINARY_DIR}/zelpgen.pc\" @ONLY)"
        COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/zelpgen.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
